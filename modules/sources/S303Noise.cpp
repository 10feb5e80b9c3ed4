#include "modules/sources/S303Noise.h"

namespace halveron {

S303Noise::S303Noise(CFrame* frame, const HostTable& table, int voiceIndex)
    : BuiltInModule(frame, table, voiceIndex) {
  constexpr float kMiddle = 30;
  AddModuleKnob(colour_, "Colour", kMiddle, 66, SharedBitmap::kSmallKnob, 0.5f);
  AddPatchPoint(white_, "White", kMiddle, 150);
  AddPatchPoint(pink_, "Pink", kMiddle, 200);
  AddPatchPoint(coloured_, "Colour", kMiddle, 250);

  clipLevel = -1.0f;
  InitPatchPoints(0.0f);
  SetSampleRate(sampleRate);
  ValueChanged(colour_);
}

void S303Noise::ProcessSample() {
  const double white = kernel_.White();
  white_->out = static_cast<float>(white * kernel_.white_gain);
  pink_->out = static_cast<float>(kernel_.Pink(white));
  if (hasColoured_) coloured_->out = static_cast<float>(kernel_.Colour(white));
}

void S303Noise::SetSampleRate(float rate) {
  Module::SetSampleRate(rate);
  kernel_.Prepare(rate);
}

void S303Noise::ValueChanged(CControl* control) {
  if (control == colour_) kernel_.SetColour(colour_->value);
}

void S303Noise::CableConnected(PatchPoint* point) {
  if (point == coloured_) hasColoured_ = true;
}

void S303Noise::CableDisconnected(PatchPoint* point) {
  if (point == coloured_) hasColoured_ = coloured_.IsCabled();
}

}  // namespace halveron
