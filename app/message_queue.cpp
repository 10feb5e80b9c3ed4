#include "app/message_queue.h"

#include <array>
#include <cstring>

namespace halveron {

bool MessageQueue::Push(double time, std::span<const std::uint8_t> bytes) {
  const Head head{time, static_cast<std::uint32_t>(bytes.size())};
  std::array<std::uint8_t, sizeof head> headBytes;
  std::memcpy(headBytes.data(), &head, sizeof head);
  return ring_.WriteWhole(headBytes, bytes);
}

bool MessageQueue::PeekHead(Head& head) const {
  std::array<std::uint8_t, sizeof head> bytes;
  if (ring_.Peek(bytes) < bytes.size()) return false;
  std::memcpy(&head, bytes.data(), sizeof head);
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
  ring_.Drop(sizeof head);
  length = ring_.Read(room.first(head.length));
  return true;
}

}  // namespace halveron
