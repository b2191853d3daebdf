#include "oracle.h"

#include <array>
#include <charconv>
#include <cmath>
#include <cstdio>
#include <cstdlib>
#include <limits>

#include "literals.h"

namespace vdx_test {

namespace {

// ---- fixed-length types ----

struct WholeType {
  std::int32_t code;
  std::size_t size;
  bool is_signed;
  const char *most, *least;  // magnitudes
};

constexpr char kMost8[] = "9223372036854775807", kLeast8[] = "9223372036854775808";
constexpr char kMost4[] = "2147483647", kLeast4[] = "2147483648";
constexpr WholeType kWholeTypes[] = {  // clang-format off
    {VDX_I1, 1, false, "255", ""}, {VDX_I2, 2, true, "32767", "32768"},
    {VDX_I4, 4, true, kMost4, kLeast4}, {VDX_I8, 8, true, kMost8, kLeast8},
    {VDX_UI2, 2, false, "65535", ""}, {VDX_UI4, 4, false, "4294967295", ""},
    {VDX_UI8, 8, false, "18446744073709551615", ""}, {VDX_BIT, 1, false, "1", ""},
    {VDX_MONEY, 8, true, kMost8, kLeast8}, {VDX_MNY4, 4, true, kMost4, kLeast4}};
// clang-format on

const WholeType& whole_type(std::int32_t code) {
  return *std::find_if(std::begin(kWholeTypes), std::end(kWholeTypes),
                       [&](const WholeType& t) { return t.code == code; });
}

// Money has its high word first.
Bytes words_swapped(Bytes bytes) {
  std::rotate(bytes.begin(), bytes.begin() + 4, bytes.end());
  return bytes;
}

Bytes whole_image(const WholeType& type, bool negative, const std::string& magnitude) {
  const std::uint64_t bits = std::strtoull(magnitude.c_str(), nullptr, 10);
  const Bytes bytes = slice(image(negative ? 0 - bits : bits), 0, type.size);
  return type.code == VDX_MONEY ? words_swapped(bytes) : bytes;
}

Number read_number(std::int32_t datatype, const Bytes& b) {
  if (datatype == VDX_FLT4) return number_of(double{as<float>(b)});
  if (datatype == VDX_FLT8) return number_of(as<double>(b));
  if (kind_of(datatype) == Kind::numeric) {
    const std::string digits = digits_of(slice(b, 3, magnitude_bytes(b[0])));
    return {b[2] == 1 && !digits.empty(), digits, b[1]};
  }
  const WholeType& type = whole_type(datatype);
  const auto bits = as<std::uint64_t>(datatype == VDX_MONEY ? words_swapped(b) : b);
  if (!type.is_signed) return number_of(std::to_string(bits));
  const std::size_t shift = 64 - 8 * type.size;
  const std::int64_t value = static_cast<std::int64_t>(bits << shift) >> shift;
  return number_of(std::to_string(value), kind_of(datatype) == Kind::money ? 4 : 0);
}

// ---- dates ----

constexpr std::int64_t kDay = 86400000000 * 3;  // in thirds of a microsecond
constexpr std::int64_t kTick = 10000, kMicro = 3, kMinute = 180000000;

struct DateType {
  std::int32_t code;
  std::size_t day_bytes, time_bytes;  // of its image
  std::int64_t unit, first_day, last_day;
};
constexpr DateType kDateTypes[] = {
    {VDX_DATETIME, 4, 4, kTick, -53690, 2958463},
    {VDX_DATE4, 2, 2, kMinute, 0, 65535},
    {VDX_DATEA, 4, 0, kDay, -693595, 2958463},
    {VDX_TIMEA, 0, 4, kTick, 0, 0},
    {VDX_BIGDATETIME, 8, 8, kMicro, -693595, 2958463},  // both in one number
    {VDX_BIGTIME, 0, 8, kMicro, 0, 0},
};

const DateType& date_type(std::int32_t code) {
  return *std::find_if(std::begin(kDateTypes), std::end(kDateTypes),
                       [&](const DateType& t) { return t.code == code; });
}

struct Moment {
  std::int64_t day, units;
};

constexpr std::int64_t kBigDay = 86400000000, kBigEpoch = 693595 + 366;

Moment read_date(const DateType& type, const Bytes& b) {
  if (type.code == VDX_BIGDATETIME)
    return {as<std::int64_t>(b) / kBigDay - kBigEpoch, as<std::int64_t>(b) % kBigDay};
  const Bytes day = slice(b, 0, type.day_bytes), time = slice(b, type.day_bytes, type.time_bytes);
  const std::int64_t units = type.time_bytes == 4 ? as<std::int32_t>(time) : as<std::int64_t>(time);
  return {as<std::int32_t>(day), type.code == VDX_DATETIME ? units & 0x1FFFFFF : units};
}

// The nearest whole number of units; halves go up.
std::int64_t nearest(std::int64_t time, std::int64_t unit) {
  return (2 * time + unit) / (2 * unit);
}

// ---- texts ----

std::string trimmed(const std::string& text) {
  const std::size_t first = text.find_first_not_of(' ');
  if (first == std::string::npos) return "";
  return text.substr(first, text.find_last_not_of(' ') + 1 - first);
}

bool is_digit(char c) { return c >= '0' && c <= '9'; }

bool is_text(Kind k) { return k == Kind::text || k == Kind::varchar || k == Kind::utf16; }

// ---- answers ----

Bytes untouched(const Request& r) {
  const std::int32_t fixed = comn_typelen(r.destination, 0);
  return Bytes(static_cast<std::size_t>(std::max(fixed, r.format.maxlength)), kGuard);
}

Answer refused(const Request& r, std::int32_t code, std::int32_t length = kUnset) {
  return {code, length, untouched(r)};
}

Answer fixed(const Request& r, std::int32_t code, const Bytes& value) {
  Answer a{code, static_cast<std::int32_t>(value.size()), untouched(r)};
  std::copy(value.begin(), value.end(), a.bytes.begin());
  return a;
}

// A refused text leaves a counted destination empty.
void empty_counted(const Request& r, Answer& a) {
  if (kind_of(r.destination) != Kind::varchar && kind_of(r.destination) != Kind::varbin) return;
  std::fill_n(a.bytes.begin(), 2, std::uint8_t{0});
  a.open_from = std::max<std::size_t>(a.open_from, 2);
}

// The source holds no value of its type: the length of a fixed-length destination is set even so,
// except from bit.
Answer no_value(const Request& r) {
  const Kind to = kind_of(r.destination);
  const bool fixed = to != Kind::text && to != Kind::utf16 && to != Kind::bytes;
  const bool is_set = fixed && r.source != VDX_BIT;
  Answer a = refused(r, VDX_INVALID, is_set ? comn_typelen(r.destination, 0) : kUnset);
  if (kind_of(r.source) == Kind::varchar) empty_counted(r, a);
  return a;
}

// No literal of the destination's type: the destination is of no use.
Answer no_literal(const Request& r) {
  Answer a{VDX_SYNTAX, 0, untouched(r), 0};
  empty_counted(r, a);
  return a;
}

struct Destination {
  const Request& request;
  Answer answer;
  std::size_t room, unit, used = 0;
  bool has(std::uint32_t flag) const { return (request.format.flags & flag) != 0; }

