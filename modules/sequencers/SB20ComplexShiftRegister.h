// SB20 Complex Shift Register: twelve points in a ring, turned by one of four taps in each step.
#pragma once

#include <array>

#include "dsp/edge.h"
#include "framework/module.h"

namespace halveron {

class SB20ComplexShiftRegister final : public BuiltInModule<SB20ComplexShiftRegister> {
 public:
  static constexpr char kName[] = "SB20 Complex Shift Register";
  static constexpr char kPanel[] = "SB20ComplexShiftRegister.png";
  static constexpr int kColumns = 16;
  static constexpr int kVersion = 1000;
  static constexpr bool kPolyphonic = false;

  SB20ComplexShiftRegister(CFrame* frame, const HostTable& hostTable, int voice);
  bool GetAlwaysOnDefault() const override { return true; }
  void ProcessSample() override;
  void SetSampleRate(float rate) override;
  void ValueChanged(CControl* control) override;
  void LoadPreset(const void* buffer, int size, int version) override;
  void CableConnected(PatchPoint* point) override;
  void CableDisconnected(PatchPoint* point) override;

 private:
  static constexpr int kPoints = 12;
  static constexpr int kTaps = 4;

  void FollowRateKnob();
  void NoteDirections();
  /// Lights the lamp of the tap that turned the points last.
  void ShowTap();
  /// The clock output rises, and all values move on by the next tap.
  void Shift();
  void StepInternal();
  void StepExternal();

  std::array<Knob, kTaps> taps_;
  Knob rate_;
  CVerticalSwitch* source_;
  std::array<Lamp, kTaps> lamps_;
  Input clockIn_;
  std::array<Either, kPoints> points_;
  Output clockOut_;

  double rateStep_ = 0.0;  // of the internal clock, per sample
  int divider_ = 8;        // of the external clock
  bool isExternal_ = false;
  std::array<bool, kPoints> isInput_{};

  double ratePhase_ = 0.0;
  int countdown_ = 1;
  int activeTap_ = 0;
  float lastClock_ = 0.0f;
};

}  // namespace halveron
