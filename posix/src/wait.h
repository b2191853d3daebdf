// What threads wait on: a latch, a recursive mutex and a gate, which is what events, semaphores
// and conditions are.
//
// Terms:
//   word     64 bits that hold the state of an object; a path that meets no other thread changes
//            them once
//   park     sleep until the upper half of a word changes
//   token    the number of a thread, unique in the process
//   sleeper  a thread that waits at a gate; it parks on a word of its own
//   grant    what releases one sleeper; only that sleeper can see it
//   end      what comn_kill_thread and comn_cancel_thread do to a thread, wherever it stands
//
// Invariants:
//   - A grant has an owner from the moment it is made, so no wait that begins later can take it.
//   - Whoever releases a thread touches neither the object nor the released thread's memory
//     afterwards: that thread may return at once and free both. It then wakes by address alone.
//   - No thread is ended between a change that others see and their waking, nor while it holds a
//     lock of this file.
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

// Changes the word if it equals seen, else reads it into seen, with the order that a load can have.
// A process with a single thread is spared the locked instruction.
inline bool change(Word& word, std::uint64_t& seen, std::uint64_t next, std::memory_order order) {
  if (!VDX_SINGLE_THREADED) return word.compare_exchange_strong(seen, next, order);
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
  bool has_passed() const;

 private:
  timespec when_{};
  bool limited_ = false;
};

// Sleeps until a wake, unless the upper half of the word differs from that of seen. May return
// early; false once the deadline has passed.
bool park(Word& word, std::uint64_t seen, const Deadline& deadline);
// Wakes up to count threads that park on the word. Uses its address only: the word may be freed.
void wake(Word& word, std::uint32_t count);

// The calling thread's token: never 0, never used again.
inline thread_local constinit std::uint32_t thread_token [[gnu::tls_model("initial-exec")]] = 0;
std::uint32_t new_thread_token();
inline std::uint32_t self_token() { return thread_token != 0 ? thread_token : new_thread_token(); }

class Gate;

// A thread that may be ended, and where it waits, so that an end in the middle of a wait takes
// nothing from the others. Written by the thread, read by its signal handler and at its end.
struct Endable {
  std::atomic<Word*> mutex{nullptr};    // a mutex that it waits for or is releasing
  std::atomic<Gate*> gate{nullptr};     // where it is a sleeper, granted or not
  std::atomic<std::uint32_t> depth{0};  // open brackets; the end waits until there are none
  std::atomic<bool> end_requested{false};
  void (*end)(Endable&) = nullptr;  // leaves the thread; does not return
  int cancel_state = 0;             // of the system, before the outermost bracket

  // Brackets, which nest. The thread ends at the close of the outermost if that was requested.
  void begin_change();
  void end_change();
  // After the end: removes the thread from what it waited for, and hands a grant on.
  void settle();
};

// Null in a thread that comn_create_thread did not make.
inline thread_local constinit Endable* endable_self [[gnu::tls_model("initial-exec")]] = nullptr;

// A bracket: while one lives, an end of the thread waits.
class Undisturbed {
 public:
  Undisturbed() {
    if (self_ != nullptr) self_->begin_change();
  }
  ~Undisturbed() {
    if (self_ != nullptr) self_->end_change();
  }
  Undisturbed(const Undisturbed&) = delete;
  Undisturbed& operator=(const Undisturbed&) = delete;

 private:
  Endable* const self_ = endable_self;
};

// Set once, for any number of threads that wait until it is.
class Latch {
 public:
  void set();
  // False once the deadline has passed.
  bool wait(const Deadline& deadline);

 private:
  static constexpr std::uint64_t kAwaited = std::uint64_t{1} << 32;
  static constexpr std::uint64_t kSet = std::uint64_t{2} << 32;

  Word word_{0};
};

// Recursive. The word: the holder's token in the lower half; free, held, or held with waiters in
// the upper half. Not handed over: the first thread to come takes a free mutex.
class Mutex {
 public:
  void take() {
    const std::uint32_t self = self_token();
    if (!try_take(self)) take_contended(self);
  }

  bool try_take() { return try_take(self_token()); }

