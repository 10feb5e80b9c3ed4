// Slew limits: a value that follows another at a bounded speed.
#pragma once

#include "dsp/lanes.h"

namespace halveron::dsp {

/// From `y` toward `x` by at most `step` a sample.
template <class Real>
inline Real SlewLinear(const Real& y, const Real& x, const Real& step) {
  const Real e = x - y;
  return Select(e > step, y + step, Select(e < -step, y - step, x));
}

/// From `y` toward `x` by the share 1 / `samples` of the distance; at once where `samples` is below
/// 1.
template <class Real>
inline Real SlewExponential(const Real& y, const Real& x, const Real& samples) {
  return Select(samples < Real(1.0f), x, y + (x - y) / samples);
}

}  // namespace halveron::dsp
