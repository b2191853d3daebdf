// The area that all users in one application share: the static one of the process, or one that was
// allocated. An area without users has no mutex.
#include <atomic>
#include <cstdlib>
#include <cstring>

#include "frame/check.h"
#include "vdxcomn/config.h"
#include "vdxcomn/thread.h"

namespace vdx {
namespace {

vdx_appglobal static_area;

// Atomic, since it is read before the mutex can be taken: without users there is none.
std::atomic_ref<std::int32_t> users_of(vdx_appglobal& area) {
  return std::atomic_ref<std::int32_t>(area.users);
}

}  // namespace
}  // namespace vdx

extern "C" {

std::int32_t com_appglobal_alloc(vdx_appglobal** area, std::int32_t tag, std::int32_t options) {
  VDX_CHECK_POINTER(area, VDX_TRACE(XS_FAIL));
  const bool is_static = (options & VDX_APPGLOBAL_STATIC) != 0;
  vdx_appglobal* it = &vdx::static_area;
  if (!is_static) {
    it = static_cast<vdx_appglobal*>(std::malloc(sizeof *it));
    if (it == nullptr) return VDX_TRACE(XS_MEM_ERROR);
    *it = {};
  }
  const std::int32_t users = vdx::users_of(*it).load();
  VDX_ASSERT(users >= 0, VDX_TRACE(XS_FAIL));
  if (users == 0) {
    if (comn_create_mutex(&it->mutex) != XS_SUCCEED) {
      if (!is_static) std::free(it);
      return VDX_TRACE(XS_FAIL);
    }
    it->tag = tag;
    vdx::users_of(*it).store(1);
  } else {
    if (comn_take_mutex(it->mutex) != XS_SUCCEED) return VDX_TRACE(XS_FAIL);
    ++vdx::users_of(*it);
    // A new user reads files anew. Handles on those that were read before stay good.
    it->configurations = nullptr;
    comn_release_mutex(it->mutex);
  }
  *area = it;
  return VDX_TRACE(XS_SUCCEED);
}

std::int32_t com_appglobal_drop(vdx_appglobal* area, std::int32_t options) {
  VDX_CHECK_POINTER(area, VDX_TRACE(XS_FAIL));
  const bool is_static = area == &vdx::static_area;
  if (area->mutex == nullptr || comn_take_mutex(area->mutex) != XS_SUCCEED)
    return VDX_TRACE(XS_FAIL);
  const std::int32_t users = --vdx::users_of(*area);
  comn_release_mutex(area->mutex);
  VDX_ASSERT(users >= 0, VDX_TRACE(XS_FAIL));
  VDX_ASSERT((options & VDX_APPGLOBAL_STATIC) == 0 || is_static, VDX_TRACE(XS_FAIL));
  if (users > 0) return VDX_TRACE(XS_SUCCEED);
  for (const void* slot : area->slots) VDX_ASSERT(slot == nullptr, VDX_TRACE(XS_FAIL));
  if (area->configurations != nullptr) comn_globdrop_cfg(area->configurations);
  VDX_ASSERT(comn_delete_mutex(area->mutex) == XS_SUCCEED, VDX_TRACE(XS_FAIL));
  *area = {};
  if (!is_static) std::free(area);
  return VDX_TRACE(XS_SUCCEED);
}

}  // extern "C"
