#include "modules/midi/recorded_take_file.h"

#include <algorithm>

#include "framework/sysex.h"

namespace halveron {

namespace {

constexpr double kClockedTempo = 120.0;
constexpr std::size_t kMostDumpBytes = 3 * RecordedTake::kMostEvents;

}  // namespace

media::MidiFile ToMidiFile(const RecordedTake& take, double tempo) {
  media::MidiFile file;
  if (take.isClocked) tempo = kClockedTempo;
  file.tempos.push_back({0.0, 0.0, tempo, 4, 4});
  const double unitsPerQuarter =
      take.isClocked ? RecordedTake::kUnitsPerClock : RecordedTake::kUnitsPerSecond * 60.0 / tempo;
  const auto quartersOf = [&](std::uint32_t time) { return time / unitsPerQuarter; };
  const double secondsPerQuarter = 60.0 / tempo;

  SysExAssembler assembler(kMostDumpBytes);
  for (const auto& [time, word] : take.events) {
    const double quarters = quartersOf(time);
    media::MidiFileEvent event{quarters * secondsPerQuarter, quarters, {}};
    if (word.IsPacket()) {
      const SysExAssembler::Dump* dump = assembler.Take(word);
      if (!dump) continue;
      event.bytes = *dump;
    } else {
      for (int i = 0; i < midi::MessageLength(word.Status()); ++i) {
        event.bytes.push_back(word.Byte(i));
      }
    }
    file.events.push_back(std::move(event));
  }
  file.quarters = quartersOf(take.length);
  file.seconds = file.quarters * secondsPerQuarter;
  return file;
}

RecordedTake ToTake(const media::MidiFile& file, bool isClocked, std::size_t& left) {
  RecordedTake take;
  take.isClocked = isClocked;
  const auto unitsOf = [&](double seconds, double quarters) {
    const double units = isClocked ? quarters * RecordedTake::kUnitsPerClock
                                   : seconds * RecordedTake::kUnitsPerSecond;
    return static_cast<std::uint32_t>(
        std::clamp(units + 0.5, 0.0, static_cast<double>(RecordedTake::kLongest)));
  };
  SysExCutter cutter;
  left = 0;
  std::uint32_t last = 0;
  for (const media::MidiFileEvent& event : file.events) {
    const std::vector<std::uint8_t>& bytes = event.bytes;
    if (bytes.empty()) continue;
    const bool isDump = bytes[0] == midi::kSysExStart;
    const std::size_t words = isDump ? SysExCutter::PacketCount(bytes) : 1;
    if (take.events.size() + words > RecordedTake::kMostEvents) {
      ++left;
      continue;
    }
    last = std::max(last, unitsOf(event.seconds, event.quarters));
    if (isDump) {
      cutter.Cut(bytes, [&](MidiCableWord packet) { take.events.push_back({last, packet}); });
    } else if (bytes[0] >= midi::kNoteOff) {
      take.events.push_back(
          {last, MidiCableWord::FromBytes(bytes[0], bytes.size() > 1 ? bytes[1] : 0,
                                          bytes.size() > 2 ? bytes[2] : 0)});
    }
  }
  if (!take.events.empty()) {
    take.length = std::max({last, unitsOf(file.seconds, file.quarters), RecordedTake::kShortest});
  }
  return take;
}

}  // namespace halveron
