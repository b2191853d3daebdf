// Runs every flt4 there is to text and back, and holds the text to the standard library's. Takes
// minutes, so it is no part of the suite: scripts/exhaustive runs it.
//
//   float_exhaustive [STEP]   one float of every STEP images, spread evenly; 1, all, by default
#include <bit>
#include <charconv>
#include <cmath>
#include <cstdio>
#include <cstdlib>
#include <string_view>
#include <thread>

#include "vdxcomn.h"

namespace {

struct Count {
  std::uint64_t floats = 0, mismatches = 0;
};

bool same(float a, float b) {
  return std::isnan(a) ? std::isnan(b)
                       : std::bit_cast<std::uint32_t>(a) == std::bit_cast<std::uint32_t>(b);
}

// The images from first to last, first included.
void run(std::uint64_t first, std::uint64_t last, std::uint64_t step, Count& count) {
  vdx_context context{};
  context.version = VDX_VERSION;
  char text[32], expected[32];
  vdx_datafmt number{}, characters{};
  number.datatype = VDX_FLT4;
  number.maxlength = sizeof(float);
  characters.datatype = VDX_CHAR;
  for (std::uint64_t at = first; at < last; at += step) {
    // Another place in every step, so that a sample meets every low bit.
    const std::uint64_t inside = (at / step * 0x9E3779B97F4A7C15 >> 32) % step;
    const auto value = std::bit_cast<float>(static_cast<std::uint32_t>(at + inside));
    float again = 0;
    std::int32_t written = 0, length = 0;
    characters.maxlength = sizeof text;
    const std::int32_t out =
        comn_flt4tochar(&context, &number, &value, &characters, text, &written);
    characters.maxlength = written;
    const std::int32_t in = comn_chartoflt4(&context, &characters, text, &number, &again, &length);
    // "nan" has no sign here.
    const float shown = std::isnan(value) ? std::fabs(value) : value;
    const char* const end = std::to_chars(expected, expected + sizeof expected, shown).ptr;
    const bool right = out == VDX_SUCCESS && in == VDX_SUCCESS && same(value, again) &&
                       std::string_view(text, static_cast<std::size_t>(written)) ==
                           std::string_view(expected, static_cast<std::size_t>(end - expected));
    ++count.floats;
    if (!right && ++count.mismatches <= 10)
      std::fprintf(stderr, "%a: \"%.*s\" reads as %a\n", static_cast<double>(value),
                   static_cast<int>(written), text, static_cast<double>(again));
  }
}

}  // namespace

int main(int argc, char** argv) {
  const std::uint64_t step = argc > 1 ? std::strtoull(argv[1], nullptr, 10) : 1;
  if (step == 0 || step > 65536) {
    std::fprintf(stderr, "usage: %s [STEP from 1 to 65536]\n", argv[0]);
    return 2;
  }
  constexpr std::uint64_t kImages = std::uint64_t{1} << 32;
  const std::uint64_t middle = kImages / 2 / step * step;
  Count positive, negative;
  std::thread other(run, middle, kImages / step * step, step, std::ref(negative));
  run(0, middle, step, positive);
  other.join();
  const std::uint64_t mismatches = positive.mismatches + negative.mismatches;
  std::printf("%llu floats to text and back, %llu mismatches\n",
              static_cast<unsigned long long>(positive.floats + negative.floats),
              static_cast<unsigned long long>(mismatches));
  return mismatches == 0 ? 0 : 1;
}
