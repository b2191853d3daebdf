// The calls on threads and events that are the same on all platforms. The others are in px_thrd.cpp
// and nt_thrd.cpp.
#include <cstring>

#include "frame/check.h"
#include "vdxcomn/thread.h"

namespace {

std::int32_t put_tid(vdx_tid tid, void* buffer, std::int32_t length, std::int32_t* length_out) {
  if (length < static_cast<std::int32_t>(sizeof tid)) return VDX_TRACE(XS_FAIL);
  std::memcpy(buffer, &tid, sizeof tid);
  if (length_out != nullptr) *length_out = sizeof tid;
  return VDX_TRACE(XS_SUCCEED);
}

}  // namespace

std::int32_t comn_create_thread(vdx_thread** thread, vdx_start_routine* start, void* argument) {
  VDX_CHECK_POINTER(thread, XS_FAIL);
  VDX_CHECK_POINTER(start, XS_FAIL);
  return comn_create_thread_ex(thread, start, argument, 0);
}

std::int32_t comn_start_thread(vdx_thread*) { return XS_SUCCEED; }

std::int32_t comn_get_tid(void* buffer, std::int32_t length, std::int32_t* length_out) {
  VDX_CHECK_POINTER(buffer, XS_FAIL);
  return put_tid(comn_thread_id(), buffer, length, length_out);
}

std::int32_t comn_get_default_tid(void* buffer, std::int32_t length, std::int32_t* length_out) {
  VDX_CHECK_POINTER(buffer, XS_FAIL);
  return put_tid(0, buffer, length, length_out);
}

std::int32_t comn_thread_equal(vdx_tid first, vdx_tid second) { return first == second ? 1 : 0; }

std::int32_t comn_set_cancelstate(std::int32_t) { return XS_SUCCEED; }

std::int32_t comn_create_event(vdx_event** event) {
  VDX_ASSERT(event != nullptr, XS_FAIL);
  return comn_create_event_ex(event, VDX_EVENT_AUTO);
}
