#include "modules/midi/SD02ExProgrammer.h"

#include <algorithm>

namespace halveron {

namespace {

constexpr int kOptionController = 80;
constexpr int kRetriggerController = 81;
constexpr double kLampSeconds = 0.1;

}  // namespace

SD02ExProgrammer::SD02ExProgrammer(CFrame* frame, const HostTable& hostTable, int voice)
    : BuiltInModule(frame, hostTable, voice) {
  AddModuleKnob(retriggerGap_, "Retrigger gap", 48, 62, SharedBitmap::kSmallKnob, 0.0f);
  resolution_ = AddVerticalSwitch("Resolution", 26, 116, SharedBitmap::kVerticalTripleSwitch, 0.6f);
  modSmoothing_ = AddVerticalSwitch("Mod smoothing", 70, 116, SharedBitmap::kVerticalSwitch, 0.0f);
  modSmoothing_->caption = "Mod";
  glideLaw_ = AddVerticalSwitch("Glide law", 26, 170, SharedBitmap::kVerticalSwitch, 0.0f);
  bendSmoothing_ =
      AddVerticalSwitch("Bend smoothing", 70, 170, SharedBitmap::kVerticalSwitch, 0.0f);
  bendSmoothing_->caption = "Bend";
  AddLamp(sendLamp_, "Send lamp", 70, 236, SharedBitmap::kRedLamp);
  AddMidiPatchPoint(midiOut_, "MIDI out", 48, 236);

  clipLevel = -1.0f;
  InitPatchPoints(0.0f);
  SetSampleRate(sampleRate);
}

void SD02ExProgrammer::ProcessSample() {
  MidiCableWord word;
  if (ring_.TryPop(word)) sendLamp_.Light();
  midiOut_->out = word.ToCell();
  sendLamp_.Tick();
}

void SD02ExProgrammer::SetSampleRate(float rate) {
  Module::SetSampleRate(rate);
  sendLamp_.SetHold(rate, kLampSeconds);
}

void SD02ExProgrammer::Send(int controller, int data) {
  ProcessingSection section(*this);
  ring_.Push(MidiCableWord::FromBytes(0xB0, controller, data));
}

void SD02ExProgrammer::ValueChanged(CControl* control) {
  if (!midiOut_.IsCabled()) return;
  if (control == retriggerGap_) {
    const float value = retriggerGap_->value;
    Send(kRetriggerController, value > 0.0f ? static_cast<int>(std::min(value, 1.0f) * 127.0f) : 0);
    return;
  }
  const float value = control->getValue();
  const int upper = value < 0.5f ? 0 : 1;
  if (control == glideLaw_) {
    Send(kOptionController, upper);
  } else if (control == bendSmoothing_) {
    Send(kOptionController, 2 + upper);
  } else if (control == modSmoothing_) {
    Send(kOptionController, 6 + upper);
  } else if (control == resolution_) {
    Send(kOptionController, 8 + upper);
    Send(kOptionController, value < 1.0f ? 4 : 5);
  }
}

void SD02ExProgrammer::CableConnected(PatchPoint*) {
  ValueChanged(modSmoothing_);
  ValueChanged(resolution_);
  ValueChanged(glideLaw_);
  ValueChanged(retriggerGap_);
  ValueChanged(bendSmoothing_);
}

void SD02ExProgrammer::LoadPreset(const void* buffer, int size, int version) {
  Module::LoadPreset(buffer, size, version);
  sendLamp_.Set(midiOut_->out);
}

}  // namespace halveron
