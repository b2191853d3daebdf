// Mutex, event and semaphore beside their peers, by one thread that never has to sleep: first alone
// in the process, then with a second thread that sleeps (rows "_beside"); and the mutex by two
// threads at once.
#include <pthread.h>
#include <semaphore.h>
#include <unistd.h>

#include <atomic>
#include <cstdlib>
#include <mutex>
#include <thread>

#include "bench_common.h"
#include "vdxcomn/thread.h"

#ifdef VDX_PEER_GLIB
#include <glib.h>
#endif

namespace {

using bench::keep;
using bench::kItems;

// What a row is run in. Libraries spare a process with a single thread the locked instructions.
struct Setting {
  const char* suffix;
  void (*prepare)();
};
constexpr Setting kAlone = {"", [] {}};
constexpr Setting kBeside = {"_beside", [] {
                               static const bool started = [] {
                                 std::thread([] {
                                   for (;;) pause();
                                 }).detach();
                                 return true;
                               }();
                               benchmark::DoNotOptimize(started);
                             }};

// Nothing to compare afterwards: the body says whether its calls did what they should.
template <class Body>
void contender(const Setting& setting, const std::string& row, const std::string& name, Body body) {
  bench::contender(row + setting.suffix, name, body, setting.prepare, [] { return true; });
}

struct RecursivePthread {
  pthread_mutex_t mutex;
  RecursivePthread() {
    pthread_mutexattr_t attributes;
    pthread_mutexattr_init(&attributes);
    pthread_mutexattr_settype(&attributes, PTHREAD_MUTEX_RECURSIVE);
    pthread_mutex_init(&mutex, &attributes);
    pthread_mutexattr_destroy(&attributes);
  }
};

// An auto-reset event as a program without one writes it.
struct ConditionEvent {
  pthread_mutex_t mutex = PTHREAD_MUTEX_INITIALIZER;
  pthread_cond_t changed = PTHREAD_COND_INITIALIZER;
  bool set = false;

