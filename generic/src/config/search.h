// Walking the values of a key: those of its section in the order of the file, then those of the
// section's includes in their order, each with its own includes.
#ifndef VDX_CONFIG_SEARCH_H
#define VDX_CONFIG_SEARCH_H

#include <cstdint>
#include <string_view>

#include "config/parsed.h"
#include "vdxcomn/config.h"

// A place in that walk. A cursor stands for a section; its child, where it has one, for the include
// of that section which is being searched. The caller's is the root. The deepest one has no child
// and holds the value that was returned last.
struct vdx_cfg_cursor {
  const vdx::CfgSection* section;
  const vdx::CfgEntry* entry;      // null: the section has no further value
  const vdx::CfgValue* value;      // returned last
  const vdx::CfgInclude* include;  // being searched, null before the first
  vdx_cfg_cursor* parent;
  vdx_cfg_cursor* child;
};

namespace vdx {

// One step of a walk from a root, which may be on the caller's stack.
class Search {
 public:
  Search(CfgParsed& parsed, const vdx_cfg_cursor* root) : parsed_(parsed), root_(root) {}

  // The next value after the deepest cursor. Null at the end, and without memory; the cursors below
  // the root are freed then.
  const CfgValue* next(vdx_cfg_cursor* deepest, std::string_view key);
  bool out_of_memory() const { return out_of_memory_; }

 private:
  vdx_cfg_cursor* enter(vdx_cfg_cursor* at, const CfgInclude* include, std::string_view key);
  vdx_cfg_cursor* leave(vdx_cfg_cursor* at);
  void note_barren(const CfgSection* section);
  bool is_barren(const CfgSection* section) const;

  CfgParsed& parsed_;
  const vdx_cfg_cursor* root_;
  NodeIndex<const CfgSection> barren_;
  std::int32_t left_ = 0;  // sections that were left without a value
  bool out_of_memory_ = false;
};

inline vdx_cfg_cursor* deepest_of(vdx_cfg_cursor* cursor) {
  while (cursor->child != nullptr) cursor = cursor->child;
  return cursor;
}

// Releases a cursor with those below it; null is nothing to do.
void release_cursors(CfgParsed& parsed, vdx_cfg_cursor* cursor);

}  // namespace vdx

#endif
