// Sleeping on a word, and the two things built on it: a recursive mutex and a gate, which is what
// events, semaphores and conditions are. Each keeps its whole state in one 64-bit word; sleepers
// watch the upper half of it.
#ifndef VDX_POSIX_WAIT_H
#define VDX_POSIX_WAIT_H

#include <time.h>

#if __has_include(<sys/single_threaded.h>)
#include <sys/single_threaded.h>
#define VDX_SINGLE_THREADED __libc_single_threaded
#else
#define VDX_SINGLE_THREADED false
#endif

#include <atomic>
#include <cstdint>

namespace vdx {

using Word = std::atomic<std::uint64_t>;
static_assert(Word::is_always_lock_free, "signal handlers post gates");

// Changes the word when it is seen, else reads it into seen. A process that has a single thread is
// spared the cost of the locked instruction.
inline bool change(Word& word, std::uint64_t& seen, std::uint64_t next, std::memory_order order) {
  if (!VDX_SINGLE_THREADED)
    return word.compare_exchange_strong(seen, next, order, std::memory_order_relaxed);
  const std::uint64_t now = word.load(std::memory_order_relaxed);
  const bool same = now == seen;
  if (same) word.store(next, std::memory_order_relaxed);
  seen = now;
  return same;
}

// A moment of the monotonic clock, or none.
class Deadline {
 public:
  Deadline() = default;
  explicit Deadline(std::uint32_t milliseconds);
  const timespec* when() const { return limited_ ? &when_ : nullptr; }

 private:
  timespec when_{};
  bool limited_ = false;
};

// Sleeps until a wake, unless the upper half of the word is no longer that of seen. May return
// early; false once the deadline has passed.
bool park(Word& word, std::uint64_t seen, const Deadline& deadline);
// Wakes up to count sleepers; touches no memory of the word, which may be gone by now.
void wake(Word& word, std::uint32_t count);

// Identifies the calling thread for as long as the process runs: never 0, never used again.
inline thread_local constinit std::uint32_t thread_token [[gnu::tls_model("initial-exec")]] = 0;
std::uint32_t new_thread_token();
inline std::uint32_t self_token() { return thread_token != 0 ? thread_token : new_thread_token(); }

// Recursive. Lower half: the holder's token; upper half: free, held, or held with sleepers.
class Mutex {
 public:
  void take() {
    const std::uint32_t self = self_token();
    std::uint64_t seen = 0;
    if (change(word_, seen, kHeld | self, std::memory_order_acquire)) [[likely]]
      return;
    if (static_cast<std::uint32_t>(seen) == self)
      ++depth_;
    else
      take_contended(self);
  }

  bool try_take() {
    const std::uint32_t self = self_token();
    std::uint64_t seen = 0;
    if (change(word_, seen, kHeld | self, std::memory_order_acquire)) [[likely]]
      return true;
    if (static_cast<std::uint32_t>(seen) != self) return false;
    ++depth_;
    return true;
  }

  // False where the calling thread is not the holder.
  bool release() {
    const std::uint32_t self = self_token();
    if (static_cast<std::uint32_t>(word_.load(std::memory_order_relaxed)) != self) return false;
    if (depth_ != 0) {
      --depth_;
      return true;
    }
    std::uint64_t seen = kHeld | self;
    if (!change(word_, seen, 0, std::memory_order_release)) [[unlikely]]
      release_contended();
    return true;
  }

  void clear() {
    depth_ = 0;
    word_.store(0, std::memory_order_relaxed);
  }

 private:
  static constexpr std::uint64_t kHeld = std::uint64_t{1} << 32;
  static constexpr std::uint64_t kHeldWithSleepers = std::uint64_t{2} << 32;

  void take_contended(std::uint32_t self);
  void release_contended();

  Word word_{0};
  std::uint32_t depth_ = 0;  // takes beyond the first; the holder's
};

enum class Waited { kTaken, kTimedOut, kFailed };

// Counts units. A post hands its unit to a sleeper where there is one, as a grant that nobody else
// can take; so a unit that follows, or a reset, finds the state as if the sleeper had run already.
// A manual gate gives to all and keeps what it gave.
//
// The word: units (31 bits), manual (1 bit), sleepers without a grant (16), grants (16).
class Gate {
 public:
  explicit constexpr Gate(bool manual) : word_(manual ? kManual : 0) {}

