// Floats: text against the standard library and against long-hand, numerics against the same.
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
std::string shortest(F value) {
  const vdx::ShortText text = vdx::float_text(value);
  return std::string(reinterpret_cast<const char*>(text.data()), text.length());
}

template <class F>
std::string library_text(F value) {
  if (value != value) return "nan";
  char text[64];
  return std::string(text, std::to_chars(text, std::end(text), value).ptr);
}

// The middle of a positive float and the one above it.
template <class F>
Number middle(F value) {
  const F above = std::nextafter(value, std::numeric_limits<F>::infinity());
  if (!std::isinf(above))
    return product(sum(number_of(double{value}), number_of(double{above})), number_of("0.5"));
  const F below = std::nextafter(value, F{0});
  const Number unit = sum(number_of(double{value}), number_of(-double{below}));
  return sum(number_of(double{value}), product(unit, number_of("0.5")));
}

int compare_size(Number a, Number b) {
  a.negative = false;
  b.negative = true;
  const Number difference = sum(a, b);
  return difference.zero() ? 0 : difference.negative ? -1 : 1;
}

// That a float is the one nearest to a number: not beyond the middles to its neighbours, and on one
// only when it is even. Where the largest float's upper middle is reached, that is an overflow; where
// zero remains, an underflow. By reference, so that a call may give the code by the call that sets
// the value.
template <class F>
void expect_nearest(const Number& n, std::int32_t code, const F& value) {
  const F size = std::fabs(value);
  const int odd = static_cast<int>(bits(size) & 1);
  const int above = compare_size(n, middle(size));
  if (code == VDX_OVERFLOW) {
    EXPECT_EQ(size, std::numeric_limits<F>::max());
    EXPECT_GE(above, 0);
    return;
  }
  EXPECT_EQ(code, size == 0 ? VDX_UNDERFLOW : VDX_SUCCESS);
  EXPECT_LT(above, 1 - odd) << size;
  if (size != 0) {
    EXPECT_GT(compare_size(n, middle(std::nextafter(size, F{0}))), odd - 1) << size;
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
  const std::string text = shortest(value);
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

template <class F>
void expect_read_nearest(const Number& n, const std::string& text) {
  F value = 0;
  expect_nearest(n, read(text, value), value);
}

// Texts of any digits, middles among them, any power of ten and a point anywhere.
TEST(Float, ReadsTheNearest) {
  Random random(4);
  for (int i = 0; i < 8000; ++i) {
    Number n{false, "1" + random_digits(random, i % 2 == 0 ? 17 : 39)};
    n.scale = static_cast<std::int64_t>(random.below(100)) - 30;
    if (i % 4 == 0) {
      const double size =
          std::ldexp(static_cast<double>(random.next() >> 11 | std::uint64_t{1} << 52),
                     static_cast<int>(random.below(190)) - 120);
      n = i % 8 == 0 ? middle(static_cast<float>(size)) : middle(size);
      const int nudge = i / 8 % 3 - 1;  // a digit more or less at the end
      n = sum(n, {nudge < 0, nudge == 0 ? "" : "1", n.scale + 1});
    }
    const auto places = static_cast<std::int64_t>(random.below(n.digits.size() + 1));
    const std::string text =
        text_of({false, n.digits, places}) + "e" + std::to_string(places - n.scale);
    SCOPED_TRACE(text);
    expect_read_nearest<float>(n, text);
    expect_read_nearest<double>(n, text);
  }
}

std::string digits_of(vdx::Magnitude m) {
  std::string digits;
  for (; !vdx::is_zero(m);) digits.insert(0, 1, static_cast<char>('0' + vdx::divide_limb(m, 10)));
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
    const Number n{exact.negative, digits_of(exact.magnitude), exact.scale};
    SCOPED_TRACE(text_of(n));
    double eight = 0;
    expect_nearest(n, vdx::nearest_float(exact, eight), eight);
    EXPECT_EQ(std::signbit(eight), exact.negative);
    float four = 0;
    expect_nearest(n, vdx::nearest_float(exact, four), four);
  }
}

// A double's own value, rounded at a scale, halves away from zero; all ones where that is too much.
TEST(Float, BecomesTheNearestNumeric) {
  Random random(8);
  for (int i = 0; i < 8000; ++i) {
    const double value = -std::ldexp(static_cast<double>(random.sized() >> 11 | 1),
                                     static_cast<int>(random.below(400)) - 300);
    const auto scale = static_cast<std::int32_t>(random.below(78));
    const Exact exact = vdx::exact_double(value, scale);
    const std::string digits = digits_at(number_of(value), scale, true),
                      most = vdx_test::digits_of(Bytes(32, 255));
    SCOPED_TRACE(text_of(number_of(value)) + " at " + std::to_string(scale));
    EXPECT_EQ(digits_of(exact.magnitude), compare(digits, most) < 0 ? digits : most);
    if (compare(digits, most) > 0) continue;
    EXPECT_EQ(exact.scale, scale);
    EXPECT_EQ(exact.negative, !digits.empty());
  }
}

}  // namespace
