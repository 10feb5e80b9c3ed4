// Edge detection on gates, triggers and clocks.
#pragma once

namespace halveron::dsp {

inline constexpr float kGateThreshold = 0.25f;

/// True when a signal crosses the gate threshold upward between two samples.
inline bool IsRisingEdge(float previous, float present) {
  return previous < kGateThreshold && present >= kGateThreshold;
}

}  // namespace halveron::dsp
