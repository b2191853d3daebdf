// The turn of parses: a mutex of the system, which outlives a thread that ends while it holds it.
#include <windows.h>

#include <atomic>

#include "frame/platform.h"

namespace vdx {
namespace {

constinit std::atomic<HANDLE> turn{nullptr};
constinit std::atomic<DWORD> holder{0};  // of the turn, as far as it released it; no thread is 0

// The mutex, made by the first caller. Without memory it is asked for until there is some: a parse
// has no way to fail here.
HANDLE made_turn() {
  HANDLE there = turn.load(std::memory_order_acquire);
  while (there == nullptr) {
    const HANDLE made = CreateMutexW(nullptr, FALSE, nullptr);
    if (made == nullptr)
      Sleep(1);
    else if (turn.compare_exchange_strong(there, made, std::memory_order_acq_rel))
      return made;
    else
      CloseHandle(made);
  }
  return there;
}

}  // namespace

void take_parse_turn() {
  WaitForSingleObject(made_turn(), INFINITE);
  holder.store(GetCurrentThreadId(), std::memory_order_relaxed);
}

void release_parse_turn() {
  holder.store(0, std::memory_order_relaxed);
  ReleaseMutex(made_turn());
}

// The system gives a dead thread's number to another, so the mutex is asked as well: its owner takes
// it once more; a thread with the number of a dead holder learns that the mutex was abandoned.
bool has_parse_turn() {
  if (holder.load(std::memory_order_relaxed) != GetCurrentThreadId()) return false;
  const HANDLE mutex = made_turn();
  const DWORD result = WaitForSingleObject(mutex, 0);
  if (result == WAIT_OBJECT_0 || result == WAIT_ABANDONED) ReleaseMutex(mutex);
  return result == WAIT_OBJECT_0;
}

}  // namespace vdx
