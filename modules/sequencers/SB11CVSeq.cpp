#include "modules/sequencers/SB11CVSeq.h"

#include <algorithm>

#include "dsp/shaping.h"
#include "framework/numbered_role.h"
#include "framework/preset_tail.h"
#include "framework/signal.h"

namespace halveron {

namespace {

constexpr double kLongestGate = 0.95;  // of the clock's period
constexpr int kFirstVersionWithPeriod = 1001;

}  // namespace

SB11CVSeq::SB11CVSeq(CFrame* frame, const HostTable& table, int voiceIndex)
    : BuiltInModule(frame, table, voiceIndex) {
  constexpr float kControls = 196, kJacks = 232, kOuts = 268, kSwitches = 196;
  constexpr float kJackRow = 44;
  for (int i = 0; i < StepGrid::kSteps; ++i) {
    AddModuleKnobEx(panel_.knobs[i], NumberedRole<"Step">(i), StepPanel::X(i), StepPanel::Y(i),
                    SharedBitmap::kGrayKnob, 0.0f);
  }
  AddModuleKnob(gateLength_, "Gate length", kControls, 58, SharedBitmap::kGrayKnob, 0.5f);
  gateLength_.View().caption = "Gate len";
  AddModuleKnob(offset_, "Offset", kControls, 98, SharedBitmap::kGrayKnob, 0.5f);
  range_ = AddVerticalSwitch("Range", kSwitches, 138, SharedBitmap::kVerticalTripleSwitch, 0.0f);
  quantise_ = AddVerticalSwitch("Quantise", kSwitches, 176, SharedBitmap::kVerticalSwitch, 0.0f);
  panel_.length =
      AddVerticalSwitch("Length", kSwitches, 214, SharedBitmap::kVerticalTripleSwitch, 0.0f);
  panel_.direction =
      AddVerticalSwitch("Direction", kSwitches, 252, SharedBitmap::kVerticalTripleSwitch, 0.0f);
  for (int i = 0; i < StepGrid::kSteps; ++i) {
    AddLamp(panel_.lamps[i], NumberedRole<"LED">(i), StepPanel::X(i) + 17, StepPanel::Y(i) - 12,
            SharedBitmap::kRedLamp);
    static_cast<CMovieBitmap*>(panel_.lamps[i])->caption = "";
  }
  for (int i = 0; i < StepGrid::kRows; ++i) {
    AddPatchPoint(panel_.rows[i], NumberedRole<"Row">(i), kOuts, StepPanel::Y(i * 4));
  }
  AddPatchPoint(gate_, "Gate", kJacks, 62);
  AddPatchPoint(clock_, "Clock", kJacks, 62 + kJackRow);
  AddPatchPoint(reset_, "Reset", kJacks, 62 + kJackRow * 2);
  AddPatchPoint(gateLengthCv_, "Gate length", kJacks, 62 + kJackRow * 3);
  gateLengthCv_.View().caption = "Gate len";

  clipLevel = -1.0f;
  InitPatchPoints(0.0f);
  SetSampleRate(sampleRate);
  SetRange();
  SetOffset();
  panel_.LightHeads(1.0f);
}

void SB11CVSeq::ProcessSample() {
  gateLength_->SmoothValue();
  if (moving_.Smooth()) SetOffset();
  const float clock = clock_->in, reset = reset_->in;
  if (reset > dsp::kResetLow) {
    if (!(lastReset_ > dsp::kResetLow)) clockPeriod_.Hold();
    if (dsp::IsRisingEdge(lastReset_, reset)) GoToStart();
    if (!IsDraggingSelected()) WriteSelectedStep();
  } else if (!clock_.IsCabled()) {
    if (!IsDraggingSelected()) WriteSelectedStep();
  } else if (dsp::IsRisingEdge(lastClock_, clock)) {
    TakeClock();
  } else {
    if (!IsDraggingSelected()) WriteHeads();
    clockPeriod_.Count();
    RunGate();
  }
  lastClock_ = clock;
  lastReset_ = reset;
}

void SB11CVSeq::TakeClock() {
  panel_.lamps[selectedStep_].Set(0.0f);  // lit while there was no clock
  panel_.Advance();
  FlushHeads();
  WriteHeads();
  clockPeriod_.TakeClock();
  gateIncrement_ = clockPeriod_.Increment();
  gatePhase_ = 0.0;
  gate_->out = gate_->out < 1.0f ? 1.0f : 0.0f;
}

void SB11CVSeq::RunGate() {
  const double length =
      dsp::LimitUnit(gateLengthCv_->in + gateLength_->smoothed_value) * kLongestGate;
  if (gatePhase_ >= length) {
    gate_->out = 0.0f;
  } else {
    if (gatePhase_ == 0.0) gate_->out = 1.0f;
    gatePhase_ += gateIncrement_;
  }
}

float SB11CVSeq::VoltageOf(int step) const {
  const KnobCell& knob = *panel_.knobs[step].operator->();
  if (!quantises_) {
    return static_cast<float>(rangeVoltage_ * knob.smoothed_value + offsetVoltage_);
  }
  // In single precision a knob at n / 12 of an octave gives n semitones, and never one less.
  const float position = dsp::LimitUnit(knob.value);
  const int semitones = static_cast<int>(position * static_cast<float>(rangeSemitones_));
  return static_cast<float>(semitones * kPitchPerSemitone + offsetVoltage_);
}

void SB11CVSeq::WriteHeads() {
  for (int row = 0; row < StepGrid::kRows; ++row) {
    panel_.rows[row]->out = VoltageOf(panel_.grid.Head(row));
  }
}

void SB11CVSeq::WriteSelectedStep() {
  const float voltage = VoltageOf(selectedStep_);
  for (Output& row : panel_.rows) row->out = voltage;
}

void SB11CVSeq::FlushHeads() {
  for (int row = 0; row < StepGrid::kRows; ++row) {
    KnobCell& knob = *panel_.knobs[panel_.grid.Head(row)].operator->();
    knob.smoothed_value = knob.value;
  }
}

void SB11CVSeq::GoToStart() {
  panel_.GoToStart();
  FlushHeads();
  WriteHeads();
}

void SB11CVSeq::SetRange() {
  const float position = range_->getValue();
  const int octaves = position >= 1.0f ? 5 : position >= 0.5f ? 3 : 1;
  rangeSemitones_ = octaves * 12;
  rangeVoltage_ = octaves * 0.1;
}

void SB11CVSeq::SetOffset() {
  offsetVoltage_ = (offset_->smoothed_value * 12.0 - 6.0) * 0.0083333338;
}

void SB11CVSeq::ValueChanged(CControl* control) {
  if (isLoading_) return;
  const ProcessingSection section(*this);
  const int step = panel_.StepOf(control);
  if (step >= 0) {
    moving_.Join(*this, *panel_.knobs[step].operator->());
    TouchStep(step);
  } else if (control == offset_ || control == range_) {
    if (control == offset_) moving_.Join(*this, *offset_.operator->());
    SetRange();
    SetOffset();
    if (IsIdle()) WriteSelectedStep();
  } else if (control == quantise_) {
    quantises_ = quantise_->getValue() == 0.0f;
    WriteHeads();
  } else if (panel_.TakeSwitch(control) && control == panel_.length && IsIdle()) {
    GoToStart();
  }
}

void SB11CVSeq::TouchStep(int step) {
  if (!IsIdle()) {
    selectedStep_ = step;
    return;
  }
  panel_.lamps[selectedStep_].Set(0.0f);
  selectedStep_ = step;
  panel_.lamps[step].Set(1.0f);
  WriteSelectedStep();
}

int SB11CVSeq::GetPresetSize() { return PresetTail(*this).SizeWith(ClockPeriod::kBytes); }

void SB11CVSeq::SavePreset(void* buffer, int size) {
  clockPeriod_.Write(PresetTail(*this).Save(buffer, size));
}

void SB11CVSeq::LoadPreset(const void* buffer, int size, int version) {
  const ProcessingSection section(*this);
  isLoading_ = true;
  ByteReader reader = PresetTail(*this).Load(buffer, size);
  isLoading_ = false;
  panel_.RestoreHeads();
  SetRange();
  SetOffset();
  quantises_ = quantise_->getValue() == 0.0f;
  clockPeriod_.Forget();
  gateIncrement_ = 1.0;
  if (version < kFirstVersionWithPeriod || !clockPeriod_.Read(reader)) return;
  // The first clock measures from here: its gate is as long as those before.
  clockPeriod_.Hold();
  gateIncrement_ = clockPeriod_.Increment();
}

}  // namespace halveron
