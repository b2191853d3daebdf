// The tracer's inside: the test that every status return makes, the source of the depth that it
// shows, and the line that it adds to the report of a failed check.
#ifndef VDX_FRAME_TRACE_H
#define VDX_FRAME_TRACE_H

#include <atomic>
#include <cstdint>

#include "vdxcomn/frame.h"

namespace vdx {

inline constexpr std::int32_t kTraceNone = 1;
inline constexpr std::int32_t kTraceUnusual = 2;
inline constexpr std::int32_t kTraceAll = 3;

extern std::atomic<std::int32_t> trace_mode;

// How deep calls are nested, shown as one "." each before a traced line. Null: 0.
using DepthProvider = std::int32_t (*)();
extern std::atomic<DepthProvider> depth_provider;

// Prints "(kind) file x, line 7: function: condition\n" unless nothing is traced.
void trace_check(const char* kind, const char* file, std::int32_t line, const char* function,
                 const char* condition);

// com_errtrace without the call while nothing is traced.
inline std::int32_t trace(std::int32_t value, const char* file, std::int32_t line) {
  if (trace_mode.load(std::memory_order_relaxed) != kTraceNone) [[unlikely]]
    com_errtrace(value, file, line);
  return value;
}

}  // namespace vdx

#endif
