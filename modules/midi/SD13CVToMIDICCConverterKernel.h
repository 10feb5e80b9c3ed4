// SD13 CV To MIDI CC Converter kernel: levels as control changes, at a bounded rate.
#pragma once

#include <algorithm>
#include <array>

#include "dsp/counters.h"
#include "framework/midi_cable_word.h"

namespace halveron {

/// Eight lanes. A lane sends where its value differs from the one that it sent last, at most once
/// in 10 ms; lanes that are due take turns, one word a sample.
struct SD13CVToMIDICCConverterKernel {
  static constexpr int kLanes = 8;
  static constexpr double kIntervalSeconds = 0.01;
  static constexpr int kNothingSent = -1;

  struct Lane {
    int controller = 0;
    int sent = kNothingSent;  ///< the value that the receiver has
    dsp::PulseCounter wait;
  };

  std::array<Lane, kLanes> lanes;
  int intervalSamples = 1;
  int next = 0;  ///< the lane whose turn it is

  void Prepare(float rate) { intervalSamples = static_cast<int>(rate * kIntervalSeconds); }

  /// 0 to 127 of a level from 0 to 1, or from -1 to 1.
  static int ValueOf(float level, bool bipolar) {
    const float share = bipolar ? (level + 1.0f) * 0.5f : level;
    if (!(share > 0.0f)) return 0;
    return static_cast<int>(std::min(share, 1.0f) * 127.0f + 0.5f);
  }

  /// Has all lanes send again, to a receiver that knows nothing yet.
  void ForgetSent() {
    for (Lane& lane : lanes) lane.sent = kNothingSent;
  }

  /// One sample; `valueOf(lane)` is 0 to 127, or negative for a lane that does not send.
  template <class ValueOfLane>
  MidiCableWord Step(int channel, ValueOfLane valueOf) {
    for (Lane& lane : lanes) lane.wait.Tick();
    for (int tried = 0; tried < kLanes; ++tried) {
      const int index = (next + tried) % kLanes;
      Lane& lane = lanes[index];
      if (lane.wait.IsRunning()) continue;
      const int value = valueOf(index);
      if (value < 0 || value == lane.sent) continue;
      lane.sent = value;
      lane.wait.Start(intervalSamples);
      next = (index + 1) % kLanes;
      return MidiCableWord::ChannelMessage(midi::kControlChange, channel, lane.controller, value);
    }
    return {};
  }
};

}  // namespace halveron
