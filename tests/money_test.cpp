// Money: arithmetic of the three layers against 128-bit integers, text against digit strings.
#include "vdxcomn/money.h"

#include <cmath>
#include <cstdlib>
#include <iterator>
#include <limits>

#include "intl/charattr.h"
#include "number/com_mony.h"
#include "support.h"

namespace {

using vdx::kMoneyMax;
using vdx::kMoneyMin;
using vdx_test::Random;
__extension__ using Wide = __int128;

vdx_money words(std::int64_t value) {
  const auto bits = static_cast<std::uint64_t>(value);
  return {static_cast<std::int32_t>(bits >> 32), static_cast<std::uint32_t>(bits)};
}

std::int64_t count(vdx_money money) {
  return static_cast<std::int64_t>(std::uint64_t{static_cast<std::uint32_t>(money.high)} << 32 |
                                   money.low);
}

Wide absolute(Wide v) { return v < 0 ? -v : v; }

std::int64_t noise(Random& random) {
  static constexpr std::int64_t kEdges[] = {0,
                                            10,
                                            5000,
                                            10000,
                                            0x80000000,
                                            0x100000000,
                                            303700049997,
                                            1844674407370955,
                                            922337203685477580,
                                            kMoneyMax};
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

TEST(Wide, ProductsAndQuotientsOfBothKinds) {
  Random random(1);
  for (int i = 0; i < 200000; ++i) {
    const std::uint64_t a = random.sized(), b = random.sized() | 1, c = random.next();
    __extension__ using Unsigned = unsigned __int128;
    const Unsigned product = static_cast<Unsigned>(a) * c;
    const std::uint64_t high = random.next() % b;
    const Unsigned dividend = static_cast<Unsigned>(high) << 64 | c;
    const auto check = [&](auto wide) {
      const vdx::U128 p = wide.multiply(a, c);
      const vdx::Quotient q = wide.divide(high, c, b);
      return p.high == static_cast<std::uint64_t>(product >> 64) &&
             p.low == static_cast<std::uint64_t>(product) && q.quotient == dividend / b &&
             q.remainder == dividend % b;
    };
    ASSERT_TRUE(check(vdx::Wide{})) << a << ' ' << b << ' ' << c;
    ASSERT_TRUE(check(vdx::PortableWide{})) << a << ' ' << b << ' ' << c;
  }
}

// What an operation of two operands should give before its range is looked at; status 3 for none.
using Oracle = std::int32_t (*)(Wide a, Wide b, Wide& result);
constexpr Oracle kSum = [](Wide a, Wide b, Wide& r) { return r = a + b, 0; };
constexpr Oracle kDifference = [](Wide a, Wide b, Wide& r) { return r = a - b, 0; };
constexpr Oracle kProduct = [](Wide a, Wide b, Wide& r) {
  const Wide size = (absolute(a) * absolute(b) + 5000) / 10000;
  return r = (a < 0) != (b < 0) ? -size : size, 0;
};
constexpr Oracle kQuotient = [](Wide a, Wide b, Wide& r) {
  return b == 0 ? 3 : (r = a * 10000 / b, 0);
};

template <typename Money>
struct Binary {
  const char* name;
  std::int32_t (*layers[3])(const Money*, const Money*, Money*);
  Oracle oracle;
};

template <typename Money, typename Make, typename Value>
void check_binary(const Binary<Money>& row, std::int64_t x, std::int64_t y, Wide least, Wide most,
                  Make make, Value value) {
  Wide exact = 0;
  std::int32_t status = row.oracle(x, y, exact);
  if (status == 0 && (exact < least || exact > most)) status = 1;
  const auto expected = static_cast<std::int64_t>(status == 0 ? exact : 0);
  for (int layer = 0; layer < 3; ++layer) {
    Money a = make(x), b = make(y), result = make(77);
    const std::int32_t wanted = layer == 2 ? code_of(status) : status;
    ASSERT_EQ(row.layers[layer](&a, &b, &result), wanted) << row.name << ' ' << x << ' ' << y;
    ASSERT_EQ(value(result), expected) << row.name << ' ' << x << ' ' << y;
    row.layers[layer](&a, &b, &a);  // the result may be an operand
    ASSERT_EQ(value(a), expected) << row.name << ' ' << x << ' ' << y;
    a = make(x);
    row.layers[layer](&a, &b, &b);
    ASSERT_EQ(value(b), expected) << row.name << ' ' << x << ' ' << y;
  }
}

TEST(Money, ArithmeticIsExact) {
  const Binary<vdx_money> rows[] = {
      {"add", {com__mnyadd, com_mnyadd, comn_mnyadd}, kSum},
      {"sub", {com__mnysub, com_mnysub, comn_mnysub}, kDifference},
      {"mul", {com__mnymul, com_mnymul, comn_mnymul}, kProduct},
      {"div", {com__mnydiv, com_mnydivide, comn_mnydivide}, kQuotient}};
  const Binary<vdx_mny4> short_rows[] = {
      {"add4", {com__mnyadd4, com_mny4add, comn_mny4add}, kSum},
      {"sub4", {com__mnysub4, com_mny4sub, comn_mny4sub}, kDifference},
      {"mul4", {com__mnymul4, com_mny4mul, comn_mny4mul}, kProduct},
      {"div4", {com__mnydiv4, com_mny4divide, comn_mny4divide}, kQuotient}};
  const auto same = [](std::int64_t v) { return static_cast<std::int32_t>(v); };
  Random random(2);
  for (int i = 0; i < 40000; ++i) {
    const std::int64_t x = noise(random);
    const std::int64_t y = noise(random);
    for (const auto& row : rows) check_binary(row, x, y, kMoneyMin, kMoneyMax, words, count);
    const auto u = static_cast<std::int32_t>(x), v = static_cast<std::int32_t>(y);
    for (const auto& row : short_rows)
      check_binary(row, u, v, std::numeric_limits<std::int32_t>::min(),
                   std::numeric_limits<std::int32_t>::max(), same, same);
    // The arithmetic without 128-bit integers gives the same.
    std::int64_t native = 0, portable = 0;
    ASSERT_EQ(vdx::multiply_money(x, y, native),
              vdx::multiply_money<vdx::PortableWide>(x, y, portable));
    ASSERT_EQ(native, portable);
    ASSERT_EQ(vdx::divide_money(x, y, native),
              vdx::divide_money<vdx::PortableWide>(x, y, portable));
    ASSERT_EQ(native, portable);
    if (HasFatalFailure()) return;
  }
  // Around the last product and quotient that fit, which noise seldom meets.
  for (std::int64_t d = -3; d <= 3; ++d) {
    for (const std::int64_t y : {20000, -20000, 5000, -5000, 1, -1, 30000}) {
      for (const Wide limit : {Wide{kMoneyMax}, Wide{kMoneyMin}, Wide{kMoneyMax} / 5 * 9}) {
        const Wide factor = limit * 10000 / y + d, dividend = limit / 10000 * y + d;
        for (const Wide x : {factor, dividend})
          if (x >= kMoneyMin && x <= kMoneyMax)
            for (const auto& row : rows)
              check_binary(row, static_cast<std::int64_t>(x), y, kMoneyMin, kMoneyMax, words,
                           count);
      }
      if (HasFatalFailure()) return;
    }
  }
}

TEST(Money, WordsAreHighFirst) {
  vdx_money a{1, 0x80000000}, b{1, 0x7fffffff}, r{};
  EXPECT_EQ(com_mnycmp(&a, &b), 1);
  EXPECT_EQ(comn_mnycmp(&b, &a), -1);
  comn_mnymaxpos(&a);
  EXPECT_TRUE(a.high == 0x7fffffff && a.low == 0xffffffff);
  com_mnymaxneg(&a);
  EXPECT_TRUE(a.high == std::numeric_limits<std::int32_t>::min() && a.low == 0);
  comn_mnyzero(&a);
  EXPECT_TRUE(a.high == 0 && a.low == 0);
  const vdx_mny4 four = -2;
  EXPECT_EQ(com__mny4tomny(&four, &a), 8);
  EXPECT_TRUE(a.high == -1 && a.low == 0xfffffffe);
  EXPECT_EQ(com__mnycopy(&a, &r), 0);
  EXPECT_EQ(comn_mnycopy(&b, &a), 1);
  EXPECT_TRUE(count(r) == -2 && a.high == 1);
  vdx_mny4 other = 3;
  EXPECT_EQ(comn_mny4cmp(&four, &other), -1);
  EXPECT_EQ(com_mny4copy(&four, &other), 0);
  EXPECT_EQ(com_mny4cmp(&four, &other), 0);
  comn_mny4zero(&other);
  EXPECT_EQ(comn_mny4copy(&other, &other), 1);
  EXPECT_EQ(other, 0);
  r = words(55);
  EXPECT_EQ(com__mnyrem(&a, &b, &r), 1);
  vdx_mny4 kept = 5;
  EXPECT_EQ(com__mnyrem4(&other, &other, &kept), 1);
  EXPECT_TRUE(count(r) == 55 && kept == 5);
}

TEST(Money, NegationAndStepsAtTheLimits) {
  struct Row {
    std::int32_t (*internal)(vdx_money*);
    std::int32_t (*current)(vdx_money*);
    std::int64_t value, expected;
    std::int32_t status;
  };
  const auto negate = [](vdx_money* v) { return com__mnyminus(v, v); };
  const auto negated = [](vdx_money* v) { return comn_mnyminus(v, v); };
  const Row rows[] = {{negate, negated, 0, 0, 0},
                      {negate, negated, 0x100000000, -0x100000000, 0},
                      {negate, negated, kMoneyMax, -kMoneyMax, 0},
                      {negate, negated, kMoneyMin, kMoneyMin, 1},
                      {com__mnyinc, comn_mnyinc, 0xffffffff, 0x100000000, 0},
                      {com_mnyinc, comn_mnyinc, kMoneyMax, kMoneyMin, 1},
                      {com_mnydec, comn_mnydec, 0x100000000, 0xffffffff, 0},
                      {com_mnydec, comn_mnydec, 0, -1, 0},
                      {com_mnydec, comn_mnydec, kMoneyMin, kMoneyMax, 1}};
  for (const Row& row : rows) {
    SCOPED_TRACE(row.value);
    vdx_money a = words(row.value), b = a;
    EXPECT_EQ(row.internal(&a), row.status);
    EXPECT_EQ(row.current(&b), code_of(row.status));
    EXPECT_TRUE(count(a) == row.expected && count(b) == row.expected);
  }
  const vdx_mny4 least = std::numeric_limits<vdx_mny4>::min(), small = -7;
  vdx_mny4 result = 12;
  EXPECT_EQ(com__mnyminus4(&least, &result), 1);
  EXPECT_EQ(comn_mny4minus(&least, &result), VDX_OVERFLOW);
  EXPECT_EQ(result, 12);
  EXPECT_EQ(com_mny4minus(&small, &result), 0);
  EXPECT_EQ(result, 7);
}

TEST(Money, ScaleDivideAndPeel) {
  Random random(3);
  for (int i = 0; i < 100000; ++i) {
    const std::int64_t value = noise(random);
    const auto factor = static_cast<std::uint32_t>(i % 3 == 0 ? random.below(11) : random.sized());
    const auto addend = static_cast<std::int32_t>(noise(random));
    const Wide scaled = absolute(value) * factor + static_cast<std::uint32_t>(addend);
    const bool fits = factor == 0 || scaled <= kMoneyMax;
    const Wide expected = factor == 0 ? addend : !fits ? value : value < 0 ? -scaled : scaled;
    vdx_money money = words(value);
    ASSERT_EQ(com__mnyscale(&money, factor, addend), fits ? 0 : 1) << value << ' ' << factor;
    ASSERT_EQ(count(money), expected) << value << ' ' << factor << ' ' << addend;
    money = words(value);
    ASSERT_EQ(comn_mnyscale(&money, factor, addend), fits ? 1 : VDX_OVERFLOW);

    const std::uint32_t small = factor & 0xffff;
    money = words(value);
    ASSERT_EQ(comn_mnydown(&money, factor), small == 0 ? 0 : absolute(value) % small);
    ASSERT_EQ(count(money), small == 0 ? Wide{value} : Wide{value} / small);

    char digit = 0;
    money = words(value);
    ASSERT_EQ(comn_mnyndigit(&money, &digit), value / 10 != 0 ? 1 : 0);
    ASSERT_EQ(digit, static_cast<char>('0' + absolute(value) % 10));
    ASSERT_EQ(count(money), value / 10);

    if (value >= 0 && factor != 0) {
      const vdx_money dividend = words(value), divisor{-5, factor};
      com_mnyxdiv(&dividend, &divisor, &money);
      ASSERT_EQ(count(money), value / factor);
    }
    Wide power = 1;
    for (std::int32_t n = 0; n <= 8; ++n, power *= 10) {
      money = words(value);
      ASSERT_EQ(comn_mnyinit(&money, n), value < 0 ? -1 : 0);
      const Wide rounded = (absolute(value) * 2 + power) / (2 * power);  // n 0: exact
      const Wide wanted = n == 0 ? absolute(value) : rounded;
      ASSERT_EQ(count(money), wanted > kMoneyMax ? Wide{0} : wanted) << value << ' ' << n;
    }
  }
  // Once nothing is left the last digit decides, however many more were asked for.
  vdx_money money = words(50000000);
  EXPECT_EQ(com_mnyinit(&money, 30), 0);
  EXPECT_EQ(count(money), 1);
  money = words(5);
  com_mnyinit(&money, 30);
  EXPECT_EQ(count(money), 0);
}

// The text of a value, digit by digit.
std::string slow_text(std::int64_t value, std::int32_t places, bool separators) {
  const int kept = places <= 0 ? 2 : places > 4 ? 4 : places;
  Wide size = absolute(value);
  for (int i = 4; i > kept; --i) size = i == kept + 1 ? (size + 5) / 10 : size / 10;
  std::string text;
  for (int i = 0; i < kept; ++i, size /= 10)
    text.insert(0, 1, static_cast<char>('0' + static_cast<int>(size % 10)));
  text.insert(0, 1, '.');
  int digits = 0;
  do {
    if (separators && digits != 0 && digits % 3 == 0) text.insert(0, 1, ',');
    text.insert(0, 1, static_cast<char>('0' + static_cast<int>(size % 10)));
    size /= 10;
    ++digits;
  } while (size != 0);
  return value < 0 ? "-" + text : text;
}

TEST(MoneyText, FormatsLikeDigitByDigit) {
  struct Row {
    std::int64_t value;
    std::int32_t places;
    bool separators;
    const char* text;
  };
  static constexpr Row kRows[] = {{-12345678950, 2, true, "-1,234,567.90"},
                                  {-12345678950, 9, true, "-1,234,567.8950"},
                                  {9950, 0, false, "1.00"},
                                  {-50, 2, false, "-0.01"},
                                  {-49, 2, false, "-0.00"},
                                  {1234560000, -3, true, "123,456.00"},
                                  {kMoneyMin, 4, true, "-922,337,203,685,477.5808"},
                                  {kMoneyMax, 1, false, "922337203685477.6"}};
  for (const Row& row : kRows)
    EXPECT_EQ(slow_text(row.value, row.places, row.separators), row.text);
  Random random(4);
  for (int i = 0; i < 100000; ++i) {
    const bool listed = i < static_cast<int>(std::size(kRows));
    const std::int64_t value = listed ? kRows[i].value : noise(random);
    const std::int32_t places =
        listed ? kRows[i].places : static_cast<std::int32_t>(random.below(7)) - 1;
    const bool separators = listed ? kRows[i].separators : random.below(2) == 0;
    const std::string text = slow_text(value, places, separators);
    char out[32];
    ASSERT_EQ(std::string(
                  out, static_cast<std::size_t>(vdx::format_money(value, places, separators, out))),
              text);
    const vdx_money money = words(value);
    const auto size = static_cast<std::int32_t>(text.size());
    const std::int32_t flags = separators ? 1 : static_cast<std::int32_t>(random.below(2)) * 5;
    for (std::int32_t room = -1; room <= 2; ++room) {
      std::string buffer(40, '#');
      char* const start = com_precmnytochar(&money, buffer.data() + 8, size + room, flags, places);
      if (room < 0) {
        ASSERT_EQ(start, nullptr);
        ASSERT_EQ(buffer, std::string(40, '#'));
        continue;
      }
      ASSERT_EQ(start, buffer.data() + 8 + room);
      // A comma that had no digit before it became a blank.
      const bool blank = separators && value >= 0 && room > 0 && text.find_first_of(",.") == 3;
      std::string wanted(40, '#');
      wanted.replace(8 + static_cast<std::size_t>(room), text.size(), text);
      if (blank) wanted[7 + static_cast<std::size_t>(room)] = ' ';
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

TEST(MoneyText, Grammar) {
  struct Row {
    const char* text;
    std::int32_t status;
    std::int64_t value;  // after a failure too
    const vdx_charattr* attributes = &vdx::kLatin1;
  };
  const Row rows[] = {
      {"", 0, 0},
      {"   ", 0, 0},
      {" - $ ", 0, 0},
      {".", 0, 0},
      {"12", 0, 120000},
      {"-12.5", 0, -125000},
      {"+.0001", 0, 1},
      {"7.", 0, 70000},
      {"-  $  12", 0, -120000},
      {" $ - 12 ", 0, -120000},
      {"\xA3"
       "12",
       0, 120000},     // pound sign
      {"\t12", 2, 0},  // only byte 32 may lead
      {"12\t \n", 0, 120000},
      {"\t", 0, 0},  // it ends a number that never began
      {"--1", 2, 0},
      {"+ -1", 2, 0},
      {"$$1", 2, 0},
      {"1-", 2, 1},
      {"1$", 2, 1},
      {"1.2.3", 2, 12},
      {"1 2", 2, 1},
      {"1,000.5x", 2, 10005},
      {"  +$ 1,000.5  ", 0, 10005000},
      {"12.34567", 0, 123457},
      {"12.34564", 0, 123456},
      {"12.345649", 0, 123456},
      {"-0.99995", 0, -10000},
      {"1,234,567", 0, 12345670000},
      {"1234567,890", 0, 12345678900000},
      {"1234,567", 2, 1234},
      {"1,23,456", 2, 123},
      {"1,23", 0, 1230000},
      {",123", 0, 1230000},
      {"1,234.5,6", 2, 12345},  // decimals count as digits of the group
      {"1,2.34,5", 0, 123450},
      {"922337203685477.5807", 0, kMoneyMax},
      {"922337203685477.5808", 1, 922337203685477580},
      {"922337203685477.58074", 0, kMoneyMax},
      {"922337203685477.58075", 1, kMoneyMin},
      {"-922337203685477.58075", 0, kMoneyMin},
      {"-922337203685477.5808", 0, kMoneyMin},
      {"-922337203685477.58080", 0, kMoneyMin},
      {"-922337203685477.580801", 0, kMoneyMin},
      {"-922337203685477.58081", 1, kMoneyMin},
      {"-922337203685477.5809", 1, 922337203685477580},
      {"-9223372036854775808", 1, kMoneyMin},  // the digits fit, the four places do not
      {"922337203685478", 1, 922337203685478},
      {"00000000000000000000000001.5", 0, 15000},
      // Wide characters of two sets: yen, minus, digits, comma, point, blank.
      {"\x81\x8F\x81\x7C\x82\x50\x81\x43\x82\x51\x82\x52\x82\x53\x81\x44\x82\x54\x81\x40", 0,
       -12345000, &vdx::kSjis},
      {"\xEF\xBC\x8D\xEF\xBC\x91\xEF\xBC\x92\xEF\xBC\x8E\xEF\xBC\x95", 0, -125000, &vdx::kUtf8},
      {"\xE2\x82\xAC 5", 0, 50000, &vdx::kUtf8},
      {"12\x82", 2, 12, &vdx::kSjis}};  // cut inside a character
  for (const Row& row : rows) {
    SCOPED_TRACE(row.text);
    vdx_money money = words(99);
    const auto* text = reinterpret_cast<const std::uint8_t*>(row.text);
    const auto length = static_cast<std::int32_t>(std::strlen(row.text));
    EXPECT_EQ(com__mnyfromchar_mb(&money, text, length, 0, row.attributes), row.status);
    EXPECT_EQ(count(money), row.value);
  }
}

TEST(MoneyText, FastPathAgreesWithTheGrammar) {
  Random random(5);
  static constexpr char kAlphabet[] = "0123456789.,+-$ \t9x\xA3\0";
  for (int i = 0; i < 400000; ++i) {
    std::string text;
    if (i % 2 == 0) {  // a value as it prints, then damaged or dressed up
      const std::int64_t value = noise(random) >> random.below(16);
      const auto places = static_cast<std::int32_t>(random.below(5));
      text = slow_text(value, places, random.below(8) == 0);
      if (places == 4) {
        std::int64_t back = 0;
        ASSERT_EQ(vdx::parse_money(back, reinterpret_cast<const std::uint8_t*>(text.data()),
                                   static_cast<std::int32_t>(text.size()), vdx::kLatin1),
                  0)
            << text;
        ASSERT_EQ(back, value);
      }
      text.insert(0, random.below(3) * random.below(2), ' ');
      text.append(random.below(5) * random.below(2), ' ');
      if (random.below(3) == 0)
        text.insert(random.below(text.size() + 1), 1, kAlphabet[random.below(20)]);
      if (random.below(4) == 0) text.erase(random.below(text.size()), 1 + random.below(3));
    } else {
      const std::uint64_t digits = random.below(3) == 0 ? 10 : 20;
      for (std::uint64_t n = random.below(22); n > 0; --n)
        text += kAlphabet[random.below(random.below(4) == 0 ? 20 : digits)];
    }
    const std::vector<std::uint8_t> bytes(text.begin(), text.end());  // ends where the text ends
    const auto length = static_cast<std::int32_t>(bytes.size());
    std::int64_t fast = 1, slow = 2;
    ASSERT_EQ(vdx::parse_money(fast, bytes.data(), length, vdx::kLatin1),
              vdx::parse_money_grammar(slow, bytes.data(), length, vdx::kLatin1))
        << text;
    ASSERT_EQ(fast, slow) << text;
  }
}

TEST(MoneyDouble, BothWays) {
  struct Row {
    double number;
    std::int32_t result;
    std::int64_t value;
  };
  constexpr double kInfinity = std::numeric_limits<double>::infinity();
  constexpr Row kRows[] = {{-0.0, 8, 0},
                           {-0.00005, 8, -1},
                           {0.000049, 8, 0},
                           {-429496.7296, 8, -0x100000000},
                           {922337203685477.6, 8, kMoneyMax},
                           {-922337203685477.6, 8, -kMoneyMax},
                           {922337203685478.0, -1, 0},
                           {-1e300, -1, 0},
                           {kInfinity, -1, 0},
                           {-kInfinity, -1, 0},
                           {std::numeric_limits<double>::quiet_NaN(), -1, 0}};
  for (const Row& row : kRows) {
    SCOPED_TRACE(row.number);
    vdx_money money = words(99);
    EXPECT_EQ(com__flt8tomny(&row.number, 8, &money, 0, 0), row.result);
    EXPECT_EQ(count(money), row.value);
  }
  vdx_money money = words(99);
  EXPECT_EQ(com__flt8tomny(nullptr, 8, &money, 0, 0), 8);
  EXPECT_EQ(count(money), 0);
  const double one = 1;
  EXPECT_EQ(com__flt8tomny(&one, 0, &money, 0, 0), 8);
  EXPECT_EQ(count(money), 0);

  Random random(6);
  for (int i = 0; i < 200000; ++i) {
    const std::int64_t value = noise(random);
    double number = 0;
    money = words(value);
    ASSERT_EQ(com__mnytoflt8(&money, 8, &number, 8, 0), 8);
    const volatile double high = money.high * 429496.7296, low = money.low / 10000.0;
    ASSERT_EQ(number, high + low) << value;
    // And back: to the last digit while a double has digits to spare, else to a few units of it.
    if (absolute(value) > kMoneyMax - 2000) continue;
    ASSERT_EQ(com__flt8tomny(&number, 8, &money, 0, 0), 8);
    const auto slack = static_cast<std::int64_t>(std::ldexp(std::abs(number) * 10000, -51));
    ASSERT_LE(absolute(Wide{count(money)} - value), absolute(value) < 1000000000000 ? 0 : slack + 1)
        << value;
  }
}

}  // namespace
