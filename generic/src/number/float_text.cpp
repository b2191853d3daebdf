// The shortest decimal is found as R. Giulietti describes it ("The Schubfach way to render doubles"):
//
// Every decimal between the middles to the neighbours of a float reads back as that float. Float
// and middles are scaled by a power of ten, 10^-k, chosen so that this stretch is at least one unit
// long and shorter than ten. A whole unit then is inside, and at most one multiple of ten, which is
// the shortest if there is one; else the nearer of the two units next to the float is.
#include "number/float_text.h"

#include <charconv>

#include "number/float_format.h"
#include "number/float_powers.h"
#include "number/magnitude.h"

namespace vdx {
namespace {

// digits * 10^tens; the digits may end in zeros.
struct Shortest {
  std::uint64_t digits;
  std::int32_t tens;
};

// The whole part of log10(2^exponent), or of log10(3/4 * 2^exponent): 1262611 / 2^22 is log10(2) and
// -524031 / 2^22 is log10(3/4), both to seven digits.
constexpr std::int32_t floor_log10(std::int32_t exponent, bool three_quarters) {
  return (exponent * 1262611 - (three_quarters ? 524031 : 0)) >> 22;
}

// That this is so for every exponent of a double: no logarithm is so close to a whole number that
// the doubles here, which are off by less than 1e-12, could be on its other side.
static_assert([] {
  for (std::int32_t exponent = -1074; exponent <= 971; ++exponent)
    for (const bool three_quarters : {false, true}) {
      const double log10 =
          exponent * 0.30102999566398119521 - (three_quarters ? 0.12493873660829995313 : 0.0);
      const double above = log10 - floor_log10(exponent, three_quarters);
      const bool is_one = exponent == 0 && !three_quarters;
      if (!is_one && !(above > 1e-9 && above < 1 - 1e-9)) return false;
    }
  return floor_log10(0, false) == 0;
}());

// The upper word of a product of 192 bits; its last bit tells also whether anything follows it.
// Where the power was cut off and made one larger, the product is too large by less than the factor,
// which is below 2^59, so the middle word is at most one too large: that of a whole number shows as
// 0 or 1. No other product of a float or middle comes that close to a whole number, which is the
// theorem that Giulietti's method rests on.
inline std::uint64_t round_to_odd(const BinaryPower& power, std::uint64_t factor) {
  const U128 product =
      add_high(Wide::multiply(power.high, factor), Wide::multiply(power.low, factor));
  return product.high | (product.low > 1 ? 1 : 0);
}

template <typename F>
VDX_INLINE Shortest shortest_decimal(typename FloatFormat<F>::Bits bits) {
  using Format = FloatFormat<F>;
  const FloatParts<F> parts(bits);
  const std::uint64_t size = parts.size;
  const std::int32_t exponent = parts.exponent;
  if (exponent <= 0 && -exponent <= Format::kFraction && std::countr_zero(size) >= -exponent)
    // A whole number, with neighbours at most 1 away: no other whole number, and so no decimal of
    // fewer digits, is between the middles.
    return {size >> -exponent, 0};
  // Below a power of two floats are half as far apart.
  const bool closer = parts.fraction == 0 && parts.biased > 1;
  const std::int32_t k = floor_log10(exponent, closer);
  // In quarters: the middles are 2 above, and 2 or 1 below. With 10^-k = p * 2^(e - 127) the scaled
  // float is the upper word of p * (size << shift), shift being exponent + e + 1. By the choice of k
  // the scaled unit, 2^exponent * 10^-k, is at least 1 and below 10 (below 40 / 3 if closer), so
  // exponent + e is 0 to 3, and the largest factor, (4 * size + 2) << 4, is below 2^59. The units
  // are below 10 * 2^53 (40 / 3 * 2^52), so they have at most seventeen digits.
  const std::int32_t shift = exponent + floor_log2_of_tens(-k) + 1;
  BinaryPower power = binary_power(-k);
  if (!is_whole_power(-k)) power.high += ++power.low == 0 ? 1 : 0;
  const std::uint64_t scaled = round_to_odd(power, (4 * size) << shift);
  const std::uint64_t odd = size & 1;  // the middles themselves round to even floats
  const std::uint64_t least = round_to_odd(power, (4 * size - (closer ? 1 : 2)) << shift) + odd;
  const std::uint64_t most = round_to_odd(power, (4 * size + 2) << shift) - odd;
  const std::uint64_t units = scaled / 4;
  const std::uint64_t tens = scaled / 40;
  const bool tens_below = least <= 40 * tens, tens_above = 40 * tens + 40 <= most;
  if (tens != 0 && tens_below != tens_above) return {tens + std::uint64_t{tens_above}, k + 1};
  const bool below = least <= 4 * units, above = 4 * units + 4 <= most;
  const std::uint64_t nearer = scaled > 4 * units + 2 - (units & 1) ? 1 : 0;
  return {units + (below != above ? std::uint64_t{above} : nearer), k};
}

// The same number with as many zeros after its digits as make them seventeen.
inline Shortest with_17_digits(Shortest shortest) {
  const auto count = static_cast<std::int32_t>(decimal_digits(shortest.digits));
  return {shortest.digits * limb_power(17 - count), shortest.tens - (17 - count)};
}

// Places in a text: the number starts here, its sign before it.
constexpr std::uint32_t kNumberStart = 8;

ShortText short_word(const char* word, std::uint32_t length) {
  ShortText text;
  text.begin = kNumberStart;
  text.end = kNumberStart + length;
  std::memcpy(text.bytes + kNumberStart, word, length);
  return text;
}

// Seventeen digits, of which the first `count` are shown.
class Digits17 {
 public:
  VDX_INLINE explicit Digits17(Shortest shortest)
      : upper_(shortest.digits / kTen8),
        head_(upper_ / kTen8),
        others_(upper_ - head_ * kTen8, shortest.digits - upper_ * kTen8) {}

