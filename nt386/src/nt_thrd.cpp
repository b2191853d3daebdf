// Threads, their synchronisation objects, keys and the coroutine lock, on the services of Windows.
//
// Semaphores and events are the system's. The system gives a signal or release to a thread that
// waits at the time of the call, so a reset or a later wait cannot take it.
#include <windows.h>

#include <process.h>

#include <atomic>
#include <climits>
#include <cstdlib>
#include <cstring>
#include <new>

#include "frame/check.h"
#include "frame/turn.h"
#include "service/own_keys.h"
#include "service/thread_level.h"
#include "vdxcomn/thread.h"

struct vdx_thread {
  HANDLE handle;
  vdx_start_routine* routine;
  void* argument;
  std::atomic<int> holders;  // the creator, and the thread until it calls its routine
};
struct vdx_mutex {
  CRITICAL_SECTION section;
};
struct vdx_sem {
  HANDLE handle;
};
struct vdx_event {
  HANDLE handle;
};
struct vdx_cond {
  HANDLE one;  // auto-reset: wakes one waiter
  HANDLE all;  // manual-reset: wakes all, and is never reset
};

namespace {

constexpr DWORD kPatience = 1000;  // milliseconds

template <typename Block>
Block* allocate() {
  return static_cast<Block*>(std::malloc(sizeof(Block)));
}

std::int32_t status(BOOL done) { return done ? XS_SUCCEED : XS_FAIL; }

// Puts the handle into a new block; closes it if memory is short.
template <typename Block>
std::int32_t keep(HANDLE handle, Block** out) {
  if (handle == nullptr) return XS_FAIL;
  *out = allocate<Block>();
  if (*out == nullptr) return CloseHandle(handle), XS_FAIL;
  (*out)->handle = handle;
  return XS_SUCCEED;
}

std::int32_t waited(DWORD result) {
  return result == WAIT_OBJECT_0 ? XS_SUCCEED : result == WAIT_TIMEOUT ? XS_TIMED_OUT : XS_FAIL;
}

void give_up(vdx_thread* thread) {
  if (thread->holders.fetch_sub(1, std::memory_order_acq_rel) == 1) std::free(thread);
}

// The routine's result, a pointer, is not kept.
unsigned __stdcall run_thread(void* memory) {
  vdx_thread* const thread = static_cast<vdx_thread*>(memory);
  vdx_start_routine* const routine = thread->routine;
  void* const argument = thread->argument;
  give_up(thread);
  routine(argument);
  return 0;
}

// Waits first until the thread runs: one that is terminated while the system prepares it keeps the
// locks of the loader and of the run-time library, and no other thread could start.
std::int32_t end(vdx_thread* thread) {
  for (DWORD i = 0; i < kPatience && thread->holders.load(std::memory_order_acquire) > 1; ++i)
    if (WaitForSingleObject(thread->handle, 1) != WAIT_TIMEOUT) break;
  if (!TerminateThread(thread->handle, 0)) return XS_FAIL;
  // Termination is asynchronous. A thread that never ran its routine will not give up its share.
  if (WaitForSingleObject(thread->handle, kPatience) == WAIT_OBJECT_0) thread->holders = 1;
  return XS_SUCCEED;
}

bool is_self(const vdx_thread* thread) {
  return GetThreadId(thread->handle) == GetCurrentThreadId();
}

void give_back(vdx_thread* thread) {
  CloseHandle(thread->handle);
  give_up(thread);
}

constinit vdx::OwnKeys<TLS_MINIMUM_AVAILABLE + 1024> own_keys;

CRITICAL_SECTION coroutine_section;
std::atomic<bool> coroutine_mode{false};

SRWLOCK* native(void** lock) {
  static_assert(sizeof(SRWLOCK) == sizeof *lock, "a null pointer is a free lock");
  return reinterpret_cast<SRWLOCK*>(lock);
}

}  // namespace

void vdx::Turn::lock() { AcquireSRWLockExclusive(native(&lock_)); }
void vdx::Turn::unlock() { ReleaseSRWLockExclusive(native(&lock_)); }

