#include "convert/bytes_out.h"
#include "frame/check.h"
#include "vdxcomn/convert.h"

std::int32_t comn_fixedtobin(const void* source, std::int32_t size, const vdx_datafmt* format, void* destination,
                             std::int32_t* length) {
  VDX_CHECK_POINTER(source, VDX_OVERFLOW);
  VDX_CHECK_POINTER(format, VDX_OVERFLOW);
  VDX_CHECK_POINTER(destination, VDX_OVERFLOW);
  VDX_CHECK_POINTER(length, VDX_OVERFLOW);
  VDX_ASSERT(vdx::accepts<vdx::accepted_destinations(vdx::family_bin)>(format->datatype), VDX_OVERFLOW);
  VDX_ASSERT(format->maxlength >= 0 && size >= 1, VDX_OVERFLOW);
  return vdx::write_bytes({nullptr, nullptr, source, format, destination, length}, source, size);
}

std::int32_t comn_fixedtovarbin(const void* source, std::int32_t size, const vdx_datafmt* format, void* destination,
                                std::int32_t* length) {
  VDX_CHECK_POINTER(source, VDX_OVERFLOW);
  VDX_CHECK_POINTER(format, VDX_OVERFLOW);
  VDX_CHECK_POINTER(destination, VDX_OVERFLOW);
  VDX_CHECK_POINTER(length, VDX_OVERFLOW);
  VDX_ASSERT(format->datatype == VDX_VARBIN && size >= 1, VDX_OVERFLOW);
  return vdx::write_varbin({nullptr, nullptr, source, format, destination, length}, source, size);
}
