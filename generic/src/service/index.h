// A hash table by open addressing: slots in one array, whose number is a power of two. A slot is
// looked for from its home, the low bits of its hash, upwards and around to the first free slot; no
// free slot lies between a slot and its home. At most three quarters of the slots are in use, so
// that these ways are short.
//
// A slot is a small struct of the user's, all zero where it is free:
//
//   struct Slot {
//     ...                     what it leads to
//     std::uint32_t hash;     of its key, so that other keys are passed by without a look at them
//     bool is_free() const;
//   };
#ifndef VDX_SERVICE_INDEX_H
#define VDX_SERVICE_INDEX_H

#include <cstddef>
#include <cstdint>
#include <cstdlib>
#include <cstring>

#include "frame/allocate.h"

namespace vdx {

template <typename Slot>
class HashIndex {
 public:
  HashIndex() = default;
  HashIndex(const HashIndex&) = delete;
  HashIndex& operator=(const HashIndex&) = delete;
  ~HashIndex() { std::free(slots_); }

  // Whether there has been room for anything. Without, there is nothing to find.
  bool is_made() const { return slots_ != nullptr; }
  std::size_t count() const { return count_; }  // slots in use
  std::size_t memory() const { return size() * sizeof(Slot); }

  // The first slot of this hash that matches, or null.
  template <typename Match>
  Slot* find(std::uint32_t hash, const Match& matches) const {
    if (slots_ == nullptr) return nullptr;
    for (std::size_t at = hash & mask_; !slots_[at].is_free(); at = (at + 1) & mask_)
      if (slots_[at].hash == hash && matches(slots_[at])) return &slots_[at];
    return nullptr;
  }

  // Makes room for so many slots in all, with memory through the context (null: malloc). False, and
  // nothing changed, without memory.
  bool reserve(std::size_t count, vdx_context* context) {
    constexpr std::size_t kMost = PTRDIFF_MAX / sizeof(Slot);
    std::size_t wanted = slots_ == nullptr ? 16 : size();
    while (wanted / 4 * 3 < count) {
      if (wanted > kMost / 2) return false;
      wanted *= 2;
    }
    if (slots_ != nullptr && wanted == size()) return true;
    auto* made = static_cast<Slot*>(allocate(context, wanted * sizeof(Slot)));
    if (made == nullptr) return false;
    std::memset(static_cast<void*>(made), 0, wanted * sizeof(Slot));
    Slot* const old = slots_;
    const std::size_t old_size = size();
    slots_ = made;
    mask_ = wanted - 1;
    for (std::size_t i = 0; i < old_size; ++i)
      if (!old[i].is_free()) place(old[i]);
    std::free(old);
    return true;
  }

  // The slot must have room, and may have namesakes: it comes behind them.
  void add(const Slot& slot) {
    place(slot);
    ++count_;
  }

  // With room made, too.
  bool insert(const Slot& slot, vdx_context* context) {
    if (!reserve(count_ + 1, context)) return false;
    add(slot);
    return true;
  }

  // Frees a slot. Those that the gap would cut off from their homes move into it, one after
  // another.
  void erase(Slot* slot) {
    auto hole = static_cast<std::size_t>(slot - slots_);
    for (std::size_t at = (hole + 1) & mask_; !slots_[at].is_free(); at = (at + 1) & mask_) {
      const std::size_t way = (at - slots_[at].hash) & mask_;
      if (way < ((at - hole) & mask_)) continue;
      slots_[hole] = slots_[at];
      hole = at;
    }
    slots_[hole] = {};
    --count_;
  }

  // Empties the index. Keeps up to 1024 slots allocated.
  void clear() {
    constexpr std::size_t kKept = 1024;
    if (count_ == 0) return;
    count_ = 0;
    if (size() <= kKept) {
      std::memset(static_cast<void*>(slots_), 0, memory());
    } else {
      std::free(slots_);
      slots_ = nullptr;
    }
  }

 private:
  std::size_t size() const { return slots_ == nullptr ? 0 : mask_ + 1; }

  void place(const Slot& slot) {
    std::size_t at = slot.hash & mask_;
    while (!slots_[at].is_free()) at = (at + 1) & mask_;
    slots_[at] = slot;
  }

  Slot* slots_ = nullptr;
  std::size_t mask_ = 0;  // slots less one
  std::size_t count_ = 0;
};

}  // namespace vdx

#endif
