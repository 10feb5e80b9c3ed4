// Sound files by libsndfile: reading any format of the library by blocks, writing WAV by blocks.
//
// All failures are thrown as platform::FileError. Nothing here belongs on the audio thread.
#pragma once

#include <cstdint>
#include <memory>
#include <optional>
#include <string>

#include "media/audio_decoder.h"
#include "platform/file_error.h"

namespace halveron::media {

/// The library knows no format that the file could have; another one may.
class UnknownSoundFormat : public platform::FileError {
 public:
  using FileError::FileError;
};

/// Reads a sound file from its start to its end. Samples are interleaved floats, full scale 1.
class AudioFileReader final : public AudioDecoder {
 public:
  /// Refuses what cannot be read, is cut off, or has more than `maxChannels` channels.
  AudioFileReader(const std::string& path, int maxChannels);
  ~AudioFileReader() override;

  int Channels() const override { return channels_; }
  int SampleRate() const override { return sampleRate_; }
  std::int64_t Frames() const override { return frames_; }  ///< length of the file
  std::optional<double> RootNote() const override { return rootNote_; }

  std::int64_t Read(float* interleaved, std::int64_t frames) override;

 private:
  struct File;
  std::string path_;
  std::unique_ptr<File> file_;
  int channels_ = 0;
  int sampleRate_ = 0;
  std::int64_t frames_ = 0;
  std::int64_t position_ = 0;
  std::optional<double> rootNote_;
};

/// How samples are stored in a file.
enum class SampleFormat {
  kFloat32,
  kInteger24,  ///< samples beyond full scale are limited to it
};

/// What a sampler needs to know of a sound, for the "smpl" chunk.
struct SampleKey {
  /// A stretch that repeats, in frames; the last one belongs to it.
  struct Loop {
    std::int64_t first = 0;
    std::int64_t last = 0;
  };
  double rootNote = 60;  ///< MIDI note with its fraction, at which the sound plays at its own rate
  std::optional<Loop> loop{};
};

/// Writes a WAV into a temporary file beside the target, which takes the target's
/// place by Commit. Without Commit the temporary is removed and the target stays as it was. The
/// bytes depend on the samples alone.
class AudioFileWriter {
 public:
  /// `frames` is the length to come, from which the 64-bit form of the header is chosen where the
  /// usual one cannot hold it.
  AudioFileWriter(const std::string& path, int channels, int sampleRate, std::int64_t frames,
                  SampleFormat format = SampleFormat::kFloat32,
                  const std::optional<SampleKey>& key = std::nullopt);
  ~AudioFileWriter();
  AudioFileWriter(const AudioFileWriter&) = delete;
  AudioFileWriter& operator=(const AudioFileWriter&) = delete;

  void Write(const float* interleaved, std::int64_t frames);
  void Commit();

 private:
  struct File;
  std::string path_;
  std::string target_;  // the path with symbolic links followed
  std::string temporary_;
  std::unique_ptr<File> file_;
};

}  // namespace halveron::media