  explicit Destination(const Request& r)
      : request(r),
        answer{VDX_SUCCESS, 0, untouched(r)},
        room(static_cast<std::size_t>(r.format.maxlength)),
        unit(kind_of(r.destination) == Kind::utf16 ? 2 : 1) {
    room -= room % unit;
  }

  void put(const Bytes& bytes) {
    std::copy(bytes.begin(), bytes.end(), answer.bytes.begin() + static_cast<long>(used));
    if (unit == 2 && has(VDX_FMT_SWAP))
      for (std::size_t i = used; i + 1 < used + bytes.size(); i += 2)
        std::swap(answer.bytes[i], answer.bytes[i + 1]);
    used += bytes.size();
  }

  // Padding and terminator after a text that leaves room for them.
  Answer finish(std::int32_t code) {
    const bool nulls = has(VDX_FMT_PADNULL), blanks = has(VDX_FMT_PADBLANK);
    const bool terminate = has(VDX_FMT_TERMINATE);
    const Bytes blank = unit == 2 ? encode_unit(' ') : Bytes{' '}, zero(unit);
    answer.code = code;
    if (nulls && blanks) {
      answer.code = VDX_BAD_PADDING;
    } else if (nulls || blanks) {
      while (used < room) put(nulls || (terminate && used + unit == room) ? zero : blank);
      if (used < static_cast<std::size_t>(request.format.maxlength))
        answer.bytes[used++] = 0;  // half a unit
    } else if (terminate) {
      put(zero);
    }
    answer.length = static_cast<std::int32_t>(used);
    return answer;
  }

