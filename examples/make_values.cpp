// Writes lines that look like a column of an export, good ones and about 3 in 1,000 that are none:
//
//   make_values [money [LINES [SEED]]]     prices with and without sign, currency symbol,
//                                          separators and blanks, 0 to 6 digits after the point
//   make_values dates [LINES [SEED]]       dates and times of day in many layouts, numbers in the
//                                          order month, day, year unless the year leads
//   make_values instants [LINES [SEED]]    what the good lines of dates mean, each as
//                                          yyyy-mm-dd hh:mm:ss.ffffff; a time alone is on the first
//                                          day of the year 1
//
// LINES is 100,000 for money, else 20,000; SEED is 1. The same arguments give the same bytes on
// every machine: examples/data/values.txt and dates.txt are the outputs for money and dates.
#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <iterator>
#include <string>
#include <string_view>

namespace {

// SplitMix64: small, and defined to the last bit, which the standard distributions are not.
class Random {
 public:
  explicit Random(std::uint64_t seed) : state_(seed) {}

  // 0 to bound - 1.
  std::uint64_t below(std::uint64_t bound) {
    std::uint64_t z = state_ += 0x9e3779b97f4a7c15U;
    z = (z ^ (z >> 30)) * 0xbf58476d1ce4e5b9U;
    z = (z ^ (z >> 27)) * 0x94d049bb133111ebU;
    return (z ^ (z >> 31)) % bound;
  }
  bool one_in(std::uint64_t count) { return below(count) == 0; }

