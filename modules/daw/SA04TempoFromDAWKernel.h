// The free-running clock of SA04.
#pragma once

#include <algorithm>

#include "dsp/counters.h"
#include "dsp/edge.h"
#include "framework/host_transport.h"
#include "modules/daw/clock_resolution.h"

namespace halveron {

/// A phase that gains tempo times ticks a quarter each minute and fires when it reaches 1. A reset
/// fires at once; where the pulse is still up it drops for one sample, so that what follows sees an
/// edge.
struct SA04TempoFromDAWKernel {
  float clock = 0.0f;

  void Prepare(float rate) {
    rate60 = rate * 60.0f;
    Update();
  }

  void SetTempo(double quartersPerMinute, int resolution) {
    tempo = quartersPerMinute;
    ticksPerQuarter = resolution;
    Update();
  }

  void Step(float reset) {
    if (dsp::IsRisingEdge(previousReset, reset)) {
      if (clock < dsp::kGateThreshold) {
        phase = 0.0;
        Fire();
      } else {
        phase = 1.0;
        clock = 0.0f;
      }
      previousReset = 1.0f;
      return;
    }
    phase += increment;
    if (phase >= 1.0) {
      phase -= 1.0;
      Fire();
    } else if (pulse.Tick()) {
      clock = 0.0f;
    }
    previousReset = reset;
  }

 private:
  void Update() {
    // More than one tick per sample cannot be output; the phase must not grow without bound.
    increment = std::min(ticksPerQuarter * tempo / rate60, 1.0);
    pulseLength = ClockPulseSamples(increment);
  }

  void Fire() {
    clock = 1.0f;
    pulse.Start(pulseLength);
  }

  float rate60 = 48000.0f * 60.0f;  // samples a minute
  double tempo = HostTransport{}.tempo;
  int ticksPerQuarter = kTicksPerQuarter.back();
  double increment = 0.0;
  int pulseLength = 1;

  double phase = 0.0;
  dsp::PulseCounter pulse;
  float previousReset = 0.0f;
};

}  // namespace halveron
