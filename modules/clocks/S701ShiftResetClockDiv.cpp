#include "modules/clocks/S701ShiftResetClockDiv.h"

#include <algorithm>

#include "framework/numbered_role.h"

namespace halveron {

S701ShiftResetClockDiv::S701ShiftResetClockDiv(CFrame* frame, const HostTable& table,
                                               int voiceIndex)
    : BuiltInModule(frame, table, voiceIndex) {
  constexpr float kKnobX = 22, kLampX = 45, kOutX = 72, kTop = 60, kFirstOut = 129, kRow = 26;
  AddSteppedKnob(range_, "Range", kKnobX, kTop, SharedBitmap::kGrayKnob5, 0.0f);
  for (std::size_t i = 0; i < kDividers; ++i) {
    AddSteppedKnob(shiftKnobs_[i], NumberedRole<"Shift">(i), kKnobX,
                   kFirstOut + kRow * static_cast<float>(i), SharedBitmap::kGrayKnob11, 0.0f);
    shiftKnobs_[i].View().caption = i == 0 ? "Shift" : "";
  }
  for (std::size_t i = 0; i < kDividers; ++i) {
    AddLamp(outputs_.lamps[i], NumberedRole<"LED">(i), kLampX,
            kFirstOut + kRow * static_cast<float>(i), SharedBitmap::kRedLamp);
  }
  AddPatchPoint(clock_, "Clock", kOutX, kTop);
  AddPatchPoint(reset_, "Reset", kOutX, 98);
  for (std::size_t i = 0; i < kDividers; ++i) {
    AddPatchPoint(outputs_.outs[i], NumberedRole<"Out">(i), kOutX,
                  kFirstOut + kRow * static_cast<float>(i));
  }

  clipLevel = -1.0f;
  InitPatchPoints(0.0f);
  SetSampleRate(sampleRate);
  ValueChanged(range_);
}

void S701ShiftResetClockDiv::ProcessSample() {
  switch (events_.Step(clock_->in, reset_->in)) {
    case ResetClock::Event::kNone:
      return;
    case ResetClock::Event::kClock:
      bank_.Clock();
      break;
    case ResetClock::Event::kReset:
      Reset();
      return;
  }
  outputs_.Show(bank_);
}

void S701ShiftResetClockDiv::Reset() {
  for (std::size_t i = 0; i < kDividers; ++i) bank_.dividers[i].Reset(shifts_[i]);
  outputs_.Show(bank_);
}

void S701ShiftResetClockDiv::ValueChanged(CControl* control) {
  if (control == range_) SetRange();
  for (std::size_t i = 0; i < kDividers; ++i) {
    if (control == shiftKnobs_[i]) SetShift(i);
  }
}

void S701ShiftResetClockDiv::SetRange() {
  const int factor = range_.View().SnapToStep() + 1;
  const ProcessingSection section(*this);
  for (std::size_t i = 0; i < kDividers; ++i) {
    bank_.dividers[i].SetPeriod(factor * (static_cast<int>(i) + 2));
    shifts_[i] = 1;
    shiftKnobs_[i].View().setValue(0.0f);
  }
  Reset();
}

void S701ShiftResetClockDiv::SetShift(std::size_t output) {
  const ProcessingSection section(*this);
  dsp::ClockDivider& divider = bank_.dividers[output];
  const int shift = std::clamp(shiftKnobs_[output].View().GetStepIndex() + 1, 1, divider.period);
  divider.Shift(shift - shifts_[output]);
  shifts_[output] = shift;
  shiftKnobs_[output].View().setValue(static_cast<float>(std::min((shift - 1) * 0.1 + 0.01, 1.0)));
}

void S701ShiftResetClockDiv::LoadPreset(const void* buffer, int size, int version) {
  BuiltInModule::LoadPreset(buffer, size, version);
  const ProcessingSection section(*this);
  outputs_.Show(bank_);
}

}  // namespace halveron
