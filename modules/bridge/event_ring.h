// The queue between a host's event lists and a patch point that carries one word a sample.
#pragma once

#include <cstddef>
#include <vector>

#include "framework/host_events.h"
#include "framework/midi_cable_word.h"

namespace halveron {

/// Events in the order in which they came, the dumps among them cut into packets. Grows in
/// TakeEvents only; all else neither allocates nor frees.
class EventRing {
 public:
  EventRing() : slots_(kInitialCapacity) {}

  /// Queues the messages and dumps of a list; events of other types are skipped.
  void TakeEvents(const VstEvents& events);

  bool IsEmpty() const { return read_ == write_; }
  /// Host samples from the start of the block to the oldest event; negative where it is late. Only
  /// while there is one.
  int FrontFrame() const { return slots_[read_].deltaFrames; }
  MidiCableWord PopFront();

  /// At the end of a block: what is still waiting is late, and due first thing in the next one.
  void CarryOver();

  std::size_t Capacity() const { return slots_.size(); }

 private:
  static constexpr std::size_t kInitialCapacity = 150;

  void MakeRoomFor(const VstEvents& events);
  void Push(const VstMidiEvent& event);
  void PushDump(const VstMidiSysexEvent& event);

  // A packet lies in the MIDI bytes of a slot whose head is that of the dump's event.
  std::vector<VstMidiEvent> slots_;
  std::size_t read_ = 0;
  std::size_t write_ = 0;  // equal to read_ when empty, so one slot is always free
  int streamNumber_ = 16;
};

}  // namespace halveron
