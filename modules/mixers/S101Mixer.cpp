#include "modules/mixers/S101Mixer.h"

#include "framework/numbered_role.h"

namespace halveron {

S101Mixer::S101Mixer(CFrame* frame, const HostTable& table, int voiceIndex)
    : BuiltInModule(frame, table, voiceIndex) {
  constexpr float kLeft = 25, kRight = 59, kFirstRow = 58, kRow = 42;
  static constexpr const char* kLevelRoles[] = {"Level 1", "Level 2", "Level 3", "Level 4"};
  for (int i = 0; i < 4; ++i) {
    AddModuleKnob(levels_[i], kLevelRoles[i], kLeft, kFirstRow + kRow * i, SharedBitmap::kGrayKnob,
                  0.5f);
  }
  AddModuleKnob(master_, "Master", kLeft, 256, SharedBitmap::kSmallKnob, 0.5f);
  law_ = AddVerticalSwitch("Law", kRight, 220, SharedBitmap::kVerticalSwitch, 0.0f);
  for (int i = 0; i < 4; ++i)
    AddPatchPoint(ins_[i], NumberedRole<"In">(i), kRight, kFirstRow + kRow * i);
  AddPatchPoint(out_, "Out", kRight, 258);

  law_->caption = "Lin/Sqr";

  clipLevel = -1.0f;
  InitPatchPoints(0.0f);
  SetSampleRate(sampleRate);
  ValueChanged(law_);
}

void S101Mixer::ValueChanged(CControl* control) {
  if (control == law_) squareLaw_ = law_->getValue() == 1.0f;
}

void S101Mixer::ProcessSample() {
  restingKnobs_.Smooth(knobMoves_, levels_[0], levels_[1], levels_[2], levels_[3], master_);

  const std::array<double, 4> in{ins_[0]->in, ins_[1]->in, ins_[2]->in, ins_[3]->in};
  const std::array<double, 4> levels{levels_[0]->smoothed_value, levels_[1]->smoothed_value,
                                     levels_[2]->smoothed_value, levels_[3]->smoothed_value};
  out_->out = static_cast<float>(Sum(in, levels, squareLaw_) * master_->smoothed_value);
}

VoiceGroupMaker S101Mixer::GetVoiceGroupMaker(VectorUnit unit) const {
  return VoiceGroupMakerOf<S101Mixer>(unit);
}

}  // namespace halveron
