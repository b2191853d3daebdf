// A parsed configuration file: its sections and entries, who uses it, and its parse while that runs.
#ifndef VDX_CONFIG_COMCFG_H
#define VDX_CONFIG_COMCFG_H

#include <atomic>
#include <cstdint>
#include <cstdlib>
#include <cstring>
#include <string_view>

#include "frame/platform.h"
#include "intl/charattr.h"
#include "service/pool.h"
#include "vdxcomn/config.h"
#include "vdxcomn/errors.h"
#include "vdxcomn/thread.h"

namespace vdx {

inline constexpr std::int32_t kLongestFileName = 512;
inline constexpr std::size_t kLongestMessageText = 254;

// A singly linked list that keeps the order of insertion. Node has a field next.
template <class Node>
struct Chain {
  Node* first = nullptr;
  Node* last = nullptr;

  void append(Node* node) {
    (last != nullptr ? last->next : first) = node;
    last = node;
  }
};

struct CfgSection;

struct CfgValue {
  CfgValue* next;
  char* bytes;
  std::int32_t length;
};

struct CfgInclude {
  CfgInclude* next;
  CfgSection* section;  // defined before the one that includes it, so that there are no rings
};

struct CfgEntry {
  CfgEntry* next;
  CfgSection* section;
  char* key;
  std::int32_t length;
  std::uint32_t hash;  // of key and section
  Chain<CfgValue> values;

  bool is(std::uint32_t wanted, const CfgSection* in, std::string_view name) const {
    return hash == wanted && section == in &&
           std::string_view(key, static_cast<std::size_t>(length)) == name;
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

  bool is(std::uint32_t wanted, std::string_view wanted_name) const {
    return hash == wanted && text() == wanted_name;
  }
  std::string_view text() const { return {name, static_cast<std::size_t>(length)}; }
};

std::uint32_t hash_text(std::string_view text, std::uint32_t seed);

// Open addressing over nodes that know their hash; at most three quarters full.
template <class Node>
class CfgIndex {
 public:
  CfgIndex() = default;
  CfgIndex(const CfgIndex&) = delete;
  CfgIndex& operator=(const CfgIndex&) = delete;
  ~CfgIndex() { std::free(slots_); }

  template <class... Key>
  Node* find(std::uint32_t hash, const Key&... key) const {
    if (slots_ == nullptr) return nullptr;
    for (std::uint32_t at = hash & mask_; slots_[at].node != nullptr; at = (at + 1) & mask_)
      if (slots_[at].hash == hash && slots_[at].node->is(hash, key...)) return slots_[at].node;
    return nullptr;
  }

  bool insert(Node* node) {
    if ((slots_ == nullptr || count_ >= mask_ / 4 * 3) && !grow()) return false;
    place(node);
    ++count_;
    return true;
  }

  // Takes a node out where it is in; those behind it move up so that no probe ends too early.
  void erase(const Node* node) {
    if (slots_ == nullptr) return;
    std::uint32_t hole = node->hash & mask_;
    for (; slots_[hole].node != node; hole = (hole + 1) & mask_)
      if (slots_[hole].node == nullptr) return;
    for (std::uint32_t at = (hole + 1) & mask_; slots_[at].node != nullptr; at = (at + 1) & mask_) {
      const std::uint32_t home = slots_[at].hash & mask_;
      if (((at - home) & mask_) < ((at - hole) & mask_)) continue;
      slots_[hole] = slots_[at];
      hole = at;
    }
    slots_[hole] = {};
    --count_;
  }

  std::size_t memory() const {
    return slots_ == nullptr ? 0 : (std::size_t{mask_} + 1) * sizeof(Slot);
  }

 private:
  struct Slot {
    Node* node;
    std::uint32_t hash;
  };

  void place(Node* node) {
    std::uint32_t at = node->hash & mask_;
    while (slots_[at].node != nullptr) at = (at + 1) & mask_;
    slots_[at] = {node, node->hash};
  }

  bool grow() {
    const std::size_t size = slots_ == nullptr ? 16 : (std::size_t{mask_} + 1) * 2;
    if (size > (std::size_t{1} << 31)) return false;
    Slot* old = slots_;
    const std::size_t old_size = old == nullptr ? 0 : std::size_t{mask_} + 1;
    auto* made = static_cast<Slot*>(std::malloc(size * sizeof(Slot)));
    if (made == nullptr) return false;
    std::memset(static_cast<void*>(made), 0, size * sizeof(Slot));
    slots_ = made;
    mask_ = static_cast<std::uint32_t>(size - 1);
    for (std::size_t i = 0; i < old_size; ++i)
      if (old[i].node != nullptr) place(old[i].node);
    std::free(old);
    return true;
  }

