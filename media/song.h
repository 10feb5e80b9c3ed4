// Songs: tracker music and sound files, read alike.
#pragma once

#include <cstdint>
#include <memory>
#include <optional>
#include <stop_token>
#include <string>
#include <vector>

namespace halveron::media {

struct SongFacts {
  int rate = 44100;              ///< hertz
  int channels = 2;              ///< of what Read gives, 1 or 2
  double seconds = 0.0;          ///< length, 0 if nobody knows
  std::optional<float> tempo{};  ///< beats a minute, of tracker music
  std::string format{};          ///< "4ch MOD", "8ch XM (MO3)", "2ch MP3 44.1kHz"
  std::string extension{};       ///< for a file of it, in small letters without a dot; may be empty
  std::string title{};           ///< the texts in UTF-8; empty where nothing is known
  std::string artist{};
  std::string album{};
};

/// For workers: every call may wait for a disk.
class Song {
 public:
  static constexpr std::size_t kMostTrackerBytes = std::size_t{64} << 20;

  Song() = default;
  virtual ~Song() = default;
  Song(const Song&) = delete;
  Song& operator=(const Song&) = delete;

  const SongFacts& Facts() const { return facts_; }
  /// Up to `frames` frames of interleaved floats, full scale 1; 0 at the end. Throws
  /// platform::UserError where the rest cannot be read.
  virtual std::size_t Read(float* interleaved, std::size_t frames) = 0;
  /// Goes to a place in seconds, as near as the form allows.
  virtual void Seek(double seconds) = 0;
  /// Where Read goes on, in seconds.
  virtual double Position() const = 0;

 protected:
  SongFacts facts_;
};

/// How a song is opened.
struct SongOptions {
  /// Points of the interpolation between samples of tracker music: 1, 2, 4 or 8; 0 is the
  /// library's choice.
  int interpolation = 0;
};

/// Opens a file as tracker music, by libopenmpt, and if it is none, as a sound file, by FFmpeg with
/// the tags that TagLib finds. Throws platform::UserError, and once `stop` is requested.
std::unique_ptr<Song> OpenSong(const std::string& path, const SongOptions& options,
                               std::stop_token stop);
/// The same for a file in memory; `name` is for messages.
std::unique_ptr<Song> OpenSong(std::vector<std::uint8_t> bytes, const std::string& name,
                               const SongOptions& options, std::stop_token stop);

/// The endings of files of tracker music that can be opened, in small letters without a dot.
std::vector<std::string> TrackerExtensions();

}  // namespace halveron::media