  // Without the zeros at the end.
  std::int32_t count() const {
    return 32 - std::countl_zero(std::uint32_t{others_.nonzero()} << 1 | 1);
  }
  VDX_INLINE void put(unsigned char* first, unsigned char* others) const {
    *first = static_cast<unsigned char>('0' + head_);
    others_.put(others);
  }

 private:
  static constexpr std::uint64_t kTen8 = 100000000;
  std::uint64_t upper_, head_;
  Digits16 others_;
};

// One digit, a point and the others if there are any, the exponent with a sign and at least two
// digits. Returns the end.
VDX_INLINE unsigned char* put_scientific(unsigned char* to, const Digits17& digits,
                                         std::int32_t count, std::int32_t exponent) {
  digits.put(to, to + 2);
  to[1] = '.';
  unsigned char* const at = to + count + (count > 1 ? 1 : 0);
  const bool down = exponent < 0;
  const auto size = static_cast<std::uint32_t>(down ? -exponent : exponent);
  const std::uint32_t hundreds = size / 100;
  const std::uint32_t rest = size - hundreds * 100;
  at[0] = 'e';
  at[1] = down ? '-' : '+';
  at[2] = static_cast<unsigned char>('0' + hundreds);
  unsigned char* const last = at + (hundreds != 0 ? 3 : 2);
  last[0] = static_cast<unsigned char>('0' + rest / 10);
  last[1] = static_cast<unsigned char>('0' + rest % 10);
  return last + 2;
}

// Digits with a point among, before or after them; the exponent is that of the first digit, and at
// least -4.
VDX_INLINE unsigned char* put_fixed(unsigned char* to, const Digits17& digits, std::int32_t count,
                                    std::int32_t exponent) {
  if (exponent < 0) {
    std::memcpy(to, "0.000000", 8);
    unsigned char* const first = to + 1 - exponent;
    digits.put(first, first + 1);
    return first + count;
  }
  digits.put(to, to + 1);
  unsigned char* const point = to + exponent + 1;
  if (point == to + count) return point;
  std::memmove(point + 1, point, 16);
  *point = '.';
  return to + count + 1;
}

// A whole number that is shown in fixed notation although its shortest decimal ends before the
// point: it shows its own digits, which the shortest ones only come near to.
VDX_INLINE void put_whole(ShortText& text, double size, bool negative) {
  if (size < 0x1p64) [[likely]] {
    text = integer_text({static_cast<std::uint64_t>(size), negative ? 1U : 0U});
    return;
  }
  char* const first = reinterpret_cast<char*>(text.bytes + kNumberStart);
  const char* const end = std::to_chars(first, first + 24, size, std::chars_format::fixed).ptr;
  text.end = kNumberStart + static_cast<std::uint32_t>(end - first);
}

}  // namespace

template <typename F>
ShortText float_text(F value) {
  using Format = FloatFormat<F>;
  const auto image = std::bit_cast<typename Format::Bits>(value);
  const bool negative = (image & Format::kSign) != 0;
  const auto bits = static_cast<typename Format::Bits>(image & ~Format::kSign);
  if (bits >= Format::kInfinity) [[unlikely]] {
    if (bits != Format::kInfinity) return short_word("nan", 3);
    return negative ? short_word("-inf", 4) : short_word("inf", 3);
  }
  if (bits == 0) [[unlikely]]
    return negative ? short_word("-0", 2) : short_word("0", 1);

  const Shortest shortest = with_17_digits(shortest_decimal<F>(bits));
  const Digits17 digits(shortest);
  const std::int32_t count = digits.count();
  const std::int32_t exponent = shortest.tens + 16;  // of the first digit
  const std::int32_t tens = exponent + 1 - count;    // of the last digit

  ShortText text;
  unsigned char* const to = text.bytes + kNumberStart;
  to[-1] = '-';
  text.begin = kNumberStart - (negative ? 1 : 0);
  // Scientific notation takes count + point + 4 characters; with an exponent of three digits one
  // more, but fixed notation is far longer there. Fixed notation takes count + tens where tens is
  // above zero, which is longer if tens is above 4 + point; below one it takes 1 - exponent + count,
  // which is 2 - tens, longer if tens is below -count - 2 - point; between it is never longer. One
  // comparison, because large and small numbers may come in any order.
  const std::int32_t point = count > 1 ? 1 : 0;
  const std::int32_t least = -count - 2 - point, most = 4 + point;
  if (static_cast<std::uint32_t>(tens - least) > static_cast<std::uint32_t>(most - least)) {
    text.end = static_cast<std::uint32_t>(put_scientific(to, digits, count, exponent) - text.bytes);
  } else if (tens > 0) {
    put_whole(text, static_cast<double>(negative ? -value : value), negative);
  } else {
    text.end = static_cast<std::uint32_t>(put_fixed(to, digits, count, exponent) - text.bytes);
  }
  return text;
}

template ShortText float_text(float);
template ShortText float_text(double);

}  // namespace vdx
