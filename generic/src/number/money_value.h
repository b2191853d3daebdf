// Money as a 64-bit count of ten-thousandths.
//
// In memory money is two words of 32 bits, the high one first; short money is one count of 32 bits.
// Everything here but the loads and stores works on the assembled count, from -2^63 to 2^63 - 1.
// Places are the decimals of a text, 1 to 4; a count always has four. Rounding is half away from
// zero; quotients are truncated.
#ifndef VDX_NUMBER_MONEY_VALUE_H
#define VDX_NUMBER_MONEY_VALUE_H

#include <bit>
#include <cstdint>
#include <cstring>
#include <limits>
#include <type_traits>

#include "number/digits.h"
#include "number/wide.h"
#include "vdxcomn/types.h"

namespace vdx {

struct Finding;

enum MoneyStatus : std::int32_t {
  kMoneyDone = 0,
  kMoneyOverflow = 1,
  kMoneySyntax = 2,
  kMoneyZeroDivisor = 3,
  kMoneyBelow = 6,  // an overflow of text with a minus sign; for callers in the library alone
};

inline constexpr std::int64_t kMoneyMax = std::numeric_limits<std::int64_t>::max();
inline constexpr std::int64_t kMoneyMin = std::numeric_limits<std::int64_t>::min();
inline constexpr std::uint64_t kMoneyUnit = 10000;

// The words, which may be unaligned. The high word comes first whatever the byte order, so that a
// little-endian 64-bit load has them the wrong way round.
inline std::int64_t money_value(const void* words) {
  std::uint64_t bits;
  std::memcpy(&bits, words, sizeof bits);
  if constexpr (std::endian::native == std::endian::little) bits = std::rotl(bits, 32);
  return static_cast<std::int64_t>(bits);
}

inline std::int64_t money_value(const vdx_money& money) {
  return money_value(static_cast<const void*>(&money));
}

inline void set_money(void* words, std::int64_t value) {
  std::uint64_t bits = static_cast<std::uint64_t>(value);
  if constexpr (std::endian::native == std::endian::little) bits = std::rotl(bits, 32);
  std::memcpy(words, &bits, sizeof bits);
}

inline void set_money(vdx_money& money, std::int64_t value) {
  set_money(static_cast<void*>(&money), value);
}

constexpr std::int64_t with_sign(std::uint64_t size, bool negative) {
  const std::uint64_t mask = 0 - static_cast<std::uint64_t>(negative);  // signs are unpredictable
  return static_cast<std::int64_t>((size ^ mask) - mask);
}

// Sum and difference of either width of money; zero on overflow.
template <typename Int>
inline std::int32_t add_money(Int a, Int b, Int& result) {
  using Unsigned = std::make_unsigned_t<Int>;
  const Int sum = static_cast<Int>(static_cast<Unsigned>(a) + static_cast<Unsigned>(b));
  const bool overflow = ((a ^ sum) & (b ^ sum)) < 0;
  result = overflow ? Int{0} : sum;
  return overflow ? kMoneyOverflow : kMoneyDone;
}

template <typename Int>
inline std::int32_t subtract_money(Int a, Int b, Int& result) {
  using Unsigned = std::make_unsigned_t<Int>;
  const Int difference = static_cast<Int>(static_cast<Unsigned>(a) - static_cast<Unsigned>(b));
  const bool overflow = ((a ^ b) & (a ^ difference)) < 0;
  result = overflow ? Int{0} : difference;
  return overflow ? kMoneyOverflow : kMoneyDone;
}

// The value of a magnitude and a sign; zero where it does not fit.
inline std::int32_t signed_result(std::uint64_t size, bool negative, std::int64_t& result) {
  const bool overflow =
      size > static_cast<std::uint64_t>(kMoneyMax) + static_cast<std::uint64_t>(negative);
  result = overflow ? 0 : with_sign(size, negative);
  return overflow ? kMoneyOverflow : kMoneyDone;
}

// The product at four places, halves rounded away from zero.
template <typename Arithmetic = Wide>
inline std::int32_t multiply_money(std::int64_t a, std::int64_t b, std::int64_t& result) {
  U128 product = Arithmetic::multiply(signed_magnitude(a).magnitude, signed_magnitude(b).magnitude);
  product.low += kMoneyUnit / 2;  // truncation then rounds
  product.high += product.low < kMoneyUnit / 2 ? 1 : 0;
  // A product of 5001 * 2^64 over 10000 is above 2^63; below that the quotient fits 64 bits.
  if (product.high > kMoneyUnit / 2) [[unlikely]] {
    result = 0;
    return kMoneyOverflow;
  }
  // 10000 is 16 * 625, and a sixteenth of the product has 73 bits, of which `top` leaves out nine.
  // The quotient by 625 is top * 512 / 625, and less than 512 / 625 more for those nine bits. The
  // reciprocal, rounded down, takes away less than 1, and the upper limb of the product less than 1:
  // the quotient is less than 2.82 too small, and less than 3 * 625 are left, of which the low 64 bits
  // tell all.
  constexpr std::uint32_t kOdd = kMoneyUnit / 16;
  constexpr std::uint64_t kTwo64 = std::numeric_limits<std::uint64_t>::max() / kOdd;
  constexpr std::uint64_t kRest = std::numeric_limits<std::uint64_t>::max() % kOdd + 1;
  constexpr std::uint64_t kReciprocal = kTwo64 * 512 + kRest * 512 / kOdd;  // 2^64 * 512 / 625
  const std::uint64_t low = (product.high << 60) | (product.low >> 4);
  const std::uint64_t top = (product.high << 51) | (product.low >> 13);
  std::uint64_t quotient = Arithmetic::multiply(top, kReciprocal).high;
  const auto left = static_cast<std::uint32_t>(low - quotient * kOdd);
  quotient += left / kOdd;  // compiled to a multiplication; a branch would be taken at random
  return signed_result(quotient, (a ^ b) < 0, result);
}

// The quotient at four places, truncated.
template <typename Arithmetic = Wide>
inline std::int32_t divide_money(std::int64_t a, std::int64_t b, std::int64_t& result) {
  result = 0;
  if (b == 0) [[unlikely]]
    return kMoneyZeroDivisor;
  const std::uint64_t dividend = signed_magnitude(a).magnitude;
  const std::uint64_t divisor = signed_magnitude(b).magnitude;
  std::uint64_t quotient;
  if (dividend <= std::numeric_limits<std::uint64_t>::max() / kMoneyUnit) {
    quotient = dividend * kMoneyUnit / divisor;
  } else {
    const U128 scaled = Arithmetic::multiply(dividend, kMoneyUnit);
    if (scaled.high >= divisor) return kMoneyOverflow;
    quotient = Arithmetic::divide(scaled.high, scaled.low, divisor).quotient;
  }
  return signed_result(quotient, (a ^ b) < 0, result);
}

// The magnitude times the factor plus the addend (its 32 bits taken as unsigned), with the sign
// kept; factor 0 stores the addend. Unchanged on overflow, which 2^63 is for either sign.
inline std::int32_t scale_money(std::int64_t& value, std::uint32_t factor, std::int32_t addend) {
  if (factor == 0) {
    value = addend;
    return kMoneyDone;
  }
  const U128 product = Wide::multiply(signed_magnitude(value).magnitude, factor);
  const std::uint64_t sum = product.low + static_cast<std::uint32_t>(addend);
  if (product.high != 0 || sum < product.low || (sum >> 63) != 0) return kMoneyOverflow;
  value = with_sign(sum, value < 0);
  return kMoneyDone;
}

// Divides by the low 16 bits of the divisor, truncating toward zero; returns the remainder of the
// magnitude. A divisor without low bits changes nothing and gives 0.
inline std::int32_t divide_small(std::int64_t& value, std::uint32_t divisor) {
  const std::uint64_t small = divisor & 0xffff;
  if (small == 0) return 0;
  const std::uint64_t size = signed_magnitude(value).magnitude;
  value = with_sign(size / small, value < 0);
  return static_cast<std::int32_t>(size % small);
}

// 2^32 / 10000, and the double nearest to 2^63 / 10000 (922337203685477.5808; doubles are an eighth
// apart there, and this is ....625).
inline constexpr double kMoneyHighWord = 429496.7296;
inline constexpr double kMoneyLimit = 922337203685477.6;

inline double money_to_double(std::int64_t value) {
  const double high = static_cast<double>(static_cast<std::int32_t>(value >> 32));
  const double low = static_cast<double>(static_cast<std::uint32_t>(value));
  return high * kMoneyHighWord + low / 10000.0;
}

// Rounds half away from zero, in double steps. False, with zero, where the value is outside money
// or not a number.
inline bool double_to_money(double source, std::int64_t& value) {
  value = 0;
  const bool negative = source < 0;
  const double size = (negative ? -source : source) + 0.00005;
  if (!(size <= kMoneyLimit)) return false;
  if (size == kMoneyLimit) {
    value = negative ? -kMoneyMax : kMoneyMax;
    return true;
  }
  const auto high = static_cast<std::int64_t>(size / kMoneyHighWord);
  // Rounded, the rest may be slightly below 0 or above 2^32 ten-thousandths: it is added as it is.
  const auto low =
      static_cast<std::int64_t>((size - static_cast<double>(high) * kMoneyHighWord) * 10000.0);
  value = high * (std::int64_t{1} << 32) + low;
  if (negative) value = -value;
  return true;
}

// A magnitude rounded for its places: half a unit of the last place kept is added; the writer of the
// text leaves out the digits after it.
struct MoneyParts {
  std::uint64_t whole;
  std::uint64_t fraction;  // ten-thousandths
  std::uint32_t places;    // 1 to 4
};

VDX_INLINE MoneyParts money_parts(std::uint64_t size, std::int32_t places) {
  static constexpr std::uint16_t kHalf[] = {0, 500, 50, 5, 0};
  const std::uint32_t kept = places <= 0 ? 2 : places > 4 ? 4 : static_cast<std::uint32_t>(places);
  size += kHalf[kept];
  const std::uint64_t whole = size / kMoneyUnit;
  return {whole, size - whole * kMoneyUnit, kept};
}

// The point and four decimals, in the low five bytes; the caller keeps as many as there are places.
// The reciprocals are those of digits_of_8.
VDX_INLINE std::uint64_t fraction_text(std::uint64_t fraction) {
  const std::uint64_t hundreds = (fraction * 10486) >> 20;
  const std::uint64_t pairs = hundreds | (fraction - hundreds * 100) << 16;
  const std::uint64_t tens = ((pairs * 103) >> 10) & 0x000F000F;  // of each pair
  return (tens | (pairs - tens * 10) << 8 | 0x30303030) << 8 | '.';
}

// 2^63 / 10000, rounded up: no magnitude, rounded for its places, has more whole units.
inline constexpr std::uint64_t kMoneyMost = 922337203685478;

// Money without separators, at most 21 bytes. Places of 0 or less mean 2, above 4 mean 4; dropped
// digits round half away from zero.
VDX_INLINE ShortText money_text(std::int64_t ten_thousandths, std::int32_t places) {
  const auto [size, sign] = signed_magnitude(ten_thousandths);
  const MoneyParts parts = money_parts(size, places);
  ShortText text;
  put_integer<kMoneyMost>(text, {parts.whole, sign});
  store(text.bytes + text.end, fraction_text(parts.fraction));
  text.end += 1 + parts.places;
  return text;
}

// Reads text in the given character set; returns a MoneyStatus. After a failure the value is what was
// read so far, without a sign; the two statuses of an overflow tell the sign.
std::int32_t parse_money(std::int64_t& value, const std::uint8_t* text, std::int32_t length,
                         const vdx_charattr& attributes);

// The same by the grammar alone, one character at a time.
std::int32_t parse_money_grammar(std::int64_t& value, const std::uint8_t* text, std::int32_t length,
                                 const vdx_charattr& attributes, Finding* finding = nullptr);

}  // namespace vdx

#endif
