// A station's sound, from its address.
#pragma once

#include <memory>
#include <stop_token>
#include <string>

#include "media/http_stream.h"
#include "media/stream_decoder.h"
#include "media/stream_title.h"

namespace halveron::media {

/// What the head of a station's answer says.
struct StationHeaders {
  std::string name{};  ///< of "icy-name:"
  std::string url{};   ///< of "icy-url:"
};

StationHeaders StationHeadersOf(const std::vector<std::string>& lines);

/// Opens a station: a stream as such, a playlist that leads to one, or a live playlist in pieces.
/// What it is shows in its bytes, whatever the server calls it. For workers: every call waits.
class RadioStream {
 public:
  /// `request` with the station's address; its times hold for each connection. Throws
  /// platform::UserError, and once `stop` is requested, as Read does.
  RadioStream(HttpRequest request, std::stop_token stop);
  ~RadioStream();
  RadioStream(const RadioStream&) = delete;
  RadioStream& operator=(const RadioStream&) = delete;

  const StationHeaders& Headers() const { return headers_; }
  int Channels() const { return decoder_->Channels(); }      ///< 1 or 2
  int SampleRate() const { return decoder_->SampleRate(); }  ///< hertz

  /// As StreamDecoder::Read.
  std::size_t Read(float* interleaved, std::size_t frames);
  /// The title to show at present; may be empty.
  const std::string& Title() const { return title_; }

 private:
  class Connection;
  std::unique_ptr<Connection> Connect(const std::string& address, const std::string& range = {});
  bool OpenAddress(const std::string& address, int depth);
  std::unique_ptr<ByteSource> OpenPiece(const std::string& address, std::int64_t first,
                                        std::int64_t last);
  std::string TakePieceList(const std::string& text, const std::string& base);
  void UpdateTitle();

  HttpRequest request_;
  std::stop_token stop_;
  StationHeaders headers_;
  StreamTags tags_;
  std::string title_;
  struct PieceTitles;
  std::unique_ptr<PieceTitles> pieces_;
  std::unique_ptr<StreamDecoder> decoder_;
};

}  // namespace halveron::media
