// The queue between a host's event lists and a patch point that carries one word a sample.
#pragma once

#include <cstddef>
#include <cstdint>
#include <memory>

#include "framework/host_events.h"
#include "framework/midi_cable_word.h"
#include "framework/sysex.h"

namespace halveron {

/// Events in the order in which they came, the dumps among them cut into packets. Nothing
/// allocates but a TakeEvents that leaves more than kInitialCapacity words waiting.
class EventRing {
 public:
  EventRing() : slots_(std::make_unique_for_overwrite<Slot[]>(kInitialCapacity)) {}

  /// Queues the messages and dumps of a list; events of other types are skipped.
  void TakeEvents(const VstEvents& events);

  bool IsEmpty() const { return read_ == write_; }
  /// Host samples from the start of the block to the oldest event; negative where it is late. Only
  /// while there is one.
  int FrontFrame() const { return slots_[read_].frame; }
  MidiCableWord PopFront();

  /// At the end of a block: what is still waiting is late, and due first thing in the next one.
  void CarryOver();

  /// Words of a burst in every sample of a second, or of dumps of 190 kB. Memory that is never
  /// written costs nothing.
  static constexpr std::size_t kInitialCapacity = 65536;

  std::size_t Capacity() const { return capacity_; }

 private:
  struct Slot {
    std::int32_t frame;
    std::uint32_t word;
  };

  void MakeRoomFor(const VstEvents& events);
  void Push(std::int32_t frame, MidiCableWord word);
  void PushDump(const VstMidiSysexEvent& event);

  std::unique_ptr<Slot[]> slots_;
  std::size_t capacity_ = kInitialCapacity;
  std::size_t read_ = 0;
  std::size_t write_ = 0;  // equal to read_ when empty, so one slot is always free
  SysExCutter cutter_;
};

}  // namespace halveron
