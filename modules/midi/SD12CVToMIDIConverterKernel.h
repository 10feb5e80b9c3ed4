// SD12 CV To MIDI Converter kernel: notes from gate, pitch and velocity.
#pragma once

#include <algorithm>
#include <cmath>

#include "dsp/edge.h"
#include "modules/midi/note_output.h"

namespace halveron {

struct SD12CVToMIDIConverterKernel {
  static constexpr int kPlainVelocity = 100;  ///< where no velocity is given

  bool isOn = false;  ///< a note sounds
  int key = 0;
  int channelOfNote = 0;
  float lastGate = 0.0f;

  /// Nearest key, 0 to 127; 0.1 an octave, 60 at 0.
  static int KeyOf(float pitch) {
    const float key = std::clamp(pitch * 120.0f + 60.0f, 0.0f, 127.0f);
    return static_cast<int>(key == key ? key + 0.5f : 60.0f);
  }
  /// 1 to 127; a velocity of 0 would end the note.
  static int VelocityOf(float level) {
    const float velocity = std::clamp(level * 127.0f, 1.0f, 127.0f);
    return static_cast<int>(velocity == velocity ? velocity + 0.5f : 1.0f);
  }

  /// One sample. A note ends with the key and on the channel with which it began.
  MidiCableWord Step(float gate, float pitch, int velocity, int channel) {
    const bool rises = dsp::IsRisingEdge(lastGate, gate);
    const bool falls = lastGate >= dsp::kGateThreshold && !(gate >= dsp::kGateThreshold);
    lastGate = gate;
    if (rises && !isOn) {
      isOn = true;
      key = KeyOf(pitch);
      channelOfNote = channel;
      return MidiCableWord::ChannelMessage(midi::kNoteOn, channel, key, velocity);
    }
    if (!falls || !isOn) return {};
    isOn = false;
    return MidiCableWord::ChannelMessage(midi::kNoteOff, channelOfNote, key, kReleaseVelocity);
  }
};

}  // namespace halveron