  void signal() {
    pthread_mutex_lock(&mutex);
    set = true;
    pthread_cond_signal(&changed);
    pthread_mutex_unlock(&mutex);
  }
  bool wait() {
    pthread_mutex_lock(&mutex);
    while (!set) pthread_cond_wait(&changed, &mutex);
    set = false;
    pthread_mutex_unlock(&mutex);
    return true;
  }
  bool poll() {
    pthread_mutex_lock(&mutex);
    const bool was = set;
    set = false;
    pthread_mutex_unlock(&mutex);
    return was;
  }
};

// Two threads take the mutex by turns that nobody arranges; an item is one take and release.
template <class Take, class Release>
void contended(const std::string& name, Take take, Release release) {
  benchmark::RegisterBenchmark(("mutex_contended/" + name).c_str(), [=](benchmark::State& state) {
    std::uint64_t shared = 0;
    const auto pass = [&] {
      for (std::size_t i = 0; i < kItems; ++i) {
        take();
        benchmark::DoNotOptimize(++shared);
        release();
      }
    };
    for (auto _ : state) {
      std::thread other(pass);
      pass();
      other.join();
    }
    state.SetItemsProcessed(state.iterations() * static_cast<std::int64_t>(2 * kItems));
    if (shared != static_cast<std::uint64_t>(state.iterations()) * 2 * kItems)
      state.SkipWithError("wrong results");
  })->UseRealTime();
}

template <class Take, class Release>
void add_mutex(const Setting& setting, const std::string& name, Take take, Release release) {
  contender(setting, "mutex", name, [=](std::size_t) { return take() && release(); });
  contender(setting, "mutex_twice", name,
            [=](std::size_t) { return take() && take() && release() && release(); });
}

void add_mutexes(const Setting& setting) {
  vdx_mutex* ours = nullptr;
  if (comn_create_mutex(&ours) != XS_SUCCEED) std::abort();
  auto* const standard = &keep<std::recursive_mutex>();
  pthread_mutex_t* const posix = &keep<RecursivePthread>().mutex;
  add_mutex(
      setting, "ours", [=] { return comn_take_mutex(ours) == XS_SUCCEED; },
      [=] { return comn_release_mutex(ours) == XS_SUCCEED; });
  add_mutex(
      setting, "std::recursive_mutex", [=] { return standard->lock(), true; },
      [=] { return standard->unlock(), true; });
  add_mutex(
      setting, "pthread", [=] { return pthread_mutex_lock(posix) == 0; },
      [=] { return pthread_mutex_unlock(posix) == 0; });
#ifdef VDX_PEER_GLIB
  GRecMutex* const glib = &keep<GRecMutex>();
  g_rec_mutex_init(glib);
  add_mutex(
      setting, "GLib", [=] { return g_rec_mutex_lock(glib), true; },
      [=] { return g_rec_mutex_unlock(glib), true; });
#endif
}

void add_contended() {
  vdx_mutex* ours = nullptr;
  if (comn_create_mutex(&ours) != XS_SUCCEED) std::abort();
  pthread_mutex_t* const posix = &keep<RecursivePthread>().mutex;
  contended(
      "ours", [=] { comn_take_mutex(ours); }, [=] { comn_release_mutex(ours); });
  contended(
      "pthread", [=] { pthread_mutex_lock(posix); }, [=] { pthread_mutex_unlock(posix); });
}

void add_events(const Setting& setting) {
  vdx_event *ours = nullptr, *unset = nullptr;
  if (comn_create_event(&ours) != XS_SUCCEED || comn_create_event(&unset) != XS_SUCCEED)
    std::abort();
  ConditionEvent* const condition = &keep<ConditionEvent>();
  std::atomic<int>* const word = &keep<std::atomic<int>>(0);
  contender(setting, "event", "ours", [=](std::size_t) {
    return comn_signal_event(ours) == XS_SUCCEED &&
           comn_waitfor_event(ours, VDX_NO_LIMIT) == XS_SUCCEED;
  });
  contender(setting, "event", "pthread condition", [=](std::size_t) {
    condition->signal();
    return condition->wait();
  });
  // Wakes nobody unless told to and serves one waiter: less than an event.
  contender(setting, "event", "std::atomic (floor)", [=](std::size_t) {
    word->store(1);
    word->notify_one();
    word->wait(0);
    return word->exchange(0) == 1;
  });
  sem_t* const posix = &keep<sem_t>();
  sem_init(posix, 0, 0);
  contender(setting, "event", "sem_t",
            [=](std::size_t) { return sem_post(posix) == 0 && sem_wait(posix) == 0; });
  contender(setting, "event_unset", "ours",
            [=](std::size_t) { return comn_waitfor_event(unset, 0) == XS_TIMED_OUT; });
  contender(setting, "event_unset", "pthread condition",
            [=](std::size_t) { return !condition->poll(); });
}

void add_semaphores(const Setting& setting) {
  vdx_sem* ours = nullptr;
  if (comn_create_sem(&ours, 1000) != XS_SUCCEED) std::abort();
  sem_t* const posix = &keep<sem_t>();
  sem_init(posix, 0, 0);
  contender(setting, "semaphore", "ours", [=](std::size_t) {
    return comn_release_sem(ours) == XS_SUCCEED && comn_waitfor_sem(ours, 0) == XS_SUCCEED;
  });
  contender(setting, "semaphore", "sem_t",
            [=](std::size_t) { return sem_post(posix) == 0 && sem_wait(posix) == 0; });
}

}  // namespace

int main(int argc, char** argv) {
  // In this order: from its first thread on the process is no longer single-threaded.
  for (const Setting& setting : {kAlone, kBeside}) {
    add_mutexes(setting);
    add_events(setting);
    add_semaphores(setting);
  }
  add_contended();
  return bench::run(argc, argv);
}
