// Exact numerics: arithmetic and text against decimal long-hand.
#include <algorithm>

#include "intl/charattr.h"
#include "number/limbs.h"
#include "number/num_text.h"
#include "oracle.h"

namespace {

using namespace vdx_test;

// Long-hand: decimal digits, least significant first, without leading zeros.
using Digits = std::vector<int>;

void trim(Digits& d) {
  while (!d.empty() && d.back() == 0) d.pop_back();
}

int compare(const Digits& a, const Digits& b) {
  if (a.size() != b.size()) return a.size() < b.size() ? -1 : 1;
  for (std::size_t i = a.size(); i-- > 0;)
    if (a[i] != b[i]) return a[i] < b[i] ? -1 : 1;
  return 0;
}

// a + sign * b; for a difference a is not the smaller.
Digits combine(Digits a, const Digits& b, int sign) {
  a.resize(std::max(a.size(), b.size()) + 1);
  int carry = 0;
  for (std::size_t i = 0; i < a.size(); ++i) {
    const int sum = a[i] + sign * (i < b.size() ? b[i] : 0) + carry;
    a[i] = (sum + 10) % 10;
    carry = sum < 0 ? -1 : sum / 10;
  }
  trim(a);
  return a;
}

struct Decimal {
  Digits digits;
  int scale = 0;
  bool negative = false;

