// Threads, their synchronisation objects, keys and the coroutine lock, on POSIX threads and the
// means of wait.h.
//
// How a thread is ended: end_requested is set and the end signal sent. The handler jumps to the
// first frame, vdx_run_thread, unless the thread is inside a bracket (wait.h), whose close then
// does. A thread that blocks the signal is cancelled by the system after kPatience. However it
// ends, thread_over runs: by the destructor of a thread-local key, without one from the first frame.
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
using vdx::Endable;
using vdx::Gate;
using vdx::Latch;
using vdx::Mutex;
using vdx::Undisturbed;

// Shared by its owner and the running thread; the last of them frees it. The system's handle is
// valid until it is collected: joined by a join that found the thread ended, or detached when the
// owner gives the block back.
struct vdx_thread : Endable {
  vdx_thread(vdx_start_routine* routine, void* value) : start(routine), argument(value) {}

  vdx_start_routine* const start;
  void* const argument;
  std::atomic<int> references{2};
  pthread_t handle{};
  Mutex lock;  // held while the handle is used; guards the next two
  bool collected = false;
  bool over = false;  // the thread is past everything of ours, and its handle may go
  std::atomic<std::uint32_t> tid{0};
  Latch started;  // tid and stack_pointer are set
  Latch ended;
  std::atomic<bool> leaving{false};  // no signal is of use any more
  std::atomic<bool> asked{false};    // for the stack pointer; the answer resets it
  std::atomic<void*> stack_pointer{nullptr};
  sigjmp_buf frame;  // of vdx_run_thread
};
struct vdx_mutex {
  Mutex mutex;
};
struct vdx_event {
  explicit vdx_event(bool manual) : gate(manual) {}
  Gate gate;
};
struct vdx_sem {
  explicit vdx_sem(std::uint32_t maximum) : gate(false, maximum) {}
  Gate gate;
};
// An auto-reset event that a broadcast makes a manual one, which nothing resets.
struct vdx_cond {
  Gate gate{false};
};

namespace {

constexpr std::uint32_t kPatience = 1000;  // milliseconds

template <typename Block, typename... Arguments>
std::int32_t create(Block** out, Arguments... arguments) {
  void* const memory = std::malloc(sizeof(Block));
  *out = memory != nullptr ? new (memory) Block(arguments...) : nullptr;
  return memory != nullptr ? XS_SUCCEED : XS_FAIL;
}

template <typename Block>
void destroy(Block* block) {
  block->~Block();
  std::free(block);
}

void let_go(vdx_thread* thread) {
  if (thread->references.fetch_sub(1, std::memory_order_acq_rel) == 1) destroy(thread);
}

// The calling thread's identifier once it was asked for. The child of a fork asks again.
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

pthread_key_t end_key;  // its destructor is thread_over
int end_signal = 0;     // 0 where the system has none left

vdx_thread* self() { return static_cast<vdx_thread*>(vdx::endable_self); }

void thread_over(void* block) {
  vdx_thread* const thread = static_cast<vdx_thread*>(block);
  vdx::endable_self = nullptr;
  thread->settle();
  thread->leaving.store(true);
  thread->started.set();
  thread->lock.take();
  thread->over = true;
  thread->lock.release();
  thread->ended.set();
  let_go(thread);
}

// A jump, not unwinding, which fails at a function that lets no exception through and at an
// instruction that the unwind tables do not describe. What the abandoned frames own is lost, as
// thread.h says.
[[noreturn]] void leave_thread(Endable& endable) {
  siglongjmp(static_cast<vdx_thread&>(endable).frame, 1);
}

void on_end_signal(int) {
  const int error = errno;
  vdx_thread* const thread = self();
  if (thread == nullptr) return;
  if (thread->asked.load()) {
    thread->stack_pointer.store(__builtin_frame_address(0));
    thread->asked.store(false);
  }
  if (thread->end_requested.load() && thread->depth.load() == 0) leave_thread(*thread);
  errno = error;
}

// Makes the key and finds the signal, once a process, before its first thread. False if no key is
// left.
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
    // ThreadSanitizer delivers a signal after the system call that it interrupted has returned, so
    // there the call must not be restarted.
    action.sa_flags = SA_RESTART;
#endif
    if (sigaction(candidate, &action, nullptr) == 0) end_signal = candidate;
  }
