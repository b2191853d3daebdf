// Powers of ten for floats, to 128 bits.
#ifndef VDX_NUMBER_FLOAT_POWERS_H
#define VDX_NUMBER_FLOAT_POWERS_H

#include <array>
#include <cstdint>

#include "frame/compiler.h"
#include "number/wide.h"

namespace vdx {

// The upper 128 bits of a power of ten, the others cut off: with p = high * 2^64 + low, whose top
// bit is set, and e = floor_log2_of_tens(tens),
//
//   p <= 10^tens / 2^(e - 127) < p + 1
using BinaryPower = U128;

// The reader needs no lower one: a magnitude below 2^64 times 10^-343 is below 1.9e-324, which is
// less than half of the smallest double, 4.9e-324. The writer needs no higher one: the smallest
// double is 2^-1074, whose decimal exponent is -324.
inline constexpr std::int32_t kLeastTens = -342, kMostTens = 324;

VDX_HIDDEN extern const std::array<BinaryPower, kMostTens - kLeastTens + 1> kBinaryPowers;

inline const BinaryPower& binary_power(std::int32_t tens) {
  return kBinaryPowers[static_cast<std::size_t>(tens - kLeastTens)];
}

// Whether nothing was cut off: 10^tens is 5^tens and a power of two, and 5^55 has 128 bits.
constexpr bool is_whole_power(std::int32_t tens) { return tens >= 0 && tens <= 55; }

// The whole part of the logarithm, downwards. 1741647 / 2^19 is log2(10) - 7.1e-8, so that over the
// table the product is off by less than 2.5e-5; float_powers.cpp proves that no logarithm in it is
// that close to a whole number.
constexpr std::int32_t floor_log2_of_tens(std::int32_t tens) { return (tens * 1741647) >> 19; }

// p * 2^64 + q, without the low word of q.
inline U128 add_high(U128 p, const U128& q) {
  p.low += q.high;
  p.high += p.low < q.high ? 1 : 0;
  return p;
}

}  // namespace vdx

#endif
