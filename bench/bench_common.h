// What every benchmark program shares: seeded inputs, result buffers and the registration of one
// contender of one row.
//
// A row is one operation; its contenders run one after the other, work through the same inputs
// item by item and store every result. A benchmark is named "row/contender"; the library's own is
// "ours". A contender whose name ends in "(floor)" does less than the operation and only shows
// what the call itself costs. report.py groups by these names.
#ifndef VDX_BENCH_COMMON_H
#define VDX_BENCH_COMMON_H

#include <benchmark/benchmark.h>

#include <cstddef>
#include <cstdint>
#include <cstring>
#include <deque>
#include <memory>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

namespace bench {

// Enough items a pass that a branch predictor cannot learn the sequence.
inline constexpr std::size_t kItems = 16384;

// splitmix64: the same inputs whatever the standard library.
class Random {
 public:
  explicit Random(std::uint64_t seed) : state_(seed) {}

  std::uint64_t next() {
    std::uint64_t z = (state_ += 0x9e3779b97f4a7c15u);
    z = (z ^ (z >> 30)) * 0xbf58476d1ce4e5b9u;
    z = (z ^ (z >> 27)) * 0x94d049bb133111ebu;
    return z ^ (z >> 31);
  }

  // From first to last, both included; last - first below 2^64 - 1.
  std::uint64_t between(std::uint64_t first, std::uint64_t last) {
    return first + next() % (last - first + 1);
  }

  bool coin() { return (next() >> 63) != 0; }

 private:
  std::uint64_t state_;
};

// Signed values with every number of decimal digits from 1 to max_digits equally often, half of
// them negative. Magnitudes stay within limit.
template <class Int>
std::vector<Int> mixed_digits(std::uint64_t seed, int max_digits, std::uint64_t limit) {
  Random random(seed);
  std::vector<Int> values(kItems);
  for (Int& value : values) {
    std::uint64_t low = 1;
    for (auto digits = random.between(1, static_cast<std::uint64_t>(max_digits)); digits > 1;
         --digits)
      low *= 10;
    const std::uint64_t high = low > limit / 10 ? limit : low * 10 - 1;
    const auto magnitude = static_cast<std::int64_t>(random.between(low == 1 ? 0 : low, high));
    value = static_cast<Int>(random.coin() ? -magnitude : magnitude);
  }
  return values;
}

// Signed values with every number of magnitude bits from first to last (at most 63) equally often.
inline std::vector<std::int64_t> mixed_bits(std::uint64_t seed, unsigned first, unsigned last) {
  Random random(seed);
  std::vector<std::int64_t> values(kItems);
  for (std::int64_t& value : values) {
    const std::uint64_t top = std::uint64_t{1} << (random.between(first, last) - 1);
    const auto magnitude = static_cast<std::int64_t>(random.between(top, top * 2 - 1));
    value = random.coin() ? -magnitude : magnitude;
  }
  return values;
}

struct Text {
  const char* data;  // a zero byte follows the last one
  std::int32_t length;

  const char* end() const { return data + length; }
  std::string_view view() const { return {data, static_cast<std::size_t>(length)}; }
};

// Texts one behind the other as a row buffer holds them, so at every alignment.
class Texts {
 public:
  explicit Texts(const std::vector<std::string>& items) {
    for (const std::string& item : items) pool_.append(item.c_str(), item.size() + 1);
    const char* at = pool_.data();
    for (const std::string& item : items) {
      texts_.push_back({at, static_cast<std::int32_t>(item.size())});
      at += item.size() + 1;
    }
  }
  Texts(const Texts&) = delete;
  Texts& operator=(const Texts&) = delete;

  const Text* data() const { return texts_.data(); }

 private:
  std::string pool_;
  std::vector<Text> texts_;
};

template <class Item, class Format>
std::vector<std::string> formatted(const std::vector<Item>& values, Format format) {
  std::vector<std::string> texts;
  texts.reserve(values.size());
  for (const Item& value : values) texts.push_back(format(value));
  return texts;
}

// One slot an item for text results.
class TextSlots {
 public:
  static constexpr std::size_t kSlot = 32;

