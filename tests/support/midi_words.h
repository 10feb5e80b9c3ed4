// MIDI messages as cables carry them.
#pragma once

#include "framework/midi_cable_word.h"

namespace halveron::testing {

using Word = MidiCableWord;

inline Word On(int key, int velocity = 100, int channel = 0) {
  return Word::FromBytes(0x90 + channel, key, velocity);
}
inline Word Off(int key, int channel = 0) { return Word::FromBytes(0x80 + channel, key, 64); }
inline Word Controller(int number, int data, int channel = 0) {
  return Word::FromBytes(0xB0 + channel, number, data);
}

/// Any bits, with a channel message in every other word.
template <class Random>
Word AnyWord(Random& random, int index) {
  Word word{static_cast<std::uint32_t>(random() * 2654435761u)};
  if (index % 2) word.bits |= 0x80;
  return word;
}

}  // namespace halveron::testing
