#include "characters.h"

namespace vdx_test {

// The double-byte characters of Shift-JIS that these tests use.
constexpr struct {
  char32_t first, last;
  char32_t code;  // of the first
} kSjisRuns[] = {{0xFF10, 0xFF19, 0x824F}, {0xFF21, 0xFF3A, 0x8260}, {0xFF41, 0xFF5A, 0x8281},
                 {0xFF0B, 0xFF0B, 0x817B}, {0xFF0D, 0xFF0D, 0x817C}, {0xFF0E, 0xFF0E, 0x8144},
                 {0xFF0C, 0xFF0C, 0x8143}, {0x3000, 0x3000, 0x8140}, {0xFFE5, 0xFFE5, 0x818F},
                 {0x3042, 0x3042, 0x82A0}, {0x6708, 0x6708, 0x8C8E}, {0x65E5, 0x65E5, 0x93FA},
                 {0xFF61, 0xFF9F, 0xA1},   {0xFF07, 0xFF07, 0xFA56}, {0x2212, 0x2212, 0x817C}};

std::optional<Bytes> encode_one(Set set, char32_t c) {
  const auto byte = [](char32_t b) { return static_cast<std::uint8_t>(b); };
  if (c < 0x80 || (set == Set::latin1 && c < 0x100)) return Bytes{byte(c)};
  if (set == Set::sjis)
    for (const auto& run : kSjisRuns)
      if (c >= run.first && c <= run.last) {
        const char32_t code = run.code + (c - run.first);
        return code < 0x100 ? Bytes{byte(code)} : Bytes{byte(code >> 8), byte(code)};
      }
  if (set != Set::utf8) return std::nullopt;
  const auto tail = [&](int shift) { return byte(0x80 | (c >> shift & 63)); };
  if (c < 0x800) return Bytes{byte(0xC0 | c >> 6), tail(0)};
  if (c < 0x10000) return Bytes{byte(0xE0 | c >> 12), tail(6), tail(0)};
  return Bytes{byte(0xF0 | c >> 18), tail(12), tail(6), tail(0)};
}

Bytes encode_unit(std::uint32_t unit) { return image(static_cast<std::uint16_t>(unit)); }

Bytes encode_utf16_one(char32_t c) {
  if (c < 0x10000) return encode_unit(c);
  Bytes bytes = encode_unit(0xD800 + ((c - 0x10000) >> 10));
  append(bytes, encode_unit(0xDC00 + ((c - 0x10000) & 0x3FF)));
  return bytes;
}

// The character at `at`: the shortest run of bytes that is the form of a character, else one byte,
// or two where a double-byte set would make a character of them.
Character decode_one(Set set, const Bytes& text, std::size_t at) {
  const std::uint8_t lead = text[at];
  const std::size_t left = text.size() - at;
  const auto none = [&](std::size_t n) {
    return Character{kNoCharacter, slice(text, at, std::min(n, left))};
  };
  if (lead < 0x80 || set == Set::latin1) return {lead, {lead}};
  if (set == Set::ascii) return none(1);
  if (set == Set::sjis) {
    const bool is_single = lead >= 0xA1 && lead <= 0xDF;
    const char32_t code = is_single ? lead : lead * 256u + (left > 1 ? text[at + 1] : 0);
    for (const auto& run : kSjisRuns)
      if (code >= run.code && code - run.code <= run.last - run.first)
        return {run.first + (code - run.code), slice(text, at, is_single ? 1 : 2)};
    return none(2);
  }
  for (std::size_t n = 2; n <= 4 && n <= left; ++n) {
    const Bytes form = slice(text, at, n);
    char32_t c = lead & (0x7Fu >> n);
    for (std::size_t i = 1; i < n; ++i) c = c << 6 | (form[i] & 63);
    const bool surrogate = c >= 0xD800 && c < 0xE000;
    if (c < 0x110000 && !surrogate && encode_one(set, c) == form) return {c, form};
  }
  // What is malformed is as long as its first byte says, if there is so much.
  return none(lead < 0xC2 || lead > 0xF4 ? 1 : lead < 0xE0 ? 2 : lead < 0xF0 ? 3 : 4);
}

Characters decode(Set set, const Bytes& text) {
  Characters characters;
  for (std::size_t at = 0; at < text.size(); at += characters.back().bytes.size())
    characters.push_back(decode_one(set, text, at));
  return characters;
}

Characters decode_utf16(const Bytes& text) {
  Characters characters;
  const auto in = [](char32_t c, char32_t first) { return c >= first && c < first + 0x400; };
  for (std::size_t at = 0; at < text.size(); at += characters.back().bytes.size()) {
    const std::size_t left = text.size() - at, n = std::min<std::size_t>(left, 2);
    const char32_t unit = as<std::uint16_t>(slice(text, at, n));
    const char32_t low = left < 4 ? 0 : as<std::uint16_t>(slice(text, at + 2, 2));
    const bool alone = left < 2 || in(unit, 0xD800) || in(unit, 0xDC00);
    if (in(unit, 0xD800) && in(low, 0xDC00))
      characters.push_back(
          {0x10000 + ((unit - 0xD800) << 10) + (low - 0xDC00), slice(text, at, 4)});
    else
      characters.push_back({alone ? kNoCharacter : unit, slice(text, at, n)});
  }
  return characters;
}

std::u32string narrowed(const Characters& characters) {
  std::u32string text;
  for (const Character& c : characters)
    text += c.code >= 0xFF01 && c.code <= 0xFF5E ? c.code - 0xFEE0
            : c.code == 0x3000                   ? U' '
            : c.code == 0x2212                   ? U'-'
                                                 : c.code;
  return text;
}

std::string folded(const Characters& characters) {
  std::string text;
  for (const char32_t c : narrowed(characters)) text += c < 0x80 ? static_cast<char>(c) : '\x7F';
  return text;
}

std::optional<Bytes> encode(Set set, std::u32string_view text) {
  Bytes bytes;
  for (const char32_t c : text) {
    const std::optional<Bytes> one = encode_one(set, c);
    if (!one) return std::nullopt;
    append(bytes, *one);
  }
  return bytes;
}

Bytes encode_utf16(std::u32string_view text) {
  Bytes bytes;
  for (const char32_t c : text) append(bytes, encode_utf16_one(c));
  return bytes;
}

const LocaleDates& dates_of(Set set) {
  static constexpr LocaleDates kDates[] = {
      // the utf8 name has seven letters
      {"iso_1", "Jan", 1, 0, "N D Y H:ip"},
      {"ascii", "J'n", 2, 106, "d N Y"},
      {"utf8", "\xD5\xB0\xD5\xB8\xD6\x82\xD5\xB6\xD5\xBE\xD5\xA1\xD6\x80", 3, 138,
       "N D Y H:i:s.up"},
      {"sjis", "\x82\x50\x8C\x8E", 3, 9, "N D Y H:i:s:fp"}};
  return kDates[static_cast<int>(set)];
}

vdx_locale* locale_of(Set set) {
  static vdx_locale* const* const kMade = [] {
    static vdx_locale* made[4] = {};
    for (int i = 1; i < 4; ++i) {
      const LocaleDates& dates = dates_of(kSets[i]);
      EXPECT_EQ(comn_loc_alloc(nullptr, dates.set, &made[i]), 1);
      EXPECT_EQ(comn_loc_set(made[i], VDX_LOC_DATE_ORDER, &dates.order, 4), 1);
      EXPECT_EQ(comn_loc_set(made[i], VDX_LOC_DATE_STYLE, &dates.style, 4), 1);
      EXPECT_EQ(comn_loc_set(made[i], VDX_LOC_SHORT_MONTH, dates.january, VDX_NULLTERM), 1);
    }
    return made;
  }();
  return kMade[static_cast<int>(set)];
}

}  // namespace vdx_test
