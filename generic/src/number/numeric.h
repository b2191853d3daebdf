// Exact numerics: the value between kinds, and its image of 35 bytes.
//
// An image is the precision, the scale, a sign byte (0 or 1) and the big-endian magnitude in the
// bytes that its precision takes; zero bytes fill it up.
#ifndef VDX_NUMBER_NUMERIC_H
#define VDX_NUMBER_NUMERIC_H

#include <cstdint>
#include <cstring>

#include "number/digits.h"
#include "number/limbs.h"
#include "vdxcomn/types.h"

namespace vdx {

inline constexpr std::int32_t kNumericBytes = 35;

// magnitude / 10^scale, with a scale of 0 to 77. Zero is never negative.
struct Exact {
  bool negative = false;
  std::int32_t scale = 0;
  Magnitude magnitude{};
};

// A whole number of units of 10^-scale.
template <std::integral T>
constexpr Exact exact_integer(T count, std::int32_t scale = 0) {
  const auto [magnitude, sign] = signed_magnitude(count);
  return {sign != 0, scale, {magnitude, 0, 0, 0}};
}

// The same value at another scale (0 to 77), halves rounded away from zero. False, with the
// value undefined, where its magnitude passes 256 bits.
bool rescale(Exact& value, std::int32_t scale);

// VDX_SUCCESS, or VDX_BAD_PRECISION (outside 1 to 77) or VDX_BAD_SCALE (outside 0 to 77).
constexpr std::int32_t check_numeric_format(std::int32_t precision, std::int32_t scale) {
  if (precision < 1 || precision > kMaxPrecision) return VDX_BAD_PRECISION;
  if (scale < 0 || scale > kMaxPrecision) return VDX_BAD_SCALE;
  return VDX_SUCCESS;
}

// Bytes of an image of the precision (1 to 77) that its value takes.
constexpr std::int32_t numeric_length(std::int32_t precision) {
  return kBytesOfPrecision[static_cast<std::size_t>(precision)] + 2;
}

// The image of the value at the given precision and scale, which may be unaligned. Gives
// VDX_SUCCESS; VDX_OVERFLOW with the largest magnitude of the precision and the value's sign
// written; a code of check_numeric_format with nothing written.
std::int32_t write_numeric(const Exact& value, std::int32_t precision, std::int32_t scale,
                           void* image);

// The value of an image whose precision is 0 to 77, whatever else it holds. A precision says where
// its limbs lie, so that each is one load; a column has one precision.
VDX_INLINE Exact image_value(const std::uint8_t* image) {
  const std::size_t bytes = kBytesOfPrecision[image[0]] - 1U;
  const std::uint8_t* const digits = image + 3;
  const std::uint8_t* const end = digits + bytes;
  const auto limb = [end](std::size_t i) {
    return reverse_bytes(load<std::uint64_t>(end - 8 * (i + 1)));
  };
  const std::uint64_t top = reverse_bytes(load<std::uint64_t>(digits)) >> (7 - (bytes - 1) % 8) * 8;
  Exact value;
  switch ((bytes - 1) / 8) {
    case 0:
      value.magnitude = {top, 0, 0, 0};
      break;
    case 1:
      value.magnitude = {limb(0), top, 0, 0};
      break;
    case 2:
      value.magnitude = {limb(0), limb(1), top, 0};
      break;
    default:
      value.magnitude = {limb(0), limb(1), limb(2), top};
  }
  value.scale = image[1];
  // Signs are as unpredictable as values: no branch looks at them.
  value.negative = (image[2] != 0) & !is_zero(value.magnitude);
  return value;
}

// Zeroes what follows the magnitude in an image of a numeric.
inline void clear_spare(std::uint8_t* image) {
  const std::int32_t used = numeric_length(image[0]);
  std::memset(image + used, 0, static_cast<std::size_t>(kNumericBytes - used));
}

// Gives VDX_SUCCESS, or VDX_INVALID for an image that is no numeric. A negative zero is read as
// zero.
VDX_INLINE std::int32_t read_numeric(const void* image, Exact& value) {
  const auto* const in = static_cast<const std::uint8_t*>(image);
  if (in[0] == 0 || in[0] > kMaxPrecision || in[1] > kMaxPrecision || in[2] > 1) [[unlikely]]
    return VDX_INVALID;
  value = image_value(in);
  if (!less(value.magnitude, kPowersOfTen[in[0]])) [[unlikely]]
    return VDX_INVALID;
  return VDX_SUCCESS;
}

[[gnu::cold, gnu::noinline]] std::int32_t put_largest(bool negative, std::int32_t precision,
                                                      std::int32_t scale, void* image);

// The image of a magnitude at its scale; where it does not fit, the largest of the precision.
VDX_INLINE std::int32_t put_image(bool fits, const Magnitude& m, bool negative,
                                  std::int32_t precision, std::int32_t scale, void* image) {
  if (!fits || !less(m, kPowersOfTen[static_cast<std::size_t>(precision)])) [[unlikely]]
    return put_largest(negative, precision, scale, image);
  const std::size_t bytes = kBytesOfPrecision[static_cast<std::size_t>(precision)] - 1U;
  auto* const out = static_cast<std::uint8_t*>(image);
  out[0] = static_cast<std::uint8_t>(precision);
  out[1] = static_cast<std::uint8_t>(scale);
  out[2] = static_cast<std::uint8_t>(negative & !is_zero(m));
  std::uint8_t* const digits = out + 3;
  std::uint8_t* const end = digits + bytes;
  std::memset(digits, 0, kNumericBytes - 3);
  const std::size_t spare = (7 - (bytes - 1) % 8) * 8;
  const auto put = [end](std::size_t i, std::uint64_t limb) {
    store(end - 8 * (i + 1), reverse_bytes(limb));
  };
  // The top limb overlaps the one below it where it is not whole.
  switch ((bytes - 1) / 8) {
    case 0:
      store(digits, reverse_bytes(m[0] << spare));
      break;
    case 1:
      store(digits, reverse_bytes(m[1] << spare));
      put(0, m[0]);
      break;
    case 2:
      store(digits, reverse_bytes(m[2] << spare));
      put(1, m[1]);
      put(0, m[0]);
      break;
    default:
      store(digits, reverse_bytes(m[3] << spare));
      put(2, m[2]);
      put(1, m[1]);
      put(0, m[0]);
  }
  return VDX_SUCCESS;
}

// The same of a magnitude of one limb.
VDX_INLINE std::int32_t put_limb_image(std::uint64_t m, bool negative, std::int32_t precision,
                                       std::int32_t scale, void* image) {
  if (precision <= kLimbDigits && m >= limb_power(precision)) [[unlikely]]
    return put_largest(negative, precision, scale, image);
  const std::size_t bytes = kBytesOfPrecision[static_cast<std::size_t>(precision)] - 1U;
  auto* const out = static_cast<std::uint8_t*>(image);
  out[0] = static_cast<std::uint8_t>(precision);
  out[1] = static_cast<std::uint8_t>(scale);
  out[2] = static_cast<std::uint8_t>(negative & (m != 0));
  std::uint8_t* const digits = out + 3;
  std::memset(digits, 0, kNumericBytes - 3);
  if (bytes <= 8)
    store(digits, reverse_bytes(m << (8 - bytes) * 8));
  else
    store(digits + bytes - 8, reverse_bytes(m));
  return VDX_SUCCESS;
}

// The magnitude of the value's whole part; the rest is cut off.
inline Magnitude whole_part(const Exact& value) {
  if (value.scale == 0) return value.magnitude;
  std::uint64_t limbs[6];
  std::memcpy(limbs, value.magnitude.data(), sizeof(Magnitude));
  divide_by_power<false>(limbs, 4, value.scale);
  Magnitude whole;
  std::memcpy(whole.data(), limbs, sizeof whole);
  return whole;
}

}  // namespace vdx

#endif
