// Every cell of the matrix against the oracle, and every value there and back.
#include <charconv>
#include <cmath>
#include <limits>
#include <map>

#include "convert/matrix.h"
#include "oracle.h"

namespace {

using namespace std::literals;
using namespace vdx_test;

#if defined(__SANITIZE_ADDRESS__) || defined(__SANITIZE_THREAD__) || !defined(NDEBUG)
constexpr int kThinned = 16;  // checked builds are slow: one value in so many
#else
constexpr int kThinned = 1;
#endif

// ---- values of every kind ----

__extension__ using Wide = __int128;

std::string decimal(Wide value) {
  std::string digits;
  for (Wide size = value < 0 ? -value : value; size != 0; size /= 10)
    digits.insert(0, 1, static_cast<char>('0' + static_cast<int>(size % 10)));
  return (value < 0 ? "-" : "") + digits;
}

// Limits of every width in units and in ten-thousandths, their neighbours, halves, random numbers.
std::vector<Wide> whole_values() {
  std::vector<Wide> values = {2, 9999, 10000, 14999, 15000};
  for (const int bits : {8, 15, 16, 31, 32, 63, 64})
    for (const Wide limit : {Wide{1} << bits, -(Wide{1} << bits)})
      for (const Wide scaled : {limit, limit * 10000, limit / 10000})
        for (const Wide beside : {-15000, -10000, -5001, -5000, -4999, -1, 0, 1, 4999, 5000, 5001})
          values.push_back(scaled + beside);
  Random random(7);
  for (int i = 0; i < 100; ++i) {
    const auto r = static_cast<std::int64_t>(random.sized());
    values.push_back(r);
    values.push_back(-Wide{r});
  }
  return values;
}

void add_integers(std::int32_t code, std::vector<Bytes>& values) {
  for (const Wide v : whole_values()) {  // of larger ones the low bytes
    auto bits = static_cast<std::uint64_t>(v);
    if (code == VDX_MONEY) bits = bits << 32 | bits >> 32;
    values.push_back(slice(image(bits), 0, static_cast<std::size_t>(comn_typelen(code, 0))));
  }
  std::sort(values.begin(), values.end());
  values.erase(std::unique(values.begin(), values.end()), values.end());
}

template <class T>
void add_reals(std::vector<Bytes>& values) {
  using Limits = std::numeric_limits<T>;
  std::vector<double> numbers = {
      0, Limits::denorm_min(), Limits::min(), Limits::max(), Limits::infinity(),
      Limits::quiet_NaN(), 0.1, 1e21, 1e22, 1e23, 9.99999e76, 1e77, 0.5, 0.49999999999999994, 1.5,
      2.5, 5e-324, 1e-45, 7e-46, 8e-46, 922337203685477.6, 922337203685477.5, 922337203685477.75,
      // Infinity as a float, and the last below.
      3.4028235677973366e38, 3.4028235677973362e38, 214748.36475, 214748.3648, 0.00004999, 0.00005};
  for (const Wide v : whole_values()) {
    numbers.push_back(static_cast<double>(v));
    numbers.push_back(static_cast<double>(v) / 10000);
    numbers.push_back(std::nextafter(static_cast<double>(v), 0));
    numbers.push_back(static_cast<double>(v) - 0.5);
  }
  Random random(8);
  for (int i = 0; i < 300; ++i) {
    const std::uint64_t bits = random.next();
    T value;
    std::memcpy(&value, &bits, sizeof value);
    values.push_back(image(value));
  }
  for (int i = 0; i < 300; ++i)
    numbers.push_back(std::ldexp(static_cast<double>(random.sized() >> 11 | 1),
                                 static_cast<int>(random.below(400)) - 300));
  for (const double number : numbers)
    for (const double one : {number, -number}) values.push_back(image(static_cast<T>(one)));
}

void add_numerics(std::vector<Bytes>& values) {
  Random random(9);
  const auto add = [&](int precision, int scale, const std::string& digits) {
    for (const bool negative : {false, true})
      values.push_back(numeric_image(precision, scale, negative, digits));
  };
  for (const Wide v : whole_values()) {
    const std::string digits = decimal(v < 0 ? -v : v);
    add(38, 0, digits);
    add(77, static_cast<int>(random.below(78)), digits);
    add(40, 4, digits);
    add(45, 5, digits + "5");
    add(45, 5, digits + "4");
    add(60, 20, digits + "49999999999999999999");
  }
  for (const int precision : {1, 2, 9, 10, 18, 19, 20, 38, 39, 76, 77})
    for (const int scale : {0, 1, precision, 77})
      for (const char digit : {'9', '5', '1'}) {
        const std::string digits(static_cast<std::size_t>(precision), digit);
        add(precision, scale, digits);
        add(precision, scale, "1" + std::string(static_cast<std::size_t>(precision - 1), '0'));
      }
  for (int i = 0; i < 300; ++i)
    add(77, static_cast<int>(random.below(78)), random_digits(random, 77));
  for (const char* middle : {"9007199254740993", "16777217", "9007199254740995"})  // of two floats
    for (const char* behind : {"00000000000000000000", "00000000000000000001"})
      add(60, 20, std::string(middle) + behind);
  for (const int bits : {77, 90, 120})  // the same beyond 64 bits, which decide by one
    for (const Wide beside : {-1, 0, 1})
      add(38, 0, decimal((Wide{1} << bits) + (Wide{1} << (bits - 53)) + beside));
  for (const auto& [at, byte] : {std::pair{0, 0}, {0, 78}, {1, 78}, {2, 2}, {3, 255}, {4, 0xE8}}) {
    values.push_back(numeric_image(3, 1, false, "999"));
    values.back()[static_cast<std::size_t>(at)] = static_cast<std::uint8_t>(byte);
  }
}

void add_dates(std::int32_t code, std::vector<Bytes>& values) {
  const std::int64_t per_day = code == VDX_DATE4                           ? 1440
                               : code == VDX_DATETIME || code == VDX_TIMEA ? 25920000
                                                                           : 86400000000;
  Random random(1900);
  for (const std::int64_t day :
       {-693596, -693595, -53691, -53690, -1, 0, 1, 39447, 65534, 65535, 65536, 2958463, 2958464})
    for (const std::int64_t part : {0, 1, 2, 29, 30, 31, 1000, 1665, 1666, 1667, 3333, 5000, 9999})
      for (const std::int64_t time : {per_day * part / 10000, per_day - 1 - part, part,
                                      per_day * part / 10000 / 3 + part, per_day + part}) {
        if (code == VDX_DATE4 && (day < 0 || day > 65535)) continue;
        if ((code == VDX_TIMEA || code == VDX_BIGTIME) && day != 0 && day != 1) continue;
        values.push_back(date_image(code, day, time));
      }
  for (int i = 0; i < 2000; ++i) {
    const auto day = static_cast<std::int64_t>(random.below(3652059)) - 693595;
    auto time = static_cast<std::int64_t>(random.below(static_cast<std::uint64_t>(per_day)));
    if (i % 2 == 0) time = time / (per_day / 1440) * (per_day / 1440) + per_day / 2880 - i / 2 % 2;
    values.push_back(date_image(code, code == VDX_DATE4 ? day & 0xFFFF : day, time));
  }
  if (code == VDX_TIMEA) values.push_back(image(-1));
  if (code == VDX_DATETIME)
    for (const std::int32_t time : {0x7E000001, 26000000, 0x7FFFFFFF})  // bits unread, no times
      values.push_back(image(vdx_datetime{100, time}));
}

// The pieces between bars.
std::vector<std::u32string> split(std::u32string_view text) {
  std::vector<std::u32string> parts(1);
  for (const char32_t c : text)
    if (c == U'|')
      parts.emplace_back();
    else
      parts.back() += c;
  return parts;
}

// A date and a time of day, or one of them, in either order, often with a mistake or two.
std::u32string random_date_text(Random& random) {
  static const auto kDates = split(
      U"Jan 2 2008|2 January 08|02-Jan-08|Feb , 3 , 1999|2008 Feb|Mar 2 "
      U"50|1/2/2008|01/02/03|3.2.49"
      U"|2008.1.2|20080102|080102|2008|2008-02-30|1752-12-31|1 - 2008 - 3");
  static const auto kTimes = split(
      U"10:15|1:05PM|13 AM|5 pm|1:2:3:4|1:2:3.004|1 : 2 PM|12:00:00.00123000|12:00:00.00999999"
      U"|23:59:59.9999|24:00|0 PM|12:30am|1:2:3.99999999|12AM|1:2:3.01000500|1:2:3.0045");
  static const std::u32string kSigns = U" ,-/.:0123456789TPAMm";
  std::u32string first = random.of(kDates), second = random.of(kTimes);
  if (random.below(4) == 0) std::swap(first, second);
  std::u32string text = random.below(3) != 0 ? first + U" T"[random.below(6) / 5] + second : first;
  for (auto mistakes = random.below(3); mistakes > 0; --mistakes) {
    const std::size_t at = random.below(text.size()), erased = random.below(2);
    text.replace(at, erased, 1, random.of(kSigns));
  }
  return text;
}

// Characters, so that every set and UTF-16 have them as their own; some that some sets lack.
const std::vector<std::u32string>& texts() {
  static const std::vector<std::u32string> kTexts = [] {
    std::vector<std::u32string> list = split(
        U" |   |x|-|+|.|-.|+-1|--1|- 42|-42| 42 |+7|4 2|42x|1\t|1-|0|-0|1.5|.5|5.|-1.25e2|1e|1e+"
        U"|e5|1e5x|1 e5|1.2.3|12.345650000000000001|00000000000000000000000000000000042|0.5|0.05"
        U"|2.5|1e400|-1e400|1e-400|1e39|4e38|1e-46|0e99999999999|1e99999999999|1e-99999999999"
        U"|1e76|9.5e76|1e77|0x10|0x|0X0a|0xg|abc| aBcDeF01 |1 2|nan|NaN|inf|-INF|+inf|infinity"
        U"|-nan|0.1|0.3|9007199254740993.0000000000000000000000000001|9007199254740993"
        U"|1.17549429e-38|4.9e-324|2.4e-324|16777217|3.4028235677973366e38|1.7976931348623159e308"
        U"|$12|-$1,234.56785|$ - 5|$$1|1,234,567|1234567,890|1234,567|922337203685477.5807"
        U"|922337203685477.5808|-922337203685477.5808|214748.3647|214748.3648|-214748.36485"
        U"|922337203685477.58075|-922337203685477.58081|$-99999999999999999999|"
        U"9999999999999999999-"
        U"|2008-01-02 13:05:09.123456|Jan  2 2008  1:05PM|01/02/03|10:15|13 AM|2008-02-30"
        U"|1752-12-31 12:00|0001-01-01|0000-01-01|9999-12-31 23:59:59.9999|2079-06-06 23:59:29"
        U"|2079-06-06 23:59:30|1899-12-31|20080102|99999|23:59:59.999999|24:00|2 Feb 2008"
        U"|2 \u0570\u0578\u0582\u0576\u057E\u0561\u0580 2008|\uFF11\u6708 2 "
        U"2008|it's|''|'|a'b'c'd'e'f'g'h'i'j|caf\u00E9 cr\u00E8me"
        U"|\u3042\u65E5x\uFF71|\U0001F600|ab\U0001F600cd'\u3042|\u00A412|\uFFE5 5|\u20AC 5"
        U"|\uFF0D\uFF11\uFF12\uFF0E\uFF15|\uFF0B\u3000\uFF17\u3000|\uFF10\uFF58\uFF41\uFF11"
        U"|\uFF12\uFF10\uFF10\uFF18\uFF0D\uFF10\uFF11\uFF0D\uFF10\uFF12|\u22123"
        U"|-0.00e5|+1.|-.5|1E3|1e+03|1234567890123456789e-19|0."
        U"0000000000000000000000000000012345e30"
        U"|9007199254740995|16777217.0000000000|16777217.000000001|16777216.999999999999999"
        U"|16777217.00000000000000000000001|16777219|1.7976931348623157e308"
        U"|-1.7976931348623158079e308|3.4028235677973367e38|-1e-99999999999999999999|1e-50|5e-324"
        U"|2.4703282292062327e-324|2.4703282292062328e-324|2.2250738585072011e-308"
        U"|7.006492321624085e-46|7.006492321624086e-46|-iNF|.e5|1e-|1e 5|1..2|1.2.|1e5.|0x1p3|1,5"
        U"|inf inity|na|nan(1)|- 7.5e1 |+  .5|- inf|+ nan|-|+ |- - 3|1e- "
        U"5|12345678901234567.5x|1234567890123456.5e1x|1.5e0000000000001x"
        U"|\uFF0D\u3000|\u3000\uFF0D\uFF11.\uFF15|-0.004|-.005|999.995|-1000"
        U"|\uFF11\uFF45\uFF12|\uFF4E\uFF41\uFF4E|1\u00A0|\uFFFD|\uFFFF|\u0100"
        U"|a\u0301\u07FF\u0800\U0010FFFF|\0|1\0"sv);
    for (std::size_t i = 0, n = list.size(); i < n; ++i) list.push_back(U"  " + list[i] + U" ");
    Random random(10);
    list.push_back(U"1 1 1 1 1 1 1 1 1 1 1 1 1 1 1 1 1 Jan 2 2008");  // 20 pieces are not too many
    list.push_back(list.back() + U" 1");
    for (int i = 0; i < 600; ++i) list.push_back(random_date_text(random));
    const std::u32string alphabet =
        U"0123456789012345678901234567890123456789 -+.e,'xX$:/aF\u00E9\u3042\uFF11";
    for (int i = 0; i < 200; ++i) {
      std::u32string text;
      const std::uint64_t most = i < 150 ? 24 : 300, letters = i % 3 == 0 ? alphabet.size() : 40;
      for (std::uint64_t n = 1 + random.below(most); n > 0; --n)
        text += alphabet[random.below(letters)];
      list.push_back(text);
    }
    for (const Wide v : whole_values()) {
      const std::string digits = v == 0 ? "0" : decimal(v);
      const std::u32string wide(digits.begin(), digits.end());
      list.push_back(random.below(4) == 0 ? U"  " + wide + U"  " : wide);
      if (wide.size() > 5)
        list.push_back(wide.substr(0, wide.size() - 4) + U"." + wide.substr(wide.size() - 4));
    }
    for (const char32_t pad : {U' ', U'0', U'\'', U'\u3042', U'7'})
      for (const unsigned size :
           std::initializer_list<unsigned>{7,  8,   9,   15,  16,  17,  31,  32,  33,  63, 64,
                                           85, 127, 128, 129, 254, 255, 256, 511, 512, 513})
        list.push_back(std::u32string(size, pad) + (size % 2 != 0 ? U"7" : U""));
    for (const unsigned size : std::initializer_list<unsigned>{512, 1021, 1022, 1023, 1024, 2000}) {
      list.push_back(U"1" + std::u32string(size, U'0') + U"e-" + std::u32string(U"999"));
      list.push_back(U"0." + std::u32string(size, U'4') + U"5");
      const std::u32string zeros(size, U'0');
      for (const char* power : {"512", "1024"}) {
        const std::u32string exponent(power, power + std::strlen(power));
        list.push_back(zeros + U"1" + zeros + U"." + zeros + U"e-" + exponent);
        list.push_back(U"0." + zeros + U"1e" + exponent);
      }
      list.push_back(U"9007199254740993." + zeros + U"1");
      list.push_back(std::u32string(size, U' ') + U"10:15" + std::u32string(size, U'\u3000'));
      list.push_back(U"10:15" + std::u32string(size, U' ') + U"x");
    }
    return list;
  }();
  return kTexts;
}

std::vector<Bytes> encoded_texts(Kind kind, Set set) {
  std::vector<Bytes> values;
  for (const std::u32string& text : texts()) {
    if (kind == Kind::utf16)
      values.push_back(encode_utf16(text));
    else if (const std::optional<Bytes> bytes = encode(set, text))
      values.push_back(*bytes);
  }
  const std::vector<std::string_view> utf16 = {"1"sv, "1\0002"sv, "\0\xD8"sv, "\0\xDC\x31\0"sv,
                                               "\x31\0\0\xD8"sv},
                                      utf8 = {"\x80",      "\xC3",          "1\xC3",
                                              "\xC0\xB1",  "\xED\xA0\x80",  "\xF4\x90\x80\x80",
                                              "1\xE3\x81", "42\xF3\x80\x80"},
                                      other = {"1\x85\x40", "\x85\x40\x31", "\xC5\xC6"};
  for (const auto& bytes : kind == Kind::utf16 ? utf16 : set == Set::utf8 ? utf8 : other) {
    values.push_back(bytes_of(bytes));
    if (kind == Kind::utf16) continue;
    values.emplace_back(250, '7');  // the fault far behind the room
    append(values.back(), bytes_of(bytes));
  }
  return values;
}

std::vector<Bytes> values_of(std::int32_t code, Set set);

// Images of every fixed type, short, long, and bytes of no meaning.
void add_byte_strings(std::vector<Bytes>& values) {
  for (const std::int32_t code : {VDX_I4, VDX_BIT, VDX_DATETIME, VDX_DATE4, VDX_NUM, VDX_TIMEA,
                                  VDX_BIGDATETIME, VDX_BIGTIME, VDX_DATEA, VDX_FLT8}) {
    const std::vector<Bytes> images = values_of(code, Set::latin1);
    for (std::size_t i = 0; i < images.size(); i += 1 + images.size() / 60) {
      values.push_back(images[i]);
      values.push_back(images[i]);
      values.back().push_back(0);
      values.push_back(images[images.size() - 1 - i / 2]);
      if (values.back().size() > 1) values.back().pop_back();
    }
  }
  Random random(11);
  for (std::size_t size = 1; size <= 300; size += size < 40 || size > 250 ? 1 : 13) {
    Bytes bytes(size);
    for (std::uint8_t& byte : bytes) byte = static_cast<std::uint8_t>(random.next());
    values.push_back(bytes);
    values.push_back(Bytes(size, static_cast<std::uint8_t>(size % 3)));
  }
}

std::vector<Bytes> values_of(std::int32_t code, Set set) {
  std::vector<Bytes> values;
  const Kind kind = kind_of(code);
  if (kind == Kind::text || kind == Kind::varchar || kind == Kind::utf16)
    values = encoded_texts(kind, set);
  else if (kind == Kind::bytes || kind == Kind::varbin)
    add_byte_strings(values);
  else if (kind == Kind::integer || kind == Kind::money)
    add_integers(code, values);
  else if (kind == Kind::real)
    code == VDX_FLT4 ? add_reals<float>(values) : add_reals<double>(values);
  else if (kind == Kind::numeric)
    add_numerics(values);
  else if (kind == Kind::date)
    add_dates(code, values);
  else
    values = {{0}, {1}, {2}, {255}};
  if (kind == Kind::varchar || kind == Kind::varbin) {
    for (Bytes& value : values) {
      const auto count = image(static_cast<std::int16_t>(std::min<std::size_t>(value.size(), 256)));
      value.insert(value.begin(), count.begin(), count.end());
      value.resize(258);
    }
    values.push_back(Bytes(258, 1));  // a count of 257
  }
  return values;
}

// ---- formats ----

std::vector<Format> formats_of(std::int32_t destination, std::int32_t size, Random& random,
                               bool all) {
  std::vector<Format> formats;
  const Kind kind = kind_of(destination);
  if (kind == Kind::numeric) {
    const std::pair<std::int32_t, std::int32_t> pairs[] = {
        {38, 10}, {77, 57}, {5, 0}, {19, 4},  {4, 9},   {77, 77}, {77, 0},
        {1, 0},   {18, 17}, {0, 0}, {78, 78}, {10, -1}, {10, 78}, {5, 2}};
    for (const auto& [precision, scale] : pairs)
      if (all || random.below(3) == 0) formats.push_back({.precision = precision, .scale = scale});
    formats.push_back({.precision = static_cast<std::int32_t>(1 + random.below(77)),
                       .scale = static_cast<std::int32_t>(random.below(78))});
    return formats;
  }
  if (kind == Kind::none) return {{.maxlength = 5}};
  if (kind != Kind::text && kind != Kind::utf16 && kind != Kind::bytes) {
    formats.push_back({});
    if (all) formats.push_back({.flags = 0x67, .maxlength = 1, .precision = 3});
    return formats;
  }
  const std::uint32_t extra[] = {0, VDX_FMT_QUOTE, VDX_FMT_SWAP, VDX_FMT_QUOTE | VDX_FMT_SWAP};
  for (int i = 0; i < (all ? 200 : size > 300 ? 1 : 4); ++i) {
    static constexpr int kRooms[] = {0, 1, 2, 3, 4, 5, 7, 8, 9, 15, 16, 17, 24};
    static constexpr int kBeside[] = {-3, -2, -1, 0, 1, 2, 3, 9, 40};
    const auto sized = static_cast<std::uint64_t>(size);
    const std::uint64_t way = random.below(23);
    const auto room = way < 13   ? static_cast<std::uint64_t>(random.of(kRooms))
                      : way < 22 ? sized + static_cast<std::uint64_t>(random.of(kBeside))
                                 : random.below(sized + 4);
    formats.push_back({.flags = static_cast<std::uint32_t>(random.below(8)) | random.of(extra),
                       .maxlength = std::max(0, static_cast<std::int32_t>(room)),
                       .precision = static_cast<std::int32_t>(random.below(7)) - 1});
  }
  formats.push_back({.maxlength = size});
  return formats;
}

// ---- every cell ----

// False where the answers differ.
bool agrees(vdx_context& context, Request request) {
  // Equal locales may as well be the context's.
  const bool of_context = request.from == request.to && request.value.size() % 2 != 0;
  context.locale = of_context ? locale_of(request.from) : nullptr;
  request.format.locale = of_context ? nullptr : locale_of(request.from);
  request.format.to_locale = of_context ? nullptr : locale_of(request.to);
  const Answer answer = expect(request);
  const Result result =
      convert(context, request.source, request.value, request.destination, request.format);
  Result expected{answer.code, answer.length, answer.bytes};
  for (std::size_t i = answer.open_from; i < result.bytes.size(); ++i)
    expected.bytes[i] = result.bytes[i];
  if (result == expected) return true;
  const Format& f = request.format;
  ADD_FAILURE() << request.source << " to " << request.destination << ", sets "
                << static_cast<int>(request.from) << " and " << static_cast<int>(request.to)
                << ", flags " << f.flags << ", room " << f.maxlength << ", numeric " << f.precision
                << ' ' << f.scale << ", value " << testing::PrintToString(request.value)
                << "\nexpected " << expected << "\ngot      " << result;
  return false;
}

void check_cell(vdx_context& context, std::int32_t source, std::int32_t destination, bool whole) {
  static std::map<std::pair<std::int32_t, Set>, std::vector<Bytes>> memo;
  Random random(static_cast<std::uint64_t>(source * 40 + destination + 1) * 977);
  const auto has_sets = [](std::int32_t code) {
    const Kind kind = kind_of(code);
    return kind == Kind::text || kind == Kind::varchar || kind == Kind::utf16 || kind == Kind::date;
  };
  for (const Set from : kSets) {
    if (from != Set::latin1 && (!has_sets(source) || kind_of(source) == Kind::date)) break;
    std::vector<Bytes>& values = memo[{source, from}];
    if (values.empty()) values = values_of(source, from);
    for (std::size_t i = 0; i < values.size(); ++i) {
      // Long values take time; single bytes of ASCII are alike in all sets.
      const bool plain =
          std::all_of(values[i].begin(), values[i].end(), [](int b) { return b < 128; });
      const bool exact = kind_of(source) == Kind::numeric || kind_of(source) == Kind::real;
      if (random.below(std::uint64_t{kThinned} * (whole ? 1 : 8) * (exact ? 2 : 1) *
                       (values[i].size() > 300 ? 4 : 1) * (plain && from != Set::latin1 ? 6 : 1)) !=
          0)
        continue;
      Request request{source, values[i], destination, {}, from, Set::latin1};
      if (has_sets(destination)) request.to = kSets[random.below(4)];
      const std::int32_t size = text_size(request);
      for (const Format& format : formats_of(destination, size, random, random.below(150) == 0)) {
        request.format = format;
        if (has_sets(source) && has_sets(destination)) request.to = kSets[random.below(4)];
        if (!agrees(context, request)) return;
      }
    }
  }
}

class Cells : public testing::TestWithParam<std::int32_t> {};

TEST_P(Cells, DoWhatTheOracleSays) {
  Table table;
  const std::int32_t source = GetParam();
  std::vector<vdx_convfn> seen;
  for (std::int32_t destination = 0; destination < VDX_DATATYPES; ++destination) {
    const vdx_convfn cell =
        vdx::matrix()[static_cast<std::size_t>(source * VDX_DATATYPES + destination)];
    if (cell == nullptr) continue;
    if (kind_of(source) == Kind::utf16 && destination == 20) {  // a retired code of i8
      EXPECT_EQ(cell, com_conv_func(&table.context, source, VDX_I8));
      continue;
    }
    // Where codes share a function, the first of them is tried with all values.
    const bool first = std::find(seen.begin(), seen.end(), cell) == seen.end();
    seen.push_back(cell);
    const bool leader = source == VDX_CHAR || source == VDX_BIN || source == VDX_NUM ||
                        source == VDX_UNICHAR || source >= VDX_TEXTLOCATOR ||
                        (kind_of(source) != Kind::text && kind_of(source) != Kind::utf16 &&
                         kind_of(source) != Kind::bytes && kind_of(source) != Kind::numeric);
    SCOPED_TRACE(testing::Message() << source << " to " << destination);
    check_cell(table.context, source, destination, first && leader);
  }
}

INSTANTIATE_TEST_SUITE_P(Matrix, Cells, testing::Range(0, int{VDX_DATATYPES}));

// ---- texts of numbers ----

// The middle of a positive float and the one above it.
template <class F>
Number middle(F value) {
  const double above = std::nextafter(value, std::numeric_limits<F>::infinity());
  return product(sum(number_of(double{value}), number_of(above)), number_of("0.5"));
}

// Limits, middles of floats a digit more or less, and any digits; a point anywhere and an exponent
// that makes up for it; often dressed up or damaged.
std::u32string random_number_text(Random& random, int i) {
  static const std::vector<Wide> kWhole = whole_values();
  const auto sometimes = [&](std::uint64_t most) {
    return random.below(4) == 0 ? random.below(most) : 0;
  };
  Number n{random.below(3) == 0, random_digits(random, i % 4 == 0 ? 150 : i % 4 == 1 ? 39 : 20)};
  n.scale = static_cast<std::int64_t>(random.below(i % 2 == 0 ? 90 : 6)) - i % 2 * 30;
  if (i % 8 == 3) n = number_of(decimal(random.of(kWhole)) + std::to_string(random.below(100)), 6);
  if (i % 8 == 7) {
    const double size =
        std::ldexp(static_cast<double>(random.next() >> 11 | std::uint64_t{1} << 52),
                   static_cast<int>(random.below(190)) - 120);
    n = i % 16 == 7 ? middle(static_cast<float>(size)) : middle(size);
    const int nudge = i / 16 % 3 - 1;
    n = sum(n, {nudge < 0, nudge == 0 ? "" : "1", n.scale + 1});
  }
  const auto moved = static_cast<std::int64_t>(sometimes(120)) - i % 2 * 30;
  const bool has_exponent = i % 4 > 1;
  std::string text = text_of({n.negative, n.digits, has_exponent ? n.scale + moved : n.scale});
  if (random.below(8) == 0)
    for (std::size_t at = std::min(text.find('.'), text.size()); at > (n.negative ? 4u : 3u);)
      text.insert(at -= 3, 1, ',');
  if (has_exponent) text += (moved < 0 ? "e" : "E+") + std::to_string(moved);
  text.insert(n.negative ? 1 : 0, std::string(sometimes(90), '0'));
  if (!n.negative) text.insert(0, sometimes(2), '+');
  text = std::string(sometimes(3), ' ') + text + std::string(sometimes(40), ' ');
  std::u32string characters(text.begin(), text.end());
  for (std::uint64_t faults = sometimes(4); faults > 0 && !characters.empty(); --faults)
    characters.replace(random.below(characters.size()), random.below(3), random.below(2),
                       U"0123456789.,+-$ e\t9x\u00A3\0"[random.below(22)]);
  if (i % 3 == 0 && !characters.empty()) {  // a wide one, which only the full grammar reads
    char32_t& c = characters[random.below(characters.size())];
    if (c > ' ' && c < 0x7F) c += 0xFEE0;
  }
  return characters;
}

TEST(Matrix, NumbersAreReadAsTheOracleSays) {
  static constexpr std::int32_t kNumbers[] = {VDX_I2,    VDX_I4,   VDX_UI4,  VDX_I8,   VDX_UI8,
                                              VDX_MONEY, VDX_MNY4, VDX_FLT4, VDX_FLT8, VDX_NUM};
  Table table;
  Random random(13);
  for (int i = 0; i < 300000 / kThinned; ++i) {
    const std::u32string text = random_number_text(random, i);
    if (text.empty()) continue;
    const Set set = i % 3 == 0 ? Set::utf8 : Set::latin1;
    Request request{VDX_CHAR, *encode(set, text), random.of(kNumbers), {}, set, set};
    request.format.precision = static_cast<std::int32_t>(i % 2 == 0 ? 77 : 1 + random.below(77));
    request.format.scale = static_cast<std::int32_t>(random.below(i % 5 == 0 ? 78 : 6));
    if (!agrees(table.context, request)) return;
  }
}

// ---- there and back ----

// What holds every value of a type, texts and images aside, and how many values go through.
const struct {
  std::int32_t source;
  std::vector<std::int32_t> through;
  std::uint32_t count = 1 << 18;
} kTrips[] = {
    // clang-format off
    {VDX_BIT, {VDX_I1, VDX_I2, VDX_I4, VDX_I8, VDX_UI2, VDX_UI4, VDX_UI8, VDX_FLT4, VDX_FLT8,
               VDX_NUM}, 2},
    {VDX_I1, {VDX_I2, VDX_I4, VDX_I8, VDX_UI2, VDX_UI4, VDX_UI8, VDX_FLT4, VDX_FLT8, VDX_NUM,
              VDX_MONEY, VDX_MNY4}, 1 << 8},
    {VDX_I2, {VDX_I4, VDX_I8, VDX_FLT4, VDX_FLT8, VDX_NUM, VDX_MONEY, VDX_MNY4}, 1 << 16},
    {VDX_UI2, {VDX_I4, VDX_I8, VDX_UI4, VDX_UI8, VDX_FLT4, VDX_FLT8, VDX_NUM, VDX_MONEY, VDX_MNY4},
     1 << 16},
    {VDX_I4, {VDX_I8, VDX_FLT8, VDX_NUM, VDX_MONEY}},
    {VDX_UI4, {VDX_I8, VDX_UI8, VDX_FLT8, VDX_NUM, VDX_MONEY}},
    {VDX_I8, {VDX_NUM}}, {VDX_UI8, {VDX_NUM}}, {VDX_MONEY, {VDX_NUM}},
    {VDX_MNY4, {VDX_MONEY, VDX_FLT8, VDX_NUM}},
    {VDX_FLT4, {VDX_FLT8}, 1 << 22}, {VDX_FLT8, {}}, {VDX_NUM, {}, 1 << 17},
    {VDX_DATETIME, {VDX_BIGDATETIME}}, {VDX_DATE4, {VDX_DATETIME, VDX_BIGDATETIME}, 9 << 16},
    {VDX_DATEA, {VDX_BIGDATETIME}}, {VDX_TIMEA, {VDX_DATETIME, VDX_BIGDATETIME, VDX_BIGTIME}},
    {VDX_BIGDATETIME, {}}, {VDX_BIGTIME, {VDX_BIGDATETIME}}};
// clang-format on

Bytes value_of(std::int32_t code, std::uint32_t i, Random& random) {
  if (code == VDX_DATE4) {  // every day, at all minutes in turn
    const std::uint32_t minute = (i >> 16) % 2 == 0 ? i * 7919 % 1440 : (i >> 17) * 359;
    return image(vdx_date4{static_cast<std::uint16_t>(i), static_cast<std::uint16_t>(minute)});
  }
  if (kind_of(code) == Kind::real) {
    // Every sign and exponent, at times with a fraction next to where something changes, or amounts.
    const std::uint32_t way = i >> 9 & 3, edge = (i >> 11) % 6 - 3;
    const double amount = static_cast<double>(random.sized()) / std::pow(10.0, random.below(23)) *
                          (i % 2 == 0 ? 1.0 : std::pow(10.0, random.below(23)));
    const std::uint64_t noise = random.next(), kFraction = ~std::uint64_t{0} >> 12;
    if (code == VDX_FLT4 && way == 0) return image(static_cast<float>(amount));
    if (code == VDX_FLT4)
      return image(static_cast<std::uint32_t>(i << 23) | ((way == 1 ? edge : noise) & 0x7FFFFF));
    if (way == 0) return image(amount);
    return image(way == 1 ? (noise & ~kFraction) | (std::uint64_t(std::int32_t(edge)) & kFraction)
                          : noise);
  }
  Bytes bytes(kRandomRoom);
  random_value(random, code, bytes.data());
  bytes.resize(static_cast<std::size_t>(comn_typelen(code, 0)));
  if (code == VDX_NUM && std::count(bytes.begin() + 3, bytes.end(), 0) == 32) bytes[2] = 0;
  const bool all = code == VDX_BIT || code == VDX_I1 || code == VDX_I2 || code == VDX_UI2;
  return all ? slice(image(i), 0, bytes.size()) : bytes;
}

// The shortest text that reads back as the float.
std::string text_of_real(std::int32_t code, const Bytes& value) {
  const auto shortest = [](auto number) {
    char text[64];
    const auto shown = number != number ? std::fabs(number) : number;
    return std::string(text, std::to_chars(text, std::end(text), shown).ptr);
  };
  return code == VDX_FLT4 ? shortest(as<float>(value)) : shortest(as<double>(value));
}

// A conversion and its way back, called without what the checks of every single call cost.
struct Trip {
  vdx_convfn there, back;
  vdx_datafmt from{}, through{}, home{};
  std::uint32_t invalid = 0;  // images of no value, which say nothing

