// S609 VC Bit Crusher: lower sample rates, and steps in proportion to the envelope.
#pragma once

#include "framework/module.h"
#include "modules/effects/S609VCBitCrusherKernel.h"

namespace halveron {

class S609VCBitCrusher final : public BuiltInModule<S609VCBitCrusher> {
 public:
  static constexpr char kName[] = "S609 VC Bit Crusher";
  static constexpr char kPanel[] = "S609VCBitCrusher.png";
  static constexpr int kColumns = 11;
  static constexpr int kVersion = 1000;
  static constexpr bool kPolyphonic = false;

  S609VCBitCrusher(CFrame* frame, const HostTable& hostTable, int voice);
  void ProcessSample() override;
  void SetSampleRate(float rate) override;
  void ValueChanged(CControl* control) override;

 private:
  Knob rate_, rateCvAmount_, offset_, level_, depth_, depthCvAmount_, speed_;
  CVerticalSwitch* offsetMode_;
  Input audio_, rateCv_, offsetCv_, depthCv_;
  Output out_;
  bool offsetByCv_ = false;
  S609VCBitCrusherKernel kernel_;
};

}  // namespace halveron
