#include "number/floats.h"

#include <charconv>

#include "number/folded_text.h"

namespace vdx {
namespace {

// The upper 128 bits of a power of ten, cut off: the power lies in [p, p + 1) times a power of two,
// and p has its top bit set.
struct Power {
  std::uint64_t high, low;
};

constexpr std::int32_t kLeastTens = -342, kMostTens = 324;

// The powers of five of these exponents fit 128 bits, so that nothing is cut off.
constexpr bool is_exact(std::int32_t tens) { return tens >= 0 && tens <= 55; }

constexpr std::int32_t floor_log2_of_tens(std::int32_t tens) { return (tens * 1741647) >> 19; }

// A number in 32-bit digits, least significant first.
struct LongNumber {
  std::array<std::uint32_t, 31> digits{};
  std::size_t size = 0;

  constexpr void multiply_by_5() {
    std::uint64_t carry = 0;
    for (std::size_t i = 0; i < size; ++i) {
      carry += std::uint64_t{digits[i]} * 5;
      digits[i] = static_cast<std::uint32_t>(carry);
      carry >>= 32;
    }
    if (carry != 0) digits[size++] = static_cast<std::uint32_t>(carry);
  }
  constexpr void divide_by_5() {
    std::uint64_t rest = 0;
    for (std::size_t i = size; i-- > 0;) {
      rest = rest << 32 | digits[i];
      digits[i] = static_cast<std::uint32_t>(rest / 5);
      rest %= 5;
    }
    if (digits[size - 1] == 0) --size;
  }
  // The digit i places below the top one, shifted so that the top one has its top bit set.
  constexpr std::uint64_t normal_digit(std::size_t i) const {
    const auto at = [this](std::size_t j) { return j < size ? digits[size - 1 - j] : 0U; };
    const std::uint64_t both = std::uint64_t{at(i)} << 32 | at(i + 1);
    return static_cast<std::uint32_t>(both >> (32 - std::countl_zero(at(0))));
  }
  constexpr Power top() const {
    return {normal_digit(0) << 32 | normal_digit(1), normal_digit(2) << 32 | normal_digit(3)};
  }
};

// Twice as high as the longest power of five, so that every quotient has 128 bits and more. Cutting
// off after each division by five cuts off what one division by their product would.
constexpr auto kPowers = [] {
  std::array<Power, kMostTens - kLeastTens + 1> powers{};
  LongNumber number;
  number.size = 1;
  number.digits[0] = 1;
  for (std::int32_t tens = 0; tens <= kMostTens; ++tens) {
    powers[static_cast<std::size_t>(tens - kLeastTens)] = number.top();
    number.multiply_by_5();
  }
  number = {};
  number.size = number.digits.size();
  number.digits.back() = 1;
  for (std::int32_t tens = -1; tens >= kLeastTens; --tens) {
    number.divide_by_5();
    powers[static_cast<std::size_t>(tens - kLeastTens)] = number.top();
  }
  return powers;
}();

inline const Power& power_of_ten(std::int32_t tens) {
  return kPowers[static_cast<std::size_t>(tens - kLeastTens)];
}

// The sum of p * 2^64 and the high word of q.
inline U128 add_high(U128 p, const U128& q) {
  p.low += q.high;
  p.high += p.low < q.high ? 1 : 0;
  return p;
}

// Powers of five in one limb: 5^0 to 5^27. A power of ten is one of five and one of two.
constexpr std::int32_t kLimbFives = 27;
inline std::uint64_t limb_power_of_5(std::int32_t exponent) {
  const Magnitude& ten = kPowersOfTen[static_cast<std::size_t>(exponent)];
  return ten[0] >> exponent | ten[1] << 1 << (63 - exponent);
}

// m * 2^bits, or all ones where that passes 256 bits.
void shift_up(Magnitude& m, std::int32_t bits) {
  for (; bits > 0; bits -= 63) {
    const std::int32_t step = bits < 63 ? bits : 63;
    if (multiply_add(m, std::uint64_t{1} << step, 0) != 0) {
      m.fill(~std::uint64_t{0});
      return;
    }
  }
}

// m / 2^bits (1 or more), halves rounded up.
void shift_down(Magnitude& m, std::int32_t bits) {
  const Magnitude old = m;
  const std::int32_t limbs = (bits - 1) / 64, step = (bits - 1) % 64;
  const auto at = [&old](std::int32_t i) { return i < 4 ? old[static_cast<std::size_t>(i)] : 0; };
  // One bit less first: the last bit then is the half.
  for (std::int32_t i = 0; i < 4; ++i)
    m[static_cast<std::size_t>(i)] = at(i + limbs) >> step | at(i + limbs + 1) << 1 << (63 - step);
  const std::uint64_t half = m[0] & 1;
  for (std::size_t i = 0; i < 4; ++i) m[i] = m[i] >> 1 | (i < 3 ? m[i + 1] << 63 : 0);
  multiply_add(m, 1, half);
}

template <typename F>
std::int32_t beyond(std::int32_t code, F& value) {
  value = code == VDX_OVERFLOW ? std::numeric_limits<F>::max() : F{0};
  return code;
}

// The float nearest to top * 2^exponent, top having its top bit set; more: the value is a little
// above that, by less than 1 in top.
template <typename F>
std::int32_t round_binary(std::uint64_t top, bool more, std::int32_t exponent, F& value) {
  using Format = FloatFormat<F>;
  const std::int32_t biased = exponent + 63 + Format::kBias;
  std::int32_t drop = 63 - Format::kFraction;
  if (biased < 1) drop += 1 - biased;  // subnormal
  if (drop > 64) return beyond(VDX_UNDERFLOW, value);
  const std::uint64_t kept = drop == 64 ? 0 : top >> drop;
  // What follows counts as one more bit below; odd floats round up from the middle. No branches:
  // these bits are unpredictable.
  const std::uint64_t rest = top << (64 - drop) | (more ? 1 : 0);
  const std::uint64_t up = rest > (std::uint64_t{1} << 63) - (kept & 1) ? 1 : 0;
  // The hidden bit and a carry out of the fraction count as one in the exponent.
  const std::uint64_t bits =
      (static_cast<std::uint64_t>(biased < 1 ? 0 : biased - 1) << Format::kFraction) + kept + up;
  if (bits >= Format::kInfinity) [[unlikely]]
    return beyond(VDX_OVERFLOW, value);
  if (bits == 0) [[unlikely]]
    return beyond(VDX_UNDERFLOW, value);
  value = std::bit_cast<F>(static_cast<typename Format::Bits>(bits));
  return VDX_SUCCESS;
}

constexpr std::int32_t kUnsure = 0;

// The float nearest to size * 10^tens, by one product of 192 bits; kUnsure where what the power
// lacks behind its 128 bits could change the rounding.
template <typename F>
std::int32_t round_decimal(std::uint64_t size, std::int32_t tens, F& value) {
  if (size <= kExactIntegers && tens >= -kMostExactTens && tens <= kMostExactTens) {
    const double whole = static_cast<double>(size);
    if (settle(tens < 0 ? whole / kExactTens[-tens] : whole * kExactTens[tens], value)) [[likely]]
      return VDX_SUCCESS;
  }
  if (size == 0) {
    value = 0;
    return VDX_SUCCESS;
  }
  if (tens < kLeastTens) return beyond(VDX_UNDERFLOW, value);
  if (tens > 308) return beyond(VDX_OVERFLOW, value);
  const int shift = std::countl_zero(size);
  size <<= shift;
  const Power& power = power_of_ten(tens);
  const U128 lower = Wide::multiply(size, power.low);
  const U128 product = add_high(Wide::multiply(size, power.high), lower);
  // The product has one bit less where the top bit is clear.
  const int less = static_cast<int>(~product.high >> 63);
  const std::uint64_t top = product.high << less | product.low >> 1 >> (63 - less);
  const std::uint64_t middle = product.low << less | lower.low >> 1 >> (63 - less);
  const std::int32_t exponent = floor_log2_of_tens(tens) + 1 - shift - less;
  bool more = true;
  if (is_exact(tens))
    more = (middle | lower.low << less) != 0;
  else if (middle > ~std::uint64_t{4}) [[unlikely]]  // 3 may be missing, with its carry
    return kUnsure;
  return round_binary(top, more, exponent, value);
}

inline bool is_digit(std::uint8_t c) { return c >= '0' && c <= '9'; }

// The digits of a text of any length: more than any float can need are kept, of the others only
// whether one of them is not zero.
struct Digits {
  static constexpr std::int32_t kMost = 800;
  char digits[kMost + 16];
  std::int32_t count = 0;
  bool more = false;
  std::int64_t exponent = 0;  // of the last digit kept

