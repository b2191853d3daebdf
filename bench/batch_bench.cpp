// Arrays of numbers: inside the cache beside loops over single values, beyond it beside memcpy.
#include <algorithm>
#include <limits>
#include <utility>

#include "bench_common.h"
#include "conversion_call.h"
#include "vdxcomn/batch.h"

#if defined(__GNUC__) && !defined(__clang__)
#define VDX_SCALAR __attribute__((noinline, optimize("no-tree-vectorize")))
#else
#define VDX_SCALAR __attribute__((noinline))
#endif

namespace {

using namespace bench;

template <class To, class From>
VDX_SCALAR std::int64_t clamp_each(const From* in, To* out, std::int32_t* codes, std::size_t n) {
  using Limits = std::numeric_limits<To>;
  std::int64_t failed = 0;
#if defined(__clang__)
#pragma clang loop vectorize(disable)
#endif
  for (std::size_t i = 0; i < n; ++i) {
    std::int32_t code = VDX_SUCCESS;
    if (std::cmp_greater(in[i], Limits::max())) {
      out[i] = Limits::max();
      code = VDX_OVERFLOW;
    } else if (std::cmp_less(in[i], Limits::min())) {
      out[i] = Limits::min();
      code = std::is_signed_v<To> || sizeof(To) == 1 ? VDX_OVERFLOW : VDX_UNDERFLOW;
    } else {
      out[i] = static_cast<To>(in[i]);
    }
    codes[i] = code;
    failed += code != VDX_SUCCESS;
  }
  return failed;
}

// A contender that does n items at once. Results of an earlier contender must not pass as its own.
template <class Item, class Body>
void array_contender(const std::string& row, const char* name, std::size_t n,
                     std::vector<Item>* results, const std::vector<Item>* expected, Body body) {
  benchmark::RegisterBenchmark((row + "/" + name).c_str(), [=](benchmark::State& state) {
    body();  // what is made or touched for the first time is not measured
    if (expected != nullptr) std::fill(results->begin(), results->end(), Item{});
    for (auto _ : state) {
      body();
      benchmark::ClobberMemory();
    }
    state.SetItemsProcessed(state.iterations() * static_cast<std::int64_t>(n));
    if (expected != nullptr && *results != *expected) state.SkipWithError("wrong results");
  });
}

// One value in thirty-two is anything its type holds, which the destination may not hold.
template <class From>
std::vector<From>& mixed_values(std::size_t n) {
  Random random(21);
  auto& values = keep_all(std::vector<From>(n));
  for (From& value : values) {
    const std::uint64_t bits = random.next();
    value = static_cast<From>(bits % 32 == 0 ? bits >> 5 : bits % 100);
  }
  return values;
}

constexpr std::size_t kCached = 4096;

// Codes are wanted.
template <class From, class To>
void cached_row(const std::string& row, std::int32_t from, std::int32_t to, vdx_batch* batch) {
  auto& values = mixed_values<From>(kCached);
  auto& codes = keep_all(std::vector<std::int32_t>(kCached));
  auto& results = keep_all(std::vector<To>(kCached));
  auto& expected = keep_all(std::vector<To>(kCached));
  clamp_each(values.data(), expected.data(), codes.data(), kCached);
  const From* in = values.data();
  To* out = results.data();
  std::int32_t* code = codes.data();
  array_contender(row, "ours", kCached, &results, &expected,
                  [=] { batch(in, sizeof(From), out, sizeof(To), code, kCached); });
  array_contender(row, "loop of range tests", kCached, &results, &expected,
                  [=] { clamp_each(in, out, code, kCached); });
  auto& call = keep<ConversionCall>(from, std::int32_t{sizeof(From)}, to, std::int32_t{sizeof(To)});
  array_contender(row, "single conversions", kCached, &results, &expected,
                  [=, &call, function = call.function] {
                    std::int32_t length;
                    for (std::size_t i = 0; i < kCached; ++i)
                      code[i] = function(&call.context, &call.source, in + i, &call.destination,
                                         out + i, &length);
                  });
}

constexpr std::size_t kMemory = std::size_t{64} << 20;

// Made when they are first used, so that the other rows do not wait for them.
struct Arrays {
  std::vector<unsigned char> in = std::vector<unsigned char>(kMemory, 7);
  std::vector<unsigned char> out = std::vector<unsigned char>(kMemory, 1);
  static Arrays& get() {
    static Arrays arrays;
    return arrays;
  }
};

// 64 MiB of the wider type; memcpy reads and writes as many bytes. Codes are not wanted.
template <class From, class To>
void memory_row(const std::string& row, vdx_batch* batch) {
  constexpr std::size_t kCount = kMemory / std::max(sizeof(From), sizeof(To));
  array_contender<char>(row, "ours", kCount, nullptr, nullptr, [=] {
    Arrays& arrays = Arrays::get();
    batch(arrays.in.data(), sizeof(From), arrays.out.data(), sizeof(To), nullptr, kCount);
  });
  array_contender<char>(row, "memcpy", kCount, nullptr, nullptr, [] {
    Arrays& arrays = Arrays::get();
    std::memcpy(arrays.out.data(), arrays.in.data(), kCount * (sizeof(From) + sizeof(To)) / 2);
  });
}

}  // namespace

int main(int argc, char** argv) {
  cached_row<std::int32_t, std::int16_t>("batch_i4_to_i2", VDX_I4, VDX_I2, comnb_i4toi2);
  cached_row<std::int64_t, std::int32_t>("batch_i8_to_i4", VDX_I8, VDX_I4, comnb_i8toi4);
  cached_row<std::int64_t, std::uint64_t>("batch_i8_to_ui8", VDX_I8, VDX_UI8, comnb_i8toui8);
  cached_row<std::int16_t, std::int64_t>("batch_i2_to_i8", VDX_I2, VDX_I8, comnb_i2toi8);
  memory_row<std::int32_t, std::int16_t>("batch_memory_i4_to_i2", comnb_i4toi2);
  memory_row<std::int64_t, std::int32_t>("batch_memory_i8_to_i4", comnb_i8toi4);
  memory_row<std::int32_t, std::int64_t>("batch_memory_i4_to_i8", comnb_i4toi8);
  return bench::run(argc, argv);
}
