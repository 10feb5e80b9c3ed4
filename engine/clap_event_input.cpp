#include "engine/clap_event_input.h"

#include <algorithm>
#include <array>
#include <cmath>
#include <limits>
#include <utility>

#include "framework/midi_message.h"

namespace halveron {

namespace {

/// Fourth byte of a note-off, which has no note slot.
constexpr int kNoNoteSlot = 255;

/// The published layout of an event, or null if it is too small for that.
template <class Event>
const Event* As(const clap_event_header_t& event) {
  return event.size >= sizeof(Event) ? reinterpret_cast<const Event*>(&event) : nullptr;
}

bool IsChannel(int channel) { return channel >= 0 && channel < Halveron::kMidiChannels; }
bool IsKey(int key) { return key >= 0 && key <= midi::kLargestData; }

int DataByte(double value, double scale = midi::kLargestData) {
  return static_cast<int>(std::clamp(value * scale, 0.0, double{midi::kLargestData}));
}

/// `least` to 127, a half rounded down.
int VelocityByte(double velocity, int least) {
  const double scaled = std::clamp(velocity, 0.0, 1.0) * midi::kLargestData;
  const int whole = static_cast<int>(scaled);
  return std::max(scaled - whole > 0.5 ? whole + 1 : whole, least);
}

/// A bend of 120 semitones either way at full scale, 0 to 16383.
int BendValue(double semitones) {
  constexpr double kUp = 8191 / 120.0;
  constexpr double kDown = 8192 / 120.0;
  constexpr int kCentre = 8192;
  const double bend = semitones * (semitones >= 0.0 ? kUp : kDown);
  return static_cast<int>(std::clamp(bend, -8192.0, 8191.0)) + kCentre;
}

template <class Event>
NoteAddress AddressOf(const Event& event) {
  return {event.note_id, event.port_index, event.channel, event.key};
}

constexpr int kExpressions = CLAP_NOTE_EXPRESSION_PRESSURE + 1;

/// The neutral value of each expression.
constexpr std::array<double, kExpressions> kNeutralExpression{1.0, 0.5, 0.0, 0.0, 1.0, 0.5, 0.0};

}  // namespace

ClapEventInput::ClapEventInput(Halveron& engine, NoteTracker& notes)
    : engine_(engine), notes_(notes), sysEx_{} {
  list_.numEvents = 1;
  list_.events[0] = reinterpret_cast<VstEvent*>(&midi_);
}

bool ClapEventInput::ChangesParameter(const clap_event_header_t& event) {
  return event.space_id == CLAP_CORE_EVENT_SPACE_ID &&
         (event.type == CLAP_EVENT_PARAM_VALUE || event.type == CLAP_EVENT_PARAM_MOD);
}

void ClapEventInput::Take(const clap_event_header_t& event) {
  if (event.space_id != CLAP_CORE_EVENT_SPACE_ID) return;
  switch (event.type) {
    case CLAP_EVENT_NOTE_ON:
      if (const auto* note = As<clap_event_note_t>(event)) TakeNoteOn(*note);
      return;
    case CLAP_EVENT_NOTE_OFF:
      if (const auto* note = As<clap_event_note_t>(event)) TakeNoteOff(*note);
      return;
    case CLAP_EVENT_NOTE_EXPRESSION:
      if (const auto* moved = As<clap_event_note_expression_t>(event)) TakeExpression(*moved);
      return;
    case CLAP_EVENT_PARAM_VALUE:
      if (const auto* set = As<clap_event_param_value_t>(event)) TakeValue(*set);
      return;
    case CLAP_EVENT_PARAM_MOD:
      if (const auto* modulated = As<clap_event_param_mod_t>(event)) TakeModulation(*modulated);
      return;
    case CLAP_EVENT_MIDI:
      if (const auto* midi = As<clap_event_midi_t>(event)) {
        SendMidi(event.time, midi->data[0], midi->data[1], midi->data[2]);
      }
      return;
    case CLAP_EVENT_MIDI_SYSEX:
      if (const auto* sysEx = As<clap_event_midi_sysex_t>(event)) TakeSysEx(*sysEx);
      return;
    default:
      return;
  }
}

void ClapEventInput::TakeNoteOn(const clap_event_note_t& event) {
  if (!IsChannel(event.channel) || !IsKey(event.key) || !std::isfinite(event.velocity)) return;
  const ActiveNote note{event.note_id, event.port_index, event.channel, event.key};
  SendEarlyExpressions(event.header.time, note);
  const int slot = notes_.Store(note);
  constexpr int kSoftest = 1;  // 0 would be a note-off
  SendMidi(event.header.time, midi::kNoteOn + event.channel, event.key,
           VelocityByte(event.velocity, kSoftest), slot);
}

void ClapEventInput::TakeNoteOff(const clap_event_note_t& event) {
  if (!std::isfinite(event.velocity)) return;
  const int velocity = VelocityByte(event.velocity, 0);
  const NoteAddress address = AddressOf(event);
  if (event.channel < 0 || event.key < 0) {
    notes_.TakeHeld(address, [&](const ActiveNote& note) {
      SendMidi(event.header.time, midi::kNoteOff + note.channel, note.key, velocity, kNoNoteSlot);
    });
    return;
  }
  if (!IsChannel(event.channel) || !IsKey(event.key)) return;
  notes_.TakeNewestHeld(address);
  SendMidi(event.header.time, midi::kNoteOff + event.channel, event.key, velocity, kNoNoteSlot);
}

template <class F>
void ClapEventInput::TakeEarly(F&& take) {
  const auto end = early_.begin() + earlyCount_;
  earlyCount_ = static_cast<int>(std::remove_if(early_.begin(), end, take) - early_.begin());
}

void ClapEventInput::KeepEarly(const EarlyEvent& event) {
  TakeEarly([&](const EarlyEvent& older) {
    return older.isModulation == event.isModulation && older.id == event.id &&
           older.address == event.address;
  });
  if (earlyCount_ == kMostEarly) {
    std::copy(early_.begin() + 1, early_.end(), early_.begin());
    --earlyCount_;
  }
  early_[static_cast<std::size_t>(earlyCount_++)] = event;
}

void ClapEventInput::EndBlock() {
  constexpr int kMostBlocks = 2;  // the one it came in, and the next
  for (int i = 0; i < earlyCount_; ++i) ++early_[static_cast<std::size_t>(i)].blocks;
  TakeEarly([this](const EarlyEvent& event) {
    return event.blocks >= kMostBlocks && !notes_.WaitingNote(event.address);
  });
}

void ClapEventInput::ForgetModulation() {
  earlyCount_ = 0;
  commonOffsets_ = {};
  ownOffsets_ = {};
}

void ClapEventInput::SetVoiceOffset(int parameter, int voice, double amount) {
  engine_.Editor()->parameters.SetParameterOffset(parameter, voice, static_cast<float>(amount),
                                                  false);
}

void ClapEventInput::StartNote(int voice) {
  const ActiveNote& note = notes_.NoteOf(voice);
  const ParameterSet before =
      std::exchange(ownOffsets_[static_cast<std::size_t>(voice)], ParameterSet{});
  ParameterSet& own = ownOffsets_[static_cast<std::size_t>(voice)];
  TakeEarly([&](const EarlyEvent& event) {
    if (!event.isModulation || !event.address.Means(note)) return false;
    own.set(static_cast<std::size_t>(event.id));
    SetVoiceOffset(event.id, voice, event.value);
    return true;
  });
  const ParameterSet ended = before & ~own;
  if (ended.none()) return;
  for (int parameter = 0; parameter < kParameterCount; ++parameter) {
    const auto index = static_cast<std::size_t>(parameter);
    if (ended.test(index)) SetVoiceOffset(parameter, voice, commonOffsets_[index]);
  }
}

// Expressions are messages to a whole MIDI channel. A note that starts on a channel without held
// notes resets the expressions of earlier notes, except those that were sent for itself.
void ClapEventInput::SendEarlyExpressions(std::uint32_t time, const ActiveNote& note) {
  unsigned& expressed = expressed_[static_cast<std::size_t>(note.channel)];
  const bool isAlone = !notes_.IsHeld({-1, -1, note.channel, -1});
  unsigned ended = isAlone ? std::exchange(expressed, 0u) : 0u;
  TakeEarly([&](const EarlyEvent& event) {
    if (event.isModulation || !event.address.Means(note)) return false;
    ended &= ~(1u << event.id);
    expressed |= 1u << event.id;
    SendExpression(time, note.channel, event.id, event.value);
    return true;
  });
  for (int id = 0; id < kExpressions; ++id) {
    if ((ended >> id & 1) != 0) {
      SendExpression(time, note.channel, id, kNeutralExpression[static_cast<std::size_t>(id)]);
    }
  }
}

void ClapEventInput::TakeExpression(const clap_event_note_expression_t& event) {
  if (!std::isfinite(event.value) || event.expression_id < 0 ||
      event.expression_id >= kExpressions) {
    return;
  }
  const NoteAddress address = AddressOf(event);
  if (!address.MeansOneNote()) {
    const int channel = std::max<int>(event.channel, 0);
    if (IsChannel(channel)) {
      SendExpression(event.header.time, channel, event.expression_id, event.value);
    }
    return;
  }
  const ActiveNote* note = notes_.WaitingNote(address);
  if (!note) {
    const int voice = notes_.VoiceOf(address, engine_.voiceCount);
    if (voice >= 0) note = &notes_.NoteOf(voice);
  }
  if (!note || !notes_.IsHeld(address)) {
    KeepEarly({address, false, event.expression_id, event.value, 0});
  }
  if (!note) return;
  expressed_[static_cast<std::size_t>(note->channel)] |= 1u << event.expression_id;
  SendExpression(event.header.time, note->channel, event.expression_id, event.value);
}

void ClapEventInput::SendExpression(std::uint32_t time, int channel, int id, double amount) {
  const auto control = [&](int controller, int value) {
    SendMidi(time, midi::kControlChange + channel, controller, value);
  };
  switch (id) {
    case CLAP_NOTE_EXPRESSION_VOLUME: {
      constexpr double kFullAtDouble =
          63.5;  // 6 dB above the written volume is the controller's end
      control(midi::kVolume, DataByte(amount, kFullAtDouble));
      return;
    }
    case CLAP_NOTE_EXPRESSION_PAN:
      control(midi::kPan, DataByte(amount));
      return;
    case CLAP_NOTE_EXPRESSION_TUNING: {
      const int bend = BendValue(amount);
      SendMidi(time, midi::kPitchBend + channel, bend & midi::kLargestData, bend >> 7);
      return;
    }
    case CLAP_NOTE_EXPRESSION_VIBRATO:
      control(midi::kVibratoDepth, DataByte(amount));
      return;
    case CLAP_NOTE_EXPRESSION_EXPRESSION:
      control(midi::kExpression, DataByte(amount));
      return;
    case CLAP_NOTE_EXPRESSION_BRIGHTNESS:
      control(midi::kBrightness, DataByte(amount));
      return;
    case CLAP_NOTE_EXPRESSION_PRESSURE:
      SendMidi(time, midi::kChannelPressure + channel, DataByte(amount), 0);
      return;
    default:
      return;
  }
}

void ClapEventInput::TakeValue(const clap_event_param_value_t& event) {
  if (event.param_id >= kParameterCount || std::isnan(event.value)) return;
  engine_.Editor()->parameters.SetParameterValue(
      static_cast<int>(event.param_id), static_cast<float>(std::clamp(event.value, 0.0, 1.0)));
}

void ClapEventInput::TakeModulation(const clap_event_param_mod_t& event) {
  if (event.param_id >= kParameterCount || std::isnan(event.amount)) return;
  const int parameter = static_cast<int>(event.param_id);
  const double amount = std::clamp(event.amount, -1.0, 1.0);
  const NoteAddress address = AddressOf(event);
  if (!address.MeansOneNote()) {
    commonOffsets_[event.param_id] = static_cast<float>(amount);
    for (ParameterSet& own : ownOffsets_) own.reset(event.param_id);
    engine_.Editor()->parameters.SetParameterOffset(parameter, engine_.voiceCount - 1,
                                                    static_cast<float>(amount), true);
    return;
  }
  const bool isWaiting = notes_.WaitingNote(address) != nullptr;
  const int voice = isWaiting ? -1 : notes_.VoiceOf(address, engine_.voiceCount);
  // The key may be about to be played again.
  if (voice < 0 || !notes_.IsHeld(address)) KeepEarly({address, true, parameter, amount, 0});
  if (voice < 0) return;
  ownOffsets_[static_cast<std::size_t>(voice)].set(event.param_id);
  SetVoiceOffset(parameter, voice, amount);
}

void ClapEventInput::TakeSysEx(const clap_event_midi_sysex_t& event) {
  if (!event.buffer || event.size > std::numeric_limits<std::int32_t>::max()) return;
  sysEx_ = {};
  sysEx_.type = kVstSysExType;
  sysEx_.byteSize = sizeof sysEx_;
  sysEx_.dumpBytes = static_cast<std::int32_t>(event.size);
  // The published record has no const; modules only read.
  sysEx_.sysexDump = const_cast<char*>(reinterpret_cast<const char*>(event.buffer));
  SendRecord(event.header.time);
}

void ClapEventInput::AllNotesOff() {
  earlyCount_ = 0;
  for (int channel = 0; channel < Halveron::kMidiChannels; ++channel) {
    SendMidi(0, midi::kControlChange + channel, midi::kAllNotesOff, 0);
  }
}

void ClapEventInput::SendMidi(std::uint32_t time, int status, int data1, int data2, int extra) {
  midi_ = {};
  midi_.type = kVstMidiType;
  midi_.byteSize = sizeof midi_;
  midi_.midiData[0] = static_cast<char>(status);
  midi_.midiData[1] = static_cast<char>(data1);
  midi_.midiData[2] = static_cast<char>(data2);
  midi_.midiData[3] = static_cast<char>(extra);
  SendRecord(time);
}

void ClapEventInput::SendRecord(std::uint32_t time) {
  constexpr std::uint32_t kLatest = std::numeric_limits<std::int32_t>::max();
  midi_.deltaFrames = static_cast<std::int32_t>(std::min(time, kLatest));
  engine_.HandEvents(list_.Header());
}

}  // namespace halveron
