// How much of the time that blocks of sound have is used.
#pragma once

#include <atomic>
#include <chrono>

namespace halveron {

/// Blocks are added on the audio thread, by plain arithmetic; readings may be taken on any other.
class LoadMeter {
 public:
  struct Reading {
    float share = 0;    ///< of the time of the last blocks, 1 for all of it
    float peak = 0;     ///< the largest share of late, falling slowly
    unsigned late = 0;  ///< blocks that took longer than they sound
  };

  /// A block that sounds for `seconds` took `used` seconds to make. Blocks shorter than a
  /// millisecond are taken together, as a block that a host cut at its events.
  void Add(double used, double seconds) {
    used_ += used;
    seconds_ += seconds;
    if (seconds_ < kShortest) return;
    const auto share = static_cast<float>(used_ / seconds_);
    // First-order low-pass and peak fall-off, by the length of the block.
    const auto passed = static_cast<float>(seconds_);
    const float before = share_.load(std::memory_order_relaxed);
    const float follow = passed / (passed + kAverageTime);
    share_.store(before + (share - before) * follow, std::memory_order_relaxed);
    const float fallen = peak_.load(std::memory_order_relaxed) * kPeakTime / (kPeakTime + passed);
    peak_.store(share > fallen ? share : fallen, std::memory_order_relaxed);
    if (share > 1) late_.fetch_add(1, std::memory_order_relaxed);
    used_ = seconds_ = 0;
  }

  Reading Read() const {
    return {share_.load(std::memory_order_relaxed), peak_.load(std::memory_order_relaxed),
            late_.load(std::memory_order_relaxed)};
  }
  void ForgetLate() { late_.store(0, std::memory_order_relaxed); }

 private:
  static constexpr double kShortest = 0.001;
  static constexpr float kAverageTime = 0.5f;  // seconds
  static constexpr float kPeakTime = 3;

  double used_ = 0;
  double seconds_ = 0;
  std::atomic<float> share_ = 0;
  std::atomic<float> peak_ = 0;
  std::atomic<unsigned> late_ = 0;
};

/// Measures a block from its beginning to its end. The clock is read without a system call.
class MeteredBlock {
 public:
  MeteredBlock(LoadMeter& meter, int frames, double rate)
      : meter_(meter), seconds_(rate > 0 ? frames / rate : 0), start_(Clock::now()) {}
  ~MeteredBlock() {
    meter_.Add(std::chrono::duration<double>(Clock::now() - start_).count(), seconds_);
  }
  MeteredBlock(const MeteredBlock&) = delete;
  MeteredBlock& operator=(const MeteredBlock&) = delete;

 private:
  using Clock = std::chrono::steady_clock;
  LoadMeter& meter_;
  double seconds_;
  Clock::time_point start_;
};

}  // namespace halveron
