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
  EXPECT_EQ(length, 258);
  EXPECT_EQ(destination[0] + destination[1] * 256, 256);
  format.datatype = VDX_IMAGE;
  format.maxlength = 258;
  EXPECT_EQ(comn_fixedtobin(source, 300, &format, destination, &length), VDX_TRUNCATED);
  EXPECT_EQ(length, 258);
  const char* const broken = "assertion failed, file 'com_fixed.cpp'";
  EXPECT_FATAL(comn_fixedtovarbin(source, 3, &format, destination, &length), broken);
  EXPECT_FATAL(comn_fixedtobin(source, 0, &format, destination, &length), broken);
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
      {"", {0, 0}, {0, 0}, {0, 0}, {0, 0}, {0, 0}, {0, 0}},
      {" - 42  ", {4, -42}, none, {4, -42}, none, {4, -42}, none},
      {"-", {4, 0}, none, {4, 0}, none, {4, 0}, none},
      {"4 2", none, none, {-2, 4}, {-2, 4}, {-2, 4}, {-2, 4}},
      {"42\xF3\x80\x80", none, none, {-2, 42}, {-2, 42}, {-2, 42}, {-2, 42}},  // a cut character
      {"32768", {-1, -32768}, {4, 32768}, {4, 32768}, {4, 32768}, {4, 32768}, {4, 32768}},
      {"4294967295",
       {-1, 0},
       {-1, 65535},
       {-1, 429496729},
       {4, UINT32_MAX},
       {4, UINT32_MAX},
       {4, UINT32_MAX}},
      {"-2147483649", {-1, 0}, none, {-1, -2147483640}, none, {4, -2147483649}, none},
      {"9223372036854775808",
       {-1, 0},
       {-1, 0},
       {-1, 922337203},
       most4,
       {-1, 9223372036854775800},
       {4, INT64_MIN}},
      {"18446744073709551616",
       {-1, 0},
       {-1, 0},
       {-1, 1844674407},
       most4,
       {-1, 1844674407370955161},
       {-1, -1}}};
  for (const auto& row : rows) {
    const Parsed expected[] = {row.i2, row.ui2, row.i4, row.ui4, row.i8, row.ui8};
    for (std::size_t i = 0; i < std::size(expected); ++i)
      EXPECT_EQ(kParsers[i](row.text), expected[i]) << row.text << ", parser " << i;
  }
}

template <class T>
void expect_same_as_machine(const Bytes& text) {
  T fast = 1, slow = 2;
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
    const std::uint64_t shape = random.below(8);
    std::string text(random.below(shape == 0 ? 41 : 3), ' ');
    text.append(random.below(2), random.below(2) != 0 ? '-' : '+');
    for (std::uint64_t n = random.below(23); n > 0; --n)
      text += kAlphabet[random.below(shape == 1 ? kAlphabet.size() : 10)];
    text.append(random.below(shape == 2 ? 41 : 4), ' ');
    if (text.empty()) continue;
    if (shape == 3) text[random.below(text.size())] = static_cast<char>(random.next());
    const Bytes bytes = bytes_of(text);  // ends where the text ends
    expect_same_as_machine<std::int32_t>(bytes);
    expect_same_as_machine<std::int64_t>(bytes);
    expect_same_as_machine<std::uint32_t>(bytes);
    expect_same_as_machine<std::uint64_t>(bytes);
    if (HasFatalFailure()) return;
  }
}

TEST(ContractDeath, ReportsTheRowOfTheConversion) {
  Table table;
  vdx_datafmt from{}, to{};
  from.datatype = VDX_I4;
  to.datatype = VDX_CHAR;
  to.maxlength = 20;
  std::int64_t value = 0;
  char out[20];
  std::int32_t n = 0;
  for (int i = 0; i < 6; ++i) {
    const auto unless = [&](int at, auto* pointer) { return i == at ? nullptr : pointer; };
    EXPECT_FATAL(comn_i4tochar(unless(0, &table.context), unless(1, &from), unless(2, &value),
                               unless(3, &to), unless(4, out), unless(5, &n)),
                 "Invalid NULL pointer , file 'com_i4.list' line");
  }
  const struct {
    vdx_convfn function;
    std::int32_t from, to, source_length, length;
    const char* file;
  } rows[] = {{comn_i4tochar, VDX_I4, VDX_CHAR, 0, -1, "com_i4"},
              {comn_i4tochar, VDX_I4, VDX_I2, 0, 20, "com_i4"},
              {comn_i4tochar, VDX_I4, 45, 0, 20, "com_i4"},
              {comn_i4tochar, VDX_I4, INT32_MIN, 0, 20, "com_i4"},
              {comn_i4tochar, VDX_VARCHAR, VDX_CHAR, 0, 20, "com_i4"},
              {comn_i4tochar, 64, VDX_CHAR, 0, 20, "com_i4"},
              {comn_i4tochar, -1, VDX_CHAR, 0, 20, "com_i4"},
              {comn_chartoi4, VDX_CHAR, VDX_I4, 0, 4, "com_char"},
              {comn_varchartoi4, VDX_VARCHAR, VDX_I4, 0, 4, "com_varchar"},
              {comn_i8toi8, VDX_I8, 20, 8, 8, "com_i8"}};  // a retired code of i8 never gets there
  for (const auto& row : rows) {
    SCOPED_TRACE(testing::Message() << row.from << " to " << row.to);
    from.datatype = row.from;
    from.maxlength = row.source_length;
    to.datatype = row.to;
    to.maxlength = row.length;
    EXPECT_FATAL(row.function(&table.context, &from, &value, &to, out, &n),
                 std::string("assertion failed, file '") + row.file + ".list' line");
  }
}

}  // namespace
