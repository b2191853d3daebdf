// Length arguments: a count of bytes, or the marker of a zero-terminated text.
#ifndef VDX_FRAME_LENGTH_H
#define VDX_FRAME_LENGTH_H

#include <cstddef>
#include <cstdint>
#include <cstring>

#include "vdxcomn/types.h"

namespace vdx {

inline bool is_length(std::int32_t length) { return length >= 0 || length == VDX_NULLTERM; }

inline std::size_t measured(const void* text, std::int32_t length) {
  return length == VDX_NULLTERM ? std::strlen(static_cast<const char*>(text)) : static_cast<std::size_t>(length);
}

}  // namespace vdx

#endif
