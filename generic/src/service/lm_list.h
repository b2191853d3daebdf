// The inside of a list: entries in insertion order, and for keyed lists a hashed index of them.
#ifndef VDX_SERVICE_LM_LIST_H
#define VDX_SERVICE_LM_LIST_H

#include <cstddef>
#include <cstdint>

#include "vdxcomn/list.h"

namespace vdx {

// Bytes of a key, kept by their owner, and their hash.
struct Key {
  const void* bytes = nullptr;
  std::int32_t length = 0;
  std::uint32_t hash = 0;  // 31 bits

  Key() = default;
  Key(const void* bytes, std::int32_t length);
};

// Entries stand in one array in the order of their insertion; a deleted one leaves a gap until the
// array is packed. Each has a serial number that never changes and is never used again, so that a
// place in the list is good whatever happens to the array.
//
// Keys may repeat: the index knows the oldest entry of a key, which says that there may be others.
class List {
 public:
  explicit List(bool is_keyed) : is_keyed_(is_keyed) {}
  ~List();
  List(const List&) = delete;
  List& operator=(const List&) = delete;

  struct Entry {
    void* element;
    const void* key;
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
  std::size_t find(const Key& key) const;
  // The first entry behind the serial number, or kNone.
  std::size_t after(std::int64_t serial) const;
  // The youngest entry of this element, and key in a keyed list, or kNone.
  std::size_t find_element(const Key& key, const void* element) const;

  // Adds an entry at the end, or returns kNone where memory is short. namesake: what find() gives.
  std::size_t insert(vdx_context* context, const Key& key, void* element, std::size_t namesake);
  void remove(std::size_t index);

 private:
  static constexpr std::int32_t kGap = -1;
  static constexpr std::size_t kSmallest = 2;
  // Up to here a look at every entry is as fast as the index, and saves its memory.
  static constexpr std::size_t kUnindexed = 8;
  static constexpr std::size_t kLargest = std::size_t{1} << 30;

  struct Slot {
    std::uint32_t hash;
    std::uint32_t entry;  // one more than its index; 0: a free slot
  };

  static Key key_of(const Entry& one);
  static bool is_match(const Entry& one, const Key& key);
  bool grow(vdx_context* context);
  void pack();
  Slot* slot_of(std::size_t index) const;
  void free_slot(Slot* slot);
  void add_to_index(std::size_t index);
  void take_from_index(std::size_t index);

  Entry* entries_ = nullptr;
  Slot* slots_ = nullptr;     // null while every entry is looked at
  std::size_t capacity_ = 0;  // of entries_
  std::size_t used_ = 0;      // entries and gaps
  std::size_t live_ = 0;
  std::size_t first_ = 0;     // no entry stands before it
  std::size_t mask_ = 0;      // slots less one
  std::int64_t serial_ = 0;   // of the youngest entry ever
  bool is_keyed_;
};

}  // namespace vdx

#endif
