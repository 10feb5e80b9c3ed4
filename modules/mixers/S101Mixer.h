// S101 Mixer: four channels with a level each, and a master.
#pragma once

#include <array>

#include "framework/module.h"

namespace halveron {

class S101Mixer final : public BuiltInModule<S101Mixer> {
 public:
  static constexpr char kName[] = "S101 Mixer";
  static constexpr char kPanel[] = "S101Mixer.png";
  static constexpr int kColumns = 7;
  static constexpr int kVersion = 1000;
  static constexpr bool kPolyphonic = true;

  S101Mixer(CFrame* frame, const HostTable& hostTable, int voice);
  void ProcessSample() override;
  void ValueChanged(CControl* control) override;

 private:
  std::array<Knob, 4> levels_;
  Knob master_;
  CVerticalSwitch* law_;
  std::array<Input, 4> ins_;
  Output out_;

  bool squareLaw_ = false;
};

}  // namespace halveron
