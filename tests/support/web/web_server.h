// A web server on the loopback that plays a radio station, in health and otherwise.
#pragma once

#include <atomic>
#include <functional>
#include <memory>
#include <string>
#include <thread>
#include <vector>

namespace httplib {
class Server;
struct Request;
struct Response;
}  // namespace httplib

namespace halveron::testing {

/// Bytes of a sound file with a sine of half full scale: "mp3", "ogg", or "wav" in 16 bits.
std::string SineFile(const std::string& kind, double seconds, double hertz, int rate = 44100,
                     int channels = 2, const std::string& artist = {},
                     const std::string& title = {});

/// In-band metadata after every `interval` bytes of a stream: the texts one after another, the last
/// one once, then empty ones.
std::string WithInBandTexts(const std::string& stream, std::size_t interval,
                            const std::vector<std::string>& texts);

/// Serves on a port of the loopback until it is destroyed, which ends every answer under way.
class WebServer {
 public:
  WebServer();
  ~WebServer();
  WebServer(const WebServer&) = delete;
  WebServer& operator=(const WebServer&) = delete;

  std::string Address(const std::string& path) const;

  /// Whole answers.
  void Serve(const std::string& path, const std::string& type, const std::string& bytes,
             const std::vector<std::pair<std::string, std::string>>& headers = {});
  /// A stream that ends after `bytes`, or that says nothing more and stays open, or that repeats
  /// them until the server goes down, at once or from Resume on.
  enum class After { kEnd, kSilence, kAgain, kPause };
  void Stream(const std::string& path, const std::string& type, const std::string& bytes,
              After after, const std::vector<std::pair<std::string, std::string>>& headers = {});
  /// Takes the request and never answers.
  void Hang(const std::string& path);
  void Redirect(const std::string& path, const std::string& target);
  /// While it is down, every answer is that the service is not available.
  void SetDown(bool isDown) { isDown_ = isDown; }
  /// Streams that pause go on.
  void Resume() { isResumed_ = true; }

  /// Requests for a path so far.
  int Requests(const std::string& path) const;
  /// The requests' paths with their queries, as they came.
  std::vector<std::string> Targets() const;
  std::string LastTarget() const { return Targets().back(); }

 private:
  using Answer = std::function<void(const httplib::Request&, httplib::Response&)>;
  struct Log;
  void Do(const std::string& path, Answer answer);
  void Wait() const;
  void Wait(const std::atomic<bool>& isOver) const;

  std::unique_ptr<httplib::Server> server_;
  std::unique_ptr<Log> log_;
  std::atomic<bool> isEnding_ = false;
  std::atomic<bool> isDown_ = false;
  std::atomic<bool> isResumed_ = false;
  int port_ = 0;
  std::thread thread_;
};

}  // namespace halveron::testing
