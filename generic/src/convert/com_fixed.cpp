// The copiers of fixed-length values into byte strings, for callers with values of their own.
#include "convert/bytes_out.h"
#include "frame/check.h"
#include "vdxcomn/convert.h"

// The checks that both copiers make, each at its own file and line.
#define VDX_CHECK_COPY(family, condition)                                                       \
  VDX_CHECK_POINTER(source, VDX_OVERFLOW);                                                      \
  VDX_CHECK_POINTER(format, VDX_OVERFLOW);                                                      \
  VDX_CHECK_POINTER(destination, VDX_OVERFLOW);                                                 \
  VDX_CHECK_POINTER(length, VDX_OVERFLOW);                                                      \
  VDX_ASSERT(vdx::accepts<vdx::accepted_destinations(family)>(format->datatype) && (condition), \
             VDX_OVERFLOW)

std::int32_t comn_fixedtobin(const void* source, std::int32_t size, const vdx_datafmt* format,
                             void* destination, std::int32_t* length) {
  VDX_CHECK_COPY(vdx::family_bin, format->maxlength >= 0 && size >= 1);
  return vdx::write_bytes({nullptr, nullptr, source, format, destination, length}, source, size);
}

std::int32_t comn_fixedtovarbin(const void* source, std::int32_t size, const vdx_datafmt* format,
                                void* destination, std::int32_t* length) {
  VDX_CHECK_COPY(vdx::family_varbin, size >= 1);
  return vdx::write_varbin({nullptr, nullptr, source, format, destination, length}, source, size);
}
