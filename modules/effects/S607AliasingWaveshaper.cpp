#include "modules/effects/S607AliasingWaveshaper.h"

namespace halveron {

S607AliasingWaveshaper::S607AliasingWaveshaper(CFrame* frame, const HostTable& table,
                                               int voiceIndex)
    : BuiltInModule(frame, table, voiceIndex) {
  constexpr float kLeft = 36, kRight = 84;
  AddModuleKnob(gain_, "Gain", kLeft, 56, SharedBitmap::kSmallKnob, 0.5f);
  AddModuleKnob(upper_, "Upper slope", kRight, 56, SharedBitmap::kSmallKnob, 1.0f);
  AddModuleKnob(lower_, "Lower slope", kRight, 104, SharedBitmap::kSmallKnob, 0.5f);
  AddModuleKnob(threshold_, "Threshold", kLeft, 104, SharedBitmap::kSmallKnob, 0.5f);
  mode_ = AddVerticalSwitch("Mode", kLeft - 14, 152, SharedBitmap::kVerticalSwitch, 0.0f);
  slopeLink_ =
      AddVerticalSwitch("Slope link", kLeft + 14, 152, SharedBitmap::kVerticalSwitch, 0.0f);
  AddLamp(clip_, "Clip LED", 60, 80, SharedBitmap::kRedLamp);
  AddPatchPoint(audio_, "Audio", kLeft, 250);
  AddPatchPoint(upperCv_, "Upper slope CV", kRight, 152);
  AddPatchPoint(lowerCv_, "Lower slope CV", kRight, 198);
  AddPatchPoint(thresholdCv_, "Threshold CV", kLeft, 198);
  AddPatchPoint(out_, "Out", kRight, 250);

  upper_.View().caption = "Upper";
  lower_.View().caption = "Lower";
  upperCv_.View().caption = "Upper CV";
  lowerCv_.View().caption = "Lower CV";
  slopeLink_->caption = "Link";
  thresholdCv_.View().caption = "Thr CV";

  InitPatchPoints(0.0f);
  SetSampleRate(sampleRate);
  ValueChanged(mode_);
  ValueChanged(slopeLink_);
}

double S607AliasingWaveshaper::Jumping(double y, double threshold, double u, double l) {
  if (y > threshold) return u * y;
  return y + threshold < 0.0 ? l * y : y;
}

double S607AliasingWaveshaper::Bending(double y, double threshold, double u, double l) {
  if (y - threshold > 0.0) return u * (y - threshold) + threshold;
  return y + threshold < 0.0 ? l * (y + threshold) - threshold : y;
}

void S607AliasingWaveshaper::ProcessSample() {
  for (Knob* knob : {&gain_, &upper_, &lower_, &threshold_}) (*knob)->SmoothValue();
  clip_.Tick();
  const double gain = gain_->smoothed_value;
  const float y = audio_->in * static_cast<float>(gain * gain * 3.9999);
  const auto slope = [](const Input& cv, const Knob& knob) {
    return cv.IsCabled() ? cv->in * knob->smoothed_value : knob->smoothed_value * 2.0 - 1.0;
  };
  const double threshold = thresholdCv_.IsCabled() ? thresholdCv_->in * threshold_->smoothed_value
                                                   : threshold_->smoothed_value;
  const double u = slope(upperCv_, upper_);
  const double l = isLinked_ ? u : slope(lowerCv_, lower_);
  const double shaped = bends_ ? Bending(y, threshold, u, l) : Jumping(y, threshold, u, l);
  out_->out = clip_.Limit(static_cast<float>(shaped), clipLevel);
}

void S607AliasingWaveshaper::SetSampleRate(float rate) {
  Module::SetSampleRate(rate);
  clip_.SetSampleRate(rate);
}

void S607AliasingWaveshaper::ValueChanged(CControl* control) {
  if (control == mode_) bends_ = mode_->getValue() >= 0.5f;
  if (control == slopeLink_) isLinked_ = slopeLink_->getValue() >= 0.5f;
}

}  // namespace halveron
