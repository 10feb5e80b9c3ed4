#include "engine/clap_event_output.h"

#include <algorithm>
#include <bit>
#include <utility>

namespace halveron {

namespace {

template <class Event>
Event MakeEvent(int type, int time) {
  Event event{};
  event.header = {sizeof(Event), static_cast<std::uint32_t>(std::max(time, 0)),
                  CLAP_CORE_EVENT_SPACE_ID, static_cast<std::uint16_t>(type), 0};
  return event;
}

}  // namespace

ClapEventOutput::ClapEventOutput() { queue_.reserve(kCapacity); }

const std::uint8_t* ClapEventOutput::Dumps::Copy(const std::uint8_t* bytes, std::size_t size) {
  if (size <= reserve_.capacity() - reserve_.size()) {
    const std::size_t start = reserve_.size();
    reserve_.insert(reserve_.end(), bytes, bytes + size);
    return reserve_.data() + start;
  }
  // A dump of a size that the user has allowed for on the sending module, and that no reserve fits.
  large_.push_back(std::make_unique<std::uint8_t[]>(size));
  std::copy_n(bytes, size, large_.back().get());
  return large_.back().get();
}

void ClapEventOutput::Dumps::Clear() {
  reserve_.clear();
  large_.clear();
}

void ClapEventOutput::Begin(const clap_output_events_t* host, int frames) {
  host_ = host && host->try_push ? host : nullptr;
  lastFrame_ = std::max(frames - 1, 0);
}

void ClapEventOutput::Append(const Record& record) {
  // The host may have what waits a little earlier, so that the audio thread needs no more memory.
  if (queue_.size() == queue_.capacity() && host_) PushQueued(host_);
  queue_.push_back(record);
  sent_ = true;
}

void ClapEventOutput::NoteEnd(const ActiveNote& note) {
  if (!note.IsNote()) return;
  Record record;
  record.note = MakeEvent<clap_event_note_t>(CLAP_EVENT_NOTE_END, 0);
  record.note.note_id = note.noteId;
  record.note.port_index = note.portIndex;
  record.note.channel = note.channel;
  record.note.key = note.key;
  Append(record);
}

void ClapEventOutput::Send(const VstEvents& events) {
  for (int i = 0; i < events.numEvents; ++i) {
    const VstEvent* event = EventAt(events, i);
    // The rack counts frames from 1, and a host takes no event beyond its block.
    const int time = std::min(event->deltaFrames, lastFrame_);
    Record record;
    if (event->type == kVstMidiType) {
      const auto* midi = reinterpret_cast<const VstMidiEvent*>(event);
      record.midi = MakeEvent<clap_event_midi_t>(CLAP_EVENT_MIDI, time);
      std::copy_n(midi->midiData, std::size(record.midi.data), record.midi.data);
    } else if (event->type == kVstSysExType) {
      const auto* dump = reinterpret_cast<const VstMidiSysexEvent*>(event);
      const auto size = static_cast<std::uint32_t>(std::max(dump->dumpBytes, 0));
      record.sysEx = MakeEvent<clap_event_midi_sysex_t>(CLAP_EVENT_MIDI_SYSEX, time);
      record.sysEx.buffer =
          dumps_.Copy(reinterpret_cast<const std::uint8_t*>(dump->sysexDump), size);
      record.sysEx.size = size;
    } else {
      continue;
    }
    Append(record);
  }
}

void ClapEventOutput::QueueParamValue(int id, float value) {
  if (id < 0 || id >= kParameterCount) return;
  const auto index = static_cast<std::size_t>(id);
  movedTo_[index].store(value, std::memory_order_relaxed);
  moved_[index / kMarkBits].fetch_or(std::uint64_t{1} << index % kMarkBits,
                                     std::memory_order_release);
}

void ClapEventOutput::PushParameters(const clap_output_events_t* host) {
  for (std::size_t word = 0; word < moved_.size(); ++word) {
    if (moved_[word].load(std::memory_order_relaxed) == 0) continue;
    std::uint64_t marks = moved_[word].exchange(0, std::memory_order_acquire);
    for (; marks != 0; marks &= marks - 1) {
      const std::size_t index =
          word * kMarkBits + static_cast<std::size_t>(std::countr_zero(marks));
      auto event = MakeEvent<clap_event_param_value_t>(CLAP_EVENT_PARAM_VALUE, 0);
      event.param_id = static_cast<clap_id>(index);
      event.note_id = -1;
      event.port_index = event.channel = event.key = -1;
      event.value = double{movedTo_[index].load(std::memory_order_relaxed)};
      host->try_push(host, &event.header);
    }
  }
}

void ClapEventOutput::PushQueued(const clap_output_events_t* host) {
  for (const Record& record : queue_) host->try_push(host, &record.header);
  queue_.clear();
}

void ClapEventOutput::Drain(const clap_output_events_t* host) {
  host_ = nullptr;
  if (!host || !host->try_push) return;
  PushParameters(host);
  if (!sent_) return;
  sent_ = false;
  olderDumps_.Clear();
  PushQueued(host);
  std::swap(dumps_, olderDumps_);
}

}  // namespace halveron
