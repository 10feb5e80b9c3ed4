// Sound of the S620: a single-sideband shifter of an analytic signal.
#pragma once

#include <algorithm>

#include "dsp/analytic_filter.h"
#include "framework/voice_group.h"

namespace halveron {

/// The signal's analytic form, turned by a rotor, and freed of what that turned below zero or above
/// half the rate. After Wardle, "A Hilbert-Transformer Frequency Shifter for Audio", DAFx 1998.
class S620FrequencyShifterKernel {
 public:
  using Complex = dsp::AnalyticFilter::Complex;
  using StepFunction = Complex (*)(S620FrequencyShifterKernel&, const Complex&);

  /// Which of the two analytic filters run.
  bool hasBefore = true, hasAfter = true;

  void Prepare(float rate);
  /// A shift in hertz.
  void SetShift(double hz);
  /// Of a knob or voltage f, with 0.5 for none: up to 16 kHz, or 1.5 kHz with the narrow law.
  static double ShiftOf(double f, bool wide);

  /// The step in the registers of `unit`, or in plain numbers for kNone, with the same bits.
  static StepFunction StepOf(VectorUnit unit);
  /// Four doubles do not fill a wider one.
  static VectorUnit BestUnit() { return std::min(WidestVectorUnit(), VectorUnit::kAvx2); }

  /// One sample. A real signal counts twice in the first filter, which takes half of it away.
  template <class Four>
  [[gnu::always_inline]] Complex Step(const Complex& x) {
    const Complex pair = hasBefore ? before_.Step<Four>({2.0 * x.re, 0.0}) : x;
    const Complex turned = Rotate(pair);
    return hasAfter ? after_.Step<Four>(turned) : turned;
  }

 private:
  /// The signal turned by the rotor, which moves on by a sample.
  [[gnu::always_inline]] Complex Rotate(const Complex& x) {
    rotor_ = {rotor_.re * rotorCos_ - rotor_.im * rotorSin_,
              rotor_.re * rotorSin_ + rotor_.im * rotorCos_};
    return {x.re * rotor_.re - x.im * rotor_.im, x.re * rotor_.im + x.im * rotor_.re};
  }

  float rate_ = 48000.0f;
  double rotorCos_ = 1.0, rotorSin_ = 0.0;
  Complex rotor_{1.0, 0.0};
  dsp::AnalyticFilter before_, after_;
};

/// A sample of the shifter in the registers of a unit; defined where that unit's code is compiled.
template <class Unit>
class S620FrequencyShifterVectors {
 public:
  static S620FrequencyShifterKernel::Complex Step(S620FrequencyShifterKernel& kernel,
                                                  const S620FrequencyShifterKernel::Complex& x);
};

}  // namespace halveron