std::int32_t comn_create_thread_ex(vdx_thread** thread, vdx_start_routine* start, void* argument,
                                   size_t stack_size) {
  VDX_CHECK_POINTER(thread, XS_FAIL);
  *thread = nullptr;
  VDX_CHECK_POINTER(start, XS_FAIL);
  if (stack_size > UINT_MAX) return VDX_TRACE(XS_FAIL);
  vdx_thread* const block = allocate<vdx_thread>();
  if (block == nullptr) return VDX_TRACE(XS_FAIL);
  new (block) vdx_thread{nullptr, start, argument, 2};
  unsigned tid;
  const std::uintptr_t handle =
      _beginthreadex(nullptr, static_cast<unsigned>(stack_size), run_thread, block, 0, &tid);
  if (handle == 0) {
    std::free(block);
    return VDX_TRACE(XS_FAIL);
  }
  block->handle = reinterpret_cast<HANDLE>(handle);
  *thread = block;
  return VDX_TRACE(XS_SUCCEED);
}

std::int32_t comn_join_thread(vdx_thread* thread) {
  VDX_CHECK_POINTER(thread, XS_FAIL);
  if (is_self(thread)) return VDX_TRACE(XS_FAIL);
  return VDX_TRACE(status(WaitForSingleObject(thread->handle, INFINITE) == WAIT_OBJECT_0));
}

std::int32_t comn_detach_thread(vdx_thread* thread) {
  VDX_CHECK_POINTER(thread, XS_FAIL);
  give_back(thread);
  return VDX_TRACE(XS_SUCCEED);
}

std::int32_t comn_kill_thread(vdx_thread* thread) {
  VDX_CHECK_POINTER(thread, XS_FAIL);
  if (WaitForSingleObject(thread->handle, kPatience) != WAIT_TIMEOUT) return VDX_TRACE(XS_SUCCEED);
  return VDX_TRACE(end(thread));
}

std::int32_t comn_cancel_thread(vdx_thread* thread) {
  VDX_CHECK_POINTER(thread, XS_FAIL);
  const bool own = is_self(thread);
  const std::int32_t result = own ? XS_FAIL : end(thread);
  give_back(thread);
  if (own) TerminateThread(GetCurrentThread(), 0);
  return VDX_TRACE(result);
}

void comn_exit_thread(const std::int32_t* exit_status) {
  _endthreadex(exit_status != nullptr ? static_cast<unsigned>(*exit_status) : 0);
}

void comn_yield(void) { SwitchToThread(); }

vdx_tid comn_thread_id(void) { return GetCurrentThreadId(); }

std::int32_t comn_set_priority(vdx_thread* thread, std::int32_t priority) {
  VDX_ASSERT(thread != nullptr, XS_FAIL);
  if (priority < 0 || priority >= vdx::kPriorities) return VDX_TRACE(XS_FAIL);
  // The system may accept a priority for a thread that has ended.
  if (WaitForSingleObject(thread->handle, 0) == WAIT_OBJECT_0) return VDX_TRACE(XS_FAIL);
  static constexpr int kLevel[vdx::kLevels] = {
      THREAD_PRIORITY_IDLE,         THREAD_PRIORITY_LOWEST,       THREAD_PRIORITY_BELOW_NORMAL,
      THREAD_PRIORITY_NORMAL,       THREAD_PRIORITY_ABOVE_NORMAL, THREAD_PRIORITY_HIGHEST,
      THREAD_PRIORITY_TIME_CRITICAL};
  return VDX_TRACE(status(SetThreadPriority(thread->handle, kLevel[vdx::kThreadLevel[priority]])));
}

void* comn_getsp(vdx_thread* thread) {
  VDX_ASSERT(thread != nullptr, nullptr);
  CONTEXT registers;
  std::memset(&registers, 0, sizeof registers);
  registers.ContextFlags = CONTEXT_CONTROL;
  if (!GetThreadContext(thread->handle, &registers)) return nullptr;
#if defined(_M_X64) || defined(__x86_64__)
  return reinterpret_cast<void*>(registers.Rsp);
#elif defined(_M_IX86) || defined(__i386__)
  return reinterpret_cast<void*>(registers.Esp);
#else
  return reinterpret_cast<void*>(registers.Sp);
#endif
}

