// How long a lock is held.
#pragma once

#include "platform/recursive_lock.h"

namespace halveron::benchmarks {

/// Times the holds of one lock by any thread while it lives; one probe at a time. The program is
/// linked so that all locking passes by it (--wrap of the linker): what is measured has no probe
/// built in.
class LockProbe {
 public:
  explicit LockProbe(const platform::RecursiveLock& lock);
  ~LockProbe();
  LockProbe(const LockProbe&) = delete;
  LockProbe& operator=(const LockProbe&) = delete;

  /// Of the holds that have ended, the time that the holder computed, without that for which the
  /// system ran others; a lock that is taken again inside counts once.
  double LongestSeconds() const;
};

}  // namespace halveron::benchmarks
