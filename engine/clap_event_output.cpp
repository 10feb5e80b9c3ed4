#include "engine/clap_event_output.h"

#include <algorithm>
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
  // Larger than the reserve: possible only where the user lifted the limit of the sending module.
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
  if (queue_.size() == queue_.capacity()) {
    // The host may get queued events early. Without a host they are dropped.
    if (!host_) return;
    PushQueued(host_);
  }
  queue_.push_back({record, static_cast<std::uint32_t>(queue_.size())});
  queue_.back().record.header.time = std::max(record.header.time, earliest_);
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
  if (!host_) return;
  for (int i = 0; i < events.numEvents; ++i) {
    const VstEvent* event = EventAt(events, i);
    // The rack counts frames from 1, and hosts reject events beyond the block.
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
  Parameter& parameter = parameters_[static_cast<std::size_t>(id)];
  parameter.value.store(value, std::memory_order_relaxed);
  parameter.flags.fetch_or(kMoved, std::memory_order_relaxed);
  marks_.Set(id);
}

void ClapEventOutput::QueueParamGesture(int id, bool begins) {
  if (id < 0 || id >= kParameterCount) return;
  std::atomic<unsigned>& flags = parameters_[static_cast<std::size_t>(id)].flags;
  flags.fetch_or(begins ? kGestured | kHeld : kGestured, std::memory_order_relaxed);
  if (!begins) flags.fetch_and(~unsigned{kHeld}, std::memory_order_relaxed);
  marks_.Set(id);
}

void ClapEventOutput::PushParameter(const clap_output_events_t* host, int id) {
  Parameter& parameter = parameters_[static_cast<std::size_t>(id)];
  const unsigned flags = parameter.flags.fetch_and(kHeld, std::memory_order_relaxed);
  const int time = static_cast<int>(earliest_);
  const auto pushGesture = [&](int type) {
    auto event = MakeEvent<clap_event_param_gesture_t>(type, time);
    event.param_id = static_cast<clap_id>(id);
    host->try_push(host, &event.header);
  };
  if ((flags & kGestured) != 0 && !parameter.begun) {
    pushGesture(CLAP_EVENT_PARAM_GESTURE_BEGIN);
    parameter.begun = true;
  }
  if ((flags & kMoved) != 0) {
    auto event = MakeEvent<clap_event_param_value_t>(CLAP_EVENT_PARAM_VALUE, time);
    event.param_id = static_cast<clap_id>(id);
    event.note_id = -1;
    event.port_index = event.channel = event.key = -1;
    event.value = double{parameter.value.load(std::memory_order_relaxed)};
    host->try_push(host, &event.header);
  }
  if (parameter.begun && (flags & kHeld) == 0) {
    pushGesture(CLAP_EVENT_PARAM_GESTURE_END);
    parameter.begun = false;
  }
}

void ClapEventOutput::PushQueued(const clap_output_events_t* host) {
  std::sort(queue_.begin(), queue_.end(), [](const Queued& a, const Queued& b) {
    return std::pair(a.record.header.time, a.order) < std::pair(b.record.header.time, b.order);
  });
  for (const Queued& queued : queue_) {
    earliest_ = queued.record.header.time;
    host->try_push(host, &queued.record.header);
  }
  queue_.clear();
}

void ClapEventOutput::Drain(const clap_output_events_t* host) {
  host_ = nullptr;
  if (host && host->try_push) {
    marks_.TakeEach([&](int id) { PushParameter(host, id); });
  } else {
    host = nullptr;
  }
  if (!sent_) return;
  sent_ = false;
  olderDumps_.Clear();
  if (host) PushQueued(host);
  queue_.clear();
  earliest_ = 0;
  std::swap(dumps_, olderDumps_);
}

}  // namespace halveron
