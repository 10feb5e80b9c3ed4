#include "app/song_position.h"

#include <algorithm>
#include <cmath>
#include <limits>

namespace halveron {

namespace {

/// The last change for which `field` is not beyond `value`.
template <class Changes>
const media::TempoChange& LastUpTo(const Changes& changes, double media::TempoChange::*field,
                                   double value) {
  const auto after = std::upper_bound(
      changes.begin(), changes.end(), value,
      [field](double limit, const media::TempoChange& change) { return limit < change.*field; });
  return after == changes.begin() ? *after : *(after - 1);
}

}  // namespace

SongPosition::SongPosition(double tempo) : changes_{{0.0, 0.0, tempo, 4, 4}} {}

SongPosition::SongPosition(std::vector<media::TempoChange> changes)
    : changes_(std::move(changes)) {}

SongPosition::Moment SongPosition::At(double seconds) const {
  const auto& change = LastUpTo(changes_, &media::TempoChange::seconds, seconds);
  const double quarters = change.quarters + (seconds - change.seconds) * change.tempo / 60.0;
  const int denominator = std::max(change.denominator, 1);
  const double bar = 4.0 * std::max(change.numerator, 1) / denominator;
  const double bars = std::floor((quarters - change.quarters) / bar);
  return {quarters, change.quarters + bars * bar, change.tempo, change.numerator, denominator};
}

double SongPosition::NextChange(double seconds) const {
  for (const media::TempoChange& change : changes_) {
    if (change.seconds > seconds) return change.seconds;
  }
  return std::numeric_limits<double>::infinity();
}

double SongPosition::SecondsAt(double quarters) const {
  const auto& change = LastUpTo(changes_, &media::TempoChange::quarters, quarters);
  return change.seconds + (quarters - change.quarters) * 60.0 / change.tempo;
}

}  // namespace halveron
