// Threads and their objects. No result depends on the time that something takes: threads wait for
// each other, and a limit ends only a test that has failed. (The system does not tell on Windows
// whether a thread sleeps; await_sleep then waits for a while.)
#if !defined(_WIN32)
#include <pthread.h>
#include <signal.h>
#include <unistd.h>
#endif

#include <array>
#include <chrono>
#include <deque>
#include <functional>
#include <memory>

#include "support.h"

namespace {

constexpr int kThreads = 8;
constexpr std::int32_t kBound = 30000;  // milliseconds; reached by a failure alone
constexpr int kRounds = 2000;

// What calls returned, one after the other.
using Codes = std::vector<std::int32_t>;
constexpr std::int32_t kLate = XS_TIMED_OUT;

// A thread that runs the body. Joined and given back at the end, unless it was cancelled.
class Worker {
 public:
  explicit Worker(std::function<void()> body, std::size_t stack = 0) : body_(std::move(body)) {
    const auto run = [](void* worker) -> void* {
      static_cast<Worker*>(worker)->body_();
      return nullptr;
    };
    EXPECT_EQ((Codes{stack == 0 ? comn_create_thread(&thread_, run, this)
                                : comn_create_thread_ex(&thread_, run, this, stack),
                     comn_start_thread(thread_)}),
              (Codes{1, 1}));
  }
  ~Worker() {
    if (thread_ == nullptr) return;
    EXPECT_EQ((Codes{comn_join_thread(thread_), comn_detach_thread(thread_)}), (Codes{1, 1}));
  }
  Worker(Worker&&) = delete;
  operator vdx_thread*() const { return thread_; }
  // For a thread that gives itself back.
  vdx_thread* release() { return std::exchange(thread_, nullptr); }
  std::int32_t cancel() { return comn_cancel_thread(release()); }

