#include "media/stream_decoder.h"

#include <algorithm>
#include <array>
#include <cctype>
#include <chrono>
#include <cmath>
#include <cstring>
#include <exception>
#include <limits>

#include "media/ffmpeg_parts.h"
#include "platform/file_error.h"

namespace halveron::media {

using platform::FileError;

namespace {

constexpr int kInputBytes = 1 << 14;
constexpr std::int64_t kProbeBytes = 1 << 18;
constexpr std::int64_t kProbeMicroseconds = 3'000'000;
constexpr int kLowestRate = 1000, kHighestRate = 768000, kMostChannels = 64;
constexpr int kMostDamagedPieces = 200;  // in a row
constexpr float kLoudest = 8.0f;
constexpr std::chrono::seconds kPatience{20};

/// What holds sound alone or one sound among others; none that leads elsewhere, but live playlists.
constexpr const char* kForms =
    "aac,ac3,aiff,amr,ape,asf,au,caf,flac,flv,loas,matroska,webm,mov,mp4,m4a,mp3,mpegts,mpc,mpc8,"
    "ogg,"
    "tta,w64,wav,wv";
constexpr const char* kLiveForms = "hls,aac,ac3,flac,mov,mp4,m4a,mp3,mpegts";

std::int64_t NumberOf(AVDictionary* options, const char* key, std::int64_t fallback) {
  const AVDictionaryEntry* const entry = av_dict_get(options, key, nullptr, 0);
  return entry ? std::strtoll(entry->value, nullptr, 10) : fallback;
}

}  // namespace

struct StreamDecoder::State {
  /// A source as the library reads it. What the source throws is kept until the library is back.
  struct Input {
    Input(std::unique_ptr<ByteSource> bytes, State* state)
        : source(std::move(bytes)), owner(state) {
      auto* const memory = static_cast<std::uint8_t*>(av_malloc(kInputBytes));
      const bool isSeekable = source->Size() >= 0;
      context = avio_alloc_context(memory, kInputBytes, 0, this, &ReadBytes, nullptr,
                                   isSeekable ? &SeekBytes : nullptr);
      if (context) context->seekable = isSeekable ? AVIO_SEEKABLE_NORMAL : 0;
    }
    ~Input() {
      if (context) av_freep(&context->buffer);
      avio_context_free(&context);
    }
    Input(const Input&) = delete;
    Input& operator=(const Input&) = delete;

    static int ReadBytes(void* self, std::uint8_t* target, int size) {
      auto& input = *static_cast<Input*>(self);
      if (input.owner->stop.stop_requested()) return AVERROR_EXIT;
      try {
        const std::size_t count =
            input.source->Read(std::span(target, static_cast<std::size_t>(size)));
        return count > 0 ? static_cast<int>(count) : AVERROR_EOF;
      } catch (...) {
        input.owner->failure = std::current_exception();
        return AVERROR(EIO);
      }
    }
    static std::int64_t SeekBytes(void* self, std::int64_t offset, int whence) {
      auto& input = *static_cast<Input*>(self);
      if (whence == AVSEEK_SIZE) return input.source->Size();
      if ((whence & ~AVSEEK_FORCE) != SEEK_SET) return AVERROR(EINVAL);
      return input.source->Seek(offset) ? offset : AVERROR(EIO);
    }

    std::unique_ptr<ByteSource> source;
    State* owner;
    AVIOContext* context = nullptr;
  };

  static int OpenPiece(AVFormatContext* format, AVIOContext** target, const char* address, int,
                       AVDictionary** options) {
    auto& state = *static_cast<State*>(format->opaque);
    if (!state.opener) return AVERROR(EPERM);
    try {
      AVDictionary* const given = options ? *options : nullptr;
      const std::int64_t first = NumberOf(given, "offset", 0);
      const std::int64_t end = NumberOf(given, "end_offset", 0);
      auto input =
          std::make_unique<Input>(state.opener(address, first, end > 0 ? end - 1 : -1), &state);
      if (!input->context) return AVERROR(ENOMEM);
      // Pieces are read from their start to their end.
      input->context->seekable = 0;
      *target = input.release()->context;
      return 0;
    } catch (...) {
      // The next one may come; what comes of it is the library's decision.
      return state.stop.stop_requested() ? AVERROR_EXIT : AVERROR(EIO);
    }
  }
  static int ClosePiece(AVFormatContext*, AVIOContext* context) {
    delete static_cast<Input*>(context->opaque);
    return 0;
  }

  [[noreturn]] void Fail(const std::string& cause, const std::string& remedy = {}) const {
    if (failure) std::rethrow_exception(failure);
    if (stop.stop_requested()) throw FileError(name, "", "stopped");
    throw FileError(name, "", cause, remedy);
  }

  /// A live playlist may send its reader from piece to piece without ever giving sound.
  bool MustEnd() const {
    return stop.stop_requested() || std::chrono::steady_clock::now() > deadline;
  }

