// The grammar of dates and times: tokens, then the time of day, then one of four forms of dates.
#include <cstring>

#include "date/parse.h"
#include "intl/charattr.h"

namespace vdx {
namespace {

enum class Kind : std::uint8_t {
  kEnd,
  kComma,
  kSeparator,
  kPoint,  // a separator that may also open a fraction
  kColon,
  kMark,     // the T between date and time
  kHalfDay,  // value 0 AM, 1 PM
  kMonth,    // value 0 to 11
  kNumber,   // 1 to 3 digits
  kFour,     // 4 digits
  kFive,     // 5 digits
  kCompact,  // 6 or 8 digits
};

struct Token {
  Kind kind = Kind::kEnd;
  std::uint8_t digits = 0;
  bool used = false;
  std::int32_t value = 0;
};

constexpr std::int32_t kMaxTokens = 20;

struct Character {
  std::int32_t bytes;
  std::uint8_t fold;  // 0: none
  std::uint8_t bits;  // CharClass
};

Character long_character_at(const vdx_charattr& set, const std::uint8_t* p, std::int64_t left) {
  const std::int32_t n = whole_char_bytes(set, p, left);
  if (n > left) return {static_cast<std::int32_t>(left), 0, 0};
  return {n, char_fold(set, p, n), char_class(set, p, n)};
}

// The character at p; one that `left` cuts short is none.
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

// Whether the word is the zero-terminated name: character by character, wide forms as single
// bytes, without case; characters without a single byte as they are.
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
    // Most names are told by their first character.
    const auto* q = reinterpret_cast<const std::uint8_t*>(names[i]);
    if ((set.lead_class[*q] & 15) == 1 && set.to_upper[char_fold(set, q, 1)] != first) continue;
    if (is_name(set, word, names[i])) return i;
  }
  return -1;
}

class Parser {
 public:
  Parser(const DateText& text, DateMode mode, DateGrain grain, DateFields& fields)
      : text_(text),
        set_(text.attributes != nullptr ? *text.attributes : kAscii),
        mode_(mode),
        grain_(grain),
        fields_(fields),
        record_(fields.record) {}

  std::int32_t parse() {
    fields_ = DateFields{};
    if (!scan()) return kDateBad;
    if (const std::int32_t code = read_time()) return code;
    if (mode_ == DateMode::kClock) return none_left() ? 0 : kDateLeftOver;
    return read_date();
  }

 private:
  // Tokens.

  bool scan() {
    for (std::int64_t at = 0; at < text_.length;) {
      const std::uint8_t* p = text_.bytes + at;
      const std::int64_t left = text_.length - at;
      const Character c = character_at(set_, p, left);
      if (c.fold == ' ') {
        at += c.bytes;
        continue;
      }
      if (count_ == kMaxTokens) return false;
      Token& token = tokens_[count_++];
      std::int64_t taken = c.bytes;
      if (is_digit(c.fold))
        taken = scan_number(p, left, token);
      else if ((c.bits & kClassLetter) != 0)
        taken = scan_word(p, left, token);
      else
        token.kind = sign(c.fold);
      if (token.kind == Kind::kEnd) return false;
      at += taken;
    }
    return true;
  }

  static Kind sign(std::uint8_t fold) {
    switch (fold) {
      case ',':
        return Kind::kComma;
      case '-':
      case '/':
        return Kind::kSeparator;
      case '.':
        return Kind::kPoint;
      case ':':
        return Kind::kColon;
      default:
        return Kind::kEnd;
    }
  }

  std::int64_t scan_number(const std::uint8_t* p, std::int64_t left, Token& token) {
    std::int64_t at = 0;
    std::int32_t digits = 0;
    while (at < left) {
      const Character c = character_at(set_, p + at, left - at);
      if (!is_digit(c.fold)) break;
      if (++digits > 8) return at;  // no token: its kind is still kEnd
      token.value = token.value * 10 + (c.fold - '0');
      at += c.bytes;
    }
    static constexpr Kind kKinds[9] = {Kind::kEnd,     Kind::kNumber, Kind::kNumber,
                                       Kind::kNumber,  Kind::kFour,   Kind::kFive,
                                       Kind::kCompact, Kind::kEnd,    Kind::kCompact};
    token.kind = kKinds[digits];
    token.digits = static_cast<std::uint8_t>(digits);
    return at;
  }

