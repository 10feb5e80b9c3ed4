#include "modules/effects/S634QuickDistortion.h"

#include "modules/effects/distortion_envelope.h"

namespace halveron {

S634QuickDistortion::S634QuickDistortion(CFrame* frame, const HostTable& table, int voiceIndex)
    : BuiltInModule(frame, table, voiceIndex) {
  constexpr float kMiddle = 36;
  AddModuleKnob(speed_, "Speed", kMiddle, 60, SharedBitmap::kGrayKnob, 0.3888889f);
  AddModuleKnob(mix_, "Mix", kMiddle, 116, SharedBitmap::kGrayKnob, 0.4f);
  AddPatchPoint(in_, "In", kMiddle, 190);
  AddPatchPoint(out_, "Out", kMiddle, 246);

  clipLevel = -1.0f;
  InitPatchPoints(0.0f);
  SetSampleRate(sampleRate);
}

double S634QuickDistortion::Squash(double t) {
  const double rest = t >= 0.0 ? 1.0 - t : t + 1.0;
  const double rest2 = rest * rest;
  const double rest4 = rest2 * rest2;
  const double rest12 = rest4 * rest4 * rest4;
  return t >= 0.0 ? 1.0 - rest12 : rest12 - 1.0;
}

void S634QuickDistortion::ProcessSample() {
  mix_->SmoothValue();
  const float in = dsp::FiniteOrZero(in_->in);
  const double e = StepEnvelope(follower_, in);
  const double t = dsp::LimitSymmetric(in / e, 1.0);
  const double m = mix_->smoothed_value;
  out_->out = static_cast<float>(Squash(t) * m * e + (1.0 - m) * in);
}

void S634QuickDistortion::SetSampleRate(float rate) {
  Module::SetSampleRate(rate);
  ValueChanged(speed_);
}

void S634QuickDistortion::ValueChanged(CControl* control) {
  if (control == speed_) follower_.SetGain(EnvelopeGain(speed_->value, sampleRate));
}

}  // namespace halveron
