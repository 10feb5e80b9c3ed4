// The way from a CLAP host to the rack: each event becomes the record that a VST2 host would send.
#pragma once

#include <cstdint>

#include "engine/clap_abi.h"
#include "engine/halveron.h"
#include "engine/note_tracker.h"

namespace halveron {

/// One record serves all events: it is filled and at once handed to the modules that listen. What
/// does not hold together (a key of 200, a value that is no number) is dropped. Audio thread, under
/// the processing lock.
class ClapEventInput {
 public:
  ClapEventInput(Halveron& engine, NoteTracker& notes);

  void Take(const clap_event_header_t& event);

  /// Releases every note on all MIDI channels.
  void AllNotesOff();

  /// Events that change a parameter are worth a cut of the block where it is to be sample-accurate.
  static bool ChangesParameter(const clap_event_header_t& event);

 private:
  void TakeNote(const clap_event_note_t& event, int status);
  void ReleaseNotesOf(const clap_event_note_t& event);
  void TakeExpression(const clap_event_note_expression_t& event);
  void TakeValue(const clap_event_param_value_t& event);
  void TakeModulation(const clap_event_param_mod_t& event);
  void TakeSysEx(const clap_event_midi_sysex_t& event);
  void SendMidi(std::uint32_t time, int status, int data1, int data2, int extra = 0);
  void SendRecord(std::uint32_t time);

  Halveron& engine_;
  NoteTracker& notes_;

  union {
    VstMidiEvent midi_;
    VstMidiSysexEvent sysEx_;
  };
  VstEventBlock<2> list_;  // always of one entry, the record above
};

}  // namespace halveron
