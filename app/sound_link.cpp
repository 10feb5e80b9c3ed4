#include "app/sound_link.h"

#include <algorithm>
#include <chrono>
#include <condition_variable>
#include <mutex>

#include "app/live_host.h"
#include "platform/user_error.h"

namespace halveron {

namespace {

constexpr double kSearchSeconds = 2;
// A sound server that ends closes its streams on a thread of its own, which still uses the card.
constexpr double kForgetSeconds = 1;
constexpr double kCheckSeconds = 3;
constexpr double kBlocksInACheck = 4;
// A card outside this range of its own rate has failed: drivers of a device that was pulled out ask
// for nothing, or for blocks without a pause.
constexpr double kSlowest = 0.1;
constexpr double kFastest = 10;
constexpr std::chrono::milliseconds kSearchPatience{100};
constexpr double kFadeSeconds = 0.01;
constexpr std::chrono::milliseconds kFadePatience{70};

/// Plays in silence, at the host's rate.
void PlaySilently(const std::stop_token& stop, LiveHost& host, int block) {
  const auto period = std::chrono::duration<double>(static_cast<double>(block) / host.SampleRate());
  auto next = std::chrono::steady_clock::now();
  std::mutex pause;
  std::condition_variable_any wake;
  while (!stop.stop_requested()) {
    host.Process(nullptr, 0, nullptr, 0, block);
    next += std::chrono::duration_cast<std::chrono::steady_clock::duration>(period);
    // After the machine paused, blocks that are far too late are skipped.
    next = std::max(next, std::chrono::steady_clock::now() - std::chrono::seconds(1));
    // A block may be longer than anybody waits for the end.
    std::unique_lock hold(pause);
    wake.wait_until(hold, stop, next, [] { return false; });
  }
}

}  // namespace

SoundLink::SoundLink(LiveHost& host, std::unique_ptr<media::SoundOutput> card, Opener open,
                     int silentBlock)
    : host_(host), card_(std::move(card)), open_(std::move(open)), silentBlock_(silentBlock) {
  if (card_) {
    StartCard();
  } else {
    notice_ = "No sound: there is no sound card. One that appears is taken.";
    StartSilence();
  }
}

void FadeOut::Apply(float* const* outs, int outCount, int frames, int rate) {
  if (!isFading_) return;
  const float step = 1.0f / static_cast<float>(kFadeSeconds * rate);
  for (int i = 0; i < frames; ++i) {
    for (int channel = 0; channel < outCount; ++channel) outs[channel][i] *= gain_;
    gain_ = std::max(gain_ - step, 0.0f);
  }
  if (gain_ == 0.0f) isDone_ = true;
}

void SoundLink::FadeCard() {
  if (!card_->IsRunning()) return;
  fade_.Begin();
  const auto end = std::chrono::steady_clock::now() + kFadePatience;
  while (!fade_.IsDone() && std::chrono::steady_clock::now() < end) {
    std::this_thread::sleep_for(std::chrono::milliseconds(1));
  }
  // What the card still has to play ends in silence; stopping takes it away.
  constexpr double kBlocksWaiting = 3;
  const std::chrono::duration<double> waiting(kBlocksWaiting * card_->BlockSize() / card_->Rate());
  std::this_thread::sleep_for(std::min<std::chrono::duration<double>>(waiting, kFadePatience));
}

SoundLink::~SoundLink() {
  if (card_) {
    FadeCard();
    card_->Stop();
  }
  // Drivers may take seconds to find that there is nothing, and cannot be asked to stop: a longer
  // search goes on by itself, or ends with the process.
  if (search_.valid()) search_.wait_for(kSearchPatience);
}

bool SoundLink::Poll(double now) {
  if (!card_) return TakeNewCard(now);
  if (IsCardAlive(now)) return false;
  notice_ = "No sound: \"" + card_->Name() + "\" has gone. It is taken again when it returns.";
  system_ = card_->System();
  card_->Stop();
  gone_ = std::move(card_);
  forgetAt_ = now + kForgetSeconds;
  StartSilence();
  nextSearch_ = now + kSearchSeconds;
  return true;
}

void SoundLink::Change(const Opener& open) {
  // A search that is under way may hold the device.
  if (search_.valid()) search_.wait();
  search_ = {};
  gone_ = nullptr;
  const bool hadCard = card_ != nullptr;
  if (hadCard) {
    card_->Stop();
    card_ = nullptr;
  }
  const auto start = [this](const Opener& opener) {
    card_ = opener("");
    silence_ = {};
    StartCard();
    notice_.clear();
  };
  const auto playSilence = [this](const char* notice) {
    card_ = nullptr;
    notice_ = notice;
    if (!silence_.joinable()) StartSilence();
  };
  try {
    start(open);
    open_ = open;
    system_.clear();
  } catch (const platform::UserError&) {
    card_ = nullptr;
    try {
      if (hadCard) start(open_);
    } catch (const platform::UserError&) {
      playSilence("No sound: the card does not open any more. It is taken again when it does.");
    }
    if (!card_ && !silence_.joinable()) StartSilence();
    throw;
  }
}

bool SoundLink::IsCardAlive(double now) {
  if (!card_->IsRunning()) return false;
  const std::int64_t frames = card_->FramesPlayed();
  const double period =
      std::max(kCheckSeconds, kBlocksInACheck * card_->BlockSize() / card_->Rate());
  if (checkedAt_ >= 0 && now - checkedAt_ < period) return true;
  const double expected = (now - checkedAt_) * card_->Rate();
  const auto played = static_cast<double>(frames - checkedFrames_);
  const bool isFirst = checkedAt_ < 0;
  checkedAt_ = now;
  checkedFrames_ = frames;
  return isFirst || (played > kSlowest * expected && played < kFastest * expected);
}

bool SoundLink::TakeNewCard(double now) {
  if (gone_ && now >= forgetAt_) gone_ = nullptr;
  if (gone_) return false;
  if (!search_.valid()) {
    if (now < nextSearch_) return false;
    // Unlike that of std::async, the future of a task does not wait for its end.
    std::packaged_task<std::unique_ptr<media::SoundOutput>()> task(
        [open = open_, system = system_] { return open(system); });
    search_ = task.get_future();
    std::thread(std::move(task)).detach();
  }
  if (search_.wait_for(std::chrono::seconds(0)) != std::future_status::ready) return false;
  nextSearch_ = now + kSearchSeconds;
  try {
    card_ = search_.get();
    silence_ = {};
    StartCard();
    notice_.clear();
    return true;
  } catch (const platform::UserError&) {
    // Not there yet, or not ready to play.
    card_ = nullptr;
    if (!silence_.joinable()) StartSilence();
    return false;
  }
}

void SoundLink::StartCard() {
  host_.ChangeSampleRate(card_->Rate());
  checkedAt_ = -1;
  card_->Start(
      [this](const float* const* ins, int inCount, float* const* outs, int outCount, int frames) {
        host_.Process(ins, inCount, outs, outCount, frames);
        fade_.Apply(outs, outCount, frames, host_.SampleRate());
      });
}

void SoundLink::StartSilence() {
  silence_ = std::jthread(
      [this](const std::stop_token& stop) { PlaySilently(stop, host_, silentBlock_); });
}

}  // namespace halveron
