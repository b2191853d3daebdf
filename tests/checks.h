// Failed checks, environment variables, failing reads and sleeping threads as a test sees them,
// which differ by platform; posix/support.cpp and nt386/support.cpp say how.
#ifndef VDX_TESTS_CHECKS_H
#define VDX_TESTS_CHECKS_H

#include <gtest/gtest.h>

#include <atomic>
#include <functional>
#include <string>
#include <vector>

namespace vdx_test {

// Whether a status is that of a process that a failed check has ended, with no handler set. One
// that survives is recognised by the test framework, through a pipe.
bool ended_by_check(int status);

// Whether a status is that of a process whose handler resumed a check in abort mode 1.
bool refused_resumption(int status);

// The status of a process that calls std::exit(-1).
extern const int kExitMinusOne;

// Matches texts that hold a match of the extended regular expression.
testing::Matcher<const std::string&> has_match(const std::string& expression);

// What a handler of the process's does about every failed check from now on: lets the function that
// was called wrongly return, or leaves for the leave_checks that is running.
enum class Handler { kResume, kLeave };
void handle_checks(Handler handler);

// Runs the body; true when a handler left it.
bool leave_checks(const std::function<void()>& body);

// Sets an environment variable, or removes it with a null value.
void set_environment(const char* name, const char* value);

bool stderr_is_open();

// Asked at every read of a file by the library: true makes it fail. Null at first.
extern bool (*read_fails)();

// The most bytes that such a read returns. SIZE_MAX at first.
extern std::atomic<std::size_t> read_limit;

// Returns at a moment when the threads of these identifiers all sleep. What has no means to see it
// waits for a while instead, and asks for fewer pulses.
void await_sleep(const std::vector<std::uint32_t>& threads);
extern const int kPulses;

}  // namespace vdx_test

// The call fails a check, whose report the expression describes, and the process ends.
#define EXPECT_FATAL(call, expression) \
  EXPECT_EXIT(call, vdx_test::ended_by_check, vdx_test::has_match(expression))

#endif
