// Byte strings of exact numerics, and the divisions of every kind of number, against long-hand.
#include <algorithm>

#include "arithmetic.h"
#include "characters.h"
#include "number/limbs.h"
#include "number/money_value.h"

namespace {

using namespace vdx_test;

TEST(ExactTables, FollowTheirRules) {
  const struct {
    std::int32_t index, precision;
  } lengths[] = {{0, 2},   {1, 4},    {3, 9},    {7, 19}, {8, 21}, {15, 38},
                 {31, 77}, {32, 255}, {34, 255}, {35, 0}, {36, 0}, {-1, 0}};
  for (const auto& row : lengths)
    EXPECT_EQ(comb_get_Len_To_Prec(row.index), row.precision) << row.index;
  for (std::int32_t p = 0; p <= 77; ++p) {
    SCOPED_TRACE(p);
    const std::size_t size = p == 0 ? 2 : 1 + magnitude_bytes(p);
    EXPECT_EQ(comb_get_Prec_To_Len(p), static_cast<std::int32_t>(size));
    const std::uint8_t* row = comb_get_Byte_Power_ptr(p, 0);
    ASSERT_NE(row, nullptr);
    Bytes expected = big_endian("1" + std::string(static_cast<std::size_t>(p), '0'), size);
    expected.insert(expected.begin(), static_cast<std::uint8_t>(size));
    expected.resize(34);
    EXPECT_EQ(Bytes(row, row + 34), expected);
    for (std::int32_t i = 0; i < 34; ++i) EXPECT_EQ(comb_get_Byte_Power_val(p, i), row[i]);
  }
  for (const std::int32_t outside : {-1, 78}) {
    EXPECT_EQ(comb_get_Prec_To_Len(outside), 0);
    EXPECT_EQ(comb_get_Byte_Power_ptr(outside, 0), nullptr);
    EXPECT_EQ(comb_get_Byte_Power_val(outside, 0), 0);
  }
  EXPECT_EQ(comb_get_Byte_Power_ptr(3, 34), nullptr);
  EXPECT_EQ(comb_get_Byte_Power_val(3, -1), 0);
}

// A sign and a magnitude.
Bytes string_of(bool negative, const std::string& digits, std::size_t size) {
  Bytes bytes = big_endian(digits, size);
  bytes[0] = negative ? 1 : 0;
  return bytes;
}

vdx_exact value_of(Bytes& bytes, std::int64_t precision = 77, std::int64_t scale = 0) {
  return {bytes.data(), static_cast<std::int32_t>(bytes.size()),
          static_cast<std::uint8_t>(precision), static_cast<std::uint8_t>(scale)};
}

std::string magnitude(const Bytes& bytes, std::int32_t length) {
  return digits_of(Bytes(bytes.begin() + 1, bytes.begin() + length));
}

// Bytes at random, or runs of ones and zeros, where carries and estimates fail.
Bytes hard_bytes(Random& random, std::uint64_t most) {
  Bytes bytes(1 + random.below(most));
  const std::uint64_t kind = random.below(4);
  for (std::uint8_t& byte : bytes)
    byte = static_cast<std::uint8_t>(kind == 0 ? 255 * random.below(2) : random.next());
  if (kind > 1) std::fill_n(bytes.begin() + 1, random.below(bytes.size()), kind == 2 ? 0 : 255);
  return bytes;
}

TEST(ExactBytes, IncrementAndDivisionByTen) {
  Random random(6);
  for (int i = 0; i < 20000; ++i) {
    const Bytes before = hard_bytes(random, 9);
    const auto size = static_cast<std::int32_t>(before.size());
    const std::string digits = magnitude(before, size);
    Bytes bytes = before;
    vdx_exact value = value_of(bytes);
    const bool full = std::all_of(bytes.begin() + 1, bytes.end(), [](int b) { return b == 255; });
    ASSERT_EQ(com__exctnume_inc(&value), full ? 1 : 0);
    ASSERT_EQ(magnitude(bytes, value.length), full ? digits : add(digits, "1"));
    ASSERT_EQ(bytes[0], before[0]);

    bytes = before;
    const std::string tenth = digits.substr(0, digits.size() - (digits.empty() ? 0 : 1));
    ASSERT_EQ(com__exctnume_divby10(&value), digits.empty() ? 0 : digits.back() - '0');
    ASSERT_EQ(magnitude(bytes, value.length), tenth);
    const bool shorter = size > 1 && big_endian(tenth, before.size())[1] == 0;
    ASSERT_EQ(value.length, size - (shorter ? 1 : 0));
    ASSERT_EQ(bytes[0], before[0]);
  }
}

// A division, and its quotient, truncated to the scale.
struct Division {
  Number dividend, divisor, quotient;
  std::int64_t scale = 0;
};

// Returns the status.
int check_bytes(const Division& d, Random& random) {
  const auto precision = static_cast<std::size_t>(1 + random.below(79));
  const std::size_t size = random.below(3) == 0 ? 33 : 1 + random.below(34);
  const std::string& digits = d.quotient.digits;
  const bool fits = digits.size() <= precision && precision <= 77 &&
                    compare(digits, digits_of(Bytes(size - 1, 255))) <= 0;
  const int status = !fits && precision > 77 ? 1 : d.divisor.zero() ? 3 : fits ? 0 : 1;
  Bytes a = string_of(d.dividend.negative, d.dividend.digits, 67);
  Bytes b = string_of(d.divisor.negative, d.divisor.digits, 34), result(size, 0xEE);
  const vdx_exact top = value_of(a, 77, d.dividend.scale),
                  bottom = value_of(b, 77, d.divisor.scale);
  vdx_exact r = value_of(result, static_cast<std::int64_t>(precision), d.scale);
  EXPECT_EQ(com__exctnume_div(&top, &bottom, &r), status);
  const bool negative = d.quotient.negative && !d.quotient.zero();
  EXPECT_EQ(result, status != 0 ? Bytes(size, 0xEE) : string_of(negative, digits, size));
  return status;
}

void check_numerics(const Division& d) {
  vdx_num operands[2];
  for (const Number* n : {&d.dividend, &d.divisor}) {
    if (n->digits.size() > 77) return;
    operands[n == &d.divisor] =
        as<vdx_num>(numeric_image(77, n->scale, n->negative && !n->zero(), n->digits));
  }
  vdx_num result{};
  result.precision = 77;
  result.scale = static_cast<std::uint8_t>(d.scale);
  const Fitted expected = fitted(d.quotient, 77, static_cast<int>(d.scale));
  EXPECT_EQ(comn_numdivide(&operands[0], &operands[1], &result),
            d.divisor.zero() ? VDX_ARITHMETIC : expected.code);
  EXPECT_TRUE(d.divisor.zero() || image(result) == expected.image);
}

std::vector<std::uint64_t> limbs_of(const std::string& digits, std::size_t count) {
  std::vector<std::uint64_t> limbs(count);
  const Bytes bytes = big_endian(digits, 8 * count);
  for (std::size_t i = 0; i < 8 * count; ++i)
    limbs[count - 1 - i / 8] = limbs[count - 1 - i / 8] << 8 | bytes[i];
  return limbs;
}

template <class Arithmetic>
void check_limbs(const Division& d, const std::string& rest) {
  vdx::Magnitude value{};
  std::ranges::copy(limbs_of(d.divisor.digits, 4), value.begin());
  const vdx::Divisor divisor = vdx::make_divisor<Arithmetic>(value);
  std::vector<std::uint64_t> dividend = limbs_of(d.dividend.digits, 10), quotient(10);
  vdx::divide_limbs<Arithmetic>(dividend.data(), 9, divisor, quotient.data());
  quotient.resize(10 - divisor.size);
  EXPECT_EQ(quotient, limbs_of(d.quotient.digits, 10 - divisor.size));
  dividend.resize(divisor.size);  // the remainder, shifted as the divisor is
  const std::string shifted = multiply(rest, std::to_string(std::uint64_t{1} << divisor.shift));
  EXPECT_EQ(dividend, limbs_of(shifted, divisor.size));
}

template <class Arithmetic>
void check_money(const Division& d) {
  const auto a = std::stoll("0" + d.dividend.digits), b = std::stoll("0" + d.divisor.digits);
  std::int64_t result = 0;
  const bool fits = compare(d.quotient.digits, std::to_string(vdx::kMoneyMax)) <= 0;
  EXPECT_EQ(vdx::divide_money<Arithmetic>(a, b, result), b == 0 ? 3 : fits ? 0 : 1);
  EXPECT_EQ(result, fits && b != 0 ? std::stoll("0" + d.quotient.digits) : 0);
}

// The same operands for every divider: of byte strings, of numerics, of limbs and of money.
TEST(Division, MatchesLongHand) {
  Random random(7);
  int statuses[4] = {};
  for (int i = 0; i < 40000; ++i) {
    Division d{{random.below(2) != 0, ""}, {random.below(2) != 0, ""}, {}};
    const std::uint64_t most = i % 8 == 4 ? 7 : 32;
    d.divisor.digits = digits_of(hard_bytes(random, most));
    if (i % 4 == 0) {
      d.dividend.digits = digits_of(hard_bytes(random, most == 7 ? 7 : 64));
      for (std::int64_t* scale : {&d.dividend.scale, &d.divisor.scale, &d.scale})
        *scale = most == 7 ? 4 : static_cast<std::int64_t>(random.below(20));
      if (!d.divisor.zero()) d.quotient = quotient(d.dividend, d.divisor, d.scale);
    } else if (!d.divisor.zero()) {  // a whole one, with the largest remainder there is, or none
      const std::string rest = i % 2 == 0 ? subtract(d.divisor.digits, "1") : "";
      d.quotient = {d.dividend.negative != d.divisor.negative,
                    digits_of(hard_bytes(random, i % 16 < 8 ? 32 : 40))};
      d.dividend.digits = add(multiply(d.quotient.digits, d.divisor.digits), rest);
      check_limbs<vdx::Wide>(d, rest);
      check_limbs<vdx::PortableWide>(d, rest);
    }
    SCOPED_TRACE(text_of(d.dividend) + " / " + text_of(d.divisor));
    if (d.dividend.digits.size() < 159) ++statuses[check_bytes(d, random)];
    check_numerics(d);
    if (most == 7) {
      check_money<vdx::Wide>(d);
      check_money<vdx::PortableWide>(d);
    }
    if (HasFailure()) return;
  }
  EXPECT_TRUE(statuses[0] > 1000 && statuses[1] > 1000 && statuses[3] > 0);
  Bytes wide(130, 1), one = {0, 1}, result(133);
  const vdx_exact dividend = value_of(wide), divisor = value_of(one), tenth = value_of(one, 77, 1);
  vdx_exact quotient = value_of(result, 77, 10);
  EXPECT_EQ(com__exctnume_div(&dividend, &divisor, &quotient), 1);  // 129 bytes and 10^10 pass 132
  quotient.scale = 77;
  EXPECT_EQ(com__exctnume_div(&divisor, &tenth, &quotient), 1);  // 10^78
}

}  // namespace
