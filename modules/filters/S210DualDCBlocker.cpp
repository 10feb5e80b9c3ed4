#include "modules/filters/S210DualDCBlocker.h"

#include "dsp/shaping.h"

namespace halveron {

S210DualDCBlocker::S210DualDCBlocker(CFrame* frame, const HostTable& table, int voiceIndex)
    : BuiltInModule(frame, table, voiceIndex) {
  constexpr float kMiddle = 30;
  constexpr float kInitial = 0.44312003f;  // the square root of 0.19635535307517085
  AddModuleKnob(frequency_, "Frequency", kMiddle, 66, SharedBitmap::kSmallKnob, kInitial);
  AddPatchPoint(in1_, "In 1", kMiddle, 124);
  AddPatchPoint(out1_, "Out 1", kMiddle, 202);
  AddPatchPoint(in2_, "In 2", kMiddle, 164);
  AddPatchPoint(out2_, "Out 2", kMiddle, 250);

  clipLevel = -1.0f;
  InitPatchPoints(0.0f);
  SetSampleRate(sampleRate);
}

void S210DualDCBlocker::ProcessSample() {
  out1_->out = Step(first_, in1_->in, c_);
  if (hasIn2_) out2_->out = Step(second_, in2_->in, c_);
}

float S210DualDCBlocker::Step(dsp::DcBlocker<float>& blocker, float x, float c) {
  return blocker.Step(dsp::FiniteOrZero(x), c);
}

void S210DualDCBlocker::SetSampleRate(float rate) {
  Module::SetSampleRate(rate);
  ValueChanged(frequency_);
}

void S210DualDCBlocker::ValueChanged(CControl* control) {
  if (control != frequency_) return;
  constexpr double kTop = 440.0;  // of 2 pi times the corner, in hertz
  const double v = dsp::LimitUnit(frequency_->value);
  const auto c = static_cast<float>(1.0 - v * v * kTop / sampleRate);
  const ProcessingSection section(*this);
  c_ = c;
  if (c != 1.0f) return;
  // Nothing is blocked any more: what had been would stay as an offset for good.
  first_ = {};
  second_ = {};
}

void S210DualDCBlocker::CableConnected(PatchPoint* point) {
  if (point == in2_) hasIn2_ = true;
}

void S210DualDCBlocker::CableDisconnected(PatchPoint* point) {
  if (point == in2_) hasIn2_ = in2_.IsCabled();
}

}  // namespace halveron
