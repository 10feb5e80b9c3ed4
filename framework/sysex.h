// System exclusive dumps as packets of a MIDI cable, and back.
#pragma once

#include <array>
#include <cstddef>
#include <cstdint>
#include <span>
#include <vector>

#include "framework/midi_cable_word.h"

namespace halveron {

/// Dumps that may be on their way over one cable at a time, numbered from 1.
inline constexpr int kSysExStreams = 16;

/// The bytes of a dump that one packet carries.
struct SysExPayload {
  explicit constexpr SysExPayload(MidiCableWord packet) {
    for (int i = 1; i <= 3; ++i) {
      const std::uint8_t byte = packet.Byte(i);
      if (i > 1 && byte == MidiCableWord::kPadding) return;
      bytes[count++] = byte;
      ended = byte == midi::kSysExEnd;
      if (ended || (i == 1 && byte == midi::kSysExStart)) return;
    }
  }

  constexpr bool IsHead() const { return bytes[0] == midi::kSysExStart; }
  std::span<const std::uint8_t> Bytes() const { return {bytes.data(), count}; }

  std::array<std::uint8_t, 3> bytes{};
  std::size_t count = 0;
  bool ended = false;  ///< holds the end of the dump
};

/// Cuts dumps into packets. One that does not begin with F0 goes on under the number of the last.
class SysExCutter {
 public:
  static constexpr std::size_t PacketCount(std::span<const std::uint8_t> dump) {
    const bool begins = !dump.empty() && dump[0] == midi::kSysExStart;
    return begins ? 1 + (dump.size() + 1) / 3 : (dump.size() + 2) / 3;
  }

  /// Calls `send` with each packet in order.
  template <class Send>
  void Cut(std::span<const std::uint8_t> dump, Send send) {
    std::size_t position = 0;
    if (!dump.empty() && dump[0] == midi::kSysExStart) {
      stream_ = stream_ % kSysExStreams + 1;
      send(MidiCableWord::FromBytes(stream_, midi::kSysExStart, MidiCableWord::kPadding, 0));
      position = 1;
    }
    const auto at = [&](std::size_t index) {
      return index < dump.size() ? dump[index] : MidiCableWord::kPadding;
    };
    for (; position < dump.size(); position += 3) {
      send(MidiCableWord::FromBytes(stream_, at(position), at(position + 1), at(position + 2)));
    }
  }

 private:
  unsigned stream_ = kSysExStreams;  // of the last dump; the first one gets 1
};

/// Puts the packets of one cable together again, dumps of several streams side by side. Allocates:
/// not for the audio thread.
class SysExAssembler {
 public:
  using Dump = std::vector<std::uint8_t>;

  /// A dump that has more bytes without an end is given up.
  explicit SysExAssembler(std::size_t mostBytes) : mostBytes_(mostBytes) {}

  /// The whole dump, from F0 to F7, with its last packet; null before. Holds until the next call.
  const Dump* Take(MidiCableWord packet) {
    const SysExPayload payload(packet);
    Dump& dump = dumps_[static_cast<std::size_t>(packet.Byte(0) - 1) % kSysExStreams];
    if (payload.IsHead()) dump.clear();
    // A tail whose head never came, or that was given up, is no dump.
    if (dump.empty() && !payload.IsHead()) return nullptr;
    for (const std::uint8_t byte : payload.Bytes()) dump.push_back(byte);
    if (dump.size() > mostBytes_) {
      dump.clear();
    } else if (payload.ended) {
      finished_.swap(dump);
      dump.clear();
      return &finished_;
    }
    return nullptr;
  }

 private:
  std::size_t mostBytes_;
  std::array<Dump, kSysExStreams> dumps_;
  Dump finished_;
};

}  // namespace halveron
