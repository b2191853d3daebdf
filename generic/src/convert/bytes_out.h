// Writes the bytes of a value into a byte string: one of maxlength bytes, or a varbin, which has a
// count of up to kCountedRoom bytes before them.
#ifndef VDX_CONVERT_BYTES_OUT_H
#define VDX_CONVERT_BYTES_OUT_H

#include "convert/text_out.h"

namespace vdx {

inline std::int32_t write_bytes(const Call& call, const void* value, std::int32_t size) {
  const std::int32_t n = size < call.format->maxlength ? size : call.format->maxlength;
  *call.length = n;
  std::memcpy(call.destination, value, static_cast<std::size_t>(n));
  if (n < size) return VDX_TRUNCATED;
  return finish_bytes(*call.format, call.destination, n, *call.length);
}

inline std::int32_t write_varbin(const Call& call, const void* value, std::int32_t size) {
  const std::int32_t n = size < kCountedRoom ? size : kCountedRoom;
  store(call.destination, static_cast<std::int16_t>(n));
  std::memcpy(static_cast<unsigned char*>(call.destination) + 2, value,
              static_cast<std::size_t>(n));
  *call.length = sizeof(vdx_varbin);
  return n < size ? VDX_OVERFLOW : VDX_SUCCESS;
}

}  // namespace vdx

#endif
