// Dates and times from text: one grammar for all six datatypes, and a straight path for the
// layouts that rows of real data have.
#ifndef VDX_DATE_PARSE_H
#define VDX_DATE_PARSE_H

#include <cstdint>

#include "vdxcomn/date.h"
#include "vdxcomn/types.h"

namespace vdx {

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
  kDate,   // the date; what stands beside it is not looked at
  kTime,   // the time of day, perhaps beside a date, likewise
  kClock,  // a time of day alone
};

// How finely the destination counts: a fraction of a second is rounded to milliseconds where ticks
// will be made of it.
enum class DateGrain : std::int32_t { kTicks, kMicroseconds };

// Results. A field that is wrong has the positive code of Make (1 year, 2 month, 3 day).
inline constexpr std::int32_t kDateBad = -1;
inline constexpr std::int32_t kDateLeftOver = -2;
inline constexpr std::int32_t kDateBadYear = 1;
inline constexpr std::int32_t kDateHalfDayConflict = 9;

// What was read. The record's fields are as the text wrote them, nothing is known of their ranges;
// its scale is always 1,000,000. For ticks its fraction is a whole number of milliseconds.
struct DateFields {
  daterec record{1900, 0, 1, 0, 0, 0, 0, 0, 0, 0, 0, 1'000'000};
  bool has_date = false;  // else year, month and day say nothing
  bool rounded = false;   // a fraction was no whole number of milliseconds
};

// Rounds microseconds to whole milliseconds, at most 999 of them for what is below a second, so that
// a time never rounds into the next one. Returns whether digits were lost.
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

// The same for `2008-01-02`, `2008-01-02 13:05:09.123`, `Jan  2 2008`, `Jan  2 2008  1:05PM` and
// their like in every mode but kClock. Returns false where the grammar has to look.
bool parse_by_shape(const DateText& text, DateGrain grain, DateFields& fields);

// A bigdatetime: results as above, but each field out of range has its own code (4 hour, 5 minute,
// 6 second, 7 fraction). Zero is stored where the reading failed.
std::int32_t bigdatetime_from_text(vdx_bigdatetime* destination, const DateText& text);

// A bigtime: the time of day of the bigdatetime that the text gives. Stored on success alone.
std::int32_t bigtime_from_text(vdx_bigtime* destination, const DateText& text);

}  // namespace vdx

#endif
