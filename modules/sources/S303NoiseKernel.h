// Sound of the S303: white, pink and coloured noise of constant power in the audible band.
#pragma once

#include <algorithm>
#include <cmath>

#include "dsp/random.h"
#include "dsp/shaping.h"

namespace halveron {

/// Gains follow the rate, so that the power below 22 kHz is the same at every rate.
struct S303NoiseKernel {
  // Coefficients.
  double tick = 1.0;  ///< steps of the coloured noise per sample
  double pink_pole = 0.97;
  double white_gain = 1.0;
  double pink_gain = 0.15;
  double colour = -0.76;

  // State.
  dsp::OwnRandom random;
  double pink = 0.0;
  double clock = 1.0;  ///< until the next step of the coloured noise, which is due at 1
  double c1 = 0.0, c2 = 0.0, c3 = 0.0;
  double coloured = 0.0;

  void Prepare(float rate) {
    tick = 44100.0 / rate;
    pink_pole = 1.0 - 1323.0 / rate;
    white_gain = std::sqrt(rate * 2.2675736545352265e-05);
    pink_gain = 0.15 / white_gain;
  }

  /// A knob of 0..1, from bright to dark.
  void SetColour(float knob) { colour = 0.48 - knob * 2.48; }

  double White() { return dsp::ToBipolar(random.Next()); }

  double Pink(double white) {
    pink = pink_pole * pink + white;
    return pink * pink_gain;
  }

  /// Steps at about 44100 Hz whatever the rate, and holds its value in between.
  double Colour(double white) {
    if (clock >= 1.0) {
      clock -= 1.0;
      const double h = white * 0.5;
      c1 = c1 * 0.97 + h;
      coloured = dsp::LimitSymmetric((white - c2) * colour - h - c1 * c3, 1.0);
      c3 = c2;
      c2 = coloured;
    }
    // At rates below 44100 Hz every sample steps; what could not be done then is not made up for.
    clock = std::min(clock + tick, 2.0);
    return coloured;
  }
};

}  // namespace halveron
