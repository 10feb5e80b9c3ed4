// SD09 MIDI Channel Converter kernel: a channel for each channel.
#pragma once

#include <array>
#include <cstdint>

#include "framework/midi_cable_word.h"

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

  MidiCableWord Convert(MidiCableWord word) {
    if (!word.IsChannelMessage()) return word;
    const std::uint8_t from = word.Channel();
    std::uint8_t& held = sounding[from][word.Data1() & midi::kLargestData];
    std::uint8_t to = map[from];
    if (word.IsNoteOn()) {
      held = to;
    } else if ((word.IsNoteOff() || word.Kind() == midi::kKeyPressure) && held != kSilent) {
      to = held;
      if (word.IsNoteOff()) held = kSilent;
    }
    return word.WithStatus(word.Kind() | to);
  }

 private:
  static constexpr std::uint8_t kSilent = 0xFF;

  /// The channel on which each note sounds.
  std::array<std::array<std::uint8_t, midi::kKeys>, midi::kChannels> sounding{};
};

}  // namespace halveron
