// Threads and their objects. No test waits for time to pass to be right: threads meet at gates,
// and a bound on a wait is only what ends a test that has gone wrong.
#include "vdxcomn/thread.h"

#include <gtest/gtest.h>

#include <array>
#include <atomic>
#include <cstring>
#include <functional>
#include <memory>
#include <vector>

#include "checks.h"
#include "vdxcomn/frame.h"

namespace {

constexpr int kThreads = 8;
constexpr std::int32_t kBound = 30000;  // milliseconds; reached by a failure alone
constexpr int kRounds = 2000;

using Body = std::function<void(int)>;

struct Task {
  const Body* body = nullptr;
  int number = 0;
  vdx_thread* thread = nullptr;
};

void* run_task(void* argument) {
  const Task* const task = static_cast<Task*>(argument);
  (*task->body)(task->number);
  return nullptr;
}

// Runs the body on that many threads, with meanwhile on this one, and joins them.
void run_threads(
    int count, const Body& body, const std::function<void()>& meanwhile = [] {}) {
  std::vector<Task> tasks(static_cast<std::size_t>(count));
  for (int i = 0; i < count; ++i) {
    Task& task = tasks[static_cast<std::size_t>(i)];
    task.body = &body;
    task.number = i;
    ASSERT_EQ(comn_create_thread(&task.thread, run_task, &task), XS_SUCCEED);
    EXPECT_EQ(comn_start_thread(task.thread), XS_SUCCEED);
  }
  meanwhile();
  for (const Task& task : tasks) {
    EXPECT_EQ(comn_join_thread(task.thread), XS_SUCCEED);
    EXPECT_EQ(comn_detach_thread(task.thread), XS_SUCCEED);
  }
}

template <class Object, auto Create, auto Delete>
struct Owned {
  Object* object = nullptr;
  template <class... Arguments>
  explicit Owned(Arguments... arguments) {
    EXPECT_EQ(Create(&object, arguments...), XS_SUCCEED);
  }
  ~Owned() { EXPECT_EQ(Delete(object), XS_SUCCEED); }
  Owned(const Owned&) = delete;
  Owned& operator=(const Owned&) = delete;
  operator Object*() const { return object; }
};
using MutexObject = Owned<vdx_mutex, comn_create_mutex, comn_delete_mutex>;
using EventObject = Owned<vdx_event, comn_create_event_ex, comn_delete_event>;
using SemObject = Owned<vdx_sem, comn_create_sem, comn_delete_sem>;
using CondObject = Owned<vdx_cond, comn_create_cond, comn_delete_cond>;

// One call on an object and what it gives.
struct Step {
  const char* what;
  std::int32_t result;
  std::int32_t expected;
};
void check(std::initializer_list<Step> steps) {
  for (const Step& step : steps) EXPECT_EQ(step.result, step.expected) << step.what;
}

TEST(ThreadMutex, IsRecursiveForItsHolderAlone) {
  const MutexObject mutex;
  const auto elsewhere = [&](std::int32_t expected) {
    run_threads(1, [&](int) {
      EXPECT_EQ(comn_try_mutex(mutex), expected);
      if (expected == XS_SUCCEED) comn_release_mutex(mutex);
    });
  };
  check({{"take", comn_take_mutex(mutex), 1},
         {"take again", comn_take_mutex(mutex), 1},
         {"try held", comn_try_mutex(mutex), 1},
         {"release", comn_release_mutex(mutex), 1},
         {"release", comn_release_mutex(mutex), 1}});
  elsewhere(XS_FAIL);
  EXPECT_EQ(comn_release_mutex(mutex), XS_SUCCEED);
  elsewhere(XS_SUCCEED);
#if !defined(_WIN32)
  EXPECT_EQ(comn_release_mutex(mutex), XS_FAIL);
#endif
}

TEST(ThreadMutex, KeepsEightThreadsApart) {
  const MutexObject mutex;
  int shared = 0;
  run_threads(kThreads, [&](int number) {
    for (int i = 0; i < kRounds; ++i) {
      if ((i + number) % 3 == 0)
        while (comn_try_mutex(mutex) == XS_FAIL) comn_yield();
      else
        comn_take_mutex(mutex);
      if (i % 2 == 0) comn_take_mutex(mutex);
      ++shared;
      if (i % 64 == 0) comn_yield();
      if (i % 2 == 0) comn_release_mutex(mutex);
      comn_release_mutex(mutex);
    }
  });
  EXPECT_EQ(shared, kThreads * kRounds);
}

TEST(ThreadEvent, KeepsOrConsumesItsSignalByKind) {
  for (const std::int32_t kind : {0, 1, 2, -1}) {
    SCOPED_TRACE(kind);
    const EventObject event(kind);
    const std::int32_t second = kind == VDX_EVENT_AUTO ? XS_TIMED_OUT : XS_SUCCEED;
    check({{"unset", comn_waitfor_event(event, 0), XS_TIMED_OUT},
           {"unset, limited", comn_waitfor_event(event, 2), XS_TIMED_OUT},
           {"unset, longer", comn_waitfor_event(event, 30), XS_TIMED_OUT},
           {"set", comn_signal_event(event), 1},
           {"set twice", comn_signal_event(event), 1},
           {"set", comn_waitfor_event(event, VDX_NO_LIMIT), 1},
           {"consumed", comn_waitfor_event(event, 1), second},
           {"set", comn_signal_event(event), 1},
           {"reset", comn_reset_event(event), 1},
           {"reset", comn_waitfor_event(event, 0), XS_TIMED_OUT},
           {"set", comn_signal_event(event), 1},
           {"set", comn_waitfor_event(event, -1), 1}});
  }
  vdx_event* plain = nullptr;
  ASSERT_EQ(comn_create_event(&plain), XS_SUCCEED);
  check({{"set", comn_signal_event(plain), 1},
         {"set", comn_waitfor_event(plain, kBound), 1},
         {"auto-reset", comn_waitfor_event(plain, 0), XS_TIMED_OUT},
         {"delete", comn_delete_event(plain), 1},
         {"null", comn_delete_event(nullptr), 0},
         {"null", comn_delete_mutex(nullptr), 0},
         {"null", comn_delete_cond(nullptr), 0}});
}

TEST(ThreadEvent, PassesATokenRound) {
  std::vector<std::unique_ptr<EventObject>> events;
  for (int i = 0; i < kThreads; ++i)
    events.push_back(std::make_unique<EventObject>(VDX_EVENT_AUTO));
  int token = 0;
  run_threads(
      kThreads,
      [&](int number) {
        const auto at = static_cast<std::size_t>(number);
        for (int i = 0; i < kRounds / 4; ++i) {
          // Limits that run out beside the signal must neither lose nor double it.
          while (comn_waitfor_event(*events[at], i % 2 == 0 ? VDX_NO_LIMIT : 1) != XS_SUCCEED) {
          }
          EXPECT_EQ(token++ % kThreads, number);
          comn_signal_event(*events[(at + 1) % kThreads]);
        }
      },
      [&] { comn_signal_event(*events[0]); });
  EXPECT_EQ(token, kThreads * (kRounds / 4));
}

// Every signal is consumed by one wait, whether the waiters slept or came late, and a reset takes
// back none that was given to a sleeper.
TEST(ThreadEvent, SignalsAreNeverLost) {
  const EventObject event(VDX_EVENT_AUTO), taken(VDX_EVENT_AUTO);
  std::atomic<int> waits{0};
  run_threads(
      kThreads,
      [&](int) {
        for (int i = 0; i < kRounds / 8; ++i) {
          EXPECT_EQ(comn_waitfor_event(event, VDX_NO_LIMIT), XS_SUCCEED);
          ++waits;
          comn_signal_event(taken);
        }
      },
      [&] {
        for (int i = 0; i < kThreads * (kRounds / 8); ++i) {
          comn_signal_event(event);
          ASSERT_EQ(comn_waitfor_event(taken, kBound), XS_SUCCEED);
        }
      });
  EXPECT_EQ(waits, kThreads * (kRounds / 8));
}

TEST(ThreadEvent, ManualSignalReleasesEveryWaiter) {
  const EventObject ready(VDX_EVENT_MANUAL), go(VDX_EVENT_MANUAL);
  const SemObject there(kThreads);
  run_threads(
      kThreads,
      [&](int) {
        for (int i = 0; i < 50; ++i) {
          comn_release_sem(there);
          EXPECT_EQ(comn_waitfor_event(i % 2 == 0 ? ready : go, VDX_NO_LIMIT), XS_SUCCEED);
        }
      },
      [&] {
        for (int i = 0; i < 50; ++i) {
          for (int n = 0; n < kThreads; ++n) EXPECT_EQ(comn_waitfor_sem(there, 0), XS_SUCCEED);
          // All have said that they come; the other event is what they wait for next.
          comn_reset_event(i % 2 == 0 ? go : ready);
          comn_signal_event(i % 2 == 0 ? ready : go);
        }
      });
}

TEST(ThreadSemaphore, CountsUpToItsMaximum) {
  vdx_sem* none = reinterpret_cast<vdx_sem*>(&none);
  for (const std::int32_t maximum : {0, -1}) EXPECT_EQ(comn_create_sem(&none, maximum), XS_FAIL);
  EXPECT_EQ(none, nullptr);
  for (const std::int32_t maximum : {1, 3, 2147483647}) {
    SCOPED_TRACE(maximum);
    const SemObject semaphore(maximum);
    const std::int32_t units = maximum < 5 ? maximum : 5;
    EXPECT_EQ(comn_waitfor_sem(semaphore, 1), XS_TIMED_OUT);
    for (std::int32_t i = 0; i < units; ++i) EXPECT_EQ(comn_release_sem(semaphore), XS_SUCCEED);
    EXPECT_EQ(comn_release_sem(semaphore), maximum < 5 ? XS_FAIL : XS_SUCCEED);
    for (std::int32_t i = 0; i < units; ++i)
      EXPECT_EQ(comn_waitfor_sem(semaphore, i % 2), XS_SUCCEED);
    EXPECT_EQ(comn_waitfor_sem(semaphore, -1), maximum < 5 ? XS_TIMED_OUT : XS_SUCCEED);
  }
}

TEST(ThreadSemaphore, NoUnitIsLostOrDoubled) {
  for (const std::int32_t maximum : {1, 4, 1000000}) {
    SCOPED_TRACE(maximum);
    const SemObject semaphore(maximum);
    std::atomic<int> taken{0};
    run_threads(kThreads, [&](int number) {
      for (int i = 0; i < kRounds / 2; ++i) {
        if (number % 2 == 0) {
          while (comn_release_sem(semaphore) == XS_FAIL) comn_yield();
        } else {
          while (comn_waitfor_sem(semaphore, i % 5 == 0) != XS_SUCCEED) comn_yield();
          ++taken;
        }
      }
    });
    EXPECT_EQ(taken, kThreads / 2 * (kRounds / 2));
    EXPECT_EQ(comn_waitfor_sem(semaphore, 1), XS_TIMED_OUT);
  }
}

TEST(ThreadCondition, SignalIsKeptAndBroadcastIsForGood) {
  const MutexObject mutex;
  const CondObject condition;
#if !defined(_WIN32)
  EXPECT_EQ(comn_wait_cond(condition, mutex), XS_FAIL);  // not held
#endif
  check({{"signal", comn_signal_cond(condition), 1},
         {"again", comn_signal_cond(condition), 1},
         {"take", comn_take_mutex(mutex), 1},
         {"kept", comn_wait_cond(condition, mutex), 1}});
  run_threads(1, [&](int) { EXPECT_EQ(comn_try_mutex(mutex), XS_FAIL); });  // taken again
  EXPECT_EQ(comn_broadcast_cond(condition), XS_SUCCEED);
  for (int i = 0; i < 3; ++i) EXPECT_EQ(comn_wait_cond(condition, mutex), XS_SUCCEED);
  EXPECT_EQ(comn_signal_cond(condition), XS_SUCCEED);
  for (int i = 0; i < 3; ++i) EXPECT_EQ(comn_wait_cond(condition, mutex), XS_SUCCEED);
  EXPECT_EQ(comn_release_mutex(mutex), XS_SUCCEED);
}

// A queue of one place between producers and consumers, ended by a broadcast.
TEST(ThreadCondition, CarriesAQueueOfEight) {
  const MutexObject mutex;
  const CondObject full, empty;
  int place = 0, consumed = 0, produced = 0;
  bool done = false;
  run_threads(kThreads, [&](int number) {
    const bool producer = number < kThreads / 2;
    comn_take_mutex(mutex);
    for (int i = 0; producer ? i < kRounds / 4 : true; ++i) {
      while (!done && (place != 0) == producer)
        EXPECT_EQ(comn_wait_cond(producer ? empty : full, mutex), XS_SUCCEED);
      if (!producer && place == 0) break;
      place = producer ? 1 : 0;
      if (producer ? ++produced == kThreads / 2 * (kRounds / 4) : (++consumed, false)) {
        done = true;
        comn_broadcast_cond(full);
      }
      comn_signal_cond(producer ? full : empty);
    }
    comn_release_mutex(mutex);
  });
  EXPECT_EQ(consumed, produced);
  EXPECT_EQ(place, 0);
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
  for (const vdx_key key : keys) {
    EXPECT_EQ(comn_drop_key(key), XS_SUCCEED);
    EXPECT_EQ(comn_drop_key(key), XS_FAIL);
    EXPECT_EQ(comn_set_threaduserdata(key, keys), XS_FAIL);
    EXPECT_EQ(comn_get_threaduserdata(key), nullptr);
  }
  std::vector<vdx_key> all;
  for (vdx_key key; all.size() < 100000 && comn_create_key(&key) == XS_SUCCEED;) all.push_back(key);
  EXPECT_LT(all.size(), 100000u);
  for (const vdx_key key : all) EXPECT_EQ(comn_drop_key(key), XS_SUCCEED);
}

TEST(ThreadCoroutine, LetsOneThreadInWhileItIsOn) {
  check({{"take while off", comn_take_coroutine_control(), 1},
         {"release while off", comn_release_coroutine_control(), 1},
         {"end while off", comn_end_coroutine_mode(), 1}});
  for (int pass = 0; pass < 2; ++pass) {
    check({{"start", comn_start_coroutine_mode(), 1}, {"twice", comn_start_coroutine_mode(), 0}});
    int shared = 0;
    run_threads(kThreads, [&](int) {
      for (int i = 0; i < kRounds; ++i) {
        comn_take_coroutine_control();
        ++shared;
        comn_release_coroutine_control();
      }
    });
    EXPECT_EQ(shared, kThreads * kRounds);
    check({{"take", comn_take_coroutine_control(), 1},
           {"again", comn_take_coroutine_control(), 1},
           {"end", comn_end_coroutine_mode(), 1}});
  }
}

TEST(ThreadIdentity, IsTheThreadsOwn) {
  struct {
    const char* what;
    std::int32_t (*get)(void*, std::int32_t, std::int32_t*);
    vdx_tid expected;
  } const rows[] = {{"own", comn_get_tid, comn_thread_id()}, {"none", comn_get_default_tid, 0}};
  for (const auto& row : rows) {
    SCOPED_TRACE(row.what);
    std::uint8_t bytes[6] = {9, 9, 9, 9, 9, 9};
    std::int32_t length = -5;
    EXPECT_EQ(row.get(bytes + 1, 3, &length), XS_FAIL);
    EXPECT_EQ(bytes[1], 9);
    EXPECT_EQ(length, -5);
    EXPECT_EQ(row.get(bytes + 1, 4, nullptr), XS_SUCCEED);
    EXPECT_EQ(row.get(bytes + 1, 5, &length), XS_SUCCEED);
    EXPECT_EQ(length, 4);
    vdx_tid tid;
    std::memcpy(&tid, bytes + 1, sizeof tid);
    EXPECT_EQ(tid, row.expected);
    EXPECT_EQ(bytes[0] + bytes[5], 18);
  }
  const vdx_tid own = comn_thread_id();
  EXPECT_NE(own, 0u);
  run_threads(kThreads, [&](int) {
    EXPECT_EQ(comn_thread_equal(comn_thread_id(), own), 0);
    EXPECT_EQ(comn_thread_equal(comn_thread_id(), comn_thread_id()), 1);
  });
  EXPECT_EQ(comn_set_cancelstate(7), XS_SUCCEED);
}

// ---- Lives and ends ----

// What threads that have to be ended do. None of them looks up.
struct Victim {
  vdx_event* forever = nullptr;
  vdx_mutex* held = nullptr;
  vdx_event* running = nullptr;
  std::atomic<void*> low{nullptr};
  std::atomic<std::uint64_t> turns{0};
};

void begin(Victim& victim, void* here) {
  victim.low = here;
  comn_signal_event(victim.running);
}
void* spins(void* argument) {
  Victim& victim = *static_cast<Victim*>(argument);
  begin(victim, &argument);
  for (;;) ++victim.turns;
}
// The end finds an object with a destructor on the stack.
void* spins_with_object(void* argument) {
  Victim& victim = *static_cast<Victim*>(argument);
  std::array<std::unique_ptr<int>, 1> object;
  begin(victim, &argument);
  for (;;) victim.turns += object[0] == nullptr;
}
void* waits_for_event(void* argument) {
  Victim& victim = *static_cast<Victim*>(argument);
  begin(victim, &argument);
  comn_waitfor_event(victim.forever, VDX_NO_LIMIT);
  return nullptr;
}
void* waits_for_mutex(void* argument) {
  Victim& victim = *static_cast<Victim*>(argument);
  begin(victim, &argument);
  comn_take_mutex(victim.held);
  return nullptr;
}

TEST(ThreadEnd, OverpowersThreadsThatNeverLookUp) {
  struct {
    const char* what;
    vdx_start_routine* routine;
  } const rows[] = {{"spin", spins},
                    {"spin with object", spins_with_object},
                    {"event", waits_for_event},
                    {"mutex", waits_for_mutex}};
  for (const auto& row : rows) {
    for (const bool kill : {false, true}) {
      SCOPED_TRACE(std::string(row.what) + (kill ? ", kill" : ", cancel"));
      const EventObject forever(VDX_EVENT_AUTO), running(VDX_EVENT_AUTO);
      const MutexObject held;
      Victim victim;
      victim.forever = forever;
      victim.held = held;
      victim.running = running;
      comn_take_mutex(held);
      vdx_thread* thread = nullptr;
      ASSERT_EQ(comn_create_thread_ex(&thread, row.routine, &victim, 100000), XS_SUCCEED);
      ASSERT_EQ(comn_waitfor_event(running, kBound), XS_SUCCEED);
      // Deeper than the routine's own argument, by less than the stack.
      const auto pointer = reinterpret_cast<std::uintptr_t>(comn_getsp(thread));
      const auto start = reinterpret_cast<std::uintptr_t>(victim.low.load());
      EXPECT_LT(pointer > start ? pointer - start : start - pointer, 1000000u);
      if (kill) {
        EXPECT_EQ(comn_kill_thread(thread), XS_SUCCEED);
        EXPECT_EQ(comn_join_thread(thread), XS_SUCCEED);
        EXPECT_EQ(comn_kill_thread(thread), XS_SUCCEED);
        EXPECT_EQ(comn_getsp(thread), nullptr);
        EXPECT_EQ(comn_set_priority(thread, 8), XS_FAIL);
        EXPECT_EQ(comn_detach_thread(thread), XS_SUCCEED);
      } else {
        EXPECT_EQ(comn_cancel_thread(thread), XS_SUCCEED);
      }
      const std::uint64_t turns = victim.turns;
      for (int i = 0; i < 100; ++i) comn_yield();
      EXPECT_EQ(victim.turns, turns);
      comn_release_mutex(held);
      // The ended thread no longer stands among the waiters: what is given now goes to the living.
      comn_signal_event(forever);
      EXPECT_EQ(comn_waitfor_event(forever, kBound), XS_SUCCEED);
      run_threads(1, [&](int) {
        EXPECT_EQ(comn_take_mutex(held), XS_SUCCEED);
        EXPECT_EQ(comn_release_mutex(held), XS_SUCCEED);
      });
    }
  }
}

// Threads are ended anywhere in a wait; the signals that others need all arrive.
TEST(ThreadEnd, LosesNothingOfTheOthers) {
  const EventObject event(VDX_EVENT_AUTO), running(VDX_EVENT_AUTO);
  for (int round = 0; round < 100; ++round) {
    Victim victim;
    victim.forever = event;
    victim.running = running;
    vdx_thread* thread = nullptr;
    ASSERT_EQ(comn_create_thread(&thread, waits_for_event, &victim), XS_SUCCEED);
    if (round % 2 == 0) comn_waitfor_event(running, kBound);
    EXPECT_EQ(comn_cancel_thread(thread), XS_SUCCEED);
    comn_reset_event(running);
  }
  run_threads(
      2, [&](int) { EXPECT_EQ(comn_waitfor_event(event, kBound), XS_SUCCEED); },
      [&] {
        const EventObject pause(VDX_EVENT_AUTO);
        comn_signal_event(event);
        while (comn_waitfor_event(event, 0) == XS_SUCCEED) comn_signal_event(event), comn_yield();
        comn_signal_event(event);
      });
}

struct Ending {
  vdx_thread* thread = nullptr;
  vdx_event* ready = nullptr;
  vdx_event* ended = nullptr;
  int way = 0;
  std::atomic<bool> went_on{false};
};
void leave_deep(Ending& ending) {
  const std::int32_t status = 3;
  comn_waitfor_event(ending.ready, VDX_NO_LIMIT);
  if (ending.way == 0) comn_exit_thread(nullptr);
  if (ending.way == 1) comn_exit_thread(&status);
  if (ending.way == 2) {
    vdx_thread* const thread = ending.thread;
    comn_signal_event(ending.ended);
    comn_cancel_thread(thread);
  }
  if (ending.way == 3) comn_kill_thread(ending.thread);
  if (ending.way == 4) {
    EXPECT_EQ(comn_join_thread(ending.thread), XS_FAIL);
  }
  if (ending.way == 5) {
    EXPECT_NE(comn_getsp(ending.thread), nullptr);
  }
  if (ending.way >= 4) return;
  ending.went_on = true;
}
void* leaves(void* argument) {
  leave_deep(*static_cast<Ending*>(argument));
  return nullptr;
}

TEST(ThreadEnd, OfTheCallingThread) {
  for (int way = 0; way < 6; ++way) {
    SCOPED_TRACE(way);
    const EventObject ready(VDX_EVENT_AUTO), ended(VDX_EVENT_AUTO);
    static Ending endings[6];
    Ending& ending = endings[way];
    ending.ready = ready;
    ending.ended = ended;
    ending.way = way;
    ASSERT_EQ(comn_create_thread(&ending.thread, leaves, &ending), XS_SUCCEED);
    comn_signal_event(ready);
    if (way == 2) {
      EXPECT_EQ(comn_waitfor_event(ended, kBound), XS_SUCCEED);
    } else {
      run_threads(kThreads, [&](int) { EXPECT_EQ(comn_join_thread(ending.thread), XS_SUCCEED); });
      EXPECT_EQ(comn_detach_thread(ending.thread), XS_SUCCEED);
      EXPECT_FALSE(ending.went_on);
    }
  }
}

// Detached before, while and after they run.
TEST(ThreadEnd, BlocksOutliveWhoeverIsLast) {
  const SemObject done(1000);
  for (int i = 0; i < 200; ++i) {
    vdx_thread* thread = nullptr;
    ASSERT_EQ(comn_create_thread(
                  &thread,
                  [](void* sem) -> void* {
                    comn_release_sem(static_cast<vdx_sem*>(sem));
                    return nullptr;
                  },
                  done),
              XS_SUCCEED);
    if (i % 3 == 0) {
      EXPECT_EQ(comn_waitfor_sem(done, 0), XS_SUCCEED);
    }
    if (i % 3 == 1) {
      EXPECT_EQ(comn_join_thread(thread), XS_SUCCEED);
    }
    EXPECT_EQ(comn_detach_thread(thread), XS_SUCCEED);
    if (i % 3 != 0) {
      EXPECT_EQ(comn_waitfor_sem(done, 0), XS_SUCCEED);
    }
  }
}

TEST(ThreadPriority, MapsSixteenToSeven) {
  const EventObject stop(VDX_EVENT_MANUAL);
  vdx_thread* thread = nullptr;
  ASSERT_EQ(comn_create_thread(
                &thread,
                [](void* event) -> void* {
                  comn_waitfor_event(static_cast<vdx_event*>(event), VDX_NO_LIMIT);
                  return nullptr;
                },
                stop),
            XS_SUCCEED);
  for (const std::int32_t priority : {-1, 16, 2147483647})
    EXPECT_EQ(comn_set_priority(thread, priority), XS_FAIL);
  // Downwards, which nobody is refused.
  for (std::int32_t priority = 9; priority >= 0; --priority)
    EXPECT_EQ(comn_set_priority(thread, priority), XS_SUCCEED);
  for (std::int32_t priority = 0; priority < 16; ++priority)
    EXPECT_GE(comn_set_priority(thread, priority), XS_FAIL);
  comn_signal_event(stop);
  EXPECT_EQ(comn_join_thread(thread), XS_SUCCEED);
  EXPECT_EQ(comn_detach_thread(thread), XS_SUCCEED);
  thread = reinterpret_cast<vdx_thread*>(&thread);
  EXPECT_EQ(comn_create_thread_ex(&thread, leaves, nullptr, ~std::size_t{0} / 2), XS_FAIL);
  EXPECT_EQ(thread, nullptr);
}

TEST(ThreadDeathTest, NullPointersAreReported) {
  const std::vector<std::pair<const char*, std::function<void()>>> rows = {
      {"create_thread", [] { comn_create_thread(nullptr, leaves, nullptr); }},
      {"create_thread_ex", [] { comn_create_thread_ex(nullptr, leaves, nullptr, 0); }},
      {"join", [] { comn_join_thread(nullptr); }},
      {"detach", [] { comn_detach_thread(nullptr); }},
      {"kill", [] { comn_kill_thread(nullptr); }},
      {"cancel", [] { comn_cancel_thread(nullptr); }},
      {"priority", [] { comn_set_priority(nullptr, 99); }},
      {"getsp", [] { comn_getsp(nullptr); }},
      {"take", [] { comn_take_mutex(nullptr); }},
      {"event", [] { comn_create_event_ex(nullptr, 1); }},
      {"cond", [] { comn_create_cond(nullptr); }},
      {"wait", [] { comn_wait_cond(nullptr, nullptr); }}};
  for (const auto& [what, call] : rows) {
    SCOPED_TRACE(what);
    EXPECT_FATAL(call(), "thrd");
  }
}

}  // namespace
