#include "modules/clocks/S713SRClockDivMult.h"

#include "dsp/shaping.h"
#include "framework/numbered_role.h"

namespace halveron {

S713SRClockDivMult::S713SRClockDivMult(CFrame* frame, const HostTable& table, int voiceIndex)
    : BuiltInModule(frame, table, voiceIndex) {
  constexpr float kRatioX = 50, kSwingX = 80, kMultiplyX = 113, kLampX = 132, kOutX = 156;
  constexpr float kFirstRow = 62, kRow = 40, kInX = 22;
  const auto rowOf = [](int channel) { return kFirstRow + kRow * static_cast<float>(channel); };
  for (int i = 0; i < kChannels; ++i) {
    AddSteppedKnob(ratios_[i], NumberedRole<"Ratio">(i), kRatioX, rowOf(i),
                   SharedBitmap::kGrayKnob7, 0.0f);
  }
  for (int i = 0; i < kChannels; ++i) {
    AddModuleKnob(swings_[i], NumberedRole<"Swing">(i), kSwingX, rowOf(i), SharedBitmap::kGrayKnob,
                  0.0f);
  }
  for (int i = 0; i < kChannels; ++i) {
    multiply_[i] = AddVerticalSwitch(NumberedRole<"Multiply">(i), kMultiplyX, rowOf(i),
                                     SharedBitmap::kVerticalSwitch, 0.0f);
    multiply_[i]->caption = NumberedRole<"Mult">(i);
  }
  sync_ = AddVerticalSwitch("Sync", kInX, 60, SharedBitmap::kVerticalSwitch, 1.0f);
  AddModuleKnob(rotate_, "Rotate", kRatioX, 230, SharedBitmap::kGrayKnob, 0.0f);
  for (int i = 0; i < kChannels; ++i) {
    AddLamp(lamps_[i], NumberedRole<"LED">(i), kLampX, rowOf(i), SharedBitmap::kRedLamp);
  }
  for (int channel = 0; channel < kChannels; ++channel) {
    for (int output = 0; output < kChannels; ++output) {
      AddLamp(map_[channel][output], PairedRole<"Map LED">(channel, output),
              106 + 14 * static_cast<float>(output), 212 + 14 * static_cast<float>(channel),
              SharedBitmap::kBlueLamp);
      static_cast<CMovieBitmap*>(map_[channel][output])->caption = "";
    }
  }
  AddPatchPoint(clock_, "Clock", kInX, 110);
  AddPatchPoint(reset_, "Reset", kInX, 160);
  AddPatchPoint(rotateCv_, "Rotate", kInX, 230);
  for (int i = 0; i < kChannels; ++i) {
    AddPatchPoint(outs_[i], NumberedRole<"Out">(i), kOutX, rowOf(i));
  }

  clipLevel = -1.0f;
  InitPatchPoints(0.0f);
  SetSampleRate(sampleRate);
  for (int i = 0; i < kChannels; ++i) ValueChanged(ratios_[i]);
}

void S713SRClockDivMult::ProcessSample() {
  for (Knob& swing : swings_) swing->SmoothValue();
  rotate_->SmoothValue();
  kernel_.Step(clock_->in, reset_->in);
  const int rotation = Rotation();
  for (int channel = 0; channel < kChannels; ++channel) {
    const bool high = kernel_.IsHigh(channel, swings_[channel]->smoothed_value);
    const int output = (rotation + channel) % kChannels;
    outs_[output]->out = high ? 1.0f : 0.0f;
    lamps_[channel].Set(high ? 1.0f : 0.0f);
    for (int i = 0; i < kChannels; ++i) map_[channel][i].Set(i == output ? 1.0f : 0.0f);
  }
}

int S713SRClockDivMult::Rotation() const {
  constexpr double kFarthest = 7.999, kKnobRange = 3.999;
  const double amount = rotate_->smoothed_value;
  const double v = dsp::LimitSymmetric(
      rotateCv_.IsCabled() ? dsp::FiniteOrZero(rotateCv_->in * amount) : amount * kKnobRange,
      kFarthest);
  if (v >= 0.0) return static_cast<int>(v) % kChannels;
  const int rotation = static_cast<int>(v - 1.0) + kChannels;
  return rotation < 0 ? rotation + kChannels : rotation;
}

void S713SRClockDivMult::ValueChanged(CControl* control) {
  if (control == sync_) kernel_.sync = sync_->getValue() >= 0.5f;
  for (int i = 0; i < kChannels; ++i) {
    if (control != ratios_[i] && control != multiply_[i]) continue;
    const int number = (ratios_[i].View().SnapToStep() + 1) * (i + 1);
    const ProcessingSection section(*this);
    kernel_.SetRatio(i, number, multiply_[i]->getValue() >= 0.5f);
  }
}

}  // namespace halveron
