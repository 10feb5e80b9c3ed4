// Which note of the host each voice plays, so that the host can be told when a voice lets it go.
#pragma once

#include <array>
#include <cstdint>

#include "framework/signal.h"

namespace halveron {

/// A note as the host names it.
struct ActiveNote {
  static constexpr std::int32_t kEmpty = -1000;
  static constexpr std::int32_t kNoIdentifier = -1;  ///< a note all the same

  std::int32_t noteId = kEmpty;  ///< below kNoIdentifier: no note
  std::int16_t portIndex = 0;
  std::int16_t channel = 0;
  std::int16_t key = 0;

  bool IsNote() const { return noteId >= kNoIdentifier; }
};

/// A note-on leaves the note in a slot, whose number goes down the MIDI cable with the message. The
/// voice that takes the message claims the note by that number. All inside the
/// processing lock.
class NoteTracker {
 public:
  static constexpr int kSlots = 255;
  static constexpr int kNoSlot = 255;  ///< in a byte, what is left to say "none"

  /// Keeps a note that has no voice yet, in the slot after the last, and answers its number.
  int Store(const ActiveNote& note);

  /// Gives the slot's note, or none if the slot is empty, to a voice. Answers the note that the
  /// voice had before.
  ActiveNote Bind(int voice, int slot);

  /// What Release ended. `known` is false if no voice holds the slot's note.
  struct Released {
    ActiveNote note;
    bool known;
  };
  /// Takes its note off a voice: with a negative slot whichever that is, else if a voice of the
  /// first `voiceCount` holds the note of the slot.
  Released Release(int voice, int slot, int voiceCount);

  /// A voice among the first `voiceCount` that holds the note of this identifier (0 or more), or of
  /// this port, channel and key; -1 if there is none.
  int VoiceOf(std::int32_t noteId, int voiceCount) const;
  int VoiceOf(int portIndex, int channel, int key, int voiceCount) const;

  const ActiveNote& NoteOf(int voice) const { return voiceNotes_[static_cast<std::size_t>(voice)]; }

 private:
  std::array<ActiveNote, kSlots> noteSlots_;
  std::array<ActiveNote, kMaxVoices> voiceNotes_;
  int nextNoteSlot_ = 0;
};

}  // namespace halveron