std::int32_t comn_create_mutex(vdx_mutex** mutex) {
  VDX_CHECK_POINTER(mutex, XS_FAIL);
  *mutex = allocate<vdx_mutex>();
  if (*mutex == nullptr) return VDX_TRACE(XS_FAIL);
  InitializeCriticalSection(&(*mutex)->section);
  return VDX_TRACE(XS_SUCCEED);
}

std::int32_t comn_take_mutex(vdx_mutex* mutex) {
  VDX_CHECK_POINTER(mutex, XS_FAIL);
  EnterCriticalSection(&mutex->section);
  return VDX_TRACE(XS_SUCCEED);
}

std::int32_t comn_try_mutex(vdx_mutex* mutex) {
  VDX_CHECK_POINTER(mutex, XS_FAIL);
  return VDX_TRACE(status(TryEnterCriticalSection(&mutex->section)));
}

std::int32_t comn_release_mutex(vdx_mutex* mutex) {
  VDX_CHECK_POINTER(mutex, XS_FAIL);
  LeaveCriticalSection(&mutex->section);
  return VDX_TRACE(XS_SUCCEED);
}

std::int32_t comn_delete_mutex(vdx_mutex* mutex) {
  if (mutex == nullptr) return VDX_TRACE(XS_FAIL);
  DeleteCriticalSection(&mutex->section);
  std::free(mutex);
  return VDX_TRACE(XS_SUCCEED);
}

std::int32_t comn_create_sem(vdx_sem** semaphore, std::int32_t maximum) {
  VDX_CHECK_POINTER(semaphore, XS_FAIL);
  *semaphore = nullptr;
  return VDX_TRACE(keep(CreateSemaphoreA(nullptr, 0, maximum, nullptr), semaphore));
}

std::int32_t comn_waitfor_sem(vdx_sem* semaphore, std::int32_t no_wait) {
  VDX_CHECK_POINTER(semaphore, XS_FAIL);
  return VDX_TRACE(waited(WaitForSingleObject(semaphore->handle, no_wait != 0 ? 0 : INFINITE)));
}

std::int32_t comn_release_sem(vdx_sem* semaphore) {
  VDX_CHECK_POINTER(semaphore, XS_FAIL);
  return VDX_TRACE(status(ReleaseSemaphore(semaphore->handle, 1, nullptr)));
}

std::int32_t comn_delete_sem(vdx_sem* semaphore) {
  VDX_CHECK_POINTER(semaphore, XS_FAIL);
  const HANDLE handle = semaphore->handle;
  std::free(semaphore);
  CloseHandle(handle);
  return VDX_TRACE(XS_SUCCEED);
}

std::int32_t comn_create_event_ex(vdx_event** event, std::int32_t kind) {
  VDX_ASSERT(event != nullptr, XS_FAIL);
  *event = nullptr;
  return VDX_TRACE(keep(CreateEventA(nullptr, kind != VDX_EVENT_AUTO, FALSE, nullptr), event));
}

std::int32_t comn_waitfor_event(vdx_event* event, std::int32_t timeout) {
  VDX_CHECK_POINTER(event, XS_FAIL);
  const DWORD limit = timeout == VDX_NO_LIMIT ? INFINITE : static_cast<DWORD>(timeout);
  return VDX_TRACE(waited(WaitForSingleObject(event->handle, limit)));
}

std::int32_t comn_signal_event(vdx_event* event) {
  VDX_CHECK_POINTER(event, XS_FAIL);
  return VDX_TRACE(status(SetEvent(event->handle)));
}

std::int32_t comn_reset_event(vdx_event* event) {
  VDX_CHECK_POINTER(event, XS_FAIL);
  return VDX_TRACE(status(ResetEvent(event->handle)));
}

std::int32_t comn_delete_event(vdx_event* event) {
  if (event == nullptr || !CloseHandle(event->handle)) return VDX_TRACE(XS_FAIL);
  std::free(event);
  return VDX_TRACE(XS_SUCCEED);
}

