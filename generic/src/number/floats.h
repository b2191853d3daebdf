// Floats: the shortest text that reads back the same, text to the nearest float, and the way from
// and to exact numerics. F is float or double throughout.
#ifndef VDX_NUMBER_FLOATS_H
#define VDX_NUMBER_FLOATS_H

#include <bit>
#include <cstdint>
#include <limits>
#include <type_traits>

#include "intl/charattr.h"
#include "number/numeric.h"
#include "number/digits.h"
#include "vdxcomn/types.h"

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

template <typename F>
inline F with_sign(F size, bool negative) {
  using Format = FloatFormat<F>;
  const auto bits = std::bit_cast<typename Format::Bits>(size);
  return std::bit_cast<F>(bits | (negative ? Format::kSign : 0));
}

// Powers of ten that a double holds exactly. A product or quotient of one of them and an integer
// up to 2^53 is rounded once.
inline constexpr double kExactTens[] = {1e0,  1e1,  1e2,  1e3,  1e4,  1e5,  1e6,  1e7,
                                        1e8,  1e9,  1e10, 1e11, 1e12, 1e13, 1e14, 1e15,
                                        1e16, 1e17, 1e18, 1e19, 1e20, 1e21, 1e22};
inline constexpr std::int32_t kMostExactTens = 22;
inline constexpr std::uint64_t kExactIntegers = std::uint64_t{1} << 53;

// A double of an ordinary size, itself rounded from the value, as F; false where the second
// rounding could differ from rounding the value at once, which takes the exact middle of two
// singles.
template <typename F>
VDX_INLINE bool settle(double rounded, F& value) {
  value = static_cast<F>(rounded);
  if constexpr (sizeof(F) == 8) return true;
  constexpr std::uint64_t kBelow = (std::uint64_t{1} << 29) - 1;
  return (std::bit_cast<std::uint64_t>(rounded) & kBelow) != (kBelow + 1) / 2;
}

// Blanks, a sign, digits with or without a point, blanks, in at most sixteen bytes.
template <typename F>
VDX_INLINE bool read_plain_decimal(const std::uint8_t* text, std::uint32_t n, F& value) {
  const Block block = Block::of(text, n);
  const std::uint32_t inside = (std::uint32_t{1} << n) - 1;
  const std::uint32_t point = block.equal('.') & inside;
  const std::uint32_t digits = block.digits() & inside;
  const std::uint32_t field = digits | point;
  const std::uint32_t first = field & (0 - field);
  const std::uint32_t minus = block.equal('-') & first >> 1;
  const std::uint32_t signs = minus | (block.equal('+') & first >> 1);
  // Adding the lowest bit of one unbroken run carries it out of the run.
  const std::uint32_t wrong = (field & (field + first)) | (point & (point - 1)) |
                              (inside & ~(field | signs | block.equal(' ')));
  if (digits == 0 || wrong != 0) [[unlikely]]
    return false;
  const auto start = static_cast<std::uint32_t>(std::countr_zero(field));
  const auto end = 32 - static_cast<std::uint32_t>(std::countl_zero(field));
  const std::uint32_t whole_end =
      point != 0 ? static_cast<std::uint32_t>(std::countr_zero(point)) : end;
  const std::uint32_t places = point != 0 ? end - whole_end - 1 : 0;
  const std::uint64_t whole = number_in(text, block, whole_end, whole_end - start);
  const std::uint64_t fraction = number_in(text, block, end, places);
  const std::uint64_t size = whole * limb_power(static_cast<std::int32_t>(places)) + fraction;
  if (size > kExactIntegers) [[unlikely]]
    return false;
  F result;
  if (!settle(static_cast<double>(size) / kExactTens[places], result)) [[unlikely]]
    return false;
  value = with_sign(result, minus != 0);
  return true;
}

template <typename F>
std::int32_t read_any_float(const std::uint8_t* text, std::int32_t length,
                            const vdx_charattr& attributes, F& value);

// Reads a text of any length into the nearest float, ties to even: blanks around, a sign and
// blanks, digits with at most one point, an exponent; or nan or inf in any case for the digits.
// Blank text is 0. Gives
// VDX_SUCCESS, VDX_OVERFLOW with the largest float of the sign, VDX_UNDERFLOW with a zero of the
// sign, or VDX_SYNTAX with the value unchanged.
template <typename F>
VDX_INLINE std::int32_t read_float(const std::uint8_t* text, std::int32_t length,
                                   const vdx_charattr& attributes, F& value) {
  if (length > 0 && length <= 16 &&
      read_plain_decimal(text, static_cast<std::uint32_t>(length), value)) [[likely]]
    return VDX_SUCCESS;
  return read_any_float(text, length, attributes, value);
}

// The shortest text that reads back the same, in the layout of std::to_chars; "nan" whatever its
// sign and payload.
template <typename F>
ShortText float_text(F value);

// The float nearest to a numeric of scale 0 to 77, ties to even. Codes and values on failure as
// read_float has them.
template <typename F>
std::int32_t nearest_float(const Exact& exact, F& value);

// A finite double, to the last bit, rounded half away from zero at a scale of 0 to 77. What passes
// 256 bits becomes the largest magnitude of 256 bits, which no numeric can hold either.
Exact exact_double(double value, std::int32_t scale);

}  // namespace vdx

#endif
