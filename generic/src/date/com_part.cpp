// Parts of dates and their names, addition and differences.
//
// A part is a VDX_PART_ code. Parts fall into three groups: of months (year, quarter, month, ISO
// year), of days (day, day of year and the weekday and week codes) and of time (hour and below).
#include "vdxcomn/datepart.h"

#include <charconv>
#include <cstring>
#include <type_traits>

#include "date/calendar.h"
#include "date/grain.h"
#include "frame/check.h"
#include "intl/locale.h"

namespace vdx {
namespace {

// What is below a second, in truncated milliseconds and in microseconds.
template <typename Grain>
constexpr std::int32_t millisecond(std::uint32_t rest) {
  return static_cast<std::int32_t>(std::is_same_v<Grain, Ticks> ? rest * 10 / 3 : rest / 1000);
}
template <typename Grain>
constexpr std::int32_t microsecond(std::uint32_t rest) {
  return std::is_same_v<Grain, Ticks> ? 0 : static_cast<std::int32_t>(rest);
}

std::int32_t week_of_day(std::int32_t day, std::int32_t day_of_year) {
  const std::int32_t first_weekday = (weekday_of_day(day) + 371 - (day_of_year - 1)) % 7;
  return (day_of_year + first_weekday + 6) / 7;
}

// What takes a CivilOf is compiled twice: with near_civil for near days, and with civil_of_day for
// all. Kept apart so that the common path has no callee-saved spills.
using CivilOf = Civil (*)(std::int32_t);

template <typename Grain, CivilOf Split>
std::int32_t part_with(std::uint32_t part, std::int32_t day, typename Grain::Count time,
                       std::int32_t first_day) {
  const Seconds seconds = seconds_of<Grain>(time);
  const auto second_of_day = static_cast<std::int32_t>(seconds.whole);
  switch (part) {
    case VDX_PART_YEAR:
      return Split(day).year;
    case VDX_PART_QUARTER:
      return Split(day).month / 3 + 1;
    case VDX_PART_MONTH:
      return Split(day).month + 1;
    case VDX_PART_WEEKDAY: {
      const std::int64_t number = weekday_of_day(day) + 1 - std::int64_t{first_day};
      return static_cast<std::int32_t>(number < 1 ? number + 7 : number);
    }
    case VDX_PART_DAY:
      return Split(day).day;
    case VDX_PART_DAY_OF_YEAR:
      return Split(day).day_of_year;
    case VDX_PART_HOUR:
      return second_of_day / 3600;
    case VDX_PART_MINUTE:
      return second_of_day / 60 % 60;
    case VDX_PART_SECOND:
      return second_of_day % 60;
    case VDX_PART_MILLISECOND:
      return millisecond<Grain>(seconds.rest);
    case VDX_PART_WEEK:
      return week_of_day(day, Split(day).day_of_year);
    case VDX_PART_ISO_YEAR:
      return iso_week_of_day<Split>(day).year;
    case VDX_PART_ISO_WEEK:
      return iso_week_of_day<Split>(day).week;
    case VDX_PART_ISO_WEEKDAY:
      return iso_week_of_day<Split>(day).weekday;
    default:
      return microsecond<Grain>(seconds.rest);
  }
}

template <typename Grain>
[[gnu::cold, gnu::noinline]] std::int32_t far_part(std::uint32_t part, std::int32_t day,
                                                   typename Grain::Count time,
                                                   std::int32_t first_day) {
  return part_with<Grain, civil_of_day>(part, day, time, first_day);
}

// part: 0 to VDX_PART_MICROSECOND
template <typename Grain>
std::int32_t part_of(std::uint32_t part, const typename Grain::Value& value,
                     std::int32_t first_day) {
  const std::int32_t day = Grain::day(value);
  const typename Grain::Count time = Grain::time(value);
  if (is_far(day)) [[unlikely]]
    return far_part<Grain>(part, day, time, first_day);
  return part_with<Grain, near_civil>(part, day, time, first_day);
}

template <typename Grain>
std::int32_t name_of(const vdx_context* context, std::uint32_t part,
                     const typename Grain::Value& value, char* buffer, std::int32_t buffer_length,
                     std::int32_t* length) {
  char digits[12];
  const char* text = digits;
  std::size_t count = 0;
  if (part == VDX_PART_MONTH || part == VDX_PART_WEEKDAY) {
    const vdx_locale& locale = locale_of(context);
    const std::int32_t day = Grain::day(value);
    text = part == VDX_PART_MONTH ? locale.months.table()[civil_of_day(day).month]
                                  : locale.weekdays.table()[weekday_of_day(day)];
    count = std::strlen(text);
  } else {
    const std::int32_t number = part_of<Grain>(part, value, 7);
    count = static_cast<std::size_t>(std::to_chars(digits, digits + sizeof digits, number).ptr -
                                     digits);
  }
  *length = static_cast<std::int32_t>(count);
  if (buffer_length < *length) return 1;
  std::memcpy(buffer, text, count);
  return 0;
}

constexpr bool fits(std::int64_t value) { return value == static_cast<std::int32_t>(value); }

// Moves a day by years, quarters or months. False where a sum passes 32 bits, with the day
// unchanged, and where the year leaves 1 to 9999, with the day 0 that a failed make leaves.
bool shift_months(std::uint32_t part, std::int32_t amount, std::int32_t& day) {
  Civil civil = civil_of_day(day);
  std::int64_t year = civil.year;
  if (part == VDX_PART_YEAR || part == VDX_PART_ISO_YEAR) {
    year += amount;
    if (!fits(year)) return false;
  } else {
    const std::int64_t months = std::int64_t{amount} * (part == VDX_PART_QUARTER ? 3 : 1);
    const std::int64_t sum = months + civil.month;
    if (!fits(months) || !fits(sum)) return false;
    civil.month = static_cast<std::int32_t>(sum) % 12;
    year += static_cast<std::int32_t>(sum) / 12;
    if (civil.month < 0) {
      civil.month += 12;
      --year;
    }
  }
  civil.year = static_cast<std::int32_t>(year);
  if (civil.year < 1 || civil.year > 9999) {
    day = 0;
    return false;
  }
  const std::int32_t last = days_in_month(civil.year, civil.month);
  day = day_number(civil.year, civil.month, civil.day < last ? civil.day : last);
  return true;
}

constexpr bool is_month_part(std::uint32_t part) {
  return part <= VDX_PART_MONTH || part == VDX_PART_ISO_YEAR;
}

// Days in a unit of a part of days, 0 for other parts.
constexpr std::int32_t days_of_part(std::uint32_t part) {
  switch (part) {
    case VDX_PART_WEEKDAY:
    case VDX_PART_DAY:
    case VDX_PART_DAY_OF_YEAR:
    case VDX_PART_ISO_WEEKDAY:
      return 1;
    case VDX_PART_WEEK:
    case VDX_PART_ISO_WEEK:
      return 7;
    default:
      return 0;
  }
}

// Splits an amount, PerDay of which are a day, into days and ticks. Both have the amount's sign.
template <std::int32_t PerDay>
std::int64_t split(std::int32_t amount, std::int64_t& days) {
  days = amount / PerDay;
  if constexpr (PerDay == 86'400'000)
    return ticks_of_milliseconds(amount % PerDay);
  else
    return std::int64_t{amount % PerDay} * (kTicksPerDay / PerDay);
}

// part: 0 to VDX_PART_MILLISECOND and the parts of weeks
std::int32_t add(std::uint32_t part, std::int32_t amount, vdx_datetime& value) {
  if (is_month_part(part)) return shift_months(part, amount, value.day) ? 0 : 1;
  std::int64_t days = std::int64_t{amount} * days_of_part(part);
  std::int64_t time = value.time & kTicksMask;
  const bool is_time = days_of_part(part) == 0;
  if (is_time) {
    if (time >= kTicksPerDay) return 1;
    switch (part) {
      case VDX_PART_HOUR:
        time += split<24>(amount, days);
        break;
      case VDX_PART_MINUTE:
        time += split<1440>(amount, days);
        break;
      case VDX_PART_SECOND:
        time += split<86'400>(amount, days);
        break;
      default:
        time += split<86'400'000>(amount, days);
        break;
    }
    // The ticks added are at most a day, so one step is enough.
    if (time < 0) {
      time += kTicksPerDay;
      --days;
    } else if (time >= kTicksPerDay) {
      time -= kTicksPerDay;
      ++days;
    }
  }
  days += value.day;
  if (!datea_in_range(days)) return 1;
  value.day = static_cast<std::int32_t>(days);
  if (is_time) value.time = static_cast<std::int32_t>(time);
  return 0;
}

// part: 0 to VDX_PART_MICROSECOND
std::int32_t add(std::uint32_t part, std::int32_t amount, vdx_bigdatetime& value) {
  if (!bigdatetime_in_range(value)) return 1;
  std::int64_t delta = amount;  // microseconds
  if (is_month_part(part) || days_of_part(part) != 0) {
    const std::int32_t from = day_of_big(value);
    std::int64_t to = from + std::int64_t{amount} * days_of_part(part);
    if (is_month_part(part)) {
      std::int32_t day = from;
      if (!shift_months(part, amount, day)) return 1;
      to = day;
    }
    if (!datea_in_range(to)) return 1;
    delta = (to - from) * kMicrosPerDay;
  } else if (part == VDX_PART_HOUR) {
    delta *= kMicrosPerHour;
  } else if (part == VDX_PART_MINUTE) {
    delta *= kMicrosPerMinute;
  } else if (part == VDX_PART_SECOND) {
    delta *= kMicrosPerSecond;
  } else if (part == VDX_PART_MILLISECOND) {
    delta *= 1000;
  }
  // 2^31 hours are below 7.8e18 microseconds and a value is below 3.2e17, so the sum fits 63 bits
  // and a sign. A negative one wraps to a number far above the range.
  const std::uint64_t sum = value + static_cast<std::uint64_t>(delta);
  if (!bigdatetime_in_range(sum)) return 1;
  value = sum;
  return 0;
}

std::int32_t store_difference(std::int64_t difference, std::int32_t* result) {
  if (!fits(difference)) return 1;
  *result = static_cast<std::int32_t>(difference);
  return 0;
}

template <CivilOf Split>
std::int64_t months_since_0(std::int32_t day) {
  const Civil civil = Split(day);
  return std::int64_t{civil.year} * 12 + civil.month;
}

template <CivilOf Split>
std::int64_t day_difference_with(std::uint32_t part, std::int32_t first, std::int32_t second) {
  const std::int64_t days = std::int64_t{second} - first;
  switch (part) {
    case VDX_PART_WEEKDAY:
    case VDX_PART_ISO_WEEKDAY:
      return days / 7;
    case VDX_PART_DAY:
    case VDX_PART_DAY_OF_YEAR:
      return days;
    case VDX_PART_WEEK:
    case VDX_PART_ISO_WEEK:
      return days >= 0 ? (days + weekday_of_day(first)) / 7 : (days - weekday_of_day(second)) / 7;
    case VDX_PART_ISO_YEAR:
      return iso_week_of_day<Split>(second).year - iso_week_of_day<Split>(first).year;
    case VDX_PART_YEAR:
      return Split(second).year - Split(first).year;
    case VDX_PART_MONTH:
      return months_since_0<Split>(second) - months_since_0<Split>(first);
    default:
      break;
  }
  const Civil from = Split(first);
  const Civil to = Split(second);
  return to.month / 3 - from.month / 3 + 4 * (std::int64_t{to.year} - from.year);
}

[[gnu::cold, gnu::noinline]] std::int64_t far_day_difference(std::uint32_t part, std::int32_t first,
                                                             std::int32_t second) {
  return day_difference_with<civil_of_day>(part, first, second);
}

// part: one of months or of days
std::int64_t day_difference(std::uint32_t part, std::int32_t first, std::int32_t second) {
  if (is_far(first) || is_far(second)) [[unlikely]]
    return far_day_difference(part, first, second);
  if (part == VDX_PART_MONTH) return near_months(second) - near_months(first);
  return day_difference_with<near_civil>(part, first, second);
}

constexpr bool is_time_part(std::uint32_t part) {
  return part >= VDX_PART_HOUR && part <= VDX_PART_MILLISECOND;
}

std::int32_t difference_of(std::uint32_t part, const vdx_datetime& first,
                           const vdx_datetime& second, std::int32_t* result) {
  if (!is_time_part(part))
    return store_difference(day_difference(part, first.day, second.day), result);
  const std::int64_t days = std::int64_t{second.day} - first.day;
  const std::int64_t times = std::int64_t{Ticks::time(second)} - Ticks::time(first);
  const std::int64_t ticks = days * kTicksPerDay + times;
  const auto more_than = [days](std::int64_t limit) { return days > limit || days < -limit; };
  switch (part) {
    case VDX_PART_HOUR:
      return store_difference(ticks / kTicksPerHour, result);
    case VDX_PART_MINUTE:
      return more_than(1'491'308) ? 1 : store_difference(ticks / kTicksPerMinute, result);
    case VDX_PART_SECOND:
      return more_than(24'855) ? 1 : store_difference(ticks / kTicksPerSecond, result);
    default:
      return more_than(24) ? 1 : store_difference(days * 86'400'000 + times * 10 / 3, result);
  }
}

std::int32_t difference_of(std::uint32_t part, vdx_bigdatetime first, vdx_bigdatetime second,
                           std::int32_t* result) {
  if (!bigdatetime_in_range(first) || !bigdatetime_in_range(second)) return 1;
  const auto micros = static_cast<std::int64_t>(second - first);
  switch (part) {
    case VDX_PART_HOUR:
      return store_difference(micros / kMicrosPerHour, result);
    case VDX_PART_MINUTE:
      return store_difference(micros / kMicrosPerMinute, result);
    case VDX_PART_SECOND:
      return store_difference(micros / kMicrosPerSecond, result);
    case VDX_PART_MILLISECOND:
      return store_difference(micros / 1000, result);
    case VDX_PART_MICROSECOND:
      return store_difference(micros, result);
    default:
      return store_difference(day_difference(part, day_of_big(first), day_of_big(second)), result);
  }
}

}  // namespace
}  // namespace vdx

extern "C" {

// One body under the names that callers know.
#define VDX_PART(name, Grain, Value)                                                  \
  std::int32_t name(std::uint32_t part, const Value* value, std::int32_t first_day) { \
    VDX_CHECK_POINTER(value, 0);                                                      \
    VDX_ASSERT(part <= VDX_PART_MICROSECOND, VDX_OVERFLOW);                           \
    return vdx::part_of<vdx::Grain>(part, *value, first_day);                         \
  }
#define VDX_PART_NAME(name, Grain, Value)                                                  \
  std::int32_t name(const vdx_context* context, std::uint32_t part, const Value* value,    \
                    char* buffer, std::int32_t buffer_length, std::int32_t* length) {      \
    VDX_CHECK_POINTER(value, 0);                                                           \
    VDX_CHECK_POINTER(buffer, 0);                                                          \
    VDX_CHECK_POINTER(length, 0);                                                          \
    VDX_ASSERT(part <= VDX_PART_MICROSECOND, VDX_OVERFLOW);                                \
    VDX_ASSERT(vdx::has_sound_locale(context), VDX_OVERFLOW);                              \
    return vdx::name_of<vdx::Grain>(context, part, *value, buffer, buffer_length, length); \
  }
VDX_PART(com__datepart, Ticks, vdx_datetime)
VDX_PART(com_datepart, Ticks, vdx_datetime)
VDX_PART(com__bigdatepart, Micros, vdx_bigdatetime)
VDX_PART_NAME(com__datename, Ticks, vdx_datetime)
VDX_PART_NAME(com_datename, Ticks, vdx_datetime)
VDX_PART_NAME(com__bigdatename, Micros, vdx_bigdatetime)
#undef VDX_PART
#undef VDX_PART_NAME

std::int32_t com__date_add(std::uint32_t part, std::int32_t amount, vdx_datetime* value) {
  VDX_CHECK_POINTER(value, 0);
  VDX_ASSERT(part <= VDX_PART_MICROSECOND, VDX_OVERFLOW);
  return part == VDX_PART_MICROSECOND ? VDX_OVERFLOW : vdx::add(part, amount, *value);
}

std::int32_t com__dateadd_both(std::uint32_t part, std::int32_t amount, vdx_datetime* value) {
  VDX_CHECK_POINTER(value, 0);
  VDX_ASSERT(part <= VDX_PART_MICROSECOND, VDX_OVERFLOW);
  return part == VDX_PART_MICROSECOND ? VDX_OVERFLOW : vdx::add(part, amount, *value);
}

std::int32_t com__bigdateadd_both(std::uint32_t part, std::int32_t amount, vdx_bigdatetime* value) {
  VDX_CHECK_POINTER(value, 0);
  VDX_ASSERT(part <= VDX_PART_MICROSECOND, VDX_OVERFLOW);
  return vdx::add(part, amount, *value);
}

std::int32_t com__datediff(std::uint32_t part, const vdx_datetime* first,
                           const vdx_datetime* second, std::int32_t* difference) {
  VDX_CHECK_POINTER(first, 0);
  VDX_CHECK_POINTER(second, 0);
  VDX_CHECK_POINTER(difference, 0);
  if (part >= VDX_PART_MICROSECOND) return 0;
  return vdx::difference_of(part, *first, *second, difference);
}

std::int32_t com__bigdatediff(std::uint32_t part, const vdx_bigdatetime* first,
                              const vdx_bigdatetime* second, std::int32_t* difference) {
  VDX_CHECK_POINTER(first, 0);
  VDX_CHECK_POINTER(second, 0);
  VDX_CHECK_POINTER(difference, 0);
  if (part > VDX_PART_MICROSECOND) return 0;
  return vdx::difference_of(part, *first, *second, difference);
}

}  // extern "C"
