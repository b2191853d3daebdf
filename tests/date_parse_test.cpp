// Reading dates and times: every form, style and order, the straight path against the grammar, and
// texts cut anywhere.
#include <memory>

#include "date/calendar.h"
#include "date/parse.h"
#include "intl/charattr.h"
#include "intl/locale.h"
#include "support.h"
#include "vdxcomn/dateparse.h"

namespace vdx {
namespace {

using vdx_test::Random;

constexpr std::uint64_t kUntouched = 0x1234567812345678;

// A buffer of exactly the text's bytes, so that a sanitizer sees a byte read behind it.
struct Exact {
  explicit Exact(std::string_view text)
      : bytes(new std::uint8_t[text.size()]), length(static_cast<std::int32_t>(text.size())) {
    std::copy(text.begin(), text.end(), bytes.get());
  }
  std::unique_ptr<std::uint8_t[]> bytes;
  std::int32_t length;
};

struct Options {
  std::int32_t style = 0;
  std::int32_t order = 1;
  const vdx_charattr* attributes = &kLatin1;
  const char* const* months = kEnglishMonths;
  const char* const* short_months = kEnglishShortMonths;
};

struct Outcome {
  std::int32_t code;
  std::string
      value;  // of a success, as yyyy-mm-dd hh:mm:ss.ffffff; "-" for an untouched destination
};

std::string shown(std::int32_t day, std::int64_t micros, std::int32_t unit) {
  daterec r{};
  crack_day(day, r);
  crack_micros(static_cast<std::uint64_t>(micros), r);
  char text[80];
  std::snprintf(text, sizeof text, "%04d-%02d-%02d %02d:%02d:%02d.%0*d", r.year, r.month + 1, r.day,
                r.hour, r.minute, r.second, unit == 1 ? 6 : 3, r.fraction / unit);
  return text;
}

// Ticks shown as the milliseconds that they crack to.
std::string shown(const vdx_datetime& value) {
  daterec r{};
  crack_ticks(value.time, r);
  return shown(value.day,
               ((r.hour * 60 + r.minute) * 60 + r.second) * kMicrosPerSecond + r.millisecond * 1000,
               1000);
}

enum Entry { kDatetime, kDatea, kTimea, kClock, kBig, kBigTime };

Outcome parse(Entry entry, std::string_view text, const Options& o,
              std::int32_t* rounded = nullptr) {
  const Exact in(text);
  std::int32_t flag = -1;
  vdx_datetime value{7, 7};
  std::int32_t word = 7;
  std::uint64_t big = kUntouched;
  const DateText whole{in.bytes.get(), in.length,      o.style,     o.order,
                       o.months,       o.short_months, o.attributes};
  std::int32_t code = 0;
  switch (entry) {
    case kDatetime:
      code = com__datefromchar_mb(&value, whole.bytes, in.length, o.style, o.order, o.months,
                                  o.short_months, o.attributes, &flag);
      break;
    case kClock:
      code = com__timefromchar_mb(&value, whole.bytes, in.length, o.style, o.attributes, &flag);
      break;
    case kDatea:
      code = com__dateafromchar_mb(&word, whole.bytes, in.length, o.style, o.order, o.months,
                                   o.short_months, o.attributes);
      EXPECT_TRUE(code == 0 || word == 7);
      value = {word, 0};
      break;
    case kTimea:
      code = com__timeafromchar_mb(&word, whole.bytes, in.length, o.style, o.order, o.months,
                                   o.short_months, o.attributes);
      EXPECT_TRUE(code == 0 || word == 7);
      value = {0, word};
      break;
    case kBig:
      code = bigdatetime_from_text(&big, whole);
      break;
    case kBigTime:
      code = bigtime_from_text(&big, whole);
      EXPECT_TRUE(code == 0 || big == kUntouched);
      break;
  }
  EXPECT_TRUE(entry == kDatetime || entry == kClock ? flag == 0 || flag == 1 : flag == -1);
  if (rounded != nullptr) *rounded = flag;
  if (code != 0) return {code, ""};
  if (entry == kBig) return {code, shown(day_of_big(big), micros_of_big(big), 1)};
  return {code, entry == kBigTime ? shown(0, static_cast<std::int64_t>(big), 1) : shown(value)};
}

TEST(DateParse, Texts) {
  const struct {
    const char* text;
    std::int32_t code;  // of a datetime
    const char* value;  // "" for failures; without fraction where it is .000
    std::int32_t style = 0;
    std::int32_t order = 1;
  } rows[] = {
      // With the name of a month.
      {"Jan 2 2008", 0, "2008-01-02 00:00:00"},
      {"2 January 2008", 0, "2008-01-02 00:00:00"},
      {"JANUARY 2, 2008", 0, "2008-01-02 00:00:00"},
      {"02-Jan-08", 0, "2008-01-02 00:00:00", 77, 9},
      {"02.jan.08", 0, "2008-01-02 00:00:00"},
      {"02/jan,08", 0, "2008-01-02 00:00:00"},
      {"2008 Feb", 0, "2008-02-01 00:00:00"},
      {"Feb, 2008", 0, "2008-02-01 00:00:00"},
      {"Jan 2, 49", 0, "2049-01-02 00:00:00"},
      {"Jan 2, 50", 0, "1950-01-02 00:00:00"},
      {"Jan 2 99 1:05PM", 0, "1999-01-02 13:05:00"},
      {"13:05 Jan 2 2008", 0, "2008-01-02 13:05:00"},
      {"Dec 31 9999 11:59:59:999PM", 0, "9999-12-31 23:59:59.996"},
      {"Jan 2 100", 1, ""},
      {"Jan 2", -1, ""},
      {"Jan", -1, ""},
      {"Jan-02-08", -2, ""},
      {"02-Jan-08-", -2, ""},
      {"Jan 2 2008 5", -2, ""},
      {"Jan 2 2008 Jan", -2, ""},
      {"Jan 2 2008 20080102", -2, ""},
      {"Jan 32 2008", 3, ""},
      {"Feb 30 2008", 3, ""},
      {"Janu 2 2008", -1, ""},
      {"Ja 2 2008", -1, ""},
      {"TJan 2 2008", -1, ""},
      {"Jan 2 0000", 1, ""},
      // Three numbers.
      {"2008/01/02", 0, "2008-01-02 00:00:00"},
      {"2008-01-02", 0, "2008-01-02 00:00:00", 9, 2},
      {"2008.1.2", 0, "2008-01-02 00:00:00", 0, 99},
      {"2008-01-02", 0, "2008-02-01 00:00:00", 0, 4},
      {"13:05 2008-01-02", 0, "2008-02-01 13:05:00", 0, 2},
      {"01/02/2008", 0, "2008-01-02 00:00:00"},
      {"01/02/2008", 0, "2008-02-01 00:00:00", 0, 2},
      {"01 2008/02/", 0, "2008-02-01 00:00:00", 0, 2},
      {"01/02/03", 0, "2003-01-02 00:00:00", 0, 1},
      {"01/02/03", 0, "2003-02-01 00:00:00", 0, 2},
      {"01/02/03", 0, "2001-02-03 00:00:00", 0, 3},
      {"01/02/03", 0, "2001-03-02 00:00:00", 0, 4},
      {"01/02/03", 0, "2002-01-03 00:00:00", 0, 5},
      {"01/02/03", 0, "2002-03-01 00:00:00", 0, 6},
      {"01/02/03", -1, "", 0, 0},
      {"01/02/03", -1, "", 0, 7},
      {"13/02/03", 2, ""},
      {"0/02/03", 2, ""},
      {"02/30/03", 3, ""},
      {"02/00/03", 3, ""},
      {"02/03/100", 1, ""},
      {"01/02", -1, ""},
      {"01/02/", -1, ""},
      {"/01/02/03", -2, ""},
      {"01/02/03/", -2, ""},
      {"01/02/03/04", -2, ""},
      {"01,02,03", -2, ""},
      {"01/02/12345", -1, ""},
      // Without a date, or with one number.
      {"20080102", 0, "2008-01-02 00:00:00"},
      {"080102", 0, "2008-01-02 00:00:00"},
      {"20080102 13:05", 0, "2008-01-02 13:05:00"},
      {"2008", 0, "2008-01-01 00:00:00"},
      {"2008 5 PM", 0, "2008-01-01 17:00:00"},
      {"20081302", 2, ""},
      {"20080002", 2, ""},
      {"20080132", 3, ""},
      {"20080102 5", -2, ""},
      {"2008 5", -2, ""},
      {"2008 2009", -2, ""},
      {"12345", -2, ""},
      {"5", -2, ""},
      {"1234567", -1, ""},
      {"123456789", -1, ""},
      {"", 0, "1900-01-01 00:00:00"},
      {"   ", 0, "1900-01-01 00:00:00"},
      {"T", 0, "1900-01-01 00:00:00"},
      {",", -2, ""},
      {"-", -2, ""},
      {"PM", -2, ""},
      // The time of day.
      {"10:15", 0, "1900-01-01 10:15:00"},
      {" 1 : 2 : 3 : 4 ", 0, "1900-01-01 01:02:03.003"},
      {"10:15.5", 0, "1900-01-01 10:15:00.500"},
      {"12:00:00.1", 0, "1900-01-01 12:00:00.100"},
      {"12:00:00.12", 0, "1900-01-01 12:00:00.120"},
      {"12:00:00.123", 0, "1900-01-01 12:00:00.123"},
      {"12:00:00.1230", 0, "1900-01-01 12:00:00.123"},
      {"12:00:00.12300", 0, "1900-01-01 12:00:00.123"},
      {"12:00:00.123000", 0, "1900-01-01 12:00:00.123"},
      {"12:00:00.00123000", 0, "1900-01-01 12:00:00.123"},
      {"12:00:00.00999999", 0, "1900-01-01 12:00:00.996"},
      {"12:00:00.01000499", 0, "1900-01-01 12:00:00.996"},
      {"12:00:00.01000500", -1, ""},
      {"12:00:00.1234567", -1, ""},
      {"12:00:00.", -1, ""},
      {"12:00:00.PM", -1, ""},
      {"12:00:00:1234", -1, ""},
      {"12:00:123:1", 1, ""},
      {"24:00", 1, ""},
      {"23:60", 1, ""},
      {"23:59:60", 1, ""},
      {"10:", -1, ""},
      {"10:15:", -1, ""},
      {"10:15:30:", -1, ""},
      {"10:2008", -1, ""},
      {"2008:10", -1, ""},
      {":10:15", -2, ""},
      {"10:15 10:15", -2, ""},
      {"12 AM", 0, "1900-01-01 00:00:00"},
      {"12:30am", 0, "1900-01-01 00:30:00"},
      {"12PM", 0, "1900-01-01 12:00:00"},
      {"10pm", 0, "1900-01-01 22:00:00"},
      {"13 PM", 0, "1900-01-01 13:00:00"},
      {"0 AM", 0, "1900-01-01 00:00:00"},
      {"0 PM", 9, ""},
      {"13 AM", 9, ""},
      {"13:00:00.5AM", 9, ""},
      {"24 PM", 1, ""},
      {"2008 PM", -1, ""},
      {"10:15 5 PM", -2, ""},
      // The mark between date and time.
      {"2008-01-02T10:15:00", 0, "2008-01-02 10:15:00"},
      {"2008-01-02 t 10:15", 0, "2008-01-02 10:15:00"},
      {"20080102T10:15PM", 0, "2008-01-02 22:15:00"},
      {"10:15T2008-01-02", -1, ""},
      {"2008-01-02T10:15:00 5", -1, ""},
      {"2008-01-02TT10:15", -1, ""},
      // Ranges, and bytes that are nothing.
      {"1753-01-01", 0, "1753-01-01 00:00:00"},
      {"1752-12-31", 1, ""},
      {"Jan  2 2008\t", -1, ""},
      {"2008-01-02\n", -1, ""},
      {"2008_01_02", -1, ""},
      {"10:15 Uhr", -1, ""},
      {"\xFF", -1, ""},
      {"1 1 1 1 1 1 1 1 1 1 1 1 1 1 1 1 1 1 1 1", -2, ""},
      {"1 1 1 1 1 1 1 1 1 1 1 1 1 1 1 1 1 1 1 1 1", -1, ""},
      {"1 1 1 1 1 1 1 1 1 1 1 1 1 1 1 1 1 1 1:1", -1, ""},
      {"1 1 1 1 1 1 1 1 1 1 1 1 1 1 1 1 1 1 1 :", -1, ""},
      {"1 1 1 1 1 1 1 1 1 1 1 1 1 1 1 1 1 1 :1", -2, ""},
  };
  const vdx_charattr* const sets[] = {&kLatin1, &kAscii, &kUtf8, &kSjis, nullptr};
  for (const auto& row : rows) {
    SCOPED_TRACE(row.text);
    for (const vdx_charattr* set : sets) {
      const Outcome got = parse(kDatetime, row.text, {row.style, row.order, set});
      EXPECT_EQ(got.code, row.code);
      std::string expected = row.value;
      if (expected.size() == 19) expected += ".000";
      EXPECT_EQ(got.value, expected);
    }
  }
}

// Which order a style gives to 01/02/03, and whether the year has to be a long one.
TEST(DateParse, Styles) {
  for (std::int32_t style = -2; style < 150; ++style) {
    SCOPED_TRACE(style);
    const std::string_view orders =
        "0:3 9:3 1:1 10:1 2:3 11:3 21:3 22:3 23:3 3:2 4:2 5:2 101:1 110:1 102:3 111:3 103:2 104:2 "
        "105:2";
    std::int32_t order = 0;
    const std::string key = std::to_string(style) + ":";
    for (std::size_t at = 0; at < orders.size(); at = orders.find_first_of(' ', at) == orders.npos
                                                          ? orders.size()
                                                          : orders.find_first_of(' ', at) + 1)
      if (orders.substr(at).starts_with(key)) order = orders[at + key.size()] - '0';
    const bool is_long = style >= 100;
    const bool is_either = style == 0 || style == 9;
    const char* const short_values[] = {"", "2003-01-02 00:00:00.000", "2003-02-01 00:00:00.000",
                                        "2001-02-03 00:00:00.000"};
    const char* const long_values[] = {"", "2008-03-04 00:00:00.000", "2008-04-03 00:00:00.000",
                                       "2008-03-04 00:00:00.000"};
    EXPECT_EQ(parse(kDatetime, "01/02/03", {style, 3}).value, is_long ? "" : short_values[order]);
    EXPECT_EQ(parse(kDatetime, "03/2008/04", {style, 3}).value,
              is_long || is_either ? long_values[order] : "");
    EXPECT_EQ(parse(kDatetime, "03/2008/04", {style, 3}).code,
              (is_long && order != 0) || is_either ? 0 : -1);
    EXPECT_EQ(parse(kDatetime, "Jan 2 2008 10:15", {style, 3}).value, "2008-01-02 10:15:00.000");
  }
}

TEST(DateParse, EachEntryKeepsItsPart) {
  // Codes or values of: datetime, datea, timea, a clock, bigdatetime, bigtime.
  const struct {
    const char* text;
    const char* results[6];
  } rows[] = {
      {"2008-01-02 13:05:09.1234",
       {"2008-01-02 13:05:09.123", "2008-01-02 00:00:00.000", "1900-01-01 13:05:09.123", "-2",
        "2008-01-02 13:05:09.123400", "1900-01-01 13:05:09.123400"}},
      {"13:05:09.9999",
       {"1900-01-01 13:05:09.996", "1900-01-01 00:00:00.000", "1900-01-01 13:05:09.996",
        "1900-01-01 13:05:09.996", "0001-01-01 13:05:09.999900", "1900-01-01 13:05:09.999900"}},
      {"13:05:09:7",
       {"1900-01-01 13:05:09.006", "1900-01-01 00:00:00.000", "1900-01-01 13:05:09.006",
        "1900-01-01 13:05:09.006", "0001-01-01 13:05:09.007000", "1900-01-01 13:05:09.007000"}},
      {"1752-12-31",
       {"1", "1752-12-31 00:00:00.000", "1900-01-01 00:00:00.000", "-2",
        "1752-12-31 00:00:00.000000", "1900-01-01 00:00:00.000000"}},
      {"Jan 2 2008 5 6",
       {"-2", "2008-01-02 00:00:00.000", "1900-01-01 00:00:00.000", "-1", "-2",
        "1900-01-01 00:00:00.000000"}},
      {"2008 5",
       {"-2", "2008-01-01 00:00:00.000", "1900-01-01 00:00:00.000", "-2", "-2",
        "1900-01-01 00:00:00.000000"}},
      {"5", {"-2", "-2", "-2", "-2", "-2", "-2"}},
      {"",
       {"1900-01-01 00:00:00.000", "1900-01-01 00:00:00.000", "1900-01-01 00:00:00.000",
        "1900-01-01 00:00:00.000", "0001-01-01 00:00:00.000000", "1900-01-01 00:00:00.000000"}},
      {"2008-02-30 10:15", {"3", "3", "3", "-2", "3", "3"}},
      {"2008-01-02 24:15", {"1", "1", "1", "-2", "4", "4"}},
      {"10:60", {"1", "1", "1", "1", "5", "5"}},
      {"10:15:60", {"1", "1", "1", "1", "6", "6"}},
      {"10:15:30.02000000", {"-1", "-1", "-1", "-1", "7", "7"}},
      {"2008-01-02 13 AM", {"9", "9", "9", "9", "9", "9"}},
      {"T10:15",
       {"1900-01-01 10:15:00.000", "1900-01-01 00:00:00.000", "1900-01-01 10:15:00.000", "-2",
        "0001-01-01 10:15:00.000000", "1900-01-01 10:15:00.000000"}},
      {"0001-01-01",
       {"1", "0001-01-01 00:00:00.000", "1900-01-01 00:00:00.000", "-2",
        "0001-01-01 00:00:00.000000", "1900-01-01 00:00:00.000000"}},
  };
  for (const auto& row : rows) {
    SCOPED_TRACE(row.text);
    for (int entry = 0; entry < 6; ++entry) {
      const Outcome got = parse(static_cast<Entry>(entry), row.text, {});
      EXPECT_EQ(got.code == 0 ? got.value : std::to_string(got.code), row.results[entry])
          << "entry " << entry;
    }
  }
}

TEST(DateParse, RoundsFractionsInsideTheirSecond) {
  for (std::int32_t micros = 0; micros < 1000000; micros += micros % 1000 < 3 ? 1 : 167) {
    char text[40];
    std::snprintf(text, sizeof text, "2008-01-02 12:00:59.%06d", micros);
    const std::int32_t millis = std::min((micros + 500) / 1000, 999);
    const std::int32_t ticks = millis == 999 ? 299 : (millis * 3 + 5) / 10;
    for (const Entry entry : {kDatetime, kClock}) {
      std::int32_t rounded = -1;
      EXPECT_EQ(parse(entry, text + (entry == kClock ? 11 : 0), {}, &rounded).value.substr(11),
                shown({0, 12 * kTicksPerHour + 59 * kTicksPerSecond + ticks}).substr(11))
          << text;
      EXPECT_EQ(rounded, micros % 1000 != 0) << text;
    }
    EXPECT_EQ(parse(kBig, text, {}).value, text);
  }
}

// Names of any language and set; the months of each table are tried in every spelling given.
TEST(DateParse, NamesOfMonths) {
  const char* const kanji[12] = {
      "\x88\xEA\x8C\x8E", "\x93\xF1\x8C\x8E",         "\x8E\x4F\x8C\x8E",
      "\x8E\x6C\x8C\x8E", "\x8C\xDC\x8C\x8E",         "\x98\x5A\x8C\x8E",
      "\x8E\xB5\x8C\x8E", "\x94\xAA\x8C\x8E",         "\x8B\xE3\x8C\x8E",
      "\x8F\x5C\x8C\x8E", "\x8F\x5C\x88\xEA\x8C\x8E", "\x8F\x5C\x93\xF1\x8C\x8E"};
  const char* const latin[12] = {"janvier",
                                 "f\xE9vrier",
                                 "mars",
                                 "avril",
                                 "mai",
                                 "juin",
                                 "juillet",
                                 "ao\xFBt",
                                 "septembre",
                                 "octobre",
                                 "novembre",
                                 "d\xE9"
                                 "cembre"};
  const char* const cut[12] = {"jan",
                               "f\xE9v",
                               "mar",
                               "avr",
                               "mai",
                               "jui",
                               "jui",
                               "ao\xFB",
                               "sep",
                               "oct",
                               "nov",
                               "d\xE9"
                               "c"};
  const char* const utf8[12] = {"tammikuu",
                                "helmikuu",
                                "maaliskuu",
                                "\xD0\xBC\xD0\xB0\xD0\xB9",
                                "\xE4\xB8\x80\xE6\x9C\x88",
                                "T",
                                "",
                                "\xC3",
                                "am",
                                "October",
                                "marraskuu",
                                "joulukuu"};
  const char* const odd[12] = {"x", "Jan", "yy",   "",    "Feb", "zzzz",
                               "J", "Ja",  "JanX", "mar", "a",   "mar"};
  const struct {
    const vdx_charattr* set;
    const char* const* months;
    const char* const* short_months;
    const char* word;
    std::int32_t month;  // from 1; 0: no name
  } rows[] = {
      {&kSjis, kanji, cut, "\x88\xEA\x8C\x8E", 1},
      {&kSjis, kanji, cut, "\x8F\x5C\x93\xF1\x8C\x8E", 12},
      {&kSjis, kanji, cut, "\x88\xEA", 0},
      {&kSjis, kanji, cut, "\x88\xEA\x8C", 0},
      {&kSjis, kEnglishMonths, kEnglishShortMonths, "\x82\x69\x82\x81\x8E", 0},
      {&kSjis, kEnglishMonths, kEnglishShortMonths, "\x82\x69\x82\x81\x82\x8E", 1},  // wide Jan
      {&kSjis, kEnglishMonths, kEnglishShortMonths, "J\x82\x81N", 1},
      {nullptr, kanji, cut, "\x88\xEA\x8C\x8E", 0},
      {&kLatin1, latin, cut, "F\xC9VRIER", 2},
      {&kLatin1, latin, cut, "f\xE9v", 2},
      {&kLatin1, latin, cut, "AO\xDBT", 8},
      {&kLatin1, latin, cut, "Jui", 6},
      {&kLatin1, latin, cut, "mai", 5},
      {&kAscii, latin, cut, "f\xE9v", 0},
      {nullptr, latin, cut, "NOVEMBRE", 11},
      {&kUtf8, utf8, cut, "Tammikuu", 1},
      {&kUtf8, utf8, cut, "\xD0\xBC\xD0\xB0\xD0\xB9", 4},
      {&kUtf8, utf8, cut, "\xE4\xB8\x80\xE6\x9C\x88", 5},
      {&kUtf8, utf8, cut, "\xE4\xB8\x80", 0},
      {&kUtf8, utf8, cut,
       "\xEF\xBC\xAF"
       "ctober",
       10},
      {&kUtf8, utf8, cut, "T", 0},
      {&kUtf8, utf8, cut, "am", 0},
      {&kUtf8, utf8, cut, "\xC3", 0},
      {&kLatin1, odd, odd, "jan", 2},
      {&kLatin1, odd, odd, "mar", 10},
      {&kLatin1, odd, cut, "nov", 11},
      {&kLatin1, odd, odd, "yyy", 0},
      {&kLatin1, odd, odd, "j", 7},
      {&kLatin1, odd, odd, "ja", 8},
      {&kLatin1, odd, odd, "janx", 9},
  };
  for (const auto& row : rows) {
    SCOPED_TRACE(row.word);
    const Options options{0, 1, row.set, row.months, row.short_months};
    for (const std::string& text :
         {std::string(row.word) + " 3 2008", std::string(row.word) + "  3 2008  1:05PM"}) {
      const Outcome got = parse(kDatetime, text, options);
      EXPECT_EQ(got.code == 0 ? std::stoi(got.value.substr(5)) : 0, row.month);
    }
  }
  // Digits, signs, blank and letters of Shift-JIS in their wide forms.
  EXPECT_EQ(parse(kDatetime,
                  "\x82\x51\x82\x4F\x82\x4F\x82\x57\x81\x5E\x82\x50\x81\x5E\x82\x51\x81\x40\x82\x50"
                  "\x81\x46\x82\x4F\x82\x54\x82\x6F\x82\x6C",
                  {0, 1, &kSjis})
                .value,
            "2008-01-02 13:05:00.000");
}

// A month of every name, by the tables that hold without a locale and by the same ones elsewhere.
TEST(DateParse, EnglishNames) {
  for (std::int32_t month = 0; month < 12; ++month)
    for (const char* const* names : {kEnglishMonths, kEnglishShortMonths})
      for (const vdx_charattr* set : {&kLatin1, &kUtf8}) {
        const std::string text = std::string(names[month]) + "  9 2008 12:05AM";
        const std::string expected = shown({day_number(2008, month, 9), 5 * kTicksPerMinute});
        EXPECT_EQ(parse(kDatetime, text, {0, 1, set}).value, expected);
        EXPECT_EQ(
            parse(kDatetime, text,
                  {0, 1, set, kDefaultLocale.months.table(), kDefaultLocale.short_months.table()})
                .value,
            expected);
      }
}

// What the straight path accepts the grammar reads the same way, whatever the text.
TEST(DateParse, StraightPathAgrees) {
  const char* const samples[] = {"2008-01-02 13:05:09.123",
                                 "2008-01-02",
                                 "1999/12/31T23:59",
                                 "2000.02.29t00:00:00",
                                 "2008-01-02 13:05:09.000999",
                                 "2008-01-02 13:05:09.1",
                                 "Jan  2 2008  1:05PM",
                                 "dec 31 1999 12:59am",
                                 "Feb 29 2000",
                                 "May  9 2049"};
  const char letters[] = "0123456789 -/.:,TtAaPpMmJjNnx\t[{@`\xC9";
  const char* const odd[12] = {"x", "Jan", "yy",   "",    "Feb", "zzzz",
                               "J", "Ja",  "JanX", "mar", "a",   "mar"};
  const vdx_charattr* const sets[] = {&kLatin1, &kUtf8, nullptr, &kSjis};
  const char* const* const tables[] = {kEnglishMonths,
                                       kEnglishShortMonths,
                                       odd,
                                       kDefaultLocale.months.table(),
                                       kDefaultLocale.short_months.table(),
                                       nullptr};
  Random random(20);
  int straight = 0;
  for (int i = 0; i < 200000; ++i) {
    std::string text = samples[random.below(std::size(samples))];
    for (auto changes = random.below(4); changes > 0 && !text.empty(); --changes) {
      const std::size_t at = random.below(text.size());
      const char letter = letters[random.below(sizeof letters - 1)];
      switch (random.below(8)) {
        case 0:
          text.insert(at, 1, letter);
          break;
        case 1:
          text.erase(at, 1);
          break;
        case 2:
          text.resize(at + 1);
          break;
        default:
          text[at] = letter;
      }
    }
    const Exact in(text);
    // Most of the time the tables that hold without a locale.
    const bool plain = random.below(2) == 0;
    const DateText whole{in.bytes.get(),
                         in.length,
                         static_cast<std::int32_t>(random.below(3) == 0 ? random.below(12) : 0),
                         static_cast<std::int32_t>(random.below(8)),
                         plain ? tables[3] : tables[random.below(6)],
                         plain ? tables[4] : tables[random.below(6)],
                         sets[random.below(4)]};
    for (const DateGrain grain : {DateGrain::kTicks, DateGrain::kMicroseconds}) {
      DateFields fast;
      if (!parse_by_shape(whole, grain, fast)) continue;
      ++straight;
      for (const DateMode mode : {DateMode::kWhole, DateMode::kDate, DateMode::kTime}) {
        DateFields plainly;
        EXPECT_EQ(parse_by_grammar(whole, mode, grain, plainly), 0) << text;
        EXPECT_EQ(std::memcmp(&fast.record, &plainly.record, sizeof fast.record), 0) << text;
        EXPECT_EQ(fast.has_date, plainly.has_date) << text;
        EXPECT_EQ(fast.rounded, plainly.rounded) << text;
      }
    }
  }
  EXPECT_GT(straight, 50000);
  // The samples themselves take it.
  for (const char* text : samples) {
    DateFields fields;
    EXPECT_TRUE(parse_by_shape(
        {reinterpret_cast<const std::uint8_t*>(text), static_cast<std::int32_t>(std::strlen(text)),
         0, 1, kEnglishMonths, kEnglishShortMonths, &kLatin1},
        DateGrain::kTicks, fields))
        << text;
  }
}

// Every prefix of texts in buffers without a byte to spare, in every set; a sanitizer watches.
TEST(DateParse, ReadsNothingBehindTheText) {
  const std::string_view texts[] = {
      "January 2, 2008 13:05:09.123456PM",
      "2008-01-02T13:05:09.123456",
      "Jan  2 2008  1:05PM",
      "01/02/03 10 PM 20080102 1234567",
      "\x82\x51\x82\x4F\x82\x4F\x82\x57\x81\x5E\x82\x6F\x82\x6C\x88\xEA\x8C\x8E",
      "\xE4\xB8\x80\xE6\x9C\x88 \xF0\x9F\x98\x80 \xEF\xBC\x91"};
  for (const std::string_view text : texts)
    for (std::size_t n = 0; n <= text.size(); ++n)
      for (const vdx_charattr* set :
           {&kLatin1, &kUtf8, &kSjis, static_cast<const vdx_charattr*>(nullptr)})
        for (int entry = 0; entry < 6; ++entry) {
          const Outcome got = parse(static_cast<Entry>(entry), text.substr(0, n), {0, 1, set});
          EXPECT_GE(got.code, -2);
          EXPECT_LE(got.code, 9);
        }
}

TEST(DateParseDeathTest, ChecksItsPointers) {
  com_toggle_abort(0);
  vdx_datetime value{};
  std::int32_t word = 0, rounded = 0;
  const std::uint8_t text[] = "10:15";
  const char* const* m = kEnglishMonths;
  const char* const null = "NULL pointer , file 'parse.cpp'";
  for (int bad = 0; bad < 5; ++bad) {
    const auto pick = [bad](int i, auto* p) { return bad == i ? nullptr : p; };
    EXPECT_DEATH(com__datefromchar_mb(pick(0, &value), pick(1, text), 5, 0, 1, pick(2, m),
                                      pick(3, m), nullptr, pick(4, &rounded)),
                 null);
    if (bad < 4) {
      EXPECT_DEATH(com__dateafromchar_mb(pick(0, &word), pick(1, text), 5, 0, 1, pick(2, m),
                                         pick(3, m), nullptr),
                   null);
    }
    if (bad < 4) {
      EXPECT_DEATH(com__timeafromchar_mb(pick(0, &word), pick(1, text), 5, 0, 1, pick(2, m),
                                         pick(3, m), nullptr),
                   null);
    }
    if (bad < 3) {
      EXPECT_DEATH(
          com__timefromchar_mb(pick(0, &value), pick(1, text), 5, 0, nullptr, pick(2, &rounded)),
          null);
    }
  }
  EXPECT_DEATH(com__timefromchar_mb(&value, text, -1, 0, nullptr, &rounded),
               "assertion failed, file 'parse.cpp'");
}

}  // namespace
}  // namespace vdx
