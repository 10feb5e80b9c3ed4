#include "modules/bridge/event_ring.h"

#include <algorithm>
#include <cstdint>
#include <cstring>

namespace halveron {

namespace {

constexpr std::uint8_t kDumpStart = 0xF0;
constexpr int kStreams = 16;

bool IsMessage(const VstEvent* event) { return event && event->type == kVstMidiType; }

/// The event as a dump of at least one byte, or null.
const VstMidiSysexEvent* AsDump(const VstEvent* event) {
  if (!event || event->type != kVstSysExType) return nullptr;
  const auto* dump = reinterpret_cast<const VstMidiSysexEvent*>(event);
  return dump->sysexDump && dump->dumpBytes > 0 ? dump : nullptr;
}

bool BeginsDump(const VstMidiSysexEvent& dump) {
  return static_cast<std::uint8_t>(dump.sysexDump[0]) == kDumpStart;
}

}  // namespace

void EventRing::TakeEvents(const VstEvents& events) {
  MakeRoomFor(events);
  for (int i = 0; i < events.numEvents; ++i) {
    const VstEvent* event = EventAt(events, i);
    if (IsMessage(event)) {
      Push(*reinterpret_cast<const VstMidiEvent*>(event));
    } else if (const VstMidiSysexEvent* dump = AsDump(event)) {
      PushDump(*dump);
    }
  }
}

void EventRing::MakeRoomFor(const VstEvents& events) {
  const auto count = static_cast<std::size_t>(std::max(events.numEvents, 0));
  std::size_t bytes = 0;
  std::size_t packets = 0;
  for (int i = 0; i < events.numEvents; ++i) {
    if (const VstMidiSysexEvent* dump = AsDump(EventAt(events, i))) {
      const auto size = static_cast<std::size_t>(dump->dumpBytes);
      bytes += size;
      packets += BeginsDump(*dump) ? 1 + (size + 1) / 3 : (size + 2) / 3;
    }
  }
  // A third of the bytes is what the packets of long dumps take; a crowd of tiny ones takes more.
  const std::size_t margin = bytes == 0 ? 0 : std::max(bytes / 3 + 2, packets);

  const std::size_t capacity = slots_.size();
  const std::size_t used = write_ >= read_ ? write_ - read_ : capacity + write_ - read_;
  const std::size_t needed = used + margin + count;
  if (capacity > needed) return;
  slots_.resize(needed * 2 + 2);
  if (write_ < read_) {
    // The ring had wrapped: its head goes on behind the old end. More than doubled, it has room.
    std::copy_n(slots_.begin(), write_, slots_.begin() + static_cast<std::ptrdiff_t>(capacity));
    write_ += capacity;
  }
}

void EventRing::Push(const VstMidiEvent& event) {
  slots_[write_] = event;
  if (++write_ == slots_.size()) write_ = 0;
}

void EventRing::PushDump(const VstMidiSysexEvent& event) {
  VstMidiEvent slot{};
  slot.type = event.type;
  slot.byteSize = event.byteSize;
  slot.deltaFrames = event.deltaFrames;
  slot.flags = event.flags;
  const auto pushPacket = [&](MidiCableWord packet) {
    std::memcpy(slot.midiData, &packet.bits, sizeof(packet.bits));
    Push(slot);
  };

  const auto* bytes = reinterpret_cast<const std::uint8_t*>(event.sysexDump);
  const std::int64_t size = event.dumpBytes;
  std::int64_t position = 0;
  if (BeginsDump(event)) {
    streamNumber_ = streamNumber_ % kStreams + 1;
    pushPacket(MidiCableWord::FromBytes(streamNumber_, kDumpStart, MidiCableWord::kPadding, 0));
    position = 1;
  }
  const auto at = [&](std::int64_t index) {
    return index < size ? bytes[index] : MidiCableWord::kPadding;
  };
  for (; position < size; position += 3) {
    pushPacket(
        MidiCableWord::FromBytes(streamNumber_, at(position), at(position + 1), at(position + 2)));
  }
}

MidiCableWord EventRing::PopFront() {
  MidiCableWord word;
  std::memcpy(&word.bits, slots_[read_].midiData, sizeof(word.bits));
  if (++read_ == slots_.size()) read_ = 0;
  return word;
}

void EventRing::CarryOver() {
  for (std::size_t i = read_; i != write_;) {
    std::int32_t& frame = slots_[i].deltaFrames;
    if (frame > 0) frame = -frame;
    if (++i == slots_.size()) i = 0;
  }
}

}  // namespace halveron
