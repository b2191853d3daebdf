// Threads and the objects they meet at, on POSIX threads.
#include <pthread.h>
#include <sched.h>
#include <setjmp.h>
#include <signal.h>
#include <unistd.h>
#if defined(__linux__)
#include <sys/resource.h>
#include <sys/syscall.h>
#endif

#include <cerrno>
#include <climits>
#include <cstdlib>
#include <limits>
#include <mutex>
#include <new>
#include <utility>

#include "frame/check.h"
#include "frame/turn.h"
#include "wait.h"
#include "service/own_keys.h"
#include "service/thread_level.h"
#include "vdxcomn/thread.h"

using vdx::Deadline;
using vdx::Gate;
using vdx::Mutex;
using vdx::Undisturbed;
using vdx::Waited;

// Shared by its owner and the running thread: whoever comes last frees it. The system's handle is
// valid until the thread was collected, by a join that found it at its end or by the owner giving
// the block back.
struct vdx_thread : vdx::Sleep {
  vdx_thread(vdx_start_routine* routine, void* value) : start(routine), argument(value) {}

  vdx_start_routine* const start;
  void* const argument;
  std::atomic<int> references{2};
  pthread_t handle{};
  Mutex lock;              // no end of the thread and no collecting while the handle is in use
  bool collected = false;  // under the lock
  bool over = false;       // under the lock
  std::atomic<std::uint32_t> tid{0};
  Gate started{true};
  Gate ended{true};
  std::atomic<bool> leaving{false};
  std::atomic<bool> asked{false};  // for the stack pointer
  std::atomic<void*> stack_pointer{nullptr};
  Gate answered{false};
  sigjmp_buf frame;  // where an end leaves to
};
struct vdx_mutex {
  Mutex mutex;
};
struct vdx_event {
  explicit vdx_event(bool manual) : gate(manual) {}
  Gate gate;
};
struct vdx_sem {
  explicit vdx_sem(std::uint32_t maximum) : ceiling(maximum) {}
  Gate gate{false};
  const std::uint32_t ceiling;
};
// One gate: a broadcast is a signal of an event that never again resets itself.
struct vdx_cond {
  Gate gate{false};
};

