// Dates and times beside their peers: the calendar, values from and to their fields, texts read and
// written, and what counts in weeks and months.
#include "vdxcomn/date.h"

#include <time.h>

#include <algorithm>
#include <charconv>
#include <chrono>
#include <cstdio>
#include <cstdlib>

#include "bench_common.h"
#include "conversion_call.h"
#include "vdxcomn/datepart.h"
#include "vdxcomn/intl.h"

#ifdef VDX_PEER_ABSLTIME
#include <absl/time/civil_time.h>
#include <absl/time/time.h>
#endif
#ifdef VDX_PEER_FMT
#include <fmt/compile.h>
#endif
#ifdef VDX_PEER_GLIB
#include <glib.h>
#endif
#ifdef VDX_PEER_PGTYPES
#include <pgtypes_timestamp.h>
#endif

static bool operator==(const vdx_datetime& a, const vdx_datetime& b) {
  return a.day == b.day && a.time == b.time;
}

namespace {

using namespace bench;

constexpr std::int32_t kUnixDay = 25567;  // 1970-01-01 as a day number
constexpr std::int64_t kDaySeconds = 86400;
constexpr std::int32_t kTicks = 300;

struct Fields {
  std::int32_t year, month, day, day_of_year, weekday, hour, minute, second, millisecond;
  bool operator==(const Fields&) const = default;
};

struct Date {
  std::int32_t year, month, day;
  bool operator==(const Date&) const = default;
};

Fields fields_of(const daterec& record) {
  return {record.year, record.month + 1, record.day,    record.day_of_year, record.weekday,
          record.hour, record.minute,    record.second, record.millisecond};
}

std::chrono::sys_days sys_days_of(std::int32_t day) {
  return std::chrono::sys_days(std::chrono::days(day - kUnixDay));
}

std::int32_t day_of(std::chrono::sys_days days) {
  return static_cast<std::int32_t>(days.time_since_epoch().count()) + kUnixDay;
}

// Days since 1970-01-01 to a date and back by Hinnant's algorithms.
Date civil_from_days(std::int32_t z) {
  z += 719468;
  const std::int32_t era = (z >= 0 ? z : z - 146096) / 146097;
  const auto doe = static_cast<std::uint32_t>(z - era * 146097);
  const std::uint32_t yoe = (doe - doe / 1460 + doe / 36524 - doe / 146096) / 365;
  const std::uint32_t doy = doe - (365 * yoe + yoe / 4 - yoe / 100);
  const std::uint32_t mp = (5 * doy + 2) / 153;
  const auto day = static_cast<std::int32_t>(doy - (153 * mp + 2) / 5 + 1);
  const auto month = static_cast<std::int32_t>(mp < 10 ? mp + 3 : mp - 9);
  return {static_cast<std::int32_t>(yoe) + era * 400 + (month <= 2 ? 1 : 0), month, day};
}

std::int32_t days_from_civil(std::int32_t year, std::int32_t month, std::int32_t day) {
  year -= month <= 2 ? 1 : 0;
  const std::int32_t era = (year >= 0 ? year : year - 399) / 400;
  const auto yoe = static_cast<std::uint32_t>(year - era * 400);
  const auto mp = static_cast<std::uint32_t>(month > 2 ? month - 3 : month + 9);
  const std::uint32_t doy = (153 * mp + 2) / 5 + static_cast<std::uint32_t>(day) - 1;
  const std::uint32_t doe = yoe * 365 + yoe / 4 - yoe / 100 + doy;
  return era * 146097 + static_cast<std::int32_t>(doe) - 719468;
}

bool is_leap(std::int32_t year) { return year % 4 == 0 && (year % 100 != 0 || year % 400 == 0); }

std::int32_t month_length(std::int32_t year, std::int32_t month) {
  static constexpr std::int8_t kLengths[] = {31, 28, 31, 30, 31, 30, 31, 31, 30, 31, 30, 31};
  return month == 2 && is_leap(year) ? 29 : kLengths[month - 1];
}

std::int32_t millisecond_of(std::int32_t ticks) { return ticks % kTicks * 10 / 3; }

void split_time(std::int32_t ticks, Fields& fields) {
  const auto count = static_cast<std::uint32_t>(ticks);
  fields.hour = static_cast<std::int32_t>(count / 1080000);
  fields.minute = static_cast<std::int32_t>(count / 18000 % 60);
  fields.second = static_cast<std::int32_t>(count / kTicks % 60);
  fields.millisecond = static_cast<std::int32_t>(count % kTicks * 10 / 3);
}

Fields split_by_chrono(const vdx_datetime& value) {
  using namespace std::chrono;
  const sys_days days = sys_days_of(value.day);
  const year_month_day date(days);
  const sys_days new_year(date.year() / January / 1);
  Fields fields{static_cast<int>(date.year()),
                static_cast<std::int32_t>(static_cast<unsigned>(date.month())),
                static_cast<std::int32_t>(static_cast<unsigned>(date.day())),
                static_cast<std::int32_t>((days - new_year).count()) + 1,
                static_cast<std::int32_t>(weekday(days).c_encoding()),
                0,
                0,
                0,
                0};
  const hh_mm_ss time(milliseconds(std::int64_t{value.time} * 10 / 3));
  fields.hour = static_cast<std::int32_t>(time.hours().count());
  fields.minute = static_cast<std::int32_t>(time.minutes().count());
  fields.second = static_cast<std::int32_t>(time.seconds().count());
  fields.millisecond = static_cast<std::int32_t>(time.subseconds().count());
  return fields;
}

Fields split_by_hinnant(const vdx_datetime& value) {
  static constexpr std::int16_t kBefore[] = {0, 31, 59, 90, 120, 151, 181, 212, 243, 273, 304, 334};
  const Date date = civil_from_days(value.day - kUnixDay);
  Fields fields{date.year, date.month, date.day, 0, 0, 0, 0, 0, 0};
  fields.day_of_year =
      kBefore[date.month - 1] + date.day + (date.month > 2 && is_leap(date.year) ? 1 : 0);
  fields.weekday = (value.day + 693596) % 7;
  split_time(value.time, fields);
  return fields;
}

std::int64_t unix_seconds(const vdx_datetime& value) {
  return std::int64_t{value.day - kUnixDay} * kDaySeconds + value.time / kTicks;
}

bool split_by_gmtime(const vdx_datetime& value, tm* broken) {
  const time_t seconds = unix_seconds(value);
  return gmtime_r(&seconds, broken) != nullptr;
}

// Random values from 1753 to 2199, which every peer accepts, on ticks.
std::vector<vdx_datetime> random_values(std::uint64_t seed) {
  bench::Random random(seed);
  std::vector<vdx_datetime> values(kItems);
  for (vdx_datetime& value : values)
    value = {static_cast<std::int32_t>(random.between(0, 109571 + 53690)) - 53690,
             static_cast<std::int32_t>(random.between(0, 25919999))};
  return values;
}

void date_row(const std::vector<vdx_datetime>& values, const std::vector<Fields>& fields) {
  const std::string row = "day_to_date";
  auto& expected = keep_all(std::vector<Date>(kItems));
  for (std::size_t i = 0; i < kItems; ++i)
    expected[i] = {fields[i].year, fields[i].month, fields[i].day};
  auto& days = keep_all(std::vector<std::int32_t>(kItems));
  for (std::size_t i = 0; i < kItems; ++i) days[i] = values[i].day;
  auto& records = keep_all(std::vector<daterec>(kItems));
  auto& dates = keep_all(std::vector<Date>(kItems));
  const std::int32_t* in = days.data();
  Date* out = dates.data();

  bench::contender(
      row, "ours",
      [in, to = records.data()](std::size_t i) {
        com__datecrack(in + i, to + i);
        return true;
      },
      [&records] { records.assign(kItems, daterec{}); },
      [&records, &expected] {
        for (std::size_t i = 0; i < kItems; ++i)
          if (Date{records[i].year, records[i].month + 1, records[i].day} != expected[i])
            return false;
        return true;
      });
  value_contender(row, "std::chrono", dates, expected, [in, out](std::size_t i) {
    const std::chrono::year_month_day date(sys_days_of(in[i]));
    out[i] = {static_cast<int>(date.year()),
              static_cast<std::int32_t>(static_cast<unsigned>(date.month())),
              static_cast<std::int32_t>(static_cast<unsigned>(date.day()))};
    return true;
  });
  value_contender(row, "Hinnant", dates, expected, [in, out](std::size_t i) {
    out[i] = civil_from_days(in[i] - kUnixDay);
    return true;
  });
}

void fields_rows(const std::vector<vdx_datetime>& values, const std::vector<Fields>& fields) {
  std::string row = "datetime_to_fields";
  auto& records = keep_all(std::vector<daterec>(kItems));
  auto& results = keep_all(std::vector<Fields>(kItems));
  const vdx_datetime* in = values.data();
  Fields* out = results.data();
  bench::contender(
      row, "ours",
      [in, to = records.data()](std::size_t i) {
        com__datecrack(&in[i].day, to + i);
        com__timecrack(in + i, to + i);
        return true;
      },
      [&records] { records.assign(kItems, daterec{}); },
      [&records, &fields] {
        for (std::size_t i = 0; i < kItems; ++i)
          if (fields_of(records[i]) != fields[i]) return false;
        return true;
      });
  value_contender(row, "std::chrono", results, fields, [in, out](std::size_t i) {
    out[i] = split_by_chrono(in[i]);
    return true;
  });
  value_contender(row, "Hinnant", results, fields, [in, out](std::size_t i) {
    out[i] = split_by_hinnant(in[i]);
    return true;
  });
  value_contender(row, "gmtime_r", results, fields, [in, out](std::size_t i) {
    tm t;
    if (!split_by_gmtime(in[i], &t)) return false;
    out[i] = {t.tm_year + 1900, t.tm_mon + 1, t.tm_mday,
              t.tm_yday + 1,    t.tm_wday,    t.tm_hour,
              t.tm_min,         t.tm_sec,     millisecond_of(in[i].time)};
    return true;
  });
#ifdef VDX_PEER_ABSLTIME
  value_contender(row, "Abseil", results, fields, [in, out](std::size_t i) {
    const absl::CivilSecond t =
        absl::ToCivilSecond(absl::FromUnixSeconds(unix_seconds(in[i])), absl::UTCTimeZone());
    const absl::CivilDay day(t);
    out[i] = {static_cast<std::int32_t>(t.year()),
              t.month(),
              t.day(),
              absl::GetYearDay(day),
              (static_cast<std::int32_t>(absl::GetWeekday(day)) + 1) % 7,
              t.hour(),
              t.minute(),
              t.second(),
              millisecond_of(in[i].time)};
    return true;
  });
#endif

  row = "fields_to_datetime";
  auto& made = keep_all(std::vector<vdx_datetime>(kItems));
  auto& whole = keep_all(std::vector<daterec>(kItems));
  for (std::size_t i = 0; i < kItems; ++i) {
    com__datecrack(&in[i].day, &whole[i]);
    com__timecrack(in + i, &whole[i]);
  }
  vdx_datetime* to = made.data();
  value_contender(row, "ours", made, values, [from = whole.data(), to](std::size_t i) {
    return com_datetimemake(to + i, from + i) == 0;
  });
  const auto ticks = [](const Fields& f, std::int32_t* time) {
    if (static_cast<std::uint32_t>(f.hour) > 23 || static_cast<std::uint32_t>(f.minute) > 59 ||
        static_cast<std::uint32_t>(f.second) > 59 ||
        static_cast<std::uint32_t>(f.millisecond) > 999)
      return false;
    *time = ((f.hour * 60 + f.minute) * 60 + f.second) * kTicks + (3 * f.millisecond + 5) / 10;
    return true;
  };
  const Fields* from = fields.data();
  value_contender(row, "Hinnant", made, values, [from, to, ticks](std::size_t i) {
    const Fields& f = from[i];
    if (f.year < 1 || f.year > 9999 || f.month < 1 || f.month > 12 || f.day < 1 ||
        f.day > month_length(f.year, f.month))
      return false;
    to[i].day = days_from_civil(f.year, f.month, f.day) + kUnixDay;
    return ticks(f, &to[i].time);
  });
  value_contender(row, "std::chrono", made, values, [from, to, ticks](std::size_t i) {
    using namespace std::chrono;
    const Fields& f = from[i];
    const year_month_day date(year(f.year), month(static_cast<unsigned>(f.month)),
                              day(static_cast<unsigned>(f.day)));
    if (!date.ok()) return false;
    to[i].day = day_of(sys_days(date));
    return ticks(f, &to[i].time);
  });
}

std::string iso_text(const Fields& f, int places) {
  char text[64];
  std::snprintf(text, sizeof text, "%04d-%02d-%02d %02d:%02d:%02d.%0*d", f.year, f.month, f.day,
                f.hour, f.minute, f.second, places,
                places == 6 ? f.millisecond * 1000 : f.millisecond);
  return text;
}

constexpr char kMonths[12][4] = {"Jan", "Feb", "Mar", "Apr", "May", "Jun",
                                 "Jul", "Aug", "Sep", "Oct", "Nov", "Dec"};

std::string named_text(const Fields& f) {
  char text[64];
  std::snprintf(text, sizeof text, "%s %2d %04d %2d:%02d%s", kMonths[f.month - 1], f.day, f.year,
                f.hour % 12 == 0 ? 12 : f.hour % 12, f.minute, f.hour < 12 ? "AM" : "PM");
  return text;
}

// Milliseconds since 1970-01-01: what the peers read a text into.
std::int64_t unix_milliseconds(const vdx_datetime& value) {
  return unix_seconds(value) * 1000 + millisecond_of(value.time);
}

// "2008-01-02 13:05:09.123" field by field.
bool parse_by_from_chars(const char* at, const char* end, std::int64_t* result) {
  static constexpr char kAfter[] = "-- ::.";
  std::int32_t f[7];
  for (std::size_t i = 0; i < 7; ++i) {
    const auto [rest, error] = std::from_chars(at, end, f[i]);
    if (error != std::errc() || f[i] < 0) return false;
    at = rest;
    if (i == 6) break;
    if (at == end || *at != kAfter[i]) return false;
    ++at;
  }
  if (at != end || f[0] < 1 || f[0] > 9999 || f[1] < 1 || f[1] > 12 || f[2] < 1 ||
      f[2] > month_length(f[0], f[1]) || f[3] > 23 || f[4] > 59 || f[5] > 59 || f[6] > 999)
    return false;
  const std::int64_t days = days_from_civil(f[0], f[1], f[2]);
  *result = (days * kDaySeconds + (f[3] * 60 + f[4]) * 60 + f[5]) * 1000 + f[6];
  return true;
}

bool parse_by_strptime(const char* text, const char* layout, bool milliseconds,
                       std::int64_t* result) {
  tm t{};
  const char* rest = strptime(text, layout, &t);
  if (rest == nullptr) return false;
  std::int32_t fraction = 0;
  if (milliseconds) {
    if (*rest++ != '.') return false;
    const char* const end = rest + std::strlen(rest);
    const auto [stop, error] = std::from_chars(rest, end, fraction);
    if (error != std::errc()) return false;
    rest = stop;
  }
  const std::int64_t days = days_from_civil(t.tm_year + 1900, t.tm_mon + 1, t.tm_mday);
  *result = (days * kDaySeconds + (t.tm_hour * 60 + t.tm_min) * 60 + t.tm_sec) * 1000 + fraction;
  return *rest == '\0';
}

// Reads texts that the peers know by a layout. iso: with milliseconds, else with a month's name.
void parse_row(const std::vector<vdx_datetime>& values, const std::vector<Fields>& fields,
               bool iso) {
  const std::string row = iso ? "parse_iso" : "parse_named";
  auto& expected = keep_all(values);
  if (!iso)
    for (vdx_datetime& value : expected) value.time -= value.time % (60 * kTicks);
  const auto& texts = keep<Texts>(bench::formatted(
      fields, [iso](const Fields& f) { return iso ? iso_text(f, 3) : named_text(f); }));
  auto& results = keep_all(std::vector<vdx_datetime>(kItems));
  bench::our_parse(row, VDX_DATETIME, texts, results, expected);

  auto& counts = keep_all(std::vector<std::int64_t>(kItems));
  auto& expected_counts = keep_all(std::vector<std::int64_t>());
  for (const vdx_datetime& value : expected) expected_counts.push_back(unix_milliseconds(value));
  const Text* in = texts.data();
  std::int64_t* out = counts.data();
  if (iso)
    value_contender(
        row, "std::from_chars by field", counts, expected_counts,
        [in, out](std::size_t i) { return parse_by_from_chars(in[i].data, in[i].end(), out + i); });
  const char* const layout = iso ? "%Y-%m-%d %H:%M:%S" : "%b %d %Y %I:%M%p";
  value_contender(row, "strptime", counts, expected_counts, [in, out, layout, iso](std::size_t i) {
    return parse_by_strptime(in[i].data, layout, iso, out + i);
  });
#ifdef VDX_PEER_ABSLTIME
  const char* const absl_layout = iso ? "%Y-%m-%d %H:%M:%E*S" : layout;
  value_contender(
      row, "absl::ParseTime", counts, expected_counts, [in, out, absl_layout](std::size_t i) {
        absl::Time time;
        const absl::string_view text(in[i].data, static_cast<std::size_t>(in[i].length));
        if (!absl::ParseTime(absl_layout, text, &time, nullptr)) return false;
        out[i] = absl::ToUnixMillis(time);
        return true;
      });
#endif
#ifdef VDX_PEER_GLIB
  if (iso)
    value_contender(row, "GLib", counts, expected_counts,
                    [in, out, zone = g_time_zone_new_utc()](std::size_t i) {
                      GDateTime* const time = g_date_time_new_from_iso8601(in[i].data, zone);
                      if (time == nullptr) return false;
                      // The fraction was a floating-point number on its way.
                      out[i] = g_date_time_to_unix(time) * 1000 +
                               (g_date_time_get_microsecond(time) + 500) / 1000;
                      g_date_time_unref(time);
                      return true;
                    });
#endif
#ifdef VDX_PEER_PGTYPES
  value_contender(row, "pgtypes", counts, expected_counts, [in, out](std::size_t i) {
    constexpr std::int64_t kFrom1970 = 946684800000;  // to 2000-01-01
    char* rest;
    const timestamp time = PGTYPEStimestamp_from_asc(const_cast<char*>(in[i].data), &rest);
    out[i] = (time - (time % 1000 + 1000) % 1000) / 1000 + kFrom1970;
    return rest == in[i].end();
  });
#endif
}

// Text of a style that is set in a locale.
void our_style(const std::string& row, std::int32_t style, const std::vector<vdx_datetime>& values,
               TextSlots& results, const std::vector<std::string>& expected) {
  vdx_locale* locale = nullptr;
  if (comn_loc_alloc(nullptr, "iso_1", &locale) != XS_SUCCEED ||
      comn_loc_set(locale, VDX_LOC_DATE_STYLE, &style, sizeof style) != XS_SUCCEED)
    std::abort();
  bench::our_format(row, VDX_DATETIME, values, results, expected, locale);
}

// Ends the text of item i.
template <class Write>
void add_writer(const std::string& row, const char* name, TextSlots& results,
                const std::vector<std::string>& expected, Write write) {
  text_contender(row, name, results, expected,
                 [write, out = results.bytes(), lengths = results.lengths()](std::size_t i) {
                   lengths[i] = static_cast<std::int32_t>(write(out + i * TextSlots::kSlot, i));
                   return lengths[i] > 0;
                 });
}

// %l is no standard field, so the compiler must not see it where it is used.
const char* named_layout() { return "%b %e %Y %l:%M%p"; }

void format_rows(const std::vector<vdx_datetime>& values, const std::vector<Fields>& fields) {
  constexpr std::size_t kSlot = TextSlots::kSlot;
  auto& results = keep<TextSlots>();
  const vdx_datetime* in = values.data();

  std::string row = "format_fraction";
  const auto& iso =
      keep_all(bench::formatted(fields, [](const Fields& f) { return iso_text(f, 6); }));
  our_style(row, 140, values, results, iso);
#ifdef VDX_PEER_FMT
  constexpr auto kLayout = FMT_COMPILE("{:04}-{:02}-{:02} {:02}:{:02}:{:02}.{:06}");
  add_writer(row, "gmtime_r and fmt", results, iso, [in, kLayout](char* at, std::size_t i) {
    tm t;
    if (!split_by_gmtime(in[i], &t)) return std::ptrdiff_t{-1};
    return fmt::format_to(at, kLayout, t.tm_year + 1900, t.tm_mon + 1, t.tm_mday, t.tm_hour,
                          t.tm_min, t.tm_sec, millisecond_of(in[i].time) * 1000) -
           at;
  });
  add_writer(row, "std::chrono and fmt", results, iso, [in, kLayout](char* at, std::size_t i) {
    const Fields f = split_by_chrono(in[i]);
    return fmt::format_to(at, kLayout, f.year, f.month, f.day, f.hour, f.minute, f.second,
                          f.millisecond * 1000) -
           at;
  });
#endif
#ifdef VDX_PEER_ABSLTIME
  add_writer(row, "absl::FormatTime", results, iso, [in](char* at, std::size_t i) {
    const std::string text = absl::FormatTime(
        "%Y-%m-%d %H:%M:%E6S", absl::FromUnixMillis(unix_milliseconds(in[i])), absl::UTCTimeZone());
    return text.copy(at, kSlot);
  });
#endif
  add_writer(row, "snprintf", results, iso, [from = fields.data()](char* at, std::size_t i) {
    const Fields& f = from[i];
    return std::snprintf(at, kSlot, "%04d-%02d-%02d %02d:%02d:%02d.%06d", f.year, f.month, f.day,
                         f.hour, f.minute, f.second, f.millisecond * 1000);
  });
#ifdef VDX_PEER_PGTYPES
  auto& timestamps = keep_all(std::vector<timestamp>());
  for (const vdx_datetime& value : values)
    timestamps.push_back((unix_milliseconds(value) - 946684800000) * 1000);
  // Without the zeros at the end, but none or two digits at least.
  const auto& short_iso = keep_all(bench::formatted(iso, [](const std::string& text) {
    const std::size_t point = text.find('.');
    const std::size_t last = text.find_last_not_of('0');
    return text.substr(0, last == point ? point : std::max(last, point + 2) + 1);
  }));
  add_writer(row, "pgtypes", results, short_iso,
             [from = timestamps.data()](char* at, std::size_t i) {
               char* const text = PGTYPEStimestamp_to_asc(from[i]);
               if (text == nullptr) return std::size_t{0};
               const std::size_t length = std::strlen(text);
               std::memcpy(at, text, length);
               std::free(text);
               return length;
             });
#endif

  row = "format_named";
  const auto& named = keep_all(bench::formatted(fields, named_text));
  our_style(row, 0, values, results, named);
  const char* const layout = named_layout();
  add_writer(row, "gmtime_r and strftime", results, named, [in, layout](char* at, std::size_t i) {
    tm t;
    return split_by_gmtime(in[i], &t) ? strftime(at, kSlot, layout, &t) : 0;
  });
#ifdef VDX_PEER_ABSLTIME
  add_writer(row, "absl::FormatTime", results, named, [in, layout](char* at, std::size_t i) {
    const std::string text =
        absl::FormatTime(layout, absl::FromUnixSeconds(unix_seconds(in[i])), absl::UTCTimeZone());
    return text.copy(at, kSlot);
  });
#endif
#ifdef VDX_PEER_PGTYPES
  // It has no twelfth hour.
  const auto& zero_hour = keep_all(bench::formatted(fields, [](const Fields& f) {
    std::string text = named_text(f);
    return f.hour % 12 == 0 ? text.replace(12, 2, " 0") : text;
  }));
  add_writer(row, "pgtypes", results, zero_hour,
             [from = timestamps.data(), layout](char* at, std::size_t i) {
               timestamp time = from[i];
               return PGTYPEStimestamp_fmt_asc(&time, at, kSlot, layout) == 0 ? std::strlen(at)
                                                                              : std::size_t{0};
             });
#endif
}

std::int32_t iso_week_by_chrono(std::int32_t day) {
  using namespace std::chrono;
  const sys_days days = sys_days_of(day);
  const sys_days thursday =
      days - std::chrono::days(weekday(days).iso_encoding()) + std::chrono::days(4);
  const sys_days new_year(year_month_day(thursday).year() / January / 1);
  return static_cast<std::int32_t>((thursday - new_year).count() / 7) + 1;
}

std::int32_t months_between_by_chrono(std::int32_t first, std::int32_t second) {
  using namespace std::chrono;
  const year_month_day a(sys_days_of(first));
  const year_month_day b(sys_days_of(second));
  return static_cast<std::int32_t>((b.year() / b.month() - a.year() / a.month()).count());
}

std::int32_t add_months_by_chrono(std::int32_t day, std::int32_t count) {
  using namespace std::chrono;
  year_month_day date = year_month_day(sys_days_of(day)) + months(count);
  if (!date.ok()) date = date.year() / date.month() / last;
  return day_of(sys_days(date));
}

// What the library says must be what std::chrono says.
void part_rows(const std::vector<vdx_datetime>& values) {
  constexpr std::uint32_t kMonth = 2;
  constexpr std::uint32_t kIsoWeek = 12;
  constexpr std::int32_t kSunday = 7;
  const vdx_datetime* in = values.data();
  const auto& others = keep_all(random_values(43));
  const vdx_datetime* other = others.data();
  bench::Random random(44);
  auto& months = keep_all(std::vector<std::int32_t>(kItems));
  for (std::int32_t& count : months)
    count = static_cast<std::int32_t>(random.between(0, 2400)) - 1200;

  auto& results = keep_all(std::vector<std::int32_t>(kItems));
  std::int32_t* out = results.data();
  auto& weeks = keep_all(std::vector<std::int32_t>(kItems));
  auto& distances = keep_all(std::vector<std::int32_t>(kItems));
  auto& moved = keep_all(values);
  for (std::size_t i = 0; i < kItems; ++i) {
    weeks[i] = iso_week_by_chrono(in[i].day);
    distances[i] = months_between_by_chrono(in[i].day, other[i].day);
    moved[i].day = add_months_by_chrono(in[i].day, months[i]);
  }

  value_contender("iso_week", "ours", results, weeks, [in, out](std::size_t i) {
    out[i] = com__datepart(kIsoWeek, in + i, kSunday);
    return true;
  });
  value_contender("iso_week", "std::chrono", results, weeks, [in, out](std::size_t i) {
    out[i] = iso_week_by_chrono(in[i].day);
    return true;
  });
  value_contender("months_between", "ours", results, distances, [in, other, out](std::size_t i) {
    return com__datediff(kMonth, in + i, other + i, out + i) == 0;
  });
  value_contender("months_between", "std::chrono", results, distances,
                  [in, other, out](std::size_t i) {
                    out[i] = months_between_by_chrono(in[i].day, other[i].day);
                    return true;
                  });
  auto& sums = keep_all(std::vector<vdx_datetime>(kItems));
  vdx_datetime* const sum = sums.data();
  const std::int32_t* const count = months.data();
  value_contender("add_months", "ours", sums, moved, [in, count, sum](std::size_t i) {
    sum[i] = in[i];
    return com__date_add(kMonth, count[i], sum + i) == 0;
  });
  value_contender("add_months", "std::chrono", sums, moved, [in, count, sum](std::size_t i) {
    sum[i] = {add_months_by_chrono(in[i].day, count[i]), in[i].time};
    return true;
  });
}

}  // namespace

int main(int argc, char** argv) {
  const auto& values = keep_all(random_values(41));
  const auto& fields = keep_all([&values] {
    std::vector<Fields> split;
    for (const vdx_datetime& value : values) split.push_back(split_by_hinnant(value));
    return split;
  }());
  date_row(values, fields);
  fields_rows(values, fields);
  parse_row(values, fields, true);
  parse_row(values, fields, false);
  format_rows(values, fields);
  part_rows(values);
  return bench::run(argc, argv);
}