  void add(std::uint8_t digit, bool after_point) {
    if (count == 0 && digit == '0') {
      exponent -= after_point ? 1 : 0;
    } else if (count < kMost) {
      digits[count++] = static_cast<char>(digit);
      exponent -= after_point ? 1 : 0;
    } else {
      more = more || digit != '0';
      exponent += after_point ? 0 : 1;
    }
  }

  template <typename F>
  std::int32_t round(F& value) {
    if (count == 0) {
      value = 0;
      return VDX_SUCCESS;
    }
    const std::int64_t magnitude = exponent + count;  // the value is below 10^magnitude
    constexpr std::int64_t kFar = 400;
    if (magnitude > kFar) return beyond(VDX_OVERFLOW, value);
    if (magnitude < -kFar) return beyond(VDX_UNDERFLOW, value);
    char* at = digits + count;
    if (more) {
      *at++ = '1';
      --exponent;
    }
    *at++ = 'e';
    at = std::to_chars(at, std::end(digits), exponent).ptr;
    const auto result = std::from_chars(digits, at, value);
    if (result.ec == std::errc::result_out_of_range)
      return beyond(magnitude > 0 ? VDX_OVERFLOW : VDX_UNDERFLOW, value);
    return VDX_SUCCESS;
  }
};

template <typename F>
std::int32_t read_word(FoldedText& text, bool negative, F& value) {
  using Limits = std::numeric_limits<F>;
  const bool infinite = (text.peek() | 32) == 'i';
  if (!text.take_word(infinite ? "inf" : "nan")) return VDX_SYNTAX;
  text.skip_blanks();
  if (text.more()) return VDX_SYNTAX;
  value = with_sign(infinite ? Limits::infinity() : Limits::quiet_NaN(), negative);
  return VDX_SUCCESS;
}

// The full grammar, for any text and any character set.
template <typename F>
[[gnu::cold, gnu::noinline]] std::int32_t read_folded_float(FoldedText text, F& value) {
  text.skip_blanks();
  if (!text.more()) {
    value = 0;
    return VDX_SUCCESS;
  }
  const bool negative = text.take_sign();
  text.skip_blanks();
  if (!text.at_digit() && text.peek() != '.') return read_word(text, negative, value);
  Digits digits;
  bool any = false;
  for (; text.at_digit(); text.next(), any = true) digits.add(text.peek(), false);
  if (text.take('.'))
    for (; text.at_digit(); text.next(), any = true) digits.add(text.peek(), true);
  if (!any || !text.take_exponent(digits.exponent)) return VDX_SYNTAX;
  text.skip_blanks();
  if (text.more()) return VDX_SYNTAX;
  const std::int32_t code = digits.round(value);
  value = with_sign(value, negative);
  return code;
}

// Digits into size, which wraps; the return value is where they end.
VDX_INLINE const std::uint8_t* take_digits(const std::uint8_t* at, const std::uint8_t* end,
                                           std::uint64_t& size) {
  constexpr std::uint64_t kTops = 0x8080808080808080;
  while (end - at >= 8) {
    const auto word = load<std::uint64_t>(at);
    if ((((word + 0x4646464646464646) | (word - 0x3030303030303030)) & kTops) != 0) break;
    size = size * 100000000 + number_of_8(word & 0x0F0F0F0F0F0F0F0F);
    at += 8;
  }
  for (; at != end && is_digit(*at); ++at) size = size * 10 + (*at - std::uint64_t{'0'});
  return at;
}

struct Decimal {
  std::uint64_t size;
  std::int32_t tens;
  bool negative;
};

// The shape that shortest texts of many digits have: no blanks, up to sixteen digits on either side
// of a point, nineteen in all, an exponent of at most four digits; in 17 to 32 bytes. Nothing here
// branches on how many digits there are.
VDX_INLINE bool read_plain_long(const std::uint8_t* text, std::uint32_t n, Decimal& decimal) {
  const Block first = Block::whole(text);
  const std::uint32_t digits =
      (first.digits() | Block::of(text + 16, n - 16).digits() << 16) & 0xFFFFFFFFU >> (32 - n);
  const auto run = [digits](std::uint32_t at) {
    return static_cast<std::uint32_t>(std::countr_one(std::uint64_t{digits} >> at));
  };
  const std::uint32_t minus = *text == '-' ? 1 : 0;
  const std::uint32_t start = minus | (*text == '+' ? 1U : 0U);
  const std::uint32_t point = start + run(start);
  if (point == start || point > 16 || text[point] != '.') return false;
  const std::uint32_t places = run(point + 1);
  const std::uint32_t end = point + 1 + places;
  if (places > 16 || end - start > 20) return false;
  const std::uint64_t fraction = end >= 16 ? Block::whole(text + end - 16).number(places)
                                           : number_in(text, first, end, places);
  decimal.size =
      number_in(text, first, point, point - start) * limb_power(static_cast<std::int32_t>(places)) +
      fraction;
  decimal.tens = -static_cast<std::int32_t>(places);
  decimal.negative = minus != 0;
  if (end == n) return true;
  if ((text[end] | 32) != 'e' || end + 1 == n) return false;
  const bool down = text[end + 1] == '-';
  const std::uint32_t power = end + 1 + (down || text[end + 1] == '+' ? 1U : 0U);
  const std::uint32_t count = n - power;
  if (run(power) != count || count == 0 || count > 4) return false;
  const std::uint64_t tail = load<std::uint64_t>(text + n - 8) & 0x0F0F0F0F0F0F0F0F;
  const auto size =
      static_cast<std::int32_t>(number_of_8(tail >> (64 - 8 * count) << (64 - 8 * count)));
  decimal.tens += down ? -size : size;
  return true;
}

// A number of single bytes and at most nineteen digits that count; false for any other text.
VDX_INLINE bool read_plain(const std::uint8_t* at, const std::uint8_t* end, Decimal& decimal) {
  while (end - at >= 8 && load<std::uint64_t>(end - 8) == kEightBlanks) end -= 8;
  while (end != at && end[-1] == ' ') --end;
  while (at != end && *at == ' ') ++at;
  if (at == end) return false;
  decimal.negative = *at == '-';
  at += decimal.negative || *at == '+' ? 1 : 0;
  std::uint64_t size = 0;
  const std::uint8_t* const start = at;
  at = take_digits(at, end, size);
  std::ptrdiff_t digits = at - start, places = 0;
  if (at != end && *at == '.') {
    const std::uint8_t* const point = ++at;
    at = take_digits(at, end, size);
    places = at - point;
    digits += places;
  }
  if (digits == 0) return false;
  if (digits > 19) {
    for (const std::uint8_t* p = start; p != at && (*p == '0' || *p == '.'); ++p)
      digits -= *p == '0' ? 1 : 0;
    if (digits > 19) return false;
  }
  std::int32_t exponent = 0;
  if (at != end) {
    if ((*at | 32) != 'e') return false;
    ++at;
    const bool down = at != end && *at == '-';
    if (at != end && (*at == '-' || *at == '+')) ++at;
    if (at == end || end - at > 6) return false;
    for (; at != end && is_digit(*at); ++at) exponent = exponent * 10 + (*at - '0');
    if (at != end) return false;
    if (down) exponent = -exponent;
  }
  constexpr std::ptrdiff_t kFar = 1000000000;
  if (places > kFar) return false;
  decimal.size = size;
  decimal.tens = exponent - static_cast<std::int32_t>(places);
  return true;
}

// The shortest decimal that reads back as a float: digits * 10^tens; the digits may end in zeros.
struct Shortest {
  std::uint64_t digits;
  std::int32_t tens;
};

// The upper word of a product of 192 bits; its last bit tells also whether anything follows it. The
// power is at most one too large, so that a product of whole numbers shows as 0 or 1.
inline std::uint64_t round_to_odd(const Power& power, std::uint64_t factor) {
  const U128 product =
      add_high(Wide::multiply(power.high, factor), Wide::multiply(power.low, factor));
  return product.high | (product.low > 1 ? 1 : 0);
}

// Every decimal between the middles to the neighbours reads back as the float. The ends and the
// float are scaled by a power of ten so that tens and units of the result are candidates: at most
// one multiple of ten lies inside, else the nearer of two units (R. Giulietti's method).
template <typename F>
VDX_INLINE Shortest shortest_decimal(typename FloatFormat<F>::Bits bits) {
  using Format = FloatFormat<F>;
  const auto fraction = std::uint64_t{bits & (Format::kHidden - 1)};
  const auto biased = static_cast<std::int32_t>(bits >> Format::kFraction);
  const std::uint64_t size = biased != 0 ? fraction | Format::kHidden : fraction;
  const std::int32_t exponent = (biased != 0 ? biased : 1) - Format::kBias - Format::kFraction;
  if (exponent <= 0 && -exponent <= Format::kFraction &&
      std::countr_zero(size) >= -exponent)  // a whole number, and so are its neighbours' middles
    return {size >> -exponent, 0};
  // Below a power of two floats lie closer.
  const bool closer = fraction == 0 && biased > 1;
  const std::int32_t k = (exponent * 1262611 - (closer ? 524031 : 0)) >> 22;
  const std::int32_t shift = exponent + floor_log2_of_tens(-k) + 1;
  Power power = power_of_ten(-k);
  if (!is_exact(-k)) power.high += ++power.low == 0 ? 1 : 0;
  const std::uint64_t scaled = round_to_odd(power, (4 * size) << shift);
  const std::uint64_t odd = size & 1;  // the ends round to even floats
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

// The same number with as many zeros behind its digits as make them seventeen.
inline Shortest with_17_digits(Shortest shortest) {
  const auto bits = static_cast<std::int32_t>(std::bit_width(shortest.digits));
  const std::int32_t least = (bits * 1233) >> 12;  // a power of ten near the number
  const std::int32_t count = least + (shortest.digits >= limb_power(least) ? 1 : 0);
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

}  // namespace

template <typename F>
[[gnu::noinline]] std::int32_t read_any_float(const std::uint8_t* text, std::int32_t length,
                                              const vdx_charattr& attributes, F& value) {
  Decimal decimal;
  if ((length > 16 && length <= 32 &&
       read_plain_long(text, static_cast<std::uint32_t>(length), decimal)) ||
      (length > 0 && read_plain(text, text + length, decimal))) [[likely]] {
    F size;
    const std::int32_t code = round_decimal(decimal.size, decimal.tens, size);
    if (code != kUnsure) [[likely]] {
      value = with_sign(size, decimal.negative);
      return code;
    }
  }
  return read_folded_float(FoldedText(text, length, attributes), value);
}

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
  constexpr std::uint64_t kTen8 = 100000000;
  const std::uint64_t upper = shortest.digits / kTen8;
  const std::uint64_t head = upper / kTen8;
  const Digits16 digits(upper - head * kTen8, shortest.digits - upper * kTen8);
  const auto put_digits = [head, &digits](unsigned char* at, unsigned char* behind_first) {
    *at = static_cast<unsigned char>('0' + head);
    digits.put(behind_first);
  };
  const std::int32_t count =
      32 - std::countl_zero(std::uint32_t{digits.nonzero()} << 1 | 1);  // without zeros behind
  const std::int32_t scientific = shortest.tens + 16;
  const std::int32_t tens = scientific + 1 - count;  // of the last digit

  ShortText text;
  unsigned char* const to = text.bytes + kNumberStart;
  to[-1] = '-';
  text.begin = kNumberStart - (negative ? 1 : 0);
  // The shorter of both notations, fixed where they are equally long. One comparison, because
  // large and small numbers may come in any order.
  const std::int32_t point = count > 1 ? 1 : 0;
  const std::int32_t least = -count - 2 - point, most = 4 + point;
  if (static_cast<std::uint32_t>(tens - least) > static_cast<std::uint32_t>(most - least)) {
    put_digits(to, to + 2);
    to[1] = '.';
    unsigned char* const at = to + count + point;
    const bool down = scientific < 0;
    const auto size = static_cast<std::uint32_t>(down ? -scientific : scientific);
    const std::uint32_t hundreds = size / 100;
    const std::uint32_t rest = size - hundreds * 100;
    at[0] = 'e';
    at[1] = down ? '-' : '+';
    at[2] = static_cast<unsigned char>('0' + hundreds);
    unsigned char* const last = at + (hundreds != 0 ? 3 : 2);
    last[0] = static_cast<unsigned char>('0' + rest / 10);
    last[1] = static_cast<unsigned char>('0' + rest % 10);
    text.end = static_cast<std::uint32_t>(last + 2 - text.bytes);
  } else if (tens > 0) {
    // Whole numbers show their own digits, which the shortest ones only come near to.
    const auto size = static_cast<double>(negative ? -value : value);
    if (size < 0x1p64) [[likely]]
      return integer_text({static_cast<std::uint64_t>(size), negative ? 1U : 0U});
    char* const first = reinterpret_cast<char*>(to);
    const char* const end = std::to_chars(first, first + 24, size, std::chars_format::fixed).ptr;
    text.end = kNumberStart + static_cast<std::uint32_t>(end - first);
  } else if (scientific < 0) {
    std::memcpy(to, "0.000000", 8);
    unsigned char* const first = to + 1 - scientific;
    put_digits(first, first + 1);
    text.end = static_cast<std::uint32_t>(first + count - text.bytes);
  } else {
    put_digits(to, to + 1);
    text.end = static_cast<std::uint32_t>(to + count - text.bytes);
    if (tens < 0) {
      unsigned char* const behind = to + scientific + 1;
      std::memmove(behind + 1, behind, 16);
      *behind = '.';
      ++text.end;
    }
  }
  return text;
}

template <typename F>
std::int32_t nearest_float(const Exact& exact, F& value) {
  const Magnitude& m = exact.magnitude;
  std::int32_t code = kUnsure;
  if ((m[1] | m[2] | m[3]) == 0) code = round_decimal(m[0], -exact.scale, value);
  if (code == kUnsure) {
    // magnitude * 2^256 / 5^scale: the quotient has 77 bits at least, and what one division leaves
    // over is left over by the division by the product.
    std::array<std::uint64_t, 8> work = {0, 0, 0, 0, m[0], m[1], m[2], m[3]};
    bool more = false;
    for (std::int32_t left = exact.scale; left > 0; left -= kLimbFives) {
      const std::uint64_t divisor = limb_power_of_5(left < kLimbFives ? left : kLimbFives);
      std::uint64_t rest = 0;
      for (std::size_t i = work.size(); i-- > 0;) {
        if (rest == 0 && work[i] == 0) continue;
        const Quotient step = Wide::divide(rest, work[i], divisor);
        work[i] = step.quotient;
        rest = step.remainder;
      }
      more = more || rest != 0;
    }
    std::size_t top = work.size() - 1;
    while (work[top] == 0) --top;  // never the last: the quotient has more than one limb
    const int shift = std::countl_zero(work[top]);
    const std::uint64_t next = work[top - 1];
    for (std::size_t i = 0; i + 1 < top; ++i) more = more || work[i] != 0;
    more = more || next << shift != 0;
    const std::uint64_t high = work[top] << shift | next >> 1 >> (63 - shift);
    const std::int32_t exponent = 64 * static_cast<std::int32_t>(top) - shift - 256 - exact.scale;
    code = round_binary(high, more, exponent, value);
  }
  value = with_sign(value, exact.negative);
  return code;
}

Exact exact_double(double value, std::int32_t scale) {
  using Format = FloatFormat<double>;
  const auto image = std::bit_cast<std::uint64_t>(value);
  const auto biased = static_cast<std::int32_t>((image & ~Format::kSign) >> Format::kFraction);
  const std::uint64_t fraction = image & (Format::kHidden - 1);
  Exact exact{(image & Format::kSign) != 0, scale, {fraction, 0, 0, 0}};
  Magnitude& m = exact.magnitude;
  if (biased != 0) m[0] |= Format::kHidden;
  // At most 53 + 179 bits; the twos of the power of ten join the exponent.
  for (std::int32_t left = scale; left > 0; left -= kLimbFives)
    multiply_add(m, limb_power_of_5(left < kLimbFives ? left : kLimbFives), 0);
  const std::int32_t exponent =
      (biased != 0 ? biased : 1) - Format::kBias - Format::kFraction + scale;
  if (exponent >= 0)
    shift_up(m, exponent);
  else
    shift_down(m, -exponent);
  if (is_zero(m)) exact.negative = false;
  return exact;
}

template std::int32_t read_any_float(const std::uint8_t*, std::int32_t, const vdx_charattr&,
                                     float&);
template std::int32_t read_any_float(const std::uint8_t*, std::int32_t, const vdx_charattr&,
                                     double&);
template ShortText float_text(float);
template ShortText float_text(double);
template std::int32_t nearest_float(const Exact&, float&);
template std::int32_t nearest_float(const Exact&, double&);

}  // namespace vdx
