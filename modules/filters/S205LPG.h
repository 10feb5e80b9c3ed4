// S205 Low Pass Gate: filter and amplifier under one control, with a natural close.
#pragma once

#include "framework/module.h"
#include "framework/resting_knobs.h"
#include "modules/filters/S205LPGKernel.h"

namespace halveron {

class S205LPG final : public BuiltInModule<S205LPG> {
 public:
  static constexpr char kName[] = "S205 Low Pass Gate";
  static constexpr char kPanel[] = "S205LPG.png";
  static constexpr int kColumns = 8;
  static constexpr int kVersion = 1000;
  static constexpr bool kPolyphonic = true;

  S205LPG(CFrame* frame, const HostTable& hostTable, int voice);
  void ProcessSample() override;
  VoiceGroupMaker GetVoiceGroupMaker(VectorUnit unit) const override;
  void SetSampleRate(float rate) override;
  void ValueChanged(CControl* control) override;

 private:
  template <class Unit>
  friend class S205LPGVoices;

  RestingKnobs restingKnobs_;
  Knob level_, cutoff_, cutoffAmount_, resonanceBase_, resonance_;
  CVerticalSwitch* modeSwitch_;
  Input audio_, cutoffCv_, attenuatedCutoffCv_, resonanceCv_;
  Output out_;

  int mode_ = S205LPGKernel<>::kFilterAndVca;
  S205LPGKernel<> kernel_;
};

}  // namespace halveron
