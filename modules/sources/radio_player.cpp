#include "modules/sources/radio_player.h"

#include <array>
#include <cstdio>

namespace halveron {

namespace {

constexpr int kPieceFrames = 1024;
constexpr std::chrono::milliseconds kFullFeedPause{20};

std::string FormatText(int rate, int channels) {
  std::array<char, 48> text{};
  std::snprintf(text.data(), text.size(), "%.1fkHz%s", rate / 1000.0,
                channels == 1 ? " - Mono" : " - Stereo");
  return text.data();
}

}  // namespace

void RadioPlayer::Connect(const std::string& address) {
  const std::uint64_t session = session_.fetch_add(1) + 1;
  worker_.RequestStop();
  {
    const std::lock_guard lock(displayLock_);
    display_ = {State::kConnecting, "Connecting..."};
  }
  const bool isStarted = worker_.Restart(
      [this, address, session](const std::stop_token& stop) { Run(address, session, stop); });
  if (isStarted) return;
  const std::lock_guard lock(displayLock_);
  display_ = {State::kFailed, "Failed!!"};
}

void RadioPlayer::Disconnect() {
  session_.fetch_add(1);
  worker_.RequestStop();
  const std::lock_guard lock(displayLock_);
  display_ = {};
}

RadioPlayer::Display RadioPlayer::Shown() const {
  const std::lock_guard lock(displayLock_);
  return display_;
}

void RadioPlayer::ShowStatus(const std::string& status) {
  const std::lock_guard lock(displayLock_);
  display_.status = status;
}

void RadioPlayer::ForgetFailure() {
  const std::lock_guard lock(displayLock_);
  if (display_.state == State::kFailed || display_.state == State::kIdle) display_ = {};
}

template <class F>
void RadioPlayer::Show(const std::stop_token& stop, F&& change) {
  const std::lock_guard lock(displayLock_);
  // Once stopped, the display belongs to what comes next.
  if (!stop.stop_requested()) change(display_);
}

void RadioPlayer::Pause(std::chrono::milliseconds time, const std::stop_token& stop) {
  std::unique_lock lock(pauseLock_);
  pause_.wait_for(lock, stop, time, [] { return false; });
}

void RadioPlayer::Run(const std::string& address, std::uint64_t session,
                      const std::stop_token& stop) {
  std::chrono::milliseconds pause = times.firstPause;
  for (std::uint64_t attempt = 1; !stop.stop_requested(); ++attempt) {
    const auto start = std::chrono::steady_clock::now();
    const std::uint64_t stretch = (session << kSessionShift) + attempt;
    try {
      Play(address, stretch, stop);
    } catch (const platform::UserError&) {
      if (stop.stop_requested()) return;
    }
    feed.End();
    const bool hasPlayed = Shown().state != State::kConnecting;
    if (!hasPlayed) {
      Show(stop, [](Display& display) { display = {State::kFailed, "Failed!!"}; });
      return;
    }
    if (std::chrono::steady_clock::now() - start >= times.settled) pause = times.firstPause;
    Show(stop, [&](Display& display) {
      display.state = State::kReconnecting;
      const auto seconds = std::chrono::ceil<std::chrono::seconds>(pause).count();
      display.status = "Connection lost, next try in " + std::to_string(seconds) + " s";
    });
    Pause(pause, stop);
    pause = std::min(2 * pause, times.longestPause);
    Show(stop, [](Display& display) { display.status = "Reconnecting..."; });
  }
}

void RadioPlayer::Play(const std::string& address, std::uint64_t stretch,
                       const std::stop_token& stop) {
  media::HttpRequest request;
  request.address = address;
  request.connectTime = times.connect;
  request.stallTime = times.stall;
  media::RadioStream stream(request, stop);
  const int channels = stream.Channels();
  if (stream.SampleRate() > kHighestRate) {
    throw media::StreamError(address, "", "more than 192 kHz", "choose another station");
  }
  feed.Begin(stretch, stream.SampleRate(), channels);
  Show(stop, [&](Display& display) {
    display = {State::kPlaying,
               "Playing",
               stream.Headers().name,
               stream.Headers().url,
               FormatText(stream.SampleRate(), channels),
               stream.Title()};
  });
  std::array<float, 2 * kPieceFrames> piece;
  for (;;) {
    const std::size_t frames = stream.Read(piece.data(), kPieceFrames);
    if (frames == 0) throw media::StreamError(address, "", "the stream has ended");
    Show(stop, [&](Display& display) { display.title = stream.Title(); });
    std::span<const float> rest(piece.data(), frames * static_cast<std::size_t>(channels));
    while (!rest.empty()) {
      rest = rest.subspan(feed.Write(rest, channels));
      if (!rest.empty()) Pause(kFullFeedPause, stop);
      if (stop.stop_requested()) throw media::StreamError(address, "", "stopped");
    }
  }
}

}  // namespace halveron
