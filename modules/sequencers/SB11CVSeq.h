// SB11 CV Sequencer: up to four rows of voltages, and a gate in proportion to the clock.
#pragma once

#include "framework/module.h"
#include "framework/moving_knobs.h"
#include "modules/sequencers/clock_period.h"
#include "modules/sequencers/step_panel.h"

namespace halveron {

class SB11CVSeq final : public BuiltInModule<SB11CVSeq> {
 public:
  static constexpr char kName[] = "SB11 CV Sequencer";
  static constexpr char kPanel[] = "SB11CVSeq.png";
  static constexpr int kColumns = 24;
  static constexpr int kVersion = 1001;
  static constexpr bool kPolyphonic = false;

  SB11CVSeq(CFrame* frame, const HostTable& hostTable, int voice);
  void ProcessSample() override;
  void ValueChanged(CControl* control) override;

  /// The control values, then the measured clock period in samples, a 32-bit integer.
  int GetPresetSize() override;
  void SavePreset(void* buffer, int size) override;
  void LoadPreset(const void* buffer, int size, int version) override;

 private:
  /// The voltage of a step, quantised to semitones or not.
  float VoltageOf(int step) const;
  void WriteHeads();
  void WriteSelectedStep();
  void FlushHeads();
  void GoToStart();
  void TakeClock();
  void RunGate();
  void SetRange();
  void SetOffset();
  void TouchStep(int step);
  bool IsDraggingSelected() const { return panel_.knobs[selectedStep_].View().isEditing(); }
  /// No clock moves the heads: the panel is a tuning tool.
  bool IsIdle() const { return !clock_.IsCabled() || reset_->in > dsp::kResetLow; }

  StepPanel panel_;
  MovingKnobs<StepGrid::kSteps + 1> moving_;
  Knob gateLength_, offset_;
  CVerticalSwitch *range_, *quantise_;
  Input clock_, reset_, gateLengthCv_;
  Output gate_;

  bool quantises_ = true;
  int rangeSemitones_ = 12;
  double rangeVoltage_ = 0.1;
  double offsetVoltage_ = 0.0;

  int selectedStep_ = 0;
  float lastClock_ = 0.0f, lastReset_ = 0.0f;
  ClockPeriod clockPeriod_;
  double gatePhase_ = 1.0;
  double gateIncrement_ = 1.0;
  bool isLoading_ = false;
};

}  // namespace halveron
