// Sample counters of pulses, lamps and clock intervals.
#pragma once

namespace halveron::dsp {

/// A counter that is idle, and the place where a counter that measures an interval stands still.
inline constexpr int kIdleCounter = 0x7FFFFFFE;

/// Counts an interval in samples. Rests at kIdleCounter instead of overflowing.
inline void CountInterval(int& samples) {
  if (samples < kIdleCounter) ++samples;
}

/// A pulse that ends a given number of samples after its last start.
class PulseCounter {
 public:
  void Start(int samples) { remaining_ = samples > 0 ? samples : 1; }
  void Cancel() { remaining_ = kIdleCounter; }
  bool IsRunning() const { return remaining_ != kIdleCounter; }

  /// Counts one sample; true on the sample that ends the pulse.
  bool Tick() {
    if (remaining_ == kIdleCounter || --remaining_ > 0) return false;
    remaining_ = kIdleCounter;
    return true;
  }

 private:
  int remaining_ = kIdleCounter;
};

}  // namespace halveron::dsp
