// Resources of web servers, read as they come.
#pragma once

#include <chrono>
#include <cstddef>
#include <cstdint>
#include <memory>
#include <span>
#include <stop_token>
#include <string>
#include <vector>

#include "platform/user_error.h"

namespace halveron::media {

/// A stream or download that cannot be had, or that ended before its end.
class StreamError : public platform::UserError {
 public:
  using UserError::UserError;
};

/// The server answered, but with a refusal.
class HttpRefusal : public StreamError {
 public:
  HttpRefusal(const std::string& address, int answer)
      : StreamError(address, "", "the server answers " + std::to_string(answer),
                    "check the address"),
        status(answer) {}

  int status;
};

struct HttpRequest {
  std::string address{};               ///< http or https
  std::vector<std::string> headers{};  ///< lines beside the usual ones
  std::string range{};                 ///< "first-last" bytes, or "first-"; empty for everything
  std::chrono::milliseconds connectTime{10000};
  /// Longest time without a byte.
  std::chrono::milliseconds stallTime{10000};
};

/// One answer of a server, over libcurl, which can be stopped at any time: while the name is looked
/// up, the connection made, the handshake done, or nothing comes. Certificates are checked, and no
/// more than 8 redirections followed. For workers: every call waits.
class HttpStream {
 public:
  /// Sends the request and waits for the head of the answer. Throws StreamError for everything but
  /// a good answer, and once `stop` is requested, as Read does.
  HttpStream(const HttpRequest& request, std::stop_token stop);
  ~HttpStream();
  HttpStream(const HttpStream&) = delete;
  HttpStream& operator=(const HttpStream&) = delete;

  /// Waits for at least one byte, and returns how many it took; 0 at the end.
  std::size_t Read(std::span<std::uint8_t> target);

  /// Where the answer came from, after all redirections.
  const std::string& Address() const { return address_; }
  /// Of the answer, without line ends: "name: value".
  const std::vector<std::string>& Headers() const { return headers_; }
  /// The value of a header, by its name in small letters; empty if there is none.
  std::string Header(const std::string& name) const;

 private:
  struct Transfer;
  static std::size_t TakeHeader(char* text, std::size_t size, std::size_t count, void* self);
  static std::size_t TakeBytes(char* bytes, std::size_t size, std::size_t count, void* self);
  /// Moves the transfer on, waiting for news where there is none.
  void Advance();
  void CheckAnswer() const;
  [[noreturn]] void Fail(const std::string& cause, const std::string& remedy = {}) const;

  std::stop_token stop_;
  std::string address_;
  std::vector<std::string> headers_;
  std::vector<std::uint8_t> waiting_;
  std::size_t taken_ = 0;  // of what waits
  bool headIsWhole_ = false;
  bool isPaused_ = false;
  bool isOver_ = false;
  std::chrono::milliseconds stallTime_;
  std::chrono::steady_clock::time_point lastNews_;
  std::unique_ptr<Transfer> transfer_;
};

/// All bytes of an answer. Refuses one of more than `mostBytes`, or that takes longer than
/// `longest`.
std::vector<std::uint8_t> Download(const HttpRequest& request, std::stop_token stop,
                                   std::size_t mostBytes,
                                   std::chrono::milliseconds longest = std::chrono::minutes(1));

/// The address that `reference` names, seen from `base`; empty if it is none.
std::string ResolveAddress(const std::string& base, const std::string& reference);

/// Whether a text begins as an address that a HttpStream can take.
bool IsWebAddress(const std::string& text);

}  // namespace halveron::media
