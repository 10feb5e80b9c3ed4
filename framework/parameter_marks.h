// Which host parameters have news.
#pragma once

#include <array>
#include <atomic>
#include <bit>
#include <cstddef>
#include <cstdint>

#include "framework/rack_limits.h"

namespace halveron {

/// One mark per parameter, set by any thread and taken by whoever holds the lock that guards the
/// receiving side. Neither waits. Whoever takes a mark sees what was stored before it was set.
class ParameterMarks {
 public:
  void Set(int index) {
    const auto bit = static_cast<std::size_t>(index);
    words_[bit / kBits].fetch_or(std::uint64_t{1} << bit % kBits, std::memory_order_release);
  }

  bool Any() const {
    for (const auto& word : words_) {
      if (word.load(std::memory_order_relaxed) != 0) return true;
    }
    return false;
  }

  /// Takes all marks and calls take(index) for each, in ascending order.
  template <class F>
  void TakeEach(F&& take) {
    for (std::size_t word = 0; word < words_.size(); ++word) {
      if (words_[word].load(std::memory_order_relaxed) == 0) continue;
      std::uint64_t marks = words_[word].exchange(0, std::memory_order_acquire);
      for (; marks != 0; marks &= marks - 1) {
        take(static_cast<int>(word * kBits) + std::countr_zero(marks));
      }
    }
  }

 private:
  static constexpr std::size_t kBits = 64;

  std::array<std::atomic<std::uint64_t>, (kParameterCount + kBits - 1) / kBits> words_{};
};

}  // namespace halveron
