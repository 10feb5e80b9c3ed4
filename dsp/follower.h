// Followers: two one-pole trapezoidal low-passes in series, after Zavalishin, "The Art of VA Filter
// Design". All gains go through Warp; g0 = pi * corner / rate.
#pragma once

#include <tuple>

#include "dsp/lanes.h"
#include "dsp/shaping.h"

namespace halveron::dsp {

/// Envelope of a signal: twice the smoothed magnitude, so that a sine of amplitude 1 gives 1.27 and
/// a constant 1 gives 2.
template <class Lanes = OneVoice>
struct EnvelopeFollower {
  using Float = typename Lanes::Float;
  using Double = typename Lanes::Double;

  Double c1 = 1.0, c2 = 0.0, c3 = 1.0, c4 = 0.0;
  Double s1 = 0.0, s2 = 0.0;

  template <class Self>
  static auto State(Self& self) {
    return std::tie(self.s1, self.s2);
  }

  void SetGain(Double g0) {
    const Double g = Warp(g0);
    const Double a = g + 1.0;
    const Double d = 1.0 / (a * a);
    c1 = 1.0 / a;
    c2 = g / a;
    c3 = d * a;
    c4 = d * a * g;
  }

  Double Step(Float in) {
    const Double x = ToDouble(Abs(in)) * c4;
    const Double v = s1 * c3 + x;
    const Double y = s2 * c1 + v * c2;
    s1 = 2.0 * v - s1;
    s2 = 2.0 * y - s2;
    return 2.0 * y;
  }
};

/// Smooths a control whose course is heard as pitch: its output starts to move with no kink.
struct ControlSmoother {
  double a = 1.0, b = 0.0;
  double s1 = 0.0, s2 = 0.0;

  void SetGain(double g0) {
    const double g = Warp(g0);
    a = 1.0 / (1.0 + g);
    b = g * a;
  }
  /// Rests at `value`.
  void Settle(double value) { s1 = s2 = value; }

  double Step(double x) {
    const double y1 = x * b + s1 * a;
    s1 = 2.0 * y1 - s1;
    const double y2 = s2 * a + y1 * b;
    s2 = 2.0 * y2 - s2;
    return y2;
  }
};

}  // namespace halveron::dsp
