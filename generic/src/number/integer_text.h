// Text to integer, and what its readers return.
//
// Plain numbers of at most nineteen digits are recognised and converted sixteen digits at a time.
// Every other text, and every number that does not fit, goes by the grammar, which alone decides
// what such texts mean.
#ifndef VDX_NUMBER_INTEGER_TEXT_H
#define VDX_NUMBER_INTEGER_TEXT_H

#include <concepts>
#include <limits>

#include "intl/charattr.h"
#include "number/plain_number.h"

namespace vdx {

// Results of the readers.
inline constexpr std::int32_t kScanEmpty = 0;
inline constexpr std::int32_t kScanOverflow = -1;
inline constexpr std::int32_t kScanSyntax = -2;
inline constexpr std::int32_t kScanDone = 4;

// Both return false for a text that is not plain or has more than nineteen digits.
bool plain_integer_long(const std::uint8_t* text, std::uint32_t n, SignedMagnitude& value);

// A minus sign, perhaps, and digits: texts of up to eight bytes that are nothing else.
VDX_INLINE bool short_integer(const std::uint8_t* text, std::uint32_t n, SignedMagnitude& value) {
  std::uint64_t word = 0;
  if (can_read_ahead(text, 8)) [[likely]]
    word = load<std::uint64_t>(text);
  else
    std::memcpy(&word, text, n);
  const std::uint32_t minus = (word & 0xFF) == '-' ? 1 : 0;
  const std::uint32_t digits = n - minus;
  if (digits == 0) [[unlikely]]
    return false;
  // The last digit goes to the top; what is not a digit's place becomes a leading zero.
  word = (word << (64 - 8 * n) ^ kAsciiZeros) & ~std::uint64_t{0} << (64 - 8 * digits);
  if (!are_digits(word)) [[unlikely]]
    return false;
  value = {number_of_8(word), minus};
  return true;
}

// Short: of up to eight bytes more often than not.
template <bool kShort>
VDX_INLINE bool plain_integer(const std::uint8_t* text, std::uint32_t n, SignedMagnitude& value) {
  if (kShort && n <= 8 && short_integer(text, n, value)) return true;
  if (n <= 16) {
    const Block block = Block::of(text, n);
    PlainNumber number;
    if (!recognise_masks<kDigitsAlone>(text, ShortBytes(block, n), number)) [[unlikely]]
      return false;
    value = {number_in(text, block, number.end, number.whole_digits), number.minus};
    return true;
  }
  SignedMagnitude long_value;  // in memory; the short one stays in registers
  if (!plain_integer_long(text, n, long_value)) return false;
  value = long_value;
  return true;
}

// The grammar, for any text and any character set; a null record means single bytes.
template <typename T>
std::int32_t scan_any_integer(const std::uint8_t* text, std::int32_t length, T& out,
                              const vdx_charattr* attributes);

// Reads the text by the grammar for what it finds, and returns the same as its readers.
struct Finding;
template <typename T>
std::int32_t explain_integer(const std::uint8_t* text, std::int32_t length,
                             const vdx_charattr& attributes, Finding& finding);

// Reads `length` bytes of text into out. Blank text is 0. On overflow signed types receive the
// value as far as it was read, unsigned types their maximum; on a syntax error the value before
// the offending character, 0 for a wrong sign.
template <typename T>
requires std::same_as<T, std::int32_t> || std::same_as<T, std::int64_t> ||
    std::same_as<T, std::uint32_t> || std::same_as<T, std::uint64_t>
        VDX_INLINE std::int32_t scan_integer(const std::uint8_t* text, std::int32_t length, T& out,
                                             const vdx_charattr* attributes) {
  if (length <= 0) [[unlikely]] {
    out = 0;
    return kScanEmpty;
  }
  SignedMagnitude number;
  if (plain_integer<sizeof(T) == 4>(text, static_cast<std::uint32_t>(length), number)) [[likely]] {
    const auto top = static_cast<std::uint64_t>(std::numeric_limits<T>::max());
    const std::uint64_t negate = 0 - number.sign;
    // The least signed value is one further from zero than the largest; unsigned types take no sign.
    if (std::is_signed_v<T> ? number.magnitude <= top - negate
                            : (number.magnitude <= top) & (number.sign == 0)) [[likely]] {
      out = static_cast<T>((number.magnitude ^ negate) - negate);
      return kScanDone;
    }
  }
  return scan_any_integer(text, length, out, attributes);
}

// The 16-bit types are read as 32 bits; what does not fit leaves the low 16 bits, what does not parse
// 0.
template <typename T, typename Wide>
VDX_INLINE std::int32_t scan_narrow_integer(const std::uint8_t* text, std::int32_t length, T& out,
                                            const vdx_charattr* attributes) {
  Wide wide;
  const std::int32_t result = scan_integer(text, length, wide, attributes);
  if (result != kScanDone) [[unlikely]] {
    out = 0;
    return result;
  }
  out = static_cast<T>(wide);
  return out == wide ? kScanDone : kScanOverflow;
}

VDX_INLINE std::int32_t scan_integer(const std::uint8_t* text, std::int32_t length,
                                     std::int16_t& out, const vdx_charattr* attributes) {
  return scan_narrow_integer<std::int16_t, std::int32_t>(text, length, out, attributes);
}

VDX_INLINE std::int32_t scan_integer(const std::uint8_t* text, std::int32_t length,
                                     std::uint16_t& out, const vdx_charattr* attributes) {
  return scan_narrow_integer<std::uint16_t, std::uint32_t>(text, length, out, attributes);
}

}  // namespace vdx

#endif
