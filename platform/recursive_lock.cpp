#include "platform/recursive_lock.h"

#include <system_error>

namespace halveron::platform {

RecursiveLock::RecursiveLock() {
  pthread_mutexattr_t attributes;
  pthread_mutexattr_init(&attributes);
  pthread_mutexattr_settype(&attributes, PTHREAD_MUTEX_RECURSIVE);
  pthread_mutexattr_setprotocol(&attributes, PTHREAD_PRIO_INHERIT);
  const int error = pthread_mutex_init(&mutex_, &attributes);
  pthread_mutexattr_destroy(&attributes);
  if (error != 0) throw std::system_error(error, std::generic_category(), "processing lock");
}

RecursiveLock::~RecursiveLock() { pthread_mutex_destroy(&mutex_); }

}  // namespace halveron::platform
