// A MIDI output: a point that holds each word for one sample, and the lamp that shows them.
#pragma once

#include "framework/midi_cable_word.h"
#include "framework/module_controls.h"
#include "framework/patch_point.h"

namespace halveron {

/// For how long the lamp of a MIDI point stays lit after a message.
inline constexpr double kMidiLampSeconds = 0.1;

struct MidiOutput {
  Output point;
  HeldLamp lamp;

  void SetSampleRate(float rate) { lamp.SetHold(rate, kMidiLampSeconds); }

  /// Once per sample: sends a word, or with none clears the point and counts the lamp down.
  void Step(MidiCableWord word) {
    if (word.IsNone() && isAtRest_) return;
    point->out = word.ToCell();
    if (!word.IsNone()) lamp.Light();
    lamp.Tick();
    isAtRest_ = word.IsNone() && !lamp.IsHeld();
  }

  /// Takes back what a preset said of the lamp.
  void ShowState() {
    if (MidiCableWord::FromCell(point->out).IsNone()) {
      lamp.Darken();
    } else {
      lamp.Light();
    }
    isAtRest_ = false;
  }

 private:
  bool isAtRest_ = false;  // the point is clear and the lamp dark
};

}  // namespace halveron
