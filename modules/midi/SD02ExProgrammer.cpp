#include "modules/midi/SD02ExProgrammer.h"

#include <algorithm>

namespace halveron {

namespace {

constexpr int kOptionController = 80;
constexpr int kRetriggerController = 81;

enum Option { kGlideOption, kBendOption, kModOption, kFineOption, kDirectionOption, kGapOption };

}  // namespace

SD02ExProgrammer::SD02ExProgrammer(CFrame* frame, const HostTable& table, int voiceIndex)
    : BuiltInModule(frame, table, voiceIndex) {
  AddModuleKnob(retriggerGap_, "Retrigger gap", 48, 62, SharedBitmap::kSmallKnob, 0.0f);
  resolution_ = AddVerticalSwitch("Resolution", 26, 116, SharedBitmap::kVerticalTripleSwitch, 0.6f);
  modSmoothing_ = AddVerticalSwitch("Mod smoothing", 70, 116, SharedBitmap::kVerticalSwitch, 0.0f);
  modSmoothing_->caption = "Mod";
  glideLaw_ = AddVerticalSwitch("Glide law", 26, 170, SharedBitmap::kVerticalSwitch, 0.0f);
  bendSmoothing_ =
      AddVerticalSwitch("Bend smoothing", 70, 170, SharedBitmap::kVerticalSwitch, 0.0f);
  bendSmoothing_->caption = "Bend";
  AddLamp(midiOut_.lamp, "Send lamp", 70, 236, SharedBitmap::kRedLamp);
  AddMidiPatchPoint(midiOut_.point, "MIDI out", 48, 236);

  clipLevel = -1.0f;
  InitPatchPoints(0.0f);
  SetSampleRate(sampleRate);
}

void SD02ExProgrammer::ProcessSample() {
  MidiCableWord word;
  if (waitingCount_ > 0) {
    word = waiting_[0].word;
    std::copy(waiting_.begin() + 1, waiting_.begin() + waitingCount_, waiting_.begin());
    --waitingCount_;
  }
  midiOut_.Step(word);
}

void SD02ExProgrammer::SetSampleRate(float rate) {
  Module::SetSampleRate(rate);
  midiOut_.SetSampleRate(rate);
}

void SD02ExProgrammer::Send(int option, int controller, int data) {
  ProcessingSection section(*this);
  const auto end = waiting_.begin() + waitingCount_;
  const auto place = std::find_if(waiting_.begin(), end,
                                  [&](const Waiting& waiting) { return waiting.option == option; });
  if (place == end) ++waitingCount_;
  *place = {option, MidiCableWord::ChannelMessage(midi::kControlChange, 0, controller, data)};
}

void SD02ExProgrammer::ValueChanged(CControl* control) {
  if (!midiOut_.point.IsCabled()) return;
  if (control == retriggerGap_) {
    const float value = retriggerGap_->value;
    Send(kGapOption, kRetriggerController,
         value > 0.0f ? static_cast<int>(std::min(value, 1.0f) * 127.0f) : 0);
    return;
  }
  const float value = control->getValue();
  const int upper = value < 0.5f ? 0 : 1;
  if (control == glideLaw_) {
    Send(kGlideOption, kOptionController, upper);
  } else if (control == bendSmoothing_) {
    Send(kBendOption, kOptionController, 2 + upper);
  } else if (control == modSmoothing_) {
    Send(kModOption, kOptionController, 6 + upper);
  } else if (control == resolution_) {
    Send(kFineOption, kOptionController, 8 + upper);
    Send(kDirectionOption, kOptionController, value < 1.0f ? 4 : 5);
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
  midiOut_.ShowState();
}

}  // namespace halveron
