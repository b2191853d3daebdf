// Columns beside loops over single conversions: in the cache, and a million rows.
#include <cinttypes>
#include <cstdio>
#include <thread>

#include "bench_common.h"
#include "conversion_call.h"
#include "vdxcomn/column.h"

namespace {

using namespace bench;

constexpr std::size_t kCached = 4096, kMillion = 1'000'000;

// A column of texts, and room for results of either kind.
struct Data {
  std::int32_t from, to;
  std::size_t rows;
  std::string texts;
  std::vector<std::int32_t> offsets{0};
  std::vector<std::int32_t> numbers;
  std::vector<std::uint64_t> values;
  std::string made;
  std::vector<std::int32_t> made_offsets;

  template <class Make>
  Data(std::int32_t source, std::int32_t destination, std::size_t n, Make make)
      : from(source),
        to(destination),
        rows(n),
        values(n),
        made(n * 12 + 64, '\0'),
        made_offsets(n + 1) {
    Random random(3);
    for (std::size_t i = 0; i < n; ++i) {
      char text[64];
      numbers.push_back(make(random, text));
      texts += text;
      offsets.push_back(static_cast<std::int32_t>(texts.size()));
    }
  }

  bool makes_texts() const { return to == VDX_CHAR; }

  // Rows from `first` to before `last`. Texts of a slice are made where the texts of all were.
  bool convert(vdx_context& context, std::size_t first, std::size_t last) {
    vdx_datafmt source{}, destination{};
    destination.maxlength = 32;
    vdx_column in{from,
                  makes_texts() ? 0 : 4,
                  static_cast<std::int64_t>(last - first),
                  makes_texts() ? static_cast<void*>(numbers.data() + first) : texts.data(),
                  offsets.data() + first,
                  nullptr,
                  0,
                  0};
    const std::size_t width = to == VDX_I4 ? 4 : 8;
    const std::size_t begin = makes_texts() ? first * 12 : 0;
    std::vector<std::int32_t>& ends = made_offsets;
    vdx_column out{to,
                   makes_texts() ? 4 : 0,
                   0,
                   makes_texts() ? static_cast<void*>(made.data() + begin)
                                 : reinterpret_cast<char*>(values.data()) + first * width,
                   ends.data() + first,
                   nullptr,
                   0,
                   static_cast<std::int64_t>(made.size() - begin)};
    std::int64_t done = 0;
    return comn_column_convert(&context, &source, &in, &destination, &out, nullptr, nullptr,
                               &done) == 0 &&
           done == in.rows;
  }

  bool convert_singly(ConversionCall& call) {
    const vdx_convfn function = call.function;
    std::int32_t failures = 0, length = 0;
    if (makes_texts()) {
      char* at = made.data();
      call.destination.maxlength = 32;
      for (std::size_t i = 0; i < rows; ++i) {
        failures += function(&call.context, &call.source, &numbers[i], &call.destination, at,
                             &length) != VDX_SUCCESS;
        at += length;
        made_offsets[i + 1] = static_cast<std::int32_t>(at - made.data());
      }
    } else {
      const std::size_t width = to == VDX_I4 ? 4 : 8;
      char* const out = reinterpret_cast<char*>(values.data());
      for (std::size_t i = 0; i < rows; ++i) {
        call.source.maxlength = offsets[i + 1] - offsets[i];
        failures += function(&call.context, &call.source, texts.data() + offsets[i],
                             &call.destination, out + i * width, &length) != VDX_SUCCESS;
      }
    }
    return failures == 0;
  }

  std::string result() const {
    if (!makes_texts())
      return {reinterpret_cast<const char*>(values.data()), rows * (to == VDX_I4 ? 4 : 8)};
    return made.substr(0, static_cast<std::size_t>(made_offsets[rows]));
  }
};

template <class Body>
void timed(const std::string& name, std::size_t rows, Body body) {
  benchmark::RegisterBenchmark(name.c_str(), [=](benchmark::State& state) {
    for (auto _ : state) {
      if (!body()) return state.SkipWithError("a row failed");
      benchmark::ClobberMemory();
    }
    state.SetItemsProcessed(state.iterations() * static_cast<std::int64_t>(rows));
  })->UseRealTime();
}

template <class Make>
void rows(const std::string& row, std::int32_t from, std::int32_t to, Make make) {
  for (const std::size_t n : {kCached, kMillion}) {
    auto& data = keep<Data>(from, to, n, make);
    auto& call = keep<ConversionCall>(from, 4, to, 32);
    if (!data.convert_singly(call)) std::exit(1);
    const std::string expected = data.result();
    data.made.assign(data.made.size(), '\0');
    data.values.assign(n, 0);
    if (!data.convert(call.context, 0, n) || data.result() != expected) {
      std::fprintf(stderr, "%s: wrong results\n", row.c_str());
      std::exit(1);
    }
    const std::string name = row + (n == kCached ? "" : "_million");
    timed(name + "/ours", n, [&data, &call, n] { return data.convert(call.context, 0, n); });
    timed(name + "/single conversions", n, [&data, &call] { return data.convert_singly(call); });
    if (n != kMillion || to != VDX_MONEY) continue;
    timed(row + "_threads/ours", n, [&data, &call, n] {
      bool first = false;
      std::thread other([&] {
        vdx_context context{};
        context.version = VDX_VERSION;
        first = data.convert(context, 0, n / 2);
      });
      const bool second = data.convert(call.context, n / 2, n);
      other.join();
      return first && second;
    });
    timed(row + "_threads/one thread", n,
          [&data, &call, n] { return data.convert(call.context, 0, n); });
  }
}

}  // namespace

int main(int argc, char** argv) {
  const auto integer = [](Random& random, char* text) {
    const auto value = static_cast<std::int32_t>(random.next() >> random.between(32, 63)) *
                       (random.coin() ? -1 : 1);
    std::snprintf(text, 64, "%" PRId32, value);
    return value;
  };
  rows("column_text_to_i4", VDX_CHAR, VDX_I4, integer);
  rows("column_text_to_money", VDX_CHAR, VDX_MONEY, [](Random& random, char* text) {
    const std::uint64_t count = random.next() >> random.between(24, 50);
    std::snprintf(text, 64, "%s%" PRIu64 ".%04" PRIu64, random.coin() ? "-" : "", count / 10000,
                  count % 10000);
    return 0;
  });
  rows("column_text_to_datetime", VDX_CHAR, VDX_DATETIME, [](Random& random, char* text) {
    const auto part = [&](unsigned first, unsigned last) {
      return static_cast<unsigned>(random.between(first, last));
    };
    const unsigned year = part(1753, 9999), month = part(1, 12), day = part(1, 28),
                   hour = part(0, 23), minute = part(0, 59), second = part(0, 59);
    std::snprintf(text, 64, "%04u-%02u-%02u %02u:%02u:%02u.%03u", year, month, day, hour, minute,
                  second, part(0, 999));
    return 0;
  });
  rows("column_i4_to_text", VDX_I4, VDX_CHAR, integer);
  return bench::run(argc, argv);
}
