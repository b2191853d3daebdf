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

// A build that prints what the scanner and the token reader find makes tokens of every line.
#ifdef VDX_CFG_TRACE
inline constexpr bool kTraceTokens = true;
#else
inline constexpr bool kTraceTokens = false;
#endif

const char* token_name(std::int32_t token);  // for people

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

// Its text lies behind it.
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

// One piece of memory with its key and its first value behind it, so that a lookup has them in one
// place.
struct CfgEntry {
  CfgEntry* next;
  CfgSection* section;
  std::int32_t length;  // of the key
  std::uint32_t hash;   // of key and section
  Chain<CfgValue> values;

  const char* key() const { return reinterpret_cast<const char*>(this + 1); }
  std::string_view text() const { return {key(), static_cast<std::size_t>(length)}; }
  // Bytes of the entry with its key, to where its first value is.
  static std::size_t size(std::size_t key_length) {
    return (sizeof(CfgEntry) + key_length + alignof(CfgValue) - 1) & ~(alignof(CfgValue) - 1);
  }

  bool is(const CfgSection* in, std::string_view wanted) const {
    return section == in && text() == wanted;
  }
  inline bool is(std::string_view in, std::string_view wanted) const;  // where section is_first
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

  bool is(std::string_view wanted) const { return text() == wanted; }
  std::string_view text() const { return {name, static_cast<std::size_t>(length)}; }
};

bool CfgEntry::is(std::string_view in, std::string_view wanted) const {
  return text() == wanted && section->text() == in;
}

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
      if (slots_[at].hash == hash && slots_[at].node->is(key...)) return slots_[at].node;
    return nullptr;
  }

  // Makes room for so many more; false without memory.
  bool reserve(std::uint32_t more) {
    std::size_t size = slots_ == nullptr ? 16 : std::size_t{mask_} + 1;
    while (size / 4 * 3 < std::size_t{count_} + more) size *= 2;
    return (slots_ != nullptr && size == std::size_t{mask_} + 1) || resize(size);
  }

  bool insert(Node* node) {
    if (!reserve(1)) return false;
    place(node);
    ++count_;
    return true;
  }

  // Takes all nodes out. Some room stays for those to come.
  void clear() {
    constexpr std::uint32_t kSome = 1024;
    if (count_ == 0) return;
    count_ = 0;
    if (mask_ < kSome) {
      std::memset(static_cast<void*>(slots_), 0, memory());
    } else {
      std::free(slots_);
      slots_ = nullptr;
    }
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

  bool resize(std::size_t size) {
    if (size > (std::size_t{1} << 31)) return false;
    Slot* old = slots_;
    const std::size_t old_size = old == nullptr ? 0 : std::size_t{mask_} + 1;
    auto* made = static_cast<Slot*>(std::calloc(size, sizeof(Slot)));
    if (made == nullptr) return false;
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
  static constexpr std::int32_t kRawSize = 32768;  // at first
  static constexpr std::int32_t kAhead = 3;  // what tells a backslash and a line end from a word

  std::int32_t line;        // of the next character
  std::int32_t token_line;  // where the newest token starts
  std::intptr_t file;
  std::int32_t previous;   // the character consumed last; a line feed before the first
  CfgAhead ahead[kAhead];  // read, not yet consumed
  std::int32_t ahead_count;
  char* raw;  // bytes of characters: of live tokens, of the one being scanned, ahead, unread
  std::int32_t raw_size;
  std::int32_t raw_used;  // start of what is unread
  std::int32_t raw_end;   // and its end
  std::int32_t claimed;   // start of what belongs to no token yet
  std::int32_t consumed;  // bytes consumed since the last token
  const vdx_charattr* attributes;
  vdx_cfg_token* tokens;    // the live ones, newest first
  vdx_cfg_token* spare;     // released ones, for the next
  CfgSection* section;      // being filled; null before the first header
  CfgIndex<CfgEntry> keys;  // of that section
  CfgSection* unindexed;    // the first section whose entries the file's index does not have yet
  std::uint32_t unindexed_count;  // of their entries that belong there
  bool is_valid;                  // that section is
  bool is_at_end;                 // of the file
  bool is_end;                    // the scan ended with the end of input, no token
  bool has_read_error;
  bool has_failed;  // out of memory, or the file could not be read
  // By byte: what it is for the scanner, 0 where it starts a character of several bytes; and which
  // runs of characters without a meaning of their own it belongs to.
  std::uint8_t plain[256];
  std::uint8_t runs[256];
  bool is_ascii;        // bytes 1 to 127 are what they are in ASCII
  bool has_high_signs;  // some byte above those is not just a character of a word

  void classify();  // fills them from the attributes
};

// A line that needs no tokens to be understood.
struct CfgPlainLine {
  std::string_view key;  // empty: a blank line or a comment
  std::string_view value;
};

// Takes the next line of the file if it is plain: at hand as a whole, of single bytes, without
// quotes, continuations, headers and includes. False, with nothing taken, for any other line.
bool take_plain_line(CfgParse& parse, CfgPlainLine& line);

struct CfgParsed {
  char* name;  // zero-terminated
  std::int32_t length;
  Chain<CfgSection> sections;
  CfgIndex<CfgSection> section_index;  // the first section of a name
  // Entries of those sections, the only ones that are looked up; the same key of a namesake would
  // have the same hash, too. Filled at the end of a parse, when their number is known.
  CfgIndex<CfgEntry> entry_index;
  Pool* pool = nullptr;
  void* backing = nullptr;
  vdx_mutex* mutex = nullptr;
  CfgParse* parse = nullptr;  // while the file is being parsed
  std::int32_t open_quote;    // line of the quote that the file does not close; 0: none

  std::string_view file() const { return {name, static_cast<std::size_t>(length)}; }

  template <class Node>
  Node* make() {
    return static_cast<Node*>(pool->allocate(sizeof(Node)));
  }

  CfgSection* find_section(std::string_view text) const {
    return section_index.find(hash_text(text, 0), text);
  }
  // In the first section of a name.
  CfgEntry* find_entry(std::string_view section, std::string_view key) const {
    return entry_index.find(hash_text(key, hash_text(section, 0)), section, key);
  }
  CfgEntry* find_entry(const CfgSection* section, std::string_view key) const {
    return entry_index.find(hash_text(key, section->hash), section, key);
  }
  void remove_section(CfgSection* section);  // the newest, being filled
  bool index_entries();                      // false without memory
};

// Makes the parsed data of a file, still empty; null without memory. drop_parsed takes null, too.
CfgParsed* make_parsed(std::string_view name);
void drop_parsed(CfgParsed* parsed);

enum class ParseResult { kDone, kUnopened, kFailed };

// Reads the file of a handle into its record. kUnopened is the caller's to report; what else it
// could not read is reported, and sections with errors are done.
ParseResult parse_file(vdx_cfg* cfg);

// Reports a file that cannot be opened, or be read to its end.
void raise_unopened(vdx_context* context, const char* routine, std::string_view name);

// Where something is wrong: in the section that is being filled, at a line of the file.
vdx_err_place place_of(const CfgParsed& parsed, std::int32_t line, std::string_view token);

}  // namespace vdx

// Order of locks: the turn to drop, the area's mutex, a record's, the turn to parse, the parsed
// data's. The area's mutex guards the list of records with their pins, a record's mutex its ring of
// handles and count.
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
