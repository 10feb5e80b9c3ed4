// Host records that modules read and write: events, MIDI, SysEx and transport, laid out in memory
// as the VST 2.4 binary interface publishes them for 64-bit systems.
//
// Hosts built by other compilers hand these records over by pointer, so every size and offset is
// asserted. Event records of different types share one head and are distinguished by `type`; they
// are read and written through pointers to any of the event structs, for which reason all of them
// are allowed to alias.
#pragma once

#include <cstddef>
#include <cstdint>

namespace halveron {

/// Values of `type` in an event record. The types between them were withdrawn from the interface.
enum VstEventTypes : std::int32_t { kVstMidiType = 1, kVstSysExType = 6 };

/// Value of `flags` in a MIDI event that the performer plays at this moment.
inline constexpr std::int32_t kVstMidiEventIsRealtime = 1;

/// Head that all event records share.
struct [[gnu::may_alias]] VstEvent {
  std::int32_t type;         ///< One of `VstEventTypes`.
  std::int32_t byteSize;     ///< Size of the whole record in bytes.
  std::int32_t deltaFrames;  ///< Samples from the start of the coming block.
  std::int32_t flags;
  char data[16];  ///< Depends on `type`.
};

/// One MIDI message of up to three bytes.
struct [[gnu::may_alias]] VstMidiEvent {
  std::int32_t type;         ///< `kVstMidiType`.
  std::int32_t byteSize;     ///< 32.
  std::int32_t deltaFrames;  ///< Samples from the start of the coming block.
  std::int32_t flags;        ///< 0 or `kVstMidiEventIsRealtime`.
  std::int32_t noteLength;   ///< Samples of the whole note where known, else 0.
  std::int32_t noteOffset;   ///< Samples from the start of the note where known, else 0.
  char midiData[4];          ///< Status, two data bytes, and a spare byte that hosts set to 0.
  char detune;               ///< -64 to 63 cents.
  char noteOffVelocity;      ///< 0 to 127.
  char reserved1;
  char reserved2;
};

/// One SysEx message; the dump belongs to the sender until the call that brought it returns.
struct [[gnu::may_alias]] VstMidiSysexEvent {
  std::int32_t type;         ///< `kVstSysExType`.
  std::int32_t byteSize;     ///< 48.
  std::int32_t deltaFrames;  ///< Samples from the start of the coming block.
  std::int32_t flags;        ///< 0.
  std::int32_t dumpBytes;    ///< Length of the dump in bytes.
  std::intptr_t resvd1;
  char* sysexDump;  ///< From 0xF0 to 0xF7, both included.
  std::intptr_t resvd2;
};

/// A list of events. `events` continues behind the struct up to `numEvents` entries.
struct [[gnu::may_alias]] VstEvents {
  std::int32_t numEvents;
  std::intptr_t reserved;
  VstEvent* events[2];
};

/// Entry `index` (0 to `numEvents` - 1) of a list, also beyond the two that the struct declares.
inline VstEvent* EventAt(const VstEvents& list, int index) {
  VstEvent* const* entries = list.events;
  return entries[index];
}

/// Room for a `VstEvents` of up to `Capacity` entries, for whoever sends events.
template <int Capacity>
struct VstEventBlock {
  static_assert(Capacity >= 2, "the published list declares two entries");

  std::int32_t numEvents = 0;
  std::intptr_t reserved = 0;
  VstEvent* events[Capacity] = {};

