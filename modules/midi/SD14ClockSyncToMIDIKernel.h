// SD14 Clock/Sync To MIDI kernel: MIDI clock, start and stop from two signals.
#pragma once

#include "dsp/counters.h"
#include "dsp/edge.h"
#include "framework/midi_cable_word.h"

namespace halveron {

/// Between two clocks the ticks go on at the pace of the last period.
struct SD14ClockSyncToMIDIKernel {
  int ticksPerClock = 24;
  bool continues = false;  ///< a rise of Run sends continue instead of start

  int count = dsp::kIdleCounter;  ///< samples since the clock
  double phase = 0.0;             ///< of a tick
  double increment = 0.0;
  float lastClock = 0.0f;
  float lastRun = 0.0f;

  /// One sample. A tick takes the place of a change of Run, which is then lost.
  MidiCableWord Step(float clock, float run) {
    const bool ticks = dsp::IsRisingEdge(lastClock, clock) ? EndPeriod() : Advance();
    MidiCableWord word;
    if (ticks) {
      word = MidiCableWord::FromBytes(midi::kClock, 0, 0);
    } else if (dsp::IsRisingEdge(run, lastRun)) {
      word = MidiCableWord::FromBytes(midi::kStop, 0, 0);
    } else if (dsp::IsRisingEdge(lastRun, run)) {
      word = MidiCableWord::FromBytes(continues ? midi::kContinue : midi::kStart, 0, 0);
    }
    lastClock = clock;
    lastRun = run;
    return word;
  }

  /// Forgets the pace, when the clock's cable has gone.
  void StopClock() {
    increment = 0.0;
    phase = 0.0;
    count = dsp::kIdleCounter;
    lastClock = 0.0f;
  }

 private:
  bool Advance() {
    dsp::CountInterval(count);
    phase += increment;
    if (phase < 1.0) return false;
    phase = 0.0;
    return true;
  }

  /// A tick that is about due goes out rather than be lost.
  bool EndPeriod() {
    increment = static_cast<double>(ticksPerClock) / count;
    count = 1;
    const bool due = phase > 0.5;
    phase = 0.0;
    return due;
  }
};

}  // namespace halveron
