#include "modules/sources/S310VCO.h"

#include <algorithm>
#include <cmath>

#include "framework/preset_tail.h"

namespace halveron {

void S310VCO::SetUpClass() {
  BuiltInModule::SetUpClass();
  dsp::GetMinBlepTable();
  baseFrequency_ = NoteFrequency[60];
}

S310VCO::S310VCO(CFrame* frame, const HostTable& table, int voiceNumber)
    : BuiltInModule(frame, table, voiceNumber) {
  clipLevel = -1.0f;
  bandlimitMode = 0;
  kernel_.baseFrequency = baseFrequency_;
  AddControls();
  AddPatchPoints();
  InitPatchPoints(0.0f);
  kernel_.SetStride(StrideOf(bandlimitMode));
  SetSampleRate(sampleRate);
}

void S310VCO::AddControls() {
  AddModuleKnob(fineTune_, "Fine tune", 21, 62, SharedBitmap::kSmallKnob, 0.0f);
  AddModuleKnob(fmAmount_, "FM amount", 55, 62, SharedBitmap::kSmallKnob, 0.0f);
  AddModuleKnob(pulseWidth_, "Pulse width", 89, 62, SharedBitmap::kSmallKnob, 0.5f);
  AddModuleKnob(shape_, "Shape", 123, 62, SharedBitmap::kSmallKnob, 0.0f);
  AddSteppedKnob(octave_, "Octave", 38, 113, SharedBitmap::kGrayKnob13, 0.5f);
  syncMode_ = AddVerticalSwitch("Sync mode", 106, 113, SharedBitmap::kVerticalSwitch, 0.0f);
  fineTune_.View().caption = "Fine";
  fmAmount_.View().caption = "FM amt";
  pulseWidth_.View().caption = "Width";
}

void S310VCO::AddPatchPoints() {
  AddPatchPoint(pitchIn_, "Pitch", 21, 164);
  AddPatchPoint(fmIn_, "FM", 55, 164);
  AddPatchPoint(pwmIn_, "PWM", 89, 164);
  AddPatchPoint(shapeIn_, "Shape", 123, 164);
  AddPatchPoint(octaveStepIn_, "Octave step", 38, 208);
  AddPatchPoint(syncIn_, "Sync", 106, 208);
  AddPatchPoint(saw_, "Saw", 21, 252);
  AddPatchPoint(triangle_, "Triangle", 55, 252);
  AddPatchPoint(round_, "Round", 89, 252);
  AddPatchPoint(pulse_, "Pulse", 123, 252);
}

void S310VCO::ProcessSample() {
  restingKnobs_.Smooth(knobMoves_, fineTune_, Stepped(octave_), fmAmount_, pulseWidth_, shape_);

  const S310VCOKernel<>::Knobs knobs{fineTune_->smoothed_value, octave_->smoothed_value,
                                     fmAmount_->smoothed_value, pulseWidth_->smoothed_value,
                                     shape_->smoothed_value};
  const S310VCOKernel<>::Inputs inputs{pitchIn_->in, fmIn_->in,         pwmIn_->in,
                                       shapeIn_->in, octaveStepIn_->in, syncIn_->in};
  kernel_.Step(knobs, inputs, cables_, outputs_);
  saw_->out = outputs_.saw;
  triangle_->out = outputs_.triangle;
  round_->out = outputs_.round;
  pulse_->out = outputs_.pulse;
}

void S310VCO::SetSampleRate(float rate) {
  Module::SetSampleRate(rate);
  kernel_.Prepare(rate, dawSampleRate);
  if (bandlimitMode == 1) SetBandlimitMode(1);
}

bool S310VCO::SetBandlimitMode(int mode) {
  const ProcessingSection section(*this);
  bandlimitMode = mode;
  kernel_.SetStride(StrideOf(mode));
  return true;
}

int S310VCO::StrideOf(int mode) const {
  if (mode == 0 || !oversampled) return dsp::kMinBlepDensity;
  if (mode != 1) return kernel_.sawBlep.Stride();
  const float stride = dsp::kMinBlepDensity / (sampleRate / dawSampleRate);
  // The ring takes no stride outside this range, and the conversion needs a number within it.
  return stride >= 1.0f ? static_cast<int>(std::min(stride, float{dsp::kMinBlepSize})) : 1;
}

void S310VCO::CableConnected(PatchPoint*) { ReadCables(); }

void S310VCO::CableDisconnected(PatchPoint*) {
  ReadCables();
  if (!octaveStepIn_.IsCabled()) kernel_.octaveShift = 0.0f;
}

void S310VCO::ReadCables() {
  cables_.pwm = pwmIn_.IsCabled();
  cables_.sync = syncIn_.IsCabled();
  cables_.saw = saw_.IsCabled();
  cables_.triangle = triangle_.IsCabled();
  cables_.round = round_.IsCabled();
  cables_.pulse = pulse_.IsCabled();
}

void S310VCO::ValueChanged(CControl* control) {
  if (control == octave_) {
    octave_.View().SnapToStep();
  } else if (control == syncMode_) {
    kernel_.syncModulationOn = syncMode_->getValue() >= 1.0f;
  }
}

int S310VCO::GetPresetSize() { return PresetTail(*this).SizeWith(2 * sizeof(float)); }

void S310VCO::SavePreset(void* buffer, int size) {
  ByteWriter writer = PresetTail(*this).Save(buffer, size);
  writer.Write(kernel_.sawPhase);
  writer.Write(kernel_.pulsePhase);
}

void S310VCO::LoadPreset(const void* buffer, int size, int version) {
  ByteReader phases = PresetTail(*this).Load(buffer, size);
  ByteReader reader(buffer, static_cast<std::size_t>(std::max(size, 0)));
  float value = 0.0f;
  reader.Read(value);  // Fine tune
  if (reader.Read(value) && version < kFirstVersionOfFmLaw) {
    const double amount = std::pow(static_cast<double>(value) * value * 1.375, 1.0 / 3.0);
    fmAmount_.View().SetAtOnce(static_cast<float>(std::min(1.0, amount)));
  }

  for (float* phase : {&kernel_.sawPhase, &kernel_.pulsePhase}) {
    if (phases.Read(value) && value >= 0.0f && value <= 1.0f) *phase = value;
  }
}

VoiceGroupMaker S310VCO::GetVoiceGroupMaker(VectorUnit unit) const {
  return VoiceGroupMakerOf<S310VCO>(unit);
}

}  // namespace halveron
