// The last seconds of a few signals, for an analyser to look at.
#pragma once

#include <array>
#include <atomic>
#include <cstddef>
#include <cstdint>
#include <new>
#include <span>
#include <vector>

#include "dsp/zeroed_memory.h"

namespace halveron {

/// A ring of samples of several signals side by side. The audio thread writes, and neither side
/// waits: a reader notices when what it read was written over meanwhile.
class SignalCapture {
 public:
  static constexpr std::size_t kLength = std::size_t{1} << 19;  ///< samples of each signal

  /// Throws std::bad_alloc.
  explicit SignalCapture(std::size_t signals) : signals_(signals) {
    if (!memory_.Take(kLength * signals)) throw std::bad_alloc();
  }

  /// Audio thread: the next sample of each signal.
  template <std::size_t kSignals>
  void Push(const std::array<float, kSignals>& samples) {
    const std::uint64_t position = position_.load(std::memory_order_relaxed);
    float* const cell = memory_.Floats() + (position % kLength) * kSignals;
    for (std::size_t i = 0; i < kSignals; ++i) {
      std::atomic_ref(cell[i]).store(samples[i], std::memory_order_relaxed);
    }
    position_.store(position + 1, std::memory_order_release);
  }

  /// Samples pushed so far.
  std::uint64_t Position() const { return position_.load(std::memory_order_acquire); }

  /// Copies the newest `count` samples of each signal, or as many as there are, oldest first.
  /// False if they were written over while that went on.
  bool Read(std::size_t count, std::vector<std::vector<float>>& signals) const {
    const std::uint64_t end = Position();
    if (count > end) count = static_cast<std::size_t>(end);
    if (count > kLength / 2) count = kLength / 2;
    signals.resize(signals_);
    for (auto& signal : signals) signal.resize(count);
    for (std::size_t n = 0; n < count; ++n) {
      float* const cell = memory_.Floats() + ((end - count + n) % kLength) * signals_;
      for (std::size_t i = 0; i < signals_; ++i) {
        signals[i][n] = std::atomic_ref(cell[i]).load(std::memory_order_relaxed);
      }
    }
    std::atomic_thread_fence(std::memory_order_acquire);
    return position_.load(std::memory_order_relaxed) - (end - count) <= kLength;
  }

 private:
  std::size_t signals_;
  dsp::ZeroedMemory memory_;
  std::atomic<std::uint64_t> position_ = 0;
};

}  // namespace halveron
