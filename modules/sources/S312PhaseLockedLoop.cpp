#include "modules/sources/S312PhaseLockedLoop.h"

namespace halveron {

namespace {

using Kernel = S312PhaseLockedLoopKernel;

constexpr float kMiddleC =
    static_cast<float>(-Kernel::kLowestOctave / Kernel::kOctaves);  // of the frequency knob

}  // namespace

void S312PhaseLockedLoop::SetUpClass() {
  BuiltInModule::SetUpClass();
  dsp::GetMinBlepTable();
}

S312PhaseLockedLoop::S312PhaseLockedLoop(CFrame* frame, const HostTable& table, int voiceIndex)
    : BuiltInModule(frame, table, voiceIndex) {
  constexpr float kLeft = 25, kMiddle = 66, kRight = 107;
  AddModuleKnob(frequency_, "Frequency", kLeft, 62, SharedBitmap::kSmallKnob, kMiddleC);
  AddModuleKnob(range_, "Range", kMiddle, 62, SharedBitmap::kSmallKnob, 0.5f);
  AddModuleKnob(offset_, "Offset", kRight, 62, SharedBitmap::kSmallKnob, 0.5f);
  comparator_ =
      AddVerticalSwitch("Comparator", kRight, 113, SharedBitmap::kVerticalTripleSwitch, 1.0f);
  AddModuleKnob(loopFilter_, "Loop filter", kMiddle, 113, SharedBitmap::kSmallKnob, 0.5f);
  AddFactor(divider_, "Divider", "Divider up", "Divider down", 26, 163);
  AddFactor(multiplier_, "Multiplier", "Multiplier up", "Multiplier down", 82, 163);
  divider_.digits->caption = "Divide";
  multiplier_.digits->caption = "Multiply";
  AddModuleKnob(cvAmount_, "CV amount", kLeft, 113, SharedBitmap::kSmallKnob, 0.0f);
  comparator_->caption = "Compare";
  loopFilter_.View().caption = "Filter";

  AddLamp(lockLamp_, "Lock lamp", kRight, 210, SharedBitmap::kBlueLamp);
  AddPatchPoint(in_, "In", kLeft, 210);
  AddPatchPoint(cv_, "CV", kMiddle, 210);
  AddPatchPoint(square_, "Square", 21, 256);
  AddPatchPoint(phase_, "Phase", 51, 256);
  AddPatchPoint(lock_, "Lock", 81, 256);
  AddPatchPoint(control_, "Control", 111, 256);

  clipLevel = -1.0f;
  kernel_.baseFrequency = NoteFrequency[60];
  InitPatchPoints(0.0f);
  SetSampleRate(sampleRate);
  ValueChanged(comparator_);
  ValueChanged(divider_.digits);
  ValueChanged(multiplier_.digits);
}

void S312PhaseLockedLoop::AddFactor(Factor& factor, const char* role, const char* up,
                                    const char* down, float x, float y) {
  constexpr float kButtons = 26, kApart = 9;
  factor.digits =
      AddSpecialDigitEx(role, x, y, SharedBitmap::kRedDigits, 2, 1, Kernel::kMostFactor);
  factor.up = AddKickButton(up, x + kButtons, y - kApart, SharedBitmap::kUpButton);
  factor.down = AddKickButton(down, x + kButtons, y + kApart, SharedBitmap::kDownButton);
  factor.up->caption = "";
  factor.down->caption = "";
}

int S312PhaseLockedLoop::Factor::Number() const {
  return dsp::TruncateWithin(static_cast<double>(digits->getValue()), 1, Kernel::kMostFactor);
}

bool S312PhaseLockedLoop::Factor::Follow(const CControl* control, bool isLoading) const {
  if (control == digits) return true;
  if (isLoading || (control != up && control != down) || control->getValue() < 0.5f) return false;
  const int next = Number() + (control == up ? 1 : -1);
  const int wrapped = next < 1 ? Kernel::kMostFactor : next > Kernel::kMostFactor ? 1 : next;
  digits->setValue(static_cast<float>(wrapped));
  return true;
}

void S312PhaseLockedLoop::ProcessSample() {
  restingKnobs_.Smooth(knobMoves_, frequency_, range_, offset_, loopFilter_, cvAmount_);
  kernel_.Step({frequency_->smoothed_value, range_->smoothed_value, offset_->smoothed_value,
                loopFilter_->smoothed_value, cvAmount_->smoothed_value},
               in_->in, cv_->in, outputs_);
  square_->out = outputs_.square;
  phase_->out = outputs_.phase;
  lock_->out = kernel_.IsLocked() ? 1.0f : 0.0f;
  control_->out = outputs_.control;
  lockLamp_.Set(lock_->out);
}

void S312PhaseLockedLoop::SetSampleRate(float rate) {
  Module::SetSampleRate(rate);
  kernel_.Prepare(rate);
}

void S312PhaseLockedLoop::ValueChanged(CControl* control) {
  const ProcessingSection section(*this);
  if (control == comparator_) {
    const float value = comparator_->getValue();
    kernel_.comparator = value < 0.25f   ? Kernel::Comparator::kXor
                         : value < 0.75f ? Kernel::Comparator::kEdge
                                         : Kernel::Comparator::kPhaseFrequency;
  } else if (divider_.Follow(control, isLoading_)) {
    kernel_.SetDivider(divider_.Number());
  } else if (multiplier_.Follow(control, isLoading_)) {
    kernel_.SetMultiplier(multiplier_.Number());
  }
}

void S312PhaseLockedLoop::LoadPreset(const void* buffer, int size, int version) {
  isLoading_ = true;
  Module::LoadPreset(buffer, size, version);
  isLoading_ = false;
}

}  // namespace halveron
