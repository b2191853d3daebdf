// The one walker over text of any character set: for numbers and hexadecimal digits that are not
// plain single bytes.
//
// A character folds to the single byte that it is a form of: a full-width digit to the digit, a wide
// blank to the blank; characters that are no form of a byte fold to 0. In a set of single bytes
// every byte is a character and stands for itself.
#ifndef VDX_NUMBER_FOLDED_TEXT_H
#define VDX_NUMBER_FOLDED_TEXT_H

#include <algorithm>

#include "frame/fault.h"
#include "intl/charattr.h"

namespace vdx {

class FoldedText {
 public:
  FoldedText(const std::uint8_t* text, std::int32_t length, const vdx_charattr& attributes)
      : start_(text), at_(text), end_(text + std::max(length, 0)), attributes_(attributes) {
    fold();
  }

  // 0 at the end as well.
  std::uint8_t peek() const { return folded_; }
  bool more() const { return at_ != end_; }
  bool at_digit() const { return folded_ >= '0' && folded_ <= '9'; }
  // Whether the character, as it is, has a CharClass bit.
  bool at_class(CharClass bit) const {
    return more() && (char_class(attributes_, at_, bytes_) & bit) != 0;
  }

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
  // Lower-case letters, in any case.
  bool take_word(const char* word) {
    for (; *word != 0; ++word)
      if (!take(static_cast<std::uint8_t>(*word)) && !take(static_cast<std::uint8_t>(*word & ~32)))
        return false;
    return true;
  }
  // Takes a sign if there is one; true after a minus sign.
  bool take_sign() {
    const bool minus = take('-');
    if (!minus) take('+');
    return minus;
  }
  // Adds an exponent, if there is one, to `exponent`; false where its digits are missing.
  bool take_exponent(std::int64_t& exponent) {
    if (!take('e') && !take('E')) return true;
    const bool minus = take_sign();
    if (!at_digit()) return false;
    constexpr std::int64_t kBeyond = std::int64_t{1} << 40;  // further than any text's digits reach
    std::int64_t size = 0;
    for (; at_digit(); next()) size = std::min(size * 10 + (peek() - '0'), kBeyond);
    exponent += minus ? -size : size;
    return true;
  }

  // Bytes before the character.
  std::int64_t position() const { return at_ - start_; }
  // Notes the character, or the end of the text, as what is at fault.
  void tell(Finding* finding, std::int32_t reason) const {
    if (finding == nullptr) return;
    const std::int64_t length = reason == VDX_REASON_LEFT_OVER ? end_ - at_ : more() ? bytes_ : 0;
    finding->note(reason, position(), length);
  }
  // The same for a character that a number does not go on with, where a digit had to be or, after
  // the number, with or without blanks between.
  void tell_no_digit(Finding* finding) const {
    tell(finding, !more() || peek() == '.'         ? VDX_REASON_NO_DIGIT
                  : peek() == '-' || peek() == '+' ? VDX_REASON_SECOND_SIGN
                                                   : VDX_REASON_CHARACTER);
  }
  void tell_rest(Finding* finding, std::int64_t number_end, bool point) const {
    tell(finding, position() != number_end ? VDX_REASON_LEFT_OVER
                  : point && peek() == '.' ? VDX_REASON_SECOND_POINT
                                           : VDX_REASON_CHARACTER);
  }

 private:
  void fold() {
    folded_ = 0;
    if (!more()) return;
    bytes_ = char_bytes(attributes_, at_, end_ - at_);
    folded_ = char_fold(attributes_, at_, bytes_);
  }

  const std::uint8_t* start_;
  const std::uint8_t* at_;
  const std::uint8_t* end_;
  const vdx_charattr& attributes_;
  std::int32_t bytes_ = 1;
  std::uint8_t folded_ = 0;
};

}  // namespace vdx

#endif
