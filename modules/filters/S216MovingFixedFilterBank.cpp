#include "modules/filters/S216MovingFixedFilterBank.h"

#include "framework/numbered_role.h"

namespace halveron {

namespace {

constexpr float kFirstX = 26, kBandWidth = 27;
constexpr float kLevelsY = 62, kButtonsY = 98, kControlsY = 146, kInputsY = 200, kOutputsY = 254;

}  // namespace

S216MovingFixedFilterBank::S216MovingFixedFilterBank(CFrame* frame, const HostTable& table,
                                                     int voiceIndex)
    : BuiltInModule(frame, table, voiceIndex) {
  AddBands();
  AddInputs();
  InitPatchPoints(0.0f);
  SetSampleRate(sampleRate);
  ValueChanged(order_);
  ValueChanged(clocked_);
}

void S216MovingFixedFilterBank::AddBands() {
  for (std::size_t i = 0; i < kBands; ++i) {
    AddModuleKnobEx(levels_[i], NumberedRole<"Band level">(i), kFirstX + kBandWidth * i, kLevelsY,
                    SharedBitmap::kGrayKnob, 0.5f);
    levels_[i].View().caption = NumberedRole<"">(i);
  }
  AddBankControls();
  for (std::size_t i = 0; i < kBands; ++i) {
    bandOff_[i] = AddOnOffButton(NumberedRole<"Band off">(i), kFirstX + kBandWidth * i, kButtonsY,
                                 SharedBitmap::kBlackButton, 0.0f);
    bandOff_[i]->caption = "Off";
  }
  clocked_ = AddVerticalSwitch("Clocked", 305, kControlsY, SharedBitmap::kVerticalSwitch, 1.0f);
  AddLamp(clip_, "Clip LED", 346, kControlsY, SharedBitmap::kRedLamp);
  static_cast<CMovieBitmap*>(clip_)->caption = "Clip";
}

void S216MovingFixedFilterBank::AddBankControls() {
  AddModuleKnobEx(depth_, "Modulation depth", 30, kControlsY, SharedBitmap::kSmallKnob, 0.0f);
  AddModuleKnobEx(mix_, "Stereo mix", 250, kControlsY, SharedBitmap::kSmallKnob, 0.5f);
  AddModuleKnobEx(delay_, "Delay", 74, kControlsY, SharedBitmap::kSmallKnob, 0.25f);
  AddSteppedKnob(firstFrequency_, "First frequency", 118, kControlsY, SharedBitmap::kGrayKnob11,
                 0.2f);
  AddSteppedKnob(spacing_, "Spacing", 162, kControlsY, SharedBitmap::kGrayKnob11, 0.4f);
  AddSteppedKnob(order_, "Order", 206, kControlsY, SharedBitmap::kGrayKnob7, 1.0f / 3.0f);
  depth_.View().caption = "Depth";
  mix_.View().caption = "Stereo";
  firstFrequency_.View().caption = "First";
}

void S216MovingFixedFilterBank::AddInputs() {
  AddPatchPoint(in_, "In", 74, kInputsY);
  AddPatchPoint(in5_, "Band-5 In", 134, kInputsY);
  AddPatchPoint(in9_, "Band-9 In", 242, kInputsY);
  AddPatchPoint(control_, "Control", 30, kInputsY);
  for (std::size_t i = 0; i < kBands; ++i) {
    AddPatchPoint(bands_[i], NumberedRole<"Band">(i), kFirstX + kBandWidth * i, kOutputsY);
    bands_[i].View().caption = NumberedRole<"">(i);
  }
  AddPatchPoint(left_, "Out L", 353, 206);
  AddPatchPoint(right_, "Out R", 353, kOutputsY);
  in5_.View().caption = "In 5";
  in9_.View().caption = "In 9";
}

void S216MovingFixedFilterBank::ProcessSample() {
  movingKnobs_.Smooth();
  clip_.Tick();
  inputs_.audio = in_->in;
  inputs_.audio5 = in5_->in;
  inputs_.audio9 = in9_->in;
  inputs_.has5 = has_in2_;
  inputs_.has9 = has_in3_;
  inputs_.control = control_->in;
  for (std::size_t i = 0; i < kBands; ++i) inputs_.levels[i] = levels_[i]->smoothed_value;
  inputs_.depth = depth_->smoothed_value;
  inputs_.delay = delay_->smoothed_value;
  inputs_.mix = mix_->smoothed_value;
  inputs_.clipLevel = clipLevel;
  kernel_.Step(inputs_, outputs_);
  if (outputs_.clipped) clip_.Light();
  for (std::size_t i = 0; i < kBands; ++i) bands_[i]->out = outputs_.bands[i];
  left_->out = outputs_.left;
  right_->out = outputs_.right;
}

void S216MovingFixedFilterBank::SetSampleRate(float rate) {
  Module::SetSampleRate(rate);
  {
    const ProcessingSection section(*this);
    kernel_.TakeLine(rate);
  }
  clip_.SetSampleRate(rate);
  SetBands();
}

void S216MovingFixedFilterBank::ValueChanged(CControl* control) {
  if (control->isTypeOf("ModuleKnobEx")) {
    movingKnobs_.Join(*this, static_cast<ModuleKnobEx*>(control)->Cell());
    return;
  }
  if (control == firstFrequency_ || control == spacing_) {
    SetBands();
  } else if (control == order_) {
    const int step = order_.View().SnapToStep();
    const ProcessingSection section(*this);
    kernel_.SetOrder(step);
  } else if (control == clocked_) {
    kernel_.clocked = clocked_->getValue() < 0.5f;
  } else {
    for (std::size_t i = 0; i < kBands; ++i) {
      if (control == bandOff_[i]) kernel_.band_off[i] = bandOff_[i]->getValue() >= 0.5f;
    }
  }
}

void S216MovingFixedFilterBank::SetBands() {
  const int first = firstFrequency_.View().SnapToStep();
  const int spacing = spacing_.View().SnapToStep();
  const ProcessingSection section(*this);
  kernel_.SetBands(first, spacing, sampleRate);
}

void S216MovingFixedFilterBank::CableConnected(PatchPoint*) { ReadCables(); }

void S216MovingFixedFilterBank::CableDisconnected(PatchPoint*) { ReadCables(); }

void S216MovingFixedFilterBank::ReadCables() {
  has_in2_ = in5_.IsCabled();
  has_in3_ = in9_.IsCabled();
}

}  // namespace halveron