  TextSlots() : bytes_(kItems * kSlot), lengths_(kItems) {}

  char* bytes() { return bytes_.data(); }
  std::int32_t* lengths() { return lengths_.data(); }

  // at_end: the texts end where their slots end, instead of starting where they start.
  bool equals(const std::vector<std::string>& expected, bool at_end = false) const {
    for (std::size_t i = 0; i < expected.size(); ++i) {
      if (lengths_[i] < 0 || static_cast<std::size_t>(lengths_[i]) > kSlot) return false;
      const auto length = static_cast<std::size_t>(lengths_[i]);
      const char* at = bytes_.data() + i * kSlot + (at_end ? kSlot - length : 0);
      if (std::string_view(at, length) != expected[i]) return false;
    }
    return true;
  }

  void clear() {
    bytes_.assign(bytes_.size(), '\0');
    lengths_.assign(lengths_.size(), -1);
  }

 private:
  std::vector<char> bytes_;
  std::vector<std::int32_t> lengths_;
};

// Inputs and results live until the process ends; registered benchmarks point into them.
template <class Kept, class... Args>
Kept& keep(Args&&... args) {
  static std::deque<std::unique_ptr<Kept>> kept;
  return *kept.emplace_back(std::make_unique<Kept>(std::forward<Args>(args)...));
}

template <class Item>
std::vector<Item>& keep_all(std::vector<Item> items) {
  return keep<std::vector<Item>>(std::move(items));
}

// Registers a contender. body(i) does the operation on item i, stores the result and tells whether
// it succeeded; it should capture plain pointers. prepare() clears the results before the passes,
// verify() compares them afterwards: a contender that got anything wrong reports an error, not a
// time.
template <class Body, class Prepare, class Verify>
void contender(const std::string& row, const std::string& name, Body body, Prepare prepare,
               Verify verify) {
  benchmark::RegisterBenchmark((row + "/" + name).c_str(), [=](benchmark::State& state) {
    const Body run = body;  // a local copy: its captures can stay in registers
    prepare();
    std::size_t failures = 0;
    for (auto _ : state) {
      for (std::size_t i = 0; i < kItems; ++i)
        if (!run(i)) [[unlikely]]
          ++failures;
      benchmark::ClobberMemory();
    }
    state.SetItemsProcessed(state.iterations() * static_cast<std::int64_t>(kItems));
    // Seconds an item; the console shows it with a unit.
    state.counters["per_item"] =
        benchmark::Counter(static_cast<double>(state.iterations()) * static_cast<double>(kItems),
                           benchmark::Counter::kIsRate | benchmark::Counter::kInvert);
    if (failures != 0)
      state.SkipWithError("the operation failed on some items");
    else if (!verify())
      state.SkipWithError("wrong results");
  });
}

// Results of one fixed size: compared as values.
template <class Item, class Body>
void value_contender(const std::string& row, const std::string& name, std::vector<Item>& results,
                     const std::vector<Item>& expected, Body body) {
  contender(
      row, name, body, [&results] { results.assign(results.size(), Item{}); },
      [&results, &expected] { return results == expected; });
}

// Results that are texts.
template <class Body>
void text_contender(const std::string& row, const std::string& name, TextSlots& results,
                    const std::vector<std::string>& expected, Body body, bool at_end = false) {
  contender(
      row, name, body, [&results] { results.clear(); },
      [&results, &expected, at_end] { return results.equals(expected, at_end); });
}

// Records how the program was built beside its figures, then runs what was registered.
inline int run(int argc, char** argv) {
#if defined(__clang__)
  benchmark::AddCustomContext("compiler", __VERSION__);
#elif defined(__GNUC__)
  benchmark::AddCustomContext("compiler", "GCC " __VERSION__);
#endif
  benchmark::AddCustomContext("flags", VDX_BENCH_FLAGS);
  benchmark::AddCustomContext("items_a_pass", std::to_string(kItems));
  benchmark::Initialize(&argc, argv);
  if (benchmark::ReportUnrecognizedArguments(argc, argv)) return 1;
  benchmark::RunSpecifiedBenchmarks();
  benchmark::Shutdown();
  return 0;
}

}  // namespace bench

#endif