namespace {

constexpr std::uint32_t kPatience = 1000;  // milliseconds

template <class Block, class... Arguments>
std::int32_t create(Block** out, Arguments... arguments) {
  void* const memory = std::malloc(sizeof(Block));
  *out = memory != nullptr ? new (memory) Block(arguments...) : nullptr;
  return memory != nullptr ? XS_SUCCEED : XS_FAIL;
}

template <class Block>
void destroy(Block* block) {
  block->~Block();
  std::free(block);
}

std::int32_t waited(Waited result) {
  switch (result) {
    case Waited::kTaken:
      return XS_SUCCEED;
    case Waited::kTimedOut:
      return XS_TIMED_OUT;
    case Waited::kFailed:
      break;
  }
  return XS_FAIL;
}

void let_go(vdx_thread* thread) {
  if (thread->references.fetch_sub(1, std::memory_order_acq_rel) == 1) destroy(thread);
}

// Identifier of the calling thread, asked for once; a fork makes another thread of it.
inline thread_local constinit std::uint32_t own_tid [[gnu::tls_model("initial-exec")]] = 0;

std::uint32_t system_tid() {
#if defined(__linux__)
  static pthread_once_t once = PTHREAD_ONCE_INIT;
  pthread_once(&once, [] { pthread_atfork(nullptr, nullptr, [] { own_tid = 0; }); });
  own_tid = static_cast<std::uint32_t>(syscall(SYS_gettid));
  return own_tid;
#else
  return vdx::self_token();
#endif
}

// ---- The end of a thread ----

// The key's destructor runs however a thread ends: by returning, leaving or being cancelled.
pthread_key_t end_key;
int end_signal = 0;  // 0 where the system has none left

vdx_thread* self() { return static_cast<vdx_thread*>(vdx::thread_sleep); }

void thread_over(void* block) {
  vdx_thread* const thread = static_cast<vdx_thread*>(block);
  vdx::thread_sleep = nullptr;
  thread->settle();
  thread->leaving.store(true);
  thread->answered.post(1);
  thread->started.post(1);
  thread->lock.take();
  thread->over = true;
  thread->lock.release();
  thread->ended.post(1);
  let_go(thread);
}

// No unwinding: it could meet a frame that lets nothing through, or stop between two instructions
// that nothing describes. What the abandoned frames owned is lost, as the callers are told.
[[noreturn]] void leave_thread(vdx::Sleep& sleep) {
  siglongjmp(static_cast<vdx_thread&>(sleep).frame, 1);
}

void on_end_signal(int) {
  const int error = errno;
  vdx_thread* const thread = self();
  if (thread == nullptr) return;
  if (thread->asked.exchange(false)) {
    thread->stack_pointer.store(__builtin_frame_address(0));
    thread->answered.post(1);
  }
  if (thread->end_requested.load() && thread->depth.load() == 0) leave_thread(*thread);
  errno = error;
}

// Once a process, before its first thread; false while no key is to be had.
bool make_ready() {
  static constinit std::atomic<bool> ready{false};
  static constinit vdx::Turn turn;
  if (ready.load(std::memory_order_acquire)) return true;
  const std::lock_guard guard(turn);
  if (ready.load(std::memory_order_relaxed)) return true;
  if (pthread_key_create(&end_key, thread_over) != 0) return false;
#if defined(SIGRTMAX)
  for (int candidate = SIGRTMAX; candidate >= SIGRTMIN && end_signal == 0; --candidate) {
    struct sigaction action {};
    if (sigaction(candidate, nullptr, &action) != 0 || action.sa_handler != SIG_DFL) continue;
    action = {};
    action.sa_handler = on_end_signal;
    sigemptyset(&action.sa_mask);
#if !defined(__SANITIZE_THREAD__)
    // ThreadSanitizer hands signals on when a system call was left, so there it has to be left.
    action.sa_flags = SA_RESTART;
#endif
    if (sigaction(candidate, &action, nullptr) == 0) end_signal = candidate;
  }
#endif
  ready.store(true, std::memory_order_release);
  return true;
}

// A plain frame without objects: ends of every kind pass through or arrive here.
extern "C" void* vdx_run_thread(void* block) {
  vdx_thread* const thread = static_cast<vdx_thread*>(block);
  // Where there is no memory for the key's value, all ends of ours still arrive below.
  const bool is_hooked = pthread_setspecific(end_key, thread) == 0;
  if (end_signal != 0) {
    sigset_t ours;
    sigemptyset(&ours);
    sigaddset(&ours, end_signal);
    pthread_sigmask(SIG_UNBLOCK, &ours, nullptr);
  }
  pthread_setcanceltype(PTHREAD_CANCEL_ASYNCHRONOUS, nullptr);
  thread->end = leave_thread;
  thread->stack_pointer.store(__builtin_frame_address(0));
  if (sigsetjmp(thread->frame, 1) == 0) {
    vdx::thread_sleep = thread;
    thread->tid.store(comn_thread_id());
    thread->started.post(1);
    // An end asked for before the signal could find the thread.
    if (!thread->end_requested.load()) thread->start(thread->argument);
  }
  vdx::thread_sleep = nullptr;
  if (!is_hooked) thread_over(thread);
  return nullptr;
}

// Uses the thread while its handle is good; false when it has ended.
template <class Use>
bool while_running(vdx_thread* thread, Use use) {
  const Undisturbed undisturbed;
  thread->lock.take();
  const bool running = !thread->over;
  const bool done = running && use();
  thread->lock.release();
  return done;
}

bool has_ended(vdx_thread* thread, std::uint32_t patience) {
  return thread->ended.wait(Deadline(patience)) == Waited::kTaken;
}

// Ends another thread. False when it is still there.
bool end_thread(vdx_thread* thread) {
  thread->end_requested.store(true);
  if (end_signal != 0) {
    while_running(thread, [&] { return pthread_kill(thread->handle, end_signal) == 0; });
    if (has_ended(thread, kPatience)) return true;
  }
  while_running(thread, [&] { return pthread_cancel(thread->handle) == 0; });
  return has_ended(thread, kPatience);
}

// Whether the caller is the first, who then joins or detaches the handle.
bool collect(vdx_thread* thread) {
  const Undisturbed undisturbed;
  thread->lock.take();
  const bool first = !std::exchange(thread->collected, true);
  thread->lock.release();
  return first;
}

void give_back(vdx_thread* thread) {
  if (collect(thread)) pthread_detach(thread->handle);
  let_go(thread);
}

#if defined(PTHREAD_KEYS_MAX)
constinit vdx::OwnKeys<PTHREAD_KEYS_MAX> own_keys;
#else
constinit vdx::OwnKeys<1024> own_keys;
#endif

Mutex coroutine_lock;
std::atomic<bool> coroutine_mode{false};

}  // namespace

