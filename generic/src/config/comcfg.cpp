// Handles on configuration files: opening, looking up, dropping.
#include "config/comcfg.h"

#include <cstdio>
#include <mutex>
#include <new>

#include "frame/allocate.h"
#include "frame/check.h"
#include "frame/message.h"
#include "frame/platform.h"
#include "frame/turn.h"

namespace vdx {
namespace {

constexpr std::string_view kDefaultSection = "NAMED_APP_DEFAULT";

std::string_view text_of(const char* bytes, std::int32_t length) {
  return length == VDX_NULLTERM ? std::string_view(bytes)
                                : std::string_view(bytes, static_cast<std::size_t>(length));
}

bool is_length(std::int32_t length) { return length >= 0 || length == VDX_NULLTERM; }

std::int32_t int_size(std::string_view text) { return static_cast<std::int32_t>(text.size()); }

// The context's area, or the static one, which is allocated once for all contexts without one.
vdx_appglobal* area_of(vdx_context* context) {
  if (context->appglobal != nullptr) return context->appglobal;
  static constinit Turn turn;
  static constinit vdx_appglobal* shared = nullptr;
  const std::lock_guard guard(turn);
  if (shared == nullptr && com_appglobal_alloc(&shared, 0, VDX_APPGLOBAL_STATIC) != XS_SUCCEED)
    shared = nullptr;
  return shared;
}

bool lock_parsed(void* data) {
  const auto* parsed = static_cast<CfgParsed*>(data);
  return parsed->parse != nullptr || comn_take_mutex(parsed->mutex) == XS_SUCCEED;
}

void unlock_parsed(void* data) {
  const auto* parsed = static_cast<CfgParsed*>(data);
  if (parsed->parse == nullptr) comn_release_mutex(parsed->mutex);
}

// The record's mutex is taken when it comes back.
vdx_cfg_record* make_record(std::string_view name) {
  auto* record = static_cast<vdx_cfg_record*>(std::malloc(sizeof(vdx_cfg_record)));
  if (record == nullptr) return nullptr;
  *record = {};
  record->parsed = make_parsed(name);
  if (record->parsed != nullptr && comn_create_mutex(&record->mutex) == XS_SUCCEED) {
    comn_take_mutex(record->mutex);
    return record;
  }
  drop_parsed(record->parsed);
  std::free(record);
  return nullptr;
}

void drop_record(vdx_cfg_record* record) {
  drop_parsed(record->parsed);
  comn_delete_mutex(record->mutex);
  std::free(record);
}

void list_record(vdx_appglobal* area, vdx_cfg_record* record) {
  record->area = area;
  record->next = area->configurations;
  if (record->next != nullptr) record->next->previous = record;
  area->configurations = record;
  record->is_listed = true;
}

// The area may have forgotten the list that the record stands in.
void unlist_record(vdx_cfg_record* record) {
  if (!record->is_listed) return;
  record->is_listed = false;
  if (record->next != nullptr) record->next->previous = record->previous;
  if (record->previous != nullptr)
    record->previous->next = record->next;
  else if (record->area->configurations == record)
    record->area->configurations = record->next;
}

// Finds or makes the record of a name and pins it, so that it stays while its mutex is waited for;
// returns with that mutex taken, by the maker before anybody else can see the record.
vdx_cfg_record* pin_record(vdx_appglobal* area, std::string_view name) {
  if (comn_take_mutex(area->mutex) != XS_SUCCEED) return nullptr;
  vdx_cfg_record* record = area->configurations;
  while (record != nullptr && com_memcmpfn_nt(record->parsed->name, record->parsed->length,
                                              name.data(), int_size(name)) != 0)
    record = record->next;
  if (record != nullptr) {
    ++record->pins;
    comn_release_mutex(area->mutex);
    comn_take_mutex(record->mutex);
    return record;
  }
  record = make_record(name);
  if (record != nullptr) {
    record->pins = 1;
    list_record(area, record);
  }
  comn_release_mutex(area->mutex);
  return record;
}

// Ends a pin. A record whose parse failed leaves the list at once, and goes with its last pin.
void unpin_record(vdx_cfg_record* record, bool is_ready) {
  vdx_mutex* const mutex = record->area->mutex;
  comn_release_mutex(record->mutex);
  comn_take_mutex(mutex);
  const bool is_unused = --record->pins == 0 && record->users == 0;
  if (is_unused || !is_ready) unlist_record(record);
  comn_release_mutex(mutex);
  if (is_unused) drop_record(record);
}

void link_handle(vdx_cfg_record* record, vdx_cfg* cfg) {
  if (record->ring == nullptr) {
    record->ring = cfg->next = cfg->previous = cfg;
  } else {
    cfg->next = record->ring;
    cfg->previous = record->ring->previous;
    cfg->previous->next = cfg->next->previous = cfg;
  }
  ++record->users;
}

void unlink_handle(vdx_cfg_record* record, vdx_cfg* cfg) {
  cfg->previous->next = cfg->next;
  cfg->next->previous = cfg->previous;
  if (record->ring == cfg) record->ring = cfg->next == cfg ? nullptr : cfg->next;
  --record->users;
}

// Returns whether there were any.
bool detach_handles(vdx_cfg_record* record) {
  const bool any = record->ring != nullptr;
  while (vdx_cfg* cfg = record->ring) {
    unlink_handle(record, cfg);
    cfg->next = cfg->previous = nullptr;
    cfg->record.store(nullptr, std::memory_order_release);
  }
  return any;
}

void raise(vdx_context* context, std::int32_t number, const char* routine) {
  raise_message(context, number, err_parameters(routine));
}

enum class Opened { kYes, kNo, kOtherFailed };

// Messages are raised when the record was let go: the callback may open files, this one too.
Opened open_in(vdx_context* context, vdx_appglobal* area, std::string_view name, vdx_cfg*& cfg) {
  vdx_cfg_record* record = pin_record(area, name);
  if (record == nullptr) {
    raise(context, VDX_MSG_CFG_MEMORY, "comn_init_cfg");
    return Opened::kNo;
  }
  const bool is_new = !record->has_been_tried;
  // Whoever parsed it was told why it failed; this one tries itself.
  if (!is_new && !record->is_ready) {
    unpin_record(record, false);
    return Opened::kOtherFailed;
  }
  record->has_been_tried = true;
  void* memory = allocate(context, sizeof(vdx_cfg));
  if (memory == nullptr) {
    unpin_record(record, record->is_ready);
    raise(context, VDX_MSG_CFG_MEMORY, "comn_init_cfg");
    return Opened::kNo;
  }
  auto* made = new (memory) vdx_cfg{nullptr, nullptr, context, area, record};
  link_handle(record, made);
  ParseResult result = ParseResult::kDone;
  if (is_new) result = parse_file(made);
  record->is_ready = result == ParseResult::kDone;
  if (record->is_ready) {
    unpin_record(record, true);
    cfg = made;
    return Opened::kYes;
  }
  unlink_handle(record, made);
  std::free(made);
  unpin_record(record, false);
  if (result == ParseResult::kUnopened) raise_unopened(context, "cfg__init_parse", name);
  return Opened::kNo;
}

// A cursor that follows includes. The root may lie on the caller's stack.
class Search {
 public:
  Search(CfgParsed& parsed, const vdx_cfg_cursor* root) : parsed_(parsed), root_(root) {}

