#include "number/integer_text.h"

#include "number/folded_text.h"

namespace vdx {

namespace {

// One digit more, away from zero; false, with the value as it stands, when it would leave the range.
template <typename T>
bool append_digit(T& value, T digit, bool minus) {
  using Limits = std::numeric_limits<T>;
  if (minus) {
    if (value < Limits::min() / 10) return false;
    value = static_cast<T>(value * 10);
    if (value < Limits::min() + digit) return false;
    value = static_cast<T>(value - digit);
  } else {
    if (value > Limits::max() / 10) return false;
    value = static_cast<T>(value * 10);
    if (value > Limits::max() - digit) return false;
    value = static_cast<T>(value + digit);
  }
  return true;
}

template <typename T>
std::int32_t read_by_grammar(FoldedText text, T& out, Finding* finding) {
  bool sign = false, minus = false;
  std::int64_t begin = 0;
  out = 0;
  for (; text.peek() == ' ' || text.peek() == '-' || text.peek() == '+'; text.next()) {
    if (text.peek() == ' ') continue;
    if (sign || (std::is_unsigned_v<T> && text.peek() == '-')) {
      text.tell(finding, sign ? VDX_REASON_SECOND_SIGN : VDX_REASON_SIGN);
      return kScanSyntax;
    }
    begin = text.position();
    sign = true;
    minus = text.peek() == '-';
  }
  if (!sign) begin = text.position();
  for (; text.at_digit(); text.next()) {
    if (!append_digit(out, static_cast<T>(text.peek() - '0'), minus)) {
      if (std::is_unsigned_v<T>) out = std::numeric_limits<T>::max();
      if (finding != nullptr) {
        while (text.at_digit()) text.next();
        finding->note_number(minus, begin, text.position());
      }
      return kScanOverflow;
    }
  }
  const std::int64_t end = text.position();
  if (finding != nullptr) finding->note_number(minus, begin, end);
  text.skip_blanks();
  if (!text.more()) return kScanDone;
  text.tell_rest(finding, end, false);
  return kScanSyntax;
}

}  // namespace

bool plain_integer_long(const std::uint8_t* text, std::uint32_t n, SignedMagnitude& value) {
  PlainNumber number;
  if (!recognise<kDigitsAlone>(text, n, number) || number.whole_digits > kLimbDigits) return false;
  value = {long_number_at(number.whole, number.whole_digits), number.minus};
  return true;
}

template <typename T>
[[gnu::noinline]] std::int32_t scan_any_integer(const std::uint8_t* text, std::int32_t length,
                                                T& out, const vdx_charattr* attributes) {
  return read_by_grammar(FoldedText(text, length, attributes != nullptr ? *attributes : kLatin1),
                         out, nullptr);
}

template <typename T>
std::int32_t explain_integer(const std::uint8_t* text, std::int32_t length,
                             const vdx_charattr& attributes, Finding& finding) {
  T value;
  return read_by_grammar(FoldedText(text, length, attributes), value, &finding);
}

template std::int32_t explain_integer<std::int32_t>(const std::uint8_t*, std::int32_t,
                                                    const vdx_charattr&, Finding&);
template std::int32_t explain_integer<std::int64_t>(const std::uint8_t*, std::int32_t,
                                                    const vdx_charattr&, Finding&);
template std::int32_t explain_integer<std::uint32_t>(const std::uint8_t*, std::int32_t,
                                                     const vdx_charattr&, Finding&);
template std::int32_t explain_integer<std::uint64_t>(const std::uint8_t*, std::int32_t,
                                                     const vdx_charattr&, Finding&);

template std::int32_t scan_any_integer(const std::uint8_t*, std::int32_t, std::int32_t&,
                                       const vdx_charattr*);
template std::int32_t scan_any_integer(const std::uint8_t*, std::int32_t, std::int64_t&,
                                       const vdx_charattr*);
template std::int32_t scan_any_integer(const std::uint8_t*, std::int32_t, std::uint32_t&,
                                       const vdx_charattr*);
template std::int32_t scan_any_integer(const std::uint8_t*, std::int32_t, std::uint64_t&,
                                       const vdx_charattr*);

}  // namespace vdx
