// The scanner of dates and times. Texts are read character by character: a character counts as the
// single byte that it folds to, so that wide digits, signs and letters are read as the narrow ones.
#include "date/tokens.h"

#include <cstring>

#include "intl/charattr.h"

namespace vdx {
namespace {

struct Character {
  std::int32_t bytes;
  std::uint8_t fold;  // 0 without one
  std::uint8_t bits;  // CharClass
};

Character long_character_at(const vdx_charattr& set, const std::uint8_t* p, std::int64_t left) {
  const std::int32_t n = whole_char_bytes(set, p, left);
  if (n > left) return {static_cast<std::int32_t>(left), 0, 0};
  return {n, char_fold(set, p, n), char_class(set, p, n)};
}

// The character at p; one that `left` cuts short has no fold and no class.
inline Character character_at(const vdx_charattr& set, const std::uint8_t* p, std::int64_t left) {
  if ((set.lead_class[*p] & 15) == 1) [[likely]]
    return {1, char_fold(set, p, 1), char_class(set, p, 1)};
  return long_character_at(set, p, left);
}

constexpr bool is_digit(std::uint8_t fold) { return fold >= '0' && fold <= '9'; }

struct Word {
  const std::uint8_t* bytes;
  std::int32_t length;
  std::int32_t characters;
};

// Whether the word is the zero-terminated name: character by character without case, wide forms as
// the single bytes that they fold to, characters without a fold byte by byte.
bool is_name(const vdx_charattr& set, const Word& word, const char* name) {
  const auto* q = reinterpret_cast<const std::uint8_t*>(name);
  for (std::int32_t at = 0; at < word.length;) {
    if (*q == 0) return false;
    const Character c = character_at(set, word.bytes + at, word.length - at);
    const std::int32_t n = whole_char_bytes(set, q, 2);  // the terminator can still be read
    for (std::int32_t i = 1; i < n; ++i)
      if (q[i] == 0) return false;
    const std::uint8_t fold = char_fold(set, q, n);
    if (c.fold != 0 || fold != 0) {
      if (set.to_upper[c.fold] != set.to_upper[fold]) return false;
    } else if (c.bytes != n || std::memcmp(word.bytes + at, q, static_cast<std::size_t>(n)) != 0) {
      return false;
    }
    at += c.bytes;
    q += n;
  }
  return *q == 0;
}

std::int32_t find_name(const vdx_charattr& set, const Word& word, const char* const* names) {
  if (names == nullptr) return -1;
  const std::uint8_t first = set.to_upper[character_at(set, word.bytes, word.length).fold];
  for (std::int32_t i = 0; i < 12; ++i) {
    // The first character rules most names out.
    const auto* q = reinterpret_cast<const std::uint8_t*>(names[i]);
    if ((set.lead_class[*q] & 15) == 1 && set.to_upper[char_fold(set, q, 1)] != first) continue;
    if (is_name(set, word, names[i])) return i;
  }
  return -1;
}

TokenKind sign(std::uint8_t fold) {
  switch (fold) {
    case ',':
      return TokenKind::kComma;
    case '-':
    case '/':
      return TokenKind::kSeparator;
    case '.':
      return TokenKind::kPoint;
    case ':':
      return TokenKind::kColon;
    default:
      return TokenKind::kEnd;
  }
}

// Both scanners read one token from p on and return its bytes. For what is no token the kind stays
// kEnd.
std::int64_t scan_number(const vdx_charattr& set, const std::uint8_t* p, std::int64_t left,
                         Token& token) {
  std::int64_t at = 0;
  std::int32_t digits = 0;
  while (at < left) {
    const Character c = character_at(set, p + at, left - at);
    if (!is_digit(c.fold)) break;
    if (++digits > 8) return at;  // too long
    token.value = token.value * 10 + (c.fold - '0');
    at += c.bytes;
  }
  static constexpr TokenKind kKinds[9] = {
      TokenKind::kEnd,     TokenKind::kNumber, TokenKind::kNumber,
      TokenKind::kNumber,  TokenKind::kFour,   TokenKind::kFive,
      TokenKind::kCompact, TokenKind::kEnd,    TokenKind::kCompact};
  token.kind = kKinds[digits];
  token.digits = static_cast<std::uint8_t>(digits);
  return at;
}

// AM, PM, the mark T or the name of a month.
std::int64_t scan_word(const DateText& text, const vdx_charattr& set, const std::uint8_t* p,
                       std::int64_t left, Token& token) {
  Word word{p, 0, 0};
  std::uint8_t folds[2] = {};
  while (word.length < left) {
    const Character c = character_at(set, p + word.length, left - word.length);
    if ((c.bits & kClassLetter) == 0) break;
    if (word.characters < 2) folds[word.characters] = set.to_upper[c.fold];
    ++word.characters;
    word.length += c.bytes;
  }
  if (word.characters == 1 && folds[0] == 'T') {
    token.kind = TokenKind::kMark;
  } else if (word.characters == 2 && (folds[0] == 'A' || folds[0] == 'P') && folds[1] == 'M') {
    token.kind = TokenKind::kHalfDay;
    token.value = folds[0] == 'P';
  } else {
    token.value = find_name(set, word, text.months);
    if (token.value < 0) token.value = find_name(set, word, text.short_months);
    if (token.value >= 0) token.kind = TokenKind::kMonth;
  }
  return word.length;
}

}  // namespace

bool Tokens::scan(const DateText& text, TokenPlaces* places) {
  const vdx_charattr& set = text.attributes != nullptr ? *text.attributes : kAscii;
  for (std::int64_t at = 0; at < text.length;) {
    const std::uint8_t* p = text.bytes + at;
    const std::int64_t left = text.length - at;
    const Character c = character_at(set, p, left);
    if (c.fold == ' ') {
      at += c.bytes;
      continue;
    }
    if (count_ == kMost) {
      if (places != nullptr) {
        places->list[count_++] = {at, left};
        places->reason = VDX_REASON_TOO_MANY_PARTS;
      }
      return false;
    }
    Token& token = list_[count_++];
    std::int64_t taken = c.bytes;
    if (is_digit(c.fold))
      taken = scan_number(set, p, left, token);
    else if ((c.bits & kClassLetter) != 0)
      taken = scan_word(text, set, p, left, token);
    else
      token.kind = sign(c.fold);
    if (places != nullptr) places->list[count_ - 1] = {at, taken};
    if (token.kind == TokenKind::kEnd) {
      if (places != nullptr)
        places->reason = is_digit(c.fold)               ? VDX_REASON_TOO_MANY_DIGITS
                         : (c.bits & kClassLetter) != 0 ? VDX_REASON_WORD
                                                        : VDX_REASON_CHARACTER;
      return false;
    }
    at += taken;
  }
  return true;
}

}  // namespace vdx
