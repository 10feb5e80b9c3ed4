#include "modules/filters/S213MorphingVCF.h"

namespace halveron {

S213MorphingVCF::S213MorphingVCF(CFrame* frame, const HostTable& table, int voiceIndex)
    : BuiltInModule(frame, table, voiceIndex) {
  // A voltage stands under its knobs.
  constexpr float kColumn1 = 24, kColumn2 = 60, kColumn3 = 96, kColumn4 = 132, kColumn5 = 168;
  constexpr float kKnobs = 62, kAmounts = 112, kVoltages = 162;
  AddModuleKnob(level_, "Level", kColumn1, kKnobs, SharedBitmap::kSmallKnob, 0.5f);
  AddModuleKnob(cutoff_, "Cutoff", kColumn2, kKnobs, SharedBitmap::kSmallKnob, 0.0f);
  AddModuleKnob(cutoffAmount_, "Cutoff CV amount", kColumn2, kAmounts, SharedBitmap::kGrayKnob,
                0.0f);
  AddModuleKnob(resonanceAmount_, "Resonance CV amount", kColumn3, kAmounts,
                SharedBitmap::kGrayKnob, 0.0f);
  AddModuleKnob(resonance_, "Resonance", kColumn3, kKnobs, SharedBitmap::kSmallKnob, 0.6475f);
  AddModuleKnob(morph_, "Morph", kColumn4, kKnobs, SharedBitmap::kSmallKnob, 0.0f);
  AddModuleKnob(morphAmount_, "Morph CV amount", kColumn4, kAmounts, SharedBitmap::kGrayKnob, 0.0f);
  AddModuleKnob(drive_, "Drive", kColumn5, kKnobs, SharedBitmap::kSmallKnob, 0.0f);
  AddModuleKnob(driveAmount_, "Drive CV amount", kColumn5, kAmounts, SharedBitmap::kGrayKnob, 0.0f);
  slope_ = AddVerticalSwitch("Slope", kColumn1, 112, SharedBitmap::kVerticalTripleSwitch, 0.0f);
  fold_ = AddVerticalSwitch("Fold", kColumn1, 166, SharedBitmap::kVerticalSwitch, 0.0f);
  AddPatchPoint(in_, "In", kColumn1, 250);
  AddPatchPoint(in2_, "In 2", kColumn2, 250);
  AddPatchPoint(cutoffCv_, "Cutoff CV", kColumn2, 206);
  AddPatchPoint(attenuatedCutoffCv_, "Cutoff CV (attenuated)", kColumn2, kVoltages);
  AddPatchPoint(resonanceCv_, "Resonance CV", kColumn3, kVoltages);
  AddPatchPoint(morphCv_, "Morph CV", kColumn4, kVoltages);
  AddPatchPoint(driveCv_, "Drive CV", kColumn5, kVoltages);
  AddPatchPoint(out_, "Out", kColumn5, 250);

  cutoffAmount_.View().caption = "Cut amt";
  resonanceAmount_.View().caption = "Res amt";
  resonance_.View().caption = "Res";
  morphAmount_.View().caption = "Mor amt";
  driveAmount_.View().caption = "Drv amt";
  slope_->caption = "Slope";
  attenuatedCutoffCv_.View().caption = "Cut att";
  cutoffCv_.View().caption = "Cutoff";
  resonanceCv_.View().caption = "Res CV";
  morphCv_.View().caption = "Morph";
  driveCv_.View().caption = "Drive";

  clipLevel = -1.0f;
  InitPatchPoints(0.0f);
  SetSampleRate(sampleRate);
  ValueChanged(slope_);
  ValueChanged(fold_);
}

void S213MorphingVCF::ProcessSample() {
  restingKnobs_.Smooth(knobMoves_, level_, cutoff_, cutoffAmount_, resonanceAmount_, resonance_,
                       morph_, morphAmount_, drive_, driveAmount_);

  const S213MorphingVCFKernel<>::Controls controls{
      level_->smoothed_value,
      attenuatedCutoffCv_->in * cutoffAmount_->smoothed_value + cutoffCv_->in +
          cutoff_->smoothed_value,
      resonanceCv_->in * resonanceAmount_->smoothed_value + resonance_->smoothed_value,
      morphCv_->in * morphAmount_->smoothed_value + morph_->smoothed_value,
      driveCv_->in * driveAmount_->smoothed_value + drive_->smoothed_value};
  out_->out = static_cast<float>(kernel_.Step(in_->in, hasIn2_ ? in2_->in : in_->in, controls));
}

VoiceGroupMaker S213MorphingVCF::GetVoiceGroupMaker(VectorUnit unit) const {
  return VoiceGroupMakerOf<S213MorphingVCF>(unit);
}

void S213MorphingVCF::SetSampleRate(float rate) {
  Module::SetSampleRate(rate);
  kernel_.Prepare(rate);
}

void S213MorphingVCF::ValueChanged(CControl* control) {
  if (control == slope_) kernel_.cells = 1 + slope_->getPosition();
  if (control == fold_) kernel_.folds = fold_->getValue() >= 0.5f;
}

void S213MorphingVCF::CableConnected(PatchPoint* point) {
  if (point == in2_) hasIn2_ = true;
}

void S213MorphingVCF::CableDisconnected(PatchPoint* point) {
  if (point == in2_) hasIn2_ = in2_.IsCabled();
}

}  // namespace halveron
