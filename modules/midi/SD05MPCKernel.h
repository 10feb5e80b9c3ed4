// SD05 MIDI Poly Chainer kernel: which outputs a word goes to.
#pragma once

#include <array>
#include <cstdint>

#include "framework/midi_cable_word.h"
#include "framework/rack_limits.h"
#include "modules/midi/held_notes.h"

namespace halveron {

/// Deals the notes of one stream across the outputs in use, each in its turn, so that every output
/// plays one at a time. A free output is preferred; when all are busy the next in turn is stolen.
struct SD05MPCKernel {
  static constexpr int kOutputs = kMaxVoices;
  static constexpr int kAllChannels = -1;
  static constexpr std::uint32_t kAllOutputs = (1u << kOutputs) - 1;

  /// Where a word goes, one bit for each output, the first in bit 0.
  struct Deal {
    std::uint32_t outputs = 0;
    bool lit = true;  ///< the lamps of these outputs light up
  };

  struct Note {
    std::uint8_t channel = 0;
    std::uint8_t key = 0;
    friend bool operator==(Note, Note) = default;
  };

  int channelFilter = kAllChannels;  ///< 0 to 15: notes of other channels do not begin
  std::uint32_t outputsInUse = 0;    ///< one bit for each output

  std::array<HeldNotes<Note>, kOutputs> heldNotes;
  int currentOutput = kOutputs - 1;  ///< the one that got the last note

  void ForgetNotes(int output) { heldNotes[output].Clear(); }
  void ForgetAllNotes() {
    for (HeldNotes<Note>& notes : heldNotes) notes.Clear();
  }

  Deal Step(MidiCableWord word) {
    if (word.Status() < midi::kNoteOff)
      return {};  // none, or a packet of a dump: no voice hears it
    if (word.IsNoteOn()) return BeginNote(word);
    if (word.IsNoteOff()) return FindNote(word, true);
    if (word.Kind() == midi::kKeyPressure) return FindNote(word, false);
    if (word.IsAllNotesOff()) {
      ForgetAllNotes();
      return {kAllOutputs};
    }
    // Clock and transport are for every voice. Their lamps would never go out.
    if (word.Kind() == midi::kSystem) return {kAllOutputs, false};
    return {HoldersOf(word.Channel())};
  }

 private:
  static int After(int output) { return output + 1 < kOutputs ? output + 1 : 0; }

  int NextInUse(int output) const {
    do {
      output = After(output);
    } while (!(outputsInUse >> output & 1u));
    return output;
  }

  Deal BeginNote(MidiCableWord word) {
    if ((outputsInUse & kAllOutputs) == 0) return {};
    if (channelFilter != kAllChannels && channelFilter != word.Channel()) return {};
    const int first = NextInUse(currentOutput);
    int output = first;
    while (!heldNotes[output].IsEmpty()) {
      output = NextInUse(output);
      if (output == first) break;
    }
    currentOutput = output;
    heldNotes[output].Push({word.Channel(), word.Data1()});
    return {1u << output};
  }

  /// The output that holds the note: the one whose turn comes soonest, there the newest entry.
  Deal FindNote(MidiCableWord word, bool remove) {
    const Note note{word.Channel(), word.Data1()};
    int output = currentOutput;
    do {
      output = After(output);
      const int place = heldNotes[output].Find(note);
      if (place < 0) continue;
      if (remove) heldNotes[output].Remove(place);
      return {1u << output};
    } while (output != currentOutput);
    return {};
  }

  /// The outputs with a held note of a channel.
  std::uint32_t HoldersOf(std::uint8_t channel) const {
    std::uint32_t holders = 0;
    for (int output = 0; output < kOutputs; ++output) {
      if (heldNotes[output].Any([channel](Note note) { return note.channel == channel; })) {
        holders |= 1u << output;
      }
    }
    return holders;
  }
};

}  // namespace halveron
