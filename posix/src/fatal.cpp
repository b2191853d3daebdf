// The exit of a failed check: SIGABRT, for which the caller may have a handler.
#include <fcntl.h>
#include <unistd.h>

#include <atomic>
#include <csignal>
#include <cstdio>
#include <cstdlib>

#include "frame/platform.h"

namespace vdx {
namespace {

// Descriptor 2 stays taken: were it free, the next file that the process opens would receive the
// reports of whoever left this exit by siglongjmp.
void close_stderr() {
  static constinit std::atomic_flag closed;
  if (closed.test_and_set(std::memory_order_relaxed)) return;
  const int null_device = open("/dev/null", O_WRONLY | O_CLOEXEC);
  if (null_device < 0) return;
  dup2(null_device, STDERR_FILENO);
  if (null_device != STDERR_FILENO) close(null_device);
}

}  // namespace

void fatal_exit(bool resumable) {
  std::fflush(stderr);
  if (!resumable) {
    close_stderr();
    std::abort();
  }
  std::raise(SIGABRT);
}

}  // namespace vdx
