#include "modules/filters/S223DualTapCombFilter.h"

namespace halveron {

S223DualTapCombFilter::S223DualTapCombFilter(CFrame* frame, const HostTable& table, int voiceIndex)
    : BuiltInModule(frame, table, voiceIndex) {
  constexpr float kColumn1 = 20, kColumn2 = 54, kColumn3 = 88;
  AddModuleKnob(time_, "Time", kColumn1, 60, SharedBitmap::kSmallKnob, 0.25f);
  AddModuleKnob(timeCvAmount_, "Time CV amount", kColumn1, 108, SharedBitmap::kGrayKnob, 0.0f);
  AddModuleKnob(secondTap_, "Second tap", kColumn2, 60, SharedBitmap::kSmallKnob, 0.0f);
  AddModuleKnob(feedback_, "Feedback", kColumn3, 60, SharedBitmap::kSmallKnob, 0.5f);
  type_ = AddVerticalSwitch("Type", kColumn2, 108, SharedBitmap::kVerticalSwitch, 0.0f);
  AddLamp(clip_, "Clip LED", kColumn3, 108, SharedBitmap::kRedLamp);
  AddPatchPoint(audio_, "Audio", kColumn1, 250);
  AddPatchPoint(timeCv_, "Time CV", kColumn1, 158);
  AddPatchPoint(secondTapCv_, "Second tap CV", kColumn2, 158);
  AddPatchPoint(feedbackCv_, "Feedback CV", kColumn3, 158);
  AddPatchPoint(out_, "Out", kColumn3, 250);

  timeCvAmount_.View().caption = "Time amt";
  secondTap_.View().caption = "Tap 2";
  feedback_.View().caption = "Fdbk";
  type_->caption = "FB/FF";
  secondTapCv_.View().caption = "Tap 2 CV";
  feedbackCv_.View().caption = "Fdbk CV";

  InitPatchPoints(0.0f);
  SetSampleRate(sampleRate);
  ValueChanged(type_);
}

void S223DualTapCombFilter::SetSampleRate(float rate) {
  Module::SetSampleRate(rate);
  clip_.SetSampleRate(rate);
  finish_.Prepare(rate);
  kernel_.Prepare(rate);
  lines_.Resize(1, S223DualTapCombFilterKernel::SizeAt(rate));
  TakeLine();
}

void S223DualTapCombFilter::TakeLine() {
  lines_.TakeIfCabled();
  if (lines_.AreTaken()) kernel_.Attach(lines_.Line(0));
}

void S223DualTapCombFilter::ValueChanged(CControl* control) {
  if (control == type_) kernel_.isFeedForward = type_->getValue() >= 0.5f;
}

void S223DualTapCombFilter::CableConnected(PatchPoint*) {
  TakeLine();
  hasFeedbackCv_ = feedbackCv_.IsCabled();
}

void S223DualTapCombFilter::CableDisconnected(PatchPoint*) {
  hasFeedbackCv_ = feedbackCv_.IsCabled();
}

void S223DualTapCombFilter::ProcessSample() {
  restingKnobs_.Smooth(knobMoves_, time_, timeCvAmount_, secondTap_, feedback_);
  clip_.Tick();
  if (!lines_.AreTaken()) {
    out_->out = audio_->in;
    return;
  }
  const double y = kernel_.Step(
      {time_->smoothed_value, timeCvAmount_->smoothed_value, secondTap_->smoothed_value,
       feedback_->smoothed_value},
      {audio_->in, timeCv_->in, secondTapCv_->in, hasFeedbackCv_ ? feedbackCv_->in : 1.0f});
  out_->out = clip_.Finish(finish_, y, clipLevel);
}

}  // namespace halveron
