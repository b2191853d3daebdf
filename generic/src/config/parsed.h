// What a configuration file is when it has been parsed: its sections with their entries and
// includes, and two indexes by which lookups find them.
//
// Everything lies in one pool and is released with it. Names, keys and values are bytes with a
// length, not terminated. Sections and entries keep the order of the file. Of sections with one
// name, and of entries with one key in a section, only the first is found; a key that comes again
// adds a value to its entry instead.
#ifndef VDX_CONFIG_PARSED_H
#define VDX_CONFIG_PARSED_H

#include <cstddef>
#include <cstdint>
#include <string_view>

#include "service/hash.h"
#include "service/index.h"
#include "service/pool.h"
#include "vdxcomn/thread.h"

namespace vdx {

// A singly linked list that keeps the order of insertion. Node has a field next.
template <typename Node>
struct Chain {
  Node* first = nullptr;
  Node* last = nullptr;

  void append(Node* node) {
    (last != nullptr ? last->next : first) = node;
    last = node;
  }
};

struct CfgSection;
struct CfgParse;

// The text is stored after the object, in one allocation.
struct CfgValue {
  CfgValue* next;
  std::int32_t length;

  char* bytes() { return reinterpret_cast<char*>(this + 1); }
  const char* bytes() const { return reinterpret_cast<const char*>(this + 1); }
};

struct CfgInclude {
  CfgInclude* next;
  CfgSection* section;  // defined before the one that includes it, so that there are no rings
};

// Stored in one allocation with its key and its first value after it, so that a lookup finds them
// in one place.
struct CfgEntry {
  CfgEntry* next;
  CfgSection* section;
  std::int32_t length;  // of the key
  std::uint32_t hash;   // of key and section
  Chain<CfgValue> values;

  const char* key() const { return reinterpret_cast<const char*>(this + 1); }
  std::string_view text() const { return {key(), static_cast<std::size_t>(length)}; }
  // Bytes of the entry with its key, which is where its first value starts.
  static std::size_t size(std::size_t key_length) {
    return (sizeof(CfgEntry) + key_length + alignof(CfgValue) - 1) & ~(alignof(CfgValue) - 1);
  }
};

struct CfgSection {
  CfgSection* next;
  CfgSection* previous;
  char* name;
  std::int32_t length;
  std::uint32_t hash;
  std::int32_t line;
  Chain<CfgInclude> includes;
  Chain<CfgEntry> entries;
  bool is_first;  // of its name: the one that lookups find

  std::string_view text() const { return {name, static_cast<std::size_t>(length)}; }
};

template <typename Node>
struct NodeSlot {
  Node* node;
  std::uint32_t hash;

  bool is_free() const { return node == nullptr; }
};

// An index of nodes that know their hash.
template <typename Node>
class NodeIndex : public HashIndex<NodeSlot<Node>> {
 public:
  template <typename Match>
  Node* find_node(std::uint32_t hash, const Match& matches) const {
    const auto* slot =
        this->find(hash, [&matches](const NodeSlot<Node>& at) { return matches(*at.node); });
    return slot != nullptr ? slot->node : nullptr;
  }
  bool insert_node(Node* node) { return this->insert({node, node->hash}, nullptr); }
  // Does nothing for a node that is not there.
  void erase_node(const Node* node) {
    auto* slot =
        this->find(node->hash, [node](const NodeSlot<Node>& at) { return at.node == node; });
    if (slot != nullptr) this->erase(slot);
  }
};

struct CfgParsed {
  char* name;  // of the file; zero-terminated
  std::int32_t length;
  Chain<CfgSection> sections;
  NodeIndex<CfgSection> section_index;  // the first section of each name
  // Entries of those sections, the only ones that are looked up: the same key of a section with a
  // name that was taken would have the same hash. Filled at the end of a parse, when their number
  // is known.
  NodeIndex<CfgEntry> entry_index;
  Pool* pool = nullptr;
  void* backing = nullptr;
  vdx_mutex* mutex = nullptr;
  CfgParse* parse = nullptr;  // while the file is being parsed
  std::int32_t open_quote;    // line of the quote that the file does not close; 0: none

  std::string_view file() const { return {name, static_cast<std::size_t>(length)}; }

  template <typename Node>
  Node* make() {
    return static_cast<Node*>(pool->allocate(sizeof(Node)));
  }

  // hash: hash_text(text).
  CfgSection* find_section(std::string_view text, std::uint32_t hash) const {
    return section_index.find_node(
        hash, [text](const CfgSection& at) { return same_text(text, at.text()); });
  }
  CfgSection* find_section(std::string_view text) const {
    return find_section(text, hash_text(text));
  }
  // In the first section of a name, whose hash is section_hash.
  CfgEntry* find_entry(std::string_view section, std::uint32_t section_hash,
                       std::string_view key) const {
    return entry_index.find_node(hash_text(key, section_hash), [section, key](const CfgEntry& at) {
      return same_text(key, at.text()) && same_text(section, at.section->text());
    });
  }
  CfgEntry* find_entry(const CfgSection* section, std::string_view key) const {
    return entry_index.find_node(hash_text(key, section->hash), [section, key](const CfgEntry& at) {
      return at.section == section && same_text(key, at.text());
    });
  }
  void remove_section(CfgSection* section);  // the newest, being filled
  bool index_entries();                      // false without memory
};

// Makes the parsed data of a file, still empty; null without memory. drop_parsed takes null, too.
CfgParsed* make_parsed(std::string_view name);
void drop_parsed(CfgParsed* parsed);

}  // namespace vdx

#endif
