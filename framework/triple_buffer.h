// The newest of something that one thread makes over and over and another looks at now and then.
#pragma once

#include <array>
#include <atomic>
#include <cstdint>

namespace halveron {

/// Three copies of T: one being written, one being read, and the newest one in between. Neither
/// side waits or allocates. One thread writes, one reads.
template <class T>
class TripleBuffer {
 public:
  TripleBuffer() = default;
  explicit TripleBuffer(const T& first) : copies_{first, first, first} {}

  /// Writer: the copy to fill. It holds what was written three publications ago.
  T& Back() { return copies_[back_]; }
  /// Writer: makes the filled copy the newest.
  void Publish() {
    back_ =
        between_.exchange(static_cast<std::uint8_t>(back_ | kFresh), std::memory_order_acq_rel) &
        kIndex;
  }

  /// Any thread: whether the newest copy has not been read yet.
  bool IsFresh() const { return (between_.load(std::memory_order_relaxed) & kFresh) != 0; }
  /// Reader: goes over to the newest copy; false if that is the one at hand.
  bool Update() {
    if (!IsFresh()) return false;
    front_ = between_.exchange(front_, std::memory_order_acq_rel) & kIndex;
    return true;
  }
  /// Reader: the copy at hand.
  const T& Front() const { return copies_[front_]; }

 private:
  static constexpr std::uint8_t kFresh = 4;
  static constexpr std::uint8_t kIndex = 3;

  std::array<T, 3> copies_{};
  alignas(64) std::uint8_t back_ = 0;
  alignas(64) std::atomic<std::uint8_t> between_ = 1;
  alignas(64) std::uint8_t front_ = 2;
};

}  // namespace halveron
