#include "modules/other/SE01SampleDelay.h"

#include <algorithm>

namespace halveron {

SE01SampleDelay::SE01SampleDelay(CFrame* frame, const HostTable& table, int voiceIndex)
    : BuiltInModule(frame, table, voiceIndex) {
  constexpr float kMiddle = 30, kButtonApart = 11;
  display_ = AddSpecialDigit("Display", kMiddle, 66, SharedBitmap::kRedDigits, 2, 1, kMost);
  up_ = AddKickButton("Up", kMiddle - kButtonApart, 104, SharedBitmap::kUpButton);
  down_ = AddKickButton("Down", kMiddle + kButtonApart, 104, SharedBitmap::kDownButton);
  AddPatchPoint(in_, "In", kMiddle, 190);
  AddPatchPoint(out_, "Out", kMiddle, 250);

  display_->caption = "Delay";
  clipLevel = -1.0f;
  InitPatchPoints(0.0f);
  SetSampleRate(sampleRate);
  ValueChanged(display_);
}

void SE01SampleDelay::ValueChanged(CControl* control) {
  const float value = display_->getValue();
  if (control == up_ && up_->getValue() == 1.0f) {
    Show(value >= kMost ? 1.0f : value + 1.0f);
  } else if (control == down_ && down_->getValue() == 1.0f) {
    Show(value <= 1.0f ? kMost : value - 1.0f);
  } else if (control == display_) {
    n_ = static_cast<int>(std::clamp(value, 1.0f, static_cast<float>(kMost)) - 1.0f);
  }
}

void SE01SampleDelay::Show(float value) {
  display_->setValue(value);
  display_->invalid();
  ValueChanged(display_);
}

void SE01SampleDelay::ProcessSample() {
  if (n_ < 1) {
    out_->out = in_->in;
    return;
  }
  index_ = (index_ + 1) % n_;
  float& cell = line_[static_cast<std::size_t>(index_)];
  out_->out = cell;
  cell = in_->in;
}

}  // namespace halveron
