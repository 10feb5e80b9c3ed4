// What every decoder over FFmpeg is made of: handles, and frames made into floats.
#pragma once

extern "C" {
#include <libavcodec/avcodec.h>
#include <libavformat/avformat.h>
#include <libswresample/swresample.h>
}

#include <memory>
#include <string>
#include <vector>

namespace halveron::media {

struct FfmpegDeleter {
  void operator()(AVFormatContext* format) const { avformat_close_input(&format); }
  void operator()(AVCodecContext* codec) const { avcodec_free_context(&codec); }
  void operator()(SwrContext* resampler) const { swr_free(&resampler); }
  void operator()(AVPacket* packet) const { av_packet_free(&packet); }
  void operator()(AVFrame* frame) const { av_frame_free(&frame); }
};
template <class T>
using FfmpegHandle = std::unique_ptr<T, FfmpegDeleter>;

/// What an error code of the library means.
std::string FfmpegErrorText(int code);

/// Keeps the library's messages off the standard error stream, which is the host's. A host that has
/// set the level uses the library itself.
void QuietFfmpeg();

/// Leaves one stream of a source on; the others are not decoded.
void ChooseStream(AVFormatContext& format, int stream);

/// Makes frames of any form into interleaved floats of one rate and number of channels. The form
/// may change from frame to frame.
class FrameConverter {
 public:
  FrameConverter() = default;
  ~FrameConverter();
  FrameConverter(const FrameConverter&) = delete;
  FrameConverter& operator=(const FrameConverter&) = delete;

  /// What comes out, before the first frame.
  void SetTarget(int channels, int rate);
  /// Puts a frame's samples behind `target`. 0, or an error code of the library.
  int Append(const AVFrame& frame, std::vector<float>& target);

 private:
  int FitTo(const AVFrame& frame);

  int channels_ = 0;
  int rate_ = 0;
  FfmpegHandle<SwrContext> resampler_;
  AVChannelLayout takenLayout_{};
  int takenRate_ = 0;
  int takenForm_ = -1;
};

}  // namespace halveron::media
