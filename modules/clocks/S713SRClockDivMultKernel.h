// Clocks of the S713: divisions and multiples of a clock, with swing.
#pragma once

#include <array>

#include "dsp/counters.h"
#include "dsp/edge.h"

namespace halveron {

/// Four channels that divide or multiply the measured pace of one clock. Every second pulse of a
/// channel, an odd one, starts late by the channel's swing.
struct S713SRClockDivMultKernel {
  static constexpr int kChannels = 4;
  static constexpr double kLatestSwing = 0.48;  ///< from here on an odd pulse ends at kLatestEnd
  static constexpr double kLatestEnd = 0.98;

  struct Channel {
    // Settings.
    int number = 1;  ///< of the ratio
    bool multiplies = false;

    // State.
    double phase = 0.0;       ///< 0..1 of the channel's period
    double phase_step = 0.0;  ///< per sample
    int counter = 0;          ///< clocks of a divided period, or pulses of a multiplied one
    bool odd = false;

    double Ratio() const { return multiplies ? number : 1.0 / number; }
  };

  std::array<Channel, kChannels> channels;
  bool sync = true;  ///< a multiplied period begins with an even pulse

  bool waits = true;                ///< for the first clock after the start: all is low until then
  int samples = dsp::kIdleCounter;  ///< since the last clock
  int period = dsp::kIdleCounter;
  dsp::EdgeDetector<> clockEdges, resetEdges;

  void SetRatio(int index, int number, bool multiplies) {
    Channel& channel = channels[index];
    channel.number = number;
    channel.multiplies = multiplies;
    channel.phase_step = channel.Ratio() / period;
    if (waits) PutToStart(channel);
  }

  /// One sample. A reset that is not low keeps a clock from the channels, not from the measure of
  /// the pace.
  void Step(float clock, float reset) {
    const bool clocked = clockEdges.Step(clock);
    if (clocked) {
      period = samples;
      samples = 1;
    } else {
      dsp::CountInterval(samples);
    }
    if (resetEdges.Step(reset)) {
      GoToStart();
    } else if (clocked && !(reset > dsp::kResetLow)) {
      waits = false;
      for (Channel& channel : channels) TakeClock(channel);
    } else if (!waits) {
      for (Channel& channel : channels) Run(channel);
    }
  }

  /// Whether a channel's output is high, for a swing of 0..1.
  bool IsHigh(int index, double swing) const {
    if (waits) return false;
    const Channel& channel = channels[index];
    if (!channel.odd) return channel.phase < 0.5;
    const double end = swing >= kLatestSwing ? kLatestEnd : swing + 0.5;
    return channel.phase >= swing && channel.phase < end;
  }

  /// All low, until the next clock begins every channel's period.
  void GoToStart() {
    waits = true;
    for (Channel& channel : channels) PutToStart(channel);
  }

 private:
  static void PutToStart(Channel& channel) {
    channel.phase = 0.0;
    channel.counter = channel.multiplies ? 0 : channel.number;
    channel.odd = !channel.multiplies;
  }

  void TakeClock(Channel& channel) const {
    channel.phase_step = channel.Ratio() / period;
    if (channel.multiplies) {
      channel.phase = 0.0;
      channel.counter = 0;
      if (sync) channel.odd = false;
    } else if (channel.counter + 1 < channel.number) {
      ++channel.counter;
      channel.phase = static_cast<double>(channel.counter) / channel.number;
    } else {
      channel.counter = 0;
      channel.phase = 0.0;
      channel.odd = !channel.odd;
    }
  }

  void Run(Channel& channel) const {
    channel.phase += channel.phase_step;
    if (!channel.multiplies || channel.phase < 1.0) return;
    channel.phase = 0.0;
    if (channel.counter + 1 < channel.number) {
      channel.odd = !channel.odd;
      ++channel.counter;
    } else {
      channel.counter = 0;
      if (sync) channel.odd = false;
    }
  }
};

}  // namespace halveron