int32_t comn_create_thread_ex(vdx_thread** thread, vdx_start_routine* start, void* argument,
                              size_t stack_size) {
  VDX_CHECK_POINTER(thread, XS_FAIL);
  *thread = nullptr;
  VDX_CHECK_POINTER(start, XS_FAIL);
  vdx_thread* block;
  if (!make_ready() || create(&block, start, argument) != XS_SUCCEED) return VDX_TRACE(XS_FAIL);
  pthread_attr_t attributes;
  int failed = pthread_attr_init(&attributes);
  if (failed == 0) {
    if (stack_size != 0) {
      const std::size_t page = static_cast<std::size_t>(sysconf(_SC_PAGESIZE));
      const std::size_t least = static_cast<std::size_t>(PTHREAD_STACK_MIN) + page;
      if (stack_size < least) stack_size = least;
      failed = stack_size > std::numeric_limits<std::size_t>::max() - page ||
               pthread_attr_setstacksize(&attributes, (stack_size + page - 1) / page * page) != 0;
    }
    if (failed == 0) failed = pthread_create(&block->handle, &attributes, vdx_run_thread, block);
    pthread_attr_destroy(&attributes);
  }
  if (failed != 0) {
    destroy(block);
    return VDX_TRACE(XS_FAIL);
  }
  *thread = block;
  return VDX_TRACE(XS_SUCCEED);
}

int32_t comn_join_thread(vdx_thread* thread) {
  VDX_CHECK_POINTER(thread, XS_FAIL);
  if (thread == self()) return VDX_TRACE(XS_FAIL);
  thread->ended.wait(Deadline());
  // The thread is past everything of ours; what is left of it ends by itself.
  const bool joined = !collect(thread) || pthread_join(thread->handle, nullptr) == 0;
  return VDX_TRACE(joined ? XS_SUCCEED : XS_FAIL);
}

int32_t comn_detach_thread(vdx_thread* thread) {
  VDX_CHECK_POINTER(thread, XS_FAIL);
  give_back(thread);
  return VDX_TRACE(XS_SUCCEED);
}

int32_t comn_kill_thread(vdx_thread* thread) {
  VDX_CHECK_POINTER(thread, XS_FAIL);
  if (has_ended(thread, kPatience)) return VDX_TRACE(XS_SUCCEED);
  if (thread == self()) leave_thread(*thread);
  return VDX_TRACE(end_thread(thread) ? XS_SUCCEED : XS_FAIL);
}

int32_t comn_cancel_thread(vdx_thread* thread) {
  VDX_CHECK_POINTER(thread, XS_FAIL);
  const bool own = thread == self();
  const bool ended = own || end_thread(thread);
  give_back(thread);
  if (own) leave_thread(*thread);
  return VDX_TRACE(ended ? XS_SUCCEED : XS_FAIL);
}

void comn_exit_thread(const int32_t*) {
  if (vdx_thread* const own = self()) leave_thread(*own);
  pthread_exit(nullptr);
}

void comn_yield(void) { sched_yield(); }

vdx_tid comn_thread_id(void) { return own_tid != 0 ? own_tid : system_tid(); }

