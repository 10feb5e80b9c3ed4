#include "modules/filters/S205LPG.h"

namespace halveron {

S205LPG::S205LPG(CFrame* frame, const HostTable& table, int voiceIndex)
    : BuiltInModule(frame, table, voiceIndex) {
  constexpr float kLeft = 26, kRight = 70;
  AddModuleKnob(level_, "Level", kLeft, 58, SharedBitmap::kSmallKnob, 0.5f);
  AddModuleKnob(cutoff_, "Cutoff", kLeft, 106, SharedBitmap::kSmallKnob, 0.5f);
  AddModuleKnob(cutoffAmount_, "Cutoff CV amount", kLeft, 148, SharedBitmap::kGrayKnob, 0.0f);
  AddModuleKnob(resonanceBase_, "Resonance base", kRight, 148, SharedBitmap::kGrayKnob, 0.0f);
  AddModuleKnob(resonance_, "Resonance", kRight, 106, SharedBitmap::kSmallKnob, 0.0f);
  modeSwitch_ = AddVerticalSwitch("Mode", kRight, 61, SharedBitmap::kVerticalTripleSwitch, 0.5f);
  AddPatchPoint(audio_, "Audio", kLeft, 262);
  AddPatchPoint(cutoffCv_, "Cutoff CV", kLeft, 224);
  AddPatchPoint(attenuatedCutoffCv_, "Cutoff CV (attenuated)", kLeft, 186);
  AddPatchPoint(resonanceCv_, "Resonance CV", kRight, 186);
  AddPatchPoint(out_, "Out", kRight, 262);

  cutoffAmount_.View().caption = "Cutoff amt";
  resonanceBase_.View().caption = "Res base";
  attenuatedCutoffCv_.View().caption = "Cutoff att";
  resonanceCv_.View().caption = "Res CV";

  clipLevel = -1.0f;
  InitPatchPoints(0.0f);
  SetSampleRate(sampleRate);
  ValueChanged(modeSwitch_);
}

void S205LPG::ProcessSample() {
  restingKnobs_.Smooth(knobMoves_, level_, cutoff_, cutoffAmount_, resonanceBase_, resonance_);

  const double cutoff = attenuatedCutoffCv_->in * cutoffAmount_->smoothed_value + cutoffCv_->in +
                        cutoff_->smoothed_value;
  out_->out = kernel_.Step(
      mode_, {audio_->in, resonanceCv_->in, cutoff},
      {level_->smoothed_value, resonanceBase_->smoothed_value, resonance_->smoothed_value});
}

VoiceGroupMaker S205LPG::GetVoiceGroupMaker(VectorUnit unit) const {
  return VoiceGroupMakerOf<S205LPG>(unit);
}

void S205LPG::SetSampleRate(float rate) {
  Module::SetSampleRate(rate);
  kernel_.Prepare(rate);
}

void S205LPG::ValueChanged(CControl* control) {
  if (control == modeSwitch_) mode_ = modeSwitch_->getPosition();
}

}  // namespace halveron
