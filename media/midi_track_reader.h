// Reads the chunks and events of a standard MIDI file, and checks each of them.
#pragma once

#include <cstddef>
#include <cstdint>
#include <span>
#include <string>
#include <vector>

namespace halveron::media {

/// One event of a track, at a time in ticks from the start. `bytes` are as sent over a wire, with
/// their status; a meta event is 0xFF, its kind, its length and its data.
struct TrackEvent {
  std::int64_t tick;
  std::vector<std::uint8_t> bytes;
};

/// The tracks of a file. Tempo and time signature are in a list of their own, other meta events are
/// left out; SysEx messages that were split are whole again.
struct MidiTracks {
  int ticksPerQuarter = 0;
  std::vector<TrackEvent> conductor;
  std::vector<std::vector<TrackEvent>> tracks;
  std::int64_t lengthInTicks = 0;  ///< to the last end of a track; fits an int
};

/// Throws platform::FileError with the place in `path`.
MidiTracks ReadMidiTracks(const std::string& path, std::span<const std::uint8_t> bytes);

}  // namespace halveron::media
