// S515 VCLFO kernel: seven waves from one phase, free or at a multiple of a clock.
#pragma once

#include <cmath>
#include <tuple>

#include "dsp/clock_follower.h"
#include "dsp/edge.h"
#include "dsp/lanes.h"
#include "dsp/shaping.h"

namespace halveron {

template <class Lanes = dsp::OneVoice>
struct S515VCLFOKernel {
  using Float = typename Lanes::Float;
  using Double = typename Lanes::Double;

  enum Waveform : int { kSawUp, kSawDown, kSine, kSquare, kTriangle, kTriangleDouble, kThreePart };

  // The same for all voices: cycles per sample at both ends of Rate, and the panel's choices.
  double rateMin = 0.0;
  double rateMax = 0.0;
  bool lowRange = true;
  int waveform = kSawUp;

  // State.
  Double phase = 0.0;  ///< 0..1
  dsp::ClockFollower<Lanes> clock;
  Float lastReset = 0.0f;

  template <class Self>
  static auto Settings(Self& self) {
    return std::tie(self.rateMin, self.rateMax, self.lowRange, self.waveform);
  }
  template <class Self>
  static auto State(Self& self) {
    return std::tuple_cat(std::tie(self.phase, self.lastReset), self.clock.State(self.clock));
  }

  /// Low range: 0 to 25 Hz. Else the audio band, 14 to 1700 Hz.
  void Prepare(float rate, bool low) {
    lowRange = low;
    rateMin = low ? 0.0 : 14.0 / rate;
    rateMax = (low ? 25.0 : 1700.0) / rate;
  }

  /// A whole multiple of the clock, 1 to 16 in low range, else 2 to 256.
  Double ClockedIncrement(Float rate, Float rateCv, Float amount) const {
    const Float c = rateCv * amount;
    const Float n = lowRange ? (c + rate) * 15.0f + 1.0f : (c + rate * rate) * 254.0f + 2.0f;
    const auto isPositive = n > 0.0f;
    const Float limited = dsp::Select(isPositive, dsp::Min(n, Float(kHighestMultiple)), 0.0f);
    const Double i = dsp::ToDouble(dsp::RoundHalfDown(limited)) * clock.increment;
    return dsp::Select(isPositive, LimitIncrement(i), 0.0);
  }

  /// Cubic law of Rate between both ends.
  Double FreeIncrement(Double rate, Float rateCv, Double amount) const {
    return LimitIncrement(
        (dsp::ToDouble(rateCv) * amount + rate * rate * rate) * (rateMax - rateMin) + rateMin);
  }

  /// On a trigger the phase goes to `start`, 0..1; `i` is the present increment.
  void FollowReset(Float reset, Float start, Double i) {
    const auto triggered = dsp::IsRisingEdge(lastReset, reset);
    lastReset = reset;
    if (!dsp::Any(triggered)) return;
    const Double target = dsp::ToDouble(start) * (1.0 - i) + i;
    const auto isPhase = dsp::And(target >= 0.0, target <= 1.0);
    phase = dsp::Select(dsp::And(triggered, isPhase), target, phase);
  }

  /// The wave at the present phase, -1..1, then one increment on.
  Double Advance(Double i) {
    const Double v = Wave(waveform, phase, i);
    const Double next = phase + i;
    phase = dsp::Select(next >= 1.0, next - 1.0, next);
    return v;
  }

  /// Rounds toward zero to whole multiples of `step`, of which 0 leaves the value alone.
  static Double Quantise(Double v, Double step) {
    const Double s = dsp::LimitSymmetric(step, kLargestStep);
    Double rounded = v;
    dsp::ForEachLane(s != 0.0, [&](int lane) {
      const double size = dsp::Lane(s, lane);
      dsp::Lane(rounded, lane) = std::trunc(dsp::Lane(v, lane) / size) * size;
    });
    return rounded;
  }

  /// A jump of a wave takes the one sample in which the phase has passed it by less than `i`.
  static Double Wave(int waveform, Double p, Double i) {
    switch (waveform) {
      case kSawUp:
        return Jump(p, i, true, 2.0 * p - 1.0);
      case kSawDown:
        return Jump(p, i, false, 1.0 - 2.0 * p);
      case kSine: {
        const Double v = 4.0 * p;
        return dsp::Select(p > 0.5, (v - 3.0) * (v - 3.0) - 1.0, 1.0 - (v - 1.0) * (v - 1.0));
      }
      case kSquare:
        return dsp::Select(p < 0.5, Jump(p, i, false, 1.0), Jump(p - 0.5, i, true, -1.0));
      case kTriangle:
        return dsp::Select(p > 0.5, 1.0 - (p - 0.5) * 4.0, 4.0 * p - 1.0);
      case kTriangleDouble:
        return dsp::Select(p <= 0.5, 4.0 * p - 1.0,
                           dsp::Select(p <= 2.0 / 3.0, 1.0 - (p - 0.5) * 12.0,
                                       dsp::Select(p <= 5.0 / 6.0, (p - 2.0 / 3.0) * 12.0 - 1.0,
                                                   1.0 - (p - 5.0 / 6.0) * 12.0)));
      default:
        return dsp::Select(p <= 1.0 / 3.0, Jump(p, i, true, 6.0 * p - 1.0),
                           dsp::Select(p <= 2.0 / 3.0, Jump(p - 1.0 / 3.0, i, true, -1.0),
                                       Jump(p - 2.0 / 3.0, i, false, 1.0)));
    }
  }

 private:
  static constexpr double kHighestIncrement = 0.5;
  static constexpr double kLargestStep = 0.999;
  // With the slowest clock it still gives the highest increment, and it fits an int.
  static constexpr float kHighestMultiple = 0x1p30f;

  /// `after` from one sample behind a jump on; on its way there before.
  static Double Jump(Double past, Double i, bool falls, Double after) {
    const auto isPast = past >= i;
    if (dsp::All(isPast)) return after;
    const Double part = (past / i) * 2.0;
    return dsp::Select(isPast, after, falls ? 1.0 - part : part - 1.0);
  }

  // A NaN leaves the phase where it is.
  static Double LimitIncrement(Double i) {
    return dsp::Select(i > 0.0, dsp::Min(i, Double(kHighestIncrement)), 0.0);
  }
};

}  // namespace halveron
