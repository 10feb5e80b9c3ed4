// Decoding by FFmpeg: whatever it can demultiplex, from a file or an address.
#pragma once

#include <memory>
#include <stop_token>
#include <string>
#include <utility>
#include <vector>

#include "media/audio_decoder.h"

namespace halveron::media {

/// What is opened, and how.
struct FfmpegSource {
  std::string url;
  /// Options of the demultiplexer and of the protocol, by FFmpeg's names.
  std::vector<std::pair<std::string, std::string>> options{};
  /// Stands for the source in messages.
  std::string name{};
};

/// The best audio stream of a source. Blocking calls end, with an error, once a stop is requested.
class FfmpegDecoder final : public AudioDecoder {
 public:
  /// Refuses what has no audio stream or one that cannot be decoded.
  FfmpegDecoder(const FfmpegSource& source, std::stop_token stop);
  ~FfmpegDecoder() override;

  int Channels() const override;
  int SampleRate() const override;
  std::int64_t Frames() const override;
  std::int64_t Read(float* interleaved, std::int64_t frames) override;

  /// The newest text that the source gives under a key, such as "title" or "StreamTitle"; empty if
  /// there is none. Looks at the stream's data first, then at the whole source's.
  std::string Tag(const char* key) const;

 private:
  struct State;
  std::unique_ptr<State> state_;
};

}  // namespace halveron::media