#endif
  ready.store(true, std::memory_order_release);
  return true;
}

// Has no objects with destructors: every end passes through this frame or arrives at it.
extern "C" void* vdx_run_thread(void* block) {
  vdx_thread* const thread = static_cast<vdx_thread*>(block);
  // Without memory for the key's value, all ends but the system's own still arrive below.
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
    vdx::endable_self = thread;
    thread->tid.store(comn_thread_id());
    thread->started.set();
    // The end may have been requested before the handler could know the thread.
    if (!thread->end_requested.load()) thread->start(thread->argument);
  }
  vdx::endable_self = nullptr;
  // Before other destructors of thread-local values, which may wait in their turn.
  thread->settle();
  if (!is_hooked) thread_over(thread);
  return nullptr;
}

// Calls use while the thread's handle is valid, and returns its result; false if it has ended.
template <typename Use>
bool while_running(vdx_thread* thread, Use use) {
  const Undisturbed undisturbed;
  thread->lock.take();
  const bool running = !thread->over;
  const bool done = running && use();
  thread->lock.release();
  return done;
}

bool has_ended(vdx_thread* thread, std::uint32_t patience) {
  return thread->ended.wait(Deadline(patience));
}

// Ends another thread. False if it still runs.
bool end_thread(vdx_thread* thread) {
  thread->end_requested.store(true);
  if (end_signal != 0) {
    while_running(thread, [&] { return pthread_kill(thread->handle, end_signal) == 0; });
    if (has_ended(thread, kPatience)) return true;
  }
  while_running(thread, [&] { return pthread_cancel(thread->handle) == 0; });
  return has_ended(thread, kPatience);
}

// True for the first caller alone, who then joins or detaches the handle.
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

