// The default matrix, the conversion table and its extension list.
#include "convert/matrix.h"
#include "support.h"

namespace {

using vdx_test::Table;

template <std::int32_t code>
std::int32_t giving(vdx_context*, const vdx_datafmt*, const void*, const vdx_datafmt*, void*,
                    std::int32_t*) {
  return code;
}
constexpr vdx_convfn never = giving<2>, other = giving<3>;

// What converts to what, written out by hand.
const struct {
  std::vector<std::size_t> sources;
  std::vector<std::pair<std::size_t, std::size_t>> destinations;  // first and last
} kRows[] = {
    {{0}, {{0, 19}, {21, 22}, {25, 25}, {27, 39}}},
    {{1, 3, 5}, {{0, 19}, {25, 25}, {27, 36}}},
    {{2, 4, 18}, {{0, 19}, {21, 22}, {25, 25}, {27, 36}}},
    {{6, 7, 8, 9, 10, 14, 15, 16, 17, 30, 31, 32, 33}, {{0, 11}, {14, 19}, {25, 25}, {29, 33}}},
    {{11}, {{0, 11}, {16, 19}, {25, 25}, {29, 33}}},
    {{12, 13, 35}, {{0, 0}, {2, 2}, {4, 4}, {12, 13}, {18, 19}, {25, 25}, {27, 29}, {35, 36}}},
    {{19}, {{0, 19}, {25, 25}, {27, 36}}},
    {{21}, {{0, 0}, {2, 2}, {4, 4}, {18, 18}, {21, 21}}},
    {{22}, {{0, 0}, {2, 2}, {4, 4}, {18, 18}, {22, 22}}},
    {{23}, {{0, 36}}},
    {{25, 29}, {{0, 20}, {25, 25}, {27, 33}, {35, 36}}},
    {{27}, {{0, 0}, {2, 2}, {4, 4}, {12, 13}, {18, 19}, {25, 25}, {27, 27}, {29, 29}, {35, 35}}},
    {{28, 36}, {{0, 0}, {2, 2}, {4, 4}, {12, 13}, {18, 19}, {25, 25}, {28, 29}, {35, 36}}},
    {{34}, {{0, 5}, {18, 19}, {34, 34}}},
    {{37}, {{0, 0}, {4, 4}, {37, 37}}},
    {{38}, {{0, 0}, {5, 5}, {38, 38}}},
    {{39}, {{0, 0}, {25, 25}, {39, 39}}},
};

TEST(Matrix, NamesEveryCellAndNoOther) {
  std::vector<bool> expected(vdx::kCells);
  for (const auto& row : kRows)
    for (const std::size_t source : row.sources)
      for (const auto& [first, last] : row.destinations)
        for (std::size_t d = first; d <= last; ++d) expected[source * 40 + d] = true;
  int named = 0;
  for (std::size_t i = 0; i < vdx::kCells; ++i) {
    const bool is_named = vdx::matrix()[i] != nullptr;
    EXPECT_EQ(is_named, expected[i]) << i / 40 << " to " << i % 40;
    named += is_named ? 1 : 0;
  }
  EXPECT_EQ(named, 794);  // README quotes this number
}

TEST(Table, LooksUpInstallsAndResets) {
  Table table;
  auto* const c = &table.context;
  EXPECT_EQ(c->conversion_dimension, 40);
  for (const auto& [s, d] :
       std::vector<std::pair<int, int>>{{-1, 0}, {0, -1}, {12, 8}, {20, 0}, {46, 8}, {8, 45}})
    EXPECT_EQ(com_conv_func(c, s, d), nullptr) << s << ',' << d;
  EXPECT_EQ(com_conv_install(c, VDX_I4, VDX_CHAR, nullptr), 1);
  EXPECT_EQ(com_conv_func(c, VDX_I4, VDX_CHAR), nullptr);
  EXPECT_EQ(com_conv_default(c, VDX_I4, VDX_CHAR), 1);
  EXPECT_EQ(com_conv_func(c, VDX_I4, VDX_CHAR), &comn_i4tochar);

  const std::pair<int, int> pairs[] = {{45, 8}, {45, 0}, {50, 8}, {8, 45}, {45, 60}, {50, 50}};
  for (const auto& [s, d] : pairs) EXPECT_EQ(com_conv_install(c, s, d, never), 1);
  EXPECT_EQ(com_conv_install(c, 45, 0, other), 1);
  for (const auto& [s, d] : pairs)
    EXPECT_EQ(com_conv_func(c, s, d), s == 45 && d == 0 ? other : never) << s << ',' << d;
  EXPECT_EQ(com_conv_func(c, 45, 9), nullptr);
  EXPECT_TRUE(com_conv_default(c, 45, 8) == 1 && com_conv_default(c, 45, 9) == 1);
  EXPECT_EQ(com_conv_func(c, 45, 8), nullptr);
  EXPECT_EQ(com_conv_func(c, 45, 0), other);
}

TEST(Table, ReportsMemoryThatRanOut) {
  vdx_test::Failing failing;
  vdx_context& context = failing.context;
  failing.fail_at = 1;
  EXPECT_EQ(com_conv_init(&context), -1);
  EXPECT_TRUE(context.conversions == nullptr && context.conversion_dimension == 40);
  failing.fail_at = 4;
  failing.from_there_on = true;
  ASSERT_EQ(com_conv_init(&context), 1);
  EXPECT_EQ(com_conv_install(&context, 45, 8, never), 1);
  EXPECT_EQ(com_conv_install(&context, 45, 9, never), -1);
  EXPECT_EQ(com_conv_install(&context, 46, 8, never), -1);
  EXPECT_EQ(com_conv_func(&context, 45, 8), never);
  EXPECT_EQ(com_conv_func(&context, 45, 9), nullptr);
  EXPECT_EQ(com_conv_install(&context, 45, 8, other), 1);  // takes no memory
  EXPECT_EQ(com_conv_free(&context), 1);
  EXPECT_TRUE(context.conversions == nullptr && context.conversion_dimension == 0 &&
              context.conversion_extensions == nullptr);
}

}  // namespace
