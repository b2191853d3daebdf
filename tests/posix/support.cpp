#include <fcntl.h>
#include <setjmp.h>
#include <signal.h>
#include <stdlib.h>
#include <sys/types.h>
#include <sys/wait.h>
#include <unistd.h>

#include <algorithm>
#include <cstring>

#include "checks.h"

extern "C" ssize_t __real_read(int file, void* buffer, std::size_t size);

namespace vdx_test {
namespace {

sigjmp_buf left;

}  // namespace

const int kExitMinusOne = 255;
bool (*read_fails)() = nullptr;
std::atomic<std::size_t> read_limit{SIZE_MAX};

bool ended_by_check(int status) { return WIFSIGNALED(status) && WTERMSIG(status) == SIGABRT; }

bool refused_resumption(int status) { return ended_by_check(status); }

testing::Matcher<const std::string&> has_match(const std::string& expression) {
  return testing::ContainsRegex(expression);
}

void handle_checks(Handler handler) {
  struct sigaction action = {};
  action.sa_handler = handler == Handler::kResume ? [](int) {} : [](int) { siglongjmp(left, 1); };
  sigaction(SIGABRT, &action, nullptr);
}

bool leave_checks(const std::function<void()>& body) {
  if (sigsetjmp(left, 1) != 0) return true;
  body();
  return false;
}

void set_environment(const char* name, const char* value) {
  if (value != nullptr)
    setenv(name, value, 1);
  else
    unsetenv(name);
}

#if defined(__linux__)

namespace {

// How often the thread has gone to sleep, -1 while it is awake.
long sleeps(std::uint32_t thread) {
  char text[4096];
  const int file =
      open(("/proc/self/task/" + std::to_string(thread) + "/status").c_str(), O_RDONLY);
  const ssize_t got = __real_read(file, text, sizeof text - 1);
  close(file);
  text[got < 0 ? 0 : got] = '\0';
  const char* const count = std::strstr(text, "\nvoluntary_ctxt_switches:");
  if (count == nullptr || std::strstr(text, "\nState:\tS") == nullptr) return -1;
  return std::strtol(std::strchr(count, ':') + 1, nullptr, 10);
}

}  // namespace

// Seen asleep twice in the same sleep, each slept at the moment between the two rounds.
void await_sleep(const std::vector<std::uint32_t>& threads) {
  for (bool all = false; !all;) {
    std::vector<long> before(threads.size());
    std::transform(threads.begin(), threads.end(), before.begin(), sleeps);
    all = std::equal(
        threads.begin(), threads.end(), before.begin(),
        [](std::uint32_t thread, long count) { return count >= 0 && sleeps(thread) == count; });
  }
}
const int kPulses = 1200;

#else

void await_sleep(const std::vector<std::uint32_t>&) { usleep(20000); }
const int kPulses = 64;

#endif

bool stderr_is_open() { return fcntl(STDERR_FILENO, F_GETFD) != -1; }

}  // namespace vdx_test

// The linker sends the library's reads here.
extern "C" {

ssize_t __wrap_read(int file, void* buffer, std::size_t size) {
  if (vdx_test::read_fails != nullptr && vdx_test::read_fails()) return -1;
  return __real_read(file, buffer, std::min<std::size_t>(size, vdx_test::read_limit));
}

}  // extern "C"
