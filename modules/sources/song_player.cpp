#include "modules/sources/song_player.h"

#include <algorithm>
#include <chrono>
#include <cmath>
#include <utility>

#include "platform/user_error.h"

namespace halveron {

namespace {

constexpr std::size_t kPieceFrames = 256;
constexpr std::chrono::milliseconds kLookAgain{3};
// A song that nobody reads for so long stands still: its worker looks seldom, but often enough that
// what it decoded ahead lasts until it looks, even if the highest speed is asked for meanwhile.
constexpr std::chrono::seconds kRestAfter{5};
constexpr std::chrono::milliseconds kLongestNap{50};
constexpr double kNapOfStored = 0.125;
constexpr std::chrono::microseconds kWaitStep{100};
constexpr std::chrono::seconds kLongestWait{10};
constexpr float kFastRate = 88200.0f, kSlowRate = 5000.0f;

}  // namespace

PlaybackLaw PlaybackLaw::Of(int fileRate, float songTempo, float tempo, float speed,
                            bool resamples) {
  const double ratio =
      tempo > 0.0f && songTempo > 0.0f ? static_cast<double>(tempo) / songTempo : 1.0;
  const double asked = speed >= 0.0f ? static_cast<double>(speed) : fileRate;
  if (resamples) {
    const double rate = speed >= 0.0f ? asked : fileRate * ratio;
    return {std::min(rate, kHighestRate), 1.0, false};
  }
  const double stretch = asked * ratio / fileRate;
  const bool isTooMuch =
      stretch < media::TempoStream::kSlowest || stretch > media::TempoStream::kFastest;
  return {static_cast<double>(fileRate), stretch, isTooMuch};
}

float PlaybackLaw::SpeedOf(float v, int fileRate) {
  const auto r = static_cast<float>(fileRate);
  const float rate = v >= 0.0f ? (kFastRate - r) * v + r : (kSlowRate - r) * -v + r;
  return rate > 0.0f ? std::min(rate, static_cast<float>(kHighestRate)) : 0.0f;
}

bool SongPlayer::Load(Order order) {
  {
    const std::lock_guard lock(lock_);
    order_ = std::move(order);
    asked_.fetch_add(1);
  }
  news_.notify_all();
  if (worker_.IsBusy()) return true;
  if (worker_.Start([this](const std::stop_token& stop) { Run(stop); })) return true;
  const std::lock_guard lock(lock_);
  order_.reset();
  ended_.store(asked_.load());
  display_.message = "Loading failed!!";
  ++display_.loads;
  return false;
}

SongPlayer::Display SongPlayer::Shown() const {
  const std::lock_guard lock(lock_);
  return display_;
}

void SongPlayer::Run(const std::stop_token& stop) {
  while (!stop.stop_requested()) {
    if (TakeOrder(stop)) continue;
    const std::uint64_t wanted = wanted_.load(std::memory_order_acquire);
    if (song_ && wanted != begun_.load(std::memory_order_relaxed)) {
      song_->Seek(target_.load(std::memory_order_relaxed));
      BeginStretch(wanted);
    }
    if (Decode()) continue;
    std::unique_lock lock(lock_);
    if (order_) continue;
    if (song_) {
      news_.wait_for(lock, stop, Nap(), [this] { return order_.has_value() || IsBehind(); });
    } else {
      news_.wait(lock, stop, [this] { return order_.has_value(); });
    }
  }
}

std::chrono::milliseconds SongPlayer::Nap() {
  const auto now = std::chrono::steady_clock::now();
  const std::uint64_t read = feed.TotalRead();
  if (std::exchange(seenRead_, read) != read) restsSince_ = now;
  if (now - restsSince_ < kRestAfter) return kLookAgain;
  if (isOver_.load(std::memory_order_relaxed)) return kLongestNap;
  const media::SongFacts& facts = song_->Facts();
  const double rate = PlaybackLaw::Of(facts.rate, facts.tempo.value_or(120.0f), wishes.tempo,
                                      wishes.speed, wishes.resamples)
                          .rate;
  const double seconds =
      static_cast<double>(feed.Written() - read) / std::max(rate * facts.channels, 1.0);
  const std::chrono::milliseconds stored(static_cast<int>(1000 * kNapOfStored * seconds));
  return std::clamp(stored, kLookAgain, kLongestNap);
}

bool SongPlayer::TakeOrder(const std::stop_token& stop) {
  Order order;
  int number = 0;
  {
    const std::lock_guard lock(lock_);
    if (!order_) return false;
    order = std::move(*order_);
    order_.reset();
    number = asked_.load();
  }
  Open(order, stop);
  ended_.store(number, std::memory_order_release);
  return true;
}

void SongPlayer::Open(Order& order, const std::stop_token& stop) {
  Display display;
  song_.reset();
  try {
    std::unique_ptr<media::Song> song;
    if (!order.bytes.empty()) {
      song = media::OpenSong(std::move(order.bytes), order.path, order.options, stop);
    } else if (!order.path.empty()) {
      song = media::OpenSong(order.path, order.options, stop);
    }
    if (song) {
      display.facts = song->Facts();
      display.hasSong = true;
      song_ = std::make_unique<media::TempoStream>(std::move(song));
      const double length = display.facts.seconds;
      const double seconds = order.seconds > 0.0 ? order.seconds : order.share * length;
      if (seconds > 0.0 && (length <= 0.0 || seconds < length)) song_->Seek(seconds);
    }
  } catch (const std::exception&) {
    display.message = "Loading failed!!";
  }
  {
    const std::lock_guard lock(lock_);
    display.loads = display_.loads + 1;
    display_ = std::move(display);
  }
  BeginStretch(wanted_.fetch_add(1, std::memory_order_acq_rel) + 1);
}

void SongPlayer::BeginStretch(std::uint64_t number) {
  restsSince_ = std::chrono::steady_clock::now();
  isOver_.store(!song_, std::memory_order_relaxed);
  if (song_) {
    const media::SongFacts& facts = song_->Facts();
    primed_.store(feed.Written() + static_cast<std::uint64_t>(kAheadSeconds * facts.rate) *
                                       static_cast<std::uint64_t>(facts.channels));
    length_.store(facts.seconds, std::memory_order_relaxed);
    feed.Begin(number, facts.rate, facts.channels, facts.tempo.value_or(120.0f));
    position_.store(song_->Position(), std::memory_order_relaxed);
  } else {
    feed.Begin(number, 44100, 2);
    feed.End();
    position_.store(0.0, std::memory_order_relaxed);
  }
  hasSong_.store(song_ != nullptr);
  begun_.store(number, std::memory_order_release);
}

/// The start of a stretch is decoded before it is asked for, so that it begins at once.
std::uint64_t SongPlayer::Limit() const {
  return std::max(requested_.load(std::memory_order_acquire), primed_.load());
}

bool SongPlayer::IsBehind() const {
  if (wanted_.load(std::memory_order_acquire) != begun_.load(std::memory_order_relaxed))
    return true;
  return song_ && !isOver_.load(std::memory_order_relaxed) && feed.Written() < Limit();
}

bool SongPlayer::Decode() {
  if (!song_ || isOver_.load(std::memory_order_relaxed) || feed.Written() >= Limit()) return false;
  const media::SongFacts& facts = song_->Facts();
  const auto channels = static_cast<std::size_t>(facts.channels);
  piece_.resize(kPieceFrames * channels);
  if (feed.Free() < piece_.size()) return false;
  const PlaybackLaw law = PlaybackLaw::Of(facts.rate, facts.tempo.value_or(120.0f), wishes.tempo,
                                          wishes.speed, wishes.resamples);
  std::size_t frames = 0;
  try {
    song_->Set(law.tempo, wishes.pitch);
    frames = song_->Read(piece_.data(), kPieceFrames);
  } catch (const std::exception&) {
    // What is damaged ends where the damage begins.
  }
  if (frames == 0) {
    feed.End();
    isOver_.store(true, std::memory_order_release);
    return false;
  }
  feed.Write(std::span<const float>(piece_).first(frames * channels), facts.channels);
  const double waiting = static_cast<double>(feed.Written() - feed.TotalRead()) /
                         static_cast<double>(facts.rate * facts.channels);
  position_.store(std::max(song_->Position() - waiting * law.tempo, 0.0),
                  std::memory_order_relaxed);
  return true;
}

void SongPlayer::WaitForWorker() {
  const auto end = std::chrono::steady_clock::now() + kLongestWait;
  const auto isDone = [this] {
    if (IsLoading()) return false;
    if (!hasSong_.load()) return true;
    if (begun_.load(std::memory_order_acquire) != wanted_.load(std::memory_order_acquire)) {
      return false;
    }
    return isOver_.load(std::memory_order_acquire) || feed.Written() >= Limit();
  };
  if (asked_.load() == 0) return;  // nothing was ever loaded
  while (!isDone() && std::chrono::steady_clock::now() < end) {
    news_.notify_all();
    std::this_thread::sleep_for(kWaitStep);
  }
}

}  // namespace halveron
