#include "modules/other/SE06HardwareTuner.h"

#include <algorithm>
#include <cmath>
#include <cstdint>
#include <cstdio>

#include "framework/display_view.h"
#include "framework/pitch_text.h"
#include "framework/preset_tail.h"
#include "framework/rack_model.h"

namespace halveron {

namespace {

using Kernel = SE06HardwareTunerKernel;

constexpr double kLowestReference = 430.0, kReferences = 20.0;  // hertz
constexpr double kStepsPerHertz = 10.0;
constexpr int kReportMilliseconds = 100;

}  // namespace

SE06HardwareTuner::SE06HardwareTuner(CFrame* frame, const HostTable& table, int voiceIndex)
    : BuiltInModule(frame, table, voiceIndex),
      timer_(*this, kReportMilliseconds, [this] { ReportTable(); }) {
  constexpr float kLeft = 24, kMiddle = 60, kRight = 96, kControls = 154;
  AddModuleKnob(reference_, "Reference", 18, kControls, SharedBitmap::kGrayKnob, 0.5f);
  calibrate_ = AddKickButton("Calibrate", 56, kControls, SharedBitmap::kRedButton);
  correction_ =
      AddVerticalSwitch("Correction", 100, kControls, SharedBitmap::kVerticalSwitch, 1.0f);
  correction_->caption = "Correct";
  reference_.View().caption = "Ref";
  AddLamp(running_, "Calibration lamp", 56, 178, SharedBitmap::kRedLamp);
  running_.View().caption = "";
  AddPatchPoint(audio_, "Audio", kLeft, 206);
  AddPatchPoint(pitch_, "Pitch", kRight, 206);
  AddPatchPoint(pitchOut_, "Pitch", kMiddle, 254);
  display_ = AddDisplay("Display", kMiddle, 84, 106, 84);
  display_->Show<Picture>(feed_, [this](CDrawContext& context, const CRect& area,
                                        const Picture& picture) { Draw(context, area, picture); });
  clipLevel = -1.0f;
  InitPatchPoints(0.0f);
  SetSampleRate(sampleRate);
  ValueChanged(reference_);
  ValueChanged(correction_);
  timer_.Start();
}

void SE06HardwareTuner::ProcessSample() {
  const bool wasRunning = kernel_.IsRunning();
  if (kernel_.Step(audio_->in)) Publish();
  if (wasRunning && kernel_.Now().outcome == Kernel::Outcome::kDone) isTableNew_ = true;
  pitchOut_->out = kernel_.Output(pitch_->in, corrects_, referenceHertz_);
}

/// A calibration is the user's edit, which the audio thread brings to its end.
void SE06HardwareTuner::ReportTable() {
  if (isTableNew_.exchange(false)) editor->ModuleEdited(*this);
}

void SE06HardwareTuner::Publish() {
  running_.Set(kernel_.IsRunning() ? 1.0f : 0.0f);
  feed_.Back() = {kernel_.Now(), kernel_.Table().IsUsable()};
  feed_.Publish();
}

void SE06HardwareTuner::SetSampleRate(float rate) {
  const ProcessingSection section(*this);
  Module::SetSampleRate(rate);
  kernel_.Prepare(rate);
}

void SE06HardwareTuner::ValueChanged(CControl* control) {
  const ProcessingSection section(*this);
  if (control == reference_) {
    const double hertz = kLowestReference +
                         kReferences * std::clamp(static_cast<double>(reference_->value), 0.0, 1.0);
    referenceHertz_ = std::round(hertz * kStepsPerHertz) / kStepsPerHertz;
    display_->setDirty();
  } else if (control == correction_) {
    corrects_ = correction_->getValue() >= 0.5f;
  } else if (control == calibrate_ && calibrate_->getValue() >= 0.5f && !isLoading_) {
    if (kernel_.IsRunning()) {
      kernel_.Cancel();
    } else {
      kernel_.Start();
    }
    Publish();
  }
}

int SE06HardwareTuner::GetPresetSize() {
  const auto count = static_cast<int>(kernel_.Table().Count());
  return PresetTail(*this).SizeWith(static_cast<int>(sizeof(std::int32_t)) +
                                    count * 2 * static_cast<int>(sizeof(float)));
}

void SE06HardwareTuner::SavePreset(void* buffer, int size) {
  ByteWriter writer = PresetTail(*this).Save(buffer, size);
  const TuningTable& table = kernel_.Table();
  writer.Write(static_cast<std::int32_t>(table.Count()));
  for (std::size_t i = 0; i < table.Count(); ++i) {
    writer.Write(table.At(i).voltage);
    writer.Write(table.At(i).answer);
  }
}

void SE06HardwareTuner::LoadPreset(const void* buffer, int size, int) {
  const ProcessingSection section(*this);
  isLoading_ = true;
  ByteReader reader = PresetTail(*this).Load(buffer, size);
  isLoading_ = false;
  std::int32_t count = 0;
  TuningTable table;
  bool isWhole = reader.Read(count);
  for (std::int32_t i = 0; isWhole && i < count; ++i) {
    TuningTable::Point point;
    isWhole = reader.Read(point.voltage) && reader.Read(point.answer) && table.Add(point);
  }
  kernel_.Cancel();
  kernel_.SetTable(isWhole ? table : TuningTable());
  Publish();
}

std::array<std::string, 3> SE06HardwareTuner::Lines(const Report& report, double reference,
                                                    bool isTuned) {
  using Outcome = Kernel::Outcome;
  using Tone = dsp::PitchMeter::Tone;
  std::array<std::string, 3> lines{"---", "", ""};
  char text[48];
  if (report.tone == Tone::kSteady) {
    lines[0] = PitchText(Kernel::PitchOf(report.hertz, reference));
    std::snprintf(text, sizeof text, report.hertz < 1000.0 ? "%.2f Hz" : "%.1f Hz", report.hertz);
    lines[1] = text;
  } else {
    lines[1] = report.tone == Tone::kSilent     ? "no tone"
               : report.tone == Tone::kUnsteady ? "no steady tone"
                                                : "";
  }
  const std::string place = PitchText(static_cast<double>(report.voltage));
  const std::string note = std::string(place.begin(), std::find(place.begin(), place.end(), ' '));
  switch (report.outcome) {
    case Outcome::kNone:
      lines[2] = isTuned ? "tuned" : "not calibrated";
      break;
    case Outcome::kRunning:
      std::snprintf(text, sizeof text, "step %d of %d: ", report.step + 1, Kernel::kSteps);
      lines[2] = text + note;
      break;
    case Outcome::kDone:
      lines[2] = "tuned";
      break;
    case Outcome::kCancelled:
      lines[2] = "cancelled";
      break;
    case Outcome::kSilent:
      lines[2] = "no tone at " + note;
      break;
    case Outcome::kUnsteady:
      lines[2] = "unsteady at " + note;
      break;
    case Outcome::kStuck:
      lines[2] = "no answer to " + note;
      break;
    case Outcome::kTooFew:
      lines[2] = "range too small";
      break;
  }
  return lines;
}

void SE06HardwareTuner::Draw(CDrawContext& context, const CRect& area,
                             const Picture& picture) const {
  const auto lines = Lines(picture.report, referenceHertz_, picture.isTuned);
  const CCoord unit = static_cast<CCoord>(uiScale), margin = 4 * unit;
  const auto font = [&](double size, int style) {
    context.setFont(SharedPointer<CFontDesc>::Adopt(new CFontDesc(nullptr, size * unit, style)));
  };
  const auto row = [&](CCoord top, CCoord height) {
    return CRect(area.left + margin, area.top + top * unit, area.right - margin,
                 area.top + (top + height) * unit);
  };
  context.setFontColor(digitColor);
  font(15, kBoldFace);
  context.drawString(lines[0], row(2, 20), kCenterText);

  // The needle's scale, 50 cents either way.
  const CRect scale = row(25, 12);
  context.setFrameColor(DisplayView::kGridColor);
  context.setLineWidth(unit);
  for (int tenth = -5; tenth <= 5; ++tenth) {
    const CCoord x = scale.getCenter().x + scale.getWidth() * tenth / 10.2;
    const CCoord top = tenth == 0 ? scale.top : scale.top + scale.getHeight() / 2;
    context.drawLine(CPoint(x, top), CPoint(x, scale.bottom));
  }
  if (picture.report.tone == dsp::PitchMeter::Tone::kSteady) {
    const double semitones =
        Kernel::PitchOf(picture.report.hertz, referenceHertz_) / kPitchPerSemitone;
    const double off = semitones - std::round(semitones);
    const CCoord x = scale.getCenter().x + scale.getWidth() * off / 1.02;
    context.setFrameColor(digitColor);
    context.setLineWidth(2 * unit);
    context.drawLine(CPoint(x, scale.top), CPoint(x, scale.bottom));
  }

  font(10, kNormalFace);
  context.drawString(lines[1], row(39, 14), kCenterText);
  context.drawString(lines[2], row(53, 14), kCenterText);
  char reference[24];
  std::snprintf(reference, sizeof reference, "A4 = %.1f Hz", referenceHertz_);
  context.drawString(reference, row(67, 14), kCenterText);
}

}  // namespace halveron
