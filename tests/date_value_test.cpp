// Date and time values: the calendar day by day, the clock tick by tick, what failures leave; sums
// and differences against slow rules of their own.
#include <chrono>
#include <ctime>
#include <limits>
#include <memory>
#include <sstream>
#include <tuple>

#include "date/calendar.h"
#include "date/local_time.h"
#include "intl/locale.h"
#include "support.h"

namespace {

using namespace std::chrono;
using vdx_test::Random;

constexpr std::int32_t kMark = -77;  // a field that was not written
constexpr daterec kMarked = {kMark, kMark, kMark, kMark, kMark, kMark,
                             kMark, kMark, kMark, kMark, kMark, kMark};
constexpr std::int32_t kMin = std::numeric_limits<std::int32_t>::min();
constexpr std::int32_t kMax = std::numeric_limits<std::int32_t>::max();
constexpr sys_days kZero = 1900y / 1 / 1;
constexpr std::int64_t kDay = 86'400'000'000;  // microseconds

// Without a tuple, on which the sanitizers would spend their time in the long loops.
bool is_same(const daterec& a, const daterec& b) { return std::memcmp(&a, &b, sizeof a) == 0; }

template <class Number>
std::int32_t int_of(Number number) {
  return static_cast<std::int32_t>(number);
}

vdx_bigdatetime big_of(std::int64_t day, std::int64_t micros = 0) {
  return static_cast<vdx_bigdatetime>((day + 693'961) * kDay + micros);
}
std::int32_t day_of(year_month_day date) { return int_of((sys_days{date} - kZero).count()); }
year_month_day date_of(std::int64_t day) { return kZero + days{day}; }
std::int64_t months_of(year_month_day date) {
  return static_cast<int>(date.year()) * 12 +
         static_cast<int>(static_cast<unsigned>(date.month())) - 1;
}

// The Monday that starts a year's ISO week 1: the one of January 4.
sys_days iso_start(year y) {
  const sys_days fourth = y / 1 / 4;
  return fourth - (weekday{fourth} - Monday);
}

// At its first, its last or any microsecond. Past 9999 only the breaking down goes on.
TEST(DateValue, EveryDayCracksAndMakesBackAndHasItsParts) {
  Random random(7);
  std::int32_t wrong = 0;
  for (std::int32_t day = vdx::kFirstDay; day < vdx::kLastDay + 3652 && wrong < 5; ++day) {
    const sys_days date = kZero + days{day};
    const year_month_day ymd{date};
    const sys_days new_year = ymd.year() / 1 / 1;
    const weekday on{date};
    const std::int64_t micros = day % 3 == 0   ? 0
                                : day % 3 == 1 ? kDay - 1
                                               : static_cast<std::int64_t>(random.below(kDay));
    const hh_mm_ss<microseconds> t{microseconds{micros}};
    daterec whole = kMarked, cracked = kMarked, cracked_big = kMarked;
    std::tie(whole.year, whole.month, whole.day, whole.day_of_year, whole.weekday) =
        std::tuple(int{ymd.year()}, int_of(unsigned{ymd.month()}) - 1, int_of(unsigned{ymd.day()}),
                   int_of((date - new_year).count()) + 1, int_of(on.c_encoding()));
    com__datecrack(&day, &cracked);
    bool right = is_same(cracked, whole);
    std::tie(whole.hour, whole.minute, whole.second, whole.millisecond, whole.fraction,
             whole.scale) =
        std::tuple(int_of(t.hours().count()), int_of(t.minutes().count()),
                   int_of(t.seconds().count()), 0, int_of(t.subseconds().count()), 1'000'000);
    const vdx_bigdatetime big = big_of(day, micros);
    (day % 2 == 0 ? com_bigdatecrack : com__bigdatecrack)(&big, &cracked_big);
    (day % 2 == 0 ? com_bigtimecrack : com__bigtimecrack)(&big, &cracked_big);
    right &= is_same(cracked_big, whole);
    vdx_datetime made{kMark, kMark}, made_whole = made;
    vdx_bigdatetime made_day = 5, made_time = 5, made_big = 5;
    if (day <= vdx::kLastDay)
      right &= com_datemake(&made, &whole) == 0 && made.day == day && made.time == kMark &&
               com_bigdatemake(&made_day, &whole) == 0 && made_day == big_of(day) &&
               com_bigtimemake(&made_time, &whole) == 0 && made_time == big - made_day &&
               com_bigdatetimemake(&made_big, &whole) == 0 && made_big == big &&
               com_datetimemake(&made_whole, &whole) == 0 && made_whole.day == day &&
               com_timemake(&made, &whole) == 0 && made_whole.time == made.time;

    year iso = ymd.year() + years{1};
    while (date < iso_start(iso)) --iso;
    const std::int32_t first = 1 + (day & 0xFFFF) % 7;
    const sys_days first_sunday = new_year - (weekday{new_year} - Sunday);  // on it or before
    const std::int32_t parts[] = {
        whole.year, whole.month / 3 + 1, whole.month + 1,
        // How often one steps from the first day of the week, itself the first.
        int_of((on - weekday{static_cast<unsigned>(first)}).count()) + 1, whole.day,
        whole.day_of_year, whole.hour, whole.minute, whole.second, whole.fraction / 1000,
        int_of((date - first_sunday).count()) / 7 + 1, int{iso},
        int_of((date - iso_start(iso)).count()) / 7 + 1, int_of(on.iso_encoding()), whole.fraction};
    const auto turn = static_cast<std::uint32_t>(day - vdx::kFirstDay) % 15;
    right &= com__bigdatepart(turn, &big, first) == parts[turn];  // one body with the other grain
    const vdx_datetime value{day, 0};
    for (const std::uint32_t part : {0U, 1U, 2U, 3U, 4U, 5U, 10U, 11U, 12U, 13U})
      right &= (day % 2 == 0 ? com__datepart : com_datepart)(part, &value, first) == parts[part];
    if (!right && ++wrong != 0) ADD_FAILURE() << "day " << day;
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

TEST(DateValue, ShortRecordsEndWithTheTenthField) {
  daterec record = kMarked;
  const vdx_datetime value{39447, 14'132'737};
  com_datecrack(&value, &record);
  com_timecrack(&value, &record);
  EXPECT_TRUE(is_same(record, {2008, 0, 2, 2, 3, 13, 5, 9, 123, kMark, kMark, kMark}));
}

TEST(DateValue, MakesReportTheFirstFaultyFieldAndLeaveWhatTheySay) {
  const struct {
    daterec record;
    std::int32_t date, day;  // code of the date, and the day word left
    std::int32_t time, ticks;
    vdx_bigtime micros;  // left by the bigtime make, whose code is that of the time word
  } rows[] = {
      // clang-format off
      {{9999, 11, 31, 999, 99, 23, 59, 59, 999, 0, 0, 0}, 0, 2958463, 0, 25'919'999, 86'399'999'000},
      {{0, 0, 1, 0, 0, 24, 0, 0, 0, 0, 0, 0}, 1, 0, 4, kMark, 0},
      {{10000, 0, 1, 0, 0, 23, 60, 0, 0, 0, 0, 0}, 1, 0, 5, 24'840'000, 0},
      {{kMin, 0, 1, 0, 0, 23, 59, 60, 0, 0, 0, 0}, 1, 0, 6, 25'902'000, 0},
      {{2008, 12, 1, 0, 0, 23, 59, 59, 1000, 0, 0, 0}, 2, 733041, 7, 25'919'700, 0},
      {{2008, -1, 1, 0, 0, 1, 1, 1, 5, 0, 1'000'000, 1'000'000}, 2, 733041, 7, 1'098'300, 0},
      {{1900, 1, 29, 0, 0, 0, 0, 0, 0, 0, kMax, 1'000'000}, 3, 693626, 7, 0, 0},
      {{2000, 1, 29, 0, 0, 24, 0, 0, 0, 0, 0, 0}, 0, 36583, 4, kMark, 0},
      {{2000, 1, 29, 0, 0, 0, 0, 0, kMax, 0, 0, 0}, 0, 36583, 7, 0, 0},
      {{2008, 5, 31, 0, 0, -1, -1, -1, -5, 0, 0, 0}, 3, 733193, 0, -1'098'302, 0 - 3'661'005'000ULL},
      // clang-format on
  };
  for (const auto& row : rows) {
    vdx_datetime value{kMark, kMark}, whole = value;
    vdx_bigdatetime date = 5, time = 5, both = 5;
    const std::int32_t first = row.date != 0 ? row.date : row.time;
    EXPECT_EQ(com_datemake(&value, &row.record), row.date);
    EXPECT_EQ(com_timemake(&value, &row.record), row.time);
    EXPECT_EQ(com_bigdatemake(&date, &row.record), row.date);
    EXPECT_EQ(com_bigtimemake(&time, &row.record), row.time);
    EXPECT_EQ(com_bigdatetimemake(&both, &row.record), first);
    const vdx_bigdatetime day = row.date != 0 ? 0 : big_of(row.day);
    EXPECT_EQ(std::tuple(value.day, value.time, date, time, both),
              std::tuple(row.day, row.ticks, day, row.micros, row.date != 0 ? 0 : day + time));
    EXPECT_EQ(com_datetimemake(&whole, &row.record), first);
    EXPECT_EQ(std::tuple(whole.day, whole.time),
              std::tuple(row.date != 0 ? 0 : row.day, first != 0 ? 0 : row.ticks));
  }
}

template <class Value>
void expect_order(std::int32_t (*compare)(const Value*, const Value*),
                  std::type_identity_t<std::vector<Value>> ascending) {
  for (const Value& a : ascending)
    for (const Value& b : ascending)
      EXPECT_EQ(compare(&a, &b), &a < &b ? -1 : &a > &b) << &a - ascending.data();
}

TEST(DateValue, Comparisons) {  // of time words whole and signed
  expect_order(com_datecmp,
               {{kMin, 5}, {-1, 9}, {0, kMin}, {0, 0}, {0, 1}, {0, 1 | 1 << 25}, {1, 0}});
  expect_order(com_date4cmp, {{0, 0}, {0, 1439}, {1, 0}, {32767, 1}, {65535, 0}, {65535, 40000}});
  for (const auto compare : {com_dateacmp, com_timeacmp})
    expect_order(compare, {kMin, -1, 0, 1, kMax});
  expect_order(com_bigdatetimecmp, {0, 1, 1ULL << 63, ~0ULL});
}

TEST(DateValue, RangesAndMoves) {
  constexpr std::int32_t days[][3] = {{-693596, 1, 1}, {-693595, 1, 0}, {-53691, 1, 0},
                                      {-53690, 0, 0},  {2958463, 0, 0}, {2958464, 0, 1}};
  for (const auto& [day, early, outside] : days) {
    vdx_datetime value{5, 5};
    com_setdatetime(&value, day, -3);
    EXPECT_TRUE(value.day == day && value.time == -3);
    EXPECT_EQ(com__datetime_check_range(&value), early) << day;
    EXPECT_EQ(com__datea_check_range(&day), outside) << day;
    EXPECT_EQ(com__dateatodate(&day, &value), early) << day;
    EXPECT_TRUE(value.day == (early != 0 ? 0 : day) && value.time == 0) << day;
  }
  for (const auto& [ticks, outside] : {std::pair{-1, 1}, {0, 0}, {25'919'999, 0}, {25'920'000, 1}})
    EXPECT_EQ(com__timea_check_range(&ticks), outside) << ticks;
}

TEST(DateValue, LocalTimeAsText) {
  const struct {
    std::int32_t order, twelve, hour;
    const char* text;
  } rows[] = {
      // clang-format off
      {1, 0, 13, "01/02/08 13:15:09"}, {2, 0, 0, "02/01/08 00:15:09"}, {3, 0, 23, "08/01/02 23:15:09"},
      {4, 2, 13, "08/02/01 13:15:09"}, {5, 0, 13, "01/08/02 13:15:09"}, {6, 0, 13, "02/08/01 13:15:09"},
      {0, 1, 0, "01/02/08 00:15:09 AM"}, {7, 1, 11, "01/02/08 11:15:09 AM"},
      {-1, 1, 12, "01/02/08 12:15:09 PM"}, {2, 1, 13, "02/01/08 01:15:09 PM"},
      // clang-format on
  };
  for (const auto& row : rows) {
    const daterec now = {2008, 0, 2, 2, 3, row.hour, 15, 9, 7, 7, 7, 7};
    const std::string text(row.text, std::strlen(row.text) + 1);
    const std::int32_t size = int_of(text.size());
    std::int32_t needed = 0;
    for (const std::int32_t room : {size - 1, size}) {
      const bool fits = room == size;
      std::string buffer(32, '?'), expected = buffer;
      if (fits) expected.replace(0, text.size(), text);
      daterec record = kMarked, filled = kMarked;
      if (fits) filled = {2008, 0, 2, 2, 3, row.hour, 15, 9, kMark, kMark, kMark, kMark};
      EXPECT_EQ(vdx::give_local_time(now, row.order, row.twelve, buffer.data(), room,
                                     fits ? nullptr : &needed, &record),
                fits ? XS_SUCCEED : XS_FAIL);
      EXPECT_EQ(buffer, expected);
      EXPECT_TRUE(is_same(record, filled) && needed == size) << row.text;
    }
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
      is_between =
          is_same(record, {t->tm_year + 1900, t->tm_mon, t->tm_mday, t->tm_yday + 1, t->tm_wday,
                           t->tm_hour, t->tm_min, t->tm_sec, kMark, kMark, kMark, kMark});
    }
    EXPECT_TRUE(is_between && needed == 21) << zone;
  }
  vdx_test::set_environment("TZ", nullptr);
}

TEST(DatePart, Names) {
  vdx_context plain{}, french{};
  ASSERT_EQ(comn_loc_alloc(&french, "iso_1", &french.locale), XS_SUCCEED);
  comn_loc_set(french.locale, VDX_LOC_MONTH + 11, "d\351cembre", VDX_NULLTERM);
  comn_loc_set(french.locale, VDX_LOC_WEEKDAY + 1, "lundi", VDX_NULLTERM);
  const vdx_datetime value{day_of(2008y / 12 / 29), 14'132'737};  // a Monday
  const vdx_bigdatetime big = big_of(value.day, 47'109'123'456);
  for (vdx_context* context : {&plain, &french, static_cast<vdx_context*>(nullptr)}) {
    const char* const own = context == &french ? "d\351cembre lundi" : "December Monday";
    std::istringstream words(std::string("2008 4 ") + own + " 29 364 13 5 9 123 53 2009 1 1 ");
    std::string name;
    for (std::uint32_t part = 0; part <= 14; ++part, name.clear()) {
      words >> name;
      for (const bool is_big : {false, true})
        for (const std::int32_t room : {-1, 0, 1, 5, 6, 63}) {
          if (part == 14) name = is_big ? "123456" : "0";
          const std::int32_t size = int_of(name.size());
          std::string buffer(64, '?'), expected = buffer;
          if (room >= size) expected.replace(0, name.size(), name);
          std::int32_t length = -1;
          const auto name_of = room % 2 == 0 ? com_datename : com__datename;
          char* const to = buffer.data();
          const std::int32_t code = is_big
                                        ? com__bigdatename(context, part, &big, to, room, &length)
                                        : name_of(context, part, &value, to, room, &length);
          EXPECT_EQ(std::tuple(code, length, buffer), std::tuple(room < size, size, expected))
              << part << ' ' << room;
        }
    }
  }
  comn_loc_drop(&french, french.locale);
}

// Seconds of a unit, of the parts that are so many seconds.
constexpr std::int64_t kSeconds[15] = {0, 0, 0,       86'400, 86'400,  86'400, 3600, 60,
                                       1, 0, 604'800, 0,      604'800, 86'400, 0};

struct Sum {
  std::int32_t code;
  std::int64_t day, time;  // time in the caller's grain
};

// Calendar steps by chrono, everything else in one count of the grain.
Sum slow_sum(std::uint32_t part, std::int64_t amount, std::int64_t day, std::int64_t time,
             std::int64_t per_second) {
  if (part <= 2 || part == 11) {
    const year_month_day from = date_of(day);
    const std::int64_t month = months_of(from) + amount * (part == 1 ? 3 : part == 2 ? 1 : 12);
    if (month < 12 || month >= 120'000) return {1, 0, time};
    const year_month target = year{static_cast<int>(month / 12)} / static_cast<int>(month % 12 + 1);
    return {0, day_of(target / std::min(from.day(), year_month_day{target / last}.day())), time};
  }
  if (kSeconds[part] >= 86'400)
    amount = std::clamp<std::int64_t>(amount, -4'000'000, 4'000'000);  // far out already
  std::int64_t grains = part == 14 ? amount : amount * kSeconds[part] * per_second;
  if (part == 9)
    grains = per_second == 300 ? (amount * 3 + (amount < 0 ? -5 : 5)) / 10 : amount * 1000;
  const std::int64_t per_day = 86'400 * per_second, sum = day * per_day + time + grains;
  const std::int64_t new_day = (sum - (sum < 0 ? per_day - 1 : 0)) / per_day;
  if (new_day < vdx::kFirstDay || new_day > vdx::kLastDay) return {1, day, time};
  return {0, new_day, sum - new_day * per_day};
}

constexpr bool is_wide(std::int64_t value) { return value != static_cast<std::int32_t>(value); }

TEST(DatePart, SumsFollowTheSlowRules) {
  Random random(11);
  for (std::int32_t i = 0; i < 250'000; ++i) {
    const auto part = static_cast<std::uint32_t>(random.below(15));
    // Amounts of every size; days near both ends as well as anywhere.
    auto amount = static_cast<std::int32_t>(random.sized() >> 32);
    if (i % 3 == 0) amount = static_cast<std::int32_t>(random.below(81)) - 40;
    if (i % 97 == 0) amount = i % 2 == 0 ? kMin : kMax;
    auto day = vdx::kFirstDay + static_cast<std::int32_t>(random.below(3'652'059));
    if (i % 5 == 0) day = i % 2 == 0 ? vdx::kFirstDay + i % 40 : vdx::kLastDay - i % 40;
    const auto micros = static_cast<std::int64_t>(random.below(kDay));
    const std::int32_t ticks = vdx::ticks_of_micros(micros);
    SCOPED_TRACE(testing::Message() << part << ' ' << amount << ' ' << day << ' ' << micros);
    Sum sum = slow_sum(part, amount, day, ticks, 300);
    const std::int64_t months = std::int64_t{amount} * (part == 1 ? 3 : 1);
    const std::int64_t field = months_of(date_of(day)) % 12;
    // What passes 32 bits on the way is refused before anything is made.
    const bool is_month = part == 1 || part == 2, is_year = part == 0 || part == 11;
    if ((is_month && (is_wide(months) || is_wide(months + field))) ||
        (is_year && is_wide(amount + months_of(date_of(day)) / 12)))
      sum = {1, day, ticks};
    if (part == 14) sum = {VDX_OVERFLOW, day, ticks};
    vdx_datetime value{day, ticks};
    const std::int32_t code =
        (i % 2 == 0 ? com__date_add : com__dateadd_both)(part, amount, &value);
    ASSERT_EQ(std::tuple(code, value.day, value.time), std::tuple(sum.code, sum.day, sum.time));

    sum = slow_sum(part, amount, day, micros, 1'000'000);
    vdx_bigdatetime big = big_of(day, micros);
    ASSERT_EQ(com__bigdateadd_both(part, amount, &big), sum.code);
    ASSERT_EQ(big, sum.code == 0 ? big_of(sum.day, sum.time) : big_of(day, micros));
  }
}

std::int64_t slow_difference(std::uint32_t part, std::int64_t d1, std::int64_t t1, std::int64_t d2,
                             std::int64_t t2, std::int64_t per_second) {
  const std::int64_t from = months_of(date_of(d1)), to = months_of(date_of(d2));
  const auto thursday = [](std::int64_t day) { return day - (day + 693'595) % 7 + 3; };
  static constexpr std::int64_t kMonths[] = {12, 3, 1};
  if (part <= 2) return to / kMonths[part] - from / kMonths[part];
  if (part == 3 || part == 13) return (d2 - d1) / 7;
  if (part == 4 || part == 5) return d2 - d1;
  if (part == 10 || part == 12)
    return (d2 + 693'596) / 7 - (d1 + 693'596) / 7;  // Sundays up to a day
  if (part == 11)
    return months_of(date_of(thursday(d2))) / 12 - months_of(date_of(thursday(d1))) / 12;
  if (part == 9 && per_second == 300) return (d2 - d1) * 86'400'000 + (t2 - t1) * 10 / 3;
  const std::int64_t unit = part == 14 ? 1 : part == 9 ? 1000 : kSeconds[part] * per_second;
  return ((d2 - d1) * 86'400 * per_second + t2 - t1) / unit;
}

TEST(DatePart, DifferencesFollowTheSlowRules) {
  Random random(13);
  for (std::int32_t i = 0; i < 250'000; ++i) {
    const auto part = static_cast<std::uint32_t>(random.below(15));
    const std::int64_t limit = part == 7 ? 1'491'308 : part == 8 ? 24'855 : part == 9 ? 24 : kMax;
    const auto first = vdx::kFirstDay + static_cast<std::int64_t>(random.below(3'652'059));
    // Second days anywhere, near the first, and around each limit.
    auto second = vdx::kFirstDay + static_cast<std::int64_t>(random.below(3'652'059));
    const std::int64_t reach = i % 3 == 1 ? 3 : limit;
    if (i % 3 != 2)
      second =
          first + (i % 2 == 0 ? reach : -reach) + static_cast<std::int64_t>(random.below(5)) - 2;
    if (second < vdx::kFirstDay || second > vdx::kLastDay) continue;
    const auto m1 = static_cast<std::int64_t>(random.below(kDay));
    const auto m2 = i % 7 == 0 ? m1 : static_cast<std::int64_t>(random.below(kDay));
    SCOPED_TRACE(testing::Message() << part << ' ' << first << ' ' << m1 << ' ' << second);

    const vdx_datetime a{int_of(first), vdx::ticks_of_micros(m1)};
    const vdx_datetime b{int_of(second), vdx::ticks_of_micros(m2)};
    std::int32_t difference = -7;
    std::int32_t code = com__datediff(part, &a, &b, &difference);
    std::int64_t expected =
        part == 14 ? -7 : slow_difference(part, first, a.time, second, b.time, 300);
    bool is_over = is_wide(expected) || std::abs(second - first) > limit;
    ASSERT_EQ(std::tuple(code, difference), std::tuple(is_over, is_over ? -7 : expected));

    const vdx_bigdatetime big_a = big_of(first, m1), big_b = big_of(second, m2);
    difference = -7;
    code = com__bigdatediff(part, &big_a, &big_b, &difference);
    expected = slow_difference(part, first, m1, second, m2, 1'000'000);
    is_over = is_wide(expected);
    ASSERT_EQ(std::tuple(code, difference), std::tuple(is_over, is_over ? -7 : expected));
  }
}

TEST(DatePart, Edges) {
  const struct {
    std::uint32_t part;
    std::int32_t amount;
    vdx_datetime from, to;
    std::int32_t code;
  } sums[] = {
      // clang-format off
      {0, 1, {day_of(2008y / 2 / 29), 1 << 25}, {day_of(2009y / 2 / 28), 1 << 25}, 0},
      {6, 24, {0, 1 << 25}, {1, 0}, 0}, {6, 0, {0, 25'920'000}, {0, 25'920'000}, 1}, {4, 1, {kMax, 0}, {kMax, 0}, 1},
      // clang-format on
  };
  for (const auto& row : sums) {
    vdx_datetime value = row.from;
    EXPECT_EQ(com__date_add(row.part, row.amount, &value), row.code);
    EXPECT_EQ(com_datecmp(&value, &row.to), 0) << row.part << ": " << value.day;
  }
  const struct {
    std::uint32_t part;
    vdx_datetime first, second;
    std::int32_t difference;  // -7: nothing is stored
    std::int32_t code = difference == -7;
  } differences[] = {
      // clang-format off
      // The last values that fit, and the first that do not.
      {7, {0, 0}, {1'491'308, 127 * 18'000 + 17'999}, kMax}, {7, {0, 0}, {1'491'308, 128 * 18'000}, -7},
      {8, {24'855, 11'648 * 300 + 299}, {0, 0}, kMin}, {8, {24'855, 11'649 * 300}, {0, 0}, -7},
      {9, {0, 0}, {24, 22'165'094}, 2'147'483'646}, {9, {0, 0}, {24, 22'165'095}, -7},
      // Days of no date, bits of no time, parts of no datetime.
      {4, {kMin, 0}, {kMax, 0}, -7}, {6, {0, 5 << 25}, {0, 1'080'000}, 1},
      {14, {0, 0}, {1, 0}, -7, 0}, {~0U, {0, 0}, {1, 0}, -7, 0},
      // clang-format on
  };
  for (const auto& row : differences) {
    std::int32_t difference = -7;
    EXPECT_EQ(com__datediff(row.part, &row.first, &row.second, &difference), row.code);
    EXPECT_EQ(difference, row.difference) << row.part << ' ' << &row - differences;
  }
  constexpr vdx_bigdatetime low = vdx::kFirstBigdatetime;
  const auto difference = [](std::uint32_t part, vdx_bigdatetime a, vdx_bigdatetime b) {
    std::int32_t result = -7;
    const std::int32_t code = com__bigdatediff(part, &a, &b, &result);
    return std::pair(code, result);
  };
  for (const vdx_bigdatetime outside : {vdx_bigdatetime{0}, low - 1, vdx::kLastBigdatetime + 1})
    for (std::uint32_t part = 0; part <= 14; ++part) {
      vdx_bigdatetime value = outside;
      EXPECT_TRUE(com__bigdateadd_both(part, 0, &value) == 1 && value == outside);
      EXPECT_EQ(difference(part, outside, low), std::pair(1, -7));
      EXPECT_EQ(difference(part, low, outside), std::pair(1, -7));
    }
  // At the fine grain the whole units alone decide.
  EXPECT_EQ(difference(15, low, low + 1), std::pair(0, -7));
  for (const auto& [part, unit] :
       {std::pair{7U, 60'000'000}, {8U, 1'000'000}, {9U, 1000}, {14U, 1}}) {
    const auto size = static_cast<std::uint64_t>(unit), over = low + (size << 31);
    EXPECT_EQ(difference(part, low, over), std::pair(1, -7));
    EXPECT_EQ(difference(part, low, over - 1), std::pair(0, kMax));
    EXPECT_EQ(difference(part, over + size - 1, low), std::pair(0, kMin));
  }
}

}  // namespace
