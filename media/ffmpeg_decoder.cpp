#include "media/ffmpeg_decoder.h"

#include <algorithm>
#include <cmath>
#include <new>

#include "media/ffmpeg_parts.h"
#include "platform/file_error.h"

namespace halveron::media {

using platform::FileError;

namespace {

constexpr int kMostChannels = 64;
constexpr int kMostRate = 768000;  // hertz

/// Whether a stop was requested; FFmpeg asks this while it blocks.
int IsStopped(void* stop) { return static_cast<std::stop_token*>(stop)->stop_requested() ? 1 : 0; }

}  // namespace

struct FfmpegDecoder::State {
  State(const FfmpegSource& from, std::stop_token stopToken)
      : name(from.name.empty() ? from.url : from.name), stop(std::move(stopToken)) {
    QuietFfmpeg();
    OpenFormat(from);
    OpenCodec();
    packet.reset(av_packet_alloc());
    frame.reset(av_frame_alloc());
    if (!packet || !frame) throw std::bad_alloc();
  }

  [[noreturn]] void Fail(const std::string& cause, const std::string& remedy = {}) const {
    if (stop.stop_requested()) throw FileError(name, "", "reading was stopped");
    throw FileError(name, "", cause, remedy);
  }

  void OpenFormat(const FfmpegSource& from) {
    AVFormatContext* raw = avformat_alloc_context();
    if (!raw) throw std::bad_alloc();
    raw->interrupt_callback = {IsStopped, &stop};
    AVDictionary* options = nullptr;
    for (const auto& [key, value] : from.options) {
      av_dict_set(&options, key.c_str(), value.c_str(), 0);
    }
    const int opened = avformat_open_input(&raw, from.url.c_str(), nullptr, &options);
    av_dict_free(&options);
    // On failure the context is freed already.
    if (opened == AVERROR_INVALIDDATA) Fail("cannot be read as sound", "give a sound file");
    if (opened < 0) Fail("cannot be read as sound: " + FfmpegErrorText(opened));
    format.reset(raw);
    const int found = avformat_find_stream_info(raw, nullptr);
    if (found < 0) Fail("cannot be read as sound: " + FfmpegErrorText(found));
  }

  void OpenCodec() {
    const AVCodec* decoder = nullptr;
    stream = av_find_best_stream(format.get(), AVMEDIA_TYPE_AUDIO, -1, -1, &decoder, 0);
    if (stream < 0 || !decoder) Fail("has no sound in it that can be decoded");
    ChooseStream(*format, stream);
    codec.reset(avcodec_alloc_context3(decoder));
    if (!codec) throw std::bad_alloc();
    int result = avcodec_parameters_to_context(codec.get(), format->streams[stream]->codecpar);
    if (result >= 0) result = avcodec_open2(codec.get(), decoder, nullptr);
    if (result < 0) Fail("cannot be decoded: " + FfmpegErrorText(result));
    channels = codec->ch_layout.nb_channels;
    sampleRate = codec->sample_rate;
    if (channels < 1 || channels > kMostChannels || sampleRate < 1 || sampleRate > kMostRate) {
      Fail("has " + std::to_string(channels) + " channels at " + std::to_string(sampleRate) +
           " Hz, which is out of range");
    }
    converter.SetTarget(channels, sampleRate);
  }

  void Convert() {
    ready.clear();
    taken = 0;
    const int result = converter.Append(*frame, ready);
    if (result < 0) Fail("cannot be converted: " + FfmpegErrorText(result));
    for (const float sample : ready) {
      if (!std::isfinite(sample)) Fail("a sample is no finite number", "save it again");
    }
  }

  /// Fills `ready` with what the next frame holds; false at the end.
  bool DecodeMore() {
    for (;;) {
      const int received = avcodec_receive_frame(codec.get(), frame.get());
      if (received == 0) {
        damaged = 0;
        Convert();
        av_frame_unref(frame.get());
        if (!ready.empty()) return true;
        continue;
      }
      if (received == AVERROR_EOF) return false;
      if (received != AVERROR(EAGAIN)) Fail("cannot be decoded: " + FfmpegErrorText(received));
      SendPacket();
    }
  }

  void SendPacket() {
    int result = 0;
    do {
      av_packet_unref(packet.get());
      result = av_read_frame(format.get(), packet.get());
    } while (result >= 0 && packet->stream_index != stream);
    if (result < 0 && result != AVERROR_EOF) Fail("cannot be read: " + FfmpegErrorText(result));
    const bool isEnd = result == AVERROR_EOF;
    result = avcodec_send_packet(codec.get(), isEnd ? nullptr : packet.get());
    av_packet_unref(packet.get());
    // A damaged packet costs its own samples only; so do players treat it.
    if (result == AVERROR_INVALIDDATA && ++damaged <= kMostDamaged) return;
    if (result < 0 && result != AVERROR_EOF) Fail("cannot be decoded: " + FfmpegErrorText(result));
  }

  static constexpr int kMostDamaged = 100;  // packets in a row

  std::string name;
  std::stop_token stop;
  FfmpegHandle<AVFormatContext> format;
  FfmpegHandle<AVCodecContext> codec;
  FfmpegHandle<AVPacket> packet;
  FfmpegHandle<AVFrame> frame;
  FrameConverter converter;
  int stream = -1;
  int channels = 0;
  int sampleRate = 0;
  int damaged = 0;
  std::vector<float> ready;
  std::size_t taken = 0;  // values of `ready` that were handed out
};

FfmpegDecoder::FfmpegDecoder(const FfmpegSource& source, std::stop_token stop)
    : state_(std::make_unique<State>(source, std::move(stop))) {}

FfmpegDecoder::~FfmpegDecoder() = default;

int FfmpegDecoder::Channels() const { return state_->channels; }

int FfmpegDecoder::SampleRate() const { return state_->sampleRate; }

std::int64_t FfmpegDecoder::Frames() const {
  const std::int64_t duration = state_->format->duration;
  if (duration == AV_NOPTS_VALUE || duration < 0) return -1;
  return av_rescale(duration, state_->sampleRate, AV_TIME_BASE);
}

std::int64_t FfmpegDecoder::Read(float* interleaved, std::int64_t frames) {
  State& state = *state_;
  if (state.stop.stop_requested()) state.Fail("");
  const auto channels = static_cast<std::size_t>(state.channels);
  std::size_t done = 0;
  const std::size_t wanted = static_cast<std::size_t>(std::max<std::int64_t>(frames, 0)) * channels;
  while (done < wanted) {
    if (state.taken == state.ready.size() && !state.DecodeMore()) break;
    const std::size_t count = std::min(wanted - done, state.ready.size() - state.taken);
    std::copy_n(state.ready.begin() + static_cast<std::ptrdiff_t>(state.taken), count,
                interleaved + done);
    state.taken += count;
    done += count;
  }
  return static_cast<std::int64_t>(done / channels);
}

std::string FfmpegDecoder::Tag(const char* key) const {
  const AVFormatContext& format = *state_->format;
  for (AVDictionary* tags : {format.streams[state_->stream]->metadata, format.metadata}) {
    if (const AVDictionaryEntry* entry = av_dict_get(tags, key, nullptr, 0)) return entry->value;
  }
  return {};
}

}  // namespace halveron::media
