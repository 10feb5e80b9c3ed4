// Recorded takes as standard MIDI files.
#pragma once

#include "media/midi_file.h"
#include "modules/midi/SD30MIDIRecorderKernel.h"

namespace halveron {

/// `tempo` in quarter notes a minute is that of a take against samples; one against a clock gets
/// 120, and a quarter note for each clock.
media::MidiFile ToMidiFile(const RecordedTake& take, double tempo);

/// A take against samples follows the file's tempo map, one against a clock its quarter notes. What
/// is more than a take can hold is left out; `left` is how many events that were.
RecordedTake ToTake(const media::MidiFile& file, bool isClocked, std::size_t& left);

}  // namespace halveron
