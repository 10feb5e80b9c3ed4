// The period of a sequencer's clock.
#pragma once

#include <algorithm>
#include <cstdint>

#include "dsp/counters.h"
#include "framework/byte_io.h"

namespace halveron {

/// Measured in samples from clock to clock. Before the first one, the period is almost endless.
class ClockPeriod {
 public:
  int Samples() const { return samples_; }
  double Increment() const { return 1.0 / samples_; }  ///< clocks a sample

  /// A sample without a clock.
  void Count() { dsp::CountInterval(sinceClock_); }
  /// A sample with one.
  void TakeClock() {
    samples_ = std::max(sinceClock_, 1);
    sinceClock_ = 1;
  }
  /// A clock that comes at once finds the period as it was.
  void Hold() { sinceClock_ = samples_; }
  void Set(int samples) {
    samples_ = samples;
    Hold();
  }
  void Forget() { Set(dsp::kIdleCounter); }

  // Preset data: a 32-bit integer.

  static constexpr int kBytes = sizeof(std::int32_t);
  void Write(ByteWriter writer) const { writer.Write(static_cast<std::int32_t>(samples_)); }
  /// Takes over a period, which the first clock ends wherever it comes. False if there is none.
  bool Read(ByteReader& reader) {
    std::int32_t samples = 0;
    if (!reader.Read(samples)) return false;
    samples_ = std::clamp(samples, 1, dsp::kIdleCounter);
    return true;
  }

 private:
  int samples_ = dsp::kIdleCounter;
  int sinceClock_ = dsp::kIdleCounter;
};

}  // namespace halveron
