#include "modules/midi/SD08MIDIMonitorDecoder.h"

#include <cstdarg>
#include <cstdio>

#include "framework/midi_controller.h"
#include "modules/midi/midi_names.h"

namespace halveron {

namespace {

constexpr int kNonRealTimeId = 0x7E;
constexpr int kRealTimeId = 0x7F;
constexpr int kExtendedId = 0x00;
constexpr std::size_t kExtendedIdBytes = 3;
constexpr int kNullParameter = 0x7F;

bool IsDataEntry(int controller) {
  return controller == midi::kDataEntry || controller == midi::kDataEntry + midi::kFineOffset ||
         controller == midi::kDataIncrement || controller == midi::kDataDecrement;
}

}  // namespace

void SD08MIDIMonitorDecoder::Append(const char* format, ...) {
  std::array<char, 256> line;
  std::va_list arguments;
  va_start(arguments, format);
  std::vsnprintf(line.data(), line.size(), format, arguments);
  va_end(arguments);
  text_ += line.data();
}

const std::string& SD08MIDIMonitorDecoder::Decode(MidiCableWord word) {
  text_.clear();
  if (word.IsPacket()) {
    DecodePacket(word);
    return text_;
  }
  if (word.Status() < midi::kNoteOff) return text_;
  CloseDataLine();
  if (word.IsChannelMessage()) {
    DecodeChannelMessage(word);
  } else {
    DecodeSystemMessage(word);
  }
  return text_;
}

void SD08MIDIMonitorDecoder::DecodeChannelMessage(MidiCableWord word) {
  const int channel = word.Channel() + 1;
  const int data1 = word.Data1();
  const int data2 = word.Data2();
  switch (word.Kind()) {
    case midi::kNoteOff:
    case midi::kNoteOn:
      Append(word.IsNoteOn() ? "Note On,  Chan: %d, Key: %d (%s), Velocity: %d\r\n"
                             : "Note Off, Chan: %d, Key: %d (%s), Velocity: %d\r\n",
             channel, data1, midi::NoteName(data1), data2);
      break;
    case midi::kKeyPressure:
      Append("Poly AT, Chan: %d, Key: %d (%s), Value: %d\r\n", channel, data1,
             midi::NoteName(data1), data2);
      break;
    case midi::kControlChange:
      DecodeControlChange(word);
      break;
    case midi::kProgramChange:
      Append("Program Change, Chan: %d, Program: %d\r\n", channel, data1);
      break;
    case midi::kChannelPressure:
      Append("Chan AT, Chan: %d, Value: %d\r\n", channel, data1);
      break;
    default:
      Append("Pitch Bend, Chan: %d, Value: %d\r\n", channel, (data2 - 64) * 128 + data1);
      break;
  }
}

void SD08MIDIMonitorDecoder::DecodeControlChange(MidiCableWord word) {
  const int controller = word.Data1();
  const int value = word.Data2();
  if (controller > midi::kLargestData) {
    Append("CC%d Negative!, Chan: %d, Value: %d\r\n", controller, word.Channel() + 1, value);
    return;
  }
  Append("CC%d, %s, Chan: %d, Value: %d\r\n", controller, ControllerName(controller),
         word.Channel() + 1, value);

  Channel& channel = channels_[word.Channel()];
  if (IsFineController(controller)) channel.fine[controller - midi::kFineOffset] = value;
  if (IsCoarseController(controller) && channel.fine[controller] != kUnknown) {
    Append("  > 14bit value: %d\r\n", (value << 7) + channel.fine[controller]);
  }
  switch (controller) {
    case midi::kUnregisteredFine:
    case midi::kRegisteredFine:
    case midi::kUnregisteredCoarse:
    case midi::kRegisteredCoarse: {
      const bool isRegistered = controller >= midi::kRegisteredFine;
      // The halves of one kind of number say nothing about the other.
      if (isRegistered != channel.isRegistered) {
        channel.parameterCoarse = channel.parameterFine = kUnknown;
      }
      channel.isRegistered = isRegistered;
      const bool isFine =
          controller == midi::kUnregisteredFine || controller == midi::kRegisteredFine;
      (isFine ? channel.parameterFine : channel.parameterCoarse) = value;
      break;
    }
    default:
      if (IsDataEntry(controller)) AppendParameter(channel);
      break;
  }
}

void SD08MIDIMonitorDecoder::AppendParameter(const Channel& channel) {
  const int coarse = channel.parameterCoarse;
  const int fine = channel.parameterFine;
  if (coarse == kUnknown || fine == kUnknown) return;
  const bool isNull = coarse == kNullParameter && fine == kNullParameter;
  Append(
      channel.isRegistered ? "  > RPN Paramter: %02X %02X Hex" : "  > NRPN Paramter: %02X %02X Hex",
      static_cast<unsigned>(coarse), static_cast<unsigned>(fine));
  if (isNull) {
    Append(" - (Null Function Number for RPN/NRPN)\r\n");
  } else if (channel.isRegistered) {
    Append(" - (%s)\r\n", RegisteredParameterName(coarse, fine));
  } else {
    Append("\r\n");
  }
}

void SD08MIDIMonitorDecoder::DecodeSystemMessage(MidiCableWord word) {
  switch (word.Status()) {
    case midi::kSysExStart:
      return Append("SysEx Start!! (F0)\r\n");
    case midi::kTimeCode:
      return DecodeTimeCode(word.Data1());
    case midi::kSongPosition:
      return Append("Song Position: %d beats\r\n", (word.Data2() << 7) + word.Data1());
    case midi::kSongSelect:
      return Append("Song Select: %d\r\n", word.Data1());
    case 0xF4:
    case 0xF5:
      return Append("Undefined!!\r\n");
    case midi::kTuneRequest:
      return Append("Tune Request\r\n");
    case midi::kSysExEnd:
      return Append("SysEx End!! (F7)\r\n");
    case midi::kClock:
      return Append("Sync Clock\r\n");
    case midi::kStart:
      return Append("Start (Transport)\r\n");
    case midi::kContinue:
      return Append("Continue (Transport)\r\n");
    case midi::kStop:
      return Append("Stop (Transport)\r\n");
    case midi::kActiveSensing:
      return Append("Active Sensing (Connection Alive)\r\n");
    case midi::kReset:
      return Append("Reset all\r\n");
    default:
      return Append("Undefined\r\n");
  }
}

void SD08MIDIMonitorDecoder::DecodeTimeCode(std::uint8_t data) {
  const int piece = data >> 4 & 7;
  const int value = data & 15;
  timeCode_[static_cast<std::size_t>(piece)] = static_cast<std::uint8_t>(value);
  Append("MIDI Time Code Quarter Frame, Message Type: %d (%s), Value: %d\r\n", piece,
         TimeCodePieceName(piece), value);
  if (piece != 7) return;
  const auto& nibbles = timeCode_;
  const int frames = nibbles[0] | (nibbles[1] & 1) << 4;
  const int seconds = nibbles[2] | (nibbles[3] & 3) << 4;
  const int minutes = nibbles[4] | (nibbles[5] & 3) << 4;
  const int hours = nibbles[6] | (nibbles[7] & 1) << 4;
  Append("  > Current Time: %02d:%02d:%02d:%02d - %s\r\n", hours, minutes, seconds, frames,
         FrameRateName(nibbles[7] >> 1 & 3));
}

void SD08MIDIMonitorDecoder::DecodePacket(MidiCableWord packet) {
  const int stream = packet.Byte(0);
  const SysExPayload payload(packet);
  bool& awaitsIdentifier = awaitsIdentifier_[static_cast<std::size_t>(stream)];
  if (payload.IsHead()) {
    CloseDataLine();
    Append("SysEx#%d Start (F0)\r\n", stream);
    awaitsIdentifier = true;
    return;
  }
  std::size_t shown = 0;
  if (openStream_ != stream) {
    CloseDataLine();
    if (awaitsIdentifier) shown = AppendIdentifier(stream, payload);
    // A dump that ends where its identifier should stand has no data.
    if (shown > 0 || !awaitsIdentifier) Append("SysEx#%d Data:", stream);
    openStream_ = shown > 0 || !awaitsIdentifier ? stream : 0;
    awaitsIdentifier = false;
  }
  for (; shown < payload.count; ++shown) {
    if (payload.bytes[shown] == midi::kSysExEnd) {
      CloseDataLine();
      Append("SysEx#%d End (F7)\r\n", stream);
      return;
    }
    Append(" %02X", static_cast<unsigned>(payload.bytes[shown]));
  }
}

std::size_t SD08MIDIMonitorDecoder::AppendIdentifier(int stream, const SysExPayload& payload) {
  const int id = payload.bytes[0];
  if (id == midi::kSysExEnd) return 0;
  if (id == kNonRealTimeId) {
    Append("Universal SysEx#%d Non-Real time message (7E)\r\n", stream);
  } else if (id == kRealTimeId) {
    Append("Universal SysEx#%d Real time message (7F)\r\n", stream);
  } else if (id == kExtendedId && payload.count == kExtendedIdBytes && !payload.ended) {
    Append("SysEx#%d Manufacturer ID: %02X %02X %02X (%s)\r\n", stream, payload.bytes[0],
           payload.bytes[1], payload.bytes[2], ManufacturerName(kExtendedId));
    return kExtendedIdBytes;
  } else if (IsKnownManufacturer(id)) {
    Append("SysEx#%d Manufacturer ID: %02X (%s)\r\n", stream, static_cast<unsigned>(id),
           ManufacturerName(id));
  } else {
    Append("SysEx#%d Undefined ID %02X\r\n", stream, static_cast<unsigned>(id));
  }
  return 1;
}

void SD08MIDIMonitorDecoder::CloseDataLine() {
  if (openStream_ != 0) text_ += "\r\n";
  openStream_ = 0;
}

}  // namespace halveron
