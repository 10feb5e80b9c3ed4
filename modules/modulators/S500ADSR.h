// S500 ADSR: envelope with linear or curved segments, retrigger, and time under voltage control.
#pragma once

#include "framework/module.h"
#include "framework/resting_knobs.h"
#include "modules/modulators/S500ADSRKernel.h"

namespace halveron {

class S500ADSR final : public BuiltInModule<S500ADSR> {
 public:
  static constexpr char kName[] = "S500 ADSR";
  static constexpr char kPanel[] = "S500ADSR.png";
  static constexpr int kColumns = 9;
  static constexpr int kVersion = 1000;
  static constexpr bool kPolyphonic = true;

  S500ADSR(CFrame* frame, const HostTable& table, int voiceIndex);
  void ProcessSample() override;
  VoiceGroupMaker GetVoiceGroupMaker(VectorUnit unit) const override;
  void SetSampleRate(float rate) override;
  void ValueChanged(CControl* control) override;

 private:
  template <class Unit>
  friend class S500ADSRVoices;

  static constexpr float kPressedGate = 1.25f;
  bool IsGatePressed() const { return manualGate_->getValue() >= 0.5f; }

  RestingKnobs restingKnobs_;
  Knob timeAmount_, attack_, decay_, sustain_, release_;
  CVerticalSwitch* curve_;
  CKickButtonEx* manualGate_;
  Input timeCv_, gate_, retrigger_;
  Output sustainFlag_, envelope_;
  S500ADSRKernel<> kernel_;
  S500ADSRKernel<>::Course course_;
};

}  // namespace halveron
