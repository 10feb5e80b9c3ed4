// A lock that one thread may take again, with priority inheritance.
#pragma once

#include <pthread.h>

namespace halveron::platform {

/// Held by the audio thread for a whole block and by the window thread for a patch change. Priority
/// inheritance keeps a waiting audio thread from being held up by threads of middle priority.
/// Meets the standard's Lockable requirements.
class RecursiveLock {
 public:
  RecursiveLock();
  ~RecursiveLock();
  RecursiveLock(const RecursiveLock&) = delete;
  RecursiveLock& operator=(const RecursiveLock&) = delete;

  void lock() { pthread_mutex_lock(&mutex_); }
  void unlock() { pthread_mutex_unlock(&mutex_); }
  bool try_lock() { return pthread_mutex_trylock(&mutex_) == 0; }

 private:
  pthread_mutex_t mutex_;
};

}  // namespace halveron::platform
