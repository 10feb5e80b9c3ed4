#include "modules/daw/event_ring.h"

#include <algorithm>
#include <cstdint>
#include <cstring>
#include <span>
#include <utility>

namespace halveron {

namespace {

bool IsMessage(const VstEvent* event) { return event && event->type == kVstMidiType; }

/// The event as a dump of at least one byte, or null.
const VstMidiSysexEvent* AsDump(const VstEvent* event) {
  if (!event || event->type != kVstSysExType) return nullptr;
  const auto* dump = reinterpret_cast<const VstMidiSysexEvent*>(event);
  return dump->sysexDump && dump->dumpBytes > 0 ? dump : nullptr;
}

std::span<const std::uint8_t> BytesOf(const VstMidiSysexEvent& dump) {
  return {reinterpret_cast<const std::uint8_t*>(dump.sysexDump),
          static_cast<std::size_t>(dump.dumpBytes)};
}

}  // namespace

void EventRing::TakeEvents(const VstEvents& events) {
  MakeRoomFor(events);
  for (int i = 0; i < events.numEvents; ++i) {
    const VstEvent* event = EventAt(events, i);
    if (IsMessage(event)) {
      const auto& message = *reinterpret_cast<const VstMidiEvent*>(event);
      MidiCableWord word;
      std::memcpy(&word.bits, message.midiData, sizeof(word.bits));
      Push(message.deltaFrames, word);
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
      bytes += BytesOf(*dump).size();
      packets += SysExCutter::PacketCount(BytesOf(*dump));
    }
  }
  // A third of the bytes is what the packets of long dumps take; many short ones take more.
  const std::size_t margin = bytes == 0 ? 0 : std::max(bytes / 3 + 2, packets);

  const std::size_t used = write_ >= read_ ? write_ - read_ : capacity_ + write_ - read_;
  const std::size_t needed = used + margin + count;
  if (capacity_ > needed) return;
  const std::size_t capacity = needed * 2 + 2;
  auto slots = std::make_unique_for_overwrite<Slot[]>(capacity);
  for (std::size_t i = 0; i < used; ++i) slots[i] = slots_[(read_ + i) % capacity_];
  slots_ = std::move(slots);
  capacity_ = capacity;
  read_ = 0;
  write_ = used;
}

void EventRing::Push(std::int32_t frame, MidiCableWord word) {
  slots_[write_] = {frame, word.bits};
  if (++write_ == capacity_) write_ = 0;
}

void EventRing::PushDump(const VstMidiSysexEvent& event) {
  cutter_.Cut(BytesOf(event), [&](MidiCableWord packet) { Push(event.deltaFrames, packet); });
}

MidiCableWord EventRing::PopFront() {
  const MidiCableWord word{slots_[read_].word};
  if (++read_ == capacity_) read_ = 0;
  return word;
}

void EventRing::CarryOver() {
  for (std::size_t i = read_; i != write_;) {
    std::int32_t& frame = slots_[i].frame;
    if (frame > 0) frame = -frame;
    if (++i == capacity_) i = 0;
  }
}

}  // namespace halveron
