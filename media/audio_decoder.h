// Decoding of any sound file, block by block.
//
// libsndfile reads what it knows, which keeps loop and key data; FFmpeg reads the rest. All
// failures are thrown as platform::FileError. Nothing here belongs on the audio thread.
#pragma once

#include <cstdint>
#include <memory>
#include <optional>
#include <stop_token>
#include <string>

namespace halveron::media {

/// A sound that is read from its start to its end. Samples are interleaved floats, full scale 1.
class AudioDecoder {
 public:
  AudioDecoder() = default;
  virtual ~AudioDecoder() = default;
  AudioDecoder(const AudioDecoder&) = delete;
  AudioDecoder& operator=(const AudioDecoder&) = delete;

  virtual int Channels() const = 0;    ///< 1 or more, the same to the end
  virtual int SampleRate() const = 0;  ///< hertz, the same to the end
  /// Length in frames, an estimate for some compressed formats; -1 where the source does not say.
  virtual std::int64_t Frames() const { return -1; }
  /// The MIDI note, with its fraction, at which the sound plays at its own rate, if the file says.
  virtual std::optional<double> RootNote() const { return std::nullopt; }

  /// Reads up to `frames` frames and returns how many; 0 at the end. Refuses samples that are not
  /// finite.
  virtual std::int64_t Read(float* interleaved, std::int64_t frames) = 0;
};

/// Opens a local file. Refuses what is empty, cut off, no sound, or more than 64 channels wide. A
/// requested stop ends the opening and every later Read with an error.
std::unique_ptr<AudioDecoder> OpenAudioFile(const std::string& path,
                                            const std::stop_token& stop = {});

}  // namespace halveron::media
