#include "modules/midi/SD07MIDIFilter.h"

namespace halveron {

namespace {

struct Caption {
  const char* role;
  const char* shown;
};

constexpr std::array<Caption, SD07MIDIFilterKernel::kClasses> kCaptions{{
    {"Notes", nullptr},
    {"Control changes", "CC"},
    {"Pitch bend", "Bend"},
    {"Key pressure", "Key pr"},
    {"Channel pressure", "Ch pr"},
    {"Program changes", "Program"},
    {"SysEx", nullptr},
    {"Real time", "Realtime"},
    {"Song position", "Song"},
    {"MIDI clock", "Clock"},
    {"Others", nullptr},
}};

constexpr int kPositions = midi::kChannels + 1;

}  // namespace

SD07MIDIFilter::SD07MIDIFilter(CFrame* frame, const HostTable& table, int voiceIndex)
    : MidiModule(frame, table, voiceIndex) {
  constexpr float kLeft = 24, kColumn = 40, kTop = 62, kRow = 48;
  for (int i = 0; i < kClasses; ++i) {
    switches_[i] = AddVerticalSwitch(kCaptions[i].role, kLeft + kColumn * static_cast<float>(i % 4),
                                     kTop + kRow * static_cast<float>(i / 4),
                                     SharedBitmap::kVerticalSwitch, 1.0f);
    switches_[i]->caption = kCaptions[i].shown;
  }
  AddModuleKnob(channel_, "Channel", 138, 158, SharedBitmap::kGrayKnob, 0.0f);
  channelDigits_ = AddSpecialDigitEx("Channel display", 164, 158, SharedBitmap::kRedDigits, 2, 0,
                                     midi::kChannels, TAG_NONE);
  channelDigits_->caption = "";
  AddMessageLamp(pass_.lamp, "Pass lamp", 108, 234);
  AddMessageLamp(reject_.lamp, "Reject lamp", 164, 234, SharedBitmap::kRedLamp);
  AddMidiPatchPoint(midiIn_, "MIDI in", 32, 246);
  AddMidiPatchPoint(pass_.point, "Pass", 90, 246);
  AddMidiPatchPoint(reject_.point, "Reject", 146, 246);
  FinishPanel();
  ValueChanged(channel_);
}

void SD07MIDIFilter::ProcessSample() {
  const auto word = MidiCableWord::FromCell(midiIn_->in);
  if (word.IsNone()) {
    pass_.Step(passed_.NextRelease());
    reject_.Step(rejected_.NextRelease());
    return;
  }
  const bool passes = kernel_.Passes(word);
  (passes ? passed_ : rejected_).Pass(word);
  pass_.Step(passes ? word : MidiCableWord{});
  reject_.Step(passes ? MidiCableWord{} : word);
}

void SD07MIDIFilter::CableDisconnected(PatchPoint* point) {
  if (point != midiIn_ || midiIn_.IsCabled()) return;
  passed_.ReleaseAll();
  rejected_.ReleaseAll();
}

void SD07MIDIFilter::ValueChanged(CControl* control) {
  if (control == channel_) {
    const int position = KnobPosition(channel_, kPositions);
    kernel_.channelFilter = position == 0 ? SD07MIDIFilterKernel::kEveryChannel : position - 1;
    channelDigits_->setValue(static_cast<float>(position));
    return;
  }
  for (int i = 0; i < kClasses; ++i) {
    if (control == switches_[i]) kernel_.passes[i] = switches_[i]->getValue() >= 0.5f;
  }
}

}  // namespace halveron
