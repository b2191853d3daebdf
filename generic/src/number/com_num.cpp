#include "number/com_num.h"

#include <algorithm>
#include <cstring>

#include "number/digits.h"
#include "vdxcomn/types.h"

namespace vdx {
namespace {

// Compilers know this shape as one instruction.
inline std::uint64_t reverse_bytes(std::uint64_t v) {
  v = (v >> 8 & 0x00FF00FF00FF00FF) | (v & 0x00FF00FF00FF00FF) << 8;
  v = (v >> 16 & 0x0000FFFF0000FFFF) | (v & 0x0000FFFF0000FFFF) << 16;
  return v >> 32 | v << 32;
}

inline std::uint64_t load_big(const std::uint8_t* p) {
  return reverse_bytes(load<std::uint64_t>(p));
}
inline void store_big(std::uint8_t* p, std::uint64_t value) { store(p, reverse_bytes(value)); }

}  // namespace

bool rescale(Exact& value, std::int32_t scale) {
  constexpr std::int64_t kBeyond = kMaxPrecision + 1;  // more digits than this change nothing
  const std::int64_t up = std::int64_t{scale} - value.scale;
  value.scale = scale;
  if (up > 0) return scale_up(value.magnitude, static_cast<std::int32_t>(std::min(up, kBeyond)));
  scale_down(value.magnitude, static_cast<std::int32_t>(std::min(-up, kBeyond)));
  if (is_zero(value.magnitude)) value.negative = false;
  return true;
}

std::int32_t write_numeric(const Exact& value, std::int32_t precision, std::int32_t scale,
                           void* image) {
  if (precision < 1 || precision > kMaxPrecision) return VDX_BAD_PRECISION;
  if (scale < 0 || scale > kMaxPrecision) return VDX_BAD_SCALE;
  const Magnitude& limit = kPowersOfTen[static_cast<std::size_t>(precision)];
  Exact exact = value;
  std::int32_t code = VDX_SUCCESS;
  if (!rescale(exact, scale) || !less(exact.magnitude, limit)) [[unlikely]] {
    exact.magnitude = limit;
    for (std::uint64_t& limb : exact.magnitude)
      if (limb-- != 0) break;
    code = VDX_OVERFLOW;
  }
  const std::size_t bytes = kBytesOfPrecision[static_cast<std::size_t>(precision)] - 1U;
  auto* const out = static_cast<std::uint8_t*>(image);
  out[0] = static_cast<std::uint8_t>(precision);
  out[1] = static_cast<std::uint8_t>(scale);
  out[2] = exact.negative && !is_zero(exact.magnitude) ? 1 : 0;
  std::uint8_t* const digits = out + 3;
  if (bytes <= 8) {
    store_big(digits, exact.magnitude[0] << (64 - 8 * bytes));
    std::memset(digits + 8, 0, kNumericBytes - 11);
  } else {
    std::uint8_t block[64] = {};
    for (std::size_t i = 0; i < 4; ++i) store_big(block + 8 * i, exact.magnitude[3 - i]);
    std::memcpy(digits, block + (32 - bytes), 32);
  }
  return code;
}

std::int32_t read_numeric(const void* image, Exact& value) {
  const auto* const in = static_cast<const std::uint8_t*>(image);
  const std::size_t precision = in[0];
  if (precision == 0 || precision > kMaxPrecision || in[1] > kMaxPrecision || in[2] > 1)
    return VDX_INVALID;
  std::uint8_t block[64] = {};
  std::memcpy(block + 32, in + 3, 32);
  const std::uint8_t* const first = block + (kBytesOfPrecision[precision] - 1U);
  for (std::size_t i = 0; i < 4; ++i) value.magnitude[3 - i] = load_big(first + 8 * i);
  if (!less(value.magnitude, kPowersOfTen[precision])) return VDX_INVALID;
  value.scale = in[1];
  value.negative = in[2] == 1 && !is_zero(value.magnitude);
  return VDX_SUCCESS;
}

}  // namespace vdx
