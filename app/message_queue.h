// Messages from one thread to another, one of which may be the audio thread.
#pragma once

#include <cstdint>
#include <span>

#include "platform/ring_queue.h"

namespace halveron {

/// First in, first out, with one writer and one reader, which neither lock nor allocate. A message
/// that finds no room is dropped.
class MessageQueue {
 public:
  /// Room in bytes, each message taking its own and a head of a few.
  explicit MessageQueue(std::size_t room) : ring_(room) {}

  /// Writer: false if the message was dropped. `time` is the sender's to give a meaning.
  bool Push(double time, std::span<const std::uint8_t> bytes);

  /// Reader: the next message's time; false if none waits.
  bool Peek(double& time) const;
  /// Reader: takes the next message into `room`, at its beginning, and gives its length. False, and
  /// the message stays, if it is longer than the room; false if none waits.
  bool Pop(std::span<std::uint8_t> room, std::size_t& length);

 private:
  struct Head {
    double time;
    std::uint32_t length;
  };

  bool PeekHead(Head& head) const;

  platform::ByteQueue ring_;
};

}  // namespace halveron
