// A queue of MIDI words that belongs to the audio thread.
#pragma once

#include <array>

#include "framework/midi_cable_word.h"

namespace halveron {

/// First in, first out, with a bound: for what one thread both fills and empties, such as a burst
/// that leaves one word a sample.
template <int kWords>
class MidiQueue {
 public:
  static constexpr int kCapacity = kWords;

  /// False, with the queue as it was, if it is full.
  bool TryPush(MidiCableWord word) {
    if (size_ == kWords) return false;
    int place = front_ + size_;
    if (place >= kWords) place -= kWords;
    words_[static_cast<std::size_t>(place)] = word;
    ++size_;
    return true;
  }

  /// The oldest word, or none.
  MidiCableWord Pop() {
    if (size_ == 0) return {};
    const MidiCableWord word = words_[static_cast<std::size_t>(front_)];
    if (++front_ == kWords) front_ = 0;
    --size_;
    return word;
  }

  bool IsEmpty() const { return size_ == 0; }
  int FreeCount() const { return kWords - size_; }
  void Clear() { front_ = size_ = 0; }

 private:
  std::array<MidiCableWord, kWords> words_{};
  int front_ = 0;
  int size_ = 0;
};

}  // namespace halveron
