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

using vdx_test::Exact;
using vdx_test::Random;

struct Options {
  std::int32_t style = 0, order = 1;
  const vdx_charattr* attributes = &kLatin1;
  const char* const* months = kEnglishMonths;
  const char* const* short_months = kEnglishShortMonths;

  DateText of(const Exact& in) const {
    return {in.data,   static_cast<std::int32_t>(in.size), style, order, months, short_months,
            attributes};
  }
};

// The pieces between bars.
std::vector<std::string> split(std::string_view text) {
  std::vector<std::string> parts(1);
  for (const char c : text) c == '|' ? parts.emplace_back() : parts.back() += c;
  return parts;
}

// Ticks are shown as the milliseconds that they crack to.
std::string shown(std::int32_t day, std::int64_t time, bool ticks = true) {
  daterec r{};
  crack_day(day, r);
  crack_micros(static_cast<std::uint64_t>(ticks ? time * 10 / 3 * 1000 : time), r);
  char text[80];
  std::snprintf(text, sizeof text, "%04d-%02d-%02d %02d:%02d:%02d.%06d", r.year, r.month + 1, r.day,
                r.hour, r.minute, r.second, r.fraction);
  return std::string(text, ticks ? 23 : 26);
}

enum Entry { kDatetime, kDatea, kTimea, kClock, kBig, kBigTime };

// The value read, yyyy-mm-dd hh:mm:ss.fff, or the code of a failure.
std::string parse(int entry, std::string_view text, const Options& o,
                  std::int32_t* flag = nullptr) {
  const Exact in(text);
  const DateText t = o.of(in);
  std::int32_t rounded = -1, code = 0, word = 7;
  vdx_datetime value{7, 7};
  std::uint64_t big = 77;
  const auto call = [&](auto function, auto* to, auto... more) {
    code = function(to, t.bytes, t.length, t.style, t.order, t.months, t.short_months, t.attributes,
                    more...);
  };
  if (entry == kDatetime) call(com__datefromchar_mb, &value, &rounded);
  if (entry == kClock)
    code = com__timefromchar_mb(&value, t.bytes, t.length, t.style, t.attributes, &rounded);
  if (entry >= kBig)
    call(entry == kBig ? com__bigdatetimefromchar_mb : com__bigtimefromchar_mb, &big);
  if (entry == kDatea || entry == kTimea)
    call(entry == kDatea ? com__dateafromchar_mb : com__timeafromchar_mb, &word);
  EXPECT_TRUE(entry == kDatetime || entry == kClock ? rounded == 0 || rounded == 1 : rounded == -1);
  if (flag != nullptr) *flag = rounded;
  if (code != 0) {
    EXPECT_TRUE(word == 7 && big == (entry == kBig ? 0 : 77)) << "a failure stored a value";
    return std::to_string(code);
  }
  if (entry >= kBig) return shown(entry == kBig ? day_of_big(big) : 0, micros_of_big(big), false);
  if (entry == kDatea) value = {word, 0};
  if (entry == kTimea) value = {0, word};
  return shown(value.day, value.time);
}

// A result with the zeros at its end, as the entry shows it.
std::string whole(const std::string& result, int entry = kDatetime) {
  const std::size_t n = result.size();
  if (n < 3 || n > 16) return result;
  return result + (n == 10 ? " 00:00:00.000" : ":00.000") + (entry >= kBig ? "000" : "");
}

