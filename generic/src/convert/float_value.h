// Floats as values: how they become other numbers and text, and numerics floats.
#ifndef VDX_CONVERT_FLOAT_VALUE_H
#define VDX_CONVERT_FLOAT_VALUE_H

#include <cmath>

#include "convert/kinds.h"
#include "number/float_exact.h"
#include "number/float_text.h"

namespace vdx {

// Truncated toward zero, then the nearest integer of the type. Not-a-number is zero.
template <Integral To, typename F>
inline std::int32_t narrow(const Float<F>& from, To& to) {
  using Limits = std::numeric_limits<To>;
  // The smallest integer above the range; always a power of two, so the same in every float type.
  constexpr F kAbove = static_cast<F>(Limits::max() / 2 + 1) * 2;
  const F number = from.number;
  if (number >= kAbove) [[unlikely]]
    return saturate(false, to);
  // The largest that truncates to something below the range, where the type has a float between
  // that and the limit.
  constexpr F kLeast = std::is_signed_v<To> ? -kAbove : F{0};
  const bool below = kLeast - 1 < kLeast ? number <= kLeast - 1 : number < kLeast;
  if (below) [[unlikely]]
    return saturate(true, to);
  if (number != number) [[unlikely]] {
    to = 0;
    return VDX_INVALID;
  }
  to = static_cast<To>(number);
  return VDX_SUCCESS;
}

template <typename F>
inline std::int32_t narrow(const Float<F>& from, Bit& to) {
  const bool invalid = from.number != from.number;
  to = from.number != 0 && !invalid ? Bit::one : Bit::zero;
  return invalid ? VDX_INVALID : VDX_SUCCESS;
}

inline std::int32_t narrow(const Float<float>& from, double& to) {
  to = static_cast<double>(from.number);
  return VDX_SUCCESS;
}

inline std::int32_t narrow(const Float<double>& from, float& to) {
  using Limits = std::numeric_limits<float>;
  // From the middle between the largest float and the power of two behind it.
  constexpr double kBeyond = 0x1.ffffffp127;
  const double number = from.number;
  if (std::fabs(number) >= kBeyond && std::fabs(number) <= std::numeric_limits<double>::max())
      [[unlikely]] {
    to = with_sign(Limits::max(), number < 0);
    return VDX_OVERFLOW;
  }
  to = static_cast<float>(number);
  return to == 0 && number != 0 ? VDX_UNDERFLOW : VDX_SUCCESS;
}

template <typename F>
requires std::floating_point<F>
inline std::int32_t narrow(const Exact& from, F& to) { return nearest_float(from, to); }

template <typename F>
VDX_INLINE ShortText text_of(const Call&, const Float<F>& value) {
  return float_text(value.number);
}

// Its exact binary value, rounded at the destination's scale. Infinities are the largest magnitude
// of their sign, not-a-number is zero.
inline std::int32_t write_as_numeric(const Call& call, const Float<double>& value) {
  const vdx_datafmt& format = *call.format;
  const bool infinite = std::isinf(value.number), invalid = std::isnan(value.number);
  const double number = infinite  ? with_sign(std::numeric_limits<double>::max(), value.number < 0)
                        : invalid ? 0.0
                                  : value.number;
  const bool scaled = format.scale >= 0 && format.scale <= kMaxPrecision;
  *call.length = kNumericBytes;
  const std::int32_t code = write_numeric(exact_double(number, scaled ? format.scale : 0),
                                          format.precision, format.scale, call.destination);
  return invalid && code == VDX_SUCCESS ? std::int32_t{VDX_INVALID} : code;
}

inline std::int32_t write_as_numeric(const Call& call, const Float<float>& value) {
  return write_as_numeric(call, Float<double>{static_cast<double>(value.number)});
}

}  // namespace vdx

#endif