  Trip(vdx_context& context, std::int32_t source, std::int32_t via)
      : there(com_conv_func(&context, source, via)), back(com_conv_func(&context, via, source)) {
    from.datatype = home.datatype = source;
    through.datatype = via;
    through.maxlength = 200;
    through.precision = kind_of(source) == Kind::money && via != VDX_NUM ? 4 : 77;
    through.scale = 5;
    from.locale = through.locale = home.locale = locale_of(Set::utf8);  // its dates show all digits
  }

  // What became of the value.
  Bytes go(vdx_context& context, const Bytes& value) {
    std::uint8_t between[260];
    Bytes result(value.size());
    std::int32_t length = 0;
    home.precision = value[0];
    home.scale = value.size() > 1 ? value[1] : 0;
    vdx_datafmt middle = through;
    std::int32_t code = there(&context, &from, value.data(), &through, between, &length);
    if (code == VDX_INVALID) return ++invalid, value;
    if (code != VDX_SUCCESS) return {};
    if (kind_of(from.datatype) == Kind::real && through.datatype == VDX_CHAR &&
        std::string(between, between + length) != text_of_real(from.datatype, value))
      return {};
    middle.maxlength = length;
    code = back(&context, &middle, between, &home, result.data(), &length);
    if (code != VDX_SUCCESS && code != VDX_TRUNCATED)
      return {};  // microseconds of ticks are rounded
    return result;
  }
};

TEST(Matrix, ValuesComeBackFromWhatHoldsThem) {
  Table table;
  for (const auto& trips : kTrips) {
    std::vector<std::int32_t> through = trips.through;
    for (const std::int32_t via : {VDX_CHAR, VDX_VARCHAR, VDX_UNICHAR, VDX_BIN, VDX_VARBIN})
      if (trips.source != VDX_BIT || via != VDX_VARBIN) through.push_back(via);
    for (const std::int32_t via : through) {
      if (kind_of(trips.source) == Kind::date && via == VDX_BIN) continue;  // no such conversion
      Trip trip(table.context, trips.source, via);
      ASSERT_TRUE(trip.there != nullptr && trip.back != nullptr) << trips.source << ' ' << via;
      Random random(static_cast<std::uint64_t>(trips.source * 40 + via + 5));
      for (std::uint32_t i = 0; i < trips.count; i += kThinned) {
        const Bytes value = value_of(trips.source, i, random);
        const Bytes result = trip.go(table.context, value);
        if (result == value) continue;
        // A text says of a not-a-number only that it is one.
        ASSERT_TRUE(kind_of(trips.source) == Kind::real && !result.empty() &&
                    text_of_real(trips.source, value) == "nan" &&
                    text_of_real(trips.source, result) == "nan")
            << trips.source << " through " << via << ": " << Result{0, 0, value} << " became "
            << Result{0, 0, result};
      }
      EXPECT_LE(trip.invalid, trips.count / kThinned / 2);
    }
  }
}

}  // namespace