  // False if the calling thread is not the holder.
  bool release() {
    if (holder() != self_token()) return false;
    if (depth_ != 0) {
      --depth_;
      return true;
    }
    if (VDX_SINGLE_THREADED) {
      word_.store(0, std::memory_order_relaxed);
      return true;
    }
    // A thread that ends between the exchange and the wake leaves the wake to settle().
    Endable* const endable = endable_self;
    if (endable != nullptr) {
      endable->mutex.store(&word_, std::memory_order_relaxed);
      std::atomic_signal_fence(std::memory_order_seq_cst);
    }
    if (word_.exchange(0, std::memory_order_release) >= kAwaited) [[unlikely]]
      wake(word_, 1);
    if (endable != nullptr) {
      std::atomic_signal_fence(std::memory_order_seq_cst);
      endable->mutex.store(nullptr, std::memory_order_relaxed);
    }
    return true;
  }

  // Makes it free, whoever holds it.
  void clear() {
    depth_ = 0;
    word_.store(0, std::memory_order_relaxed);
  }

 private:
  static constexpr std::uint64_t kHeld = std::uint64_t{1} << 32;
  static constexpr std::uint64_t kAwaited = std::uint64_t{2} << 32;

  std::uint32_t holder() const {
    return static_cast<std::uint32_t>(word_.load(std::memory_order_relaxed));
  }

  bool try_take(std::uint32_t self) {
    std::uint64_t seen = word_.load(std::memory_order_relaxed);
    if (static_cast<std::uint32_t>(seen) == self) {
      ++depth_;
      return true;
    }
    seen = 0;
    return change(word_, seen, kHeld | self, std::memory_order_acquire);
  }

  void take_contended(std::uint32_t self);

  Word word_{0};
  std::uint32_t depth_ = 0;  // takes beyond the first; the holder's
};

// A place in a gate's queue. Each thread has one, which lives as long as the thread: the poster
// that grants it touches it for the last time when it stores the grant.
struct Sleeper {
  static constexpr std::uint64_t kWaiting = std::uint64_t{1} << 32;
  static constexpr std::uint64_t kGranted = 0;

  Word state{kGranted};  // kWaiting only from joining a queue until granted or leaving it
  Sleeper* next = nullptr;
  Sleeper* previous = nullptr;
  bool is_queued = false;
};

// Counts units up to a ceiling. A post grants the sleeper that has waited longest; without sleepers
// it adds a unit. A manual gate has one unit at most, which no wait consumes; its post grants all
// sleepers.
//
// The word: units (31 bits), manual (1 bit), sleepers (the top bit, set while the queue is not
// empty). The top bit is set by an exchange that finds no units, and set and cleared only under the
// lock, with the queue. While it is set every post needs the lock and adds no unit, unless it grants
// all. So a new wait finds nothing that is meant for a sleeper, and a reset takes no grant back.
//
// A post removes the sleepers from the queue under the lock, releases the lock and grants last: a
// granted thread may return and delete the gate. A sleeper that gives up and finds that it is no
// longer in the queue waits for the grant, which then is certain.
class Gate {
 public:
  explicit constexpr Gate(bool manual, std::uint32_t ceiling = 1)
      : word_(manual ? kManual : 0), ceiling_(ceiling) {}

  bool try_take() {
    std::uint64_t seen = word_.load(std::memory_order_acquire);
    while ((seen & kUnits) != 0) {
      if ((seen & kManual) != 0) return true;
      if (change(word_, seen, seen - 1, std::memory_order_acquire)) return true;
    }
    return false;
  }

  // False once the deadline has passed.
  bool wait(const Deadline& deadline);

  // False, with nothing changed, if the units are at the ceiling.
  bool post() {
    std::uint64_t seen = word_.load(std::memory_order_relaxed);
    for (;;) {
      if ((seen & kSleepers) != 0) [[unlikely]]
        return post_contended();
      const bool full = (seen & kUnits) >= ceiling_;
      // The write of an unchanged word publishes what the poster did before.
      if (change(word_, seen, seen + (full ? 0 : 1), std::memory_order_release)) return !full;
    }
  }

  // Posts, and makes the gate manual.
  void open();

  void reset() { word_.fetch_and(~kUnits, std::memory_order_relaxed); }

  // For a sleeper whose thread has ended: leaves the queue, or hands its grant on.
  void leave_ended();

 private:
  static constexpr std::uint64_t kManual = std::uint64_t{1} << 31;
  static constexpr std::uint64_t kUnits = kManual - 1;
  static constexpr std::uint64_t kSleepers = std::uint64_t{1} << 63;

  void enqueue(Sleeper& self);
  void unlink(Sleeper& sleeper);
  bool withdraw(Sleeper& self);
  bool grant(bool open);
  bool post_contended();

  Word word_;
  const std::uint32_t ceiling_;
  Mutex lock_;  // of the queue
  Sleeper* first_ = nullptr;
  Sleeper* last_ = nullptr;
};

}  // namespace vdx

#endif
