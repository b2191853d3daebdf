// Records of files and the handles on them; handle.h says how they belong together.
#include "config/handle.h"

#include <cstdlib>
#include <mutex>
#include <new>

#include "config/parse.h"
#include "frame/allocate.h"
#include "frame/message.h"
#include "frame/turn.h"

namespace vdx {
namespace {

// Makes a record, with its mutex taken. Null without memory.
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

// The area may have forgotten the list that holds the record.
void unlist_record(vdx_cfg_record* record) {
  if (!record->is_listed) return;
  record->is_listed = false;
  if (record->next != nullptr) record->next->previous = record->previous;
  if (record->previous != nullptr)
    record->previous->next = record->next;
  else if (record->area->configurations == record)
    record->area->configurations = record->next;
}

// Finds or makes the record of a name and pins it, so that it is kept while its mutex is waited
// for. Returns with that mutex taken; the maker takes it before any other thread can see the
// record.
vdx_cfg_record* pin_record(vdx_appglobal* area, std::string_view name) {
  if (comn_take_mutex(area->mutex) != XS_SUCCEED) return nullptr;
  vdx_cfg_record* record = area->configurations;
  while (record != nullptr && record->parsed->file() != name) record = record->next;
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

// Ends a pin. A record whose parse failed leaves the list at once, and is dropped with its last
// pin.
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

enum class Opened { kYes, kNo, kOtherFailed };

// Messages are raised after the record was released: their callback may open files, even this one.
Opened try_open(vdx_context* context, vdx_appglobal* area, std::string_view name, vdx_cfg*& cfg) {
  vdx_cfg_record* record = pin_record(area, name);
  if (record == nullptr) {
    raise_message(context, VDX_MSG_CFG_MEMORY, err_parameters("comn_init_cfg"));
    return Opened::kNo;
  }
  const bool is_new = !record->has_been_tried;
  // The thread that parsed it has reported why it failed; this one tries again.
  if (!is_new && !record->is_ready) {
    unpin_record(record, false);
    return Opened::kOtherFailed;
  }
  record->has_been_tried = true;
  void* memory = allocate(context, sizeof(vdx_cfg));
  if (memory == nullptr) {
    unpin_record(record, record->is_ready);
    raise_message(context, VDX_MSG_CFG_MEMORY, err_parameters("comn_init_cfg"));
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

}  // namespace

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

bool open_in(vdx_context* context, vdx_appglobal* area, std::string_view name, vdx_cfg*& cfg) {
  Opened opened;
  do opened = try_open(context, area, name, cfg);
  while (opened == Opened::kOtherFailed);
  return opened == Opened::kYes;
}

Dropped drop_handle(vdx_cfg* cfg, bool is_forced) {
  if (cfg->record.load(std::memory_order_acquire) == nullptr) return Dropped::kWasDetached;
  // Drops take turns: another thread may drop the record by force, which frees it. The area's mutex
  // alone does not protect it: the static area has no mutex between its last user and the next, and
  // a file that the area forgot may still be in use then.
  static constinit Turn turn;
  std::unique_lock guard(turn);
  vdx_mutex* const mutex = cfg->area->mutex;
  if (mutex != nullptr && comn_take_mutex(mutex) != XS_SUCCEED) return Dropped::kFailed;
  vdx_cfg_record* const record = cfg->record.load(std::memory_order_acquire);
  if (record == nullptr) {
    if (mutex != nullptr) comn_release_mutex(mutex);
    return Dropped::kWasDetached;
  }
  comn_take_mutex(record->mutex);
  unlink_handle(record, cfg);
  const bool was_forced = is_forced && detach_handles(record);
  const bool is_unused = record->users == 0 && record->pins == 0;
  if (is_unused) unlist_record(record);
  comn_release_mutex(record->mutex);
  if (mutex != nullptr) comn_release_mutex(mutex);
  guard.unlock();
  if (is_unused) drop_record(record);
  std::free(cfg);
  return was_forced ? Dropped::kWithOthers : Dropped::kYes;
}

void drop_unlocked(vdx_cfg_record* record) {
  detach_handles(record);
  drop_record(record);
}

}  // namespace vdx
