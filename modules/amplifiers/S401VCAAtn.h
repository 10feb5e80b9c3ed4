// S401 Multi db VCA/Attenuator: two amplifiers under one voltage, with a gain in steps of 6 dB.
#pragma once

#include "framework/clip_lamp.h"
#include "framework/module.h"

namespace halveron {

class S401VCAAtn final : public BuiltInModule<S401VCAAtn> {
 public:
  static constexpr char kName[] = "S401 Multi db VCA/Attenuator";
  static constexpr char kPanel[] = "S401VCAAtn.png";
  static constexpr int kColumns = 6;
  static constexpr int kVersion = 1000;
  static constexpr bool kPolyphonic = true;

  S401VCAAtn(CFrame* frame, const HostTable& table, int voiceIndex);
  void ProcessSample() override;
  VoiceGroupMaker GetVoiceGroupMaker(VectorUnit unit) const override;
  void SetSampleRate(float rate) override;
  void ValueChanged(CControl* control) override;

 private:
  template <class Unit>
  friend class S401VCAAtnVoices;

  Knob gainKnob_;
  ClipLamp clip1_, clip2_;
  Input in1_, cv_, in2_;
  Output out1_, out2_;
  float gain_ = 1.0f;
};

}  // namespace halveron
