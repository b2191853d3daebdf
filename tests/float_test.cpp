// Floats: text against the standard library and against exact arithmetic on long numbers, numerics
// against the same.
#include <algorithm>
#include <bit>
#include <charconv>
#include <cmath>
#include <limits>

#include "number/com_flt.h"
#include "oracle.h"

namespace {

using namespace vdx_test;
using vdx::Exact;

template <class F>
std::uint64_t bits(F value) {
  return std::bit_cast<typename vdx::FloatFormat<F>::Bits>(value);
}

template <class F>
std::int32_t read(const std::string& text, F& value) {
  return vdx::read_float(reinterpret_cast<const std::uint8_t*>(text.data()),
                         static_cast<std::int32_t>(text.size()), vdx::kLatin1, value);
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

// Beyond the limits, in the middle of two floats and a little off it, far from the point, where the
// quick ways end; and texts of no number, which leave the destination alone.
TEST(Float, ReadsText) {
  Table table;
  const std::string zeros(5000, '0'), blanks(300, ' '), half = "9007199254740993";
  const std::string texts[] = {
      // clang-format off
      "0", "-0", "-0.00e5", "0e99999999999999999999", "   ", blanks + "-2.5" + blanks, "+1.", "-.5",
      " 1E3 ", "1e+03", "1234567890123456789e-19", "0.0000000000000000000000000000012345e30",
      "0." + zeros + "1e5001", "1" + zeros + "e-5000", half, half + "." + zeros + "1",
      "9007199254740995", "16777217", "16777217.0000000000", "16777217.000000001",
      "16777216.999999999999999", "16777217.00000000000000000000001", "16777219",
      "1.7976931348623157e308", "-1.7976931348623158079e308", "1.7976931348623159e308", "-1e400",
      "1e99999999999999999999", "3.4028235677973367e38", "3.4028235677973366e38", "1e400", "1e-400",
      "-1e-400", "1e-99999999999999999999", "1e-50", "5e-324", "2.4703282292062327e-324",
      "2.4703282292062328e-324", "2.2250738585072011e-308", "7.006492321624085e-46",
      "7.006492321624086e-46", "1.17549429e-38", " Inf ", "-iNF", "nan", "NaN ", "-nan",
      "-", "+", ".", "-.", "e5", ".e5", "1e", "1e+", "1e-", "1e 5", "1 e5", "1..2", "1.2.3", "- 1",
      "--1", "+-1", "1-", "1 2", "0x10", "0x1p3", "1,5", "inf inity", "infinity", "na", "nan(1)",
      "12345678901234567.5x", "1234567890123456.5e1x", "1.5e0000000000001x", "\xff",
      "\xef\xbc\x8d\xe3\x80\x80", "\xe3\x80\x80\xef\xbc\x8d\xef\xbc\x91.\xef\xbc\x95",
      // clang-format on
  };
  for (const std::string& text : texts)
    for (const std::int32_t destination : {VDX_FLT4, VDX_FLT8})
      for (const Set set : {Set::latin1, Set::utf8})
        for (const std::string& each : {text, "  " + text + " "}) {
          SCOPED_TRACE(each.substr(0, 60));
          const Request request{VDX_CHAR, bytes_of(each), destination, {}, set, set};
          const Answer answer = expect(request);
          const Result result = convert(table.context, VDX_CHAR, request.value, destination,
                                        {.locale = locale_of(set)});
          EXPECT_EQ(std::tuple(result.code, result.length), std::tuple(answer.code, answer.length));
          const double value = destination == VDX_FLT4 ? result.as<float>() : result.as<double>();
          if (answer.open_from != 0) {
            EXPECT_EQ(result.bytes, answer.bytes) << value;
          } else if (answer.code == VDX_SUCCESS) {
            EXPECT_TRUE(std::isnan(value)) << value;
          } else {
            EXPECT_EQ(result.bytes, Bytes(result.bytes.size(), kGuard));
          }
        }
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

}  // namespace