 private:
  const std::function<void()> body_;
  vdx_thread* thread_ = nullptr;
};

// Runs the body on that many threads, with meanwhile on this one, and joins them.
void run_threads(int count, const std::function<void(int)>& body,
                 const std::function<void()>& meanwhile = {}) {
  std::deque<Worker> workers;
  for (int i = 0; i < count; ++i) workers.emplace_back([&body, i] { body(i); });
  if (meanwhile) meanwhile();
}

template <class Object, auto Create, auto Delete>
struct Owned {
  Object* object = nullptr;
  template <class... Arguments>
  explicit Owned(Arguments... arguments) {
    EXPECT_EQ(Create(&object, arguments...), XS_SUCCEED);
  }
  ~Owned() { EXPECT_EQ(Delete(object), XS_SUCCEED); }
  Owned(Owned&&) = delete;
  operator Object*() const { return object; }
};
using MutexObject = Owned<vdx_mutex, comn_create_mutex, comn_delete_mutex>;
using EventObject = Owned<vdx_event, comn_create_event_ex, comn_delete_event>;
using SemObject = Owned<vdx_sem, comn_create_sem, comn_delete_sem>;
using CondObject = Owned<vdx_cond, comn_create_cond, comn_delete_cond>;

TEST(ThreadMutex, KeepsEightThreadsApart) {
  const MutexObject mutex;
  int shared = 0;
  run_threads(kThreads, [&](int number) {
    for (int i = 0; i < kRounds; ++i) {
      if ((i + number) % 3 == 0)
        while (comn_try_mutex(mutex) == XS_FAIL) comn_yield();
      else
        EXPECT_EQ(comn_take_mutex(mutex), XS_SUCCEED);
      const int before = shared;
      // Taken again and given back once, it is still held.
      EXPECT_EQ((i % 2 == 0 ? comn_take_mutex : comn_try_mutex)(mutex), XS_SUCCEED);
      EXPECT_EQ(comn_release_mutex(mutex), XS_SUCCEED);
      if (i % 64 == 0) comn_yield();
      shared = before + 1;
      EXPECT_EQ(comn_release_mutex(mutex), XS_SUCCEED);
    }
  });
  EXPECT_EQ(shared, kThreads * kRounds);
#if !defined(_WIN32)
  EXPECT_EQ(comn_release_mutex(mutex), XS_FAIL);
#endif
}

TEST(ThreadEvent, KeepsOrConsumesItsSignalByKind) {
  constexpr std::int32_t kPlain = 7;
  for (const std::int32_t kind : {kPlain, 0, 1, 2, -1}) {
    SCOPED_TRACE(kind);
    vdx_event* event = nullptr;
    const std::int32_t again = kind == VDX_EVENT_AUTO || kind == kPlain ? kLate : XS_SUCCEED;
    EXPECT_EQ(
        (Codes{kind == kPlain ? comn_create_event(&event) : comn_create_event_ex(&event, kind),
               comn_waitfor_event(event, 0), comn_waitfor_event(event, 2),
               comn_waitfor_event(event, 30), comn_signal_event(event), comn_signal_event(event),
               comn_waitfor_event(event, VDX_NO_LIMIT), comn_waitfor_event(event, 1),
               comn_signal_event(event), comn_reset_event(event), comn_waitfor_event(event, 0),
               comn_signal_event(event), comn_waitfor_event(event, -1), comn_delete_event(event)}),
        (Codes{1, kLate, kLate, kLate, 1, 1, 1, again, 1, 1, kLate, 1, 1, 1}));
  }
}

// One token between this thread and eight that wait for it, most with limits that run out beside
// the signal.
TEST(ThreadEvent, PassesATokenBackAndForth) {
  constexpr int kTokens = 1000;
  const EventObject there(VDX_EVENT_AUTO), back(VDX_EVENT_AUTO), never(VDX_EVENT_AUTO);
  int token = 0;
  const auto body = [&](int number) {
    for (;;) {
      if (comn_waitfor_event(there, number % 4 == 0 ? VDX_NO_LIMIT : number % 4) == kLate) continue;
      if (token == kTokens) break;
      ++token;
      comn_signal_event(back);
    }
    comn_signal_event(there);
  };
  run_threads(kThreads, body, [&] {
    for (int i = 1; i <= kTokens; ++i) {
      if (i % 4 == 0) comn_waitfor_event(never, 1);
      comn_signal_event(there);
      ASSERT_EQ((Codes{comn_waitfor_event(back, kBound), token}), (Codes{XS_SUCCEED, i}));
    }
    comn_signal_event(there);
  });
}

// As a caller waits for an answer: on an event of its own, gone as soon as it was signalled.
TEST(ThreadEvent, MayBeDeletedByWhomItReleased) {
  std::atomic<vdx_event*> asked{nullptr};
  std::atomic<bool> stop{false};
  run_threads(
      1,
      [&](int) {
        while (!stop)
          if (vdx_event* const event = asked.exchange(nullptr))
            comn_signal_event(event);
          else
            comn_yield();
      },
      [&] {
        for (int i = 0; i < kRounds / 4; ++i) {
          const EventObject event(i % 2);
          asked = event;
          EXPECT_EQ(comn_waitfor_event(event, VDX_NO_LIMIT), XS_SUCCEED);
        }
        stop = true;
      });
}

// Threads that all sleep are released and wait again at once: each returns once from each pulse, and
// none takes what was given to another that has yet to wake. A thread that is about to wait adds 1
// to waits.
void pulse(int count, std::atomic<int>& waits, const std::function<void()>& wait,
           const std::function<void(int)>& release) {
  SCOPED_TRACE(count);
  std::deque<std::atomic<int>> returned(static_cast<std::size_t>(count));
  std::vector<vdx_tid> threads(returned.size());
  std::atomic<int> left{count};
  std::atomic<bool> stop{false};
  waits = 0;
  const auto body = [&](int number) {
    threads[static_cast<std::size_t>(number)] = comn_thread_id();
    for (wait(); !stop; wait()) ++returned[static_cast<std::size_t>(number)];
    --left;
  };
  run_threads(count, body, [&] {
    for (int done = 0;; ++done) {
      const auto limit = std::chrono::steady_clock::now() + std::chrono::milliseconds(kBound);
      while (waits < count * (done + 1) && std::chrono::steady_clock::now() < limit) comn_yield();
      vdx_test::await_sleep(threads);
      for (const std::atomic<int>& times : returned) EXPECT_EQ(times, done);
      if (done == vdx_test::kPulses / count || testing::Test::HasFailure()) break;
      release(count);
    }
    for (stop = true; left != 0; comn_yield()) release(1);
  });
}

TEST(ThreadPulse, ReachesEachSleeperOnce) {
  for (const int count : {2, 8, 32}) {
    const EventObject manual(VDX_EVENT_MANUAL), automatic(VDX_EVENT_AUTO);
    const SemObject semaphore(1);
    const CondObject condition;
    const MutexObject mutex;
    std::atomic<int> waits{0}, signals{0}, resets{0};
    const auto each = [](const auto& release) {
      return [&release](int times) {
        for (int i = 0; i < times; ++i) release();
      };
    };
    const auto set = [&] { EXPECT_EQ(comn_signal_event(automatic), XS_SUCCEED); };
    const auto post = [&] { comn_release_sem(semaphore); };
    const auto signal = [&] { comn_signal_cond(condition); };
    const std::tuple<const char*, std::function<void()>, std::function<void(int)>> rows[] = {
        {"manual event",
         [&] {
           while (resets != signals) comn_yield();  // else it may well be signalled still
           ++waits, comn_waitfor_event(manual, VDX_NO_LIMIT);
         },
         [&](int) {
           ++signals, comn_signal_event(manual);
           EXPECT_EQ(comn_waitfor_event(manual, 0), XS_SUCCEED);
           comn_reset_event(manual), ++resets;
         }},
        {"auto event", [&] { ++waits, comn_waitfor_event(automatic, VDX_NO_LIMIT); }, each(set)},
        {"semaphore", [&] { ++waits, comn_waitfor_sem(semaphore, 0); }, each(post)},
        {"condition",
         [&] {
           comn_take_mutex(mutex);
           ++waits, comn_wait_cond(condition, mutex);
           comn_release_mutex(mutex);
         },
         each(signal)}};
    for (const auto& [what, wait, release] : rows) {
      SCOPED_TRACE(what);
      pulse(count, waits, wait, release);
    }
  }
}

TEST(ThreadSemaphore, CountsUpToItsMaximum) {
  vdx_sem* none;
  for (const std::int32_t maximum : {0, -1}) EXPECT_EQ(comn_create_sem(&none, maximum), XS_FAIL);
  for (const std::int32_t maximum : {1, 3, 2147483647}) {
    SCOPED_TRACE(maximum);
    const SemObject semaphore(maximum);
    const std::int32_t units = maximum < 5 ? maximum : 5;
    EXPECT_EQ(comn_waitfor_sem(semaphore, 1), XS_TIMED_OUT);
    for (std::int32_t i = 0; i < units; ++i) EXPECT_EQ(comn_release_sem(semaphore), XS_SUCCEED);
    EXPECT_EQ(comn_release_sem(semaphore), maximum > units);
    for (std::int32_t i = 0; i < units; ++i) EXPECT_EQ(comn_waitfor_sem(semaphore, i % 2), 1);
    EXPECT_EQ(comn_waitfor_sem(semaphore, -1), maximum > units ? XS_SUCCEED : XS_TIMED_OUT);
  }
}

TEST(ThreadSemaphore, NoUnitIsLostOrDoubled) {
  for (const std::int32_t maximum : {1, 4, 1000000}) {
    SCOPED_TRACE(maximum);
    const SemObject semaphore(maximum);
    run_threads(kThreads, [&](int number) {
      for (int i = 0; i < kRounds / 2; ++i)
        if (number % 2 == 0)
          while (comn_release_sem(semaphore) == XS_FAIL) comn_yield();
        else
          while (comn_waitfor_sem(semaphore, i % 5 == 0) != XS_SUCCEED) comn_yield();
    });
    EXPECT_EQ(comn_waitfor_sem(semaphore, 1), XS_TIMED_OUT);
  }
}

TEST(ThreadCondition, SignalIsKeptAndBroadcastIsForGood) {
  const MutexObject mutex;
  const CondObject condition, crowd;
#if !defined(_WIN32)
  EXPECT_EQ(comn_wait_cond(condition, mutex), XS_FAIL);  // not held
#endif
  EXPECT_EQ((Codes{comn_signal_cond(condition), comn_signal_cond(condition), comn_take_mutex(mutex),
                   comn_wait_cond(condition, mutex)}),
            (Codes{1, 1, 1, 1}));
  run_threads(1, [&](int) { EXPECT_EQ(comn_try_mutex(mutex), XS_FAIL); });  // taken again
  EXPECT_EQ((Codes{comn_broadcast_cond(condition), comn_wait_cond(condition, mutex),
                   comn_wait_cond(condition, mutex), comn_signal_cond(condition),
                   comn_wait_cond(condition, mutex), comn_wait_cond(condition, mutex),
                   comn_release_mutex(mutex)}),
            (Codes{1, 1, 1, 1, 1, 1, 1}));
  int here = 0, passed = 0;
  const auto body = [&](int) {
    comn_take_mutex(mutex), ++here;
    EXPECT_EQ(comn_wait_cond(crowd, mutex), XS_SUCCEED);
    ++passed, comn_release_mutex(mutex);
  };
  run_threads(kThreads, body, [&] {
    for (int waiting = 0; waiting != kThreads; comn_release_mutex(mutex))
      comn_yield(), comn_take_mutex(mutex), waiting = here;
    comn_broadcast_cond(crowd);
  });
  EXPECT_EQ(passed, kThreads);
}

TEST(ThreadKey, HoldsAValueForEachThread) {
  vdx_key keys[2];
  for (vdx_key& key : keys) ASSERT_EQ(comn_create_key(&key), XS_SUCCEED);
  EXPECT_EQ(comn_set_threaduserdata(keys[0], keys), XS_SUCCEED);
  run_threads(kThreads, [&](int) {
    EXPECT_EQ(comn_get_threaduserdata(keys[0]), nullptr);
    int mine = 0;
    for (int i = 0; i < kRounds; ++i) {
      EXPECT_EQ(comn_set_threaduserdata(keys[i % 2], &mine), XS_SUCCEED);
      EXPECT_EQ(comn_get_threaduserdata(keys[i % 2]), &mine);
    }
  });
  EXPECT_EQ(comn_get_threaduserdata(keys[0]), keys);
  EXPECT_EQ(comn_get_threaduserdata(keys[1]), nullptr);
  // All that there are, twice: a failure takes none and leaves the output alone.
  std::vector<vdx_key> all[2];
  for (std::vector<vdx_key>& made : all) {
    vdx_key key = 123456789;
    for (; comn_create_key(&key) == XS_SUCCEED; key = 123456789) made.push_back(key);
    EXPECT_EQ(key, 123456789u);
    for (const vdx_key each : made) EXPECT_EQ(comn_drop_key(each), XS_SUCCEED);
  }
  EXPECT_GT(all[0].size(), 60u);
  EXPECT_EQ(all[0].size(), all[1].size());
  for (const vdx_key key : keys)
    EXPECT_EQ((Codes{comn_drop_key(key), comn_drop_key(key), comn_set_threaduserdata(key, keys)}),
              (Codes{1, 0, 0}));
#if !defined(_WIN32)
  // A key that was dropped may be somebody else's next.
  pthread_key_t other;
  ASSERT_EQ(pthread_key_create(&other, nullptr), 0);
  EXPECT_EQ((Codes{comn_set_threaduserdata(other, keys), comn_drop_key(other),
                   comn_get_threaduserdata(other) == nullptr, pthread_key_delete(other)}),
            (Codes{0, 0, 1, 0}));
#endif
}

TEST(ThreadCoroutine, LetsOneThreadInWhileItIsOn) {
  for (int pass = 0; pass < 2; ++pass) {
    EXPECT_EQ((Codes{comn_start_coroutine_mode(), comn_start_coroutine_mode()}), (Codes{1, 0}));
    int shared = 0;
    run_threads(kThreads, [&](int) {
      for (int i = 0; i < kRounds; ++i) {
        comn_take_coroutine_control();
        ++shared;
        comn_release_coroutine_control();
      }
    });
    EXPECT_EQ((Codes{shared, comn_take_coroutine_control(), comn_take_coroutine_control(),
                     comn_end_coroutine_mode()}),
              (Codes{kThreads * kRounds, 1, 1, 1}));
  }
}

TEST(ThreadIdentity, IsTheThreadsOwn) {
  const vdx_tid own = comn_thread_id();
  for (const vdx_tid expected : {own, vdx_tid{0}}) {
    const auto get = expected == own ? comn_get_tid : comn_get_default_tid;
    vdx_tid got = 99;
    std::int32_t length = -5;
    EXPECT_EQ((Codes{get(&got, 3, &length), length, got == 99, get(&got, 4, nullptr),
                     get(&got, 5, &length), length}),
              (Codes{XS_FAIL, -5, 1, 1, 1, 4}));
    EXPECT_EQ(got, expected);
  }
  run_threads(kThreads, [&](int) {
    const vdx_tid mine = comn_thread_id();
    EXPECT_EQ((Codes{comn_thread_equal(mine, own), comn_thread_equal(mine, comn_thread_id())}),
              (Codes{0, 1}));
  });
}

// What threads that have to be ended wait for and do.
struct Victim {
  EventObject forever{VDX_EVENT_AUTO};
  MutexObject held;
  std::atomic<std::uint64_t> turns{0};
};

TEST(ThreadEnd, OverpowersThreadsThatNeverLookUp) {
  const std::pair<const char*, void (*)(Victim&)> rows[] = {
#if !defined(_WIN32) && !defined(__SANITIZE_THREAD__)  // which lets no thread unwind
    {"spin without signals",
     [](Victim& v) {
       sigset_t all;
       sigfillset(&all);
       pthread_sigmask(SIG_BLOCK, &all, nullptr);
       for (;;) ++v.turns;
     }},
#endif
    {"spin",
     [](Victim& v) {
       for (;;) ++v.turns;
     }},
    {"spin with a destructor to run",
     [](Victim& v) {
       std::array<std::unique_ptr<int>, 1> object;
       for (;;) v.turns += object[0] == nullptr;
     }},
    {"event", [](Victim& v) { comn_waitfor_event(v.forever, VDX_NO_LIMIT); }},
    {"mutex", [](Victim& v) { comn_take_mutex(v.held); }}
  };
  for (const auto& [what, linger] : rows) {
    for (const bool kill : {false, true}) {
      SCOPED_TRACE(std::string(what) + (kill ? ", kill" : ", cancel"));
      const EventObject running(VDX_EVENT_AUTO);
      Victim victim;
      std::atomic<std::intptr_t> low{0};
      comn_take_mutex(victim.held);
      const auto body = [&, act = linger] {
        int here;
        low = reinterpret_cast<std::intptr_t>(&here);
        comn_signal_event(running);
        act(victim);
      };
      Worker thread(body, 100000);
      ASSERT_EQ(comn_waitfor_event(running, kBound), XS_SUCCEED);
      // Near a variable of the body.
      EXPECT_LT(std::abs(reinterpret_cast<std::intptr_t>(comn_getsp(thread)) - low), 1000000);
      if (kill)
        EXPECT_EQ(
            (Codes{comn_kill_thread(thread), comn_join_thread(thread), comn_kill_thread(thread),
                   comn_getsp(thread) == nullptr, comn_set_priority(thread, 8)}),
            (Codes{1, 1, 1, 1, 0}));
      else
        EXPECT_EQ(thread.cancel(), XS_SUCCEED);
      const std::uint64_t turns = victim.turns;
      for (int i = 0; i < 100; ++i) comn_yield();
      EXPECT_EQ(victim.turns, turns);
      // The ended thread waits no more: what is given now goes to the living.
      comn_release_mutex(victim.held);
      comn_signal_event(victim.forever);
      run_threads(1, [&](int) {
        EXPECT_EQ((Codes{comn_waitfor_event(victim.forever, kBound), comn_take_mutex(victim.held),
                         comn_release_mutex(victim.held)}),
                  (Codes{1, 1, 1}));
      });
    }
  }
}

// Threads are ended anywhere in a wait; the signals that others need all arrive.
TEST(ThreadEnd, LosesNothingOfTheOthers) {
  const EventObject event(VDX_EVENT_AUTO), running(VDX_EVENT_AUTO);
  for (int round = 0; round < 100; ++round) {
    Worker thread([&] {
      comn_signal_event(running);
      comn_waitfor_event(event, VDX_NO_LIMIT);
    });
    if (round % 2 == 0) comn_waitfor_event(running, kBound);
    EXPECT_EQ(thread.cancel(), XS_SUCCEED);
    comn_reset_event(running);
  }
  run_threads(
      2, [&](int) { EXPECT_EQ(comn_waitfor_event(event, kBound), XS_SUCCEED); },
      [&] {
        comn_signal_event(event);
        while (comn_waitfor_event(event, 0) == XS_SUCCEED) comn_signal_event(event), comn_yield();
        comn_signal_event(event);
      });
}

#if !defined(_WIN32)
std::atomic<bool> is_held_up, may_go_on;
void hold_up(int) {
  is_held_up = true;
  while (!may_go_on) comn_yield();
  usleep(20000);  // time enough to be ended in
}

// A thread is ended after a unit was handed to it and before its wait returns: the next has it.
TEST(ThreadEnd, HandsOnWhatItWasGiven) {
  constexpr int kTries = 20;
  struct sigaction action = {}, before;
  action.sa_handler = hold_up;
  sigaction(SIGUSR1, &action, &before);
  int returns = 0;
  for (int i = 0; i < kTries; ++i) {
    const SemObject semaphore(1);
    std::atomic<vdx_tid> tid{0};
    std::atomic<bool> has_returned{false};
    pthread_t handle;
    Worker thread([&] {
      handle = pthread_self();
      tid = comn_thread_id();
      comn_waitfor_sem(semaphore, 0);
      has_returned = true;
    });
    while (tid == 0) comn_yield();
    vdx_test::await_sleep({tid});
    is_held_up = may_go_on = false;
    pthread_kill(handle, SIGUSR1);
    while (!is_held_up) comn_yield();
    EXPECT_EQ(comn_release_sem(semaphore), XS_SUCCEED);
    may_go_on = true;
    EXPECT_EQ(thread.cancel(), XS_SUCCEED);
    EXPECT_EQ(comn_waitfor_sem(semaphore, 1) == XS_SUCCEED, !has_returned);
    returns += has_returned;
  }
  EXPECT_LT(returns, kTries);
  sigaction(SIGUSR1, &before, nullptr);
}

// Threads are ended in the middle of what they do to others: signalling, releasing, asking.
struct Scene {
  MutexObject mutex;
  EventObject event{VDX_EVENT_AUTO};
  vdx_thread* other = nullptr;
};

TEST(ThreadEnd, InsideACallHarmsNoOther) {
  using Act = void (*)(const Scene&);
  constexpr Act takes = [](const Scene& s) {
    comn_take_mutex(s.mutex);
    comn_release_mutex(s.mutex);
  };
  const std::tuple<Act, Act, int> rows[] = {
      {[](const Scene& s) { comn_signal_event(s.event); },
       [](const Scene& s) { comn_waitfor_event(s.event, VDX_NO_LIMIT); }, 300},
      {takes, takes, 300},
      {[](const Scene& s) { comn_set_priority(s.other, 8), comn_getsp(s.other); },
       [](const Scene&) { comn_yield(); }, 20}};
  for (const auto& [ends, others, rounds] : rows)
    for (int round = 0; round < rounds; ++round) {
      SCOPED_TRACE(testing::Message() << rounds << " rounds, at " << round);
      const EventObject done(VDX_EVENT_AUTO);
      Scene scene;
      std::atomic<bool> stop{false};
      std::atomic<int> beats{0};
      Worker other([&, act = others] {
        for (; !stop; ++beats) act(scene);
        comn_signal_event(done);
      });
      scene.other = other;
      Worker ended([&scene, act = ends] {
        for (;;) act(scene);
      });
      while (beats < 3) comn_yield();
      EXPECT_EQ(ended.cancel(), XS_SUCCEED);
      stop = true;
      comn_signal_event(scene.event);
      // A mutex that the ended thread held stays held: then nobody gets it.
      bool free = false;
      for (int i = 0; i < 100 && !free; ++i) {
        free = comn_try_mutex(scene.mutex) == XS_SUCCEED;
        comn_yield();
      }
      if (free) comn_release_mutex(scene.mutex);
      ASSERT_EQ(free ? comn_waitfor_event(done, kBound) : other.cancel(), XS_SUCCEED);
    }
}
#endif

TEST(ThreadEnd, OfTheCallingThread) {
  for (int way = 0; way < 5; ++way) {
    SCOPED_TRACE(way);
    const EventObject ready(VDX_EVENT_AUTO), ended(VDX_EVENT_AUTO);
    std::atomic<bool> went_on{false};
    vdx_thread* own = nullptr;
    const std::int32_t status = 3;
    Worker thread([&] {
      comn_waitfor_event(ready, VDX_NO_LIMIT);
      vdx_thread* const self = own;  // what it refers to may be gone after the signal
      if (way == 0) comn_exit_thread(nullptr);
      if (way == 1) comn_exit_thread(&status);
      if (way == 2) comn_signal_event(ended), comn_cancel_thread(self);
      if (way == 3) comn_kill_thread(self);
      went_on = comn_join_thread(self) == XS_FAIL && comn_getsp(self) != nullptr;
    });
    own = way == 2 ? thread.release() : thread;
    comn_signal_event(ready);
    if (way == 2)
      EXPECT_EQ(comn_waitfor_event(ended, kBound), XS_SUCCEED);
    else
      run_threads(kThreads, [&](int) { EXPECT_EQ(comn_join_thread(thread), XS_SUCCEED); });
    EXPECT_EQ(went_on, way == 4);
  }
}

// Detached before, while and after they run.
TEST(ThreadEnd, BlocksOutliveWhoeverIsLast) {
  const SemObject done(1000);
  const auto release = [](void* sem) -> void* {
    comn_release_sem(static_cast<vdx_sem*>(sem));
    return nullptr;
  };
  for (int i = 0; i < 200; ++i) {
    vdx_thread* thread = nullptr;
    // Every other one asks for a stack that is too small.
    ASSERT_EQ(comn_create_thread_ex(&thread, release, done, i % 2 == 0 ? 0 : 1), XS_SUCCEED);
    EXPECT_EQ(i % 3 == 1 ? comn_join_thread(thread) : XS_SUCCEED, XS_SUCCEED);
    const std::int32_t before = i % 3 == 0 ? comn_waitfor_sem(done, 0) : XS_SUCCEED;
    EXPECT_EQ((Codes{before, comn_detach_thread(thread)}), (Codes{1, 1}));
    EXPECT_EQ(i % 3 == 0 ? XS_SUCCEED : comn_waitfor_sem(done, 0), XS_SUCCEED);
  }
}

TEST(ThreadPriority, MapsSixteenToSeven) {
  const EventObject stop(VDX_EVENT_MANUAL);
  Worker thread([&] { comn_waitfor_event(stop, VDX_NO_LIMIT); });
  // Downwards, which nobody is refused.
  for (const std::int32_t priority : {2147483647, 16, 9, 8, 7, 6, 5, 4, 3, 2, 1, 0, -1})
    EXPECT_EQ(comn_set_priority(thread, priority), priority >= 0 && priority < 16);
  comn_signal_event(stop);
  vdx_thread* none = thread;
  const auto nothing = [](void*) -> void* { return nullptr; };
  EXPECT_EQ(comn_create_thread_ex(&none, nothing, nullptr, ~std::size_t{0} / 2), XS_FAIL);
  EXPECT_EQ(none, nullptr);
}

}  // namespace
