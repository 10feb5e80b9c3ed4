// The stages of the S626 Dual Band Phaser in the lanes of vectors.
#pragma once

#include "dsp/vector_units.h"
#include "modules/effects/S626DualBandPhaserKernel.h"

namespace halveron {

template <class Unit>
[[gnu::flatten]] PhaserBank::Signals S626DualBandPhaserVectors<Unit>::Step(
    PhaserBank& bank, const PhaserBank::Signals& in, const PhaserBank::Controls& controls) {
  return bank.Step<dsp::FourLanes<Unit>>(in, controls);
}

}  // namespace halveron