  // A T that no letter follows is the mark; with letters it may open the name of a month.
  std::int64_t scan_word(const std::uint8_t* p, std::int64_t left, Token& token) {
    Word word{p, 0, 0};
    std::uint8_t folds[2] = {};
    while (word.length < left) {
      const Character c = character_at(set_, p + word.length, left - word.length);
      if ((c.bits & kClassLetter) == 0) break;
      if (word.characters < 2) folds[word.characters] = set_.to_upper[c.fold];
      ++word.characters;
      word.length += c.bytes;
    }
    if (word.characters == 1 && folds[0] == 'T') {
      token.kind = Kind::kMark;
    } else if (word.characters == 2 && (folds[0] == 'A' || folds[0] == 'P') && folds[1] == 'M') {
      token.kind = Kind::kHalfDay;
      token.value = folds[0] == 'P';
    } else {
      token.value = find_name(set_, word, text_.months);
      if (token.value < 0) token.value = find_name(set_, word, text_.short_months);
      if (token.value >= 0) token.kind = Kind::kMonth;
    }
    return word.length;
  }

  // Searches. Tokens that a step has used are not seen by later ones.

  static bool is_separator(Kind kind) { return kind == Kind::kSeparator || kind == Kind::kPoint; }
  bool is_free(std::int32_t i, Kind kind) const {
    return tokens_[i].kind == kind && !tokens_[i].used;
  }
  bool is_free_separator(std::int32_t i) const {
    return is_separator(tokens_[i].kind) && !tokens_[i].used;
  }

  // The first free one from `from` on; -1 without one.
  std::int32_t find(Kind kind, std::int32_t from = 0) const {
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
      if (!tokens_[i].used) return false;
    return true;
  }

  std::int32_t use(std::int32_t i) {
    tokens_[i].used = true;
    return tokens_[i].value;
  }
  void use_comma(std::int32_t i) {
    if (is_free(i, Kind::kComma)) use(i);
  }

  // Takes the token at i if it is a short number.
  bool use_number(std::int32_t i, std::int32_t& value) {
    if (!is_free(i, Kind::kNumber)) return false;
    value = use(i);
    return true;
  }
  // Takes the next short number, wherever it stands; -1 without one.
  std::int32_t use_next_number(std::int32_t& value) {
    const std::int32_t i = find(Kind::kNumber);
    if (i >= 0) value = use(i);
    return i;
  }

  // Time of day.

  std::int32_t read_time() {
    const std::int32_t colon = find(Kind::kColon);
    if (colon > 0) return read_colons(colon);
    const std::int32_t half = find(Kind::kHalfDay, 1);
    if (half < 0 || find(Kind::kColon, 1) >= 0) return 0;
    if (!use_number(half - 1, record_.hour)) return kDateBad;
    return use_half_day(half);
  }

  std::int32_t read_colons(std::int32_t colon) {
    if (!use_number(colon - 1, record_.hour)) return kDateBad;
    use(colon);
    if (!use_number(colon + 1, record_.minute)) return kDateBad;
    std::int32_t at = colon + 2;
    if (tokens_[at].kind == Kind::kColon) {
      use(at);
      if (!use_number(at + 1, record_.second)) return kDateBad;
      at += 2;
    }
    if (tokens_[at].kind == Kind::kColon) {
      use(at);
      std::int32_t millisecond = 0;
      if (!use_number(at + 1, millisecond)) return kDateBad;
      record_.fraction = millisecond * 1000;
      at += 2;
    } else if (tokens_[at].kind == Kind::kPoint) {
      use(at);
      if (!use_fraction(at + 1)) return kDateBad;
      at += 2;
    }
    return tokens_[at].kind == Kind::kHalfDay ? use_half_day(at) : 0;
  }

  bool use_fraction(std::int32_t i) {
    const Token& token = tokens_[i];
    if (token.digits == 0) return false;
    static constexpr std::int32_t kUnits[9] = {0, 100000, 10000, 1000, 100, 10, 1, 0, 1};
    record_.fraction = use(i) * kUnits[token.digits];
    if (grain_ == DateGrain::kMicroseconds) return true;
    fields_.rounded = round_to_milliseconds(record_.fraction);
    return record_.fraction <= 999'999;
  }

  // Noon and midnight are 12; hours of the other clock are let be after noon.
  std::int32_t use_half_day(std::int32_t i) {
    std::int32_t& hour = record_.hour;
    if (use(i) == 1) {
      if (hour == 0) return kDateHalfDayConflict;
      if (hour < 12) hour += 12;
    } else {
      if (hour > 12) return kDateHalfDayConflict;
      if (hour == 12) hour = 0;
    }
    return 0;
  }

