// Magnitudes of any number of 64-bit limbs, least significant first: products, and long division
// by a divisor of up to four limbs through a reciprocal of its two top limbs. A division costs one
// division of 128 bits, or none where the reciprocal is kept in a table.
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

// Limbs without leading zero limbs.
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
      U128 product = Arithmetic::multiply(a[i], b[j]);  // at most 2^128 - 2^65 + 1: room for both
      product.low += carry;
      product.high += product.low < carry ? 1 : 0;
      out[i + j] += product.low;
      carry = product.high + (out[i + j] < product.low ? 1 : 0);
    }
    out[i + b_count] = carry;
  }
}

// A divisor shifted left until its top bit is set, and the reciprocal of its two top limbs (of its
// only one): the whole part of 2^192 (2^128) over them, less 2^64.
struct Divisor {
  Magnitude limbs{};
  std::uint64_t reciprocal = 0;
  std::uint32_t size = 0;
  std::int32_t shift = 0;
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
  std::uint64_t v = Arithmetic::divide(~high, ~std::uint64_t{0}, high).quotient;
  if (size > 1) {
    // From the reciprocal of one limb to that of two: it gets smaller by at most three.
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

// (rest * 2^64 + next) / divisor, where the top bit of the divisor is set and rest is below it.
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

// The steps of a division by two limbs or more, dividend and divisor being shifted.
template <std::size_t kSize, typename Arithmetic>
constexpr void divide_steps(std::uint64_t* dividend, std::size_t count, const Divisor& divisor,
                            std::uint64_t* quotient) {
  const std::uint64_t v = divisor.reciprocal;
  const std::uint64_t d1 = divisor.limbs[kSize - 1];
  const std::uint64_t d0 = divisor.limbs[kSize - 2];
  for (std::size_t j = count - kSize + 1; j-- > 0;) {
    std::uint64_t* const part = dividend + j;
    const std::uint64_t u2 = part[kSize], u1 = part[kSize - 1], u0 = part[kSize - 2];
    std::uint64_t digit;
    if (u2 == d1 && u1 >= d0) [[unlikely]] {
      digit = ~std::uint64_t{0};
    } else {
      // The quotient of the three top limbs by the divisor's two.
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
      digit = q.high + 1;
      const std::uint64_t down = 0 - static_cast<std::uint64_t>(r1 >= q.low);
      digit += down;
      std::uint64_t carry = 0;
      r0 = add_carry(r0, down & d0, carry);
      r1 += (down & d1) + carry;
      if (r1 > d1 || (r1 == d1 && r0 >= d0)) [[unlikely]] {
        ++digit;
        borrow = 0;
        r0 = subtract_borrow(r0, d0, borrow);
        r1 -= d1 + borrow;
      }
      if constexpr (kSize == 2) {
        part[2] = 0;
        part[1] = r1;
        part[0] = r0;
        quotient[j] = digit;
        continue;
      }
    }
    std::uint64_t carry = 0, borrow = 0;
    VDX_UNROLL
    for (std::size_t i = 0; i < kSize; ++i) {
      U128 away = Arithmetic::multiply(digit, divisor.limbs[i]);
      away.low += carry;
      carry = away.high + (away.low < carry ? 1 : 0);
      part[i] = subtract_borrow(part[i], away.low, borrow);
    }
    part[kSize] = subtract_borrow(part[kSize], carry, borrow);
    if (borrow != 0) [[unlikely]] {  // the lower limbs made it one too large
      --digit;
      carry = 0;
      for (std::size_t i = 0; i < kSize; ++i) part[i] = add_carry(part[i], divisor.limbs[i], carry);
      part[kSize] += carry;
    }
    quotient[j] = digit;
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

// The powers of ten as divisors.
extern const std::array<Divisor, kMaxPrecision + 1> kPowerDivisors;

// Divides `count` limbs (with room for one more) by 10^exponent, 0 to 77, in place, and gives the
// limbs that the quotient has. With rounding, halves go up; the quotient then still fits `count`.
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
