#include "media/radio_stream.h"

#include <algorithm>
#include <array>
#include <cctype>
#include <exception>
#include <map>
#include <string_view>
#include <utility>

#include "media/playlist.h"

namespace halveron::media {

namespace {

constexpr int kMostPlaylists = 4;      // one leading to the next
constexpr std::size_t kMostTries = 4;  // entries of a playlist
constexpr std::size_t kMostPlaylistBytes = std::size_t{1} << 20;
constexpr std::size_t kMarkBytes = 64;  // in which the mark of a playlist is found
constexpr std::size_t kMostPieceTitles = 10000;

std::string AfterPrefix(const std::string& line, std::string_view prefix) {
  if (line.size() < prefix.size() ||
      !std::equal(prefix.begin(), prefix.end(), line.begin(),
                  [](char wanted, unsigned char found) { return wanted == std::tolower(found); })) {
    return {};
  }
  const auto first = line.find_first_not_of(" \t", prefix.size());
  if (first == std::string::npos) return {};
  return line.substr(first, line.find_last_not_of(" \t\r\n") - first + 1);
}

}  // namespace

StationHeaders StationHeadersOf(const std::vector<std::string>& lines) {
  StationHeaders headers;
  for (const std::string& line : lines) {
    if (headers.name.empty()) headers.name = AfterPrefix(line, "icy-name:");
    if (headers.url.empty()) headers.url = AfterPrefix(line, "icy-url:");
  }
  return headers;
}

/// An answer whose beginning has been looked at, without its in-band metadata.
class RadioStream::Connection final : public ByteSource {
 public:
  Connection(const HttpRequest& request, const std::stop_token& stop)
      : stream_(request, stop),
        filter_(static_cast<std::size_t>(
            std::clamp(std::atoi(stream_.Header("icy-metaint").c_str()), 0, 1 << 24))) {
    while (beginning_.size() < kMarkBytes) {
      std::array<std::uint8_t, kMarkBytes> piece{};
      const std::size_t count = ReadStream(piece);
      if (count == 0) break;
      beginning_.append(piece.begin(), piece.begin() + static_cast<std::ptrdiff_t>(count));
    }
  }

  std::size_t Read(std::span<std::uint8_t> target) override {
    const std::size_t waiting = beginning_.size() - taken_;
    if (waiting == 0) return ReadStream(target);
    const std::size_t count = std::min(waiting, target.size());
    std::copy_n(beginning_.begin() + static_cast<std::ptrdiff_t>(taken_), count, target.begin());
    taken_ += count;
    return count;
  }

  const HttpStream& Stream() const { return stream_; }
  bool IsPlaylist() const { return LooksLikePlaylist(beginning_); }
  std::optional<std::string> TakeText() { return filter_.TakeText(); }

  std::string ReadText() {
    std::string text;
    std::array<std::uint8_t, 4096> piece{};
    while (const std::size_t count = Read(piece)) {
      text.append(piece.begin(), piece.begin() + static_cast<std::ptrdiff_t>(count));
      if (text.size() > kMostPlaylistBytes) {
        throw StreamError(stream_.Address(), "", "the playlist is too long");
      }
    }
    return text;
  }

 private:
  std::size_t ReadStream(std::span<std::uint8_t> target) {
    while (const std::size_t count = stream_.Read(target)) {
      if (const std::size_t kept = filter_.Strip(target.first(count))) return kept;
    }
    return 0;
  }