std::int32_t comn_create_cond(vdx_cond** condition) {
  VDX_ASSERT(condition != nullptr, XS_FAIL);
  *condition = nullptr;
  vdx_cond* const block = allocate<vdx_cond>();
  if (block == nullptr) return VDX_TRACE(XS_FAIL);
  block->one = CreateEventA(nullptr, FALSE, FALSE, nullptr);
  block->all = block->one != nullptr ? CreateEventA(nullptr, TRUE, FALSE, nullptr) : nullptr;
  if (block->all == nullptr) {
    if (block->one != nullptr) CloseHandle(block->one);
    std::free(block);
    return VDX_TRACE(XS_FAIL);
  }
  *condition = block;
  return VDX_TRACE(XS_SUCCEED);
}

std::int32_t comn_signal_cond(vdx_cond* condition) {
  VDX_CHECK_POINTER(condition, XS_FAIL);
  return VDX_TRACE(status(SetEvent(condition->one)));
}

std::int32_t comn_broadcast_cond(vdx_cond* condition) {
  VDX_CHECK_POINTER(condition, XS_FAIL);
  return VDX_TRACE(status(SetEvent(condition->all)));
}

std::int32_t comn_wait_cond(vdx_cond* condition, vdx_mutex* mutex) {
  VDX_ASSERT(condition != nullptr && mutex != nullptr, XS_FAIL);
  if (comn_release_mutex(mutex) != XS_SUCCEED) return VDX_TRACE(XS_FAIL);
  const HANDLE either[] = {condition->one, condition->all};
  const DWORD result = WaitForMultipleObjects(2, either, FALSE, INFINITE);
  VDX_ASSERT(comn_take_mutex(mutex) == XS_SUCCEED, XS_FAIL);
  return VDX_TRACE(status(result == WAIT_OBJECT_0 || result == WAIT_OBJECT_0 + 1));
}

std::int32_t comn_delete_cond(vdx_cond* condition) {
  if (condition == nullptr) return VDX_TRACE(XS_FAIL);
  const BOOL one = CloseHandle(condition->one);
  const BOOL all = CloseHandle(condition->all);
  std::free(condition);
  return VDX_TRACE(status(one && all));
}

std::int32_t comn_create_key(vdx_key* key) {
  VDX_CHECK_POINTER(key, XS_FAIL);
  const DWORD made = TlsAlloc();
  if (made == TLS_OUT_OF_INDEXES) return VDX_TRACE(XS_FAIL);
  if (!own_keys.add(made)) {
    TlsFree(made);
    return VDX_TRACE(XS_FAIL);
  }
  *key = made;
  return VDX_TRACE(XS_SUCCEED);
}

std::int32_t comn_drop_key(vdx_key key) {
  return VDX_TRACE(status(own_keys.remove(key) && TlsFree(key)));
}

std::int32_t comn_set_threaduserdata(vdx_key key, const void* value) {
  return VDX_TRACE(status(own_keys.has(key) && TlsSetValue(key, const_cast<void*>(value))));
}

void* comn_get_threaduserdata(vdx_key key) {
  return own_keys.has(key) ? TlsGetValue(key) : nullptr;
}

std::int32_t comn_start_coroutine_mode(void) {
  if (coroutine_mode) return VDX_TRACE(XS_FAIL);
  InitializeCriticalSection(&coroutine_section);
  coroutine_mode = true;
  return VDX_TRACE(XS_SUCCEED);
}

std::int32_t comn_take_coroutine_control(void) {
  if (coroutine_mode) EnterCriticalSection(&coroutine_section);
  return VDX_TRACE(XS_SUCCEED);
}

std::int32_t comn_release_coroutine_control(void) {
  if (coroutine_mode) LeaveCriticalSection(&coroutine_section);
  return VDX_TRACE(XS_SUCCEED);
}

std::int32_t comn_end_coroutine_mode(void) {
  if (!coroutine_mode) return VDX_TRACE(XS_SUCCEED);
  LeaveCriticalSection(&coroutine_section);
  coroutine_mode = false;
  DeleteCriticalSection(&coroutine_section);
  std::memset(&coroutine_section, 0, sizeof coroutine_section);
  return VDX_TRACE(XS_SUCCEED);
}
