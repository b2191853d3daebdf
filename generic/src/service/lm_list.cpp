#include "service/lm_list.h"

#include <algorithm>
#include <cstdlib>
#include <cstring>

#include "frame/allocate.h"

namespace vdx {
namespace {

constexpr std::uint64_t kFactor = 0x9E3779B97F4A7C15;

// Eight bytes a step; every bit of a step reaches the high half and is folded down from there.
std::uint32_t hash_of(const void* bytes, std::size_t length) {
  const char* at = static_cast<const char*>(bytes);
  std::uint64_t hash = length * kFactor;
  const auto step = [&hash](std::uint64_t chunk) {
    hash = (hash ^ chunk) * kFactor;
    hash ^= hash >> 32;
  };
  std::uint64_t chunk;
  for (; length >= sizeof chunk; at += sizeof chunk, length -= sizeof chunk) {
    std::memcpy(&chunk, at, sizeof chunk);
    step(chunk);
  }
  chunk = 0;
  if (length != 0) std::memcpy(&chunk, at, length);
  step(chunk);
  return static_cast<std::uint32_t>((hash * kFactor) >> 33);
}

}  // namespace

Key::Key(const void* key, std::int32_t key_length)
    : bytes(key), length(key_length), hash(hash_of(key, static_cast<std::size_t>(key_length))) {}

List::~List() {
  std::free(entries_);
  std::free(slots_);
}

std::size_t List::memory() const {
  return capacity_ * sizeof(Entry) + (slots_ != nullptr ? (mask_ + 1) * sizeof(Slot) : 0);
}

Key List::key_of(const Entry& one) {
  Key key;
  key.bytes = one.key;
  key.length = one.length;
  key.hash = one.hash;
  return key;
}

bool List::is_match(const Entry& one, const Key& key) {
  return one.hash == key.hash && one.length == key.length &&
         (key.length == 0 || std::memcmp(one.key, key.bytes, static_cast<std::size_t>(key.length)) == 0);
}

std::size_t List::find(const Key& key) const {
  if (slots_ == nullptr) {
    for (std::size_t i = first_; i < used_; ++i)
      if (is_match(entries_[i], key)) return i;
    return kNone;
  }
  for (std::size_t at = key.hash & mask_; slots_[at].entry != 0; at = (at + 1) & mask_)
    if (slots_[at].hash == key.hash && is_match(entries_[slots_[at].entry - 1], key)) return slots_[at].entry - 1;
  return kNone;
}

std::size_t List::after(std::int64_t serial) const {
  if (live_ == 0) return kNone;
  std::size_t index = first_;
  const std::int64_t oldest = entries_[0].serial;
  if (serial >= oldest) {
    // Serial numbers only grow, so that the entry cannot stand further on than this; where none was
    // packed away before it, it stands here.
    const auto distance = static_cast<std::uint64_t>(serial - oldest) + 1;
    index = distance < used_ ? static_cast<std::size_t>(distance) : used_;
    if (entries_[index - 1].serial > serial)
      index = static_cast<std::size_t>(
          std::upper_bound(entries_, entries_ + index, serial,
                           [](std::int64_t sought, const Entry& one) { return sought < one.serial; }) -
          entries_);
    index = std::max(index, first_);
  }
  while (index < used_ && entries_[index].length == kGap) ++index;
  return index < used_ ? index : kNone;
}

std::size_t List::find_element(const Key& key, const void* element) const {
  if (slots_ != nullptr) {
    const std::size_t oldest = find(key);
    if (oldest == kNone) return kNone;
    if (!entries_[oldest].may_have_namesake) return entries_[oldest].element == element ? oldest : kNone;
  }
  for (std::size_t i = used_; i-- > first_;) {
    const Entry& one = entries_[i];
    if (one.element == element && one.length != kGap && (!is_keyed_ || is_match(one, key))) return i;
  }
  return kNone;
}

std::size_t List::insert(vdx_context* context, const Key& key, void* element, std::size_t namesake) {
  if (namesake != kNone) entries_[namesake].may_have_namesake = 1;
  if (used_ == capacity_ && !grow(context)) return kNone;
  const std::size_t index = used_++;
  entries_[index] = {element, key.bytes, ++serial_, key.length, key.hash & 0x7FFFFFFF, 0};
  ++live_;
  if (slots_ != nullptr && namesake == kNone) add_to_index(index);
  return index;
}

void List::remove(std::size_t index) {
  if (slots_ != nullptr) take_from_index(index);
  entries_[index].length = kGap;
  entries_[index].key = nullptr;
  --live_;
  while (used_ > 0 && entries_[used_ - 1].length == kGap) --used_;
  while (first_ < used_ && entries_[first_].length == kGap) ++first_;
  if (live_ == 0) first_ = 0;
  // Paid for by the removals that made the gaps.
  if (used_ - live_ > live_ + kUnindexed) pack();
}

// Makes room for one entry at least.
bool List::grow(vdx_context* context) {
  if (used_ - live_ > capacity_ / 4) {
    pack();
    return true;
  }
  const std::size_t capacity = std::max(capacity_ * 2, kSmallest);
  if (capacity > kLargest) return false;
  auto* entries = static_cast<Entry*>(allocate(context, capacity * sizeof(Entry)));
  if (entries == nullptr) return false;
  Slot* slots = nullptr;
  const std::size_t slot_count = capacity * 2;
  if (is_keyed_ && capacity > kUnindexed) {
    slots = static_cast<Slot*>(allocate(context, slot_count * sizeof(Slot)));
    if (slots == nullptr) {
      std::free(entries);
      return false;
    }
    std::memset(slots, 0, slot_count * sizeof(Slot));
  }
  if (used_ != 0) std::memcpy(entries, entries_, used_ * sizeof(Entry));
  std::free(entries_);
  entries_ = entries;
  capacity_ = capacity;
  if (slots != nullptr) {
    std::free(slots_);
    slots_ = slots;
    mask_ = slot_count - 1;
    for (std::size_t i = first_; i < used_; ++i) {
      if (entries_[i].length == kGap) continue;
      const Key key = key_of(entries_[i]);
      const std::size_t namesake = find(key);
      if (namesake == kNone)
        add_to_index(i);
      else
        entries_[namesake].may_have_namesake = 1;
    }
  }
  return true;
}

// Closes the gaps.
void List::pack() {
  std::size_t to = 0;
  for (std::size_t from = first_; from < used_; ++from) {
    if (entries_[from].length == kGap) continue;
    if (to != from) {
      Slot* slot = slots_ != nullptr ? slot_of(from) : nullptr;
      if (slot != nullptr) slot->entry = static_cast<std::uint32_t>(to + 1);
      entries_[to] = entries_[from];
    }
    ++to;
  }
  used_ = to;
  first_ = 0;
}

// The slot that holds the entry; null for an entry that stands behind its namesake.
List::Slot* List::slot_of(std::size_t index) const {
  for (std::size_t at = entries_[index].hash & mask_; slots_[at].entry != 0; at = (at + 1) & mask_)
    if (slots_[at].entry == index + 1) return &slots_[at];
  return nullptr;
}

void List::add_to_index(std::size_t index) {
  const std::uint32_t hash = entries_[index].hash;
  std::size_t at = hash & mask_;
  while (slots_[at].entry != 0) at = (at + 1) & mask_;
  slots_[at] = {hash, static_cast<std::uint32_t>(index + 1)};
}

void List::take_from_index(std::size_t index) {
  Slot* slot = slot_of(index);
  if (slot == nullptr) return;
  if (entries_[index].may_have_namesake) {
    const Key key = key_of(entries_[index]);
    for (std::size_t i = index + 1; i < used_; ++i) {
      if (!is_match(entries_[i], key)) continue;
      entries_[i].may_have_namesake = 1;
      slot->entry = static_cast<std::uint32_t>(i + 1);
      return;
    }
  }
  free_slot(slot);
}

// Frees the slot and moves up what would no longer be reached over it.
void List::free_slot(Slot* slot) {
  auto hole = static_cast<std::size_t>(slot - slots_);
  for (std::size_t at = (hole + 1) & mask_; slots_[at].entry != 0; at = (at + 1) & mask_) {
    const std::size_t way = (at - slots_[at].hash) & mask_;
    if (way < ((at - hole) & mask_)) continue;
    slots_[hole] = slots_[at];
    hole = at;
  }
  slots_[hole].entry = 0;
}

}  // namespace vdx
