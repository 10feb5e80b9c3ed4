// Values of the host parameters for threads that cannot wait for the processing lock.
#pragma once

#include <array>
#include <atomic>
#include <cstddef>

#include "framework/parameter_marks.h"
#include "framework/rack_limits.h"

namespace halveron {

/// Two tables, one in each direction: values that a host has set and no control has taken yet, and
/// a mirror of what the controls hold. Indices are 0 to kParameterCount - 1. Any thread, lock-free.
class HostParameters {
 public:
  /// The mirror: values without the host's modulation, 0 where no control has the parameter.
  float Get(int index) const { return mirror_[At(index)].load(std::memory_order_relaxed); }
  void Mirror(int index, float value) {
    mirror_[At(index)].store(value, std::memory_order_relaxed);
  }

  /// Leaves a value for the next TakePosted; an earlier one of the same parameter is replaced.
  void Post(int index, float value) {
    posted_[At(index)].store(value, std::memory_order_relaxed);
    marks_.Set(index);
  }
  bool HasPosted() const { return marks_.Any(); }

  /// Calls take(index, value) for each value that waits. Inside the processing lock.
  template <class F>
  void TakePosted(F&& take) {
    marks_.TakeEach(
        [&](int index) { take(index, posted_[At(index)].load(std::memory_order_relaxed)); });
  }

 private:
  using Values = std::array<std::atomic<float>, kParameterCount>;

  static std::size_t At(int index) { return static_cast<std::size_t>(index); }

  Values mirror_{};
  Values posted_{};
  ParameterMarks marks_;
};

}  // namespace halveron
