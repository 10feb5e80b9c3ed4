// S616 Stereo Reverb: 4 to 20 modulated combs and a chain of all-passes.
#pragma once

#include "dsp/effect_finish.h"
#include "framework/clip_lamp.h"
#include "framework/module.h"
#include "framework/module_delay_lines.h"
#include "framework/resting_knobs.h"
#include "modules/effects/S616StereoReverbKernel.h"

namespace halveron {

class S616StereoReverb final : public BuiltInModule<S616StereoReverb> {
 public:
  static constexpr char kName[] = "S616 Stereo Reverb";
  static constexpr char kPanel[] = "S616StereoReverb.png";
  static constexpr int kColumns = 13;
  static constexpr int kVersion = 1000;
  static constexpr bool kPolyphonic = false;

  S616StereoReverb(CFrame* frame, const HostTable& hostTable, int voice);
  void ProcessSample() override;
  void SetSampleRate(float rate) override;
  void ValueChanged(CControl* control) override;
  void CableConnected(PatchPoint* point) override;
  void CableDisconnected(PatchPoint* point) override;

 private:
  void NoteCables();

  RestingKnobs restingKnobs_;
  Knob decay_, modulationDepth_, damping_, modulationRate_, size_, width_, mix_, lineCount_;
  CVerticalSwitch* diffusion_;
  ClipLamp clip_;
  Input inLeft_, inRight_, sizeCv_, widthCv_;
  Output outLeft_, outRight_;

  bool hasRight_ = false, hasWidthCv_ = false;
  ModuleDelayLines lines_{*this};
  S616StereoReverbKernel kernel_{S616StereoReverbKernel::BestUnit()};
  dsp::EffectFinish finishLeft_, finishRight_;
};

}  // namespace halveron
