// Conversions among integers, bit, money and floats, against exact arithmetic; images and text.
#include <array>
#include <charconv>
#include <cmath>
#include <limits>
#include <optional>

#include "convert/scan.h"
#include "number/com_num.h"
#include "support.h"

namespace {

using namespace vdx_test;
__extension__ using Wide = __int128;

// What a whole-number type holds, and how a value looks in memory. Money counts ten-thousandths.
struct Type {
  std::int32_t code;
  int size;
  bool is_signed;
  int unit;
  Wide least() const { return is_signed ? -(Wide{1} << (8 * size - 1)) : 0; }
  Wide most() const {
    return code == VDX_BIT ? 1 : (Wide{1} << (8 * size - (is_signed ? 1 : 0))) - 1;
  }
};

constexpr Type kTypes[] = {
    {VDX_I1, 1, false, 1},       {VDX_I2, 2, true, 1},   {VDX_I4, 4, true, 1},
    {VDX_I8, 8, true, 1},        {VDX_UI2, 2, false, 1}, {VDX_UI4, 4, false, 1},
    {VDX_UI8, 8, false, 1},      {VDX_BIT, 1, false, 1}, {VDX_MNY4, 4, true, 10000},
    {VDX_MONEY, 8, true, 10000},
};

Bytes in_memory(const Type& type, Wide value) {
  const auto bits = static_cast<std::uint64_t>(value);
  if (type.code == VDX_MONEY) {
    const vdx_money money{static_cast<std::int32_t>(bits >> 32), static_cast<std::uint32_t>(bits)};
    return image(money);
  }
  Bytes bytes = image(bits);
  bytes.resize(static_cast<std::size_t>(type.size));
  return bytes;
}

// Limits of every type in its own unit and in units of money, their neighbours, halves, and noise.
std::vector<Wide> values_of(const Type& type) {
  std::vector<Wide> candidates = {0,    1,     -1,    2,     4999,  5000,  5001,
                                  9999, 10000, 14999, 15000, -4999, -5000, -15000};
  for (const Type& other : kTypes)
    for (const Wide limit : {other.least(), other.most()})
      for (const Wide scaled : {limit, limit * 10000, limit / 10000})
        for (const Wide beside : {-15000, -5001, -5000, -4999, -1, 0, 1, 4999, 5000, 5001})
          candidates.push_back(scaled + beside);
  Random random(7);
  for (int i = 0; i < 200; ++i) {
    const auto r = static_cast<std::int64_t>(random.sized());
    candidates.push_back(r);
    candidates.push_back(-Wide{r});
  }
  std::vector<Wide> values;
  for (const Wide v : candidates)
    if (v >= type.least() && v <= type.most()) values.push_back(v);
  return values;
}

Wide round_half_away(Wide count, Wide unit) {
  const Wide magnitude = ((count < 0 ? -count : count) + unit / 2) / unit;
  return count < 0 ? -magnitude : magnitude;
}

TEST(Integers, EveryPairAgreesWithExactArithmetic) {
  Table table;
  for (const Type& from : kTypes)
    for (const Type& to : kTypes) {
      if (from.code == VDX_BIT && to.unit != 1) continue;  // no such conversion
      for (const Wide value : values_of(from)) {
        Wide exact = value;
        if (to.code == VDX_BIT)
          exact = value != 0 ? 1 : 0;
        else if (from.unit > to.unit)
          exact = round_half_away(value, from.unit);
        else if (from.unit < to.unit)
          exact = value * to.unit;
        std::int32_t code = 1;
        if (exact > to.most()) exact = to.most(), code = VDX_OVERFLOW;
        if (exact < to.least()) {
          exact = to.least();
          code = to.is_signed || to.size == 1 ? VDX_OVERFLOW : VDX_UNDERFLOW;
        }
        const Result expected{code, to.size, in_memory(to, exact)};
        const Result result = convert(table.context, from.code, in_memory(from, value), to.code);
        ASSERT_EQ(result, expected)
            << from.code << " to " << to.code << " of " << static_cast<std::int64_t>(value);
      }
    }
}

TEST(Integers, BitRefusesOtherBytesBeforeAnythingIsWritten) {
  Table table;
  for (const std::int32_t to : {VDX_I1, VDX_I4, VDX_UI8, VDX_BIT, VDX_FLT8, VDX_NUM, VDX_CHAR,
                                VDX_VARCHAR, VDX_BIN, VDX_VARBIN}) {
    const Result result = convert(table.context, VDX_BIT, {2}, to, {.precision = 5});
    EXPECT_EQ(result.code, VDX_INVALID) << to;
    EXPECT_EQ(result.length, kUnset) << to;
    EXPECT_EQ(result.bytes, Bytes(result.bytes.size(), kGuard)) << to;
  }
}

TEST(Integers, ToFloats) {
  Table table;
  for (const Type& from : kTypes)
    for (const Wide value : values_of(from)) {
      SCOPED_TRACE(from.code);
      const Bytes source = in_memory(from, value);
      const Result wide = convert(table.context, from.code, source, VDX_FLT8);
      const Result narrow = convert(table.context, from.code, source, VDX_FLT4);
      EXPECT_EQ(wide.code, 1);
      EXPECT_EQ(wide.length, 8);
      EXPECT_EQ(narrow.length, 4);
      if (from.code == VDX_MONEY) {
        const auto bits = static_cast<std::uint64_t>(value);
        const volatile double high =
            static_cast<double>(static_cast<std::int32_t>(bits >> 32)) * 429496.7296;
        const volatile double low = static_cast<double>(static_cast<std::uint32_t>(bits)) / 10000.0;
        EXPECT_EQ(wide.as<double>(), high + low);
        EXPECT_EQ(narrow.as<float>(), static_cast<float>(high + low));
      } else if (from.code == VDX_MNY4) {
        // Text is rounded once, to the nearest.
        const auto count = static_cast<std::int64_t>(value);
        const std::string digits = std::to_string(count) + "e-4";
        float single = 0;
        std::from_chars(digits.data(), digits.data() + digits.size(), single);
        EXPECT_EQ(narrow.as<float>(), single);
        EXPECT_EQ(wide.as<double>(), std::strtod(digits.c_str(), nullptr));
      } else {
        EXPECT_EQ(wide.as<double>(), static_cast<double>(value));
        EXPECT_EQ(narrow.as<float>(), static_cast<float>(value));
      }
    }
}

TEST(Integers, ToNumericThroughTheExactValue) {
  Table table;
  const std::pair<std::int32_t, std::int32_t> formats[] = {
      {38, 10}, {77, 57}, {5, 0}, {19, 4}, {4, 9}, {0, 0}, {78, 0}, {10, -1}, {10, 78}};
  for (const Type& from : kTypes)
    for (const Wide value : values_of(from))
      for (const auto& [precision, scale] : formats) {
        const auto bits = static_cast<std::uint64_t>(value);
        vdx::Exact exact = vdx::exact_integer(value < 0 ? 0 - bits : bits, value < 0);
        exact.scale = from.unit == 1 ? 0 : 4;
        Result expected{0, 35, Bytes(35, kGuard)};
        expected.code = vdx::write_numeric(exact, precision, scale, expected.bytes.data());
        const Format format{.precision = precision, .scale = scale};
        ASSERT_EQ(convert(table.context, from.code, in_memory(from, value), VDX_DECIMAL, format),
                  expected);
      }
}

TEST(Floats, ToMoney) {
  Table table;
  constexpr double kEdge = 922337203685477.6;
  constexpr std::int64_t kMost = std::numeric_limits<std::int64_t>::max();
  constexpr std::int64_t kLeast = std::numeric_limits<std::int64_t>::min();
  constexpr double kInfinity = std::numeric_limits<double>::infinity();
  const struct {
    double number;
    std::int32_t code;
    std::int64_t count;
  } rows[] = {{0, 1, 0},
              {-0.0, 1, 0},
              {0.00004, 1, 0},
              {0.00006, 1, 1},
              {-0.00006, 1, -1},
              {12.34567, 1, 123457},
              {-214748.3648, 1, -2147483648LL},
              {214748.3648, 1, 2147483648LL},
              {429496.7296, 1, 4294967296LL},
              {kEdge, 1, kMost},
              {-kEdge, 1, -kMost},
              {1e15, VDX_OVERFLOW, kMost},
              {-1e15, VDX_OVERFLOW, kLeast},
              {kInfinity, VDX_OVERFLOW, kMost},
              {-kInfinity, VDX_OVERFLOW, kLeast},
              {std::nan(""), VDX_INVALID, 0}};
  for (const auto& row : rows) {
    SCOPED_TRACE(row.number);
    const Type& money = kTypes[9];
    EXPECT_EQ(convert(table.context, VDX_FLT8, image(row.number), VDX_MONEY),
              (Result{row.code, 8, in_memory(money, row.count)}));
    const bool fits = row.count >= INT32_MIN && row.count <= INT32_MAX;
    const std::int64_t short_count = fits ? row.count : row.count < 0 ? INT32_MIN : INT32_MAX;
    EXPECT_EQ(convert(table.context, VDX_FLT8, image(row.number), VDX_MNY4),
              (Result{fits ? row.code : std::int32_t{VDX_OVERFLOW}, 4,
                      in_memory(kTypes[8], short_count)}));
  }
  Random random(3);
  for (int i = 0; i < 20000; ++i) {  // short money comes back from either float that holds it
    const auto count = static_cast<std::int32_t>(random.sized());
    const Result there = convert(table.context, VDX_MNY4, image(count), VDX_FLT8);
    ASSERT_EQ(convert(table.context, VDX_FLT8, there.bytes, VDX_MNY4).as<std::int32_t>(), count);
  }
  for (const Type& money : {kTypes[8], kTypes[9]})
    EXPECT_EQ(convert(table.context, VDX_FLT4, image(-1.5F), money.code).bytes,
              in_memory(money, -15000));
}

TEST(Integers, ImagesKeepTheBytes) {
  Table table;
  const std::int32_t value = 0x04030201;
  const struct {
    std::int32_t maxlength;
    std::uint32_t flags;
    std::int32_t code, length;
  } rows[] = {{0, 0, VDX_TRUNCATED, 0},
              {2, 0, VDX_TRUNCATED, 2},
              {4, 0, 1, 4},
              {8, 0, 1, 4},
              {8, VDX_FMT_PADNULL, 1, 8},
              {3, VDX_FMT_PADNULL, VDX_TRUNCATED, 3},
              {8, VDX_FMT_PADBLANK, 1, 4}};
  for (const auto& row : rows)
    for (const std::int32_t to : {VDX_BIN, VDX_LONGBIN, VDX_IMAGE}) {
      const Result r = convert(table.context, VDX_I4, image(value), to,
                               {.flags = row.flags, .maxlength = row.maxlength});
      EXPECT_EQ(r.code, row.code);
      EXPECT_EQ(r.length, row.length);
      Bytes expected = image(value);
      expected.resize(static_cast<std::size_t>(row.length));
      EXPECT_EQ(r.written(), expected);
    }
  for (const Type& from : kTypes) {
    if (from.code == VDX_BIT) continue;
    const Bytes source = in_memory(from, 77);
    const Result r = convert(table.context, from.code, source, VDX_VARBIN,
                             {.flags = VDX_FMT_PADNULL, .maxlength = 1});
    EXPECT_EQ(r.code, 1);
    EXPECT_EQ(r.length, 258);
    EXPECT_EQ(r.as<std::int16_t>(), from.size);
    EXPECT_EQ(Bytes(r.bytes.begin() + 2, r.bytes.begin() + 2 + from.size), source);
    EXPECT_EQ(convert(table.context, from.code, source, VDX_BIN).written(), source);
  }
  // Bit has its own ways.
  const Result nothing = convert(table.context, VDX_BIT, {1}, VDX_BIN, {.maxlength = 0});
  EXPECT_EQ(nothing.code, 1);
  EXPECT_EQ(nothing.length, 1);
  EXPECT_EQ(
      convert(table.context, VDX_BIT, {1}, VDX_BIN, {.flags = VDX_FMT_PADNULL, .maxlength = 3})
          .written(),
      (Bytes{1, 0, 0}));
  const Result digit = convert(table.context, VDX_BIT, {1}, VDX_VARBIN);
  EXPECT_EQ(digit.code, 1);
  EXPECT_EQ(digit.length, kUnset);
  EXPECT_EQ(Bytes(digit.bytes.begin(), digit.bytes.begin() + 3), (Bytes{1, 0, '1'}));
}

TEST(Integers, ToVarbinThroughTheSharedCopier) {
  vdx_datafmt format{};
  format.datatype = VDX_VARBIN;
  std::uint8_t source[300];
  std::memset(source, 7, sizeof source);
  std::uint8_t destination[258];
  std::int32_t length = 0;
  EXPECT_EQ(comn_fixedtovarbin(source, 300, &format, destination, &length), VDX_OVERFLOW);
  EXPECT_EQ(length, 258);
  EXPECT_EQ(destination[0] + destination[1] * 256, 256);
  format.datatype = VDX_IMAGE;
  format.maxlength = 258;
  EXPECT_EQ(comn_fixedtobin(source, 300, &format, destination, &length), VDX_TRUNCATED);
  EXPECT_EQ(length, 258);
  EXPECT_FATAL(comn_fixedtovarbin(source, 3, &format, destination, &length),
               "assertion failed, file 'com_fixed.cpp'");
  EXPECT_FATAL(comn_fixedtobin(source, 0, &format, destination, &length),
               "assertion failed, file 'com_fixed.cpp'");
}

// What a text of an integer or money leaves in a destination.
Result text_rule(const std::string& text, bool asterisk, std::uint32_t flags, std::int32_t room) {
  Result r{1, 0, Bytes(static_cast<std::size_t>(room), kGuard)};
  const bool terminate = (flags & VDX_FMT_TERMINATE) != 0;
  const auto finish = [&](std::int32_t n) {
    const bool fits = room >= n && !(terminate && room == n);
    if (!fits) {
      if (terminate && room > 0) r.bytes[static_cast<std::size_t>(room - 1)] = 0;
      return std::int32_t{VDX_OVERFLOW};
    }
    const std::uint32_t padding = flags & (VDX_FMT_PADNULL | VDX_FMT_PADBLANK);
    if (padding == (VDX_FMT_PADNULL | VDX_FMT_PADBLANK)) return std::int32_t{VDX_BAD_PADDING};
    if (padding != 0) {
      std::fill(r.bytes.begin() + n, r.bytes.end(),
                padding == VDX_FMT_PADNULL ? std::uint8_t{0} : std::uint8_t{' '});
      if (terminate) r.bytes.back() = 0;
      r.length = room;
    } else if (terminate) {
      r.bytes[static_cast<std::size_t>(n)] = 0;
      r.length = n + 1;
    }
    return std::int32_t{1};
  };
  const auto n = static_cast<std::int32_t>(text.size());
  r.length = std::min(n, room);
  const bool overflow = room < n || (terminate && room == n);
  if (overflow && asterisk) {
    if (room > 1) {
      r.bytes[0] = '*';
      r.bytes[1] = 0;
      r.length = 1;
      finish(1);
    }
    if (terminate && room > 0) r.bytes[static_cast<std::size_t>(room - 1)] = 0;
    r.code = VDX_OVERFLOW;
    return r;
  }
  std::copy(text.begin(), text.begin() + std::min(n, room), r.bytes.begin());
  r.code = finish(n);
  return r;
}

TEST(Integers, ToTextWithEveryFlagAndRoom) {
  Table table;
  for (const Type& from : kTypes)
    for (const Wide value : values_of(from)) {
      const bool money = from.unit != 1;
      const Bytes source = in_memory(from, value);
      std::string text = convert(table.context, from.code, source, VDX_CHAR).text();
      if (!money) {
        char digits[32];
        const auto end =
            from.is_signed
                ? std::to_chars(digits, digits + 32, static_cast<std::int64_t>(value)).ptr
                : std::to_chars(digits, digits + 32, static_cast<std::uint64_t>(value)).ptr;
        ASSERT_EQ(text, std::string(digits, end));
      }
      const auto n = static_cast<std::int32_t>(text.size());
      for (std::uint32_t flags = 0; flags < 8; ++flags)
        for (const std::int32_t room :
             {0, 1, 2, 3, n - 1, n, n + 1, n + 9, 7, 8, 9, 15, 16, 17, 23, 24, 25, 31, 64}) {
          if (room < 0) continue;
          ASSERT_EQ(convert(table.context, from.code, source, VDX_CHAR,
                            {.flags = flags, .maxlength = room}),
                    text_rule(text, !money, flags, room))
              << text << " flags " << flags << " room " << room;
        }
      const Result counted =
          convert(table.context, from.code, source, VDX_VARCHAR, {.flags = 7, .maxlength = 1});
      ASSERT_EQ(counted.code, 1);
      ASSERT_EQ(counted.length, 258);
      ASSERT_EQ(counted.as<std::int16_t>(), n);
      ASSERT_EQ(std::string(counted.bytes.begin() + 2, counted.bytes.begin() + 2 + n), text);
    }
}

TEST(Integers, PlainFormattingHelper) {
  const struct {
    std::int32_t value, size, length;
    const char* text;
  } rows[] = {{12345, 4, 1, "*"},
              {12345, 5, 5, "12345"},
              {-1, 0, 2, "-1"},
              {INT32_MIN, -1, 11, "-2147483648"}};
  for (const auto& row : rows) {
    char out[16] = {};
    EXPECT_EQ(com__itochar(row.value, out, row.size), row.length);
    EXPECT_STREQ(out, row.text);
  }
}

// ---- text to integers ----

template <class T>
struct Parsed {
  std::int32_t result;
  T value;
  bool operator==(const Parsed&) const = default;
};

struct ParserRow {
  const char* text;
  std::int32_t result;  // of the 32-bit parser
  std::int32_t value;
  std::int32_t result2;  // of the 16-bit parser
  std::int16_t value2;
  std::int32_t unsigned_result;  // of the unsigned 32-bit parser
  std::uint32_t unsigned_value;
  std::int32_t unsigned_result2;
  std::uint16_t unsigned_value2;
};

constexpr std::uint32_t kMax4 = 4294967295U;
const ParserRow kParserRows[] = {
    {"  42  ", 4, 42, 4, 42, 4, 42, 4, 42},
    {"  -42  ", 4, -42, 4, -42, -2, 0, -2, 0},
    {"- 42", 4, -42, 4, -42, -2, 0, -2, 0},
    {"+ 42", 4, 42, 4, 42, 4, 42, 4, 42},
    {"+-1", -2, 0, -2, 0, -2, 0, -2, 0},
    {"--1", -2, 0, -2, 0, -2, 0, -2, 0},
    {"4 2", -2, 4, -2, 0, -2, 4, -2, 0},
    {"42x", -2, 42, -2, 0, -2, 42, -2, 0},
    {"42-", -2, 42, -2, 0, -2, 42, -2, 0},
    {"x", -2, 0, -2, 0, -2, 0, -2, 0},
    {"\t1", -2, 0, -2, 0, -2, 0, -2, 0},
    {"", 0, 0, 0, 0, 0, 0, 0, 0},
    {"   ", 4, 0, 4, 0, 4, 0, 4, 0},
    {"-", 4, 0, 4, 0, -2, 0, -2, 0},
    {"+", 4, 0, 4, 0, 4, 0, 4, 0},
    {"-0", 4, 0, 4, 0, -2, 0, -2, 0},
    {"32768", 4, 32768, -1, -32768, 4, 32768, 4, 32768},
    {"-32769", 4, -32769, -1, 32767, -2, 0, -2, 0},
    {"65536", 4, 65536, -1, 0, 4, 65536, -1, 0},
    {"2147483647", 4, 2147483647, -1, -1, 4, 2147483647, -1, 65535},
    {"2147483648", -1, 2147483640, -1, 0, 4, 2147483648U, -1, 0},
    {"21474836470", -1, 2147483647, -1, 0, -1, kMax4, -1, 0},
    {"-2147483648", 4, INT32_MIN, -1, 0, -2, 0, -2, 0},
    {"-2147483649", -1, -2147483640, -1, 0, -2, 0, -2, 0},
    {"4294967295", -1, 429496729, -1, 0, 4, kMax4, -1, 65535},
    {"4294967296", -1, 429496729, -1, 0, -1, kMax4, -1, 0},
    {"00000000000000000000000000000000000000007", 4, 7, 4, 7, 4, 7, 4, 7},
    {"99999999999999999999x", -1, 999999999, -1, 0, -1, kMax4, -1, 0},
};

// The digits, signs and blanks of a text as wide characters of Shift-JIS.
Bytes widen(std::string_view text) {
  Bytes wide;
  for (const char c : text) {
    std::uint16_t w = 0x8183;  // a wide letter for whatever has no place in a number
    if (c >= '0' && c <= '9') w = static_cast<std::uint16_t>(0x824F + (c - '0'));
    if (c == '-') w = 0x817C;
    if (c == '+') w = 0x817B;
    if (c == ' ') w = 0x8140;
    wide.push_back(static_cast<std::uint8_t>(w >> 8));
    wide.push_back(static_cast<std::uint8_t>(w & 0xFF));
  }
  return wide;
}

template <class T, class Parser>
Parsed<T> parse(Parser parser, const Bytes& text, const vdx_charattr* attributes) {
  T value = 99;
  const Bytes exact(text);  // its end is where a sanitizer looks
  const std::uint8_t none = 0;
  const std::int32_t result = parser(exact.empty() ? &none : exact.data(),
                                     static_cast<std::int32_t>(exact.size()), &value, attributes);
  return {result, value};
}

TEST(Parsers, TableOfTexts) {
  Table table;
  vdx_locale* sjis = nullptr;
  ASSERT_EQ(comn_loc_alloc(&table.context, "sjis", &sjis), 1);
  vdx_datafmt format{};
  format.locale = sjis;
  const vdx_charattr* const wide = com_intl_charattr(&table.context, &format);
  for (const ParserRow& row : kParserRows) {
    SCOPED_TRACE(row.text);
    const auto check = [&](const Bytes& text, const vdx_charattr* set) {
      EXPECT_EQ((parse<std::int32_t>(com__chtoi4_mb, text, set)),
                (Parsed<std::int32_t>{row.result, row.value}));
      EXPECT_EQ((parse<std::int16_t>(com__chtoi2_mb, text, set)),
                (Parsed<std::int16_t>{row.result2, row.value2}));
      EXPECT_EQ((parse<std::uint32_t>(com__chtoui4_mb, text, set)),
                (Parsed<std::uint32_t>{row.unsigned_result, row.unsigned_value}));
      EXPECT_EQ((parse<std::uint16_t>(com__chtoui2_mb, text, set)),
                (Parsed<std::uint16_t>{row.unsigned_result2, row.unsigned_value2}));
    };
    check(bytes_of(row.text), nullptr);
    check(bytes_of(row.text), com_get_charattrib());
    check(bytes_of(row.text), wide);
    check(widen(row.text), wide);
  }
  // A lead byte cut off by the end of the text is no digit.
  EXPECT_EQ(parse<std::int32_t>(com__chtoi4_mb, {'1', 0x82}, wide), (Parsed<std::int32_t>{-2, 1}));
  EXPECT_EQ(parse<std::int32_t>(com__chtoi4_mb, {'1', 0xB2}, com_get_charattrib()),
            (Parsed<std::int32_t>{-2, 1}));
  comn_loc_drop(&table.context, sjis);
}

TEST(Parsers, WideLimits) {
  const struct {
    const char* text;
    Parsed<std::int64_t> is;
    Parsed<std::uint64_t> us;
  } rows[] = {
      {"9223372036854775807", {4, INT64_MAX}, {4, INT64_MAX}},
      {"9223372036854775808", {-1, 9223372036854775800}, {4, 9223372036854775808U}},
      {"-9223372036854775808", {4, INT64_MIN}, {-2, 0}},
      {"-9223372036854775809", {-1, -9223372036854775800}, {-2, 0}},
      {"18446744073709551615", {-1, 1844674407370955161}, {4, UINT64_MAX}},
      {"18446744073709551616", {-1, 1844674407370955161}, {-1, UINT64_MAX}},
      {"      +18446744073709551609      ", {-1, 1844674407370955160}, {4, 18446744073709551609U}},
  };
  for (const auto& row : rows) {
    EXPECT_EQ(parse<std::int64_t>(com__chtoi8_mb, bytes_of(row.text), nullptr), row.is) << row.text;
    EXPECT_EQ(parse<std::uint64_t>(com__chtoui8_mb, bytes_of(row.text), nullptr), row.us)
        << row.text;
  }
}

template <class T>
void expect_same_as_machine(const Bytes& text) {
  T fast = 1;
  T slow = 2;
  const auto n = static_cast<std::int32_t>(text.size());
  ASSERT_EQ(vdx::scan_integer(text.data(), n, fast, nullptr),
            vdx::scan_any_integer(text.data(), n, slow, nullptr))
      << std::string(text.begin(), text.end());
  ASSERT_EQ(fast, slow) << std::string(text.begin(), text.end());
}

TEST(Parsers, StraightPathAgreesWithTheStateMachine) {
  Random random(11);
  constexpr std::string_view kAlphabet = "0123456789012345678901234567890 -+x";
  for (int i = 0; i < 400000; ++i) {
    Bytes text;
    const auto add = [&](std::uint64_t most, auto make) {
      for (std::uint64_t n = random.below(most + 1); n > 0; --n) text.push_back(make());
    };
    const auto blank = [] { return std::uint8_t{' '}; };
    const std::uint64_t shape = random.below(8);
    add(shape == 0 ? 40 : 2, blank);
    if (random.below(2) != 0) text.push_back(random.below(2) != 0 ? '-' : '+');
    add(22, [&] {
      return static_cast<std::uint8_t>(shape == 1 ? kAlphabet[random.below(kAlphabet.size())]
                                                  : static_cast<char>('0' + random.below(10)));
    });
    add(shape == 2 ? 40 : 3, blank);
    if (shape == 3 && !text.empty())
      text[random.below(text.size())] = static_cast<std::uint8_t>(random.next());
    if (text.empty()) continue;
    expect_same_as_machine<std::int32_t>(text);
    expect_same_as_machine<std::int64_t>(text);
    expect_same_as_machine<std::uint32_t>(text);
    expect_same_as_machine<std::uint64_t>(text);
  }
}

TEST(Text, ToIntegersMapsResultsToCodes) {
  Table table;
  const struct {
    const char* text;
    std::int32_t to, code, length;
    std::int64_t value;
  } rows[] = {
      {"  -42", VDX_I4, 1, 4, -42},
      {"2147483648", VDX_I4, VDX_OVERFLOW, 4, 2147483640},
      {"abc", VDX_I4, VDX_SYNTAX, 0, 0},
      {"   ", VDX_I8, 1, 8, 0},
      {"40000", VDX_I2, VDX_OVERFLOW, 2, -25536},
      {"-1", VDX_UI4, VDX_SYNTAX, 0, 0},
      {"70000", VDX_UI2, VDX_OVERFLOW, 2, 4464},
      {"18446744073709551615", VDX_UI8, 1, 8, -1},
      {"255", VDX_I1, 1, 1, 255},
      {"256", VDX_I1, VDX_OVERFLOW, 1, 255},
      {"-5", VDX_I1, VDX_OVERFLOW, 1, 0},
      {"99999999999", VDX_I1, VDX_OVERFLOW, 1, 255},
      {"1x", VDX_I1, VDX_SYNTAX, 0, 0},
      {"-7", VDX_BIT, 1, 1, 1},
      {"0", VDX_BIT, 1, 1, 0},
      {"99999999999", VDX_BIT, VDX_OVERFLOW, 1, 1},
      {"yes", VDX_BIT, VDX_SYNTAX, 0, 0},
      {" -$1.5", VDX_MNY4, 1, 4, -15000},
      {"300000", VDX_MNY4, VDX_OVERFLOW, 4, INT32_MAX},
      {"1.2.3", VDX_MNY4, VDX_SYNTAX, 0, 0},
      {"$1,234.56785", VDX_MONEY, 1, 8, 12345679},
      {"-922337203685477.5808", VDX_MONEY, 1, 8, INT64_MIN},
      {"$$1", VDX_MONEY, VDX_SYNTAX, 0, 0},
      {"922337203685477.5808", VDX_MONEY, VDX_OVERFLOW, 8, 922337203685477580},
  };
  for (const auto& row : rows)
    for (const bool counted : {false, true}) {
      SCOPED_TRACE(row.text);
      Bytes source = counted ? varchar_image(row.text) : bytes_of(row.text);
      const Result r = convert(table.context, counted ? VDX_VARCHAR : VDX_CHAR, source, row.to);
      EXPECT_EQ(r.code, row.code);
      EXPECT_EQ(r.length, row.length);
      Bytes expected = row.to == VDX_MONEY ? in_memory(kTypes[9], row.value) : image(row.value);
      expected.resize(static_cast<std::size_t>(row.length));
      EXPECT_EQ(r.written(), expected);
    }
  EXPECT_EQ(convert(table.context, VDX_VARCHAR, image(std::int16_t{257}), VDX_I4).code,
            VDX_INVALID);
}

// ---- the caller's side of the contract ----

TEST(ContractDeath, ReportsTheRowOfTheConversion) {
  Table table;
  vdx_datafmt from{};
  vdx_datafmt to{};
  from.datatype = VDX_I4;
  to.datatype = VDX_CHAR;
  to.maxlength = 20;
  std::int32_t value = 5;
  char out[20];
  std::int32_t n = 0;
  const char* const null = "Invalid NULL pointer , file 'com_i4.list' line";
  EXPECT_FATAL(comn_i4tochar(nullptr, &from, &value, &to, out, &n), null);
  EXPECT_FATAL(comn_i4tochar(&table.context, nullptr, &value, &to, out, &n), null);
  EXPECT_FATAL(comn_i4tochar(&table.context, &from, nullptr, &to, out, &n), null);
  EXPECT_FATAL(comn_i4tochar(&table.context, &from, &value, nullptr, out, &n), null);
  EXPECT_FATAL(comn_i4tochar(&table.context, &from, &value, &to, nullptr, &n), null);
  EXPECT_FATAL(comn_i4tochar(&table.context, &from, &value, &to, out, nullptr), null);
  const char* const broken = "assertion failed, file 'com_i4.list' line";
  to.maxlength = -1;
  EXPECT_FATAL(comn_i4tochar(&table.context, &from, &value, &to, out, &n), broken);
  to.maxlength = 20;
  for (const std::int32_t wrong :
       std::initializer_list<std::int32_t>{VDX_I2, VDX_VARCHAR, 45, -1, 64, INT32_MIN}) {
    to.datatype = wrong;
    EXPECT_FATAL(comn_i4tochar(&table.context, &from, &value, &to, out, &n), broken);
    to.datatype = VDX_CHAR;
    from.datatype = wrong;
    EXPECT_FATAL(comn_i4tochar(&table.context, &from, &value, &to, out, &n), broken);
    from.datatype = VDX_I4;
  }
  for (const std::int32_t text : std::initializer_list<std::int32_t>{
           VDX_CHAR, VDX_LONGCHAR, VDX_TEXT, VDX_XML, VDX_SENSITIVITY, VDX_BOUNDARY}) {
    to.datatype = text;
    EXPECT_EQ(comn_i4tochar(&table.context, &from, &value, &to, out, &n), 1);
  }
  from.datatype = VDX_CHAR;
  from.maxlength = 0;
  to.datatype = VDX_I4;
  EXPECT_FATAL(comn_chartoi4(&table.context, &from, out, &to, &value, &n),
               "assertion failed, file 'com_char.list'");
  from.datatype = VDX_VARCHAR;
  const std::int16_t empty = 0;
  EXPECT_FATAL(comn_varchartoi4(&table.context, &from, &empty, &to, &value, &n),
               "assertion failed, file 'com_varchar.list'");
  from.datatype = VDX_I8;
  to.datatype = 20;  // the retired code of i8 never reaches a conversion
  const std::int64_t wide = 5;
  std::int64_t wide_out = 0;
  EXPECT_FATAL(comn_i8toi8(&table.context, &from, &wide, &to, &wide_out, &n),
               "assertion failed, file 'com_i8.list'");
}

}  // namespace
