// The combs of the S616 Stereo Reverb in the lanes of vectors.
#pragma once

#include "dsp/pack.h"
#include "modules/effects/S616StereoReverbKernel.h"

namespace halveron {

template <class Unit>
[[gnu::flatten]] S616Stereo S616StereoReverbVectors<Unit>::Step(
    S616CombBank& bank, const S616Stereo& in, const S616CombBank::Controls& controls) {
  return bank.Step<dsp::VoicesOf<Unit>>(in, controls);
}

}  // namespace halveron
