// Pieces of the integer conversions: copiers, the parsers, the caller's side of the contract.
#include <limits>

#include "convert/scan.h"
#include "support.h"

namespace {

using namespace vdx_test;

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
    {"- 42", 4, -42, 4, -42, -2, 0, -2, 0},
    {"+-1", -2, 0, -2, 0, -2, 0, -2, 0},
    {"4 2", -2, 4, -2, 0, -2, 4, -2, 0},
    {"42x", -2, 42, -2, 0, -2, 42, -2, 0},
    {"\t1", -2, 0, -2, 0, -2, 0, -2, 0},
    {"", 0, 0, 0, 0, 0, 0, 0, 0},
    {"   ", 4, 0, 4, 0, 4, 0, 4, 0},
    {"-", 4, 0, 4, 0, -2, 0, -2, 0},
    {"32768", 4, 32768, -1, -32768, 4, 32768, 4, 32768},
    {"2147483648", -1, 2147483640, -1, 0, 4, 2147483648U, -1, 0},
    {"21474836470", -1, 2147483647, -1, 0, -1, kMax4, -1, 0},
    {"-2147483649", -1, -2147483640, -1, 0, -2, 0, -2, 0},
    {"4294967295", -1, 429496729, -1, 0, 4, kMax4, -1, 65535},
    {"4294967296", -1, 429496729, -1, 0, -1, kMax4, -1, 0},
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
      {"9223372036854775808", {-1, 9223372036854775800}, {4, 9223372036854775808U}},
      {"-9223372036854775809", {-1, -9223372036854775800}, {-2, 0}},
      {"18446744073709551615", {-1, 1844674407370955161}, {4, UINT64_MAX}},
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
  for (int i = 0; i < 6; ++i) {
    const auto unless = [&](int at, auto* pointer) { return i == at ? nullptr : pointer; };
    EXPECT_FATAL(comn_i4tochar(unless(0, &table.context), unless(1, &from), unless(2, &value),
                               unless(3, &to), unless(4, out), unless(5, &n)),
                 null);
  }
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
