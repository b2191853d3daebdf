// Lists of entries for user datatypes, linked in the order of installation. Entries are added one by
// one and released all together. A link is the list's head or the `next` of an entry.
#ifndef VDX_CONVERT_EXTENSION_H
#define VDX_CONVERT_EXTENSION_H

#include <cstdint>
#include <cstdlib>

#include "frame/allocate.h"

namespace vdx {

// The link to the entry with the wanted code; without one, the null link at the end.
template <typename Entry>
Entry** find_link(Entry** link, Entry* Entry::*next, std::int32_t Entry::*code,
                  std::int32_t wanted) {
  while (*link != nullptr && (*link)->*code != wanted) link = &((*link)->*next);
  return link;
}

// The entry at the link, made from `fresh` where the link is null; null where memory ran out.
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

// Releases all entries, each after what it holds.
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
