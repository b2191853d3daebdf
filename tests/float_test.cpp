// Floats: text against the standard library and against exact arithmetic on long numbers, numerics
// against the same, and what conversions make of limits, signs of zero and what is no number.
#include <algorithm>
#include <bit>
#include <charconv>
#include <cmath>
#include <limits>

#include "number/com_flt.h"
#include "support.h"

namespace {

using vdx::Exact;
using vdx_test::Bytes;
using vdx_test::bytes_of;
using vdx_test::convert;
using vdx_test::image;
using vdx_test::kUnset;
using vdx_test::Random;
using vdx_test::Result;
using vdx_test::Table;

constexpr double kInfinity = std::numeric_limits<double>::infinity();
constexpr double kNan = std::numeric_limits<double>::quiet_NaN();

template <class F>
std::uint64_t bits(F value) {
  return std::bit_cast<typename vdx::FloatFormat<F>::Bits>(value);
}

template <class F>
std::int32_t read(const std::string& text, F& value,
                  const vdx_charattr& attributes = vdx::kLatin1) {
  return vdx::read_float(reinterpret_cast<const std::uint8_t*>(text.data()),
                         static_cast<std::int32_t>(text.size()), attributes, value);
}

template <class F>
std::string text_of(F value) {
  const vdx::ShortText text = vdx::float_text(value);
  return std::string(reinterpret_cast<const char*>(text.data()), text.length());
}

template <class F>
std::string library_text(F value) {
  if (value != value) return "nan";
  char text[64];
  return std::string(text, std::to_chars(text, std::end(text), value).ptr);
}

// A whole number of any length, in decimal digits, the least significant first.
class Long {
 public:
  explicit Long(const std::string& digits) : digits_(digits.rbegin(), digits.rend()) {
    for (char& d : digits_) d = static_cast<char>(d - '0');
  }
  Long& times(int factor, int count) {
    for (; count > 0; --count) {
      int carry = 0;
      for (char& d : digits_) {
        carry += d * factor;
        d = static_cast<char>(carry % 10);
        carry /= 10;
      }
      for (; carry > 0; carry /= 10) digits_.push_back(static_cast<char>(carry % 10));
    }
    return *this;
  }
  // The sign of this - other.
  int compare(const Long& other) const {
    for (std::size_t i = std::max(digits_.size(), other.digits_.size()); i-- > 0;)
      if (at(i) != other.at(i)) return at(i) < other.at(i) ? -1 : 1;
    return 0;
  }

  std::string text() const {
    std::string text(digits_.rbegin(), digits_.rend());
    for (char& d : text) d = static_cast<char>(d + '0');
    return text;
  }