  void Open(std::unique_ptr<ByteSource> source);
  void OpenCodec();
  void Convert();
  bool Decode();
  /// Samples at the start of the frame at hand that lie before the place that was searched for.
  int SamplesToSkip();
  AVStream& Stream() const { return *format->streams[index]; }

  std::string name;
  std::stop_token stop;
  Opener opener;
  std::exception_ptr failure;
  std::chrono::steady_clock::time_point deadline = std::chrono::steady_clock::now() + kPatience;
  std::unique_ptr<Input> input;
  FfmpegHandle<AVFormatContext> format;  // before the input in destruction
  FfmpegHandle<AVCodecContext> codec;
  FfmpegHandle<AVPacket> packet{av_packet_alloc()};
  FfmpegHandle<AVFrame> frame{av_frame_alloc()};
  FrameConverter converter;
  int index = -1;
  int channels = 0;
  int rate = 0;
  int damaged = 0;
  bool isDrained = false;
  double skipsTo = 0.0;  // seconds; what a search for a place finds begins before it
  std::vector<float> ready;
  std::size_t taken = 0;  // floats of what is ready
};

void StreamDecoder::State::Open(std::unique_ptr<ByteSource> source) {
  input = std::make_unique<Input>(std::move(source), this);
  AVFormatContext* context = avformat_alloc_context();
  if (!context || !input->context || !packet || !frame) Fail("out of memory");
  context->pb = input->context;
  context->flags |= AVFMT_FLAG_CUSTOM_IO;
  context->opaque = this;
  context->io_open = &OpenPiece;
  context->io_close2 = &ClosePiece;
  context->probesize = kProbeBytes;
  context->max_analyze_duration = kProbeMicroseconds;
  context->interrupt_callback = {
      [](void* self) { return static_cast<State*>(self)->MustEnd() ? 1 : 0; }, this};
  context->format_whitelist = av_strdup(opener ? kLiveForms : kForms);
  AVDictionary* options = nullptr;
  if (opener) {
    // Each piece comes by a source of its own.
    av_dict_set(&options, "http_persistent", "0", 0);
    av_dict_set(&options, "http_multiple", "0", 0);
  }
  const AVInputFormat* const form = opener ? av_find_input_format("hls") : nullptr;
  // A failure frees the context.
  const int opened = avformat_open_input(&context, opener ? name.c_str() : nullptr, form, &options);
  av_dict_free(&options);
  if (opened < 0) Fail("holds no sound that can be read", "choose another one");
  format.reset(context);
  if (avformat_find_stream_info(context, nullptr) < 0) Fail("holds no sound that can be read");
  index = av_find_best_stream(context, AVMEDIA_TYPE_AUDIO, -1, -1, nullptr, 0);
  if (index < 0) Fail("holds no sound", "choose another one");
  ChooseStream(*context, index);
  OpenCodec();
}

void StreamDecoder::State::OpenCodec() {
  const AVCodecParameters& parameters = *Stream().codecpar;
  const AVCodec* const decoder = avcodec_find_decoder(parameters.codec_id);
  if (!decoder) Fail("its sound is in a form that is not known here");
  codec.reset(avcodec_alloc_context3(decoder));
  if (!codec || avcodec_parameters_to_context(codec.get(), &parameters) < 0) Fail("out of memory");
  codec->pkt_timebase = Stream().time_base;
  codec->thread_count = 1;
  if (avcodec_open2(codec.get(), decoder, nullptr) < 0) Fail("its sound cannot be decoded");
  // Some forms say what they are in their first frame only.
  while (ready.empty() && Decode()) {
  }
  if (rate == 0) Fail("holds no sound that can be decoded", "choose another one");
}

int StreamDecoder::State::SamplesToSkip() {
  if (skipsTo <= 0.0) return 0;
  const std::int64_t stamp = frame->best_effort_timestamp;
  if (stamp != AV_NOPTS_VALUE) {
    const std::int64_t start = Stream().start_time == AV_NOPTS_VALUE ? 0 : Stream().start_time;
    const double time = static_cast<double>(stamp - start) * av_q2d(Stream().time_base);
    const double samples = (skipsTo - time) * frame->sample_rate;
    if (samples >= frame->nb_samples) return frame->nb_samples;
    skipsTo = 0.0;
    return samples > 0.0 ? static_cast<int>(samples) : 0;
  }
  skipsTo = 0.0;
  return 0;
}

/// Puts the frame at hand behind what is ready.
void StreamDecoder::State::Convert() {
  if (frame->nb_samples <= 0) return;
  const int skipped = SamplesToSkip();
  if (skipped == frame->nb_samples) return;
  const int frameChannels = frame->ch_layout.nb_channels;
  if (frame->sample_rate < kLowestRate || frame->sample_rate > kHighestRate || frameChannels < 1 ||
      frameChannels > kMostChannels) {
    ++damaged;
    return;
  }
  if (rate == 0) {
    rate = frame->sample_rate;
    channels = frameChannels == 1 ? 1 : 2;
    converter.SetTarget(channels, rate);
  }
  const std::size_t before = ready.size();
  if (converter.Append(*frame, ready) < 0) {
    ++damaged;
    return;
  }
  const bool isSound = ready.size() > before;
  const std::size_t dropped =
      std::min(static_cast<std::size_t>(skipped * channels), ready.size() - before);
  ready.erase(ready.begin() + static_cast<std::ptrdiff_t>(before),
              ready.begin() + static_cast<std::ptrdiff_t>(before + dropped));
  for (std::size_t i = before; i < ready.size(); ++i) {
    ready[i] = std::isfinite(ready[i]) ? std::clamp(ready[i], -kLoudest, kLoudest) : 0.0f;
  }
  if (isSound) damaged = 0;
}

/// Decodes one piece; false at the end.
bool StreamDecoder::State::Decode() {
  if (isDrained) return false;
  deadline = std::chrono::steady_clock::now() + kPatience;
  const int read = av_read_frame(format.get(), packet.get());
  if (stop.stop_requested() || (read < 0 && failure)) Fail("stopped");
  if (read == AVERROR_EOF) {
    isDrained = true;
    avcodec_send_packet(codec.get(), nullptr);
  } else if (read < 0) {
    Fail("cannot be read on: " + FfmpegErrorText(read));
  } else if (packet->stream_index == index) {
    if (avcodec_send_packet(codec.get(), packet.get()) < 0) ++damaged;
  }
  av_packet_unref(packet.get());
  while (avcodec_receive_frame(codec.get(), frame.get()) >= 0) {
    Convert();
    av_frame_unref(frame.get());
  }
  if (damaged > kMostDamagedPieces) Fail("nothing in it can be decoded");
  return true;
}

StreamDecoder::StreamDecoder(std::unique_ptr<ByteSource> source, const std::string& name,
                             std::stop_token stop, Opener opener)
    : state_(std::make_unique<State>()) {
  QuietFfmpeg();
  state_->name = name;
  state_->stop = std::move(stop);
  state_->opener = std::move(opener);
  state_->Open(std::move(source));
}

StreamDecoder::~StreamDecoder() = default;

int StreamDecoder::Channels() const { return state_->channels; }
int StreamDecoder::SampleRate() const { return state_->rate; }

double StreamDecoder::Seconds() const {
  const std::int64_t duration = state_->format->duration;
  return duration > 0 ? static_cast<double>(duration) / AV_TIME_BASE : 0.0;
}

std::string StreamDecoder::FormatName() const {
  const AVCodecID id = state_->codec->codec_id;
  std::string name = avcodec_get_name(id);
  if (name.starts_with("pcm_")) name = state_->format->iformat->name;
  name = name.substr(0, name.find(','));
  std::transform(name.begin(), name.end(), name.begin(),
                 [](unsigned char letter) { return static_cast<char>(std::toupper(letter)); });
  return name;
}

std::vector<std::string> StreamDecoder::Comments() const {
  std::vector<std::string> comments;
  if (std::strcmp(state_->format->iformat->name, "ogg") != 0) return comments;
  const AVDictionaryEntry* entry = nullptr;
  const AVDictionary* const all = state_->Stream().metadata;
  while ((entry = av_dict_get(all, "", entry, AV_DICT_IGNORE_SUFFIX))) {
    comments.push_back(std::string(entry->key) + "=" + entry->value);
  }
  return comments;
}

bool StreamDecoder::HasNewComments() {
  int& flags = state_->Stream().event_flags;
  const bool isNew = (flags & AVSTREAM_EVENT_FLAG_METADATA_UPDATED) != 0;
  flags &= ~AVSTREAM_EVENT_FLAG_METADATA_UPDATED;
  return isNew;
}

std::size_t StreamDecoder::Read(float* interleaved, std::size_t frames) {
  State& state = *state_;
  const std::size_t wanted = frames * static_cast<std::size_t>(state.channels);
  if (wanted == 0) return 0;
  while (state.taken == state.ready.size()) {
    state.ready.clear();
    state.taken = 0;
    if (!state.Decode()) {
      if (state.ready.empty()) return 0;
    }
  }
  const std::size_t count = std::min(wanted, state.ready.size() - state.taken);
  std::copy_n(state.ready.begin() + static_cast<std::ptrdiff_t>(state.taken), count, interleaved);
  state.taken += count;
  return count / static_cast<std::size_t>(state.channels);
}

bool StreamDecoder::Seek(double seconds) {
  State& state = *state_;
  if (!(seconds >= 0.0) || seconds > 1e9) return false;
  const auto time = static_cast<std::int64_t>(seconds * AV_TIME_BASE);
  if (avformat_seek_file(state.format.get(), -1, std::numeric_limits<std::int64_t>::min(), time,
                         time, 0) < 0) {
    return false;
  }
  avcodec_flush_buffers(state.codec.get());
  state.ready.clear();
  state.taken = 0;
  state.isDrained = false;
  state.skipsTo = seconds;
  return true;
}

}  // namespace halveron::media
