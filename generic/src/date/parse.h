// Dates and times from text: one grammar for all six datatypes, and a straight path for the layouts
// that rows of real data have.
//
// A text becomes fields first, then a value. The fields are as the text has them, except that
// fractions are rounded to the grain of the destination; making the value checks their ranges.
#ifndef VDX_DATE_PARSE_H
#define VDX_DATE_PARSE_H

#include <cstdint>

#include "vdxcomn/date.h"
#include "vdxcomn/types.h"

namespace vdx {

struct Finding;

// A text and what governs its reading.
struct DateText {
  const std::uint8_t* bytes;
  std::int32_t length;
  std::int32_t style;
  std::int32_t order;               // 1 to 6, of a numeric date
  const char* const* months;        // twelve full names from January; null where none are known
  const char* const* short_months;  // likewise
  const vdx_charattr* attributes;   // null: bytes are characters, letters are those of ASCII
};

// What a reader wants of the text.
enum class DateMode : std::int32_t {
  kWhole,  // date and time of day; nothing may be left over
  kDate,   // the date; tokens left over beside it are ignored
  kTime,   // the time of day, perhaps beside a date; likewise
  kClock,  // a time of day alone
};

// What the destination counts in. For ticks, fractions of a second are rounded to milliseconds.
enum class DateGrain : std::int32_t { kTicks, kMicroseconds };

// Results besides 0. A wrong field has the positive code that making a value gives it: 1 year, 2
// month, 3 day.
inline constexpr std::int32_t kDateBad = -1;
inline constexpr std::int32_t kDateLeftOver = -2;
inline constexpr std::int32_t kDateBadYear = 1;
inline constexpr std::int32_t kDateHalfDayConflict = 9;

// What was read. Fields of the record may be out of range; its scale is always 1,000,000. For ticks
// its fraction is a whole number of milliseconds.
struct DateFields {
  daterec record{1900, 0, 1, 0, 0, 0, 0, 0, 0, 0, 0, 1'000'000};
  bool has_date = false;  // else year, month and day mean nothing
  bool rounded = false;   // rounding the fraction to milliseconds lost digits
};

// Rounds microseconds to whole milliseconds, at most 999 of them for what is below a second, so
// that a time never rounds into the next one. Returns whether digits were lost.
constexpr bool round_to_milliseconds(std::int32_t& microseconds) {
  std::int32_t milliseconds = (microseconds + 500) / 1000;
  if (milliseconds == 1000) milliseconds = 999;
  const bool rounded = microseconds % 1000 != 0;
  microseconds = milliseconds * 1000;
  return rounded;
}

// The whole grammar. Returns 0, a negative code for a text that is no date or time, a positive one
// for a wrong field.
std::int32_t parse_by_grammar(const DateText& text, DateMode mode, DateGrain grain,
                              DateFields& fields);

// Reads the text of one of the six datatypes by the grammar, for what it finds: why it is no value, or
// which of its fields has no value of that type. A range of whole values is for others to check.
void explain_date(const DateText& text, DateMode mode, DateGrain grain, Finding& finding);

// The straight path of parse_shape.h, in every mode but kClock: false where the grammar has to
// look. What it reads the grammar reads the same way.
bool parse_by_shape(const DateText& text, DateGrain grain, DateFields& fields);

// The readers of the datatypes. Each returns 0 or a code from above. Of ticks, a time of day out of
// range is kDateBadYear; of microseconds each field has its own code (4 hour, 5 minute, 6 second,
// 7 fraction).

// Stores what was read even where it returns kDateBadYear for a date before 1753; after any other
// failure the value is unspecified. rounded: a fraction of a second lost digits.
std::int32_t read_datetime(const DateText& text, vdx_datetime& value, bool& rounded);

// A time of day alone, on day 0. The value is unspecified after a failure.
std::int32_t read_clock(const DateText& text, vdx_datetime& value, bool& rounded);

// The date, the time of day: stored on success alone.
std::int32_t read_datea(const DateText& text, vdx_datea& value);
std::int32_t read_timea(const DateText& text, vdx_timea& value);

// Zero after a failure.
std::int32_t read_bigdatetime(const DateText& text, vdx_bigdatetime& value);

// The time of day of such a text. Stored on success alone.
std::int32_t read_bigtime(const DateText& text, vdx_bigtime& value);

}  // namespace vdx

#endif
