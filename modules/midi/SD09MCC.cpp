#include "modules/midi/SD09MCC.h"

#include "framework/numbered_role.h"

namespace halveron {

SD09MCC::SD09MCC(CFrame* frame, const HostTable& table, int voiceIndex)
    : MidiModule(frame, table, voiceIndex) {
  constexpr float kLeft = 22, kColumn = 52, kTop = 58, kRow = 42;
  for (int i = 0; i < midi::kChannels; ++i) {
    const float x = kLeft + kColumn * static_cast<float>(i % 4);
    const float y = kTop + kRow * static_cast<float>(i / 4);
    AddModuleKnob(channels_[i], NumberedRole<"Channel">(i), x, y, SharedBitmap::kGrayKnob,
                  PositionValue(i, midi::kChannels));
    channels_[i].View().caption = NumberedRole<"">(i);
    digits_[i] = AddSpecialDigitEx(NumberedRole<"Target">(i), x + 23, y, SharedBitmap::kRedDigits,
                                   2, 1, midi::kChannels, TAG_NONE);
    digits_[i]->caption = "";
  }
  AddModuleKnob(commandChannel_, "Command channel", 74, 240, SharedBitmap::kGrayKnob, 0.0f);
  commandChannel_.View().caption = "Command";
  commandDigits_ = AddSpecialDigitEx("Command display", 102, 240, SharedBitmap::kRedDigits, 2, 0,
                                     midi::kChannels, TAG_NONE);
  commandDigits_->caption = "";
  AddMessageLamp(inLamp_, "In lamp", 44, 234);
  inLamp_.View().caption = "";
  AddMessageLamp(midiOut_.lamp, "Activity LED", 216, 234);
  AddMidiPatchPoint(midiIn_, "MIDI in", 26, 246);
  AddMidiPatchPoint(midiOut_.point, "MIDI out", 198, 246);
  FinishPanel();
  for (Knob& channel : channels_) ValueChanged(channel);
  ValueChanged(commandChannel_);
}

void SD09MCC::ProcessSample() {
  const auto word = MidiCableWord::FromCell(midiIn_->in);
  if (!word.IsNone()) inLamp_.Light();
  const int entry = kernel_.CommandedEntry(word);
  if (entry >= 0) SetEntry(entry, word.Data2() % midi::kChannels);
  midiOut_.Step(entry >= 0 ? MidiCableWord{} : kernel_.Convert(word));
  inLamp_.Tick();
}

void SD09MCC::CableDisconnected(PatchPoint* point) {
  if (point == midiIn_ && !midiIn_.IsCabled()) kernel_.ReleaseAll();
}

void SD09MCC::SetEntry(int channel, int target) {
  channels_[channel].View().SetAtOnce(PositionValue(target, midi::kChannels));
  ValueChanged(channels_[channel]);
}

void SD09MCC::ValueChanged(CControl* control) {
  if (control == commandChannel_) {
    const int position = KnobPosition(commandChannel_, midi::kChannels + 1);
    kernel_.commandChannel = position - 1;
    commandDigits_->setValue(static_cast<float>(position));
    return;
  }
  for (int i = 0; i < midi::kChannels; ++i) {
    if (control != channels_[i]) continue;
    const int target = KnobPosition(channels_[i], midi::kChannels);
    kernel_.map[i] = static_cast<std::uint8_t>(target);
    digits_[i]->setValue(static_cast<float>(target + 1));
  }
}

}  // namespace halveron
