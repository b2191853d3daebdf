// Between character sets and UTF-16.
#include <sstream>

#include "characters.h"
#include "intl/locale.h"
#include "intl/utf.h"
#include "vdxcomn/charset.h"

namespace {

using vdx::Missing;
using vdx::Transcoded;
using vdx::Transcoding;
using vdx_test::Exact;
using vdx_test::kGuard;

struct Expected {
  std::size_t taken = 0;
  Transcoding outcome = Transcoding::done;
  std::string placed;
};

// After the bytes placed nothing is written, unless the text is malformed.
void expect_same(const Transcoded& got, std::size_t scale, Exact& to, const Expected& want) {
  EXPECT_EQ(got.taken, want.taken);
  EXPECT_EQ(got.outcome, want.outcome);
  EXPECT_FALSE(got.substituted);
  ASSERT_EQ(got.placed * scale, want.placed.size());
  EXPECT_EQ(to.first(want.placed.size()), want.placed);
  if (want.outcome == Transcoding::malformed) std::fill_n(to.data, to.size, kGuard);
  std::fill_n(to.data, want.placed.size(), kGuard);
  EXPECT_EQ(static_cast<std::size_t>(std::count(to.data, to.data + to.size, kGuard)), to.size);
}

std::string units_of(char32_t c, bool swapped = false) {
  vdx_test::Bytes bytes = vdx_test::encode_utf16_one(c);
  for (std::size_t i = 0; swapped && i < bytes.size(); i += 2) std::swap(bytes[i], bytes[i + 1]);
  return {bytes.begin(), bytes.end()};
}

std::string utf8_of(char32_t c) {
  const vdx_test::Bytes bytes = *vdx_test::encode_one(vdx_test::Set::utf8, c);
  return {bytes.begin(), bytes.end()};
}

// The obvious way: character by character. Units of the text are bytes or pairs of them.
template <class Write>
Expected slowly(const vdx_test::Characters& text, std::size_t unit, std::size_t room, Write write) {
  Expected result;
  for (const vdx_test::Character& c : text) {
    const bool is_none = c.code == vdx_test::kNoCharacter;
    const std::string placed = is_none ? std::string() : write(c.code);
    if (is_none || result.placed.size() + placed.size() > room) {
      result.outcome = is_none ? Transcoding::malformed : Transcoding::full;
      break;
    }
    result.taken += c.bytes.size() / unit;
    result.placed += placed;
  }
  return result;
}

// Every function of UTF-8 and UTF-16 on a text of each, into a room in bytes, against the slow way.
void check_text(const std::string& utf8, const std::string& utf16, std::size_t room,
                std::size_t shift) {
  const std::size_t units = utf16.size() / 2;
  const auto characters = vdx_test::decode(vdx_test::Set::utf8, vdx_test::bytes_of(utf8)),
             wide_characters = vdx_test::decode_utf16(vdx_test::bytes_of(utf16));
  const Exact narrow(utf8, shift), wide(utf16, shift);
  Exact to(room, shift);
  for (const bool may_shuffle : {false, true}) {
    for (const bool swapped : {false, true})
      expect_same(
          (swapped ? vdx::utf8_to_utf16<true> : vdx::utf8_to_utf16<false>)(narrow.data, narrow.size,
                                                                           to.data, room / 2,
                                                                           may_shuffle),
          2, to,
          slowly(characters, 1, room / 2 * 2, [=](char32_t c) { return units_of(c, swapped); }));
    expect_same(vdx::utf16_to_utf8(wide.data, units, to.data, room, may_shuffle), 1, to,
                slowly(wide_characters, 2, room, utf8_of));
  }
  EXPECT_EQ(vdx::well_formed_utf8(narrow.data, narrow.size),
            slowly(characters, 1, SIZE_MAX, utf8_of).taken);
  EXPECT_EQ(vdx::well_formed_utf16(wide.data, units),
            slowly(wide_characters, 2, SIZE_MAX, utf8_of).taken);
  std::size_t ascii = 0;
  while (ascii < units && utf16[2 * ascii + 1] == 0 && utf16[2 * ascii] >= 0) ++ascii;
  Exact bytes(units, shift), widened(2 * ascii, shift);
  EXPECT_EQ(vdx::narrow_ascii(wide.data, units, bytes.data), ascii);
  vdx::widen_ascii(bytes.data, ascii, widened.data, false);
  EXPECT_EQ(widened.first(2 * ascii), utf16.substr(0, 2 * ascii));
  vdx::widen_ascii(bytes.data, ascii, widened.data, true);
  for (std::size_t i = 0; i < ascii; ++i) ASSERT_EQ(widened.data[2 * i + 1], bytes.data[i]);
}

constexpr char32_t kCodes = 0x110000;
bool is_code(char32_t c) { return c < 0xD800 || c > 0xDFFF; }

TEST(Unicode, EveryCodePoint) {
  std::string utf8, utf16;
  for (char32_t c = 0; c < kCodes && !HasFailure(); ++c) {
    if (is_code(c)) utf8 += utf8_of(c), utf16 += units_of(c);
    if (c % 61 != 60 && c != kCodes - 1) continue;
    SCOPED_TRACE(testing::Message() << "up to " << std::uint32_t{c});
    check_text(utf8, utf16, utf8.size(), c & 1);
    check_text(utf8_of(c), units_of(c), 4, c & 1);
    utf8.clear();
    utf16.clear();
  }
}

// Runs of characters of one length, now and then something broken or cut.
TEST(Unicode, RandomTexts) {
  std::vector<std::string> broken;
  std::istringstream words(
      "80 BF C080 C1BF C2 C241 C2C2 DFC0 E09FBF E0A0 E18041 E1C080 EDA080 EDBFBF EFBF EFBFC0 "
      "F08FBFBF F09080 F18080C0 F4908080 F5808080 F8908080 FC908080 FE FF 4180 C3A980 E282AC80");
  for (std::string word; words >> word;) {
    broken.emplace_back();
    for (std::size_t i = 0; i < word.size(); i += 2)
      broken.back() += static_cast<char>(std::stoi(word.substr(i, 2), nullptr, 16));
  }
  const std::pair<char32_t, char32_t> wide_broken[] = {
      {0xD800, 'a'}, {0xDBFF, 0xE000}, {0xDC00, 'a'}, {0xDFFF, 0xD800}, {0xD800, 0x1F600}};
  vdx_test::Random random(7);
  const auto below = [&](std::size_t n) { return random.below(n); };
  constexpr char32_t kFirst[] = {0, 0x80, 0x800, 0x10000, 0x20},
                     kLast[] = {0x7F, 0x7FF, 0xFFFF, kCodes - 1, 0x3FF};
  for (int round = 0; round < 30000 && !testing::Test::HasFailure(); ++round) {
    SCOPED_TRACE(round);
    std::string utf8, utf16;
    const bool breaks = below(2) == 0;
    for (std::size_t runs = below(8); runs > 0; --runs) {
      const std::size_t kind = below(5);
      for (std::size_t n = below(40); n > 0; --n) {
        const char32_t c =
            kFirst[kind] + static_cast<char32_t>(below(kLast[kind] - kFirst[kind] + 1));
        if (is_code(c)) utf8 += utf8_of(c), utf16 += units_of(c);
        if (!breaks || below(100) != 0) continue;
        utf8 += random.of(broken);
        const auto& [first, second] = random.of(wide_broken);
        utf16 += units_of(first) + units_of(second);
      }
    }
    if (below(8) == 0 && !utf8.empty()) utf8[below(utf8.size())] = static_cast<char>(random.next());
    if (below(8) == 0) utf8.resize(below(utf8.size() + 1));
    const std::size_t room = below(3) == 0 ? 3 * utf8.size() + 2 : below(utf16.size() + 9);
    check_text(utf8, utf16, room, below(2));
  }
}

std::string bytes_of_unit(const vdx_charattr& set, char32_t c, bool* substituted = nullptr) {
  std::uint8_t to[4];
  const std::string units = units_of(c);
  const auto narrow = vdx::from_utf16(set, units.data(), units.size() / 2, to, 4);
  if (substituted != nullptr) *substituted = narrow.substituted;
  return {to, to + narrow.placed};
}

// Every character of a set is read as a code point that is written as the same bytes, but for the
// doubles of sjis; every code point that is written is read back, but for six signs that are read as
// their wide forms.
TEST(Charset, RoundTrips) {
  const struct {
    const vdx_charattr& set;
    int characters, doubles, one_way;
  } rows[] = {{vdx::kLatin1, 256, 0, 0}, {vdx::kAscii, 128, 0, 0}, {vdx::kSjis, 9795, 398, 6}};
  for (const auto& row : rows) {
    int characters = 0, doubles = 0, one_way = 0, found = 0;
    const auto read = [&](std::string_view bytes) {
      const Exact source(bytes, 0);
      std::uint16_t unit = 0;
      const auto wide = vdx::to_utf16(row.set, source.data, source.size, &unit, 1, false);
      EXPECT_TRUE(wide.placed == 1 && wide.taken == bytes.size());
      EXPECT_EQ(wide.substituted, unit == 0xFFFD);
      return char32_t{unit};
    };
    for (int first = 0; first < 256; ++first)
      for (int second = 0; second < ((row.set.lead_class[first] & 15) == 2 ? 256 : 1); ++second) {
        const char both[] = {static_cast<char>(first), static_cast<char>(second)};
        const std::string_view bytes(both, row.set.lead_class[first] & 15);
        const char32_t c = read(bytes);
        if (c == 0xFFFD) continue;
        ++characters;
        doubles += bytes_of_unit(row.set, c) != bytes;
      }
    for (char32_t c = 0; c < kCodes; ++c) {
      if (!is_code(c)) continue;
      bool substituted = false;
      const std::string bytes = bytes_of_unit(row.set, c, &substituted);
      ASSERT_TRUE(!substituted || bytes == "?") << std::hex << +c;
      if (substituted) continue;
      ++found;
      one_way += read(bytes) != c;
    }
    EXPECT_EQ(std::tuple(characters, doubles, one_way),
              std::tuple(row.characters, row.doubles, row.one_way));
    EXPECT_EQ(found, characters - doubles + one_way);
  }
  const std::pair<const char*, char32_t> known[] = {
      {"\x82\xA0", 0x3042}, {"\x95\x5C", 0x8868}, {"\xB1", 0xFF71},     {"\x81\x5F", 0xFF3C},
      {"\x87\x40", 0x2460}, {"\x98\x72", 0x8155}, {"\xED\x40", 0x7E8A}, {"\xF0\x40", 0xE000},
      {"\xF9\xFC", 0xE757}, {"\xEA\xA4", 0x7199}, {"\x81\x80", 0xF7},   {"\xE0\x9E", 0x71FC}};
  for (const auto& [bytes, code] : known) EXPECT_EQ(bytes_of_unit(vdx::kSjis, code), bytes);
}

// Any set to any other, at every room: the same as by way of UTF-16, in whole characters; between
// equal sets, a copy.
TEST(Charset, BetweenSetsAtEveryCut) {
  std::string sample(150, 'x');  // passes what is held between two steps
  for (int i = 0; i < 9; ++i)
    sample += "abc\xC3\xA9\xE8\xA1\xA8z\xF0\x9F\x98\x80\xEF\xBD\xB1 \xE2\x82\xAC\xC2\x80";
  for (const auto& [from_name, from] : vdx::kCharsets)
    for (const auto& [to_name, to] : vdx::kCharsets)
      for (const Missing missing : {Missing::substitute, Missing::stop}) {
        // Bytes of UTF-8 are characters in the other sets, or none; the last one is cut in sjis.
        std::string text = sample;
        if (from == &vdx::kSjis) text += "\x82\xA0 tab\xB1\x95\x5C\xFD\x81\x20.\xE0";
        const Exact source(text, 1);
        std::vector<std::uint8_t> wide(2 * text.size());
        const auto read = vdx::to_utf16(*from, source.data, source.size, wide.data(), text.size(),
                                        false, missing);
        for (std::size_t room = 0; room <= 3 * text.size() && !HasFailure(); ++room) {
          SCOPED_TRACE(testing::Message() << from_name << " to " << to_name << " " << room);
          Exact got(room), want(room), again(room);
          const auto direct =
              vdx::transcode(*from, source.data, source.size, *to, got.data, room, missing);
          const auto by_units =
              vdx::from_utf16(*to, wide.data(), read.placed, want.data, room, missing);
          const bool is_done = by_units.outcome == Transcoding::done;
          if (from == to)
            EXPECT_EQ(got.first(direct.placed), text.substr(0, direct.taken));
          else
            EXPECT_TRUE(direct.outcome == (is_done ? read.outcome : by_units.outcome) &&
                        got.first(room) == want.first(room));
          // The bytes taken are converted the same alone, and the next character had no room.
          const auto alone =
              vdx::transcode(*from, source.data, direct.taken, *to, again.data, room, missing);
          EXPECT_TRUE(alone.outcome == Transcoding::done && alone.placed == direct.placed &&
                      alone.substituted == direct.substituted);
          EXPECT_TRUE(direct.outcome != Transcoding::full || room - direct.placed <= 3);
        }
      }
}

TEST(Charset, ExportedFunctions) {
  // Results are placed whole, or up to what stops them; both ways, where those differ.
  constexpr int kDone = VDX_SUCCESS, kCut = VDX_TRUNCATED, kLost = VDX_TRANSLATION,
                kBad = VDX_MALFORMED_UNICODE;
  const struct {
    const char *from, *to, *text;
    std::int32_t size, convert;
    std::string converted;
    std::int32_t xlate;
    std::string xlated;
  } rows[] = {
      // clang-format off
      {"iso_1", "utf8", "caf\xE9", 9, kDone, "caf\xC3\xA9", kDone, "caf\xC3\xA9"},
      {"iso_1", "utf8", "caf\xE9", 4, kCut, "caf", kCut, "caf"},
      {"utf8", "utf8", "caf\xC3\xA9", 4, kCut, "caf", kCut, "caf"},
      {"utf8", "sjis", "\xE3\x81\x82", 1, kCut, "", kCut, ""},
      {"utf8", "iso_1", "a\xE2\x82\xACz", 9, kLost, "a?z", kLost, "a"},
      {"utf8", "iso_1", "a\xE2\x82\xACz", 2, kCut, "a?", kLost, "a"},
      {"ascii", "utf8", "a\xE9", 9, kLost, "a\xEF\xBF\xBD", kLost, "a"},
      {"ascii", "ascii", "a\xE9", 9, kDone, "a\xE9", kDone, "a\xE9"},
      {"utf8", "iso_1", "ab\xFF", 9, kBad, "", kBad, "ab"}, {"sjis", "utf8", "ab\x82", 1, kBad, "", kCut, "a"},
      {"utf8", "sjis", "", 0, kDone, "", kDone, ""},
      {"ascii", "koi8", "a", 9, 0, "", kLost, ""}, {"", "ascii", "a", 9, 0, "", kLost, ""},
      // clang-format on
  };
  std::int32_t length = -1;
  std::string out(9, '\0');
  const auto placed = [&](std::int32_t code) {
    return std::pair(code, out.substr(0, static_cast<std::size_t>(length)));
  };
  for (const auto& row : rows)
    for (const std::int32_t n : {VDX_NULLTERM, static_cast<std::int32_t>(std::strlen(row.text))}) {
      SCOPED_TRACE(testing::Message() << row.from << " to " << row.to << " in " << row.size);
      EXPECT_EQ(placed(com_intl_xlate(nullptr, row.from, row.to, row.text, n, out.data(), row.size,
                                      &length)),
                std::pair(row.xlate, row.xlated));
      if (row.convert == 0) continue;  // no such locale
      vdx_locale from(*vdx::find_charset(row.from)), to(*vdx::find_charset(row.to));
      vdx_context context{};
      context.locale = &to;
      EXPECT_EQ(placed(comn_charset_convert(&context, &from, row.text, n, nullptr, out.data(),
                                            row.size, &length)),
                std::pair(row.convert, row.converted));
    }
  EXPECT_EQ(
      placed(comn_charset_convert(nullptr, nullptr, "\xE9", 1, nullptr, out.data(), 8, &length)),
      std::pair(kDone, std::string("\xE9")));
  const std::tuple<const char*, std::int32_t, std::int32_t, std::int32_t> fou[] = {
      {"a\xC3\xA9", 5, kDone, 4}, {"a\xF0\x9F\x98\x80", 5, kCut, 2}, {"abc\xC3", 2, kBad, 0}};
  for (const auto& [text, size, code, wanted] : fou) {
    EXPECT_EQ(com__fou_utf8_to_utf16(text, VDX_NULLTERM, out.data(), size, &length), code);
    EXPECT_EQ(length, wanted);
  }
}

}  // namespace
