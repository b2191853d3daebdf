// Configuration files as callers use them: opening, looking up, dropping, and comparing names.
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <string_view>

#include "config/handle.h"
#include "config/parse.h"
#include "config/search.h"
#include "frame/check.h"
#include "frame/fault.h"
#include "frame/length.h"
#include "frame/message.h"
#include "frame/platform.h"

namespace vdx {
namespace {

constexpr std::string_view kDefaultSection = "NAMED_APP_DEFAULT";
constexpr std::size_t kLongestFileName = 512;
constexpr std::size_t kLongestShownFileName = 255;

std::string_view text_of(const char* bytes, std::int32_t length) {
  return {bytes, measured(bytes, length)};
}

void raise(vdx_context* context, std::int32_t number, const char* routine) {
  raise_message(context, number, err_parameters(routine));
}

// Where a lookup puts its value.
struct Room {
  char* buffer;
  std::int32_t size;
  std::int32_t* length;
};

std::int32_t give(const CfgValue& value, const Room& room) {
  if (room.length != nullptr) *room.length = value.length;
  const std::int32_t copied = value.length <= room.size ? value.length : room.size;
  std::memcpy(room.buffer, value.bytes(), static_cast<std::size_t>(copied));
  if (copied < room.size) room.buffer[copied] = '\0';
  return copied == value.length ? std::int32_t{XS_SUCCEED} : std::int32_t{VDX_TRUNCATED};
}

// The next value from the deepest cursor on. At the end, and without memory, every cursor below the
// root is freed.
std::int32_t go_on(vdx_cfg* cfg, vdx_cfg_cursor* root, vdx_cfg_cursor* deepest,
                   std::string_view key, const Room& room) {
  Search search(cfg->parsed(), root);
  const CfgValue* value = search.next(deepest, key);
  if (value != nullptr) return give(*value, room);
  if (!search.out_of_memory()) return XS_END_DATA;
  raise(cfg->context, VDX_MSG_CFG_LIST, "comn_get_cfg");
  return XS_FAIL;
}

bool has_value(std::int32_t result) { return result == XS_SUCCEED || result == VDX_TRUNCATED; }

std::int32_t next_value(vdx_cfg* cfg, vdx_cfg_cursor** cursor, const Room& room) {
  // A value was returned last at the deepest cursor, so its key is known there.
  vdx_cfg_cursor* deepest = deepest_of(*cursor);
  const std::int32_t result = go_on(cfg, *cursor, deepest, deepest->entry->text(), room);
  if (has_value(result)) return result;
  release_cursors(cfg->parsed(), *cursor);
  *cursor = nullptr;
  return result;
}

// The first value in a section and its includes; entry, null for none, is the section's own.
std::int32_t first_value(vdx_cfg* cfg, const CfgSection* section, const CfgEntry* entry,
                         std::string_view key, vdx_cfg_cursor** cursor, const Room& room) {
  if (entry == nullptr && section->includes.first == nullptr) return XS_END_DATA;
  CfgParsed& parsed = cfg->parsed();
  const vdx_cfg_cursor start = {section, entry, nullptr, nullptr, nullptr, nullptr};
  if (cursor == nullptr) {
    vdx_cfg_cursor root = start;
    const std::int32_t result = go_on(cfg, &root, &root, key, room);
    release_cursors(parsed, root.child);
    return result;
  }
  auto* root = parsed.make<vdx_cfg_cursor>();
  if (root == nullptr) {
    raise(cfg->context, VDX_MSG_CFG_LIST, "comn_get_cfg");
    return XS_FAIL;
  }
  *root = start;
  const std::int32_t result = go_on(cfg, root, root, key, room);
  if (has_value(result))
    *cursor = root;
  else
    release_cursors(parsed, root);
  return result;
}

// A lookup of a key that the section of the name, if there is one, does not have itself.
std::int32_t value_from_elsewhere(vdx_cfg* cfg, std::string_view name, std::uint32_t name_hash,
                                  std::string_view key, vdx_cfg_cursor** cursor, const Room& room) {
  const CfgParsed& parsed = cfg->parsed();
  const CfgSection* section = parsed.find_section(name, name_hash);
  if (section != nullptr) return first_value(cfg, section, nullptr, key, cursor, room);
  if (name.empty()) return XS_FAIL;
  section = parsed.find_section(kDefaultSection);
  if (section != nullptr)
    return first_value(cfg, section, parsed.find_entry(section, key), key, cursor, room);
  raise_message(cfg->context, VDX_MSG_CFG_SECTION,
                err_parameters("comn_get_cfg", name.substr(0, kLongestMessageText)));
  return XS_FAIL;
}

}  // namespace
}  // namespace vdx

extern "C" {

std::int32_t comn_init_cfg(vdx_context* context, const char* name, std::int32_t length,
                           vdx_cfg** cfg) {
  VDX_CHECK_POINTER(context, VDX_TRACE(XS_FAIL));
  VDX_ASSERT(context->version >= vdx::kFirstVersion, VDX_TRACE(XS_FAIL));
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
    vdx::raise_message(
        context, VDX_MSG_CFG_NAME,
        vdx::err_parameters("comn_init_cfg", file.substr(0, vdx::kLongestShownFileName)));
    return VDX_TRACE(XS_FAIL);
  }
  if (file.find('\0') != file.npos) {
    vdx::raise_unopened(context, "comn_init_cfg", file);
    return VDX_TRACE(XS_FAIL);
  }
  vdx_appglobal* area = vdx::area_of(context);
  if (area == nullptr) return VDX_TRACE(XS_FAIL);
  return VDX_TRACE(vdx::open_in(context, area, file, *cfg) ? XS_SUCCEED : XS_FAIL);
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
  const vdx::Room room = {buffer, size, value_length};
  if (cursor != nullptr && *cursor != nullptr) return VDX_TRACE(vdx::next_value(cfg, cursor, room));
  const std::string_view name = vdx::text_of(section, section_length);
  const std::string_view wanted = vdx::text_of(key, key_length);
  const std::uint32_t name_hash = vdx::hash_text(name);
  const vdx::CfgEntry* entry = record->parsed->find_entry(name, name_hash, wanted);
  if (entry == nullptr)
    return VDX_TRACE(vdx::value_from_elsewhere(cfg, name, name_hash, wanted, cursor, room));
  if (cursor == nullptr) return VDX_TRACE(vdx::give(*entry->values.first, room));
  return VDX_TRACE(vdx::first_value(cfg, entry->section, entry, wanted, cursor, room));
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
  switch (vdx::drop_handle(cfg, option == VDX_CFG_FORCE)) {
    case vdx::Dropped::kYes:
      return VDX_TRACE(XS_SUCCEED);
    case vdx::Dropped::kWithOthers:
      vdx::raise(context, VDX_MSG_CFG_FORCED, "comn_drop_cfg");
      return VDX_TRACE(XS_SUCCEED);
    case vdx::Dropped::kWasDetached:
      vdx::raise(context, VDX_MSG_CFG_DETACHED, "comn_drop_cfg");
      return VDX_TRACE(XS_FAIL);
    case vdx::Dropped::kFailed:
      break;
  }
  return VDX_TRACE(XS_FAIL);
}

std::int32_t comn_globdrop_cfg(vdx_cfg_record* list) {
  while (list != nullptr) {
    vdx_cfg_record* next = list->next;
    vdx::drop_unlocked(list);
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