  bool try_take() {
    std::uint64_t seen = word_.load(std::memory_order_acquire);
    while ((seen & kUnits) != 0) {
      if ((seen & kManual) != 0) return true;
      if (change(word_, seen, seen - 1, std::memory_order_acquire)) return true;
    }
    return false;
  }

  Waited wait(const Deadline& deadline);

  // False, with nothing changed, where there are ceiling units.
  bool post(std::uint32_t ceiling) {
    std::uint64_t seen = word_.load(std::memory_order_relaxed);
    for (;;) {
      if ((seen & kSleepers) != 0) [[unlikely]]
        return grant(0, ceiling);
      const bool full = (seen & kUnits) >= ceiling;
      // The write of an unchanged word publishes what the poster did before.
      if (change(word_, seen, seen + (full ? 0 : 1), std::memory_order_release)) return !full;
    }
  }

  // Makes the gate manual and posts.
  void open() { grant(kManual, 1); }

  void reset() { word_.fetch_and(~kUnits, std::memory_order_relaxed); }

  // Takes a thread that has ended off the sleepers.
  static void leave_ended(Word& word);

 private:
  static constexpr std::uint64_t kManual = std::uint64_t{1} << 31;
  static constexpr std::uint64_t kUnits = kManual - 1;
  static constexpr std::uint64_t kSleeper = std::uint64_t{1} << 32;
  static constexpr std::uint64_t kSleepers = 0xffff * kSleeper;
  static constexpr std::uint64_t kGrant = std::uint64_t{1} << 48;

  static bool take_grant(Word& word);
  // For a sleeper whose time is up. True where it leaves with a grant.
  static bool leave(Word& word);
  bool grant(std::uint64_t flags, std::uint32_t ceiling);

  Word word_;
};

// What a thread that may be ended from outside is doing, so that an end in the middle of a wait
// takes nothing from the other waiters. Written by the thread, read by its signal handler.
struct Sleep {
  enum Kind : std::uint32_t { kNone, kMutex, kGate };
  std::atomic<Word*> word{nullptr};
  std::atomic<std::uint32_t> kind{kNone};
  std::atomic<std::uint32_t> depth{0};  // of what must not be cut short: the end has to wait
  std::atomic<bool> end_requested{false};
  void (*end)(Sleep&) = nullptr;  // leaves the thread; does not return

  // Brackets, which nest; the thread ends at the close of the outermost when it was asked to.
  void begin_change() {
    depth.store(depth.load(std::memory_order_relaxed) + 1, std::memory_order_relaxed);
    std::atomic_signal_fence(std::memory_order_seq_cst);
  }
  void end_change() {
    std::atomic_signal_fence(std::memory_order_seq_cst);
    const std::uint32_t left = depth.load(std::memory_order_relaxed) - 1;
    depth.store(left, std::memory_order_relaxed);
    std::atomic_signal_fence(std::memory_order_seq_cst);
    if (left == 0 && end_requested.load()) end(*this);
  }
  void set(Kind now, Word* at) {
    word.store(at);
    kind.store(now);
  }
  // After the end: puts right what the wait left.
  void settle();
};

inline thread_local constinit Sleep* thread_sleep [[gnu::tls_model("initial-exec")]] = nullptr;

// As long as one lives, an end that is asked for waits: between a change that others see and their
// waking, and where a lock is held that they need.
class Undisturbed {
 public:
  Undisturbed() {
    if (sleep_ != nullptr) sleep_->begin_change();
  }
  ~Undisturbed() {
    if (sleep_ != nullptr) sleep_->end_change();
  }
  Undisturbed(const Undisturbed&) = delete;
  Undisturbed& operator=(const Undisturbed&) = delete;

 private:
  Sleep* const sleep_ = thread_sleep;
};

}  // namespace vdx

#endif
