// S702 Reset Clock Divider: divides a clock by 2 to 7, with a reset.
#pragma once

#include "framework/module.h"
#include "modules/clocks/reset_clock.h"
#include "modules/clocks/six_dividers.h"

namespace halveron {

class S702ResetClockDiv final : public BuiltInModule<S702ResetClockDiv> {
 public:
  static constexpr char kName[] = "S702 Reset Clock Divider";
  static constexpr char kPanel[] = "S702ResetClockDiv.png";
  static constexpr int kColumns = 6;
  static constexpr int kVersion = 1000;
  static constexpr bool kPolyphonic = false;

  S702ResetClockDiv(CFrame* frame, const HostTable& hostTable, int voice);
  void ProcessSample() override;
  void LoadPreset(const void* buffer, int size, int version) override;

 private:
  Input clock_, reset_;
  DividerOutputs outputs_;
  ResetClock events_;
  SixDividers bank_;
};

}  // namespace halveron
