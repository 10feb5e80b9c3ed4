#include "modules/sources/S302DualSubSinVCO.h"

#include <algorithm>
#include <cmath>

#include "framework/preset_tail.h"

namespace halveron {

namespace {

/// 1/64 to 64, an octave a step.
float RatioOf(double steppedValue) {
  const int index = std::clamp(static_cast<int>(steppedValue * 12.0 + 0.001), 0, 12);
  return std::ldexp(1.0f, index - 6);
}

}  // namespace

S302DualSubSinVCO::S302DualSubSinVCO(CFrame* frame, const HostTable& table, int voiceIndex)
    : BuiltInModule(frame, table, voiceIndex) {
  constexpr float kLeft = 20, kMiddle = 36, kRight = 52;
  AddModuleKnob(spread_, "Spread", kMiddle, 64, SharedBitmap::kSmallKnob, 0.0f);
  AddSteppedKnob(ratio1_, "Ratio 1", kLeft, 118, SharedBitmap::kGrayKnob13, 0.5f);
  AddSteppedKnob(ratio2_, "Ratio 2", kRight, 118, SharedBitmap::kGrayKnob13, 0.5f);
  AddPatchPoint(pitch_, "Pitch", kMiddle, 176);
  AddPatchPoint(sine1_, "Sine 1", kLeft, 246);
  AddPatchPoint(sine2_, "Sine 2", kRight, 246);

  clipLevel = -1.0f;
  kernel_.baseFrequency = NoteFrequency[60];
  InitPatchPoints(0.0f);
  SetSampleRate(sampleRate);
  ValueChanged(ratio1_);
  ValueChanged(ratio2_);
}

void S302DualSubSinVCO::ProcessSample() {
  kernel_.SetPitch(pitch_->in, hasSine2_);
  sine1_->out = kernel_.First();
  if (!hasSine2_) return;
  spread_->SmoothValue();
  sine2_->out = kernel_.Second(spread_->smoothed_value);
}

VoiceGroupMaker S302DualSubSinVCO::GetVoiceGroupMaker(VectorUnit unit) const {
  return VoiceGroupMakerOf<S302DualSubSinVCO>(unit);
}

void S302DualSubSinVCO::SetSampleRate(float rate) {
  Module::SetSampleRate(rate);
  kernel_.Prepare(rate);
}

void S302DualSubSinVCO::ValueChanged(CControl* control) {
  if (control != ratio1_ && control != ratio2_) return;
  const Knob& knob = control == ratio1_ ? ratio1_ : ratio2_;
  knob.View().SnapToStep();
  const ProcessingSection section(*this);
  (control == ratio1_ ? kernel_.ratio1 : kernel_.ratio2) = RatioOf(knob->stepped_target);
  kernel_.lastPitch = kernel_.kNoPitch;
}

void S302DualSubSinVCO::CableConnected(PatchPoint* point) {
  if (point != sine2_) return;
  hasSine2_ = true;
  kernel_.lastPitch = kernel_.kNoPitch;
}

void S302DualSubSinVCO::CableDisconnected(PatchPoint* point) {
  if (point == sine2_) hasSine2_ = sine2_.IsCabled();
}

int S302DualSubSinVCO::GetPresetSize() { return PresetTail(*this).SizeWith(2 * sizeof(float)); }

void S302DualSubSinVCO::SavePreset(void* buffer, int size) {
  ByteWriter writer = PresetTail(*this).Save(buffer, size);
  writer.Write(static_cast<float>(kernel_.phase_1));
  writer.Write(static_cast<float>(kernel_.phase_2));
}

void S302DualSubSinVCO::LoadPreset(const void* buffer, int size, int) {
  ByteReader phases = PresetTail(*this).Load(buffer, size);
  float value = 0.0f;
  // In float, 2 pi may come out a little above itself.
  constexpr float kTop = 6.2831855f;
  for (double* phase : {&kernel_.phase_1, &kernel_.phase_2}) {
    if (phases.Read(value) && value >= 0.0f && value <= kTop) *phase = value;
  }
}

}  // namespace halveron
