// Who uses a parsed file: its record, which an area lists, and the handles on it.
//
// A record is dropped when it has neither users nor pins. A user is a handle. A pin is a thread
// that is about to make one and waits for the record's mutex; the thread that parses the file holds
// that mutex until it is done.
//
// Order of locks: the turn to drop, the area's mutex, a record's, the turn to parse, the parsed
// data's. The area's mutex guards the list of records with their pins, a record's mutex its ring of
// handles and count.
#ifndef VDX_CONFIG_HANDLE_H
#define VDX_CONFIG_HANDLE_H

#include <atomic>
#include <cstdint>
#include <string_view>

#include "config/parsed.h"
#include "vdxcomn/config.h"

// One file of an area, parsed once and shared by the handles on it.
struct vdx_cfg_record {
  vdx_cfg_record* next;
  vdx_cfg_record* previous;
  std::int32_t users;  // handles
  std::int32_t pins;   // threads that are about to make one
  vdx_cfg* ring;
  vdx::CfgParsed* parsed;
  vdx_mutex* mutex;
  vdx_appglobal* area;
  bool is_ready;        // parsed; false after a parse that failed
  bool has_been_tried;  // some thread has begun to parse it
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

namespace vdx {

// The context's area, or the static one, which is allocated once for all contexts without one. Null
// where that fails.
vdx_appglobal* area_of(vdx_context* context);

// Opens the file of a name in an area. False, with the failure reported and cfg unchanged, where it
// cannot be opened or memory is short.
bool open_in(vdx_context* context, vdx_appglobal* area, std::string_view name, vdx_cfg*& cfg);

enum class Dropped {
  kYes,
  kWithOthers,   // handles of others were detached
  kWasDetached,  // the handle is its caller's to free
  kFailed        // a mutex could not be taken; nothing has changed
};

// Releases a handle, and with the last one of its record the record; is_forced detaches the others.
Dropped drop_handle(vdx_cfg* cfg, bool is_forced);

// Detaches the handles of a record and drops it, without a lock.
void drop_unlocked(vdx_cfg_record* record);

}  // namespace vdx

#endif
