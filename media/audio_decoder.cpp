#include "media/audio_decoder.h"

#include <filesystem>
#include <utility>

#include "media/audio_file.h"
#include "media/ffmpeg_decoder.h"
#include "platform/file_error.h"

namespace halveron::media {

using platform::FileError;

namespace {

constexpr int kMostChannels = 64;

/// Ends the reading of a local file once a stop is requested.
class StoppableReader final : public AudioDecoder {
 public:
  StoppableReader(const std::string& path, std::stop_token stop)
      : path_(path), stop_(std::move(stop)), reader_(path, kMostChannels) {}

  int Channels() const override { return reader_.Channels(); }
  int SampleRate() const override { return reader_.SampleRate(); }
  std::int64_t Frames() const override { return reader_.Frames(); }
  std::optional<double> RootNote() const override { return reader_.RootNote(); }
  std::int64_t Read(float* interleaved, std::int64_t frames) override {
    if (stop_.stop_requested()) throw FileError(path_, "", "reading was stopped");
    return reader_.Read(interleaved, frames);
  }

 private:
  std::string path_;
  std::stop_token stop_;
  AudioFileReader reader_;
};

/// A pipe or a device might never answer.
void RequireRegularFile(const std::string& path) {
  std::error_code error;
  const auto status = std::filesystem::status(path, error);
  if (!std::filesystem::exists(status)) {
    throw FileError(path, "", "is not there", "check the name");
  }
  if (!std::filesystem::is_regular_file(status)) {
    throw FileError(path, "", "is no regular file", "give a sound file");
  }
  const auto size = std::filesystem::file_size(path, error);
  if (error) throw FileError(path, "", "cannot be read: " + error.message());
  if (size == 0) throw FileError(path, "", "is empty", "give a sound file");
}

}  // namespace

std::unique_ptr<AudioDecoder> OpenAudioFile(const std::string& path, const std::stop_token& stop) {
  RequireRegularFile(path);
  try {
    return std::make_unique<StoppableReader>(path, stop);
  } catch (const UnknownSoundFormat&) {
    // A list of further addresses in a file leads nowhere but to other local files.
    return std::make_unique<FfmpegDecoder>(
        FfmpegSource{"file:" + path, {{"protocol_whitelist", "file"}}, path}, stop);
  }
}

}  // namespace halveron::media
