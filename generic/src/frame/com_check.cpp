// Reports of failed checks and the fatal exits. A report is one line on stderr, whose text is
// fixed; what the tracer adds goes to the debug stream, between the report and the exit.
#include <atomic>
#include <cstdio>
#include <cstdlib>
#include <cstring>

#include "frame/check.h"
#include "frame/platform.h"

namespace {

constinit std::atomic<std::int32_t> abort_mode{1};

void report_pointer(const char* file, std::int32_t line) {
  std::fprintf(stderr, "\nInvalid NULL pointer , file '%s' line %d\n",
               file != nullptr ? file : "(null)", static_cast<int>(line));
}

void report_assertion(const char* file, std::int32_t line) {
  std::fprintf(stderr, "\n\rassertion failed, file '%s' line %d\n\r",
               file != nullptr ? file : "(null)", static_cast<int>(line));
}

void leave() { vdx::fatal_exit(abort_mode.load(std::memory_order_relaxed) != 1); }

// The message is used as format text, but it may quote a path with a "%" in it, and there are no
// arguments. So only "%%" has a meaning.
void put_message(const char* message, std::FILE* stream) {
  while (const char* pair = std::strstr(message, "%%")) {
    std::fwrite(message, 1, static_cast<std::size_t>(pair + 1 - message), stream);
    message = pair + 2;
  }
  std::fputs(message, stream);
}

}  // namespace

namespace vdx {

void fail_pointer(const char* file, std::int32_t line, const char* function, const char* pointer) {
  report_pointer(file, line);
  trace_check("null pointer", file, line, function, pointer);
  leave();
}

void fail_assertion(const char* file, std::int32_t line, const char* function,
                    const char* condition) {
  report_assertion(file, line);
  trace_check("assertion", file, line, function, condition);
  leave();
}

}  // namespace vdx

extern "C" {

void com_raise_invalid_null_pointer(const char* file, std::int32_t line) {
  report_pointer(file, line);
  leave();
}

void com_bomb(const char* file, std::int32_t line) {
  report_assertion(file, line);
  leave();
}

void com_toggle_abort(std::int32_t mode) { abort_mode.store(mode, std::memory_order_relaxed); }

void com_panic(const char* message) {
  VDX_CHECK_POINTER(message, );
  std::fprintf(stderr, "\nINTERNAL ERROR: unrecoverable error: %s\n", message);
  std::fflush(stderr);
  std::exit(-1);
}

void com_perr(const char* message) {
  VDX_CHECK_POINTER(message, );
  put_message(message, stderr);
  std::fflush(stderr);
  if (std::FILE* file = std::fopen("vdxinit.err", vdx::kAppendMode)) {
    put_message(message, file);
    std::fclose(file);
  }
}

}  // extern "C"