TEST(DateParse, Texts) {
  const struct {
    std::string result;  // of a datetime; seconds and fraction may be left out where they are zero
    const char* texts;   // between bars
    std::int32_t style = 0, order = 1;
  } rows[] = {
      // clang-format off
      // With the name of a month.
      {"2008-01-02", "02.jan.08|02/jan,08|Jan , 2 , 2008|JANUARY 2, 2008"},
      {"2008-01-02", "02-Jan-08|Jan 2 08|2008Jan2", 77, 9},
      {"2049-01-02", "Jan 2, 49"}, {"1950-01-02", "Jan 2, 50"}, {"1753-01-01", "1753-01-01"},
      {"-1", "Jan 2|Jan|Janu 2 2008|Ja 2 2008|TJan 2 2008"},
      {"-2", "Jan-02-08|02-Jan-08-|Jan 2 2008 5|Jan 2 2008 Jan|Jan 2 2008 20080102"},
      // Numbers.
      {"2008-01-02", "2008-01-02|2008.1.2", 9, 99}, {"2008-02-01", "2008-01-02|08/01/02", 0, 4},
      {"2008-02-01", "01/02/2008|01 2008/02/", 0, 2}, {"2008-02-01 13:05", "13:05 2008-01-02", 0, 2},
      {"-1", "01/02/03|01/02/2008", 0, 0}, {"-1", "01/02/03|01/02/2008", 0, 7},
      {"-1", "01/02|01/02/|01/02/12345|-1-2|1234567|123456789"},
      {"-2", "/01/02/03|01/02/03/|01/02/03/04|01,02,03|20080102 5|2008 5|2008 2009|12345|5|,|-|PM"},
      {"1", "02/03/100|Jan 2 100|Jan 2 0000|1752-12-31|0000-01-01"},
      {"2", "13/02/03|0/02/03|20081302|20080002"},
      {"3", "02/30/03|02/00/03|20080132|19000229|Jan 32 2008|Feb 30 2008|Jan 0 2008"},
      {"2008-01-01 17:00", "2008 5 PM|5PM 2008"}, {"1900-01-01", "|   |T|12 AM|0 AM"},
      // The time of day.
      {"1900-01-01 10:15", "10:15|10 : 15 AM|T10:15"}, {"1900-01-01 22:00", "10pm|22pm"},
      {"1900-01-01 12:00:00.123", "12:00:00.1230|12:00:00.12300|12:00:00.00123000"},
      {"1900-01-01 12:00:00.996", "12:00:00.00999999|12:00:00.01000499|12:00:00.9999"},
      {"-1", "12:00:00.01000500|12:00:00.1234567|12:00:00.|12:00:00.PM|12:00:00:1234"},
      {"-1", "10:|10:15:|10:15:30:|10:2008|2008:10|2008 PM"},
      {"-2", ":10|:10:15|10:15 10:15|10:15 5 PM"},
      {"1", "24:00|23:60|23:59:60|12:00:123:1|24 PM"}, {"9", "0 PM|13 AM|13:00:00.5AM|0:00PM"},
      // The mark between date and time, bytes that are nothing, and numbers of tokens.
      {"2008-01-02 10:15", "2008-01-02T10:15:00|2008-01-02 t 10:15|20080102T10:15AM"},
      {"-1", "10:15T2008-01-02|2008-01-02T10:15:00 5|2008-01-02TT10:15"},
      {"-1", "Jan  2 2008\t|2008-01-02\n|2008_01_02|10:15 Uhr|\xFF"
       "|\xE4\xB8\x80\xE6\x9C\x88 \xF0\x9F\x98\x80 \xEF\xBC\x91|\x82\x51\x82\x4F\x88\xEA\x8C\x8E"},
      {"-2", "1 1 1 1 1 1 1 1 1 1 1 1 1 1 1 1 1 1 1 1|1 1 1 1 1 1 1 1 1 1 1 1 1 1 1 1 1 1:1"},
      {"-1", "1 1 1 1 1 1 1 1 1 1 1 1 1 1 1 1 1 1 1 1 1|1 1 1 1 1 1 1 1 1 1 1 1 1 1 1 1 1 1 1:"},
      // Every order.
      {"2003-01-02", "01/02/03", 0, 1}, {"2003-02-01", "01/02/03", 0, 2}, {"2001-02-03", "01/02/03", 0, 3},
      {"2001-03-02", "01/02/03", 0, 4}, {"2002-01-03", "01/02/03", 0, 5}, {"2002-03-01", "01/02/03", 0, 6},
      // clang-format on
  };
  for (const auto& row : rows)
    for (const std::string& text : split(row.texts))
      for (const vdx_charattr* set :
           {&kLatin1, &kAscii, &kUtf8, &kSjis, static_cast<const vdx_charattr*>(nullptr)}) {
        EXPECT_EQ(parse(kDatetime, text, {row.style, row.order, set}), whole(row.result)) << text;
        // A sanitizer watches for reads beyond the text.
        for (std::size_t n = 0; n < text.size(); ++n)
          for (int entry = 0; entry < 6; ++entry) parse(entry, text.substr(0, n), {0, 1, set});
      }
}

