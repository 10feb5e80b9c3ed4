#include "modules/other/SE10DualVoltMeter.h"

#include <algorithm>
#include <cmath>
#include <cstdio>

#include "framework/display_view.h"
#include "framework/numbered_role.h"
#include "framework/pitch_text.h"

namespace halveron {

namespace {

constexpr double kShortest = 0.01;  // seconds
constexpr double kTimes = 1000.0;   // the longest in shortest ones
constexpr double kShownPerSecond = 30.0;
constexpr double kVolts = 10.0;  // of a signal of 1.0

/// Seconds of the knob.
double TimeOf(float knob) {
  return kShortest * std::pow(kTimes, std::clamp(static_cast<double>(knob), 0.0, 1.0));
}

std::string TimeText(double seconds) {
  char text[24];
  if (seconds < 0.9995) {
    std::snprintf(text, sizeof text, "%.0f ms", seconds * 1000.0);
  } else {
    std::snprintf(text, sizeof text, "%.1f s", seconds);
  }
  return text;
}

std::string VoltText(double signal) {
  const double volts = signal * kVolts;
  char text[32];
  const int digits = std::abs(volts) < 1000.0 ? 3 : 0;
  std::snprintf(text, sizeof text, std::abs(volts) < 1e7 ? "%+.*f V" : "%+.*e V", digits, volts);
  return text;
}

}  // namespace

SE10DualVoltMeter::SE10DualVoltMeter(CFrame* frame, const HostTable& table, int voiceIndex)
    : BuiltInModule(frame, table, voiceIndex) {
  constexpr float kMiddle = 60, kWidth = 106, kHeight = 62, kControls = 206;
  constexpr std::array<float, kMeters> kRows{73, 141}, kSwitches{50, 74}, kJacks{36, 84};
  AddModuleKnob(time_, "Time", 22, kControls, SharedBitmap::kGrayKnob, 2.0f / 3.0f);
  for (int i = 0; i < kMeters; ++i) {
    units_[i] = AddVerticalSwitch(NumberedRole<"Unit">(i), kSwitches[i], kControls,
                                  SharedBitmap::kVerticalSwitch, 0.0f);
  }
  reset_ = AddKickButton("Reset", 100, kControls, SharedBitmap::kRedButton);
  for (int i = 0; i < kMeters; ++i) {
    AddPatchPoint(ins_[i], NumberedRole<"In">(i), kJacks[i], 254);
    displays_[i] = AddDisplay(NumberedRole<"Display">(i), kMiddle, kRows[i], kWidth, kHeight);
    displays_[i]->Show<Reading>(
        feeds_[i], [this, i](CDrawContext& context, const CRect& area, const Reading& reading) {
          Draw(i, context, area, reading);
        });
  }
  clipLevel = -1.0f;
  InitPatchPoints(0.0f);
  SetSampleRate(sampleRate);
}

void SE10DualVoltMeter::ProcessSample() {
  for (int i = 0; i < kMeters; ++i) kernels_[i].Step(ins_[i]->in);
  if (--untilShown_ > 0) return;
  untilShown_ = static_cast<int>(sampleRate / kShownPerSecond);
  for (int i = 0; i < kMeters; ++i) {
    feeds_[i].Back() = kernels_[i].Read();
    feeds_[i].Publish();
  }
}

void SE10DualVoltMeter::SetSampleRate(float rate) {
  Module::SetSampleRate(rate);
  FollowTime();
}

void SE10DualVoltMeter::FollowTime() {
  const double samples = TimeOf(time_->value) * static_cast<double>(sampleRate);
  for (auto& kernel : kernels_) kernel.SetTime(samples);
}

void SE10DualVoltMeter::ValueChanged(CControl* control) {
  for (int i = 0; i < kMeters; ++i) {
    if (control == units_[i] || control == time_) displays_[i]->setDirty();
  }
  const ProcessingSection section(*this);
  if (control == time_) FollowTime();
  if (control == reset_ && reset_->getValue() >= 0.5f) {
    for (auto& kernel : kernels_) kernel.Reset();
    untilShown_ = 0;
  }
}

std::array<std::string, 4> SE10DualVoltMeter::Lines(const Reading& reading, bool asPitch) {
  if (!reading.isMeasured) return {"---", "", "", ""};
  const auto text = [asPitch](double signal) {
    return asPitch ? PitchText(signal) : VoltText(signal);
  };
  const auto value = static_cast<double>(reading.value);
  if (!reading.isNumber) {
    return {std::isfinite(value) ? text(value) : "no number", "max ---", "mean ---", "min ---"};
  }
  return {text(value), "max " + text(static_cast<double>(reading.high)),
          "mean " + text(reading.mean), "min " + text(static_cast<double>(reading.low))};
}

void SE10DualVoltMeter::Draw(int meter, CDrawContext& context, const CRect& area,
                             const Reading& reading) const {
  const auto lines = Lines(reading, units_[meter]->getValue() >= 0.5f);
  const CCoord unit = static_cast<CCoord>(uiScale), margin = 4 * unit;
  context.setFontColor(digitColor);
  CRect line(area.left + margin, area.top + unit, area.right - margin, area.top + 21 * unit);
  context.setFont(SharedPointer<CFontDesc>::Adopt(new CFontDesc(nullptr, 14 * unit, kBoldFace)));
  context.drawString(lines[0], line, kRightText);
  const CCoord taken = context.getStringWidth(lines[0]);
  context.setFont(SharedPointer<CFontDesc>::Adopt(new CFontDesc(nullptr, 10 * unit)));
  const std::string time = TimeText(TimeOf(time_->value));
  if (taken + context.getStringWidth(time) + margin <= line.getWidth()) {
    context.drawString(time, line, kLeftText);
  }
  for (std::size_t i = 1; i < lines.size(); ++i) {
    line.top = line.bottom;
    line.bottom = line.top + 13 * unit;
    const std::string& text = lines[i];
    const std::size_t name = std::min(text.find(' '), text.size());
    context.drawString(text.substr(0, name), line, kLeftText);
    if (name < text.size()) context.drawString(text.substr(name + 1), line, kRightText);
  }
}

}  // namespace halveron
