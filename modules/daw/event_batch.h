// Gathers the words of a MIDI cable into a list of events for the host.
#pragma once

#include <array>
#include <cstddef>
#include <cstdint>
#include <vector>

#include "framework/host_events.h"
#include "framework/midi_cable_word.h"
#include "framework/sysex.h"

namespace halveron {

/// Up to 50 events, and the dumps of 16 streams that are on their way.
///
/// There are as many buffers as a full batch and all streams can hold at once, and they are used
/// again and again. A dump that outgrows its buffer moves into one of kLongBuffers long ones. Only
/// a dump that outgrows that too, or finds none free, allocates.
class EventBatch {
 public:
  static constexpr int kEvents = 50;

  EventBatch();

  /// Takes an ordinary message or a packet. A dump becomes an event, timed by its first packet,
  /// with its last byte or as soon as it has more than `dumpLimit` bytes; what follows of it goes
  /// into another. `frame` is in host samples. Only while the batch is not full.
  void Take(MidiCableWord word, int frame, int dumpLimit);

  bool IsEmpty() const { return count_ == 0; }
  bool IsFull() const { return count_ == kEvents; }

  /// The list for the host; it and its dumps hold until the next Clear.
  VstEvents* Events();

  /// A block begins: dumps under way are timed by its first frame, since their own is past.
  void StartBlock();

  /// Ready for the next events. Dumps that are not complete stay.
  void Clear();
  /// Ready for another cable: dumps that are not complete go too.
  void Reset();

 private:
  static constexpr int kStreams = kSysExStreams;
  static constexpr int kBuffers = kEvents + kStreams;
  static constexpr int kLongBuffers = 4;
  // What the highest bounded limit lets a dump grow to, and a packet more.
  static constexpr std::size_t kReservedBytes = 504;
  // Memory that is never written costs nothing.
  static constexpr std::size_t kLongBytes = std::size_t{1} << 18;
  static constexpr std::size_t kMostPayload = 3;  // of a packet

  using Buffer = std::vector<char>;

  union Record {
    VstMidiEvent midi;
    VstMidiSysexEvent dump;
  };

  struct Stream {
    Buffer* buffer = nullptr;  // null: the next packet begins a message
    int frame = 0;
  };

  void MakeRoomIn(Stream& stream);
  void Reclaim(Buffer* buffer);
  void TakePacket(MidiCableWord packet, int frame, int dumpLimit);

  std::array<Record, kEvents> records_{};
  VstEventBlock<kEvents> list_;
  int count_ = 0;

  std::array<Stream, kStreams> streams_;
  std::array<Buffer, kBuffers> buffers_;
  std::array<Buffer*, kBuffers> free_{};
  int freeCount_ = 0;
  std::array<Buffer, kLongBuffers> longBuffers_;
  std::array<Buffer*, kLongBuffers> freeLong_{};
  int freeLongCount_ = 0;
  std::array<Buffer*, kEvents> sent_{};
  int sentCount_ = 0;
};

}  // namespace halveron
