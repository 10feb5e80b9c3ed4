// Sound of the S205: a low-pass gate, a two-pole filter that closes and fades at once.
#pragma once

#include <tuple>

#include "dsp/lanes.h"
#include "dsp/shaping.h"
#include "dsp/trapezoidal_cells.h"

namespace halveron {

/// The resonance fades with the signal that comes in, so that the gate falls shut as a photocell
/// does. All arithmetic behind the controls is in float.
template <class Lanes = dsp::OneVoice>
struct S205LPGKernel {
  using Float = typename Lanes::Float;
  using Double = typename Lanes::Double;
  using Cell = dsp::TwoPoleCell<Float>;

  enum Mode : int { kDriven, kFilterAndVca, kFilter };

  struct Inputs {
    Float audio, resonance;
    Double cutoff;  ///< the sum of knob and voltages, before it is limited
  };
  /// Knobs, 0..1.
  struct Controls {
    Double level, resonanceBase, resonance;
  };

  // The same for all voices.
  float g_max = 0.0f;

  // State.
  Cell cell{kRest, kRest};
  Float level = 0.0f;  ///< of the signal that came in, 0..1

  template <class Self>
  static auto Settings(Self& self) {
    return std::tie(self.g_max);
  }
  template <class Self>
  static auto State(Self& self) {
    return std::tuple_cat(Cell::State(self.cell), std::tie(self.level));
  }

  void Prepare(float rate) {
    const double inverseRate = 1.0f / rate;
    g_max = static_cast<float>(dsp::kTopWarpArgument * inverseRate);
  }

  Float Step(int mode, const Inputs& in, const Controls& knobs) {
    const Float cc = dsp::LimitUnit(dsp::ToFloat(in.cutoff));
    const Double open = dsp::ToDouble(cc);
    const Double gained = dsp::ToDouble(in.audio) * (knobs.level * knobs.level);
    const Float x = dsp::ToFloat(mode == kDriven ? gained * open * 4.0 : gained * 2.0);

    const Float g0 = cc * cc * cc * g_max;
    const Float r = dsp::ToFloat(dsp::ToDouble(in.resonance) + knobs.resonanceBase);
    const Float v = 1.0f - (0.95f - r * 0.3999999999999999f) * dsp::ToFloat(knobs.resonance);
    const Float k = (1.0f - v * v) * 2.0f;
    const typename Cell::Gains gains(dsp::Warp(g0), k);

    level = dsp::Min(level * 0.999f + dsp::Abs(x), Float(1.0f));
    const Float fading = gains.d * gains.k * cell.s2 + gains.a * gains.d * cell.s1;
    const Float node = (fading * level + gains.a * gains.d * gains.g * x) * (r * g0 + 1.0f);
    const Float low = cell.Advance(SoftLimit(node), gains);
    cell.DropUnlessFinite(low);
    level = dsp::Select(dsp::IsFinite(level), level, 0.0f);
    return mode == kFilterAndVca ? low * (cc * 2.0f) : low;
  }

 private:
  static constexpr float kRest = 1e-13f;  ///< keeps a silent cell clear of denormal numbers

  /// Bends what is beyond 1.5, and stays at 1.75 from 2 on.
  static Float SoftLimit(Float y) {
    const Float excess = dsp::Abs(y) - 1.5f;
    const auto bends = excess > 0.0f;
    if (!dsp::Any(bends)) return y;
    const Float twice = excess * 2.0f;
    const Float bent = excess / (twice * twice + 1.0f) + 1.5f;
    const Float limited = dsp::Select(excess > 0.5f, Float(1.75f), bent);
    return dsp::Select(bends, dsp::Select(y < 0.0f, -limited, limited), y);
  }
};

}  // namespace halveron
