// S612 Octet Chorus: two to eight modulated delays, spread over a stereo pair.
#pragma once

#include "dsp/effect_finish.h"
#include "framework/clip_lamp.h"
#include "framework/module.h"
#include "framework/module_delay_lines.h"
#include "framework/resting_knobs.h"
#include "modules/effects/S612OctetChorusKernel.h"

namespace halveron {

class S612OctetChorus final : public BuiltInModule<S612OctetChorus> {
 public:
  static constexpr char kName[] = "S612 Octet Chorus";
  static constexpr char kPanel[] = "S612OctetChorus.png";
  static constexpr int kColumns = 13;
  static constexpr int kVersion = 1000;
  static constexpr bool kPolyphonic = false;

  S612OctetChorus(CFrame* frame, const HostTable& hostTable, int voice);
  void ProcessSample() override;
  void SetSampleRate(float rate) override;
  void ValueChanged(CControl* control) override;
  void CableConnected(PatchPoint* point) override;
  void CableDisconnected(PatchPoint* point) override;
  void LoadPreset(const void* buffer, int size, int version) override;

 private:
  void NoteCables();

  RestingKnobs restingKnobs_;
  Knob feedback_, depth_, depthCvAmount_, rate_, rateCvAmount_, spread_, mix_, voices_;
  ClipLamp clip_;
  Input inLeft_, inRight_, depthCv_, rateCv_, spreadCv_;
  Output outLeft_, outRight_;

  bool hasRight_ = false, hasSpreadCv_ = false;
  ModuleDelayLines lines_{*this};
  S612OctetChorusKernel kernel_;
  dsp::EffectFinish finishLeft_, finishRight_;
};

}  // namespace halveron
