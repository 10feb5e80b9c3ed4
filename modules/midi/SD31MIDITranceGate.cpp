#include "modules/midi/SD31MIDITranceGate.h"

#include <algorithm>

#include "dsp/shaping.h"
#include "framework/numbered_role.h"

namespace halveron {

SD31MIDITranceGate::SD31MIDITranceGate(CFrame* frame, const HostTable& table, int voiceIndex)
    : MidiModule(frame, table, voiceIndex) {
  constexpr float kLeft = 30, kColumn = 32, kTop = 66, kRow = 33;
  const auto x = [](int step) { return kLeft + kColumn * static_cast<float>(step % 4); };
  const auto y = [](int step) { return kTop + kRow * static_cast<float>(step / 4); };
  for (int i = 0; i < kSteps; ++i) {
    stepButtons_[i] =
        AddOnOffButton(NumberedRole<"Step">(i), x(i), y(i), SharedBitmap::kRedButton, 1.0f);
    stepButtons_[i]->caption = NumberedRole<"">(i);
  }
  steps_ = AddSpecialDigitEx("Steps", 28, 204, SharedBitmap::kRedDigits, 2, 1, kSteps);
  steps_->setValue(kSteps);
  steps_->setDefaultValue(kSteps);
  up_ = AddKickButton("Up", 52, 196, SharedBitmap::kUpButton);
  up_->caption = "";
  down_ = AddKickButton("Down", 52, 213, SharedBitmap::kDownButton);
  down_->caption = "";
  restartOnFirst_ =
      AddVerticalSwitch("Restart on first", 90, 204, SharedBitmap::kVerticalSwitch, 1.0f);
  restartOnFirst_->caption = "Restart";
  playAtOnce_ = AddVerticalSwitch("Play at once", 128, 204, SharedBitmap::kVerticalSwitch, 1.0f);
  playAtOnce_->caption = "At once";
  for (int i = 0; i < kSteps; ++i) {
    AddLamp(stepLamps_[i], NumberedRole<"Step lamp">(i), x(i) + 13, y(i) - 9,
            SharedBitmap::kBlueLamp);
    stepLamps_[i].View().caption = "";
  }
  AddMessageLamp(midiOut_.lamp, "Activity LED", 144, 238);
  AddMidiPatchPoint(midiIn_, "MIDI in", 28, 250);
  AddPatchPoint(clock_, "Clock", 76, 250);
  AddMidiPatchPoint(midiOut_.point, "MIDI out", 126, 250);
  FinishPanel();
  ValueChanged(restartOnFirst_);
  ValueChanged(playAtOnce_);
}

void SD31MIDITranceGate::ProcessSample() {
  midiOut_.Step(kernel_.Step(MidiCableWord::FromCell(midiIn_->in), clock_->in));
  if (shownStep_ != kernel_.step) ShowStep();
}

void SD31MIDITranceGate::ShowStep() {
  if (shownStep_ >= 0) stepLamps_[shownStep_].Set(0.0f);
  shownStep_ = kernel_.step;
  stepLamps_[shownStep_].Set(1.0f);
}

void SD31MIDITranceGate::ChangeSteps(int change) {
  const int steps = dsp::TruncateWithin(steps_->getValue(), 1, kSteps) + change;
  steps_->setValue(static_cast<float>(std::clamp(steps, 1, kSteps)));
  ValueChanged(steps_);
}

void SD31MIDITranceGate::ValueChanged(CControl* control) {
  if (control == steps_) {
    kernel_.lastStep = dsp::TruncateWithin(steps_->getValue(), 1, kSteps) - 1;
  } else if (control == up_ || control == down_) {
    if (control->getValue() >= 0.5f) ChangeSteps(control == up_ ? 1 : -1);
  } else if (control == restartOnFirst_) {
    kernel_.restartOnFirst = restartOnFirst_->getValue() >= 0.5f;
  } else if (control == playAtOnce_) {
    kernel_.playAtOnce = playAtOnce_->getValue() >= 0.5f;
  }
  for (int i = 0; i < kSteps; ++i) {
    if (control == stepButtons_[i]) kernel_.stepOn[i] = stepButtons_[i]->getValue() >= 0.5f;
  }
}

void SD31MIDITranceGate::LoadPreset(const void* buffer, int size, int version) {
  MidiModule::LoadPreset(buffer, size, version);
  for (Lamp& lamp : stepLamps_) lamp.Set(0.0f);
  const ProcessingSection section(*this);
  ShowStep();
}

void SD31MIDITranceGate::CableDisconnected(PatchPoint* point) {
  if (point == midiIn_) kernel_.Release();
}

}  // namespace halveron