  // The next value in the order of the file, includes after their section. Null at the end, and
  // without memory; the cursors below the root are freed then.
  const CfgValue* next(vdx_cfg_cursor* deepest, std::string_view key) {
    vdx_cfg_cursor* at = deepest;
    std::int32_t entered = 0;  // sections that this call is in; they had no value on the way
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
        continue;
      }
      if (include != nullptr) {
        auto* child = parsed_.make<vdx_cfg_cursor>();
        if (child == nullptr) {
          out_of_memory_ = true;
          climb(at);
          return nullptr;
        }
        at->include = include;
        at->child = child;
        *child = {include->section, parsed_.find_entry(include->section, key), nullptr, nullptr, at,
                  nullptr};
        at = child;
        ++entered;
        continue;
      }
      if (at == root_) return nullptr;
      if (entered > 0) {
        --entered;
        note_barren(at->section);
      }
      vdx_cfg_cursor* parent = at->parent;
      release(at);
      at = parent;
      at->child = nullptr;
    }
  }

  bool out_of_memory() const { return out_of_memory_; }

  void release(vdx_cfg_cursor* cursor) { parsed_.pool->release(cursor, sizeof *cursor); }

 private:
  void climb(vdx_cfg_cursor* at) {
    while (at != root_) {
      vdx_cfg_cursor* parent = at->parent;
      release(at);
      at = parent;
    }
  }

