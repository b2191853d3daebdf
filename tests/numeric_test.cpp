// Exact numerics: arithmetic and text against long-hand.
#include <algorithm>

#include "intl/charattr.h"
#include "number/num_text.h"
#include "number/plain_number.h"
#include "oracle.h"

namespace {

using namespace vdx_test;

vdx_num number(int precision, const Number& n) {
  return as<vdx_num>(numeric_image(precision, n.scale, n.negative && !n.digits.empty(), n.digits));
}

Number random_number(Random& random, int precision, int scale) {
  return {random.below(2) != 0, random_digits(random, static_cast<std::uint64_t>(precision)),
          scale};
}

int random_precision(Random& random) { return static_cast<int>(1 + random.below(77)); }
int random_scale(Random& random) {
  return static_cast<int>(random.below(random.below(2) != 0 ? 78 : 6));
}

Number negated(Number n) {
  n.negative = !n.negative;
  return n;
}

TEST(NumericArithmetic, MatchesLongHand) {
  Random random(11);
  const struct {
    char sign;
    std::int32_t (*operation)(const vdx_num*, const vdx_num*, vdx_num*);
    Number (*reference)(const Number&, const Number&, int scale);
  } rows[] = {
      {'+', comn_numadd, [](auto& a, auto& b, int) { return sum(a, b); }},
      {'-', comn_numsub, [](auto& a, auto& b, int) { return sum(a, negated(b)); }},
      {'*', comn_nummul, [](auto& a, auto& b, int) { return product(a, b); }},
      {'/', comn_numdivide, [](auto& a, auto& b, int scale) { return quotient(a, b, scale); }}};
  for (int i = 0; i < 60000; ++i) {
    const auto& row = rows[i % 20 == 1 ? 3 : random.below(i % 8 == 0 ? 4 : 3)];
    const int pa = random_precision(random), pb = i % 16 == 0 ? pa : random_precision(random);
    const Number a = random_number(random, pa, random_scale(random));
    Number b =
        random_number(random, pb, i % 3 == 0 ? static_cast<int>(a.scale) : random_scale(random));
    if (i % 16 == 0) b = {i % 32 == 0, a.digits, a.scale};
    const int precision = i % 2 == 0 ? 77 : random_precision(random);
    // Also scales that need no scaling.
    const std::int64_t plain = i % 5 == 0        ? std::max(a.scale, b.scale)
                               : row.sign == '/' ? std::max<std::int64_t>(a.scale - b.scale, 0)
                               : row.sign == '*' ? std::min<std::int64_t>(a.scale + b.scale, 77)
                                                 : random_scale(random);
    const int scale = i % 5 < 2 ? static_cast<int>(plain) : random_scale(random);
    SCOPED_TRACE(text_of(a) + " " + row.sign + " " + text_of(b) + " to " +
                 std::to_string(precision) + "," + std::to_string(scale));
    const vdx_num left = number(pa, a), right = number(pb, b);
    vdx_num result;
    std::memset(&result, kGuard, sizeof result);
    result.precision = static_cast<std::uint8_t>(precision);
    result.scale = static_cast<std::uint8_t>(scale);
    if (row.sign == '/' && b.zero()) {
      const vdx_num before = result;
      ASSERT_EQ(comn_numdivide(&left, &right, &result), VDX_ARITHMETIC);
      ASSERT_EQ(image(result), image(before));
      continue;
    }
    const Fitted expected = fitted(row.reference(a, b, scale), precision, scale);
    ASSERT_EQ(row.operation(&left, &right, &result), expected.code);
    ASSERT_EQ(image(result), expected.image);

    const Number difference = sum(a, negated(b));
    const int order = difference.zero() ? 0 : difference.negative ? -1 : 1;
    ASSERT_EQ(comn_numcmp(&left, &right), order);
    ASSERT_EQ(comn_numcmp(&right, &left), -order);
  }
}

TEST(NumericArithmetic, RefusesAndOverwritesOperands) {
  const vdx_num good = number(5, number_of("12.5")), zero = number(5, {});
  vdx_num bad[4] = {good, good, good, good};
  bad[0].precision = 0;
  bad[1].scale = 78;
  bad[2].value[0] = 2;
  bad[3].value[1] = 2;  // 131197 has six digits
  for (const auto operation : {comn_numadd, comn_numsub, comn_nummul, comn_numdivide}) {
    vdx_num result = good;
    for (const vdx_num& each : bad)
      for (const auto& [a, b] : {std::pair{&each, &good}, {&good, &each}})
        EXPECT_TRUE(operation(a, b, &result) == VDX_INVALID && comn_numcmp(a, b) == VDX_INVALID);
    result.scale = 78;
    EXPECT_EQ(operation(&good, &zero, &result), VDX_BAD_SCALE);
    for (const std::uint8_t precision : {std::uint8_t{0}, std::uint8_t{78}}) {
      result.precision = precision;
      EXPECT_EQ(operation(&good, &zero, &result), VDX_BAD_PRECISION);
    }
    result = good;  // also the second operand, with what it asks for
    EXPECT_EQ(operation(&good, &result, &result), VDX_SUCCESS);
    EXPECT_TRUE(result.precision == 5 && result.scale == 1);
  }
  EXPECT_FATAL(comn_numadd(&good, &good, nullptr), "com_num.cpp");
  EXPECT_FATAL(comn_numcmp(nullptr, &good), "com_num.cpp");
}

// A reader whose fast way is dead still reads everything right: only the recogniser can tell. Texts
// have no spare byte around them.
TEST(NumericText, PlainNumbersAreRecognised) {
  const std::string zeros(40, '0'), blanks(40, ' ');
  const struct {
    std::string text;
    bool known;
    std::uint32_t whole = 0, places = 0;
    bool minus = false;
    std::int32_t exponent = 0;
  } rows[] = {// clang-format off
      {"7", true, 1}, {"-12.50", true, 2, 2, true}, {" +.5 ", true, 0, 1},
      {"- 12.5", true, 2, 1, true}, {blanks + "-" + zeros + "." + blanks, true, 40, 0, true},
      {blanks + "12.5" + blanks, true, 2, 1}, {"1.5e-3", true, 1, 1, false, -3},
      {"-1.234567890123456E+12  ", true, 1, 15, true, 12},
      {blanks + zeros + ".5e7", true, 40, 1, false, 7}, {" ", false}, {blanks, false},
      {blanks + "-", false}, {zeros + ".5.", false}, {"1 2", false}, {"--1", false}, {".", false},
      {"1.5e", false}, {zeros + "e+", false}};
  // clang-format on
  for (const auto& row : rows) {
    SCOPED_TRACE('"' + row.text + '"');
    const vdx_test::Exact text(row.text);
    vdx::PlainNumber number{};
    ASSERT_EQ((vdx::recognise<vdx::kWithPoint | vdx::kWithExponent>(
                  text.data, static_cast<std::uint32_t>(text.size), number)),
              row.known);
    if (!row.known) continue;
    EXPECT_TRUE(number.whole_digits == row.whole && number.places == row.places);
    EXPECT_TRUE((number.minus != 0) == row.minus && number.exponent == row.exponent);
  }
}

}  // namespace
