// S709 Manual Trigger/Gate: a button for triggers, and one that holds a gate.
#pragma once

#include <atomic>

#include "framework/module.h"

namespace halveron {

class S709ManualTriggerGate final : public BuiltInModule<S709ManualTriggerGate> {
 public:
  static constexpr char kName[] = "S709 Manual Trigger/Gate";
  static constexpr char kPanel[] = "S709ManualTriggerGate.png";
  static constexpr int kColumns = 6;
  static constexpr int kVersion = 1000;
  static constexpr bool kPolyphonic = false;
  static constexpr double kLampSeconds = 0.1;

  S709ManualTriggerGate(CFrame* frame, const HostTable& hostTable, int voice);
  bool GetAlwaysOnDefault() const override { return true; }
  void ProcessSample() override;
  void SetSampleRate(float rate) override;
  void ValueChanged(CControl* control) override;
  void LoadPreset(const void* buffer, int size, int version) override;

 private:
  CKickButtonEx* triggerButton_;
  COnOffButton* gateButton_;
  HeldLamp triggerLamp_;
  Lamp gateLamp_;
  Output triggerOut_, gateOut_;
  std::atomic<bool> isPressed_{false};  // set by the panel, cleared by the next sample
};

}  // namespace halveron
