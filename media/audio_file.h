// Sound files: reading any format of the library by blocks, writing 32-bit float WAV by blocks.
//
// All failures are thrown as platform::FileError. Nothing here belongs on the audio thread.
#pragma once

#include <cstdint>
#include <memory>
#include <string>

namespace halveron::media {

/// Reads a sound file from its start to its end. Samples are interleaved floats, full scale 1.
class AudioFileReader {
 public:
  /// Refuses what cannot be read, is cut off, or has more than `maxChannels` channels.
  AudioFileReader(const std::string& path, int maxChannels);
  ~AudioFileReader();
  AudioFileReader(const AudioFileReader&) = delete;
  AudioFileReader& operator=(const AudioFileReader&) = delete;

  int Channels() const { return channels_; }
  int SampleRate() const { return sampleRate_; }   ///< hertz
  std::int64_t Frames() const { return frames_; }  ///< length of the file

  /// Reads up to `frames` frames and returns how many; 0 at the end. Refuses samples that are not
  /// finite.
  std::int64_t Read(float* interleaved, std::int64_t frames);

 private:
  struct File;
  std::string path_;
  std::unique_ptr<File> file_;
  int channels_ = 0;
  int sampleRate_ = 0;
  std::int64_t frames_ = 0;
  std::int64_t position_ = 0;
};

/// Writes a 32-bit float WAV into a temporary file beside the target, which takes the target's
/// place by Commit. Without Commit the temporary is removed and the target stays as it was. The
/// bytes depend on the samples alone.
class AudioFileWriter {
 public:
  /// `frames` is the length to come, from which the 64-bit form of the header is chosen where the
  /// usual one cannot hold it.
  AudioFileWriter(const std::string& path, int channels, int sampleRate, std::int64_t frames);
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
