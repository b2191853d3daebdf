// A binary or decimal number to the nearest float, ties to even: what reading text and leaving the
// numerics share. F is float or double.
#ifndef VDX_NUMBER_FLOAT_ROUNDING_H
#define VDX_NUMBER_FLOAT_ROUNDING_H

#include "frame/compiler.h"
#include "number/float_format.h"
#include "number/float_powers.h"
#include "vdxcomn/types.h"

namespace vdx {

// The magnitude of a value that no float is near to, and its code.
template <typename F>
std::int32_t put_limit(std::int32_t code, F& value) {
  value = code == VDX_OVERFLOW ? std::numeric_limits<F>::max() : F{0};
  return code;
}

// A double of an ordinary size, itself rounded from the value, as F. False where the second
// rounding could differ from rounding the value at once: where the 29 bits that a float drops of a
// double are exactly a half. The first rounding then hides on which side of the middle the value
// is; from any other double it does not cross a middle, which is a double itself.
template <typename F>
VDX_INLINE bool round_again(double rounded, F& value) {
  value = static_cast<F>(rounded);
  if constexpr (sizeof(F) == 8) return true;
  constexpr int kDropped = FloatFormat<double>::kFraction - FloatFormat<float>::kFraction;
  constexpr std::uint64_t kBelow = (std::uint64_t{1} << kDropped) - 1;
  return (std::bit_cast<std::uint64_t>(rounded) & kBelow) != (kBelow + 1) / 2;
}

// The float nearest to top * 2^exponent, top having its top bit set; more: the value is a little
// above that, by less than 1 in top.
template <typename F>
std::int32_t round_binary(std::uint64_t top, bool more, std::int32_t exponent, F& value) {
  using Format = FloatFormat<F>;
  const std::int32_t biased = exponent + 63 + Format::kBias;
  // Of 64 bits, the hidden one and kFraction stay; a subnormal keeps fewer.
  std::int32_t drop = 63 - Format::kFraction;
  if (biased < 1) drop += 1 - biased;
  if (drop > 64) return put_limit(VDX_UNDERFLOW, value);  // below half of the smallest
  const std::uint64_t kept = drop == 64 ? 0 : top >> drop;
  // The bits that go, moved to the top of a word: above 2^63 they round up, at 2^63 they are the
  // middle, from which odd floats round up. `more` counts as a bit below them, which the shift left
  // free; with drop 64 it may meet the last bit of top, whose value then is above the middle anyway.
  // No branches: these bits are unpredictable.
  const std::uint64_t rest = top << (64 - drop) | (more ? 1 : 0);
  const std::uint64_t up = rest > (std::uint64_t{1} << 63) - (kept & 1) ? 1 : 0;
  // The hidden bit and a carry out of the fraction count as one in the exponent.
  const std::uint64_t bits =
      (static_cast<std::uint64_t>(biased < 1 ? 0 : biased - 1) << Format::kFraction) + kept + up;
  if (bits >= Format::kInfinity) [[unlikely]]
    return put_limit(VDX_OVERFLOW, value);
  if (bits == 0) [[unlikely]]
    return put_limit(VDX_UNDERFLOW, value);
  value = std::bit_cast<F>(static_cast<typename Format::Bits>(bits));
  return VDX_SUCCESS;
}

// The code of round_decimal where the 128 bits of the power do not decide.
inline constexpr std::int32_t kUndecided = 0;

// The float nearest to size * 10^tens, by one product of 192 bits; kUndecided, with the value as it
// was, where what was cut off the power could change the rounding.
template <typename F>
std::int32_t round_decimal(std::uint64_t size, std::int32_t tens, F& value) {
  if (size <= kMostDoubleInteger && tens >= -kMostDoubleTens && tens <= kMostDoubleTens) {
    const double whole = static_cast<double>(size);
    if (round_again(tens < 0 ? whole / kDoubleTens[-tens] : whole * kDoubleTens[tens], value))
        [[likely]]
      return VDX_SUCCESS;
  }
  if (size == 0) {
    value = 0;
    return VDX_SUCCESS;
  }
  if (tens < kLeastTens) return put_limit(VDX_UNDERFLOW, value);
  // The largest double is below 10^309.
  if (tens > std::numeric_limits<double>::max_exponent10) return put_limit(VDX_OVERFLOW, value);
  const int shift = std::countl_zero(size);
  size <<= shift;
  const BinaryPower& power = binary_power(tens);
  const U128 lower = Wide::multiply(size, power.low);
  const U128 product = add_high(Wide::multiply(size, power.high), lower);
  // Both factors have their top bit set, so the product has 191 or 192 bits: one shift by `less`
  // makes it top, middle and what is below.
  const int less = static_cast<int>(~product.high >> 63);
  const std::uint64_t top = product.high << less | product.low >> 1 >> (63 - less);
  const std::uint64_t middle = product.low << less | lower.low >> 1 >> (63 - less);
  // With e = floor_log2_of_tens(tens) the value is product * 2^(e - 127 - shift), the product being
  // top * 2^(128 - less) and less important words.
  const std::int32_t exponent = floor_log2_of_tens(tens) + 1 - shift - less;
  // The power is short of the true one by less than 1, the product by less than size < 2^64: by
  // less than 1 in the middle word, less than 2 after the shift. The words below the middle are less
  // than 1 in it. So the true middle is less than kShort above this one, and the true top is this
  // one unless adding kShort would carry. A power that lost bits is above its 128 bits, so that
  // there always is more: 10^tens below one has no end in binary, and 5^tens above 55 is odd.
  constexpr std::uint64_t kShort = 3;
  bool more = true;
  if (is_whole_power(tens))
    more = (middle | lower.low << less) != 0;
  else if (middle > ~kShort) [[unlikely]]
    return kUndecided;
  return round_binary(top, more, exponent, value);
}

}  // namespace vdx

#endif
