// Exact numerics: tables, byte-string arithmetic and images against decimal digit strings.
#include <algorithm>
#include <limits>

#include "number/com_num.h"
#include "oracle.h"
#include "vdxcomn/number.h"

namespace {

using vdx::Exact;
using vdx::Magnitude;
using vdx_test::Bytes;
using vdx_test::Random;

// Decimal text, without leading zeros ("" is zero), to big-endian bytes and back, digit by digit.
Bytes to_bytes(const std::string& digits, std::size_t size) {
  Bytes bytes(size);
  for (const char c : digits) {
    int carry = c - '0';
    for (std::size_t i = size; i-- > 0; carry >>= 8) {
      carry += bytes[i] * 10;
      bytes[i] = static_cast<std::uint8_t>(carry);
    }
    EXPECT_EQ(carry, 0);
  }
  return bytes;
}

std::string to_digits(Bytes bytes) {
  std::string digits;
  while (std::any_of(bytes.begin(), bytes.end(), [](int b) { return b != 0; })) {
    int rest = 0;
    for (std::uint8_t& byte : bytes) {
      rest = rest * 256 + byte;
      byte = static_cast<std::uint8_t>(rest / 10);
      rest %= 10;
    }
    digits.insert(0, 1, static_cast<char>('0' + rest));
  }
  return digits;
}

std::string without_zeros(const std::string& digits) {
  return digits.substr(std::min(digits.size(), digits.find_first_not_of('0')));
}

std::string random_digits(Random& random, std::uint64_t size) {
  static constexpr char kPatterns[] = "0594";
  std::string digits;
  const std::uint64_t kind = random.below(3);
  const char same = kPatterns[random.below(4)];
  for (; size > 0; --size)
    digits += kind == 0               ? same
              : kind == 1 && size > 1 ? '9'
                                      : static_cast<char>('0' + random.below(10));
  return without_zeros(digits);
}

Exact exact_of(const std::string& digits, std::int32_t scale, bool negative) {
  const Bytes bytes = to_bytes(digits, 32);
  Exact exact;
  exact.negative = negative && !digits.empty();
  exact.scale = scale;
  for (std::size_t i = 0; i < 32; ++i)
    exact.magnitude[i / 8] |= std::uint64_t{bytes[31 - i]} << (8 * (i % 8));
  return exact;
}

// Digits at another scale, halves rounded up.
std::string rescaled(std::string digits, std::int32_t from, std::int32_t to) {
  if (to >= from)
    return digits.empty() ? digits : digits + std::string(static_cast<std::size_t>(to - from), '0');
  const auto drop = static_cast<std::size_t>(from - to);
  if (digits.size() < drop) return "";
  const bool up = digits[digits.size() - drop] >= '5';
  digits.resize(digits.size() - drop);
  if (!up) return digits;
  digits.insert(0, 1, '0');
  std::size_t i = digits.size() - 1;
  for (; digits[i] == '9'; --i) digits[i] = '0';
  ++digits[i];
  return without_zeros(digits);
}

TEST(ExactTables, FollowTheirRules) {
  const struct {
    std::int32_t index, precision;
  } lengths[] = {{0, 2},   {1, 4},    {3, 9},    {7, 19}, {8, 21}, {15, 38},
                 {31, 77}, {32, 255}, {34, 255}, {35, 0}, {36, 0}, {-1, 0}};
  for (const auto& row : lengths)
    EXPECT_EQ(comb_get_Len_To_Prec(row.index), row.precision) << row.index;
  for (std::int32_t p = 0; p <= 77; ++p) {
    SCOPED_TRACE(p);
    const std::string nines(static_cast<std::size_t>(p), '9');
    const Bytes most = to_bytes(nines, 32);
    const auto used = static_cast<std::int32_t>(
        most.end() - std::find_if(most.begin(), most.end(), [](int b) { return b != 0; }));
    EXPECT_EQ(comb_get_Prec_To_Len(p), p == 0 ? 2 : 1 + used);
    const std::uint8_t* row = comb_get_Byte_Power_ptr(p, 0);
    ASSERT_NE(row, nullptr);
    EXPECT_EQ(row[1], 0);
    const std::size_t size = row[0];
    EXPECT_EQ(size, static_cast<std::size_t>(comb_get_Prec_To_Len(p)));
    EXPECT_EQ(Bytes(row + 2, row + 1 + size),
              to_bytes("1" + std::string(nines.size(), '0'), size - 1));
    for (std::int32_t i = 0; i < 34; ++i) {
      EXPECT_EQ(comb_get_Byte_Power_val(p, i), row[i]);
      EXPECT_TRUE(i <= static_cast<std::int32_t>(size) || row[i] == 0);
    }
  }
  for (const std::int32_t outside : {-1, 78}) {
    EXPECT_EQ(comb_get_Prec_To_Len(outside), 0);
    EXPECT_EQ(comb_get_Byte_Power_ptr(outside, 0), nullptr);
    EXPECT_EQ(comb_get_Byte_Power_val(outside, 0), 0);
  }
  EXPECT_EQ(comb_get_Byte_Power_ptr(3, 34), nullptr);
  EXPECT_EQ(comb_get_Byte_Power_val(3, -1), 0);
}

vdx_exact value_of(Bytes& bytes, int precision = 77, int scale = 0) {
  return {bytes.data(), static_cast<std::int32_t>(bytes.size()),
          static_cast<std::uint8_t>(precision), static_cast<std::uint8_t>(scale)};
}

TEST(ExactBytes, IncrementAndDivisionByTen) {
  const struct {
    Bytes before, after;
    std::int32_t status;
  } rows[] = {{{1, 0, 254}, {1, 0, 255}, 0},
              {{0, 0, 255, 255}, {0, 1, 0, 0}, 0},
              {{0, 255, 255}, {0, 255, 255}, 1},
              {{0}, {0}, 1}};
  for (const auto& row : rows) {
    Bytes bytes = row.before;
    vdx_exact value = value_of(bytes);
    EXPECT_EQ(com__exctnume_inc(&value), row.status);
    EXPECT_EQ(bytes, row.after);
  }
  Bytes bytes = {1, 0, 0, 12, 35};  // 3107 with two zero bytes, of which each division drops one
  vdx_exact value = value_of(bytes);
  const struct {
    std::int32_t remainder, length;
    Bytes left;
  } steps[] = {{7, 4, {1, 0, 1, 54}}, {0, 3, {1, 0, 31}}, {1, 2, {1, 3}}, {3, 1, {1}}, {0, 1, {1}}};
  for (const auto& step : steps) {
    EXPECT_EQ(com__exctnume_divby10(&value), step.remainder);
    EXPECT_EQ(value.length, step.length);
    EXPECT_EQ(Bytes(bytes.begin(), bytes.begin() + value.length), step.left);
  }
}

// a * b + c in bytes.
Bytes product(const Bytes& a, const Bytes& b, const Bytes& c) {
  Bytes out(a.size() + b.size());
  std::copy_backward(c.begin(), c.end(), out.end());
  for (std::size_t i = 0; i < a.size(); ++i) {
    unsigned carry = 0;
    for (std::size_t j = 0; j < out.size() - i; ++j) {
      std::uint8_t& byte = out[out.size() - 1 - i - j];
      carry += byte + (j < b.size() ? unsigned{a[a.size() - 1 - i]} * b[b.size() - 1 - j] : 0u);
      byte = static_cast<std::uint8_t>(carry);
      carry >>= 8;
    }
  }
  return out;
}

TEST(ExactBytes, DivisionGivesBackTheFactor) {
  Random random(7);
  const auto magnitude = [&](std::uint64_t most) {
    Bytes bytes(1 + random.below(most));
    const std::uint64_t kind = random.below(4);  // runs of ones and zeros make estimates fail
    for (std::uint8_t& byte : bytes)
      byte = static_cast<std::uint8_t>(kind == 0 ? 255 * random.below(2) : random.next());
    if (kind == 1) std::fill(bytes.begin() + 1, bytes.end(), std::uint8_t{0});
    return bytes;
  };
  for (int i = 0; i < 20000; ++i) {
    Bytes quotient = magnitude(32), divisor = magnitude(33);
    divisor[0] |= 128;
    if (to_digits(quotient).size() > 77) continue;
    // The largest remainder there is, a small one, or none.
    Bytes rest = divisor;
    if (i % 3 == 0) {
      for (std::size_t k = rest.size(); k-- > 0 && rest[k]-- == 0;) continue;
    } else {
      std::fill(rest.begin(), rest.end(), std::uint8_t{0});
      rest.back() = static_cast<std::uint8_t>(divisor.size() > 1 ? i % 256 : 0);
    }
    Bytes dividend = product(quotient, divisor, rest);
    const bool negative = random.below(2) != 0;
    dividend.insert(dividend.begin(), 1);
    divisor.insert(divisor.begin(), negative ? 0 : 1);
    Bytes result(quotient.size() + 1 + random.below(3), 0xEE);
    const vdx_exact a = value_of(dividend), b = value_of(divisor);
    vdx_exact r = value_of(result);
    ASSERT_EQ(com__exctnume_div(&a, &b, &r), 0);
    Bytes wanted(result.size() - quotient.size());
    const bool zero = to_digits(quotient).empty();
    wanted[0] = negative && !zero ? 1 : 0;
    wanted.insert(wanted.end(), quotient.begin(), quotient.end());
    ASSERT_EQ(result, wanted);
  }
}

TEST(ExactBytes, DivisionAlignsScalesAndReportsLimits) {
  const struct {
    const char *a, *b, *quotient;
    int a_scale, b_scale, scale, precision;
    std::size_t length;
    std::int32_t status;
  } rows[] = {{"20000", "30000", "6666", 4, 4, 4, 19, 9, 0},
              {"7", "2", "3", 0, 0, 0, 5, 2, 0},
              {"12345", "5", "24", 2, 0, 0, 5, 2, 0},  // the power of ten goes to the divisor
              {"1", "3", "33333333333333333333", 0, 0, 20, 20, 10, 0},
              {"99999", "1", "99999", 0, 0, 0, 5, 4, 0},
              {"100000", "1", "", 0, 0, 0, 5, 4, 1},  // precision
              {"65536", "1", "", 0, 0, 0, 9, 3, 1},   // length
              {"1", "1", "", 0, 0, 0, 78, 9, 1},
              {"1", "1", "", 0, 1, 77, 77, 33, 1},  // 10^78
              {"0", "5", "", 0, 0, 3, 5, 3, 0},
              {"5", "0", "", 0, 0, 3, 5, 3, 3}};
  for (const auto& row : rows) {
    SCOPED_TRACE(std::string(row.a) + " / " + row.b);
    Bytes a = to_bytes(row.a, 9), b = to_bytes(row.b, 9), result(row.length, 0xEE);
    a[0] = 1;
    const vdx_exact dividend = value_of(a, 77, row.a_scale), divisor = value_of(b, 77, row.b_scale);
    vdx_exact quotient = value_of(result, row.precision, row.scale);
    EXPECT_EQ(com__exctnume_div(&dividend, &divisor, &quotient), row.status);
    if (row.status != 0) {
      EXPECT_EQ(result, Bytes(row.length, 0xEE));
      continue;
    }
    EXPECT_EQ(result[0], *row.quotient == '\0' ? 0 : 1);
    EXPECT_EQ(to_digits(Bytes(result.begin() + 1, result.end())), row.quotient);
  }
  Bytes wide(130, 1), one = {0, 1}, result(133);
  const vdx_exact dividend = value_of(wide), divisor = value_of(one);
  vdx_exact quotient = value_of(result, 77, 10);
  EXPECT_EQ(com__exctnume_div(&dividend, &divisor, &quotient), 1);  // 129 bytes and 10^10 pass 132
}

TEST(Numeric, ImagesMatchDigitStrings) {
  Random random(8);
  for (int i = 0; i < 60000; ++i) {
    const std::string digits = random_digits(random, random.below(78));
    const auto from = static_cast<std::int32_t>(random.below(78));
    const auto precision = static_cast<std::int32_t>(1 + random.below(77));
    const auto scale = static_cast<std::int32_t>(random.below(i % 2 == 0 ? 78 : 12));
    const bool negative = random.below(2) != 0;
    std::string wanted = rescaled(digits, from, scale);
    const bool fits = wanted.size() <= static_cast<std::size_t>(precision);
    if (!fits) wanted.assign(static_cast<std::size_t>(precision), '9');
    Bytes image = vdx_test::numeric_image(precision, scale, negative && !wanted.empty(), wanted);
    image.resize(37, vdx_test::kGuard);

    Bytes out(37, vdx_test::kGuard);
    ASSERT_EQ(vdx::write_numeric(exact_of(digits, from, negative), precision, scale, out.data()),
              fits ? VDX_SUCCESS : VDX_OVERFLOW)
        << digits << ' ' << from << ' ' << precision << ' ' << scale;
    ASSERT_EQ(out, image) << digits << ' ' << from;

    Exact back;
    ASSERT_EQ(vdx::read_numeric(out.data(), back), VDX_SUCCESS);
    const Exact expected = exact_of(wanted, scale, negative);
    ASSERT_TRUE(back.negative == expected.negative && back.scale == scale &&
                back.magnitude == expected.magnitude);
  }
}

// Magnitudes and scales that no datatype has.
TEST(Numeric, EdgesOfWriting) {
  const std::string nines(77, '9');
  const std::uint64_t ones = ~std::uint64_t{0}, top = std::uint64_t{1} << 63;
  const struct {
    Exact value;
    std::int32_t precision, scale, code;
    std::string digits;
  } rows[] = {
      {vdx::exact_integer(ones, false), 77, 57, VDX_SUCCESS,
       "18446744073709551615" + std::string(57, '0')},
      {vdx::exact_integer(1, false), 77, 77, VDX_OVERFLOW, nines},
      {vdx::exact_integer(0, true), 77, 77, VDX_SUCCESS, ""},
      {vdx::exact_money(95), 2, 5, VDX_OVERFLOW, "99"},  // 0.0095 takes three of five digits
      {{false, 400, {5, 0, 0, 1}}, 10, 2, VDX_SUCCESS, ""},
      {{true, 78, {0, 0, 0, top}}, 5, 0, VDX_SUCCESS, ""},
      {{true, 77, {0, 0, 0, top}}, 5, 0, VDX_SUCCESS, "1"},
      {{false, 1, {ones, ones, ones, ones}},
       77,
       0,
       VDX_SUCCESS,
       "11579208923731619542357098500868790785326998466564056403945758400791312963994"},
      {{false, 0, {0, 1, 0, 0}}, 77, 60, VDX_OVERFLOW, nines},
  };
  for (const auto& row : rows) {
    Bytes out(35);
    EXPECT_EQ(vdx::write_numeric(row.value, row.precision, row.scale, out.data()), row.code);
    EXPECT_EQ(out, vdx_test::numeric_image(row.precision, row.scale,
                                           row.value.negative && !row.digits.empty(), row.digits))
        << row.digits;
  }
}

// Both arithmetics under the same magnitudes.
TEST(Numeric, LimbArithmeticOfBothKinds) {
  Random random(9);
  for (int i = 0; i < 20000; ++i) {
    Magnitude a{random.sized(), random.next(), random.sized(),
                random.sized() * (random.next() & 1)};
    Magnitude b = a;
    const std::uint64_t factor = random.sized() | 1, addend = random.next();
    ASSERT_EQ(vdx::multiply_add(a, factor, addend),
              vdx::multiply_add<vdx::PortableWide>(b, factor, addend));
    ASSERT_EQ(a, b);
    Magnitude c = a;
    const std::uint64_t rest = vdx::divide_limb(a, factor);
    ASSERT_EQ(rest, vdx::divide_limb<vdx::PortableWide>(b, factor));
    ASSERT_EQ(a, b);
    ASSERT_EQ(vdx::multiply_add(a, factor, rest), 0u);
    ASSERT_EQ(a, c);
  }
}

}  // namespace