  HttpStream stream_;
  IcyFilter filter_;
  std::string beginning_;
  std::size_t taken_ = 0;
};

/// "seconds,title" of the pieces of a live playlist, by address.
struct RadioStream::PieceTitles {
  std::map<std::string, std::string> titles;
  Connection* stream = nullptr;  ///< of a stream in one piece; the decoder owns it
};

RadioStream::RadioStream(HttpRequest request, std::stop_token stop)
    : request_(std::move(request)),
      stop_(std::move(stop)),
      pieces_(std::make_unique<PieceTitles>()) {
  request_.headers.emplace_back("Icy-MetaData: 1");
  if (!OpenAddress(request_.address, 0)) {
    throw StreamError(request_.address, "", "the playlist names no stream that answers",
                      "check the address");
  }
  UpdateTitle();
}

RadioStream::~RadioStream() = default;

std::unique_ptr<RadioStream::Connection> RadioStream::Connect(const std::string& address,
                                                              const std::string& range) {
  HttpRequest request = request_;
  request.address = address;
  request.range = range;
  return std::make_unique<Connection>(request, stop_);
}

bool RadioStream::OpenAddress(const std::string& address, int depth) {
  if (!IsWebAddress(address)) {
    throw StreamError(address, "", "is no web address", "write http:// or https:// before it");
  }
  std::unique_ptr<Connection> connection = Connect(address);
  const std::string origin = connection->Stream().Address();
  const StationHeaders headers = StationHeadersOf(connection->Stream().Headers());
  if (headers_.name.empty()) headers_.name = headers.name;
  if (headers_.url.empty()) headers_.url = headers.url;
  if (!connection->IsPlaylist()) {
    pieces_->stream = connection.get();
    decoder_ = std::make_unique<StreamDecoder>(std::move(connection), origin, stop_);
    return true;
  }
  const std::string text = connection->ReadText();
  const Playlist list = ReadPlaylist(text);
  if (list.kind == Playlist::Kind::kSegments) {
    const std::string pieces = TakePieceList(text, origin);
    decoder_ = std::make_unique<StreamDecoder>(
        std::make_unique<MemorySource>(std::vector<std::uint8_t>(pieces.begin(), pieces.end())),
        origin, stop_, [this](const std::string& piece, std::int64_t first, std::int64_t last) {
          return OpenPiece(piece, first, last);
        });
    return true;
  }
  if (depth == kMostPlaylists) throw StreamError(address, "", "playlists lead in a circle");
  std::exception_ptr failure;
  const std::size_t tries = std::min(list.entries.size(), kMostTries);
  for (std::size_t i = 0; i < tries; ++i) {
    try {
      if (OpenAddress(ResolveAddress(origin, list.entries[i].address), depth + 1)) return true;
    } catch (const platform::UserError&) {
      if (stop_.stop_requested()) throw;
      failure = std::current_exception();
    }
  }
  if (failure) std::rethrow_exception(failure);
  return false;
}

/// The text of a live playlist with whole addresses, however it was redirected; keeps its titles.
std::string RadioStream::TakePieceList(const std::string& text, const std::string& base) {
  std::string whole;
  std::string details;
  for (std::size_t at = 0; at < text.size();) {
    const auto end = std::min(text.find('\n', at), text.size());
    std::string line = text.substr(at, end - at);
    at = end + 1;
    if (!line.empty() && line.back() == '\r') line.pop_back();
    if (const std::string entry = AfterPrefix(line, "#extinf:"); !entry.empty()) {
      details = entry;
    } else if (!line.empty() && line.front() != '#') {
      const std::string address = ResolveAddress(base, line);
      if (!address.empty()) line = address;
      if (pieces_->titles.size() >= kMostPieceTitles) pieces_->titles.clear();
      pieces_->titles[line] = std::exchange(details, {});
    }
    whole += line + '\n';
  }
  return whole;
}

std::unique_ptr<ByteSource> RadioStream::OpenPiece(const std::string& address, std::int64_t first,
                                                   std::int64_t last) {
  if (!IsWebAddress(address)) throw StreamError(address, "", "is no web address");
  std::string range;
  if (first > 0 || last >= 0) {
    range = std::to_string(first) + "-" + (last >= 0 ? std::to_string(last) : std::string());
  }
  std::unique_ptr<Connection> connection = Connect(address, range);
  if (connection->IsPlaylist()) {
    const std::string text = TakePieceList(connection->ReadText(), connection->Stream().Address());
    return std::make_unique<MemorySource>(std::vector<std::uint8_t>(text.begin(), text.end()));
  }
  if (const auto found = pieces_->titles.find(address);
      found != pieces_->titles.end() && !found->second.empty()) {
    tags_.segment = found->second;
  }
  return connection;
}

std::size_t RadioStream::Read(float* interleaved, std::size_t frames) {
  const std::size_t count = decoder_->Read(interleaved, frames);
  UpdateTitle();
  return count;
}

void RadioStream::UpdateTitle() {
  if (pieces_->stream) {
    if (auto text = pieces_->stream->TakeText()) tags_.icy = std::move(text);
  }
  if (tags_.comments.empty() || decoder_->HasNewComments()) tags_.comments = decoder_->Comments();
  title_ = TitleOf(tags_, title_);
}

}  // namespace halveron::media
