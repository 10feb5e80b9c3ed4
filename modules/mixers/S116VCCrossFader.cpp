#include "modules/mixers/S116VCCrossFader.h"

namespace halveron {

S116VCCrossFader::S116VCCrossFader(CFrame* frame, const HostTable& table, int voiceIndex)
    : BuiltInModule(frame, table, voiceIndex) {
  constexpr float kLeft = 24, kRight = 60;
  AddModuleKnob(position_, "Position", kRight, 62, SharedBitmap::kSmallKnob, 0.0f);
  AddModuleKnob(amount_, "CV amount", kRight, 114, SharedBitmap::kGrayKnob, 0.0f);
  AddPatchPoint(inA_, "In A", kLeft, 62);
  AddPatchPoint(inB_, "In B", kLeft, 114);
  AddPatchPoint(inC_, "In C", kLeft, 166);
  AddPatchPoint(cv_, "CV", kRight, 166);
  AddPatchPoint(threeWay_, "Three-way", kLeft, 248);
  AddPatchPoint(twoWay_, "Two-way", kRight, 248);

  position_.View().caption = "Pos";
  amount_.View().caption = "CV amt";
  threeWay_.View().caption = "3-way";
  twoWay_.View().caption = "2-way";

  clipLevel = -1.0f;
  InitPatchPoints(0.0f);
  SetSampleRate(sampleRate);
}

void S116VCCrossFader::ProcessSample() {
  restingKnobs_.Smooth(knobMoves_, position_, amount_);

  const float x = dsp::LimitUnit(
      static_cast<float>(cv_->in * amount_->smoothed_value + position_->smoothed_value));
  twoWay_->out = TwoWay(inA_->in, inC_->in, x);
  threeWay_->out = ThreeWay(inA_->in, inB_->in, inC_->in, x);
}

VoiceGroupMaker S116VCCrossFader::GetVoiceGroupMaker(VectorUnit unit) const {
  return VoiceGroupMakerOf<S116VCCrossFader>(unit);
}

}  // namespace halveron
