// The grammar of dates and times.
//
//   text      time and date in either order, each once at most
//   time      hour : minute [: second] [: milliseconds | . fraction] [AM | PM]
//             hour (AM | PM)
//   named     month, day and year with a month's name; see read_named_month
//   numeric   number separator number separator number, in the order of a style or of the text
//   compact   yyyymmdd or yymmdd
//   year      yyyy
//
// The time is taken out of the tokens first, found by its first colon or its AM or PM. What is left
// is the date, in the first form above that has its mark. The parts of a date need not be
// neighbours: what is between them is what the time has used, or is left over.
#include <algorithm>
#include <iterator>

#include "date/parse.h"
#include "date/tokens.h"

namespace vdx {
namespace {

// How a date of three numbers is read in a style.
struct NumericForm {
  std::int16_t style;
  std::int8_t order;        // of the three numbers, 1 to 6; 0: that of the text
  std::int8_t year_digits;  // 2 or 4; 0: four if there is such a number, else two
};

constexpr NumericForm kNumericForms[] = {
    // clang-format off
    {0, 0, 0},    {9, 0, 0},
    {1, 1, 2},    {10, 1, 2},
    {2, 3, 2},    {11, 3, 2},  {21, 3, 2},  {22, 3, 2},  {23, 3, 2},
    {3, 2, 2},    {4, 2, 2},   {5, 2, 2},
    {101, 1, 4},  {110, 1, 4},
    {102, 3, 4},  {111, 3, 4},
    {103, 2, 4},  {104, 2, 4}, {105, 2, 4},
    // clang-format on
};

// The form of a style, null where it has none.
const NumericForm* form_of(std::int32_t style) {
  const auto* const form = std::find_if(std::begin(kNumericForms), std::end(kNumericForms),
                                        [style](const NumericForm& f) { return f.style == style; });
  return form == std::end(kNumericForms) ? nullptr : form;
}

// The fields of each order, which count from 1.
constexpr char kOrders[6][4] = {"mdy", "dmy", "ymd", "ydm", "myd", "dym"};
constexpr std::int32_t kYearFirst = 3;
constexpr std::int32_t kYearDayMonth = 4;

using Kind = TokenKind;

// One parse. Values go into the fields as they are met; ranges are checked when a value is made.
class Parser {
 public:
  Parser(const DateText& text, DateMode mode, DateGrain grain, DateFields& fields)
      : text_(text), mode_(mode), grain_(grain), fields_(fields), record_(fields.record) {}

  std::int32_t parse() {
    fields_ = DateFields{};
    if (!tokens_.scan(text_)) return kDateBad;
    if (const std::int32_t code = read_time()) return code;
    if (mode_ == DateMode::kClock) return tokens_.none_left() ? 0 : kDateLeftOver;
    return read_date();
  }

 private:
  std::int32_t read_time() {
    const std::int32_t colon = tokens_.find(Kind::kColon);
    if (colon > 0) return read_colons(colon);
    const std::int32_t half = tokens_.find(Kind::kHalfDay, 1);
    if (half < 0 || tokens_.find(Kind::kColon, 1) >= 0) return 0;
    if (!tokens_.use_number(half - 1, record_.hour)) return kDateBad;
    return use_half_day(half);
  }

  std::int32_t read_colons(std::int32_t colon) {
    if (!tokens_.use_number(colon - 1, record_.hour)) return kDateBad;
    tokens_.use(colon);
    if (!tokens_.use_number(colon + 1, record_.minute)) return kDateBad;
    std::int32_t at = colon + 2;
    if (tokens_[at].kind == Kind::kColon) {
      tokens_.use(at);
      if (!tokens_.use_number(at + 1, record_.second)) return kDateBad;
      at += 2;
    }
    if (tokens_[at].kind == Kind::kColon) {
      tokens_.use(at);
      std::int32_t millisecond = 0;
      if (!tokens_.use_number(at + 1, millisecond)) return kDateBad;
      record_.fraction = millisecond * 1000;
      at += 2;
    } else if (tokens_[at].kind == Kind::kPoint) {
      tokens_.use(at);
      if (!use_fraction(at + 1)) return kDateBad;
      at += 2;
    }
    return tokens_[at].kind == Kind::kHalfDay ? use_half_day(at) : 0;
  }

  bool use_fraction(std::int32_t i) {
    const Token& token = tokens_[i];
    if (token.digits == 0) return false;
    // Microseconds of a unit, by the number of digits. Eight digits count microseconds all the
    // same: more than a second of them is out of range.
    static constexpr std::int32_t kUnits[9] = {0, 100000, 10000, 1000, 100, 10, 1, 0, 1};
    record_.fraction = tokens_.use(i) * kUnits[token.digits];
    if (grain_ == DateGrain::kMicroseconds) return true;
    fields_.rounded = round_to_milliseconds(record_.fraction);
    return record_.fraction <= 999'999;
  }

