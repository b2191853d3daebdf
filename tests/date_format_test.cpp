// Dates and times as text, and what a locale says of them.
#include <string>

#include "date/values.h"
#include "intl/locale.h"
#include "support.h"

namespace {

using vdx::kEnglishMonths;
constexpr const char* const* kShort = vdx::kEnglishShortMonths;
// 2008-01-02 13:05:09.123 (in ticks .12333) and 1999-12-31 00:00:07.9996.
const vdx_datetime kAfternoon{39447, 14132737};
const vdx_bigdatetime kDay0 = 59958230400000000;
const vdx_bigdatetime kMidnight = kDay0 + 36523 * 86400000000 + 7999600;

struct Row {
  std::uint32_t style;
  std::string afternoon, midnight;
};

// clang-format off
std::vector<Row> rows() {
  std::vector<Row> rows = {
      {0, "Jan  2 2008  1:05PM", "Dec 31 1999 12:00AM"}, {100, "Jan  2 2008  1:05PM", "Dec 31 1999 12:00AM"},
      {9, "Jan  2 2008  1:05:09:123PM", "Dec 31 1999 12:00:07:000AM"},
      {109, "Jan  2 2008  1:05:09:123PM", "Dec 31 1999 12:00:07:000AM"},
      {16, "Jan  2 2008 13:05:09", "Dec 31 1999 00:00:07"}, {116, "Jan  2 2008 13:05:09", "Dec 31 1999 00:00:07"},
      {19, " 1:05:09:123PM", "12:00:07:000AM"}, {20, "13:05:09:123", "00:00:07:000"},
      {23, "2008-01-02T13:05:09", "1999-12-31T00:00:07"}};
  // Styles with a long year, where they show one; 100 less is the same without the century.
  for (const Row& row : {Row
      {101, "01/02/2008", "12/31/1999"}, {102, "2008.01.02", "1999.12.31"}, {103, "02/01/2008", "31/12/1999"},
      {104, "02.01.2008", "31.12.1999"}, {105, "02-01-2008", "31-12-1999"}, {106, "02 Jan 2008", "31 Dec 1999"},
      {107, "Jan 02,2008", "Dec 31,1999"}, {108, "13:05:09", "00:00:07"}, {110, "01-02-2008", "12-31-1999"},
      {111, "2008/01/02", "1999/12/31"}, {112, "20080102", "19991231"}, {113, "2008/02/01", "1999/31/12"},
      {114, "01/2008/02", "12/1999/31"}, {115, "02/2008/01", "31/1999/12"}, {117, " 1:05PM", "12:00AM"},
      {118, "13:05", "00:00"}, {121, "2008/01/02 13:05:09", "1999/12/31 00:00:07"},
      {122, "2008/01/02  1:05PM", "1999/12/31 12:00AM"}, {136, " 1:05:09.123000PM", "12:00:07.999600AM"},
      {137, "13:05:09.123000", "00:00:07.999600"},
      {138, "Jan  2 2008  1:05:09.123000PM", "Dec 31 1999 12:00:07.999600AM"},
      {139, "Jan  2 2008 13:05:09.123000", "Dec 31 1999 00:00:07.999600"},
      {140, "2008-01-02 13:05:09.123000", "1999-12-31 00:00:07.999600"}}) {
    // clang-format on
    rows.insert(rows.end(), {row, {row.style - 100, row.afternoon, row.midnight}});
    for (auto* text : {&rows.back().afternoon, &rows.back().midnight})
      for (const char* year : {"2008", "1999"})
        if (const std::size_t at = text->find(year); at != text->npos)
          text->replace(at, 2, row.style == 107 ? " " : "");
  }
  return rows;
}
const std::vector<Row> kRows = rows();

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
  const vdx_timea time = kAfternoon.time;
  const vdx_bigtime bigtime = 7999600;
  const vdx_datea date = 36523;
  std::uint32_t known = 0;
  for (const Row& row : kRows) {
    SCOPED_TRACE(row.style);
    ++known;
    const std::string& afternoon = row.afternoon;
    EXPECT_EQ(text(com__datetochar, kAfternoon, row.style), afternoon);
    EXPECT_EQ(text(com__bigdatetimetochar, kMidnight, row.style), row.midnight);
    // Every length: whole from the first that holds it, before that its first bytes.
    const auto size = static_cast<std::int32_t>(afternoon.size());
    for (std::int32_t room = 0; room < size; ++room)
      EXPECT_EQ(text(com__datetochar, kAfternoon, row.style, kShort, room),
                afternoon.substr(0, static_cast<std::size_t>(room)) + "|");
    EXPECT_EQ(text(com__datetochar, kAfternoon, row.style, kShort, size), afternoon);

    const bool has_name = afternoon.find("Jan") != afternoon.npos;
    const bool has_time = afternoon.find("05") != afternoon.npos;
    EXPECT_EQ(text(com__datetochar, kAfternoon, row.style, nullptr), has_name ? "-2" : afternoon);
    for (const char* name : {"j", "", "Septembre", "Septembres"}) {
      const char* names[12] = {name, name, name, name, name, name,
                               name, name, name, name, name, name};
      std::string expected = afternoon;
      if (has_name) expected.replace(expected.find("Jan"), 3, std::string(name).substr(0, 9));
      EXPECT_EQ(text(com__datetochar, kAfternoon, row.style, names), expected);
    }

    // A time alone is of 1900-01-01, a date alone is midnight.
    const bool plain = row.style == 0 || row.style == 9;
    std::string ticks = text(com__datetochar, {0, time}, row.style).substr(plain ? 12 : 0);
    std::string micros =
        text(com__bigdatetimetochar, kDay0 + bigtime, row.style).substr(plain ? 12 : 0);
    if (!has_time) ticks = micros = std::string(1, '\0');
    EXPECT_EQ(text(com__timeatochar, time, row.style), ticks);
    EXPECT_EQ(text(com__bigtimetochar, bigtime, row.style), micros);
    EXPECT_EQ(text(com__dateatochar, date, row.style),
              plain ? "Dec 31 1999" : text(com__datetochar, {date, 0}, row.style));
    EXPECT_EQ(text(com__date4tochar, {36523, 1439}, row.style),
              text(com__datetochar, {36523, 1439 * 18000}, row.style));
  }
  for (std::uint32_t style = 0; style < 300; ++style)
    if (text(com__datetochar, kAfternoon, style) != "-1") --known;
  EXPECT_EQ(known, 0U);
  EXPECT_EQ(text(com__timeatochar, time, 6, nullptr), std::string(1, '\0'));
  EXPECT_EQ(text(com__timeatochar, time, 6, nullptr, 0), "|");
  EXPECT_EQ(text(com__timeatochar, time, 24), "-1");
  EXPECT_EQ(text(com__timeatochar, time, 100, nullptr), "-2");
  EXPECT_EQ(text(com__dateatochar, date, 0, nullptr), "-2");
}

