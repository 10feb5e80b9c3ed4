#include "modules/sources/S321FMPMVCO.h"

#include <algorithm>

#include "framework/preset_tail.h"

namespace halveron {

namespace {

constexpr double kLowestRatio = 0.5;  // the step below 1
constexpr float kRatioSteps = 12.0f;

double RatioOf(double steppedValue) {
  const int step = std::clamp(static_cast<int>(steppedValue * kRatioSteps + 0.5), 0, 12);
  return step == 0 ? kLowestRatio : step;
}

}  // namespace

void S321FMPMVCO::SetUpClass() {
  BuiltInModule::SetUpClass();
  dsp::GetMinBlepTable();
}

S321FMPMVCO::S321FMPMVCO(CFrame* frame, const HostTable& table, int voiceIndex)
    : BuiltInModule(frame, table, voiceIndex) {
  constexpr float k1 = 21, k2 = 55, k3 = 89, k4 = 123;
  AddSteppedKnob(octave_, "Octave", 28, 62, SharedBitmap::kGrayKnob13, 0.5f);
  AddModuleKnob(fineTune_, "Fine tune", 116, 62, SharedBitmap::kSmallKnob, 0.5f);
  AddSteppedKnob(ratio_, "Ratio", 72, 62, SharedBitmap::kGrayKnob13, 1.0f / kRatioSteps);
  AddModuleKnob(linearAmount_, "Linear FM amount", k1, 113, SharedBitmap::kSmallKnob, 0.0f);
  AddModuleKnob(exponentialAmount_, "Exponential FM amount", k2, 113, SharedBitmap::kSmallKnob,
                0.0f);
  AddModuleKnob(pmAmount_, "PM amount", k3, 113, SharedBitmap::kSmallKnob, 0.0f);
  AddModuleKnob(feedback_, "Feedback", k4, 113, SharedBitmap::kSmallKnob, 0.0f);
  fineTune_.View().caption = "Fine";
  linearAmount_.View().caption = "Lin amt";
  exponentialAmount_.View().caption = "Exp amt";
  pmAmount_.View().caption = "PM amt";
  feedback_.View().caption = "Feedb";

  AddPatchPoint(pitch_, "Pitch", 38, 208);
  AddPatchPoint(linearFm_, "Linear FM", k1, 162);
  AddPatchPoint(exponentialFm_, "Exponential FM", k2, 162);
  AddPatchPoint(pm_, "PM", k3, 162);
  AddPatchPoint(feedbackCv_, "Feedback CV", k4, 162);
  AddPatchPoint(sync_, "Sync", 106, 208);
  linearFm_.View().caption = "Lin FM";
  exponentialFm_.View().caption = "Exp FM";
  feedbackCv_.View().caption = "FB CV";
  AddPatchPoint(sine_, "Sine", k1, 254);
  AddPatchPoint(triangle_, "Triangle", k2, 254);
  AddPatchPoint(saw_, "Saw", k3, 254);
  AddPatchPoint(pulse_, "Pulse", k4, 254);

  clipLevel = -1.0f;
  kernel_.baseFrequency = NoteFrequency[60];
  kernel_.ForgetSteps();
  InitPatchPoints(0.0f);
  SetSampleRate(sampleRate);
  ValueChanged(octave_);
  ValueChanged(ratio_);
}

void S321FMPMVCO::ProcessSample() {
  restingKnobs_.Smooth(knobMoves_, Stepped(octave_), fineTune_, linearAmount_, exponentialAmount_,
                       pmAmount_, feedback_);
  kernel_.Step(
      {octave_->smoothed_value, fineTune_->smoothed_value, linearAmount_->smoothed_value,
       exponentialAmount_->smoothed_value, pmAmount_->smoothed_value, feedback_->smoothed_value},
      {pitch_->in, linearFm_->in, exponentialFm_->in, pm_->in, feedbackCv_->in, sync_->in}, cables_,
      outputs_);
  sine_->out = outputs_.sine;
  triangle_->out = outputs_.triangle;
  saw_->out = outputs_.saw;
  pulse_->out = outputs_.pulse;
}

VoiceGroupMaker S321FMPMVCO::GetVoiceGroupMaker(VectorUnit unit) const {
  return VoiceGroupMakerOf<S321FMPMVCO>(unit);
}

void S321FMPMVCO::SetSampleRate(float rate) {
  Module::SetSampleRate(rate);
  kernel_.Prepare(rate);
}

void S321FMPMVCO::ValueChanged(CControl* control) {
  if (control == octave_) {
    octave_.View().SnapToStep();
  } else if (control == ratio_) {
    ratio_.View().SnapToStep();
    const ProcessingSection section(*this);
    kernel_.ratio = RatioOf(static_cast<double>(ratio_->stepped_target));
  }
}

void S321FMPMVCO::CableConnected(PatchPoint*) { ReadCables(); }

void S321FMPMVCO::CableDisconnected(PatchPoint*) { ReadCables(); }

void S321FMPMVCO::ReadCables() {
  const S321FMPMVCOKernel<>::Cables before = cables_;
  cables_ = {sync_.IsCabled(), sine_.IsCabled(), triangle_.IsCabled(), saw_.IsCabled(),
             pulse_.IsCabled()};
  // What was under way when a wave fell silent is of another moment.
  if (cables_ != before) kernel_.ForgetSteps();
}

int S321FMPMVCO::GetPresetSize() { return PresetTail(*this).SizeWith(sizeof(float)); }

void S321FMPMVCO::SavePreset(void* buffer, int size) {
  PresetTail(*this).Save(buffer, size).Write(static_cast<float>(kernel_.phase));
}

void S321FMPMVCO::LoadPreset(const void* buffer, int size, int) {
  float phase = 0.0f;
  if (PresetTail(*this).Load(buffer, size).Read(phase) && phase >= 0.0f && phase < 1.0f) {
    kernel_.phase = static_cast<double>(phase);
  }
}

}  // namespace halveron
