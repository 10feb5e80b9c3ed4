// Edge detection on gates, triggers and clocks.
#pragma once

#include "dsp/lanes.h"

namespace halveron::dsp {

inline constexpr float kGateThreshold = 0.25f;

/// True when a signal crosses the gate threshold upward between two samples.
template <class Float>
inline auto IsRisingEdge(const Float& previous, const Float& present) {
  return And(previous < kGateThreshold, present >= kGateThreshold);
}

}  // namespace halveron::dsp
