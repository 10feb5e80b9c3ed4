#include "modules/cv/S903DOffsetGen.h"

namespace halveron {

S903DOffsetGen::S903DOffsetGen(CFrame* frame, const HostTable& table, int voiceIndex)
    : BuiltInModule(frame, table, voiceIndex) {
  constexpr float kLeft = 23, kRight = 61, kKnobs = 72, kIns = 142, kOuts = 230;
  AddModuleKnob(offset1_, "Offset 1", kLeft, kKnobs, SharedBitmap::kSmallKnob, 0.5f);
  AddModuleKnob(offset2_, "Offset 2", kRight, kKnobs, SharedBitmap::kSmallKnob, 0.5f);
  AddPatchPoint(in1_, "In 1", kLeft, kIns);
  AddPatchPoint(out1_, "Out 1", kLeft, kOuts);
  AddPatchPoint(in2_, "In 2", kRight, kIns);
  AddPatchPoint(out2_, "Out 2", kRight, kOuts);
  clipLevel = -1.0f;
  InitPatchPoints(0.0f);
  SetSampleRate(sampleRate);
}

void S903DOffsetGen::ProcessSample() {
  restingKnobs_.Smooth(knobMoves_, offset1_, offset2_);
  out1_->out = static_cast<float>(Shift<double>(in1_->in, offset1_->smoothed_value));
  out2_->out = static_cast<float>(Shift<double>(in2_->in, offset2_->smoothed_value));
}

VoiceGroupMaker S903DOffsetGen::GetVoiceGroupMaker(VectorUnit unit) const {
  return VoiceGroupMakerOf<S903DOffsetGen>(unit);
}

}  // namespace halveron