// The order of three numbers in each style, and the digits of the year.
TEST(DateParse, Styles) {
  const std::string_view known =
      " 0:3 9:3 1:1 10:1 2:3 11:3 21:3 22:3 23:3 3:2 4:2 5:2 101:1 110:1 102:3 111:3 103:2 104:2 "
      "105:2";
  const char* const brief[] = {"-1", "2003-01-02", "2003-02-01", "2001-02-03"};
  const char* const wide[] = {"-1", "2008-03-04", "2008-04-03", "2008-03-04"};
  for (std::int32_t style = -2; style < 150; ++style) {
    const std::string key = " " + std::to_string(style) + ":";
    const std::size_t at = known.find(key);
    const int order = at == known.npos ? 0 : known[at + key.size()] - '0';
    const bool is_either = style == 0 || style == 9;
    SCOPED_TRACE(style);
    EXPECT_EQ(parse(kDatetime, "01/02/03", {style, 3}).substr(0, 10),
              style > 100 ? "-1" : brief[order]);
    EXPECT_EQ(parse(kDatetime, "03/2008/04", {style, 3}).substr(0, 10),
              style > 100 || is_either ? wide[order] : "-1");
    EXPECT_EQ(parse(kDatetime, "Jan 2 2008 10:15", {style, 3}), "2008-01-02 10:15:00.000");
  }
}

TEST(DateParse, EachEntryKeepsItsPart) {
  const struct {
    const char *text, *results;  // of datetime, datea, timea, a clock, bigdatetime, bigtime
  } rows[] = {
      // clang-format off
      {"2008-01-02 13:05:09.1234", "2008-01-02 13:05:09.123|2008-01-02|1900-01-01 13:05:09.123|-2"
       "|2008-01-02 13:05:09.123400|1900-01-01 13:05:09.123400"},
      {"13:05:09:7", "1900-01-01 13:05:09.006|1900-01-01|1900-01-01 13:05:09.006|1900-01-01 13:05:09.006"
       "|0001-01-01 13:05:09.007000|1900-01-01 13:05:09.007000"},
      {"0001-01-01", "1|0001-01-01|1900-01-01|-2|0001-01-01|1900-01-01"},
      {"Jan 2 2008 5 6", "-2|2008-01-02|1900-01-01|-1|-2|1900-01-01"},
      {"2008 5", "-2|2008-01-01|1900-01-01|-2|-2|1900-01-01"}, {"5", "-2|-2|-2|-2|-2|-2"},
      {" ", "1900-01-01|1900-01-01|1900-01-01|1900-01-01|0001-01-01|1900-01-01"},
      {"2008-02-30 10:15", "3|3|3|-2|3|3"}, {"2008-01-02 24:15", "1|1|1|-2|4|4"}, {"10:60", "1|1|1|1|5|5"},
      {"10:15:60", "1|1|1|1|6|6"}, {"10:15:30.02000000", "-1|-1|-1|-1|7|7"},
      {"2008-01-02 13 AM", "9|9|9|9|9|9"}, {"2008-01-02T5", "-1|-1|-1|-2|-1|-1"},
      // clang-format on
  };
  for (const auto& row : rows)
    for (int entry = 0; entry < 6; ++entry)
      EXPECT_EQ(parse(entry, row.text, {}),
                whole(split(row.results)[static_cast<std::size_t>(entry)], entry))
          << row.text << " entry " << entry;
}

