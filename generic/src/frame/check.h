// Argument checks. They are behaviour: every build keeps them, and each reports the file and line
// of the exported function that was called wrongly, where it therefore has to be written. With
// trace mode 2 or 3 the tracer adds the name of the function and the condition that failed.
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

// Report a failed check and take the fatal exit; return where a handler resumed.
[[gnu::cold]] void fail_pointer(const char* file, std::int32_t line, const char* function,
                                const char* pointer);
[[gnu::cold]] void fail_assertion(const char* file, std::int32_t line, const char* function,
                                  const char* condition);

}  // namespace vdx

#if defined(__FILE_NAME__)
#define VDX_FILE __FILE_NAME__
#else
#define VDX_FILE ::vdx::base_name(__FILE__)
#endif

// Where a handler resumed a failed check the function returns at once, with what follows the
// condition: a value, or nothing in a function that returns none.
#define VDX_CHECK_POINTER(pointer, ...)                            \
  do {                                                             \
    if ((pointer) == nullptr) [[unlikely]] {                       \
      ::vdx::fail_pointer(VDX_FILE, __LINE__, __func__, #pointer); \
      return __VA_ARGS__;                                          \
    }                                                              \
  } while (false)

#define VDX_ASSERT(condition, ...)                                     \
  do {                                                                 \
    if (!(condition)) [[unlikely]] {                                   \
      ::vdx::fail_assertion(VDX_FILE, __LINE__, __func__, #condition); \
      return __VA_ARGS__;                                              \
    }                                                                  \
  } while (false)

// A status function returns through the tracer.
#define VDX_TRACE(value) ::vdx::trace((value), VDX_FILE, __LINE__)

#endif
