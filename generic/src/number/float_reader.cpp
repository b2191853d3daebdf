// Three ways, from the usual to the rare: a plain number of at most nineteen digits is an integer
// and a power of ten, rounded by one product; what that leaves undecided, and every other text, goes
// by the grammar, one character at a time; its digits are rounded by the standard library, which
// sees as many of them as can matter.
#include "number/float_reader.h"

#include <charconv>

#include "number/folded_text.h"

namespace vdx {
namespace {

// Digits and a power of ten, of a text of any length.
class LongDecimal {
 public:
  std::int64_t exponent = 0;  // of the last digit kept

  void add(std::uint8_t digit, bool after_point) {
    if (count_ == 0 && digit == '0') {
      exponent -= after_point ? 1 : 0;
    } else if (count_ < kKept) {
      digits_[count_++] = static_cast<char>(digit);
      exponent -= after_point ? 1 : 0;
    } else {
      more_ = more_ || digit != '0';
      exponent += after_point ? 0 : 1;
    }
  }

  template <typename F>
  std::int32_t round(F& value) {
    if (count_ == 0) {
      value = 0;
      return VDX_SUCCESS;
    }
    // The value is below 10^magnitude, and not below a tenth of that. Floats are between 10^-324
    // and 10^309, so that this far out the result is known, and the exponent fits a text.
    const std::int64_t magnitude = exponent + count_;
    constexpr std::int64_t kFar = 400;
    if (magnitude > kFar) return put_limit(VDX_OVERFLOW, value);
    if (magnitude < -kFar) return put_limit(VDX_UNDERFLOW, value);
    char* at = digits_ + count_;
    if (more_) {  // any digit does: the value is not a middle
      *at++ = '1';
      --exponent;
    }
    *at++ = 'e';
    at = std::to_chars(at, std::end(digits_), exponent).ptr;
    const auto result = std::from_chars(digits_, at, value);
    if (result.ec == std::errc::result_out_of_range)
      return put_limit(magnitude > 0 ? VDX_OVERFLOW : VDX_UNDERFLOW, value);
    return VDX_SUCCESS;
  }

