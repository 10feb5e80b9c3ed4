// Writes standard MIDI files.
#pragma once

#include <string>

#include "media/midi_file.h"

namespace halveron::media {

/// Ticks to a quarter note of the files written.
inline constexpr int kWrittenTicksPerQuarter = 960;

/// Writes a file of format 0: the messages and tempo changes at their places in quarter notes, the
/// end at `file.quarters`. Events must be in order. Puts the whole file in the place of what stood
/// at `path`, or throws a platform::FileError and leaves that as it was.
void WriteMidiFile(const std::string& path, const MidiFile& file);

}  // namespace halveron::media
