#include "media/http_stream.h"

#include <curl/curl.h>

#include <algorithm>
#include <cctype>
#include <optional>

#include "platform/shared_library.h"

namespace halveron::media {

namespace {

constexpr long kMostRedirections = 8;
constexpr std::size_t kMostWaiting = std::size_t{1} << 18;  // bytes; more pauses the transfer
constexpr std::size_t kMostHeaderBytes = std::size_t{1} << 16;
constexpr int kPollMilliseconds = 1000;  // a stop request ends a poll at once
constexpr long kFirstBadStatus = 400;

struct ListFree {
  void operator()(curl_slist* list) const { curl_slist_free_all(list); }
};
using List = std::unique_ptr<curl_slist, ListFree>;

void Append(List& list, const std::string& line) {
  if (curl_slist* const longer = curl_slist_append(list.get(), line.c_str())) {
    (void)list.release();
    list.reset(longer);
  }
}

struct UrlFree {
  void operator()(CURLU* url) const { curl_url_cleanup(url); }
};

/// A look-up of a name that is stopped goes on by itself for a while, in code of this library.
void SetUpLibrary() {
  static const CURLcode result = [] {
    platform::KeepLoaded("libcurl-gnutls.so.4");
    return curl_global_init(CURL_GLOBAL_DEFAULT);
  }();
  if (result != CURLE_OK) throw StreamError("", "", curl_easy_strerror(result));
}

std::string LowerCase(std::string text) {
  std::transform(text.begin(), text.end(), text.begin(),
                 [](unsigned char letter) { return static_cast<char>(std::tolower(letter)); });
  return text;
}

}  // namespace

struct HttpStream::Transfer {
  struct Wake {
    CURLM* multi;
    void operator()() const { curl_multi_wakeup(multi); }
  };

  ~Transfer() {
    wake.reset();
    if (multi && easy) curl_multi_remove_handle(multi, easy);
    if (easy) curl_easy_cleanup(easy);
    if (multi) curl_multi_cleanup(multi);
  }

