// Reports of failed checks and the fatal exits.
#include <atomic>
#include <cstdio>
#include <cstdlib>
#include <cstring>

#include "frame/check.h"
#include "frame/platform.h"
#include "frame/typelen.h"

namespace {

constinit std::atomic<std::int32_t> abort_mode{1};

void report(const char* format, const char* file, std::int32_t line) {
  std::fprintf(stderr, format, file != nullptr ? file : "(null)", static_cast<int>(line));
  vdx::fatal_exit(abort_mode.load(std::memory_order_relaxed) != 1);
}

// A message is format text, but it may quote something with a "%" in it, a path say, and there
// are no arguments to read: nothing but "%%" may mean anything.
void put_message(const char* message, std::FILE* stream) {
  while (const char* pair = std::strstr(message, "%%")) {
    std::fwrite(message, 1, static_cast<std::size_t>(pair + 1 - message), stream);
    message = pair + 2;
  }
  std::fputs(message, stream);
}

}  // namespace

extern "C" {

void com_raise_invalid_null_pointer(const char* file, std::int32_t line) {
  report("\nInvalid NULL pointer , file '%s' line %d\n", file, line);
}

void com_bomb(const char* file, std::int32_t line) {
  report("\n\rassertion failed, file '%s' line %d\n\r", file, line);
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

std::int32_t comn_typelen(std::int32_t datatype, std::int32_t length) {
  return vdx::type_length(datatype, length);
}

}  // extern "C"
