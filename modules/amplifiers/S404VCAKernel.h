// S404 VCA kernel: the gain laws and the crossfade.
#pragma once

#include "dsp/lanes.h"

namespace halveron {

template <class Lanes = dsp::OneVoice>
struct S404VCAKernel {
  using Float = typename Lanes::Float;
  using Double = typename Lanes::Double;

  enum Law : int { kLinear, kSquare, kInverseSquare };

  static constexpr double kFullGain = 20.0;

  /// The gain, which mutes at 0 and below. `base` 0..1 acts by its square: unity gain is at the
  /// square root of 0.05. `amount` 0..1 scales what the control voltage adds by `law`.
  static Float Gain(int law, Double base, Double amount, Double cv) {
    const Double k2 = base * base;
    switch (law) {
      case kLinear:
        return dsp::ToFloat((cv * amount + k2) * kFullGain);
      case kSquare: {
        const Double share = cv * amount * cv;
        return dsp::ToFloat(dsp::Select(cv >= 0.0, share + k2, k2 - share) * kFullGain);
      }
      default: {
        const Double rest = dsp::Select(cv >= 0.0, 1.0 - cv, cv + 1.0);
        const Double share = (1.0 - rest * rest) * amount;
        return dsp::ToFloat(dsp::Select(cv >= 0.0, share + k2, k2 - share) * kFullGain);
      }
    }
  }

  /// A channel before it is limited.
  static Float Amplify(Float in, Double level, Float gain) {
    return dsp::ToFloat(dsp::ToDouble(in) * level * dsp::ToDouble(gain));
  }

  /// Both channels at a crossfade of -1 (all of the first) to +1 (all of the second).
  static Float Mix(Float first, Float second, Float crossfade) {
    const Double f = 0.5 - dsp::ToDouble(crossfade) * 0.5;
    return dsp::ToFloat((1.0 - f) * dsp::ToDouble(second) + f * dsp::ToDouble(first));
  }
};

}  // namespace halveron
