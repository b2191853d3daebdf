// Money: arithmetic of the three layers against 128-bit integers, text against digit strings.
#include "vdxcomn/money.h"

#include <iterator>
#include <limits>

#include "arithmetic.h"
#include "intl/charattr.h"
#include "number/money_value.h"

namespace {

using namespace vdx_test;
using vdx::kMoneyMax;
using vdx::kMoneyMin;
__extension__ using Wide = __int128;

// Counts as money of either width and back.
template <class Money>
Money money_of(std::int64_t value) {
  if constexpr (sizeof(Money) == 4) return static_cast<Money>(value);
  if constexpr (sizeof(Money) == 8)
    return {static_cast<std::int32_t>(value >> 32), static_cast<std::uint32_t>(value)};
}
constexpr auto words = money_of<vdx_money>;
std::int64_t count(vdx_mny4 money) { return money; }
std::int64_t count(vdx_money money) { return std::int64_t{money.high} * 4294967296 + money.low; }

std::int64_t noise(Random& random) {
  static constexpr std::int64_t kEdges[] = {// clang-format off
      0, 10, 5000, 10000, 0x80000000, 0x100000000, 303700049997, 1844674407370955,
      922337203685477580, kMoneyMax};
  // clang-format on
  const std::uint64_t pick = random.below(64);
  if (pick < 3 * std::size(kEdges)) {  // or its neighbour, of either sign
    const auto edge = static_cast<std::uint64_t>(kEdges[pick / 3]) + pick % 3 - 1;
    return static_cast<std::int64_t>(random.below(2) != 0 ? edge : 0 - edge);
  }
  const auto size = static_cast<std::int64_t>(random.sized());
  return (pick & 1) != 0 ? size : static_cast<std::int64_t>(0 - static_cast<std::uint64_t>(size));
}

std::int32_t code_of(std::int32_t status) {
  return status == 0 ? VDX_SUCCESS : status == 3 ? VDX_ARITHMETIC : VDX_OVERFLOW;
}

// The quotient of no number is 3, a status; all else fails by its range alone.
constexpr Wide (*kReferences[4])(Wide, Wide) = {
    [](Wide a, Wide b) { return a + b; }, [](Wide a, Wide b) { return a - b; },
    [](Wide a, Wide b) { return (a * b + ((a < 0) != (b < 0) ? -5000 : 5000)) / 10000; },
    [](Wide a, Wide b) { return b == 0 ? 0 : a * 10000 / b; }};

// The three layers of the four operations.
template <class Money>
using Layers = std::int32_t (*[4][3])(const Money*, const Money*, Money*);
constexpr Layers<vdx_money> kLayers = {{com__mnyadd, com_mnyadd, comn_mnyadd},
                                       {com__mnysub, com_mnysub, comn_mnysub},
                                       {com__mnymul, com_mnymul, comn_mnymul},
                                       {com__mnydiv, com_mnydivide, comn_mnydivide}};
constexpr Layers<vdx_mny4> kShortLayers = {{com__mnyadd4, com_mny4add, comn_mny4add},
                                           {com__mnysub4, com_mny4sub, comn_mny4sub},
                                           {com__mnymul4, com_mny4mul, comn_mny4mul},
                                           {com__mnydiv4, com_mny4divide, comn_mny4divide}};

template <class Int, class Money>
void check_operations(const Layers<Money>& layers, std::int64_t x, std::int64_t y) {
  for (int operation = 0; operation < 4; ++operation) {
    SCOPED_TRACE(testing::Message() << "operation " << operation << ' ' << x << ' ' << y);
    Wide exact = kReferences[operation](x, y);
    const std::int32_t status = operation == 3 && y == 0 ? 3 : static_cast<Int>(exact) != exact;
    if (status != 0) exact = 0;
    for (int layer = 0; layer < 3; ++layer) {
      const auto call = layers[operation][layer];
      Money a = money_of<Money>(x), b = money_of<Money>(y), result = money_of<Money>(77);
      ASSERT_EQ(call(&a, &b, &result), layer == 2 ? code_of(status) : status);
      call(&a, &b, &a);  // the result may be an operand
      ASSERT_TRUE(count(result) == exact && count(a) == exact);
      a = money_of<Money>(x);
      call(&a, &b, &b);
      ASSERT_EQ(count(b), exact);
    }
  }
}

TEST(Money, ArithmeticIsExact) {
  Random random(2);
  for (int i = 0; i < 40000; ++i) {
    const std::int64_t x = noise(random), y = noise(random);
    const auto u = static_cast<std::int32_t>(x), v = static_cast<std::int32_t>(y);
    ASSERT_NO_FATAL_FAILURE(check_operations<std::int64_t>(kLayers, x, y));
    ASSERT_NO_FATAL_FAILURE(check_operations<std::int32_t>(kShortLayers, u, v));
    const vdx_money a = words(x), b = words(y);
    const int order = (x > y) - (x < y), short_order = (u > v) - (u < v);
    ASSERT_TRUE(com_mnycmp(&a, &b) == order && comn_mnycmp(&a, &b) == order);
    ASSERT_TRUE(com_mny4cmp(&u, &v) == short_order && comn_mny4cmp(&u, &v) == short_order);
    // The arithmetic without 128-bit integers gives the same.
    std::int64_t native = 0, portable = 0;
    ASSERT_EQ(vdx::multiply_money(x, y, native),
              vdx::multiply_money<vdx::PortableWide>(x, y, portable));
    ASSERT_EQ(native, portable);
  }
  // Around the last product and quotient that fit, which noise seldom meets.
  for (std::int64_t d = -3; d <= 3; ++d)
    for (const std::int64_t y : {20000, -20000, 5000, -5000, 1, -1, 30000})
      for (const Wide limit : {Wide{kMoneyMax}, Wide{kMoneyMin}, Wide{kMoneyMax} / 5 * 9})
        for (const Wide x : {limit * 10000 / y + d, limit / 10000 * y + d}) {
          if (x < kMoneyMin || x > kMoneyMax) continue;
          ASSERT_NO_FATAL_FAILURE(
              check_operations<std::int64_t>(kLayers, static_cast<std::int64_t>(x), y));
        }
}

TEST(Money, WordsAreHighFirst) {
  vdx_money value{};
  constexpr void (*kSetters[])(vdx_money*) = {com_mnymaxneg,  com_mnyzero,  com_mnymaxpos,
                                              comn_mnymaxneg, comn_mnyzero, comn_mnymaxpos};
  for (std::size_t i = 0; i < 6; ++i) {
    kSetters[i](&value);
    EXPECT_EQ(count(value), i % 3 == 0 ? kMoneyMin : i % 3 == 1 ? 0 : kMoneyMax);
  }
  const vdx_mny4 four = -2;
  EXPECT_EQ(com__mny4tomny(&four, &value), 8);
  EXPECT_EQ(count(value), -2);
  const vdx_money other = words(0x100000002);
  for (const auto copy : {com__mnycopy, com_mnycopy, comn_mnycopy}) {
    value = words(77);
    EXPECT_EQ(copy(&other, &value), copy == comn_mnycopy ? VDX_SUCCESS : 0);
    EXPECT_EQ(count(value), 0x100000002);
  }
  vdx_mny4 kept = 5;  // there is no remainder
  EXPECT_EQ(com__mnyrem(&other, &other, &value), 1);
  EXPECT_EQ(com__mnyrem4(&four, &four, &kept), 1);
  EXPECT_TRUE(count(value) == 0x100000002 && kept == 5);
}

TEST(Money, OperationsInPlace) {
  const struct {
    std::int32_t (*layers[3])(vdx_money*);
    Wide (*reference)(Wide);
  } steps[] = {{{com__mnyinc, com_mnyinc, comn_mnyinc}, [](Wide v) { return v + 1; }},
               {{com_mnydec, com_mnydec, comn_mnydec}, [](Wide v) { return v - 1; }},
               {{[](vdx_money* v) { return com__mnyminus(v, v); },
                 [](vdx_money* v) { return com_mnyminus(v, v); },
                 [](vdx_money* v) { return comn_mnyminus(v, v); }},
                [](Wide v) { return -v; }}};
  Random random(3);
  for (int i = 0; i < 100000; ++i) {
    const std::int64_t value = noise(random);
    const Wide size = value < 0 ? -Wide{value} : Wide{value};
    const auto factor = static_cast<std::uint32_t>(i % 3 == 0 ? random.below(11) : random.sized());
    const auto addend = static_cast<std::int32_t>(noise(random));
    SCOPED_TRACE(testing::Message() << value << ' ' << factor << ' ' << addend);
    vdx_money money = words(value);
    const auto is_now = [&](std::int32_t status, std::int32_t wanted, Wide left) {
      ASSERT_EQ(status, wanted);
      ASSERT_EQ(count(money), left);
      money = words(value);
    };
    for (const auto& row : steps)
      for (int layer = 0; layer < 3; ++layer) {  // the wrapped value stays on overflow
        const Wide exact = row.reference(value);
        const auto wrapped = static_cast<std::int64_t>(static_cast<std::uint64_t>(exact));
        const std::int32_t status = wrapped == exact ? 0 : 1;
        is_now(row.layers[layer](&money), layer == 2 ? code_of(status) : status, wrapped);
      }
    const auto four = static_cast<vdx_mny4>(i % 9 == 0 ? INT32_MIN : value);
    const std::int32_t least = four == INT32_MIN ? 1 : 0;
    for (const auto minus : {com__mnyminus4, com_mny4minus, comn_mny4minus}) {
      vdx_mny4 result = 12;
      ASSERT_EQ(minus(&four, &result), minus == comn_mny4minus ? code_of(least) : least);
      ASSERT_EQ(result, least == 0 ? -four : 12);
    }
    const Wide scaled = size * factor + static_cast<std::uint32_t>(addend);
    const bool fits = factor == 0 || scaled <= kMoneyMax;
    const Wide expected = factor == 0 ? addend : !fits ? value : value < 0 ? -scaled : scaled;
    is_now(com__mnyscale(&money, factor, addend), fits ? 0 : 1, expected);
    is_now(comn_mnyscale(&money, factor, addend), fits ? 1 : VDX_OVERFLOW, expected);

    const std::uint32_t small = factor & 0xffff;
    is_now(comn_mnydown(&money, factor), small == 0 ? 0 : static_cast<std::int32_t>(size % small),
           small == 0 ? Wide{value} : Wide{value} / small);

    char digit = 0;
    is_now(comn_mnyndigit(&money, &digit), value / 10 != 0 ? 1 : 0, value / 10);
    ASSERT_EQ(digit, static_cast<char>('0' + size % 10));

    if (value >= 0 && factor != 0) {
      const vdx_money dividend = words(value), divisor{-5, factor};
      com_mnyxdiv(&dividend, &divisor, &money);
      is_now(0, 0, value / factor);
    }
    Wide power = 1;
    for (std::int32_t n = 0; n <= 8; ++n, power *= 10) {
      const Wide rounded = n == 0 ? size : (size * 2 + power) / (2 * power);
      is_now(comn_mnyinit(&money, n), value < 0 ? -1 : 0, rounded > kMoneyMax ? 0 : rounded);
    }
    if (HasFatalFailure()) return;
  }
  // Once nothing is left the last digit decides, however many more were asked for.
  for (const auto& [value, left] : {std::pair{50000000, 1}, {5, 0}}) {
    vdx_money money = words(value);
    EXPECT_TRUE(com_mnyinit(&money, 30) == 0 && count(money) == left) << value;
  }
}

// The text of a value, digit by digit.
std::string slow_text(std::int64_t value, std::int32_t places, bool separators) {
  const int kept = places <= 0 ? 2 : places > 4 ? 4 : places;
  const Number n = number_of(std::to_string(value), 4);
  std::string text = text_of({value < 0, digits_at(n, kept, true), kept});
  for (std::size_t i = text.find('.'); separators && i > (value < 0 ? 4u : 3u);)
    text.insert(i -= 3, 1, ',');
  return text;
}

TEST(MoneyText, FormatsLikeDigitByDigit) {
  Random random(4);
  for (int i = 0; i < 100000; ++i) {
    const std::int64_t value = noise(random);
    const auto places = static_cast<std::int32_t>(random.below(7)) - 1;
    const bool separators = random.below(2) == 0;
    const std::string text = slow_text(value, places, separators);
    const vdx_money money = words(value);
    const auto size = static_cast<std::int32_t>(text.size());
    const std::int32_t flags = separators ? 1 : static_cast<std::int32_t>(random.below(2)) * 5;
    for (std::int32_t room = -1; room <= 2; ++room) {
      std::string buffer(40, '#'), wanted = buffer;
      char* const start = com_precmnytochar(&money, buffer.data() + 8, size + room, flags, places);
      ASSERT_EQ(start, room < 0 ? nullptr : buffer.data() + 8 + room);
      if (room >= 0) wanted.replace(8 + static_cast<std::size_t>(room), text.size(), text);
      // A comma that had no digit before it became a blank.
      if (separators && value >= 0 && room > 0 && text.find_first_of(",.") == 3)
        wanted[7 + static_cast<std::size_t>(room)] = ' ';
      ASSERT_EQ(buffer, wanted);
    }
    char narrow[32];
    const auto four = static_cast<vdx_mny4>(value);
    char* const end = narrow + sizeof narrow;
    ASSERT_EQ(std::string(com_cvtmny4tochar(&four, narrow, sizeof narrow, flags), end),
              slow_text(four, 2, separators));
    ASSERT_EQ(std::string(com__mny4tochar(&four, narrow, sizeof narrow, flags | 4 << 8), end),
              slow_text(four, 4, separators));
    ASSERT_EQ(com__mnytochar(&money, narrow, sizeof narrow, flags),
              com_cvtmnytochar(&money, narrow, sizeof narrow, flags));
  }
}

// The conversions tell which texts are which money; here is what failures leave, and the statuses.
TEST(MoneyText, StatusesOfTheParser) {
  const struct {
    const char* text;
    std::int32_t status;
    std::int64_t value;
    const vdx_charattr* attributes = &vdx::kLatin1;
  } rows[] = {// clang-format off
      {"\243" "12", 0, 120000}, {"\t12", 2, 0}, {"12\t \n", 0, 120000}, {"--1", 2, 0}, {"1-", 2, 1},
      {"1.2.3", 2, 12}, {"1,000.5x", 2, 10005}, {"1234,567", 2, 1234}, {"1,234.5,6", 2, 12345},
      {"1,2.34,5", 0, 123450},  // decimals count as digits of the group
      {"922337203685477.5808", 1, 922337203685477580}, {"922337203685477.58075", 1, kMoneyMin},
      {"-922337203685477.58081", 1, kMoneyMin}, {"-9223372036854775808", 1, kMoneyMin},
      {"12\x82", 2, 12, &vdx::kSjis}, {"\xE2\x82\xAC 5", 0, 50000, &vdx::kUtf8}};
  // clang-format on
  for (const auto& row : rows) {
    SCOPED_TRACE(row.text);
    vdx_money money = words(99);
    const auto* text = reinterpret_cast<const std::uint8_t*>(row.text);
    const auto length = static_cast<std::int32_t>(std::strlen(row.text));
    EXPECT_EQ(com__mnyfromchar_mb(&money, text, length, 0, row.attributes), row.status);
    EXPECT_EQ(count(money), row.value);
  }
}

// The conversions tell which doubles are which money; here are the codes of the functions.
TEST(MoneyDouble, Codes) {
  const double one = 1, most = 922337203685477.6, beyond = 922337203685478.0;
  const struct {
    const double* number;
    std::int32_t length, result;
    std::int64_t value;
  } rows[] = {{&one, 8, 8, 10000},
              {nullptr, 8, 8, 0},
              {&one, 0, 8, 0},
              {&most, 8, 8, kMoneyMax},
              {&beyond, 8, -1, 0}};
  for (const auto& row : rows) {
    vdx_money money = words(99);
    EXPECT_EQ(com__flt8tomny(row.number, row.length, &money, 0, 0), row.result);
    EXPECT_EQ(count(money), row.value);
  }
}

}  // namespace
