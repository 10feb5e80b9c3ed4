#include "media/midi_file_writer.h"

#include <algorithm>
#include <bit>
#include <cmath>
#include <cstddef>
#include <span>

#include "platform/whole_file.h"

namespace halveron::media {

namespace {

// Written here and not by libsmf, which reads back what it has saved and stops the program at an
// escape: no clock, start or song position could be written with it.

using Bytes = std::vector<std::uint8_t>;

constexpr std::uint8_t kSysEx = 0xF0;
constexpr std::uint8_t kEscape = 0xF7;
constexpr std::uint8_t kMeta = 0xFF;
constexpr std::uint8_t kMetaEnd = 0x2F;
constexpr std::uint8_t kMetaTempo = 0x51;
constexpr std::uint8_t kMetaTimeSignature = 0x58;
constexpr double kMicrosecondsPerMinute = 6.0e7;
constexpr double kLongestQuarter = 16777215.0;  // microseconds, in three bytes
constexpr std::uint8_t kClocksPerBeat = 24;
constexpr std::uint8_t kThirtySecondsPerQuarter = 8;
constexpr std::uint32_t kLargestQuantity = 0x0FFFFFFF;

struct PlacedEvent {
  std::uint32_t ticks;
  Bytes bytes;  // as they stand in a track, behind their time
};

std::uint32_t TicksOf(double quarters) {
  const double ticks = std::round(quarters * kWrittenTicksPerQuarter);
  return static_cast<std::uint32_t>(std::clamp(ticks, 0.0, static_cast<double>(kLargestQuantity)));
}

void AppendBigEndian(Bytes& out, std::uint32_t value, int bytes) {
  for (int shift = 8 * (bytes - 1); shift >= 0; shift -= 8) {
    out.push_back(static_cast<std::uint8_t>(value >> shift));
  }
}

/// Seven bits a byte, all but the last marked.
void AppendQuantity(Bytes& out, std::uint32_t value) {
  for (int shift = 21; shift > 0; shift -= 7) {
    if (value >> shift) out.push_back(static_cast<std::uint8_t>((value >> shift & 0x7F) | 0x80));
  }
  out.push_back(static_cast<std::uint8_t>(value & 0x7F));
}

Bytes MetaEvent(std::uint8_t kind, const Bytes& data) {
  Bytes event{kMeta, kind};
  AppendQuantity(event, static_cast<std::uint32_t>(data.size()));
  event.insert(event.end(), data.begin(), data.end());
  return event;
}

Bytes TempoEvent(double tempo) {
  const double micros =
      std::clamp(std::round(kMicrosecondsPerMinute / tempo), 1.0, kLongestQuarter);
  Bytes data;
  AppendBigEndian(data, static_cast<std::uint32_t>(micros), 3);
  return MetaEvent(kMetaTempo, data);
}

Bytes TimeSignatureEvent(const TempoChange& change) {
  const auto denominator = static_cast<unsigned>(std::max(change.denominator, 1));
  return MetaEvent(kMetaTimeSignature, {static_cast<std::uint8_t>(change.numerator),
                                        static_cast<std::uint8_t>(std::bit_width(denominator) - 1),
                                        kClocksPerBeat, kThirtySecondsPerQuarter});
}

/// A message of a channel stands as it is, a dump behind its length, any other in an escape.
Bytes MessageEvent(const Bytes& message) {
  if (message[0] < kSysEx) return message;
  const bool isDump = message[0] == kSysEx;
  const auto data = std::span(message).subspan(isDump ? 1 : 0);
  Bytes event{isDump ? kSysEx : kEscape};
  AppendQuantity(event, static_cast<std::uint32_t>(data.size()));
  event.insert(event.end(), data.begin(), data.end());
  return event;
}

/// Tempos stand before messages of the same time.
std::vector<PlacedEvent> EventsOf(const MidiFile& file) {
  std::vector<PlacedEvent> events;
  const TempoChange* last = nullptr;
  for (const TempoChange& change : file.tempos) {
    const std::uint32_t ticks = TicksOf(change.quarters);
    if (!last || last->numerator != change.numerator || last->denominator != change.denominator) {
      events.push_back({ticks, TimeSignatureEvent(change)});
    }
    if (!last || last->tempo != change.tempo) events.push_back({ticks, TempoEvent(change.tempo)});
    last = &change;
  }
  for (const MidiFileEvent& event : file.events) {
    if (!event.bytes.empty()) {
      events.push_back({TicksOf(event.quarters), MessageEvent(event.bytes)});
    }
  }
  std::stable_sort(events.begin(), events.end(),
                   [](const PlacedEvent& a, const PlacedEvent& b) { return a.ticks < b.ticks; });
  return events;
}

Bytes TrackOf(const MidiFile& file) {
  Bytes track;
  std::uint32_t now = 0;
  for (const PlacedEvent& event : EventsOf(file)) {
    AppendQuantity(track, event.ticks - now);
    track.insert(track.end(), event.bytes.begin(), event.bytes.end());
    now = event.ticks;
  }
  AppendQuantity(track, std::max(TicksOf(file.quarters), now) - now);
  const Bytes end = MetaEvent(kMetaEnd, {});
  track.insert(track.end(), end.begin(), end.end());
  return track;
}

}  // namespace

void WriteMidiFile(const std::string& path, const MidiFile& file) {
  const Bytes track = TrackOf(file);
  Bytes bytes{'M', 'T', 'h', 'd'};
  AppendBigEndian(bytes, 6, 4);
  AppendBigEndian(bytes, 0, 2);  // format
  AppendBigEndian(bytes, 1, 2);  // tracks
  AppendBigEndian(bytes, kWrittenTicksPerQuarter, 2);
  for (const char letter : {'M', 'T', 'r', 'k'}) {
    bytes.push_back(static_cast<std::uint8_t>(letter));
  }
  AppendBigEndian(bytes, static_cast<std::uint32_t>(track.size()), 4);
  bytes.insert(bytes.end(), track.begin(), track.end());
  platform::WriteWholeFile(path, std::as_bytes(std::span(bytes)));
}

}  // namespace halveron::media
