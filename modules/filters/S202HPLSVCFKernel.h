// Sound of the S202: a state-variable high-pass that a switch turns into a low shelf.
#pragma once

#include <cmath>

#include "dsp/shaping.h"
#include "dsp/trapezoidal_cells.h"

namespace halveron {

/// Cutoff follows a cubic law up to `g_max`. The high-pass limits the node that drives the cell,
/// the shelf its output.
struct S202HPLSVCFKernel {
  double g_max = 0.0;

  dsp::StateVariableCell<double> cell;

  void Prepare(float rate) {
    const double inverseRate = 1.0f / rate;
    g_max = 68579.39683153832 * inverseRate;
  }

  /// `cutoff` is the sum of knob and CVs, limited here to 0..1; `level` is the knob before its
  /// square law; `limit` is that of the cell's node.
  double HighPass(double audio, double level, double cutoff, double resonance, double limit) {
    const Gains gains = GainsAt(cutoff, resonance);
    const double x = audio * (level * level);
    return Advance(dsp::LimitSymmetric(cell.Node(x), limit), gains).High(x, gains.R);
  }

  /// `shelf` is the sum of knob and CV: 0.5 is flat, the gain at DC is its double squared. `limit`
  /// is that of the output.
  double LowShelf(double audio, double level, double cutoff, double shelf, double resonance,
                  double limit) {
    const Gains gains = GainsAt(cutoff, resonance);
    const double x = audio * (level * level);
    const double A = 2.0 * shelf;
    const auto [band, low] = Advance(cell.Node(x), gains);
    return dsp::LimitSymmetric((A * A - 1.0) * low + (A - 1.0) * band * gains.R + x, limit);
  }

 private:
  using Gains = dsp::StateVariableCell<double>::Gains;
  using Bands = dsp::StateVariableCell<double>::Bands;

  Gains GainsAt(double cutoff, double resonance) const {
    const double c = dsp::LimitUnit(cutoff);
    const double q = 1.0 - resonance;
    return Gains(dsp::Warp(c * c * c * g_max), 2.0 - (1.0 - q * q) * 1.99);
  }

  Bands Advance(double node, const Gains& gains) {
    const Bands bands = cell.Advance(node, gains);
    // A MIDI word may be no number: it must not stay in the state for good.
    if (!std::isfinite(bands.band + bands.low)) cell = {};
    return bands;
  }
};

}  // namespace halveron
