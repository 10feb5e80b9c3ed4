#include "modules/midi/SD23MIDINoteToTrigger.h"

#include <bit>

#include "framework/numbered_role.h"

namespace halveron {

namespace {

constexpr int kChannelPositions = midi::kChannels + 1;
constexpr int kMiddleC = 60;

}  // namespace

SD23MIDINoteToTrigger::SD23MIDINoteToTrigger(CFrame* frame, const HostTable& table, int voiceIndex)
    : MidiModule(frame, table, voiceIndex) {
  constexpr float kLeft = 56, kColumn = 36, kTop = 122, kRow = 42;
  const auto x = [](int output) { return kLeft + kColumn * static_cast<float>(output % 3); };
  const auto y = [](int output) { return kTop + kRow * static_cast<float>(output / 3); };
  AddModuleKnob(channel_, "Channel", 22, 62, SharedBitmap::kGrayKnob, 0.0f);
  channelDigits_ = AddSpecialDigitEx("Channel display", 50, 62, SharedBitmap::kRedDigits, 2, 0,
                                     midi::kChannels, TAG_NONE);
  channelDigits_->caption = "";
  AddModuleKnob(baseNote_, "Base note", 92, 62, SharedBitmap::kGrayKnob,
                PositionValue(kMiddleC, midi::kKeys));
  baseNote_.View().caption = "Base";
  baseDigits_ = AddSpecialDigitEx("Base display", 126, 62, SharedBitmap::kRedDigits, 3, 0,
                                  midi::kKeys - 1, TAG_NONE);
  baseDigits_->caption = "";
  learnButton_ = AddOnOffButton("Learn", 22, 122, SharedBitmap::kRedButton, 0.0f);
  whiteKeys_ = AddVerticalSwitch("White keys", 22, 172, SharedBitmap::kVerticalSwitch, 0.0f);
  whiteKeys_->caption = "White";
  for (int i = 0; i < kOutputs; ++i) {
    AddLamp(lamps_[i], NumberedRole<"Lamp">(i), x(i) + 18, y(i) - 12, SharedBitmap::kBlueLamp);
  }
  AddMidiPatchPoint(midiIn_, "MIDI in", 22, 246);
  for (int i = 0; i < kOutputs; ++i) {
    AddPatchPoint(outs_[i], NumberedRole<"Out">(i), x(i), y(i));
    outs_[i].View().caption = NumberedRole<"">(i);
  }
  FinishPanel();
  ValueChanged(channel_);
  ValueChanged(baseNote_);
}

void SD23MIDINoteToTrigger::ProcessSample() {
  const auto word = MidiCableWord::FromCell(midiIn_->in);
  if (word.IsNone() || !kernel_.IsHeard(word)) return;
  if (learn_.TakeNote(word) != MidiLearn::kNone) {
    kernel_.SetBase(word.Data1() & midi::kLargestData);
    ShowBase();
  }
  kernel_.Take(word);
  WriteOutputs();
}

void SD23MIDINoteToTrigger::WriteOutputs() {
  for (std::uint32_t changed = written_ ^ kernel_.high; changed != 0; changed &= changed - 1) {
    const int output = std::countr_zero(changed);
    const float level = (kernel_.high >> output & 1) != 0 ? 1.0f : 0.0f;
    outs_[output]->out = level;
    lamps_[output].Set(level);
  }
  written_ = kernel_.high;
}

void SD23MIDINoteToTrigger::ShowBase() {
  baseNote_.View().SetAtOnce(PositionValue(kernel_.baseNote, midi::kKeys));
  baseDigits_->setValue(static_cast<float>(kernel_.baseNote));
  learnButton_->StoreValue(0.0f);
}

void SD23MIDINoteToTrigger::Silence() {
  kernel_.high = 0;
  WriteOutputs();
}

void SD23MIDINoteToTrigger::ValueChanged(CControl* control) {
  if (control == learnButton_) {
    learn_.Arm(learnButton_->getValue() >= 0.5f ? 0 : MidiLearn::kNone);
    return;
  }
  // What is held belongs to the keys as they were.
  const ProcessingSection section(*this);
  if (control == channel_) {
    const int position = KnobPosition(channel_, kChannelPositions);
    kernel_.channel = position == 0 ? SD23MIDINoteToTriggerKernel::kEveryChannel : position - 1;
    channelDigits_->setValue(static_cast<float>(position));
    Silence();
  } else if (control == baseNote_) {
    kernel_.baseNote = KnobPosition(baseNote_, midi::kKeys);
    baseDigits_->setValue(static_cast<float>(kernel_.baseNote));
    Silence();
  } else if (control == whiteKeys_) {
    kernel_.whiteKeys = whiteKeys_->getValue() >= 0.5f;
    Silence();
  }
}

void SD23MIDINoteToTrigger::LoadPreset(const void* buffer, int size, int version) {
  MidiModule::LoadPreset(buffer, size, version);
  for (int i = 0; i < kOutputs; ++i) lamps_[i].Set(outs_[i]->out);
}

void SD23MIDINoteToTrigger::CableDisconnected(PatchPoint* point) {
  if (point == midiIn_) Silence();
}

}  // namespace halveron
