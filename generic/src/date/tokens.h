// The tokens of a text that holds a date or time, and searches among them.
//
// Blanks separate tokens and are dropped. The grammar takes tokens out of order: it marks each one
// that it has used, and in the end none may be left over.
#ifndef VDX_DATE_TOKENS_H
#define VDX_DATE_TOKENS_H

#include <cstdint>

#include "date/parse.h"
#include "frame/fault.h"

namespace vdx {

enum class TokenKind : std::uint8_t {
  kEnd,        // after the last token; while scanning, what is no token
  kComma,      // ,
  kSeparator,  // - or /
  kPoint,      // . separates too, and may open a fraction
  kColon,      // :
  kMark,       // the T between date and time
  kHalfDay,    // value 0 AM, 1 PM
  kMonth,      // value 0 to 11
  kNumber,     // 1 to 3 digits
  kFour,       // 4 digits
  kFive,       // 5 digits
  kCompact,    // 6 or 8 digits
};

struct Token {
  TokenKind kind = TokenKind::kEnd;
  std::uint8_t digits = 0;  // of a number
  bool used = false;
  std::int32_t value = 0;  // of a number, a month and a half of the day
};

// Where each token of a text is: wanted for an explanation alone.
struct TokenPlaces {
  struct Place {
    std::int64_t offset = 0, length = 0;
  };
  std::int64_t text_length = 0;
  std::int32_t reason = VDX_REASON_NONE;  // where the last token is none
  Place list[21];
};

class Tokens {
 public:
  static constexpr std::int32_t kMost = 20;

  // Reads the tokens of a text; only once. False where it holds anything else, or too many.
  bool scan(const DateText& text, TokenPlaces* places = nullptr);

  std::int32_t count() const { return count_; }

  const Token& operator[](std::int32_t i) const { return list_[i]; }

  bool is_free(std::int32_t i, TokenKind kind) const {
    return list_[i].kind == kind && !list_[i].used;
  }
  bool is_free_separator(std::int32_t i) const {
    return is_free(i, TokenKind::kSeparator) || is_free(i, TokenKind::kPoint);
  }

  // The first free token of a kind from `from` on, -1 without one.
  std::int32_t find(TokenKind kind, std::int32_t from = 0) const {
    for (std::int32_t i = from; i < count_; ++i)
      if (is_free(i, kind)) return i;
    return -1;
  }
  std::int32_t find_separator(std::int32_t from) const {
    for (std::int32_t i = from; i < count_; ++i)
      if (is_free_separator(i)) return i;
    return -1;
  }

  bool none_left(std::int32_t from = 0) const {
    for (std::int32_t i = from; i < count_; ++i)
      if (!list_[i].used) return false;
    return true;
  }

  // Marks a token as used and returns its value.
  std::int32_t use(std::int32_t i) {
    list_[i].used = true;
    return list_[i].value;
  }

  void use_comma(std::int32_t i) {
    if (is_free(i, TokenKind::kComma)) use(i);
  }

  // Uses the token at i if it is a short number.
  bool use_number(std::int32_t i, std::int32_t& value) {
    if (!is_free(i, TokenKind::kNumber)) return false;
    value = use(i);
    return true;
  }

  // Uses the next short number, wherever it is, and returns its place; -1 without one.
  std::int32_t use_next_number(std::int32_t& value) {
    const std::int32_t i = find(TokenKind::kNumber);
    if (i >= 0) value = use(i);
    return i;
  }

 private:
  std::int32_t count_ = 0;
  Token list_[kMost + 1];  // the last one stays kEnd
};

}  // namespace vdx

#endif
