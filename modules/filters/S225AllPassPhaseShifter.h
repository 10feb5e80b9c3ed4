// S225 Allpass Phase Shifter: a second-order all-pass, tuned by two voltages.
#pragma once

#include "framework/clip_lamp.h"
#include "framework/module.h"
#include "framework/resting_knobs.h"
#include "modules/filters/S225AllPassPhaseShifterKernel.h"

namespace halveron {

class S225AllPassPhaseShifter final : public BuiltInModule<S225AllPassPhaseShifter> {
 public:
  static constexpr char kName[] = "S225 Allpass Phase Shifter";
  static constexpr char kPanel[] = "S225AllPassPhaseShifter.png";
  static constexpr int kColumns = 9;
  static constexpr int kVersion = 1000;
  static constexpr bool kPolyphonic = false;

  S225AllPassPhaseShifter(CFrame* frame, const HostTable& hostTable, int voice);
  void ProcessSample() override;
  void SetSampleRate(float rate) override;
  void ValueChanged(CControl* control) override;

 private:
  RestingKnobs restingKnobs_;
  Knob frequency_, frequencyCvAmount_, resonanceCvAmount_, resonance_;
  CVerticalSwitch* form_;
  ClipLamp clip_;
  Input audio_, directCv_, attenuatedCv_, resonanceCv_;
  Output out_;

  S225AllPassPhaseShifterKernel<> kernel_;
};

}  // namespace halveron
