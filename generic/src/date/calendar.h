// The arithmetic of dates and times. Everything is inline and usable in constant expressions.
//
//   day number     days since 1900-01-01, negative before it, in the proleptic Gregorian calendar. A
//                  day of the years 1 to 9999 is near, any other is far.
//   civil date     year, month from 0, day of the month from 1
//   tick           1/300 second. A time word holds the ticks since midnight in its low 25 bits; the
//                  upper bits are ignored.
//   bigdatetime    microseconds since the start of a year 0 that has 366 days
//   daterec        civil date and clock time as fields: a value is cracked into a record and made
//                  of one. Cracking accepts any value; making checks each field.
//
// Unless a comment says so, nothing is checked and a value in range gives one in range.
#ifndef VDX_DATE_CALENDAR_H
#define VDX_DATE_CALENDAR_H

#include <cstdint>

#include "vdxcomn/date.h"

namespace vdx {

inline constexpr std::int32_t kFirstDay = -693595;         // 0001-01-01
inline constexpr std::int32_t kFirstDatetimeDay = -53690;  // 1753-01-01
inline constexpr std::int32_t kLastDay = 2958463;          // 9999-12-31

inline constexpr std::int32_t kTicksPerSecond = 300;
inline constexpr std::int32_t kTicksPerMinute = 60 * kTicksPerSecond;
inline constexpr std::int32_t kTicksPerHour = 60 * kTicksPerMinute;
inline constexpr std::int32_t kTicksPerDay = 24 * kTicksPerHour;
inline constexpr std::int32_t kTicksMask = 0x1FFFFFF;  // the ticks in a time word

inline constexpr std::int32_t kTickScale = 300;
inline constexpr std::int32_t kMicroScale = 1'000'000;
inline constexpr std::int64_t kMicrosPerSecond = 1'000'000;
inline constexpr std::int64_t kMicrosPerMinute = 60 * kMicrosPerSecond;
inline constexpr std::int64_t kMicrosPerHour = 60 * kMicrosPerMinute;
inline constexpr std::int64_t kMicrosPerDay = 24 * kMicrosPerHour;

inline constexpr std::uint64_t kFirstBigdatetime = 366 * static_cast<std::uint64_t>(kMicrosPerDay);
inline constexpr std::uint64_t kLastBigdatetime = 315'569'519'999'999'999;

// A century is a leap year if 400 divides it, which for a multiple of 100 means if 16 does.
constexpr bool is_leap(std::int32_t year) { return (year & (year % 100 == 0 ? 15 : 3)) == 0; }

// Days of a common and of a leap year before each month; the thirteenth entry is the whole year.
inline constexpr std::int16_t kDaysBefore[2][13] = {
    {0, 31, 59, 90, 120, 151, 181, 212, 243, 273, 304, 334, 365},
    {0, 31, 60, 91, 121, 152, 182, 213, 244, 274, 305, 335, 366}};

// The same for the years 0 to 9999 in one multiplication: of the product, some of the high bits are
// zero only for multiples of 100, the low ones for those of 4 or 16; the limit lets pass what is a
// multiple of 16, or of 4 without being one of 100.
constexpr bool is_near_leap(std::int32_t year) {
  return (static_cast<std::uint32_t>(year) * 1073750999U & 3221352463U) <= 126976;
}
static_assert([] {
  for (std::int32_t year = 0; year <= 9999; ++year)
    if (is_near_leap(year) != is_leap(year)) return false;
  return true;
}());

// The days before a month of a common or a leap year, and its own, in one load.
struct MonthSpan {
  std::uint16_t before;
  std::uint16_t days;
};
inline constexpr struct MonthSpans {
  MonthSpan of[2][16] = {};
  constexpr MonthSpans() {
    for (std::size_t leap = 0; leap < 2; ++leap)
      for (std::size_t month = 0; month < 12; ++month) {
        const std::int32_t before = kDaysBefore[leap][month];
        of[leap][month] = {static_cast<std::uint16_t>(before),
                           static_cast<std::uint16_t>(kDaysBefore[leap][month + 1] - before)};
      }
  }
} kMonthSpans;

// month: 0 to 11
constexpr std::int32_t days_in_month(std::int32_t year, std::int32_t month) {
  const auto& before = kDaysBefore[is_leap(year)];
  return before[month + 1] - before[month];
}

// Days from 0001-01-01 to January 1 of a year, 1 or later.
constexpr std::int32_t days_before_year(std::int32_t year) {
  const auto n = static_cast<std::uint32_t>(year - 1);
  const std::uint32_t centuries = n / 100;
  return static_cast<std::int32_t>(n * 1461 / 4 - centuries + centuries / 4);
}

// The day number of a date that exists, of the years 1 to 9999; month from 0.
constexpr std::int32_t day_number(std::int32_t year, std::int32_t month, std::int32_t day) {
  return days_before_year(year) + kDaysBefore[is_leap(year)][month] + day - 1 + kFirstDay;
}

struct Civil {
  std::int32_t year;
  std::int32_t month;  // from 0
  std::int32_t day;
  std::int32_t day_of_year;
};

// The date of a far day. After year 9999 the calendar goes on; before year 1 each year has 365
// days. The month and the day of the month are always in range.
[[gnu::cold, gnu::noinline]] constexpr Civil far_civil(std::int32_t day) {
  const std::int64_t a = std::int64_t{day} - kFirstDay;
  const auto start = [](std::int64_t n) {
    return 365 * n + (n < 0 ? 0 : n / 4 - n / 100 + n / 400);
  };
  std::int64_t n = a < 0 ? (a - 364) / 365 : a * 400 / 146097 + 1;
  while (a < start(n)) --n;
  const auto year = static_cast<std::int32_t>(n + 1);
  const auto rest = static_cast<std::int32_t>(a - start(n));
  const auto& before = kDaysBefore[is_leap(year)];
  // is_leap() holds before year 1 too, where start() counts no leap days: December then ends early.
  std::int32_t month = 11;
  while (rest < before[month]) --month;
  return {year, month, rest - before[month] + 1, rest + 1};
}

constexpr bool is_far(std::int32_t day) {
  return static_cast<std::uint32_t>(day) - static_cast<std::uint32_t>(kFirstDay) >
         static_cast<std::uint32_t>(kLastDay - kFirstDay);
}

// A near day by Neri and Schneider's Euclidean affine functions. Years start in March, so the leap
// day is the last one; every division is by a constant, and there is no branch.
struct MarchDate {
  std::uint32_t century;
  std::uint32_t year_of_century;
  std::uint32_t day_of_year;    // from 0
  std::uint32_t month_and_day;  // the month, 3 March to 14 February, times 65536, and 2141 a day
};

constexpr MarchDate march_date(std::int32_t day) {
  const auto since = static_cast<std::uint32_t>(day - kFirstDay + 306);  // from 0000-03-01
  const std::uint32_t n1 = 4 * since + 3;
  const std::uint32_t n2 = n1 % 146097 | 3;
  const std::uint64_t p2 = std::uint64_t{2939745} * n2;
  const std::uint32_t day_of_year = static_cast<std::uint32_t>(p2) / 2939745 / 4;
  return {n1 / 146097, static_cast<std::uint32_t>(p2 >> 32), day_of_year,
          2141 * day_of_year + 197913};
}

constexpr Civil near_civil(std::int32_t day) {
  const MarchDate date = march_date(day);
  // All ones for January and February, which belong to the next year.
  const std::uint32_t next_year = 0U - static_cast<std::uint32_t>(date.day_of_year >= 306);
  const std::uint32_t year = 100 * date.century + date.year_of_century - next_year;
  const std::uint32_t leap =
      (date.year_of_century != 0 ? date.year_of_century : date.century) % 4 == 0;
  const std::uint32_t month = (date.month_and_day >> 16) - 1 - (next_year & 12);
  const std::uint32_t day_of_year = date.day_of_year + 60 + leap - (next_year & (365 + leap));
  return {static_cast<std::int32_t>(year), static_cast<std::int32_t>(month),
          static_cast<std::int32_t>((date.month_and_day & 0xFFFF) / 2141 + 1),
          static_cast<std::int32_t>(day_of_year)};
}

// The months before a near day, from an arbitrary one on.
constexpr std::int32_t near_months(std::int32_t day) {
  const MarchDate date = march_date(day);
  return static_cast<std::int32_t>(12 * (100 * date.century + date.year_of_century) +
                                   (date.month_and_day >> 16));
}

constexpr Civil civil_of_day(std::int32_t day) {
  if (is_far(day)) [[unlikely]]
    return far_civil(day);
  return near_civil(day);
}

// 0 Sunday to 6 Saturday, for any day number.
constexpr std::int32_t weekday_of_day(std::int32_t day) {
  const std::uint32_t since =
      static_cast<std::uint32_t>(day) - static_cast<std::uint32_t>(kFirstDay) + 1;
  if (day >= kFirstDay) [[likely]]
    return static_cast<std::int32_t>(since % 7);
  const std::int32_t rest = static_cast<std::int32_t>((std::int64_t{day} - kFirstDay + 1) % 7);
  return rest < 0 ? rest + 7 : rest;
}

struct IsoWeek {
  std::int32_t year;
  std::int32_t week;     // 1 to 53
  std::int32_t weekday;  // 1 Monday to 7 Sunday
};

// A week belongs to the year of its Thursday. CivilOf may be near_civil for a near day: 0001-01-01
// is a Monday and 9999-12-31 a Friday, so that its Thursday is near, too.
template <Civil (*CivilOf)(std::int32_t) = civil_of_day>
constexpr IsoWeek iso_week_of_day(std::int32_t day) {
  const std::int32_t weekday = weekday_of_day(day);
  const std::int32_t iso_weekday = weekday == 0 ? 7 : weekday;
  const auto thursday = static_cast<std::int32_t>(static_cast<std::uint32_t>(day) + 4U -
                                                  static_cast<std::uint32_t>(iso_weekday));
  const Civil civil = CivilOf(thursday);
  return {civil.year, (civil.day_of_year - 1) / 7 + 1, iso_weekday};
}

constexpr void store_day(const Civil& civil, std::int32_t weekday, daterec& record) {
  record.year = civil.year;
  record.month = civil.month;
  record.day = civil.day;
  record.day_of_year = civil.day_of_year;
  record.weekday = weekday;
}

// Not inlined, so that the path of near days saves no registers for it.
[[gnu::cold, gnu::noinline]] constexpr void crack_far_day(std::int32_t day, daterec& record) {
  store_day(far_civil(day), weekday_of_day(day), record);
}

// Fills year to weekday.
constexpr void crack_day(std::int32_t day, daterec& record) {
  if (is_far(day)) [[unlikely]]
    return crack_far_day(day, record);
  store_day(near_civil(day),
            static_cast<std::int32_t>(static_cast<std::uint32_t>(day - kFirstDay + 1) % 7), record);
}

// Fills hour to second.
constexpr void crack_seconds(std::uint32_t seconds, daterec& record) {
  const std::uint32_t minutes = seconds / 60;
  record.hour = static_cast<std::int32_t>(minutes / 60);
  record.minute = static_cast<std::int32_t>(minutes % 60);
  record.second = static_cast<std::int32_t>(seconds % 60);
}

// Fills hour to millisecond from a time word.
constexpr void crack_ticks(std::int32_t time, daterec& record) {
  const std::uint32_t ticks = static_cast<std::uint32_t>(time) & kTicksMask;
  crack_seconds(ticks / kTicksPerSecond, record);
  record.millisecond = static_cast<std::int32_t>(ticks % kTicksPerSecond * 10 / 3);
}

// The day number of a bigdatetime.
constexpr std::int32_t day_of_big(std::uint64_t value) {
  return static_cast<std::int32_t>(static_cast<std::int64_t>(value - kFirstBigdatetime) /
                                   kMicrosPerDay) +
         kFirstDay;
}

// The time of day of a bigdatetime, or of a bigtime.
constexpr std::int64_t micros_of_big(std::uint64_t value) {
  return static_cast<std::int64_t>(value % static_cast<std::uint64_t>(kMicrosPerDay));
}

// Fills hour to millisecond, fraction and scale.
constexpr void crack_micros(std::uint64_t value, daterec& record) {
  const auto micros = static_cast<std::uint64_t>(micros_of_big(value));
  const auto seconds = static_cast<std::uint32_t>(micros / 1'000'000);
  crack_seconds(seconds, record);
  record.millisecond = 0;
  record.fraction = static_cast<std::int32_t>(micros - std::uint64_t{seconds} * 1'000'000);
  record.scale = kMicroScale;
}

constexpr void crack_datetime(const vdx_datetime& value, daterec& record) {
  crack_day(value.day, record);
  crack_ticks(value.time, record);
  record.fraction = 0;
  record.scale = kTickScale;
}

constexpr void crack_bigdatetime(std::uint64_t value, daterec& record) {
  crack_day(day_of_big(value), record);
  crack_micros(value, record);
}

// Days from 0001-01-01 to the date of a record. Returns 0, or the first faulty field: 1 year, 2
// month, 3 day. Then days holds those of the years and months before it, 0 for a faulty year.
constexpr std::int32_t make_days(const daterec& record, std::int32_t& days) {
  days = 0;
  if (static_cast<std::uint32_t>(record.year) - 1 > 9998) [[unlikely]]
    return 1;
  days = days_before_year(record.year);
  if (static_cast<std::uint32_t>(record.month) > 11) [[unlikely]]
    return 2;
  const MonthSpan span = kMonthSpans.of[is_near_leap(record.year)][record.month];
  const std::int32_t sum = days + span.before;
  const auto from_first = static_cast<std::uint32_t>(record.day) - 1;
  if (from_first >= span.days) [[unlikely]] {
    days = sum;
    return 3;
  }
  days = sum + static_cast<std::int32_t>(from_first);
  return 0;
}

// The day number of a record, with the codes of make_days. After a failure it is that function's
// days, as com_datemake promises.
constexpr std::int32_t make_day(const daterec& record, std::int32_t& day) {
  std::int32_t days = 0;
  const std::int32_t code = make_days(record, days);
  day = code == 0 ? days + kFirstDay : days;
  return code;
}

// Milliseconds to the nearest tick, halves away from zero.
constexpr std::int64_t ticks_of_milliseconds(std::int64_t milliseconds) {
  return (3 * milliseconds + (milliseconds < 0 ? -5 : 5)) / 10;
}

// The time word of a record. Returns 0, or the first faulty field: 4 hour, 5 minute, 6 second, 7
// millisecond. A faulty hour leaves the word as it was, another faulty field the ticks of the
// fields before it. Negative fields count as negative amounts; sums that pass 32 bits wrap.
constexpr std::int32_t make_ticks(const daterec& record, std::int32_t& time) {
  if (record.hour > 23) [[unlikely]]
    return 4;
  const auto amount = [](std::int32_t field, std::int32_t unit) {
    return static_cast<std::uint32_t>(field) * static_cast<std::uint32_t>(unit);
  };
  std::uint32_t ticks = amount(record.hour, kTicksPerHour);
  std::int32_t code = 0;
  const std::int32_t millisecond =
      record.scale == kMicroScale ? record.fraction / 1000 : record.millisecond;
  if (record.minute > 59) [[unlikely]] {
    code = 5;
  } else {
    ticks += amount(record.minute, kTicksPerMinute);
    if (record.second > 59) [[unlikely]] {
      code = 6;
    } else {
      ticks += amount(record.second, kTicksPerSecond);
      if (millisecond > 999) [[unlikely]]
        code = 7;
      else if (millisecond == 999) [[unlikely]]  // the last millisecond stays inside its second
        ticks += 299;
      else if (millisecond >= 0) [[likely]]
        ticks += static_cast<std::uint32_t>(3 * millisecond + 5) / 10;
      else
        ticks += static_cast<std::uint32_t>(ticks_of_milliseconds(millisecond));
    }
  }
  time = static_cast<std::int32_t>(ticks);
  return code;
}

// The microseconds since midnight of a record, with the codes of make_ticks (7: fraction). 0 after
// a failure.
constexpr std::int32_t make_micros(const daterec& record, std::uint64_t& value) {
  value = 0;
  if (record.hour > 23) [[unlikely]]
    return 4;
  if (record.minute > 59) [[unlikely]]
    return 5;
  if (record.second > 59) [[unlikely]]
    return 6;
  const std::int64_t micros = record.scale == kMicroScale ? std::int64_t{record.fraction}
                                                          : std::int64_t{record.millisecond} * 1000;
  if (micros > 999'999) [[unlikely]]
    return 7;
  value =
      static_cast<std::uint64_t>(record.hour * kMicrosPerHour + record.minute * kMicrosPerMinute +
                                 record.second * kMicrosPerSecond + micros);
  return 0;
}

// Midnight of the date of a record, with the codes of make_days. 0 after a failure.
constexpr std::int32_t make_bigdate(const daterec& record, std::uint64_t& value) {
  std::int32_t days = 0;
  const std::int32_t code = make_days(record, days);
  value = code == 0 ? static_cast<std::uint64_t>(days * kMicrosPerDay) + kFirstBigdatetime : 0;
  return code;
}

// Date and time of a record, with the codes of both. After a failure 0, or midnight of the date
// where only the time is faulty.
constexpr std::int32_t make_bigdatetime(const daterec& record, std::uint64_t& value) {
  std::int32_t code = make_bigdate(record, value);
  std::uint64_t time = 0;
  if (code == 0) code = make_micros(record, time);
  value += time;
  return code;
}

// Date and time of a record, with the codes of both. After a failure midnight of 1900-01-01, or of
// the date where only the time is faulty.
constexpr std::int32_t make_datetime(const daterec& record, vdx_datetime& value) {
  std::int32_t days = 0;
  std::int32_t time = 0;
  std::int32_t code = make_days(record, days);
  if (code != 0) [[unlikely]] {
    value = {0, 0};
    return code;
  }
  code = make_ticks(record, time);
  if (code != 0) [[unlikely]]
    time = 0;
  value = {days + kFirstDay, time};
  return code;
}

constexpr bool datetime_in_range(const vdx_datetime& value) {
  return value.day >= kFirstDatetimeDay;
}
constexpr bool datea_in_range(std::int64_t day) { return day >= kFirstDay && day <= kLastDay; }
constexpr bool timea_in_range(std::int32_t ticks) {
  return static_cast<std::uint32_t>(ticks) < static_cast<std::uint32_t>(kTicksPerDay);
}
constexpr bool bigdatetime_in_range(std::uint64_t value) {
  return value - kFirstBigdatetime <= kLastBigdatetime - kFirstBigdatetime;
}
constexpr bool bigtime_in_range(std::uint64_t value) {
  return value < static_cast<std::uint64_t>(kMicrosPerDay);
}

// Between ticks and microseconds of a day, to the nearest; never across midnight.
constexpr std::int64_t micros_of_ticks(std::int32_t ticks) {
  return (std::int64_t{ticks} * 10000 + 1) / 3;
}
constexpr std::int32_t ticks_of_micros(std::int64_t micros) {
  const std::int64_t ticks = (micros * 3 + 5000) / 10000;
  return ticks < kTicksPerDay ? static_cast<std::int32_t>(ticks) : kTicksPerDay - 1;
}

constexpr vdx_datetime datetime_of_date4(const vdx_date4& value) {
  return {value.day, value.minute * kTicksPerMinute};
}

// To the nearest minute, 30 seconds up, perhaps past midnight. Returns false, with nothing stored,
// for what a date4 cannot hold.
constexpr bool date4_of_datetime(const vdx_datetime& value, vdx_date4& result) {
  const std::int32_t ticks = value.time & kTicksMask;
  std::int32_t minute = (ticks + kTicksPerMinute / 2) / kTicksPerMinute;
  std::int64_t day = value.day;
  if (day < 0) return false;
  if (minute >= 1440) {
    minute -= 1440;
    ++day;
  }
  if (day > 65535) return false;
  result = {static_cast<std::uint16_t>(day), static_cast<std::uint16_t>(minute)};
  return true;
}

}  // namespace vdx

#endif