  bool fits(std::size_t n) const { return n + (has(VDX_FMT_TERMINATE) ? unit : 0) <= room; }
  // The terminator after a text that was cut; the last byte or unit is zero, too.
  Answer end(std::int32_t code, std::size_t kept) {
    if (has(VDX_FMT_TERMINATE) && room > 0) {
      for (const std::size_t at : {kept, room - unit})
        std::fill_n(answer.bytes.begin() + static_cast<long>(at), unit, std::uint8_t{0});
      used = std::max(used, kept + unit);
    }
    answer.code = code;
    answer.length = static_cast<std::int32_t>(used);
    return answer;
  }
  // Where the next character does not fit, one padding takes what it would have taken.
  Answer cut(std::int32_t code) {
    const std::size_t kept = used;
    if (has(VDX_FMT_PADNULL) != has(VDX_FMT_PADBLANK) && fits(kept)) finish(code);
    return end(code, kept);
  }
};

// The text of a value: what does not fit is cut anywhere, or an asterisk replaces it.
Answer text_of_value(const Request& r, const Bytes& text, bool asterisk) {
  Destination d(r);
  if (d.fits(text.size())) {
    d.put(text);
    return d.finish(VDX_SUCCESS);
  }
  if (!asterisk) {
    std::size_t placed = d.room - (d.has(VDX_FMT_TERMINATE) ? std::min(d.unit, d.room) : 0);
    if (d.unit == 2 || d.has(VDX_FMT_QUOTE)) {  // whole characters, two apostrophes being one
      std::size_t at = 0, kept = 0;
      bool is_open = false;
      for (const Character& c : d.unit == 2 ? decode_utf16(text) : decode(r.to, text)) {
        is_open ^= d.unit == 1 && c.code == '\'';
        at += c.bytes.size();
        if (at <= placed && !is_open) kept = at;
      }
      placed = kept;
    }
    d.put(slice(text, 0, placed));
    return d.end(VDX_OVERFLOW, placed);
  }
  if (d.room >= 2 * d.unit) {  // and a zero unit
    d.put(d.unit == 2 ? encode_unit('*') : Bytes{'*'});
    std::fill_n(d.answer.bytes.begin() + static_cast<long>(d.unit), d.unit, std::uint8_t{0});
    d.finish(VDX_OVERFLOW);
    d.used = static_cast<std::size_t>(d.answer.length);
  } else {
    d.used = std::min(text.size(), d.room);  // the room counts, the bytes are unspecified
  }
  const auto length = static_cast<std::int32_t>(d.used);
  Answer a = d.end(VDX_OVERFLOW, d.room - std::min(d.unit, d.room));
  a.length = length;
  return a;
}

// A text: whole characters. Too long by its terminator alone is an overflow as from any value.
Answer text_of_characters(const Request& r, const std::vector<Bytes>& characters,
                          bool substituted) {
  Destination d(r);
  std::size_t i = 0, size = 0;
  for (; i < characters.size() && d.fits(d.used + characters[i].size()); ++i) d.put(characters[i]);
  if (i == characters.size()) return d.finish(substituted ? VDX_TRANSLATION : VDX_SUCCESS);
  for (const Bytes& character : characters) size += character.size();
  return d.cut(size <= d.room ? VDX_OVERFLOW : VDX_TRUNCATED);
}

Answer counted(const Request& r, const Bytes& bytes, std::int32_t too_long) {
  const std::size_t n = std::min<std::size_t>(bytes.size(), 256);
  Answer a{n < bytes.size() ? too_long : VDX_SUCCESS, 258, untouched(r)};
  const Bytes count = image(static_cast<std::int16_t>(n));
  std::copy(count.begin(), count.end(), a.bytes.begin());
  std::copy_n(bytes.begin(), n, a.bytes.begin() + 2);
  return a;
}

Answer byte_string(const Request& r, const Bytes& bytes) {
  const std::size_t n = std::min(bytes.size(), static_cast<std::size_t>(r.format.maxlength));
  Answer a{n < bytes.size() ? VDX_TRUNCATED : VDX_SUCCESS, static_cast<std::int32_t>(n),
           untouched(r)};
  std::copy_n(bytes.begin(), n, a.bytes.begin());
  if ((r.format.flags & VDX_FMT_PADNULL) != 0) {
    std::fill(a.bytes.begin() + static_cast<long>(n), a.bytes.end(), std::uint8_t{0});
    a.length = r.format.maxlength;
  }
  return a;
}

// ---- into fixed-length destinations ----

Answer write_whole(const Request& r, const WholeType& type, bool negative, std::string magnitude) {
  const std::string limit = negative ? type.least : type.most;
  std::int32_t code = VDX_SUCCESS;
  if (compare(magnitude, limit) > 0) {
    code = negative && !type.is_signed && type.size > 1 ? VDX_UNDERFLOW : VDX_OVERFLOW;
    magnitude = limit;
  }
  return fixed(r, code, whole_image(type, negative, magnitude));
}

// A float becomes money by steps in double arithmetic.
Answer real_as_money(const Request& r, const WholeType& type, double value) {
  const volatile double size = std::fabs(value) + 0.00005;
  const bool negative = value < 0;
  if (!(size <= 922337203685477.6)) return write_whole(r, type, negative, std::string(30, '9'));
  if (size == 922337203685477.6) return write_whole(r, type, negative, kMost8);
  const auto high = static_cast<std::int64_t>(size / 429496.7296);
  const volatile double product = static_cast<double>(high) * 429496.7296;
  const volatile double rest = (size - product) * 10000.0;
  const std::int64_t count = high * 4294967296 + static_cast<std::int64_t>(rest);
  return write_whole(r, type, negative, without_leading_zeros(std::to_string(count)));
}

template <class T>
T real_of(const std::string& text) {
  if constexpr (sizeof(T) == 4) return std::strtof(text.c_str(), nullptr);
  return static_cast<T>(std::strtod(text.c_str(), nullptr));
}

template <class T>
Answer write_real(const Request& r, const Number& n, T rounded) {
  std::int32_t code = VDX_SUCCESS;
  if (std::isinf(rounded) && !n.infinite) {
    rounded = std::copysign(std::numeric_limits<T>::max(), rounded);
    code = VDX_OVERFLOW;
  }
  if (rounded == 0 && !n.zero()) code = VDX_UNDERFLOW;
  return fixed(r, code, image(rounded));
}

// Of a numeric's precision and scale.
std::int32_t format_code(const Format& format) {
  if (format.precision < 1 || format.precision > 77) return VDX_BAD_PRECISION;
  return format.scale < 0 || format.scale > 77 ? VDX_BAD_SCALE : VDX_SUCCESS;
}

Answer write_numeric(const Request& r, const Number& n) {
  const std::int32_t code = format_code(r.format);
  if (code != VDX_SUCCESS) return refused(r, code, 35);
  const Fitted image = fitted(n, r.format.precision, r.format.scale);
  return fixed(r, n.nan ? VDX_INVALID : image.code, image.image);
}

// A number of a fixed-length type into another such type.
Answer write_number(const Request& r, const Number& n) {
  const Kind from = kind_of(r.source), to = kind_of(r.destination);
  const bool flt4 = r.source == VDX_FLT4;
  if (to == Kind::numeric) return write_numeric(r, n);
  if (to == Kind::real) {
    const bool wide = r.destination == VDX_FLT8;
    if (from == Kind::real) {
      const double value = flt4 ? as<float>(r.value) : as<double>(r.value);
      if (wide) return fixed(r, VDX_SUCCESS, image(value));
      if (flt4 || n.nan || n.zero()) return fixed(r, VDX_SUCCESS, image(static_cast<float>(value)));
      return write_real(r, n, static_cast<float>(value));
    }
    if (r.source == VDX_MONEY) {
      const auto words = as<vdx_money>(r.value);
      const volatile double high = words.high * 429496.7296, low = words.low / 10000.0;
      const double value = high + low;
      return fixed(r, VDX_SUCCESS, wide ? image(value) : image(static_cast<float>(value)));
    }
    return wide ? write_real(r, n, real_of<double>(text_of(n)))
                : write_real(r, n, real_of<float>(text_of(n)));
  }
  const WholeType& type = whole_type(r.destination);
  if (n.nan) return fixed(r, VDX_INVALID, whole_image(type, false, ""));
  if (to == Kind::bit) return fixed(r, VDX_SUCCESS, {std::uint8_t{!n.zero()}});
  if (to == Kind::money && from == Kind::real)
    return real_as_money(r, type, flt4 ? as<float>(r.value) : as<double>(r.value));
  const bool round = to == Kind::money || from == Kind::money;
  return write_whole(r, type, n.negative, digits_at(n, to == Kind::money ? 4 : 0, round));
}

Answer write_date(const Request& r, const DateType& from, const Moment& source) {
  const DateType& to = date_type(r.destination);
  const std::int64_t day = from.day_bytes != 0 ? source.day : 0;
  const std::int64_t time = source.units * from.unit;
  const auto answer = [&](std::int32_t code, std::int64_t d, std::int64_t units) {
    return fixed(r, code, date_image(to.code, d, units));
  };
  if (to.time_bytes == 0) return answer(VDX_SUCCESS, day, 0);
  if (to.code == VDX_DATE4) {
    if (day < 0 || day > to.last_day) return answer(VDX_OVERFLOW, 0, 0);
    // Microseconds stay inside their day; ticks are taken as they are, a time of no day included.
    const bool fine = from.unit == kMicro;
    const std::int64_t ticks =
        fine ? std::min(nearest(time, kTick), kDay / kTick - 1) : time / kTick;
    const std::int64_t minutes = nearest(day * kDay + ticks * kTick, kMinute);
    if (minutes >= 65536 * 1440) return answer(VDX_OVERFLOW, 0, 0);
    return answer(VDX_SUCCESS, minutes / 1440, minutes % 1440);
  }
  if (to.day_bytes != 0 && day < to.first_day) return answer(VDX_UNDERFLOW, 0, 0);
  const std::int64_t units = std::min(nearest(time, to.unit), kDay / to.unit - 1);
  const bool dropped = from.unit == kMicro && units * to.unit != time;
  return answer(dropped ? VDX_TRUNCATED : VDX_SUCCESS, day, units);
}

// Whether the bytes, as long as the type, are a value of it.
bool is_value(std::int32_t datatype, const Bytes& b) {
  switch (kind_of(datatype)) {
    case Kind::bit:
      return b[0] <= 1;
    case Kind::numeric:
      return b[0] >= 1 && b[0] <= 77 && b[1] <= 77 && b[2] <= 1 &&
             read_number(datatype, b).digits.size() <= b[0];
    case Kind::date: {
      const DateType& type = date_type(datatype);
      const Moment moment = read_date(type, b);
      const std::int64_t units = type.time_bytes != 0 ? kDay / type.unit : 1;
      return moment.day >= type.first_day && moment.day <= type.last_day && moment.units >= 0 &&
             moment.units < units;
    }
    default:
      return true;
  }
}

// ---- texts of values ----

template <class T>
std::string shortest(T value) {
  char text[64];
  return std::string(text, std::to_chars(text, std::end(text), value).ptr);
}

std::string shown(const Request& r, const Number& n) {
  switch (kind_of(r.source)) {
    case Kind::real:
      if (n.nan) return "nan";
      if (n.infinite) return n.negative ? "-inf" : "inf";
      return r.source == VDX_FLT4 ? shortest(as<float>(r.value)) : shortest(as<double>(r.value));
    case Kind::money: {
      const std::int32_t wanted = r.format.precision;
      const std::int32_t places = wanted <= 0 ? 2 : std::min(wanted, 4);
      return text_of({n.negative, digits_at(n, places, true), places});
    }
    default:
      return text_of(n);
  }
}

Bytes date_text(const Request& r) {
  const DateType& type = date_type(r.source);
  const Moment moment = read_date(type, r.value);
  const LocaleDates& dates = dates_of(r.to);
  std::string_view layout = dates.layout;
  if (type.day_bytes == 0 && dates.style == 106) return {0};  // nothing of a time is shown
  if (type.day_bytes == 0 && dates.style < 10) layout.remove_prefix(6);
  if (type.time_bytes == 0 && dates.style < 10) layout = layout.substr(0, 5);
  std::int64_t micros = type.time_bytes == 0 ? 0 : moment.units * type.unit / kMicro;
  if (type.unit != kMicro) micros = micros / 1000 * 1000;
  const bool quoted = kind_of(r.destination) == Kind::text && (r.format.flags & VDX_FMT_QUOTE) != 0;
  const std::int64_t day = type.day_bytes == 0 ? 0 : moment.day;
  Bytes bytes;
  for (const char c : show_date(layout, dates.january, day, micros))
    bytes.insert(bytes.end(), quoted && c == '\'' ? 2 : 1, static_cast<std::uint8_t>(c));
  return bytes;
}

Bytes hexadecimal(const Bytes& bytes) {
  Bytes text;
  for (const int byte : bytes)
    for (const int digit : {byte / 16, byte % 16})
      append(text, {std::uint8_t("0123456789abcdef"[digit])});
  return text;
}

// Into any destination that holds text.
Answer write_text(const Request& r, const Bytes& text, bool asterisk) {
  switch (kind_of(r.destination)) {
    case Kind::varchar:
      return counted(r, text, VDX_OVERFLOW);
    case Kind::utf16: {
      Bytes units;
      for (const Character& c : decode(r.to, text))
        append(units, encode_utf16_one(c.code == kNoCharacter ? 0xFFFD : c.code));
      return text_of_value(r, units, asterisk);
    }
    default:
      return text_of_value(r, text, asterisk);
  }
}

// ---- texts read as values ----

struct ReadInteger {
  std::int32_t code;
  bool negative;
  std::string magnitude;  // on overflow, what was read so far
};

// Blanks, a sign, blanks, digits, blanks; an overflow ends the reading at once. The digit that does
// not fit may have shifted the others already.
ReadInteger read_integer(const std::string& text, const char* most, const char* least) {
  ReadInteger n{VDX_SUCCESS, false, ""};
  std::size_t i = 0;
  bool signed_already = false;
  for (; i < text.size(); ++i) {
    if (text[i] == ' ') continue;
    if (text[i] != '+' && text[i] != '-') break;
    if (signed_already || (text[i] == '-' && *least == '\0')) return {VDX_SYNTAX, false, ""};
    signed_already = true;
    n.negative = text[i] == '-';
  }
  const std::string limit = n.negative ? least : most;
  for (; i < text.size() && is_digit(text[i]); ++i) {
    const std::string shifted = without_leading_zeros(n.magnitude + "0");
    const std::string longer = without_leading_zeros(n.magnitude + text[i]);
    if (compare(longer, limit) > 0) {
      if (*least == '\0')
        n.magnitude = most;
      else if (compare(shifted, limit) <= 0)
        n.magnitude = shifted;
      n.code = VDX_OVERFLOW;
      return n;
    }
    n.magnitude = longer;
  }
  for (; i < text.size(); ++i)
    if (text[i] != ' ') n.code = VDX_SYNTAX;
  return n;
}

Answer integer_from_text(const Request& r, const std::string& text) {
  const WholeType& type = whole_type(r.destination);
  const WholeType& wide = whole_type(type.size == 8                                 ? type.code
                                     : type.code == VDX_UI2 || type.code == VDX_UI4 ? VDX_UI4
                                                                                    : VDX_I4);
  const ReadInteger n = read_integer(text, wide.most, wide.least);
  if (n.code == VDX_SYNTAX) return no_literal(r);
  if (type.code == VDX_BIT)
    return fixed(r, n.code, {static_cast<std::uint8_t>(n.magnitude.empty() ? 0 : 1)});
  if (type.size == 2) {  // outside the range the low bits stay, 0 outside of 32 bits
    const bool fits = compare(n.magnitude, n.negative ? type.least : type.most) <= 0;
    return fixed(r, n.code == VDX_SUCCESS && fits ? VDX_SUCCESS : VDX_OVERFLOW,
                 whole_image(type, n.negative, n.code == VDX_SUCCESS ? n.magnitude : ""));
  }
  Answer a = write_whole(r, type, n.negative, n.magnitude);
  if (n.code == VDX_OVERFLOW) a.code = n.code;
  return a;
}

bool all_digits(const std::string& text) {
  return !text.empty() && text.find_first_not_of("0123456789") == std::string::npos;
}

// Takes a sign and the blanks after it away; whether it is a minus.
bool take_minus(std::string& text) {
  const char sign = text.empty() ? ' ' : text[0];
  if (sign == '-' || sign == '+') text = trimmed(text.substr(1));
  return sign == '-';
}

// Blanks, sign, blanks, digits with at most one point, exponent, blanks.
std::optional<Number> read_decimal(const std::string& text) {
  std::string rest = trimmed(text);
  if (rest.empty()) return Number{};
  const bool negative = take_minus(rest);
  const std::size_t e = std::min(rest.find_first_of("eE"), rest.size());
  std::string digits = rest.substr(0, e), power = rest.substr(e);
  Number n = number_of(digits);
  n.negative = negative;
  if (const std::size_t point = digits.find('.'); point != std::string::npos)
    digits.erase(point, 1);
  if (!all_digits(digits)) return std::nullopt;
  if (!power.empty()) {
    const bool down = power.size() > 1 && power[1] == '-';
    power.erase(0, down || (power.size() > 1 && power[1] == '+') ? 2 : 1);
    if (!all_digits(power)) return std::nullopt;
    power = without_leading_zeros(power);
    const int exponent = power.size() > 4 ? 9999 : std::atoi(power.c_str());  // far enough
    n.scale += down ? exponent : -exponent;
  }
  return n;
}

template <class T>
Answer real_from_text(const Request& r, const std::string& text) {
  std::string word = trimmed(text);
  for (char& c : word)
    if (c >= 'A' && c <= 'Z') c = static_cast<char>(c + 32);
  using Limits = std::numeric_limits<T>;
  const T infinity = take_minus(word) ? -Limits::infinity() : Limits::infinity();
  if (word == "inf") return fixed(r, VDX_SUCCESS, image(infinity));
  if (word == "nan") {
    Answer a = fixed(r, VDX_SUCCESS, image(Limits::quiet_NaN()));
    a.open_from = 0;
    return a;
  }
  const std::optional<Number> n = read_decimal(text);
  return n ? write_real(r, *n, real_of<T>(text_of(*n))) : no_literal(r);
}

Answer numeric_from_text(const Request& r, const std::string& text) {
  const Answer empty = write_numeric(r, Number{});
  if (empty.code != VDX_SUCCESS) return empty;
  const std::optional<Number> n = read_decimal(text);
  return n ? write_numeric(r, *n) : no_literal(r);
}

// Outside of money short money becomes the limit of the text's sign, money what was read.
Answer money_from_text(const Request& r, const Characters& characters) {
  const WholeType& type = whole_type(r.destination);
  const MoneyText money = read_money_text(narrowed(characters));
  if (money.code == VDX_SYNTAX) return no_literal(r);
  if (money.code == VDX_SUCCESS) return write_whole(r, type, money.negative, money.count);
  if (type.code == VDX_MNY4) return write_whole(r, type, money.negative, kMost8);
  return fixed(r, VDX_OVERFLOW, whole_image(type, false, money.count));
}

Answer date_from_text(const Request& r, const Characters& characters) {
  const DateType& type = date_type(r.destination);
  const bool fine = type.unit == kMicro, whole = type.day_bytes != 0 && type.time_bytes != 0;
  const LocaleDates& dates = dates_of(r.from);
  std::u32string january = narrowed(decode(r.from, bytes_of(dates.january)));
  for (char32_t& c : january)
    if (c >= 'a' && c <= 'z') c -= 32;
  const DateText text = read_date_text(narrowed(characters), dates.order, january, whole, !fine);
  if (text.code < 0) return refused(r, VDX_SYNTAX, 0);
  const Answer overflow = refused(r, VDX_OVERFLOW, comn_typelen(r.destination, 0));
  std::int64_t day = text.day;
  if (!text.has_date) day = type.code == VDX_BIGDATETIME ? type.first_day : 0;
  if (text.code > 0 || (type.day_bytes != 0 && day < type.first_day)) return overflow;
  // The last millisecond of a second has the last tick of it.
  const std::int64_t second = text.micros / 1000000 * 300;
  const std::int64_t tick = std::min(nearest(text.micros * kMicro, kTick), second + 299);
  if (type.code != VDX_DATE4)
    return fixed(r, VDX_SUCCESS, date_image(type.code, day, fine ? text.micros : tick));
  const Answer a = write_date(r, kDateTypes[0], {day, tick});
  return a.code == VDX_SUCCESS ? a : overflow;
}

// Hexadecimal pairs; nothing where the text is something else.
std::optional<Bytes> bytes_of_hexadecimal(const std::string& text) {
  std::string digits = trimmed(text);
  if (digits.starts_with("0x") || digits.starts_with("0X")) digits.erase(0, 2);
  if (digits.size() % 2 != 0) digits.insert(0, 1, '0');
  if (digits.find_first_not_of("0123456789abcdefABCDEF") != std::string::npos) return std::nullopt;
  Bytes bytes;
  for (std::size_t i = 0; i < digits.size(); i += 2)
    bytes.push_back(static_cast<std::uint8_t>(std::stoi(digits.substr(i, 2), nullptr, 16)));
  return bytes;
}

// ---- whole conversions ----

Answer from_characters(const Request& r, const Characters& characters) {
  const bool utf16 = kind_of(r.source) == Kind::utf16;
  const Kind to = kind_of(r.destination);
  const bool malformed = std::any_of(characters.begin(), characters.end(),
                                     [](const Character& c) { return c.code == kNoCharacter; });
  const bool to_text = is_text(to);
  const bool same = to == Kind::utf16 ? utf16 : !utf16 && r.from == r.to;  // the bytes stay
  if (malformed && (utf16 || (to_text && !same && r.from == Set::utf8))) {
    const std::int32_t length = comn_typelen(to == Kind::utf16 ? VDX_TEXT : r.destination, 0);
    Answer a = refused(r, VDX_MALFORMED_UNICODE, length);
    if (to_text && !same) a.open_from = 0;  // placed as far as it was read
    empty_counted(r, a);
    return a;
  }
  const std::string plain = folded(characters);
  Bytes encoded;  // in the set of the source's locale; UTF-16 without blanks at the ends
  for (std::size_t i = 0; i < characters.size(); ++i) {
    const Character& c = characters[i];
    const auto ascii = static_cast<std::uint8_t>(plain[i]);
    if (utf16 && (i < plain.find_first_not_of(' ') || i > plain.find_last_not_of(' '))) continue;
    append(encoded, utf16 ? encode_one(r.from, c.code).value_or(Bytes{ascii}) : c.bytes);
  }
  switch (to) {
    case Kind::integer:
    case Kind::bit:
      return integer_from_text(r, plain);
    case Kind::real:
      return r.destination == VDX_FLT4 ? real_from_text<float>(r, plain)
                                       : real_from_text<double>(r, plain);
    case Kind::numeric:
      return numeric_from_text(r, plain);
    case Kind::date:
      return utf16 && encoded.size() > 1024 ? no_literal(r) : date_from_text(r, characters);
    case Kind::money:
      return money_from_text(r, characters);
    case Kind::bytes:
    case Kind::varbin: {
      const std::optional<Bytes> bytes = bytes_of_hexadecimal(plain);
      if (!bytes) return no_literal(r);
      return to == Kind::bytes ? byte_string(r, *bytes) : counted(r, *bytes, VDX_TRUNCATED);
    }
    default:
      break;
  }
  std::vector<Bytes> pieces;
  bool substituted = false;
  const bool quoted = to == Kind::text && (r.format.flags & VDX_FMT_QUOTE) != 0;
  for (const Character& c : characters) {
    std::optional<Bytes> piece = c.bytes;
    if (!same) {
      const char32_t code = c.code == kNoCharacter ? 0xFFFD : c.code;
      piece = to == Kind::utf16 ? encode_utf16_one(code) : encode_one(r.to, code);
      if (!piece || c.code == kNoCharacter) substituted = true;
    }
    pieces.push_back(piece.value_or(Bytes{'?'}));
    if (c.code == '\'' && quoted) pieces.back().push_back('\'');
  }
  if (to != Kind::varchar) return text_of_characters(r, pieces, substituted);
  Request whole = r;  // the count, then what a destination of 256 bytes gets
  whole.format = {};
  whole.format.maxlength = 256;
  whole.destination = VDX_CHAR;
  const Answer text = text_of_characters(whole, pieces, substituted);
  Answer a = counted(r, slice(text.bytes, 0, static_cast<std::size_t>(text.length)), VDX_TRUNCATED);
  a.code = text.code;
  return a;
}

Answer from_bytes(const Request& r, const Bytes& bytes) {
  const Kind to = kind_of(r.destination);
  if (to == Kind::bytes) return byte_string(r, bytes);
  if (to == Kind::varbin) return counted(r, bytes, VDX_OVERFLOW);
  if (is_text(to)) return write_text(r, hexadecimal(bytes), false);
  if (const std::int32_t code = to == Kind::numeric ? format_code(r.format) : VDX_SUCCESS;
      code != VDX_SUCCESS)
    return refused(r, code, 35);
  Bytes value = bytes;
  value.resize(static_cast<std::size_t>(comn_typelen(r.destination, 0)));
  if (!is_value(r.destination, value)) return no_value(r);
  if (to == Kind::numeric)  // what follows its magnitude is no part of the value
    std::fill(value.begin() + 3 + static_cast<long>(magnitude_bytes(value[0])), value.end(), 0);
  return fixed(r, value.size() < bytes.size() ? VDX_TRUNCATED : VDX_SUCCESS, value);
}

}  // namespace

Kind kind_of(std::int32_t datatype) {
  using enum Kind;
  static constexpr Kind kKinds[VDX_DATATYPES] = {
      // clang-format off
      text, bytes, text, bytes, text, bytes, integer, integer, integer, real, real, bit, date, date,
      money, money, numeric, numeric, varchar, varbin, none, text, text, none, none, utf16, none,
      date, date, utf16, integer, integer, integer, integer, text, date, date,
      bytes, bytes, bytes};  // locators are byte strings
  // clang-format on
  return kKinds[datatype];
}

Bytes date_image(std::int32_t datatype, std::int64_t day, std::int64_t units) {
  if (datatype == VDX_BIGDATETIME) return image((day + kBigEpoch) * kBigDay + units);
  const DateType& type = date_type(datatype);
  Bytes bytes = slice(image(day), 0, type.day_bytes);
  append(bytes, slice(image(units), 0, type.time_bytes));
  return bytes;
}

Answer expect(const Request& r) {
  const Kind from = kind_of(r.source), to = kind_of(r.destination);
  const bool to_text = is_text(to);
  switch (from) {
    case Kind::none:
      return refused(r, VDX_SUCCESS, 0);
    case Kind::text:
      return from_characters(r, decode(r.from, r.value));
    case Kind::utf16:
      return from_characters(r, decode_utf16(r.value));
    case Kind::bytes:
      return from_bytes(r, r.value);
    case Kind::varchar:
    case Kind::varbin: {
      const auto count = as<std::uint16_t>(r.value);
      if (count > 256) return no_value(r);
      const Bytes bytes = slice(r.value, 2, count);
      return from == Kind::varbin ? from_bytes(r, bytes)
                                  : from_characters(r, decode(r.from, bytes));
    }
    default:
      break;
  }
  const bool to_minutes = r.source == VDX_DATETIME && r.destination == VDX_DATE4;  // takes any
  if (!to_minutes && !is_value(r.source, r.value)) return no_value(r);
  if (from == Kind::bit && to == Kind::varbin) {  // the character of its value
    Answer a = counted(r, {static_cast<std::uint8_t>('0' + r.value[0])}, VDX_OVERFLOW);
    a.length = kUnset;
    return a;
  }
  if (from == Kind::bit && to == Kind::bytes && r.format.maxlength == 0)
    return refused(r, VDX_SUCCESS, 1);
  if (to == Kind::bytes) return byte_string(r, r.value);
  if (to == Kind::varbin) return counted(r, r.value, VDX_OVERFLOW);
  if (r.source == r.destination && from == Kind::date) return fixed(r, VDX_SUCCESS, r.value);
  if (from == Kind::date)
    return to_text ? write_text(r, date_text(r), false)
                   : write_date(r, date_type(r.source), read_date(date_type(r.source), r.value));
  const Number n = read_number(r.source, r.value);
  if (to_text)
    return write_text(r, bytes_of(shown(r, n)), from == Kind::integer || from == Kind::bit);
  return write_number(r, n);
}

std::int32_t text_size(Request request) {
  const Kind to = kind_of(request.destination);
  if (to != Kind::text && to != Kind::utf16 && to != Kind::bytes) return 0;
  request.format.flags &= VDX_FMT_QUOTE;
  request.format.maxlength = 8192;
  return std::max(0, expect(request).length);
}

}  // namespace vdx_test
