// Text to integer.
//
// Nearly every text is blanks, a sign, digits and blanks. Its shape is recognised from byte masks
// and its digits are converted sixteen at a time. Every other text, and every number that does not
// fit, goes through the state machine, which alone decides what such texts mean.
#ifndef VDX_NUMBER_INTEGER_TEXT_H
#define VDX_NUMBER_INTEGER_TEXT_H

#include <concepts>
#include <limits>

#include "intl/charattr.h"
#include "number/digits.h"

namespace vdx {

// Results of the integer parsers.
inline constexpr std::int32_t kScanEmpty = 0;
inline constexpr std::int32_t kScanOverflow = -1;
inline constexpr std::int32_t kScanSyntax = -2;
inline constexpr std::int32_t kScanDone = 4;

struct PlainInteger {
  std::uint64_t magnitude;
  std::uint32_t plain;  // 1: the text has the plain shape and at most nineteen digits
  std::uint32_t minus;
};

// Masks of a text of at most 32 bytes: which bytes are digits, which have no place in a number.
struct NumberShape {
  std::uint32_t start, end;  // of the digits
  std::uint32_t plain, minus;

  NumberShape(std::uint32_t digits, std::uint32_t blanks, std::uint32_t minuses,
              std::uint32_t pluses, std::uint32_t inside) {
    digits &= inside;
    start = static_cast<std::uint32_t>(std::countr_zero(digits));
    end = 32 - static_cast<std::uint32_t>(std::countl_zero(digits));
    // Adding the lowest bit of one unbroken run carries it out of the run.
    const std::uint32_t broken = digits & (digits + (digits & (0 - digits)));
    const std::uint32_t sign_place = (digits & (0 - digits)) >> 1;
    const std::uint32_t others = inside & ~digits & ~blanks & ~((minuses | pluses) & sign_place);
    plain = digits != 0 && (broken | others) == 0 ? 1 : 0;
    minus = (minuses & sign_place) != 0 ? 1 : 0;
  }
};

VDX_INLINE PlainInteger plain_integer_16(const std::uint8_t* text, std::uint32_t n) {
  const Block block = Block::of(text, n);
  const NumberShape shape(block.digits(), block.equal(' '), block.equal('-'), block.equal('+'),
                          (std::uint32_t{1} << n) - 1);
  if (!shape.plain) [[unlikely]]
    return {};
  return {number_in(text, block, shape.end, shape.end - shape.start), 1, shape.minus};
}

void plain_integer_long(const std::uint8_t* text, std::uint32_t n, PlainInteger& number);

VDX_INLINE PlainInteger plain_integer(const std::uint8_t* text, std::uint32_t n) {
  if (n <= 16) return plain_integer_16(text, n);
  PlainInteger number{};
  plain_integer_long(text, n, number);
  return number;
}

// The state machine, for any text and any character set; a null record means single bytes.
template <typename T>
std::int32_t scan_any_integer(const std::uint8_t* text, std::int32_t length, T& out,
                              const vdx_charattr* attributes);

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
  // The plain shape is made of single bytes that stand for themselves in every character set.
  const PlainInteger number = plain_integer(text, static_cast<std::uint32_t>(length));
  const std::uint64_t top = static_cast<std::uint64_t>(std::numeric_limits<T>::max());
  if constexpr (std::is_signed_v<T>) {
    const std::uint64_t negate = 0 - std::uint64_t{number.minus};
    if (number.plain != 0 && number.magnitude <= top - negate) [[likely]] {
      out = static_cast<T>((number.magnitude ^ negate) - negate);
      return kScanDone;
    }
  } else {
    if (number.plain > number.minus && number.magnitude <= top) [[likely]] {
      out = static_cast<T>(number.magnitude);
      return kScanDone;
    }
  }
  return scan_any_integer(text, length, out, attributes);
}

// The 16-bit types parse as 32 bits; what does not fit leaves the low 16 bits, what does not parse
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
