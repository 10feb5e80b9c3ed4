#include "modules/filters/S225AllPassPhaseShifter.h"

namespace halveron {

S225AllPassPhaseShifter::S225AllPassPhaseShifter(CFrame* frame, const HostTable& table,
                                                 int voiceIndex)
    : BuiltInModule(frame, table, voiceIndex) {
  constexpr float kColumn1 = 20, kColumn2 = 54, kColumn3 = 88;
  AddModuleKnob(frequency_, "Frequency", kColumn1, 60, SharedBitmap::kSmallKnob, 0.5f);
  AddModuleKnob(frequencyCvAmount_, "Frequency CV amount", kColumn1, 108, SharedBitmap::kGrayKnob,
                0.0f);
  AddModuleKnob(resonanceCvAmount_, "Resonance CV amount", kColumn2, 108, SharedBitmap::kGrayKnob,
                0.0f);
  AddModuleKnob(resonance_, "Resonance", kColumn2, 60, SharedBitmap::kSmallKnob, 0.8f);
  form_ = AddVerticalSwitch("Form", kColumn3, 60, SharedBitmap::kVerticalSwitch, 0.0f);
  AddLamp(clip_, "Clip LED", kColumn3, 108, SharedBitmap::kRedLamp);
  AddPatchPoint(audio_, "Audio", kColumn1, 250);
  AddPatchPoint(directCv_, "Frequency CV (direct)", kColumn3, 158);
  AddPatchPoint(attenuatedCv_, "Frequency CV (attenuated)", kColumn1, 158);
  AddPatchPoint(resonanceCv_, "Resonance CV", kColumn2, 158);
  AddPatchPoint(out_, "Out", kColumn3, 250);

  frequency_.View().caption = "Freq";
  frequencyCvAmount_.View().caption = "Freq amt";
  resonanceCvAmount_.View().caption = "Res amt";
  resonance_.View().caption = "Res";
  form_->caption = "SV/Direct";
  directCv_.View().caption = "1/1 CV";
  attenuatedCv_.View().caption = "Freq CV";
  resonanceCv_.View().caption = "Res CV";

  InitPatchPoints(0.0f);
  SetSampleRate(sampleRate);
  ValueChanged(form_);
}

void S225AllPassPhaseShifter::SetSampleRate(float rate) {
  Module::SetSampleRate(rate);
  clip_.SetSampleRate(rate);
  kernel_.Prepare(rate);
}

void S225AllPassPhaseShifter::ValueChanged(CControl* control) {
  if (control == form_) kernel_.isDirect = form_->getValue() >= 0.5f;
}

void S225AllPassPhaseShifter::ProcessSample() {
  restingKnobs_.Smooth(knobMoves_, frequency_, frequencyCvAmount_, resonanceCvAmount_, resonance_);
  clip_.Tick();
  out_->out = kernel_.Step({frequency_->smoothed_value, frequencyCvAmount_->smoothed_value,
                            resonanceCvAmount_->smoothed_value, resonance_->smoothed_value},
                           {audio_->in, directCv_->in, attenuatedCv_->in, resonanceCv_->in},
                           clipLevel, [&](bool) { clip_.Light(); });
}

}  // namespace halveron
