#include "modules/cv/S905SlewLim.h"

#include <array>

#include "dsp/slew.h"

namespace halveron {

namespace {

// Seconds at the slow end of the knob. Its sense is opposite between the laws.
constexpr double kSlowestStep = 14.0;
constexpr double kSlowestTimeConstant = 12.0;

}  // namespace

S905SlewLim::S905SlewLim(CFrame* frame, const HostTable& table, int voiceIndex)
    : BuiltInModule(frame, table, voiceIndex) {
  constexpr float kLeft = 20, kMiddle = 36, kRight = 52;
  AddModuleKnob(rate_, "Rate", kMiddle, 68, SharedBitmap::kSmallKnob, 0.5f);
  law_ = AddVerticalSwitch("Law", kMiddle, 118, SharedBitmap::kVerticalSwitch, 0.0f);
  law_->caption = "Exp/Lin";
  AddPatchPoint(in1_, "In 1", kLeft, 172);
  AddPatchPoint(out1_, "Out 1", kLeft, 236);
  AddPatchPoint(in2_, "In 2", kRight, 172);
  AddPatchPoint(out2_, "Out 2", kRight, 236);
  clipLevel = -1.0f;
  InitPatchPoints(0.0f);
  SetSampleRate(sampleRate);
  ValueChanged(law_);
}

void S905SlewLim::SetSampleRate(float rate) {
  Module::SetSampleRate(rate);
  SetSpeed();
}

void S905SlewLim::ValueChanged(CControl* control) {
  if (control == law_) linear_ = law_->getValue() > 0.0f;
  SetSpeed();
}

void S905SlewLim::SetSpeed() {
  const ProcessingSection section(*this);
  const double k = rate_->value;
  const double slowness = linear_ ? 1.0 - k : k;
  samples_ = sampleRate * (slowness * slowness * slowness) *
             (linear_ ? kSlowestStep : kSlowestTimeConstant);
  step_ = 1.0 / samples_;  // infinite at full speed
}

float S905SlewLim::Follow(double& level, float in) const {
  const double x = in;
  if (!dsp::IsFinite(level)) {
    level = x;  // what was no number must not stay
  } else {
    level = linear_ ? dsp::SlewLinear(level, x, step_) : dsp::SlewExponential(level, x, samples_);
  }
  return static_cast<float>(level);
}

void S905SlewLim::ProcessSample() {
  out1_->out = Follow(level1_, in1_->in);
  out2_->out = Follow(level2_, in2_->in);
}

VoiceGroupMaker S905SlewLim::GetVoiceGroupMaker(VectorUnit unit) const {
  return VoiceGroupMakerOf<S905SlewLim>(unit);
}

}  // namespace halveron
