#include "modules/sources/S304VCO.h"

#include <algorithm>
#include <cmath>

#include "framework/preset_tail.h"

namespace halveron {

S304VCO::S304VCO(CFrame* frame, const HostTable& table, int voiceIndex)
    : BuiltInModule(frame, table, voiceIndex) {
  constexpr float kLeft = 32, kMiddle = 54, kRight = 76;
  AddModuleKnob(frequency_, "Frequency", kMiddle, 74, SharedBitmap::kBigKnob, 0.5f);
  AddModuleKnob(fmAmount_, "FM amount", kLeft, 132, SharedBitmap::kSmallKnob, 0.0f);
  AddModuleKnob(detune_, "Detune", kRight, 132, SharedBitmap::kSmallKnob, 0.1f);
  AddPatchPoint(pitch_, "Pitch", kLeft, 184);
  AddPatchPoint(fm_, "FM", kRight, 184);
  AddPatchPoint(pitchOut_, "Pitch out", 22, 248);
  AddPatchPoint(saw_, "Saw", kMiddle, 248);
  AddPatchPoint(pulse_, "Pulse", 86, 248);

  fmAmount_.View().caption = "FM amt";

  clipLevel = -1.0f;
  kernel_.baseFrequency = NoteFrequency[60];
  kernel_.detune_ratio = kernel_.DetuneRatio(detune_->smoothed_value);
  InitPatchPoints(0.0f);
  SetSampleRate(sampleRate);
}

void S304VCO::ProcessSample() {
  restingKnobs_.Smooth(knobMoves_, frequency_, fmAmount_);
  const float pitch = pitch_->in;
  if (!detune_->SmoothValueSettled()) kernel_.SetDetune(true, detune_->smoothed_value, pitch);
  kernel_.Advance(frequency_->smoothed_value, fmAmount_->smoothed_value, detune_->smoothed_value,
                  pitch, fm_->in);
  pitchOut_->out = kernel_.pitchOut;
  saw_->out = kernel_.Saw();
  if (hasPulse_) pulse_->out = kernel_.Pulse();
}

VoiceGroupMaker S304VCO::GetVoiceGroupMaker(VectorUnit unit) const {
  return VoiceGroupMakerOf<S304VCO>(unit);
}

void S304VCO::SetSampleRate(float rate) {
  Module::SetSampleRate(rate);
  kernel_.Prepare(rate);
}

void S304VCO::CableConnected(PatchPoint* point) {
  if (point == pulse_) hasPulse_ = true;
}

void S304VCO::CableDisconnected(PatchPoint* point) {
  if (point == pulse_) hasPulse_ = pulse_.IsCabled();
}

int S304VCO::GetPresetSize() { return PresetTail(*this).SizeWith(2 * sizeof(float)); }

void S304VCO::SavePreset(void* buffer, int size) {
  ByteWriter writer = PresetTail(*this).Save(buffer, size);
  writer.Write(kernel_.phase_1);
  writer.Write(kernel_.phase_2);
}

void S304VCO::LoadPreset(const void* buffer, int size, int version) {
  ByteReader phases = PresetTail(*this).Load(buffer, size);
  ByteReader reader(buffer, static_cast<std::size_t>(std::max(size, 0)));
  float value = 0.0f;
  reader.Read(value);  // Frequency
  if (reader.Read(value) && version < kFirstVersionOfFmLaw && std::isfinite(value)) {
    const double amount = std::cbrt(static_cast<double>(value) * value * 2.5714285714285716);
    fmAmount_.View().SetAtOnce(static_cast<float>(std::min(1.0, amount)));
  }
  for (float* phase : {&kernel_.phase_1, &kernel_.phase_2}) {
    if (phases.Read(value) && value >= 0.0f && value <= 1.0f) *phase = value;
  }
  kernel_.pitch_cache = kernel_.kNoPitch;
  kernel_.detune_ratio = kernel_.DetuneRatio(detune_->smoothed_value);
}

}  // namespace halveron
