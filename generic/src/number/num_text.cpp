#include "number/num_text.h"

#include <algorithm>

#include "number/folded_text.h"
#include "number/plain_number.h"

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

// The digits of a text of any length, and a power of ten. A numeric has at most 77 digits and the
// next one rounds: digits after the 80 that are kept cannot matter.
struct LongDecimal {
  static constexpr std::size_t kKept = 80;
  std::uint8_t digits[kKept];  // characters, without leading zeros
  std::size_t count = 0;
  std::int64_t exponent = 0;  // of the last digit kept
  bool negative = false;
};

// Digits, sixteen at a time, as a number of at most that many limbs; the limbs stay in registers.
template <std::size_t kLimbs>
class Accumulator {
 public:
  VDX_INLINE void digits(const std::uint8_t* p, std::uint32_t n) {
    for (; n >= 16; n -= 16, p += 16) append(Block::whole(p).number(16), kTen16);
    if (n != 0) append(number_at(p, n), limb_power(static_cast<std::int32_t>(n)));
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

// The decimal as an image. The first digit that goes decides the rounding.
std::int32_t put_decimal(const LongDecimal& decimal, std::int32_t precision, std::int32_t scale,
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

bool read_digits(FoldedText& text, LongDecimal& decimal, bool& point) {
  bool any = false;
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
    if (decimal.count < LongDecimal::kKept)
      decimal.digits[decimal.count++] = c;
    else
      ++decimal.exponent;
  }
}

// With `kept` of its places. The first one that goes decides the rounding. Short: of few digits more
// often than not, which one limb holds.
template <std::size_t kLimbs, bool kShort = false>
VDX_INLINE std::int32_t put_plain(const PlainNumber& number, std::uint32_t kept,
                                  std::int32_t precision, std::int32_t scale, void* image) {
  const bool negative = number.minus != 0;
  const auto missing = scale - static_cast<std::int32_t>(kept);
  if (kShort && number.whole_digits + static_cast<std::uint32_t>(scale) <= kLimbDigits) {
    std::uint64_t limb = long_number_at(number.whole, number.whole_digits) *
                             limb_power(static_cast<std::int32_t>(kept)) +
                         long_number_at(number.fraction, kept);
    if (kept < number.places) limb += number.fraction[kept] >= '5' ? 1 : 0;
    return put_limb_image(limb * limb_power(missing), negative, precision, scale, image);
  }
  Accumulator<kLimbs> sum;
  sum.digits(number.whole, number.whole_digits);
  sum.digits(number.fraction, kept);
  if (kept < number.places) sum.add(number.fraction[kept] >= '5' ? 1 : 0);
  if (missing == 0) [[likely]]
    return put_image(true, sum.magnitude(), negative, precision, scale, image);
  Magnitude magnitude = sum.magnitude();
  const bool fits = scale_up(magnitude, missing);
  return put_image(fits, magnitude, negative, precision, scale, image);
}

// Texts of more than 32 bytes; 38 digits always fit two limbs, 77 four. Out of line, like what is
// rare elsewhere: the short way would have to save its registers.
[[gnu::noinline]] std::int32_t parse_long_numeric(const std::uint8_t* text, std::int32_t length,
                                                  const vdx_charattr& attributes,
                                                  std::int32_t precision, std::int32_t scale,
                                                  void* image) {
  PlainNumber number;
  const auto n = static_cast<std::uint32_t>(length);
  bool is_plain = n <= 48 && recognise_masks<kWithPoint>(text, LongestBytes(text, n), number);
  if (!is_plain) {
    const std::uint8_t *begin = text, *end = text + length;
    trim_blanks(begin, end);
    is_plain = recognise_runs<kWithPoint>(begin, end, number);
  }
  if (is_plain) [[likely]] {
    const std::uint32_t kept = std::min(number.places, static_cast<std::uint32_t>(scale));
    const std::uint32_t digits = number.whole_digits + kept;
    if (digits <= 38) return put_plain<2>(number, kept, precision, scale, image);
    if (digits <= static_cast<std::uint32_t>(kMaxPrecision))
      return put_plain<4>(number, kept, precision, scale, image);
  }
  return parse_numeric_grammar(text, length, attributes, precision, scale, image);
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
                                   std::int32_t scale, void* image, Finding* finding) {
  FoldedText characters(text, length, attributes);
  LongDecimal decimal;
  characters.skip_blanks();
  if (characters.more()) {
    const std::int64_t begin = characters.position();
    decimal.negative = characters.take_sign();
    characters.skip_blanks();
    bool point = false;
    if (!read_digits(characters, decimal, point) || !characters.take_exponent(decimal.exponent)) {
      characters.tell_no_digit(finding);
      return VDX_SYNTAX;
    }
    const std::int64_t end = characters.position();
    if (finding != nullptr) finding->note_number(decimal.negative, begin, end);
    characters.skip_blanks();
    if (characters.more()) {
      characters.tell_rest(finding, end, point);
      return VDX_SYNTAX;
    }
  }
  return put_decimal(decimal, precision, scale, image);
}

std::int32_t parse_numeric(const std::uint8_t* text, std::int32_t length,
                           const vdx_charattr& attributes, std::int32_t precision,
                           std::int32_t scale, void* image) {
  if (const std::int32_t code = check_numeric_format(precision, scale); code != VDX_SUCCESS)
      [[unlikely]]
    return code;
  if (length > 32) return parse_long_numeric(text, length, attributes, precision, scale, image);
  PlainNumber number;
  if (length > 0 && recognise<kWithPoint>(text, static_cast<std::uint32_t>(length), number))
      [[likely]] {
    const std::uint32_t kept = std::min(number.places, static_cast<std::uint32_t>(scale));
    return put_plain<2, true>(number, kept, precision, scale, image);
  }
  return parse_numeric_grammar(text, length, attributes, precision, scale, image);
}

}  // namespace vdx
