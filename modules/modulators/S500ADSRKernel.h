// S500 ADSR kernel: a closed-form envelope.
#pragma once

#include <algorithm>
#include <cmath>
#include <tuple>

#include "dsp/edge.h"
#include "dsp/lanes.h"

namespace halveron {

/// Nothing is integrated: a count of samples is mapped to a level by the law of the present
/// segment, so segments do not drift and a turned knob acts at once.
template <class Lanes = dsp::OneVoice>
struct S500ADSRKernel {
  using Float = typename Lanes::Float;
  using Double = typename Lanes::Double;

  /// Positions of the four stage knobs, 0..1. Times follow their cubes.
  struct Stages {
    Double attack = 0.0;
    Double decay = 0.0;
    Double sustain = 0.0;
    Double release = 0.0;
  };

  /// Reach of a stage's time, in samples.
  struct TimeRange {
    double shortest = 1.0;
    double longest = 1.0;

    Double At(Double position) const {
      return (longest - shortest) * (position * position * position) + shortest;
    }
  };

  static constexpr double kShortestAttack = 0.0011337868480725624;  // seconds
  static constexpr double kShortestDecay = 0.0020408163265306124;
  static constexpr double kLongest = 22.0;

  // The same for all voices.
  TimeRange attackTime;
  TimeRange decayTime;
  TimeRange releaseTime;
  bool linear = true;  ///< straight segments; else curved ones

  // State.
  Double t = 0.0;  ///< samples since the segment began
  Double releaseLevel = 0.0;
  Float lastGate = 0.0f;
  Float lastRetrigger = 0.0f;

  // Outputs.
  Float envelope = 0.0f;     ///< 0..1
  Float sustainFlag = 0.0f;  ///< 1 while at sustain, else 0

  template <class Self>
  static auto Settings(Self& self) {
    return std::tie(self.attackTime.shortest, self.attackTime.longest, self.decayTime.shortest,
                    self.decayTime.longest, self.releaseTime.shortest, self.releaseTime.longest,
                    self.linear);
  }
  template <class Self>
  static auto State(Self& self) {
    return std::tie(self.t, self.releaseLevel, self.lastGate, self.lastRetrigger, self.envelope,
                    self.sustainFlag);
  }

  /// Times at `rate` hertz.
  void Prepare(float rate) {
    attackTime = {rate * kShortestAttack, rate * kLongest};
    decayTime = {rate * kShortestDecay, rate * kLongest};
    releaseTime = decayTime;
  }

  /// One sample. `speed` scales the envelope's time; at 1 the knobs' times hold.
  void Step(const Stages& stages, Double speed, Float gate, Float retrigger) {
    const Double u = speed * t;
    const auto isHigh = IsHigh(gate);
    const auto wasHigh = IsHigh(lastGate);
    const auto isLow = !isHigh;
    const auto wasLow = !wasHigh;
    const auto restarts =
        dsp::And(isHigh, dsp::Or(wasLow, dsp::IsRisingEdge(lastRetrigger, retrigger)));
    const auto goesOn = dsp::And(isHigh, !restarts);
    if (dsp::Any(isLow)) {
      BeginRelease(dsp::And(isLow, wasHigh), gate);
      StepLow(dsp::And(isLow, wasLow), stages, u);
    }
    if (dsp::Any(restarts)) Restart(restarts, stages, gate);
    lastRetrigger = dsp::Select(isHigh, retrigger, lastRetrigger);
    if (dsp::Any(goesOn)) StepHigh(goesOn, stages, u);
  }

 private:
  // A NaN is low, so that a gate is never stuck after it.
  static auto IsHigh(Float gate) { return gate >= dsp::kGateThreshold; }

  template <class Mask>
  void BeginRelease(Mask begins, Float gate) {
    if (!dsp::Any(begins)) return;
    lastGate = dsp::Select(begins, gate, lastGate);
    t = dsp::Select(begins, 1.0, t);
    const Float level = dsp::Select(dsp::IsFinite(envelope), envelope, 0.0f);
    releaseLevel = dsp::Select(begins, dsp::ToDouble(level), releaseLevel);
  }

  template <class Mask>
  void StepLow(Mask isLow, const Stages& stages, Double u) {
    const Double R = releaseTime.At(stages.release);
    const auto falls = dsp::And(dsp::ToWide(isLow), !(u > R));
    Double level = 0.0;
    if (dsp::Any(falls)) {
      const Double rest = 1.0 - u / R;
      Double fallen = rest * releaseLevel;
      if (!linear) fallen *= rest;
      level = dsp::Select(falls, fallen, level);
      t = dsp::Select(falls, t + 1.0, t);
    }
    envelope = dsp::Select(isLow, dsp::ToFloat(level), envelope);
    sustainFlag = dsp::Select(isLow, 0.0f, sustainFlag);
  }

  template <class Mask>
  void StepHigh(Mask isOn, const Stages& stages, Double u) {
    const auto on = dsp::ToWide(isOn);
    const Double A = attackTime.At(stages.attack);
    const auto isPast = dsp::And(on, u > A);
    const auto rises = dsp::And(on, !(u > A));
    auto moves = rises;
    Double level = stages.sustain;
    if (dsp::Any(rises)) {
      const Double x = u / A;
      level = dsp::Select(rises, linear ? x : 1.0 - (1.0 - x) * (1.0 - x), level);
    }
    if (dsp::Any(isPast)) {
      const Double v = u - A;
      const Double D = decayTime.At(stages.decay);
      const auto falls = dsp::And(isPast, !(v > D));
      if (dsp::Any(falls)) {
        const Double w = 1.0 - v / D;
        level = dsp::Select(falls,
                            linear ? 1.0 - (1.0 - stages.sustain) / D * v
                                   : w * w * (1.0 - stages.sustain) + stages.sustain,
                            level);
        moves = dsp::Or(moves, falls);
      }
    }
    envelope = dsp::Select(isOn, dsp::ToFloat(level), envelope);
    sustainFlag = dsp::Select(isOn, 1.0f, sustainFlag);
    if (!dsp::Any(moves)) return;
    sustainFlag = dsp::Select(dsp::ToNarrow(moves), 0.0f, sustainFlag);
    t = dsp::Select(moves, t + 1.0, t);
  }

  // Enters the attack at the level that stands, by the inverse of its curve: no step is heard. The
  // level can be above 1 only after time ran backward in a release.
  template <class Mask>
  void Restart(Mask restarts, const Stages& stages, Float gate) {
    lastGate = dsp::Select(restarts, gate, lastGate);
    sustainFlag = dsp::Select(restarts, 0.0f, sustainFlag);
    const Double A = attackTime.At(stages.attack);
    dsp::ForEachLane(restarts, [&](int lane) {
      const double y = dsp::Lane(envelope, lane);
      const double reach = dsp::Lane(A, lane);
      const double start =
          linear ? y * reach + 1.0 : (1.0 - std::sqrt(std::max(1.0 - y, 0.0))) * reach + 1.0;
      dsp::Lane(t, lane) = std::isfinite(start) ? start : 1.0;
    });
  }
};

}  // namespace halveron
