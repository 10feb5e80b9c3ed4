#include "modules/bridge/event_batch.h"

#include <cstring>

namespace halveron {

namespace {

constexpr std::uint8_t kDumpStart = 0xF0;
constexpr std::uint8_t kDumpEnd = 0xF7;

/// Appends a packet's payload; true if it holds the end of the message.
bool AppendPayload(MidiCableWord packet, std::vector<char>& buffer) {
  for (int i = 1; i <= 3; ++i) {
    const std::uint8_t byte = packet.Byte(i);
    if (i > 1 && byte == MidiCableWord::kPadding) return false;
    buffer.push_back(static_cast<char>(byte));
    if (byte == kDumpEnd) return true;
    if (i == 1 && byte == kDumpStart) return false;
  }
  return false;
}

}  // namespace

EventBatch::EventBatch() {
  for (int i = 0; i < kEvents; ++i) {
    list_.events[i] = reinterpret_cast<VstEvent*>(&records_[i]);
  }
  for (Buffer& buffer : buffers_) {
    buffer.reserve(kReservedBytes);
    free_[freeCount_++] = &buffer;
  }
}

void EventBatch::Take(MidiCableWord word, int frame, int dumpLimit) {
  if (word.IsPacket()) {
    TakePacket(word, frame, dumpLimit);
    return;
  }
  VstMidiEvent& event = records_[count_++].midi;
  event = {};
  event.type = kVstMidiType;
  event.byteSize = sizeof(VstMidiEvent);
  event.deltaFrames = frame;
  std::memcpy(event.midiData, &word.bits, sizeof(word.bits));
}

void EventBatch::TakePacket(MidiCableWord packet, int frame, int dumpLimit) {
  Stream& stream = streams_[packet.Byte(0) - 1];
  if (!stream.buffer) {
    stream.frame = frame;
    stream.buffer = free_[--freeCount_];
    stream.buffer->clear();
  }
  Buffer& buffer = *stream.buffer;
  const bool ended = AppendPayload(packet, buffer);
  if (!ended && buffer.size() <= static_cast<std::size_t>(dumpLimit)) return;

  VstMidiSysexEvent& event = records_[count_++].dump;
  event = {};
  event.type = kVstSysExType;
  event.byteSize = sizeof(VstMidiSysexEvent);
  event.deltaFrames = stream.frame;
  event.dumpBytes = static_cast<std::int32_t>(buffer.size());
  event.sysexDump = buffer.data();
  sent_[sentCount_++] = stream.buffer;
  stream.buffer = nullptr;
}

VstEvents* EventBatch::Events() {
  list_.numEvents = count_;
  return list_.Header();
}

void EventBatch::Clear() {
  count_ = 0;
  while (sentCount_ > 0) free_[freeCount_++] = sent_[--sentCount_];
}

void EventBatch::Reset() {
  Clear();
  for (Stream& stream : streams_) {
    if (stream.buffer) free_[freeCount_++] = stream.buffer;
    stream.buffer = nullptr;
  }
}

}  // namespace halveron
