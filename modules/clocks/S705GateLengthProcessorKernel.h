// Gate lengths of the S705.
#pragma once

#include "dsp/counters.h"
#include "dsp/edge.h"
#include "dsp/shaping.h"

namespace halveron {

/// A gate that is high for a share of the interval between the last two edges, or of 4 seconds.
/// An edge within a gate makes a gap of one sample.
struct S705GateLengthProcessorKernel {
  static constexpr double kLongestSeconds = 4.0;
  static constexpr double kLongestShare = 0.999;

  double absoluteStep = 0.0;

  int samples = dsp::kIdleCounter;  ///< since the last edge
  double relativeStep = 1.0 / dsp::kIdleCounter;
  double phase = 1.0;  ///< 0..1 of the interval; 1 from the start, so that no gate sounds
  float gate = 0.0f;
  dsp::EdgeDetector<> edges;

  void Prepare(float rate) { absoluteStep = 1.0 / (rate * kLongestSeconds); }

  /// `length` is a share of the interval, limited to 0..1.
  float StepRelative(float input, double length) {
    if (edges.Step(input)) {
      relativeStep = 1.0 / samples;
      samples = 1;
      return Restart();
    }
    dsp::CountInterval(samples);
    return Run(dsp::LimitUnit(length) * kLongestShare, relativeStep);
  }

  /// `length` is a share of 4 seconds, limited to 0..1.
  float StepAbsolute(float input, double length) {
    if (edges.Step(input)) return Restart();
    return Run(dsp::LimitUnit(length), absoluteStep);
  }

 private:
  float Restart() {
    phase = 0.0;
    gate = gate < 1.0f ? 1.0f : 0.0f;
    return gate;
  }

  float Run(double length, double step) {
    if (phase >= length) {
      gate = 0.0f;
    } else {
      if (phase == 0.0) gate = 1.0f;
      phase += step;
    }
    return gate;
  }
};

}  // namespace halveron
