// How a list keeps its entries; list.h says what it keeps.
#include "service/list.h"

#include <algorithm>
#include <cstdlib>
#include <cstring>

#include "frame/allocate.h"

namespace vdx {

std::size_t List::memory() const { return capacity_ * sizeof(Entry) + index_.memory(); }

Key List::key_of(const Entry& one) {
  Key key;
  key.bytes = one.key;
  key.length = one.length;
  key.hash = one.hash;
  return key;
}

std::size_t List::find_without_index(const Key& key) const {
  for (std::size_t i = first_; i < used_; ++i)
    if (is_match(entries_[i], key)) return i;
  return kNone;
}

std::size_t List::after(std::int64_t serial) const {
  if (live_ == 0) return kNone;
  std::size_t index = first_;
  const std::int64_t oldest = entries_[0].serial;
  if (serial >= oldest) {
    // Serial numbers grow by one or more from entry to entry, so the entry is here, or before here
    // where others were packed away.
    const auto distance = static_cast<std::uint64_t>(serial - oldest) + 1;
    index = distance < used_ ? static_cast<std::size_t>(distance) : used_;
    if (entries_[index - 1].serial > serial)
      index = static_cast<std::size_t>(std::upper_bound(entries_, entries_ + index, serial,
                                                        [](std::int64_t sought, const Entry& one) {
                                                          return sought < one.serial;
                                                        }) -
                                       entries_);
    index = std::max(index, first_);
  }
  while (index < used_ && entries_[index].length == kGap) ++index;
  return index < used_ ? index : kNone;
}

std::size_t List::find_element(const Key& key, const void* element) const {
  if (index_.is_made()) {
    const std::size_t oldest = find(key);
    if (oldest == kNone) return kNone;
    if (!entries_[oldest].may_have_namesake)
      return entries_[oldest].element == element ? oldest : kNone;
  }
  for (std::size_t i = used_; i-- > first_;) {
    const Entry& one = entries_[i];
    if (one.element == element && one.length != kGap && (!is_keyed_ || is_match(one, key)))
      return i;
  }
  return kNone;
}

std::size_t List::insert(vdx_context* context, const Key& key, void* element,
                         std::size_t namesake) {
  if (namesake != kNone) entries_[namesake].may_have_namesake = 1;
  if (used_ == capacity_ && !grow(context)) return kNone;
  const std::size_t index = used_++;
  entries_[index] = {element, key.bytes, ++serial_, key.length, key.hash & 0x7FFFFFFF, 0};
  ++live_;
  if (index_.is_made() && namesake == kNone) index_.add(slot_for(index));
  return index;
}

void List::remove(std::size_t index) {
  if (index_.is_made()) take_from_index(index);
  entries_[index].length = kGap;
  entries_[index].key = nullptr;
  --live_;
  while (used_ > 0 && entries_[used_ - 1].length == kGap) --used_;
  while (first_ < used_ && entries_[first_].length == kGap) ++first_;
  if (live_ == 0) first_ = 0;
  // Amortised O(1): each gap was one removal.
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
  if (is_keyed_ && capacity > kUnindexed && !make_index(context, capacity)) {
    std::free(entries);
    return false;
  }
  if (used_ != 0) std::memcpy(entries, entries_, used_ * sizeof(Entry));
  std::free(entries_);
  entries_ = entries;
  capacity_ = capacity;
  return true;
}

// Makes room in the index, and the index itself the first time.
bool List::make_index(vdx_context* context, std::size_t capacity) {
  const bool is_new = !index_.is_made();
  if (!index_.reserve(capacity, context)) return false;
  for (std::size_t i = first_; is_new && i < used_; ++i) {
    if (entries_[i].length == kGap) continue;
    const std::size_t namesake = find(key_of(entries_[i]));
    if (namesake == kNone)
      index_.add(slot_for(i));
    else
      entries_[namesake].may_have_namesake = 1;
  }
  return true;
}

// Closes the gaps.
void List::pack() {
  std::size_t to = 0;
  for (std::size_t from = first_; from < used_; ++from) {
    if (entries_[from].length == kGap) continue;
    if (to != from) {
      Slot* slot = index_.is_made() ? slot_of(from) : nullptr;
      if (slot != nullptr) slot->entry = static_cast<std::uint32_t>(to + 1);
      entries_[to] = entries_[from];
    }
    ++to;
  }
  used_ = to;
  first_ = 0;
}

// The slot that holds the entry; null for an entry that has an older namesake.
List::Slot* List::slot_of(std::size_t index) const {
  return index_.find(entries_[index].hash,
                     [index](const Slot& slot) { return slot.entry == index + 1; });
}

List::Slot List::slot_for(std::size_t index) const {
  return {entries_[index].key, entries_[index].hash, static_cast<std::uint32_t>(index + 1)};
}

void List::take_from_index(std::size_t index) {
  Slot* slot = slot_of(index);
  if (slot == nullptr) return;
  if (entries_[index].may_have_namesake) {
    const Key key = key_of(entries_[index]);
    for (std::size_t i = index + 1; i < used_; ++i) {
      if (!is_match(entries_[i], key)) continue;
      entries_[i].may_have_namesake = 1;
      *slot = slot_for(i);
      return;
    }
  }
  index_.erase(slot);
}

}  // namespace vdx