  Slot* slots_ = nullptr;
  std::uint32_t mask_ = 0;
  std::uint32_t count_ = 0;
};

// A character that was read ahead: as the scanner sees it, and its bytes in the raw buffer.
struct CfgAhead {
  std::int32_t character;
  std::int32_t length;
};

inline constexpr std::int32_t kCfgEnd = -1;
inline constexpr std::int32_t kCfgForeign = 0xF1;  // a character without an ASCII form

struct CfgParse {
  static constexpr std::size_t kInputSize = 4096;
  static constexpr std::int32_t kAhead = 3;  // what tells a backslash and a line end from a word

  std::int32_t line;        // of the next character
  std::int32_t token_line;  // where the newest token starts
  std::intptr_t file;
  std::int32_t previous;   // the character consumed last; a line feed before the first
  CfgAhead ahead[kAhead];  // read, not yet consumed
  std::int32_t ahead_count;
  char* raw;  // bytes of characters: of live tokens, of the one being scanned, ahead
  std::int32_t raw_size;
  std::int32_t raw_used;
  std::int32_t claimed;   // start of what belongs to no token yet
  std::int32_t consumed;  // bytes consumed since the last token
  const vdx_charattr* attributes;
  vdx_cfg_token* tokens;  // the live ones, newest first
  vdx_cfg_token* spare;   // released ones, for the next
  CfgSection* section;    // being filled; null before the first header
  bool is_valid;          // that section is
  bool is_at_end;         // of the file
  bool is_end;            // the scan ended with the end of input, no token
  bool has_read_error;
  bool has_failed;  // out of memory, or the file could not be read
  std::size_t input_at;
  std::size_t input_end;
  std::uint8_t input[kInputSize];
};

struct CfgParsed {
  char* name;  // zero-terminated
  std::int32_t length;
  Chain<CfgSection> sections;
  CfgIndex<CfgSection> section_index;  // the first section of a name
  CfgIndex<CfgEntry> entry_index;
  Pool* pool = nullptr;
  void* backing = nullptr;
  vdx_mutex* mutex = nullptr;
  CfgParse* parse = nullptr;  // while the file is being parsed

  std::string_view file() const { return {name, static_cast<std::size_t>(length)}; }

  template <class Node>
  Node* make() {
    return static_cast<Node*>(pool->allocate(sizeof(Node)));
  }

  CfgSection* find_section(std::string_view text) const {
    return section_index.find(hash_text(text, 0), text);
  }
  static std::uint32_t entry_hash(const CfgSection* section, std::string_view key) {
    return hash_text(key, section->hash);
  }
  CfgEntry* find_entry(const CfgSection* section, std::string_view key) const {
    const std::uint32_t hash = entry_hash(section, key);
    return entry_index.find(hash, section, key);
  }
  void remove_section(CfgSection* section);
};

// Makes the parsed data of a file, still empty; null without memory. drop_parsed takes null, too.
CfgParsed* make_parsed(std::string_view name);
void drop_parsed(CfgParsed* parsed);

// Reads the file of a handle into its record. Returns whether that succeeded; what it could not
// read is reported, and sections with errors are a success.
bool parse_file(vdx_cfg* cfg);

// Where something is wrong: in the section that is being filled, at a line of the file.
vdx_err_place place_of(const CfgParsed& parsed, std::int32_t line, std::string_view token);

}  // namespace vdx

// Order of locks: the area's mutex, a record's, the turn to parse, the parsed data's. The area's
// mutex guards the list of records with their pins, a record's mutex its ring of handles and count.
struct vdx_cfg_record {
  vdx_cfg_record* next;
  vdx_cfg_record* previous;
  std::int32_t users;  // handles
  std::int32_t pins;   // threads on their way to become one
  vdx_cfg* ring;
  vdx::CfgParsed* parsed;
  vdx_mutex* mutex;
  vdx_appglobal* area;
  bool is_ready;        // parsed; false after a parse that failed
  bool has_been_tried;  // its first opener has come
  bool is_listed;       // in the area's list, or in one that the area has forgotten
};

struct vdx_cfg {
  vdx_cfg* next;
  vdx_cfg* previous;
  vdx_context* context;
  vdx_appglobal* area;
  std::atomic<vdx_cfg_record*> record;  // null: detached

  vdx::CfgParsed& parsed() const { return *record.load(std::memory_order_relaxed)->parsed; }
};

struct vdx_cfg_token {
  std::int32_t length;
  std::int32_t offset;
  vdx_cfg_token* live;   // the token before it
  vdx_cfg_token* piece;  // the next piece of the same value
  vdx_cfg_token* last;   // of the chain that starts here
};

struct vdx_cfg_cursor {
  const vdx::CfgSection* section;
  const vdx::CfgEntry* entry;
  const vdx::CfgValue* value;      // given last
  const vdx::CfgInclude* include;  // being searched, null before the first
  vdx_cfg_cursor* parent;
  vdx_cfg_cursor* child;
};

#endif
