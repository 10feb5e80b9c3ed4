#include "engine/clap_event_input.h"

#include <algorithm>
#include <cmath>
#include <limits>

namespace halveron {

namespace {

constexpr int kNoteOff = 0x80;
constexpr int kNoteOn = 0x90;
constexpr int kControlChange = 0xB0;
constexpr int kChannelPressure = 0xD0;
constexpr int kPitchBend = 0xE0;

constexpr int kVolumeController = 7;
constexpr int kPanController = 10;
constexpr int kExpressionController = 11;
constexpr int kBrightnessController = 74;
constexpr int kVibratoController = 77;
constexpr int kAllNotesOffController = 123;

constexpr int kLargestData = 127;

/// Fourth byte of a note-off, which brings no note slot.
constexpr int kNoNoteSlot = 255;

/// The published layout of an event, or null if it is too small for that.
template <class Event>
const Event* As(const clap_event_header_t& event) {
  return event.size >= sizeof(Event) ? reinterpret_cast<const Event*>(&event) : nullptr;
}

bool IsChannel(int channel) { return channel >= 0 && channel < Halveron::kMidiChannels; }
bool IsKey(int key) { return key >= 0 && key <= kLargestData; }

int DataByte(double value, double scale = kLargestData) {
  return static_cast<int>(std::clamp(value * scale, 0.0, double{kLargestData}));
}

/// 0 to 127, a half rounded down.
int VelocityByte(double velocity) {
  const double scaled = std::clamp(velocity, 0.0, 1.0) * kLargestData;
  const int whole = static_cast<int>(scaled);
  return scaled - whole > 0.5 ? whole + 1 : whole;
}

/// A bend of 120 semitones either way at full scale, 0 to 16383.
int BendValue(double semitones) {
  constexpr double kUp = 8191 / 120.0;
  constexpr double kDown = 8192 / 120.0;
  constexpr int kCentre = 8192;
  const double bend = semitones * (semitones >= 0.0 ? kUp : kDown);
  return static_cast<int>(std::clamp(bend, -8192.0, 8191.0)) + kCentre;
}

/// Whom an expression or a modulation means.
struct Aim {
  enum { kNobody, kEverybody, kVoice } whom;
  int voice = 0;
};

/// By identifier, or else by port, channel and key; everybody if one of these is left open.
template <class Event>
Aim AimOf(const Event& event, const NoteTracker& notes, int voiceCount) {
  int voice;
  if (event.note_id >= 0) {
    voice = notes.VoiceOf(event.note_id, voiceCount);
  } else if (event.port_index >= 0 && event.channel >= 0 && event.key >= 0) {
    voice = notes.VoiceOf(event.port_index, event.channel, event.key, voiceCount);
  } else {
    return {Aim::kEverybody};
  }
  return voice < 0 ? Aim{Aim::kNobody} : Aim{Aim::kVoice, voice};
}

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
      if (const auto* note = As<clap_event_note_t>(event)) TakeNote(*note, kNoteOn);
      return;
    case CLAP_EVENT_NOTE_OFF:
      if (const auto* note = As<clap_event_note_t>(event)) TakeNote(*note, kNoteOff);
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

void ClapEventInput::TakeNote(const clap_event_note_t& event, int status) {
  if (status == kNoteOff && (event.channel < 0 || event.key < 0)) {
    ReleaseNotesOf(event);
    return;
  }
  if (!IsChannel(event.channel) || !IsKey(event.key) || !std::isfinite(event.velocity)) return;
  const int extra = status == kNoteOn
                        ? notes_.Store({event.note_id, event.port_index, event.channel, event.key})
                        : kNoNoteSlot;
  SendMidi(event.header.time, status + event.channel, event.key, VelocityByte(event.velocity),
           extra);
}

// A note-off that leaves channel or key open means all notes that the rest of it fits.
void ClapEventInput::ReleaseNotesOf(const clap_event_note_t& event) {
  const auto fits = [](int wanted, int present) { return wanted < 0 || wanted == present; };
  for (int voice = 0; voice < engine_.voiceCount; ++voice) {
    const ActiveNote& note = notes_.NoteOf(voice);
    if (note.IsNote() && fits(event.note_id, note.noteId) &&
        fits(event.port_index, note.portIndex) && fits(event.channel, note.channel) &&
        fits(event.key, note.key)) {
      SendMidi(event.header.time, kNoteOff + note.channel, note.key, 0, kNoNoteSlot);
    }
  }
}

void ClapEventInput::TakeExpression(const clap_event_note_expression_t& event) {
  const Aim aim = AimOf(event, notes_, engine_.voiceCount);
  if (aim.whom == Aim::kNobody || !std::isfinite(event.value)) return;
  const int channel =
      aim.whom == Aim::kVoice ? notes_.NoteOf(aim.voice).channel : std::max<int>(event.channel, 0);
  if (!IsChannel(channel)) return;
  const auto control = [&](int controller, int value) {
    SendMidi(event.header.time, kControlChange + channel, controller, value);
  };
  switch (event.expression_id) {
    case CLAP_NOTE_EXPRESSION_VOLUME: {
      constexpr double kFullAtDouble =
          63.5;  // 6 dB above the written volume is the controller's end
      control(kVolumeController, DataByte(event.value, kFullAtDouble));
      return;
    }
    case CLAP_NOTE_EXPRESSION_PAN:
      control(kPanController, DataByte(event.value));
      return;
    case CLAP_NOTE_EXPRESSION_TUNING: {
      const int bend = BendValue(event.value);
      SendMidi(event.header.time, kPitchBend + channel, bend & kLargestData, bend >> 7);
      return;
    }
    case CLAP_NOTE_EXPRESSION_VIBRATO:
      control(kVibratoController, DataByte(event.value));
      return;
    case CLAP_NOTE_EXPRESSION_EXPRESSION:
      control(kExpressionController, DataByte(event.value));
      return;
    case CLAP_NOTE_EXPRESSION_BRIGHTNESS:
      control(kBrightnessController, DataByte(event.value));
      return;
    case CLAP_NOTE_EXPRESSION_PRESSURE:
      SendMidi(event.header.time, kChannelPressure + channel, DataByte(event.value), 0);
      return;
    default:
      return;
  }
}

void ClapEventInput::TakeValue(const clap_event_param_value_t& event) {
  if (event.param_id >= kParameterCount || std::isnan(event.value)) return;
  engine_.Editor()->SetParameterValue(static_cast<int>(event.param_id),
                                      static_cast<float>(std::clamp(event.value, 0.0, 1.0)));
}

void ClapEventInput::TakeModulation(const clap_event_param_mod_t& event) {
  if (event.param_id >= kParameterCount || std::isnan(event.amount)) return;
  const Aim aim = AimOf(event, notes_, engine_.voiceCount);
  if (aim.whom == Aim::kNobody) return;
  const bool all = aim.whom == Aim::kEverybody;
  engine_.Editor()->SetParameterOffset(
      static_cast<int>(event.param_id), all ? engine_.voiceCount - 1 : aim.voice,
      static_cast<float>(std::clamp(event.amount, -1.0, 1.0)), all);
}

void ClapEventInput::TakeSysEx(const clap_event_midi_sysex_t& event) {
  if (!event.buffer || event.size > std::numeric_limits<std::int32_t>::max()) return;
  sysEx_ = {};
  sysEx_.type = kVstSysExType;
  sysEx_.byteSize = sizeof sysEx_;
  sysEx_.dumpBytes = static_cast<std::int32_t>(event.size);
  // The record is as old as C and has no const; modules only read.
  sysEx_.sysexDump = const_cast<char*>(reinterpret_cast<const char*>(event.buffer));
  SendRecord(event.header.time);
}

void ClapEventInput::AllNotesOff() {
  for (int channel = 0; channel < Halveron::kMidiChannels; ++channel) {
    SendMidi(0, kControlChange + channel, kAllNotesOffController, 0);
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