  // Sections that include each other's includes lead to the same ones again and again, twice as
  // often with each. From some number on, those that had nothing are not entered again; without
  // memory to note them the search is longer, not wrong.
  void note_barren(const CfgSection* section) {
    constexpr std::int32_t kFew = 32;
    if (++left_ > kFew && !is_barren(section)) barren_.insert(section);
  }
  bool is_barren(const CfgSection* section) const {
    return barren_.find(section->hash, section->text()) != nullptr;
  }

  CfgParsed& parsed_;
  const vdx_cfg_cursor* root_;
  CfgIndex<const CfgSection> barren_;
  std::int32_t left_ = 0;
  bool out_of_memory_ = false;
};

vdx_cfg_cursor* deepest_of(vdx_cfg_cursor* cursor) {
  while (cursor->child != nullptr) cursor = cursor->child;
  return cursor;
}

void release_cursors(CfgParsed& parsed, vdx_cfg_cursor* root) {
  while (root != nullptr) {
    vdx_cfg_cursor* child = root->child;
    parsed.pool->release(root, sizeof *root);
    root = child;
  }
}

std::int32_t give(const CfgValue& value, char* buffer, std::int32_t size, std::int32_t* length) {
  if (length != nullptr) *length = value.length;
  const std::int32_t copied = value.length <= size ? value.length : size;
  std::memcpy(buffer, value.bytes(), static_cast<std::size_t>(copied));
  if (copied < size) buffer[copied] = '\0';
  return copied == value.length ? std::int32_t{XS_SUCCEED} : std::int32_t{VDX_TRUNCATED};
}

// The section of a name or the default one; null, and reported, where there is neither.
const CfgSection* find_section(vdx_cfg* cfg, const CfgParsed& parsed, std::string_view name) {
  const CfgSection* section = parsed.find_section(name);
  if (section != nullptr || name.empty()) return section;
  section = parsed.find_section(kDefaultSection);
  if (section == nullptr)
    raise_message(cfg->context, VDX_MSG_CFG_SECTION,
                  err_parameters("comn_get_cfg", name.substr(0, kLongestMessageText)));
  return section;
}

}  // namespace

std::uint32_t hash_text(std::string_view text, std::uint32_t seed) {
  constexpr std::uint64_t kOdd = 0x9E3779B97F4A7C15u;
  std::uint64_t hash = (text.size() ^ (std::uint64_t{seed} << 32)) * kOdd;
  const auto mix = [&hash](std::uint64_t word) {
    hash = (hash ^ word) * kOdd;
    hash ^= hash >> 32;
  };
  const char* at = text.data();
  std::size_t left = text.size();
  const auto word = [](const char* from) {
    std::uint64_t bytes;
    std::memcpy(&bytes, from, sizeof bytes);
    return bytes;
  };
  const auto half = [](const char* from) {
    std::uint32_t bytes;
    std::memcpy(&bytes, from, sizeof bytes);
    return std::uint64_t{bytes};
  };
  for (; left > 8; left -= 8, at += 8) mix(word(at));
  // The rest in loads of fixed size, which overlap where they have to.
  if (text.size() >= 8)
    mix(word(at + left - 8));
  else if (left >= 4)
    mix(half(at) | half(at + left - 4) << 32);
  else if (left != 0)
    mix(static_cast<std::uint8_t>(at[0]) |
        std::uint64_t{static_cast<std::uint8_t>(at[left / 2])} << 8 |
        std::uint64_t{static_cast<std::uint8_t>(at[left - 1])} << 16);
  hash *= kOdd;
  return static_cast<std::uint32_t>(hash >> 32);
}

