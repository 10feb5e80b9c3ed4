// SD23 MIDI Note To Trigger kernel: which output a key belongs to.
#pragma once

#include <array>
#include <cstdint>

#include "framework/midi_cable_word.h"

namespace halveron {

/// Twelve outputs over twelve keys, or twelve white keys, from a base note on.
struct SD23MIDINoteToTriggerKernel {
  static constexpr int kOutputs = 12;
  static constexpr int kEveryChannel = 255;

  int channel = kEveryChannel;  ///< 0 to 15, or every channel
  int baseNote = 60;
  bool whiteKeys = false;
  std::uint32_t high = 0;  ///< the outputs at 1, one bit each

  /// Ordinal of a white key, from key 0; a black one has that of the white key under it.
  static constexpr int WhiteIndex(int key) {
    constexpr std::array<int, 12> kIndices{0, 0, 1, 1, 2, 3, 3, 4, 4, 5, 5, 6};
    return key / 12 * 7 + kIndices[static_cast<std::size_t>(key % 12)];
  }
  static constexpr bool IsBlack(int key) {
    return key > 0 && WhiteIndex(key) == WhiteIndex(key - 1);
  }

  bool IsHeard(MidiCableWord word) const {
    return !word.IsChannelMessage() || channel == kEveryChannel || channel == word.Channel();
  }

  /// Makes a key the first. With white keys only, a black one gives way to the white one under it.
  void SetBase(int key) {
    baseNote = whiteKeys && IsBlack(key) ? key - 1 : key;
    high = 0;
  }

  void Take(MidiCableWord word) {
    if (word.IsAllNotesOff()) high = 0;
    const int output = OutputOf(word.Data1());
    if (output < 0) return;
    if (word.IsNoteOn()) high |= 1u << output;
    if (word.IsNoteOff()) high &= ~(1u << output);
  }

 private:
  /// -1 for a key beyond the outputs.
  int OutputOf(int key) const {
    const int offset = whiteKeys ? WhiteIndex(key) - WhiteIndex(baseNote) : key - baseNote;
    return offset >= 0 && offset < kOutputs ? offset : -1;
  }
};

}  // namespace halveron
