// The position in a song at a time, by its tempo map.
#pragma once

#include <vector>

#include "media/midi_file.h"

namespace halveron {

class SongPosition {
 public:
  struct Moment {
    double quarters;
    double barStart;  ///< quarter notes
    double tempo;     ///< quarter notes a minute
    int numerator;
    int denominator;
  };

  /// One tempo throughout, in 4/4.
  explicit SongPosition(double tempo);
  /// The changes as a MIDI file has them: in order, at least one, the first at 0.
  explicit SongPosition(std::vector<media::TempoChange> changes);

  /// `seconds` from the start, 0 or more.
  Moment At(double seconds) const;
  /// The time of the first change after `seconds`, infinite if none follows.
  double NextChange(double seconds) const;
  const std::vector<media::TempoChange>& Changes() const { return changes_; }
  /// The time of a place in quarter notes, 0 or more.
  double SecondsAt(double quarters) const;

 private:
  std::vector<media::TempoChange> changes_;
};

}  // namespace halveron
