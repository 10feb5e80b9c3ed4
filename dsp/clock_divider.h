// Divides a clock.
#pragma once

namespace halveron::dsp {

/// Counts clocks down from `period`, which is 2 or more. The output is high from the clock that
/// ends a period until half of the next remains; of an odd period it is low a little less than
/// half.
struct ClockDivider {
  int period = 2;
  int counter = 2;  ///< clocks until the output rises, 1 to `period`
  bool isHigh = false;

  /// One clock; true if the output rises.
  bool Clock() {
    const bool ends = --counter <= 0;
    if (ends) counter = period;
    if (ends) isHigh = true;
    if (counter == period / 2) isHigh = false;
    return ends;
  }
  /// Low, with `clocks` (1 to `period`) until it rises.
  void Reset(int clocks) {
    counter = clocks;
    isHigh = false;
  }
  /// A new period, from its start.
  void SetPeriod(int clocks) {
    period = clocks;
    Reset(clocks);
  }
  /// Puts the next rise off by a number of clocks, or brings it closer, within the period.
  void Shift(int clocks) {
    counter = (counter - 1 + clocks) % period;
    if (counter < 0) counter += period;
    ++counter;
  }
};

}  // namespace halveron::dsp
