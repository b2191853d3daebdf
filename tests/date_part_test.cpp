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
std::int32_t day_of(year_month_day date) {
  return static_cast<std::int32_t>((sys_days{date} - kZero).count());
}
year_month_day date_of(std::int64_t day) { return kZero + days{day}; }
std::int64_t months_of(year_month_day date) {
  return static_cast<int>(date.year()) * 12 +
         static_cast<int>(static_cast<unsigned>(date.month())) - 1;
}

TEST(DatePart, Names) {
  vdx_context french{};
  ASSERT_EQ(comn_loc_alloc(&french, "iso_1", &french.locale), XS_SUCCEED);
  comn_loc_set(french.locale, VDX_LOC_MONTH + 11,
               "d\xE9"
               "cembre",
               VDX_NULLTERM);
  comn_loc_set(french.locale, VDX_LOC_WEEKDAY + 1, "lundi", VDX_NULLTERM);
  const vdx_context plain{};
  const vdx_datetime value{day_of(2008y / 12 / 29), 14'132'737};  // a Monday
  const vdx_bigdatetime big = big_of(value.day, 47'109'123'456);
  const char* const digits[] = {"2008", "4",   "",   "",     "29", "364", "13", "5",
                                "9",    "123", "53", "2009", "1",  "1",   "0"};
  const vdx_context* const contexts[] = {nullptr, &plain, &french};
  for (const vdx_context* context : contexts)
    for (std::uint32_t part = 0; part <= 14; ++part)
      for (std::int32_t way = 0; way < 3; ++way)
        for (const std::int32_t room : {kMin, -1, 0, 1, 5, 6, 63}) {
          std::string text = part == 2   ? context == &french ? "d\xE9"
                                                                "cembre"
                                                              : "December"
                             : part == 3 ? context == &french ? "lundi" : "Monday"
                                         : digits[part];
          if (way == 2 && part == 14) text = "123456";
          const auto size = static_cast<std::int32_t>(text.size());
          std::string buffer(64, '?'), expected = buffer;
          if (room >= size) expected.replace(0, text.size(), text);
          std::int32_t length = -1;
          const std::int32_t code =
              way == 2 ? com__bigdatename(context, part, &big, buffer.data(), room, &length)
                       : (way == 1 ? com_datename : com__datename)(context, part, &value,
                                                                   buffer.data(), room, &length);
          EXPECT_EQ(std::tuple(code, length, buffer), std::tuple(room < size, size, expected))
              << part << ' ' << room;
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
    const auto row = [&] {
      return testing::Message() << part << ' ' << amount << ' ' << day << ' ' << micros;
    };

    Sum sum = slow_sum(part, amount, day, ticks, 300);
    const std::int64_t months = std::int64_t{amount} * (part == 1 ? 3 : 1);
    const std::int64_t field = months_of(date_of(day)) % 12;
    if (part == 1 ||
        part == 2)  // what passes 32 bits on the way is refused before anything is made
      if (is_wide(months) || is_wide(months + field)) sum = {1, day, ticks};
    if ((part == 0 || part == 11) && is_wide(amount + months_of(date_of(day)) / 12))
      sum = {1, day, ticks};
    if (part == 14) sum = {VDX_OVERFLOW, day, ticks};
    vdx_datetime value{day, ticks};
    const std::int32_t code =
        (i % 2 == 0 ? com__date_add : com__dateadd_both)(part, amount, &value);
    ASSERT_EQ(std::tuple(code, value.day, value.time), std::tuple(sum.code, sum.day, sum.time))
        << row();

    sum = slow_sum(part, amount, day, micros, 1'000'000);
    vdx_bigdatetime big = big_of(day, micros);
    ASSERT_EQ(com__bigdateadd_both(part, amount, &big), sum.code) << row();
    ASSERT_EQ(big, sum.code == 0 ? big_of(sum.day, sum.time) : big_of(day, micros)) << row();
  }
}

TEST(DatePart, SumsAtTheEdges) {
  struct Row {
    std::uint32_t part;
    std::int32_t amount;
    vdx_datetime from;
    std::int32_t code;
    vdx_datetime to;
  } const rows[] = {
      {0, 1, {day_of(2008y / 2 / 29), 1 << 25}, 0, {day_of(2009y / 2 / 28), 1 << 25}},
      {6, 24, {0, 1 << 25}, 0, {1, 0}},
      {6, 0, {0, 25'920'000}, 1, {0, 25'920'000}},
      {9, 86'399'999, {0, 25'919'999}, 0, {1, 25'919'999}},
      {9, -2, {0, 0}, 0, {-1, 25'919'999}},
      {4, 1, {kMax, 0}, 1, {kMax, 0}},
      {4, 0, {vdx::kLastDay, 25'920'000}, 0, {vdx::kLastDay, 25'920'000}},
  };
  for (const Row& row : rows) {
    vdx_datetime value = row.from;
    EXPECT_EQ(com__date_add(row.part, row.amount, &value), row.code);
    EXPECT_EQ(com_datecmp(&value, &row.to), 0)
        << row.part << ": " << value.day << ' ' << value.time;
  }
  const vdx_bigdatetime inside = vdx::kFirstBigdatetime;
  const vdx_bigdatetime outsides[] = {0, inside - 1, vdx::kLastBigdatetime + 1, ~std::uint64_t{0}};
  for (const vdx_bigdatetime outside : outsides)
    for (std::uint32_t part = 0; part <= 14; ++part) {
      vdx_bigdatetime value = outside;
      std::int32_t difference = -7;
      EXPECT_EQ(com__bigdateadd_both(part, 0, &value), 1);
      EXPECT_EQ(com__bigdatediff(part, &value, &inside, &difference), 1);
      EXPECT_EQ(com__bigdatediff(part, &inside, &value, &difference), 1);
      EXPECT_EQ(std::tuple(value, difference), std::tuple(outside, -7));
    }
}

// Elapsed units case by case: on one day, else by way of the day next to the second value.
std::int64_t elapsed(std::int64_t d1, std::int64_t t1, std::int64_t d2, std::int64_t t2,
                     std::int64_t unit, std::int64_t per_day) {
  if (d1 == d2) return (t2 - t1) / unit;
  if (d2 > d1) return (t2 + per_day * unit - t1) / unit + (d2 - 1 - d1) * per_day;
  return (t2 - (t1 + per_day * unit)) / unit + (d2 + 1 - d1) * per_day;
}

std::int64_t slow_difference(std::uint32_t part, std::int64_t d1, std::int64_t t1, std::int64_t d2,
                             std::int64_t t2, std::int64_t per_second) {
  const std::int64_t from = months_of(date_of(d1)), to = months_of(date_of(d2));
  const auto thursday = [](std::int64_t day) { return day - (day + 693'595) % 7 + 3; };
  switch (part) {
    case 0:
      return to / 12 - from / 12;
    case 1:
      return to / 3 - from / 3;
    case 2:
      return to - from;
    case 3:
    case 13:
      return (d2 - d1) / 7;
    case 4:
    case 5:
      return d2 - d1;
    case 6:
    case 7:
    case 8:
      return elapsed(d1, t1, d2, t2, kSeconds[part] * per_second, 86'400 / kSeconds[part]);
    case 9:
      if (per_second == 300) return (d2 - d1) * 86'400'000 + (t2 - t1) * 10 / 3;
      return elapsed(d1, t1, d2, t2, 1000, 86'400'000);
    case 10:
    case 12:
      return (d2 + 693'596) / 7 - (d1 + 693'596) / 7;  // Sundays up to a day
    case 11:
      return months_of(date_of(thursday(d2))) / 12 - months_of(date_of(thursday(d1))) / 12;
    default:
      return elapsed(d1, t1, d2, t2, 1, kDay);
  }
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
    const auto row = [&] {
      return testing::Message() << part << ' ' << first << ' ' << m1 << ' ' << second;
    };

    const vdx_datetime a{static_cast<std::int32_t>(first), vdx::ticks_of_micros(m1)};
    const vdx_datetime b{static_cast<std::int32_t>(second), vdx::ticks_of_micros(m2)};
    std::int32_t difference = -7;
    std::int32_t code = com__datediff(part, &a, &b, &difference);
    std::int64_t expected =
        part == 14 ? -7 : slow_difference(part, first, a.time, second, b.time, 300);
    bool is_over = is_wide(expected) || std::abs(second - first) > limit;
    ASSERT_EQ(std::tuple(code, difference), std::tuple(is_over, is_over ? -7 : expected)) << row();

    const vdx_bigdatetime big_a = big_of(first, m1), big_b = big_of(second, m2);
    difference = -7;
    code = com__bigdatediff(part, &big_a, &big_b, &difference);
    expected = slow_difference(part, first, m1, second, m2, 1'000'000);
    is_over = is_wide(expected);
    ASSERT_EQ(std::tuple(code, difference), std::tuple(is_over, is_over ? -7 : expected)) << row();
  }
}

TEST(DatePart, DifferencesAtTheEdges) {
  struct Row {
    std::uint32_t part;
    vdx_datetime first, second;
    std::int32_t difference;  // -7: nothing is stored
    std::int32_t code = difference == -7;
  } const rows[] = {
      {0, {day_of(2007y / 12 / 31), 0}, {day_of(2008y / 1 / 1), 0}, 1},
      {3, {day_of(2008y / 1 / 5), 0}, {day_of(2008y / 1 / 6), 0}, 0},
      {10, {day_of(2008y / 1 / 5), 0}, {day_of(2008y / 1 / 6), 0}, 1},
      // The last values that fit, and the first that do not.
      {7, {0, 0}, {1'491'308, 127 * 18'000 + 17'999}, kMax},
      {7, {0, 0}, {1'491'308, 128 * 18'000}, -7},
      {7, {1'491'308, 128 * 18'000 + 17'999}, {0, 0}, kMin},
      {7, {1'491'308, 129 * 18'000}, {0, 0}, -7},
      {8, {0, 0}, {24'855, 11'647 * 300 + 299}, kMax},
      {8, {0, 0}, {24'855, 11'648 * 300}, -7},
      {8, {24'855, 11'648 * 300 + 299}, {0, 0}, kMin},
      {8, {24'855, 11'649 * 300}, {0, 0}, -7},
      {9, {0, 0}, {24, 22'165'094}, 2'147'483'646},
      {9, {0, 0}, {24, 22'165'095}, -7},
      {9, {24, 22'165'095}, {0, 0}, -7},
      // Days of no date, bits of no time, parts of no datetime.
      {4, {kMin, 0}, {kMax, 0}, -7},
      {6, {0, 5 << 25}, {0, 1'080'000}, 1},
      {14, {0, 0}, {1, 0}, -7, 0},
      {~0U, {0, 0}, {1, 0}, -7, 0},
  };
  for (const Row& row : rows) {
    std::int32_t difference = -7;
    const std::int32_t code = com__datediff(row.part, &row.first, &row.second, &difference);
    EXPECT_EQ(std::tuple(code, difference), std::tuple(row.code, row.difference))
        << row.part << ' ' << &row - rows;
  }
  // At the fine grain the whole units alone decide.
  for (const auto& [part, unit] :
       {std::pair{7U, 60'000'000ULL}, {8U, 1'000'000ULL}, {9U, 1000ULL}, {14U, 1ULL}}) {
    const vdx_bigdatetime low = vdx::kFirstBigdatetime, over = low + (std::uint64_t{unit} << 31);
    const vdx_bigdatetime most = over - 1, least = over + unit - 1;
    std::int32_t difference = -7;
    EXPECT_EQ(com__bigdatediff(part, &low, &over, &difference), 1);
    EXPECT_EQ(com__bigdatediff(15, &low, &most, &difference), 0);
    EXPECT_EQ(difference, -7);
    EXPECT_EQ(com__bigdatediff(part, &low, &most, &difference), 0);
    EXPECT_EQ(difference, kMax);
    EXPECT_EQ(com__bigdatediff(part, &least, &low, &difference), 0);
    EXPECT_EQ(difference, kMin);
  }
}

}  // namespace
