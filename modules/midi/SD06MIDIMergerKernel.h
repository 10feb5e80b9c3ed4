// SD06 MIDI Merger kernel: many streams into one.
#pragma once

#include <array>
#include <span>

#include "framework/midi_queue.h"
#include "modules/midi/dump_merger.h"
#include "modules/midi/passing_notes.h"

namespace halveron {

/// A burst leaves one word a sample, in order. Where the queue has no room for a word of every
/// input, the whole sample is lost, so that no input's messages change their order.
struct SD06MIDIMergerKernel {
  static constexpr int kInputs = 16;
  static constexpr int kQueueWords = 1024;

  MidiQueue<kQueueWords> queue;

  /// Queues the words of one sample, `words[i]` of input `inputs[i]`, in their order; false if they
  /// were lost.
  bool Take(std::span<const MidiCableWord> words, std::span<const int> inputs) {
    if (releasing_ != 0) QueueReleases();
    const bool isFull = queue.FreeCount() < kInputs;
    bool isLost = false;
    for (std::size_t i = 0; i < words.size(); ++i) {
      const MidiCableWord word = words[i];
      if (word.IsNone()) continue;
      isLost = isLost || isFull;
      if (isFull) continue;
      const auto input = static_cast<std::size_t>(inputs[i]);
      queue.TryPush(word.IsPacket() ? dumps_.Pass(input, word) : word);
      notes_[input].Pass(word);
    }
    return !isLost;
  }

  /// Ends the notes of an input, when nothing more can come from it.
  void Release(int input) {
    notes_[static_cast<std::size_t>(input)].ReleaseAll();
    dumps_.Forget(static_cast<std::size_t>(input));
    releasing_ |= 1u << input;
  }

 private:
  /// As many as find room. They come before what the inputs bring.
  void QueueReleases() {
    for (std::size_t i = 0; i < notes_.size(); ++i) {
      while (queue.FreeCount() > 0 && (releasing_ >> i & 1) != 0) {
        const MidiCableWord noteOff = notes_[i].NextRelease();
        if (noteOff.IsNone()) {
          releasing_ &= ~(1u << i);
        } else {
          queue.TryPush(noteOff);
        }
      }
    }
  }

  std::array<PassingNotes, kInputs> notes_;
  DumpMerger<kInputs> dumps_;
  std::uint32_t releasing_ = 0;  // the inputs whose notes are to be ended, one bit each
};

}  // namespace halveron
