// A song at another tempo or pitch than its own.
#pragma once

#include <cstddef>
#include <memory>
#include <vector>

#include "media/song.h"

namespace halveron::media {

/// Reads a song through SoundTouch, which moves tempo and pitch apart from each other. The song
/// passes unchanged for as long as neither has been moved since it began or was moved to a place.
class TempoStream {
 public:
  static constexpr double kSlowest = 0.1, kFastest = 10.0;
  static constexpr double kLowest = 1.0 / 16.0, kHighest = 16.0;

  explicit TempoStream(std::unique_ptr<Song> song);
  ~TempoStream();
  TempoStream(const TempoStream&) = delete;
  TempoStream& operator=(const TempoStream&) = delete;

  const SongFacts& Facts() const { return song_->Facts(); }
  /// Ratios to the song's own, brought into their ranges. Throws std::exception if the library is
  /// missing.
  void Set(double tempo, double pitch);
  /// As Song::Read.
  std::size_t Read(float* interleaved, std::size_t frames);
  void Seek(double seconds);
  /// The place in the song, in seconds, of what Read gives next.
  double Position() const;

 private:
  struct Stretcher;
  std::unique_ptr<Song> song_;
  std::unique_ptr<Stretcher> stretcher_;  // null while the song passes unchanged
  std::vector<float> piece_;
  double tempo_ = 1.0;
  double pitch_ = 1.0;
};

}  // namespace halveron::media
