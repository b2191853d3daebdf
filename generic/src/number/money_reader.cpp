// Text to money. A plain number that fits at once is an integer of ten-thousandths; every other text
// goes by the grammar, which knows currency symbols, commas, blanks of every kind and rounding.
#include "intl/charattr.h"
#include "number/folded_text.h"
#include "number/money_value.h"
#include "number/plain_number.h"

namespace vdx {
namespace {

// One walk over a text. The value grows digit by digit and keeps what was read when the walk fails.
class MoneyGrammar {
 public:
  MoneyGrammar(const FoldedText& text, Finding* finding) : text_(text), finding_(finding) {}

  std::int32_t read() {
    if (!take_front()) return kMoneySyntax;
    const std::int32_t status = take_digits();
    if (finding_ != nullptr) note_number(status);
    if (status != kMoneyDone) return status;
    const std::int64_t end = text_.position();
    for (; text_.more(); text_.next()) {
      if (text_.at_class(kClassBlank)) continue;
      if (text_.peek() == ',' && text_.position() == end)
        text_.tell(finding_, VDX_REASON_GROUP);
      else
        text_.tell_rest(finding_, end, places_ >= 0);
      return kMoneySyntax;
    }
    return finish();
  }
  std::int64_t value() const { return value_; }

 private:
  std::int32_t overflow() const { return minus_ ? kMoneyBelow : kMoneyOverflow; }

  // Blanks, a sign and a currency symbol, in any order; false where there is a second one.
  bool take_front() {
    bool sign = false, currency = false;
    for (;; text_.next()) {
      const std::uint8_t c = text_.peek();
      if (c == ' ') continue;
      const bool is_sign = c == '+' || c == '-';
      if (!is_sign && !text_.at_class(kClassCurrency)) {
        if (!sign && !currency) begin_ = text_.position();
        return true;
      }
      bool& seen = is_sign ? sign : currency;
      if (seen) {
        text_.tell(finding_, is_sign ? VDX_REASON_SECOND_SIGN : VDX_REASON_SECOND_CURRENCY);
        return false;
      }
      if (!sign && !currency) begin_ = text_.position();
      seen = true;
      minus_ = minus_ || c == '-';
    }
  }

  // After an overflow the rest of the digits belongs to the number, too.
  void note_number(std::int32_t status) {
    if (status != kMoneyDone)
      while (text_.at_digit() || text_.peek() == '.' || text_.peek() == ',') text_.next();
    finding_->note_number(minus_, begin_, text_.position());
  }

  std::int32_t take_digits() {
    for (; text_.more(); text_.next()) {
      const std::uint8_t c = text_.peek();
      if (text_.at_digit()) {
        const std::int32_t status = places_ < 4 ? take_digit(c - '0') : take_more(c - '0');
        if (status != kMoneyDone) return status;
      } else if (c == '.' && places_ < 0) {
        places_ = 0;
      } else if (c == ',' && (group_ < 0 || group_ == 3)) {
        group_ = 0;
      } else {
        break;
      }
    }
    return kMoneyDone;
  }

  std::int32_t take_digit(std::int32_t digit) {
    ++group_;
    if (places_ >= 0) ++places_;
    // The magnitude of the smallest money is 2^63, which scaling cannot reach.
    if (minus_ && value_ == -(kMoneyMin / 10) && digit == 8) {
      value_ = kMoneyMin;
      at_smallest_ = true;
      return kMoneyDone;
    }
    return scale_money(value_, 10, digit) == kMoneyDone ? std::int32_t{kMoneyDone} : overflow();
  }

  // A digit after the fourth place. The first one rounds, the others do not count.
  std::int32_t take_more(std::int32_t digit) {
    if (fifth_) return kMoneyDone;
    fifth_ = true;
    if (at_smallest_ && digit != 0) return overflow();
    // May wrap to the smallest money, which finish() judges by the sign.
    if (digit >= 5) value_ = with_sign(static_cast<std::uint64_t>(value_) + 1, false);
    return kMoneyDone;
  }

  std::int32_t finish() {
    static constexpr std::uint32_t kFactors[] = {10000, 1000, 100, 10};
    if (places_ < 4 && scale_money(value_, kFactors[places_ < 0 ? 0 : places_], 0) != kMoneyDone)
      return overflow();
    if (value_ < 0) return minus_ && value_ == kMoneyMin ? std::int32_t{kMoneyDone} : overflow();
    if (minus_) value_ = -value_;
    return kMoneyDone;
  }

  FoldedText text_;
  Finding* finding_;
  std::int64_t begin_ = 0;
  std::int64_t value_ = 0;
  bool minus_ = false;
  bool at_smallest_ = false;
  bool fifth_ = false;       // a fifth decimal has been seen
  int places_ = -1;          // decimals, up to four; -1 before the point
  std::int32_t group_ = -4;  // digits since the last comma; the first group may have 3 or 7
};

constexpr std::uint32_t kPlaces = 4;

// A number that fits at once: 10^14 units are below 2^63 ten-thousandths.
VDX_INLINE bool is_small(const PlainNumber& number) {
  return (number.whole_digits <= 14) & (number.places <= kPlaces);
}

VDX_INLINE std::int64_t count_of(const PlainNumber& number, std::uint64_t whole,
                                 std::uint64_t fraction) {
  static constexpr std::uint64_t kUnits[kPlaces + 1] = {10000, 1000, 100, 10, 1};
  return with_sign(whole * kMoneyUnit + fraction * kUnits[number.places], number.minus != 0);
}

// Texts of more than sixteen bytes, and what is not plain. Out of line: its registers would have to
// be saved where they are not needed.
[[gnu::noinline]] std::int32_t parse_any_money(std::int64_t& value, const std::uint8_t* text,
                                               std::int32_t length,
                                               const vdx_charattr& attributes) {
  PlainNumber number;
  if (length > 16 && recognise<kWithPoint>(text, static_cast<std::uint32_t>(length), number) &&
      is_small(number)) [[likely]] {
    value = count_of(number, number_at(number.whole, number.whole_digits),
                     number_at(number.fraction, number.places));
    return kMoneyDone;
  }
  return parse_money_grammar(value, text, length, attributes);
}

}  // namespace

std::int32_t parse_money_grammar(std::int64_t& value, const std::uint8_t* text, std::int32_t length,
                                 const vdx_charattr& attributes, Finding* finding) {
  MoneyGrammar grammar(FoldedText(text, length, attributes), finding);
  const std::int32_t status = grammar.read();
  value = grammar.value();
  return status;
}

std::int32_t parse_money(std::int64_t& value, const std::uint8_t* text, std::int32_t length,
                         const vdx_charattr& attributes) {
  if (length > 0 && length <= 16) {
    const auto n = static_cast<std::uint32_t>(length);
    const Block block = Block::of(text, n);
    PlainNumber number;
    if (recognise_masks<kWithPoint>(text, ShortBytes(block, n), number) && is_small(number))
        [[likely]] {
      value = count_of(number, number_in(text, block, number.point, number.whole_digits),
                       number_in(text, block, number.end, number.places));
      return kMoneyDone;
    }
  }
  return parse_any_money(value, text, length, attributes);
}

}  // namespace vdx
