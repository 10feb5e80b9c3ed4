// How S318 follows a clock and a gate.
#pragma once

#include "dsp/edge.h"

namespace halveron::S318TrackerModPlayerKernel {

/// Measures the tempo of a clock over at least 6000 samples and at least a measure of edges, so
/// that it follows slow changes without jitter.
struct ClockMeter {
  static constexpr int kLeastSamples = 6000;
  static constexpr int kMostSamples = 1 << 30;

  int clocks_per_measure = 4;
  int pulses_per_quarter = 4;
  int samples_since_clock = 0;
  int clock_count = 0;  ///< 0 before the first edge

  void Reset() { samples_since_clock = clock_count = 0; }

  /// One sample; the tempo in beats a minute where an edge ends a measure, else 0.
  float Step(bool isEdge, float sampleRate) {
    float tempo = 0.0f;
    if (!isEdge) {
      if (clock_count > 0 && samples_since_clock < kMostSamples) ++samples_since_clock;
      return tempo;
    }
    if (clock_count == 0) {
      samples_since_clock = clock_count = 1;
    } else if (samples_since_clock < kLeastSamples || clock_count < clocks_per_measure) {
      ++samples_since_clock;
      ++clock_count;
    } else {
      tempo = static_cast<float>(static_cast<double>(clock_count) * sampleRate * 60.0 /
                                 (static_cast<double>(samples_since_clock) * pulses_per_quarter));
      samples_since_clock = clock_count = 1;
    }
    return tempo;
  }
};

/// A gate that starts at 0.25 and stops at 0.15.
struct RunGate {
  enum class Event { kNone, kStart, kStop };

  bool isHigh = false;

  Event Step(float signal) {
    if (!isHigh && signal >= dsp::kGateThreshold) {
      isHigh = true;
      return Event::kStart;
    }
    if (isHigh && signal <= dsp::kResetLow) {
      isHigh = false;
      return Event::kStop;
    }
    return Event::kNone;
  }
};

}  // namespace halveron::S318TrackerModPlayerKernel
