#include "modules/sequencers/SB12RachetTrigSeq.h"

#include <algorithm>

#include "dsp/shaping.h"
#include "framework/numbered_role.h"
#include "framework/preset_tail.h"

namespace halveron {

SB12RachetTrigSeq::SB12RachetTrigSeq(CFrame* frame, const HostTable& table, int voiceIndex)
    : BuiltInModule(frame, table, voiceIndex) {
  constexpr float kControls = 196, kJacks = 236, kOuts = 268;
  for (int i = 0; i < StepGrid::kSteps; ++i) {
    AddModuleKnobEx(panel_.knobs[i], NumberedRole<"Step">(i), StepPanel::X(i), StepPanel::Y(i),
                    SharedBitmap::kGrayKnob11, i % 4 == 0 ? 0.1f : 0.0f);
    panel_.knobs[i].View().stepped = true;
    panel_.knobs[i].View().SnapToStep();
  }
  AddModuleKnob(rate_, "Rate", kControls, 58, SharedBitmap::kGrayKnob, 0.5f);
  AddModuleKnob(pulseWidth_, "Pulse width", kControls, 98, SharedBitmap::kGrayKnob, 0.5f);
  AddModuleKnob(group_, "Group", kControls, 138, SharedBitmap::kGrayKnob, 0.5f);
  AddModuleKnob(shorten_, "Shorten", kControls, 178, SharedBitmap::kGrayKnob, 0.0f);
  panel_.length =
      AddVerticalSwitch("Length", kControls, 214, SharedBitmap::kVerticalTripleSwitch, 0.0f);
  panel_.direction =
      AddVerticalSwitch("Direction", kControls, 252, SharedBitmap::kVerticalTripleSwitch, 0.0f);
  for (int i = 0; i < StepGrid::kSteps; ++i) {
    AddLamp(panel_.lamps[i], NumberedRole<"LED">(i), StepPanel::X(i) + 17, StepPanel::Y(i) - 12,
            SharedBitmap::kRedLamp);
    static_cast<CMovieBitmap*>(panel_.lamps[i])->caption = "";
  }
  for (int i = 0; i < StepGrid::kRows; ++i) {
    AddPatchPoint(panel_.rows[i], NumberedRole<"Row">(i), kOuts, StepPanel::Y(i * 4));
  }
  AddPatchPoint(all_, "All", kJacks, 62);
  AddPatchPoint(clock_, "Clock", kJacks, 118);
  AddPatchPoint(reset_, "Reset", kJacks, 174);

  clipLevel = -1.0f;
  InitPatchPoints(0.0f);
  SetSampleRate(sampleRate);
  ValueChanged(group_);
  panel_.LightHeads(1.0f);
}

void SB12RachetTrigSeq::ProcessSample() {
  restingKnobs_.Smooth(knobMoves_, pulseWidth_, shorten_);
  const float reset = reset_->in;
  const float lastReset = lastReset_;
  lastReset_ = reset;
  const bool clocked = clockEdges_.Step(clock_->in);
  if (reset_.IsCabled() && reset > dsp::kResetLow) {
    if (!(lastReset > dsp::kResetLow)) clockPeriod_.Hold();
    if (dsp::IsRisingEdge(lastReset, reset)) panel_.GoToStart();
    return;
  }
  if (!clock_.IsCabled()) {
    rate_->SmoothValue();
    FollowRateKnob();
    stepPhase_ += increment_;
    if (stepPhase_ >= 1.0) Advance();
  } else if (clocked) {
    clockPeriod_.TakeClock();
    increment_ = clockPeriod_.Increment();
    Advance();
  } else {
    clockPeriod_.Count();
    if (stepPhase_ < 1.0) stepPhase_ += increment_;
  }
  WriteRows();
}

void SB12RachetTrigSeq::Advance() {
  stepPhase_ = 0.0;
  panel_.Advance();
  for (int row = 0; row < StepGrid::kRows; ++row) {
    const float target = panel_.knobs[panel_.grid.Head(row)]->stepped_target;
    counts_[row] = panel_.grid.IsRunning(row) ? static_cast<int>(target * 10.0f + 0.5f) : 0;
  }
}

bool SB12RachetTrigSeq::IsHigh(int count) const {
  if (count <= 0 || stepPhase_ >= 1.0) return false;
  const double x = count * stepPhase_;
  const int pulse = static_cast<int>(x);
  double phase = x - pulse;
  if ((pulse + 1) % groupLength_ == 0) {
    phase -= shorten_->smoothed_value;
    if (phase < 0.0) return false;
  }
  return phase <= pulseWidth_->smoothed_value;
}

void SB12RachetTrigSeq::WriteRows() {
  float any = 0.0f;
  for (int row = 0; row < StepGrid::kRows; ++row) {
    const float level = IsHigh(counts_[row]) ? 1.0f : 0.0f;
    panel_.rows[row]->out = level;
    any = std::max(any, level);
  }
  all_->out = any;
}

void SB12RachetTrigSeq::FollowRateKnob() {
  const double rate = rate_->smoothed_value;
  increment_ = rate * rate * rate * stepPerSampleAtFull_;
}

void SB12RachetTrigSeq::SetSampleRate(float rate) {
  Module::SetSampleRate(rate);
  stepPerSampleAtFull_ = kFastest / rate;
  if (!clock_.IsCabled()) FollowRateKnob();
}

void SB12RachetTrigSeq::ValueChanged(CControl* control) {
  const ProcessingSection section(*this);
  if (const int step = panel_.StepOf(control); step >= 0) panel_.knobs[step].View().SnapToStep();
  if (control == group_) groupLength_ = dsp::TruncateWithin(group_->value * 4.0f + 2.0f, 2, 6);
  if (isLoading_) return;
  if (panel_.TakeSwitch(control) && control == panel_.length && !clock_.IsCabled()) {
    panel_.GoToStart();
  }
}

void SB12RachetTrigSeq::CableConnected(PatchPoint* point) {
  if (point != clock_) return;
  const double period = increment_ > 0.0 ? 1.0 / increment_ : dsp::kIdleCounter;
  clockPeriod_.Set(static_cast<int>(std::min<double>(period + 0.5, dsp::kIdleCounter)));
}

void SB12RachetTrigSeq::CableDisconnected(PatchPoint* point) {
  if (point != clock_ || clock_.IsCabled()) return;
  rate_->smoothed_value = rate_->value;
  FollowRateKnob();
}

int SB12RachetTrigSeq::GetPresetSize() { return PresetTail(*this).SizeWith(ClockPeriod::kBytes); }

void SB12RachetTrigSeq::SavePreset(void* buffer, int size) {
  clockPeriod_.Write(PresetTail(*this).Save(buffer, size));
}

void SB12RachetTrigSeq::LoadPreset(const void* buffer, int size, int version) {
  const ProcessingSection section(*this);
  isLoading_ = true;
  ByteReader reader = PresetTail(*this).Load(buffer, size);
  isLoading_ = false;
  panel_.RestoreHeads();
  counts_ = {};
  clockPeriod_.Forget();
  if (version >= 1001) clockPeriod_.Read(reader);
  // The cable on Clock comes after this, and takes the period back from the increment.
  increment_ = clockPeriod_.Increment();
}

}  // namespace halveron
