// Sound of the S225 Allpass Phase Shifter: a second-order all-pass in two forms.
#pragma once

#include <cmath>
#include <tuple>

#include "dsp/lanes.h"
#include "dsp/shaping.h"
#include "dsp/trapezoidal_cells.h"

namespace halveron {

/// The state-variable form takes twice the damped band off the input, which leaves
/// (S^2 - R S + 1) / (S^2 + R S + 1) for S = s / frequency. The direct form has its poles at a
/// radius r and its zeros at 2 - r.
template <class Lanes = dsp::OneVoice>
struct S225AllPassPhaseShifterKernel {
  using Float = typename Lanes::Float;
  using Double = typename Lanes::Double;

  /// Smoothed, 0..1.
  struct Knobs {
    Double frequency = 0.5;
    Double frequencyCvAmount = 0.0;
    Double resonanceCvAmount = 0.0;
    Double resonance = 0.8;
  };
  struct Inputs {
    Float audio = 0.0f;
    Float directCv = 0.0f;
    Float attenuatedCv = 0.0f;
    Float resonanceCv = 0.0f;
  };

  // The same for all voices.
  double g_max = 0.0;
  double cos_min = 0.0;
  bool level_compensate = false;
  bool isDirect = false;

  // State.
  dsp::StateVariableCell<Double> cell;
  Double x1 = 0.0, x2 = 0.0, y1 = 0.0, y2 = 0.0;

  template <class Self>
  static auto Settings(Self& self) {
    return std::tie(self.g_max, self.cos_min, self.level_compensate, self.isDirect);
  }
  template <class Self>
  static auto State(Self& self) {
    return std::tie(self.cell.s1, self.cell.s2, self.x1, self.x2, self.y1, self.y2);
  }

  /// `rate` in hertz.
  void Prepare(float rate) {
    g_max = dsp::kTopWarpArgument / static_cast<double>(rate);
    cos_min = std::cos(137158.79366307665 / static_cast<double>(rate));
    level_compensate = rate < 96100.0f;
  }

  /// One sample; calls lights(mask) where a node is beyond `level`.
  template <class Lights>
  Float Step(const Knobs& knobs, const Inputs& in, float level, Lights&& lights) {
    const Double f = dsp::LimitUnit(dsp::ToDouble(in.attenuatedCv) * knobs.frequencyCvAmount +
                                    dsp::ToDouble(in.directCv) + knobs.frequency);
    const Double q =
        dsp::LimitUnit(dsp::ToDouble(in.resonanceCv) * knobs.resonanceCvAmount + knobs.resonance);
    const Double x = dsp::ToDouble(dsp::FiniteOrZero(in.audio));
    const Double limit = static_cast<double>(level);
    return dsp::ToFloat(isDirect ? Direct(x, f, q, limit, lights)
                                 : StateVariable(x, f, q, limit, lights));
  }

 private:
  template <class Lights>
  static Double Limited(const Double& x, const Double& limit, Lights&& lights) {
    const auto isOver = dsp::Or(x > limit, x < -limit);
    if (!dsp::Any(isOver)) return x;
    lights(isOver);
    return dsp::LimitSymmetric(x, limit);
  }

  template <class Lights>
  Double StateVariable(const Double& x, const Double& f, const Double& q, const Double& limit,
                       Lights&& lights) {
    const Double R = 2.0 - q * 1.99;
    const typename dsp::StateVariableCell<Double>::Gains gains(dsp::Warp(f * f * f * g_max), R);
    const Double h = Limited(cell.Node(x), limit, lights);
    return x - cell.Advance(h, gains).band * R * 2.0;
  }

  template <class Lights>
  Double Direct(const Double& x, const Double& f, const Double& q, const Double& limit,
                Lights&& lights) {
    const Double f4 = f * f * f * f;
    const Double c = (cos_min - 1.0) * f4 + 1.0;
    const Double p = 1.0 - q;
    const Double r = (1.0 - p * p * p * p) * 0.9975;
    const Double z = 2.0 - r;
    const Double sum = x - z * x1 * c * 2.0 + z * x2 * z + r * y1 * c * 2.0 - r * y2 * r;
    const Double y = Limited(sum, limit, lights);
    x2 = x1;
    x1 = x;
    y2 = y1;
    y1 = y;
    return level_compensate ? y / ((1.0 - r) * f4 * 3.0 + 1.0) : y;
  }
};

}  // namespace halveron
