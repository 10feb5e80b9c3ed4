// The clock that the transport modules make of the host's tempo: its resolutions and its pulse.
#pragma once

#include <array>

#include "dsp/counters.h"

namespace halveron {

inline constexpr std::array<int, 5> kTicksPerQuarter{24, 8, 4, 2, 1};

/// Position of a knob whose value times the last position is given. A NaN counts as 0.
inline int ClockResolutionPosition(double scaled) {
  constexpr int kLast = static_cast<int>(kTicksPerQuarter.size()) - 1;
  if (scaled >= kLast) return kLast;
  return scaled > 0 ? static_cast<int>(scaled) : 0;
}

/// Samples that a pulse stays up: 30 % of a tick, where each sample is a given part of a tick.
inline int ClockPulseSamples(double ticksPerSample) {
  constexpr int kLongest = dsp::kIdleCounter - 1;
  const double samples = 0.3 / ticksPerSample;
  return samples < kLongest ? static_cast<int>(samples) : kLongest;
}

}  // namespace halveron
