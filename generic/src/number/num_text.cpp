#include "number/num_text.h"

#include <algorithm>

#include "number/folded_text.h"

namespace vdx {
namespace {

constexpr std::uint64_t kTen8 = 100000000;
constexpr std::uint64_t kTen16 = kTen8 * kTen8;

// 10^19, the largest power of ten in a limb, has its top bit set: as a divisor it needs no shift.
constexpr Divisor kChunk = make_divisor<PortableWide>(kPowersOfTen[kLimbDigits]);
static_assert(kChunk.shift == 0);

// The last `width` (at most 19) digits of a number that has no more end before `end`; up to 24 bytes
// before it are written.
VDX_INLINE void put_digits(unsigned char* end, std::uint64_t number, std::uint32_t width) {
  if (width > 8) {
    std::uint64_t rest = number;
    if (width > 16) {
      const std::uint64_t head = number / kTen16;
      rest -= head * kTen16;
      store(end - 24, digits_of_8(head) | 0x3030303030303030);
    }
    Digits16(rest / kTen8, rest % kTen8).put(end - 16);
  } else {
    store(end - 8, digits_of_8(number) | 0x3030303030303030);
  }
}

constexpr std::uint32_t decimal_digits(std::uint64_t v) {  // 0 has one
  const auto low = static_cast<std::uint32_t>(std::bit_width(v | 1)) * 1233 >> 12;
  return low + (low < 20 && v >= limb_power(static_cast<std::int32_t>(low)) ? 1 : 0) +
         (v == 0 ? 1 : 0);
}

constexpr std::size_t kKept =
    80;  // more digits than a value has, so that those left out never round

// Digits and a power of ten: what a text says, whatever its length.
struct Decimal {
  std::uint8_t digits[kKept];  // characters, without leading zeros
  std::size_t count = 0;
  std::int64_t exponent = 0;
  bool negative = false;
};

// Digits, sixteen at a time, as a number of at most that many limbs; the limbs stay in registers.
template <std::size_t kLimbs>
class Accumulator {
 public:
  VDX_INLINE void digits(const std::uint8_t* p, std::uint32_t n) {
    for (; n >= 16; n -= 16, p += 16) append(Block::whole(p).number(16), kTen16);
    if (n != 0)
      append(number_in(p, Block::of(p, n), n, n), limb_power(static_cast<std::int32_t>(n)));
  }
  VDX_INLINE void add(std::uint64_t up) {
    VDX_UNROLL
    for (std::size_t i = 0; i < kLimbs; ++i) {
      limbs_[i] += up;
      up = static_cast<std::uint64_t>(limbs_[i] < up);
    }
  }
  VDX_INLINE Magnitude magnitude() const {
    Magnitude magnitude{};
    VDX_UNROLL
    for (std::size_t i = 0; i < kLimbs; ++i) magnitude[i] = limbs_[i];
    return magnitude;
  }

 private:
  VDX_INLINE void append(std::uint64_t chunk, std::uint64_t power) {
    VDX_UNROLL
    for (std::size_t i = 0; i < kLimbs; ++i) {
      const U128 product = Wide::multiply(limbs_[i], power);
      limbs_[i] = product.low + chunk;
      chunk = product.high + static_cast<std::uint64_t>(limbs_[i] < chunk);
    }
  }

