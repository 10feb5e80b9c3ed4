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

  /// What the knobs come to while they rest: times in samples, and the level of the sustain.
  struct Course {
    Double attack = 1.0;
    Double decay = 1.0;
    Double sustain = 0.0;
    Double release = 1.0;
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

  Course CourseOf(const Stages& stages) const {
    return {attackTime.At(stages.attack), decayTime.At(stages.decay), stages.sustain,
            releaseTime.At(stages.release)};
  }

  /// One sample. `speed` scales the envelope's time; at 1 the knobs' times hold.
  void Step(const Stages& stages, Double speed, Float gate, Float retrigger) {
    StepBy(stages, speed, gate, retrigger);
  }
  /// The same by what the knobs have come to.
  void StepAlong(const Course& course, Double speed, Float gate, Float retrigger) {
    StepBy(course, speed, gate, retrigger);
  }

 private:
  template <class AnyStages>
  void StepBy(const AnyStages& stages, Double speed, Float gate, Float retrigger) {
    const Double u = speed * t;
    if constexpr (Lanes::kLanes > 1) {
      if (StepAllHigh(stages, u, gate, retrigger)) return;
    }
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

  Double Attack(const Stages& stages) const { return attackTime.At(stages.attack); }
  Double Decay(const Stages& stages) const { return decayTime.At(stages.decay); }
  Double Release(const Stages& stages) const { return releaseTime.At(stages.release); }
  Double Attack(const Course& course) const { return course.attack; }
  Double Decay(const Course& course) const { return course.decay; }
  Double Release(const Course& course) const { return course.release; }

  // A NaN is low, so that a gate is never stuck after it.
  static auto IsHigh(Float gate) { return gate >= dsp::kGateThreshold; }

  /// The same as the whole step where all lanes are past the attack of a gate that is held: the
  /// usual case of chords. False, with nothing done, elsewhere.
  template <class AnyStages>
  bool StepAllHigh(const AnyStages& stages, const Double& u, const Float& gate,
                   const Float& retrigger) {
    const auto stays = dsp::And(IsHigh(gate), IsHigh(lastGate));
    if (!dsp::All(stays) || dsp::Any(dsp::IsRisingEdge(lastRetrigger, retrigger))) return false;
    const Double A = Attack(stages);
    if (!dsp::All(u > A)) return false;
    const Double v = u - A;
    const Double D = Decay(stages);
    const auto isOver = v > D;
    if (!dsp::Any(isOver)) {
      envelope = dsp::ToFloat(Falling(stages.sustain, v, D));
      sustainFlag = 0.0f;
      t += 1.0;
    } else if (dsp::All(isOver)) {
      envelope = dsp::ToFloat(stages.sustain);
      sustainFlag = 1.0f;
    } else {
      return false;
    }
    lastRetrigger = retrigger;
    return true;
  }

  template <class Mask>
  void BeginRelease(Mask begins, Float gate) {
    if (!dsp::Any(begins)) return;
    lastGate = dsp::Select(begins, gate, lastGate);
    t = dsp::Select(begins, 1.0, t);
    const Float level = dsp::Select(dsp::IsFinite(envelope), envelope, 0.0f);
    releaseLevel = dsp::Select(begins, dsp::ToDouble(level), releaseLevel);
  }

  template <class Mask, class AnyStages>
  void StepLow(Mask isLow, const AnyStages& stages, Double u) {
    const Double R = Release(stages);
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

  template <class Mask, class AnyStages>
  void StepHigh(Mask isOn, const AnyStages& stages, Double u) {
    const auto on = dsp::ToWide(isOn);
    const Double A = Attack(stages);
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
      const Double D = Decay(stages);
      const auto falls = dsp::And(isPast, !(v > D));
      if (dsp::Any(falls)) {
        level = dsp::Select(falls, Falling(stages.sustain, v, D), level);
        moves = dsp::Or(moves, falls);
      }
    }
    envelope = dsp::Select(isOn, dsp::ToFloat(level), envelope);
    sustainFlag = dsp::Select(isOn, 1.0f, sustainFlag);
    if (!dsp::Any(moves)) return;
    sustainFlag = dsp::Select(dsp::ToNarrow(moves), 0.0f, sustainFlag);
    t = dsp::Select(moves, t + 1.0, t);
  }

  /// The level of the decay `v` samples after it began.
  Double Falling(Double sustain, Double v, Double D) const {
    if (linear) return 1.0 - (1.0 - sustain) / D * v;
    const Double w = 1.0 - v / D;
    return w * w * (1.0 - sustain) + sustain;
  }

  // Enters the attack at the level that stands, by the inverse of its curve: no step is heard. The
  // level can be above 1 only after time ran backward in a release.
  template <class Mask, class AnyStages>
  void Restart(Mask restarts, const AnyStages& stages, Float gate) {
    lastGate = dsp::Select(restarts, gate, lastGate);
    sustainFlag = dsp::Select(restarts, 0.0f, sustainFlag);
    const Double A = Attack(stages);
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
