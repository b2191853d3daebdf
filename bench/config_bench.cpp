// Configuration files beside their peers: a parse, lookups in small and large files, and the memory
// that a parsed file keeps. Every contender works on the same file of 20 entries a section.
#include <cstdio>
#include <cstdlib>
#include <filesystem>
#include <fstream>

#include "bench_common.h"
#include "vdxcomn/config.h"

#ifdef __GLIBC__
#include <malloc.h>
#endif
#ifdef VDX_PEER_ABSLHASH
#include <absl/container/flat_hash_map.h>
#endif
#ifdef VDX_PEER_GLIB
#include <glib.h>
#endif

namespace {

using bench::keep;
using bench::kItems;

constexpr std::size_t kKeys = 20;  // of one section

struct Entry {
  std::string section;
  std::string key;
  std::string value;
};

std::string number(std::size_t value, std::size_t width) {
  std::string digits = std::to_string(value);
  return std::string(width > digits.size() ? width - digits.size() : 0, '0') + digits;
}

// Values of one to four words, 3 to 51 bytes.
std::string value_text(bench::Random& random) {
  std::string text;
  for (auto words = random.between(1, 4); words > 0; --words) {
    if (!text.empty()) text += ' ';
    for (auto letters = random.between(3, 12); letters > 0; --letters)
      text += static_cast<char>('a' + random.between(0, 25));
  }
  return text;
}

// A file on disk with what it holds; removed at the end of the process.
class Sample {
 public:
  explicit Sample(std::size_t sections)
      : path_((std::filesystem::temp_directory_path() /
               ("vdxbench" + std::to_string(reinterpret_cast<std::uintptr_t>(this)) + "_" +
                std::to_string(sections) + ".cfg"))
                  .string()) {
    constexpr const char* kNames[] = {"host", "port", "timeout", "database", "locale_name"};
    bench::Random random(sections);
    std::string text;
    for (std::size_t i = 0; i < sections; ++i) {
      const std::string section = "service_" + number(i, 5);
      text += "[" + section + "]\n";
      for (std::size_t k = 0; k < kKeys; ++k) {
        entries_.push_back({section, kNames[k % 5] + number(k, 2), value_text(random)});
        text += entries_.back().key + " = " + entries_.back().value + "\n";
      }
      text += "\n";
    }
    std::ofstream(path_, std::ios::binary) << text;
    for (std::size_t i = 0; i < kItems; ++i)
      wanted_.push_back(entries_[random.between(0, entries_.size() - 1)]);
  }
  Sample(const Sample&) = delete;
  Sample& operator=(const Sample&) = delete;
  ~Sample() { std::remove(path_.c_str()); }

  const char* path() const { return path_.c_str(); }
  const std::vector<Entry>& entries() const { return entries_; }
  const std::vector<Entry>& wanted() const { return wanted_; }

 private:
  std::string path_;
  std::vector<Entry> entries_;
  std::vector<Entry> wanted_;  // of each item of a pass
};

// Each store opens a file and gives values into a buffer, with a zero byte behind; its length, -1
// for none.
constexpr std::int32_t kBuffer = 64;

class Ours {
 public:
  static constexpr const char* kName = "ours";
  static constexpr bool kParses = true;

  explicit Ours(const Sample& sample) {
    context_.version = VDX_VERSION;
    if (com_appglobal_alloc(&context_.appglobal, 0, 0) != XS_SUCCEED ||
        comn_init_cfg(&context_, sample.path(), VDX_NULLTERM, &cfg_) != XS_SUCCEED)
      std::abort();
  }
  ~Ours() {
    comn_drop_cfg(cfg_, VDX_UNUSED);
    com_appglobal_drop(context_.appglobal, 0);
  }

  std::int32_t get(const Entry& entry, char* buffer) const {
    std::int32_t length;
    const std::int32_t code =
        comn_get_cfg(cfg_, entry.section.data(), static_cast<std::int32_t>(entry.section.size()),
                     entry.key.data(), static_cast<std::int32_t>(entry.key.size()), nullptr, buffer,
                     kBuffer, &length);
    return code == XS_SUCCEED ? length : -1;
  }

 private:
  vdx_context context_{};
  vdx_cfg* cfg_ = nullptr;
};

#ifdef VDX_PEER_GLIB
class Glib {
 public:
  static constexpr const char* kName = "GLib";
  static constexpr bool kParses = true;

  explicit Glib(const Sample& sample) : file_(g_key_file_new()) {
    if (!g_key_file_load_from_file(file_, sample.path(), G_KEY_FILE_NONE, nullptr)) std::abort();
  }
  ~Glib() { g_key_file_free(file_); }