TEST(DateParse, RoundsFractionsInsideTheirSecond) {
  for (std::int32_t micros = 0; micros < 1000000; micros += micros % 1000 < 3 ? 1 : 167) {
    char text[40];
    std::snprintf(text, sizeof text, "1900-01-01 12:00:59.%06d", micros);
    const std::int32_t millis = std::min((micros + 500) / 1000, 999);
    const std::int32_t ticks = millis == 999 ? 299 : (millis * 3 + 5) / 10;
    for (const Entry entry : {kDatetime, kClock}) {
      std::int32_t rounded = -1;
      EXPECT_EQ(parse(entry, text + (entry == kClock ? 11 : 0), {}, &rounded),
                shown(0, 12 * kTicksPerHour + 59 * kTicksPerSecond + ticks))
          << text;
      EXPECT_EQ(rounded, micros % 1000 != 0) << text;
    }
    EXPECT_EQ(parse(kBig, text, {}), text);
  }
}

struct Names {
  explicit Names(std::string_view text) : words(split(text)) {
    for (std::size_t i = 0; i < 12; ++i) table[i] = words[i].c_str();
  }
  std::vector<std::string> words;
  const char* table[12];
};
const Names kOdd("x|Jan|yy||Feb|zzzz|J|Ja|JanX|mar|a|mar");

TEST(DateParse, NamesOfMonths) {
  // clang-format off
  const Names kanji(
      "\x88\xEA\x8C\x8E|\x93\xF1\x8C\x8E|\x8E\x4F\x8C\x8E|\x8E\x6C\x8C\x8E|\x8C\xDC\x8C\x8E|a|b|c|d|e"
      "|\x8F\x5C\x88\xEA\x8C\x8E|\x8F\x5C\x93\xF1\x8C\x8E"),
      latin("janvier|f\xE9vrier|mars|avril|mai|juin|juillet|ao\xFBt|sept|oct|nov|d\351cembre"),
      cut("jan|f\xE9v|mar|avr|mai|jui|jui|ao\xFB|sep|oct|nov|d\351c"),
      utf8("tammi|helmi|maalis|\xD0\xBC\xD0\xB0\xD0\xB9|\xE4\xB8\x80\xE6\x9C\x88|T||\xC3|am|October|j|k");
  const struct {
    const vdx_charattr* set;
    const char *const *names, *const *brief;
    const char* words;
    std::vector<int> months;  // from 1, 0 for no name
  } rows[] = {
      {&kSjis, kanji.table, cut.table, "\x88\xEA\x8C\x8E|\x8F\x5C\x93\xF1\x8C\x8E|\x88\xEA|\x88\xEA\x8C",
       {1, 12, 0, 0}},
      // Jan in wide letters, mixed and cut.
      {&kSjis, kEnglishMonths, kEnglishShortMonths, "J\x82\x81N|\x82\x69\x82\x81\x8E", {1, 0}},
      {nullptr, kanji.table, latin.table, "\x88\xEA\x8C\x8E|NOV|ao\xFBt", {0, 11, 0}},
      {&kLatin1, latin.table, cut.table, "F\xC9VRIER|f\xE9v|AO\xDBT|Jui|mai", {2, 2, 8, 6, 5}},
      {&kAscii, latin.table, cut.table, "f\xE9v|nov", {0, 11}},
      {&kUtf8, utf8.table, cut.table, "Tammi|\xD0\xBC\xD0\xB0\xD0\xB9|\xEF\xBC\257ctober"
       "|\xE4\xB8\x80\xE6\x9C\x88|\xE4\xB8\x80|T|am|\xC3", {1, 4, 10, 5, 0, 0, 0, 0}},
      {&kLatin1, kOdd.table, kOdd.table, "jan|mar|yyy|j|ja|janx", {2, 10, 0, 7, 8, 9}},
      {&kLatin1, kOdd.table, cut.table, "nov|jui", {11, 6}},
  };
  // clang-format on
  for (const auto& row : rows)
    for (std::size_t i = 0; i < row.months.size(); ++i)
      for (const char* rest : {" 3 2008", "  3 2008  1:05PM"}) {
        const std::string word = split(row.words)[i];
        const std::string got =
            parse(kDatetime, word + rest, {0, 1, row.set, row.names, row.brief});
        EXPECT_EQ(got.size() > 2 ? std::stoi(got.substr(5)) : 0, row.months[i]) << word;
      }
  // Digits, signs, blank and letters of Shift-JIS in their wide forms.
  EXPECT_EQ(parse(kDatetime,
                  "\x82\x51\x82\x4F\x82\x4F\x82\x57\x81\x5E\x82\x50\x81\x5E\x82\x51\x81\x40\x82\x50"
                  "\x81\x46\x82\x4F\x82\x54\x82\x6F\x82\x6C",
                  {0, 1, &kSjis}),
            "2008-01-02 13:05:00.000");
  // Every English name, by the default tables and by equal ones elsewhere.
  for (std::int32_t month = 0; month < 12; ++month)
    for (const char* const* names : {kEnglishMonths, kEnglishShortMonths})
      for (const Options& o : {Options{}, Options{0, 1, &kUtf8, kDefaultLocale.months.table(),
                                                  kDefaultLocale.short_months.table()}})
        EXPECT_EQ(parse(kDatetime, std::string(names[month]) + "  9 2008 12:05AM", o),
                  shown(day_number(2008, month, 9), 5 * kTicksPerMinute));
}

