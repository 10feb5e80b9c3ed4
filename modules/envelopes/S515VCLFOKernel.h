// S515 VCLFO kernel: seven waves from one phase, free or at a multiple of a clock.
#pragma once

#include <algorithm>
#include <cmath>

#include "dsp/clock_follower.h"
#include "dsp/edge.h"
#include "dsp/shaping.h"

namespace halveron {

struct S515VCLFOKernel {
  enum Waveform : int { kSawUp, kSawDown, kSine, kSquare, kTriangle, kTriangleDouble, kThreePart };

  // Coefficients: cycles per sample at both ends of Rate.
  double rateMin = 0.0;
  double rateMax = 0.0;
  bool lowRange = true;
  int waveform = kSawUp;

  // State.
  double phase = 0.0;  ///< 0..1
  dsp::ClockFollower clock;
  float lastReset = 0.0f;

  /// Low range: 0 to 25 Hz. Else the audio band, 14 to 1700 Hz.
  void Prepare(float rate, bool low) {
    lowRange = low;
    rateMin = low ? 0.0 : 14.0 / rate;
    rateMax = (low ? 25.0 : 1700.0) / rate;
  }

  /// A whole multiple of the clock, 1 to 16 in low range, else 2 to 256.
  double ClockedIncrement(float rate, float rateCv, float amount) const {
    const float c = rateCv * amount;
    const float n = lowRange ? (c + rate) * 15.0f + 1.0f : (c + rate * rate) * 254.0f + 2.0f;
    if (!(n > 0.0f)) return 0.0;
    return LimitIncrement(dsp::RoundHalfDown(std::min(n, kHighestMultiple)) * clock.increment);
  }

  /// Cubic law of Rate between both ends.
  double FreeIncrement(double rate, float rateCv, double amount) const {
    return LimitIncrement((rateCv * amount + rate * rate * rate) * (rateMax - rateMin) + rateMin);
  }

  /// On a trigger the phase goes to `start`, 0..1; `i` is the present increment.
  void FollowReset(float reset, float start, double i) {
    if (dsp::IsRisingEdge(lastReset, reset)) {
      const double target = start * (1.0 - i) + i;
      if (target >= 0.0 && target <= 1.0) phase = target;
    }
    lastReset = reset;
  }

  /// The wave at the present phase, -1..1, then one increment on.
  double Advance(double i) {
    const double v = Wave(waveform, phase, i);
    phase += i;
    if (phase >= 1.0) phase -= 1.0;
    return v;
  }

  /// Rounds toward zero to whole multiples of `step`, of which 0 leaves the value alone.
  static double Quantise(double v, double step) {
    const double s = dsp::LimitSymmetric(step, kLargestStep);
    return s != 0.0 ? std::trunc(v / s) * s : v;
  }

  /// A jump of a wave takes the one sample in which the phase has passed it by less than `i`.
  static double Wave(int waveform, double p, double i) {
    switch (waveform) {
      case kSawUp:
        return p >= i ? 2.0 * p - 1.0 : Falling(p, i);
      case kSawDown:
        return p >= i ? 1.0 - 2.0 * p : Rising(p, i);
      case kSine: {
        const double v = 4.0 * p;
        return p > 0.5 ? (v - 3.0) * (v - 3.0) - 1.0 : 1.0 - (v - 1.0) * (v - 1.0);
      }
      case kSquare: {
        if (p < 0.5) return p >= i ? 1.0 : Rising(p, i);
        const double q = p - 0.5;
        return q >= i ? -1.0 : Falling(q, i);
      }
      case kTriangle:
        return p > 0.5 ? 1.0 - (p - 0.5) * 4.0 : 4.0 * p - 1.0;
      case kTriangleDouble:
        if (p <= 0.5) return 4.0 * p - 1.0;
        if (p <= 2.0 / 3.0) return 1.0 - (p - 0.5) * 12.0;
        if (p <= 5.0 / 6.0) return (p - 2.0 / 3.0) * 12.0 - 1.0;
        return 1.0 - (p - 5.0 / 6.0) * 12.0;
      default: {
        if (p <= 1.0 / 3.0) return p >= i ? 6.0 * p - 1.0 : Falling(p, i);
        const bool middle = p <= 2.0 / 3.0;
        const double q = p - (middle ? 1.0 / 3.0 : 2.0 / 3.0);
        if (middle) return q >= i ? -1.0 : Falling(q, i);
        return q >= i ? 1.0 : Rising(q, i);
      }
    }
  }

 private:
  static constexpr double kHighestIncrement = 0.5;
  static constexpr double kLargestStep = 0.999;
  // With the slowest clock it still gives the highest increment, and it fits an int.
  static constexpr float kHighestMultiple = 0x1p30f;

  static double Falling(double past, double i) { return 1.0 - (past / i) * 2.0; }
  static double Rising(double past, double i) { return (past / i) * 2.0 - 1.0; }

  // What is no number stands still.
  static double LimitIncrement(double i) { return i > 0.0 ? std::min(i, kHighestIncrement) : 0.0; }
};

}  // namespace halveron