  std::int32_t get(const Entry& entry, char* buffer) const {
    char* value = g_key_file_get_value(file_, entry.section.c_str(), entry.key.c_str(), nullptr);
    if (value == nullptr) return -1;
    const std::size_t length = std::strlen(value);
    std::memcpy(buffer, value, length + 1);
    g_free(value);
    return static_cast<std::int32_t>(length);
  }

 private:
  GKeyFile* file_;
};
#endif

#ifdef VDX_PEER_ABSLHASH
class Map {
 public:
  static constexpr const char* kName = "absl::flat_hash_map";
  static constexpr bool kParses = false;  // it is filled from what the file holds

  explicit Map(const Sample& sample) {
    for (const Entry& entry : sample.entries()) map_[entry.section][entry.key] = entry.value;
  }

  std::int32_t get(const Entry& entry, char* buffer) const {
    const auto section = map_.find(entry.section);
    if (section == map_.end()) return -1;
    const auto found = section->second.find(entry.key);
    if (found == section->second.end()) return -1;
    const std::string& value = found->second;
    std::memcpy(buffer, value.c_str(), value.size() + 1);
    return static_cast<std::int32_t>(value.size());
  }

 private:
  absl::flat_hash_map<std::string, absl::flat_hash_map<std::string, std::string>> map_;
};
#endif

template <class Store>
bool is_right(const Store& store, const std::vector<Entry>& entries) {
  char buffer[kBuffer];
  for (const Entry& entry : entries)
    if (store.get(entry, buffer) != static_cast<std::int32_t>(entry.value.size()) ||
        entry.value != buffer)
      return false;
  return true;
}

// An item is an entry. Releasing the file again is not timed.
template <class Store>
void add_parse(const Sample& sample) {
  if (!Store::kParses) return;
  benchmark::RegisterBenchmark(
      (std::string("config_parse/") + Store::kName).c_str(), [&sample](benchmark::State& state) {
        std::unique_ptr<Store> store;
        for (auto _ : state) {
          state.PauseTiming();
          store.reset();
          state.ResumeTiming();
          store = std::make_unique<Store>(sample);
        }
        const auto entries = static_cast<std::int64_t>(sample.entries().size());
        state.SetItemsProcessed(state.iterations() * entries);
        if (!is_right(*store, sample.entries())) state.SkipWithError("wrong results");
      });
}

template <class Store>
void add_lookup(const std::string& row, const Sample& sample) {
  const Store* store = &keep<Store>(sample);
  char* const buffer = keep<std::vector<char>>(kBuffer).data();
  const Entry* const wanted = sample.wanted().data();
  bench::contender(
      row, Store::kName, [=](std::size_t i) { return store->get(wanted[i], buffer) >= 0; }, [] {},
      [=, &sample] { return is_right(*store, sample.wanted()); });
}

#ifdef __GLIBC__
// Bytes of the heap that a parsed file keeps, an entry, with the heap's own overhead. Nothing may
// run before it: what others have given back would be used again without being counted.
template <class Store>
void add_memory(const Sample& sample) {
  const auto in_use = [] {
    const struct mallinfo2 heap = mallinfo2();
    return heap.uordblks + heap.hblkhd;
  };
  const std::size_t before = in_use();
  const auto store = std::make_unique<Store>(sample);
  const double bytes =
      static_cast<double>(in_use() - before) / static_cast<double>(sample.entries().size());
  benchmark::RegisterBenchmark((std::string("config_memory/") + Store::kName).c_str(),
                               [bytes](benchmark::State& state) {
                                 for (auto _ : state) benchmark::ClobberMemory();
                                 state.counters["bytes_per_item"] = bytes;
                               })
      ->Iterations(1);
}
#endif

template <class... Store>
void add_rows() {
  const auto& thousand = keep<Sample>(std::size_t{1000});
#ifdef __GLIBC__
  (add_memory<Store>(thousand), ...);
#endif
  (add_parse<Store>(thousand), ...);
  (add_lookup<Store>("config_lookup", thousand), ...);
  const auto& few = keep<Sample>(std::size_t{10});
  const auto& many = keep<Sample>(std::size_t{20000});
  (add_lookup<Store>("config_lookup_10", few), ...);
  (add_lookup<Store>("config_lookup_20000", many), ...);
}

}  // namespace

int main(int argc, char** argv) {
  add_rows<Ours
#ifdef VDX_PEER_ABSLHASH
           ,
           Map
#endif
#ifdef VDX_PEER_GLIB
           ,
           Glib
#endif
           >();
  return bench::run(argc, argv);
}
