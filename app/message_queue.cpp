#include "app/message_queue.h"

#include <algorithm>
#include <cstring>

namespace halveron {

void MessageQueue::Write(std::size_t at, std::span<const std::uint8_t> bytes) {
  const std::size_t whole = std::min(bytes.size(), ring_.size() - at);
  std::copy_n(bytes.begin(), whole, ring_.begin() + static_cast<std::ptrdiff_t>(at));
  std::copy(bytes.begin() + static_cast<std::ptrdiff_t>(whole), bytes.end(), ring_.begin());
}

void MessageQueue::Read(std::size_t at, std::span<std::uint8_t> bytes) const {
  const std::size_t whole = std::min(bytes.size(), ring_.size() - at);
  const auto start = ring_.begin() + static_cast<std::ptrdiff_t>(at);
  const auto rest = std::copy_n(start, whole, bytes.begin());
  std::copy_n(ring_.begin(), bytes.size() - whole, rest);
}

bool MessageQueue::Push(double time, std::span<const std::uint8_t> bytes) {
  const std::size_t at = written_.load(std::memory_order_relaxed);
  const std::size_t taken = Wrapped(at + ring_.size() - read_.load(std::memory_order_acquire));
  const std::size_t needed = sizeof(Head) + bytes.size();
  if (needed > ring_.size() - 1 - taken) return false;
  const Head head{time, static_cast<std::uint32_t>(bytes.size())};
  std::uint8_t headBytes[sizeof head];
  std::memcpy(headBytes, &head, sizeof head);
  Write(at, headBytes);
  Write(Wrapped(at + sizeof head), bytes);
  written_.store(Wrapped(at + needed), std::memory_order_release);
  return true;
}

bool MessageQueue::PeekHead(Head& head) const {
  const std::size_t at = read_.load(std::memory_order_relaxed);
  if (at == written_.load(std::memory_order_acquire)) return false;
  std::uint8_t bytes[sizeof head];
  Read(at, bytes);
  std::memcpy(&head, bytes, sizeof head);
  return true;
}

bool MessageQueue::Peek(double& time) const {
  Head head{};
  if (!PeekHead(head)) return false;
  time = head.time;
  return true;
}

bool MessageQueue::Pop(std::span<std::uint8_t> room, std::size_t& length) {
  Head head{};
  if (!PeekHead(head) || head.length > room.size()) return false;
  const std::size_t at = Wrapped(read_.load(std::memory_order_relaxed) + sizeof head);
  Read(at, room.first(head.length));
  length = head.length;
  read_.store(Wrapped(at + head.length), std::memory_order_release);
  return true;
}

}  // namespace halveron
