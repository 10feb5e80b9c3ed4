// Sound of the S216: twelve band-passes whose levels a delayed control signal moves through, one
// step of delay further for each band.
#pragma once

#include <algorithm>
#include <array>
#include <cstddef>

#include "dsp/shaping.h"
#include "dsp/trapezoidal_cells.h"
#include "dsp/zeroed_memory.h"

namespace halveron {

/// A band is a chain of state-variable cells, whose damping is its level: the narrower, the louder.
struct S216MovingFixedFilterBankKernel {
  static constexpr int kBands = 12;
  static constexpr int kMostStages = 4;
  static constexpr float kLineSeconds = 6.0f;
  static constexpr double kTopHertz = 18000.0;

  struct Inputs {
    float audio, audio5, audio9;  ///< of all bands, and what replaces it from a band on
    bool has5, has9;
    float control;
    std::array<double, kBands> levels;  ///< of the bands, 0..1
    double depth, delay, mix;
    double clipLevel;
  };
  struct Outputs {
    std::array<float, kBands> bands{};
    float left = 0.0f, right = 0.0f;
    bool clipped = false;
  };

  // Coefficients.
  int bands_used = kBands - 1;  ///< index of the highest band that runs
  std::array<double, kBands> band_gain{};
  int stages = 1;
  double damping = 40.0;  ///< of a closed band
  double narrow = 0.2;    ///< of an open one
  double out_gain = 1.0;
  bool clocked = false;  ///< the control signal's cycle sets the delay
  std::array<bool, kBands> band_off{};

  // State.
  std::array<std::array<dsp::StateVariableCell<double>, kMostStages>, kBands> cells{};
  dsp::ZeroedMemory line;  ///< past values of the control signal
  int size = 0;            ///< of the line; 0 where there is no memory for it
  int index = 0;
  int step = 1;   ///< samples of delay from band to band
  int count = 1;  ///< samples of the control signal's present cycle
  float last_control = 0.0f;

  /// A silent line of six seconds. Without memory for it the bands follow the control signal at
  /// once. Not for the audio thread.
  void TakeLine(float rate) {
    size = static_cast<int>(rate * kLineSeconds + 1.0f);
    if (!line.Take(static_cast<std::size_t>(size))) size = 0;
    index = 0;
    step = 1;
    count = 1;
  }

  /// Steps 0 to 10 of two knobs: the first band at 50 to 100 Hz, each next one 1.6 to 4 times
  /// above.
  void SetBands(int first, int spacing, float rate) {
    double f = (first * 0.1 + 1.0) * 50.0 / rate;
    const double share = spacing * 0.1;
    const double ratio = share * share * 2.38095238 + 1.61904762;
    bands_used = kBands - 1;
    for (int i = 0; i < kBands; ++i) {
      if (bands_used == kBands - 1 && f * rate > kTopHertz) bands_used = i - 1;
      band_gain[static_cast<std::size_t>(i)] = dsp::Warp(f * 3.14159265358979);
      f *= ratio;
    }
  }

  /// Steps 0 to 6: one to four cells a band, each in a wider and a narrower form.
  void SetOrder(int order) {
    constexpr double kGains[] = {1.0, 0.2, 0.04, 0.008};
    stages = order / 2 + 1;
    damping = stages >= 3 ? 20.0 - stages * 2.571428571428571 : 40.0;
    out_gain = kGains[order / 2];
    narrow = order % 2 == 0 ? 0.2 : 0.1;
  }

  void Step(const Inputs& in, Outputs& out) {
    // A NaN must not come by again for each band.
    const float control = dsp::FiniteOrZero(in.control);
    if (size > 0) MoveLine(control, in.delay);
    const float* past = line.Floats();
    out.bands.fill(0.0f);
    out.clipped = false;
    double x = in.audio * out_gain;
    std::array<double, 2> sums{};
    int position = index;
    std::size_t side = 0;
    for (int i = 0; i <= bands_used; ++i) {
      const auto band = static_cast<std::size_t>(i);
      position -= step;
      if (position < 0) position += size;
      if (i == 4 && in.has5) x = in.audio5 * out_gain;
      if (i == 8 && in.has9) x = in.audio9 * out_gain;
      if (band_off[band]) continue;
      const double level = (size > 0 ? past[position] : control) * in.depth + in.levels[band];
      const double u = RunBand(band, x, level, in.clipLevel, out.clipped);
      out.bands[band] = static_cast<float>(u);
      sums[side] += u;
      side = 1 - side;
    }
    const double common = (1.0 - in.mix) * (sums[0] + sums[1]);
    out.left = static_cast<float>(sums[0] * in.mix + common);
    out.right = static_cast<float>(sums[1] * in.mix + common);
  }

 private:
  void MoveLine(float control, double delay) {
    if (!clocked) {
      step = static_cast<int>(((size - 1) * 0.08333333333333333 - 1.0) * (delay * delay) + 1.0);
    } else if (last_control <= 0.0f && control > 0.0f) {
      step = std::min(count, size - 1) / kBands;
      count = 1;
    } else {
      count = std::min(count + 1, size);
    }
    last_control = control;
    if (++index == size) index = 0;
    line.Floats()[index] = control;
  }

  double RunBand(std::size_t band, double x, double level, double clipLevel, bool& clipped) {
    using Cell = dsp::StateVariableCell<double>;
    const double p = 1.0 - level;
    const double p4 = (p * p) * (p * p);
    const Cell::Gains gains(band_gain[band], (1.0 - p4) * (narrow - damping) + damping);
    double u = x;
    for (int i = 0; i < stages; ++i) {
      Cell& cell = cells[band][static_cast<std::size_t>(i)];
      const double h = cell.Node(u);
      const double limited = dsp::LimitSymmetric(h, clipLevel);
      clipped |= limited != h;
      u = cell.Advance(limited, gains).band;
      cell.DropUnlessFinite(u);
    }
    return u;
  }
};

}  // namespace halveron
