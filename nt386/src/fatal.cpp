// The exit of a failed check.
#include <windows.h>

#include <fcntl.h>
#include <io.h>

#include <atomic>
#include <cstdio>

#include "frame/platform.h"

namespace vdx {
namespace {

constexpr DWORD kCheckFailed = 0;

// Descriptor 2 stays taken: were it free, the next file that the process opens would receive the
// reports of whoever left this exit.
void close_stderr() {
  static constinit std::atomic_flag closed;
  if (closed.test_and_set(std::memory_order_relaxed)) return;
  const int null_device = _open("NUL", _O_WRONLY | _O_NOINHERIT);
  if (null_device < 0) return;
  _dup2(null_device, 2);
  if (null_device != 2) _close(null_device);
}

}  // namespace

void fatal_exit(bool resumable) {
  std::fflush(stderr);
  if (resumable) {
    RaiseException(kCheckFailed, 0, 0, nullptr);
    return;
  }
  close_stderr();
  RaiseException(kCheckFailed, EXCEPTION_NONCONTINUABLE, 0, nullptr);
  // A vectored handler is let through where the others are refused.
  TerminateProcess(GetCurrentProcess(), static_cast<UINT>(EXCEPTION_NONCONTINUABLE_EXCEPTION));
}

}  // namespace vdx