  CURLM* multi = nullptr;
  CURL* easy = nullptr;
  List headers;
  List goodAnswers;
  std::optional<std::stop_callback<Wake>> wake;
};

HttpStream::HttpStream(const HttpRequest& request, std::stop_token stop)
    : stop_(std::move(stop)),
      address_(request.address),
      stallTime_(request.stallTime),
      lastNews_(std::chrono::steady_clock::now()),
      transfer_(std::make_unique<Transfer>()) {
  SetUpLibrary();
  Transfer& transfer = *transfer_;
  transfer.multi = curl_multi_init();
  transfer.easy = curl_easy_init();
  if (!transfer.multi || !transfer.easy) Fail("out of memory");
  for (const std::string& line : request.headers) Append(transfer.headers, line);
  // What servers of this protocol's first years answer.
  Append(transfer.goodAnswers, "ICY 200 OK");
  CURL* const easy = transfer.easy;
  curl_easy_setopt(easy, CURLOPT_URL, request.address.c_str());
  curl_easy_setopt(easy, CURLOPT_PROTOCOLS_STR, "http,https");
  curl_easy_setopt(easy, CURLOPT_REDIR_PROTOCOLS_STR, "http,https");
  curl_easy_setopt(easy, CURLOPT_FOLLOWLOCATION, 1L);
  curl_easy_setopt(easy, CURLOPT_MAXREDIRS, kMostRedirections);
  curl_easy_setopt(easy, CURLOPT_USERAGENT, "Halveron");
  curl_easy_setopt(easy, CURLOPT_HTTPHEADER, transfer.headers.get());
  curl_easy_setopt(easy, CURLOPT_HTTP200ALIASES, transfer.goodAnswers.get());
  curl_easy_setopt(easy, CURLOPT_CONNECTTIMEOUT_MS, static_cast<long>(request.connectTime.count()));
  // The host's signal handlers are its own.
  curl_easy_setopt(easy, CURLOPT_NOSIGNAL, 1L);
  curl_easy_setopt(easy, CURLOPT_QUICK_EXIT, 1L);
  curl_easy_setopt(easy, CURLOPT_HEADERFUNCTION, &TakeHeader);
  curl_easy_setopt(easy, CURLOPT_HEADERDATA, this);
  curl_easy_setopt(easy, CURLOPT_WRITEFUNCTION, &TakeBytes);
  curl_easy_setopt(easy, CURLOPT_WRITEDATA, this);
  if (!request.range.empty()) curl_easy_setopt(easy, CURLOPT_RANGE, request.range.c_str());
  curl_multi_add_handle(transfer.multi, easy);
  transfer.wake.emplace(stop_, Transfer::Wake{transfer.multi});
  while (!headIsWhole_ && !isOver_) Advance();
  CheckAnswer();
}

HttpStream::~HttpStream() = default;

void HttpStream::CheckAnswer() const {
  long status = 0;
  curl_easy_getinfo(transfer_->easy, CURLINFO_RESPONSE_CODE, &status);
  if (status < kFirstBadStatus) return;
  throw HttpRefusal(address_, static_cast<int>(status));
}

void HttpStream::Fail(const std::string& cause, const std::string& remedy) const {
  throw StreamError(address_, "", cause, remedy);
}

std::size_t HttpStream::TakeHeader(char* text, std::size_t size, std::size_t count, void* self) {
  auto& stream = *static_cast<HttpStream*>(self);
  std::string line(text, size * count);
  while (!line.empty() && (line.back() == '\n' || line.back() == '\r')) line.pop_back();
  stream.lastNews_ = std::chrono::steady_clock::now();
  if (line.starts_with("HTTP/") || line.starts_with("ICY ")) {
    stream.headers_.clear();  // each redirection brings a head of its own
    return size * count;
  }
  if (line.empty()) {
    long status = 0;
    curl_easy_getinfo(stream.transfer_->easy, CURLINFO_RESPONSE_CODE, &status);
    const bool isRedirection = status >= 300 && status < kFirstBadStatus;
    const bool isInterim = status >= 100 && status < 200;
    stream.headIsWhole_ = !isRedirection && !isInterim;
    const char* address = nullptr;
    curl_easy_getinfo(stream.transfer_->easy, CURLINFO_EFFECTIVE_URL, &address);
    if (address) stream.address_ = address;
    return size * count;
  }
  std::size_t bytes = line.size();
  for (const std::string& other : stream.headers_) bytes += other.size();
  if (bytes > kMostHeaderBytes) return 0;
  stream.headers_.push_back(std::move(line));
  return size * count;
}

std::size_t HttpStream::TakeBytes(char* bytes, std::size_t size, std::size_t count, void* self) {
  auto& stream = *static_cast<HttpStream*>(self);
  if (stream.waiting_.size() >= kMostWaiting) {
    stream.isPaused_ = true;
    return CURL_WRITEFUNC_PAUSE;
  }
  stream.headIsWhole_ = true;
  stream.lastNews_ = std::chrono::steady_clock::now();
  stream.waiting_.insert(stream.waiting_.end(), bytes, bytes + size * count);
  return size * count;
}

void HttpStream::Advance() {
  if (stop_.stop_requested()) Fail("stopped");
  int running = 0;
  const bool hadNews = headIsWhole_;
  const std::size_t hadBytes = waiting_.size();
  if (curl_multi_perform(transfer_->multi, &running) != CURLM_OK) Fail("the connection failed");
  int left = 0;
  while (const CURLMsg* const message = curl_multi_info_read(transfer_->multi, &left)) {
    if (message->msg != CURLMSG_DONE) continue;
    isOver_ = true;
    const CURLcode result = message->data.result;
    if (result != CURLE_OK) Fail(curl_easy_strerror(result), "check the address and the network");
  }
  if (isOver_ || headIsWhole_ != hadNews || waiting_.size() != hadBytes) return;
  const auto silence = std::chrono::duration_cast<std::chrono::milliseconds>(
      std::chrono::steady_clock::now() - lastNews_);
  if (silence >= stallTime_) Fail("nothing has come for too long");
  const auto patience = std::min<std::int64_t>((stallTime_ - silence).count(), kPollMilliseconds);
  curl_multi_poll(transfer_->multi, nullptr, 0,
                  static_cast<int>(std::max<std::int64_t>(patience, 1)), nullptr);
}

std::size_t HttpStream::Read(std::span<std::uint8_t> target) {
  if (target.empty()) return 0;
  while (taken_ == waiting_.size()) {
    waiting_.clear();
    taken_ = 0;
    if (isOver_) return 0;
    if (isPaused_) {
      isPaused_ = false;
      lastNews_ = std::chrono::steady_clock::now();
      curl_easy_pause(transfer_->easy, CURLPAUSE_CONT);
    }
    if (waiting_.empty()) Advance();
  }
  const std::size_t count = std::min(target.size(), waiting_.size() - taken_);
  std::copy_n(waiting_.begin() + static_cast<std::ptrdiff_t>(taken_), count, target.begin());
  taken_ += count;
  return count;
}

std::string HttpStream::Header(const std::string& name) const {
  for (const std::string& line : headers_) {
    const auto colon = line.find(':');
    if (colon == std::string::npos || LowerCase(line.substr(0, colon)) != name) continue;
    const auto first = line.find_first_not_of(" \t", colon + 1);
    if (first == std::string::npos) return {};
    return line.substr(first, line.find_last_not_of(" \t") - first + 1);
  }
  return {};
}

std::vector<std::uint8_t> Download(const HttpRequest& request, std::stop_token stop,
                                   std::size_t mostBytes, std::chrono::milliseconds longest) {
  const auto end = std::chrono::steady_clock::now() + longest;
  HttpStream stream(request, std::move(stop));
  std::vector<std::uint8_t> bytes;
  std::vector<std::uint8_t> piece(1 << 16);
  while (const std::size_t count = stream.Read(piece)) {
    if (bytes.size() + count > mostBytes) {
      throw StreamError(request.address, "",
                        "more than " + std::to_string(mostBytes) + " bytes, which is too large");
    }
    if (std::chrono::steady_clock::now() > end) {
      throw StreamError(request.address, "", "takes too long");
    }
    bytes.insert(bytes.end(), piece.begin(), piece.begin() + static_cast<std::ptrdiff_t>(count));
  }
  return bytes;
}

std::string ResolveAddress(const std::string& base, const std::string& reference) {
  const std::unique_ptr<CURLU, UrlFree> url(curl_url());
  if (!url) return {};
  if (!base.empty() && curl_url_set(url.get(), CURLUPART_URL, base.c_str(), 0) != CURLUE_OK) {
    return {};
  }
  if (curl_url_set(url.get(), CURLUPART_URL, reference.c_str(), 0) != CURLUE_OK) return {};
  char* text = nullptr;
  if (curl_url_get(url.get(), CURLUPART_URL, &text, 0) != CURLUE_OK) return {};
  std::string address = text;
  curl_free(text);
  return address;
}

bool IsWebAddress(const std::string& text) {
  const std::string start = LowerCase(text.substr(0, 8));
  return start.starts_with("http://") || start.starts_with("https://");
}

}  // namespace halveron::media