  // Dates.

  std::int32_t read_date() {
    if (const std::int32_t mark = find(Kind::kMark); mark >= 0) {
      use(mark);
      if (!none_left(mark + 1)) return kDateBad;
    }
    std::int32_t code = 0;
    fields_.has_date = true;
    if (const std::int32_t month = find(Kind::kMonth); month >= 0) {
      code = read_named_month(month);
    } else if (const std::int32_t separator = find_separator(1); separator >= 0) {
      code = read_numeric(separator);
    } else if (const std::int32_t compact = find(Kind::kCompact); compact >= 0) {
      code = read_compact(compact);
    } else if (const std::int32_t year = find(Kind::kFour); year >= 0) {
      record_.year = use(year);
    } else {
      fields_.has_date = false;
    }
    if (code != 0) return code;
    const bool may_be_left = fields_.has_date && mode_ != DateMode::kWhole;
    return may_be_left || none_left() ? 0 : kDateLeftOver;
  }

  std::int32_t set_short_year(std::int32_t year) {
    if (year > 99) return kDateBadYear;
    record_.year = year + (year < 50 ? 2000 : 1900);
    return 0;
  }

  std::int32_t read_named_month(std::int32_t month) {
    record_.month = use(month);
    if (month > 0 && is_free_separator(month - 1)) {
      use(month - 1);
      if (is_free_separator(month + 1)) use(month + 1);
    }
    use_comma(month + 1);
    const std::int32_t four = find(Kind::kFour);
    if (four >= 0) record_.year = use(four);
    const std::int32_t day = use_next_number(record_.day);
    if (day >= 0) use_comma(day + 1);
    if (four >= 0) return 0;
    std::int32_t year = 0;
    if (day < 0 || use_next_number(year) < 0) return kDateBad;
    return set_short_year(year);
  }

  std::int32_t read_numeric(std::int32_t separator) {
    const std::int32_t second = find_separator(separator + 1);
    if (second < 0) return kDateBad;
    use(separator);
    use(second);
    std::int32_t order = 0;
    bool is_year_long = false;
    switch (text_.style) {
      case 0:
      case 9: {
        order = text_.order;
        const std::int32_t four = find(Kind::kFour);
        is_year_long = four >= 0;
        if (four == 0 && order != 4) order = 3;
        break;
      }
      case 1:
      case 10:
        order = 1;
        break;
      case 2:
      case 11:
      case 21:
      case 22:
      case 23:
        order = 3;
        break;
      case 3:
      case 4:
      case 5:
        order = 2;
        break;
      case 101:
      case 110:
        order = 1;
        is_year_long = true;
        break;
      case 102:
      case 111:
        order = 3;
        is_year_long = true;
        break;
      case 103:
      case 104:
      case 105:
        order = 2;
        is_year_long = true;
        break;
      default:
        return kDateBad;
    }
    if (is_year_long) {
      const std::int32_t four = find(Kind::kFour);
      if (four < 0) return kDateBad;
      record_.year = use(four);
    }
    static constexpr char kOrders[6][4] = {"mdy", "dmy", "ymd", "ydm", "myd", "dym"};
    if (order < 1 || order > 6) return kDateBad;
    std::int32_t short_year = 0;
    for (std::int32_t i = 0; i < 3; ++i) {
      const char field = kOrders[order - 1][i];
      if (field == 'y' && is_year_long) continue;
      std::int32_t& value = field == 'y' ? short_year : field == 'm' ? record_.month : record_.day;
      if (use_next_number(value) < 0) return kDateBad;
    }
    --record_.month;
    return is_year_long ? 0 : set_short_year(short_year);
  }

  std::int32_t read_compact(std::int32_t i) {
    const std::int32_t value = use(i);
    record_.day = value % 100;
    record_.month = value / 100 % 100 - 1;
    if (tokens_[i].digits == 6) return set_short_year(value / 10000);
    record_.year = value / 10000;
    return 0;
  }

  const DateText& text_;
  const vdx_charattr& set_;
  const DateMode mode_;
  const DateGrain grain_;
  DateFields& fields_;
  daterec& record_;
  std::int32_t count_ = 0;
  Token tokens_[kMaxTokens + 1];  // and one that ends them
};

}  // namespace

std::int32_t parse_by_grammar(const DateText& text, DateMode mode, DateGrain grain,
                              DateFields& fields) {
  return Parser(text, mode, grain, fields).parse();
}

}  // namespace vdx
