// Text to text, bytes from and to everything, labels, documents, locators, void.
#include <array>

#include "number/hex.h"
#include "support.h"

namespace {

using namespace vdx_test;

constexpr std::string_view kHexDigits = "0123456789abcdefABCDEF";

std::string hex_of(const Bytes& bytes) {
  std::string text;
  for (const std::uint8_t b : bytes) {
    text += kHexDigits[b >> 4];
    text += kHexDigits[b & 15];
  }
  return text;
}

bool starts_with(const Result& result, const Bytes& start) {
  return result.bytes.size() >= start.size() &&
         std::equal(start.begin(), start.end(), result.bytes.begin());
}

// Length and bytes, without what follows them in a record.
Bytes counted(std::string_view text) {
  Bytes bytes = varchar_image(text);
  bytes.resize(2 + text.size());
  return bytes;
}

Bytes noise(Random& random, std::size_t n) {
  Bytes bytes(n);
  for (std::uint8_t& b : bytes) b = static_cast<std::uint8_t>(random.below(256));
  return bytes;
}

TEST(Hexadecimal, EveryLengthBothWays) {
  Random random(3);
  for (std::size_t n = 0; n <= 70; ++n) {
    const Bytes bytes = noise(random, n);
    Bytes digits(2 * n + 1, kGuard);
    vdx::hex_encode(bytes.data(), n, digits.data());
    EXPECT_EQ(std::string(digits.begin(), digits.end() - 1), hex_of(bytes));
    EXPECT_EQ(digits.back(), kGuard);
    for (std::uint8_t& d : digits)
      if (d >= 'a' && random.below(2) != 0) d &= 0xDF;
    Bytes back(n + 1, kGuard);
    EXPECT_TRUE(vdx::hex_decode(digits.data(), n, back.data()));
    EXPECT_EQ(Bytes(back.begin(), back.end() - 1), bytes);
    EXPECT_EQ(back.back(), kGuard);
  }
}

TEST(Hexadecimal, EveryByteAtEveryPlace) {
  for (std::size_t n = 1; n <= 40; ++n)
    for (std::size_t at = 0; at < 2 * n; ++at)
      for (int c = 0; c < 256; ++c) {
        Bytes text(2 * n, '9'), bytes(n);
        text[at] = static_cast<std::uint8_t>(c);
        const std::size_t found = kHexDigits.find(static_cast<char>(c));
        const bool is_digit = found != std::string_view::npos;
        ASSERT_EQ(vdx::all_hex(text.data(), 2 * n), is_digit) << n << ' ' << at << ' ' << c;
        ASSERT_EQ(vdx::all_hex(text.data(), at + 1), is_digit) << n << ' ' << at << ' ' << c;
        ASSERT_EQ(vdx::hex_decode(text.data(), n, bytes.data()), is_digit) << n << ' ' << at;
        if (!is_digit) continue;
        const std::size_t value = found < 16 ? found : found - 6;
        ASSERT_EQ(bytes[at / 2], at % 2 == 0 ? value * 16 + 9 : 9 * 16 + value);
      }
}

// Locales of the sets, for the length of a test.
struct Sets {
  static constexpr std::array<const char*, 3> kNames = {"iso_1", "utf8", "sjis"};
  vdx_context& context;
  std::array<vdx_locale*, 3> locales{};
  explicit Sets(vdx_context& c) : context(c) {
    for (std::size_t i = 0; i < locales.size(); ++i)
      EXPECT_EQ(comn_loc_alloc(&context, kNames[i], &locales[i]), 1);
  }
  ~Sets() {
    for (vdx_locale* locale : locales) comn_loc_drop(&context, locale);
  }
  Sets(const Sets&) = delete;
  Sets& operator=(const Sets&) = delete;
};

// A character in each set; null where the set lacks it.
using Character = std::array<const char*, 3>;
constexpr Character kLetter = {"a", "a", "a"};
constexpr Character kApostrophe = {"'", "'", "'"};
constexpr Character kAccent = {"\xE9", "\xC3\xA9", nullptr};
constexpr Character kKana = {nullptr, "\xE3\x81\x82", "\x82\xA0"};
constexpr Character kFace = {nullptr, "\xF0\x9F\x98\x80", nullptr};
constexpr Character kText[] = {kApostrophe, kKana,       kLetter,     kAccent, kApostrophe,
                               kFace,       kApostrophe, kApostrophe, kKana,   kAccent};

// What a text becomes, one character after the other.
Result expected_text(std::size_t from, std::size_t to, std::uint32_t flags, std::int32_t room) {
  const bool terminate = (flags & VDX_FMT_TERMINATE) != 0;
  const auto limit = static_cast<std::size_t>(std::max(room - (terminate ? 1 : 0), 0));
  std::string text;
  bool substituted = false, cut = false;
  for (const Character& character : kText) {
    if (character[from] == nullptr) continue;
    std::string next = character[to] != nullptr ? character[to] : "?";
    if (next == "'" && (flags & VDX_FMT_QUOTE) != 0) next = "''";
    cut = cut || text.size() + next.size() > limit;
    if (cut) break;
    substituted = substituted || character[to] == nullptr;
    text += next;
  }
  Result result{cut ? VDX_TRUNCATED : substituted ? VDX_TRANSLATION : VDX_SUCCESS, 0, {}};
  const std::uint32_t pads = flags & (VDX_FMT_PADNULL | VDX_FMT_PADBLANK);
  const bool conflict = pads == (VDX_FMT_PADNULL | VDX_FMT_PADBLANK);
  if (terminate && room == 0) return result;
  if (conflict) result.code = VDX_BAD_PADDING;
  const std::size_t end = text.size();
  if (!conflict && pads != 0)
    text.resize(static_cast<std::size_t>(room), pads == VDX_FMT_PADNULL ? '\0' : ' ');
  if (!conflict && terminate) {
    if (pads == 0) text += '\0';
    text[pads == VDX_FMT_PADBLANK ? text.size() - 1 : end] = '\0';
  }
  result.length = static_cast<std::int32_t>(text.size());
  result.bytes = bytes_of(text);
  result.bytes.resize(static_cast<std::size_t>(room), kGuard);
  return result;
}

TEST(TextToText, CutsPadsQuotesAndTranscodesWholeCharacters) {
  Table table;
  const Sets sets(table.context);
  constexpr std::uint32_t kFlags[] = {VDX_FMT_TERMINATE, VDX_FMT_PADNULL, VDX_FMT_PADBLANK,
                                      VDX_FMT_QUOTE};
  for (std::size_t from = 0; from < 3; ++from)
    for (std::size_t to = 0; to < 3; ++to)
      for (std::uint32_t mask = 0; mask < 16; ++mask)
        for (std::int32_t room = 0; room <= 40; ++room) {
          std::uint32_t flags = 0;
          for (std::size_t i = 0; i < 4; ++i)
            if ((mask >> i & 1) != 0) flags |= kFlags[i];
          std::string source;
          for (const Character& c : kText) source += c[from] != nullptr ? c[from] : "";
          Result expected = expected_text(from, to, flags, room);
          const Format format{.flags = flags,
                              .maxlength = room,
                              .locale = sets.locales[from],
                              .to_locale = sets.locales[to]};
          const auto same = [&](const Result& result) {
            // Bytes behind a text are not said where a longer one was transcoded first.
            Result cut = result;
            std::fill(cut.bytes.begin() + std::min<std::int32_t>(cut.length, room), cut.bytes.end(),
                      kGuard);
            return cut == expected;
          };
          expected.bytes.resize(static_cast<std::size_t>(room), kGuard);
          for (const int code : {VDX_CHAR, VDX_LONGCHAR, VDX_SENSITIVITY, VDX_BOUNDARY, VDX_XML})
            ASSERT_TRUE(same(convert(table.context, VDX_CHAR, bytes_of(source), code, format)))
                << from << to << " flags " << flags << " room " << room << ' ' << code << '\n'
                << convert(table.context, VDX_CHAR, bytes_of(source), code, format) << '\n'
                << expected;
          ASSERT_TRUE(
              same(convert(table.context, VDX_VARCHAR, varchar_image(source), VDX_TEXT, format)));
        }
}

TEST(TextToText, FillsAVarcharWithWholeCharactersWhateverTheFlags) {
  Table table;
  const Sets sets(table.context);
  for (std::size_t n = 84; n <= 130; ++n)
    for (const std::size_t to : {std::size_t{1}, std::size_t{2}}) {
      std::string source = "'", all = "'";
      for (std::size_t i = 0; i < n; ++i) source += kKana[1], all += kKana[to];
      const bool cut = all.size() > 256;
      if (cut) all.resize(to == 1 ? 256 : 255);
      const Result result = convert(table.context, VDX_CHAR, bytes_of(source), VDX_VARCHAR,
                                    {.flags = VDX_FMT_QUOTE | VDX_FMT_PADNULL | VDX_FMT_PADBLANK,
                                     .locale = sets.locales[1],
                                     .to_locale = sets.locales[to]});
      EXPECT_EQ(result.code, cut ? VDX_TRUNCATED : VDX_SUCCESS) << n;
      EXPECT_EQ(result.length, 258);
      EXPECT_TRUE(starts_with(result, counted(all))) << n;
    }
}

TEST(TextToText, MalformedTextOfAnotherSetIsToldBehindACutAsWell) {
  Table table;
  const Sets sets(table.context);
  const std::pair<std::size_t, const char*> rows[] = {
      {1, "abc\xFF"}, {1, "abc\xE3\x81"}, {1, "abc\x80xyz"}, {2, "abc\x82"}};
  for (const auto& [from, text] : rows)
    for (const std::int32_t room : {1, 64})
      for (const std::uint32_t flags : {0, 1, 32})
        for (const int code : {VDX_CHAR, VDX_VARCHAR}) {
          const Result result = convert(table.context, VDX_CHAR, bytes_of(text), code,
                                        {.flags = flags,
                                         .maxlength = room,
                                         .locale = sets.locales[from],
                                         .to_locale = sets.locales[0]});
          EXPECT_EQ(result.code, VDX_MALFORMED_UNICODE) << text;
          EXPECT_EQ(result.length, code == VDX_CHAR ? 0 : 258);
        }
}

TEST(BytesAndText, HexadecimalOfEveryLengthInEveryRoom) {
  Table table;
  Random random(5);
  for (std::size_t n = 1; n <= 20; ++n)
    for (std::int32_t room = 0; room <= 42; ++room) {
      const Bytes bytes = noise(random, n);
      const std::string digits = hex_of(bytes);
      const auto kept = std::min<std::size_t>(digits.size(), static_cast<std::size_t>(room));
      const bool fits = kept == digits.size();
      const Result text = convert(table.context, VDX_BIN, bytes, VDX_CHAR, {.maxlength = room});
      EXPECT_EQ(text.code, fits ? VDX_SUCCESS : VDX_OVERFLOW);
      EXPECT_EQ(text.text(), digits.substr(0, kept));

      const std::string shape = std::string(n % 3, ' ') + (n % 2 != 0 ? "0x" : "") +
                                (digits[0] == '0' ? digits.substr(1) : digits) +
                                std::string(n % 5, ' ');
      const Result back = convert(table.context, VDX_CHAR, bytes_of(shape), VDX_BIN,
                                  {.flags = VDX_FMT_PADNULL, .maxlength = room});
      const bool whole = n <= static_cast<std::size_t>(room);
      Bytes expected = bytes;
      expected.resize(static_cast<std::size_t>(room));
      EXPECT_EQ(back, (Result{whole ? VDX_SUCCESS : VDX_TRUNCATED, room, expected})) << shape;
      // A character that is no digit is found whatever the room.
      std::string bad = digits;
      bad[random.below(bad.size())] = 'g';
      const Result refused =
          convert(table.context, VDX_CHAR, bytes_of(bad), VDX_BIN, {.maxlength = room});
      EXPECT_EQ(refused.code, VDX_SYNTAX) << bad;
      EXPECT_EQ(refused.length, 0);
    }
}

struct Row {
  std::int32_t from;
  Bytes source;
  std::int32_t to;
  Format format;
  std::int32_t code;
  std::int32_t length;
  Bytes start;  // of the destination
};

TEST(BytesAndText, Rows) {
  Table table;
  const Format four{.maxlength = 4};
  const Bytes both = {0xAB, 0x01};
  const std::string d(256, '7'), b(128, 'w');
  Bytes longest = counted(d);
  longest[0] = 1;  // one too many
  const Bytes units = {'a', 0, 'b', 0, 0, 0}, swapped = {0, 'a', 0, 'b', 0, '0', 0, '1', 0, 0};
  const Row rows[] = {
      {VDX_CHAR, bytes_of("   "), VDX_BIN, four, 1, 0, {}},
      {VDX_CHAR, bytes_of("0x"), VDX_BIN, four, 1, 0, {}},
      {VDX_CHAR, bytes_of("12 34"), VDX_BIN, four, VDX_SYNTAX, 0, {}},
      {VDX_CHAR, bytes_of("0X0x"), VDX_BIN, four, VDX_SYNTAX, 0, {}},
      {VDX_VARCHAR, counted("0XaB1"), VDX_VARBIN, {}, 1, 258, {2, 0, 0x0A, 0xB1}},
      {VDX_CHAR, bytes_of(d + d), VDX_VARBIN, {}, 1, 258, counted(b + b)},
      {VDX_CHAR, bytes_of(d + d + "7"), VDX_VARBIN, {}, -113, 258, {0, 1, 7, 'w'}},
      {VDX_CHAR, bytes_of(d + d + "x"), VDX_VARBIN, {}, VDX_SYNTAX, 0, {}},
      {VDX_VARBIN, counted(b), VDX_VARCHAR, {}, 1, 258, counted(d)},
      {VDX_VARBIN, counted(b + "7"), VDX_VARCHAR, {}, -101, 258, counted(d)},
      {VDX_VARBIN, longest, VDX_VARCHAR, {}, VDX_INVALID, kUnset, {kGuard}},
      {VDX_VARBIN, longest, VDX_I4, {}, VDX_INVALID, kUnset, {kGuard}},
      {VDX_BIN, both, VDX_CHAR, {.flags = 1, .maxlength = 4}, -101, 4, {'a', 'b', '0', 0}},
      {VDX_BIN, both, VDX_XML, {.flags = 5, .maxlength = 6}, 1, 6, {'a', 'b', '0', '1', ' ', 0}},
      // Images of fixed length.
      {VDX_BIN, both, VDX_I4, {}, 1, 4, {0xAB, 1, 0, 0}},
      {VDX_VARBIN, counted("wwwwwwwww"), VDX_MONEY, {}, -113, 8, Bytes(8, 'w')},
      {VDX_BIN, {1, 7}, VDX_BIT, {}, -113, 1, {1}},
      {VDX_BIN, {2}, VDX_BIT, {}, VDX_INVALID, 1, {kGuard}},
      {VDX_BIN, {2, 0}, VDX_BIT, {}, VDX_INVALID, 1, {kGuard}},
      {VDX_BIN, {1}, VDX_NUM, {}, 1, 35, {1, 0, 0}},
      {VDX_BIN, Bytes(35, 78), VDX_DECIMAL, {}, VDX_INVALID, 35, {kGuard}},
      {VDX_BIN, {0, 0, 0, 0x7F}, VDX_DATEA, {}, VDX_INVALID, 4, {kGuard}},
      {VDX_BIN, {7}, VDX_BIGTIME, {}, 1, 8, {7, 0, 0, 0, 0, 0, 0, 0}},
      {VDX_BIN, {7}, VDX_BIGDATETIME, {}, VDX_INVALID, 8, {kGuard}},
      // Locators, and what has no content.
      {VDX_CHAR, bytes_of("ab1"), VDX_IMAGELOCATOR, four, 1, 2, {0x0A, 0xB1}},
      {VDX_TEXTLOCATOR, both, VDX_TEXT, four, 1, 4, bytes_of("ab01")},
      {VDX_IMAGELOCATOR, both, VDX_IMAGE, four, 1, 2, both},
      {VDX_TEXTLOCATOR, both, VDX_TEXTLOCATOR, {.maxlength = 1}, -113, 1, {0xAB}},
      {VDX_UNITEXTLOCATOR, both, VDX_UNICHAR, {.flags = 65, .maxlength = 10}, 1, 10, swapped},
      {VDX_UNITEXTLOCATOR, both, VDX_UNICHAR, {.flags = 1, .maxlength = 7}, -101, 6, units},
      {VDX_UNITEXTLOCATOR, Bytes(200, 9), VDX_UNICHAR, {.maxlength = 800}, 1, 800, {'0', 0, '9'}},
      {VDX_VOID, both, VDX_VOID, {}, 1, 0, {kGuard}},
      {VDX_VOID, {}, VDX_CHAR, {.flags = 6}, 1, 0, {kGuard}},
  };
  for (const Row& row : rows) {
    SCOPED_TRACE(&row - rows);
    const Result result = convert(table.context, row.from, row.source, row.to, row.format);
    EXPECT_EQ(result.code, row.code);
    EXPECT_EQ(result.length, row.length);
    EXPECT_TRUE(starts_with(result, row.start)) << result;
  }
}

}  // namespace
