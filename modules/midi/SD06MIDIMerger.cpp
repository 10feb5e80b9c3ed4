#include "modules/midi/SD06MIDIMerger.h"

#include "framework/numbered_role.h"

namespace halveron {

SD06MIDIMerger::SD06MIDIMerger(CFrame* frame, const HostTable& table, int voiceIndex)
    : MidiModule(frame, table, voiceIndex) {
  constexpr float kLeft = 24, kColumn = 28, kTop = 66, kRow = 40;
  AddMessageLamp(overflow_, "Overflow", 30, 250, SharedBitmap::kRedLamp);
  AddMessageLamp(out_.lamp, "Sent", 68, 250);
  for (int i = 0; i < kInputs; ++i) {
    AddMidiPatchPoint(ins_[i], NumberedRole<"MIDI in">(i),
                      kLeft + kColumn * static_cast<float>(i % 4),
                      kTop + kRow * static_cast<float>(i / 4));
    ins_[i].View().caption = NumberedRole<"">(i);
  }
  AddMidiPatchPoint(out_.point, "MIDI out", 101, 246);
  FinishPanel();
}

void SD06MIDIMerger::ProcessSample() {
  std::array<MidiCableWord, kInputs> words;
  for (std::size_t i = 0; i < inUseCount_; ++i) {
    words[i] = MidiCableWord::FromCell(ins_[inUse_[i]]->in);
  }
  if (!kernel_.Take({words.data(), inUseCount_}, {inUse_.data(), inUseCount_})) overflow_.Light();
  out_.Step(kernel_.queue.Pop());
  overflow_.Tick();
}

void SD06MIDIMerger::CableConnected(PatchPoint*) { FindInputsInUse(); }

void SD06MIDIMerger::CableDisconnected(PatchPoint* point) {
  FindInputsInUse();
  for (int i = 0; i < kInputs; ++i) {
    if (point == ins_[i] && !ins_[i].IsCabled()) kernel_.Release(i);
  }
}

void SD06MIDIMerger::FindInputsInUse() {
  inUseCount_ = 0;
  for (int i = 0; i < kInputs; ++i) {
    if (ins_[i].IsCabled()) inUse_[inUseCount_++] = i;
  }
}

}  // namespace halveron
