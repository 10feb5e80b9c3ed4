#include "modules/modulators/S500ADSR.h"

namespace halveron {

S500ADSR::S500ADSR(CFrame* frame, const HostTable& table, int voiceIndex)
    : BuiltInModule(frame, table, voiceIndex) {
  AddModuleKnob(timeAmount_, "Time CV amount", 20, 154, SharedBitmap::kGrayKnob, 0.0f);
  timeAmount_.View().caption = "CV amt";
  AddModuleKnob(attack_, "Attack", 20, 58, SharedBitmap::kSmallKnob, 0.0f);
  AddModuleKnob(decay_, "Decay", 54, 58, SharedBitmap::kSmallKnob, 0.0f);
  AddModuleKnob(sustain_, "Sustain", 20, 106, SharedBitmap::kSmallKnob, 0.0f);
  AddModuleKnob(release_, "Release", 54, 106, SharedBitmap::kSmallKnob, 0.0f);
  curve_ = AddVerticalSwitch("Curve", 88, 58, SharedBitmap::kVerticalSwitch, 0.0f);
  manualGate_ = AddKickButton("Manual gate", 88, 106, SharedBitmap::kRedButton);
  manualGate_->caption = "Manual";
  AddPatchPoint(timeCv_, "Time CV", 20, 198);
  AddPatchPoint(gate_, "Gate", 54, 198);
  AddPatchPoint(retrigger_, "Retrigger", 88, 198);
  retrigger_.View().caption = "Retrig";
  AddPatchPoint(sustainFlag_, "Sustain flag", 54, 246);
  sustainFlag_.View().caption = "Flag";
  AddPatchPoint(envelope_, "Envelope", 88, 246);
  clipLevel = -1.0f;
  InitPatchPoints(0.0f);
  SetSampleRate(sampleRate);
  ValueChanged(curve_);
}

void S500ADSR::ProcessSample() {
  if (restingKnobs_.Smooth(knobMoves_, timeAmount_, attack_, decay_, sustain_, release_)) {
    course_ = kernel_.CourseOf({attack_->smoothed_value, decay_->smoothed_value,
                                sustain_->smoothed_value, release_->smoothed_value});
  }
  const double speed = timeCv_->in * timeAmount_->smoothed_value + 1.0;
  const float gate = IsGatePressed() ? kPressedGate : gate_->in;
  kernel_.StepAlong(course_, speed, gate, retrigger_->in);
  sustainFlag_->out = kernel_.sustainFlag;
  envelope_->out = kernel_.envelope;
}

VoiceGroupMaker S500ADSR::GetVoiceGroupMaker(VectorUnit unit) const {
  return VoiceGroupMakerOf<S500ADSR>(unit);
}

void S500ADSR::SetSampleRate(float rate) {
  Module::SetSampleRate(rate);
  kernel_.Prepare(rate);
  restingKnobs_.Wake();
}

void S500ADSR::ValueChanged(CControl* control) {
  if (control == curve_) kernel_.linear = curve_->getValue() < 0.5f;
}

}  // namespace halveron
