#include "modules/filters/S212VCF.h"

namespace halveron {

S212VCF::S212VCF(CFrame* frame, const HostTable& table, int voiceIndex)
    : BuiltInModule(frame, table, voiceIndex) {
  // A CV stands under its knob.
  constexpr float kColumn1 = 27, kColumn2 = 61, kColumn3 = 95, kColumn4 = 129;
  AddModuleKnob(inputLevel_, "Input level", kColumn1, 60, SharedBitmap::kSmallKnob, 0.5f);
  AddModuleKnob(cutoff_, "Cutoff", kColumn2, 60, SharedBitmap::kSmallKnob, 0.5f);
  AddModuleKnob(fmAmount_, "FM amount", kColumn2, 108, SharedBitmap::kGrayKnob, 0.0f);
  AddModuleKnob(resonanceAmount_, "Resonance CV amount", kColumn3, 108, SharedBitmap::kGrayKnob,
                0.0f);
  AddModuleKnob(resonance_, "Resonance", kColumn3, 60, SharedBitmap::kSmallKnob, 0.0f);
  AddModuleKnob(instability_, "Instability", kColumn4, 60, SharedBitmap::kSmallKnob, 0.0f);
  slope_ = AddVerticalSwitch("Slope", kColumn1, 108, SharedBitmap::kVerticalSwitch, 0.0f);
  AddPatchPoint(audio_, "Audio", kColumn1, 156);
  AddPatchPoint(cutoffCv_, "Cutoff CV", kColumn2, 198);
  AddPatchPoint(fm_, "FM", kColumn2, 156);
  AddPatchPoint(resonanceCv_, "Resonance CV", kColumn3, 156);
  AddPatchPoint(instabilityCv_, "Instability CV", kColumn4, 156);
  AddPatchPoint(highPass_, "High-pass", kColumn1, 256);
  AddPatchPoint(bandPass_, "Band-pass", kColumn2, 256);
  AddPatchPoint(lowPass_, "Low-pass", kColumn3, 256);
  AddPatchPoint(notch_, "Notch", kColumn4, 256);

  inputLevel_.View().caption = "Level";
  fmAmount_.View().caption = "FM amt";
  resonanceAmount_.View().caption = "Res amt";
  resonance_.View().caption = "Res";
  instability_.View().caption = "Instab";
  slope_->caption = "2/4 pole";
  cutoffCv_.View().caption = "Cutoff";
  resonanceCv_.View().caption = "Res CV";
  instabilityCv_.View().caption = "Instab";
  highPass_.View().caption = "HP";
  bandPass_.View().caption = "BP";
  lowPass_.View().caption = "LP";

  clipLevel = -1.0f;
  InitPatchPoints(0.0f);
  SetSampleRate(sampleRate);
  ValueChanged(slope_);
}

void S212VCF::SetSampleRate(float rate) {
  Module::SetSampleRate(rate);
  kernel_.Prepare(rate);
}

void S212VCF::ValueChanged(CControl* control) {
  if (control == slope_) fourPoles_ = slope_->getValue() != 0.0f;
}

void S212VCF::CableConnected(PatchPoint*) { NoteCabledOutputs(); }

void S212VCF::CableDisconnected(PatchPoint*) { NoteCabledOutputs(); }

void S212VCF::NoteCabledOutputs() {
  hasHighPass_ = highPass_.IsCabled();
  hasBandPass_ = bandPass_.IsCabled();
  hasLowPass_ = lowPass_.IsCabled();
  hasNotch_ = notch_.IsCabled();
}

void S212VCF::ProcessSample() {
  restingKnobs_.Smooth(knobMoves_, inputLevel_, cutoff_, fmAmount_, resonanceAmount_, resonance_,
                       instability_);

  kernel_.Begin({audio_->in, cutoffCv_->in, fm_->in, resonanceCv_->in, instabilityCv_->in},
                {inputLevel_->smoothed_value, cutoff_->smoothed_value, fmAmount_->smoothed_value,
                 resonanceAmount_->smoothed_value, resonance_->smoothed_value,
                 instability_->smoothed_value, fourPoles_});
  if (hasHighPass_) highPass_->out = static_cast<float>(kernel_.HighPass());
  if (hasBandPass_) bandPass_->out = static_cast<float>(kernel_.BandPass());
  if (hasLowPass_) lowPass_->out = static_cast<float>(kernel_.LowPass());
  if (hasNotch_) notch_->out = static_cast<float>(kernel_.Notch());
  kernel_.End();
}

VoiceGroupMaker S212VCF::GetVoiceGroupMaker(VectorUnit unit) const {
  return VoiceGroupMakerOf<S212VCF>(unit);
}

}  // namespace halveron
