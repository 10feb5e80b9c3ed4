// Checks the bytes of a standard MIDI file event by event before the MIDI file library sees them.
#pragma once

#include <cstddef>
#include <cstdint>
#include <span>
#include <string>
#include <vector>

namespace halveron::media {

/// One event of a track, at a time in ticks. `bytes` are as in the file: channel messages with
/// their status, SysEx and escapes with 0xF0 or 0xF7, their length and their data, meta events
/// whole.
struct TrackEvent {
  std::int64_t tick;
  std::vector<std::uint8_t> bytes;
};

/// A file whose chunks and events all lie within it. Text and other meta events are gone but for
/// tempo and time signature, which stand in a list of their own; SysEx messages that were split are
/// whole again.
struct CheckedMidi {
  int ticksPerQuarter = 0;
  std::vector<TrackEvent> conductor;
  std::vector<std::vector<TrackEvent>> tracks;
  std::int64_t lengthInTicks = 0;
};

/// Throws platform::FileError with the place in `path`.
CheckedMidi CheckMidi(const std::string& path, std::span<const std::uint8_t> bytes);

/// A file of format 1 with the same content: the conductor's track first.
std::vector<std::uint8_t> WriteMidi(const CheckedMidi& midi);

}  // namespace halveron::media
