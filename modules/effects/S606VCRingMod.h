// S606 VC Ring Modulator: a product whose factors fade to 1 under voltage control.
#pragma once

#include "framework/clip_lamp.h"
#include "framework/module.h"

namespace halveron {

class S606VCRingMod final : public BuiltInModule<S606VCRingMod> {
 public:
  static constexpr char kName[] = "S606 VC Ring Modulator";
  static constexpr char kPanel[] = "S606VCRingMod.png";
  static constexpr int kColumns = 8;
  static constexpr int kVersion = 1000;
  static constexpr bool kPolyphonic = true;

  S606VCRingMod(CFrame* frame, const HostTable& hostTable, int voice);
  void ProcessSample() override;
  void SetSampleRate(float rate) override;

 private:
  Knob amountX_, amountXCv_, amountY_, amountYCv_;
  ClipLamp clip_;
  Input x_, xCv_, y_, yCv_;
  Output product_, productAndX_;
};

}  // namespace halveron
