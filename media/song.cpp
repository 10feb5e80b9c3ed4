#include "media/song.h"

#include <taglib/fileref.h>
#include <taglib/tag.h>

#include <algorithm>
#include <array>
#include <cctype>
#include <cstdio>
#include <filesystem>
#include <libopenmpt/libopenmpt.hpp>
#include <sstream>

#include "media/stream_decoder.h"
#include "platform/file_error.h"

namespace halveron::media {

namespace {

constexpr int kTrackerRate = 44100;

std::string Cased(std::string text, int (*change)(int)) {
  std::transform(text.begin(), text.end(), text.begin(),
                 [change](unsigned char letter) { return static_cast<char>(change(letter)); });
  return text;
}

class TrackerSong final : public Song {
 public:
  /// Throws openmpt::exception for what is no tracker music.
  TrackerSong(const std::vector<std::uint8_t>& bytes, const SongOptions& options)
      : module_(bytes, log_) {
    // A place in the middle of a long note sounds as that.
    module_.ctl_set_boolean("seek.sync_samples", true);
    if (options.interpolation > 0) {
      module_.set_render_param(openmpt::module::RENDER_INTERPOLATIONFILTER_LENGTH,
                               options.interpolation);
    }
    facts_.rate = kTrackerRate;
    facts_.channels = 2;
    facts_.seconds = module_.get_duration_seconds();
    const auto tempo = static_cast<float>(module_.get_current_estimated_bpm());
    if (tempo > 0.0f) facts_.tempo = tempo;
    facts_.extension = Cased(module_.get_metadata("type"), std::tolower);
    facts_.format = std::to_string(module_.get_num_channels()) + "ch " +
                    Cased(module_.get_metadata("type"), std::toupper);
    if (module_.get_metadata("container") == "mo3") {
      facts_.format += " (MO3)";
      facts_.extension = "mo3";
    }
    facts_.title = module_.get_metadata("title");
    facts_.artist = module_.get_metadata("artist");
  }

  std::size_t Read(float* interleaved, std::size_t frames) override {
    return module_.read_interleaved_stereo(kTrackerRate, frames, interleaved);
  }
  void Seek(double seconds) override { module_.set_position_seconds(seconds); }
  double Position() const override { return module_.get_position_seconds(); }

 private:
  std::ostringstream log_;  // what the library has to say, unread
  openmpt::module module_;
};

class FileSong final : public Song {
 public:
  FileSong(std::unique_ptr<ByteSource> source, const std::string& name, std::stop_token stop)
      : decoder_(std::move(source), name, std::move(stop)) {
    facts_.rate = decoder_.SampleRate();
    facts_.channels = decoder_.Channels();
    facts_.seconds = decoder_.Seconds();
    std::array<char, 80> text{};
    std::snprintf(text.data(), text.size(), "%dch %s %.1fkHz", facts_.channels,
                  decoder_.FormatName().c_str(), facts_.rate / 1000.0);
    facts_.format = text.data();
    facts_.extension = Cased(decoder_.FormatName(), std::tolower);
  }

  void ReadTags(const std::string& path) {
    const TagLib::FileRef file(path.c_str(), false);
    if (file.isNull() || !file.tag()) return;
    facts_.title = file.tag()->title().to8Bit(true);
    facts_.artist = file.tag()->artist().to8Bit(true);
    facts_.album = file.tag()->album().to8Bit(true);
  }

  std::size_t Read(float* interleaved, std::size_t frames) override {
    const std::size_t count = decoder_.Read(interleaved, frames);
    position_ += static_cast<double>(count) / facts_.rate;
    return count;
  }
  void Seek(double seconds) override {
    if (decoder_.Seek(seconds)) position_ = seconds;
  }
  double Position() const override { return position_; }

 private:
  StreamDecoder decoder_;
  double position_ = 0.0;
};

/// Null for what is no tracker music.
std::unique_ptr<Song> OpenTrackerSong(const std::vector<std::uint8_t>& bytes,
                                      const SongOptions& options) {
  try {
    return std::make_unique<TrackerSong>(bytes, options);
  } catch (const openmpt::exception&) {
    return nullptr;
  }
}

}  // namespace

std::unique_ptr<Song> OpenSong(const std::string& path, const SongOptions& options,
                               std::stop_token stop) {
  auto source = std::make_unique<FileSource>(path);
  if (static_cast<std::uint64_t>(source->Size()) <= Song::kMostTrackerBytes) {
    std::vector<std::uint8_t> bytes(static_cast<std::size_t>(source->Size()));
    std::size_t read = 0;
    while (read < bytes.size()) {
      const std::size_t count = source->Read(std::span(bytes).subspan(read));
      if (count == 0) break;
      read += count;
    }
    bytes.resize(read);
    if (auto song = OpenTrackerSong(bytes, options)) return song;
    source->Seek(0);
  }
  auto song = std::make_unique<FileSong>(std::move(source), path, std::move(stop));
  song->ReadTags(path);
  return song;
}

std::unique_ptr<Song> OpenSong(std::vector<std::uint8_t> bytes, const std::string& name,
                               const SongOptions& options, std::stop_token stop) {
  if (bytes.size() <= Song::kMostTrackerBytes) {
    if (auto song = OpenTrackerSong(bytes, options)) return song;
  }
  return std::make_unique<FileSong>(std::make_unique<MemorySource>(std::move(bytes)), name,
                                    std::move(stop));
}

std::vector<std::string> TrackerExtensions() { return openmpt::get_supported_extensions(); }

}  // namespace halveron::media
