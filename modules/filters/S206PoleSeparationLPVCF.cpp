#include "modules/filters/S206PoleSeparationLPVCF.h"

namespace halveron {

S206PoleSeparationLPVCF::S206PoleSeparationLPVCF(CFrame* frame, const HostTable& table,
                                                 int voiceIndex)
    : BuiltInModule(frame, table, voiceIndex) {
  constexpr float kLeft = 24, kMiddle = 60, kRight = 96;
  AddModuleKnob(level_, "Level", kLeft, 62, SharedBitmap::kSmallKnob, 0.5f);
  AddModuleKnob(cutoff_, "Cutoff", kMiddle, 62, SharedBitmap::kSmallKnob, 0.6675f);
  AddModuleKnob(cutoffAmount_, "Cutoff CV amount", kMiddle, 116, SharedBitmap::kGrayKnob, 0.0f);
  AddModuleKnob(separationAmount_, "Separation CV amount", kRight, 116, SharedBitmap::kGrayKnob,
                0.0f);
  AddModuleKnob(separation_, "Separation", kRight, 62, SharedBitmap::kSmallKnob, 0.355f);
  AddModuleKnob(resonance_, "Resonance", kLeft, 116, SharedBitmap::kSmallKnob, 0.8f);
  routing_ = AddVerticalSwitch("Routing", kLeft, 172, SharedBitmap::kVerticalSwitch, 1.0f);
  AddPatchPoint(audio_, "Audio", kLeft, 248);
  AddPatchPoint(cutoffCv_, "Cutoff CV", kMiddle, 172);
  AddPatchPoint(separationCv_, "Separation CV", kRight, 172);
  AddPatchPoint(out_, "Out", kRight, 248);

  cutoffAmount_.View().caption = "Cut amt";
  cutoffCv_.View().caption = "Cut CV";
  separationAmount_.View().caption = "Sep amt";
  separation_.View().caption = "Separ";
  resonance_.View().caption = "Reson";
  routing_->caption = "Par/Ser";
  separationCv_.View().caption = "Sep CV";

  InitPatchPoints(0.0f);
  SetSampleRate(sampleRate);
  ValueChanged(routing_);
}

void S206PoleSeparationLPVCF::ProcessSample() {
  restingKnobs_.Smooth(knobMoves_, level_, cutoff_, cutoffAmount_, separationAmount_, separation_,
                       resonance_);

  const double centre = cutoffCv_->in * cutoffAmount_->smoothed_value + cutoff_->smoothed_value;
  const double separation =
      separationCv_->in * separationAmount_->smoothed_value + separation_->smoothed_value;
  out_->out =
      static_cast<float>(kernel_.Step(audio_->in * level_->smoothed_value, centre, separation,
                                      resonance_->smoothed_value, inSeries_, clipLevel));
}

VoiceGroupMaker S206PoleSeparationLPVCF::GetVoiceGroupMaker(VectorUnit unit) const {
  return VoiceGroupMakerOf<S206PoleSeparationLPVCF>(unit);
}

void S206PoleSeparationLPVCF::SetSampleRate(float rate) {
  Module::SetSampleRate(rate);
  kernel_.Prepare(rate);
}

void S206PoleSeparationLPVCF::ValueChanged(CControl* control) {
  if (control == routing_) inSeries_ = routing_->getValue() >= 0.5f;
}

}  // namespace halveron
