// The structured exception of a failed check, as a debugger or a caller's handler sees it.
#include <windows.h>

#include <cstdlib>

#include "checks.h"
#include "vdxcomn/frame.h"
#include "vdxcomn/thread.h"

namespace {

// Ends the process by 70 and the flags, or by 80 for any other exception.
LONG CALLBACK tell(EXCEPTION_POINTERS* at) {
  const EXCEPTION_RECORD& record = *at->ExceptionRecord;
  const bool expected = record.ExceptionCode == 0 && record.NumberParameters == 0;
  std::_Exit(expected ? 70 + static_cast<int>(record.ExceptionFlags) : 80);
}

TEST(ExceptionDeath, HasCodeZeroAndTheFlagsOfTheMode) {
  for (const std::int32_t mode : {1, 0, 2, -1}) {
    SCOPED_TRACE(mode);
    const int status = mode == 1 ? 71 : 70;
    const auto fail = [&] {
      com_toggle_abort(mode);
      AddVectoredExceptionHandler(1, tell);
      com_bomb("a.cpp", 1);
    };
    EXPECT_EXIT(fail(), testing::ExitedWithCode(status), vdx_test::has_match("assertion"));
    const auto fail_unseen = [&] {
      com_toggle_abort(mode);
      SetUnhandledExceptionFilter(tell);
      comn_take_mutex(nullptr);
    };
    EXPECT_EXIT(fail_unseen(), testing::ExitedWithCode(status),
                vdx_test::has_match("Invalid NULL"));
  }
}

// Frames of the library let an exception of the caller's pass, from a callback say.
void* raise_own(void*) {
  RaiseException(0xE0000001, 0, 0, nullptr);
  return nullptr;
}
LONG CALLBACK tell_own(EXCEPTION_POINTERS* at) {
  std::_Exit(at->ExceptionRecord->ExceptionCode == 0xE0000001 ? 90 : 91);
}

TEST(ExceptionDeath, OfAThreadReachesTheProcessFilter) {
  const auto run = [] {
    SetUnhandledExceptionFilter(tell_own);
    vdx_thread* thread = nullptr;
    if (comn_create_thread(&thread, raise_own, nullptr) == XS_SUCCEED) comn_join_thread(thread);
  };
  EXPECT_EXIT(run(), testing::ExitedWithCode(90), vdx_test::has_match(""));
}

}  // namespace
