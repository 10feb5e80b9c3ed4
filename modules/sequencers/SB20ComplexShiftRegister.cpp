#include "modules/sequencers/SB20ComplexShiftRegister.h"

#include <cmath>
#include <numbers>

#include "framework/numbered_role.h"

namespace halveron {

namespace {

constexpr double kSlowest = 0.1, kFastest = 50.0;  // hertz
constexpr int kLongestDivider = 16;
// Starts at the points 1, 3, 5 and 12.
constexpr std::array<float, 4> kTapDefaults{0.5f, 0.3f, 0.1f, 0.6f};

}  // namespace

SB20ComplexShiftRegister::SB20ComplexShiftRegister(CFrame* frame, const HostTable& table,
                                                   int voiceIndex)
    : BuiltInModule(frame, table, voiceIndex) {
  constexpr float kCentreX = 96, kCentreY = 126, kRadius = 78, kTapX = 84, kTapY = 100;
  constexpr float kTapStep = 40, kBottom = 250;
  for (int i = 0; i < kTaps; ++i) {
    AddSteppedKnob(
        taps_[i], NumberedRole<"Tap">(i), kTapX - 8 + kTapStep * static_cast<float>(i % 2),
        kTapY + kTapStep * static_cast<float>(i / 2), SharedBitmap::kGrayKnob11, kTapDefaults[i]);
  }
  AddModuleKnob(rate_, "Rate", 66, kBottom, SharedBitmap::kGrayKnob, 0.3f);
  source_ = AddVerticalSwitch("Source", 100, kBottom, SharedBitmap::kVerticalSwitch, 0.0f);
  for (int i = 0; i < kTaps; ++i) {
    AddLamp(lamps_[i], NumberedRole<"LED">(i), kTapX + 10 + kTapStep * static_cast<float>(i % 2),
            kTapY - 14 + kTapStep * static_cast<float>(i / 2), SharedBitmap::kRedLamp);
    static_cast<CMovieBitmap*>(lamps_[i])->caption = "";
  }
  AddPatchPoint(clockIn_, "Clock", 30, kBottom);
  // As on the face of a clock, the first point at one.
  for (int i = 0; i < kPoints; ++i) {
    const double angle = (i - 2) * std::numbers::pi / 6.0;
    AddPatchPoint(points_[i], NumberedRole<"Point">(i),
                  kCentreX + kRadius * static_cast<float>(std::cos(angle)),
                  kCentreY + kRadius * static_cast<float>(std::sin(angle)));
    points_[i].View().caption = NumberedRole<"">(i);
  }
  AddPatchPoint(clockOut_, "Clock", 150, kBottom);

  clipLevel = -1.0f;
  InitPatchPoints(0.0f);
  SetSampleRate(sampleRate);
  ValueChanged(source_);
  for (Knob& tap : taps_) tap.View().SnapToStep();
  ShowTap();
}

void SB20ComplexShiftRegister::ProcessSample() {
  rate_->SmoothValue();
  FollowRateKnob();
  if (isExternal_) {
    StepExternal();
  } else {
    StepInternal();
  }
  lastClock_ = clockIn_->in;
}

void SB20ComplexShiftRegister::FollowRateKnob() {
  const double k = rate_->smoothed_value;
  rateStep_ = (k * k * k * (kFastest - kSlowest) + kSlowest) / sampleRate;
  divider_ = static_cast<int>(std::lround(kLongestDivider - k * (kLongestDivider - 1)));
}

void SB20ComplexShiftRegister::StepInternal() {
  ratePhase_ += rateStep_;
  if (ratePhase_ >= 1.0) {
    ratePhase_ -= 1.0;
    Shift();
  } else if (ratePhase_ >= 0.5) {
    clockOut_->out = 0.0f;
  }
}

void SB20ComplexShiftRegister::StepExternal() {
  const float clock = clockIn_->in;
  if (dsp::IsRisingEdge(lastClock_, clock)) {
    if (--countdown_ <= 0) {
      countdown_ = divider_;
      Shift();
    } else if (countdown_ == divider_ / 2) {
      clockOut_->out = 0.0f;
    }
  } else if (divider_ == 1 && clock < dsp::kGateThreshold) {
    clockOut_->out = 0.0f;
  }
}

void SB20ComplexShiftRegister::Shift() {
  clockOut_->out = 1.0f;
  activeTap_ = (activeTap_ + 1) % kTaps;
  ShowTap();

  constexpr int kLastTap = 10;
  const int tap = static_cast<int>(taps_[activeTap_]->stepped_target * kLastTap + 0.5f);
  const int start = tap <= 5 ? 5 - tap : 17 - tap;
  std::array<float, kPoints> values;
  for (int i = 0; i < kPoints; ++i) {
    const int point = (start + i) % kPoints;
    values[i] = isInput_[point] ? points_[point]->in : points_[point]->out;
  }
  for (int i = 0; i < kPoints; ++i) points_[i]->out = values[i];
}

void SB20ComplexShiftRegister::ShowTap() {
  for (int i = 0; i < kTaps; ++i) lamps_[i].Set(i == activeTap_ ? 1.0f : 0.0f);
}

void SB20ComplexShiftRegister::LoadPreset(const void* buffer, int size, int version) {
  BuiltInModule::LoadPreset(buffer, size, version);
  const ProcessingSection section(*this);
  ShowTap();
}

void SB20ComplexShiftRegister::SetSampleRate(float rate) {
  Module::SetSampleRate(rate);
  FollowRateKnob();
}

void SB20ComplexShiftRegister::ValueChanged(CControl* control) {
  for (Knob& tap : taps_) {
    if (control == tap) tap.View().SnapToStep();
  }
  if (control == source_) isExternal_ = source_->getValue() >= 0.5f;
}

void SB20ComplexShiftRegister::CableConnected(PatchPoint*) { NoteDirections(); }

void SB20ComplexShiftRegister::CableDisconnected(PatchPoint*) { NoteDirections(); }

void SB20ComplexShiftRegister::NoteDirections() {
  for (int i = 0; i < kPoints; ++i) {
    const int direction = points_[i].View().direction;
    isInput_[i] = direction == kActsAsInput || direction == kActsAsBoth;
  }
}

}  // namespace halveron
