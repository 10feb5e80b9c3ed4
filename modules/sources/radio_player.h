// A radio station that plays: connected, watched and connected again on a worker.
#pragma once

#include <atomic>
#include <chrono>
#include <condition_variable>
#include <mutex>
#include <string>

#include "framework/background_worker.h"
#include "media/radio_stream.h"
#include "modules/sources/sample_feed.h"

namespace halveron {

/// Connect, Disconnect and Shown belong to the interface thread; `feed` and IsOwn are what the
/// audio thread uses.
class RadioPlayer {
 public:
  enum class State { kIdle, kConnecting, kPlaying, kReconnecting, kFailed };

  /// What the panel shows.
  struct Display {
    State state = State::kIdle;
    std::string status{};
    std::string name{};    ///< as the station calls itself, else empty
    std::string url{};     ///< as the station gives it, else empty
    std::string format{};  ///< "44.1kHz - Stereo"
    std::string title{};
  };

  struct Times {
    std::chrono::milliseconds connect{10000};    ///< longest wait for an answer
    std::chrono::milliseconds stall{10000};      ///< longest silence of a server
    std::chrono::milliseconds firstPause{1000};  ///< before the first new attempt; then doubled
    std::chrono::milliseconds longestPause{30000};
    /// After this time of playing the pauses begin at the first one.
    std::chrono::milliseconds settled{60000};
  };

  static constexpr std::size_t kFeedSamples = std::size_t{1} << 19;  // 5 s of stereo at 48 kHz
  static constexpr int kHighestRate = 192000;                        // hertz

  RadioPlayer() : feed(kFeedSamples) {}

  /// Leaves the present station and plays another, without waiting for either.
  void Connect(const std::string& address);
  void Disconnect();
  Display Shown() const;
  void ShowStatus(const std::string& status);
  /// Clears what is shown of a station that does not play and is not tried any more.
  void ForgetFailure();

  /// Whether a stretch of the feed belongs to the station that was chosen last.
  bool IsOwn(const SampleFeed::Stretch& stretch) const {
    return (stretch.number >> kSessionShift) == session_.load(std::memory_order_acquire);
  }

  SampleFeed feed;
  Times times;  ///< not to be changed while connected

 private:
  static constexpr int kSessionShift = 32;

  void Run(const std::string& address, std::uint64_t session, const std::stop_token& stop);
  /// Plays one connection to its end, which it throws.
  [[noreturn]] void Play(const std::string& address, std::uint64_t stretch,
                         const std::stop_token& stop);
  void Pause(std::chrono::milliseconds time, const std::stop_token& stop);
  template <class F>
  void Show(const std::stop_token& stop, F&& change);

  std::atomic<std::uint64_t> session_ = 1;  // grows with each Connect and Disconnect
  mutable std::mutex displayLock_;
  Display display_;
  std::mutex pauseLock_;
  std::condition_variable_any pause_;
  BackgroundWorker worker_;  // last: it uses the others
};

}  // namespace halveron
