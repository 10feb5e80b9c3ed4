// Sound from a worker to the audio thread, in stretches.
#pragma once

#include <algorithm>
#include <atomic>
#include <cstdint>
#include <span>

#include "framework/triple_buffer.h"
#include "platform/ring_queue.h"

namespace halveron {

/// A queue of interleaved samples with the news of what they are. A stretch is what plays without a
/// break: one connection, or one song from one place on. The worker begins a stretch and writes;
/// the audio thread drops what is left of the one before. Neither waits for the other.
class SampleFeed {
 public:
  /// What a stretch is.
  struct Stretch {
    std::uint64_t number = 0;  ///< 0: none yet; grows
    std::uint64_t begin = 0;   ///< its first sample, in all samples ever written
    int rate = 44100;          ///< hertz
    int channels = 2;          ///< 1 or 2
    float tempo = 120.0f;      ///< beats a minute, of a song
  };

  /// Room for `capacity` samples.
  explicit SampleFeed(std::size_t capacity) : queue_(capacity) {}

  // Worker.

  /// `number` is above that of every stretch before.
  void Begin(std::uint64_t number, int rate, int channels, float tempo = 120.0f) {
    end_.store(kNoEnd, std::memory_order_relaxed);
    news_.Back() = {number, written_.load(std::memory_order_relaxed), rate, channels, tempo};
    news_.Publish();
  }
  /// As many whole frames as fit; returns the samples written.
  std::size_t Write(std::span<const float> samples, int channels) {
    const std::size_t count = queue_.Write(samples, static_cast<std::size_t>(channels));
    written_.fetch_add(count, std::memory_order_release);
    return count;
  }
  std::size_t Free() const { return queue_.Free(); }
  /// Nothing more comes in this stretch.
  void End() { end_.store(Written(), std::memory_order_release); }
  /// All samples ever written, and ever read or dropped.
  std::uint64_t Written() const { return written_.load(std::memory_order_acquire); }
  std::uint64_t TotalRead() const { return read_.load(std::memory_order_acquire); }

  // Audio thread.

  /// Goes over to the newest stretch; true if that is another one than before.
  bool Update() {
    if (!news_.Update()) return false;
    present_ = news_.Front();
    return true;
  }
  const Stretch& Present() const { return present_; }
  /// Takes samples of the present stretch; returns how many there were.
  std::size_t Read(std::span<float> target) {
    DropOld();
    const std::size_t count = queue_.Peek(target);
    // What came after the last Update may belong to the next stretch.
    if (news_.IsFresh()) return 0;
    queue_.Drop(count);
    Count(count);
    return count;
  }
  std::size_t Available() {
    DropOld();
    return queue_.Available();
  }
  /// Whether nothing more comes behind what waits; and whether that has been read as well.
  bool IsClosed() const { return end_.load(std::memory_order_acquire) != kNoEnd; }
  bool HasEnded() const { return TotalRead() >= end_.load(std::memory_order_acquire); }

 private:
  static constexpr std::uint64_t kNoEnd = ~std::uint64_t{0};

  void DropOld() {
    const std::uint64_t read = read_.load(std::memory_order_relaxed);
    if (read >= present_.begin) return;
    const std::size_t old =
        std::min(static_cast<std::size_t>(present_.begin - read), queue_.Available());
    queue_.Drop(old);
    Count(old);
  }
  void Count(std::size_t samples) { read_.fetch_add(samples, std::memory_order_release); }

  platform::FloatQueue queue_;
  std::atomic<std::uint64_t> written_ = 0;
  std::atomic<std::uint64_t> read_ = 0;
  std::atomic<std::uint64_t> end_ = kNoEnd;
  TripleBuffer<Stretch> news_;
  Stretch present_;
};

}  // namespace halveron
