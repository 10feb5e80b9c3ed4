// S223 Dual Tap Comb Filter: up to 50 ms, two taps, feedback or feed-forward.
#pragma once

#include "dsp/effect_finish.h"
#include "framework/clip_lamp.h"
#include "framework/module.h"
#include "framework/module_delay_lines.h"
#include "framework/resting_knobs.h"
#include "modules/filters/S223DualTapCombFilterKernel.h"

namespace halveron {

class S223DualTapCombFilter final : public BuiltInModule<S223DualTapCombFilter> {
 public:
  static constexpr char kName[] = "S223 Dual Tap Comb Filter";
  static constexpr char kPanel[] = "S223DualTapCombFilter.png";
  static constexpr int kColumns = 9;
  static constexpr int kVersion = 1000;
  static constexpr bool kPolyphonic = false;

  S223DualTapCombFilter(CFrame* frame, const HostTable& hostTable, int voice);
  void ProcessSample() override;
  void SetSampleRate(float rate) override;
  void ValueChanged(CControl* control) override;
  void CableConnected(PatchPoint* point) override;
  void CableDisconnected(PatchPoint* point) override;

 private:
  void TakeLine();

  RestingKnobs restingKnobs_;
  Knob time_, timeCvAmount_, secondTap_, feedback_;
  CVerticalSwitch* type_;
  ClipLamp clip_;
  Input audio_, timeCv_, secondTapCv_, feedbackCv_;
  Output out_;

  bool hasFeedbackCv_ = false;
  ModuleDelayLines lines_{*this};
  S223DualTapCombFilterKernel kernel_;
  dsp::EffectFinish finish_;
};

}  // namespace halveron
