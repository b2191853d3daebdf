// Lists of what a context holds for user datatypes: entries made one by one, in the order in which
// they came, never taken out before all are.
#ifndef VDX_CONVERT_EXTENSION_H
#define VDX_CONVERT_EXTENSION_H

#include <cstdint>
#include <cstdlib>

#include "frame/allocate.h"

namespace vdx {

// Where the entry with the wanted code hangs, or would: the head or the last entry's link.
template <typename Entry>
Entry** find_link(Entry** link, Entry* Entry::*next, std::int32_t Entry::*code,
                  std::int32_t wanted) {
  while (*link != nullptr && (*link)->*code != wanted) link = &((*link)->*next);
  return link;
}

// The entry that hangs at the link, made like `fresh` where there is none; null without memory.
template <typename Entry>
Entry* entry_at(vdx_context* context, Entry** link, const Entry& fresh) {
  if (*link == nullptr) {
    auto* const added = static_cast<Entry*>(allocate(context, sizeof(Entry)));
    if (added == nullptr) return nullptr;
    *added = fresh;
    *link = added;
  }
  return *link;
}

// Releases a chain, what an entry holds first.
template <typename Entry, typename Release>
void free_chain(Entry* entry, Entry* Entry::*next, Release release) {
  while (entry != nullptr) {
    Entry* const following = entry->*next;
    release(*entry);
    std::free(entry);
    entry = following;
  }
}

}  // namespace vdx

#endif
