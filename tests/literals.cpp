#include "literals.h"

#include <cstdio>

#include "arithmetic.h"

namespace vdx_test {

namespace {

bool is_digit(char32_t c) { return c >= '0' && c <= '9'; }
char32_t upper(char32_t c) { return c >= 'a' && c <= 'z' ? c - 32 : c; }
bool is_letter(char32_t c) { return (upper(c) >= 'A' && upper(c) <= 'Z') || c > 0x7F; }

constexpr std::u32string_view kMonths[12] = {  // clang-format off
    U"JANUARY", U"FEBRUARY", U"MARCH", U"APRIL", U"MAY", U"JUNE", U"JULY", U"AUGUST", U"SEPTEMBER",
    U"OCTOBER", U"NOVEMBER", U"DECEMBER"};
// clang-format on

// Days from 0001-01-01 to January 1 of a year.
std::int64_t days_before(std::int64_t year) {
  --year;
  return 365 * year + year / 4 - year / 100 + year / 400;
}
constexpr std::int64_t kDaysBefore1900 = 693595;

std::int64_t days_in(std::int64_t year, std::int64_t month) {
  if (month == 2) return days_before(year + 1) - days_before(year) - 337;
  return month == 4 || month == 6 || month == 9 || month == 11 ? 30 : 31;
}

constexpr int kBad = -1, kOutOfRange = 1;

// The tokens of a text, each a letter: n a number of 1 to 3 digits, 4 and 5 of so many, c of 6 or 8,
// M the name of a month, P AM (0) or PM (1), T itself, and signs. A token that was used is a blank.
struct DateReader {
  std::string kinds;
  std::vector<std::string> digits;  // of numbers
  std::vector<int> values;
  std::int64_t year = 1900, month = 1, day = 1, hour = 0, minute = 0, second = 0, micros = 0;
  bool has_date = true;

  bool scan(const std::u32string& text, const std::u32string& january) {
    for (std::size_t at = 0, end; at < text.size(); at = end) {
      const auto run = [&](bool (*belongs)(char32_t)) {
        while (end < text.size() && belongs(text[end])) ++end;
        return end > at;
      };
      end = at;
      std::string number;
      int value = 0;
      char kind = ' ';
      if (run(is_digit)) {
        number.assign(text.begin() + static_cast<long>(at), text.begin() + static_cast<long>(end));
        if (number.size() > 8) return false;
        kind = " nnn45c c"[number.size()];
        value = std::stoi(number);
      } else if (run(is_letter)) {
        std::u32string word = text.substr(at, end - at);
        for (char32_t& c : word) c = upper(c);
        for (value = 0; value < 24; ++value) {  // whole names before short ones
          const std::u32string_view name = kMonths[value % 12];
          if (word == (value < 12 ? name : value == 12 ? january : name.substr(0, 3))) break;
        }
        if (value < 24) kind = 'M';
        if (word == U"T") kind = 'T';
        if (word == U"AM" || word == U"PM") kind = 'P';
        value = kind == 'P' ? word[0] == 'P' : value % 12 + 1;
      } else {
        const char32_t c = text[end++];
        if (c == ' ') continue;
        kind = c == '/' ? '-' : c == ',' || c == '-' || c == '.' || c == ':' ? char(c) : ' ';
      }
      if (kind == ' ' || kinds.size() == 20) return false;
      kinds += kind;
      digits.push_back(number);
      values.push_back(value);
    }
    return true;
  }

  bool is(std::size_t at, std::string_view any) const {
    return at < kinds.size() && any.find(kinds[at]) != any.npos;
  }
  // Whether the token at `at` is one of these and was taken, its value stored.
  bool take(std::size_t at, std::string_view any, std::int64_t* value = nullptr) {
    if (!is(at, any)) return false;
    kinds[at] = ' ';
    if (value != nullptr) *value = values[at];
    return true;
  }
  bool take_next(std::int64_t* value) { return take(kinds.find('n'), "n", value); }

  int read_half_day(std::size_t at) {
    std::int64_t afternoon = 0;
    if (!take(at, "P", &afternoon)) return 0;
    if (afternoon != 0 ? hour == 0 : hour > 12) return kOutOfRange;
    if (hour < 12 || afternoon == 0) hour = hour % 12 + 12 * afternoon;
    return 0;
  }

