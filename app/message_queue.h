// Messages from one thread to another, one of which may be the audio thread.
#pragma once

#include <atomic>
#include <cstdint>
#include <span>
#include <vector>

namespace halveron {

/// First in, first out, with one writer and one reader, which neither lock nor allocate. A message
/// that finds no room is dropped.
class MessageQueue {
 public:
  /// Room in bytes, each message taking its own and a head of a few.
  explicit MessageQueue(std::size_t room) : ring_(room + 1) {}

  /// Writer: false if the message was dropped. `time` is the sender's to give a meaning.
  bool Push(double time, std::span<const std::uint8_t> bytes);

  /// Reader: the next message's time; false if none waits.
  bool Peek(double& time) const;
  /// Reader: takes the next message into `room`, at its beginning, and tells its length. False, and
  /// the message stays, if it is longer than the room; false if none waits.
  bool Pop(std::span<std::uint8_t> room, std::size_t& length);

 private:
  struct Head {
    double time;
    std::uint32_t length;
  };

  std::size_t Wrapped(std::size_t at) const { return at >= ring_.size() ? at - ring_.size() : at; }
  void Write(std::size_t at, std::span<const std::uint8_t> bytes);
  void Read(std::size_t at, std::span<std::uint8_t> bytes) const;
  bool PeekHead(Head& head) const;

  std::vector<std::uint8_t> ring_;  // one byte stays free, to tell full from empty
  std::atomic<std::size_t> written_ = 0;
  std::atomic<std::size_t> read_ = 0;
};

}  // namespace halveron
