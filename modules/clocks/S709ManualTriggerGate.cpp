#include "modules/clocks/S709ManualTriggerGate.h"

namespace halveron {

S709ManualTriggerGate::S709ManualTriggerGate(CFrame* frame, const HostTable& table, int voiceIndex)
    : BuiltInModule(frame, table, voiceIndex) {
  constexpr float kMiddle = 36;
  triggerButton_ = AddKickButton("Trigger", kMiddle, 58, SharedBitmap::kRedButton);
  gateButton_ = AddOnOffButton("Gate", kMiddle, 176, SharedBitmap::kBlackButton, 0.0f);
  AddLamp(triggerLamp_, "Trigger LED", kMiddle, 88, SharedBitmap::kRedLamp);
  AddLamp(gateLamp_, "Gate LED", kMiddle, 206, SharedBitmap::kRedLamp);
  AddPatchPoint(triggerOut_, "Trigger", kMiddle, 124);
  AddPatchPoint(gateOut_, "Gate", kMiddle, 242);

  clipLevel = -1.0f;
  InitPatchPoints(0.0f);
  SetSampleRate(sampleRate);
}

void S709ManualTriggerGate::ProcessSample() {
  const bool fires = isPressed_.load(std::memory_order_relaxed);
  triggerOut_->out = fires ? 1.0f : 0.0f;
  if (fires) {
    isPressed_.store(false, std::memory_order_relaxed);
    triggerLamp_.Light();
  }
  triggerLamp_.Tick();
  gateOut_->out = gateButton_->getValue() > 0.0f ? 1.0f : 0.0f;
}

void S709ManualTriggerGate::SetSampleRate(float rate) {
  Module::SetSampleRate(rate);
  triggerLamp_.SetHold(rate, kLampSeconds);
}

void S709ManualTriggerGate::ValueChanged(CControl* control) {
  if (control == triggerButton_ && triggerButton_->getValue() > 0.0f) isPressed_ = true;
  if (control == gateButton_) gateLamp_.Set(gateButton_->getValue() > 0.0f ? 1.0f : 0.0f);
}

void S709ManualTriggerGate::LoadPreset(const void* buffer, int size, int version) {
  BuiltInModule::LoadPreset(buffer, size, version);
  const ProcessingSection section(*this);
  triggerLamp_.Darken();
  gateLamp_.Set(gateButton_->getValue() > 0.0f ? 1.0f : 0.0f);
}

}  // namespace halveron
