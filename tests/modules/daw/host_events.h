// Event lists as a host makes them, and a kernel of SA03 that plays them.
#pragma once

#include <cstring>
#include <deque>
#include <numeric>
#include <utility>
#include <vector>

#include "framework/host_events.h"
#include "framework/midi_cable_word.h"
#include "modules/daw/clock_resolution.h"

namespace halveron::testing {

using Bytes = std::vector<unsigned char>;

/// An event list as a host makes it.
class HostEvents {
 public:
  void Message(int frame, int note) {
    VstMidiSysexEvent& record = Append(kVstMidiType, frame);
    auto& event = reinterpret_cast<VstMidiEvent&>(record);
    const MidiCableWord word = Note(note);
    std::memcpy(event.midiData, &word.bits, 4);
  }
  void Dump(int frame, const Bytes& bytes) {
    VstMidiSysexEvent& event = Append(kVstSysExType, frame);
    dumps_.push_back(bytes);
    event.dumpBytes = static_cast<int>(bytes.size());
    event.sysexDump = reinterpret_cast<char*>(dumps_.back().data());
  }
  VstMidiSysexEvent& Append(int type, int frame) {
    VstMidiSysexEvent& record = records_.emplace_back();
    record.type = type;
    record.byteSize = type == kVstMidiType ? 32 : 48;
    record.deltaFrames = frame;
    list_.events[list_.numEvents++] = reinterpret_cast<VstEvent*>(&record);
    return record;
  }
  const VstEvents& List() { return *list_.Header(); }

  /// A note-on that carries a number up to 16383.
  static MidiCableWord Note(int number) {
    return MidiCableWord::FromBytes(0x90, number & 127, number >> 7, 0);
  }

 private:
  std::deque<VstMidiSysexEvent> records_;
  std::deque<Bytes> dumps_;
  VstEventBlock<1000> list_;
};

/// A dump of `size` bytes, framed.
inline Bytes DumpOf(int size) {
  Bytes bytes(static_cast<std::size_t>(size), 0);
  std::iota(bytes.begin(), bytes.end(), 0);
  for (auto& byte : bytes) byte &= 0x7F;
  bytes.front() = 0xF0;
  bytes.back() = 0xF7;
  return bytes;
}

/// Samples at which a recorded clock rises, and how long it stays up.
inline std::vector<std::pair<int, int>> Pulses(const std::vector<float>& clock) {
  std::vector<std::pair<int, int>> pulses;
  for (int i = 0; i < static_cast<int>(clock.size()); ++i) {
    if (clock[i] != 1.0f) continue;
    if (i == 0 || clock[i - 1] != 1.0f) pulses.emplace_back(i, 0);
    ++pulses.back().second;
  }
  return pulses;
}

}  // namespace halveron::testing
