// Sound of the S206: two two-pole low-passes on either side of a centre, in series or side by side.
#pragma once

#include <tuple>

#include "dsp/lanes.h"
#include "dsp/shaping.h"
#include "dsp/trapezoidal_cells.h"

namespace halveron {

template <class Lanes = dsp::OneVoice>
struct S206PoleSeparationLPVCFKernel {
  using Double = typename Lanes::Double;
  using Cell = dsp::TwoPoleCell<Double>;

  // The same for all voices.
  double g_max = 0.0;

  // State.
  Cell first{kRest, kRest}, second{kRest, kRest};

  template <class Self>
  static auto Settings(Self& self) {
    return std::tie(self.g_max);
  }
  template <class Self>
  static auto State(Self& self) {
    return std::tuple_cat(Cell::State(self.first), Cell::State(self.second));
  }

  void Prepare(float rate) {
    const double inverseRate = 1.0f / rate;
    g_max = 34714.59882216718 * inverseRate;
  }

  /// `centre` and `separation` are sums of knob and voltage; the cutoffs lie a quarter of the
  /// separation below and above the centre, each limited to 0..1. `limit` is that of the feedback
  /// nodes.
  Double Step(Double x, Double centre, Double separation, Double resonance, bool inSeries,
              double limit) {
    const Double h = separation * 0.25;
    const Double g1 = GainAt(centre - h);
    const Double g2 = GainAt(centre + h);
    // The farther apart, the more feedback they stand.
    const Double v = 1.0 - (0.85 - (1.0 - h * h) * 0.4) * resonance;
    const Double v3 = v * v * v;
    const Double k = (1.0 - v3 * v3) * 2.0;
    const Double l1 = Advance(first, x, {g1, k}, limit);
    const Double l2 = Advance(second, inSeries ? l1 : x, {g2, k}, limit);
    return inSeries ? l2 : (l2 + l1) * 0.5;
  }

 private:
  static constexpr double kRest = 1e-13;  ///< keeps silent cells clear of denormal numbers

  Double GainAt(Double cutoff) const {
    const Double c = dsp::LimitUnit(cutoff);
    return dsp::Warp(c * c * c * c * g_max);
  }

  static Double Advance(Cell& cell, Double x, const typename Cell::Gains& gains, double limit) {
    const Double low = cell.Advance(dsp::LimitSymmetric(cell.Node(x, gains), limit), gains);
    cell.DropUnlessFinite(low);
    return low;
  }
};

}  // namespace halveron
