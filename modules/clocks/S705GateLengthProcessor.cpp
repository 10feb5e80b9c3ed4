#include "modules/clocks/S705GateLengthProcessor.h"

namespace halveron {

S705GateLengthProcessor::S705GateLengthProcessor(CFrame* frame, const HostTable& table,
                                                 int voiceIndex)
    : BuiltInModule(frame, table, voiceIndex) {
  constexpr float kMiddle = 36;
  AddModuleKnob(length_, "Length", kMiddle, 66, SharedBitmap::kSmallKnob, 0.5f);
  AddModuleKnob(amount_, "CV amount", kMiddle, 108, SharedBitmap::kGrayKnob, 0.0f);
  mode_ = AddVerticalSwitch("Mode", kMiddle, 148, SharedBitmap::kVerticalSwitch, 1.0f);
  AddLamp(lamp_, "LED", 58, 244, SharedBitmap::kRedLamp);
  AddPatchPoint(lengthCv_, "Length CV", kMiddle, 188);
  AddPatchPoint(gateIn_, "Gate", kMiddle, 224);
  AddPatchPoint(gateOut_, "Gate", kMiddle, 262);

  clipLevel = -1.0f;
  InitPatchPoints(0.0f);
  SetSampleRate(sampleRate);
  ValueChanged(mode_);
}

void S705GateLengthProcessor::ProcessSample() {
  if (isRelative_) {
    amount_->SmoothValue();
    length_->SmoothValue();
    const double length = lengthCv_->in * amount_->smoothed_value + length_->smoothed_value;
    gateOut_->out = kernel_.StepRelative(gateIn_->in, length);
  } else {
    const double amount = amount_->value;
    const double length = length_->value;
    gateOut_->out =
        kernel_.StepAbsolute(gateIn_->in, lengthCv_->in * (amount * amount) + length * length);
  }
  lamp_.Set(gateOut_->out);
}

void S705GateLengthProcessor::SetSampleRate(float rate) {
  Module::SetSampleRate(rate);
  kernel_.Prepare(rate);
}

void S705GateLengthProcessor::ValueChanged(CControl* control) {
  if (control == mode_) isRelative_ = mode_->getValue() >= 0.5f;
}

}  // namespace halveron
