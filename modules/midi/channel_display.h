// A channel display from 1 to 16 with buttons up and down, which a signal may step too.
#pragma once

#include <algorithm>

#include "dsp/shaping.h"
#include "framework/module_controls.h"
#include "modules/midi/channel_stepper.h"

namespace halveron {

struct ChannelDisplay {
  CSpecialDigitEx* digits = nullptr;
  CKickButtonEx* up = nullptr;
  CKickButtonEx* down = nullptr;
  ChannelStepper stepper;
  int channel = 0;  ///< as it stands in a status byte, from 0

  /// Audio thread, once per sample; true if the channel changed.
  bool Step(float signal) {
    const int step = stepper.Step(signal);
    if (step != 0) Move(step);
    return step != 0;
  }
  /// Panel logic; true if the control was one of these.
  bool ValueChanged(const CControl* control) {
    if (control == digits) {
      channel = dsp::TruncateWithin(digits->getValue(), 1, midi::kChannels) - 1;
      return true;
    }
    if (control != up && control != down) return false;
    if (control->getValue() >= 0.5f) Move(control == up ? 1 : -1);
    return true;
  }

 private:
  void Move(int step) {
    const int shown = ChannelStepper::Stepped(channel + 1, step);
    digits->setValue(static_cast<float>(shown));
    channel = shown - 1;
  }
};

}  // namespace halveron
