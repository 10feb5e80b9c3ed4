// S224 Allpass Diffusion Filter: a chain of all-passes with a send and return before its last line.
#pragma once

#include "dsp/effect_finish.h"
#include "framework/clip_lamp.h"
#include "framework/module.h"
#include "framework/module_delay_lines.h"
#include "framework/resting_knobs.h"
#include "modules/filters/S224AllPassDiffusionKernel.h"

namespace halveron {

class S224AllPassDiffusion final : public BuiltInModule<S224AllPassDiffusion> {
 public:
  static constexpr char kName[] = "S224 Allpass Diffusion Filter";
  static constexpr char kPanel[] = "S224AllPassDiffusion.png";
  static constexpr int kColumns = 9;
  static constexpr int kVersion = 1001;
  static constexpr bool kPolyphonic = false;

  S224AllPassDiffusion(CFrame* frame, const HostTable& hostTable, int voice);
  void ProcessSample() override;
  void SetSampleRate(float rate) override;
  void ValueChanged(CControl* control) override;
  void CableConnected(PatchPoint* point) override;
  void CableDisconnected(PatchPoint* point) override;
  int GetPresetSize() override;
  void SavePreset(void* buffer, int size) override;
  void LoadPreset(const void* buffer, int size, int version) override;

 private:
  RestingKnobs restingKnobs_;
  Knob amount_, time_, spacing_, stages_;
  CVerticalSwitch* mode_;
  ClipLamp clip_;
  Input audio_, return_, spacingCv_;
  Output send_, out_;

  bool hasReturn_ = false;
  ModuleDelayLines lines_{*this};
  S224AllPassDiffusionKernel kernel_;
  dsp::EffectFinish finish_;
};

}  // namespace halveron
