// Knobs of the loops that are written out by hand.
#pragma once

#include <array>
#include <cstddef>

#include "framework/knob_cell.h"
#include "framework/module_controls.h"

namespace halveron::benchmarks {

/// At rest, with the default smoothing at a rate in hertz.
template <std::size_t N>
void SetKnobs(std::array<KnobCell, N>& knobs, const float (&values)[N], float rate) {
  for (std::size_t i = 0; i < N; ++i) {
    knobs[i].value = values[i];
    knobs[i].smoothed_value = values[i];
    knobs[i].smooth_step = 1000.0f / (kDefaultSmoothDelay * rate);
  }
}

template <std::size_t N>
void SmoothAll(std::array<KnobCell, N>& knobs) {
  for (KnobCell& knob : knobs) knob.SmoothValue();
}

}  // namespace halveron::benchmarks
