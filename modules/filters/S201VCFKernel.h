// Sound of the S201: a two-pole low-pass whose feedback node is clipped.
#pragma once

#include <tuple>

#include "dsp/lanes.h"
#include "dsp/shaping.h"
#include "dsp/trapezoidal_cells.h"

namespace halveron {

/// The clip of the node is the only non-linearity. Cutoff follows a fourth-power law between
/// `g_min` and `g_max`.
template <class Lanes = dsp::OneVoice>
struct S201VCFKernel {
  using Double = typename Lanes::Double;
  using Cell = dsp::TwoPoleCell<Double>;

  // The same for all voices.
  double g_min = 0.0;
  double g_max = 0.0;

  // State.
  Cell cell;

  template <class Self>
  static auto Settings(Self& self) {
    return std::tie(self.g_min, self.g_max);
  }
  template <class Self>
  static auto State(Self& self) {
    return Cell::State(self.cell);
  }

  /// The full range ends at 0 Hz, where the output holds; the audible one spans 40 Hz to 15 kHz.
  void Prepare(float rate, bool audibleRange) {
    const double inverseRate = 1.0f / rate;
    constexpr double kAudibleBottom = 125.6637061435916;  // pi * 40 Hz
    constexpr double kAudibleTop = 47123.88980384685;     // pi * 15 kHz
    g_min = audibleRange ? kAudibleBottom * inverseRate : 0.0;
    g_max = (audibleRange ? kAudibleTop : dsp::kTopWarpArgument) * inverseRate;
  }

  /// `cutoff` and `resonance` are sums of knob and CV, limited here to 0..1; `level` is the knob
  /// before its square law; `limit` is that of the feedback node.
  Double Step(Double audio, Double level, Double cutoff, Double resonance, double limit) {
    const Double c = dsp::LimitUnit(cutoff);
    const Double g0 = (g_max - g_min) * (c * c * c * c) + g_min;
    const Double r = dsp::LimitUnit(resonance) * 0.95;
    const Double k = (1.0 - (1.0 - r) * (1.0 - r)) * 2.0;
    const typename Cell::Gains gains(dsp::Warp(g0), k);

    const Double node = cell.Node(audio * (level * level), gains);
    const Double low = cell.Advance(dsp::LimitSymmetric(node, limit), gains);
    cell.DropUnlessFinite(low);
    return low;
  }
};

}  // namespace halveron
