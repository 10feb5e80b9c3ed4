#include "modules/daw/SA06MIDIToDAW.h"

#include <algorithm>
#include <array>

namespace halveron {

namespace {

constexpr std::array<int, 7> kDumpLimits{25, 50, 100, 150, 250, 500, 1000000000};

}  // namespace

SA06MIDIToDAW::SA06MIDIToDAW(CFrame* frame, const HostTable& table, int voiceIndex)
    : BuiltInModule(frame, table, voiceIndex) {
  constexpr float kCentre = 36;
  AddSteppedKnob(sysExLimit_, "SysEx limit", kCentre, 80, SharedBitmap::kGrayKnob7, 0.6666667f);
  AddLamp(activity_, "Activity LED", kCentre, 185, SharedBitmap::kBlueLamp);
  AddMidiPatchPoint(midi_, "MIDI", kCentre, 235);

  clipLevel = -1.0f;
  InitPatchPoints(0.0f);
  SetSampleRate(sampleRate);
  ValueChanged(sysExLimit_);

  RegisterForBlockStart();
}

void SA06MIDIToDAW::SetSampleRate(float rate) {
  Module::SetSampleRate(rate);
  activity_.SetHold(rate, 0.1);
}

void SA06MIDIToDAW::ValueChanged(CControl* control) {
  if (control != sysExLimit_) return;
  constexpr int kLast = static_cast<int>(kDumpLimits.size()) - 1;
  dumpLimit_ = kDumpLimits[std::clamp(sysExLimit_.View().SnapToStep(), 0, kLast)];
}

void SA06MIDIToDAW::LoadPreset(const void* buffer, int size, int version) {
  Module::LoadPreset(buffer, size, version);
  activity_.Darken();
}

void SA06MIDIToDAW::CableConnected(PatchPoint*) { batch_.Reset(); }

void SA06MIDIToDAW::CableDisconnected(PatchPoint*) { activity_.Darken(); }

void SA06MIDIToDAW::BlockStart(int frames) {
  stepsPerFrame_ = oversampled ? engine->oversamplingSteps : 1;
  stepIndex_ = 0;
  blockSteps_ = std::int64_t{frames} * stepsPerFrame_;
  batch_.StartBlock();
}

void SA06MIDIToDAW::ProcessSample() {
  ++stepIndex_;
  const auto word = MidiCableWord::FromCell(midi_->in);
  if (word.IsMessage() || word.IsPacket()) {
    // Frames count host samples from 1: all steps of the first one are frame 1.
    const auto frame = static_cast<int>((stepIndex_ + stepsPerFrame_ - 1) / stepsPerFrame_);
    batch_.Take(word, frame, dumpLimit_);
    activity_.Light();
  } else {
    activity_.Tick();
  }
  if (stepIndex_ >= blockSteps_ || batch_.IsFull()) Flush();
}

void SA06MIDIToDAW::Flush() {
  if (batch_.IsEmpty()) return;
  hostTable.SendEventsToHost(editor, batch_.Events());
  batch_.Clear();
}

}  // namespace halveron
