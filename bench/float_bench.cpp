// Float conversions beside their peers: text to double and double to shortest text, of prices and
// of doubles of every exponent.
#include <bit>
#include <charconv>
#include <cmath>

#include "bench_common.h"
#include "conversion_call.h"

#ifdef VDX_PEER_FASTFLOAT
#include <fast_float/fast_float.h>
#endif
#ifdef VDX_PEER_FMT
#include <fmt/compile.h>
#endif

namespace {

using bench::keep;
using bench::keep_all;
using bench::kItems;
using bench::Texts;
using bench::TextSlots;

// Amounts with two places and one to seven digits before the point, half of them negative.
std::vector<double> prices() {
  std::vector<double> values;
  for (const std::int64_t cents : bench::mixed_digits<std::int64_t>(31, 9, 999999999))
    values.push_back(static_cast<double>(cents) / 100);
  return values;
}

std::vector<double> random_bits() {
  bench::Random random(32);
  std::vector<double> values(kItems);
  for (double& value : values) {
    do value = std::bit_cast<double>(random.next());
    while (!std::isfinite(value));
  }
  return values;
}

// From 0.1 to 1, which seventeen digits tell apart.
std::vector<double> fractions() {
  bench::Random random(33);
  std::vector<double> values(kItems);
  for (double& value : values)
    value = (0.1 + 0.9 * std::ldexp(static_cast<double>(random.next() >> 11), -53)) *
            (random.coin() ? 1 : -1);
  return values;
}

std::string of_17_digits(double value) {
  char text[32];
  const auto end = std::to_chars(text, text + sizeof text, value, std::chars_format::fixed, 17).ptr;
  return {text, end};
}

std::string shortest(double value) {
  char text[32];
  return {text, std::to_chars(text, text + sizeof text, value).ptr};
}

void parse_rows(const std::string& row, const std::vector<double>& expected, const Texts& texts) {
  auto& results = keep_all(std::vector<double>(kItems));
  const bench::Text* in = texts.data();
  double* out = results.data();
  const auto add = [&](const char* name, auto read) {
    bench::value_contender(row, name, results, expected, [in, out, read](std::size_t i) {
      const auto [end, error] = read(in[i].data, in[i].end(), out[i]);
      return error == std::errc() && end == in[i].end();
    });
  };
  bench::our_parse(row, VDX_FLT8, texts, results, expected);
  add("std::from_chars", [](const char* first, const char* last, double& value) {
    return std::from_chars(first, last, value);
  });
#ifdef VDX_PEER_FASTFLOAT
  add("fast_float", [](const char* first, const char* last, double& value) {
    return fast_float::from_chars(first, last, value);
  });
#endif
}

void format_rows(const std::string& row, const std::vector<double>& values,
                 const std::vector<std::string>& texts, const std::vector<std::string>& fmt_texts) {
  auto& results = keep<TextSlots>();
  const double* in = values.data();
  char* out = results.bytes();
  std::int32_t* lengths = results.lengths();
  const auto add = [&](const char* name, const std::vector<std::string>& expected, auto write) {
    bench::text_contender(row, name, results, expected, [=](std::size_t i) {
      char* const slot = out + i * TextSlots::kSlot;
      lengths[i] = static_cast<std::int32_t>(write(slot, in[i]) - slot);
      return true;
    });
  };
  bench::our_format(row, VDX_FLT8, values, results, texts);
  add("std::to_chars", texts,
      [](char* at, double value) { return std::to_chars(at, at + TextSlots::kSlot, value).ptr; });
#ifdef VDX_PEER_FMT
  // The same digits, but not always the same choice between fixed and scientific.
  add("fmt", fmt_texts,
      [](char* at, double value) { return fmt::format_to(at, FMT_COMPILE("{}"), value); });
#endif
}

std::string by_fmt([[maybe_unused]] double value) {
#ifdef VDX_PEER_FMT
  return fmt::format(FMT_COMPILE("{}"), value);
#else
  return {};
#endif
}

}  // namespace

int main(int argc, char** argv) {
  for (const auto& [kind, values] : {std::pair("prices", prices()), {"random", random_bits()}}) {
    const auto& kept = keep_all(values);
    const auto& texts = keep_all(bench::formatted(kept, shortest));
    const auto& fmt_texts = keep_all(bench::formatted(kept, by_fmt));
    parse_rows(std::string("text_to_flt8_") + kind, kept, keep<Texts>(texts));
    format_rows(std::string("flt8_to_text_") + kind, kept, texts, fmt_texts);
  }
  const auto& seventeen = keep_all(fractions());
  parse_rows("text_to_flt8_17", seventeen, keep<Texts>(bench::formatted(seventeen, of_17_digits)));
  return bench::run(argc, argv);
}
