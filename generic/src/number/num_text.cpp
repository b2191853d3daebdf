#include "number/num_text.h"

#include <algorithm>

namespace vdx {
namespace {

constexpr std::uint64_t kTen8 = 100000000;
constexpr std::uint64_t kTen16 = kTen8 * kTen8;

// 10^19, the largest power of ten in a limb, has its top bit set: as a divisor it needs no shift.
constexpr Divisor kChunk = make_divisor<PortableWide>(kPowersOfTen[kLimbDigits]);
static_assert(kChunk.shift == 0);

// The nineteen digits of a chunk end before `end`; up to 24 bytes before it are written.
VDX_INLINE void put_chunk(unsigned char* end, std::uint64_t chunk) {
  const std::uint64_t head = chunk / kTen16;
  const std::uint64_t rest = chunk - head * kTen16;
  store(end - 24, digits_of_8(head) | 0x3030303030303030);
  Digits16(rest / kTen8, rest % kTen8).put(end - 16);
}

constexpr std::uint32_t decimal_digits(std::uint64_t v) {  // 0 has one
  const auto low = static_cast<std::uint32_t>(std::bit_width(v | 1)) * 1233 >> 12;
  return low + (low < 20 && v >= limb_power(static_cast<std::int32_t>(low)) ? 1 : 0) +
         (v == 0 ? 1 : 0);
}

// Text piece by piece of sixteen bytes; up to fifteen bytes behind it are written too.
VDX_INLINE void copy_blocks(unsigned char* to, const unsigned char* from, std::uint32_t n) {
  for (std::uint32_t i = 0; i < n; i += 16) {
    store(to + i, load<Words>(from + i));
  }
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

// m * 10^n + the n (at most 77 in all) digits at p, in chunks of sixteen.
class Accumulator {
 public:
  void digits(const std::uint8_t* p, std::uint32_t n) {
    for (; n >= 16; n -= 16, p += 16) append(Block::whole(p).number(16), kTen16);
    if (n != 0)
      append(number_in(p, Block::of(p, n), n, n), limb_power(static_cast<std::int32_t>(n)));
  }
  void increment() {
    for (std::uint64_t& limb : magnitude_)
      if (++limb != 0) break;
  }
  const Magnitude& magnitude() const { return magnitude_; }

 private:
  void append(std::uint64_t chunk, std::uint64_t power) {
    for (std::size_t i = 0; i < size_; ++i) {
      const U128 product = Wide::multiply(magnitude_[i], power);
      magnitude_[i] = product.low + chunk;
      chunk = product.high + (magnitude_[i] < chunk ? 1 : 0);
    }
    if (chunk != 0) magnitude_[size_++] = chunk;
  }

  Magnitude magnitude_{};
  std::size_t size_ = 0;
};

NumericStatus overflow(Exact& value) {
  value.magnitude.fill(~std::uint64_t{0});
  return NumericStatus::overflow;
}

// The decimal at the value's scale. The first digit that goes decides the rounding.
NumericStatus settle(const Decimal& decimal, Exact& value) {
  value.negative = false;
  value.magnitude = {};
  if (decimal.count == 0) return NumericStatus::done;
  value.negative = decimal.negative;
  const std::int64_t up = decimal.exponent + value.scale;
  const auto count = static_cast<std::int64_t>(decimal.count);
  if (count + up > kMaxPrecision) return overflow(value);
  if (count + up < 0) {
    value.negative = false;
    return NumericStatus::done;
  }
  const auto keep = static_cast<std::size_t>(std::min(count, count + up));
  Accumulator sum;
  sum.digits(decimal.digits, static_cast<std::uint32_t>(keep));
  if (keep < decimal.count && decimal.digits[keep] >= '5') sum.increment();
  value.magnitude = sum.magnitude();
  if (up > 0 && !scale_up(value.magnitude, static_cast<std::int32_t>(up))) return overflow(value);
  if (is_zero(value.magnitude)) value.negative = false;
  return NumericStatus::done;
}

// The text's characters, each folded to a single byte.
class FoldedText {
 public:
  FoldedText(const std::uint8_t* text, std::int32_t length, const vdx_charattr& attributes)
      : at_(text), end_(text + length), attributes_(attributes) {
    fold();
  }

  // 0 behind the end, and for characters that fold to nothing.
  std::uint8_t peek() const { return folded_; }
  bool more() const { return at_ != end_; }
  void next() {
    at_ += bytes_;
    fold();
  }
  bool take(std::uint8_t c) {
    if (folded_ != c || !more()) return false;
    next();
    return true;
  }
  void skip_blanks() {
    while (take(' ')) continue;
  }
  bool digit() const { return folded_ >= '0' && folded_ <= '9'; }

 private:
  void fold() {
    folded_ = 0;
    if (at_ == end_) return;
    bytes_ = attributes_.max_bytes <= 1 ? 1 : char_bytes(attributes_, at_, end_ - at_);
    folded_ = char_fold(attributes_, at_, bytes_);
  }

  const std::uint8_t* at_;
  const std::uint8_t* end_;
  const vdx_charattr& attributes_;
  std::int32_t bytes_ = 1;
  std::uint8_t folded_ = 0;
};

bool read_digits(FoldedText& text, Decimal& decimal) {
  bool any = false, point = false;
  for (;; text.next()) {
    const std::uint8_t c = text.peek();
    if (c == '.' && !point) {
      point = true;
      continue;
    }
    if (!text.digit()) return any;
    any = true;
    if (point) --decimal.exponent;
    if (c == '0' && decimal.count == 0) continue;
    if (decimal.count < kKept)
      decimal.digits[decimal.count++] = c;
    else
      ++decimal.exponent;
  }
}

bool read_exponent(FoldedText& text, Decimal& decimal) {
  if (!text.take('e') && !text.take('E')) return true;
  const bool minus = text.take('-');
  if (!minus) text.take('+');
  if (!text.digit()) return false;
  constexpr std::int64_t kBeyond = std::int64_t{1} << 40;  // further than any text's digits reach
  std::int64_t exponent = 0;
  for (; text.digit(); text.next())
    exponent = std::min(exponent * 10 + (text.peek() - '0'), kBeyond);
  decimal.exponent += minus ? -exponent : exponent;
  return true;
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

// Blanks, a sign, digits, a point, digits, blanks, with no more digits than a numeric has: nearly
// every text. These are single bytes that stand for themselves in every character set.
VDX_INLINE bool plain_numeric(const std::uint8_t* p, const std::uint8_t* end, Exact& value,
                              NumericStatus& status) {
  constexpr std::uint64_t kBlanks = 0x2020202020202020;
  while (p != end && *p == ' ') ++p;
  while (end - p >= 8 && load<std::uint64_t>(end - 8) == kBlanks) end -= 8;
  while (p != end && end[-1] == ' ') --end;
  if (p == end) return false;
  const bool minus = *p == '-';
  p += minus || *p == '+' ? 1 : 0;
  const std::uint32_t whole = digit_run(p, end);
  const std::uint8_t* fraction = end;
  std::uint32_t places = 0;
  if (p + whole != end) {
    if (p[whole] != '.') return false;
    fraction = p + whole + 1;
    places = digit_run(fraction, end);
    if (fraction + places != end) return false;
  }
  const std::uint32_t kept = std::min(places, static_cast<std::uint32_t>(value.scale));
  if (whole + places == 0 || whole + kept > static_cast<std::uint32_t>(kMaxPrecision)) return false;
  Accumulator sum;
  sum.digits(p, whole);
  sum.digits(fraction, kept);
  if (kept < places && fraction[kept] >= '5') sum.increment();
  value.magnitude = sum.magnitude();
  value.negative = minus;
  status = NumericStatus::done;
  if (!scale_up(value.magnitude, value.scale - static_cast<std::int32_t>(kept)))
    status = overflow(value);
  else if (is_zero(value.magnitude))
    value.negative = false;
  return true;
}

}  // namespace

void put_numeric(const Exact& value, NumericText& text) {
  // Digits in chunks that end at kEnd; five chunks hold 256 bits with room for the zeros before.
  constexpr std::uint32_t kEnd = 112;
  unsigned char digits[kEnd + 16];
  std::uint64_t limbs[6], quotient[5];
  std::memcpy(limbs, value.magnitude.data(), sizeof value.magnitude);
  std::size_t size = used_limbs(limbs, 4);
  std::uint32_t at = kEnd;
  while (size > 1) {
    divide_limbs(limbs, size, kChunk, quotient);
    put_chunk(digits + at, limbs[0]);
    at -= 19;
    std::memcpy(limbs, quotient, sizeof(Magnitude));
    size = used_limbs(limbs, size);
  }
  std::uint64_t head = size == 0 ? 0 : limbs[0];
  if (head >= limb_power(kLimbDigits)) {
    put_chunk(digits + at, head - limb_power(kLimbDigits));
    at -= 19;
    head = 1;
  }
  put_chunk(digits + at, head);
  const std::uint32_t places = static_cast<std::uint32_t>(value.scale);
  const std::uint32_t count = std::max(kEnd - at + decimal_digits(head), places + 1);
  if (count > kEnd - at + 19) std::memset(digits + kEnd - count, '0', at - 19 - (kEnd - count));

  unsigned char* out = text.bytes + 16;
  *out = '-';
  text.begin = value.negative ? 16 : 17;
  const std::uint32_t whole = count - places;
  copy_blocks(out + 1, digits + kEnd - count, whole);
  out += 1 + whole;
  if (places != 0) {
    *out = '.';
    copy_blocks(out + 1, digits + kEnd - places, places);
    out += 1 + places;
  }
  text.end = static_cast<std::uint32_t>(out - text.bytes);
}

NumericStatus parse_numeric_grammar(const std::uint8_t* text, std::int32_t length,
                                    const vdx_charattr& attributes, std::int32_t scale,
                                    Exact& value) {
  value.scale = scale;
  FoldedText characters(text, length, attributes);
  Decimal decimal;
  characters.skip_blanks();
  if (characters.more()) {
    decimal.negative = characters.take('-');
    if (!decimal.negative) characters.take('+');
    if (!read_digits(characters, decimal) || !read_exponent(characters, decimal))
      return NumericStatus::syntax;
    characters.skip_blanks();
    if (characters.more()) return NumericStatus::syntax;
  }
  return settle(decimal, value);
}

NumericStatus parse_numeric(const std::uint8_t* text, std::int32_t length,
                            const vdx_charattr& attributes, std::int32_t scale, Exact& value) {
  value.scale = scale;
  NumericStatus status;
  if (length > 0 && plain_numeric(text, text + length, value, status)) [[likely]]
    return status;
  return parse_numeric_grammar(text, length, attributes, scale, value);
}

}  // namespace vdx
