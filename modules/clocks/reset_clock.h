// A clock that a reset holds.
#pragma once

#include "dsp/edge.h"

namespace halveron {

/// Finds the clocks and resets of two inputs. A rising reset wins over a clock of the same sample,
/// and no clock counts while the reset is not low.
struct ResetClock {
  enum class Event { kNone, kClock, kReset };

  dsp::EdgeDetector<> clock, reset;

  Event Step(float clockSignal, float resetSignal) {
    const bool clocked = clock.Step(clockSignal);
    if (reset.Step(resetSignal)) return Event::kReset;
    return clocked && !(resetSignal > dsp::kResetLow) ? Event::kClock : Event::kNone;
  }
};

}  // namespace halveron
