// S404 VCA: two inputs under one gain law, and a crossfade of both.
#pragma once

#include "framework/clip_lamp.h"
#include "framework/module.h"
#include "framework/resting_knobs.h"
#include "modules/amplifiers/S404VCAKernel.h"

namespace halveron {

class S404VCA final : public BuiltInModule<S404VCA> {
 public:
  static constexpr char kName[] = "S404 VCA";
  static constexpr char kPanel[] = "S404VCA.png";
  static constexpr int kColumns = 9;
  static constexpr int kVersion = 1000;
  static constexpr bool kPolyphonic = true;

  S404VCA(CFrame* frame, const HostTable& table, int voiceIndex);
  void ProcessSample() override;
  VoiceGroupMaker GetVoiceGroupMaker(VectorUnit unit) const override;
  void SetSampleRate(float rate) override;
  void ValueChanged(CControl* control) override;

 private:
  template <class Unit>
  friend class S404VCAVoices;

  RestingKnobs restingKnobs_;
  Knob level1_, level2_, cvAmount_, baseGain_;
  CVerticalSwitch* lawSwitch_;
  ClipLamp clip_;
  Input in1_, in2_, cv_, crossfade_;
  Output mix_, out1_, out2_;
  int law_ = S404VCAKernel<>::kLinear;
};

}  // namespace halveron