// What the straight path accepts the grammar reads the same way: samples with random changes.
TEST(DateParse, StraightPathAgrees) {
  const std::vector<std::string> samples = split(
      "2008-01-02 13:05:09.123|2008-01-02|1999/12/31T23:59|2000.02.29t00:00:00"
      "|2008-01-02 13:05:09.000999|2008-01-02 13:05:09.1|Jan  2 2008  1:05PM"
      "|dec 31 1999 12:59am|Feb 29 2000|May  9 2049");
  const std::string_view letters = "0123456789 -/.:,TtAaPpMmJjNnx\t[{@`\xC9";
  const vdx_charattr* const sets[] = {&kLatin1, &kUtf8, nullptr, &kSjis};
  // Half of the time the default tables.
  const char* const* const tables[] = {kEnglishMonths, kEnglishShortMonths, kOdd.table, nullptr};
  Random random(20);
  int straight = 0;
  for (int i = 0; i < 200000; ++i) {
    std::string text = samples[random.below(samples.size())];
    for (auto changes = random.below(4); changes > 0 && !text.empty(); --changes) {
      const std::size_t at = random.below(text.size());
      const char letter = letters[random.below(letters.size())];
      const std::uint64_t way = random.below(8);
      if (way == 2)
        text.resize(at + 1);
      else  // 0 inserts, 1 erases
        text.replace(at, way != 0, way != 1, letter);
    }
    const Exact in(text);
    const bool plain = random.below(2) == 0;
    const Options options{static_cast<std::int32_t>(random.below(3) == 0 ? random.below(12) : 0),
                          static_cast<std::int32_t>(random.below(8)), sets[random.below(4)],
                          plain ? kDefaultLocale.months.table() : tables[random.below(4)],
                          plain ? kDefaultLocale.short_months.table() : tables[random.below(4)]};
    for (const DateGrain grain : {DateGrain::kTicks, DateGrain::kMicroseconds}) {
      DateFields fast, slow;
      if (!parse_by_shape(options.of(in), grain, fast)) continue;
      ++straight;
      for (const DateMode mode : {DateMode::kWhole, DateMode::kDate, DateMode::kTime}) {
        EXPECT_EQ(parse_by_grammar(options.of(in), mode, grain, slow), 0) << text;
        EXPECT_TRUE(std::memcmp(&fast.record, &slow.record, sizeof fast.record) == 0 &&
                    fast.has_date == slow.has_date && fast.rounded == slow.rounded)
            << text;
      }
    }
  }
  EXPECT_GT(straight, 50000);
}

}  // namespace
}  // namespace vdx
