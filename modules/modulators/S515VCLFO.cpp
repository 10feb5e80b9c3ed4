#include "modules/modulators/S515VCLFO.h"

#include <algorithm>
#include <vector>

#include "framework/byte_io.h"
#include "framework/preset_tail.h"
#include "modules/modulators/clock_increment.h"

namespace halveron {

S515VCLFO::S515VCLFO(CFrame* frame, const HostTable& table, int voiceIndex)
    : BuiltInModule(frame, table, voiceIndex) {
  AddModuleKnob(rate_, "Rate", 20, 58, SharedBitmap::kSmallKnob, 0.5f);
  AddModuleKnob(rateAmount_, "Rate CV amount", 20, 106, SharedBitmap::kGrayKnob, 0.0f);
  rateAmount_.View().caption = "CV amt";
  AddModuleKnob(steps_, "Steps", 54, 106, SharedBitmap::kGrayKnob, 0.0f);
  AddSteppedKnob(waveform_, "Waveform", 54, 58, SharedBitmap::kGrayKnob7, 0.0f);
  waveform_.View().caption = "Wave";
  AddModuleKnob(phase_, "Phase", 88, 106, SharedBitmap::kGrayKnob, 0.0f);
  range_ = AddVerticalSwitch("Range", 88, 58, SharedBitmap::kVerticalSwitch, 1.0f);
  AddLamp(activity_, "Activity LED", 54, 148, SharedBitmap::kRedLamp);
  AddPatchPoint(clock_, "Clock", 20, 198);
  AddPatchPoint(rateCv_, "Rate CV", 54, 198);
  AddPatchPoint(stepsCv_, "Steps CV", 88, 198);
  AddPatchPoint(reset_, "Reset", 20, 246);
  AddPatchPoint(bipolar_, "Bipolar", 54, 246);
  AddPatchPoint(unipolar_, "Unipolar", 88, 246);
  clipLevel = -1.0f;
  InitPatchPoints(0.0f);
  SetSampleRate(sampleRate);
  ValueChanged(waveform_);
}

void S515VCLFO::ProcessSample() {
  restingSteps_.Smooth(knobMoves_, steps_);
  kernel_.clock.Step(clock_->in);
  double i = 0.0;
  if (clocked_) {
    i = kernel_.ClockedIncrement(rate_->value, rateCv_->in, rateAmount_->value);
  } else {
    restingRate_.Smooth(knobMoves_, rate_, rateAmount_);
    i = kernel_.FreeIncrement(rate_->smoothed_value, rateCv_->in, rateAmount_->smoothed_value);
  }
  kernel_.FollowReset(reset_->in, phase_->value, i);
  const double step = stepsCabled_ ? stepsCv_->in * steps_->smoothed_value : steps_->smoothed_value;
  const double v = S515VCLFOKernel<>::Quantise(kernel_.Advance(i), step);
  bipolar_->out = static_cast<float>(v);
  unipolar_->out = static_cast<float>((v + 1.0) * 0.5);
  activity_.Set(unipolar_->out);
}

void S515VCLFO::SetSampleRate(float rate) {
  Module::SetSampleRate(rate);
  ValueChanged(range_);
}

void S515VCLFO::ValueChanged(CControl* control) {
  if (control == waveform_) {
    kernel_.waveform = waveform_.View().SnapToStep();
  } else if (control == range_) {
    const ProcessingSection section(*this);
    kernel_.Prepare(sampleRate, range_->getValue() >= 0.5f);
  }
}

void S515VCLFO::CableConnected(PatchPoint* point) {
  if (point == clock_) clocked_ = true;
  if (point == stepsCv_) stepsCabled_ = true;
}

void S515VCLFO::CableDisconnected(PatchPoint* point) {
  if (point == stepsCv_) stepsCabled_ = stepsCv_.IsCabled();
  if (point == clock_ && !clock_.IsCabled()) {
    clocked_ = false;
    kernel_.clock.Stop(clock_->in);
  }
}

int S515VCLFO::GetPresetSize() { return PresetTail(*this).SizeWith(sizeof(double)); }

void S515VCLFO::SavePreset(void* buffer, int size) {
  PresetTail(*this).Save(buffer, size).Write(kernel_.clock.increment);
}

void S515VCLFO::LoadPreset(const void* buffer, int size, int version) {
  if (version < 1002) {
    LoadValuesWithoutPhase(buffer, static_cast<std::size_t>(std::max(size, 0)));
    return;
  }
  ByteReader reader = PresetTail(*this).Load(buffer, size);
  if (version == 1002) {
    ReadClockIncrement<float>(reader, kernel_.clock.increment);
  } else {
    ReadClockIncrement<double>(reader, kernel_.clock.increment);
  }
}

// The block of the versions before Phase: the values, and 8 bytes that begin with a float.
void S515VCLFO::LoadValuesWithoutPhase(const void* buffer, std::size_t size) {
  constexpr std::size_t kTail = 8;
  constexpr std::size_t kPhasePlace = 4;
  if (size < kTail) return;
  ByteReader reader(buffer, size);
  const std::size_t present = static_cast<std::size_t>(GetControlValuesSize()) / sizeof(float);
  std::vector<float> values(std::min((size - kTail) / sizeof(float), present));
  for (float& value : values) reader.Read(value);
  if (values.size() >= kPhasePlace) values.insert(values.begin() + kPhasePlace, 0.0f);
  LoadControlValues(values.data(), static_cast<unsigned>(values.size() * sizeof(float)));

  ByteReader tail(static_cast<const std::byte*>(buffer) + (size - kTail), kTail);
  ReadClockIncrement<float>(tail, kernel_.clock.increment);
}

VoiceGroupMaker S515VCLFO::GetVoiceGroupMaker(VectorUnit unit) const {
  return VoiceGroupMakerOf<S515VCLFO>(unit);
}

}  // namespace halveron
