// Exact numerics: tables and byte-string arithmetic against long-hand.
#include <algorithm>

#include "arithmetic.h"
#include "vdxcomn/number.h"

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

TEST(ExactBytes, IncrementAndDivisionByTen) {
  Random random(6);
  for (int i = 0; i < 20000; ++i) {
    Bytes before(1 + random.below(9));  // many 255: carries, and nothing left to carry to
    for (std::uint8_t& byte : before)
      byte = static_cast<std::uint8_t>(random.below(2) != 0 ? random.next() : 255);
    const auto zeros = static_cast<long>(random.below(before.size()));
    std::fill(before.begin() + 1, before.begin() + 1 + zeros, std::uint8_t{0});
    const std::string digits = digits_of(Bytes(before.begin() + 1, before.end()));
    const auto magnitude = [](const Bytes& bytes, std::int32_t length) {
      return digits_of(Bytes(bytes.begin() + 1, bytes.begin() + length));
    };
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
    const bool shorter = before.size() > 1 && big_endian(tenth, before.size())[1] == 0;
    ASSERT_EQ(value.length, static_cast<std::int32_t>(before.size()) - (shorter ? 1 : 0));
    ASSERT_EQ(bytes[0], before[0]);
  }
}

TEST(ExactBytes, DivisionMatchesLongHand) {
  Random random(7);
  const auto magnitude = [&](std::uint64_t most) {
    Bytes bytes(1 + random.below(most));
    const std::uint64_t kind = random.below(4);  // runs of ones and zeros make estimates fail
    for (std::uint8_t& byte : bytes)
      byte = static_cast<std::uint8_t>(kind == 0 ? 255 * random.below(2) : random.next());
    if (kind == 1) std::fill(bytes.begin() + 1, bytes.end(), std::uint8_t{0});
    return digits_of(bytes);
  };
  int failures[4] = {};
  for (int i = 0; i < 10000; ++i) {
    Number divisor{random.below(2) != 0, magnitude(33)};
    Number dividend{random.below(2) != 0, magnitude(65)};
    std::int64_t scale = 0;
    if (i % 2 == 0) {  // a whole quotient, with the largest remainder there is, or none
      const std::string most = divisor.zero() ? "" : subtract(divisor.digits, "1");
      dividend.digits = add(multiply(magnitude(32), divisor.digits), i % 4 == 0 ? most : "");
    } else {
      dividend.scale = static_cast<std::int64_t>(random.below(20));
      divisor.scale = static_cast<std::int64_t>(random.below(20));
      scale = static_cast<std::int64_t>(random.below(40));
    }
    const Number wanted = divisor.zero() ? Number{} : quotient(dividend, divisor, scale);
    const auto precision = static_cast<std::size_t>(1 + random.below(79));
    const std::size_t size = i % 3 == 0 ? 33 : 1 + random.below(34);
    const bool fits = wanted.digits.size() <= precision && precision <= 77 &&
                      compare(wanted.digits, digits_of(Bytes(size - 1, 255))) <= 0;
    const int status = !fits && precision > 77 ? 1 : divisor.zero() ? 3 : fits ? 0 : 1;
    Bytes a = string_of(dividend.negative, dividend.digits, 67);
    Bytes b = string_of(divisor.negative, divisor.digits, 34), result(size, 0xEE);
    const vdx_exact top = value_of(a, 77, dividend.scale), bottom = value_of(b, 77, divisor.scale);
    vdx_exact r = value_of(result, static_cast<std::int64_t>(precision), scale);
    SCOPED_TRACE(text_of(dividend) + " / " + text_of(divisor));
    ASSERT_EQ(com__exctnume_div(&top, &bottom, &r), status);
    ++failures[status];
    ASSERT_EQ(result, status != 0
                          ? Bytes(size, 0xEE)
                          : string_of(wanted.negative && !wanted.zero(), wanted.digits, size));
  }
  EXPECT_TRUE(failures[0] > 1000 && failures[1] > 1000 && failures[3] > 0);
  Bytes wide(130, 1), one = {0, 1}, result(133);
  const vdx_exact dividend = value_of(wide), divisor = value_of(one), tenth = value_of(one, 77, 1);
  vdx_exact quotient = value_of(result, 77, 10);
  EXPECT_EQ(com__exctnume_div(&dividend, &divisor, &quotient), 1);  // 129 bytes and 10^10 pass 132
  quotient.scale = 77;
  EXPECT_EQ(com__exctnume_div(&divisor, &tenth, &quotient), 1);  // 10^78
}

}  // namespace
