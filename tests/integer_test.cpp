// Pieces of the integer conversions: copiers, the parsers, the caller's side of the contract.
#include "number/integer_text.h"
#include "support.h"

namespace {

using namespace vdx_test;

TEST(Integers, SharedCopiersCut) {
  vdx_datafmt format{};
  const std::uint8_t source[300] = {};
  std::uint8_t destination[258];
  std::int32_t length = 0;
  format.datatype = VDX_VARBIN;
  EXPECT_EQ(comn_fixedtovarbin(source, 300, &format, destination, &length), VDX_OVERFLOW);
  EXPECT_TRUE(length == 258 && destination[0] + destination[1] * 256 == 256);
  format.datatype = VDX_IMAGE;
  format.maxlength = 258;
  EXPECT_EQ(comn_fixedtobin(source, 300, &format, destination, &length), VDX_TRUNCATED);
  EXPECT_EQ(length, 258);
  const char* const broken = "assertion failed, file 'com_fixed.cpp'";
  EXPECT_FATAL(comn_fixedtovarbin(source, 3, &format, destination, &length), broken);
  EXPECT_FATAL(comn_fixedtobin(source, 0, &format, destination, &length), broken);
}

TEST(Integers, PlainFormattingHelper) {
  const std::tuple<std::int32_t, std::int32_t, std::string> rows[] = {
      {12345, 4, "*"}, {12345, 5, "12345"}, {-1, 0, "-1"}, {INT32_MIN, -1, "-2147483648"}};
  for (const auto& [value, size, text] : rows) {
    char out[16] = {};
    EXPECT_EQ(com__itochar(value, out, size), std::ssize(text));
    EXPECT_EQ(out, text);
  }
}

using Parsed = std::pair<std::int32_t, std::int64_t>;  // the result and the bits of the value

template <class T, auto parser>
Parsed parse(const std::string& text) {
  T value = 99;
  const Bytes exact = bytes_of(text.empty() ? std::string(1, '\0') : text);
  const std::int32_t result = parser(exact.data(), static_cast<std::int32_t>(text.size()), &value,
                                     text.size() % 2 == 0 ? nullptr : &vdx::kUtf8);
  return {result, static_cast<std::int64_t>(value)};
}

constexpr Parsed (*kParsers[])(const std::string&) = {
    parse<std::int16_t, com__chtoi2_mb>, parse<std::uint16_t, com__chtoui2_mb>,
    parse<std::int32_t, com__chtoi4_mb>, parse<std::uint32_t, com__chtoui4_mb>,
    parse<std::int64_t, com__chtoi8_mb>, parse<std::uint64_t, com__chtoui8_mb>};

// The conversions tell which texts are which values; here is what the parsers return and leave.
TEST(Parsers, TableOfTexts) {
  const Parsed none{-2, 0}, most4{-1, UINT32_MAX};
  const struct {
    const char* text;
    Parsed i2, ui2, i4, ui4, i8, ui8;
  } rows[] = {
      // clang-format off
      {"", {0, 0}, {0, 0}, {0, 0}, {0, 0}, {0, 0}, {0, 0}},
      {" - 42  ", {4, -42}, none, {4, -42}, none, {4, -42}, none},
      {"-", {4, 0}, none, {4, 0}, none, {4, 0}, none},
      {"42\xF3\x80\x80", none, none, {-2, 42}, {-2, 42}, {-2, 42}, {-2, 42}},  // a cut character
      {"32768", {-1, -32768}, {4, 32768}, {4, 32768}, {4, 32768}, {4, 32768}, {4, 32768}},
      {"4294967295", {-1, 0}, {-1, 65535}, {-1, 429496729}, {4, UINT32_MAX}, {4, UINT32_MAX},
       {4, UINT32_MAX}},
      {"-2147483649", {-1, 0}, none, {-1, -2147483640}, none, {4, -2147483649}, none},
      {"9223372036854775808", {-1, 0}, {-1, 0}, {-1, 922337203}, most4, {-1, 9223372036854775800},
       {4, INT64_MIN}},
      {"18446744073709551616", {-1, 0}, {-1, 0}, {-1, 1844674407}, most4,
       {-1, 1844674407370955161}, {-1, -1}}};
  // clang-format on
  for (const auto& row : rows) {
    const Parsed expected[] = {row.i2, row.ui2, row.i4, row.ui4, row.i8, row.ui8};
    for (std::size_t i = 0; i < std::size(expected); ++i)
      EXPECT_EQ(kParsers[i](row.text), expected[i]) << row.text << ", parser " << i;
  }
}

// Each null pointer, and each pair of datatypes or length that a conversion is not for.
[[noreturn]] void break_contracts() {
  handle_checks(Handler::kResume);
  com_toggle_abort(2);
  Table table;
  vdx_datafmt from{}, to{};
  std::int64_t value = 0;
  char out[20] = "?";
  std::int32_t n = 0;
  std::int64_t sum = with_each_null(comn_i4tochar, &table.context, &from, &value, &to, out, &n);
  const struct {
    vdx_convfn function;
    std::int32_t from, to, length;
  } rows[] = {// clang-format off
      {comn_i4tochar, VDX_I4, VDX_CHAR, -1}, {comn_i4tochar, VDX_I4, VDX_I2, 20},
      {comn_i4tochar, VDX_I4, 45, 20}, {comn_i4tochar, VDX_I4, INT32_MIN, 20},
      {comn_i4tochar, VDX_VARCHAR, VDX_CHAR, 20}, {comn_i4tochar, 64, VDX_CHAR, 20},
      {comn_i4tochar, -1, VDX_CHAR, 20}, {comn_chartoi4, VDX_CHAR, VDX_I4, 4},
      {comn_varchartoi4, VDX_VARCHAR, VDX_I4, 4},
      {comn_i8toi8, VDX_I8, 20, 8}};  // a retired code of i8 never gets there
  // clang-format on
  for (const auto& row : rows) {
    from.datatype = row.from;
    from.maxlength = row.from == VDX_I8 ? 8 : 0;
    to.datatype = row.to;
    to.maxlength = row.length;
    sum += row.function(&table.context, &from, &value, &to, out, &n);
  }
  std::exit(sum == VDX_OVERFLOW * 16 && out[0] == '?' ? 0 : 1);
}

TEST(ContractDeath, ReportsTheRowOfTheConversion) {
  const std::string line = ".list' line [0-9]+\n", bad = "\n\rassertion failed, file 'com_";
  EXPECT_EXIT(break_contracts(), testing::ExitedWithCode(0),
              has_match("^(\nInvalid NULL pointer , file 'com_i4" + line + "){6}(" + bad + "i4" +
                        line + "\r){7}" + bad + "char" + line + "\r" + bad + "varchar" + line +
                        "\r" + bad + "i8" + line + "\r$"));
}

}  // namespace
