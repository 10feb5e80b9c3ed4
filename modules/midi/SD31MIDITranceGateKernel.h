// SD31 MIDI Trance Gate kernel: held notes, opened and closed by a pattern.
#pragma once

#include <array>

#include "dsp/edge.h"
#include "modules/midi/note_output.h"

namespace halveron {

/// A step that opens the gate starts the held notes; one that closes it ends them. Between two open
/// steps they sound on.
struct SD31MIDITranceGateKernel {
  static constexpr int kSteps = 16;
  static constexpr int kMostHeld = 128;

  std::array<bool, kSteps> stepOn = MakeAllOn();
  int lastStep = kSteps - 1;
  bool restartOnFirst = false;  ///< the first note held puts the pattern to its start
  bool playAtOnce = false;      ///< notes sound as they come, where the gate is open

  int step = 0;
  bool gateOpen = false;
  float lastClock = 0.0f;
  NoteOutput output;

  /// One sample: the word that comes in, and the one that goes out.
  MidiCableWord Step(MidiCableWord word, float clock) {
    if (!word.IsNone()) Take(word);
    const bool edge = dsp::IsRisingEdge(lastClock, clock);
    lastClock = clock;
    if (edge) Advance();
    return output.Pop();
  }

  /// Ends and forgets all that is held, when nothing more can come.
  void Release() {
    for (int i = 0; i <= heldLast; ++i) EndNote(held[i]);
    heldLast = -1;
  }

 private:
  struct HeldNote {
    MidiCableWord word;
    bool sounds = false;  // its note-on was sent, its note-off was not
  };

  static constexpr std::array<bool, kSteps> MakeAllOn() {
    std::array<bool, kSteps> all{};
    for (bool& on : all) on = true;
    return all;
  }

  void Take(MidiCableWord word) {
    if (word.IsNoteOn()) {
      NoteOn(word);
    } else if (word.IsNoteOff()) {
      NoteOff(word);
    } else {
      // What silences the receiver silences what would start again with the next open step.
      if (word.IsAllNotesOff()) Release();
      output.Through(word);
    }
  }

  void NoteOn(MidiCableWord word) {
    const bool isFirst = heldLast < 0;
    if (heldLast + 1 >= kMostHeld) return;
    held[++heldLast] = {word, false};
    if (isFirst && restartOnFirst) {
      step = lastStep;
      gateOpen = playAtOnce && stepOn[0];
      if (gateOpen) BeginNote(held[heldLast]);
    } else if (playAtOnce && gateOpen) {
      BeginNote(held[heldLast]);
    }
  }

  void NoteOff(MidiCableWord word) {
    for (int i = 0; i <= heldLast; ++i) {
      const MidiCableWord note = held[i].word;
      if (note.Data1() != word.Data1() || note.Channel() != word.Channel()) continue;
      EndNote(held[i]);
      held[i] = held[heldLast--];
      return;
    }
  }

  void Advance() {
    step = step < lastStep ? step + 1 : 0;
    if (stepOn[step] == gateOpen) return;
    gateOpen = stepOn[step];
    for (int i = 0; i <= heldLast; ++i) {
      if (gateOpen) {
        BeginNote(held[i]);
      } else {
        EndNote(held[i]);
      }
    }
  }

  void BeginNote(HeldNote& note) {
    if (!note.sounds) note.sounds = output.Begin(note.word);
  }
  void EndNote(HeldNote& note) {
    if (note.sounds) {
      output.End(note.word.AsNoteOff());
    } else {
      output.Send(note.word.AsNoteOff());
    }
    note.sounds = false;
  }

  std::array<HeldNote, kMostHeld> held{};
  int heldLast = -1;
};

}  // namespace halveron
