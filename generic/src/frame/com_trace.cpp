// Return tracing and the debug stream. The trace mode, the debug file and the source of the depth
// are the process's; each is one atomic word.
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

constexpr ResultName kResultNames[] = {
#define STATUS(name, ...) {name, #name},
#include "lists/codes.list"
};

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

std::int32_t current_depth() {
  const DepthProvider provider = depth_provider.load(std::memory_order_relaxed);
  return provider != nullptr ? provider() : 0;
}

void print_depth(std::int32_t depth) {
  for (; depth > 0; --depth) comn_debug_print(".");
}

void print_value(std::int32_t value, const char* file, std::int32_t line) {
  if (file == nullptr) file = "(null)";
  if (const char* slash = std::strrchr(file, '/')) file = slash + 1;
  for (const ResultName& row : kResultNames)
    if (row.value == value) {
      comn_debug_print("(%s) file %s, line %d\n", row.name, file, static_cast<int>(line));
      return;
    }
  comn_debug_print("(%ld) file %s, line %d\n", static_cast<long>(value), file,
                   static_cast<int>(line));
}

// A conversion specification: "%", flags, width, "." and precision, "h", and one letter. It is made
// again from the parts that were understood, so that the C formatter never reads an argument that
// was not passed, writes through one, or meets a combination that C leaves undefined.
struct Specification {
  char text[32] = "%";
  std::size_t length = 1;
  char letter = 0;  // 0: not well-formed

  void add(char c) { text[length++] = c; }
};

constexpr std::ptrdiff_t kLongest = 24;  // characters between "%" and the letter
constexpr int kMostDigits = 9;           // of a width or precision, so that it is an int

// Skips digits. False where there are too many.
bool skip_number(const char*& at) {
  int digits = 0;
  for (; *at >= '0' && *at <= '9'; ++at) ++digits;
  return digits <= kMostDigits;
}

// Reads the letter and moves past it; 0 if it is not one of the six. A long has 32 bits here,
// whatever the platform's long has, so "ld" is "d" and "lx" is "x".
char read_letter(const char*& at, bool is_short) {
  if (*at == '\0' || std::strchr("cdlsxX", *at) == nullptr) return 0;
  const char letter = *at++;
  if (letter != 'l') return letter;
  if (is_short) return 0;
  return *at == 'd' || *at == 'x' ? *at++ : 'd';
}

// Reads a specification, of which the "%" has been read, and moves past it if it is well-formed.
Specification read_specification(const char*& at) {
  const char* const flags = at;
  while (*at != '\0' && std::strchr("-+ #0", *at) != nullptr) ++at;
  const char* const width = at;
  bool is_right = skip_number(at);
  const char* const point = at;
  if (*at == '.') is_right = skip_number(++at) && is_right;
  const char* const shorts = at;
  while (*at == 'h') ++at;
  const char* const end = at;
  Specification s;
  if (!is_right || end - shorts > 2 || end - flags > kLongest) return s;
  s.letter = read_letter(at, end != shorts);
  const bool is_number = s.letter != 'c' && s.letter != 's';
  const bool is_hexadecimal = is_number && s.letter != 'd';
  const auto add = [&s](const char* from, const char* to) {
    for (; from != to; ++from) s.add(*from);
  };
  for (const char* flag = flags; flag != width; ++flag)
    if ((*flag != '#' || is_hexadecimal) && (*flag != '0' || is_number)) s.add(*flag);
  add(width, point);
  if (s.letter != 'c') add(point, shorts);
  if (is_number) add(shorts, end);
  s.add(s.letter);
  return s;
}

}  // namespace

// A negative depth counts as 0: it is a failed check itself, whose report may be the one traced
// here.
void trace_check(const char* kind, const char* file, std::int32_t line, const char* function,
                 const char* condition) {
  if (trace_mode.load(std::memory_order_relaxed) == kTraceNone) return;
  print_depth(current_depth());
  comn_debug_print("(%s) file %s, line %d: %s: %s\n", kind, file, static_cast<int>(line), function,
                   condition);
}

}  // namespace vdx

extern "C" {

std::int32_t com_errtrace(std::int32_t value, const char* file, std::int32_t line) {
  const std::int32_t mode = vdx::trace_mode.load(std::memory_order_relaxed);
  if (mode == vdx::kTraceNone || (mode != vdx::kTraceAll && vdx::is_usual(value))) return value;
  const std::int32_t depth = vdx::current_depth();
  VDX_ASSERT(depth >= 0, value);
  vdx::print_depth(depth);
  vdx::print_value(value, file, line);
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
  // A file that is replaced stays open: other threads may be writing to it.
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
