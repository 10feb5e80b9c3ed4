#include "modules/mixers/S101Mixer.h"

namespace halveron {

S101Mixer::S101Mixer(CFrame* frame, const HostTable& table, int voiceIndex)
    : BuiltInModule(frame, table, voiceIndex) {
  constexpr float kLeft = 25, kRight = 59, kFirstRow = 58, kRow = 42;
  static constexpr const char* kLevelRoles[] = {"Level 1", "Level 2", "Level 3", "Level 4"};
  static constexpr const char* kInputRoles[] = {"In 1", "In 2", "In 3", "In 4"};
  for (int i = 0; i < 4; ++i) {
    AddModuleKnob(levels_[i], kLevelRoles[i], kLeft, kFirstRow + kRow * i, SharedBitmap::kGrayKnob,
                  0.5f);
  }
  AddModuleKnob(master_, "Master", kLeft, 256, SharedBitmap::kSmallKnob, 0.5f);
  law_ = AddVerticalSwitch("Law", kRight, 220, SharedBitmap::kVerticalSwitch, 0.0f);
  for (int i = 0; i < 4; ++i) AddPatchPoint(ins_[i], kInputRoles[i], kRight, kFirstRow + kRow * i);
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
  for (Knob& level : levels_) level->SmoothValue();
  master_->SmoothValue();

  const double in1 = ins_[0]->in, in2 = ins_[1]->in, in3 = ins_[2]->in, in4 = ins_[3]->in;
  const double l1 = levels_[0]->smoothed_value, l2 = levels_[1]->smoothed_value,
               l3 = levels_[2]->smoothed_value, l4 = levels_[3]->smoothed_value;
  // The order of the summands differs between the laws; it is part of the sound's last bits.
  const double sum = squareLaw_ ? l2 * l2 * in2 + l3 * l3 * in3 + l4 * l4 * in4 + l1 * l1 * in1
                                : in4 * l4 + in2 * l2 + in3 * l3 + in1 * l1;
  out_->out = static_cast<float>(sum * master_->smoothed_value);
}

}  // namespace halveron
