// What signals mean: one 32-bit float per sample, where 1.0 stands for 10 V. Pitch is 0.1 per
// octave with MIDI note 60 at 0.0; gates are high at 1.0 and low at 0.0.
#pragma once

#include <array>

namespace halveron {

inline constexpr float kDefaultClipLevel = 4.0f;

/// Frequency in hertz of MIDI notes 0 to 127, a running product of semitones kept in double and
/// rounded on each store.
extern std::array<float, 128> NoteFrequency;

/// Fills NoteFrequency, which the whole process shares, always with the same values.
void RebuildNoteTable();

/// Pitch signal of a MIDI note.
inline constexpr double kPitchPerSemitone = 0.008333333333333333;

}  // namespace halveron
