// The sample that a sampler plays, shared by its voices.
#pragma once

#include <algorithm>
#include <atomic>
#include <cmath>
#include <memory>

#include "dsp/zeroed_memory.h"

namespace halveron {

struct SampleTables;

/// What a sample may hold: no number that is not finite, nor one from which arithmetic would make
/// such a number.
inline float HeldSample(float value) {
  constexpr float kLargestValue = 1e6f;
  return std::isfinite(value) ? std::clamp(value, -kLargestValue, kLargestValue) : 0.0f;
}

inline constexpr int kFrontSampleGuard = 10, kBackSampleGuard = 11;

/// Fills what lies around samples: with the other end of a cycle, else with the value at the end.
inline void FillSampleGuards(float* samples, int length, bool isCycle) {
  for (int i = 1; i <= kFrontSampleGuard; ++i) {
    samples[-i] = length == 0 ? 0.0f
                  : isCycle   ? samples[length - 1 - (i - 1) % length]
                              : samples[0];
  }
  for (int i = 0; i < kBackSampleGuard; ++i) {
    samples[length + i] = length == 0 ? 0.0f : isCycle ? samples[i % length] : samples[length - 1];
  }
}

/// A mono sample in memory, with guards on both sides so that interpolation may read past its ends.
class SampleBuffer {
 public:
  static constexpr int kLargest = 250000000;  ///< samples
  static constexpr int kFrontGuard = kFrontSampleGuard;
  static constexpr int kBackGuard = kBackSampleGuard;

  /// Room for `capacity` samples, all 0, of which none is in use. Null if there is no memory.
  static std::shared_ptr<SampleBuffer> Make(int capacity) {
    auto buffer = std::make_shared<SampleBuffer>();
    if (!buffer->memory_.Take(static_cast<std::size_t>(capacity) + kFrontGuard + kBackGuard)) {
      return nullptr;
    }
    buffer->capacity_ = capacity;
    return buffer;
  }

  float* Samples() { return memory_.Floats() + kFrontGuard; }
  const float* Samples() const { return memory_.Floats() + kFrontGuard; }
  int Capacity() const { return capacity_; }
  /// Samples in use. A recording changes it while others look.
  int Length() const { return length_.load(std::memory_order_relaxed); }
  void SetLength(int length) { length_.store(length, std::memory_order_relaxed); }

  /// Fills the guards around the samples in use: with the other end of a cycle, else with the value
  /// at the end.
  void FillGuards(bool isCycle) { FillSampleGuards(Samples(), Length(), isCycle); }

 private:
  dsp::ZeroedMemory memory_;
  int capacity_ = 0;
  std::atomic<int> length_ = 0;
};

/// Sample rates that a sample may have, in hertz: 768 kHz, oversampled by 256, is the highest at
/// which anything is recorded.
inline constexpr double kLowestSampleRate = 1.0, kHighestSampleRate = 200.0e6;

/// A sample as it is handed to the audio thread. The buffer's samples belong to that thread while
/// it records; at all other times nobody changes them.
struct SampleSet {
  std::shared_ptr<SampleBuffer> buffer;          ///< never null
  double rate = 44100.0;                         ///< hertz at which the sample plays as it is
  std::shared_ptr<const SampleTables> tables{};  ///< null: played raw
  int quality = 0;                               ///< the position that the tables are made for
  bool isCycle = false;                          ///< tables and guards are those of one cycle
};

}  // namespace halveron
