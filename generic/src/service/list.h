// The inside of a list: entries in the order of their insertion, and for keyed lists a hashed index
// of them.
//
// Entries are kept in one array. A deleted one leaves a gap until the array is packed. Each entry
// has a serial number that never changes and is never used again, so that a place in the list,
// which is such a number, stays good whatever happens to the array. Serial numbers grow along the
// array.
//
// Several entries may have one key; these are namesakes. The index holds the oldest of them, and
// that entry says that there may be others.
#ifndef VDX_SERVICE_LIST_H
#define VDX_SERVICE_LIST_H

#include <cstddef>
#include <cstdint>
#include <cstdlib>
#include <string_view>

#include "service/hash.h"
#include "service/index.h"
#include "vdxcomn/list.h"

namespace vdx {

// A key, whose bytes are their owner's, with its hash.
struct Key {
  const char* bytes = nullptr;
  std::int32_t length = 0;
  std::uint32_t hash = 0;  // 31 bits, as an entry keeps it

  Key() = default;
  Key(const void* key, std::int32_t key_length)
      : bytes(static_cast<const char*>(key)),
        length(key_length),
        hash(hash_text({bytes, static_cast<std::size_t>(key_length)}) >> 1) {}

  bool is(const char* other, std::int32_t other_length) const {
    const auto size = static_cast<std::size_t>(length);
    return length == other_length && same_text({bytes, size}, {other, size});
  }
};

class List {
 public:
  explicit List(bool is_keyed) : is_keyed_(is_keyed) {}
  ~List() { std::free(entries_); }
  List(const List&) = delete;
  List& operator=(const List&) = delete;

  struct Entry {
    void* element;
    const char* key;
    std::int64_t serial;  // from 1
    std::int32_t length;  // of the key; kGap in a gap
    std::uint32_t hash : 31;
    std::uint32_t may_have_namesake : 1;
  };
  static constexpr std::size_t kNone = SIZE_MAX;

  bool is_keyed() const { return is_keyed_; }
  std::size_t count() const { return live_; }
  std::size_t memory() const;
  const Entry& entry(std::size_t index) const { return entries_[index]; }

  // The oldest entry of the key, or kNone.
  std::size_t find(const Key& key) const {
    if (!index_.is_made()) return find_without_index(key);
    const Slot* slot = find_slot(key);
    return slot != nullptr ? slot->entry - 1 : kNone;
  }
  // The first entry after the serial number, or kNone.
  std::size_t after(std::int64_t serial) const;
  // The newest entry of this element, and of this key in a keyed list, or kNone.
  std::size_t find_element(const Key& key, const void* element) const;

  // Adds an entry at the end. kNone without memory. namesake: what find returns for the key.
  std::size_t insert(vdx_context* context, const Key& key, void* element, std::size_t namesake);
  void remove(std::size_t index);

 private:
  static constexpr std::int32_t kGap = -1;
  static constexpr std::size_t kSmallest = 2;
  // Up to so many entries looking at each is as fast as the index, and saves its memory.
  static constexpr std::size_t kUnindexed = 8;
  static constexpr std::size_t kLargest = std::size_t{1} << 30;

  // The key is here as well, so that its bytes and its entry are loaded at the same time.
  struct Slot {
    const char* key;
    std::uint32_t hash;
    std::uint32_t entry;  // one more than its place in the array; 0: a free slot

    bool is_free() const { return entry == 0; }
  };

  static Key key_of(const Entry& one);
  static bool is_match(const Entry& one, const Key& key) {
    return one.hash == key.hash && key.is(one.key, one.length);
  }
  Slot* find_slot(const Key& key) const {
    return index_.find(key.hash, [this, &key](const Slot& slot) {
      return key.is(slot.key, entries_[slot.entry - 1].length);
    });
  }
  std::size_t find_without_index(const Key& key) const;
  bool grow(vdx_context* context);
  bool make_index(vdx_context* context, std::size_t capacity);
  void pack();
  Slot* slot_of(std::size_t index) const;
  Slot slot_for(std::size_t index) const;
  void take_from_index(std::size_t index);

  Entry* entries_ = nullptr;
  HashIndex<Slot> index_;     // not made while a look at every entry is as fast
  std::size_t capacity_ = 0;  // of entries_
  std::size_t used_ = 0;      // entries and gaps
  std::size_t live_ = 0;
  std::size_t first_ = 0;    // there is no entry before it
  std::int64_t serial_ = 0;  // of the newest entry ever
  bool is_keyed_;
};

}  // namespace vdx

#endif
