#include "modules/daw/event_batch.h"

#include <algorithm>
#include <cstring>

namespace halveron {

EventBatch::EventBatch() {
  for (int i = 0; i < kEvents; ++i) {
    list_.events[i] = reinterpret_cast<VstEvent*>(&records_[i]);
  }
  for (Buffer& buffer : buffers_) {
    buffer.reserve(kReservedBytes);
    free_[freeCount_++] = &buffer;
  }
  for (Buffer& buffer : longBuffers_) {
    buffer.reserve(kLongBytes);
    freeLong_[freeLongCount_++] = &buffer;
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

void EventBatch::MakeRoomIn(Stream& stream) {
  Buffer* const buffer = stream.buffer;
  if (buffer->size() + kMostPayload <= buffer->capacity() || freeLongCount_ == 0) return;
  if (buffer->capacity() >= kLongBytes) return;
  stream.buffer = freeLong_[--freeLongCount_];
  stream.buffer->assign(buffer->begin(), buffer->end());
  Reclaim(buffer);
}

void EventBatch::Reclaim(Buffer* buffer) {
  const bool isLong = std::any_of(longBuffers_.begin(), longBuffers_.end(),
                                  [&](const Buffer& each) { return &each == buffer; });
  if (isLong) {
    freeLong_[freeLongCount_++] = buffer;
  } else {
    free_[freeCount_++] = buffer;
  }
}

void EventBatch::StartBlock() {
  constexpr int kFirstFrame = 1;  // frames count from there
  for (Stream& stream : streams_) stream.frame = kFirstFrame;
}

void EventBatch::TakePacket(MidiCableWord packet, int frame, int dumpLimit) {
  Stream& stream = streams_[packet.Byte(0) - 1];
  if (!stream.buffer) {
    stream.frame = frame;
    stream.buffer = free_[--freeCount_];
    stream.buffer->clear();
  }
  MakeRoomIn(stream);
  Buffer& buffer = *stream.buffer;
  const SysExPayload payload(packet);
  buffer.insert(buffer.end(), payload.Bytes().begin(), payload.Bytes().end());
  if (!payload.ended && buffer.size() <= static_cast<std::size_t>(dumpLimit)) return;

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
  while (sentCount_ > 0) Reclaim(sent_[--sentCount_]);
}

void EventBatch::Reset() {
  Clear();
  for (Stream& stream : streams_) {
    if (stream.buffer) Reclaim(stream.buffer);
    stream.buffer = nullptr;
  }
}

}  // namespace halveron
