#include "benchmarks/lock_probe.h"

#include <pthread.h>
#include <time.h>

#include <algorithm>

namespace halveron::benchmarks {

namespace {

// Written by the lock's holder alone.
const pthread_mutex_t* watched = nullptr;
int depth = 0;
double start = 0.0;
double longest = 0.0;

double ThreadSeconds() {
  timespec time{};
  clock_gettime(CLOCK_THREAD_CPUTIME_ID, &time);
  return static_cast<double>(time.tv_sec) + static_cast<double>(time.tv_nsec) * 1e-9;
}

}  // namespace

LockProbe::LockProbe(const platform::RecursiveLock& lock) {
  static_assert(sizeof lock == sizeof *watched, "the mutex is all that the lock holds");
  watched = reinterpret_cast<const pthread_mutex_t*>(&lock);
  longest = 0.0;
}

LockProbe::~LockProbe() { watched = nullptr; }

double LockProbe::LongestSeconds() const { return longest; }

// The linker gives the calls of a wrapped function to __wrap_, and __real_ to the function.
extern "C" {
int __real_pthread_mutex_lock(pthread_mutex_t* mutex);
int __real_pthread_mutex_unlock(pthread_mutex_t* mutex);
int __wrap_pthread_mutex_lock(pthread_mutex_t* mutex);
int __wrap_pthread_mutex_unlock(pthread_mutex_t* mutex);

int __wrap_pthread_mutex_lock(pthread_mutex_t* mutex) {
  const int result = __real_pthread_mutex_lock(mutex);
  if (mutex == watched && depth++ == 0) start = ThreadSeconds();
  return result;
}

int __wrap_pthread_mutex_unlock(pthread_mutex_t* mutex) {
  if (mutex == watched && --depth == 0) longest = std::max(longest, ThreadSeconds() - start);
  return __real_pthread_mutex_unlock(mutex);
}
}

}  // namespace halveron::benchmarks
