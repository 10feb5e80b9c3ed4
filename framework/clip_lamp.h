// The lamp of a limited output.
#pragma once

#include "dsp/effect_finish.h"
#include "framework/module_controls.h"

namespace halveron {

/// Limits samples and is lit for 0.2 s after the last one that it had to limit.
class ClipLamp : public HeldLamp {
 public:
  void SetSampleRate(float sampleRate) { SetHold(sampleRate, 0.2); }

  /// The sample within -level..level. Tick once per sample, before this.
  template <class Real>
  Real Limit(Real x, std::type_identity_t<Real> level) {
    if (x > level) {
      Light();
      return level;
    }
    if (x < -level) {
      Light();
      return -level;
    }
    return x;
  }

  /// The last stage of an effect: DC blocker and limit.
  float Finish(dsp::EffectFinish& finish, double x, float level) {
    bool limited = false;
    const float out = finish.Step(x, level, limited);
    if (limited) Light();
    return out;
  }
};

}  // namespace halveron
