// Sound of the S213: chains of low-passes and of high-passes, a blend of both, a folder and a soft
// limit.
#pragma once

#include <algorithm>
#include <array>
#include <tuple>

#include "dsp/lanes.h"
#include "dsp/shaping.h"
#include "dsp/trapezoidal_cells.h"

namespace halveron {

template <class Lanes = dsp::OneVoice>
struct S213MorphingVCFKernel {
  using Double = typename Lanes::Double;
  using Cell = dsp::StateVariableCell<Double>;

  static constexpr int kMostCells = 3;

  /// Sums of knob and voltages, not limited yet.
  struct Controls {
    Double level, cutoff, resonance, morph, drive;
  };

  // The same for all voices.
  double g_max = 0.0;
  int cells = 1;  ///< of each chain, 1..3
  bool folds = false;

  // State.
  std::array<Cell, kMostCells> lowChain = Rest(), highChain = Rest();

  template <class Self>
  static auto Settings(Self& self) {
    return std::tie(self.g_max, self.cells, self.folds);
  }
  template <class Self>
  static auto State(Self& self) {
    const auto chain = [](auto& c) {
      return std::tuple_cat(Cell::State(c[0]), Cell::State(c[1]), Cell::State(c[2]));
    };
    return std::tuple_cat(chain(self.lowChain), chain(self.highChain));
  }

  void Prepare(float rate) {
    const double inverseRate = 1.0f / rate;
    g_max = 34557.51918948769 * inverseRate;
  }

  Double Step(Double forLow, Double forHigh, const Controls& in) {
    const Double c = dsp::LimitUnit(in.cutoff);
    const Double rest = 1.0 - in.resonance;
    // Each added cell takes a little off the resonance.
    const double lost = (cells - 1) * 0.03;
    const typename Cell::Gains gains(dsp::Warp(c * c * c * g_max),
                                     2.0 - (1.0 - rest * rest - lost) * 1.99);
    const Double drive = dsp::Max(in.drive, Double(0.0));
    const Double gain = in.level * in.level + drive * 10.0;

    Double low = forLow * gain;
    Double high = forHigh * gain;
    for (int i = 0; i < cells; ++i) {
      Cell& lowCell = lowChain[static_cast<std::size_t>(i)];
      Cell& highCell = highChain[static_cast<std::size_t>(i)];
      low = lowCell.Advance(lowCell.Node(low), gains).low;
      high = highCell.Advance(highCell.Node(high), gains).High(high, gains.R);
    }
    DropUnlessFinite(low, high);

    Double y = (1.0 - in.morph) * low + in.morph * high;
    if (folds) y = Fold(y);
    const Double v = 1.0 - drive;
    const Double v3 = v * v * v;
    return SoftLimit(y) * in.level / ((1.0 - v3 * v3) * 3.0 + 1.0);
  }

  /// Turns back what is beyond 3.25, ever more steeply.
  static Double Fold(Double y) {
    constexpr double kEdge = 3.25;
    const Double above = y - kEdge;
    const Double below = y + kEdge;
    if (!dsp::Any(dsp::Or(above > 0.0, below < 0.0))) return y;
    return dsp::Select(above > 0.0, above - above * above * above + kEdge,
                       dsp::Select(below < 0.0, below - below * below * below - kEdge, y));
  }

  /// Leaves what is within 0.8125 as it is, bends what is beyond, and stays at 2.4375 from 4.0625
  /// on.
  static Double SoftLimit(Double y) {
    constexpr double kLinear = 0.8125, kSpan = 3.25, kTop = 2.4375, kEdge = 4.0625;
    constexpr double kInverseSpan = 0.15384615384615385;  // of twice the span
    const auto isOver = y > kLinear;
    const auto isUnder = y < -kLinear;
    if (!dsp::Any(dsp::Or(isOver, isUnder))) return y;
    const Double over = dsp::ToDouble(dsp::ToFloat((y - kLinear + kSpan) * kInverseSpan - 1.0));
    const Double under = (kSpan - (y + kLinear)) * kInverseSpan - 1.0;
    const Double upper = dsp::Select(y > kEdge, kTop, kTop - over * over * 6.5);
    const Double lower = dsp::Select(y < -kEdge, -kTop, under * under * 6.5 - kTop);
    return dsp::Select(isOver, upper, dsp::Select(isUnder, lower, y));
  }

 private:
  /// Keeps silent cells clear of denormal numbers.
  static std::array<Cell, kMostCells> Rest() {
    std::array<Cell, kMostCells> rest;
    rest.fill(Cell{Double(1e-13), Double(1e-13)});
    return rest;
  }

  void DropUnlessFinite(Double low, Double high) {
    if (dsp::All(dsp::IsFinite(low + high))) return;
    for (Cell& cell : lowChain) cell.DropUnlessFinite(low);
    for (Cell& cell : highChain) cell.DropUnlessFinite(high);
  }
};

}  // namespace halveron
