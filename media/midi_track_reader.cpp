#include "media/midi_track_reader.h"

#include <algorithm>
#include <limits>

#include "platform/file_error.h"

namespace halveron::media {

using platform::FileError;

namespace {

constexpr std::size_t kChunkHead = 8;
constexpr std::size_t kHeaderData = 6;
constexpr std::uint8_t kSysEx = 0xF0;
constexpr std::uint8_t kSysExEnd = 0xF7;  // also marks an escape or the next part of a SysEx
constexpr std::uint8_t kMeta = 0xFF;
constexpr std::uint8_t kEndOfTrack = 0x2F;
constexpr std::uint8_t kTempo = 0x51;
constexpr std::uint8_t kTimeSignature = 0x58;
constexpr std::int64_t kLastTick = std::numeric_limits<std::int32_t>::max() - 1;

int ChannelMessageData(std::uint8_t status) {
  const int kind = status & 0xF0;
  return kind == 0xC0 || kind == 0xD0 ? 1 : 2;
}

/// Bytes of a system message that may stand in an escape; 0 for what may not.
std::size_t SystemMessageLength(std::uint8_t status) {
  switch (status) {
    case 0xF2:
      return 3;
    case 0xF1:
    case 0xF3:
      return 2;
    case 0xF6:
    case 0xF8:
    case 0xFA:
    case 0xFB:
    case 0xFC:
    case 0xFE:
      return 1;
    default:
      return 0;
  }
}

class TrackReader {
 public:
  TrackReader(const std::string& path, int track, std::span<const std::uint8_t> bytes,
              std::size_t begin, std::size_t end, MidiTracks& midi)
      : path_(path), track_(track), bytes_(bytes), at_(begin), end_(end), midi_(midi) {}

  std::vector<TrackEvent> Read() {
    while (!ended_) ReadEvent();
    EndOpenSysEx();
    midi_.lengthInTicks = std::max(midi_.lengthInTicks, tick_);
    return std::move(events_);
  }

 private:
  [[noreturn]] void Fail(std::size_t at, const std::string& cause) const {
    throw FileError(path_, "track " + std::to_string(track_) + ", byte " + std::to_string(at),
                    cause, "save the MIDI file again");
  }

  std::uint8_t Next() {
    if (at_ >= end_) Fail(at_, "the track ends before its end is marked");
    return bytes_[at_++];
  }

  std::int64_t Quantity() {
    const std::size_t start = at_;
    std::int64_t value = 0;
    for (int i = 0; i < 4; ++i) {
      const std::uint8_t byte = Next();
      value = value << 7 | (byte & 0x7F);
      if (!(byte & 0x80)) return value;
    }
    Fail(start, "a length of more than four bytes");
  }

  std::span<const std::uint8_t> Data() {
    const std::size_t start = at_;
    const auto length = static_cast<std::size_t>(Quantity());
    if (length > end_ - at_) Fail(start, "an event reaches beyond the end of its track");
    at_ += length;
    return bytes_.subspan(at_ - length, length);
  }

  void ReadEvent() {
    const std::size_t start = at_;
    tick_ += Quantity();
    if (tick_ > kLastTick) Fail(start, "the track is too long");
    const std::uint8_t first = Next();
    if (first == kMeta) {
      ReadMeta();
    } else if (first == kSysEx) {
      ReadSysEx();
    } else if (first == kSysExEnd) {
      ReadEscape(start);
    } else if (first > kSysEx) {
      Fail(at_ - 1, "a byte that begins no event");
    } else {
      ReadChannelMessage(first);
    }
  }

  void ReadChannelMessage(std::uint8_t first) {
    std::vector<std::uint8_t> message;
    if (first & 0x80) {
      runningStatus_ = first;
    } else if (runningStatus_ == 0) {
      Fail(at_ - 1, "data without a status byte before it");
    } else {
      --at_;
    }
    message.push_back(runningStatus_);
    for (int i = ChannelMessageData(runningStatus_); i > 0; --i) {
      const std::uint8_t data = Next();
      if (data & 0x80) Fail(at_ - 1, "a status byte within a message");
      message.push_back(data);
    }
    events_.push_back({tick_, std::move(message)});
  }

  void ReadMeta() {
    const std::uint8_t kind = Next();
    const std::size_t start = at_;
    const auto data = Data();
    if (kind == kEndOfTrack) {
      ended_ = true;
      return;
    }
    const bool isTempo = kind == kTempo && data.size() == 3;
    if (isTempo && !data[0] && !data[1] && !data[2])
      Fail(start, "a tempo of 0 microseconds a quarter note");
    if (!isTempo && (kind != kTimeSignature || data.size() != 4)) return;
    std::vector<std::uint8_t> meta{kMeta, kind, static_cast<std::uint8_t>(data.size())};
    meta.insert(meta.end(), data.begin(), data.end());
    midi_.conductor.push_back({tick_, std::move(meta)});
  }

  void ReadSysEx() {
    EndOpenSysEx();
    runningStatus_ = 0;
    const auto data = Data();
    openSysEx_.assign(data.begin(), data.end());
    isSysExOpen_ = true;
    if (!data.empty() && data.back() == kSysExEnd) EndOpenSysEx();
  }

