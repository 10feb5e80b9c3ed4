// The notes that have passed a point, so that they can be ended when their source goes.
#pragma once

#include <array>
#include <bit>
#include <cstdint>

#include "modules/midi/note_output.h"

namespace halveron {

/// Who pulls a cable while keys are down leaves notes without an end. A module that passes notes on
/// shows each word here, calls ReleaseAll when the cable goes, and sends what NextRelease answers.
class PassingNotes {
 public:
  /// A word that goes on. A note that begins again needs no end from here.
  void Pass(MidiCableWord word) {
    if (word.IsNoteOn() || word.IsNoteOff()) {
      Set(held_, word.Channel(), word.Data1(), word.IsNoteOn());
      if (released_ != 0) Forget(word.Channel(), word.Data1());
    } else if (word.IsAllNotesOff()) {
      held_[word.Channel()] = {};
    }
  }

  /// All that is held is to be ended.
  void ReleaseAll() {
    for (unsigned channel = 0; channel < midi::kChannels; ++channel) {
      for (unsigned key = 0; key < midi::kKeys; ++key) {
        if (Has(held_, channel, key)) Release(channel, key);
      }
    }
  }
  /// One note is to be ended.
  void Release(unsigned channel, unsigned key) {
    Set(held_, channel, key, false);
    if (Has(ending_, channel, key)) return;
    Set(ending_, channel, key, true);
    ++released_;
  }

  /// The note-off of a note to be ended, or none.
  MidiCableWord NextRelease() {
    if (released_ == 0) return {};
    unsigned channel = 0;
    while (ending_[channel] == Keys{}) ++channel;
    const Keys& keys = ending_[channel];
    const auto key = static_cast<unsigned>(keys[0] != 0 ? std::countr_zero(keys[0])
                                                        : 64 + std::countr_zero(keys[1]));
    Forget(channel, key);
    return MidiCableWord::ChannelMessage(midi::kNoteOff, channel, key, kReleaseVelocity);
  }

 private:
  using Keys = std::array<std::uint64_t, 2>;  // one bit each
  using Notes = std::array<Keys, midi::kChannels>;

  static bool Has(const Notes& notes, unsigned channel, unsigned key) {
    return (notes[channel][key >> 6 & 1] >> (key & 63) & 1) != 0;
  }
  static void Set(Notes& notes, unsigned channel, unsigned key, bool on) {
    std::uint64_t& keys = notes[channel][key >> 6 & 1];
    const std::uint64_t bit = std::uint64_t{1} << (key & 63);
    keys = on ? keys | bit : keys & ~bit;
  }
  void Forget(unsigned channel, unsigned key) {
    if (!Has(ending_, channel, key)) return;
    Set(ending_, channel, key, false);
    --released_;
  }

  Notes held_{};
  Notes ending_{};
  int released_ = 0;
};

}  // namespace halveron
