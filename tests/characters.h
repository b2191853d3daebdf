// Character sets, worked out slowly and plainly. Of Shift-JIS it knows a few characters, those of
// the tests.
#ifndef VDX_TESTS_CHARACTERS_H
#define VDX_TESTS_CHARACTERS_H

#include <optional>
#include <string>
#include <string_view>

#include "support.h"

namespace vdx_test {

// The opposite of image().
template <class T>
T as(const Bytes& bytes) {
  T value{};
  std::copy_n(bytes.begin(), std::min(sizeof value, bytes.size()),
              reinterpret_cast<std::uint8_t*>(&value));
  return value;
}

inline Bytes slice(const Bytes& bytes, std::size_t from, std::size_t n) {
  return Bytes(bytes.begin() + static_cast<long>(from),
               bytes.begin() + static_cast<long>(from + n));
}
inline void append(Bytes& to, const Bytes& more) { to.insert(to.end(), more.begin(), more.end()); }

enum class Set { latin1, ascii, utf8, sjis };
inline constexpr Set kSets[] = {Set::latin1, Set::ascii, Set::utf8, Set::sjis};

// A locale of the set, with a date order, a style and a name of January of its own. That of latin1 is the
// process-wide default: null.
vdx_locale* locale_of(Set set);
struct LocaleDates {
  const char *set, *january;  // the short name; the others are English
  std::int32_t order, style;
  const char* layout;  // of the style, for show_date
};
const LocaleDates& dates_of(Set set);

// Text of a set and as native UTF-16; nothing where the set lacks a character.
std::optional<Bytes> encode(Set set, std::u32string_view text);
Bytes encode_utf16(std::u32string_view text);

constexpr char32_t kNoCharacter = 0xFFFFFFFF;

struct Character {
  char32_t code;  // kNoCharacter where the bytes are none
  Bytes bytes;    // as in the source
};
using Characters = std::vector<Character>;

Characters decode(Set set, const Bytes& text);
Characters decode_utf16(const Bytes& text);

std::optional<Bytes> encode_one(Set set, char32_t c);
Bytes encode_utf16_one(char32_t c);
Bytes encode_unit(std::uint32_t unit);  // in native byte order

// What literals are read from: wide forms as the single ones. The same with byte 127 for whatever is
// not ASCII.
std::u32string narrowed(const Characters& characters);
std::string folded(const Characters& characters);

}  // namespace vdx_test

#endif
