// The host's notes: which voice plays each, which wait for one, and which are still held.
#pragma once

#include <array>
#include <cstdint>
#include <utility>

#include "framework/rack_limits.h"

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

/// The note that an event of the host addresses; -1 is a wildcard.
struct NoteAddress {
  std::int32_t noteId;
  std::int16_t portIndex;
  std::int16_t channel;
  std::int16_t key;

  friend bool operator==(const NoteAddress&, const NoteAddress&) = default;

  /// Whether the address names one note: by identifier, or by port, channel and key.
  bool MeansOneNote() const { return noteId >= 0 || (portIndex >= 0 && channel >= 0 && key >= 0); }
  /// Whether a note is the one that is named: by the identifier alone where there is one.
  bool Means(const ActiveNote& note) const {
    if (!note.IsNote()) return false;
    if (noteId >= 0) return note.noteId == noteId;
    return note.portIndex == portIndex && note.channel == channel && note.key == key;
  }
  /// Whether a note agrees with every field that is no wildcard.
  bool Fits(const ActiveNote& note) const {
    const auto fits = [](int wanted, int present) { return wanted < 0 || wanted == present; };
    return note.IsNote() && fits(noteId, note.noteId) && fits(portIndex, note.portIndex) &&
           fits(channel, note.channel) && fits(key, note.key);
  }
};

/// A note-on leaves the note in a slot, whose number goes down the MIDI cable with the message. The
/// voice that takes the message claims the note by that number. Everything happens inside the
/// processing lock.
class NoteTracker {
 public:
  static constexpr int kSlots = 255;
  static constexpr int kNoSlot = 255;  ///< the byte value for "none"

  /// Keeps a note that has no voice yet, in the slot after the last, and returns its number. The
  /// note counts as held from here on.
  int Store(const ActiveNote& note);

  /// Gives the slot's note, or none if the slot is empty, to a voice. Returns the note that the
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

  /// The first of `voiceCount` voices that plays the note; -1 if there is none.
  int VoiceOf(const NoteAddress& address, int voiceCount) const;
  const ActiveNote& NoteOf(int voice) const { return voiceNotes_[static_cast<std::size_t>(voice)]; }

  /// The note in a slot that an address means, null if there is none.
  const ActiveNote* WaitingNote(const NoteAddress& address) const;

  /// Calls end(note) for each note that no voice has taken for a block and kClaimSeconds after its
  /// own, and forgets it. To be called at the end of each block.
  template <class F>
  void EndUnclaimed(int frames, double sampleRate, F&& end) {
    for (int i = 0; i < waitingCount_;) {
      Slot& slot = slots_[static_cast<std::size_t>(waiting_[static_cast<std::size_t>(i)])];
      ++slot.blocks;
      slot.frames += frames;
      const bool isLate = slot.blocks > 1 && slot.frames > kClaimSeconds * sampleRate;
      if (slot.note.IsNote() && !isLate) {
        ++i;
        continue;
      }
      if (slot.note.IsNote()) end(std::exchange(slot.note, ActiveNote{}));
      waiting_[static_cast<std::size_t>(i)] = waiting_[static_cast<std::size_t>(--waitingCount_)];
    }
  }

  /// Takes the held notes that an address fits, and calls release(note) for each, oldest first.
  template <class F>
  void TakeHeld(const NoteAddress& address, F&& release) {
    int kept = 0;
    for (int i = 0; i < heldCount_; ++i) {
      const ActiveNote note = held_[static_cast<std::size_t>(i)];
      if (address.Fits(note)) {
        release(note);
      } else {
        held_[static_cast<std::size_t>(kept++)] = note;
      }
    }
    heldCount_ = kept;
  }
  /// Takes one held note, the newest that an address fits.
  void TakeNewestHeld(const NoteAddress& address);
  bool IsHeld(const NoteAddress& address) const;

  /// Forgets all notes, and calls end(note) for each that a voice or a slot has.
  template <class F>
  void Clear(F&& end) {
    for (ActiveNote& note : voiceNotes_) end(std::exchange(note, ActiveNote{}));
    for (int i = 0; i < waitingCount_; ++i) {
      end(std::exchange(
          slots_[static_cast<std::size_t>(waiting_[static_cast<std::size_t>(i)])].note,
          ActiveNote{}));
    }
    waitingCount_ = heldCount_ = 0;
  }

 private:
  static constexpr double kClaimSeconds = 0.005;  // a burst of notes leaves the queue one a sample
  static constexpr int kMostHeld = 512;

  struct Slot {
    ActiveNote note;
    int blocks = 0;  // that have ended since the note came
    int frames = 0;
  };

  std::array<Slot, kSlots> slots_;
  std::array<std::uint8_t, kSlots> waiting_{};  // slots with a note, unordered
  int waitingCount_ = 0;
  int nextSlot_ = 0;
  std::array<ActiveNote, kMaxVoices> voiceNotes_;
  std::array<ActiveNote, kMostHeld> held_;  // oldest first
  int heldCount_ = 0;
};

}  // namespace halveron