 private:
  std::uint64_t state_;
};

void append_whole(Random& random, std::string& line, bool separators) {
  // Many small prices, few large sums.
  static constexpr std::uint64_t kLimits[] = {
      10, 100, 100, 1000, 1000, 1000, 10000, 10000, 100000, 1000000, 100000000, 100000000000};
  const std::string digits =
      std::to_string(random.below(kLimits[random.below(std::size(kLimits))]));
  for (std::size_t i = 0; i < digits.size(); ++i) {
    if (separators && i != 0 && (digits.size() - i) % 3 == 0) line += ',';
    line += digits[i];
  }
}

void append_fraction(Random& random, std::string& line) {
  // Two places are the rule.
  static constexpr unsigned kPlaces[] = {2, 2, 2, 2, 2, 2, 2, 2, 2, 2, 0, 0, 4, 4, 1, 3, 5, 6};
  const unsigned places = kPlaces[random.below(std::size(kPlaces))];
  if (places == 0) return;
  line += '.';
  for (unsigned i = 0; i < places; ++i) line += static_cast<char>('0' + random.below(10));
}

void append_good(Random& random, std::string& line) {
  if (random.one_in(20)) line.append(1 + random.below(4), ' ');
  const bool sign = random.one_in(6);
  const bool currency = random.one_in(5);
  const bool currency_first = random.one_in(4);
  if (currency && currency_first) line += '$';
  if (sign) line += random.one_in(5) ? '+' : '-';
  if (currency && !currency_first) line += random.one_in(10) ? "$ " : "$";
  append_whole(random, line, random.one_in(4));
  append_fraction(random, line);
  if (random.one_in(25)) line.append(1 + random.below(3), ' ');
}

// What exports really contain: comments, typing errors, other conventions, sums out of range.
void append_bad(Random& random, std::string& line) {
  static constexpr const char* kWords[] = {"n/a", "NULL", "unknown", "see invoice", "#REF!", "tbd"};
  std::string price;
  append_whole(random, price, false);
  switch (random.below(9)) {
    case 0:
      line = kWords[random.below(3)];
      break;
    case 1:
      line = kWords[3 + random.below(3)];
      break;
    case 2:
      line = price + ".12.5";
      break;
    case 3:
      line = "--" + price + ".00";
      break;
    case 4:
      line = "$$" + price;
      break;
    case 5:
      line = price + ".O0";
      break;
    case 6:
      line = "1,23,456.00";
      break;
    case 7:
      line = "9" + std::string(18, '0') + ".00";
      break;
    default:
      line = price + ".50 CR";
      break;
  }
}

struct Moment {
  unsigned year = 1, month = 1, day = 1, hour = 0, minute = 0, second = 0, microsecond = 0;
};

// In layouts a letter behind % is a field, as strftime has them, and three more: %n and %k are
// month and day without padding, %f is a fraction of 1 to 6 digits, %L one of 3.
constexpr const char* kDates[] = {
    "%b %e %Y", "%b %e %Y", "%e %B %Y", "%B %k, %Y", "%b %k,%Y", "%d-%b-%y", "%d-%b-%Y", "%k %b %y",
    "%b %Y",    "%m/%d/%Y", "%m/%d/%Y", "%n/%k/%Y",  "%m/%d/%y", "%n/%k/%y", "%m-%d-%Y", "%m.%d.%Y",
    "%Y-%m-%d", "%Y-%m-%d", "%Y/%m/%d", "%Y.%m.%d",  "%Y%m%d",   "%Y%m%d",   "%y%m%d",   "%Y",
};
constexpr const char* kTimes[] = {
    "%l:%M%p", "%l:%M:%S:%L%p", "%l:%M:%S %p", "%l:%M:%S.%f%p", "%l%p",        "%l %p",
    "%H:%M",   "%H:%M:%S",      "%H:%M:%S",    "%H:%M:%S.%f",   "%H:%M:%S.%L", "%H:%M:%S:%L",
};
constexpr const char* kBad[] = {
    "n/a",
    "NULL",
    "unknown",
    "yesterday",
    "see letter of %b %e",
    "Mon %b %e %Y",
    "%d.%m.%y CET",
    "%m/%d/%Y\t%H:%M",
    "%Y-%m-%dT%H:%M:%SZ",
    "%Y-%m-%d %H:%M:%S+01:00",
    "%Y-%m",
    "%m//%Y",
    "%b",
    "%Y-02-30",
    "%Y-13-%d",
    "31/%m/%Y",
    "%m/00/%Y",
    "0000-%m-%d",
    "%m/%d/10%y%y",
    "%m/%d/200",
    "%Y%m%d0",
    "%Y-%m-%d 24:%M",
    "%H:60",
    "%H:%M:%S.%f%f%L%L%L",
    "14:%M AM",
    "0:%M PM",
    "%Y-%m-%d %H",
};

void append_number(std::string& line, unsigned number, std::size_t width, char fill) {
  const std::string digits = std::to_string(number);
  if (digits.size() < width) line.append(width - digits.size(), fill);
  line += digits;
}

// Appends the moment in a layout. Returns what the text tells of it: the rest is as in Moment{}.
Moment append_layout(Random& random, std::string& line, const char* layout, const Moment& moment) {
  static constexpr const char* kMonths[] = {"January",   "February", "March",    "April",
                                            "May",       "June",     "July",     "August",
                                            "September", "October",  "November", "December"};
  Moment told;
  for (const char* at = layout; *at != '\0'; ++at) {
    if (*at != '%') {
      line += *at;
      continue;
    }
    const unsigned hour = moment.hour % 12 == 0 ? 12 : moment.hour % 12;
    switch (*++at) {
      case 'Y':
      case 'y':
        told.year = moment.year;
        append_number(line, *at == 'Y' ? moment.year : moment.year % 100, *at == 'Y' ? 4 : 2, '0');
        break;
      case 'B':
      case 'b':
        told.month = moment.month;
        line.append(kMonths[moment.month - 1], 0, *at == 'B' ? std::string::npos : 3);
        break;
      case 'm':
      case 'n':
        told.month = moment.month;
        append_number(line, moment.month, *at == 'm' ? 2 : 1, '0');
        break;
      case 'd':
      case 'e':
      case 'k':
        told.day = moment.day;
        append_number(line, moment.day, *at == 'k' ? 1 : 2, *at == 'd' ? '0' : ' ');
        break;
      case 'H':
        told.hour = moment.hour;
        append_number(line, moment.hour, 2, '0');
        break;
      case 'l':
        told.hour = moment.hour;
        append_number(line, hour, 2, ' ');
        break;
      case 'M':
        told.minute = moment.minute;
        append_number(line, moment.minute, 2, '0');
        break;
      case 'S':
        told.second = moment.second;
        append_number(line, moment.second, 2, '0');
        break;
      case 'L':
      case 'f': {
        const std::uint64_t places = *at == 'L' ? 3 : 1 + random.below(6);
        unsigned unit = 1;
        for (std::uint64_t i = places; i < 6; ++i) unit *= 10;
        told.microsecond = moment.microsecond / unit * unit;
        append_number(line, moment.microsecond / unit, places, '0');
        break;
      }
      default:
        line += moment.hour < 12 ? "AM" : "PM";
    }
  }
  return told;
}

Moment random_moment(Random& random, bool any_century) {
  static constexpr unsigned kDays[] = {31, 28, 31, 30, 31, 30, 31, 31, 30, 31, 30, 31};
  const auto draw = [&](unsigned from, unsigned to) {
    return from + static_cast<unsigned>(random.below(to - from + 1));
  };
  Moment moment;
  moment.year = any_century && random.one_in(8) ? draw(1753, 9999) : draw(1950, 2049);
  moment.month = draw(1, 12);
  const bool leap = moment.year % 4 == 0 && (moment.year % 100 != 0 || moment.year % 400 == 0);
  moment.day = draw(1, kDays[moment.month - 1] + (leap && moment.month == 2 ? 1 : 0));
  moment.hour = draw(0, 23);
  moment.minute = draw(0, 59);
  moment.second = draw(0, 59);
  moment.microsecond = draw(0, 999999);
  return moment;
}

// Appends a line and, for a good one, its meaning.
void append_date(Random& random, std::string& line, std::string& meaning) {
  std::string layout;
  const bool bad = random.one_in(333);
  if (bad) {
    layout = kBad[random.below(std::size(kBad))];
  } else {
    const bool time_alone = random.one_in(12);
    if (!time_alone) layout = kDates[random.below(std::size(kDates))];
    if (time_alone || !random.one_in(3)) {
      // "T" only where nothing but a date stands before it and no blank pads the hour.
      const bool mark = layout == "%Y-%m-%d" && random.one_in(2);
      const std::size_t first = mark ? 6 : 0;
      if (!time_alone) layout += mark ? "T" : " ";
      layout += kTimes[first + random.below(std::size(kTimes) - first)];
    }
  }
  const bool any_century = layout.find("%y") == std::string::npos;
  if (random.one_in(20)) line.append(1 + random.below(4), ' ');
  const std::size_t start = line.size();
  const Moment told =
      append_layout(random, line, layout.c_str(), random_moment(random, any_century));
  // Names, AM and PM, and the T of ISO 8601 in any case.
  if (random.one_in(10)) {
    const bool upper = random.one_in(2);
    for (std::size_t i = start; i < line.size(); ++i)
      if ((line[i] >= 'a' && line[i] <= 'z' && upper) ||
          (line[i] >= 'A' && line[i] <= 'Z' && !upper))
        line[i] = static_cast<char>(line[i] ^ 0x20);
  }
  if (random.one_in(25)) line.append(1 + random.below(3), ' ');
  if (bad) return;
  char text[48];
  std::snprintf(text, sizeof text, "%04u-%02u-%02u %02u:%02u:%02u.%06u", told.year, told.month,
                told.day, told.hour, told.minute, told.second, told.microsecond);
  meaning = text;
}

}  // namespace

int main(int count, char** words) {
  const std::string_view kind = count > 1 ? words[1] : "money";
  const bool money = kind == "money";
  if (!money && kind != "dates" && kind != "instants") {
    std::fputs("usage: make_values [money|dates|instants [LINES [SEED]]]\n", stderr);
    return 2;
  }
  const std::uint64_t lines =
      count > 2 ? std::strtoull(words[2], nullptr, 10) : (money ? 100000 : 20000);
  Random random(count > 3 ? std::strtoull(words[3], nullptr, 10) : 1);
  std::string line;
  std::string meaning;
  for (std::uint64_t i = 0; i < lines; ++i) {
    line.clear();
    meaning.clear();
    if (!money)
      append_date(random, line, meaning);
    else if (random.one_in(333))
      append_bad(random, line);
    else
      append_good(random, line);
    std::string& shown = kind == "instants" ? meaning : line;
    if (shown.empty()) continue;
    shown += '\n';
    if (std::fwrite(shown.data(), 1, shown.size(), stdout) != shown.size()) return 1;
  }
  return std::fclose(stdout) == 0 ? 0 : 1;
}
