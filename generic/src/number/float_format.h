// The layout of a float, and the tools that its reader, its writer and the way to numerics share.
//
// F is float or double. A float is its sign bit, then the biased exponent, then kFraction bits of
// fraction. With a biased exponent above 0 its magnitude is
//
//   (kHidden + fraction) * 2^(biased - kBias - kFraction)
//
// With 0 it is subnormal: the hidden bit is missing and the exponent counts as 1.
#ifndef VDX_NUMBER_FLOAT_FORMAT_H
#define VDX_NUMBER_FLOAT_FORMAT_H

#include <bit>
#include <cstdint>
#include <limits>
#include <type_traits>

namespace vdx {

template <typename F>
struct FloatFormat {
  static_assert(std::numeric_limits<F>::is_iec559);
  using Bits = std::conditional_t<sizeof(F) == 4, std::uint32_t, std::uint64_t>;
  static constexpr int kFraction = std::numeric_limits<F>::digits - 1;
  static constexpr int kBias = std::numeric_limits<F>::max_exponent - 1;
  static constexpr Bits kHidden = Bits{1} << kFraction;
  static constexpr Bits kSign = ~(~Bits{0} >> 1);
  static constexpr Bits kInfinity = static_cast<Bits>(2 * kBias + 1) << kFraction;
};

// A finite float of a given image without its sign: size * 2^exponent.
template <typename F>
struct FloatParts {
  std::uint64_t fraction, size;
  std::int32_t biased, exponent;

  constexpr explicit FloatParts(typename FloatFormat<F>::Bits image)
      : fraction(image & (FloatFormat<F>::kHidden - 1)),
        size(fraction),
        biased(static_cast<std::int32_t>(image >> FloatFormat<F>::kFraction)),
        exponent((biased != 0 ? biased : 1) - FloatFormat<F>::kBias - FloatFormat<F>::kFraction) {
    if (biased != 0) size |= FloatFormat<F>::kHidden;
  }
};

template <typename F>
inline F with_sign(F size, bool negative) {
  using Format = FloatFormat<F>;
  const auto bits = std::bit_cast<typename Format::Bits>(size);
  return std::bit_cast<F>(bits | (negative ? Format::kSign : 0));
}

// The powers of ten that a double holds to the last bit: 10^22 is 5^22 * 2^22, and 5^22 has 52
// bits, 5^23 has 54. With an integer of up to 53 bits, product and quotient are one operation on
// two doubles that are what they stand for, so they are rounded once.
inline constexpr double kDoubleTens[] = {1e0,  1e1,  1e2,  1e3,  1e4,  1e5,  1e6,  1e7,
                                         1e8,  1e9,  1e10, 1e11, 1e12, 1e13, 1e14, 1e15,
                                         1e16, 1e17, 1e18, 1e19, 1e20, 1e21, 1e22};
inline constexpr std::int32_t kMostDoubleTens = 22;
inline constexpr std::uint64_t kMostDoubleInteger = std::uint64_t{1} << 53;

}  // namespace vdx

#endif