  // Noon and midnight are 12. With PM, hours 13 to 23 are taken as they are.
  std::int32_t use_half_day(std::int32_t i) {
    std::int32_t& hour = record_.hour;
    if (tokens_.use(i) == 1) {
      if (hour == 0) return kDateHalfDayConflict;
      if (hour < 12) hour += 12;
    } else {
      if (hour > 12) return kDateHalfDayConflict;
      if (hour == 12) hour = 0;
    }
    return 0;
  }

  std::int32_t read_date() {
    if (const std::int32_t mark = tokens_.find(Kind::kMark); mark >= 0) {
      tokens_.use(mark);
      if (!tokens_.none_left(mark + 1)) return kDateBad;
    }
    std::int32_t code = 0;
    fields_.has_date = true;
    if (const std::int32_t month = tokens_.find(Kind::kMonth); month >= 0) {
      code = read_named_month(month);
    } else if (const std::int32_t separator = tokens_.find_separator(1); separator >= 0) {
      code = read_numeric(separator);
    } else if (const std::int32_t compact = tokens_.find(Kind::kCompact); compact >= 0) {
      code = read_compact(compact);
    } else if (const std::int32_t year = tokens_.find(Kind::kFour); year >= 0) {
      record_.year = tokens_.use(year);
    } else {
      fields_.has_date = false;
    }
    if (code != 0) return code;
    const bool may_be_left = fields_.has_date && mode_ != DateMode::kWhole;
    return may_be_left || tokens_.none_left() ? 0 : kDateLeftOver;
  }

  std::int32_t set_short_year(std::int32_t year) {
    if (year > 99) return kDateBadYear;
    record_.year = year + (year < 50 ? 2000 : 1900);
    return 0;
  }

  // A separator before the name may have one after it; commas may follow the name and the day. A
  // year of four digits may be anywhere and makes the day optional, else the day comes before the
  // year.
  std::int32_t read_named_month(std::int32_t month) {
    record_.month = tokens_.use(month);
    if (month > 0 && tokens_.is_free_separator(month - 1)) {
      tokens_.use(month - 1);
      if (tokens_.is_free_separator(month + 1)) tokens_.use(month + 1);
    }
    tokens_.use_comma(month + 1);
    const std::int32_t four = tokens_.find(Kind::kFour);
    if (four >= 0) record_.year = tokens_.use(four);
    const std::int32_t day = tokens_.use_next_number(record_.day);
    if (day >= 0) tokens_.use_comma(day + 1);
    if (four >= 0) return 0;
    std::int32_t year = 0;
    if (day < 0 || tokens_.use_next_number(year) < 0) return kDateBad;
    return set_short_year(year);
  }

  // separator: the first one
  std::int32_t read_numeric(std::int32_t separator) {
    const std::int32_t second = tokens_.find_separator(separator + 1);
    if (second < 0) return kDateBad;
    tokens_.use(separator);
    tokens_.use(second);
    const NumericForm* const form = form_of(text_.style);
    if (form == nullptr) return kDateBad;
    const std::int32_t four = tokens_.find(Kind::kFour);
    const bool is_year_long = form->year_digits == 4 || (form->year_digits == 0 && four >= 0);
    if (is_year_long) {
      if (four < 0) return kDateBad;
      record_.year = tokens_.use(four);
    }
    std::int32_t order = form->order;
    // A text that starts with a long year has it first, unless its order is year-day-month.
    if (order == 0) order = four == 0 && text_.order != kYearDayMonth ? kYearFirst : text_.order;
    if (order < 1 || order > 6) return kDateBad;
    std::int32_t short_year = 0;
    for (std::int32_t i = 0; i < 3; ++i) {
      const char field = kOrders[order - 1][i];
      if (field == 'y' && is_year_long) continue;
      std::int32_t& value = field == 'y' ? short_year : field == 'm' ? record_.month : record_.day;
      if (tokens_.use_next_number(value) < 0) return kDateBad;
    }
    --record_.month;
    return is_year_long ? 0 : set_short_year(short_year);
  }

  std::int32_t read_compact(std::int32_t i) {
    const std::int32_t value = tokens_.use(i);
    record_.day = value % 100;
    record_.month = value / 100 % 100 - 1;
    if (tokens_[i].digits == 6) return set_short_year(value / 10000);
    record_.year = value / 10000;
    return 0;
  }

  const DateText& text_;
  const DateMode mode_;
  const DateGrain grain_;
  DateFields& fields_;
  daterec& record_;
  Tokens tokens_;
};

}  // namespace

std::int32_t parse_by_grammar(const DateText& text, DateMode mode, DateGrain grain,
                              DateFields& fields) {
  return Parser(text, mode, grain, fields).parse();
}

}  // namespace vdx
