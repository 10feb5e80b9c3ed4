// The sine of a phase, for one voice or several.
#pragma once

#include <numbers>

#include "dsp/lanes.h"

namespace halveron::dsp {

inline constexpr double kTwoPi = 2.0 * std::numbers::pi;

/// sin(x) for x in 0..2 pi, to within 1e-11: a Taylor polynomial on the nearest half wave, folded.
template <class Double>
inline Double SineOfPhase(Double x) {
  constexpr double kPi = std::numbers::pi, kQuarter = std::numbers::pi / 2.0;
  // sin(x) = sin(y) with y within a quarter wave of 0.
  const Double y = Select(x < kQuarter, x, Select(x < 3.0 * kQuarter, kPi - x, x - kTwoPi));
  const Double y2 = y * y;
  constexpr double k3 = -1.0 / 6, k5 = 1.0 / 120, k7 = -1.0 / 5040, k9 = 1.0 / 362880,
                   k11 = -1.0 / 39916800, k13 = 1.0 / 6227020800, k15 = -1.0 / 1307674368000;
  const Double tail = ((((y2 * k15 + k13) * y2 + k11) * y2 + k9) * y2 + k7) * y2 + k5;
  return ((tail * y2 + k3) * y2 + 1.0) * y;
}

}  // namespace halveron::dsp
