// S703 Clock Divider: a ladder of powers of two over a base of 1 to 5 clocks.
#pragma once

#include "dsp/edge.h"
#include "framework/module.h"
#include "modules/clocks/six_dividers.h"

namespace halveron {

class S703ClockDiv final : public BuiltInModule<S703ClockDiv> {
 public:
  static constexpr char kName[] = "S703 Clock Divider";
  static constexpr char kPanel[] = "S703ClockDiv.png";
  static constexpr int kColumns = 6;
  static constexpr int kVersion = 1001;
  static constexpr bool kPolyphonic = false;

  S703ClockDiv(CFrame* frame, const HostTable& hostTable, int voice);
  void ProcessSample() override;
  void ValueChanged(CControl* control) override;

  /// The control values, then the six counters as 32-bit integers.
  int GetPresetSize() override;
  void SavePreset(void* buffer, int size) override;
  void LoadPreset(const void* buffer, int size, int version) override;

 private:
  /// Clocks per period of an output: `base` times a power of two.
  int PeriodOf(std::size_t output) const;
  void SetPeriods();

  Knob base_;
  Input clock_;
  DividerOutputs outputs_;
  dsp::EdgeDetector<> edges_;
  SixDividers bank_;
  bool isLoading_ = false;
};

}  // namespace halveron
