// S713 Swing/Rotate Clock Divider/Multiplier: four clocks at whole ratios of one, with swing, on
// outputs that rotate.
#pragma once

#include <array>

#include "dsp/counters.h"
#include "framework/module.h"
#include "modules/clocks/S713SRClockDivMultKernel.h"

namespace halveron {

class S713SRClockDivMult final : public BuiltInModule<S713SRClockDivMult> {
 public:
  static constexpr char kName[] = "S713 Swing/Rotate Clock Divider/Multiplier";
  static constexpr char kPanel[] = "S713SRClockDivMult.png";
  static constexpr int kColumns = 15;
  static constexpr int kVersion = 1000;
  static constexpr bool kPolyphonic = false;

  S713SRClockDivMult(CFrame* frame, const HostTable& hostTable, int voice);
  void ProcessSample() override;
  void ValueChanged(CControl* control) override;

 private:
  static constexpr int kChannels = S713SRClockDivMultKernel::kChannels;

  /// The output of channel 0; the others follow in a ring.
  int Rotation() const;

  std::array<Knob, kChannels> ratios_, swings_;
  std::array<CVerticalSwitch*, kChannels> multiply_;
  Knob rotate_;
  CVerticalSwitch* sync_;
  std::array<std::array<Lamp, kChannels>, kChannels> map_;  // by channel and output
  std::array<Lamp, kChannels> lamps_;
  Input clock_, reset_, rotateCv_;
  std::array<Output, kChannels> outs_;
  S713SRClockDivMultKernel kernel_;
};

}  // namespace halveron
