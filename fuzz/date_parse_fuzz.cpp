// Any bytes as a date or time. The first byte chooses the style, the second the order, the names of
// the months and the character set; the rest is the text.
//
// What parses must show as text and read back as the same value, the entries must agree with each
// other, and the straight path with the grammar.
#include <cstdio>
#include <cstdlib>
#include <cstring>

#include "date/parse.h"
#include "date/values.h"
#include "intl/charattr.h"
#include "intl/locale.h"

namespace {

using namespace vdx;

constexpr const char* kOddMonths[12] = {"x",    "Jan", "\x82\x60", "",    "Feb", "t\xC3\xA9",
                                        "\x82", "Ja",  "JanX",     "mar", "am",  "mar"};
constexpr std::int32_t kParsedStyles[] = {0,   9,   1,   2,   3,   10,  11,  21, 22, 23,
                                          101, 102, 103, 104, 105, 110, 111, 8,  -1};
constexpr const char* const* kMonths[3] = {kEnglishMonths, kOddMonths, kEnglishShortMonths};

// The choices are letters and digits in the seeds, so that a seed can be read.
unsigned choice(std::uint8_t byte) { return byte >= '0' ? byte - unsigned{'0'} : byte; }

void require(bool holds, const char* what) {
  if (holds) return;
  std::fprintf(stderr, "%s\n", what);
  std::abort();
}

// Texts of styles that show all of a value, read back.
template <class Value, class Show, class Read>
void read_back(const Value& value, std::initializer_list<std::uint32_t> styles, Show show,
               Read read) {
  for (const std::uint32_t style : styles) {
    char text[64];
    const std::int32_t length = show(value, text, sizeof text, style, kEnglishShortMonths);
    require(length > 0, "a value that was read cannot be shown");
    Value again{};
    const DateText whole{reinterpret_cast<const std::uint8_t*>(text),
                         length,
                         0,
                         1,
                         kEnglishMonths,
                         kEnglishShortMonths,
                         &kLatin1};
    require(read(whole, again) == 0, "a shown value cannot be read");
    require(std::memcmp(&again, &value, sizeof value) == 0, "a shown value reads as another");
  }
}

void check_shape(const DateText& text) {
  for (const DateGrain grain : {DateGrain::kTicks, DateGrain::kMicroseconds}) {
    DateFields straight;
    if (!parse_by_shape(text, grain, straight)) continue;
    for (const DateMode mode : {DateMode::kWhole, DateMode::kDate, DateMode::kTime}) {
      DateFields plain;
      require(parse_by_grammar(text, mode, grain, plain) == 0, "only the straight path reads it");
      require(std::memcmp(&straight.record, &plain.record, sizeof plain.record) == 0 &&
                  straight.has_date == plain.has_date && straight.rounded == plain.rounded,
              "the straight path reads it otherwise");
    }
  }
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  if (size < 2) return 0;
  const vdx_charattr* const sets[5] = {&kLatin1, &kSjis, &kUtf8, nullptr, &kAscii};
  const unsigned choices = choice(data[1]);
  const char* const* months = kMonths[choices / 7 % 3];
  const char* const* short_months =
      months == kEnglishMonths ? kEnglishShortMonths : kMonths[choices % 2];
  if (data[0] >= 0x80) {  // the names where no locale is set
    months = kDefaultLocale.months.table();
    short_months = kDefaultLocale.short_months.table();
  }
  const DateText text{data + 2,
                      static_cast<std::int32_t>(size - 2),
                      kParsedStyles[choice(data[0] & 0x7F) % std::size(kParsedStyles)],
                      static_cast<std::int32_t>(choices % 7),
                      months,
                      short_months,
                      sets[choices / 21 % 5]};
  check_shape(text);

  vdx_datetime value, clock;
  bool rounded = false;
  const std::int32_t code = read_datetime(text, value, rounded);
  const std::int32_t clock_code = read_clock(text, clock, rounded);
  vdx_datea date = 77;
  const std::int32_t date_code = read_datea(text, date);
  vdx_timea time = 77;
  const std::int32_t time_code = read_timea(text, time);
  vdx_bigdatetime big;
  const std::int32_t big_code = read_bigdatetime(text, big);
  vdx_bigtime big_time = 0;
  const std::int32_t big_time_code = read_bigtime(text, big_time);

  for (const std::int32_t c : {code, date_code, time_code, clock_code, big_code, big_time_code})
    require(c >= -2 && c <= 9, "a code that there is not");
  require(date_code == time_code, "a date and a time make different codes of it");
  require(date_code == 0 || (date == 77 && time == 77), "a failure stored a value");
  if (code == 0) {
    require(date_code == 0 && date == value.day && time == value.time,
            "parts differ from the whole");
    require(big_code == 0, "a datetime, but no bigdatetime");
    read_back(value, {9, 109, 140, 139}, format_datetime,
              [](const DateText& t, vdx_datetime& again) { return read_datetime(t, again); });
  }
  if (date_code == 0) read_back(date, {0}, format_datea, read_datea);
  if (clock_code == 0) {
    require(clock.day == 0 && time_code == 0 && clock.time == time, "a clock differs from a time");
    read_back(time, {9, 20}, format_timea, read_timea);
  }
  if (big_code == 0) {
    require(big_time_code == 0, "a bigdatetime, but no bigtime");
    read_back(big, {138, 139, 140}, format_bigdatetime, read_bigdatetime);
  }
  if (big_time_code == 0) read_back(big_time, {36, 37}, format_bigtime, read_bigtime);
  return 0;
}