 private:
  int at(std::size_t i) const { return i < digits_.size() ? digits_[i] : 0; }
  std::string digits_;
};

// The sign of digits * 10^tens - size * 2^twos.
int compare(const std::string& digits, int tens, std::uint64_t size, int twos) {
  Long decimal(digits), binary(std::to_string(size));
  decimal.times(10, std::max(tens, 0)).times(2, std::max(-twos, 0));
  binary.times(10, std::max(-tens, 0)).times(2, std::max(twos, 0));
  return decimal.compare(binary);
}

// Whether a positive float is the one nearest to digits * 10^tens: not beyond the middles to its
// neighbours, and on one only when it is even.
template <class F>
bool is_nearest(const std::string& digits, int tens, F value) {
  using Format = vdx::FloatFormat<F>;
  const std::uint64_t image = bits(value), biased = image >> Format::kFraction;
  const std::uint64_t fraction = image & (Format::kHidden - 1);
  const std::uint64_t size = biased != 0 ? fraction | Format::kHidden : fraction;
  const int twos =
      static_cast<int>(std::max<std::uint64_t>(biased, 1)) - Format::kBias - Format::kFraction - 2;
  const int odd = static_cast<int>(size & 1);
  const std::uint64_t under = fraction == 0 && biased > 1 ? 1 : 2;
  return compare(digits, tens, 4 * size + 2, twos) < 1 - odd &&
         (size == 0 || compare(digits, tens, 4 * size - under, twos) > odd - 1);
}

// The same with the code: what the largest float's upper middle reaches is an overflow, what becomes
// zero an underflow. By reference, so that a call may give the code by the call that sets the value.
template <class F>
void expect_nearest(const std::string& digits, int tens, std::int32_t code, const F& value) {
  using Limits = std::numeric_limits<F>;
  const F size = std::fabs(value);
  if (code == VDX_OVERFLOW) {
    EXPECT_EQ(size, Limits::max());
    EXPECT_GE(compare(digits, tens, (std::uint64_t{2} << Limits::digits) - 1,
                      Limits::max_exponent - Limits::digits - 1),
              0);
  } else {
    EXPECT_EQ(code, size == 0 ? VDX_UNDERFLOW : VDX_SUCCESS);
    EXPECT_TRUE(is_nearest(digits, tens, size)) << size;
  }
}

struct TextRow {
  const char* text;
  std::int32_t code;
  double eight;
  std::int32_t code4;
  float four;
};

TEST(Float, ReadsText) {
  constexpr double kMax = std::numeric_limits<double>::max();
  constexpr float kMax4 = std::numeric_limits<float>::max();
  constexpr float kInfinity4 = std::numeric_limits<float>::infinity();
  const std::string zeros(5000, '0'), blanks(300, ' ');
  const std::string long_one = "0." + zeros + "1e5001", long_huge = "1" + zeros + "e-5000";
  // The middle of two doubles, and the same with one more digit a thousand places on.
  const std::string half = "9007199254740993", above_half = half + "." + zeros + "1";
  const std::string padded = blanks + "-2.5" + blanks;
  const TextRow rows[] = {
      // clang-format off
      {"0", 1, 0, 1, 0}, {"-0", 1, -0.0, 1, -0.0F}, {"-0.00e5", 1, -0.0, 1, -0.0F},
      {"0e99999999999999999999", 1, 0, 1, 0}, {"   ", 1, 0, 1, 0},
      {padded.c_str(), 1, -2.5, 1, -2.5F}, {"+1.", 1, 1, 1, 1}, {"-.5", 1, -0.5, 1, -0.5F},
      {" 1E3 ", 1, 1000, 1, 1000}, {"1e+03", 1, 1000, 1, 1000},
      {"1234567890123456789e-19", 1, 0.1234567890123456789, 1, 0.1234567890123456789F},
      {"0.0000000000000000000000000000012345e30", 1, 1.2345, 1, 1.2345F},
      {long_one.c_str(), 1, 1, 1, 1}, {long_huge.c_str(), 1, 1, 1, 1},
      {half.c_str(), 1, 9007199254740992, 1, 9007199254740992},
      {above_half.c_str(), 1, 9007199254740994, 1, 9007199254740992},
      {"9007199254740995", 1, 9007199254740996, 1, 9007199254740992},
      // The middle of two singles, exactly and a little off.
      {"16777217", 1, 16777217, 1, 16777216}, {"16777217.0000000000", 1, 16777217, 1, 16777216},
      {"16777217.000000001", 1, 16777217.000000001, 1, 16777218},
      {"16777216.999999999999999", 1, 16777217, 1, 16777216},
      {"16777217.00000000000000000000001", 1, 16777217, 1, 16777218},
      {"16777219", 1, 16777219, 1, 16777220}, {"1.7976931348623157e308", 1, kMax, -101, kMax4},
      {"-1.7976931348623158079e308", 1, -kMax, -101, -kMax4},
      {"1.7976931348623159e308", -101, kMax, -101, kMax4}, {"-1e400", -101, -kMax, -101, -kMax4},
      {"1e99999999999999999999", -101, kMax, -101, kMax4},
      {"3.4028235677973367e38", 1, 0x1.ffffffp127, -101, kMax4},
      {"3.4028235677973366e38", 1, 0x1.ffffffp127, 1, kMax4}, {"1e400", -101, kMax, -101, kMax4},
      {"1e-400", -102, 0, -102, 0}, {"-1e-400", -102, -0.0, -102, -0.0F},
      {"1e-99999999999999999999", -102, 0, -102, 0}, {"1e-50", 1, 1e-50, -102, 0},
      {"5e-324", 1, 5e-324, -102, 0}, {"2.4703282292062327e-324", -102, 0, -102, 0},
      {"2.4703282292062328e-324", 1, 5e-324, -102, 0},
      {"2.2250738585072011e-308", 1, 2.2250738585072011e-308, -102, 0},
      {"7.006492321624085e-46", 1, 7.006492321624085e-46, -102, 0},
      {"7.006492321624086e-46", 1, 7.006492321624086e-46, 1, 1.4e-45F},
      {"1.17549429e-38", 1, 1.17549429e-38, 1, 1.17549429e-38F},
      {" Inf ", 1, kInfinity, 1, kInfinity4}, {"-iNF", 1, -kInfinity, 1, -kInfinity4},
      // clang-format on
  };
  for (const TextRow& row : rows) {
    SCOPED_TRACE(std::string(row.text).substr(0, 60));
    double eight = 7;
    float four = 7;
    EXPECT_EQ(read(row.text, eight), row.code);
    EXPECT_EQ(bits(eight), bits(row.eight)) << eight;
    EXPECT_EQ(read(row.text, four), row.code4);
    EXPECT_EQ(bits(four), bits(row.four)) << four;
    // Plain text means the same in every character set, and blanks around it change nothing.
    double again = 7;
    EXPECT_EQ(read("  " + std::string(row.text) + " ", again, vdx::kUtf8), row.code);
    EXPECT_EQ(bits(again), bits(row.eight)) << again;
  }
  for (const char* nan : {"nan", "NaN ", "-nan"}) {
    double value = 7;
    EXPECT_EQ(read(nan, value), VDX_SUCCESS);
    EXPECT_TRUE(std::isnan(value)) << nan;
  }
  // clang-format off
  for (const char* text :
       {"-", "+", ".", "-.", "e5", ".e5", "1e", "1e+", "1e-", "1e 5", "1 e5", "1..2", "1.2.3", "- 1",
        "--1", "+-1", "1-", "1 2", "0x10", "0x1p3", "1,5", "inf inity", "infinity", "na", "nan(1)",
        "12345678901234567.5x", "1234567890123456.5e1x", "1.5e0000000000001x", "\xff"}) {
    // clang-format on
    double value = 7;
    EXPECT_EQ(read(text, value), VDX_SYNTAX) << text;
    EXPECT_EQ(value, 7) << text;
  }
  double wide = 0;
  EXPECT_EQ(read("\xef\xbc\x8d\xe3\x80\x80", wide, vdx::kUtf8), VDX_SYNTAX);
  EXPECT_EQ(read("\xe3\x80\x80\xef\xbc\x8d\xef\xbc\x91.\xef\xbc\x95", wide, vdx::kUtf8),
            VDX_SUCCESS);
  EXPECT_EQ(wide, -1.5);
}

template <class F>
void text_and_back(F value) {
  const std::string text = text_of(value);
  ASSERT_EQ(text, library_text(value));
  F again;
  ASSERT_EQ(read(text, again), VDX_SUCCESS) << text;
  ASSERT_TRUE(value == value ? bits(again) == bits(value) : again != again) << text;
}

// Every exponent, with the fractions next to where something changes and with any other.
template <class F>
void round_trips(std::uint64_t seed, int count) {
  using Format = vdx::FloatFormat<F>;
  using Bits = typename Format::Bits;
  Random random(seed);
  constexpr std::uint32_t kExponents = 2 * Format::kBias + 2;
  for (std::uint32_t exponent = 0; exponent < kExponents; ++exponent) {
    const Bits base = static_cast<Bits>(Bits{exponent} << Format::kFraction);
    for (int i = 0; i < count / static_cast<int>(kExponents); ++i) {
      const std::uint64_t fraction = i < 3   ? static_cast<std::uint64_t>(i)
                                     : i < 6 ? Format::kHidden - static_cast<unsigned>(i - 2)
                                             : random.next() & (Format::kHidden - 1);
      const Bits sign = random.below(2) != 0 ? Format::kSign : 0;
      ASSERT_NO_FATAL_FAILURE(
          text_and_back(std::bit_cast<F>(static_cast<Bits>(base | fraction | sign))));
    }
  }
}

TEST(Float, TextsReadBackTheSame) {
  round_trips<float>(1, 1 << 20);
  round_trips<double>(2, 1 << 18);
  // Amounts, whole numbers and powers of ten take other ways than digits without end.
  Random random(3);
  for (int i = 0; i < 100000; ++i) {
    const double whole = static_cast<double>(random.sized());
    ASSERT_NO_FATAL_FAILURE(text_and_back(whole));
    ASSERT_NO_FATAL_FAILURE(text_and_back(static_cast<float>(whole)));
    ASSERT_NO_FATAL_FAILURE(text_and_back(-whole / vdx::kExactTens[random.below(23)]));
    ASSERT_NO_FATAL_FAILURE(text_and_back(whole * vdx::kExactTens[random.below(23)]));
  }
}

// A middle between two floats in all its digits, and a digit more or less at the end of them.
template <class F>
std::string middle(Random& random, int twos, int nudge) {
  using Format = vdx::FloatFormat<F>;
  const std::uint64_t size = Format::kHidden | (random.next() & (Format::kHidden - 1));
  Long number(std::to_string(2 * size + 1));
  std::string digits = number.times(twos < 0 ? 5 : 2, std::abs(twos)).text();
  if (nudge < 0 && digits.back() != '0') {
    --digits.back();
    digits += '9';
  } else if (nudge != 0) {
    digits += nudge < 0 ? '0' : '1';
  }
  return digits;
}

// Texts of any digits, middles among them, any power of ten and a point anywhere.
TEST(Float, ReadsTheNearest) {
  Random random(4);
  for (int i = 0; i < 8000; ++i) {
    std::string digits(1 + random.below(i % 2 == 0 ? 18 : 40), '0');
    for (char& d : digits) d = static_cast<char>('0' + random.below(10));
    digits[0] = static_cast<char>('1' + random.below(9));
    int tens = static_cast<int>(random.below(100)) - 70;
    if (i % 4 == 0) {
      const int twos = static_cast<int>(random.below(190)) - 120, nudge = i / 4 % 3 - 1;
      digits =
          i % 8 == 0 ? middle<float>(random, twos, nudge) : middle<double>(random, twos, nudge);
      tens = std::min(twos, 0) - (nudge != 0 ? 1 : 0);
    }
    const auto places = random.below(digits.size() + 1);
    std::string text = digits;
    text.insert(digits.size() - places, ".");
    text += "e" + std::to_string(tens + static_cast<int>(places));
    SCOPED_TRACE(text);
    double eight = 0;
    expect_nearest(digits, tens, read(text, eight), eight);
    float four = 0;
    expect_nearest(digits, tens, read(text, four), four);
  }
}

std::string digits_of(vdx::Magnitude m) {
  std::string digits;
  do digits.insert(0, 1, static_cast<char>('0' + vdx::divide_limb(m, 10)));
  while (!vdx::is_zero(m));
  return digits;
}

TEST(Float, NearestToNumerics) {
  Random random(7);
  for (int i = 0; i < 8000; ++i) {
    const auto limbs = 1 + random.below(4);
    Exact exact{random.below(2) != 0, static_cast<std::int32_t>(random.below(78)), {}};
    for (std::size_t limb = 0; limb < limbs; ++limb) exact.magnitude[limb] = random.next();
    exact.magnitude[limbs - 1] >>= random.below(64);
    // Middles: few bits and no places.
    if (i % 8 == 0) exact = {false, 0, {0, random.next() >> 39 | 1, 0, 0}};
    if (vdx::is_zero(exact.magnitude)) continue;
    const std::string digits = digits_of(exact.magnitude);
    SCOPED_TRACE(digits + "e-" + std::to_string(exact.scale));
    double eight = 0;
    expect_nearest(digits, -exact.scale, vdx::nearest_float(exact, eight), eight);
    EXPECT_EQ(std::signbit(eight), exact.negative);
    float four = 0;
    expect_nearest(digits, -exact.scale, vdx::nearest_float(exact, four), four);
  }
}

// A double's own value, rounded at a scale: not further than half a unit from it, halves away from
// zero.
TEST(Float, BecomesTheNearestNumeric) {
  Random random(8);
  for (int i = 0; i < 8000; ++i) {
    const std::uint64_t size = random.sized() >> 11 | 1;
    const int twos = static_cast<int>(random.below(400)) - 300;
    const double value = std::ldexp(static_cast<double>(size), twos);
    const auto scale = static_cast<std::int32_t>(random.below(78));
    const Exact exact = vdx::exact_double(-value, scale);
    const std::string digits = digits_of(exact.magnitude);
    SCOPED_TRACE(std::to_string(value) + " at " + std::to_string(scale) + ": " + digits);
    vdx::Magnitude less = exact.magnitude;
    if (std::all_of(less.begin(), less.end(),
                    [](auto limb) { return limb == ~std::uint64_t{0}; })) {
      EXPECT_GT(std::log10(value) + scale, 77.06);
      continue;
    }
    EXPECT_EQ(exact.scale, scale);
    EXPECT_EQ(exact.negative, digits != "0");
    // 10 * digits - 5 <= value * 10^(scale + 1) < 10 * digits + 5
    EXPECT_EQ(compare(digits + "5", -scale - 1, size, twos), 1);
    if (digits == "0") continue;
    for (std::uint64_t& limb : less)
      if (limb-- != 0) break;
    EXPECT_LE(compare(digits_of(less) + "5", -scale - 1, size, twos), 0);
  }
}

struct ValueRow {
  double value;
  std::int32_t datatype;
  std::int32_t code;
  std::int64_t result;  // its bytes
};

TEST(Float, BecomesOtherNumbers) {
  constexpr std::int64_t kMost = std::numeric_limits<std::int64_t>::max();
  constexpr std::int64_t kLeast = std::numeric_limits<std::int64_t>::min();
  const ValueRow rows[] = {
      // clang-format off
      {255.9, VDX_I1, 1, 255}, {256, VDX_I1, -101, 255}, {-0.9, VDX_I1, 1, 0},
      {-1, VDX_I1, -101, 0}, {-32768.9, VDX_I2, 1, -32768}, {-32769, VDX_I2, -101, -32768},
      {32767.99, VDX_I2, 1, 32767}, {1e300, VDX_I2, -101, 32767},
      {-2147483648.5, VDX_I4, 1, INT32_MIN}, {2147483647.5, VDX_I4, 1, INT32_MAX},
      {2147483648, VDX_I4, -101, INT32_MAX}, {-0x1p63, VDX_I8, 1, kLeast},
      {-0x1.0000000000001p63, VDX_I8, -101, kLeast}, {0x1p63, VDX_I8, -101, kMost},
      {0x1.fffffffffffffp62, VDX_I8, 1, 0x7ffffffffffffc00}, {65535.5, VDX_UI2, 1, 65535},
      {-0.999, VDX_UI2, 1, 0}, {-1, VDX_UI2, -102, 0}, {-kInfinity, VDX_UI4, -102, 0},
      {kInfinity, VDX_UI4, -101, 0xffffffff}, {0x1p64, VDX_UI8, -101, -1},
      {0x1.fffffffffffffp63, VDX_UI8, 1, -2048}, {kNan, VDX_UI8, -107, 0},
      {kNan, VDX_I4, -107, 0}, {-kInfinity, VDX_I1, -101, 0}, {kNan, VDX_BIT, -107, 0},
      {1e-300, VDX_BIT, 1, 1}, {-0.0, VDX_BIT, 1, 0}, {1e-50, VDX_FLT4, -102, 0},
      {1e39, VDX_FLT4, -101, 0x7f7fffff}, {-0x1.ffffffp127, VDX_FLT4, -101, 0xff7fffff},
      {0x1.fffffefffffffp127, VDX_FLT4, 1, 0x7f7fffff}, {-kInfinity, VDX_FLT4, 1, 0xff800000},
      {kNan, VDX_FLT4, 1, 0x7fc00000},
      // clang-format on
  };
  Table table;
  for (const ValueRow& row : rows) {
    SCOPED_TRACE(std::to_string(row.value) + " to " + std::to_string(row.datatype));
    const std::int32_t size = comn_typelen(row.datatype, 0);
    Bytes expected = image(row.result);
    expected.resize(static_cast<std::size_t>(size));
    EXPECT_EQ(convert(table.context, VDX_FLT8, image(row.value), row.datatype),
              (Result{row.code, size, expected}));
    // Where a single has the same value it takes the same way.
    const auto four = static_cast<float>(row.value);
    if (row.datatype != VDX_FLT4 && static_cast<double>(four) == row.value) {
      EXPECT_EQ(convert(table.context, VDX_FLT4, image(four), row.datatype),
                (Result{row.code, size, expected}));
    }
  }
}

TEST(Float, NumericsAndText) {
  Table table;
  const std::string most(77, '9');
  struct {
    double value;
    std::int32_t precision, scale, code;
    std::string magnitude;
  } const numerics[] = {
      {0.1, 77, 55, 1, "1000000000000000055511151231257827021181583404541015625"},
      {99.5, 2, 0, -101, "99"},
      {1e300, 77, 0, -101, most},
      {-kInfinity, 3, 1, -101, "999"},
      {kNan, 5, 2, -107, "0"},
  };
  for (const auto& row : numerics) {
    const Result result = convert(table.context, VDX_FLT8, image(row.value), VDX_NUM,
                                  {.precision = row.precision, .scale = row.scale});
    EXPECT_EQ(result.code, row.code);
    EXPECT_EQ(result.length, 35);
    Exact exact;
    ASSERT_EQ(vdx::read_numeric(result.bytes.data(), exact), VDX_SUCCESS);
    EXPECT_EQ(digits_of(exact.magnitude), row.magnitude);
    EXPECT_EQ(exact.negative, row.value < 0);
  }
  EXPECT_EQ(convert(table.context, VDX_NUM, Bytes(35, 0), VDX_FLT4),
            (Result{-107, kUnset, Bytes(4, vdx_test::kGuard)}));
  EXPECT_EQ(convert(table.context, VDX_CHAR, bytes_of("x"), VDX_FLT8),
            (Result{-105, 0, Bytes(8, vdx_test::kGuard)}));
  struct {
    double value;
    std::int32_t room, code;
    const char* text;
  } const texts[] = {
      {-2.2250738585072014e-308, 24, 1, "-2.2250738585072014e-308"},
      {-2.2250738585072014e-308, 40, 1, "-2.2250738585072014e-308"},
      {-2.2250738585072014e-308, 23, -101, "-2.2250738585072014e-30"},
      {-kNan, 3, 1, "nan"},
  };
  for (const auto& row : texts) {
    const Result result = convert(table.context, VDX_FLT8, image(row.value), VDX_CHAR,
                                  {.flags = 0, .maxlength = row.room});
    EXPECT_EQ(result.code, row.code);
    EXPECT_EQ(result.text(), row.text);
  }
}

}  // namespace