  VstEvents* Header() { return reinterpret_cast<VstEvents*>(this); }
};

/// Flags of `VstTimeInfo`: what the transport does, and which fields hold. The latter are also the
/// request mask of the host's time query.
enum VstTimeInfoFlags : std::int32_t {
  kVstTransportChanged = 1,
  kVstTransportPlaying = 2,
  kVstTransportCycleActive = 4,
  kVstTransportRecording = 8,
  kVstAutomationWriting = 0x40,
  kVstAutomationReading = 0x80,
  kVstNanosValid = 0x100,
  kVstPpqPosValid = 0x200,
  kVstTempoValid = 0x400,
  kVstBarsValid = 0x800,
  kVstCyclePosValid = 0x1000,
  kVstTimeSigValid = 0x2000,
  kVstSmpteValid = 0x4000,
  kVstClockValid = 0x8000
};

/// Values of `VstTimeInfo::smpteFrameRate`; `d` marks drop frame.
enum VstSmpteFrameRate : std::int32_t {
  kVstSmpte24fps = 0,
  kVstSmpte25fps = 1,
  kVstSmpte2997fps = 2,
  kVstSmpte30fps = 3,
  kVstSmpte2997dfps = 4,
  kVstSmpte30dfps = 5,
  kVstSmpteFilm16mm = 6,
  kVstSmpteFilm35mm = 7,
  kVstSmpte239fps = 10,
  kVstSmpte249fps = 11,
  kVstSmpte599fps = 12,
  kVstSmpte60fps = 13
};

/// Transport state at the first sample of a block.
struct VstTimeInfo {
  double samplePos;                 ///< Samples since the start of the song; always valid.
  double sampleRate;                ///< Hz; always valid.
  double nanoSeconds;               ///< System time.
  double ppqPos;                    ///< Quarter notes.
  double tempo;                     ///< Quarter notes per minute.
  double barStartPos;               ///< Quarter notes, the start of the bar at hand.
  double cycleStartPos;             ///< Quarter notes.
  double cycleEndPos;               ///< Quarter notes.
  std::int32_t timeSigNumerator;    ///< 3 in 3/4.
  std::int32_t timeSigDenominator;  ///< 4 in 3/4.
  std::int32_t smpteOffset;         ///< SMPTE subframes, 80 to a frame.
  std::int32_t smpteFrameRate;      ///< One of `VstSmpteFrameRate`.
  std::int32_t samplesToNextClock;  ///< To the nearest MIDI clock (24 a quarter), signed.
  std::int32_t flags;               ///< `VstTimeInfoFlags`.
};

static_assert(sizeof(void*) == 8, "the layouts below are those of 64-bit systems");

static_assert(sizeof(VstEvent) == 32);
static_assert(offsetof(VstEvent, type) == 0);
static_assert(offsetof(VstEvent, byteSize) == 4);
static_assert(offsetof(VstEvent, deltaFrames) == 8);
static_assert(offsetof(VstEvent, flags) == 12);
static_assert(offsetof(VstEvent, data) == 16);

static_assert(sizeof(VstMidiEvent) == 32);
static_assert(offsetof(VstMidiEvent, type) == 0);
static_assert(offsetof(VstMidiEvent, byteSize) == 4);
static_assert(offsetof(VstMidiEvent, deltaFrames) == 8);
static_assert(offsetof(VstMidiEvent, flags) == 12);
static_assert(offsetof(VstMidiEvent, noteLength) == 16);
static_assert(offsetof(VstMidiEvent, noteOffset) == 20);
static_assert(offsetof(VstMidiEvent, midiData) == 24);
static_assert(offsetof(VstMidiEvent, detune) == 28);
static_assert(offsetof(VstMidiEvent, noteOffVelocity) == 29);
static_assert(offsetof(VstMidiEvent, reserved1) == 30);
static_assert(offsetof(VstMidiEvent, reserved2) == 31);

static_assert(sizeof(VstMidiSysexEvent) == 48);
static_assert(offsetof(VstMidiSysexEvent, type) == 0);
static_assert(offsetof(VstMidiSysexEvent, byteSize) == 4);
static_assert(offsetof(VstMidiSysexEvent, deltaFrames) == 8);
static_assert(offsetof(VstMidiSysexEvent, flags) == 12);
static_assert(offsetof(VstMidiSysexEvent, dumpBytes) == 16);
static_assert(offsetof(VstMidiSysexEvent, resvd1) == 24);
static_assert(offsetof(VstMidiSysexEvent, sysexDump) == 32);
static_assert(offsetof(VstMidiSysexEvent, resvd2) == 40);

static_assert(sizeof(VstEvents) == 32);
static_assert(offsetof(VstEvents, numEvents) == 0);
static_assert(offsetof(VstEvents, reserved) == 8);
static_assert(offsetof(VstEvents, events) == 16);
static_assert(sizeof(VstEventBlock<2>) == sizeof(VstEvents));
static_assert(offsetof(VstEventBlock<2>, numEvents) == offsetof(VstEvents, numEvents));
static_assert(offsetof(VstEventBlock<2>, reserved) == offsetof(VstEvents, reserved));
static_assert(offsetof(VstEventBlock<2>, events) == offsetof(VstEvents, events));

static_assert(sizeof(VstTimeInfo) == 88);
static_assert(offsetof(VstTimeInfo, samplePos) == 0);
static_assert(offsetof(VstTimeInfo, sampleRate) == 8);
static_assert(offsetof(VstTimeInfo, nanoSeconds) == 16);
static_assert(offsetof(VstTimeInfo, ppqPos) == 24);
static_assert(offsetof(VstTimeInfo, tempo) == 32);
static_assert(offsetof(VstTimeInfo, barStartPos) == 40);
static_assert(offsetof(VstTimeInfo, cycleStartPos) == 48);
static_assert(offsetof(VstTimeInfo, cycleEndPos) == 56);
static_assert(offsetof(VstTimeInfo, timeSigNumerator) == 64);
static_assert(offsetof(VstTimeInfo, timeSigDenominator) == 68);
static_assert(offsetof(VstTimeInfo, smpteOffset) == 72);
static_assert(offsetof(VstTimeInfo, smpteFrameRate) == 76);
static_assert(offsetof(VstTimeInfo, samplesToNextClock) == 80);
static_assert(offsetof(VstTimeInfo, flags) == 84);

}  // namespace halveron
