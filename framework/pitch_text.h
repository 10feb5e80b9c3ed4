// Pitches as musicians name them.
#pragma once

#include <cmath>
#include <cstdio>
#include <string>

#include "framework/midi_message.h"
#include "framework/signal.h"

namespace halveron {

/// A pitch signal (0.1 per octave, 0 at note 60) as "F#4 -12.3 ct"; "---" beyond the notes 0 to 127
/// and for what is no number.
inline std::string PitchText(double pitch) {
  constexpr int kMiddleC = 60;
  const double semitones = pitch / kPitchPerSemitone + kMiddleC;
  const double nearest = std::round(semitones);
  if (!(nearest >= 0.0 && nearest < midi::kKeys)) return "---";
  // The addition turns -0 into 0.
  const double tenths = std::round((semitones - nearest) * 1000.0) + 0.0;
  char cents[24];
  std::snprintf(cents, sizeof cents, " %+.1f ct", tenths / 10.0);
  return midi::NoteName(static_cast<int>(nearest)) + std::string(cents);
}

}  // namespace halveron
