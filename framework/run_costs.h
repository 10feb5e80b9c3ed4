// What the modules of a plan cost, by the clock.
#pragma once

#include <chrono>
#include <cstddef>
#include <cstdint>
#include <vector>

namespace halveron {

/// Times that were added up over some host samples. Filled on the audio thread, by plain arithmetic
/// and a clock that is read without a system call.
struct RunCosts {
  /// Of each of the plan's instances in its order, and at the end of the cables. A team's time is
  /// that of its first instance.
  std::vector<std::int64_t> nanoseconds;
  std::vector<std::int64_t> present;  ///< of the sample that is being measured
  std::int64_t samples = 0;

  void Clear(std::size_t instances) {
    nanoseconds.assign(instances + 1, 0);
    present = nanoseconds;
    samples = 0;
  }
  /// The sample is complete. It counts, or is left out.
  void EndSample(bool counts) {
    for (std::size_t i = 0; i < present.size(); ++i) {
      if (counts) nanoseconds[i] += present[i];
      present[i] = 0;
    }
    if (counts) ++samples;
  }
};

/// Hands the time of one host sample to those who took it, one after the other.
class RunStopwatch {
 public:
  RunStopwatch() : start_(Clock::now()), last_(start_) {}

  /// What has passed since the last call was taken by one of the costs.
  void Charge(RunCosts& costs, std::size_t index) {
    const Clock::time_point now = Clock::now();
    costs.present[index] += Nanoseconds(now - last_);
    last_ = now;
    ++reads_;
  }
  /// What has passed is nobody's.
  void Skip() {
    last_ = Clock::now();
    ++reads_;
  }
  int Reads() const { return reads_; }
  /// Up to the last call.
  std::int64_t Passed() const { return Nanoseconds(last_ - start_); }

 private:
  using Clock = std::chrono::steady_clock;
  static std::int64_t Nanoseconds(Clock::duration time) {
    return std::chrono::duration_cast<std::chrono::nanoseconds>(time).count();
  }

  Clock::time_point start_, last_;
  int reads_ = 0;
};

}  // namespace halveron
