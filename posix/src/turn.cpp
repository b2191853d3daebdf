// The turn of parses: a mutex that outlives a thread which ends while it holds it.
#include <pthread.h>

#include <cerrno>

#include "frame/platform.h"

namespace vdx {
namespace {

pthread_mutex_t turn = PTHREAD_MUTEX_INITIALIZER;
pthread_once_t once = PTHREAD_ONCE_INIT;
inline thread_local constinit bool has_turn [[gnu::tls_model("initial-exec")]] = false;

// Only Linux is sure to have mutexes that know of their owner's end; elsewhere the turn is lost with
// a thread that is killed during a parse.
void make_robust() {
#if defined(__linux__)
  pthread_mutexattr_t attributes;
  if (pthread_mutexattr_init(&attributes) != 0) return;
  pthread_mutexattr_setrobust(&attributes, PTHREAD_MUTEX_ROBUST);
  pthread_mutex_init(&turn, &attributes);
  pthread_mutexattr_destroy(&attributes);
#endif
}

}  // namespace

void take_parse_turn() {
  pthread_once(&once, make_robust);
  const int result = pthread_mutex_lock(&turn);
#if defined(__linux__)
  // The next parse begins anew, so nothing that the dead thread left has to be mended.
  if (result == EOWNERDEAD) pthread_mutex_consistent(&turn);
#else
  static_cast<void>(result);
#endif
  has_turn = true;
}

void release_parse_turn() {
  has_turn = false;
  pthread_mutex_unlock(&turn);
}

bool has_parse_turn() { return has_turn; }

}  // namespace vdx
