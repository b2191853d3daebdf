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

#include "date/calendar.h"
#include "date/parse.h"
#include "date/tokens.h"
#include "frame/fault.h"

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

// The parts of a date and time, numbered as the codes of those that are out of range.
enum Part : std::int32_t { kYear = 1, kMonth, kDay, kHour, kMinute, kSecond, kFraction, kParts };

constexpr std::int32_t kReasons[kParts] = {VDX_REASON_NONE,   VDX_REASON_YEAR,    VDX_REASON_MONTH,
                                           VDX_REASON_DAY,    VDX_REASON_HOUR,    VDX_REASON_MINUTE,
                                           VDX_REASON_SECOND, VDX_REASON_FRACTION};

// What a parse tells of itself where an explanation is wanted.
struct Explanation {
  Finding& finding;
  TokenPlaces places{};
  TokenPlaces::Place parts[kParts]{};
};

// One parse. Values go into the fields as they are met; ranges are checked when a value is made.
// kExplains compiles in what an explanation needs, and leaves the parse of values without it.
template <bool kExplains>
class Parser {
 public:
  Parser(const DateText& text, DateMode mode, DateGrain grain, DateFields& fields,
         Explanation* explanation)
      : text_(text),
        mode_(mode),
        grain_(grain),
        fields_(fields),
        record_(fields.record),
        explanation_(explanation) {}

  std::int32_t parse() {
    fields_ = DateFields{};
    if (!scan()) return kDateBad;
    if (const std::int32_t code = read_time()) return code;
    if (mode_ == DateMode::kClock) return tokens_.none_left() ? 0 : left_over();
    return read_date();
  }

 private:
  bool scan() {
    if constexpr (kExplains) {
      TokenPlaces& places = explanation_->places;
      places.text_length = text_.length;
      if (tokens_.scan(text_, &places)) return true;
      note(places.reason, tokens_.count() - 1);
      return false;
    } else {
      return tokens_.scan(text_);
    }
  }

  // Notes a token, or where there is none the end of the text.
  void note(std::int32_t reason, std::int32_t i) {
    if constexpr (kExplains) {
      const TokenPlaces& places = explanation_->places;
      const bool is_token = i >= 0 && i < tokens_.count();
      const TokenPlaces::Place place =
          is_token ? places.list[i] : TokenPlaces::Place{places.text_length, 0};
      explanation_->finding.note(reason, place.offset, place.length);
    }
  }

  std::int32_t fail(std::int32_t reason, std::int32_t i) {
    note(reason, i);
    return kDateBad;
  }

  // Without the number that has to be at token i.
  std::int32_t no_number(std::int32_t i) { return fail(VDX_REASON_NO_DIGIT, i); }

  // Without a further part of a date: before the first token that no part has used.
  std::int32_t incomplete() {
    std::int32_t i = 0;
    while (i < tokens_.count() && tokens_[i].used) ++i;
    return fail(VDX_REASON_INCOMPLETE, i);
  }

  std::int32_t left_over() {
    std::int32_t i = 0;
    while (i < tokens_.count() && tokens_[i].used) ++i;
    note(VDX_REASON_LEFT_OVER, i);
    return kDateLeftOver;
  }

  // Token i is a part of the date or time.
  void place(Part part, std::int32_t i) {
    if constexpr (kExplains)
      if (i >= 0) explanation_->parts[part] = explanation_->places.list[i];
  }

  std::int32_t use_as(Part part, std::int32_t i) {
    place(part, i);
    return tokens_.use(i);
  }
  bool use_number(std::int32_t i, Part part, std::int32_t& value) {
    if (!tokens_.use_number(i, value)) return false;
    place(part, i);
    return true;
  }
  std::int32_t use_next_number(Part part, std::int32_t& value) {
    const std::int32_t i = tokens_.use_next_number(value);
    place(part, i);
    return i;
  }

  std::int32_t read_time() {
    const std::int32_t colon = tokens_.find(Kind::kColon);
    if (colon > 0) return read_colons(colon);
    const std::int32_t half = tokens_.find(Kind::kHalfDay, 1);
    if (half < 0 || tokens_.find(Kind::kColon, 1) >= 0) return 0;
    if (!use_number(half - 1, kHour, record_.hour)) return no_number(half);
    return use_half_day(half);
  }

