// Learning: a slot that waits for the next message of a kind.
#pragma once

#include <atomic>

#include "framework/midi_cable_word.h"

namespace halveron {

/// Armed by the panel, answered on the audio thread. One slot waits at a time.
class MidiLearn {
 public:
  static constexpr int kNone = -1;

  /// Waits for slot 0 or above, or with kNone for nothing.
  void Arm(int slot) { slot_.store(slot, std::memory_order_relaxed); }
  /// Stops waiting for `slot`; another one keeps waiting.
  void Disarm(int slot) { slot_.compare_exchange_strong(slot, kNone, std::memory_order_relaxed); }
  int Armed() const { return slot_.load(std::memory_order_relaxed); }

  /// The slot that this control change answers, which ends the wait, or kNone.
  int TakeController(MidiCableWord word) { return word.IsControlChange() ? Take() : kNone; }
  /// The same for the start of a note.
  int TakeNote(MidiCableWord word) { return word.IsNoteOn() ? Take() : kNone; }

 private:
  int Take() { return Armed() == kNone ? kNone : slot_.exchange(kNone, std::memory_order_relaxed); }

  std::atomic<int> slot_{kNone};
};

}  // namespace halveron
