#include "modules/filters/S201VCF.h"

namespace halveron {

S201VCF::S201VCF(CFrame* frame, const HostTable& table, int voiceIndex)
    : BuiltInModule(frame, table, voiceIndex) {
  constexpr float kLeft = 26, kRight = 70;
  AddModuleKnob(inputLevel_, "Input level", kLeft, 58, SharedBitmap::kSmallKnob, 0.5f);
  AddModuleKnob(cutoff_, "Cutoff", kLeft, 106, SharedBitmap::kSmallKnob, 0.5f);
  AddModuleKnob(cutoffAmount_, "Cutoff CV amount", kLeft, 148, SharedBitmap::kGrayKnob, 0.0f);
  AddModuleKnob(resonanceAmount_, "Resonance CV amount", kRight, 148, SharedBitmap::kGrayKnob,
                0.0f);
  AddModuleKnob(resonance_, "Resonance", kRight, 106, SharedBitmap::kSmallKnob, 0.0f);
  range_ = AddVerticalSwitch("Range", kRight, 58, SharedBitmap::kVerticalSwitch, 0.0f);
  AddPatchPoint(audio_, "Audio", kLeft, 262);
  AddPatchPoint(cutoffCv_, "Cutoff CV", kLeft, 224);
  AddPatchPoint(attenuatedCutoffCv_, "Cutoff CV (attenuated)", kLeft, 186);
  AddPatchPoint(resonanceCv_, "Resonance CV", kRight, 186);
  AddPatchPoint(lowPass_, "Low-pass", kRight, 262);

  inputLevel_.View().caption = "Level";
  cutoffAmount_.View().caption = "Cutoff amt";
  resonanceAmount_.View().caption = "Res amt";
  attenuatedCutoffCv_.View().caption = "Cutoff att";
  resonanceCv_.View().caption = "Res CV";

  InitPatchPoints(0.0f);
  SetSampleRate(sampleRate);
}

void S201VCF::SetSampleRate(float rate) {
  Module::SetSampleRate(rate);
  ValueChanged(range_);
}

void S201VCF::ValueChanged(CControl* control) {
  if (control != range_) return;
  const ProcessingSection section(*this);
  kernel_.Prepare(sampleRate, range_->getValue() >= 0.5f);
}

void S201VCF::LoadPreset(const void* buffer, int size, int version) {
  Module::LoadPreset(buffer, size, version);
  if (version >= 1001) return;
  range_->setValue(0.0f);
  ValueChanged(range_);
}

void S201VCF::ProcessSample() {
  restingKnobs_.Smooth(knobMoves_, inputLevel_, cutoff_, cutoffAmount_, resonanceAmount_,
                       resonance_);

  const double cutoff = attenuatedCutoffCv_->in * cutoffAmount_->smoothed_value + cutoffCv_->in +
                        cutoff_->smoothed_value;
  const double resonance =
      resonanceCv_->in * resonanceAmount_->smoothed_value + resonance_->smoothed_value;
  lowPass_->out = static_cast<float>(
      kernel_.Step(audio_->in, inputLevel_->smoothed_value, cutoff, resonance, clipLevel));
}

VoiceGroupMaker S201VCF::GetVoiceGroupMaker(VectorUnit unit) const {
  return VoiceGroupMakerOf<S201VCF>(unit);
}

}  // namespace halveron
