// Unsigned magnitudes of 256 bits in little-endian limbs, and the powers of ten that fit them.
#ifndef VDX_NUMBER_MAGNITUDE_H
#define VDX_NUMBER_MAGNITUDE_H

#include <array>
#include <bit>
#include <cstddef>
#include <cstdint>

#include "frame/compiler.h"
#include "number/wide.h"

namespace vdx {

using Magnitude = std::array<std::uint64_t, 4>;

inline constexpr std::int32_t kMaxPrecision = 77;  // the largest power of ten in 256 bits

constexpr bool is_zero(const Magnitude& m) { return (m[0] | m[1] | m[2] | m[3]) == 0; }

// Without a branch on the limbs: which of them decides is as unpredictable as values.
constexpr bool less(const Magnitude& a, const Magnitude& b) {
  std::uint64_t borrow = 0;
  VDX_UNROLL
  for (std::size_t i = 0; i < 4; ++i) {
    const std::uint64_t difference = a[i] - b[i];
    borrow =
        static_cast<std::uint64_t>(a[i] < b[i]) | static_cast<std::uint64_t>(difference < borrow);
  }
  return borrow != 0;
}

// m * factor + addend; the return value is the limb above.
template <typename Arithmetic = Wide>
constexpr std::uint64_t multiply_add(Magnitude& m, std::uint64_t factor, std::uint64_t addend) {
  for (std::uint64_t& limb : m) {
    const U128 product = Arithmetic::multiply(limb, factor);
    limb = product.low + addend;
    addend = product.high + (limb < addend ? 1 : 0);
  }
  return addend;
}

inline constexpr std::array<Magnitude, kMaxPrecision + 1> kPowersOfTen = [] {
  std::array<Magnitude, kMaxPrecision + 1> powers{};
  Magnitude power{1, 0, 0, 0};
  for (Magnitude& row : powers) {
    row = power;
    multiply_add<PortableWide>(power, 10, 0);
  }
  return powers;
}();

// Powers of ten in one limb: 10^0 to 10^19.
inline constexpr std::int32_t kLimbDigits = 19;
constexpr std::uint64_t limb_power(std::int32_t exponent) {
  return kPowersOfTen[static_cast<std::size_t>(exponent)][0];
}

// Decimal digits of a limb; 0 has one. 1233 / 4096 is log10(2) to four digits: for every length in
// bits it gives the digits of the smallest number of that length, or one less.
constexpr std::uint32_t decimal_digits(std::uint64_t v) {
  v |= 1;  // changes no number's digits: powers of ten above 1 are even
  const auto least = static_cast<std::uint32_t>(std::bit_width(v)) * 1233 >> 12;
  return least + (v >= limb_power(static_cast<std::int32_t>(least)) ? 1 : 0);
}
static_assert([] {
  for (std::int32_t digits = 1; digits <= kLimbDigits; ++digits) {
    const auto count = static_cast<std::uint32_t>(digits);
    if (decimal_digits(limb_power(digits)) != count + 1) return false;
    if (decimal_digits(limb_power(digits) - 1) != count) return false;
  }
  for (int bits = 1; bits < 64; ++bits)  // both ends of every length
    if (decimal_digits((std::uint64_t{1} << bits) - 1) !=
            decimal_digits(std::uint64_t{1} << bits) &&
        limb_power(static_cast<std::int32_t>(decimal_digits((std::uint64_t{1} << bits) - 1))) !=
            std::uint64_t{1} << bits)
      return false;
  return decimal_digits(0) == 1 && decimal_digits(~std::uint64_t{0}) == 20;
}());

constexpr std::int32_t bytes_of(const Magnitude& m) {
  for (std::size_t i = 4; i-- > 0;)
    if (m[i] != 0)
      return static_cast<std::int32_t>(8 * i +
                                       (static_cast<unsigned>(std::bit_width(m[i])) + 7) / 8);
  return 0;
}

// Bytes of a numeric of each precision: the sign and 10^p - 1, which takes as many bytes as 10^p
// because no power of ten but the first is one of two.
inline constexpr std::array<std::uint8_t, kMaxPrecision + 1> kBytesOfPrecision = [] {
  std::array<std::uint8_t, kMaxPrecision + 1> table{};
  for (std::size_t p = 0; p < table.size(); ++p)
    table[p] = static_cast<std::uint8_t>(1 + bytes_of(kPowersOfTen[p]));
  return table;
}();

// m times 10^exponent (0 to 77); false, with m undefined, where that passes 256 bits.
inline bool scale_up(Magnitude& m, std::int32_t exponent) {
  if (is_zero(m) || exponent == 0) return true;
  if ((m[1] | m[2] | m[3]) == 0) {
    const std::uint64_t factor = m[0];
    m = kPowersOfTen[static_cast<std::size_t>(exponent)];
    return multiply_add(m, factor, 0) == 0;
  }
  for (; exponent > kLimbDigits; exponent -= kLimbDigits)
    if (multiply_add(m, limb_power(kLimbDigits), 0) != 0) return false;
  return multiply_add(m, limb_power(exponent), 0) == 0;
}

}  // namespace vdx

#endif
