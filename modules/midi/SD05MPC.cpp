#include "modules/midi/SD05MPC.h"

#include <algorithm>
#include <bit>

#include "framework/midi_output.h"
#include "framework/numbered_role.h"

namespace halveron {

namespace {

// Four rows of four, numbered row by row.
float ColumnOf(int output) { return 28.0f + 38.0f * static_cast<float>(output % 4); }
float RowOf(int output) { return 122.0f + 42.0f * static_cast<float>(output / 4); }

}  // namespace

SD05MPC::SD05MPC(CFrame* frame, const HostTable& table, int voiceIndex)
    : BuiltInModule(frame, table, voiceIndex) {
  AddModuleKnob(channel_, "Channel", 104, 66, SharedBitmap::kGrayKnob, 0.0f);
  channelDigits_ = AddSpecialDigitEx("Channel display", 138, 66, SharedBitmap::kRedDigits, 2, 0,
                                     midi::kChannels, TAG_NONE);
  channelDigits_->caption = "0 = all";
  for (int i = 0; i < kOutputs; ++i) {
    AddLamp(lamps_[i], NumberedRole<"Activity LED">(i), ColumnOf(i) + 18, RowOf(i) - 12,
            SharedBitmap::kBlueLamp);
  }
  AddMidiPatchPoint(midiIn_, "MIDI in", 28, 66);
  for (int i = 0; i < kOutputs; ++i) {
    AddMidiPatchPoint(midiOut_[i], NumberedRole<"MIDI out">(i), ColumnOf(i), RowOf(i));
    midiOut_[i].View().caption = NumberedRole<"">(i);
    SetPatchPointPoly(midiOut_[i], true);
  }
  for (int i = 0; i < kOutputs; ++i) {
    midiOut_[i].View().voiceLink = midiOut_[(i + 1) % kOutputs];
  }

  clipLevel = -1.0f;
  InitPatchPoints(0.0f);
  SetSampleRate(sampleRate);
  ValueChanged(channel_);
}

void SD05MPC::ProcessSample() {
  const MidiCableWord word = MidiCableWord::FromCell(midiIn_->in);
  ClearWritten();
  if (word.IsNone()) {
    if (releasing_ != 0) SendReleases();
  } else {
    const SD05MPCKernel::Deal deal = kernel_.Step(word);
    written_ = deal.outputs;
    for (std::uint32_t rest = deal.outputs; rest != 0; rest &= rest - 1) {
      const int output = std::countr_zero(rest);
      midiOut_[output]->out = word.ToCell();
      if (releasing_ != 0) ending_[output].Pass(word);
      if (deal.lit) lamps_[output].Light();
    }
    if (deal.lit) litLamps_ |= deal.outputs;
  }
  for (std::uint32_t rest = litLamps_; rest != 0; rest &= rest - 1) {
    HeldLamp& lamp = lamps_[std::countr_zero(rest)];
    lamp.Tick();
    if (!lamp.IsHeld()) litLamps_ &= ~(rest & -rest);
  }
}

void SD05MPC::ClearWritten() {
  for (; written_ != 0; written_ &= written_ - 1) {
    midiOut_[std::countr_zero(written_)]->out = 0.0f;
  }
}

void SD05MPC::ReleaseNotes() {
  for (int i = 0; i < kOutputs; ++i) {
    HeldNotes<SD05MPCKernel::Note>& notes = kernel_.heldNotes[i];
    if (!notes.IsEmpty()) releasing_ |= 1u << i;
    while (!notes.IsEmpty()) {
      const auto [channel, key] = notes.Pop();
      ending_[i].Release(channel, key);
    }
  }
}

void SD05MPC::SendReleases() {
  for (std::uint32_t rest = releasing_; rest != 0; rest &= rest - 1) {
    const int output = std::countr_zero(rest);
    const MidiCableWord noteOff = ending_[output].NextRelease();
    midiOut_[output]->out = noteOff.ToCell();
    (noteOff.IsNone() ? releasing_ : written_) ^= 1u << output;
  }
}

void SD05MPC::SetSampleRate(float rate) {
  Module::SetSampleRate(rate);
  for (HeldLamp& lamp : lamps_) lamp.SetHold(rate, kMidiLampSeconds);
}

void SD05MPC::ValueChanged(CControl* control) {
  if (control != channel_) return;
  const float share = channel_->value > 0.0f ? std::min(channel_->value, 1.0f) : 0.0f;
  const int position = static_cast<int>(share * midi::kChannels + 0.5f);
  kernel_.channelFilter = position == 0 ? SD05MPCKernel::kAllChannels : position - 1;
  channelDigits_->setValue(static_cast<float>(position));
}

void SD05MPC::LoadPreset(const void* buffer, int size, int version) {
  BuiltInModule::LoadPreset(buffer, size, version);
  const ProcessingSection section(*this);
  for (HeldLamp& lamp : lamps_) lamp.Darken();
}

void SD05MPC::CableConnected(PatchPoint*) { FindOutputsInUse(); }

void SD05MPC::CableDisconnected(PatchPoint* point) {
  FindOutputsInUse();
  ClearWritten();
  // What was held can no longer end: at the input nothing comes, at an output nobody hears it.
  if (!midiIn_.IsCabled()) ReleaseNotes();
  for (int i = 0; i < kOutputs; ++i) {
    if (point == midiOut_[i] && !midiOut_[i].IsCabled()) kernel_.ForgetNotes(i);
  }
}

void SD05MPC::FindOutputsInUse() {
  kernel_.outputsInUse = 0;
  for (int i = 0; i < kOutputs; ++i) {
    if (midiOut_[i].IsCabled()) kernel_.outputsInUse |= 1u << i;
  }
}

}  // namespace halveron
