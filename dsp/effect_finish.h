// The last stage of an effect: mix with the dry signal, DC blocker, limiter.
#pragma once

#include "dsp/dc_blocker.h"
#include "dsp/shaping.h"

namespace halveron::dsp {

/// Mix of 0 (dry) to 1 (wet).
inline double LinearMix(double dry, double wet, double mix) {
  return wet * mix + (1.0 - mix) * dry;
}

/// The same, raised towards the middle, where the sum has a gain of 2, as dry and wet signals that
/// have nothing in common add up to less than their sum.
inline double CompensatedMix(double dry, double wet, double mix) {
  const double gain = mix < 0.5 ? mix + 0.5 : 1.5 - mix;
  return ((1.0 - mix) * dry + mix * wet) * gain * 2.0;
}

/// DC blocker and limiter of one output. The blocker goes on from what was not yet limited.
class EffectFinish {
 public:
  /// `rate` in hertz.
  void Prepare(float rate) { pole_ = DcBlockerPole(rate); }

  /// The output within -level..level; sets `limited` where it had to be limited.
  float Step(double x, float level, bool& limited) {
    // A MIDI word on an audio input may be a NaN, which would stay in the blocker.
    const auto y = ToFloat(blocker_.Step(FiniteOrZero(x), pole_));
    const float out = LimitSymmetric(y, level);
    limited |= out != y;
    return out;
  }

 private:
  DcBlocker<double> blocker_;
  double pole_ = 0.0;
};

}  // namespace halveron::dsp
