#include "modules/effects/S602VCDel.h"

#include "framework/preset_tail.h"

namespace halveron {

S602VCDel::S602VCDel(CFrame* frame, const HostTable& table, int voiceIndex)
    : BuiltInModule(frame, table, voiceIndex) {
  constexpr float kColumn1 = 20, kColumn2 = 54, kColumn3 = 88;
  AddModuleKnob(time_, "Time", kColumn1, 60, SharedBitmap::kSmallKnob, 0.5f);
  AddModuleKnob(timeCvAmount_, "Time CV amount", kColumn1, 108, SharedBitmap::kGrayKnob, 0.0f);
  AddModuleKnob(feedback_, "Feedback", kColumn2, 60, SharedBitmap::kSmallKnob, 0.5f);
  AddModuleKnob(mix_, "Mix", kColumn3, 60, SharedBitmap::kSmallKnob, 0.5f);
  mode_ = AddVerticalSwitch("Mode", kColumn2, 108, SharedBitmap::kVerticalTripleSwitch, 0.0f);
  AddLamp(clip_, "Clip LED", kColumn3, 108, SharedBitmap::kRedLamp);
  AddPatchPoint(audio_, "Audio", kColumn1, 250);
  AddPatchPoint(timeCv_, "Time CV", kColumn1, 154);
  AddPatchPoint(feedbackCv_, "Feedback CV", kColumn2, 154);
  AddPatchPoint(clock_, "Clock", kColumn1, 202);
  AddPatchPoint(spare_, "Spare", kColumn2, 202);
  AddPatchPoint(out_, "Out", kColumn3, 250);

  timeCvAmount_.View().caption = "Time amt";
  feedback_.View().caption = "Fdbk";
  feedbackCv_.View().caption = "Fdbk CV";

  InitPatchPoints(0.0f);
  SetSampleRate(sampleRate);
  kernel_.SettleTime(time_->value);
  ValueChanged(mode_);
}

void S602VCDel::SetSampleRate(float rate) {
  Module::SetSampleRate(rate);
  clip_.SetSampleRate(rate);
  finish_.Prepare(rate);
  kernel_.Prepare(rate);
  lines_.Resize(1, S602VCDelKernel::SizeAt(rate));
  TakeLine();
}

void S602VCDel::TakeLine() {
  lines_.TakeIfCabled();
  if (lines_.AreTaken()) kernel_.Attach(lines_.Line(0));
}

void S602VCDel::ValueChanged(CControl* control) {
  if (control != mode_) return;
  const float mode = mode_->getValue();
  const ProcessingSection section(*this);
  kernel_.cubic_cv = mode < 1.0f;
  kernel_.tap_after_feedback = mode < 0.5f || mode >= 1.0f;
}

void S602VCDel::CableConnected(PatchPoint* point) {
  TakeLine();
  NoteCables();
  if (point == clock_) kernel_.ForgetClock();
}

void S602VCDel::CableDisconnected(PatchPoint*) { NoteCables(); }

void S602VCDel::NoteCables() { cables_ = {feedbackCv_.IsCabled(), clock_.IsCabled()}; }

void S602VCDel::ProcessSample() {
  restingKnobs_.Smooth(knobMoves_, timeCvAmount_, feedback_, mix_);
  clip_.Tick();
  if (!lines_.AreTaken()) {
    out_->out = audio_->in;
    return;
  }
  const double wet =
      kernel_.Step({time_->value, timeCvAmount_->smoothed_value, feedback_->smoothed_value},
                   {audio_->in, timeCv_->in, feedbackCv_->in, clock_->in}, cables_);
  const double mixed =
      dsp::CompensatedMix(static_cast<double>(audio_->in), wet, mix_->smoothed_value);
  out_->out = clip_.Finish(finish_, mixed, clipLevel);
}

int S602VCDel::GetPresetSize() { return GetControlValuesSize() + static_cast<int>(sizeof(float)); }

void S602VCDel::SavePreset(void* buffer, int size) {
  PresetTail(*this).Save(buffer, size).Write(static_cast<float>(kernel_.ClockedSeconds()));
}

void S602VCDel::LoadPreset(const void* buffer, int size, int version) {
  ByteReader reader = PresetTail(*this).Load(buffer, size);
  kernel_.SettleTime(time_->value);
  // Before 1002 there was no such switch, in 1002 it had two positions.
  if (version < 1002 || (version == 1002 && mode_->getValue() > 0.0f)) {
    mode_->setValue(1.0f);
    ValueChanged(mode_);
  }
  float seconds = 0.0f;
  if (reader.Read(seconds)) kernel_.SetClockedSeconds(static_cast<double>(seconds));
}

}  // namespace halveron
