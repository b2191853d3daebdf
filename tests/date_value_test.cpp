// Date and time values: the calendar day by day, the clock tick by tick, and what failures leave.
#include <chrono>
#include <ctime>
#include <limits>
#include <memory>
#include <tuple>

#include "date/calendar.h"
#include "date/local_time.h"
#include "support.h"

namespace {

using namespace std::chrono;

constexpr std::int32_t kMark = -77;  // a field that nobody wrote
constexpr daterec kMarked = {kMark, kMark, kMark, kMark, kMark, kMark,
                             kMark, kMark, kMark, kMark, kMark, kMark};
constexpr std::int32_t kMin = std::numeric_limits<std::int32_t>::min();
constexpr std::int32_t kMax = std::numeric_limits<std::int32_t>::max();
constexpr sys_days kZero = 1900y / 1 / 1;

auto fields(const daterec& r) {
  return std::tuple(r.year, r.month, r.day, r.day_of_year, r.weekday, r.hour, r.minute, r.second,
                    r.millisecond, r.reserved, r.fraction, r.scale);
}

// For the long loops, where the sanitizers would spend their time on tuples.
bool is_same(const daterec& a, const daterec& b) { return std::memcmp(&a, &b, sizeof a) == 0; }

template <class Number>
std::int32_t int_of(Number number) {
  return static_cast<std::int32_t>(number);
}

vdx_bigdatetime midnight_of(std::int32_t day) {
  return static_cast<std::uint64_t>(day + 693'961) * 86'400'000'000;
}

// The Monday that starts a year's ISO week 1: the one of January 4.
sys_days iso_start(year y) {
  const sys_days fourth = y / 1 / 4;
  return fourth - (weekday{fourth} - Monday);
}

// Past 9999 only the breaking down goes on.
TEST(DateValue, EveryDayCracksAndMakesBackAndHasItsParts) {
  std::int32_t wrong = 0;
  for (sys_days date = 1y / 1 / 1; date < sys_days{10009y / 1 / 1} && wrong < 5; date += days{1}) {
    const std::int32_t day = int_of((date - kZero).count());
    const year_month_day ymd{date};
    const sys_days new_year = ymd.year() / 1 / 1;
    const weekday weekday_of_date{date};
    daterec expected = kMarked;
    expected.year = int{ymd.year()};
    expected.month = int_of(unsigned{ymd.month()}) - 1;
    expected.day = int_of(unsigned{ymd.day()});
    expected.day_of_year = int_of((date - new_year).count()) + 1;
    expected.weekday = int_of(weekday_of_date.c_encoding());
    const vdx_bigdatetime big = midnight_of(day), late = big + 86'399'999'999;
    const vdx_datetime value{day, 0};
    daterec cracked = kMarked, cracked_big = kMarked;
    com__datecrack(&day, &cracked);
    (day % 2 == 0 ? com_bigdatecrack : com__bigdatecrack)(day % 3 == 0 ? &big : &late,
                                                          &cracked_big);
    bool right = is_same(cracked, expected) && is_same(cracked_big, expected);
    vdx_datetime made{kMark, kMark};
    vdx_bigdatetime made_big = 5;
    if (day <= vdx::kLastDay)
      right &= com_datemake(&made, &expected) == 0 && made.day == day && made.time == kMark &&
               com_bigdatemake(&made_big, &expected) == 0 && made_big == big;

    year iso = ymd.year() + years{1};
    while (date < iso_start(iso)) --iso;
    const std::int32_t first = 1 + (day & 0xFFFF) % 7;
    const sys_days first_sunday =
        new_year - (weekday{new_year} - Sunday);  // of the week of January 1
    const std::int32_t parts[] = {
        expected.year, expected.month / 3 + 1, expected.month + 1,
        // How often one steps from the first day of the week, itself the first.
        int_of((weekday_of_date - weekday{static_cast<unsigned>(first)}).count()) + 1, expected.day,
        expected.day_of_year, 0, 0, 0, 0, int_of((date - first_sunday).count()) / 7 + 1, int{iso},
        int_of((date - iso_start(iso)).count()) / 7 + 1, int_of(weekday_of_date.iso_encoding())};
    const auto turn =
        static_cast<std::uint32_t>(day - vdx::kFirstDay) % 14;  // the same body at another grain
    right &= com__bigdatepart(turn, &big, first) == parts[turn];
    for (std::uint32_t part = 0; part < 14; ++part)
      right &= (day % 2 == 0 ? com__datepart : com_datepart)(part, &value, first) == parts[part];
    if (!right && ++wrong != 0) ADD_FAILURE() << "day " << day;
  }
}

// Even of days that are no dates, month and weekday lead into tables of names.
TEST(DateValue, DaysBeforeTheCalendarKeepSoundFields) {
  for (std::int64_t day = std::int64_t{vdx::kFirstDay} - 3000; day >= kMin;
       day += day == kMin ? -1 : kMin - day)
    for (std::int64_t next = day; next < day + 2999; ++next) {
      daterec r = kMarked;
      vdx::crack_day(int_of(next), r);
      ASSERT_TRUE(r.year < 1 && r.month >= 0 && r.month < 12 && r.weekday >= 0 && r.weekday < 7 &&
                  r.day >= 1 &&
                  r.day_of_year == vdx::kDaysBefore[vdx::is_leap(r.year)][r.month] + r.day)
          << next;
    }
}

TEST(DateValue, EveryTickCracksAndMakesBack) {
  std::int32_t wrong = 0;
  for (std::uint32_t tick = 0; tick < 25'920'000 && wrong < 5; ++tick) {
    const vdx_datetime value{
        3, int_of(tick | (tick * 37) << 25)};  // the bits above the low 25 mean nothing
    daterec record = kMarked;
    com__timecrack(&value, &record);
    const std::int32_t hms[] = {int_of(tick / 1'080'000), int_of(tick / 18'000 % 60),
                                int_of(tick / 300 % 60), int_of(tick % 300 * 10 / 3)};
    bool right = is_same(
        record, {kMark, kMark, kMark, kMark, kMark, hms[0], hms[1], hms[2], hms[3], kMark, 0, 300});
    vdx_datetime made{4, kMark};
    right &= com_timemake(&made, &record) == 0 && made.day == 4 && made.time == int_of(tick);
    right &= com__datepart(6 + tick % 4, &value, 7) == hms[tick % 4] &&
             com__datepart(14, &value, 7) == 0;
    const std::int64_t micros = vdx::micros_of_ticks(made.time);
    right &= std::abs(3 * micros - std::int64_t{tick} * 10'000) <= 1 &&
             vdx::ticks_of_micros(micros) == made.time;
    if (!right && ++wrong != 0) ADD_FAILURE() << "tick " << tick;
  }
  EXPECT_EQ(vdx::ticks_of_micros(86'399'999'999), 25'919'999);
}

TEST(DateValue, MillisecondsBecomeTheNearestTickOfTheirSecond) {
  for (std::int32_t ms = 0; ms < 1000; ++ms) {
    std::int32_t nearest = 0;
    for (std::int32_t tick = 0; tick < 300; ++tick)
      if (std::abs(10 * tick - 3 * ms) <= std::abs(10 * nearest - 3 * ms)) nearest = tick;
    const daterec records[] = {{0, 0, 0, 0, 0, 0, 0, 0, ms, 0, 5000, 300},
                               {0, 0, 0, 0, 0, 0, 0, 0, 5, 0, ms * 1000 + 999, 1'000'000}};
    for (const daterec& record : records) {
      vdx_datetime made{};
      EXPECT_EQ(com_timemake(&made, &record), 0);
      EXPECT_EQ(made.time, nearest) << ms;
    }
  }
}

TEST(DateValue, BigValuesCrackAndMakeBack) {
  vdx_test::Random random(7);
  for (std::int32_t i = 0; i < 100'000; ++i) {
    const vdx_bigdatetime value =
        i == 0 ? vdx::kLastBigdatetime
               : vdx::kFirstBigdatetime + random.below(315'537'897'600'000'000);
    const hh_mm_ss<microseconds> time{
        microseconds{static_cast<std::int64_t>(value % 86'400'000'000)}};
    const std::int32_t parts[] = {int_of(time.hours().count()), int_of(time.minutes().count()),
                                  int_of(time.seconds().count()),
                                  int_of(time.subseconds().count())};
    daterec record = kMarked;
    (i % 2 == 0 ? com_bigtimecrack : com__bigtimecrack)(&value, &record);
    ASSERT_EQ(fields(record), std::tuple(kMark, kMark, kMark, kMark, kMark, parts[0], parts[1],
                                         parts[2], 0, kMark, parts[3], 1'000'000))
        << value;
    for (std::uint32_t part = 0; part < 3; ++part)
      ASSERT_EQ(com__bigdatepart(6 + part, &value, 7), parts[part]);
    ASSERT_EQ(com__bigdatepart(9, &value, 7), parts[3] / 1000);
    ASSERT_EQ(com__bigdatepart(14, &value, 7), parts[3]);
    com_bigdatecrack(&value, &record);
    vdx_bigdatetime made_time = 5, made = 5;
    ASSERT_EQ(com_bigtimemake(&made_time, &record) + com_bigdatetimemake(&made, &record), 0);
    ASSERT_EQ(std::tuple(made_time, made), std::tuple(value % 86'400'000'000, value));
  }
}

TEST(DateValue, ShortRecordsEndWithTheTenthField) {
  // Exactly ten fields: the sanitizers see a step behind them.
  const std::unique_ptr<std::int32_t[]> ten(new std::int32_t[10]);
  std::fill_n(ten.get(), 10, kMark);
  const vdx_datetime value{39447, 14'132'737};
  com_datecrack(&value, reinterpret_cast<daterec*>(ten.get()));
  com_timecrack(&value, reinterpret_cast<daterec*>(ten.get()));
  const std::int32_t expected[] = {2008, 0, 2, 2, 3, 13, 5, 9, 123, kMark};
  EXPECT_TRUE(std::equal(expected, expected + 10, ten.get()));
}

TEST(DateValue, MakesReportTheFirstFaultyFieldAndLeaveWhatTheySay) {
  struct Row {
    daterec record;
    std::int32_t date, day;  // code of the date, and the day word left
    std::int32_t time, ticks;
    vdx_bigtime micros;  // left by the bigtime make, whose code is that of the time word
  } const rows[] = {
      // clang-format off
      {{9999, 11, 31, 999, 99, 23, 59, 59, 999, 0, 0, 0},
       0, 2958463, 0, 25'919'999, 86'399'999'000},
      {{1, 0, 1, 0, 0, 12, 0, 0, 1, 0, 999'999, 999'999},
       0, -693595, 0, 12'960'000, 43'200'001'000},
      {{0, 0, 1, 0, 0, 24, 0, 0, 0, 0, 0, 0}, 1, 0, 4, kMark, 0},
      {{10000, 0, 1, 0, 0, 23, 60, 0, 0, 0, 0, 0}, 1, 0, 5, 24'840'000, 0},
      {{kMin, 0, 1, 0, 0, 23, 59, 60, 0, 0, 0, 0}, 1, 0, 6, 25'902'000, 0},
      {{2008, 12, 1, 0, 0, 23, 59, 59, 1000, 0, 0, 0}, 2, 733041, 7, 25'919'700, 0},
      {{2008, -1, 1, 0, 0, 1, 1, 1, 5, 0, 1'000'000, 1'000'000}, 2, 733041, 7, 1'098'300, 0},
      {{1900, 1, 29, 0, 0, 0, 0, 0, 0, 0, kMax, 1'000'000}, 3, 693626, 7, 0, 0},
      {{2000, 1, 29, 0, 0, 24, 0, 0, 0, 0, 0, 0}, 0, 36583, 4, kMark, 0},
      {{2000, 1, 29, 0, 0, 1, 60, 0, 0, 0, 0, 0}, 0, 36583, 5, 1'080'000, 0},
      {{2000, 1, 29, 0, 0, 1, 1, 60, 0, 0, 0, 0}, 0, 36583, 6, 1'098'000, 0},
      {{2000, 1, 29, 0, 0, 0, 0, 0, kMax, 0, 0, 0}, 0, 36583, 7, 0, 0},
      {{2008, 5, 31, 0, 0, -1, -1, -1, -5, 0, 0, 0},
       3, 733193, 0, -1'098'302, -std::uint64_t{3'661'005'000}},
      {{2008, 5, kMin, 0, 0, 1, 0, 0, 0, 0, -1500, 1'000'000},
       3, 733193, 0, 1'080'000, 3'599'998'500},
      // clang-format on
  };
  for (const Row& row : rows) {
    SCOPED_TRACE(&row - rows);
    vdx_datetime value{kMark, kMark};
    EXPECT_EQ(com_datemake(&value, &row.record), row.date);
    EXPECT_EQ(com_timemake(&value, &row.record), row.time);
    EXPECT_EQ(std::tuple(value.day, value.time), std::tuple(row.day, row.ticks));
    vdx_bigdatetime date = 5, time = 5, both = 5;
    EXPECT_EQ(com_bigdatemake(&date, &row.record), row.date);
    EXPECT_EQ(com_bigtimemake(&time, &row.record), row.time);
    EXPECT_EQ(com_bigdatetimemake(&both, &row.record), row.date != 0 ? row.date : row.time);
    EXPECT_EQ(date, row.date != 0 ? 0 : midnight_of(row.day));
    EXPECT_EQ(time, row.micros);
    EXPECT_EQ(both, row.date != 0 ? 0 : date + time);
  }
}

template <class Value, std::size_t Count>
void expect_order(std::int32_t (*compare)(const Value*, const Value*),
                  const Value (&ascending)[Count]) {
  for (std::size_t i = 0; i < Count; ++i)
    for (std::size_t j = 0; j < Count; ++j)
      EXPECT_EQ(compare(&ascending[i], &ascending[j]), i < j ? -1 : i > j) << i << ' ' << j;
}

TEST(DateValue, Comparisons) {
  // Time words compare whole and signed.
  expect_order<vdx_datetime>(
      com_datecmp, {{kMin, 5}, {-1, 9}, {0, kMin}, {0, 0}, {0, 1}, {0, 1 | 1 << 25}, {1, 0}});
  expect_order<vdx_date4>(com_date4cmp,
                          {{0, 0}, {0, 1439}, {1, 0}, {32767, 1}, {65535, 0}, {65535, 40000}});
  expect_order<vdx_datea>(com_dateacmp, {kMin, -1, 0, 1, kMax});
  expect_order<vdx_timea>(com_timeacmp, {kMin, -1, 0, 1, kMax});
  expect_order<vdx_bigdatetime>(com_bigdatetimecmp, {0, 1, 1ULL << 63, ~0ULL});
}

TEST(DateValue, RangesAndMoves) {
  for (const auto& [day, early, outside] : {std::tuple{kMin, 1, 1},
                                            {-693596, 1, 1},
                                            {-693595, 1, 0},
                                            {-53691, 1, 0},
                                            {-53690, 0, 0},
                                            {2958463, 0, 0},
                                            {2958464, 0, 1},
                                            {kMax, 0, 1}}) {
    vdx_datetime value{5, 5};
    com_setdatetime(&value, day, -3);
    EXPECT_EQ(com__datetime_check_range(&value), early) << day;
    EXPECT_EQ(com__datea_check_range(&day), outside) << day;
    EXPECT_EQ(std::tuple(value.day, value.time), std::tuple(day, -3));
    EXPECT_EQ(com__dateatodate(&day, &value), early) << day;
    EXPECT_EQ(std::tuple(value.day, value.time), std::tuple(early != 0 ? 0 : day, 0));
  }
  for (const auto& [ticks, outside] :
       {std::pair{kMin, 1}, {-1, 1}, {0, 0}, {25'919'999, 0}, {25'920'000, 1}})
    EXPECT_EQ(com__timea_check_range(&ticks), outside) << ticks;
  vdx_date4 small{65535, 65535};
  vdx_datetime value{};
  com__date4todt(&small, &value);
  EXPECT_EQ(std::tuple(value.day, value.time), std::tuple(65535, 65535 * 18'000));
  com_datezero(&value);
  com_date4zero(&small);
  EXPECT_EQ(std::tuple(value.day, value.time, small.day, small.minute), std::tuple(0, 0, 0, 0));
  // The day after the last one is more than its type holds.
  EXPECT_FALSE(vdx::date4_of_datetime({kMax, 0x1FFFFFF}, small));
  EXPECT_EQ(std::tuple(small.day, small.minute), std::tuple(0, 0));
}

TEST(DateValue, LocalTimeAsText) {
  struct Row {
    std::int32_t order, twelve, hour;
    const char* text;
  } const rows[] = {
      {1, 0, 13, "01/02/08 13:15:09"},       {2, 0, 0, "02/01/08 00:15:09"},
      {3, 0, 23, "08/01/02 23:15:09"},       {4, 2, 13, "08/02/01 13:15:09"},
      {5, 0, 13, "01/08/02 13:15:09"},       {6, 0, 13, "02/08/01 13:15:09"},
      {0, 1, 0, "01/02/08 00:15:09 AM"},     {7, 1, 11, "01/02/08 11:15:09 AM"},
      {-1, 1, 12, "01/02/08 12:15:09 PM"},   {2, 1, 13, "02/01/08 01:15:09 PM"},
      {kMax, 1, 23, "01/02/08 11:15:09 PM"},
  };
  for (const Row& row : rows) {
    SCOPED_TRACE(row.text);
    const daterec now = {2008, 0, 2, 2, 3, row.hour, 15, 9, 7, 7, 7, 7};
    const std::int32_t size = int_of(std::strlen(row.text)) + 1;
    std::string buffer(32, '?');
    std::int32_t needed = 0;
    daterec record = kMarked;
    EXPECT_EQ(
        vdx::give_local_time(now, row.order, row.twelve, buffer.data(), size - 1, &needed, &record),
        XS_FAIL);
    EXPECT_EQ(std::tuple(buffer, needed), std::tuple(std::string(32, '?'), size));
    EXPECT_EQ(fields(record), fields(kMarked));
    EXPECT_EQ(
        vdx::give_local_time(now, row.order, row.twelve, buffer.data(), size, nullptr, &record),
        XS_SUCCEED);
    EXPECT_EQ(buffer, row.text + std::string(1, '\0') +
                          std::string(32 - static_cast<std::size_t>(size), '?'));
    EXPECT_EQ(fields(record),
              std::tuple(2008, 0, 2, 2, 3, row.hour, 15, 9, kMark, kMark, kMark, kMark));
  }
}

// The platform's clock, between two looks at the C library's.
TEST(DateValue, CurrentTimeIsTheLocalTime) {
  for (const char* zone : {"UTC0", "XXX-5:30", "YYY+11"}) {
    vdx_test::set_environment("TZ", zone);
    daterec record = kMarked;
    std::int32_t needed = 0;
    std::time_t clock = std::time(nullptr);
    ASSERT_EQ(comn_time(3, 1, nullptr, 0, &needed, &record), XS_SUCCEED);
    bool is_between = false;
    for (; clock <= std::time(nullptr) && !is_between; ++clock) {
      const std::tm* const t = std::localtime(&clock);
      is_between = fields(record) == std::tuple(t->tm_year + 1900, t->tm_mon, t->tm_mday,
                                                t->tm_yday + 1, t->tm_wday, t->tm_hour, t->tm_min,
                                                t->tm_sec, kMark, kMark, kMark, kMark);
    }
    EXPECT_TRUE(is_between && needed == 21) << zone;
  }
  vdx_test::set_environment("TZ", nullptr);
}

// Calls a function once for each of its pointers, with that one null.
template <class Result, class... Args>
std::int32_t with_each_null(Result (*function)(Args...), std::type_identity_t<Args>... args) {
  std::int32_t calls = 0;
  const auto call = [&]<std::size_t At>() {
    using Type = std::tuple_element_t<At, std::tuple<Args...>>;
    if constexpr (std::is_pointer_v<Type> && !std::is_same_v<Type, const vdx_context*>) {
      std::tuple<Args...> changed(args...);
      std::get<At>(changed) = nullptr;
      std::apply([&](Args... given) { return function(given...), 0; }, changed);
      ++calls;
    }
  };
  [&]<std::size_t... At>(std::index_sequence<At...>) { (call.template operator()<At>(), ...); }
  (std::index_sequence_for<Args...>{});
  return calls;
}

[[noreturn]] void resume_everything() {
  vdx_test::handle_checks(vdx_test::Handler::kResume);
  com_toggle_abort(0);
  std::int32_t n = 0, i = 1;
  daterec r = kMarked;
  vdx_datetime d{1, 1};
  vdx_date4 s{1, 1};
  std::uint64_t b = 1;
  char text[64];
  for (const auto crack : {com_datecrack, com_timecrack, com__timecrack})
    n += with_each_null(crack, &d, &r);
  for (const auto crack :
       {com_bigdatecrack, com__bigdatecrack, com_bigtimecrack, com__bigtimecrack})
    n += with_each_null(crack, &b, &r);
  for (const auto make : {com_datemake, com_timemake}) n += with_each_null(make, &d, &r);
  for (const auto make : {com_bigdatemake, com_bigtimemake, com_bigdatetimemake})
    n += with_each_null(make, &b, &r);
  for (const auto compare : {com_dateacmp, com_timeacmp}) n += with_each_null(compare, &i, &i);
  for (const auto check : {com__datea_check_range, com__timea_check_range})
    n += with_each_null(check, &i);
  for (const auto part : {com__datepart, com_datepart}) n += with_each_null(part, 0U, &d, 7);
  for (const auto name : {com__datename, com_datename})
    n += with_each_null(name, nullptr, 0U, &d, text, 64, &i);
  for (const auto add : {com__date_add, com__dateadd_both}) n += with_each_null(add, 0U, 1, &d);
  n += with_each_null(com__datecrack, &i, &r) + with_each_null(com_datecmp, &d, &d) +
       with_each_null(com_date4cmp, &s, &s) + with_each_null(com_bigdatetimecmp, &b, &b) +
       with_each_null(com_datezero, &d) + with_each_null(com_date4zero, &s) +
       with_each_null(com_setdatetime, &d, 2, 2) + with_each_null(com__datetime_check_range, &d) +
       with_each_null(com__date4todt, &s, &d) + with_each_null(com__dateatodate, &i, &d) +
       with_each_null(com__bigdatepart, 0U, &b, 7) +
       with_each_null(com__bigdatename, nullptr, 0U, &b, text, 64, &i) +
       with_each_null(com__bigdateadd_both, 0U, 1, &b) +
       with_each_null(com__datediff, 4U, &d, &d, &i) +
       with_each_null(com__bigdatediff, 4U, &b, &b, &i);
  bool right =
      d.day == 1 && d.time == 1 && s.day == 1 && b == 1 && i == 1 && fields(r) == fields(kMarked);
  for (const std::int32_t refused :
       {com__datepart(15, &d, 7), com_datepart(~0U, &d, 7), com__date_add(15, 1, &d),
        com__dateadd_both(~0U, 1, &d), com__datename(nullptr, 15, &d, text, 64, &i),
        com_datename(nullptr, ~0U, &d, text, 64, &i), com__bigdatepart(15, &b, 7),
        com__bigdateadd_both(15, 1, &b), com__bigdatename(nullptr, 15, &b, text, 64, &i)})
    right &= refused == VDX_OVERFLOW;
  std::exit(n == 67 && right ? 0 : n);
}

TEST(DateDeath, ResumedChecksChangeNothing) {
  EXPECT_EXIT(
      resume_everything(), testing::ExitedWithCode(0),
      vdx_test::has_match("^(\nInvalid NULL pointer , file 'com_(date|part).cpp'[^\n]*\n){67}"
                          "(\n\rassertion failed, file 'com_part.cpp'[^\n]*\n\r){9}$"));
}

}  // namespace
