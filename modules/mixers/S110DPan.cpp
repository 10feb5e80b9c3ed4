#include "modules/mixers/S110DPan.h"

namespace halveron {

S110DPan::S110DPan(CFrame* frame, const HostTable& table, int voiceIndex)
    : BuiltInModule(frame, table, voiceIndex) {
  constexpr float kLeft = 24, kRight = 60, kLampAside = 8;
  AddModuleKnob(pan1_, "Pan 1", kLeft, 62, SharedBitmap::kSmallKnob, 0.5f);
  AddModuleKnob(pan2_, "Pan 2", kRight, 62, SharedBitmap::kSmallKnob, 0.5f);
  AddModuleKnob(amount1_, "Pan CV amount 1", kLeft, 128, SharedBitmap::kGrayKnob, 0.0f);
  AddModuleKnob(amount2_, "Pan CV amount 2", kRight, 128, SharedBitmap::kGrayKnob, 0.0f);
  static constexpr const char* kLampRoles[] = {"LED 1A", "LED 1B", "LED 2A", "LED 2B"};
  static constexpr const char* kLampCaptions[] = {"A", "B", "A", "B"};
  for (std::size_t i = 0; i < lamps_.size(); ++i) {
    const float x = (i < 2 ? kLeft : kRight) + (i % 2 == 0 ? -kLampAside : kLampAside);
    AddLamp(lamps_[i], kLampRoles[i], x, 99, SharedBitmap::kRedLamp);
    static_cast<CMovieBitmap*>(lamps_[i])->caption = kLampCaptions[i];
  }
  AddPatchPoint(in1_, "In 1", kLeft, 212);
  AddPatchPoint(in2_, "In 2", kRight, 212);
  AddPatchPoint(panCv1_, "Pan CV 1", kLeft, 170);
  AddPatchPoint(panCv2_, "Pan CV 2", kRight, 170);
  AddPatchPoint(outA_, "Out A", kLeft, 256);
  AddPatchPoint(outB_, "Out B", kRight, 256);

  amount1_.View().caption = "CV amt";
  amount2_.View().caption = "CV amt";
  panCv1_.View().caption = "CV 1";
  panCv2_.View().caption = "CV 2";

  clipLevel = -1.0f;
  InitPatchPoints(0.0f);
  SetSampleRate(sampleRate);
}

void S110DPan::ProcessSample() {
  restingKnobs_.Smooth(knobMoves_, pan1_, pan2_, amount1_, amount2_);

  const auto a = static_cast<float>(panCv1_->in * amount1_->smoothed_value + pan1_->smoothed_value);
  const auto b = static_cast<float>(panCv2_->in * amount2_->smoothed_value + pan2_->smoothed_value);
  outA_->out = OutA(in1_->in, in2_->in, a, b);
  outB_->out = OutB(in1_->in, in2_->in, a, b);
  ShowGains(a, b);
}

void S110DPan::ShowGains(float a, float b) {
  lamps_[0].Set(a);
  lamps_[1].Set(1.0f - a);
  lamps_[2].Set(b);
  lamps_[3].Set(1.0f - b);
}

VoiceGroupMaker S110DPan::GetVoiceGroupMaker(VectorUnit unit) const {
  return VoiceGroupMakerOf<S110DPan>(unit);
}

}  // namespace halveron
