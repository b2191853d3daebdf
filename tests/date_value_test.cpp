// Date and time values: the calendar day by day, the clock tick by tick, and what failures leave.
#include <signal.h>

#include <chrono>
#include <cstdlib>
#include <ctime>
#include <limits>
#include <memory>
#include <string>
#include <tuple>
#include <type_traits>

#include "date/calendar.h"
#include "date/local_time.h"
#include "support.h"
#include "vdxcomn.h"

namespace {

using vdx_test::Random;

constexpr std::int32_t kMark = -77;  // a field that nobody wrote
constexpr daterec kMarked = {kMark, kMark, kMark, kMark, kMark, kMark, kMark, kMark, kMark, kMark, kMark, kMark};
constexpr std::int32_t kMin = std::numeric_limits<std::int32_t>::min();
constexpr std::int32_t kMax = std::numeric_limits<std::int32_t>::max();

auto fields(const daterec& r) {
  return std::tuple(r.year, r.month, r.day, r.day_of_year, r.weekday, r.hour, r.minute, r.second, r.millisecond,
                    r.reserved, r.fraction, r.scale);
}

TEST(DateValue, EveryDayCracksAndMakesBack) {
  using namespace std::chrono;
  const sys_days zero = 1900y / 1 / 1;
  const sys_days last = 9999y / 12 / 31;
  std::int32_t wrong = 0;
  for (sys_days date = 1y / 1 / 1; date <= last && wrong < 5; date += days{1}) {
    const auto day = static_cast<std::int32_t>((date - zero).count());
    const year_month_day ymd{date};
    const sys_days new_year = ymd.year() / 1 / 1;
    daterec expected = kMarked;
    expected.year = static_cast<int>(ymd.year());
    expected.month = static_cast<std::int32_t>(static_cast<unsigned>(ymd.month())) - 1;
    expected.day = static_cast<std::int32_t>(static_cast<unsigned>(ymd.day()));
    expected.day_of_year = static_cast<std::int32_t>((date - new_year).count()) + 1;
    expected.weekday = static_cast<std::int32_t>(weekday{date}.c_encoding());
    const vdx_bigdatetime big = (static_cast<std::uint64_t>(day - vdx::kFirstDay) + 366) * 86'400'000'000;
    const vdx_bigdatetime late = big + 86'399'999'999;
    daterec cracked = kMarked, cracked_big = kMarked, full = kMarked;
    com__datecrack(&day, &cracked);
    com_bigdatecrack(&late, &cracked_big);
    com__bigdatecrack(&big, &full);
    vdx_datetime made{kMark, kMark};
    vdx_bigdatetime made_big = 5;
    const bool right = fields(cracked) == fields(expected) && fields(cracked_big) == fields(expected) &&
                       fields(full) == fields(expected) && com_datemake(&made, &expected) == 0 && made.day == day &&
                       made.time == kMark && com_bigdatemake(&made_big, &expected) == 0 && made_big == big;
    if (!right) {
      ++wrong;
      ADD_FAILURE() << "day " << day;
    }
  }
}

// Days that no year from 1 to 9999 holds follow the plain rule, one year after the other.
TEST(DateValue, FarDaysKeepSoundMonths) {
  const std::int64_t offsets[] = {0, 1, 30, 31, 58, 59, 60, 364, 365, 366, 730, 36524, 146096, 146097};
  std::vector<std::int64_t> days = {kMin, kMin + 1, kMax - 1, kMax};
  for (const std::int64_t offset : offsets)
    for (const std::int64_t day : {vdx::kFirstDay - 1 - offset, vdx::kLastDay + 1 + offset}) days.push_back(day);
  const auto is_leap = [](std::int64_t year) { return year % 4 == 0 && (year % 100 != 0 || year % 400 == 0); };
  for (const std::int64_t day : days) {
    const std::int64_t since = day + 693595;
    std::int64_t n = since / 365;
    const auto start = [](std::int64_t years) {
      return 365 * years + (years < 0 ? 0 : years / 4 - years / 100 + years / 400);
    };
    while (since - start(n) < 0) --n;
    std::int64_t rest = since - start(n) + 1;
    daterec expected = kMarked;
    expected.year = static_cast<std::int32_t>(n + 1);
    expected.day_of_year = static_cast<std::int32_t>(rest);
    const std::int32_t lengths[] = {31, is_leap(n + 1) ? 29 : 28, 31, 30, 31, 30, 31, 31, 30, 31, 30, 31};
    for (expected.month = 0; rest > lengths[expected.month]; ++expected.month) rest -= lengths[expected.month];
    expected.day = static_cast<std::int32_t>(rest);
    expected.weekday = static_cast<std::int32_t>(((day + 693596) % 7 + 7) % 7);
    const vdx_datetime value{static_cast<std::int32_t>(day), 0};
    daterec record = kMarked;
    com_datecrack(&value, &record);
    EXPECT_EQ(fields(record), fields(expected)) << day;
  }
}

TEST(DateValue, EveryTickCracksAndMakesBack) {
  std::int32_t wrong = 0;
  for (std::int32_t tick = 0; tick < 25'920'000 && wrong < 5; ++tick) {
    // The bits above the low 25 mean nothing.
    const vdx_datetime value{3, static_cast<std::int32_t>(static_cast<std::uint32_t>(tick) | static_cast<std::uint32_t>(tick * 37) << 25)};
    daterec record = kMarked;
    com__timecrack(&value, &record);
    daterec expected = kMarked;
    expected.hour = tick / 1'080'000;
    expected.minute = tick / 18'000 % 60;
    expected.second = tick / 300 % 60;
    expected.millisecond = tick % 300 * 10 / 3;
    expected.fraction = 0;
    expected.scale = 300;
    vdx_datetime made{4, kMark};
    const std::int64_t micros = vdx::micros_of_ticks(tick);
    const bool right = fields(record) == fields(expected) && com_timemake(&made, &record) == 0 && made.day == 4 &&
                       made.time == tick && std::abs(3 * micros - std::int64_t{tick} * 10'000) <= 1 &&
                       vdx::ticks_of_micros(micros) == tick;
    if (!right) {
      ++wrong;
      ADD_FAILURE() << "tick " << tick;
    }
  }
  EXPECT_EQ(vdx::ticks_of_micros(86'399'999'999), 25'919'999);
}

TEST(DateValue, MillisecondsBecomeTheNearestTickOfTheirSecond) {
  for (std::int32_t ms = 0; ms < 1000; ++ms) {
    std::int32_t nearest = 0;
    for (std::int32_t tick = 0; tick < 300; ++tick)
      if (std::abs(10 * tick - 3 * ms) <= std::abs(10 * nearest - 3 * ms)) nearest = tick;
    for (const std::int32_t fraction : {ms * 1000, ms * 1000 + 999}) {
      daterec record{};
      record.millisecond = fraction == ms * 1000 ? ms : 0;
      record.fraction = fraction;
      record.scale = fraction == ms * 1000 ? 300 : 1'000'000;
      vdx_datetime made{};
      EXPECT_EQ(com_timemake(&made, &record), 0);
      EXPECT_EQ(made.time, nearest) << ms;
    }
  }
}

TEST(DateValue, BigValuesCrackAndMakeBack) {
  using namespace std::chrono;
  Random random(7);
  for (std::int32_t i = 0; i < 200'000; ++i) {
    vdx_bigdatetime value = 31'622'400'000'000 + random.below(315'537'897'600'000'000);
    if (i < 4) value = i % 2 == 0 ? vdx::kFirstBigdatetime : vdx::kLastBigdatetime;
    const hh_mm_ss<microseconds> time{microseconds{static_cast<std::int64_t>(value % 86'400'000'000)}};
    daterec expected = kMarked;
    expected.hour = static_cast<std::int32_t>(time.hours().count());
    expected.minute = static_cast<std::int32_t>(time.minutes().count());
    expected.second = static_cast<std::int32_t>(time.seconds().count());
    expected.millisecond = 0;
    expected.fraction = static_cast<std::int32_t>(time.subseconds().count());
    expected.scale = 1'000'000;
    daterec record = kMarked, twin = kMarked;
    (i % 2 == 0 ? com_bigtimecrack : com__bigtimecrack)(&value, &record);
    (i % 2 == 0 ? com__bigtimecrack : com_bigtimecrack)(&value, &twin);
    vdx_bigtime made_time = 5;
    vdx_bigdatetime made = 5;
    ASSERT_EQ(fields(record), fields(expected)) << value;
    ASSERT_EQ(fields(twin), fields(expected)) << value;
    ASSERT_EQ(com_bigtimemake(&made_time, &record), 0);
    ASSERT_EQ(made_time, value % 86'400'000'000);
    com_bigdatecrack(&value, &record);
    ASSERT_EQ(com_bigdatetimemake(&made, &record), 0);
    ASSERT_EQ(made, value);
  }
}

TEST(DateValue, ShortRecordsEndWithTheTenthField) {
  // Exactly ten fields: the sanitizers see a step behind them.
  const std::unique_ptr<std::int32_t[]> ten(new std::int32_t[10]);
  std::fill_n(ten.get(), 10, kMark);
  const vdx_datetime value{39447, 14'132'737};
  const auto record = reinterpret_cast<daterec*>(ten.get());
  com_datecrack(&value, record);
  const std::int32_t date[] = {2008, 0, 2, 2, 3, kMark, kMark, kMark, kMark, kMark};
  EXPECT_TRUE(std::equal(date, date + 10, ten.get()));
  com_timecrack(&value, record);
  const std::int32_t both[] = {2008, 0, 2, 2, 3, 13, 5, 9, 123, kMark};
  EXPECT_TRUE(std::equal(both, both + 10, ten.get()));
}

TEST(DateValue, FailedMakesLeaveWhatTheySay) {
  const vdx_bigdatetime midnight = 63'366'451'200'000'000;  // 2008-01-02
  struct Row {
    daterec record;
    std::int32_t date, day;    // code of the date make and the day word left
    std::int32_t time, ticks;  // code of the time make and the time word left
    std::int32_t bigtime;
    vdx_bigtime micros;
  } const rows[] = {
      {{2008, 0, 2, 999, 99, 13, 5, 9, 123, 0, 0, 300}, 0, 39447, 0, 14'132'737, 0, 47'109'123'000},
      {{2008, 0, 2, 0, 0, 13, 5, 9, 999, 0, 123'456, 1'000'000}, 0, 39447, 0, 14'132'737, 0, 47'109'123'456},
      {{9999, 11, 31, 0, 0, 23, 59, 59, 999, 0, 0, 0}, 0, 2958463, 0, 25'919'999, 0, 86'399'999'000},
      {{1752, 11, 31, 0, 0, 12, 0, 0, 2, 0, 0, 0}, 0, -53691, 0, 12'960'001, 0, 43'200'002'000},
      {{1, 0, 1, 0, 0, 12, 0, 0, 1, 0, 0, 0}, 0, -693595, 0, 12'960'000, 0, 43'200'001'000},
      {{0, 0, 1, 0, 0, 24, 0, 0, 0, 0, 0, 0}, 1, 0, 4, kMark, 4, 0},
      {{10000, 0, 1, 0, 0, 23, 60, 0, 0, 0, 0, 0}, 1, 0, 5, 24'840'000, 5, 0},
      {{kMin, 0, 1, 0, 0, 23, 59, 60, 0, 0, 0, 0}, 1, 0, 6, 25'902'000, 6, 0},
      {{2008, 12, 1, 0, 0, 23, 59, 59, 1000, 0, 0, 0}, 2, 733041, 7, 25'919'700, 7, 0},
      {{2008, -1, 1, 0, 0, 1, 1, 1, 5, 0, 1'000'000, 1'000'000}, 2, 733041, 7, 1'098'300, 7, 0},
      {{1900, 1, 29, 0, 0, 0, 0, 0, 0, 0, kMax, 1'000'000}, 3, 693626, 7, 0, 7, 0},
      {{2000, 1, 29, 0, 0, 0, 0, 0, 0, 0, kMax, 999'999}, 0, 36583, 0, 0, 0, 0},
      {{2008, 5, 31, 0, 0, 0, 0, 0, kMax, 0, 0, 0}, 3, 733193, 7, 0, 7, 0},
      {{2008, 5, 0, 0, 0, -1, -1, -1, -5, 0, 0, 0}, 3, 733193, 0, -1'098'302, 0, static_cast<vdx_bigtime>(-3'661'005'000)},
      {{2008, 5, kMin, 0, 0, 1, 0, 0, 0, 0, -1500, 1'000'000}, 3, 733193, 0, 1'080'000, 0, 3'599'998'500},
  };
  for (const Row& row : rows) {
    const daterec& r = row.record;
    SCOPED_TRACE(testing::Message() << r.year << '-' << r.month << '-' << r.day << ' ' << r.hour << ':' << r.minute
                                    << ':' << r.second << ':' << r.millisecond << ' ' << r.fraction);
    vdx_datetime value{kMark, kMark};
    EXPECT_EQ(com_datemake(&value, &r), row.date);
    EXPECT_EQ(value.time, kMark);
    EXPECT_EQ(com_timemake(&value, &r), row.time);
    EXPECT_EQ(value.day, row.day);
    EXPECT_EQ(value.time, row.ticks);
    vdx_bigdatetime date = 5, both = 5;
    vdx_bigtime time = 5;
    EXPECT_EQ(com_bigdatemake(&date, &r), row.date);
    EXPECT_EQ(date, row.date != 0 ? 0 : (static_cast<vdx_bigdatetime>(row.day + 693'595) + 366) * 86'400'000'000);
    EXPECT_EQ(com_bigtimemake(&time, &r), row.bigtime);
    EXPECT_EQ(time, row.micros);
    EXPECT_EQ(com_bigdatetimemake(&both, &r), row.date != 0 ? row.date : row.bigtime);
    EXPECT_EQ(both, row.date != 0 ? 0 : date + time);
  }
  // Every faulty time field under a sound date leaves its midnight.
  const daterec faults[] = {{2008, 0, 2, 0, 0, 24, 0, 0, 0, 0, 0, 0},
                            {2008, 0, 2, 0, 0, 1, 60, 0, 0, 0, 0, 0},
                            {2008, 0, 2, 0, 0, 1, 1, 60, 0, 0, 0, 0},
                            {2008, 0, 2, 0, 0, 1, 1, 1, 1000, 0, 0, 0}};
  for (std::int32_t i = 0; i < 4; ++i) {
    vdx_bigdatetime value = 5;
    EXPECT_EQ(com_bigdatetimemake(&value, &faults[i]), 4 + i);
    EXPECT_EQ(value, midnight);
  }
}

template <class Value, std::size_t Count>
void expect_order(std::int32_t (*compare)(const Value*, const Value*), const Value (&ascending)[Count]) {
  for (std::size_t i = 0; i < Count; ++i)
    for (std::size_t j = 0; j < Count; ++j)
      EXPECT_EQ(compare(&ascending[i], &ascending[j]), i < j ? -1 : i > j) << i << ' ' << j;
}

TEST(DateValue, Comparisons) {
  // Time words compare whole and signed.
  expect_order<vdx_datetime>(com_datecmp, {{kMin, 5}, {-1, 9}, {0, kMin}, {0, 0}, {0, 1}, {0, 1 | 1 << 25}, {1, 0}});
  expect_order<vdx_date4>(com_date4cmp, {{0, 0}, {0, 1439}, {1, 0}, {32767, 1}, {65535, 0}, {65535, 40000}});
  expect_order<vdx_datea>(com_dateacmp, {kMin, -1, 0, 1, kMax});
  expect_order<vdx_timea>(com_timeacmp, {kMin, -1, 0, 1, kMax});
  expect_order<vdx_bigdatetime>(com_bigdatetimecmp, {0, 1, 1ULL << 63, ~0ULL});
}

TEST(DateValue, RangesAndMoves) {
  for (const auto& [day, before_1753, outside] : {std::tuple{kMin, 1, 1},
                                                  {-693596, 1, 1},
                                                  {-693595, 1, 0},
                                                  {-53691, 1, 0},
                                                  {-53690, 0, 0},
                                                  {2958463, 0, 0},
                                                  {2958464, 0, 1},
                                                  {kMax, 0, 1}}) {
    vdx_datetime value{5, 5};
    com_setdatetime(&value, day, -3);
    EXPECT_EQ(value.time, -3);
    EXPECT_EQ(com__datetime_check_range(&value), before_1753) << day;
    EXPECT_EQ(com__datea_check_range(&day), outside) << day;
    EXPECT_EQ(com__dateatodate(&day, &value), before_1753) << day;
    EXPECT_EQ(value.day, before_1753 != 0 ? 0 : day);
    EXPECT_EQ(value.time, 0);
  }
  for (const auto& [ticks, outside] : {std::pair{kMin, 1}, {-1, 1}, {0, 0}, {25'919'999, 0}, {25'920'000, 1}})
    EXPECT_EQ(com__timea_check_range(&ticks), outside) << ticks;

  vdx_date4 small{65535, 65535};
  vdx_datetime value{};
  com__date4todt(&small, &value);
  EXPECT_EQ(value.day, 65535);
  EXPECT_EQ(value.time, 65535 * 18'000);
  com_datezero(&value);
  com_date4zero(&small);
  EXPECT_EQ(std::tuple(value.day, value.time, small.day, small.minute), std::tuple(0, 0, 0, 0));

  struct Row {
    vdx_datetime from;
    bool fits;
    vdx_date4 to;
  } const rows[] = {
      {{0, 8'999}, true, {0, 0}},
      {{0, 9'000 | 1 << 25}, true, {0, 1}},
      {{65534, 25'911'000}, true, {65535, 0}},
      {{65535, 25'910'999}, true, {65535, 1439}},
      {{65535, 25'911'000}, false, {9, 9}},
      {{-1, 25'919'999}, false, {9, 9}},
      {{65536, 0}, false, {9, 9}},
      {{kMax, 0x1FFFFFF}, false, {9, 9}},
  };
  for (const Row& row : rows) {
    vdx_date4 to{9, 9};
    EXPECT_EQ(vdx::date4_of_datetime(row.from, to), row.fits);
    EXPECT_EQ(com_date4cmp(&to, &row.to), 0) << row.from.day << ' ' << row.from.time;
  }
}

TEST(DateValue, LocalTimeAsText) {
  struct Row {
    std::int32_t order, twelve, hour;
    const char* text;
  } const rows[] = {
      {1, 0, 13, "01/02/08 13:15:09"},    {2, 0, 0, "02/01/08 00:15:09"},      {3, 0, 23, "08/01/02 23:15:09"},
      {4, 2, 13, "08/02/01 13:15:09"},    {5, 0, 13, "01/08/02 13:15:09"},     {6, 0, 13, "02/08/01 13:15:09"},
      {0, 1, 0, "01/02/08 00:15:09 AM"},  {7, 1, 11, "01/02/08 11:15:09 AM"},  {-1, 1, 12, "01/02/08 12:15:09 PM"},
      {2, 1, 13, "02/01/08 01:15:09 PM"}, {kMax, 1, 23, "01/02/08 11:15:09 PM"},
  };
  for (const Row& row : rows) {
    SCOPED_TRACE(row.text);
    const daterec now = {2008, 0, 2, 2, 3, row.hour, 15, 9, 7, 7, 7, 7};
    const auto size = static_cast<std::int32_t>(std::strlen(row.text)) + 1;
    char buffer[32];
    std::memset(buffer, '?', sizeof buffer);
    std::int32_t needed = 0;
    daterec record = kMarked;
    EXPECT_EQ(vdx::give_local_time(now, row.order, row.twelve, buffer, size - 1, &needed, &record), XS_FAIL);
    EXPECT_EQ(std::string(buffer, sizeof buffer), std::string(sizeof buffer, '?'));
    EXPECT_EQ(fields(record), fields(kMarked));
    EXPECT_EQ(needed, size);
    EXPECT_EQ(vdx::give_local_time(now, row.order, row.twelve, buffer, size, nullptr, &record), XS_SUCCEED);
    EXPECT_STREQ(buffer, row.text);
    EXPECT_EQ(buffer[size], '?');
    EXPECT_EQ(fields(record), std::tuple(2008, 0, 2, 2, 3, row.hour, 15, 9, kMark, kMark, kMark, kMark));
    EXPECT_EQ(vdx::give_local_time(now, row.order, row.twelve, nullptr, 0, &needed, nullptr), XS_SUCCEED);
  }
}

// The platform's clock, between two looks at the C library's.
TEST(DateValue, CurrentTimeIsTheLocalTime) {
  const auto told = [](std::time_t clock) {
    const std::tm* const t = std::localtime(&clock);
    return std::tuple(t->tm_year + 1900, t->tm_mon, t->tm_mday, t->tm_yday + 1, t->tm_wday, t->tm_hour, t->tm_min,
                      std::min(t->tm_sec, 59), kMark, kMark, kMark, kMark);
  };
  for (const char* zone : {"UTC0", "XXX-5:30", "YYY+11"}) {
    setenv("TZ", zone, 1);
    daterec record = kMarked;
    const std::time_t before = std::time(nullptr);
    ASSERT_EQ(comn_time(3, 0, nullptr, 0, nullptr, &record), XS_SUCCEED);
    const std::time_t after = std::time(nullptr);
    bool is_between = false;
    for (std::time_t clock = before; clock <= after; ++clock) is_between |= told(clock) == fields(record);
    EXPECT_TRUE(is_between) << zone;
  }
  unsetenv("TZ");
  char buffer[18];
  EXPECT_EQ(comn_time(1, 0, buffer, 17, nullptr, nullptr), XS_FAIL);
  EXPECT_EQ(comn_time(1, 0, buffer, 18, nullptr, nullptr), XS_SUCCEED);
}

// Calls a function once for each of its pointers, with that one null.
template <class Result, class... Args>
void with_each_null(std::int32_t& calls, Result (*function)(Args...), std::type_identity_t<Args>... args) {
  const std::tuple<Args...> given(args...);
  const auto call = [&]<std::size_t At>(std::integral_constant<std::size_t, At>) {
    using Type = std::tuple_element_t<At, std::tuple<Args...>>;
    if constexpr (std::is_pointer_v<Type> && !std::is_same_v<Type, const vdx_context*>) {
      auto changed = given;
      std::get<At>(changed) = nullptr;
      ++calls;
      if constexpr (std::is_void_v<Result>)
        std::apply(function, changed);
      else if (std::apply(function, changed) != 0)
        std::exit(2);
    }
  };
  [&]<std::size_t... At>(std::index_sequence<At...>) {
    (call(std::integral_constant<std::size_t, At>{}), ...);
  }(std::index_sequence_for<Args...>{});
}

[[noreturn]] void resume_everything() {
  signal(SIGABRT, [](int) {});
  com_toggle_abort(0);
  std::int32_t n = 0, i = 1;
  daterec r = kMarked;
  vdx_datetime d{1, 1};
  vdx_date4 s{1, 1};
  std::uint64_t b = 1;
  char text[64];
  with_each_null(n, com_datecrack, &d, &r), with_each_null(n, com_timecrack, &d, &r);
  with_each_null(n, com__datecrack, &i, &r), with_each_null(n, com__timecrack, &d, &r);
  for (const auto crack : {com_bigdatecrack, com__bigdatecrack, com_bigtimecrack, com__bigtimecrack})
    with_each_null(n, crack, &b, &r);
  with_each_null(n, com_datemake, &d, &r), with_each_null(n, com_timemake, &d, &r);
  for (const auto make : {com_bigdatemake, com_bigtimemake, com_bigdatetimemake}) with_each_null(n, make, &b, &r);
  with_each_null(n, com_datecmp, &d, &d), with_each_null(n, com_date4cmp, &s, &s);
  with_each_null(n, com_dateacmp, &i, &i), with_each_null(n, com_timeacmp, &i, &i);
  with_each_null(n, com_bigdatetimecmp, &b, &b), with_each_null(n, com_datezero, &d);
  with_each_null(n, com_date4zero, &s), with_each_null(n, com_setdatetime, &d, 2, 2);
  with_each_null(n, com__datetime_check_range, &d), with_each_null(n, com__datea_check_range, &i);
  with_each_null(n, com__timea_check_range, &i), with_each_null(n, com__date4todt, &s, &d);
  with_each_null(n, com__dateatodate, &i, &d);
  for (const auto part : {com__datepart, com_datepart}) with_each_null(n, part, 0U, &d, 7);
  with_each_null(n, com__bigdatepart, 0U, &b, 7);
  for (const auto name : {com__datename, com_datename}) with_each_null(n, name, nullptr, 0U, &d, text, 64, &i);
  with_each_null(n, com__bigdatename, nullptr, 0U, &b, text, 64, &i);
  for (const auto add : {com__date_add, com__dateadd_both}) with_each_null(n, add, 0U, 1, &d);
  with_each_null(n, com__bigdateadd_both, 0U, 1, &b);
  with_each_null(n, com__datediff, 4U, &d, &d, &i), with_each_null(n, com__bigdatediff, 4U, &b, &b, &i);
  const bool unchanged = d.day == 1 && d.time == 1 && s.day == 1 && b == 1 && i == 1 && fields(r) == fields(kMarked);
  bool refused = true;
  for (const std::uint32_t part : {15U, ~0U}) {
    for (const auto get : {com__datepart, com_datepart}) refused &= get(part, &d, 7) == VDX_OVERFLOW;
    for (const auto add : {com__date_add, com__dateadd_both}) refused &= add(part, 1, &d) == VDX_OVERFLOW;
    for (const auto name : {com__datename, com_datename})
      refused &= name(nullptr, part, &d, text, 64, &i) == VDX_OVERFLOW;
    refused &= com__bigdatepart(part, &b, 7) == VDX_OVERFLOW && com__bigdateadd_both(part, 1, &b) == VDX_OVERFLOW;
    refused &= com__bigdatename(nullptr, part, &b, text, 64, &i) == VDX_OVERFLOW;
  }
  std::exit(n == 67 && unchanged && refused ? 0 : n);
}

TEST(DateDeath, ResumedChecksChangeNothing) {
  EXPECT_EXIT(resume_everything(), testing::ExitedWithCode(0),
              "^(\nInvalid NULL pointer , file 'com_(date|part).cpp'[^\n]*\n){67}"
              "(\n\rassertion failed, file 'com_part.cpp'[^\n]*\n\r){18}$");
}

}  // namespace
