// Parts of dates, their names, addition and differences, against slow rules of their own.
#include <chrono>
#include <limits>
#include <string>

#include "date/calendar.h"
#include "support.h"
#include "vdxcomn.h"

namespace {

using namespace std::chrono;
using vdx_test::Random;

constexpr std::int32_t kMin = std::numeric_limits<std::int32_t>::min();
constexpr std::int32_t kMax = std::numeric_limits<std::int32_t>::max();
constexpr std::int64_t kDay = 86'400'000'000;  // microseconds
constexpr sys_days kZero = 1900y / 1 / 1;

vdx_bigdatetime big_of(std::int64_t day, std::int64_t micros = 0) {
  return static_cast<vdx_bigdatetime>((day + 693'961) * kDay + micros);
}
std::int32_t day_of(year_month_day date) { return static_cast<std::int32_t>((sys_days{date} - kZero).count()); }
year_month_day date_of(std::int64_t day) { return kZero + days{day}; }
std::int32_t year_of(year_month_day date) { return static_cast<int>(date.year()); }
std::int32_t month_of(year_month_day date) { return static_cast<std::int32_t>(static_cast<unsigned>(date.month())) - 1; }

// The Monday that starts a year's ISO week 1: the one of January 4.
sys_days iso_start(year y) {
  const sys_days fourth = y / 1 / 4;
  return fourth - (weekday{fourth} - Monday);
}
year iso_year(sys_days date) {
  const year y = year_month_day{date}.year();
  return date < iso_start(y) ? y - years{1} : date >= iso_start(y + years{1}) ? y + years{1} : y;
}

TEST(DatePart, EveryDayHasItsParts) {
  std::int32_t wrong = 0;
  for (std::int32_t day = vdx::kFirstDay; day <= vdx::kLastDay && wrong < 5; ++day) {
    const sys_days date = kZero + days{day};
    const year_month_day ymd{date};
    const sys_days new_year = ymd.year() / 1 / 1;
    const auto day_of_year = static_cast<std::int32_t>((date - new_year).count()) + 1;
    const auto sunday_based = static_cast<std::int32_t>(weekday{date}.c_encoding());
    const auto iso_weekday = static_cast<std::int32_t>(weekday{date}.iso_encoding());
    const std::int32_t first = 1 + (day & 0xFFFF) % 7;
    const year iso = iso_year(date);
    const std::int32_t expected[] = {
        year_of(ymd), month_of(ymd) / 3 + 1, month_of(ymd) + 1,
        // The weekday counts how often one steps from the first day, itself the first.
        static_cast<std::int32_t>((weekday{date} - weekday{static_cast<unsigned>(first)}).count()) + 1,
        static_cast<std::int32_t>(static_cast<unsigned>(ymd.day())), day_of_year, 13, 5, 9, 123,
        // Sundays since December 31 of the last year, and the week that January 1 is in.
        static_cast<std::int32_t>((date - days{sunday_based} - (new_year - days{weekday{new_year}.c_encoding()})).count()) / 7 + 1,
        static_cast<int>(iso), static_cast<std::int32_t>((date - iso_start(iso)).count()) / 7 + 1, iso_weekday};
    const vdx_datetime value{day, 14'132'737};
    const vdx_bigdatetime big = big_of(day, 47'109'123'999);
    bool right = com__datepart(14, &value, first) == 0 && com__bigdatepart(14, &big, first) == 123'999;
    for (std::uint32_t part = 0; part < 14; ++part)
      right &= (day % 2 == 0 ? com__datepart : com_datepart)(part, &value, first) == expected[part] &&
               com__bigdatepart(part, &big, first) == expected[part];
    if (!right) {
      ++wrong;
      ADD_FAILURE() << "day " << day;
    }
  }
}

TEST(DatePart, Names) {
  vdx_context french{};
  french.version = VDX_VERSION;
  ASSERT_EQ(comn_loc_alloc(&french, "iso_1", &french.locale), XS_SUCCEED);
  comn_loc_set(french.locale, VDX_LOC_MONTH + 11, "d\xE9" "cembre", VDX_NULLTERM);
  comn_loc_set(french.locale, VDX_LOC_WEEKDAY + 1, "lundi", VDX_NULLTERM);
  const vdx_context plain{};
  const vdx_datetime value{day_of(2008y / 12 / 29), 14'132'737};  // a Monday
  const vdx_bigdatetime big = big_of(value.day, 47'109'123'456);
  const char* const expected[] = {"2008", "4", "December", "Monday", "29", "364", "13", "5", "9", "123", "53", "2009", "1", "1"};
  struct Row {
    const vdx_context* context;
    const char *month, *weekday;
  } const rows[] = {{nullptr, "December", "Monday"}, {&plain, "December", "Monday"}, {&french, "d\xE9" "cembre", "lundi"}};
  for (const Row& row : rows)
    for (std::uint32_t part = 0; part <= 14; ++part) {
      SCOPED_TRACE(part);
      const std::string name = part == 2 ? row.month : part == 3 ? row.weekday : part == 14 ? "0" : expected[part];
      const std::string big_name = part == 14 ? "123456" : name;
      for (std::int32_t way = 0; way < 3; ++way)
        for (const std::int32_t room : {kMin, -1, 0, 1, 5, 6, 63}) {
          char buffer[64];
          std::memset(buffer, '?', sizeof buffer);
          std::int32_t length = -1;
          const std::string& text = way == 2 ? big_name : name;
          const auto size = static_cast<std::int32_t>(text.size());
          const std::int32_t code =
              way == 2 ? com__bigdatename(row.context, part, &big, buffer, room, &length)
                       : (way == 1 ? com_datename : com__datename)(row.context, part, &value, buffer, room, &length);
          EXPECT_EQ(code, room < size);
          EXPECT_EQ(length, size);
          EXPECT_EQ(std::string(buffer, 64), (room < size ? "" : text) + std::string(room < size ? 64 : 64 - text.size(), '?'));
        }
    }
  comn_loc_drop(&french, french.locale);
}

struct Sum {
  std::int32_t code;
  std::int64_t day, time;  // grain of the caller
};

// Addition by the rules' own words: calendar steps by chrono, everything else in one wide count of
// the grain. per_ms: of the grain, in tenths.
Sum slow_sum(std::uint32_t part, std::int64_t amount, std::int64_t day, std::int64_t time, std::int64_t per_second) {
  const std::int64_t per_day = 86'400 * per_second;
  if (part <= 2 || part == 11) {
    const std::int64_t unit = part == 1 ? 3 : part == 2 ? 1 : 12;
    const year_month_day from = date_of(day);
    const std::int64_t month = (year_of(from) * std::int64_t{12} + month_of(from)) + amount * unit;
    if (month < 12 || month >= 120'000) return {1, 0, time};
    const year_month target = year{static_cast<int>(month / 12)} / static_cast<int>(month % 12 + 1);
    const year_month_day end = target / last;
    return {0, day_of(target / std::min(from.day(), end.day())), time};
  }
  std::int64_t grains = 0, extra_days = 0;
  switch (part) {
    case 6: grains = amount * 3600 * per_second; break;
    case 7: grains = amount * 60 * per_second; break;
    case 8: grains = amount * per_second; break;
    case 9: grains = per_second == 300 ? (amount * 3 + (amount < 0 ? -5 : 5)) / 10 : amount * 1000; break;
    case 14: grains = amount; break;
    default: extra_days = amount * (part == 10 || part == 12 ? 7 : 1);
  }
  std::int64_t sum = time + grains;
  std::int64_t carried = sum / per_day;
  if (sum % per_day < 0) --carried;
  const std::int64_t new_day = day + extra_days + carried;
  if (new_day < vdx::kFirstDay || new_day > vdx::kLastDay) return {1, day, time};
  return {0, new_day, sum - carried * per_day};
}

TEST(DatePart, SumsFollowTheSlowRules) {
  Random random(11);
  for (std::int32_t i = 0; i < 600'000; ++i) {
    const auto part = static_cast<std::uint32_t>(random.below(15));
    // Amounts of every size; days near both ends as well as anywhere.
    auto amount = static_cast<std::int32_t>(random.sized() >> 32);
    if (i % 3 == 0) amount = static_cast<std::int32_t>(random.below(81)) - 40;
    if (i % 97 == 0) amount = i % 2 == 0 ? kMin : kMax;
    auto day = vdx::kFirstDay + static_cast<std::int32_t>(random.below(3'652'059));
    if (i % 5 == 0) day = i % 2 == 0 ? vdx::kFirstDay + i % 40 : vdx::kLastDay - i % 40;
    const auto micros = static_cast<std::int64_t>(random.below(kDay));
    const std::int32_t ticks = vdx::ticks_of_micros(micros);
    SCOPED_TRACE(testing::Message() << "part " << part << " amount " << amount << " day " << day << " micros " << micros);

    vdx_datetime value{day, ticks};
    const std::int32_t code = (i % 2 == 0 ? com__date_add : com__dateadd_both)(part, amount, &value);
    if (part == 14) {
      ASSERT_EQ(std::tuple(code, value.day, value.time), std::tuple(VDX_OVERFLOW, day, ticks));
    } else {
      Sum sum = slow_sum(part, amount, day, ticks, 300);
      // What passes 32 bits on the way is refused before anything is made.
      const std::int64_t months = std::int64_t{amount} * (part == 1 ? 3 : 1);
      const std::int64_t field = part == 0 || part == 11 ? amount + std::int64_t{year_of(date_of(day))} : months + month_of(date_of(day));
      if ((part <= 2 || part == 11) && (months != static_cast<std::int32_t>(months) || field != static_cast<std::int32_t>(field)))
        sum = {1, day, ticks};
      ASSERT_EQ(std::tuple(code, value.day, value.time), std::tuple(sum.code, sum.day, sum.time));
    }

    vdx_bigdatetime big = big_of(day, micros);
    const Sum sum = slow_sum(part, amount, day, micros, 1'000'000);
    ASSERT_EQ(com__bigdateadd_both(part, amount, &big), sum.code);
    ASSERT_EQ(big, sum.code == 0 ? big_of(sum.day, sum.time) : big_of(day, micros));
  }
}

TEST(DatePart, SumsAtTheEdges) {
  const std::int32_t jan31_2007 = day_of(2007y / 1 / 31), jan31_2008 = day_of(2008y / 1 / 31);
  struct Row {
    std::uint32_t part;
    std::int32_t amount;
    vdx_datetime from;
    std::int32_t code;
    vdx_datetime to;
  } const rows[] = {
      {2, 1, {jan31_2007, 7}, 0, {day_of(2007y / 2 / 28), 7}},
      {2, 1, {jan31_2008, 7}, 0, {day_of(2008y / 2 / 29), 7}},
      {2, -1, {jan31_2008, 7}, 0, {day_of(2007y / 12 / 31), 7}},
      {0, 1, {day_of(2008y / 2 / 29), 1 << 25}, 0, {day_of(2009y / 2 / 28), 1 << 25}},
      {6, 25, {0, 23 * 1'080'000}, 0, {2, 0}},
      {6, 24, {0, 1 << 25}, 0, {1, 0}},
      {6, 0, {0, 25'920'000}, 1, {0, 25'920'000}},
      {9, 86'399'999, {0, 25'919'999}, 0, {1, 25'919'999}},
      {9, -2, {0, 0}, 0, {-1, 25'919'999}},
      {9, -1, {0, 0}, 0, {0, 0}},
      {8, -1, {vdx::kFirstDay, 299}, 1, {vdx::kFirstDay, 299}},
      {8, 1, {vdx::kLastDay, 25'919'700}, 1, {vdx::kLastDay, 25'919'700}},
      {4, 1, {kMax, 0}, 1, {kMax, 0}},
      {4, 0, {vdx::kLastDay, 25'920'000}, 0, {vdx::kLastDay, 25'920'000}},
      {1, kMax, {5, 6}, 1, {5, 6}},
      {0, 8099, {5, 6}, 0, {day_of(9999y / 1 / 6), 6}},
      {0, 8100, {5, 6}, 1, {0, 6}},
  };
  for (const Row& row : rows) {
    SCOPED_TRACE(testing::Message() << row.part << ' ' << row.amount << ' ' << row.from.day);
    vdx_datetime value = row.from;
    EXPECT_EQ(com__date_add(row.part, row.amount, &value), row.code);
    EXPECT_EQ(com_datecmp(&value, &row.to), 0) << value.day << ' ' << value.time;
  }
  const vdx_bigdatetime outsides[] = {0, vdx::kFirstBigdatetime - 1, vdx::kLastBigdatetime + 1, ~std::uint64_t{0}};
  for (const vdx_bigdatetime outside : outsides)
    for (std::uint32_t part = 0; part <= 14; ++part) {
      vdx_bigdatetime value = outside;
      EXPECT_EQ(com__bigdateadd_both(part, 0, &value), 1);
      EXPECT_EQ(value, outside);
      const vdx_bigdatetime inside = vdx::kFirstBigdatetime;
      std::int32_t difference = -7;
      EXPECT_EQ(com__bigdatediff(part, &value, &inside, &difference), 1);
      EXPECT_EQ(com__bigdatediff(part, &inside, &value, &difference), 1);
      EXPECT_EQ(difference, -7);
    }
}

// Sundays up to a day.
std::int64_t sundays(std::int64_t day) { return (day + 693'596) / 7; }

// The rule of hours, minutes and seconds case by case: elapsed on one day, else by way of the day
// next to the second value.
std::int64_t elapsed(std::int64_t d1, std::int64_t t1, std::int64_t d2, std::int64_t t2, std::int64_t unit, std::int64_t per_day) {
  const std::int64_t grains = per_day * unit;
  if (d1 == d2) return (t2 - t1) / unit;
  if (d2 > d1) return (t2 + grains - t1) / unit + (d2 - 1 - d1) * per_day;
  return (t2 - (t1 + grains)) / unit + (d2 + 1 - d1) * per_day;
}

std::int64_t slow_difference(std::uint32_t part, std::int64_t d1, std::int64_t t1, std::int64_t d2, std::int64_t t2, std::int64_t per_second) {
  const year_month_day a = date_of(d1), b = date_of(d2);
  switch (part) {
    case 0: return year_of(b) - year_of(a);
    case 1: return (year_of(b) * 4 + month_of(b) / 3) - (year_of(a) * 4 + month_of(a) / 3);
    case 2: return (year_of(b) * 12 + month_of(b)) - (year_of(a) * 12 + month_of(a));
    case 3:
    case 13: return (d2 - d1) / 7;
    case 4:
    case 5: return d2 - d1;
    case 6: return elapsed(d1, t1, d2, t2, 3600 * per_second, 24);
    case 7: return elapsed(d1, t1, d2, t2, 60 * per_second, 1440);
    case 8: return elapsed(d1, t1, d2, t2, per_second, 86'400);
    case 9: return per_second == 300 ? (d2 - d1) * 86'400'000 + (t2 - t1) * 10 / 3 : elapsed(d1, t1, d2, t2, 1000, 86'400'000);
    case 10:
    case 12: return sundays(d2) - sundays(d1);
    case 11: return static_cast<int>(iso_year(kZero + days{d2})) - static_cast<int>(iso_year(kZero + days{d1}));
    default: return elapsed(d1, t1, d2, t2, 1, kDay);
  }
}

TEST(DatePart, DifferencesFollowTheSlowRules) {
  Random random(13);
  constexpr std::int32_t kDayLimits[] = {kMax, 1'491'308, 24'855, 24};  // from hours on
  for (std::int32_t i = 0; i < 600'000; ++i) {
    const auto part = static_cast<std::uint32_t>(random.below(15));
    const auto first = vdx::kFirstDay + static_cast<std::int64_t>(random.below(3'652'059));
    // Second days anywhere, near the first, and around each limit.
    auto second = vdx::kFirstDay + static_cast<std::int64_t>(random.below(3'652'059));
    const std::int64_t reach = part >= 7 && part <= 9 && i % 3 == 0 ? kDayLimits[part - 6] : i % 3 == 1 ? 3 : -1;
    if (reach >= 0) second = first + (i % 2 == 0 ? reach : -reach) + static_cast<std::int64_t>(random.below(5)) - 2;
    if (second < vdx::kFirstDay || second > vdx::kLastDay) continue;
    const auto m1 = static_cast<std::int64_t>(random.below(kDay));
    const auto m2 = i % 7 == 0 ? m1 : static_cast<std::int64_t>(random.below(kDay));
    SCOPED_TRACE(testing::Message() << "part " << part << ' ' << first << ' ' << m1 << ' ' << second << ' ' << m2);

    const vdx_datetime a{static_cast<std::int32_t>(first), vdx::ticks_of_micros(m1)};
    const vdx_datetime b{static_cast<std::int32_t>(second), vdx::ticks_of_micros(m2)};
    std::int32_t difference = -7;
    const std::int32_t code = com__datediff(part, &a, &b, &difference);
    std::int64_t expected = slow_difference(part, first, a.time, second, b.time, 300);
    bool is_over = expected != static_cast<std::int32_t>(expected);
    if (part >= 7 && part <= 9) is_over |= std::abs(second - first) > kDayLimits[part - 6];
    if (part == 14) expected = -7, is_over = false;
    ASSERT_EQ(std::tuple(code, difference), std::tuple(is_over, is_over ? -7 : expected));

    const vdx_bigdatetime big_a = big_of(first, m1), big_b = big_of(second, m2);
    difference = -7;
    const std::int32_t big_code = com__bigdatediff(part, &big_a, &big_b, &difference);
    expected = slow_difference(part, first, m1, second, m2, 1'000'000);
    is_over = expected != static_cast<std::int32_t>(expected);
    ASSERT_EQ(std::tuple(big_code, difference), std::tuple(is_over, is_over ? -7 : expected));
  }
}

TEST(DatePart, DifferencesAtTheEdges) {
  struct Row {
    std::uint32_t part;
    vdx_datetime first, second;
    std::int32_t code, difference;  // -7 where nothing is stored
  } const rows[] = {
      {0, {day_of(2007y / 12 / 31), 0}, {day_of(2008y / 1 / 1), 0}, 0, 1},
      {3, {day_of(2008y / 1 / 5), 0}, {day_of(2008y / 1 / 6), 0}, 0, 0},
      {10, {day_of(2008y / 1 / 5), 0}, {day_of(2008y / 1 / 6), 0}, 0, 1},
      {12, {day_of(2008y / 1 / 6), 0}, {day_of(2008y / 1 / 5), 0}, 0, -1},
      // The last values that fit, and the first that do not.
      {7, {0, 0}, {1'491'308, 127 * 18'000 + 17'999}, 0, kMax},
      {7, {0, 0}, {1'491'308, 128 * 18'000}, 1, -7},
      {7, {1'491'308, 128 * 18'000 + 17'999}, {0, 0}, 0, kMin},
      {7, {1'491'308, 129 * 18'000}, {0, 0}, 1, -7},
      {7, {0, 18'000 * 1439}, {1'491'309, 0}, 1, -7},
      {8, {0, 0}, {24'855, 11'647 * 300 + 299}, 0, kMax},
      {8, {0, 0}, {24'855, 11'648 * 300}, 1, -7},
      {8, {24'855, 11'648 * 300 + 299}, {0, 0}, 0, kMin},
      {8, {24'855, 11'649 * 300}, {0, 0}, 1, -7},
      {8, {0, 25'919'999}, {24'856, 0}, 1, -7},
      {9, {0, 0}, {24, 22'165'094}, 0, 2'147'483'646},
      {9, {0, 0}, {24, 22'165'095}, 1, -7},
      {9, {24, 22'165'094}, {0, 0}, 0, -2'147'483'646},
      {9, {24, 22'165'095}, {0, 0}, 1, -7},
      {9, {0, 25'919'999}, {25, 0}, 1, -7},
      // Days of no date, and bits of no time.
      {4, {kMin, 0}, {kMax, 0}, 1, -7},
      {6, {0, 5 << 25}, {0, 1'080'000}, 0, 1},
      {14, {0, 0}, {1, 0}, 0, -7},
      {15, {0, 0}, {1, 0}, 0, -7},
  };
  for (const Row& row : rows) {
    SCOPED_TRACE(testing::Message() << row.part << ' ' << row.first.day << ' ' << row.second.day << ' ' << row.second.time);
    std::int32_t difference = -7;
    EXPECT_EQ(com__datediff(row.part, &row.first, &row.second, &difference), row.code);
    EXPECT_EQ(difference, row.difference);
  }
  // At the fine grain the whole units alone decide.
  const std::int64_t units[] = {60'000'000, 1'000'000, 1'000, 0, 0, 0, 0, 1};
  for (const std::uint32_t part : {7U, 8U, 9U, 14U}) {
    const auto unit = static_cast<vdx_bigdatetime>(units[part - 7]);
    const vdx_bigdatetime low = vdx::kFirstBigdatetime, fits = low + (unit << 31) - 1, over = fits + 1;
    std::int32_t difference = -7;
    EXPECT_EQ(com__bigdatediff(part, &low, &over, &difference), 1);
    EXPECT_EQ(com__bigdatediff(15, &low, &fits, &difference), 0);
    EXPECT_EQ(difference, -7);
    EXPECT_EQ(com__bigdatediff(part, &low, &fits, &difference), 0);
    EXPECT_EQ(difference, kMax);
    const vdx_bigdatetime least = over + unit - 1;
    EXPECT_EQ(com__bigdatediff(part, &least, &low, &difference), 0);
    EXPECT_EQ(difference, kMin);
  }
}

}  // namespace
