#include "modules/effects/S609VCBitCrusher.h"

namespace halveron {

S609VCBitCrusher::S609VCBitCrusher(CFrame* frame, const HostTable& table, int voiceIndex)
    : BuiltInModule(frame, table, voiceIndex) {
  constexpr float kLeft = 26, kMiddle = 66, kRight = 106;
  AddModuleKnob(rate_, "Rate", kLeft, 56, SharedBitmap::kSmallKnob, 1.0f);
  AddModuleKnob(rateCvAmount_, "Rate CV", kLeft, 104, SharedBitmap::kGrayKnob, 0.0f);
  AddModuleKnob(offset_, "Offset", kMiddle, 56, SharedBitmap::kSmallKnob, 0.5f);
  AddModuleKnob(level_, "Level", kMiddle, 196, SharedBitmap::kSmallKnob, 1.0f);
  AddModuleKnob(depth_, "Depth", kRight, 56, SharedBitmap::kSmallKnob, 0.5f);
  AddModuleKnob(depthCvAmount_, "Depth CV", kRight, 104, SharedBitmap::kGrayKnob, 0.0f);
  AddModuleKnob(speed_, "Speed", kRight, 196, SharedBitmap::kGrayKnob, 0.5f);
  offsetMode_ = AddVerticalSwitch("Offset mode", kMiddle, 104, SharedBitmap::kVerticalSwitch, 0.0f);
  AddPatchPoint(audio_, "Audio", kLeft, 248);
  AddPatchPoint(rateCv_, "Rate CV", kLeft, 150);
  AddPatchPoint(offsetCv_, "Offset CV", kMiddle, 150);
  AddPatchPoint(depthCv_, "Depth CV", kRight, 150);
  AddPatchPoint(out_, "Out", kRight, 248);
  rateCvAmount_.View().caption = "Rate amt";
  depthCvAmount_.View().caption = "Depth amt";

  clipLevel = -1.0f;
  InitPatchPoints(0.0f);
  SetSampleRate(sampleRate);
  ValueChanged(offsetMode_);
}

void S609VCBitCrusher::ProcessSample() {
  for (Knob* knob : {&rate_, &rateCvAmount_, &offset_, &level_, &depth_, &depthCvAmount_}) {
    (*knob)->SmoothValue();
  }
  const double offset = offset_->smoothed_value;
  const S609VCBitCrusherKernel::Controls controls{
      rateCv_->in * rateCvAmount_->smoothed_value + rate_->smoothed_value,
      offsetByCv_ ? offsetCv_->in * offset : offset, offsetByCv_,
      depthCv_->in * depthCvAmount_->smoothed_value + depth_->smoothed_value};
  const double held = kernel_.Step(dsp::FiniteOrZero(audio_->in), controls);
  out_->out = static_cast<float>(held * level_->smoothed_value);
}

void S609VCBitCrusher::SetSampleRate(float rate) {
  Module::SetSampleRate(rate);
  kernel_.Prepare(rate);
  ValueChanged(speed_);
}

void S609VCBitCrusher::ValueChanged(CControl* control) {
  if (control == speed_) kernel_.SetSpeed(speed_->value);
  if (control == offsetMode_) offsetByCv_ = offsetMode_->getValue() >= 0.5f;
}

}  // namespace halveron
