// One MIDI message, or a packet of a system exclusive dump, in the cell of a voltage.
#pragma once

#include <bit>
#include <cstdint>

#include "framework/midi_message.h"

namespace halveron {

/// Four bytes carried bit for bit by a MIDI patch point, one word per sample.
///
/// Ordinary message: status (0x80 or above), data 1, data 2, extra byte. System exclusive packet:
/// stream number 1 to 16, then three payload bytes padded with kPadding. 0 means no message.
struct MidiCableWord {
  std::uint32_t bits = 0;

  static constexpr std::uint8_t kPadding = 0xF4;

  static constexpr MidiCableWord FromBytes(unsigned byte0, unsigned byte1, unsigned byte2,
                                           unsigned byte3 = 0) {
    return {(byte0 & 0xFF) | (byte1 & 0xFF) << 8 | (byte2 & 0xFF) << 16 | (byte3 & 0xFF) << 24};
  }
  /// A channel message: `kind` from midi::kNoteOff to midi::kPitchBend, `channel` from 0.
  static constexpr MidiCableWord ChannelMessage(unsigned kind, unsigned channel, unsigned data1,
                                                unsigned data2 = 0) {
    return FromBytes(kind | (channel & 0x0F), data1 & 0x7F, data2 & 0x7F);
  }
  static MidiCableWord FromCell(float cell) { return {std::bit_cast<std::uint32_t>(cell)}; }
  float ToCell() const { return std::bit_cast<float>(bits); }

  constexpr std::uint8_t Byte(int index) const {
    return static_cast<std::uint8_t>(bits >> (8 * index));
  }
  constexpr std::uint8_t Status() const { return Byte(0); }
  constexpr std::uint8_t Data1() const { return Byte(1); }
  constexpr std::uint8_t Data2() const { return Byte(2); }
  constexpr std::uint8_t Extra() const { return Byte(3); }
  /// The high nibble: midi::kNoteOff to midi::kPitchBend, midi::kSystem, or below 0x80 for none
  /// and for packets.
  constexpr std::uint8_t Kind() const { return Status() & 0xF0; }
  constexpr std::uint8_t Channel() const { return Status() & 0x0F; }

  /// The same message with another status byte.
  constexpr MidiCableWord WithStatus(unsigned status) const {
    return {(bits & 0xFFFFFF00) | (status & 0xFF)};
  }
  /// The release of the note of a note-on, its velocity kept.
  constexpr MidiCableWord AsNoteOff() const { return WithStatus(midi::kNoteOff | Channel()); }

  constexpr bool IsNone() const { return bits == 0; }
  constexpr bool IsMessage() const { return Status() > 16; }
  constexpr bool IsPacket() const { return Status() >= 1 && Status() <= 16; }
  constexpr bool IsChannelMessage() const { return midi::IsChannelStatus(Status()); }
  constexpr bool IsNoteOn() const { return Kind() == midi::kNoteOn && Data2() != 0; }
  constexpr bool IsNoteOff() const {
    return Kind() == midi::kNoteOff || (Kind() == midi::kNoteOn && Data2() == 0);
  }
  constexpr bool IsControlChange() const { return Kind() == midi::kControlChange; }
  /// Controllers 123 to 126, which silence all notes.
  constexpr bool IsAllNotesOff() const {
    return IsControlChange() && Data1() >= midi::kAllNotesOff && Data1() <= midi::kLastAllNotesOff;
  }

  friend constexpr bool operator==(MidiCableWord, MidiCableWord) = default;
};

}  // namespace halveron
