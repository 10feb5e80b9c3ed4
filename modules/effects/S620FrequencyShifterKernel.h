// Sound of the S620: a single-sideband shifter of an analytic signal.
#pragma once

#include "dsp/analytic_filter.h"

namespace halveron {

/// The signal's analytic form, turned by a rotor, and freed of what that turned below zero or above
/// half the rate. After Wardle, "A Hilbert-Transformer Frequency Shifter for Audio", DAFx 1998.
class S620FrequencyShifterKernel {
 public:
  using Complex = dsp::AnalyticFilter::Complex;

  void Prepare(float rate);
  /// A shift in hertz.
  void SetShift(double hz);
  /// Of a knob or voltage f, with 0.5 for none: up to 16 kHz, or 1.5 kHz with the narrow law.
  static double ShiftOf(double f, bool wide);

  /// The analytic form of a real signal.
  Complex Analyse(double x) { return before_.Step({2.0 * x, 0.0}); }
  /// The signal turned by the rotor, which moves on by a sample.
  Complex Rotate(const Complex& x);
  /// Suppresses negative frequencies.
  Complex Clean(const Complex& x) { return after_.Step(x); }

 private:
  float rate_ = 48000.0f;
  double rotorCos_ = 1.0, rotorSin_ = 0.0;
  Complex rotor_{1.0, 0.0};
  dsp::AnalyticFilter before_, after_;
};

}  // namespace halveron