int32_t comn_set_priority(vdx_thread* thread, int32_t priority) {
  VDX_ASSERT(thread != nullptr, XS_FAIL);
  if (priority < 0 || priority >= vdx::kPriorities) return VDX_TRACE(XS_FAIL);
#if defined(__linux__)
  static constexpr int kNice[vdx::kLevels] = {19, 10, 5, 0, -5, -10, -20};
  thread->started.wait(Deadline());
  const bool set = while_running(thread, [&] {
    return setpriority(PRIO_PROCESS, thread->tid.load(), kNice[vdx::kThreadLevel[priority]]) == 0;
  });
  return VDX_TRACE(set ? XS_SUCCEED : XS_FAIL);
#else
  return VDX_TRACE(XS_FAIL);  // one nice value for all threads
#endif
}

void* comn_getsp(vdx_thread* thread) {
  VDX_ASSERT(thread != nullptr, nullptr);
  if (thread == self()) return __builtin_frame_address(0);
  thread->started.wait(Deadline());
  void* pointer = nullptr;
  while_running(thread, [&] {
    thread->answered.reset();
    thread->asked.store(true);
    if (end_signal != 0 && !thread->leaving.load() && pthread_kill(thread->handle, end_signal) == 0)
      thread->answered.wait(Deadline(kPatience / 2));  // whoever ends this thread waits longer
    pointer = thread->leaving.load() ? nullptr : thread->stack_pointer.load();
    return true;
  });
  return pointer;
}

int32_t comn_create_mutex(vdx_mutex** mutex) {
  VDX_CHECK_POINTER(mutex, XS_FAIL);
  return VDX_TRACE(create(mutex));
}

int32_t comn_take_mutex(vdx_mutex* mutex) {
  VDX_CHECK_POINTER(mutex, XS_FAIL);
  mutex->mutex.take();
  return VDX_TRACE(XS_SUCCEED);
}

int32_t comn_try_mutex(vdx_mutex* mutex) {
  VDX_CHECK_POINTER(mutex, XS_FAIL);
  return VDX_TRACE(mutex->mutex.try_take() ? XS_SUCCEED : XS_FAIL);
}

int32_t comn_release_mutex(vdx_mutex* mutex) {
  VDX_CHECK_POINTER(mutex, XS_FAIL);
  return VDX_TRACE(mutex->mutex.release() ? XS_SUCCEED : XS_FAIL);
}

int32_t comn_delete_mutex(vdx_mutex* mutex) {
  if (mutex == nullptr) return VDX_TRACE(XS_FAIL);
  destroy(mutex);
  return VDX_TRACE(XS_SUCCEED);
}

int32_t comn_create_sem(vdx_sem** semaphore, int32_t maximum) {
  VDX_CHECK_POINTER(semaphore, XS_FAIL);
  *semaphore = nullptr;
  if (maximum < 1) return VDX_TRACE(XS_FAIL);
  return VDX_TRACE(create(semaphore, static_cast<std::uint32_t>(maximum)));
}

int32_t comn_waitfor_sem(vdx_sem* semaphore, int32_t no_wait) {
  VDX_CHECK_POINTER(semaphore, XS_FAIL);
  if (semaphore->gate.try_take()) return VDX_TRACE(XS_SUCCEED);
  return VDX_TRACE(no_wait != 0 ? XS_TIMED_OUT : waited(semaphore->gate.wait(Deadline())));
}

int32_t comn_release_sem(vdx_sem* semaphore) {
  VDX_CHECK_POINTER(semaphore, XS_FAIL);
  return VDX_TRACE(semaphore->gate.post(semaphore->ceiling) ? XS_SUCCEED : XS_FAIL);
}

int32_t comn_delete_sem(vdx_sem* semaphore) {
  VDX_CHECK_POINTER(semaphore, XS_FAIL);
  destroy(semaphore);
  return VDX_TRACE(XS_SUCCEED);
}

int32_t comn_create_event_ex(vdx_event** event, int32_t kind) {
  VDX_ASSERT(event != nullptr, XS_FAIL);
  return VDX_TRACE(create(event, kind != VDX_EVENT_AUTO));
}

int32_t comn_waitfor_event(vdx_event* event, int32_t timeout) {
  VDX_CHECK_POINTER(event, XS_FAIL);
  if (event->gate.try_take()) return VDX_TRACE(XS_SUCCEED);
  if (timeout == 0) return VDX_TRACE(XS_TIMED_OUT);
  const bool limited = timeout != VDX_NO_LIMIT && timeout != -1;
  return VDX_TRACE(waited(
      event->gate.wait(limited ? Deadline(static_cast<std::uint32_t>(timeout)) : Deadline())));
}

