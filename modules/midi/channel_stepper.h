// A MIDI channel that a signal steps up and down.
#pragma once

#include "dsp/counters.h"
#include "dsp/edge.h"
#include "framework/midi_message.h"

namespace halveron {

/// A rise above 0.25 steps up, a fall below -0.25 down, round the ends. Steps within the hold-off
/// after the last one are left out, so that a signal that bounces at the threshold steps once.
class ChannelStepper {
 public:
  static constexpr double kHoldOffSeconds = 0.01;

  void Prepare(float sampleRate) {
    holdOffSamples_ = static_cast<int>(sampleRate * kHoldOffSeconds);
  }

  /// One sample; 1, -1 or 0.
  int Step(float signal) {
    holdOff_.Tick();
    const int zone = signal >= dsp::kGateThreshold ? 1 : signal <= -dsp::kGateThreshold ? -1 : 0;
    const bool steps = zone != 0 && zone != zone_ && !holdOff_.IsRunning();
    zone_ = zone;
    if (!steps) return 0;
    holdOff_.Start(holdOffSamples_);
    return zone;
  }

  /// A channel 1 to 16, stepped.
  static int Stepped(int channel, int step) {
    return (channel - 1 + step + midi::kChannels) % midi::kChannels + 1;
  }

 private:
  dsp::PulseCounter holdOff_;
  int holdOffSamples_ = 1;
  int zone_ = 0;
};

}  // namespace halveron
