// A song that plays: loaded, decoded ahead and moved in tempo and pitch on a worker.
#pragma once

#include <atomic>
#include <chrono>
#include <condition_variable>
#include <memory>
#include <mutex>
#include <optional>
#include <string>
#include <vector>

#include "framework/background_worker.h"
#include "media/song.h"
#include "media/tempo_stream.h"
#include "modules/sources/sample_feed.h"

namespace halveron {

/// How fast a song is read, by what is asked for.
struct PlaybackLaw {
  double rate;         ///< hertz at which the decoded samples are read
  double tempo;        ///< ratio at which they are stretched before
  bool needsResample;  ///< more than stretching can do is asked for

  static constexpr double kHighestRate = 352800.0;  // hertz

  /// `tempo` in beats a minute, 0 for the song's own; `speed` the rate asked for in hertz, negative
  /// for the file's.
  ///
  /// Resampling reads at that rate, or, where none is asked for, at the file's times the ratio of
  /// the tempo; without it the rate times that ratio becomes tempo alone.
  static PlaybackLaw Of(int fileRate, float songTempo, float tempo, float speed, bool resamples);

  /// The rate that a control voltage asks for: 1 for 88200 Hz, -1 for 5000 Hz, 0 for the file's.
  static float SpeedOf(float v, int fileRate);
};

/// The interface thread loads; the audio thread reads `feed`, starts and stops. All decoding is
/// done no further ahead than kAheadSeconds, so that tempo and pitch follow soon.
class SongPlayer {
 public:
  static constexpr double kAheadSeconds = 0.15;
  static constexpr std::size_t kFeedSamples = std::size_t{1} << 19;

  /// What is asked for, by any thread.
  struct Wishes {
    std::atomic<float> tempo = 0.0f;   ///< beats a minute, 0 for the song's own
    std::atomic<float> pitch = 1.0f;   ///< ratio
    std::atomic<float> speed = -1.0f;  ///< hertz, negative for the file's rate
    std::atomic<bool> resamples = false;
  };

  /// What to load: a file, or the bytes of one.
  struct Order {
    std::string path{};
    std::vector<std::uint8_t> bytes{};  ///< if not empty, instead of the path; neither: no song
    double seconds = 0.0;               ///< where it begins
    double share = 0.0;                 ///< the same, 0..1, if there are no seconds
    media::SongOptions options{};
  };

  /// What the panel shows.
  struct Display {
    bool hasSong = false;
    media::SongFacts facts{};
    std::string message{};  ///< of the last load, empty if it went well
    int loads = 0;          ///< that have ended
  };

  SongPlayer() : feed(kFeedSamples) {}

  // Interface thread.

  /// Goes over to another song when that is open; one that cannot be opened leaves none. False if
  /// there is no thread to do it.
  bool Load(Order order);
  Display Shown() const;
  /// Loads that have not ended yet.
  bool IsLoading() const { return asked_.load() != ended_.load(); }
  /// Seconds in the song, of what is heard about now.
  double Position() const { return position_.load(std::memory_order_relaxed); }

  // Audio thread.

  /// Goes to a share of the song's length, 0 to 1. False if there is none.
  bool Seek(float share) {
    if (!hasSong_.load()) return false;
    Go(share * length_.load(std::memory_order_relaxed));
    return true;
  }
  /// Begins again at the start.
  std::uint64_t Restart() { return Go(0.0); }
  /// Whether a number that Restart gave is still what was asked for last.
  bool IsWanted(std::uint64_t number) const {
    return number == wanted_.load(std::memory_order_acquire);
  }
  /// Whether a stretch of the feed is what was asked for last.
  bool IsOwn(const SampleFeed::Stretch& stretch) const {
    return stretch.number != 0 && IsWanted(stretch.number);
  }
  /// Has the worker decode up to so many samples of all that were ever read.
  void Request(std::uint64_t total) {
    constexpr std::uint64_t kMost = kFeedSamples * 3 / 4;
    requested_.store(std::min(total, feed.TotalRead() + kMost), std::memory_order_release);
  }
  /// Only where the host renders without a clock: has the worker come as far as it was asked to,
  /// within 10 s.
  void WaitForWorker();

  SampleFeed feed;
  Wishes wishes;

 private:
  /// The number of the stretch that begins there.
  std::uint64_t Go(double seconds) {
    target_.store(seconds, std::memory_order_relaxed);
    return wanted_.fetch_add(1, std::memory_order_acq_rel) + 1;
  }
  void Run(const std::stop_token& stop);
  bool TakeOrder(const std::stop_token& stop);
  void Open(Order& order, const std::stop_token& stop);
  void BeginStretch(std::uint64_t number);
  /// False if there is nothing to do at present.
  bool Decode();
  /// How long to sleep with nothing to do. The audio thread wakes nobody, which would be a call of
  /// the system, so the worker has to look what it wants.
  std::chrono::milliseconds Nap();
  std::uint64_t Limit() const;
  bool IsBehind() const;

  std::atomic<std::uint64_t> wanted_ = 0;  // number of the stretch that shall play
  std::atomic<double> target_ = 0.0;       // seconds where it begins
  std::atomic<std::uint64_t> requested_ = 0;
  std::atomic<std::uint64_t> begun_ = 0;   // number of the stretch that the worker is at
  std::atomic<std::uint64_t> primed_ = 0;  // decoded of it in any case, as requested_
  std::atomic<bool> hasSong_ = false;
  std::atomic<bool> isOver_ = true;   // nothing more comes in it
  std::atomic<double> length_ = 0.0;  // of the song in seconds
  std::atomic<double> position_ = 0.0;
  std::atomic<int> asked_ = 0, ended_ = 0;

  mutable std::mutex lock_;  // of what follows; never the audio thread's
  std::condition_variable_any news_;
  std::optional<Order> order_;
  Display display_;

  // The worker's own.
  std::unique_ptr<media::TempoStream> song_;
  std::vector<float> piece_;
  std::uint64_t seenRead_ = 0;                          // of the feed, at the last nap
  std::chrono::steady_clock::time_point restsSince_{};  // when that moved last

  BackgroundWorker worker_;  // last: it uses the others
};

}  // namespace halveron
