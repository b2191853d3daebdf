// Exact numerics: the value between kinds, and its image of 35 bytes.
//
// An image is the precision, the scale, a sign byte (0 or 1) and the big-endian magnitude in the
// bytes that its precision takes; zero bytes fill it up.
#ifndef VDX_NUMBER_COM_NUM_H
#define VDX_NUMBER_COM_NUM_H

#include <cstdint>

#include "number/magnitude.h"

namespace vdx {

inline constexpr std::int32_t kNumericBytes = 35;

// magnitude / 10^scale. Zero is never negative.
struct Exact {
  bool negative = false;
  std::int32_t scale = 0;
  Magnitude magnitude{};
};

constexpr Exact exact_integer(std::uint64_t size, bool negative) {
  return {negative && size != 0, 0, {size, 0, 0, 0}};
}
constexpr Exact exact_signed(std::int64_t value) {
  const auto bits = static_cast<std::uint64_t>(value);
  return exact_integer(value < 0 ? 0 - bits : bits, value < 0);
}
constexpr Exact exact_money(std::int64_t ten_thousandths) {
  Exact exact = exact_signed(ten_thousandths);
  exact.scale = 4;
  return exact;
}

// The same value at another scale (0 or more), halves rounded away from zero. False, with the
// value undefined, where its magnitude passes 256 bits.
bool rescale(Exact& value, std::int32_t scale);

// The image of the value at the given precision and scale, which may be unaligned. Gives
// VDX_SUCCESS; VDX_OVERFLOW with the largest magnitude of the precision and the value's sign
// written; VDX_BAD_PRECISION (outside 1 to 77) or VDX_BAD_SCALE (outside 0 to 77) with nothing
// written.
std::int32_t write_numeric(const Exact& value, std::int32_t precision, std::int32_t scale,
                           void* image);

// Gives VDX_SUCCESS, or VDX_INVALID for an image that is no numeric. A negative zero is read as
// zero.
std::int32_t read_numeric(const void* image, Exact& value);

}  // namespace vdx

#endif
