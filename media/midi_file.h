// Standard MIDI files, merged into one list of messages with their times.
#pragma once

#include <cstdint>
#include <string>
#include <vector>

namespace halveron::media {

/// One message as it goes over a wire: a status byte and its data, SysEx from 0xF0 to 0xF7.
struct MidiFileEvent {
  double seconds;   ///< from the start, by the file's tempo map
  double quarters;  ///< the same place in quarter notes
  std::vector<std::uint8_t> bytes;
};

/// Tempo and time signature that hold from a place on.
struct TempoChange {
  double seconds;
  double quarters;
  double tempo;  ///< quarter notes a minute
  int numerator;
  int denominator;
};

/// All tracks in order of time; messages of one time keep the order of their tracks. Meta events
/// are not messages and are left out.
struct MidiFile {
  std::vector<MidiFileEvent> events;
  std::vector<TempoChange> tempos;  ///< ordered, at least one, the first at 0
  double seconds = 0.0;             ///< length, to the last end of a track
  double quarters = 0.0;
};

/// Reads formats 0 and 1 with a division in quarter notes. Anything else, and a file that is cut
/// off or inconsistent, is refused with a platform::FileError that names track and byte.
MidiFile ReadMidiFile(const std::string& path);

}  // namespace halveron::media
