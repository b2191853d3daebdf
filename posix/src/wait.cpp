// Sleeping on a word: by futex on Linux, elsewhere by a table of condition variables.
#include "wait.h"

#if defined(__linux__) && defined(__LP64__) && !defined(VDX_PORTABLE)
#define VDX_FUTEX
#include <linux/futex.h>
#include <sys/syscall.h>
#include <unistd.h>
#else
#include <pthread.h>
#endif

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

// Words share places; a wake wakes every sleeper of its place, and those of other words go back
// to sleep.
struct Place {
  pthread_mutex_t mutex;
  pthread_cond_t changed;
};
constexpr std::size_t kPlaces = 64;
Place places[kPlaces];

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
  return places[reinterpret_cast<std::uintptr_t>(&word) / 64 % kPlaces];
}

}  // namespace

// No thread may be ended inside these: a place would stay locked. So a thread that can be ended
// looks up every few milliseconds instead.

bool park(Word& word, std::uint64_t seen, const Deadline& deadline) {
  constexpr std::uint32_t kLookUp = 20;
  const Undisturbed undisturbed;
  const Deadline soon(kLookUp);
  const timespec *limit = deadline.when(), *slice = soon.when();
  bool last = limit != nullptr;
  if (thread_sleep != nullptr &&
      (!last || limit->tv_sec > slice->tv_sec ||
       (limit->tv_sec == slice->tv_sec && limit->tv_nsec > slice->tv_nsec))) {
    limit = slice;
    last = false;
  }
  Place& place = place_of(word);
  int result = 0;
  pthread_mutex_lock(&place.mutex);
  if (word.load() >> 32 == seen >> 32)
    result = limit == nullptr ? pthread_cond_wait(&place.changed, &place.mutex)
                              : pthread_cond_timedwait(&place.changed, &place.mutex, limit);
  pthread_mutex_unlock(&place.mutex);
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

void begin_change() {
  if (thread_sleep != nullptr) thread_sleep->begin_change();
}

void end_change(Sleep::Kind kind, Word* word) {
  if (thread_sleep == nullptr) return;
  thread_sleep->set(kind, word);
  thread_sleep->end_change();
}

inline void relax() {
#if defined(__x86_64__) || defined(__i386__)
  __builtin_ia32_pause();
#endif
}

constexpr int kSpins = 60;  // about as long as a short critical section elsewhere

}  // namespace

void Mutex::take_contended(std::uint32_t self) {
  for (int i = 0; i < kSpins; ++i) {
    std::uint64_t free = 0;
    if (word_.load(std::memory_order_relaxed) == 0 &&
        word_.compare_exchange_weak(free, kHeld | self, std::memory_order_acquire,
                                    std::memory_order_relaxed))
      return;
    relax();
  }
  begin_change();
  end_change(Sleep::kMutex, &word_);
  for (;;) {
    std::uint64_t seen = word_.load(std::memory_order_relaxed);
    // Whoever has slept cannot know that nobody sleeps any more.
    if (seen == 0) {
      if (word_.compare_exchange_weak(seen, kHeldWithSleepers | self, std::memory_order_acquire,
                                      std::memory_order_relaxed))
        break;
      continue;
    }
    const std::uint64_t marked = static_cast<std::uint32_t>(seen) | kHeldWithSleepers;
    if (seen != marked && !word_.compare_exchange_weak(seen, marked, std::memory_order_relaxed))
      continue;
    park(word_, marked, Deadline());
  }
  begin_change();
  end_change(Sleep::kNone, nullptr);
}

void Mutex::release_contended() {
  const Undisturbed undisturbed;
  word_.store(0, std::memory_order_release);
  wake(word_, 1);
}

bool Gate::take_grant(Word& word) {
  std::uint64_t seen = word.load(std::memory_order_acquire);
  while (seen >= kGrant)
    if (word.compare_exchange_weak(seen, seen - kGrant, std::memory_order_acquire)) return true;
  return false;
}

bool Gate::grant(std::uint64_t flags, std::uint32_t ceiling) {
  const Undisturbed undisturbed;
  std::uint64_t seen = word_.load(std::memory_order_relaxed);
  for (;;) {
    std::uint64_t next = seen | flags;
    std::uint64_t given = (seen & kSleepers) / kSleeper;
    if ((next & kManual) != 0)
      next = (next & ~kUnits) | 1;
    else if (given != 0)
      given = 1;
    else if ((seen & kUnits) < ceiling)
      ++next;
    else
      return false;
    next += given * (kGrant - kSleeper);
    if (!word_.compare_exchange_weak(seen, next, std::memory_order_release,
                                     std::memory_order_relaxed))
      continue;
    if (given != 0) wake(word_, static_cast<std::uint32_t>(given));
    return true;
  }
}

bool Gate::leave(Word& word) {
  std::uint64_t seen = word.load(std::memory_order_relaxed);
  for (;;) {
    const bool granted = seen >= kGrant;
    if (word.compare_exchange_weak(seen, seen - (granted ? kGrant : kSleeper),
                                   std::memory_order_acquire))
      return granted;
  }
}

void Gate::leave_ended(Word& word) {
  std::uint64_t seen = word.load(std::memory_order_relaxed);
  for (;;) {
    // Sleepers are alike: it leaves as one without a grant as long as there is such a one, and
    // the grant, whose wake it may have taken, is somebody else's. A last grant goes with it.
    const std::uint64_t next = seen - ((seen & kSleepers) != 0 ? kSleeper : kGrant);
    if (!word.compare_exchange_weak(seen, next, std::memory_order_acq_rel)) continue;
    if (next >= kGrant) wake(word, INT_MAX);
    return;
  }
}

Waited Gate::wait(const Deadline& deadline) {
  begin_change();
  for (std::uint64_t seen = word_.load(std::memory_order_relaxed);;) {
    if ((seen & kUnits) != 0) {
      if (try_take()) {
        end_change(Sleep::kNone, nullptr);
        return Waited::kTaken;
      }
      seen = word_.load(std::memory_order_relaxed);
    } else if ((seen & kSleepers) / kSleeper + seen / kGrant >= 0xffff) {
      end_change(Sleep::kNone, nullptr);
      return Waited::kFailed;
    } else if (word_.compare_exchange_weak(seen, seen + kSleeper, std::memory_order_relaxed)) {
      break;
    }
  }
  Waited result = Waited::kTaken;
  while (!take_grant(word_)) {
    const std::uint64_t seen = word_.load(std::memory_order_relaxed);
    if (seen >= kGrant) continue;
    end_change(Sleep::kGate, &word_);
    const bool in_time = park(word_, seen, deadline);
    begin_change();
    if (in_time) continue;
    if (!leave(word_)) result = Waited::kTimedOut;
    break;
  }
  end_change(Sleep::kNone, nullptr);
  return result;
}

void Sleep::settle() {
  Word* const at = word.load();
  if (kind.load() == kMutex) wake(*at, 1);
  if (kind.load() == kGate) Gate::leave_ended(*at);
  kind.store(kNone);
}

}  // namespace vdx
