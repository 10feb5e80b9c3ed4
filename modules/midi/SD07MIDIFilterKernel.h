// SD07 MIDI Filter kernel: which words pass.
#pragma once

#include <array>

#include "framework/midi_cable_word.h"

namespace halveron {

struct SD07MIDIFilterKernel {
  enum Class : int {
    kNotes,
    kControlChanges,
    kPitchBend,
    kKeyPressure,
    kChannelPressure,
    kProgramChanges,
    kSysEx,
    kRealTime,
    kSongPosition,
    kClock,
    kOthers,
    kClasses
  };
  static constexpr int kEveryChannel = 255;

  std::array<bool, kClasses> passes = MakeAllPass();
  int channelFilter = kEveryChannel;  ///< 0 to 15, or every channel

  static constexpr Class ClassOf(MidiCableWord word) {
    switch (word.Kind()) {
      case midi::kNoteOff:
      case midi::kNoteOn:
        return kNotes;
      case midi::kKeyPressure:
        return kKeyPressure;
      case midi::kControlChange:
        return kControlChanges;
      case midi::kProgramChange:
        return kProgramChanges;
      case midi::kChannelPressure:
        return kChannelPressure;
      case midi::kPitchBend:
        return kPitchBend;
      case midi::kSystem:
        return ClassOfSystem(word.Status());
      default:
        return word.IsPacket() ? kSysEx : kOthers;
    }
  }

  bool Passes(MidiCableWord word) const {
    if (!passes[ClassOf(word)]) return false;
    return !word.IsChannelMessage() || channelFilter == kEveryChannel ||
           channelFilter == word.Channel();
  }

 private:
  static constexpr std::array<bool, kClasses> MakeAllPass() {
    std::array<bool, kClasses> all{};
    for (bool& flag : all) flag = true;
    return all;
  }

  static constexpr Class ClassOfSystem(std::uint8_t status) {
    switch (status) {
      case midi::kSysExStart:
      case midi::kSysExEnd:
        return kSysEx;
      case midi::kTimeCode:
      case midi::kClock:
        return kClock;
      case midi::kSongPosition:
      case midi::kSongSelect:
        return kSongPosition;
      default:
        return status > midi::kClock ? kRealTime : kOthers;
    }
  }
};

}  // namespace halveron
