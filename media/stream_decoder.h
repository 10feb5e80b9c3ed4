// Sound from bytes in any compressed form, by FFmpeg.
#pragma once

#include <cstdint>
#include <functional>
#include <memory>
#include <span>
#include <stop_token>
#include <string>
#include <vector>

#include "media/byte_source.h"

namespace halveron::media {

/// Decodes the first sound that a source holds, to mono or stereo at the rate that it begins with;
/// what has more channels is mixed down, and what changes its rate on the way is converted. Damaged
/// pieces are left out. For workers: every call waits for the source, but no longer than 20 s.
class StreamDecoder {
 public:
  /// Gives the sources of a live playlist's pieces: bytes `first` to `last` of an address, all of
  /// them for 0 and -1. Throws platform::UserError.
  using Opener = std::function<std::unique_ptr<ByteSource>(const std::string& address,
                                                           std::int64_t first, std::int64_t last)>;

  /// `name` is the address for live playlists, else it is for messages only. With an `opener` the
  /// source is the text of a live playlist. Throws platform::UserError, and once `stop` is
  /// requested, as Read does.
  StreamDecoder(std::unique_ptr<ByteSource> source, const std::string& name, std::stop_token stop,
                Opener opener = {});
  ~StreamDecoder();
  StreamDecoder(const StreamDecoder&) = delete;
  StreamDecoder& operator=(const StreamDecoder&) = delete;

  int Channels() const;    ///< 1 or 2
  int SampleRate() const;  ///< hertz
  double Seconds() const;  ///< length, 0 if nobody knows
  /// The form of the sound in capital letters, such as "MP3".
  std::string FormatName() const;
  /// "name=value", where the form is Ogg.
  std::vector<std::string> Comments() const;
  /// Whether the comments have changed since the last call.
  bool HasNewComments();

  /// Up to `frames` frames of interleaved floats, full scale 1, always finite; 0 at the end.
  std::size_t Read(float* interleaved, std::size_t frames);
  /// Goes to a place in seconds, as near as the form allows; false if it cannot.
  bool Seek(double seconds);

 private:
  struct State;
  std::unique_ptr<State> state_;
};

}  // namespace halveron::media
