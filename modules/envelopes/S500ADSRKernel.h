// S500 ADSR kernel: a closed-form envelope.
#pragma once

#include <algorithm>
#include <cmath>

#include "dsp/edge.h"

namespace halveron {

/// Nothing is integrated: a count of samples is mapped to a level by the law of the present
/// segment, so segments do not drift and a turned knob acts at once.
struct S500ADSRKernel {
  /// Positions of the four stage knobs, 0..1. Times follow their cubes.
  struct Stages {
    double attack = 0.0;
    double decay = 0.0;
    double sustain = 0.0;
    double release = 0.0;
  };

  /// Reach of a stage's time, in samples.
  struct TimeRange {
    double shortest = 1.0;
    double longest = 1.0;

    double At(double position) const {
      return (longest - shortest) * (position * position * position) + shortest;
    }
  };

  static constexpr double kShortestAttack = 0.0011337868480725624;  // seconds
  static constexpr double kShortestDecay = 0.0020408163265306124;
  static constexpr double kLongest = 22.0;

  // Coefficients.
  TimeRange attackTime;
  TimeRange decayTime;
  TimeRange releaseTime;
  bool linear = true;  ///< straight segments; else curved ones

  // State.
  double t = 0.0;  ///< samples since the segment began
  double releaseLevel = 0.0;
  float lastGate = 0.0f;
  float lastRetrigger = 0.0f;

  // Outputs.
  float envelope = 0.0f;     ///< 0..1
  float sustainFlag = 0.0f;  ///< 1 while at sustain, else 0

  /// Times at `rate` hertz.
  void Prepare(float rate) {
    attackTime = {rate * kShortestAttack, rate * kLongest};
    decayTime = {rate * kShortestDecay, rate * kLongest};
    releaseTime = decayTime;
  }

  /// One sample. `speed` is how fast the envelope's own time runs, 1 as the knobs tell.
  void Step(const Stages& stages, double speed, float gate, float retrigger) {
    const double u = speed * t;
    if (!IsHigh(gate)) {
      StepLow(stages, u, gate);
    } else if (!IsHigh(lastGate) || dsp::IsRisingEdge(lastRetrigger, retrigger)) {
      Restart(stages, gate, retrigger);
    } else {
      lastRetrigger = retrigger;
      StepHigh(stages, u);
    }
  }

 private:
  // What is no number is low, so that a gate is never stuck after it.
  static bool IsHigh(float gate) { return gate >= dsp::kGateThreshold; }

  void StepLow(const Stages& stages, double u, float gate) {
    if (IsHigh(lastGate)) {
      lastGate = gate;
      t = 1.0;
      releaseLevel = std::isfinite(envelope) ? envelope : 0.0f;
      return;
    }
    sustainFlag = 0.0f;
    const double R = releaseTime.At(stages.release);
    if (u > R) {
      envelope = 0.0f;
      return;
    }
    const double x = u / R;
    double level = (1.0 - x) * releaseLevel;
    if (!linear) level *= 1.0 - x;
    envelope = static_cast<float>(level);
    t += 1.0;
  }

  void StepHigh(const Stages& stages, double u) {
    const double A = attackTime.At(stages.attack);
    double level = 0.0;
    if (u > A) {
      const double v = u - A;
      const double D = decayTime.At(stages.decay);
      if (v > D) {
        envelope = static_cast<float>(stages.sustain);
        sustainFlag = 1.0f;
        return;
      }
      if (linear) {
        level = 1.0 - (1.0 - stages.sustain) / D * v;
      } else {
        const double w = 1.0 - v / D;
        level = w * w * (1.0 - stages.sustain) + stages.sustain;
      }
    } else {
      const double x = u / A;
      level = linear ? x : 1.0 - (1.0 - x) * (1.0 - x);
    }
    envelope = static_cast<float>(level);
    t += 1.0;
    sustainFlag = 0.0f;
  }

  // Enters the attack at the level that stands, by the inverse of its curve: no step is heard. The
  // level can be above 1 only after time ran backward in a release.
  void Restart(const Stages& stages, float gate, float retrigger) {
    lastGate = gate;
    lastRetrigger = retrigger;
    sustainFlag = 0.0f;
    const double y = envelope;
    const double A = attackTime.At(stages.attack);
    t = linear ? y * A + 1.0 : (1.0 - std::sqrt(std::max(1.0 - y, 0.0))) * A + 1.0;
    if (!std::isfinite(t)) t = 1.0;
  }
};

}  // namespace halveron
