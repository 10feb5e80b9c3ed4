// The words that a player of notes sends, one a sample.
#pragma once

#include "framework/midi_queue.h"

namespace halveron {

/// Of note-offs that no key gives.
inline constexpr unsigned kReleaseVelocity = 64;

/// A queue in which every note that begins has room to end, however full it is. What only passes
/// through overtakes it: a dump stays whole whatever the notes do.
class NoteOutput {
 public:
  static constexpr int kWords = 1024;

  /// A note-on; false if the queue has no room for it and for the ends of all that sound.
  bool Begin(MidiCableWord noteOn) {
    if (queue_.FreeCount() < owed_ + 2) return false;
    queue_.TryPush(noteOn);
    ++owed_;
    return true;
  }
  /// A note-off. For a note that has begun there is room.
  void End(MidiCableWord noteOff) {
    if (queue_.TryPush(noteOff) && owed_ > 0) --owed_;
  }
  /// A message that need not go out, such as a note-off of a note that does not sound: left out if
  /// there is no room.
  void Send(MidiCableWord word) {
    if (queue_.FreeCount() > owed_) queue_.TryPush(word);
  }
  /// Whether Begin and Send find room.
  bool HasRoom() const { return queue_.FreeCount() >= owed_ + 3; }
  /// Another message, which goes out with the next Pop. One between two of them.
  void Through(MidiCableWord word) { through_ = word; }

  /// Once per sample: the word to send, or none.
  MidiCableWord Pop() {
    if (through_.IsNone()) return queue_.Pop();
    const MidiCableWord word = through_;
    through_ = {};
    return word;
  }

 private:
  MidiQueue<kWords> queue_;
  int owed_ = 0;  // notes that have begun and not ended
  MidiCableWord through_;
};

}  // namespace halveron
