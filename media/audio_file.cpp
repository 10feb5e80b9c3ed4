#include "media/audio_file.h"

#include <sndfile.h>

#include <algorithm>
#include <array>
#include <cerrno>
#include <cinttypes>
#include <cmath>
#include <cstdio>
#include <cstring>
#include <filesystem>

#include "platform/whole_file.h"

namespace halveron::media {

namespace fs = std::filesystem;
using platform::FileError;

namespace {

constexpr std::int64_t kLargestPlainWav = 0xFFFF0000;  // bytes of samples; sizes have 32 bits
constexpr int kTemporaryAttempts = 1000;

struct Closer {
  void operator()(SNDFILE* file) const { sf_close(file); }
};
using Handle = std::unique_ptr<SNDFILE, Closer>;

/// Programs that write into a pipe do not know the size in advance and give one that no file has:
/// all ones, or as much as signed numbers or whole frames leave of it.
bool IsSizeOfAStream(const std::string& words) {
  constexpr std::int64_t kSmallest = 0x7FFFF000, kRoom = 0x1000;
  std::int64_t size = 0;
  if (std::sscanf(words.c_str(), "%*[^:]: %" SCNd64, &size) != 1) return false;
  return (size >= kSmallest && size < kSmallest + 2 * kRoom) || size > 0xFFFFFFFF - kRoom;
}

/// A file that ends before its data does is opened all the same; only the log reports it.
bool IsCutOff(SNDFILE* file) {
  std::string log(4096, '\0');
  const int length = sf_command(file, SFC_GET_LOG_INFO, log.data(), static_cast<int>(log.size()));
  log.resize(static_cast<std::size_t>(std::max(length, 0)));
  // What the formats call their samples: WAV, AIFF, 8SVX, AU; a W64 file has its whole size.
  constexpr const char* kSizes[] = {"data : ", "SSND : ", "BODY : ", "Data Size   : ", "riff : "};
  constexpr const char* kPhrases[] = {"does not match value from 'ds64'",
                                      "Seems to be a truncated file", "File ended unexpectedly"};
  return std::any_of(std::begin(kSizes), std::end(kSizes),
                     [&log](const char* size) {
                       const auto at = log.find(size);
                       if (at == std::string::npos) return false;
                       const std::string line = log.substr(at, log.find('\n', at) - at);
                       return line.find("should be") != std::string::npos && !IsSizeOfAStream(line);
                     }) ||
         std::any_of(std::begin(kPhrases), std::end(kPhrases),
                     [&log](const char* phrase) { return log.find(phrase) != std::string::npos; });
}

// The chunk that samplers share, as it is laid out in RIFF files since 1994: nine words, and six
// for each loop.
constexpr char kSamplerChunk[] = "smpl";
constexpr std::size_t kSamplerWords = 9, kLoopWords = 6;
enum SamplerWord { kPeriod = 2, kUnityNote = 3, kPitchFraction = 4, kLoopCount = 7 };
constexpr double kFractionsPerNote = 4294967296.0;  // a semitone in 2^32 parts
constexpr int kHighestNote = 127;

SF_CHUNK_INFO SamplerChunkInfo() {
  SF_CHUNK_INFO info = {};
  std::memcpy(info.id, kSamplerChunk, sizeof kSamplerChunk);
  info.id_size = sizeof kSamplerChunk - 1;
  return info;
}

/// From the chunk itself, since the library keeps only whole cents of it; else from what other
/// formats say in their own way.
std::optional<double> RootNoteOf(SNDFILE* file, int format) {
  SF_CHUNK_INFO info = SamplerChunkInfo();
  if (SF_CHUNK_ITERATOR* const found = sf_get_chunk_iterator(file, &info)) {
    std::array<std::uint32_t, kSamplerWords> words{};
    info.data = words.data();
    info.datalen = sizeof words;
    const bool isRead = sf_get_chunk_data(found, &info) == SF_ERR_NO_ERROR;
    if (isRead && words[kUnityNote] <= kHighestNote) {
      return words[kUnityNote] + words[kPitchFraction] / kFractionsPerNote;
    }
    return std::nullopt;
  }
  SF_INSTRUMENT instrument = {};
  if (sf_command(file, SFC_GET_INSTRUMENT, &instrument, sizeof instrument) == SF_FALSE ||
      instrument.basenote < 0) {
    return std::nullopt;
  }
  // AIFF says by how much its sound is to be raised, so it is at its own rate below the note.
  const bool isAiff = (format & SF_FORMAT_TYPEMASK) == SF_FORMAT_AIFF;
  return instrument.basenote + (isAiff ? -1 : 1) * instrument.detune / 100.0;
}

void SetKey(SNDFILE* file, const SampleKey& key, int sampleRate) {
  std::array<std::uint32_t, kSamplerWords + kLoopWords> words{};
  const double note = std::clamp(key.rootNote, 0.0, kHighestNote + 0.999999);
  words[kPeriod] = static_cast<std::uint32_t>(std::lround(1e9 / sampleRate));
  words[kUnityNote] = static_cast<std::uint32_t>(note);
  words[kPitchFraction] = static_cast<std::uint32_t>((note - std::floor(note)) * kFractionsPerNote);
  std::size_t count = kSamplerWords;
  if (key.loop) {
    words[kLoopCount] = 1;
    words[kSamplerWords + 2] = static_cast<std::uint32_t>(key.loop->first);
    words[kSamplerWords + 3] = static_cast<std::uint32_t>(key.loop->last);
    count += kLoopWords;
  }
  SF_CHUNK_INFO info = SamplerChunkInfo();
  info.data = words.data();
  info.datalen = static_cast<unsigned>(count * sizeof words[0]);
  sf_set_chunk(file, &info);
}

/// Creates an empty file that was not there before, beside the target.
std::string MakeTemporary(const std::string& path, const std::string& target) {
  for (int attempt = 0; attempt < kTemporaryAttempts; ++attempt) {
    std::string name = target + ".part" + std::to_string(attempt);
    if (std::FILE* file = std::fopen(name.c_str(), "wbx")) {
      std::fclose(file);
      return name;
    }
    if (errno != EEXIST) {
      throw FileError(path, "", std::string("cannot be written: ") + std::strerror(errno),
                      "choose a place that can be written");
    }
  }
  throw FileError(path, "", "too many unfinished files beside it",
                  "remove the files that end in .part and a number");
}

}  // namespace

struct AudioFileReader::File {
  Handle handle;
};

AudioFileReader::AudioFileReader(const std::string& path, int maxChannels)
    : path_(path), file_(std::make_unique<File>()) {
  SF_INFO info = {};
  file_->handle.reset(sf_open(path.c_str(), SFM_READ, &info));
  if (!file_->handle) {
    std::string cause = sf_strerror(nullptr);
    while (!cause.empty() && (cause.back() == '.' || cause.back() == '\n')) cause.pop_back();
    throw UnknownSoundFormat(path, "", "cannot be read as a sound file: " + cause,
                             "give a WAV, AIFF or FLAC file");
  }
  if (IsCutOff(file_->handle.get())) {
    throw FileError(path, "data", "the file ends before its samples do", "save it again");
  }
  if (info.channels > maxChannels) {
    throw FileError(path, "header",
                    std::to_string(info.channels) + " channels, of which at most " +
                        std::to_string(maxChannels) + " can be taken",
                    "give a file of fewer channels");
  }
  channels_ = info.channels;
  sampleRate_ = info.samplerate;
  frames_ = info.frames;
  rootNote_ = RootNoteOf(file_->handle.get(), info.format);
}

AudioFileReader::~AudioFileReader() = default;

std::int64_t AudioFileReader::Read(float* interleaved, std::int64_t frames) {
  const std::int64_t got = sf_readf_float(file_->handle.get(), interleaved, frames);
  if (sf_error(file_->handle.get()) != SF_ERR_NO_ERROR) {
    throw FileError(path_, "frame " + std::to_string(position_ + got),
                    sf_strerror(file_->handle.get()), "save it again");
  }
  for (std::int64_t i = 0; i < got * channels_; ++i) {
    if (!std::isfinite(interleaved[i])) {
      throw FileError(path_,
                      "frame " + std::to_string(position_ + i / channels_) + ", channel " +
                          std::to_string(i % channels_ + 1),
                      "the sample is no finite number", "save it again");
    }
  }
  position_ += got;
  return got;
}

struct AudioFileWriter::File {
  Handle handle;
};

AudioFileWriter::AudioFileWriter(const std::string& path, int channels, int sampleRate,
                                 std::int64_t frames, SampleFormat format,
                                 const std::optional<SampleKey>& key)
    : path_(path), file_(std::make_unique<File>()) {
  std::error_code error;
  const fs::path resolved = fs::weakly_canonical(fs::absolute(path, error), error);
  target_ = error ? path : resolved.string();
  if (fs::exists(target_, error) && !fs::is_regular_file(target_, error)) {
    throw FileError(path, "", "is no regular file", "name a WAV file");
  }
  temporary_ = MakeTemporary(path, target_);

  SF_INFO info = {};
  info.channels = channels;
  info.samplerate = sampleRate;
  const std::int64_t bytes = frames * channels * static_cast<std::int64_t>(sizeof(float));
  info.format = (bytes > kLargestPlainWav ? SF_FORMAT_RF64 : SF_FORMAT_WAV) |
                (format == SampleFormat::kFloat32 ? SF_FORMAT_FLOAT : SF_FORMAT_PCM_24);
  file_->handle.reset(sf_open(temporary_.c_str(), SFM_WRITE, &info));
  if (!file_->handle) {
    const std::string cause = sf_strerror(nullptr);
    fs::remove(temporary_, error);
    throw FileError(path, "", "cannot be written: " + cause);
  }
  // The peak chunk carries the time of day.
  sf_command(file_->handle.get(), SFC_SET_ADD_PEAK_CHUNK, nullptr, SF_FALSE);
  sf_command(file_->handle.get(), SFC_SET_CLIPPING, nullptr, SF_TRUE);
  if (key) SetKey(file_->handle.get(), *key, sampleRate);
}

AudioFileWriter::~AudioFileWriter() {
  file_->handle.reset();
  std::error_code error;
  if (!temporary_.empty()) fs::remove(temporary_, error);
}

void AudioFileWriter::Write(const float* interleaved, std::int64_t frames) {
  if (sf_writef_float(file_->handle.get(), interleaved, frames) != frames) {
    throw FileError(path_, "",
                    std::string("cannot be written: ") + sf_strerror(file_->handle.get()),
                    "make room or choose another place");
  }
}

void AudioFileWriter::Commit() {
  sf_write_sync(file_->handle.get());
  if (sf_close(file_->handle.release()) != 0) {
    throw FileError(path_, "", "cannot be written to its end", "make room or choose another place");
  }
  if (!platform::ReplaceFile(temporary_, target_)) {
    throw FileError(path_, "", std::string("cannot be put in place: ") + std::strerror(errno),
                    "choose another place");
  }
  temporary_.clear();
}

}  // namespace halveron::media
