#include "modules/daw/SA13Clipped2DAW.h"

namespace halveron {

SA13Clipped2DAW::SA13Clipped2DAW(CFrame* frame, const HostTable& table, int voiceIndex)
    : BuiltInModule(frame, table, voiceIndex) {
  constexpr float kCentre = 42;
  AddModuleKnob(gain_, "Gain", kCentre, 80, SharedBitmap::kSmallKnob, 0.5f);
  AddLamp(clip_, "Clip LED", kCentre, 135, SharedBitmap::kRedLamp);
  AddPatchPoint(right_, "Right", kCentre, 235);
  AddPatchPoint(left_, "Left", kCentre, 185);

  clipLevel = -1.0f;
  monoSelectable = false;
  InitPatchPoints(0.0f);
  SetSampleRate(sampleRate);
}

void SA13Clipped2DAW::SetSampleRate(float rate) {
  Module::SetSampleRate(rate);
  clip_.SetSampleRate(rate);
}

void SA13Clipped2DAW::LoadPreset(const void* buffer, int size, int version) {
  Module::LoadPreset(buffer, size, version);
  // A lamp that was saved while it was lit would have nothing to put it out.
  clip_.Darken();
}

void SA13Clipped2DAW::ProcessSample() {
  gain_->SmoothValue();
  const double gain = gain_->smoothed_value * gain_->smoothed_value;
  const float left = clip_.Limit(static_cast<float>(left_->in * gain), 1.0f);
  const float right = clip_.Limit(static_cast<float>(right_->in * gain), 1.0f);
  SendStereoToDAW(left, right);
  clip_.Tick();
}

}  // namespace halveron
