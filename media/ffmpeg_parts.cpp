#include "media/ffmpeg_parts.h"

#include <algorithm>
#include <array>

namespace halveron::media {

std::string FfmpegErrorText(int code) {
  std::array<char, AV_ERROR_MAX_STRING_SIZE> text{};
  av_strerror(code, text.data(), text.size());
  return text.data();
}

void QuietFfmpeg() {
  if (av_log_get_level() == AV_LOG_INFO) av_log_set_level(AV_LOG_QUIET);
}

void ChooseStream(AVFormatContext& format, int stream) {
  for (unsigned i = 0; i < format.nb_streams; ++i) {
    if (static_cast<int>(i) != stream) format.streams[i]->discard = AVDISCARD_ALL;
  }
}

FrameConverter::~FrameConverter() { av_channel_layout_uninit(&takenLayout_); }

void FrameConverter::SetTarget(int channels, int rate) {
  channels_ = channels;
  rate_ = rate;
}

int FrameConverter::FitTo(const AVFrame& frame) {
  if (resampler_ && takenRate_ == frame.sample_rate && takenForm_ == frame.format &&
      av_channel_layout_compare(&takenLayout_, &frame.ch_layout) == 0) {
    return 0;
  }
  const int count = frame.ch_layout.nb_channels;
  AVChannelLayout from{}, to{};
  av_channel_layout_default(&to, channels_);
  if (frame.ch_layout.order != AV_CHANNEL_ORDER_UNSPEC && count != channels_) {
    av_channel_layout_copy(&from, &frame.ch_layout);
  } else {
    // Equal layouts: channels pass as they are, whatever they are called.
    av_channel_layout_default(&from, count);
  }
  SwrContext* made = nullptr;
  int result =
      swr_alloc_set_opts2(&made, &to, AV_SAMPLE_FMT_FLT, rate_, &from,
                          static_cast<AVSampleFormat>(frame.format), frame.sample_rate, 0, nullptr);
  resampler_.reset(made);
  av_channel_layout_uninit(&from);
  av_channel_layout_uninit(&to);
  if (result >= 0) result = swr_init(made);
  if (result < 0) {
    resampler_.reset();
    return result;
  }
  av_channel_layout_copy(&takenLayout_, &frame.ch_layout);
  takenRate_ = frame.sample_rate;
  takenForm_ = frame.format;
  return 0;
}

int FrameConverter::Append(const AVFrame& frame, std::vector<float>& target) {
  if (const int result = FitTo(frame); result < 0) return result;
  const int room = swr_get_out_samples(resampler_.get(), frame.nb_samples);
  if (room < 0) return room;
  const auto channels = static_cast<std::size_t>(channels_);
  const std::size_t before = target.size();
  target.resize(before + static_cast<std::size_t>(room) * channels);
  auto* out = reinterpret_cast<std::uint8_t*>(target.data() + before);
  const int made =
      swr_convert(resampler_.get(), &out, room,
                  const_cast<const std::uint8_t**>(frame.extended_data), frame.nb_samples);
  target.resize(before + static_cast<std::size_t>(std::max(made, 0)) * channels);
  return std::min(made, 0);
}

}  // namespace halveron::media
