// S701 Shift/Reset Clock Divider: six divisions of a clock, each shifted by whole clocks.
#pragma once

#include <array>

#include "framework/module.h"
#include "modules/clocks/reset_clock.h"
#include "modules/clocks/six_dividers.h"

namespace halveron {

class S701ShiftResetClockDiv final : public BuiltInModule<S701ShiftResetClockDiv> {
 public:
  static constexpr char kName[] = "S701 Shift/Reset Clock Divider";
  static constexpr char kPanel[] = "S701ShiftResetClockDiv.png";
  static constexpr int kColumns = 8;
  static constexpr int kVersion = 1000;
  static constexpr bool kPolyphonic = false;

  S701ShiftResetClockDiv(CFrame* frame, const HostTable& hostTable, int voice);
  void ProcessSample() override;
  void ValueChanged(CControl* control) override;
  void LoadPreset(const void* buffer, int size, int version) override;

 private:
  /// Sets the periods from Range and all shifts to 1, and resets.
  void SetRange();
  /// Takes a Shift knob's position, and shows what of it fits the period.
  void SetShift(std::size_t output);
  void Reset();

  Knob range_;
  std::array<Knob, kDividers> shiftKnobs_;
  Input clock_, reset_;
  DividerOutputs outputs_;
  ResetClock events_;
  SixDividers bank_;
  std::array<int, kDividers> shifts_{1, 1, 1, 1, 1, 1};  // clocks, 1 to the period
};

}  // namespace halveron
