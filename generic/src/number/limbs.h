// Magnitudes of any number of 64-bit limbs, least significant first: sums, products, and long
// division by a divisor of up to four limbs.
//
// B is 2^64 here, and (a, b) is a * B + b. Division multiplies by a reciprocal of the divisor's two
// upper limbs, so that a whole division costs one division instruction, or none where the
// reciprocal comes from a table. The steps are those of Moeller and Granlund, "Improved Division by
// Invariant Integers" (2011), who prove their bounds. For them the divisor is shifted left until
// its top bit is set, and the dividend as far; that leaves the quotient as it is and shifts the
// remainder.
#ifndef VDX_NUMBER_LIMBS_H
#define VDX_NUMBER_LIMBS_H

#include <cstddef>

#include "number/magnitude.h"

namespace vdx {

// a + b + carry, where carry is 0 or 1 and becomes the next one.
constexpr std::uint64_t add_carry(std::uint64_t a, std::uint64_t b, std::uint64_t& carry) {
  const std::uint64_t sum = a + b;
  const std::uint64_t all = sum + carry;
  carry = static_cast<std::uint64_t>(sum < a) | static_cast<std::uint64_t>(all < sum);
  return all;
}

// a - b - borrow, likewise.
constexpr std::uint64_t subtract_borrow(std::uint64_t a, std::uint64_t b, std::uint64_t& borrow) {
  const std::uint64_t difference = a - b;
  const std::uint64_t all = difference - borrow;
  borrow = static_cast<std::uint64_t>(a < b) | static_cast<std::uint64_t>(difference < borrow);
  return all;
}

// How many limbs are left without the leading ones that are zero.
constexpr std::size_t used_limbs(const std::uint64_t* limbs, std::size_t count) {
  while (count > 0 && limbs[count - 1] == 0) --count;
  return count;
}

// out = a * b, all of a_count + b_count limbs; out is neither a nor b.
template <typename Arithmetic = Wide>
constexpr void multiply_limbs(std::uint64_t* out, const std::uint64_t* a, std::size_t a_count,
                              const std::uint64_t* b, std::size_t b_count) {
  for (std::size_t i = 0; i < b_count; ++i) out[i] = 0;
  for (std::size_t i = 0; i < a_count; ++i) {
    std::uint64_t carry = 0;
    for (std::size_t j = 0; j < b_count; ++j) {
      // (B - 1)^2 = B^2 - 2B + 1: the carry and the limb that is there still fit two limbs.
      U128 product = Arithmetic::multiply(a[i], b[j]);
      product.low += carry;
      product.high += product.low < carry ? 1 : 0;
      out[i + j] += product.low;
      carry = product.high + (out[i + j] < product.low ? 1 : 0);
    }
    out[i + b_count] = carry;
  }
}

// A shifted divisor and its reciprocal: (B^2 - 1) / d1 - B for a single limb,
// (B^3 - 1) / (d1, d0) - B for the two upper limbs of more, rounded down. As d1 is at least B / 2,
// it is at most B - 1.
struct Divisor {
  Magnitude limbs{};
  std::uint64_t reciprocal = 0;
  std::uint32_t size = 0;  // limbs, 1 to 4
  std::int32_t shift = 0;  // bits, 0 to 63
};

// The divisor is not zero.
template <typename Arithmetic = Wide>
constexpr Divisor make_divisor(const Magnitude& value) {
  Divisor divisor;
  const std::size_t size = used_limbs(value.data(), value.size());
  const int shift = std::countl_zero(value[size - 1]);
  for (std::size_t i = size; i-- > 0;)
    divisor.limbs[i] =
        value[i] << shift | (shift == 0 || i == 0 ? 0 : value[i - 1] >> (64 - shift));
  divisor.size = static_cast<std::uint32_t>(size);
  divisor.shift = shift;
  const std::uint64_t high = divisor.limbs[size - 1];
  // B less is B * d1 less in the dividend: (B - 1 - d1, B - 1) is left.
  std::uint64_t v = Arithmetic::divide(~high, ~std::uint64_t{0}, high).quotient;
  if (size > 1) {
    // (B + v) * (d1, d0) must be below B^3. Without the lowest limb: B * d1 + d1 * v + d0 and the
    // upper limb of d0 * v must be below B^2. rest is the lower limb of that sum; where it carries,
    // v is one or two too large.
    const std::uint64_t low = divisor.limbs[size - 2];
    std::uint64_t rest = high * v + low;
    if (rest < low) {
      --v;
      if (rest >= high) {
        --v;
        rest -= high;
      }
      rest -= high;
    }
    const U128 part = Arithmetic::multiply(v, low);
    rest += part.high;
    if (rest < part.high) {
      --v;
      if (rest > high || (rest == high && part.low >= low)) --v;
    }
  }
  divisor.reciprocal = v;
  return divisor;
}

// (rest, next) / divisor, where the top bit of the divisor is set and rest is below it. The mask
// takes back the one that was added in advance, which is needed as often as not.
template <typename Arithmetic = Wide>
constexpr Quotient divide_step(std::uint64_t rest, std::uint64_t next, std::uint64_t divisor,
                               std::uint64_t reciprocal) {
  U128 q = Arithmetic::multiply(reciprocal, rest);
  q.low += next;
  q.high += rest + (q.low < next ? 1 : 0) + 1;
  rest = next - q.high * divisor;
  const std::uint64_t down = 0 - static_cast<std::uint64_t>(rest > q.low);
  q.high += down;
  rest += down & divisor;
  if (rest >= divisor) [[unlikely]] {
    ++q.high;
    rest -= divisor;
  }
  return {q.high, rest};
}

// A digit of a quotient and the remainder (over, high, low) of the limbs that it was taken from.
struct DigitStep {
  std::uint64_t digit, over, high, low;
};

// (u2, u1, u0) / (d1, d0) by the divisor's reciprocal v, where the top bit of d1 is set and (u2, u1)
// is below (d1, d0); over is 0.
template <typename Arithmetic>
constexpr DigitStep divide_three_by_two(std::uint64_t u2, std::uint64_t u1, std::uint64_t u0,
                                        std::uint64_t d1, std::uint64_t d0, std::uint64_t v) {
  U128 q = Arithmetic::multiply(v, u2);
  q.low += u1;
  q.high += u2 + (q.low < u1 ? 1 : 0);
  std::uint64_t r1 = u1 - q.high * d1;
  const U128 away = Arithmetic::multiply(d0, q.high);
  std::uint64_t borrow = 0;
  std::uint64_t r0 = subtract_borrow(u0, away.low, borrow);
  r1 = r1 - away.high - borrow;
  borrow = 0;
  r0 = subtract_borrow(r0, d0, borrow);
  r1 = r1 - d1 - borrow;
  // The digit is q.high, or one more where the remainder is not negative; q.low tells which, as
  // often one as the other. It is hardly ever wrong, and then by one.
  const std::uint64_t down = 0 - static_cast<std::uint64_t>(r1 >= q.low);
  std::uint64_t digit = q.high + 1 + down;
  std::uint64_t carry = 0;
  r0 = add_carry(r0, down & d0, carry);
  r1 += (down & d1) + carry;
  if (r1 > d1 || (r1 == d1 && r0 >= d0)) [[unlikely]] {
    ++digit;
    borrow = 0;
    r0 = subtract_borrow(r0, d0, borrow);
    r1 -= d1 + borrow;
  }
  return {digit, 0, r1, r0};
}

// The steps of a division by two limbs or more, dividend and divisor being shifted. Each digit is
// that of the upper limbs: the lower ones make it too large at most once, because the divisor's two
// upper limbs have their top bit set.
template <std::size_t kSize, typename Arithmetic>
constexpr void divide_steps(std::uint64_t* dividend, std::size_t count, const Divisor& divisor,
                            std::uint64_t* quotient) {
  constexpr std::size_t kLower = kSize - 2;
  const std::uint64_t d1 = divisor.limbs[kSize - 1], d0 = divisor.limbs[kLower];
  for (std::size_t j = count - kSize + 1; j-- > 0;) {
    std::uint64_t* const part = dividend + j;
    const std::uint64_t u2 = part[kSize], u1 = part[kSize - 1], u0 = part[kLower];
    DigitStep step;
    if (u2 == d1 && u1 >= d0) [[unlikely]] {
      // (u2, u1) is (d1, d0): 2^64 - 1 times the divisor leaves u0 and the divisor once.
      step = {~std::uint64_t{0}, 0, d1, d0};
      step.low = add_carry(d0, u0, step.over);
      step.high = add_carry(d1, 0, step.over);
    } else {
      step = divide_three_by_two<Arithmetic>(u2, u1, u0, d1, d0, divisor.reciprocal);
    }
    std::uint64_t carry = 0, borrow = 0;
    VDX_UNROLL
    for (std::size_t i = 0; i < kLower; ++i) {
      U128 away = Arithmetic::multiply(step.digit, divisor.limbs[i]);
      away.low += carry;
      carry = away.high + (away.low < carry ? 1 : 0);
      part[i] = subtract_borrow(part[i], away.low, borrow);
    }
    step.low = subtract_borrow(step.low, carry, borrow);
    step.high = subtract_borrow(step.high, 0, borrow);
    if (kLower != 0 && borrow > step.over) [[unlikely]] {
      --step.digit;
      carry = 0;
      for (std::size_t i = 0; i < kLower; ++i)
        part[i] = add_carry(part[i], divisor.limbs[i], carry);
      step.low = add_carry(step.low, d0, carry);
      step.high = add_carry(step.high, d1, carry);
    }
    part[kSize] = 0;
    part[kSize - 1] = step.high;
    part[kLower] = step.low;
    quotient[j] = step.digit;
  }
}

// The dividend has `count` limbs and room for one more; count is at least the divisor's size. The
// quotient gets count - size + 1 limbs and may not overlap. The remainder, shifted as the divisor
// is, stays in the dividend's low limbs.
template <typename Arithmetic = Wide>
constexpr void divide_limbs(std::uint64_t* dividend, std::size_t count, const Divisor& divisor,
                            std::uint64_t* quotient) {
  const std::size_t size = divisor.size;
  const std::uint64_t v = divisor.reciprocal;
  const std::uint64_t d1 = divisor.limbs[size - 1];
  dividend[count] = 0;
  if (const int shift = divisor.shift; shift != 0) {
    for (std::size_t i = count; i > 0; --i)
      dividend[i] = dividend[i] << shift | dividend[i - 1] >> (64 - shift);
    dividend[0] <<= shift;
  }
  if (size == 1) {
    std::uint64_t rest = dividend[count];
    for (std::size_t i = count; i-- > 0;) {
      const Quotient step = divide_step<Arithmetic>(rest, dividend[i], d1, v);
      quotient[i] = step.quotient;
      rest = step.remainder;
    }
    dividend[0] = rest;
    return;
  }
  if (size == 2)
    divide_steps<2, Arithmetic>(dividend, count, divisor, quotient);
  else if (size == 3)
    divide_steps<3, Arithmetic>(dividend, count, divisor, quotient);
  else
    divide_steps<4, Arithmetic>(dividend, count, divisor, quotient);
}

// 10^0 to 10^77 as divisors.
VDX_HIDDEN extern const std::array<Divisor, kMaxPrecision + 1> kPowerDivisors;

// Divides `count` limbs (with room for one more) by 10^exponent, 0 to 77, in place, and returns how
// many limbs the quotient uses. With rounding, halves go up; the quotient then still fits `count`.
template <bool kRound>
inline std::size_t divide_by_power(std::uint64_t* limbs, std::size_t count, std::int32_t exponent) {
  if (exponent == 0) return used_limbs(limbs, count);
  const Divisor& divisor = kPowerDivisors[static_cast<std::size_t>(exponent)];
  const std::size_t size = divisor.size;
  std::uint64_t quotient[16];
  const std::size_t given = count;
  for (; count < size; ++count) limbs[count] = 0;
  divide_limbs(limbs, count, divisor, quotient);
  std::uint64_t up = 0;
  if constexpr (kRound) {
    // A power of ten is even, shifted or not: the remainder reaches its half or it does not.
    for (std::size_t i = 0; i < size; ++i) {
      const std::uint64_t half =
          divisor.limbs[i] >> 1 | (i + 1 < size ? divisor.limbs[i + 1] << 63 : 0);
      static_cast<void>(subtract_borrow(limbs[i], half, up));
    }
    up ^= 1;
  }
  count -= size - 1;
  for (std::size_t i = 0; i < count; ++i) {
    limbs[i] = quotient[i] + up;
    up &= static_cast<std::uint64_t>(limbs[i] == 0);
  }
  for (std::size_t i = count; i < given; ++i) limbs[i] = 0;
  return used_limbs(limbs, count);
}

}  // namespace vdx

#endif