 private:
  // More digits than any middle between two floats has: with those of a double, m * 2^-1075 with m
  // below 2^54 is m * 5^1075 / 10^1075, and 2^54 * 5^1075 has 768 digits; larger middles have a
  // smaller power of five. Of the digits after them it matters only whether one is not zero.
  static constexpr std::int32_t kKept = 800;
  char
      digits_[kKept + 16];  // room for the last digit, the letter and an exponent of six characters
  std::int32_t count_ = 0;
  bool more_ = false;
};

template <typename F>
std::int32_t read_word(FoldedText& text, bool negative, F& value, Finding* finding) {
  using Limits = std::numeric_limits<F>;
  const bool infinite = (text.peek() | 32) == 'i';
  if (!text.take_word(infinite ? "inf" : "nan")) {
    text.tell_no_digit(finding);
    return VDX_SYNTAX;
  }
  const std::int64_t end = text.position();
  text.skip_blanks();
  if (text.more()) {
    text.tell_rest(finding, end, false);
    return VDX_SYNTAX;
  }
  value = with_sign(infinite ? Limits::infinity() : Limits::quiet_NaN(), negative);
  return VDX_SUCCESS;
}

// The full grammar, for any text and any character set.
template <typename F>
[[gnu::cold, gnu::noinline]] std::int32_t read_by_grammar(FoldedText text, F& value,
                                                          Finding* finding) {
  text.skip_blanks();
  if (!text.more()) {
    value = 0;
    return VDX_SUCCESS;
  }
  const std::int64_t begin = text.position();
  const bool negative = text.take_sign();
  text.skip_blanks();
  if (!text.at_digit() && text.peek() != '.') return read_word(text, negative, value, finding);
  LongDecimal decimal;
  bool any = false;
  for (; text.at_digit(); text.next(), any = true) decimal.add(text.peek(), false);
  const bool point = text.take('.');
  if (point)
    for (; text.at_digit(); text.next(), any = true) decimal.add(text.peek(), true);
  if (!any || !text.take_exponent(decimal.exponent)) {
    text.tell_no_digit(finding);
    return VDX_SYNTAX;
  }
  const std::int64_t end = text.position();
  if (finding != nullptr) finding->note_number(negative, begin, end);
  text.skip_blanks();
  if (text.more()) {
    text.tell_rest(finding, end, point);
    return VDX_SYNTAX;
  }
  const std::int32_t code = decimal.round(value);
  value = with_sign(value, negative);
  return code;
}

// The digits of a plain number as one integer; false where more than nineteen of them count. Nothing
// here branches on how many there are, as long as no side of the point has more than sixteen.
VDX_INLINE bool integer_of(const PlainNumber& number, std::uint64_t& size) {
  std::uint32_t whole = number.whole_digits, places = number.places;
  const std::uint8_t* digits = number.whole;
  const std::uint8_t* fraction = number.fraction;
  if (whole + places > 19) [[unlikely]] {
    for (; whole != 0 && *digits == '0'; --whole) ++digits;
    for (; whole == 0 && places != 0 && *fraction == '0'; --places) ++fraction;
    if (whole + places > 19) return false;
  }
  size = long_number_at(digits, whole) * limb_power(static_cast<std::int32_t>(places)) +
         long_number_at(fraction, places);
  return true;
}

// False where the number is not plain enough for one product.
template <typename F>
VDX_INLINE bool round_plain(const PlainNumber& number, F& value, std::int32_t& code) {
  constexpr std::uint32_t kFar = 1000000000;  // places that leave room to subtract them
  std::uint64_t integer;
  if (number.places > kFar || !integer_of(number, integer)) [[unlikely]]
    return false;
  F size;
  code = round_decimal(integer, number.exponent - static_cast<std::int32_t>(number.places), size);
  if (code == kUndecided) [[unlikely]]
    return false;
  value = with_sign(size, number.minus != 0);
  return true;
}

// The digits at p, up to `end`, after those of `size`; wraps where there are too many. Nearly all
// digits of a long text come by eights.
VDX_INLINE const std::uint8_t* append_digits(const std::uint8_t* p, const std::uint8_t* end,
                                             std::uint64_t& size) {
  for (; end - p >= 8; p += 8) {
    const std::uint64_t values = load<std::uint64_t>(p) ^ kAsciiZeros;
    if (!are_digits(values)) break;
    size = size * 100000000 + number_of_8(values);
  }
  for (; p != end && static_cast<std::uint8_t>(*p - '0') <= 9; ++p)
    size = size * 10 + static_cast<std::uint8_t>(*p - '0');
  return p;
}

// What floats of many digits look like: a minus sign, perhaps, few digits, a point, digits and an
// exponent, no more than nineteen digits in all. False for any other text.
template <typename F>
VDX_INLINE bool read_long_decimal(const std::uint8_t* text, std::uint32_t n, F& value,
                                  std::int32_t& code) {
  const std::uint8_t* const end = text + n;
  const bool minus = *text == '-';
  const std::uint8_t* const whole = text + minus;
  std::uint64_t size = 0;
  const std::uint8_t* p = whole;
  for (; p != end && static_cast<std::uint8_t>(*p - '0') <= 9; ++p)
    size = size * 10 + static_cast<std::uint8_t>(*p - '0');
  if (p == whole || p == end || *p != '.') return false;
  const std::uint8_t* const point = p;
  p = append_digits(p + 1, end, size);
  if (p - whole > kLimbDigits + 1) return false;
  auto tens = static_cast<std::int32_t>(point + 1 - p);
  if (p != end) {
    if ((*p | 32) != 'e' || end - p < 2) return false;
    const bool down = p[1] == '-';
    p += down || p[1] == '+' ? 2 : 1;
    if (p == end || end - p > 4) return false;
    std::int32_t exponent = 0;
    for (; p != end; ++p) {
      if (static_cast<std::uint8_t>(*p - '0') > 9) return false;
      exponent = exponent * 10 + (*p - '0');
    }
    tens += down ? -exponent : exponent;
  }
  F rounded;
  code = round_decimal(size, tens, rounded);
  if (code == kUndecided) [[unlikely]]
    return false;
  value = with_sign(rounded, minus);
  return true;
}

// What is not plain within 32 bytes, or shorter than shortest texts of many digits are.
template <typename F>
[[gnu::noinline]] std::int32_t read_rare_float(const std::uint8_t* text, std::int32_t length,
                                               const vdx_charattr& attributes, F& value) {
  PlainNumber number;
  std::int32_t code;
  if (length > 0 &&
      recognise<kWithPoint | kWithExponent>(text, static_cast<std::uint32_t>(length), number) &&
      round_plain(number, value, code))
    return code;
  return read_by_grammar(FoldedText(text, length, attributes), value, nullptr);
}

}  // namespace

template <typename F>
std::int32_t explain_float(const std::uint8_t* text, std::int32_t length,
                           const vdx_charattr& attributes, Finding& finding) {
  F value;
  return read_by_grammar(FoldedText(text, length, attributes), value, &finding);
}

template std::int32_t explain_float<float>(const std::uint8_t*, std::int32_t, const vdx_charattr&,
                                           Finding&);
template std::int32_t explain_float<double>(const std::uint8_t*, std::int32_t, const vdx_charattr&,
                                            Finding&);

template <typename F>
[[gnu::noinline]] std::int32_t read_any_float(const std::uint8_t* text, std::int32_t length,
                                              const vdx_charattr& attributes, F& value) {
  if (length > 16 && length <= 32) {
    std::int32_t code;
    if (read_long_decimal(text, static_cast<std::uint32_t>(length), value, code)) [[likely]]
      return code;
    const LongBytes bytes(text, static_cast<std::uint32_t>(length));
    PlainNumber number;
    if (recognise_masks<kWithPoint | kWithExponent>(text, bytes, number) &&
        round_plain(number, value, code)) [[likely]]
      return code;
  }
  return read_rare_float(text, length, attributes, value);
}

template std::int32_t read_any_float(const std::uint8_t*, std::int32_t, const vdx_charattr&,
                                     float&);
template std::int32_t read_any_float(const std::uint8_t*, std::int32_t, const vdx_charattr&,
                                     double&);

}  // namespace vdx
