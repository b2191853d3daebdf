// Exact numerics: arithmetic and text against long-hand.
#include <algorithm>

#include "intl/charattr.h"
#include "number/limbs.h"
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
    for (const vdx_num& each : bad) {
      EXPECT_EQ(operation(&each, &good, &result), VDX_INVALID);
      EXPECT_EQ(operation(&good, &each, &result), VDX_INVALID);
      EXPECT_EQ(comn_numcmp(&each, &good), VDX_INVALID);
      EXPECT_EQ(comn_numcmp(&good, &each), VDX_INVALID);
    }
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

// Divisors and dividends whose limbs are all ones, all zeros or a single bit reach the corrections
// of the estimates, with either multiplication.
TEST(NumericArithmetic, LimbDivisionGivesBackTheFactors) {
  Random random(12);
  const auto limb = [&random] {
    const std::uint64_t kind = random.below(5);
    return kind == 0   ? ~std::uint64_t{0} - random.below(2)
           : kind == 1 ? random.below(2)
           : kind == 2 ? std::uint64_t{1} << random.below(64)
                       : random.next();
  };
  for (int i = 0; i < 200000; ++i) {
    const std::size_t size = 1 + random.below(4), quotient_size = 1 + random.below(5);
    vdx::Magnitude divisor{};
    std::uint64_t quotient[5], product[10] = {}, rest[4] = {};
    for (std::size_t k = 0; k < size; ++k) divisor[k] = limb();
    divisor[size - 1] |= i % 2 == 0 ? 1 : std::uint64_t{1} << 63;
    for (std::size_t k = 0; k < quotient_size; ++k) quotient[k] = limb();
    std::uint64_t borrow = i % 3 == 0 ? 1 : 0;  // the largest remainder, or none
    if (borrow != 0)
      for (std::size_t k = 0; k < size; ++k) rest[k] = vdx::subtract_borrow(divisor[k], 0, borrow);
    vdx::multiply_limbs(product, divisor.data(), size, quotient, quotient_size);
    std::uint64_t carry = 0;
    for (std::size_t k = 0; k < size + quotient_size; ++k)
      product[k] = vdx::add_carry(product[k], k < size ? rest[k] : 0, carry);
    std::uint64_t again[10] = {}, portable[7], native[7];
    std::copy_n(product, 10, again);
    const vdx::Divisor by = vdx::make_divisor(divisor);
    vdx::divide_limbs(product, size + quotient_size, by, native);
    vdx::divide_limbs<vdx::PortableWide>(again, size + quotient_size,
                                         vdx::make_divisor<vdx::PortableWide>(divisor), portable);
    for (std::size_t k = 0; k <= quotient_size; ++k) {
      ASSERT_EQ(native[k], k < quotient_size ? quotient[k] : 0) << i << ' ' << k;
      ASSERT_EQ(portable[k], native[k]);
    }
    for (std::size_t k = 0; k < size; ++k) {
      ASSERT_EQ(product[k], rest[k] << by.shift |
                                (by.shift == 0 || k == 0 ? 0 : rest[k - 1] >> (64 - by.shift)));
      ASSERT_EQ(again[k], product[k]);
    }
  }
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
  } rows[] = {{"7", true, 1},
              {"-12.50", true, 2, 2, true},
              {" +.5 ", true, 0, 1},
              {"- 12.5", true, 2, 1, true},
              {blanks + "-" + zeros + "." + blanks, true, 40, 0, true},
              {blanks + "12.5" + blanks, true, 2, 1},
              {"1.5e-3", true, 1, 1, false, -3},
              {"-1.234567890123456E+12  ", true, 1, 15, true, 12},
              {blanks + zeros + ".5e7", true, 40, 1, false, 7},
              {" ", false},
              {blanks, false},
              {blanks + "-", false},
              {zeros + ".5.", false},
              {"1 2", false},
              {"--1", false},
              {".", false},
              {"1.5e", false},
              {zeros + "e+", false}};
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

TEST(NumericText, IsReadLikeLongHand) {
  Table table;
  Random random(13);
  for (int i = 0; i < 40000; ++i) {
    const int longer = i % 4 == 0 ? 2 : 1;
    const Number n =
        random_number(random, random_precision(random) * longer, random_scale(random) * longer);
    std::string text = text_of(n);
    if (i % 8 < 2) {  // the point elsewhere, and an exponent that makes up for it
      const int moved = static_cast<int>(random.below(120)) - 60;
      text = text_of({n.negative, n.digits, n.scale + moved}) + (i % 8 == 0 ? "e" : "E") +
             (moved >= 0 ? "+" : "") + std::to_string(moved);
    }
    const auto sometimes = [&](std::uint64_t most) {
      return random.below(4) == 0 ? random.below(most) : 0;
    };
    text.insert(n.negative ? 1 : 0, std::string(sometimes(90), '0'));
    if (!n.negative) text.insert(0, sometimes(2), '+');
    text = std::string(sometimes(3), ' ') + text + std::string(sometimes(40), ' ');
    const int precision = i % 2 == 0 ? 77 : random_precision(random), scale = random_scale(random);
    const Fitted expected = fitted(n, precision, scale);
    SCOPED_TRACE(text + " to " + std::to_string(precision) + "," + std::to_string(scale));
    const Result result = convert(table.context, VDX_CHAR, bytes_of(text), VDX_NUM,
                                  {.precision = precision, .scale = scale});
    ASSERT_EQ(result.code, expected.code);
    ASSERT_EQ(result.bytes, expected.image);

    vdx_num by_grammar;  // the two ways agree
    ASSERT_EQ(vdx::parse_numeric_grammar(reinterpret_cast<const std::uint8_t*>(text.data()),
                                         static_cast<std::int32_t>(text.size()), vdx::kUtf8,
                                         precision, scale, &by_grammar),
              expected.code);
    ASSERT_EQ(image(by_grammar), expected.image);
  }
}

}  // namespace
