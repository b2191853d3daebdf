/* A pool of workers: jobs go into a ring under a mutex, a semaphore counts them, another counts
 * the free places, and a job of no number sends a worker home. */
#include <stdio.h>
#include <vdxcomn.h>

enum { kWorkers = 4, kPlaces = 8, kJobs = 1000 };

typedef struct pool {
  vdx_mutex *lock;
  vdx_sem *filled, *free;
  int32_t ring[kPlaces];
  size_t first, last;
  int64_t sum;
} pool;

static void put(pool *p, int32_t job) {
  comn_waitfor_sem(p->free, 0);
  comn_take_mutex(p->lock);
  p->ring[p->last++ % kPlaces] = job;
  comn_release_mutex(p->lock);
  comn_release_sem(p->filled);
}

static int32_t get(pool *p) {
  comn_waitfor_sem(p->filled, 0);
  comn_take_mutex(p->lock);
  int32_t job = p->ring[p->first++ % kPlaces];
  comn_release_mutex(p->lock);
  comn_release_sem(p->free);
  return job;
}

static void *work(void *argument) {
  pool *p = argument;
  for (int32_t job; (job = get(p)) != 0;) {
    int64_t square = (int64_t)job * job;
    comn_take_mutex(p->lock);
    p->sum += square;
    comn_release_mutex(p->lock);
  }
  return NULL;
}

int main(void) {
  pool p = {0};
  vdx_thread *workers[kWorkers];
  if (comn_create_mutex(&p.lock) != XS_SUCCEED) return 1;
  if (comn_create_sem(&p.filled, kPlaces) != XS_SUCCEED) return 1;
  if (comn_create_sem(&p.free, kPlaces) != XS_SUCCEED) return 1;
  for (int i = 0; i < kPlaces; ++i) comn_release_sem(p.free);
  for (int i = 0; i < kWorkers; ++i)
    if (comn_create_thread(&workers[i], work, &p) != XS_SUCCEED) return 1;
  for (int32_t job = 1; job <= kJobs; ++job) put(&p, job);
  for (int i = 0; i < kWorkers; ++i) put(&p, 0);
  for (int i = 0; i < kWorkers; ++i) {
    comn_join_thread(workers[i]);
    comn_detach_thread(workers[i]);
  }
  printf("%d jobs, sum of squares %lld\n", (int)kJobs, (long long)p.sum);
  comn_delete_sem(p.free);
  comn_delete_sem(p.filled);
  comn_delete_mutex(p.lock);
  return p.sum != 333833500;
}