std::int32_t comn_create_thread_ex(vdx_thread** thread, vdx_start_routine* start, void* argument,
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

std::int32_t comn_join_thread(vdx_thread* thread) {
  VDX_CHECK_POINTER(thread, XS_FAIL);
  if (thread == self()) return VDX_TRACE(XS_FAIL);
  thread->ended.wait(Deadline());
  // What is left of the thread is the system's and ends by itself.
  const bool joined = !collect(thread) || pthread_join(thread->handle, nullptr) == 0;
  return VDX_TRACE(joined ? XS_SUCCEED : XS_FAIL);
}

std::int32_t comn_detach_thread(vdx_thread* thread) {
  VDX_CHECK_POINTER(thread, XS_FAIL);
  give_back(thread);
  return VDX_TRACE(XS_SUCCEED);
}

std::int32_t comn_kill_thread(vdx_thread* thread) {
  VDX_CHECK_POINTER(thread, XS_FAIL);
  if (has_ended(thread, kPatience)) return VDX_TRACE(XS_SUCCEED);
  if (thread == self()) leave_thread(*thread);
  return VDX_TRACE(end_thread(thread) ? XS_SUCCEED : XS_FAIL);
}

std::int32_t comn_cancel_thread(vdx_thread* thread) {
  VDX_CHECK_POINTER(thread, XS_FAIL);
  const bool own = thread == self();
  const bool ended = own || end_thread(thread);
  give_back(thread);
  if (own) leave_thread(*thread);
  return VDX_TRACE(ended ? XS_SUCCEED : XS_FAIL);
}

void comn_exit_thread(const std::int32_t*) {
  if (vdx_thread* const own = self()) leave_thread(*own);
  pthread_exit(nullptr);
}

void comn_yield(void) { sched_yield(); }

vdx_tid comn_thread_id(void) { return own_tid != 0 ? own_tid : system_tid(); }

std::int32_t comn_set_priority(vdx_thread* thread, std::int32_t priority) {
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
  return VDX_TRACE(XS_FAIL);  // the nice value is that of the whole process
#endif
}

void* comn_getsp(vdx_thread* thread) {
  VDX_ASSERT(thread != nullptr, nullptr);
  if (thread == self()) return __builtin_frame_address(0);
  thread->started.wait(Deadline());
  void* pointer = nullptr;
  while_running(thread, [&] {
    // The handler may wake nobody: it can have interrupted the calls that would. So its answer is
    // looked for. Who ends this thread meanwhile waits longer than this loop.
    thread->asked.store(true);
    const timespec pause{0, 100000};
    if (end_signal != 0 && !thread->leaving.load() && pthread_kill(thread->handle, end_signal) == 0)
      for (const Deadline limit(kPatience / 2);
           thread->asked.load() && !thread->leaving.load() && !limit.has_passed();)
        nanosleep(&pause, nullptr);
    pointer = thread->leaving.load() ? nullptr : thread->stack_pointer.load();
    return true;
  });
  return pointer;
}

std::int32_t comn_create_mutex(vdx_mutex** mutex) {
  VDX_CHECK_POINTER(mutex, XS_FAIL);
  return VDX_TRACE(create(mutex));
}

std::int32_t comn_take_mutex(vdx_mutex* mutex) {
  VDX_CHECK_POINTER(mutex, XS_FAIL);
  mutex->mutex.take();
  return VDX_TRACE(XS_SUCCEED);
}

std::int32_t comn_try_mutex(vdx_mutex* mutex) {
  VDX_CHECK_POINTER(mutex, XS_FAIL);
  return VDX_TRACE(mutex->mutex.try_take() ? XS_SUCCEED : XS_FAIL);
}

std::int32_t comn_release_mutex(vdx_mutex* mutex) {
  VDX_CHECK_POINTER(mutex, XS_FAIL);
  return VDX_TRACE(mutex->mutex.release() ? XS_SUCCEED : XS_FAIL);
}

std::int32_t comn_delete_mutex(vdx_mutex* mutex) {
  if (mutex == nullptr) return VDX_TRACE(XS_FAIL);
  destroy(mutex);
  return VDX_TRACE(XS_SUCCEED);
}

std::int32_t comn_create_sem(vdx_sem** semaphore, std::int32_t maximum) {
  VDX_CHECK_POINTER(semaphore, XS_FAIL);
  *semaphore = nullptr;
  if (maximum < 1) return VDX_TRACE(XS_FAIL);
  return VDX_TRACE(create(semaphore, static_cast<std::uint32_t>(maximum)));
}

std::int32_t comn_waitfor_sem(vdx_sem* semaphore, std::int32_t no_wait) {
  VDX_CHECK_POINTER(semaphore, XS_FAIL);
  if (semaphore->gate.try_take()) return VDX_TRACE(XS_SUCCEED);
  if (no_wait != 0) return VDX_TRACE(XS_TIMED_OUT);
  semaphore->gate.wait(Deadline());
  return VDX_TRACE(XS_SUCCEED);
}

std::int32_t comn_release_sem(vdx_sem* semaphore) {
  VDX_CHECK_POINTER(semaphore, XS_FAIL);
  return VDX_TRACE(semaphore->gate.post() ? XS_SUCCEED : XS_FAIL);
}

std::int32_t comn_delete_sem(vdx_sem* semaphore) {
  VDX_CHECK_POINTER(semaphore, XS_FAIL);
  destroy(semaphore);
  return VDX_TRACE(XS_SUCCEED);
}

std::int32_t comn_create_event_ex(vdx_event** event, std::int32_t kind) {
  VDX_ASSERT(event != nullptr, XS_FAIL);
  return VDX_TRACE(create(event, kind != VDX_EVENT_AUTO));
}

std::int32_t comn_waitfor_event(vdx_event* event, std::int32_t timeout) {
  VDX_CHECK_POINTER(event, XS_FAIL);
  if (event->gate.try_take()) return VDX_TRACE(XS_SUCCEED);
  if (timeout == 0) return VDX_TRACE(XS_TIMED_OUT);
  const bool limited = timeout != VDX_NO_LIMIT && timeout != -1;
  const bool signalled =
      event->gate.wait(limited ? Deadline(static_cast<std::uint32_t>(timeout)) : Deadline());
  return VDX_TRACE(signalled ? XS_SUCCEED : XS_TIMED_OUT);
}

std::int32_t comn_signal_event(vdx_event* event) {
  VDX_CHECK_POINTER(event, XS_FAIL);
  event->gate.post();
  return VDX_TRACE(XS_SUCCEED);
}

std::int32_t comn_reset_event(vdx_event* event) {
  VDX_CHECK_POINTER(event, XS_FAIL);
  event->gate.reset();
  return VDX_TRACE(XS_SUCCEED);
}

std::int32_t comn_delete_event(vdx_event* event) {
  if (event == nullptr) return VDX_TRACE(XS_FAIL);
  destroy(event);
  return VDX_TRACE(XS_SUCCEED);
}

std::int32_t comn_create_cond(vdx_cond** condition) {
  VDX_ASSERT(condition != nullptr, XS_FAIL);
  return VDX_TRACE(create(condition));
}

std::int32_t comn_signal_cond(vdx_cond* condition) {
  VDX_CHECK_POINTER(condition, XS_FAIL);
  condition->gate.post();
  return VDX_TRACE(XS_SUCCEED);
}

std::int32_t comn_broadcast_cond(vdx_cond* condition) {
  VDX_CHECK_POINTER(condition, XS_FAIL);
  condition->gate.open();
  return VDX_TRACE(XS_SUCCEED);
}

std::int32_t comn_wait_cond(vdx_cond* condition, vdx_mutex* mutex) {
  VDX_ASSERT(condition != nullptr && mutex != nullptr, XS_FAIL);
  if (!mutex->mutex.release()) return VDX_TRACE(XS_FAIL);
  condition->gate.wait(Deadline());
  mutex->mutex.take();
  return VDX_TRACE(XS_SUCCEED);
}

std::int32_t comn_delete_cond(vdx_cond* condition) {
  if (condition == nullptr) return VDX_TRACE(XS_FAIL);
  destroy(condition);
  return VDX_TRACE(XS_SUCCEED);
}

std::int32_t comn_create_key(vdx_key* key) {
  VDX_CHECK_POINTER(key, XS_FAIL);
  pthread_key_t made;
  if (pthread_key_create(&made, nullptr) != 0) return VDX_TRACE(XS_FAIL);
  if (!own_keys.add(static_cast<vdx_key>(made))) {
    pthread_key_delete(made);
    return VDX_TRACE(XS_FAIL);
  }
  *key = static_cast<vdx_key>(made);
  return VDX_TRACE(XS_SUCCEED);
}

std::int32_t comn_drop_key(vdx_key key) {
  const bool dropped = own_keys.remove(key) && pthread_key_delete(key) == 0;
  return VDX_TRACE(dropped ? XS_SUCCEED : XS_FAIL);
}

std::int32_t comn_set_threaduserdata(vdx_key key, const void* value) {
  const bool stored = own_keys.has(key) && pthread_setspecific(key, value) == 0;
  return VDX_TRACE(stored ? XS_SUCCEED : XS_FAIL);
}

void* comn_get_threaduserdata(vdx_key key) {
  return own_keys.has(key) ? pthread_getspecific(key) : nullptr;
}

std::int32_t comn_start_coroutine_mode(void) {
  return VDX_TRACE(coroutine_mode.exchange(true) ? XS_FAIL : XS_SUCCEED);
}

std::int32_t comn_take_coroutine_control(void) {
  if (coroutine_mode.load(std::memory_order_acquire)) coroutine_lock.take();
  return VDX_TRACE(XS_SUCCEED);
}

std::int32_t comn_release_coroutine_control(void) {
  if (coroutine_mode.load(std::memory_order_acquire)) coroutine_lock.release();
  return VDX_TRACE(XS_SUCCEED);
}

std::int32_t comn_end_coroutine_mode(void) {
  if (!coroutine_mode.load(std::memory_order_acquire)) return VDX_TRACE(XS_SUCCEED);
  coroutine_lock.release();
  coroutine_lock.clear();
  coroutine_mode.store(false, std::memory_order_release);
  return VDX_TRACE(XS_SUCCEED);
}
