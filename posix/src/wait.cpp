// Parking on a word, by futex on Linux, elsewhere by a table of condition variables; and the parts
// of latch, mutex and gate that sleep or wake.
#include "wait.h"

#if defined(__linux__) && defined(__LP64__) && !defined(VDX_PORTABLE)
#define VDX_FUTEX
#include <linux/futex.h>
#include <sys/syscall.h>
#include <unistd.h>
#endif
#include <pthread.h>

#include <bit>
#include <cerrno>
#include <climits>

namespace vdx {

Deadline::Deadline(std::uint32_t milliseconds) : limited_(true) {
  clock_gettime(CLOCK_MONOTONIC, &when_);
  when_.tv_sec += static_cast<time_t>(milliseconds / 1000);
  when_.tv_nsec += static_cast<long>(milliseconds % 1000) * 1000000;
  if (when_.tv_nsec >= 1000000000) {
    when_.tv_nsec -= 1000000000;
    ++when_.tv_sec;
  }
}

bool Deadline::has_passed() const {
  if (!limited_) return false;
  timespec now;
  clock_gettime(CLOCK_MONOTONIC, &now);
  return now.tv_sec > when_.tv_sec || (now.tv_sec == when_.tv_sec && now.tv_nsec >= when_.tv_nsec);
}

#ifdef VDX_FUTEX

static std::uint32_t* upper_half(Word& word) {
  return reinterpret_cast<std::uint32_t*>(&word) +
         (std::endian::native == std::endian::little ? 1 : 0);
}

bool park(Word& word, std::uint64_t seen, const Deadline& deadline) {
  const int error = errno;
  const bool passed = syscall(SYS_futex, upper_half(word), FUTEX_WAIT_BITSET_PRIVATE,
                              static_cast<std::uint32_t>(seen >> 32), deadline.when(), nullptr,
                              FUTEX_BITSET_MATCH_ANY) != 0 &&
                      errno == ETIMEDOUT;
  errno = error;
  return !passed;
}

void wake(Word& word, std::uint32_t count) {
  const int error = errno;
  syscall(SYS_futex, upper_half(word), FUTEX_WAKE_PRIVATE, count < INT_MAX ? count : INT_MAX,
          nullptr, nullptr, 0);
  errno = error;
}

#else

namespace {

// Words share places; a wake wakes every thread that parks at its place, and those that park on
// another word sleep again.
struct Place {
  pthread_mutex_t mutex;
  pthread_cond_t changed;
};
Place places[64];

void make_places() {
  pthread_condattr_t monotonic;
  pthread_condattr_init(&monotonic);
  pthread_condattr_setclock(&monotonic, CLOCK_MONOTONIC);
  for (Place& place : places) {
    pthread_mutex_init(&place.mutex, nullptr);
    pthread_cond_init(&place.changed, &monotonic);
  }
  pthread_condattr_destroy(&monotonic);
}

Place& place_of(const Word& word) {
  static pthread_once_t made = PTHREAD_ONCE_INIT;
  pthread_once(&made, make_places);
  // The words of sleepers have the same offset in the pages of their threads, so that the low bits
  // alone would put all at one place. The factor is 2^64 divided by the golden ratio.
  const std::uint64_t address = reinterpret_cast<std::uintptr_t>(&word);
  return places[address * 0x9E3779B97F4A7C15u >> 58];
}

}  // namespace

// A thread that was ended or cancelled inside park or wake would leave a place locked. So a thread
// that can be ended leaves park every few milliseconds, and cancellation is off meanwhile.

bool park(Word& word, std::uint64_t seen, const Deadline& deadline) {
  constexpr std::uint32_t kSlice = 20;  // milliseconds
  const Undisturbed undisturbed;
  const Deadline soon(kSlice);
  const timespec *limit = deadline.when(), *slice = soon.when();
  bool last = limit != nullptr;
  if (endable_self != nullptr &&
      (!last || limit->tv_sec > slice->tv_sec ||
       (limit->tv_sec == slice->tv_sec && limit->tv_nsec > slice->tv_nsec))) {
    limit = slice;
    last = false;
  }
  int cancel_state;
  pthread_setcancelstate(PTHREAD_CANCEL_DISABLE, &cancel_state);
  Place& place = place_of(word);
  int result = 0;
  pthread_mutex_lock(&place.mutex);
  if (word.load() >> 32 == seen >> 32)
    result = limit == nullptr ? pthread_cond_wait(&place.changed, &place.mutex)
                              : pthread_cond_timedwait(&place.changed, &place.mutex, limit);
  pthread_mutex_unlock(&place.mutex);
  pthread_setcancelstate(cancel_state, nullptr);
  return result != ETIMEDOUT || !last;
}

void wake(Word& word, std::uint32_t) {
  const Undisturbed undisturbed;
  Place& place = place_of(word);
  pthread_mutex_lock(&place.mutex);
  pthread_cond_broadcast(&place.changed);
  pthread_mutex_unlock(&place.mutex);
}

#endif

std::uint32_t new_thread_token() {
  static constinit std::atomic<std::uint32_t> last{0};
  do thread_token = last.fetch_add(1, std::memory_order_relaxed) + 1;
  while (thread_token == 0);
  return thread_token;
}

namespace {

thread_local constinit Sleeper own_sleeper [[gnu::tls_model("initial-exec")]];

inline void relax() {
#if defined(__x86_64__) || defined(__i386__)
  __builtin_ia32_pause();
#endif
}

constexpr int kSpins = 60;  // about as long as a short critical section elsewhere

void await_grant(Sleeper& self) {
  while (self.state.load(std::memory_order_acquire) != Sleeper::kGranted)
    park(self.state, Sleeper::kWaiting, Deadline());
}

}  // namespace

// ---- Ends ----

// Cancellation by the system, the last means to end a thread, has to wait as the end signal does.
void Endable::begin_change() {
  const std::uint32_t open = depth.load(std::memory_order_relaxed);
  depth.store(open + 1, std::memory_order_relaxed);
  std::atomic_signal_fence(std::memory_order_seq_cst);
  if (open == 0) pthread_setcancelstate(PTHREAD_CANCEL_DISABLE, &cancel_state);
}

void Endable::end_change() {
  std::atomic_signal_fence(std::memory_order_seq_cst);
  const std::uint32_t left = depth.load(std::memory_order_relaxed) - 1;
  const int before = cancel_state;
  depth.store(left, std::memory_order_relaxed);
  std::atomic_signal_fence(std::memory_order_seq_cst);
  if (left != 0) return;
  if (end_requested.load()) end(*this);
  pthread_setcancelstate(before, nullptr);
}

void Endable::settle() {
  // The ended thread may have been the one that a release woke.
  if (Word* const word = mutex.exchange(nullptr)) wake(*word, 1);
  if (Gate* const left = gate.exchange(nullptr)) left->leave_ended();
}

// ---- Latch ----

void Latch::set() {
  const Undisturbed undisturbed;
  if (word_.exchange(kSet, std::memory_order_acq_rel) == kAwaited) wake(word_, INT_MAX);
}

bool Latch::wait(const Deadline& deadline) {
  for (bool in_time = true;;) {
    std::uint64_t seen = word_.load(std::memory_order_acquire);
    if (seen == kSet || !in_time) return seen == kSet;
    if (seen == kAwaited ||
        word_.compare_exchange_strong(seen, kAwaited, std::memory_order_relaxed))
      in_time = park(word_, kAwaited, deadline);
  }
}

// ---- Mutex ----

void Mutex::take_contended(std::uint32_t self) {
  for (int i = 0; i < kSpins; ++i) {
    std::uint64_t free = 0;
    if (word_.load(std::memory_order_relaxed) == 0 &&
        word_.compare_exchange_weak(free, kHeld | self, std::memory_order_acquire,
                                    std::memory_order_relaxed))
      return;
    relax();
  }
  Endable* const endable = endable_self;
  if (endable != nullptr) endable->mutex.store(&word_);
  for (;;) {
    std::uint64_t seen = word_.load(std::memory_order_relaxed);
    // A thread that has slept cannot know whether others still do.
    if (seen == 0) {
      if (word_.compare_exchange_weak(seen, kAwaited | self, std::memory_order_acquire,
                                      std::memory_order_relaxed))
        break;
      continue;
    }
    const std::uint64_t marked = static_cast<std::uint32_t>(seen) | kAwaited;
    if (seen != marked && !word_.compare_exchange_weak(seen, marked, std::memory_order_relaxed))
      continue;
    park(word_, marked, Deadline());
  }
  if (endable != nullptr) endable->mutex.store(nullptr);
}

// ---- Gate ----

// Takes a unit instead if there is one, and leaves the sleeper as one that was granted.
void Gate::enqueue(Sleeper& self) {
  lock_.take();
  std::uint64_t seen = word_.load(std::memory_order_relaxed);
  while ((seen & kSleepers) == 0) {
    if ((seen & kUnits) != 0) {
      if (try_take()) {
        lock_.release();
        return;
      }
      seen = word_.load(std::memory_order_relaxed);
    } else if (word_.compare_exchange_weak(seen, seen | kSleepers, std::memory_order_relaxed)) {
      break;
    }
  }
  self.state.store(Sleeper::kWaiting, std::memory_order_relaxed);
  self.next = nullptr;
  self.previous = last_;
  self.is_queued = true;
  (last_ != nullptr ? last_->next : first_) = &self;
  last_ = &self;
  lock_.release();
}

// Under the lock; the caller clears the bit of the word if it removes the last.
void Gate::unlink(Sleeper& sleeper) {
  (sleeper.previous != nullptr ? sleeper.previous->next : first_) = sleeper.next;
  (sleeper.next != nullptr ? sleeper.next->previous : last_) = sleeper.previous;
  sleeper.is_queued = false;
}

// Leaves the queue. False if a post removed the sleeper first; it then has its grant.
bool Gate::withdraw(Sleeper& self) {
  lock_.take();
  const bool was_queued = self.is_queued;
  if (was_queued) {
    unlink(self);
    self.state.store(Sleeper::kGranted, std::memory_order_relaxed);
    if (first_ == nullptr) word_.fetch_and(~kSleepers, std::memory_order_relaxed);
  }
  lock_.release();
  if (!was_queued) await_grant(self);
  return was_queued;
}

// Grants one sleeper, or all where the gate is manual or becomes it. False, with nothing changed,
// if nobody sleeps any more.
bool Gate::grant(bool open) {
  const Undisturbed undisturbed;
  lock_.take();
  Sleeper* sleeper = first_;
  if (sleeper == nullptr) {
    lock_.release();
    return false;
  }
  // No other thread changes the word now: there are no units to take or to reset, and all other
  // changes need the lock.
  const bool manual = open || (word_.load(std::memory_order_relaxed) & kManual) != 0;
  if (manual) {
    for (Sleeper* each = sleeper; each != nullptr; each = each->next) each->is_queued = false;
    first_ = last_ = nullptr;
    word_.store(kManual | 1, std::memory_order_release);
  } else {
    unlink(*sleeper);
    sleeper->next = nullptr;
    if (first_ == nullptr) word_.store(0, std::memory_order_relaxed);
  }
  lock_.release();
  while (sleeper != nullptr) {
    Sleeper* const next = sleeper->next;
    sleeper->state.store(Sleeper::kGranted, std::memory_order_release);
    wake(sleeper->state, 1);
    sleeper = next;
  }
  return true;
}

bool Gate::post_contended() { return grant(false) || post(); }

void Gate::open() {
  std::uint64_t seen = word_.load(std::memory_order_relaxed);
  for (;;) {
    if ((seen & kSleepers) != 0) {
      if (grant(true)) return;
      seen = word_.load(std::memory_order_relaxed);
    } else if (change(word_, seen, kManual | 1, std::memory_order_release)) {
      return;
    }
  }
}

bool Gate::wait(const Deadline& deadline) {
  Sleeper& self = own_sleeper;
  Endable* const endable = endable_self;
  {
    const Undisturbed undisturbed;
    enqueue(self);
    if (endable != nullptr) endable->gate.store(this);
  }
  // An end of the thread from here to the last line that clears the gate is for settle() to undo.
  bool is_granted = true;
  while (self.state.load(std::memory_order_acquire) != Sleeper::kGranted) {
    if (park(self.state, Sleeper::kWaiting, deadline)) continue;
    const Undisturbed undisturbed;
    is_granted = !withdraw(self);
    if (endable != nullptr && !is_granted) endable->gate.store(nullptr);
    break;
  }
  if (endable != nullptr) endable->gate.store(nullptr);
  return is_granted;
}

void Gate::leave_ended() {
  if (withdraw(own_sleeper)) return;
  // All sleepers of a manual gate were granted with this one.
  if ((word_.load(std::memory_order_relaxed) & kManual) == 0) post();
}

}  // namespace vdx
