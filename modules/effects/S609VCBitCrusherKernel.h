// Sound of the S609: sample-rate and step-size reduction.
#pragma once

#include <cmath>

#include "dsp/follower.h"
#include "dsp/shaping.h"

namespace halveron {

/// The step size follows the envelope of the signal, so that soft passages keep their resolution.
struct S609VCBitCrusherKernel {
  static constexpr double kSmallestStep = 2.220446049250313e-16;
  static constexpr double kRateLimit = 1.0;  ///< of the phase that lets a sample through

  struct Controls {
    double rate;    ///< limited to 0..1; 1 lets every sample through
    double offset;  ///< of the grid; 0.5 for none, or in envelopes with `offsetByCv`
    bool offsetByCv;
    double depth;  ///< step size in envelopes
  };

  double speed_min = 0.0, speed_max = 0.0;

  dsp::EnvelopeFollower<> follower;
  double rate_phase = 0.0;
  double held = 0.0;

  void Prepare(float rate) {
    const double inverseRate = 1.0f / rate;
    speed_min = 15.70796326794895 * inverseRate;
    speed_max = 219.9114857512853 * inverseRate;
  }
  /// Speed of the envelope, k of 0..1.
  void SetSpeed(double k) { follower.SetGain((speed_max - speed_min) * (k * k) + speed_min); }

  double Step(float audio, const Controls& controls) {
    const double e = follower.Step(audio);
    const double r = dsp::LimitUnit(controls.rate);
    rate_phase += r * r * r * r * 0.99 + 0.01;
    if (rate_phase < kRateLimit) return held;
    rate_phase -= kRateLimit;
    const double o = controls.offsetByCv ? controls.offset * e : (e + e) * controls.offset - e;
    const double s = controls.depth * e;
    if (s >= -kSmallestStep && s <= kSmallestStep) {
      held = audio;
    } else {
      held = dsp::FiniteOrZero(std::trunc((o + audio) / s) * s - o);
    }
    return held;
  }
};

}  // namespace halveron