  std::int32_t read_colons(std::int32_t colon) {
    if (!use_number(colon - 1, kHour, record_.hour)) return no_number(colon);
    tokens_.use(colon);
    if (!use_number(colon + 1, kMinute, record_.minute)) return no_number(colon + 1);
    std::int32_t at = colon + 2;
    if (tokens_[at].kind == Kind::kColon) {
      tokens_.use(at);
      if (!use_number(at + 1, kSecond, record_.second)) return no_number(at + 1);
      at += 2;
    }
    if (tokens_[at].kind == Kind::kColon) {
      tokens_.use(at);
      std::int32_t millisecond = 0;
      if (!use_number(at + 1, kFraction, millisecond)) return no_number(at + 1);
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
    if (token.digits == 0) {
      note(VDX_REASON_NO_DIGIT, i);
      return false;
    }
    // Microseconds of a unit, by the number of digits. Eight digits count microseconds all the
    // same: more than a second of them is out of range.
    static constexpr std::int32_t kUnits[9] = {0, 100000, 10000, 1000, 100, 10, 1, 0, 1};
    record_.fraction = use_as(kFraction, i) * kUnits[token.digits];
    if (grain_ == DateGrain::kMicroseconds) return true;
    fields_.rounded = round_to_milliseconds(record_.fraction);
    if (record_.fraction <= 999'999) return true;
    note(VDX_REASON_FRACTION, i);
    if constexpr (kExplains) explanation_->finding.note_range(token.value, 0, 999'999);
    return false;
  }

  // Noon and midnight are 12. With PM, hours 13 to 23 are taken as they are.
  std::int32_t use_half_day(std::int32_t i) {
    std::int32_t& hour = record_.hour;
    if (tokens_.use(i) == 1) {
      if (hour == 0) return half_day_conflict(i);
      if (hour < 12) hour += 12;
    } else {
      if (hour > 12) return half_day_conflict(i);
      if (hour == 12) hour = 0;
    }
    return 0;
  }

  std::int32_t half_day_conflict(std::int32_t i) {
    note(VDX_REASON_HALF_DAY, i);
    if constexpr (kExplains) explanation_->finding.value = record_.hour;
    return kDateHalfDayConflict;
  }

  std::int32_t read_date() {
    if (const std::int32_t mark = tokens_.find(Kind::kMark); mark >= 0) {
      tokens_.use(mark);
      if (!tokens_.none_left(mark + 1)) return fail(VDX_REASON_LEFT_OVER, mark + 1);
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
      record_.year = use_as(kYear, year);
    } else {
      fields_.has_date = false;
    }
    if (code != 0) return code;
    const bool may_be_left = fields_.has_date && mode_ != DateMode::kWhole;
    return may_be_left || tokens_.none_left() ? 0 : left_over();
  }

  std::int32_t set_short_year(std::int32_t year) {
    if (year > 99) {
      if constexpr (kExplains) {
        const TokenPlaces::Place& at = explanation_->parts[kYear];
        explanation_->finding.note(VDX_REASON_YEAR, at.offset, at.length);
        explanation_->finding.note_range(year, 0, 99);
      }
      return kDateBadYear;
    }
    record_.year = year + (year < 50 ? 2000 : 1900);
    return 0;
  }

  // A separator before the name may have one after it; commas may follow the name and the day. A
  // year of four digits may be anywhere and makes the day optional, else the day comes before the
  // year.
  std::int32_t read_named_month(std::int32_t month) {
    record_.month = use_as(kMonth, month);
    if (month > 0 && tokens_.is_free_separator(month - 1)) {
      tokens_.use(month - 1);
      if (tokens_.is_free_separator(month + 1)) tokens_.use(month + 1);
    }
    tokens_.use_comma(month + 1);
    const std::int32_t four = tokens_.find(Kind::kFour);
    if (four >= 0) record_.year = use_as(kYear, four);
    const std::int32_t day = use_next_number(kDay, record_.day);
    if (day >= 0) tokens_.use_comma(day + 1);
    if (four >= 0) return 0;
    std::int32_t year = 0;
    if (day < 0 || use_next_number(kYear, year) < 0) return incomplete();
    return set_short_year(year);
  }

  // separator: the first one
  std::int32_t read_numeric(std::int32_t separator) {
    const std::int32_t second = tokens_.find_separator(separator + 1);
    if (second < 0) return fail(VDX_REASON_INCOMPLETE, separator + 2);
    tokens_.use(separator);
    tokens_.use(second);
    const NumericForm* const form = form_of(text_.style);
    if (form == nullptr) return fail(VDX_REASON_STYLE_DATE, 0);
    const std::int32_t four = tokens_.find(Kind::kFour);
    const bool is_year_long = form->year_digits == 4 || (form->year_digits == 0 && four >= 0);
    if (is_year_long) {
      if (four < 0) return fail(VDX_REASON_STYLE_DATE, 0);
      record_.year = use_as(kYear, four);
    }
    std::int32_t order = form->order;
    // A text that starts with a long year has it first, unless its order is year-day-month.
    if (order == 0) order = four == 0 && text_.order != kYearDayMonth ? kYearFirst : text_.order;
    if (order < 1 || order > 6) return fail(VDX_REASON_STYLE_DATE, 0);
    std::int32_t short_year = 0;
    for (std::int32_t i = 0; i < 3; ++i) {
      const char field = kOrders[order - 1][i];
      if (field == 'y' && is_year_long) continue;
      std::int32_t& value = field == 'y' ? short_year : field == 'm' ? record_.month : record_.day;
      const Part part = field == 'y' ? kYear : field == 'm' ? kMonth : kDay;
      if (use_next_number(part, value) < 0) return incomplete();
    }
    --record_.month;
    return is_year_long ? 0 : set_short_year(short_year);
  }

  // Narrow or wide, the digits of a token have as many bytes each.
  void place_compact([[maybe_unused]] std::int32_t i) {
    if constexpr (kExplains) {
      const TokenPlaces::Place whole = explanation_->places.list[i];
      const std::int64_t two = 2 * whole.length / tokens_[i].digits;
      const std::int64_t end = whole.offset + whole.length;
      explanation_->parts[kYear] = {whole.offset, whole.length - 2 * two};
      explanation_->parts[kMonth] = {end - 2 * two, two};
      explanation_->parts[kDay] = {end - two, two};
    }
  }

  std::int32_t read_compact(std::int32_t i) {
    const std::int32_t value = use_as(kYear, i);
    place_compact(i);
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
  Explanation* const explanation_;
  Tokens tokens_;
};

// The value of a part, from 1 for months, and the largest that it may have.
std::int64_t value_of(const daterec& record, std::int32_t part) {
  const std::int32_t values[kParts] = {
      0,           record.year,   record.month + 1, record.day,
      record.hour, record.minute, record.second,    record.fraction};
  return values[part];
}
std::int64_t most_of(const daterec& record, std::int32_t part) {
  const std::int32_t most[kParts] = {0, 9999, 12, 0, 23, 59, 59, 999'999};
  return part == kDay ? days_in_month(record.year, record.month) : most[part];
}

}  // namespace

std::int32_t parse_by_grammar(const DateText& text, DateMode mode, DateGrain grain,
                              DateFields& fields) {
  return Parser<false>(text, mode, grain, fields, nullptr).parse();
}

void explain_date(const DateText& text, DateMode mode, DateGrain grain, Finding& finding) {
  DateFields fields;
  Explanation explanation{finding};
  if (Parser<true>(text, mode, grain, fields, &explanation).parse() != 0) return;
  const daterec& record = fields.record;
  std::int32_t days = 0, ticks = 0;
  std::uint64_t micros = 0;
  const bool is_ticks = grain == DateGrain::kTicks;
  const std::int32_t date = fields.has_date ? make_days(record, days) : 0;
  const std::int32_t time = is_ticks ? make_ticks(record, ticks) : make_micros(record, micros);
  // As when a value is made: of ticks the time first, of microseconds the date.
  const std::int32_t first = is_ticks ? time : date, second = is_ticks ? date : time;
  const std::int32_t part = first != 0 ? first : second;
  if (part == 0) {  // all of the text is the value
    finding.note(VDX_REASON_NONE, 0, text.length);
    return;
  }
  const TokenPlaces::Place& at = explanation.parts[part];
  finding.note(kReasons[part], at.offset, at.length);
  finding.note_range(value_of(record, part), part <= kDay ? 1 : 0, most_of(record, part));
}

}  // namespace vdx