  std::string text() const {
    std::string out;
    for (std::size_t i = 0; i < digits.size() || i <= static_cast<std::size_t>(scale); ++i) {
      if (i != 0 && i == static_cast<std::size_t>(scale)) out += '.';
      out += static_cast<char>('0' + (i < digits.size() ? digits[i] : 0));
    }
    if (negative) out += '-';
    std::reverse(out.begin(), out.end());
    return out;
  }
};

Digits shifted(const Digits& d, int zeros) {
  Digits out(static_cast<std::size_t>(zeros));
  out.insert(out.end(), d.begin(), d.end());
  trim(out);
  return out;
}

Decimal rescaled(Decimal d, int scale, bool truncate = false) {
  if (scale >= d.scale) {
    d.digits = shifted(d.digits, scale - d.scale);
  } else {
    const auto drop = static_cast<std::size_t>(d.scale - scale);
    d.digits.resize(std::max(drop, d.digits.size()));
    const bool up = !truncate && d.digits[drop - 1] >= 5;
    d.digits.erase(d.digits.begin(), d.digits.begin() + static_cast<long>(drop));
    if (up) d.digits = combine(d.digits, {1}, 1);
    trim(d.digits);
  }
  d.scale = scale;
  d.negative = d.negative && !d.digits.empty();
  return d;
}

Decimal sum(const Decimal& a, const Decimal& b) {
  const int scale = std::max(a.scale, b.scale);
  const Digits left = shifted(a.digits, scale - a.scale),
               right = shifted(b.digits, scale - b.scale);
  if (a.negative == b.negative) return {combine(left, right, 1), scale, a.negative};
  const bool swap = compare(left, right) < 0;
  return {swap ? combine(right, left, -1) : combine(left, right, -1), scale,
          swap ? b.negative : a.negative};
}

Decimal product(const Decimal& a, const Decimal& b) {
  Digits out(a.digits.size() + b.digits.size() + 1);
  for (std::size_t i = 0; i < a.digits.size(); ++i)
    for (std::size_t j = 0; j < b.digits.size(); ++j) {
      out[i + j] += a.digits[i] * b.digits[j];
      for (std::size_t k = i + j; out[k] > 9; ++k) {
        out[k + 1] += out[k] / 10;
        out[k] %= 10;
      }
    }
  trim(out);
  return {out, a.scale + b.scale, a.negative != b.negative};
}

Decimal quotient(const Decimal& a, const Decimal& b, int scale) {
  const Digits top = shifted(a.digits, 77 + 77);
  Digits out(top.size()), rest;
  for (std::size_t i = top.size(); i-- > 0;) {
    rest.insert(rest.begin(), top[i]);
    trim(rest);
    for (; compare(rest, b.digits) >= 0; ++out[i]) rest = combine(rest, b.digits, -1);
  }
  trim(out);
  return rescaled({out, a.scale - b.scale + 154, a.negative != b.negative}, scale, true);
}

struct Expected {
  std::int32_t code;
  Decimal value;
};

// The largest magnitude where the value does not fit.
Expected fitted(Decimal d, int precision) {
  if (d.digits.size() <= static_cast<std::size_t>(precision)) return {VDX_SUCCESS, d};
  d.digits.assign(static_cast<std::size_t>(precision), 9);
  return {VDX_OVERFLOW, d};
}

vdx_num image_of(const Decimal& d, int precision) {
  vdx_num num{};
  num.precision = static_cast<std::uint8_t>(precision);
  num.scale = static_cast<std::uint8_t>(d.scale);
  num.value[0] = d.negative && !d.digits.empty() ? 1 : 0;
  const auto last = static_cast<std::size_t>(comb_get_Prec_To_Len(precision)) - 1;
  for (std::size_t k = d.digits.size(); k-- > 0;) {
    int carry = d.digits[k];
    for (std::size_t i = last; i > 0; --i, carry >>= 8)
      num.value[i] = static_cast<std::uint8_t>(carry += num.value[i] * 10);
  }
  return num;
}

// Digits at random, or runs of nines, zeros, fours and fives: where carries and estimates fail.
Decimal random_decimal(Random& random, int precision, int scale) {
  Decimal d;
  d.scale = scale;
  const auto kind = random.below(4);
  const int same = "0945"[random.below(4)] - '0';
  for (std::uint64_t n = random.below(static_cast<std::uint64_t>(precision) + 1); n > 0; --n)
    d.digits.push_back(kind == 0                           ? same
                       : kind == 1 && random.below(8) != 0 ? 9 * static_cast<int>(random.below(2))
                                                           : static_cast<int>(random.below(10)));
  if (kind == 2 && !d.digits.empty()) d.digits.back() = 1;
  trim(d.digits);
  d.negative = !d.digits.empty() && random.below(2) != 0;
  return d;
}

int random_scale(Random& random) {
  return static_cast<int>(random.below(random.below(2) != 0 ? 78 : 6));
}

TEST(NumericArithmetic, MatchesLongHand) {
  Random random(11);
  using Operation = std::int32_t (*)(const vdx_num*, const vdx_num*, vdx_num*);
  constexpr Operation kOperations[] = {comn_numadd, comn_numsub, comn_nummul, comn_numdivide};
  for (int i = 0; i < 60000; ++i) {
    const int pa = static_cast<int>(1 + random.below(77)),
              pb = static_cast<int>(1 + random.below(77));
    Decimal a = random_decimal(random, pa, random_scale(random));
    Decimal b = random_decimal(random, pb, i % 3 == 0 ? a.scale : random_scale(random));
    if (i % 16 == 0) b = {a.digits, a.scale, i % 32 == 0};
    const int precision = i % 2 == 0 ? 77 : static_cast<int>(1 + random.below(77));
    const int which = i % 20 == 1 ? 3 : static_cast<int>(random.below(i % 8 == 0 ? 4 : 3));
    const int scale = i % 5 == 0                 ? std::max(a.scale, b.scale)
                      : i % 5 == 1 && which == 3 ? std::max(a.scale - b.scale, 0)
                      : i % 5 == 1 && which == 2 ? std::min(a.scale + b.scale, 77)
                                                 : random_scale(random);
    const vdx_num left = image_of(a, i % 16 == 0 ? std::max(pa, pb) : pa);
    const vdx_num right = image_of(b, i % 16 == 0 ? std::max(pa, pb) : pb);
    SCOPED_TRACE(a.text() + " " + "+-*/"[which] + " " + b.text() + " to " +
                 std::to_string(precision) + "," + std::to_string(scale));
    vdx_num result{};
    std::memset(result.value, kGuard, sizeof result.value);
    result.precision = static_cast<std::uint8_t>(precision);
    result.scale = static_cast<std::uint8_t>(scale);
    if (which == 3 && b.digits.empty()) {
      const vdx_num before = result;
      ASSERT_EQ(comn_numdivide(&left, &right, &result), VDX_ARITHMETIC);
      ASSERT_EQ(image(result), image(before));
      continue;
    }
    if (which == 1) b.negative = !b.negative;
    const Expected expected = fitted(which == 3   ? quotient(a, b, scale)
                                     : which == 2 ? rescaled(product(a, b), scale)
                                                  : rescaled(sum(a, b), scale),
                                     precision);
    ASSERT_EQ(kOperations[which](&left, &right, &result), expected.code);
    ASSERT_EQ(image(result), image(image_of(expected.value, precision)));

    if (which == 1) b.negative = !b.negative;
    Decimal negated = b;
    negated.negative = !b.negative;
    const Decimal difference = sum(a, negated);
    const int order = difference.digits.empty() ? 0 : difference.negative ? -1 : 1;
    ASSERT_EQ(comn_numcmp(&left, &right), order);
    ASSERT_EQ(comn_numcmp(&right, &left), -order);
  }
}

TEST(NumericArithmetic, RefusesAndOverwritesOperands) {
  const vdx_num good = image_of({{5, 2, 1}, 1, false}, 5), zero = image_of({}, 5);
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
    }
    result.scale = 78;
    EXPECT_EQ(operation(&good, &zero, &result), VDX_BAD_SCALE);
    for (const std::uint8_t precision : {std::uint8_t{0}, std::uint8_t{78}}) {
      result.precision = precision;
      EXPECT_EQ(operation(&good, &zero, &result), VDX_BAD_PRECISION);
    }
    result = good;  // also the second operand, with what it asks for
    EXPECT_EQ(operation(&good, &result, &result), VDX_SUCCESS);
    EXPECT_EQ(result.precision, 5);
    EXPECT_EQ(result.scale, 1);
  }
  for (const vdx_num& each : bad) {
    EXPECT_EQ(comn_numcmp(&each, &good), VDX_INVALID);
    EXPECT_EQ(comn_numcmp(&good, &each), VDX_INVALID);
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

Result to_num(vdx_context& context, const Bytes& text, int precision, int scale,
              vdx_locale* locale = nullptr) {
  Format format;
  format.precision = precision;
  format.scale = scale;
  format.locale = locale;
  return convert(context, VDX_CHAR, text, VDX_NUM, format);
}

TEST(NumericText, MatchesLongHandBothWays) {
  Table table;
  Random random(13);
  for (int i = 0; i < 40000; ++i) {
    const Decimal d =
        random_decimal(random, 1 + static_cast<int>(random.below(i % 4 == 0 ? 200 : 77)),
                       random_scale(random) * (i % 4 == 0 ? 2 : 1));
    std::string text = d.text();
    if (i % 8 < 2) {  // the point elsewhere, and an exponent that makes up for it
      const int moved = static_cast<int>(random.below(120)) - 60;
      Decimal other = d;
      if (d.scale + moved < 0) other.digits = shifted(d.digits, -(d.scale + moved));
      other.scale = std::max(0, d.scale + moved);
      text =
          other.text() + (i % 8 == 0 ? "e" : "E") + (moved >= 0 ? "+" : "") + std::to_string(moved);
    }
    if (random.below(4) == 0) text.insert(d.negative ? 1 : 0, std::string(random.below(90), '0'));
    if (!d.negative && random.below(4) == 0) text.insert(0, 1, '+');
    if (random.below(4) == 0) text.insert(0, std::string(random.below(3), ' '));
    if (random.below(4) == 0) text.append(std::string(random.below(40), ' '));
    const int precision = i % 2 == 0 ? 77 : static_cast<int>(1 + random.below(77));
    const int scale = random_scale(random);
    const Expected expected = fitted(rescaled(d, scale), precision);
    SCOPED_TRACE(text + " to " + std::to_string(precision) + "," + std::to_string(scale));
    const Result result = to_num(table.context, bytes_of(text), precision, scale);
    ASSERT_EQ(result.code, expected.code);
    const vdx_num wanted = image_of(expected.value, precision);
    ASSERT_EQ(result.bytes, image(wanted));

    vdx_num by_grammar;  // the two ways agree
    ASSERT_EQ(vdx::parse_numeric_grammar(reinterpret_cast<const std::uint8_t*>(text.data()),
                                         static_cast<std::int32_t>(text.size()), vdx::kUtf8,
                                         precision, scale, &by_grammar),
              expected.code);
    ASSERT_EQ(image(by_grammar), image(wanted));

    Format format;
    format.maxlength = 100;
    const Result written = convert(table.context, VDX_DECIMAL, image(wanted), VDX_CHAR, format);
    ASSERT_EQ(written.code, VDX_SUCCESS);
    ASSERT_EQ(written.text(), expected.value.text());
  }
}

TEST(NumericText, Grammar) {
  Table table;
  const std::string zeros(300, '0');
  const std::string texts[] = {// clang-format off
      "  ", " +.5 ", "5.", "-0.004", "-.005", zeros + "1" + zeros + "." + zeros + "e-300",
      "0e99999999999999999999", "1e99999999999999999999", "-1e-99999999999999999999", "999.995",
      "-1000", "\xEF\xBC\x8D\xEF\xBC\x91\xEF\xBC\x8E\xEF\xBC\x92", "-", ".", "e5", "1e", "1e+",
      "1e5.", "1..2", "1.2.", "- 1", "+-1", "1 2", "1,2", "nan", std::string("1\0", 2)};
  // clang-format on
  for (const std::string& text : texts) {
    SCOPED_TRACE(text);
    Format format{.precision = 5, .scale = 2};
    const Answer answer = expect({VDX_CHAR, bytes_of(text), VDX_NUM, format, Set::utf8, Set::utf8});
    const Result result = to_num(table.context, bytes_of(text), 5, 2, locale_of(Set::utf8));
    EXPECT_EQ(std::tuple(result.code, result.length), std::tuple(answer.code, answer.length));
    if (answer.code != VDX_SYNTAX) {
      EXPECT_EQ(result.bytes, answer.bytes);
    }
  }
}

}  // namespace
