// Edge detection on gates, triggers and clocks.
#pragma once

#include "dsp/lanes.h"

namespace halveron::dsp {

inline constexpr float kGateThreshold = 0.25f;
/// A reset input counts as low at or below this.
inline constexpr float kResetLow = 0.15f;

/// True when a signal crosses the gate threshold upward between two samples.
template <class Float>
inline auto IsRisingEdge(const Float& previous, const Float& present) {
  return And(previous < kGateThreshold, present >= kGateThreshold);
}

/// Finds the rising edges of one signal.
template <class Lanes = OneVoice>
struct EdgeDetector {
  using Float = typename Lanes::Float;

  Float last = 0.0f;  ///< previous sample

  /// One sample; true on a rising edge.
  auto Step(const Float& present) {
    const auto rises = IsRisingEdge(last, present);
    last = present;
    return rises;
  }
};

}  // namespace halveron::dsp