CfgParsed* make_parsed(std::string_view name) {
  void* memory = std::malloc(sizeof(CfgParsed));
  if (memory == nullptr) return nullptr;
  auto* parsed = new (memory) CfgParsed{};
  constexpr std::size_t kFirstRoom = 1024;
  const std::size_t bytes = Pool::size_for(kFirstRoom);
  parsed->name = static_cast<char*>(std::malloc(name.size() + 1));
  parsed->backing = std::malloc(bytes);
  if (parsed->name != nullptr && parsed->backing != nullptr &&
      comn_create_mutex(&parsed->mutex) == XS_SUCCEED) {
    std::memcpy(parsed->name, name.data(), name.size());
    parsed->name[name.size()] = '\0';
    parsed->length = int_size(name);
    parsed->pool =
        Pool::create(parsed->backing, bytes, nullptr, {lock_parsed, unlock_parsed, parsed});
    return parsed;
  }
  drop_parsed(parsed);
  return nullptr;
}

void drop_parsed(CfgParsed* parsed) {
  if (parsed == nullptr) return;
  if (parsed->pool != nullptr) parsed->pool->release_all();
  if (parsed->mutex != nullptr) comn_delete_mutex(parsed->mutex);
  std::free(parsed->backing);
  std::free(parsed->name);
  parsed->~CfgParsed();
  std::free(parsed);
}

}  // namespace vdx

