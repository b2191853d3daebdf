// Dates and times as text, and what a locale says of them.
#include <chrono>
#include <map>
#include <string>

#include "date/values.h"
#include "intl/locale.h"
#include "support.h"

namespace {

using vdx::kEnglishMonths;
constexpr const char* const* kShort = vdx::kEnglishShortMonths;
const vdx_bigdatetime kDay0 = 59958230400000000;  // 1900-01-01
const vdx_bigdatetime kMidnight = kDay0 + 36523 * 86400000000 + 7999600;

// Each letter of a layout is a field: N name of the month, m its number, d day (D without a zero), Y
// year (y without the century), h hour (H of twelve), i minute, s second, f and u its thousandths
// and millionths, p AM or PM.
struct Row {
  std::uint32_t style;
  std::string_view layout;
};

// clang-format off
const Row kRows[] = {
    {0, "N D Y H:ip"}, {1, "m/d/y"}, {2, "y.m.d"}, {3, "d/m/y"}, {4, "d.m.y"}, {5, "d-m-y"}, {6, "d N y"},
    {7, "N d, y"}, {8, "h:i:s"}, {9, "N D Y H:i:s:fp"}, {10, "m-d-y"}, {11, "y/m/d"}, {12, "ymd"},
    {13, "y/d/m"}, {14, "m/y/d"}, {15, "d/y/m"}, {16, "N D Y h:i:s"}, {17, "H:ip"}, {18, "h:i"},
    {19, "H:i:s:fp"}, {20, "h:i:s:f"}, {21, "y/m/d h:i:s"}, {22, "y/m/d H:ip"}, {23, "Y-m-dTh:i:s"},
    {36, "H:i:s.up"}, {37, "h:i:s.u"}, {38, "N D y H:i:s.up"}, {39, "N D y h:i:s.u"}, {40, "y-m-d h:i:s.u"},
    {100, "N D Y H:ip"}, {101, "m/d/Y"}, {102, "Y.m.d"}, {103, "d/m/Y"}, {104, "d.m.Y"}, {105, "d-m-Y"},
    {106, "d N Y"}, {107, "N d,Y"}, {108, "h:i:s"}, {109, "N D Y H:i:s:fp"}, {110, "m-d-Y"},
    {111, "Y/m/d"}, {112, "Ymd"}, {113, "Y/d/m"}, {114, "m/Y/d"}, {115, "d/Y/m"}, {116, "N D Y h:i:s"},
    {117, "H:ip"}, {118, "h:i"}, {121, "Y/m/d h:i:s"}, {122, "Y/m/d H:ip"}, {136, "H:i:s.up"},
    {137, "h:i:s.u"}, {138, "N D Y H:i:s.up"}, {139, "N D Y h:i:s.u"}, {140, "Y-m-d h:i:s.u"}};
// clang-format on

std::string padded(std::int64_t n, std::size_t width = 2, char fill = '0') {
  const std::string digits = std::to_string(n);
  return std::string(width - digits.size(), fill) + digits;
}

// A text of the layout; thousandths are rounded, without a carry. Of a name nine bytes are shown.
std::string slowly(std::string_view layout, std::int64_t day, std::int64_t micros,
                   const char* const* months) {
  using namespace std::chrono;
  const year_month_day date{sys_days{1900y / 1 / 1} + days{day}};
  const std::int64_t hour = micros / 3600000000, rest = micros % 1000000, year = int{date.year()};
  const std::uint32_t month{date.month()}, of_month{date.day()};
  const std::string name = months != nullptr ? months[month - 1] : "";
  // clang-format off
  const std::map<char, std::string> fields = {
      {'N', name.substr(0, 9)}, {'m', padded(month)}, {'d', padded(of_month)},
      {'D', padded(of_month, 2, ' ')}, {'Y', padded(year, 4)}, {'y', padded(year % 100)},
      {'h', padded(hour)}, {'H', padded((hour + 11) % 12 + 1, 2, ' ')},
      {'i', padded(micros / 60000000 % 60)}, {'s', padded(micros / 1000000 % 60)},
      {'f', padded((rest + 500) / 1000 % 1000, 3)}, {'u', padded(rest, 6)},
      {'p', hour < 12 ? "AM" : "PM"}};
  // clang-format on
  std::string text;
  for (const char c : layout) text += fields.contains(c) ? fields.at(c) : std::string(1, c);
  return text;
}

// What a formatter places: the text, or its negative result as digits. Nothing beyond may change.
template <class T>
std::string text(std::int32_t (*format)(const T*, char*, std::int32_t, std::uint32_t,
                                        const char* const*),
                 const T& value, std::uint32_t style, const char* const* months = kShort,
                 std::int32_t length = -1) {
  char buffer[64];
  std::memset(buffer, '~', sizeof buffer);
  const std::int32_t placed = format(&value, buffer, length, style, months);
  if (placed < 0) {
    EXPECT_EQ(buffer[0], '~');
    return std::to_string(placed);
  }
  const std::int32_t size = placed > 0 ? placed : length;
  EXPECT_EQ(std::count(buffer + size, std::end(buffer), '~'), 64 - size);
  return std::string(buffer, static_cast<std::size_t>(size)) + (placed == 0 ? "|" : "");
}

TEST(DateFormat, Styles) {
  vdx_test::Random random(2008);
  std::size_t known = 0;
  for (std::uint32_t style = 0; style < 300; ++style)
    known += text(com__datetochar, {1, 2}, style) != "-1";
  EXPECT_EQ(known, std::size(kRows));
  for (const auto& [style, layout] : kRows) {
    SCOPED_TRACE(style);
    const bool has_time = layout.find('i') != layout.npos;
    // A time alone is of 1900-01-01, a date alone is midnight; two styles show only their part.
    const bool plain = style == 0 || style == 9;
    const std::string none(1, '\0');
    for (int i = 0; i < 500 && !HasFailure(); ++i) {
      static const char* const kOdd[12] = {"j", "",  "Septembre",  "Septembres", "", "j",
                                           "",  "j", "Septembres", "",           "", ""};
      const char* const* months = i % 3 == 0 ? kShort : i % 3 == 1 ? kEnglishMonths : kOdd;
      const auto day = static_cast<std::int32_t>(random.below(3652059)) - 693595;
      const auto time = static_cast<std::int32_t>(random.below(25920000));
      const std::int64_t second = static_cast<std::int64_t>(random.below(86400)) * 1000000;
      const std::int64_t micros = second + (i % 8 == 0 ? 999600 : i * 1999);
      const std::int64_t of_ticks = std::int64_t{time} * 10 / 3 * 1000;
      const vdx_datetime value{day, time};
      const std::string shown = slowly(layout, day, of_ticks, months);
      EXPECT_EQ(text(com__datetochar, value, style, months), shown);
      EXPECT_EQ(
          text(com__bigdatetimetochar,
               kDay0 + static_cast<vdx_bigdatetime>(day * 86400000000 + micros), style, months),
          slowly(layout, day, micros, months));
      // Whole from the first length that holds it, before that its first bytes.
      const auto size = static_cast<std::int32_t>(shown.size()), room = i % (size + 1);
      EXPECT_EQ(text(com__datetochar, value, style, months, room),
                shown.substr(0, static_cast<std::size_t>(room)) + (room < size ? "|" : ""));
      const std::string_view rest = layout.substr(plain ? 6 : 0), date = plain ? "N D Y" : layout;
      EXPECT_EQ(text(com__timeatochar, time, style, months),
                has_time ? slowly(rest, 0, of_ticks, months) : none);
      EXPECT_EQ(text(com__bigtimetochar, static_cast<vdx_bigtime>(micros), style, months),
                has_time ? slowly(rest, 0, micros, months) : none);
      EXPECT_EQ(text(com__dateatochar, day, style, months), slowly(date, day, 0, months));
      EXPECT_EQ(text(com__date4tochar, {static_cast<std::uint16_t>(i * 131), 1439}, style, months),
                slowly(layout, i * 131, 86340000000, months));
    }
    EXPECT_EQ(text(com__datetochar, {1, 2}, style, nullptr),
              layout.find('N') != layout.npos ? "-2" : slowly(layout, 1, 6000, nullptr));
  }
  EXPECT_EQ(text(com__timeatochar, 1, 6, nullptr), std::string(1, '\0'));
  EXPECT_EQ(text(com__timeatochar, 1, 6, nullptr, 0), "|");
  EXPECT_EQ(text(com__timeatochar, 1, 24), "-1");
  EXPECT_EQ(text(com__timeatochar, 1, 100, nullptr), "-2");
  EXPECT_EQ(text(com__dateatochar, 1, 0, nullptr), "-2");
}

// Values out of range are shown as some text of the style's length.
TEST(DateFormat, TakesAnyValue) {
  for (const std::int32_t day : {INT32_MIN, INT32_MIN + 1, -693596, -693960, 2958464, INT32_MAX})
    for (const std::int32_t time : {-1, INT32_MIN, INT32_MAX, 25920000})
      for (const auto& [style, layout] : kRows) {
        const std::size_t size = slowly(layout, 0, 0, kShort).size();
        EXPECT_EQ(text(com__datetochar, {day, time}, style).size(), size);
        EXPECT_GE(text(com__timeatochar, time, style).size(), 1U);
        EXPECT_EQ(text(com__bigdatetimetochar, static_cast<vdx_bigdatetime>(day), style).size(),
                  size);
      }
}

struct Locale {
  vdx_locale* record = nullptr;
  Locale() { EXPECT_EQ(comn_loc_alloc(nullptr, "utf8", &record), 1); }
  ~Locale() { comn_loc_drop(nullptr, record); }
  void set(std::int32_t what, std::int32_t number) {
    EXPECT_EQ(comn_loc_set(record, what, &number, 4), 1);
  }
  void name(std::int32_t what, const char* name) {
    EXPECT_EQ(comn_loc_set(record, what, name, VDX_NULLTERM), 1);
  }
};

TEST(DateLocale, ReadsSettings) {
  Locale mine, other;
  vdx_context context{};
  context.locale = other.record;
  mine.set(VDX_LOC_DATE_ORDER, 3);
  mine.set(VDX_LOC_FIRST_DAY, 1);
  other.set(VDX_LOC_DATE_ORDER, 5);
  const std::tuple<vdx_context*, vdx_locale*, int, int> rows[] = {
      {&context, mine.record, 3, 1}, {&context, nullptr, 5, 7}, {nullptr, nullptr, 1, 7}};
  for (const auto& [given, locale, order, first] : rows) {
    EXPECT_EQ(com_intl_dateorder(given, locale), order);
    EXPECT_EQ(com_intl_firstday(given, locale), first);
  }
  for (std::int32_t style = -3; style < 400; ++style) {
    mine.set(VDX_LOC_DATE_STYLE, style);
    EXPECT_EQ(comn_intl_get_dtfmt(nullptr, mine.record), style);
    const auto given = static_cast<std::uint32_t>(style);
    const bool known =
        std::any_of(std::begin(kRows), std::end(kRows), [&](auto& r) { return r.style == given; });
    EXPECT_EQ(comn_get_datetochar_fmt(nullptr, mine.record), known ? given : 0U);
  }
}

// The code of a service, then what it places.
template <class Service>
std::string placed(Service service) {
  char buffer[64];
  std::int32_t length = -1;
  const std::int32_t code = service(buffer, &length);
  return std::to_string(code) + " " + std::string(buffer, static_cast<std::size_t>(length));
}

TEST(DateLocale, GivesNames) {
  Locale locale;
  locale.name(VDX_LOC_MONTH + 1, "F\xC3\xA9vrier");
  locale.name(VDX_LOC_SHORT_MONTH + 1, "f\xC3\xA9v");
  locale.name(VDX_LOC_WEEKDAY + 6, "samedi");
  const struct {
    char kind;
    std::int32_t number, size;
    const char* result;
  } rows[] = {
      // clang-format off
      {'M', 1, 63, "1 F\xC3\xA9vrier"}, {'S', 1, 4, "1 f\xC3\xA9v"}, {'S', 1, 3, "-101 f\xC3\xA9"},
      {'S', 11, 3, "1 Dec"}, {'M', 12, 63, "-107 "}, {'M', -1, 63, "-107 "},
      {'D', 6, 63, "1 samedi"}, {'D', 0, 63, "1 Sunday"}, {'D', 7, 63, "-107 "}, {'D', 0, 0, "-101 "},
      // clang-format on
  };
  for (const auto& [kind, number, size, result] : rows)
    EXPECT_EQ(placed([&, kind = kind, number = number, size = size](char* to, auto* length) {
                return kind == 'D' ? comn_intl_day(nullptr, locale.record, number, to, size, length)
                                   : comn_intl_month(nullptr, locale.record, number, kind == 'S',
                                                     to, size, length);
              }),
              result)
        << kind << number;
}

TEST(DateLocale, ShowsValues) {
  Locale locale;
  locale.set(VDX_LOC_DATE_STYLE, 140);
  locale.name(VDX_LOC_SHORT_MONTH + 11, "d\xC3\251c.");
  std::string nine;  // Of a name nine characters are shown, however many bytes.
  for (int i = 0; i < 9; ++i) nine += "\xD0\xB4";
  locale.name(VDX_LOC_SHORT_MONTH + 1, (nine + "\xD0\xB4").c_str());
  const vdx_datetime last{36523, 25919999};
  using vdx_test::image;
  const struct {
    std::int32_t datatype;
    vdx_test::Bytes value;
    std::int32_t style, size;  // style -1: the locale's
    std::string result;
  } rows[] = {
      // clang-format off
      {VDX_DATETIME, image(last), -1, 26, "1 1999-12-31 23:59:59.996000"},
      {VDX_DATETIME, image(last), 106, 64, "1 31 d\xC3\251c. 1999"},
      {VDX_DATE4, image(vdx_date4{36523, 1}), 12, 5, "-101 99123"},
      {VDX_DATEA, image(36523), 23, 64, "1 1999-12-31T00:00:00"}, {VDX_TIMEA, image(300), 8, 64, "1 00:00:01"},
      {VDX_BIGDATETIME, image(kMidnight), -1, 64, "1 1999-12-31 00:00:07.999600"},
      {VDX_BIGTIME, image(vdx_bigtime{1}), 37, 64, "1 00:00:00.000001"},
      {VDX_DATETIME, image(vdx_datetime{-53691, 0}), -1, 64, "-107 "},
      {VDX_DATEA, image(31), 9, 64, "1 " + nine + "  1 1900"},
      {VDX_DATETIME, image(vdx_datetime{58, 1}), 6, 7, "-101 28 " + nine.substr(0, 4)},
      {VDX_DATETIME, image(last), 24, 64, "-114 "}, {VDX_DATETIME, image(vdx_datetime{31, 0}), 24, 64, "-114 "},
      // clang-format on
  };
  for (const auto& row : rows) {
    const auto show = [&](char* to, std::int32_t* length) {
      const void* v = row.value.data();
      return row.style < 0
                 ? comn_dtloc_format(nullptr, locale.record, row.datatype, v, to, row.size, length)
                 : comn_dtloc_format_fmt(nullptr, locale.record,
                                         static_cast<std::uint32_t>(row.style), row.datatype, v, to,
                                         row.size, length);
    };
    EXPECT_EQ(placed(show), row.result) << row.datatype;
  }
}

}  // namespace
