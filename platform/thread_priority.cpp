#include "platform/thread_priority.h"

#include <pthread.h>
#include <sched.h>
#include <sys/resource.h>
#include <unistd.h>

namespace halveron::platform {

void LowerThreadPriority() {
  constexpr int kNice = 1;
  const sched_param ordinary{};
  pthread_setschedparam(pthread_self(), SCHED_OTHER, &ordinary);
  // On Linux a thread has a nice value of its own, by its thread id.
  const auto thread = static_cast<id_t>(gettid());
  if (getpriority(PRIO_PROCESS, thread) < kNice) setpriority(PRIO_PROCESS, thread, kNice);
}

}  // namespace halveron::platform
