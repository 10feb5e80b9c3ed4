#include "modules/effects/S612OctetChorus.h"

namespace halveron {

S612OctetChorus::S612OctetChorus(CFrame* frame, const HostTable& table, int voiceIndex)
    : BuiltInModule(frame, table, voiceIndex) {
  // A CV stands under its knob.
  constexpr float kColumn1 = 27, kColumn2 = 61, kColumn3 = 95, kColumn4 = 129;
  AddModuleKnob(feedback_, "Feedback", kColumn4, 60, SharedBitmap::kSmallKnob, 0.0f);
  AddModuleKnob(depth_, "Depth", kColumn2, 60, SharedBitmap::kSmallKnob, 0.052f);
  AddModuleKnob(depthCvAmount_, "Depth CV amount", kColumn2, 108, SharedBitmap::kGrayKnob, 0.0f);
  AddModuleKnob(rate_, "Rate", kColumn1, 60, SharedBitmap::kSmallKnob, 0.1075f);
  AddModuleKnob(rateCvAmount_, "Rate CV amount", kColumn1, 108, SharedBitmap::kGrayKnob, 0.0f);
  AddModuleKnob(spread_, "Spread", kColumn3, 60, SharedBitmap::kSmallKnob, 1.0f);
  AddModuleKnob(mix_, "Mix", kColumn4, 108, SharedBitmap::kSmallKnob, 0.5f);
  AddSteppedKnob(voices_, "Voices", kColumn3, 108, SharedBitmap::kGrayKnob7, 0.0f);
  AddLamp(clip_, "Clip LED", kColumn4, 156, SharedBitmap::kRedLamp);
  AddPatchPoint(inLeft_, "In L", kColumn1, 250);
  AddPatchPoint(inRight_, "In R", kColumn2, 250);
  AddPatchPoint(depthCv_, "Depth CV", kColumn2, 156);
  AddPatchPoint(rateCv_, "Rate CV", kColumn1, 156);
  AddPatchPoint(spreadCv_, "Spread CV", kColumn3, 156);
  AddPatchPoint(outLeft_, "Out L", kColumn3, 250);
  AddPatchPoint(outRight_, "Out R", kColumn4, 250);

  feedback_.View().caption = "Fdbk";
  depthCvAmount_.View().caption = "Depth amt";
  rateCvAmount_.View().caption = "Rate amt";

  InitPatchPoints(0.0f);
  SetSampleRate(sampleRate);
  kernel_.SettleRate(rate_->value);
  ValueChanged(voices_);
}

void S612OctetChorus::SetSampleRate(float rate) {
  Module::SetSampleRate(rate);
  clip_.SetSampleRate(rate);
  finishLeft_.Prepare(rate);
  finishRight_.Prepare(rate);
  kernel_.Prepare(rate);
  lines_.Resize(S612OctetChorusKernel::kMostVoices, S612OctetChorusKernel::SizeAt(rate));
  lines_.TakeIfCabled(kernel_);
}

void S612OctetChorus::ValueChanged(CControl* control) {
  if (control != voices_) return;
  voices_.View().SnapToStep();
  const int voices = static_cast<int>(voices_->stepped_target * 6.0f + 0.01f) + 2;
  const ProcessingSection section(*this);
  kernel_.SetVoices(voices);
}

void S612OctetChorus::CableConnected(PatchPoint*) {
  lines_.TakeIfCabled(kernel_);
  NoteCables();
}

void S612OctetChorus::CableDisconnected(PatchPoint*) { NoteCables(); }

void S612OctetChorus::NoteCables() {
  hasRight_ = inRight_.IsCabled();
  hasSpreadCv_ = spreadCv_.IsCabled();
}

void S612OctetChorus::ProcessSample() {
  restingKnobs_.Smooth(knobMoves_, feedback_, depth_, depthCvAmount_, rateCvAmount_, spread_, mix_);
  clip_.Tick();

  const float left = inLeft_->in;
  const float right = hasRight_ ? inRight_->in : left;
  if (!lines_.AreTaken()) {
    outLeft_->out = left;
    outRight_->out = right;
    return;
  }
  const auto wet = kernel_.Step(
      {feedback_->smoothed_value, depth_->smoothed_value, depthCvAmount_->smoothed_value,
       rate_->value, rateCvAmount_->smoothed_value, spread_->smoothed_value},
      {left, right, depthCv_->in, rateCv_->in, hasSpreadCv_ ? spreadCv_->in : 1.0f});
  const double mix = mix_->smoothed_value;
  outLeft_->out = clip_.Finish(
      finishLeft_, dsp::CompensatedMix(static_cast<double>(left), wet.left, mix), clipLevel);
  outRight_->out = clip_.Finish(
      finishRight_, dsp::CompensatedMix(static_cast<double>(right), wet.right, mix), clipLevel);
}

void S612OctetChorus::LoadPreset(const void* buffer, int size, int version) {
  Module::LoadPreset(buffer, size, version);
  kernel_.SettleRate(rate_->value);
}

}  // namespace halveron