  int read_time() {
    std::size_t at = kinds.find(':');
    if (at == 0 || at == kinds.npos) {
      const std::size_t half = kinds.find('P', 1);
      if (half == kinds.npos || kinds.find(':', 1) != kinds.npos) return 0;
      return take(half - 1, "n", &hour) ? read_half_day(half) : kBad;
    }
    if (!take(at - 1, "n", &hour) || !take(at, ":") || !take(at + 1, "n", &minute)) return kBad;
    at += 2;
    if (take(at, ":")) {
      if (!take(at + 1, "n", &second)) return kBad;
      at += 2;
    }
    if (take(at, ":")) {
      if (!take(at + 1, "n", &micros)) return kBad;
      micros *= 1000;
      at += 2;
    } else if (take(at, ".")) {
      if (!take(at + 1, "n45c")) return kBad;
      std::string fraction = digits[at + 1];
      if (fraction.size() < 6) fraction.resize(6, '0');
      micros = std::stoi(fraction);
      at += 2;
    }
    return read_half_day(at);
  }

  int read_short_year(std::int64_t short_year) {
    year = short_year + (short_year < 50 ? 2000 : 1900);
    return short_year > 99 ? kOutOfRange : 0;
  }

  int read_date(int order) {
    const std::size_t mark = kinds.find('T');
    if (take(mark, "T") && kinds.find_first_not_of(' ', mark + 1) != kinds.npos) return kBad;
    const std::size_t name = kinds.find('M'), sign = kinds.find_first_of("-.", 1);
    const std::size_t compact = kinds.find('c'), four = kinds.find('4');
    std::int64_t short_year = 0;
    if (take(name, "M", &month)) {
      if (name > 0 && take(name - 1, "-.")) take(name + 1, "-.");
      take(name + 1, ",");
      const bool is_long = take(four, "4", &year);
      const std::size_t at = kinds.find('n');
      const bool has_day = take_next(&day);
      if (has_day) take(at + 1, ",");
      if (is_long) return 0;
      return has_day && take_next(&short_year) ? read_short_year(short_year) : kBad;
    }
    if (sign != kinds.npos) {
      const std::size_t other = kinds.find_first_of("-.", sign + 1);
      if (!take(other, "-.") || !take(sign, "-.")) return kBad;
      const bool is_long = take(four, "4", &year);
      if (four == 0 && order != 4) order = 3;
      for (const char field : std::string_view("mdydmyymdydmmyddym")
                                  .substr(static_cast<std::size_t>(order * 3 - 3), 3))
        if ((field != 'y' || !is_long) && !take_next(field == 'm'   ? &month
                                                     : field == 'd' ? &day
                                                                    : &short_year))
          return kBad;
      return is_long ? 0 : read_short_year(short_year);
    }
    if (take(compact, "c", &day)) {
      year = day / 10000;
      month = day / 100 % 100;
      day %= 100;
      return digits[compact].size() == 6 ? read_short_year(year) : 0;
    }
    has_date = take(four, "4", &year);
    return 0;
  }
};

}  // namespace

DateText read_date_text(const std::u32string& text, int order, const std::u32string& january,
                        bool whole, bool milliseconds) {
  DateReader r;
  if (!r.scan(text, january)) return {.code = kBad};
  if (const int code = r.read_time()) return {.code = code};
  if (milliseconds) {
    const std::int64_t rounded = (r.micros + 500) / 1000;
    r.micros = rounded == 1000 ? 999000 : rounded * 1000;
    if (r.micros > 999999) return {.code = kBad};
  }
  if (const int code = r.read_date(order)) return {.code = code};
  if ((whole || !r.has_date) && r.kinds.find_first_not_of(' ') != r.kinds.npos)
    return {.code = kBad};
  if (r.hour > 23 || r.minute > 59 || r.second > 59 || r.micros > 999999 || r.year < 1 ||
      r.month < 1 || r.month > 12 || r.day < 1 || r.day > days_in(r.year, r.month))
    return {.code = kOutOfRange};
  std::int64_t day = days_before(r.year) - kDaysBefore1900 + r.day - 1;
  for (std::int64_t month = 1; month < r.month; ++month) day += days_in(r.year, month);
  return {0, r.has_date, day, ((r.hour * 60 + r.minute) * 60 + r.second) * 1000000 + r.micros};
}

std::string show_date(std::string_view layout, std::string_view january, std::int64_t day,
                      std::int64_t micros) {
  day += kDaysBefore1900;
  std::int64_t year = day / 366 + 1, month = 1;
  while (days_before(year + 1) <= day) ++year;
  for (day -= days_before(year); day >= days_in(year, month); ++month) day -= days_in(year, month);
  const std::int64_t second = micros / 1000000, hour = second / 3600;
  const struct {
    char letter;
    const char* format;
    std::int64_t value;
  } fields[] = {{'d', "%02d", day + 1},
                {'D', "%2d", day + 1},
                {'Y', "%04d", year},
                {'H', "%2d", (hour + 11) % 12 + 1},
                {'i', "%02d", second / 60 % 60},
                {'s', "%02d", second % 60},
                {'f', "%03d", (micros + 500) / 1000 % 1000},
                {'u', "%06d", micros % 1000000}};
  std::string name(kMonths[month - 1].begin(), kMonths[month - 1].begin() + 3), text;
  for (char& c : name) c = static_cast<char>(&c == &name[0] ? c : c + 32);
  for (const char letter : layout) {
    const auto* const field = std::find_if(std::begin(fields), std::end(fields),
                                           [&](const auto& f) { return f.letter == letter; });
    char digits[24] = {letter};
    if (field != std::end(fields))
      std::snprintf(digits, sizeof digits, field->format, static_cast<int>(field->value));
    text += letter == 'N'   ? month == 1 ? std::string(january) : name
            : letter == 'p' ? hour < 12 ? "AM" : "PM"
                            : digits;
  }
  return text;
}

MoneyText read_money_text(const std::u32string& text) {
  constexpr std::u32string_view kBlanks = U" \t\n\v\f\r",
                                kCurrencies = U"$\u00A2\u00A3\u00A4\u00A5\u20AC\uFFE5";
  const std::string most = "9223372036854775807", least = "9223372036854775808";
  MoneyText money{VDX_SUCCESS, false, ""};
  bool has_sign = false, has_currency = false, has_fifth = false;
  int places = -1;  // decimals so far; -1 before the point
  int group = -4;   // digits since the last comma; before the first one there may be 7
  std::size_t at = 0;
  for (; at < text.size(); ++at) {
    const bool is_sign = text[at] == '+' || text[at] == '-';
    if (text[at] == ' ') continue;
    if (!is_sign && kCurrencies.find(text[at]) == kCurrencies.npos) break;
    if (is_sign ? has_sign : has_currency) return {VDX_SYNTAX, false, ""};
    (is_sign ? has_sign : has_currency) = true;
    if (text[at] == '-') money.negative = true;
  }
  const std::string& limit = money.negative ? least : most;
  for (; at < text.size(); ++at) {
    const char32_t c = text[at];
    if (is_digit(c) && places < 4) {
      const std::string longer = without_leading_zeros(money.count + static_cast<char>(c));
      if (compare(longer, limit) > 0) return {VDX_OVERFLOW, money.negative, money.count};
      money.count = longer;
      ++group;
      if (places >= 0) ++places;
    } else if (is_digit(c)) {
      if (!std::exchange(has_fifth, true) && c >= (money.count == least ? '1' : '5')) {
        if (money.count == least) return {VDX_OVERFLOW, true, least};
        money.count = add(money.count, "1");
      }
    } else if (c == '.' && places < 0) {
      places = 0;
    } else if (c == ',' && (group < 0 || group == 3)) {
      group = 0;
    } else {
      break;
    }
  }
  for (; at < text.size(); ++at)
    if (kBlanks.find(text[at]) == kBlanks.npos) return {VDX_SYNTAX, false, ""};
  const std::string padded =
      money.count.empty()
          ? ""
          : money.count + std::string(static_cast<std::size_t>(4 - std::max(places, 0)), '0');
  if (compare(padded, limit) > 0) return {VDX_OVERFLOW, money.negative, money.count};
  money.count = padded;
  return money;
}

}  // namespace vdx_test
