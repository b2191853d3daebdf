#include <windows.h>

#include <io.h>

#include <cstdlib>
#include <regex>

#include "checks.h"

namespace vdx_test {
namespace {

constexpr DWORD kCheckFailed = 0;

class HasMatch : public testing::MatcherInterface<const std::string&> {
 public:
  explicit HasMatch(const std::string& expression)
      : expression_(expression), regex_(expression, std::regex::extended) {}
  bool MatchAndExplain(const std::string& text, testing::MatchResultListener*) const override {
    return std::regex_search(text, regex_);
  }
  void DescribeTo(std::ostream* out) const override { *out << "has a match of " << expression_; }

 private:
  const std::string expression_;
  const std::regex regex_;
};

// Where a handler that leaves goes to: the exception is continued in this frame instead of its own.
CONTEXT frame;
volatile bool is_inside;

LONG CALLBACK resume(EXCEPTION_POINTERS* at) {
  return at->ExceptionRecord->ExceptionCode == kCheckFailed ? EXCEPTION_CONTINUE_EXECUTION
                                                            : EXCEPTION_CONTINUE_SEARCH;
}

LONG CALLBACK leave(EXCEPTION_POINTERS* at) {
  if (at->ExceptionRecord->ExceptionCode != kCheckFailed) return EXCEPTION_CONTINUE_SEARCH;
  *at->ContextRecord = frame;
  return EXCEPTION_CONTINUE_EXECUTION;
}

}  // namespace

const int kExitMinusOne = -1;
bool (*read_fails)() = nullptr;
std::atomic<std::size_t> read_limit{SIZE_MAX};

// The exception's code becomes the status.
bool ended_by_check(int status) { return status == static_cast<int>(kCheckFailed); }

bool refused_resumption(int status) {
  return static_cast<DWORD>(status) == EXCEPTION_NONCONTINUABLE_EXCEPTION;
}

testing::Matcher<const std::string&> has_match(const std::string& expression) {
  return testing::Matcher<const std::string&>(new HasMatch(expression));
}

void handle_checks(Handler handler) {
  AddVectoredExceptionHandler(1, handler == Handler::kResume ? resume : leave);
}

bool leave_checks(const std::function<void()>& body) {
  is_inside = false;
  RtlCaptureContext(&frame);
  if (is_inside) return true;
  is_inside = true;
  body();
  return false;
}

void set_environment(const char* name, const char* value) {
  _putenv_s(name, value != nullptr ? value : "");
}

// The system tells nobody whether a thread sleeps. On a busy machine, threads that were made later
// and have run are a better sign than time that has passed.
void await_sleep(const std::vector<std::uint32_t>&) {
  for (int i = 0; i < 4; ++i) {
    const HANDLE later = CreateThread(
        nullptr, 0, [](void*) -> DWORD { return 0; }, nullptr, 0, nullptr);
    WaitForSingleObject(later, INFINITE);
    CloseHandle(later);
    Sleep(10);
  }
}
const int kPulses = 32;

bool stderr_is_open() { return _get_osfhandle(2) != -1; }

}  // namespace vdx_test

// The linker sends the library's reads here: its pointer to the system's function is ours.
extern "C" {

extern decltype(&ReadFile) __real___imp_ReadFile;

static BOOL WINAPI read_or_fail(HANDLE file, void* buffer, DWORD size, DWORD* got,
                                OVERLAPPED* overlapped) {
  const std::size_t limit = vdx_test::read_limit;
  if (vdx_test::read_fails == nullptr || !vdx_test::read_fails())
    return __real___imp_ReadFile(file, buffer, size < limit ? size : static_cast<DWORD>(limit), got,
                                 overlapped);
  SetLastError(ERROR_READ_FAULT);
  return FALSE;
}
decltype(&ReadFile) __wrap___imp_ReadFile = read_or_fail;

}  // extern "C"
