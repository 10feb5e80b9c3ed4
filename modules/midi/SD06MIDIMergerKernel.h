// SD06 MIDI Merger kernel: many streams into one.
#pragma once

#include <span>

#include "framework/midi_queue.h"

namespace halveron {

/// A burst leaves one word a sample, in order. Where the queue has no room for a word of every
/// input, the whole sample is lost, so that no input's messages change their order.
struct SD06MIDIMergerKernel {
  static constexpr int kInputs = 16;
  static constexpr int kQueueWords = 1024;

  MidiQueue<kQueueWords> queue;

  /// Queues the words of one sample, in the order of the inputs; false if they were lost.
  bool Take(std::span<const MidiCableWord> words) {
    const bool isFull = queue.FreeCount() < kInputs;
    bool isLost = false;
    for (const MidiCableWord word : words) {
      if (word.IsNone()) continue;
      isLost = isLost || isFull;
      if (!isFull) queue.TryPush(word);
    }
    return !isLost;
  }
};

}  // namespace halveron
