// Keeps dumps apart that come from several sources and leave by one cable.
#pragma once

#include <array>
#include <cstdint>

#include "framework/sysex.h"

namespace halveron {

/// Every source numbers its dumps from 1. A dump whose number another source is using gets a free
/// one for as long as it lasts; all others keep theirs.
template <std::size_t kSources>
class DumpMerger {
 public:
  /// The packet as it is to be sent.
  MidiCableWord Pass(std::size_t source, MidiCableWord packet) {
    const SysExPayload payload(packet);
    std::uint8_t& number = numbers_[source][packet.Status()];
    if (payload.IsHead() && number == 0) number = Claim(source, packet.Status());
    // The rest of a dump whose beginning was not heard goes on as it is.
    if (number == 0) return packet;
    const MidiCableWord sent = packet.WithStatus(number);
    if (payload.ended) {
      users_[number] = kNobody;
      number = 0;
    }
    return sent;
  }

  /// A source that has gone ends none of its dumps.
  void Forget(std::size_t source) {
    numbers_[source] = {};
    for (std::uint8_t& user : users_) {
      if (user == source + 1) user = kNobody;
    }
  }

 private:
  static constexpr std::uint8_t kNobody = 0;

  using PerStream = std::array<std::uint8_t, kSysExStreams + 1>;

  /// With all numbers in use, the dump keeps its own.
  std::uint8_t Claim(std::size_t source, std::uint8_t wanted) {
    int number = wanted;
    for (int tried = 0; tried < kSysExStreams && users_[number] != kNobody; ++tried) {
      number = number % kSysExStreams + 1;
    }
    if (users_[number] != kNobody) number = wanted;
    users_[number] = static_cast<std::uint8_t>(source + 1);
    return static_cast<std::uint8_t>(number);
  }

  std::array<PerStream, kSources> numbers_{};  // under which a source's dump goes on, 0 for none
  PerStream users_{};                          // the source that uses a number, from 1
};

}  // namespace halveron
