// The event queue and the transport-locked clock of SA03.
#pragma once

#include <cstdint>

#include "dsp/counters.h"
#include "framework/host_transport.h"
#include "framework/midi_cable_word.h"
#include "modules/daw/clock_resolution.h"
#include "modules/daw/event_ring.h"

namespace halveron {

/// One word and two levels a sample.
///
/// A tick falls where position times ticks a quarter passes a whole number. The position is the
/// host's at the start of a block and goes on by the tempo within it. A tick takes the sample of
/// any queued event, and ticks and events leave one by one, so an event may be late by as many
/// samples as stand before it, never early.
struct SA03MSFromDAWKernel {
  static constexpr float kStopped = 1.0f;  ///< at position 0
  static constexpr float kPaused = 0.2f;   ///< anywhere else
  static constexpr float kRunning = 0.0f;
  static constexpr float kClockRunsUpTo = 0.15f;

  EventRing ring;
  float clock = 0.0f;
  float stop = kStopped;

  void Prepare(float rate) {
    rate60 = rate * 60.0f;
    UpdateRates();
  }

  /// `frames` host samples follow, in each of which Step runs `steps` times.
  void StartBlock(int frames, int steps, const HostTransport& transport, int resolution,
                  bool sendsClock) {
    stepIndex = 0;
    stepsPerFrame = steps;
    blockSteps = std::int64_t{frames} * steps;
    tempo = transport.tempo;
    ppqNow = transport.position;
    ticksPerQuarter = resolution;
    UpdateRates();

    const bool beforeStart = ppqNow < 0.0;
    if (!transport.playing || beforeStart) {
      Halt(sendsClock);
      if (transport.playing) ppqPrevSample = kForceTick;
    } else if (stop != kRunning) {
      Start(sendsClock);
    }
    ppqPrevBlock = ppqNow;
    previousTick = Ticks(ppqPrevSample);
  }

  MidiCableWord Step(bool sendsClock) {
    if (stop <= kClockRunsUpTo) {
      const std::int64_t present = Ticks(ppqNow);
      const bool tick = present != previousTick && clock != 1.0f;
      ppqPrevSample = ppqNow;
      previousTick = present;
      ppqNow += ppqPerSample;
      if (tick) {
        clock = 1.0f;
        pulse.Start(pulseLength);
        // Events left over by a tick on the very last sample keep their frames: they come out in
        // the next block when those have passed again.
        ++stepIndex;
        return sendsClock ? TakeTransportByte(midi::kClock) : MidiCableWord{};
      }
    }
    if (pulse.Tick()) clock = 0.0f;

    MidiCableWord word;
    if (pendingTransportByte != 0) {
      word = TakeTransportByte(0);
    } else if (!ring.IsEmpty() && std::int64_t{ring.FrontFrame()} * stepsPerFrame <= stepIndex) {
      // Frames count host samples: with oversampling an event is due on the first step of its own.
      word = ring.PopFront();
    }
    if (++stepIndex == blockSteps) ring.CarryOver();
    return word;
  }

 private:
  static constexpr double kForceTick = -1.0;  // stands a tick or more from any position

  void UpdateRates() {
    ppqPerSample = tempo / rate60;
    pulseLength = ClockPulseSamples(ticksPerQuarter * ppqPerSample);
  }

  void Halt(bool sendsClock) {
    if (stop != kStopped && ppqNow == 0.0) {
      stop = kStopped;
      if (sendsClock) pendingTransportByte = midi::kStop;
    } else if (stop == kRunning) {
      stop = kPaused;
    }
  }

  void Start(bool sendsClock) {
    stop = kRunning;
    if (sendsClock) pendingTransportByte = ppqPrevBlock != 0.0 ? midi::kContinue : midi::kStart;
    const bool onQuarter = static_cast<double>(Ticks(ppqNow)) == ppqNow;
    ppqPrevSample = ppqPrevSample != kForceTick && !onQuarter ? ppqNow : kForceTick;
  }

  MidiCableWord TakeTransportByte(std::uint8_t otherwise) {
    const std::uint8_t byte = pendingTransportByte != 0 ? pendingTransportByte : otherwise;
    pendingTransportByte = 0;
    return MidiCableWord::FromBytes(byte, 0, 0);
  }

  // Positions and tempos of HostTransport keep this far within range.
  std::int64_t Ticks(double quarters) const {
    return static_cast<std::int64_t>(ticksPerQuarter * quarters);
  }

  float rate60 = 48000.0f * 60.0f;  // samples a minute
  double tempo = HostTransport{}.tempo;
  double ppqPerSample = 0.0;
  int ticksPerQuarter = kTicksPerQuarter.back();
  int pulseLength = 1;

  dsp::PulseCounter pulse;
  double ppqNow = 0.0;
  double ppqPrevBlock = 0.0;
  double ppqPrevSample = kForceTick;
  std::int64_t previousTick = 0;          // Ticks(ppqPrevSample)
  std::uint8_t pendingTransportByte = 0;  // 0: none
  int stepsPerFrame = 1;
  std::int64_t stepIndex = 0;
  std::int64_t blockSteps = 0;
};

}  // namespace halveron
