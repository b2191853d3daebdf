// Exact numerics from and to text.
#ifndef VDX_NUMBER_NUM_TEXT_H
#define VDX_NUMBER_NUM_TEXT_H

#include "intl/charattr.h"
#include "number/numeric.h"

namespace vdx {

struct Finding;

// A text of the shape that writers of text take: sixteen bytes behind it may be read.
struct NumericText {
  static constexpr std::uint32_t kEnd = 104;  // of every text; digits are put in pieces before it
  unsigned char bytes[kEnd + 16];
  std::uint32_t begin;

  std::uint32_t length() const { return kEnd - begin; }
  const unsigned char* data() const { return bytes + begin; }
};

// All digits of the scale (0 to 77), at least one before the point; no point at scale 0: at most 80
// bytes.
void put_numeric(const Exact& value, NumericText& text);

// A value in pieces of a limb: head * 10^16 + middle + fraction / 10^scale, or head + fraction /
// 10^scale.
struct NumericPieces {
  std::uint64_t head, middle, fraction;
  bool has_middle;
};

// False for what is too long, or has more than sixteen places.
VDX_INLINE bool split_numeric(const Exact& value, NumericPieces& pieces) {
  const Magnitude& m = value.magnitude;
  if (value.scale > 16 || (m[3] | m[2]) != 0) return false;
  const Divisor& power = kPowerDivisors[static_cast<std::size_t>(value.scale)];
  const std::uint64_t divisor = power.limbs[0];
  const int shift = power.shift;  // 10 to 63
  const std::uint64_t top = m[1] >> (64 - shift);
  const std::uint64_t upper = m[1] << shift | m[0] >> (64 - shift);
  const std::uint64_t lower = m[0] << shift;
  pieces.has_middle = top != 0 || upper >= divisor;
  if (!pieces.has_middle) [[likely]] {
    const Quotient parts = divide_step(upper, lower, divisor, power.reciprocal);
    pieces.head = parts.quotient;
    pieces.fraction = parts.remainder >> shift;
    return true;
  }
  const Quotient first = divide_step(top, upper, divisor, power.reciprocal);
  const Quotient last = divide_step(first.remainder, lower, divisor, power.reciprocal);
  pieces.fraction = last.remainder >> shift;
  const Divisor& sixteen = kPowerDivisors[16];
  constexpr int kShift = 10;  // of 10^16
  const std::uint64_t rest = first.quotient << kShift | last.quotient >> (64 - kShift);
  if (first.quotient >> (64 - kShift) != 0 || rest >= sixteen.limbs[0]) return false;
  const Quotient parts =
      divide_step(rest, last.quotient << kShift, sixteen.limbs[0], sixteen.reciprocal);
  pieces.head = parts.quotient;
  pieces.middle = parts.remainder >> kShift;
  return true;
}

VDX_INLINE void put_16_digits(unsigned char* to, std::uint64_t number) {
  constexpr std::uint64_t kTen8 = 100000000;
  Digits16(number / kTen8, number % kTen8).put(to);
}

// The point and 1 to 16 places, and nothing after them.
VDX_INLINE void put_places(unsigned char* to, std::uint64_t fraction, std::uint32_t places) {
  constexpr std::uint64_t kTen8 = 100000000;
  *to++ = '.';
  if (places > 8) {
    const std::uint64_t upper = fraction / kTen8;
    store(to, (digits_of_8(upper) | kAsciiZeros) >> 8 * (16 - places));
    store(to + places - 8, digits_of_8(fraction - upper * kTen8) | kAsciiZeros);
    return;
  }
  std::uint64_t word;
  if (places <= 4) {
    const std::uint64_t upper = fraction * 5243 >> 19;  // over 100
    word =
        (kPairs[upper] | std::uint32_t{kPairs[fraction - upper * 100]} << 16) >> 8 * (4 - places);
  } else {
    word = (digits_of_8(fraction) | kAsciiZeros) >> 8 * (8 - places);
  }
  if (places == 1)
    *to = static_cast<unsigned char>(word);
  else
    store_bytes(to, word, places);
}

// Text of any length in the given character set as an image, halves rounded away from zero: blanks,
// a sign, blanks, digits with at most one point, an exponent, blanks. Blank text is zero. Gives the
// codes of write_numeric, or VDX_SYNTAX with nothing written.
std::int32_t parse_numeric(const std::uint8_t* text, std::int32_t length,
                           const vdx_charattr& attributes, std::int32_t precision,
                           std::int32_t scale, void* image);

// The same by the whole grammar, one character at a time; precision and scale are valid.
std::int32_t parse_numeric_grammar(const std::uint8_t* text, std::int32_t length,
                                   const vdx_charattr& attributes, std::int32_t precision,
                                   std::int32_t scale, void* image, Finding* finding = nullptr);

}  // namespace vdx

#endif
