// S602 VC Delay: up to two seconds with feedback, set by hand, by voltage or by a clock.
#pragma once

#include "dsp/effect_finish.h"
#include "framework/clip_lamp.h"
#include "framework/module.h"
#include "framework/module_delay_lines.h"
#include "framework/resting_knobs.h"
#include "modules/effects/S602VCDelKernel.h"

namespace halveron {

class S602VCDel final : public BuiltInModule<S602VCDel> {
 public:
  static constexpr char kName[] = "S602 VC Delay";
  static constexpr char kPanel[] = "S602VCDel.png";
  static constexpr int kColumns = 9;
  static constexpr int kVersion = 1003;
  static constexpr bool kPolyphonic = false;

  S602VCDel(CFrame* frame, const HostTable& hostTable, int voice);
  void ProcessSample() override;
  void SetSampleRate(float rate) override;
  void ValueChanged(CControl* control) override;
  void CableConnected(PatchPoint* point) override;
  void CableDisconnected(PatchPoint* point) override;
  int GetPresetSize() override;
  void SavePreset(void* buffer, int size) override;
  void LoadPreset(const void* buffer, int size, int version) override;

 private:
  void NoteCables();
  void TakeLine();

  RestingKnobs restingKnobs_;
  Knob time_, timeCvAmount_, feedback_, mix_;
  CVerticalSwitch* mode_;
  ClipLamp clip_;
  Input audio_, timeCv_, feedbackCv_, clock_, spare_;
  Output out_;

  ModuleDelayLines lines_{*this};
  S602VCDelKernel kernel_;
  S602VCDelKernel::Cables cables_;
  dsp::EffectFinish finish_;
};

}  // namespace halveron
