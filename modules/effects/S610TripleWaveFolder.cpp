#include "modules/effects/S610TripleWaveFolder.h"

#include <algorithm>
#include <cmath>

#include "framework/numbered_role.h"
#include "modules/effects/distortion_envelope.h"

namespace halveron {

S610TripleWaveFolder::S610TripleWaveFolder(CFrame* frame, const HostTable& table, int voiceIndex)
    : BuiltInModule(frame, table, voiceIndex) {
  constexpr float kFirst = 28, kColumn = 44, kBottom = 250;
  const auto x = [](int stage) { return kFirst + kColumn * static_cast<float>(stage); };
  for (int i = 0; i < kStages; ++i) {
    AddModuleKnob(stages_[i].level, NumberedRole<"Fold level">(i), x(i), 56,
                  SharedBitmap::kSmallKnob, i == 0 ? 0.75f : 0.5f);
    stages_[i].level.View().caption = NumberedRole<"Fold">(i);
  }
  for (int i = 0; i < kStages; ++i) {
    AddModuleKnob(stages_[i].shift, NumberedRole<"Shift">(i), x(i), 106, SharedBitmap::kSmallKnob,
                  0.5f);
  }
  for (int i = 0; i < kStages; ++i) {
    stages_[i].referenceSwitch = AddVerticalSwitch(NumberedRole<"Reference">(i), x(i), 152,
                                                   SharedBitmap::kVerticalTripleSwitch, 0.0f);
    stages_[i].referenceSwitch->caption = NumberedRole<"Ref">(i);
  }
  AddModuleKnob(speed_, "Speed", x(1), kBottom, SharedBitmap::kGrayKnob, 0.3888889f);
  AddPatchPoint(in_, "In", x(0), kBottom);
  for (int i = 0; i < kStages; ++i) {
    AddPatchPoint(stages_[i].referenceCv, NumberedRole<"Reference CV">(i), x(i), 198);
    stages_[i].referenceCv.View().caption = NumberedRole<"CV">(i);
  }
  AddPatchPoint(out_, "Out", x(2), kBottom);

  InitPatchPoints(0.0f);
  SetSampleRate(sampleRate);
  for (const StageControls& stage : stages_) ValueChanged(stage.referenceSwitch);
}

double S610TripleWaveFolder::Fold(double x) {
  const double turn = x * 0.25 + 0.25;
  return 1.0 - 4.0 * std::fabs(turn - std::floor(turn) - 0.5);
}

double S610TripleWaveFolder::Stage(double x, double level, double shift, double reference) {
  const double drive = std::exp2(level);
  const double folded = Fold(drive * x / reference + shift) - Fold(shift);
  return reference * folded / std::min(drive, 1.0);
}

double S610TripleWaveFolder::ReferenceOf(const StageControls& stage, double envelope) const {
  constexpr double kLowest = 0.0001;
  switch (stage.reference) {
    case Reference::kEnvelope:
      return envelope;
    case Reference::kVoltage:
      return std::max<double>(std::fabs(dsp::FiniteOrZero(stage.referenceCv->in)), kLowest);
    case Reference::kFixed:
      break;
  }
  return 1.0;
}

void S610TripleWaveFolder::ProcessSample() {
  const float in = dsp::FiniteOrZero(in_->in);
  const double envelope = StepEnvelope(follower_, in);
  double y = in;
  for (StageControls& stage : stages_) {
    stage.level->SmoothValue();
    stage.shift->SmoothValue();
    y = Stage(y, stage.level->smoothed_value * 4.0 - 2.0, stage.shift->smoothed_value * 4.0 - 2.0,
              ReferenceOf(stage, envelope));
  }
  out_->out = dsp::LimitSymmetric(static_cast<float>(y), clipLevel);
}

void S610TripleWaveFolder::SetSampleRate(float rate) {
  Module::SetSampleRate(rate);
  ValueChanged(speed_);
}

void S610TripleWaveFolder::ValueChanged(CControl* control) {
  if (control == speed_) follower_.SetGain(EnvelopeGain(speed_->value, sampleRate));
  for (StageControls& stage : stages_) {
    if (control != stage.referenceSwitch) continue;
    const float position = stage.referenceSwitch->getValue();
    stage.reference = position >= 1.0f   ? Reference::kVoltage
                      : position >= 0.5f ? Reference::kEnvelope
                                         : Reference::kFixed;
  }
}

}  // namespace halveron
