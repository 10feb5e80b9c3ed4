// The envelope that distortions take their levels from.
#pragma once

#include <algorithm>
#include <numbers>

#include "dsp/follower.h"

namespace halveron {

/// Gain of a follower with a corner of 5 to 95 Hz for a knob k of 0..1.
inline double EnvelopeGain(double k, float sampleRate) {
  return (k * 90.0 + 5.0) * std::numbers::pi / sampleRate;
}

/// The envelope of a signal, kept from 0 so that one may divide by it.
inline double StepEnvelope(dsp::EnvelopeFollower<>& follower, float in) {
  constexpr double kLowest = 0.0001;
  return std::max(follower.Step(in), kLowest);
}

}  // namespace halveron
