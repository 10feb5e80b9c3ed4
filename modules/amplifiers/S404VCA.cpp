#include "modules/amplifiers/S404VCA.h"

namespace halveron {

S404VCA::S404VCA(CFrame* frame, const HostTable& table, int voiceIndex)
    : BuiltInModule(frame, table, voiceIndex) {
  AddModuleKnob(level1_, "Level 1", 20, 58, SharedBitmap::kSmallKnob, 0.5f);
  AddModuleKnob(level2_, "Level 2", 54, 58, SharedBitmap::kSmallKnob, 0.5f);
  AddModuleKnob(cvAmount_, "CV amount", 54, 106, SharedBitmap::kSmallKnob, 0.0f);
  cvAmount_.View().caption = "CV amt";
  AddModuleKnob(baseGain_, "Base gain", 20, 106, SharedBitmap::kSmallKnob, 0.0f);
  baseGain_.View().caption = "Gain";
  lawSwitch_ = AddVerticalSwitch("Law", 88, 106, SharedBitmap::kVerticalTripleSwitch, 0.0f);
  AddLamp(clip_, "Clip LED", 88, 58, SharedBitmap::kRedLamp);
  AddPatchPoint(in1_, "In 1", 20, 150);
  AddPatchPoint(in2_, "In 2", 54, 150);
  AddPatchPoint(cv_, "CV", 88, 150);
  AddPatchPoint(crossfade_, "Crossfade", 54, 198);
  AddPatchPoint(mix_, "Mix", 20, 246);
  AddPatchPoint(out1_, "Out 1", 54, 246);
  AddPatchPoint(out2_, "Out 2", 88, 246);
  InitPatchPoints(0.0f);
  SetSampleRate(sampleRate);
  ValueChanged(lawSwitch_);
}

void S404VCA::ProcessSample() {
  restingKnobs_.Smooth(knobMoves_, level1_, level2_, cvAmount_, baseGain_);
  clip_.Tick();

  using Kernel = S404VCAKernel<>;
  const float g = Kernel::Gain(law_, baseGain_->smoothed_value, cvAmount_->smoothed_value, cv_->in);
  if (!(g > 0.0f)) {
    mix_->out = out1_->out = out2_->out = 0.0f;
    return;
  }
  out1_->out = clip_.Limit(Kernel::Amplify(in1_->in, level1_->smoothed_value, g), clipLevel);
  out2_->out = clip_.Limit(Kernel::Amplify(in2_->in, level2_->smoothed_value, g), clipLevel);
  mix_->out = Kernel::Mix(out1_->out, out2_->out, crossfade_->in);
}

void S404VCA::SetSampleRate(float rate) {
  Module::SetSampleRate(rate);
  clip_.SetSampleRate(rate);
}

void S404VCA::ValueChanged(CControl* control) {
  if (control == lawSwitch_) law_ = lawSwitch_->getPosition();
}

VoiceGroupMaker S404VCA::GetVoiceGroupMaker(VectorUnit unit) const {
  return VoiceGroupMakerOf<S404VCA>(unit);
}

}  // namespace halveron
