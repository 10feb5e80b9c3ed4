// Sound of the S201: a two-pole low-pass whose feedback node is clipped.
#pragma once

#include <cmath>

#include "dsp/shaping.h"
#include "dsp/trapezoidal_cells.h"

namespace halveron {

/// The clip of the node is the only non-linearity. Cutoff follows a fourth-power law between
/// `g_min` and `g_max`.
struct S201VCFKernel {
  double g_min = 0.0;
  double g_max = 0.0;

  dsp::TwoPoleCell<double> cell;

  /// The full range ends at 0 Hz, where the output holds; the audible one spans 40 Hz to 15 kHz.
  void Prepare(float rate, bool audibleRange) {
    const double inverseRate = 1.0f / rate;
    g_min = audibleRange ? 125.6637061435916 * inverseRate : 0.0;
    g_max = (audibleRange ? 47123.88980384685 : 68579.39683153832) * inverseRate;
  }

  /// `cutoff` and `resonance` are sums of knob and CV, limited here to 0..1; `level` is the knob
  /// before its square law; `limit` is that of the feedback node.
  double Step(double audio, double level, double cutoff, double resonance, double limit) {
    const double c = dsp::LimitUnit(cutoff);
    const double g0 = (g_max - g_min) * (c * c * c * c) + g_min;
    const double r = dsp::LimitUnit(resonance) * 0.95;
    const double k = (1.0 - (1.0 - r) * (1.0 - r)) * 2.0;
    const dsp::TwoPoleCell<double>::Gains gains(dsp::Warp(g0), k);

    const double node = cell.Node(audio * (level * level), gains);
    const double low = cell.Advance(dsp::LimitSymmetric(node, limit), gains);
    // A MIDI word may be no number: it must not stay in the state for good.
    if (!std::isfinite(low)) cell = {};
    return low;
  }
};

}  // namespace halveron
