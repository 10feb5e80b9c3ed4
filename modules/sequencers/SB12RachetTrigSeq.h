// SB12 Ratcheting Trigger Sequencer: bursts of triggers, counted by the knob of each step.
#pragma once

#include <array>

#include "dsp/edge.h"
#include "framework/module.h"
#include "framework/resting_knobs.h"
#include "modules/sequencers/clock_period.h"
#include "modules/sequencers/step_panel.h"

namespace halveron {

class SB12RachetTrigSeq final : public BuiltInModule<SB12RachetTrigSeq> {
 public:
  static constexpr char kName[] = "SB12 Ratcheting Trigger Sequencer";
  static constexpr char kPanel[] = "SB12RachetTrigSeq.png";
  static constexpr int kColumns = 24;
  static constexpr int kVersion = 1001;
  static constexpr bool kPolyphonic = false;

  SB12RachetTrigSeq(CFrame* frame, const HostTable& hostTable, int voice);
  void ProcessSample() override;
  void SetSampleRate(float rate) override;
  void ValueChanged(CControl* control) override;
  void CableConnected(PatchPoint* point) override;
  void CableDisconnected(PatchPoint* point) override;

  /// The control values, then the measured clock period in samples, a 32-bit integer.
  int GetPresetSize() override;
  void SavePreset(void* buffer, int size) override;
  void LoadPreset(const void* buffer, int size, int version) override;

 private:
  static constexpr double kFastest = 40.0;  // steps per second at the knob's end

  void Advance();
  void FollowRateKnob();
  /// Whether the sub-pulse at the present phase of the step is high, for a ratchet count.
  bool IsHigh(int count) const;
  void WriteRows();

  StepPanel panel_;
  RestingKnobs restingKnobs_;
  Knob rate_, pulseWidth_, group_, shorten_;
  Input clock_, reset_;
  Output all_;

  double stepPerSampleAtFull_ = 0.0;
  int groupLength_ = 4;

  std::array<int, StepGrid::kRows> counts_{};  // sub-pulses of the present steps
  double stepPhase_ = 1.0;                     // 0..1 of the step; 1 while it has run out
  double increment_ = 0.0;
  ClockPeriod clockPeriod_;
  dsp::EdgeDetector<> clockEdges_;
  float lastReset_ = 0.0f;
  bool isLoading_ = false;
};

}  // namespace halveron