int32_t comn_signal_event(vdx_event* event) {
  VDX_CHECK_POINTER(event, XS_FAIL);
  event->gate.post(1);
  return VDX_TRACE(XS_SUCCEED);
}

int32_t comn_reset_event(vdx_event* event) {
  VDX_CHECK_POINTER(event, XS_FAIL);
  event->gate.reset();
  return VDX_TRACE(XS_SUCCEED);
}

int32_t comn_delete_event(vdx_event* event) {
  if (event == nullptr) return VDX_TRACE(XS_FAIL);
  destroy(event);
  return VDX_TRACE(XS_SUCCEED);
}

int32_t comn_create_cond(vdx_cond** condition) {
  VDX_ASSERT(condition != nullptr, XS_FAIL);
  return VDX_TRACE(create(condition));
}

int32_t comn_signal_cond(vdx_cond* condition) {
  VDX_CHECK_POINTER(condition, XS_FAIL);
  condition->gate.post(1);
  return VDX_TRACE(XS_SUCCEED);
}

int32_t comn_broadcast_cond(vdx_cond* condition) {
  VDX_CHECK_POINTER(condition, XS_FAIL);
  condition->gate.open();
  return VDX_TRACE(XS_SUCCEED);
}

int32_t comn_wait_cond(vdx_cond* condition, vdx_mutex* mutex) {
  VDX_ASSERT(condition != nullptr && mutex != nullptr, XS_FAIL);
  if (!mutex->mutex.release()) return VDX_TRACE(XS_FAIL);
  const std::int32_t result = waited(condition->gate.wait(Deadline()));
  mutex->mutex.take();
  return VDX_TRACE(result);
}

int32_t comn_delete_cond(vdx_cond* condition) {
  if (condition == nullptr) return VDX_TRACE(XS_FAIL);
  destroy(condition);
  return VDX_TRACE(XS_SUCCEED);
}

int32_t comn_create_key(vdx_key* key) {
  VDX_CHECK_POINTER(key, XS_FAIL);
  pthread_key_t made;
  if (pthread_key_create(&made, nullptr) != 0) return VDX_TRACE(XS_FAIL);
  *key = static_cast<vdx_key>(made);
  if (own_keys.add(*key)) return VDX_TRACE(XS_SUCCEED);
  pthread_key_delete(made);
  return VDX_TRACE(XS_FAIL);
}

int32_t comn_drop_key(vdx_key key) {
  const bool dropped = own_keys.remove(key) && pthread_key_delete(key) == 0;
  return VDX_TRACE(dropped ? XS_SUCCEED : XS_FAIL);
}

int32_t comn_set_threaduserdata(vdx_key key, const void* value) {
  const bool stored = own_keys.has(key) && pthread_setspecific(key, value) == 0;
  return VDX_TRACE(stored ? XS_SUCCEED : XS_FAIL);
}

void* comn_get_threaduserdata(vdx_key key) {
  return own_keys.has(key) ? pthread_getspecific(key) : nullptr;
}

int32_t comn_start_coroutine_mode(void) {
  return VDX_TRACE(coroutine_mode.exchange(true) ? XS_FAIL : XS_SUCCEED);
}

int32_t comn_take_coroutine_control(void) {
  if (coroutine_mode.load(std::memory_order_acquire)) coroutine_lock.take();
  return VDX_TRACE(XS_SUCCEED);
}

int32_t comn_release_coroutine_control(void) {
  if (coroutine_mode.load(std::memory_order_acquire)) coroutine_lock.release();
  return VDX_TRACE(XS_SUCCEED);
}

int32_t comn_end_coroutine_mode(void) {
  if (!coroutine_mode.load(std::memory_order_acquire)) return VDX_TRACE(XS_SUCCEED);
  coroutine_lock.release();
  coroutine_lock.clear();
  coroutine_mode.store(false, std::memory_order_release);
  return VDX_TRACE(XS_SUCCEED);
}
