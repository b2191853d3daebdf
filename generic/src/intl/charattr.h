// Attributes of a character set.
//
//   lead byte   the first byte of a character; it tells how many bytes the character has
//   fold        the single byte that a character counts as when numbers, dates and signs are read:
//               of a wide digit or letter the ASCII one; 0 where there is none
//   class       letter, digit, blank and so on, as bits of CharClass
#ifndef VDX_INTL_CHARATTR_H
#define VDX_INTL_CHARATTR_H

#include <cstdint>

#include "frame/compiler.h"
#include "vdxcomn/types.h"

namespace vdx {

enum CharClass : std::uint8_t {
  kClassUpper = 1,
  kClassLower = 2,
  kClassLetter = 4,  // also letters without case
  kClassDigit = 8,
  kClassBlank = 16,
  kClassCurrency = 32,
  kClassPunctuation = 64,
};

// The 256 characters that share a lead byte, by their second byte; or those of one byte.
struct CharPage {
  std::uint8_t fold[256];
  std::uint8_t bits[256];  // CharClass bits
};

// Neighbouring code points of one class, of characters of three or more bytes in UTF-8.
struct CharRun {
  std::uint32_t first;
  std::uint32_t last;
  std::uint8_t bits;
  std::uint8_t fold;  // of the first; the next one folds to fold + 1 and so on. 0: none has a fold
};

// Which conversion to code points a set has, see unicode.h.
enum class Encoding : std::uint8_t { latin1, ascii, utf8, sjis, utf16 };

}  // namespace vdx

struct vdx_charattr {
  std::int32_t max_bytes;        // of one character; 1 means that each byte is a character
  std::uint8_t lead_class[256];  // low nibble: bytes of a character with this lead byte
  const vdx::CharPage* single;   // characters of one byte
  // by lead byte, null where a lead byte has none; null array for single-byte sets
  const vdx::CharPage* const* pages;
  // upper and lower case of single bytes; letters of longer characters keep their case
  const std::uint8_t* to_upper;
  const std::uint8_t* to_lower;
  // Unicode alone: characters that take three and four bytes in UTF-8, ascending
  const vdx::CharRun* runs = nullptr;
  std::int32_t run_count = 0;
  vdx::Encoding encoding = vdx::Encoding::latin1;
};

namespace vdx {

// A set in which a two-byte lead followed by an ASCII digit starts a four-byte character.
inline bool is_four_byte_set(const vdx_charattr& attributes) {
  return (attributes.lead_class[255] >> 4) == 15;
}

// Bytes that the character at p has when it is whole; `left` (at least 1) of them are there.
inline std::int32_t whole_char_bytes(const vdx_charattr& attributes, const std::uint8_t* p,
                                     std::int64_t left) {
  const std::int32_t n = attributes.lead_class[*p] & 15;
  if (n == 2 && left > 1 && is_four_byte_set(attributes) && p[1] >= '0' && p[1] <= '9') return 4;
  return n < 1 ? 1 : n;
}

// The same, but never more than `left`.
inline std::int32_t char_bytes(const vdx_charattr& attributes, const std::uint8_t* p,
                               std::int64_t left) {
  const std::int32_t n = whole_char_bytes(attributes, p, left);
  return n <= left ? n : static_cast<std::int32_t>(left);
}

// The fold and the class of a character of three or four bytes, or of one in UTF-16.
std::uint8_t long_char_fold(const vdx_charattr& attributes, const std::uint8_t* p, std::int32_t n);
std::uint8_t long_char_class(const vdx_charattr& attributes, const std::uint8_t* p, std::int32_t n);

// The single byte that the n-byte character at p folds to, 0 where there is none.
inline std::uint8_t char_fold(const vdx_charattr& attributes, const std::uint8_t* p,
                              std::int32_t n) {
  if (n == 1) return attributes.max_bytes > 1 ? attributes.single->fold[*p] : *p;
  if (attributes.runs != nullptr && (n > 2 || attributes.pages == nullptr))
    return long_char_fold(attributes, p, n);
  if (n != 2 || attributes.pages == nullptr) return 0;
  const CharPage* page = attributes.pages[*p];
  return page == nullptr ? std::uint8_t{0} : page->fold[p[1]];
}

// Its CharClass bits.
inline std::uint8_t char_class(const vdx_charattr& attributes, const std::uint8_t* p,
                               std::int32_t n) {
  if (n == 1) return attributes.single->bits[*p];
  if (attributes.runs != nullptr && (n > 2 || attributes.pages == nullptr))
    return long_char_class(attributes, p, n);
  if (n != 2 || attributes.pages == nullptr) return 0;
  const CharPage* page = attributes.pages[*p];
  return page == nullptr ? std::uint8_t{0} : page->bits[p[1]];
}

// The built-in sets. ISO 8859-1, one byte a character, is the process-wide default.
VDX_HIDDEN extern const vdx_charattr kLatin1;
VDX_HIDDEN extern const vdx_charattr kAscii;
VDX_HIDDEN extern const vdx_charattr kUtf8;
VDX_HIDDEN extern const vdx_charattr kSjis;

// UTF-16 in native byte order as a set of two bytes a character, for code that reads text character
// by character. A text must not end inside a unit; surrogates have no fold and no class.
VDX_HIDDEN extern const vdx_charattr kUtf16;

struct NamedCharset {
  const char* name;
  const vdx_charattr* attributes;
};

// "iso_1", the default, "ascii", "utf8" and "sjis", which is code page 932: Shift_JIS with the
// extensions of that page, its bytes 0x80, 0xA0 and 0xFD to 0xFF being no characters.
VDX_HIDDEN extern const NamedCharset kCharsets[4];

// The set of a zero-terminated name, null for an unknown name.
const NamedCharset* find_charset(const char* name);

}  // namespace vdx

#endif
