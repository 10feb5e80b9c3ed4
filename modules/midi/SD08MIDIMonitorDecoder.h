// SD08 MIDI Monitor decoder: MIDI words as readable text.
#pragma once

#include <array>
#include <cstdint>
#include <string>

#include "framework/midi_cable_word.h"
#include "framework/sysex.h"

namespace halveron {

/// Follows one stream: pairs of controllers, parameter numbers, time code and dumps.
class SD08MIDIMonitorDecoder {
 public:
  /// The text of a word, which holds until the next call. Its lines end in "\r\n"; that of a dump's
  /// bytes stays open until something else comes.
  const std::string& Decode(MidiCableWord word);

 private:
  static constexpr int kUnknown = -1;

  struct Channel {
    std::array<int, midi::kFineOffset> fine = MakeUnknown();  ///< of each pair
    int parameterCoarse = kUnknown;
    int parameterFine = kUnknown;
    bool isRegistered = false;

    static constexpr std::array<int, midi::kFineOffset> MakeUnknown() {
      std::array<int, midi::kFineOffset> values{};
      for (int& value : values) value = kUnknown;
      return values;
    }
  };

  [[gnu::format(printf, 2, 3)]] void Append(const char* format, ...);
  void DecodeChannelMessage(MidiCableWord word);
  void DecodeControlChange(MidiCableWord word);
  void AppendParameter(const Channel& channel);
  void DecodeSystemMessage(MidiCableWord word);
  void DecodeTimeCode(std::uint8_t data);
  void DecodePacket(MidiCableWord packet);
  /// Writes the identifier of a dump; the bytes that it took.
  std::size_t AppendIdentifier(int stream, const SysExPayload& payload);
  void CloseDataLine();

  std::string text_;
  std::array<Channel, midi::kChannels> channels_;
  std::array<std::uint8_t, 8> timeCode_{};  ///< nibbles of the quarter frames
  std::array<bool, kSysExStreams + 1> awaitsIdentifier_{};
  int openStream_ = 0;  ///< whose line of bytes is open
};

}  // namespace halveron