  std::uint64_t limbs_[kLimbs] = {};
};

// The decimal at the scale. The first digit that goes decides the rounding.
std::int32_t settle(const Decimal& decimal, std::int32_t precision, std::int32_t scale,
                    void* image) {
  const std::int64_t up = decimal.exponent + scale;
  const auto count = static_cast<std::int64_t>(decimal.count);
  Magnitude magnitude{};
  bool fits = true;
  if (count != 0 && count + up > kMaxPrecision) {
    fits = false;
  } else if (count != 0 && count + up >= 0) {
    const auto keep = static_cast<std::size_t>(std::min(count, count + up));
    Accumulator<4> sum;
    sum.digits(decimal.digits, static_cast<std::uint32_t>(keep));
    sum.add(keep < decimal.count && decimal.digits[keep] >= '5' ? 1 : 0);
    magnitude = sum.magnitude();
    fits = up <= 0 || scale_up(magnitude, static_cast<std::int32_t>(up));
  }
  return put_image(fits, magnitude, decimal.negative, precision, scale, image);
}

bool read_digits(FoldedText& text, Decimal& decimal) {
  bool any = false, point = false;
  for (;; text.next()) {
    const std::uint8_t c = text.peek();
    if (c == '.' && !point) {
      point = true;
      continue;
    }
    if (!text.at_digit()) return any;
    any = true;
    if (point) --decimal.exponent;
    if (c == '0' && decimal.count == 0) continue;
    if (decimal.count < kKept)
      decimal.digits[decimal.count++] = c;
    else
      ++decimal.exponent;
  }
}

// The digits from p on.
VDX_INLINE std::uint32_t digit_run(const std::uint8_t* p, const std::uint8_t* end) {
  std::uint32_t run = 0;
  for (std::ptrdiff_t left; (left = end - p - run) > 0; run += 16) {
    const auto n = static_cast<std::uint32_t>(std::min<std::ptrdiff_t>(left, 16));
    const std::uint32_t others = ~Block::of(p + run, n).digits() |
                                 static_cast<std::uint32_t>(std::uint64_t{0xFFFFFFFF} << n);
    if (const int ones = std::countr_zero(others); ones < 16)
      return run + static_cast<std::uint32_t>(ones);
  }
  return run;
}

// The parts of a text of blanks, a sign, digits, a point, digits and blanks: nearly every text.
// These are single bytes that stand for themselves in every character set.
struct PlainDecimal {
  const std::uint8_t* digits;
  const std::uint8_t* fraction;
  std::uint32_t whole;
  std::uint32_t places;
  bool negative;
};

VDX_INLINE bool split_plain(const std::uint8_t* p, const std::uint8_t* end, PlainDecimal& plain) {
  while (p != end && *p == ' ') ++p;
  while (end - p >= 8 && load<std::uint64_t>(end - 8) == kEightBlanks) end -= 8;
  while (p != end && end[-1] == ' ') --end;
  if (p == end) return false;
  plain.negative = *p == '-';
  p += (*p == '-') | (*p == '+');  // no branch: signs are as unpredictable as values
  plain.digits = p;
  plain.whole = digit_run(p, end);
  plain.fraction = end;
  plain.places = 0;
  p += plain.whole;
  if (p == end) return plain.whole != 0;
  if (*p != '.') return false;
  plain.fraction = p + 1;
  plain.places = digit_run(p + 1, end);
  return plain.fraction + plain.places == end && plain.whole + plain.places != 0;
}

template <std::size_t kLimbs>
VDX_INLINE std::int32_t put_plain(const PlainDecimal& plain, std::uint32_t kept,
                                  std::int32_t precision, std::int32_t scale, void* image) {
  Accumulator<kLimbs> sum;
  sum.digits(plain.digits, plain.whole);
  sum.digits(plain.fraction, kept);
  if (kept < plain.places) sum.add(plain.fraction[kept] >= '5' ? 1 : 0);
  const auto missing = scale - static_cast<std::int32_t>(kept);
  if (missing == 0) [[likely]]
    return put_image(true, sum.magnitude(), plain.negative, precision, scale, image);
  Magnitude magnitude = sum.magnitude();
  const bool fits = scale_up(magnitude, missing);
  return put_image(fits, magnitude, plain.negative, precision, scale, image);
}

}  // namespace

void put_numeric(const Exact& value, NumericText& text) {
  unsigned char* const end = text.bytes + NumericText::kEnd;
  unsigned char* at = end;
  const auto places = static_cast<std::uint32_t>(value.scale);
  std::uint32_t left = places;  // digits behind the point still to come
  // So many digits more, in two pieces where the point falls among them. A piece may write before
  // its digits, which the next one covers.
  const auto put = [&at, &left](std::uint64_t chunk, std::uint32_t width) {
    if (left != 0 && left < width) {
      const Divisor& power = kPowerDivisors[left];
      const Quotient parts = divide_step(chunk >> (64 - power.shift), chunk << power.shift,
                                         power.limbs[0], power.reciprocal);
      put_digits(at, parts.remainder >> power.shift, left);
      at -= left;
      *--at = '.';
      width -= left;
      left = 0;
      chunk = parts.quotient;
    }
    put_digits(at, chunk, width);
    at -= width;
    if (left == 0) return;
    left -= width;
    if (left == 0) *--at = '.';
  };
  Magnitude rest = value.magnitude;
  std::size_t size = used_limbs(rest.data(), rest.size());
  std::uint32_t digits = 0;
  while (size > 1 || (size == 1 && rest[0] >= kChunk.limbs[0])) {
    std::uint64_t remainder = 0;
    for (std::size_t i = size; i-- > 0;) {
      const Quotient step = divide_step(remainder, rest[i], kChunk.limbs[0], kChunk.reciprocal);
      rest[i] = step.quotient;
      remainder = step.remainder;
    }
    put(remainder, kLimbDigits);
    digits += kLimbDigits;
    size = used_limbs(rest.data(), size);
  }
  const std::uint32_t head = decimal_digits(rest[0]);
  put(rest[0], head);
  digits += head;
  const std::uint32_t significant = std::max(digits, places + 1);
  for (; digits < places + 1; digits += kLimbDigits) put(0, kLimbDigits);
  const std::uint32_t count = significant + (places != 0 ? 1 : 0);
  end[-static_cast<std::ptrdiff_t>(count) - 1] = '-';
  text.begin = NumericText::kEnd - count - (value.negative ? 1 : 0);
}

std::int32_t parse_numeric_grammar(const std::uint8_t* text, std::int32_t length,
                                   const vdx_charattr& attributes, std::int32_t precision,
                                   std::int32_t scale, void* image) {
  FoldedText characters(text, length, attributes);
  Decimal decimal;
  characters.skip_blanks();
  if (characters.more()) {
    decimal.negative = characters.take_sign();
    characters.skip_blanks();
    if (!read_digits(characters, decimal) || !characters.take_exponent(decimal.exponent))
      return VDX_SYNTAX;
    characters.skip_blanks();
    if (characters.more()) return VDX_SYNTAX;
  }
  return settle(decimal, precision, scale, image);
}

std::int32_t parse_numeric(const std::uint8_t* text, std::int32_t length,
                           const vdx_charattr& attributes, std::int32_t precision,
                           std::int32_t scale, void* image) {
  if (const std::int32_t code = check_numeric_format(precision, scale); code != VDX_SUCCESS)
      [[unlikely]]
    return code;
  PlainDecimal plain;
  if (length > 0 && split_plain(text, text + length, plain)) [[likely]] {
    const std::uint32_t kept = std::min(plain.places, static_cast<std::uint32_t>(scale));
    if (plain.whole + kept <= 38) return put_plain<2>(plain, kept, precision, scale, image);
    if (plain.whole + kept <= static_cast<std::uint32_t>(kMaxPrecision))
      return put_plain<4>(plain, kept, precision, scale, image);
  }
  return parse_numeric_grammar(text, length, attributes, precision, scale, image);
}

}  // namespace vdx
