#include "modules/amplifiers/S401VCAAtn.h"

#include <algorithm>
#include <array>

namespace halveron {

namespace {

constexpr std::array kGains{0.25f, 0.5f, 1.0f, 2.0f, 4.0f};

}  // namespace

S401VCAAtn::S401VCAAtn(CFrame* frame, const HostTable& table, int voiceIndex)
    : BuiltInModule(frame, table, voiceIndex) {
  AddSteppedKnob(gainKnob_, "Gain", 36, 60, SharedBitmap::kGrayKnob5, 0.5f);
  AddLamp(clip1_, "Clip LED 1", 19, 196, SharedBitmap::kRedLamp);
  AddLamp(clip2_, "Clip LED 2", 53, 196, SharedBitmap::kRedLamp);
  AddPatchPoint(in1_, "In 1", 19, 110);
  AddPatchPoint(cv_, "CV", 36, 158);
  AddPatchPoint(out1_, "Out 1", 19, 238);
  AddPatchPoint(in2_, "In 2", 53, 110);
  AddPatchPoint(out2_, "Out 2", 53, 238);
  InitPatchPoints(0.0f);
  SetSampleRate(sampleRate);
  ValueChanged(gainKnob_);
}

void S401VCAAtn::ProcessSample() {
  clip1_.Tick();
  clip2_.Tick();
  const float cv = cv_->in;
  if (!(cv > 0.0f)) {
    out1_->out = out2_->out = 0.0f;
    return;
  }
  out1_->out = clip1_.Limit(in1_->in * gain_ * cv, clipLevel);
  out2_->out = clip2_.Limit(in2_->in * gain_ * cv, clipLevel);
}

void S401VCAAtn::SetSampleRate(float rate) {
  Module::SetSampleRate(rate);
  clip1_.SetSampleRate(rate);
  clip2_.SetSampleRate(rate);
}

void S401VCAAtn::ValueChanged(CControl* control) {
  if (control != gainKnob_) return;
  gainKnob_.View().SnapToStep();
  constexpr int kLast = static_cast<int>(kGains.size()) - 1;
  const int step = static_cast<int>(gainKnob_->stepped_target * kLast);
  gain_ = kGains[static_cast<std::size_t>(std::clamp(step, 0, kLast))];
}

VoiceGroupMaker S401VCAAtn::GetVoiceGroupMaker(VectorUnit unit) const {
  return VoiceGroupMakerOf<S401VCAAtn>(unit);
}

}  // namespace halveron
