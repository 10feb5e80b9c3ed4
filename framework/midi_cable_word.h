// One MIDI message, or a packet of a system exclusive dump, in the cell of a voltage.
#pragma once

#include <bit>
#include <cstdint>

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
  static MidiCableWord FromCell(float cell) { return {std::bit_cast<std::uint32_t>(cell)}; }
  float ToCell() const { return std::bit_cast<float>(bits); }

  constexpr std::uint8_t Byte(int index) const {
    return static_cast<std::uint8_t>(bits >> (8 * index));
  }
  constexpr std::uint8_t Status() const { return Byte(0); }
  constexpr std::uint8_t Data1() const { return Byte(1); }
  constexpr std::uint8_t Data2() const { return Byte(2); }
  constexpr std::uint8_t Extra() const { return Byte(3); }
  /// 0x80 to 0xE0 for channel messages, 0xF0 for system messages, 0 for none and for packets.
  constexpr std::uint8_t Kind() const { return Status() & 0xF0; }
  constexpr std::uint8_t Channel() const { return Status() & 0x0F; }

  constexpr bool IsNone() const { return bits == 0; }
  constexpr bool IsMessage() const { return Status() > 16; }
  constexpr bool IsPacket() const { return Status() >= 1 && Status() <= 16; }
  constexpr bool IsNoteOn() const { return Kind() == 0x90 && Data2() != 0; }
  constexpr bool IsNoteOff() const { return Kind() == 0x80 || (Kind() == 0x90 && Data2() == 0); }
  /// Controllers 123 to 126, which silence all notes.
  constexpr bool IsAllNotesOff() const {
    return Kind() == 0xB0 && Data1() >= 123 && Data1() <= 126;
  }

  friend constexpr bool operator==(MidiCableWord, MidiCableWord) = default;
};

}  // namespace halveron
