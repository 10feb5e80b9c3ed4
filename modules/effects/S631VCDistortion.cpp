#include "modules/effects/S631VCDistortion.h"

#include <cmath>
#include <numbers>

#include "framework/numbered_role.h"
#include "modules/effects/distortion_envelope.h"

namespace halveron {

namespace {

constexpr double kThresholdShare = 0.4;  // of the envelope

}  // namespace

S631VCDistortion::S631VCDistortion(CFrame* frame, const HostTable& table, int voiceIndex)
    : BuiltInModule(frame, table, voiceIndex) {
  constexpr float kLeft = 20, kRight = 52, kMiddle = 36;
  AddModuleKnob(shape_, "Shape", kMiddle, 56, SharedBitmap::kSmallKnob, 0.25f);
  AddModuleKnob(shapeCvAmount_, "Shape CV amount", kLeft, 104, SharedBitmap::kGrayKnob, 0.0f);
  AddModuleKnob(speed_, "Speed", kRight, 104, SharedBitmap::kGrayKnob, 0.3888889f);
  for (std::size_t i = 0; i < channels_.size(); ++i) {
    AddPatchPoint(channels_[i].in, NumberedRole<"In">(i), i == 0 ? kLeft : kRight, 198);
  }
  AddPatchPoint(shapeCv_, "Shape CV", kMiddle, 152);
  for (std::size_t i = 0; i < channels_.size(); ++i) {
    AddPatchPoint(channels_[i].out, NumberedRole<"Out">(i), i == 0 ? kLeft : kRight, 246);
  }
  shapeCvAmount_.View().caption = "CV amt";

  clipLevel = -1.0f;
  InitPatchPoints(0.0f);
  SetSampleRate(sampleRate);
}

double S631VCDistortion::Shape(double excess, double s) {
  if (s < 0.0) return (1.0 + s) * excess - s * (excess / (1.0 + excess));
  return (1.0 - s) * excess + s * std::sin(std::numbers::pi * excess) / std::numbers::pi;
}

void S631VCDistortion::ProcessSample() {
  restingKnobs_.Smooth(knobMoves_, shape_, shapeCvAmount_);
  const double v =
      dsp::LimitUnit(shapeCv_->in * shapeCvAmount_->smoothed_value + shape_->smoothed_value);
  const double s = v * 2.0 - 1.0;
  for (Channel& channel : channels_) {
    if (!channel.out.IsCabled()) continue;
    const float in = dsp::FiniteOrZero(channel.in->in);
    const double threshold = StepEnvelope(channel.follower, in) * kThresholdShare;
    const double excess = std::fabs(in) / threshold - 1.0;
    channel.out->out =
        excess <= 0.0 ? in
                      : static_cast<float>(std::copysign((1.0 + Shape(excess, s)) * threshold, in));
  }
}

void S631VCDistortion::SetSampleRate(float rate) {
  Module::SetSampleRate(rate);
  ValueChanged(speed_);
}

void S631VCDistortion::ValueChanged(CControl* control) {
  if (control != speed_) return;
  for (Channel& channel : channels_) {
    channel.follower.SetGain(EnvelopeGain(speed_->value, sampleRate));
  }
}

}  // namespace halveron
