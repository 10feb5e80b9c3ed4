// Keeps a live host playing: by a sound card, or in silence while there is none.
#pragma once

#include <atomic>
#include <cstdint>
#include <functional>
#include <future>
#include <memory>
#include <string>
#include <thread>

#include "media/live/sound_card.h"

namespace halveron {

class LiveHost;

/// Lets sound die away, so that its end does not click.
class FadeOut {
 public:
  void Begin() { isFading_ = true; }
  bool IsDone() const { return isDone_; }
  /// Audio thread.
  void Apply(float* const* outs, int outCount, int frames, int rate);

 private:
  std::atomic<bool> isFading_ = false;
  std::atomic<bool> isDone_ = false;
  float gain_ = 1;
};

/// When its card goes away, it plays on by a clock of its own, in silence, and looks for the card
/// until it is back. All operations belong to one thread, which is not the audio thread.
class SoundLink {
 public:
  /// Opens a device of a sound system, of any for an empty name. Throws platform::UserError. Runs
  /// on a thread of its own, one call at a time.
  using Opener = std::function<std::unique_ptr<media::SoundOutput>(const std::string& system)>;

  /// Starts to play. `card` is null if there is none yet.
  SoundLink(LiveHost& host, std::unique_ptr<media::SoundOutput> card, Opener open, int silentBlock);
  ~SoundLink();
  SoundLink(const SoundLink&) = delete;
  SoundLink& operator=(const SoundLink&) = delete;

  /// To be called several times a second; `now` is in seconds. True if a card has gone or come.
  bool Poll(double now);
  /// Plays by another card from now on; the present one is closed first, for it may be the same
  /// device. Throws platform::UserError if it cannot be opened, and then the former one plays
  /// again, or silence if it does not open any more.
  void Change(const Opener& open);
  /// Null in silence.
  const media::SoundOutput* Card() const { return card_.get(); }
  /// For the user: why there is no sound; empty while a card plays.
  const std::string& Notice() const { return notice_; }

 private:
  bool IsCardAlive(double now);
  bool TakeNewCard(double now);
  void StartCard();
  void StartSilence();
  void FadeCard();

  LiveHost& host_;
  std::unique_ptr<media::SoundOutput> card_;
  Opener open_;
  int silentBlock_;  // samples
  FadeOut fade_;
  std::string notice_;
  std::string system_;                        // of the card that has gone
  std::unique_ptr<media::SoundOutput> gone_;  // until its sound system is done with it
  double forgetAt_ = 0;
  std::jthread silence_;
  std::future<std::unique_ptr<media::SoundOutput>> search_;
  double nextSearch_ = 0;
  double checkedAt_ = -1;  // negative: not yet since the card started
  std::int64_t checkedFrames_ = 0;
};

}  // namespace halveron
