// UTF-16 conversions beside the library's own without UTF-16: what the wider units add.
#include <array>

#include "bench_common.h"
#include "conversion_call.h"
#include "vdxcomn/charset.h"
#include "vdxcomn/intl.h"

namespace {

using bench::ConversionCall;
using bench::keep;
using bench::keep_all;
using bench::kItems;
using bench::Text;
using bench::Texts;
using bench::value_contender;

std::string widened(const std::string& text) {
  std::string units;
  for (const char c : text) units += {c, '\0'};
  return units;
}

std::vector<std::string> widened(const std::vector<std::string>& texts) {
  std::vector<std::string> all;
  for (const std::string& text : texts) all.push_back(widened(text));
  return all;
}

// Texts of any length to values of one size.
template <class Item>
void from_text(const std::string& row, const std::string& name, ConversionCall& call,
               const std::vector<std::string>& texts, const std::vector<Item>& expected) {
  auto& results = keep_all(std::vector<Item>(kItems));
  value_contender(row, name, results, expected,
                  [&call, function = call.function, in = keep<Texts>(texts).data(),
                   out = results.data()](std::size_t i) {
                    std::int32_t length;
                    call.source.maxlength = in[i].length;
                    return function(&call.context, &call.source, in[i].data, &call.destination,
                                    &out[i], &length) == VDX_SUCCESS;
                  });
}

void register_rows() {
  const auto& values = keep_all(bench::mixed_digits<std::int32_t>(1, 10, INT32_MAX));
  const auto digits =
      bench::formatted(values, [](std::int32_t value) { return std::to_string(value); });
  from_text("unichar_to_i4", "ours", keep<ConversionCall>(VDX_UNICHAR, 1, VDX_I4, 4),
            widened(digits), values);
  from_text("unichar_to_i4", "comn_chartoi4", keep<ConversionCall>(VDX_CHAR, 1, VDX_I4, 4), digits,
            values);

  using Units = std::array<unsigned char, 80>;
  bench::Random random(2);
  std::vector<std::string> texts;
  auto& units = keep<std::vector<Units>>(kItems);
  for (Units& item : units) {
    std::string& text = texts.emplace_back();
    for (auto n = random.between(10, 40); n > 0; --n)
      text += static_cast<char>(random.between(' ', '~'));
    const std::string wide = widened(text);
    std::copy(wide.begin(), wide.end(), item.begin());
  }
  auto& call = keep<ConversionCall>(VDX_CHAR, 1, VDX_UNICHAR, 80);
  if (comn_loc_alloc(nullptr, "utf8", &call.context.locale) != XS_SUCCEED) std::exit(1);
  from_text("utf8_to_unichar", "ours", call, texts, units);
  auto& results = keep_all(std::vector<Units>(kItems));
  value_contender("utf8_to_unichar", "com__fou_utf8_to_utf16", results, units,
                  [in = keep<Texts>(texts).data(), out = results.data()](std::size_t i) {
                    std::int32_t length;
                    return com__fou_utf8_to_utf16(in[i].data, in[i].length, out[i].data(), 80,
                                                  &length) == VDX_SUCCESS;
                  });
}

}  // namespace

int main(int argc, char** argv) {
  register_rows();
  return bench::run(argc, argv);
}
