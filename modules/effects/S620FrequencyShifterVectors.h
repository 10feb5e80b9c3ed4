// The filters of the S620 Frequency Shifter in the lanes of vectors.
#pragma once

#include "dsp/vector_units.h"
#include "modules/effects/S620FrequencyShifterKernel.h"

namespace halveron {

template <class Unit>
[[gnu::flatten]] S620FrequencyShifterKernel::Complex S620FrequencyShifterVectors<Unit>::Step(
    S620FrequencyShifterKernel& kernel, const S620FrequencyShifterKernel::Complex& x) {
  return kernel.Step<dsp::FourLanes<Unit>>(x);
}

}  // namespace halveron