// What every style shows reads back as what it shows. Styles that the parser knows are read as
// themselves, the others as the plain one in the order that they have.
TEST(DateFormat, ReadsBack) {
  vdx_test::Random random(2008);
  for (const Row& row : kRows) {
    SCOPED_TRACE(row.style);
    const std::uint32_t two = row.style % 100;
    const bool own = two <= 5 || two == 10 || two == 11 || row.style == 21 || row.style == 22;
    const auto known = static_cast<std::int32_t>(own && row.style != 100 ? row.style : 0);
    const std::int32_t style = row.style == 40 ? 2 : known;
    const std::int32_t order = two >= 13 && two <= 15 ? static_cast<std::int32_t>(two) - 9 : 1;
    const auto check = [&](auto format, auto read, auto value, const char* const* months) {
      const std::string shown = text(format, value, row.style, months);
      const auto* const bytes = reinterpret_cast<const std::uint8_t*>(shown.data());
      const auto size = static_cast<std::int32_t>(shown.size());
      EXPECT_EQ(read({bytes, size, style, order, kEnglishMonths, kShort, nullptr}, value), 0);
      EXPECT_EQ(text(format, value, row.style, months), shown);
    };
    for (int i = 0; i < 500 && !HasFailure(); ++i) {
      const char* const* months = i % 2 == 0 ? kShort : kEnglishMonths;
      const vdx_datetime value{static_cast<std::int32_t>(random.below(3012154)) - 53690,
                               static_cast<std::int32_t>(random.below(25920000))};
      std::int32_t (*const read)(const vdx::DateText&, vdx_datetime&) = vdx::read_datetime;
      check(com__datetochar, read, value, months);
      check(com__bigdatetimetochar, vdx::read_bigdatetime,
            vdx_bigdatetime{31622400000000 + random.below(315537897600000000)}, months);
    }
  }
}

// Values out of range are shown as some text of the style's length.
TEST(DateFormat, TakesAnyValue) {
  for (const std::int32_t day : {INT32_MIN, INT32_MIN + 1, -693596, -693960, 2958464, INT32_MAX})
    for (const std::int32_t time : {-1, INT32_MIN, INT32_MAX, 25920000})
      for (const Row& row : kRows) {
        const std::size_t size = row.afternoon.size();
        EXPECT_EQ(text(com__datetochar, {day, time}, row.style).size(), size);
        EXPECT_GE(text(com__timeatochar, time, row.style).size(), 1U);
        EXPECT_EQ(text(com__bigdatetimetochar, static_cast<vdx_bigdatetime>(day), row.style).size(),
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
        std::any_of(kRows.begin(), kRows.end(), [&](auto& r) { return r.style == given; });
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
