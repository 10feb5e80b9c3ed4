// A queue of plain values between two threads, one of which may be the audio thread.
#pragma once

#include <algorithm>
#include <atomic>
#include <cstddef>
#include <cstdint>
#include <span>
#include <type_traits>
#include <vector>

namespace halveron::platform {

/// First in, first out, of a fixed capacity. One thread writes, one reads; neither locks, waits or
/// allocates. Either side may change hands under a lock.
template <class T>
class RingQueue {
  static_assert(std::is_trivially_copyable_v<T>);

 public:
  /// Room for `capacity` values, 1 or more.
  explicit RingQueue(std::size_t capacity) : ring_(std::max<std::size_t>(capacity, 1)) {}

  std::size_t Capacity() const { return ring_.size(); }

  /// Writer: how many values fit at present, at least.
  std::size_t Free() const {
    return ring_.size() -
           (written_.load(std::memory_order_relaxed) - read_.load(std::memory_order_acquire));
  }
  /// Writer: puts in as many as fit, rounded down to whole frames of `frame` values, and returns
  /// how many that were.
  std::size_t Write(std::span<const T> values, std::size_t frame = 1) {
    std::size_t count = std::min(values.size(), Free());
    count -= count % std::max<std::size_t>(frame, 1);
    Put(values.first(count), {});
    return count;
  }
  /// Writer: puts in both parts as one, which the reader sees together, or nothing: false.
  bool WriteWhole(std::span<const T> first, std::span<const T> second = {}) {
    if (first.size() + second.size() > Free()) return false;
    Put(first, second);
    return true;
  }

  /// Reader: how many values wait, at least.
  std::size_t Available() const {
    return written_.load(std::memory_order_acquire) - read_.load(std::memory_order_relaxed);
  }
  /// Reader: copies values from `offset` on without taking them; returns how many there were.
  std::size_t Peek(std::span<T> target, std::size_t offset = 0) const {
    const std::size_t waiting = Available();
    if (offset >= waiting) return 0;
    const std::size_t count = std::min(target.size(), waiting - offset);
    const std::size_t at = (read_.load(std::memory_order_relaxed) + offset) % ring_.size();
    const std::size_t whole = std::min(count, ring_.size() - at);
    const T* const start = ring_.data();
    std::copy_n(start + at, whole, target.data());
    std::copy_n(start, count - whole, target.data() + whole);
    return count;
  }
  /// Reader: takes as many values as wait and fit into `target`; returns how many.
  std::size_t Read(std::span<T> target) {
    const std::size_t count = Peek(target);
    Drop(count);
    return count;
  }
  /// Reader: takes values without looking at them, at most as many as wait.
  void Drop(std::size_t count) {
    const std::size_t present = read_.load(std::memory_order_relaxed);
    read_.store(present + std::min(count, Available()), std::memory_order_release);
  }
  /// Reader: takes all that wait.
  void Clear() { Drop(Available()); }

 private:
  void Put(std::span<const T> first, std::span<const T> second) {
    const std::size_t at = written_.load(std::memory_order_relaxed);
    Place(at, first);
    Place(at + first.size(), second);
    written_.store(at + first.size() + second.size(), std::memory_order_release);
  }
  void Place(std::size_t position, std::span<const T> values) {
    const std::size_t at = position % ring_.size();
    const std::size_t whole = std::min(values.size(), ring_.size() - at);
    std::copy_n(values.data(), whole, ring_.data() + at);
    std::copy_n(values.data() + whole, values.size() - whole, ring_.data());
  }

  // Counts of all values ever written and read; 64 bits don't run over.
  static_assert(sizeof(std::size_t) == 8);
  std::vector<T> ring_;
  alignas(64) std::atomic<std::size_t> written_ = 0;
  alignas(64) std::atomic<std::size_t> read_ = 0;
};

using FloatQueue = RingQueue<float>;
using ByteQueue = RingQueue<std::uint8_t>;

}  // namespace halveron::platform
