// Return tracing and the debug stream.
#include "frame/trace.h"

#include <cstdio>
#include <cstring>

#include "frame/check.h"
#include "frame/platform.h"

namespace vdx {

constinit std::atomic<std::int32_t> trace_mode{kTraceNone};
constinit std::atomic<DepthProvider> depth_provider{nullptr};

namespace {

constinit std::atomic<std::FILE*> debug_file{nullptr};

std::FILE* debug_stream() {
  std::FILE* file = debug_file.load(std::memory_order_acquire);
  return file != nullptr ? file : stdout;
}

struct ResultName {
  std::int32_t value;
  const char* name;
};

#define VDX_RESULT_NAME(name) \
  { name, #name }
constexpr ResultName kResultNames[] = {
    VDX_RESULT_NAME(XS_SUCCEED),      VDX_RESULT_NAME(XS_FAIL),
    VDX_RESULT_NAME(XS_MEM_ERROR),    VDX_RESULT_NAME(XS_PENDING),
    VDX_RESULT_NAME(XS_QUIET),        VDX_RESULT_NAME(XS_BUSY),
    VDX_RESULT_NAME(XS_INTERRUPT),    VDX_RESULT_NAME(XS_CANCELED),
    VDX_RESULT_NAME(XS_ROW_FAIL),     VDX_RESULT_NAME(XS_END_DATA),
    VDX_RESULT_NAME(XS_END_RESULTS),  VDX_RESULT_NAME(XS_END_ITEM),
    VDX_RESULT_NAME(XS_NOMSG),        VDX_RESULT_NAME(XS_TIMED_OUT),
    VDX_RESULT_NAME(XS_PASSTHRU_EOM), VDX_RESULT_NAME(XS_PASSTHRU_MORE),
    VDX_RESULT_NAME(XS_TRYING),
};
#undef VDX_RESULT_NAME

bool is_usual(std::int32_t value) {
  switch (value) {
    case XS_SUCCEED:
    case XS_PENDING:
    case XS_INTERRUPT:
    case XS_END_DATA:
    case XS_END_RESULTS:
    case XS_END_ITEM:
      return true;
    default:
      return false;
  }
}

void print_trace(std::int32_t value, const char* file, std::int32_t line) {
  if (file == nullptr) file = "(null)";
  if (const char* slash = std::strrchr(file, '/')) file = slash + 1;
  const DepthProvider provider = depth_provider.load(std::memory_order_relaxed);
  const std::int32_t depth = provider != nullptr ? provider() : 0;
  VDX_ASSERT(depth >= 0, );
  for (std::int32_t level = 0; level < depth; ++level) comn_debug_print(".");
  for (const ResultName& row : kResultNames)
    if (row.value == value) {
      comn_debug_print("(%s) file %s, line %d\n", row.name, file, static_cast<int>(line));
      return;
    }
  comn_debug_print("(%ld) file %s, line %d\n", static_cast<long>(value), file,
                   static_cast<int>(line));
}

// One specification, made again from the parts of the caller's that were understood, so that no
// text reaches the C formatter that could read or write what was never passed.
struct Specification {
  char text[32] = "%";
  std::size_t length = 1;
  char letter = 0;  // 0: not a specification

  void add(char c) { text[length++] = c; }
};

// Reads a specification whose "%" stands before at; leaves at behind it.
Specification read_specification(const char*& at) {
  constexpr std::size_t kLongest = 25;
  Specification s;
  for (; *at != '\0' && s.length < kLongest && std::strchr("-+ #.0123456789h", *at); ++at)
    s.add(*at);
  if (*at == '\0' || !std::strchr("cdlsxX", *at)) return s;
  s.letter = *at++;
  // A long is 32 bits here whatever the platform's long may be.
  if (s.letter == 'l') s.letter = *at == 'd' || *at == 'x' ? *at++ : 'd';
  s.add(s.letter);
  return s;
}

}  // namespace
}  // namespace vdx

extern "C" {

std::int32_t com_errtrace(std::int32_t value, const char* file, std::int32_t line) {
  const std::int32_t mode = vdx::trace_mode.load(std::memory_order_relaxed);
  if (mode != vdx::kTraceNone && (mode == vdx::kTraceAll || !vdx::is_usual(value)))
    vdx::print_trace(value, file, line);
  return value;
}

void com_errset(std::int32_t mode) {
  VDX_ASSERT(mode >= vdx::kTraceNone && mode <= vdx::kTraceAll, );
  vdx::trace_mode.store(mode, std::memory_order_relaxed);
}

std::int32_t comn_debug_print(const char* format, ...) {
  VDX_CHECK_POINTER(format, 0);
  std::FILE* stream = vdx::debug_stream();
  va_list arguments;
  va_start(arguments, format);
  std::vfprintf(stream, format, arguments);
  va_end(arguments);
  std::fflush(stream);
  return 1;
}

std::int32_t comn_debug_vprint(const char* format, va_list arguments) {
  VDX_CHECK_POINTER(format, 0);
  std::FILE* stream = vdx::debug_stream();
  for (const char* at = format; *at != '\0';) {
    const char c = *at++;
    if (c != '%' || *at == '%') {
      std::fputc(c, stream);
      if (c == '%') ++at;
      continue;
    }
    const vdx::Specification specification = vdx::read_specification(at);
    if (specification.letter == 0) {
      std::fputs("illegal format specification\n", stream);
      break;
    }
    if (specification.letter == 's') {
      const char* text = va_arg(arguments, const char*);
      std::fprintf(stream, specification.text, text != nullptr ? text : "(null)");
    } else {
      std::fprintf(stream, specification.text, va_arg(arguments, int));
    }
  }
  std::fflush(stream);
  return 1;
}

std::int32_t comn_debug_setfile(vdx_context*, const char* name, std::int32_t enable) {
  if (enable == 0 || name == nullptr) {
    std::FILE* file = vdx::debug_file.exchange(nullptr, std::memory_order_acq_rel);
    if (file != nullptr) std::fclose(file);
    return 1;
  }
  // A file that is replaced stays open: others may be writing to it.
  std::FILE* file = std::fopen(name, vdx::kWriteMode);
  vdx::debug_file.store(file, std::memory_order_release);
  return file != nullptr ? 1 : 0;
}

std::int32_t comn_dbg_stack(void*, void*, void*, void*) { return 0; }

void com_prhex(const std::uint8_t* byte, char* out) {
  VDX_CHECK_POINTER(byte, );
  VDX_CHECK_POINTER(out, );
  constexpr char kDigits[] = "0123456789abcdef";
  out[0] = kDigits[*byte >> 4];
  out[1] = kDigits[*byte & 15];
}

}  // extern "C"
