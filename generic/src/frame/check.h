// Argument checks. They are behaviour: every build keeps them, and each reports the file and line
// of the exported function that was called wrongly.
#ifndef VDX_FRAME_CHECK_H
#define VDX_FRAME_CHECK_H

#include <cstdint>

#include "frame/trace.h"
#include "vdxcomn/frame.h"

namespace vdx {

// The part of a path after its last separator.
consteval const char* base_name(const char* path) {
  const char* base = path;
  for (const char* at = path; *at != '\0'; ++at)
    if (*at == '/' || *at == '\\') base = at + 1;
  return base;
}

}  // namespace vdx

#if defined(__FILE_NAME__)
#define VDX_FILE __FILE_NAME__
#else
#define VDX_FILE ::vdx::base_name(__FILE__)
#endif

// Where a handler resumed a failed check the function returns at once, with what follows the
// condition: a value, or nothing in a function that returns none.
#define VDX_CHECK_POINTER(pointer, ...)                   \
  do {                                                    \
    if ((pointer) == nullptr) [[unlikely]] {              \
      com_raise_invalid_null_pointer(VDX_FILE, __LINE__); \
      return __VA_ARGS__;                                 \
    }                                                     \
  } while (false)

#define VDX_ASSERT(condition, ...)   \
  do {                               \
    if (!(condition)) [[unlikely]] { \
      com_bomb(VDX_FILE, __LINE__);  \
      return __VA_ARGS__;            \
    }                                \
  } while (false)

// A status function returns through the tracer.
#define VDX_TRACE(value) ::vdx::trace((value), VDX_FILE, __LINE__)

#endif
