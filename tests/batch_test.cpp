// Conversions of arrays against the conversions of single values, pair by pair.
#include <bit>
#include <cmath>

#include "arithmetic.h"
#include "characters.h"
#include "convert/call.h"

namespace {

using namespace vdx_test;

struct Pair {
  const char* name;
  std::int32_t source, destination;
  vdx_batch* numbers;
  vdx_text_batch* texts;
};

constexpr std::int32_t code_of(vdx::Family family) {
  std::int32_t code = 0;
  while (vdx::kDestinationFamily[static_cast<std::size_t>(code)] != family) ++code;
  return code;
}

#define BATCH_NUMBER(S, D, way) \
  {#S " to " #D, code_of(vdx::family_##S), code_of(vdx::family_##D), comnb_##S##to##D, nullptr},
#define BATCH_EACH(S, D, way) BATCH_NUMBER(S, D, way)
#define BATCH_TEXT(D) {"text to " #D, VDX_CHAR, code_of(vdx::family_##D), nullptr, comnb_charto##D},
constexpr Pair kPairs[] = {
#include "lists/batch.list"
};
// 12 numbers to each other, but for bit to the two of money; numerics to them; dates; texts.
static_assert(std::size(kPairs) == 142 + 12 + 32 + 18);

// Images of eight bytes that mean something as one type or another, noise of every size, and days
// with ticks.
std::vector<std::uint64_t> words() {
  std::vector<std::uint64_t> all = {0, 1, 2, 255, 256, ~std::uint64_t{0}};
  const auto add_real = [&](double number) {
    all.push_back(std::bit_cast<std::uint64_t>(number));
    all.push_back(std::bit_cast<std::uint32_t>(static_cast<float>(number)));
  };
  for (int bits = 7; bits < 64; ++bits)
    for (const int beside : {-2, -1, 0, 1}) {
      all.push_back((std::uint64_t{1} << bits) + static_cast<std::uint64_t>(beside));
      all.push_back(0 - all.back());
      const auto number = static_cast<double>(static_cast<std::int64_t>(all.back()));
      for (const double half : {-0.5, 0.5}) add_real(number + half);
    }
  for (const double number : {HUGE_VAL, 1.7e308, 1e30, 5e-5, 12345.67885, 1e-50, std::nan("")})
    for (const double sign : {1.0, -1.0}) add_real(sign * number);
  Random random(11);
  for (int i = 0; i < 600; ++i) {
    all.push_back(random.sized());
    all.push_back(random.below(26000000) << 32 | (random.below(200000) - 60000) % (1ULL << 32));
    all.push_back(random.below(90000000000) * (i % 2 == 0 ? 1 : 4000000));
  }
  for (std::size_t i = all.size(); i > 1; --i) std::swap(all[i - 1], all[random.below(i)]);
  return all;
}

// Compares one call with as many single conversions, gaps and surroundings included.
void compare(vdx_context& context, const Pair& pair, const vdx_datafmt& from, const Bytes& pool,
             std::ptrdiff_t source_stride, std::ptrdiff_t stride, std::ptrdiff_t count) {
  SCOPED_TRACE(testing::Message() << pair.name << ", strides " << source_stride << " and " << stride
                                  << ", n " << count);
  const auto span = [count](std::ptrdiff_t step) {
    return std::max(count - 1, std::ptrdiff_t{0}) * step;
  };
  const auto first = [&](std::ptrdiff_t step) { return std::max(-span(step), std::ptrdiff_t{0}); };
  // From an odd address on, and exactly as long: reads outside are seen by the sanitizer.
  Bytes sources(static_cast<std::size_t>(std::abs(span(source_stride)) + from.maxlength) + 1);
  ASSERT_LE(sources.size(), pool.size());
  std::copy_n(pool.begin(), sources.size() - 1, sources.begin() + 1);
  const std::uint8_t* const source = sources.data() + 1 + first(source_stride);
  const std::ptrdiff_t width = comn_typelen(pair.destination, 0);
  Bytes expected(static_cast<std::size_t>(std::abs(span(stride)) + width) + 34, kGuard);
  Bytes got = expected;
  std::vector<std::int32_t> expected_codes, codes(static_cast<std::size_t>(count), kUnset);
  vdx_datafmt to{};
  to.datatype = pair.destination;
  const vdx_convfn function = com_conv_func(&context, pair.source, pair.destination);
  ASSERT_NE(function, nullptr);
  std::int32_t length;
  for (std::ptrdiff_t i = 0; i < count; ++i)
    expected_codes.push_back(function(&context, &from, source + i * source_stride, &to,
                                      expected.data() + 17 + first(stride) + i * stride, &length));
  std::uint8_t* const destination = got.data() + 17 + first(stride);
  std::int32_t* const wanted = count % 4 != 0 ? codes.data() : nullptr;
  EXPECT_EQ(pair.texts != nullptr
                ? pair.texts(&context, &from, source, source_stride, destination, stride, wanted,
                             codes.size())
                : pair.numbers(source, source_stride, destination, stride, wanted, codes.size()),
            count - std::count(expected_codes.begin(), expected_codes.end(), VDX_SUCCESS));
  EXPECT_TRUE(got == expected);
  EXPECT_TRUE(wanted == nullptr || codes == expected_codes);
}

// Arrays beyond the caches are written past them: the whole against two halves that are not.
TEST(Batch, GivesTheSameBeyondTheCaches) {
  constexpr std::size_t kHalf = 3 << 20;
  Bytes source(2 * kHalf), expected(16 * kHalf + 33, kGuard);
  Random random(5);
  for (std::uint8_t& byte : source) byte = static_cast<std::uint8_t>(random.below(50) / 48);
  source[77] = source[2 * kHalf - 1] = 2;
  std::vector<std::int32_t> expected_codes(2 * kHalf), codes(2 * kHalf);
  for (const std::size_t half : {std::size_t{0}, kHalf})
    EXPECT_EQ(comnb_bittoi8(source.data() + half, 1, expected.data() + 13 + 8 * half, 8,
                            expected_codes.data() + half, kHalf),
              1);
  for (std::int32_t* const wanted : {codes.data(), static_cast<std::int32_t*>(nullptr)}) {
    Bytes got(expected.size(), kGuard);
    EXPECT_EQ(comnb_bittoi8(source.data(), 1, got.data() + 13, 8, wanted, 2 * kHalf), 2);
    EXPECT_TRUE(got == expected && codes == expected_codes);
  }
}

TEST(Batch, GivesWhatSingleConversionsGive) {
  static constexpr std::string_view kTexts[] = {// clang-format off
      "0", "-1", "  42  ", "+127", "256", "-32769", "65536", "99999999999", "18446744073709551616",
      "1e3", "-3.5", "nan", "1e400", "$1,234.56", "-922337203685477.59", "x", "", "1 2",
      "2008-01-02 13:05:09.123", "Jan 2 2008 1:05PM", "13:05", "20080102", "31/12/1752", "25:00",
      "\x82\x50\x82\x51", "9999-12-31 23:59:59.9"};
  // clang-format on
  constexpr std::int32_t kLength = 24;
  Table table;
  Random random(7);
  const auto images = words();
  for (const Pair& pair : kPairs) {
    vdx_datafmt from{};
    from.datatype = pair.source;
    const std::ptrdiff_t size = from.maxlength = comn_typelen(pair.source, kLength);
    Bytes pool;
    for (std::size_t i = 0; std::ssize(pool) < 42 * 42 * (size + 3); ++i) {
      Bytes bytes = pair.texts == nullptr ? image(images[i % images.size()])
                                          : bytes_of(kTexts[i * i % std::size(kTexts)]);
      bytes.resize(static_cast<std::size_t>(size), ' ');
      if (pair.source == VDX_BIT && i % 9 != 0) bytes[0] &= 1;
      if (pair.source == VDX_NUM && i % 9 != 0) {
        const auto precision = 1 + random.below(77);
        bytes = numeric_image(static_cast<int>(precision), static_cast<int>(random.below(78)),
                              i % 2 == 0, random_digits(random, precision));
      }
      pool.insert(pool.end(), bytes.begin(), bytes.end());
    }
    // Dense, with gaps, one value repeated, backwards; every length that a vector loop may stumble
    // on, and several chunks.
    const std::ptrdiff_t width = comn_typelen(pair.destination, 0);
    const std::ptrdiff_t strides[][2] = {
        {size, width}, {size + 3, width}, {0, width}, {size, width + 5}, {-size, -width - 1}};
    for (const auto& [source_stride, stride] : strides)
      for (std::ptrdiff_t n = 0; n <= 42; ++n)
        compare(table.context, pair, from, pool, source_stride, stride, n < 41 ? n : n * n - 680);
    for (vdx_locale** const place : {&from.locale, &table.context.locale}) {
      *place = locale_of(Set::sjis);
      if (pair.texts != nullptr) compare(table.context, pair, from, pool, kLength, 8, 601);
      *place = nullptr;
    }
  }
}

}  // namespace
