// Floats: text against the standard library.
#include <bit>
#include <charconv>
#include <cmath>
#include <limits>

#include "number/float_reader.h"
#include "number/float_text.h"
#include "oracle.h"

namespace {

using namespace vdx_test;

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
    ASSERT_NO_FATAL_FAILURE(text_and_back(-whole / vdx::kDoubleTens[random.below(23)]));
    ASSERT_NO_FATAL_FAILURE(text_and_back(whole * vdx::kDoubleTens[random.below(23)]));
  }
}

// Texts of any digits, middles among them, any power of ten and a point anywhere.
TEST(Float, ReadsTheNearest) {
  Table table;
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
    for (const std::int32_t destination : {VDX_FLT4, VDX_FLT8}) {
      const Answer answer = expect({VDX_CHAR, bytes_of(text), destination, {}});
      const Result result = convert(table.context, VDX_CHAR, bytes_of(text), destination);
      EXPECT_TRUE(result.code == answer.code && result.bytes == answer.bytes) << result;
    }
  }
}

}  // namespace
