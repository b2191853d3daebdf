#include <fcntl.h>
#include <setjmp.h>
#include <signal.h>
#include <stdlib.h>
#include <sys/types.h>
#include <sys/wait.h>
#include <unistd.h>

#include <algorithm>

#include "checks.h"

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

bool stderr_is_open() { return fcntl(STDERR_FILENO, F_GETFD) != -1; }

}  // namespace vdx_test

// The linker sends the library's reads here.
extern "C" {

ssize_t __real_read(int file, void* buffer, std::size_t size);

ssize_t __wrap_read(int file, void* buffer, std::size_t size) {
  if (vdx_test::read_fails != nullptr && vdx_test::read_fails()) return -1;
  return __real_read(file, buffer, std::min<std::size_t>(size, vdx_test::read_limit));
}

}  // extern "C"