  void ReadEscape(std::size_t start) {
    runningStatus_ = 0;
    const auto data = Data();
    if (isSysExOpen_) {
      openSysEx_.insert(openSysEx_.end(), data.begin(), data.end());
      if (!data.empty() && data.back() == kSysExEnd) EndOpenSysEx();
      return;
    }
    if (data.empty()) return;
    if (SystemMessageLength(data[0]) != data.size()) {
      Fail(start, "an escape that holds no single system message");
    }
    events_.push_back({tick_, {data.begin(), data.end()}});
  }

  /// A SysEx is one message, at the time of its last part.
  void EndOpenSysEx() {
    if (!isSysExOpen_) return;
    isSysExOpen_ = false;
    if (openSysEx_.empty() || openSysEx_.back() != kSysExEnd) openSysEx_.push_back(kSysExEnd);
    std::vector<std::uint8_t> whole{kSysEx};
    whole.insert(whole.end(), openSysEx_.begin(), openSysEx_.end());
    events_.push_back({tick_, std::move(whole)});
  }

  const std::string& path_;
  int track_;
  std::span<const std::uint8_t> bytes_;
  std::size_t at_;
  std::size_t end_;
  MidiTracks& midi_;
  std::vector<TrackEvent> events_;
  std::vector<std::uint8_t> openSysEx_;
  std::int64_t tick_ = 0;
  std::uint8_t runningStatus_ = 0;
  bool isSysExOpen_ = false;
  bool ended_ = false;
};

std::uint32_t BigEndian(std::span<const std::uint8_t> bytes, std::size_t at, int count) {
  std::uint32_t value = 0;
  for (int i = 0; i < count; ++i) value = value << 8 | bytes[at + static_cast<std::size_t>(i)];
  return value;
}

bool HasName(std::span<const std::uint8_t> bytes, std::size_t at, const char (&name)[5]) {
  return std::equal(name, name + 4, bytes.begin() + static_cast<std::ptrdiff_t>(at));
}

/// Fills in the division and returns the number of tracks that the header announces.
int ReadHeader(const std::string& path, std::span<const std::uint8_t> bytes, MidiTracks& midi) {
  if (bytes.empty()) throw FileError(path, "", "the file is empty", "give a standard MIDI file");
  if (bytes.size() < kChunkHead + kHeaderData || !HasName(bytes, 0, "MThd") ||
      BigEndian(bytes, 4, 4) < kHeaderData) {
    throw FileError(path, "header", "not a standard MIDI file",
                    "give a file that begins with MThd");
  }
  const std::uint32_t format = BigEndian(bytes, 8, 2);
  if (format > 1) {
    throw FileError(path, "header", "format " + std::to_string(format),
                    "save the MIDI file in format 0 or 1");
  }
  const std::uint32_t division = BigEndian(bytes, 12, 2);
  if (division & 0x8000 || division == 0) {
    throw FileError(path, "header",
                    division == 0 ? "a division of 0 ticks" : "its time counts SMPTE frames",
                    "save the MIDI file with ticks per quarter note");
  }
  midi.ticksPerQuarter = static_cast<int>(division);
  return static_cast<int>(BigEndian(bytes, 10, 2));
}

}  // namespace

MidiTracks ReadMidiTracks(const std::string& path, std::span<const std::uint8_t> bytes) {
  MidiTracks midi;
  const int expected = ReadHeader(path, bytes, midi);
  std::size_t at = 0;
  while (bytes.size() - at >= kChunkHead) {
    const std::size_t length = BigEndian(bytes, at + 4, 4);
    const bool isTrack = HasName(bytes, at, "MTrk");
    const bool isWhole = length <= bytes.size() - at - kChunkHead;
    const bool hasAll = static_cast<int>(midi.tracks.size()) >= expected;
    if (hasAll && !(isTrack && isWhole)) break;  // data after the last track
    if (!isWhole) {
      throw FileError(path, "byte " + std::to_string(at),
                      isTrack ? "track " + std::to_string(midi.tracks.size() + 1) +
                                    " reaches beyond the end of the file"
                              : "a chunk reaches beyond the end of the file",
                      "save or copy the MIDI file again");
    }
    if (isTrack) {
      const int number = static_cast<int>(midi.tracks.size()) + 1;
      TrackReader reader(path, number, bytes, at + kChunkHead, at + kChunkHead + length, midi);
      midi.tracks.push_back(reader.Read());
    }
    at += kChunkHead + length;
  }
  if (static_cast<int>(midi.tracks.size()) < expected || midi.tracks.empty()) {
    throw FileError(path, "header",
                    "announces " + std::to_string(expected) + " tracks, but the file has " +
                        std::to_string(midi.tracks.size()),
                    "save or copy the MIDI file again");
  }
  std::stable_sort(midi.conductor.begin(), midi.conductor.end(),
                   [](const TrackEvent& a, const TrackEvent& b) { return a.tick < b.tick; });
  return midi;
}

}  // namespace halveron::media
