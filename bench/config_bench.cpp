// Configuration files and lists beside their peers: a parse, lookups in small and large files, of
// keys that are there and that are not, the memory that a parsed file keeps, and finding an element
// of a list. Every contender works on the same file of 20 entries a section, or on the same keys.
#include <cstdio>
#include <cstdlib>
#include <filesystem>
#include <fstream>

#include "bench_common.h"
#include "vdxcomn/config.h"
#include "vdxcomn/list.h"

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
    missing_ = wanted_;
    for (Entry& entry : missing_) entry.key += '_';
  }
  Sample(const Sample&) = delete;
  Sample& operator=(const Sample&) = delete;
  ~Sample() { std::remove(path_.c_str()); }

  const char* path() const { return path_.c_str(); }
  const std::vector<Entry>& entries() const { return entries_; }
  const std::vector<Entry>& wanted() const { return wanted_; }
  const std::vector<Entry>& missing() const { return missing_; }

 private:
  std::string path_;
  std::vector<Entry> entries_;
  std::vector<Entry> wanted_;   // of each item of a pass
  std::vector<Entry> missing_;  // the same in keys that their sections do not have
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

template <class Store>
void add_missing(const Sample& sample) {
  const Store* store = &keep<Store>(sample);
  char* const buffer = keep<std::vector<char>>(kBuffer).data();
  const Entry* const missing = sample.missing().data();
  const auto is_missing = [=](std::size_t i) { return store->get(missing[i], buffer) < 0; };
  bench::contender(
      "config_missing", Store::kName, is_missing, [] {},
      [=, &sample] {
        for (std::size_t i = 0; i < sample.missing().size(); ++i)
          if (!is_missing(i)) return false;
        return true;
      });
}

// Keys of a list, 6 to 21 bytes, and which of them each item of a pass finds.
struct Keys {
  std::vector<std::string> all;
  std::vector<std::size_t> wanted;
  std::vector<std::string> sought;  // copies of those
  explicit Keys(std::size_t count) {
    bench::Random random(count);
    for (std::size_t i = 0; i < count; ++i)
      all.push_back("key" + number(i, 3 + random.between(0, 15)));
    for (std::size_t i = 0; i < kItems; ++i) {
      wanted.push_back(random.between(0, count - 1));
      sought.push_back(all[wanted.back()]);
    }
  }
};

class OurList {
 public:
  static constexpr const char* kName = "ours";

  explicit OurList(const std::vector<std::string>& keys) {
    if (lm_initlm(nullptr, "bench", VDX_NULLTERM, &instance_) != XS_SUCCEED ||
        lm_list_alloc(instance_, "keys", VDX_NULLTERM, VDX_LM_KEYED, &list_) != XS_SUCCEED)
      std::abort();
    for (const std::string& key : keys) {
      void* element = const_cast<std::string*>(&key);
      lm_list_op(list_, VDX_LM_INSERT, key.data(), static_cast<std::int32_t>(key.size()), &element,
                 nullptr);
    }
  }
  ~OurList() { lm_exit(instance_); }

  const void* find(const std::string& key) const {
    void* element = nullptr;
    lm_list_op(list_, VDX_LM_FIND, key.data(), static_cast<std::int32_t>(key.size()), &element,
               nullptr);
    return element;
  }

 private:
  vdx_listmgr* instance_;
  vdx_list* list_;
};

#ifdef VDX_PEER_ABSLHASH
class MapList {
 public:
  static constexpr const char* kName = "absl::flat_hash_map";

  explicit MapList(const std::vector<std::string>& keys) {
    for (const std::string& key : keys) map_[key] = &key;
  }
  const void* find(const std::string& key) const {
    const auto found = map_.find(key);
    return found == map_.end() ? nullptr : found->second;
  }

 private:
  absl::flat_hash_map<std::string, const void*> map_;
};
#endif

template <class Store>
void add_find(const std::string& row, const Keys& keys) {
  const Store* store = &keep<Store>(keys.all);
  const auto is_found = [store, &keys](std::size_t i) {
    return store->find(keys.sought[i]) == &keys.all[keys.wanted[i]];
  };
  bench::contender(
      row, Store::kName, is_found, [] {},
      [is_found] {
        for (std::size_t i = 0; i < kItems; ++i)
          if (!is_found(i)) return false;
        return true;
      });
}

template <class... Store>
void add_finds() {
  for (const std::size_t count : {1000, 30000, 1000000}) {
    const auto& keys = keep<Keys>(count);
    (add_find<Store>("list_find_" + std::to_string(count), keys), ...);
  }
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
  (add_missing<Store>(thousand), ...);
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
  add_finds<OurList
#ifdef VDX_PEER_ABSLHASH
            ,
            MapList
#endif
            >();
  return bench::run(argc, argv);
}
