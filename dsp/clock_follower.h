// Follows the pace of a clock signal.
#pragma once

#include "dsp/counters.h"
#include "dsp/edge.h"

namespace halveron::dsp {

/// Measures a clock by the samples between its rising edges.
struct ClockFollower {
  double increment = 0.0;    ///< clocks per sample, of the last interval
  int count = kIdleCounter;  ///< samples since the last clock; the first interval is almost endless
  float last = 0.0f;         ///< previous sample of the clock

  /// One sample; true on a rising edge.
  bool Step(float clock) {
    const bool edge = IsRisingEdge(last, clock);
    last = clock;
    if (edge) {
      increment = 1.0 / count;
      count = 1;
    } else {
      CountInterval(count);
    }
    return edge;
  }

  /// Forgets the pace, when the clock's cable has gone; `clock` is what the input holds then.
  void Stop(float clock) {
    increment = 0.0;
    last = clock;
  }
};

}  // namespace halveron::dsp
