// Events from a CLAP host to the rack: each is converted to the record that a VST2 host would send.
#pragma once

#include <array>
#include <bitset>
#include <cstdint>

#include "engine/clap_abi.h"
#include "engine/halveron.h"
#include "engine/note_tracker.h"

namespace halveron {

/// One record serves all events: it is filled and passed at once to the modules that receive
/// events. Invalid events (a key of 200, a value that is not a number) are dropped. Audio thread,
/// under the processing lock.
class ClapEventInput {
 public:
  ClapEventInput(Halveron& engine, NoteTracker& notes);

  void Take(const clap_event_header_t& event);

  /// A voice has taken a note: its knobs get the modulation that was sent for the note, and lose
  /// that of the voice's previous note.
  void StartNote(int voice);

  /// To be called at the end of each block. Expressions and modulation for a note that does not
  /// come in the next block either are dropped.
  void EndBlock();

  /// The rack was replaced: modulation of the old one is dropped.
  void ForgetModulation();

  /// Releases every note on all MIDI channels.
  void AllNotesOff();

  /// Whether the block is cut at an event for sample-accurate automation.
  static bool ChangesParameter(const clap_event_header_t& event);

 private:
  /// An expression, or a modulation, of a note that no voice plays yet.
  struct EarlyEvent {
    NoteAddress address;
    bool isModulation;
    int id;  // of the parameter or the expression
    double value;
    int blocks;  // that have ended since it came
  };
  static constexpr int kMostEarly = 256;

  void TakeNoteOn(const clap_event_note_t& event);
  void TakeNoteOff(const clap_event_note_t& event);
  void TakeExpression(const clap_event_note_expression_t& event);
  void SendExpression(std::uint32_t time, int channel, int id, double value);
  void SendEarlyExpressions(std::uint32_t time, const ActiveNote& note);
  void KeepEarly(const EarlyEvent& event);
  /// Calls take(event) for each early event; those for which it returns true are removed.
  template <class F>
  void TakeEarly(F&& take);
  void SetVoiceOffset(int parameter, int voice, double amount);
  void TakeValue(const clap_event_param_value_t& event);
  void TakeModulation(const clap_event_param_mod_t& event);
  void TakeSysEx(const clap_event_midi_sysex_t& event);
  void SendMidi(std::uint32_t time, int status, int data1, int data2, int extra = 0);
  void SendRecord(std::uint32_t time);

  using ParameterSet = std::bitset<kParameterCount>;

  Halveron& engine_;
  NoteTracker& notes_;

  std::array<EarlyEvent, kMostEarly> early_{};  // oldest first
  int earlyCount_ = 0;
  std::array<float, kParameterCount> commonOffsets_{};  // modulation of all voices
  std::array<ParameterSet, kMaxVoices> ownOffsets_;     // parameters modulated for a voice's note
  std::array<unsigned, Halveron::kMidiChannels> expressed_{};  // expressions of notes, by bit

  union {
    VstMidiEvent midi_;
    VstMidiSysexEvent sysEx_;
  };
  VstEventBlock<2> list_;  // always one entry, the record above
};

}  // namespace halveron
