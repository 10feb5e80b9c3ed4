// S516 R-S&H kernel: a random line and a sample-and-hold with running extremes.
#pragma once

#include <algorithm>
#include <cmath>

#include "dsp/clock_follower.h"
#include "dsp/edge.h"
#include "dsp/random.h"

namespace halveron {

struct S516RSHKernel {
  // Coefficients: line segments per sample at both ends of the rate.
  double rateMin = 0.0;
  double rateMax = 0.0;

  // State of the line, which runs from one random value to the next.
  double phase = 0.0;  ///< 0..1 along the segment
  double previousValue = 0.0;
  double nextValue = NextValue();

  // State of the clock, which asks for one segment each.
  dsp::ClockFollower<> clock;
  bool resync = false;  ///< the next clock starts a segment

  // Outputs.
  float smooth = 0.0f;   ///< the line
  float trinary = 0.0f;  ///< +1, 0 or -1
  float sampled = 0.0f;
  float highest = 0.0f;  ///< of the signal since the last sample
  float lowest = 0.0f;

  /// Evenly distributed from -1 up to +1, from the generator that all instances share.
  static double NextValue() { return dsp::NextRandomPcg() * 2.3283064370807974e-10 * 2.0 - 1.0; }

  void Prepare(float rate) {
    rateMin = static_cast<double>(1.0f / rate) * 0.01;
    rateMax = 8000.0 / rate;
  }

  /// One sample at the clock's pace; true if the signal was sampled.
  bool StepClocked(float clockSignal, float signal) {
    const bool trigger = clock.Step(clockSignal);
    if (trigger) {
      if (resync) {
        resync = false;
        phase = 0.0;
        StartSegment();
      }
      Sample(signal);
    } else {
      TrackExtremes(signal);
    }
    AdvanceLine(clock.increment);
    return trigger;
  }

  /// One sample at the sixth power of a rate; true if the signal was sampled, as it is where the
  /// line rises above its upper third.
  bool StepFree(double rate, float signal) {
    const double r2 = rate * rate;
    const float before = trinary;
    const bool segmentEnded = AdvanceLine((rateMax - rateMin) * (r2 * r2 * r2) + rateMin);
    const bool trigger = segmentEnded && trinary == 1.0f && before < dsp::kGateThreshold;
    if (trigger) Sample(signal);
    TrackExtremes(signal);
    return trigger;
  }

 private:
  static constexpr double kTrinaryThreshold = 0.6;

  void Sample(float signal) {
    sampled = signal;
    highest = sampled;
    lowest = highest;
  }

  // An extreme that is no number gives way to the signal.
  void TrackExtremes(float signal) {
    if (signal > highest || std::isnan(highest)) highest = signal;
    if (signal < lowest || std::isnan(lowest)) lowest = signal;
  }

  void StartSegment() {
    previousValue = nextValue;
    nextValue = NextValue();
  }

  // True where a segment ends.
  bool AdvanceLine(double step) {
    const double line = (1.0 - phase) * previousValue + phase * nextValue;
    smooth = static_cast<float>(line);
    phase += step > 0.0 ? std::min(step, 1.0) : 0.0;
    if (!(phase >= 1.0)) return false;
    phase -= 1.0;
    StartSegment();
    trinary = line > kTrinaryThreshold ? 1.0f : (line >= -kTrinaryThreshold ? 0.0f : -1.0f);
    return true;
  }
};

}  // namespace halveron
