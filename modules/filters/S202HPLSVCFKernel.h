// Sound of the S202: a state-variable high-pass that a switch turns into a low shelf.
#pragma once

#include <tuple>

#include "dsp/lanes.h"
#include "dsp/shaping.h"
#include "dsp/trapezoidal_cells.h"

namespace halveron {

/// Cutoff follows a cubic law up to `g_max`. The high-pass limits the node that drives the cell,
/// the shelf its output.
template <class Lanes = dsp::OneVoice>
struct S202HPLSVCFKernel {
  using Double = typename Lanes::Double;
  using Cell = dsp::StateVariableCell<Double>;

  // The same for all voices.
  double g_max = 0.0;

  // State.
  Cell cell;

  template <class Self>
  static auto Settings(Self& self) {
    return std::tie(self.g_max);
  }
  template <class Self>
  static auto State(Self& self) {
    return Cell::State(self.cell);
  }

  void Prepare(float rate) {
    const double inverseRate = 1.0f / rate;
    g_max = dsp::kTopWarpArgument * inverseRate;
  }

  /// `cutoff` is the sum of knob and CVs, limited here to 0..1; `level` is the knob before its
  /// square law; `limit` is that of the cell's node.
  Double HighPass(Double audio, Double level, Double cutoff, Double resonance, double limit) {
    const Gains gains = GainsAt(cutoff, resonance);
    const Double x = audio * (level * level);
    return Advance(dsp::LimitSymmetric(cell.Node(x), limit), gains).High(x, gains.R);
  }

  /// `shelf` is the sum of knob and CV: 0.5 is flat, the gain at DC is its double squared. `limit`
  /// is that of the output.
  Double LowShelf(Double audio, Double level, Double cutoff, Double shelf, Double resonance,
                  double limit) {
    const Gains gains = GainsAt(cutoff, resonance);
    const Double x = audio * (level * level);
    const Double A = 2.0 * shelf;
    const auto [band, low] = Advance(cell.Node(x), gains);
    return dsp::LimitSymmetric((A * A - 1.0) * low + (A - 1.0) * band * gains.R + x, limit);
  }

 private:
  using Gains = typename Cell::Gains;
  using Bands = typename Cell::Bands;

  Gains GainsAt(Double cutoff, Double resonance) const {
    const Double c = dsp::LimitUnit(cutoff);
    const Double q = 1.0 - resonance;
    return Gains(dsp::Warp(c * c * c * g_max), 2.0 - (1.0 - q * q) * 1.99);
  }

  Bands Advance(Double node, const Gains& gains) {
    const Bands bands = cell.Advance(node, gains);
    cell.DropUnlessFinite(bands.band + bands.low);
    return bands;
  }
};

}  // namespace halveron
