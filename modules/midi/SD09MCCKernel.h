// SD09 MIDI Channel Converter kernel: a channel for each channel.
#pragma once

#include <array>
#include <cstdint>

#include "modules/midi/passing_notes.h"

namespace halveron {

/// A note ends on the channel on which it began, whatever the map says by then.
struct SD09MCCKernel {
  static constexpr int kNoChannel = -1;
  /// The first of the sixteen controllers that set the map from outside.
  static constexpr int kFirstController = 20;

  SD09MCCKernel() {
    for (int channel = 0; channel < midi::kChannels; ++channel) {
      map[channel] = static_cast<std::uint8_t>(channel);
      sounding[channel].fill(kSilent);
    }
  }

  std::array<std::uint8_t, midi::kChannels> map{};  ///< 0 to 15, by channel
  int commandChannel = kNoChannel;

  /// Whether a word sets an entry of the map, and which; else kNoChannel. Such a word goes no
  /// further.
  int CommandedEntry(MidiCableWord word) const {
    if (!word.IsControlChange() || word.Channel() != commandChannel) return kNoChannel;
    const int entry = word.Data1() - kFirstController;
    return entry >= 0 && entry < midi::kChannels ? entry : kNoChannel;
  }

  /// The word to send for one that comes in, which may be none.
  MidiCableWord Convert(MidiCableWord word) {
    if (word.IsNone()) return passed_.NextRelease();
    if (!word.IsChannelMessage()) return word;
    const std::uint8_t from = word.Channel();
    std::uint8_t to = map[from];
    if (word.IsAllNotesOff()) {
      SilenceElsewhere(from, to);
    } else if (word.IsNoteOn() || word.IsNoteOff() || word.Kind() == midi::kKeyPressure) {
      // A key that is struck again before its end stays where it sounds.
      std::uint8_t& held = sounding[from][word.Data1() & midi::kLargestData];
      if (held != kSilent) to = held;
      if (word.IsNoteOn()) held = to;
      if (word.IsNoteOff()) held = kSilent;
    }
    const MidiCableWord sent = word.WithStatus(word.Kind() | to);
    passed_.Pass(sent);
    return sent;
  }

  /// Ends all notes, when nothing more can come in.
  void ReleaseAll() {
    for (auto& keys : sounding) keys.fill(kSilent);
    passed_.ReleaseAll();
  }

 private:
  static constexpr std::uint8_t kSilent = 0xFF;

  /// What silences a channel reaches the notes that began while the map was another.
  void SilenceElsewhere(std::uint8_t from, std::uint8_t to) {
    for (unsigned key = 0; key < midi::kKeys; ++key) {
      std::uint8_t& held = sounding[from][key];
      if (held != kSilent && held != to) passed_.Release(held, key);
      held = kSilent;
    }
  }

  PassingNotes passed_;
  /// The channel on which each note sounds.
  std::array<std::array<std::uint8_t, midi::kKeys>, midi::kChannels> sounding{};
};

}  // namespace halveron
