#include "number/float_powers.h"

#include <bit>

namespace vdx {
namespace {

// A number in 32-bit digits, least significant first.
//
// Powers below one are made from 2^960 by divisions by five. 5^342 has 795 bits, so the last
// quotient still has 166, and its upper 128 are those of the power. Cutting off after each division
// cuts off what one division by the product would. 5^324 has 753 bits.
struct LongNumber {
  std::array<std::uint32_t, 31> digits{};
  std::size_t size = 0;

  constexpr void multiply_by_5() {
    std::uint64_t carry = 0;
    for (std::size_t i = 0; i < size; ++i) {
      carry += std::uint64_t{digits[i]} * 5;
      digits[i] = static_cast<std::uint32_t>(carry);
      carry >>= 32;
    }
    if (carry != 0) digits[size++] = static_cast<std::uint32_t>(carry);
  }
  constexpr void divide_by_5() {
    std::uint64_t rest = 0;
    for (std::size_t i = size; i-- > 0;) {
      rest = rest << 32 | digits[i];
      digits[i] = static_cast<std::uint32_t>(rest / 5);
      rest %= 5;
    }
    if (digits[size - 1] == 0) --size;
  }
  constexpr std::int32_t bits() const {
    return 32 * static_cast<std::int32_t>(size) - std::countl_zero(digits[size - 1]);
  }
  // The digit i places below the top one, shifted so that the top one has its top bit set.
  constexpr std::uint64_t normal_digit(std::size_t i) const {
    const auto at = [this](std::size_t j) { return j < size ? digits[size - 1 - j] : 0U; };
    const std::uint64_t both = std::uint64_t{at(i)} << 32 | at(i + 1);
    return static_cast<std::uint32_t>(both >> (32 - std::countl_zero(at(0))));
  }
  constexpr BinaryPower top() const {
    return {normal_digit(0) << 32 | normal_digit(1), normal_digit(2) << 32 | normal_digit(3)};
  }
};

struct Table {
  std::array<BinaryPower, kMostTens - kLeastTens + 1> powers{};
  bool logarithms_agree = true;  // with the lengths of the numbers
};

constexpr Table make_table() {
  Table table;
  const auto put = [&table](std::int32_t tens, const LongNumber& number, std::int32_t log2) {
    table.powers[static_cast<std::size_t>(tens - kLeastTens)] = number.top();
    table.logarithms_agree = table.logarithms_agree && floor_log2_of_tens(tens) == log2;
  };
  LongNumber number;
  number.size = 1;
  number.digits[0] = 1;
  for (std::int32_t tens = 0; tens <= kMostTens; ++tens) {
    put(tens, number, number.bits() - 1 + tens);
    number.multiply_by_5();
  }
  number = {};
  number.size = number.digits.size();
  number.digits.back() = 1;
  for (std::int32_t tens = -1; tens >= kLeastTens; --tens) {
    number.divide_by_5();
    put(tens, number, number.bits() - 1 - 960 + tens);
  }
  return table;
}

constexpr Table kTable = make_table();
static_assert(kTable.logarithms_agree);

constexpr int bits_of_5_to(std::int32_t exponent) {
  return floor_log2_of_tens(exponent) - exponent + 1;
}
static_assert(bits_of_5_to(55) == 128 && bits_of_5_to(324) == 753 && bits_of_5_to(342) == 795);

}  // namespace

constinit const std::array<BinaryPower, kMostTens - kLeastTens + 1> kBinaryPowers = kTable.powers;

}  // namespace vdx
