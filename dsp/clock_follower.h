// Follows the pace of a clock signal.
#pragma once

#include <tuple>

#include "dsp/counters.h"
#include "dsp/edge.h"
#include "dsp/lanes.h"

namespace halveron::dsp {

/// Measures a clock by the samples between its rising edges.
template <class Lanes = OneVoice>
struct ClockFollower {
  using Float = typename Lanes::Float;
  using Double = typename Lanes::Double;
  using Int = typename Lanes::Int;

  Double increment = 0.0;    ///< clocks per sample, of the last interval
  Int count = kIdleCounter;  ///< samples since the last clock; the first interval is almost endless
  EdgeDetector<Lanes> edges;

  template <class Self>
  static auto State(Self& self) {
    return std::tie(self.increment, self.count, self.edges.last);
  }

  /// One sample; true on a rising edge.
  auto Step(Float clock) {
    const auto edge = edges.Step(clock);
    if (Any(edge)) increment = Select(edge, 1.0 / ToDouble(count), increment);
    count = Select(edge, Int(1), Select(count < kIdleCounter, count + 1, count));
    return edge;
  }

  /// Forgets the pace, when the clock's cable has gone; `clock` is what the input holds then.
  void Stop(Float clock) {
    increment = 0.0;
    edges.last = clock;
  }
};

}  // namespace halveron::dsp
