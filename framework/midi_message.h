// The numbers of MIDI 1.0: status bytes, controllers and the names of keys.
#pragma once

#include <array>
#include <cstdint>

namespace halveron::midi {

inline constexpr int kChannels = 16;
inline constexpr int kKeys = 128;
inline constexpr int kLargestData = 127;

// Channel messages; the channel, 0 to 15, stands in the low nibble.
inline constexpr std::uint8_t kNoteOff = 0x80;
inline constexpr std::uint8_t kNoteOn = 0x90;
inline constexpr std::uint8_t kKeyPressure = 0xA0;
inline constexpr std::uint8_t kControlChange = 0xB0;
inline constexpr std::uint8_t kProgramChange = 0xC0;
inline constexpr std::uint8_t kChannelPressure = 0xD0;
inline constexpr std::uint8_t kPitchBend = 0xE0;
/// High nibble of all system messages.
inline constexpr std::uint8_t kSystem = 0xF0;

// System common messages.
inline constexpr std::uint8_t kSysExStart = 0xF0;
inline constexpr std::uint8_t kTimeCode = 0xF1;
inline constexpr std::uint8_t kSongPosition = 0xF2;
inline constexpr std::uint8_t kSongSelect = 0xF3;
inline constexpr std::uint8_t kTuneRequest = 0xF6;
inline constexpr std::uint8_t kSysExEnd = 0xF7;

// System real-time messages.
inline constexpr std::uint8_t kClock = 0xF8;
inline constexpr std::uint8_t kStart = 0xFA;
inline constexpr std::uint8_t kContinue = 0xFB;
inline constexpr std::uint8_t kStop = 0xFC;
inline constexpr std::uint8_t kActiveSensing = 0xFE;
inline constexpr std::uint8_t kReset = 0xFF;

// Controllers.
inline constexpr int kModulationWheel = 1;
inline constexpr int kDataEntry = 6;
inline constexpr int kVolume = 7;
inline constexpr int kPan = 10;
inline constexpr int kExpression = 11;
/// From a controller below 32 to the one that carries its fine half.
inline constexpr int kFineOffset = 32;
inline constexpr int kBrightness = 74;
inline constexpr int kVibratoRate = 76;
inline constexpr int kVibratoDepth = 77;
inline constexpr int kDataIncrement = 96;
inline constexpr int kDataDecrement = 97;
inline constexpr int kUnregisteredFine = 98;
inline constexpr int kUnregisteredCoarse = 99;
inline constexpr int kRegisteredFine = 100;
inline constexpr int kRegisteredCoarse = 101;
/// The first of the four that silence all notes: 123 to 126.
inline constexpr int kAllNotesOff = 123;
inline constexpr int kLastAllNotesOff = 126;

/// Whether a message of this status belongs to a channel.
constexpr bool IsChannelStatus(unsigned status) { return status >= kNoteOff && status < kSystem; }

/// Bytes of the message that a status byte begins; 1 for SysEx, whose length it does not tell.
constexpr int MessageLength(unsigned status) {
  if (status >= 0xF4 || status < kNoteOff || status == kSysExStart) return 1;
  if (status > kSysExStart) return status == kSongPosition ? 3 : 2;
  return status >= kProgramChange && status < kPitchBend ? 2 : 3;
}

namespace detail {

using NoteText = std::array<char, 5>;

constexpr std::array<NoteText, kKeys> MakeNoteNames() {
  constexpr char kLetters[] = "CCDDEFFGGAAB";
  constexpr bool kSharp[] = {false, true,  false, true,  false, false,
                             true,  false, true,  false, true,  false};
  std::array<NoteText, kKeys> names{};
  for (int key = 0; key < kKeys; ++key) {
    char* text = names[static_cast<std::size_t>(key)].data();
    *text++ = kLetters[key % 12];
    if (kSharp[key % 12]) *text++ = '#';
    const int octave = key / 12 - 1;
    if (octave < 0) *text++ = '-';
    *text = static_cast<char>('0' + (octave < 0 ? -octave : octave));
  }
  return names;
}

inline constexpr std::array<NoteText, kKeys> kNoteNames = MakeNoteNames();

}  // namespace detail

/// The name of a key 0 to 127, "C-1" to "G9"; 60 is "C4", 69 is "A4".
constexpr const char* NoteName(int key) {
  return detail::kNoteNames[static_cast<std::size_t>(key & kLargestData)].data();
}

}  // namespace halveron::midi