extern "C" {

std::int32_t comn_init_cfg(vdx_context* context, const char* name, std::int32_t length,
                           vdx_cfg** cfg) {
  VDX_CHECK_POINTER(context, VDX_TRACE(XS_FAIL));
  VDX_ASSERT(context->version >= VDX_VERSION, VDX_TRACE(XS_FAIL));
  VDX_CHECK_POINTER(cfg, VDX_TRACE(XS_FAIL));
  if (vdx::has_parse_turn()) return VDX_TRACE(XS_FAIL);
  char standard[vdx::kLongestFileName + 1];
  if (length == VDX_UNUSED) {
    char* home = com_getenv("VERDEX");
    VDX_ASSERT(home != nullptr, VDX_TRACE(XS_FAIL));
    std::snprintf(standard, sizeof standard, "%s%s%s%s%s", home, "\\", "ini", "\\", "ncl.cfg");
    std::free(home);
    name = standard;
    length = VDX_NULLTERM;
  }
  if (length != VDX_NULLTERM && length <= 0) return VDX_TRACE(XS_FAIL);
  VDX_CHECK_POINTER(name, VDX_TRACE(XS_FAIL));
  const std::string_view file = vdx::text_of(name, length);
  if (file.empty()) return VDX_TRACE(XS_FAIL);
  if (file.size() > vdx::kLongestFileName) {
    vdx::raise_message(context, VDX_MSG_CFG_NAME,
                       vdx::err_parameters("comn_init_cfg", file.substr(0, 255)));
    return VDX_TRACE(XS_FAIL);
  }
  if (file.find('\0') != file.npos) {
    vdx::raise_unopened(context, "comn_init_cfg", file);
    return VDX_TRACE(XS_FAIL);
  }
  vdx_appglobal* area = vdx::area_of(context);
  if (area == nullptr) return VDX_TRACE(XS_FAIL);
  vdx::Opened opened;
  do opened = vdx::open_in(context, area, file, *cfg);
  while (opened == vdx::Opened::kOtherFailed);
  return VDX_TRACE(opened == vdx::Opened::kYes ? XS_SUCCEED : XS_FAIL);
}

std::int32_t comn_get_cfg(vdx_cfg* cfg, const char* section, std::int32_t section_length,
                          const char* key, std::int32_t key_length, vdx_cfg_cursor** cursor,
                          char* buffer, std::int32_t size, std::int32_t* value_length) {
  VDX_CHECK_POINTER(cfg, VDX_TRACE(XS_FAIL));
  VDX_CHECK_POINTER(section, VDX_TRACE(XS_FAIL));
  VDX_CHECK_POINTER(key, VDX_TRACE(XS_FAIL));
  VDX_CHECK_POINTER(buffer, VDX_TRACE(XS_FAIL));
  VDX_ASSERT(vdx::is_length(section_length), VDX_TRACE(XS_FAIL));
  VDX_ASSERT(vdx::is_length(key_length), VDX_TRACE(XS_FAIL));
  VDX_ASSERT(size >= 0, VDX_TRACE(XS_FAIL));
  const vdx_cfg_record* record = cfg->record.load(std::memory_order_acquire);
  if (record == nullptr) return VDX_TRACE(XS_FAIL);
  vdx::CfgParsed& parsed = *record->parsed;

  vdx_cfg_cursor single;
  vdx_cfg_cursor* root = &single;
  vdx_cfg_cursor* deepest = root;
  std::string_view wanted;
  const bool is_first = cursor == nullptr || *cursor == nullptr;
  if (is_first) {
    const std::string_view name = vdx::text_of(section, section_length);
    wanted = vdx::text_of(key, key_length);
    const vdx::CfgEntry* entry = parsed.find_entry(name, wanted);
    if (cursor == nullptr && entry != nullptr)
      return VDX_TRACE(vdx::give(*entry->values.first, buffer, size, value_length));
    const vdx::CfgSection* found =
        entry != nullptr ? entry->section : vdx::find_section(cfg, parsed, name);
    if (found == nullptr) return VDX_TRACE(XS_FAIL);
    if (entry == nullptr) entry = parsed.find_entry(found, wanted);
    if (cursor != nullptr) {
      root = deepest = parsed.make<vdx_cfg_cursor>();
      if (root == nullptr) {
        vdx::raise(cfg->context, VDX_MSG_CFG_LIST, "comn_get_cfg");
        return VDX_TRACE(XS_FAIL);
      }
    }
    *root = {found, entry, nullptr, nullptr, nullptr, nullptr};
  } else {
    // A value was given last at the deepest cursor, so its key is known there.
    root = *cursor;
    deepest = vdx::deepest_of(root);
    wanted = deepest->entry->text();
  }

  vdx::Search search(parsed, root);
  const vdx::CfgValue* value = search.next(deepest, wanted);
  std::int32_t result = XS_END_DATA;
  if (value != nullptr) {
    result = vdx::give(*value, buffer, size, value_length);
  } else if (search.out_of_memory()) {
    vdx::raise(cfg->context, VDX_MSG_CFG_LIST, "comn_get_cfg");
    result = XS_FAIL;
  }
  if (cursor == nullptr) {
    if (value != nullptr) vdx::release_cursors(parsed, single.child);
  } else if (value != nullptr) {
    *cursor = root;
  } else {
    search.release(root);
    *cursor = nullptr;
  }
  return VDX_TRACE(result);
}

std::int32_t comn_nextsection_cfg(vdx_cfg* cfg, vdx_cfg_section* section) {
  VDX_CHECK_POINTER(cfg, VDX_TRACE(XS_FAIL));
  VDX_CHECK_POINTER(section, VDX_TRACE(XS_FAIL));
  const vdx_cfg_record* record = cfg->record.load(std::memory_order_acquire);
  if (record == nullptr) return VDX_TRACE(XS_FAIL);
  const auto* last = static_cast<const vdx::CfgSection*>(section->place);
  const vdx::CfgSection* next = last == nullptr ? record->parsed->sections.first : last->next;
  if (next == nullptr) return VDX_TRACE(XS_END_DATA);
  *section = {next, next->name, next->length, next->line};
  return VDX_TRACE(XS_SUCCEED);
}

std::int32_t comn_openquote_cfg(vdx_cfg* cfg, std::int32_t* line) {
  VDX_CHECK_POINTER(cfg, VDX_TRACE(XS_FAIL));
  VDX_CHECK_POINTER(line, VDX_TRACE(XS_FAIL));
  const vdx_cfg_record* record = cfg->record.load(std::memory_order_acquire);
  if (record == nullptr) return VDX_TRACE(XS_FAIL);
  if (record->parsed->open_quote == 0) return VDX_TRACE(XS_END_DATA);
  *line = record->parsed->open_quote;
  return VDX_TRACE(XS_SUCCEED);
}

std::int32_t comn_nextdrop_cfg(vdx_cfg* cfg, vdx_cfg_cursor* cursor) {
  VDX_CHECK_POINTER(cfg, VDX_TRACE(XS_FAIL));
  const vdx_cfg_record* record = cfg->record.load(std::memory_order_acquire);
  if (record == nullptr) return VDX_TRACE(cursor == nullptr ? XS_SUCCEED : XS_FAIL);
  vdx::release_cursors(*record->parsed, cursor);
  return VDX_TRACE(XS_SUCCEED);
}

std::int32_t comn_drop_cfg(vdx_cfg* cfg, std::int32_t option) {
  VDX_CHECK_POINTER(cfg, VDX_TRACE(XS_FAIL));
  VDX_ASSERT(option == VDX_UNUSED || option == VDX_CFG_FORCE, VDX_TRACE(XS_FAIL));
  vdx_context* const context = cfg->context;
  vdx_cfg_record* record = cfg->record.load(std::memory_order_acquire);
  if (record != nullptr) {
    // The record lives only until another thread drops it by force, so no two drops overlap. The
    // area's mutex cannot see to that alone: the static area, which never goes, has none between its
    // last user and the next, and files that it forgot may outlive that.
    static constinit vdx::Turn turn;
    std::unique_lock guard(turn);
    vdx_mutex* const mutex = cfg->area->mutex;
    if (mutex != nullptr && comn_take_mutex(mutex) != XS_SUCCEED) return VDX_TRACE(XS_FAIL);
    record = cfg->record.load(std::memory_order_acquire);
    if (record != nullptr) {
      comn_take_mutex(record->mutex);
      vdx::unlink_handle(record, cfg);
      const bool was_forced = option == VDX_CFG_FORCE && vdx::detach_handles(record);
      const bool is_unused = record->users == 0 && record->pins == 0;
      if (is_unused) vdx::unlist_record(record);
      comn_release_mutex(record->mutex);
      if (mutex != nullptr) comn_release_mutex(mutex);
      guard.unlock();
      if (is_unused) vdx::drop_record(record);
      if (was_forced) vdx::raise(context, VDX_MSG_CFG_FORCED, "comn_drop_cfg");
      std::free(cfg);
      return VDX_TRACE(XS_SUCCEED);
    }
    if (mutex != nullptr) comn_release_mutex(mutex);
  }
  vdx::raise(context, VDX_MSG_CFG_DETACHED, "comn_drop_cfg");
  return VDX_TRACE(XS_FAIL);
}

std::int32_t comn_globdrop_cfg(vdx_cfg_record* list) {
  while (list != nullptr) {
    vdx_cfg_record* next = list->next;
    vdx::detach_handles(list);
    vdx::drop_record(list);
    list = next;
  }
  return VDX_TRACE(XS_SUCCEED);
}

std::int32_t com_memcmpfn_nt(const void* a, std::int32_t a_length, const void* b,
                             std::int32_t b_length) {
  VDX_CHECK_POINTER(a, 0);
  VDX_CHECK_POINTER(b, 0);
  VDX_ASSERT(vdx::is_length(a_length) && vdx::is_length(b_length), 0);
  const int order = vdx::text_of(static_cast<const char*>(a), a_length)
                        .compare(vdx::text_of(static_cast<const char*>(b), b_length));
  return (order > 0) - (order < 0);
}

std::int32_t com_unsignstrncmp(const char* a, const char* b, std::int32_t length) {
  VDX_CHECK_POINTER(a, 0);
  VDX_CHECK_POINTER(b, 0);
  VDX_ASSERT(length >= 0, 0);
  const int order = std::strncmp(a, b, static_cast<std::size_t>(length));
  return (order > 0) - (order < 0);
}

}  // extern "C"
