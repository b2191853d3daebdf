// The steps of a walk through the values of a key.
#include "config/search.h"

namespace vdx {

const CfgValue* Search::next(vdx_cfg_cursor* deepest, std::string_view key) {
  vdx_cfg_cursor* at = deepest;
  std::int32_t entered = 0;  // sections that this step is in; they had no value on the way
  for (;;) {
    if (at->entry != nullptr) {
      const CfgValue* value = at->value == nullptr ? at->entry->values.first : at->value->next;
      if (value != nullptr) {
        at->value = value;
        return value;
      }
      at->entry = nullptr;
    }
    const CfgInclude* include =
        at->include == nullptr ? at->section->includes.first : at->include->next;
    if (include != nullptr && is_barren(include->section)) {
      at->include = include;
    } else if (include != nullptr) {
      vdx_cfg_cursor* child = enter(at, include, key);
      if (child == nullptr) {
        out_of_memory_ = true;
        while (at != root_) at = leave(at);
        return nullptr;
      }
      at = child;
      ++entered;
    } else if (at == root_) {
      return nullptr;
    } else {
      if (entered > 0) {
        --entered;
        note_barren(at->section);
      }
      at = leave(at);
    }
  }
}

// Null without memory.
vdx_cfg_cursor* Search::enter(vdx_cfg_cursor* at, const CfgInclude* include, std::string_view key) {
  auto* child = parsed_.make<vdx_cfg_cursor>();
  if (child == nullptr) return nullptr;
  const CfgSection* section = include->section;
  *child = {section, parsed_.find_entry(section, key), nullptr, nullptr, at, nullptr};
  at->include = include;
  at->child = child;
  return child;
}

vdx_cfg_cursor* Search::leave(vdx_cfg_cursor* at) {
  vdx_cfg_cursor* parent = at->parent;
  parsed_.pool->release(at, sizeof *at);
  parent->child = nullptr;
  return parent;
}

// Where sections include each other's includes, there are twice as many ways to the last of them
// with each. After the first few, sections that had nothing are not entered again; without memory
// to note them the search is longer, not wrong.
void Search::note_barren(const CfgSection* section) {
  constexpr std::int32_t kFew = 32;
  if (++left_ > kFew && !is_barren(section)) barren_.insert_node(section);
}

bool Search::is_barren(const CfgSection* section) const {
  return barren_.find_node(section->hash,
                           [section](const CfgSection& at) { return &at == section; }) != nullptr;
}

void release_cursors(CfgParsed& parsed, vdx_cfg_cursor* cursor) {
  while (cursor != nullptr) {
    vdx_cfg_cursor* child = cursor->child;
    parsed.pool->release(cursor, sizeof *cursor);
    cursor = child;
  }
}

}  // namespace vdx
