#include "modules/filters/S202HPLSVCF.h"

namespace halveron {

S202HPLSVCF::S202HPLSVCF(CFrame* frame, const HostTable& table, int voiceIndex)
    : BuiltInModule(frame, table, voiceIndex) {
  constexpr float kLeft = 29, kRight = 79;
  AddModuleKnob(inputLevel_, "Input level", kLeft, 58, SharedBitmap::kSmallKnob, 0.5f);
  AddModuleKnob(cutoff_, "Cutoff", kLeft, 106, SharedBitmap::kSmallKnob, 0.5f);
  AddModuleKnob(cutoffAmount_, "Cutoff CV amount", kLeft, 148, SharedBitmap::kGrayKnob, 0.0f);
  AddModuleKnob(shelfLevel_, "Shelf level", kRight, 148, SharedBitmap::kGrayKnob, 0.0f);
  AddModuleKnob(resonance_, "Resonance", kRight, 106, SharedBitmap::kSmallKnob, 0.0f);
  mode_ = AddVerticalSwitch("Mode", kRight, 58, SharedBitmap::kVerticalSwitch, 0.0f);
  AddPatchPoint(audio_, "Audio", kLeft, 262);
  AddPatchPoint(cutoffCv_, "Cutoff CV", kLeft, 224);
  AddPatchPoint(attenuatedCutoffCv_, "Cutoff CV (attenuated)", kLeft, 186);
  AddPatchPoint(shelfCv_, "Shelf level", kRight, 186);
  AddPatchPoint(out_, "Out", kRight, 262);

  inputLevel_.View().caption = "Level";
  mode_->caption = "HP/Shelf";
  cutoffAmount_.View().caption = "Cutoff amt";
  attenuatedCutoffCv_.View().caption = "Cutoff att";

  InitPatchPoints(0.0f);
  SetSampleRate(sampleRate);
  ValueChanged(mode_);
}

void S202HPLSVCF::SetSampleRate(float rate) {
  Module::SetSampleRate(rate);
  kernel_.Prepare(rate);
}

void S202HPLSVCF::ValueChanged(CControl* control) {
  if (control == mode_) lowShelf_ = mode_->getValue() != 0.0f;
}

void S202HPLSVCF::ProcessSample() {
  restingKnobs_.Smooth(knobMoves_, inputLevel_, cutoff_, cutoffAmount_);
  if (lowShelf_) shelfLevel_->SmoothValue();
  resonance_->SmoothValue();

  const double level = inputLevel_->smoothed_value;
  const double cutoff = attenuatedCutoffCv_->in * cutoffAmount_->smoothed_value + cutoffCv_->in +
                        cutoff_->smoothed_value;
  const double resonance = resonance_->smoothed_value;
  out_->out = static_cast<float>(
      lowShelf_ ? kernel_.LowShelf(audio_->in, level, cutoff,
                                   shelfCv_->in + shelfLevel_->smoothed_value, resonance, clipLevel)
                : kernel_.HighPass(audio_->in, level, cutoff, resonance, clipLevel));
}

VoiceGroupMaker S202HPLSVCF::GetVoiceGroupMaker(VectorUnit unit) const {
  return VoiceGroupMakerOf<S202HPLSVCF>(unit);
}

}  // namespace halveron
