// Takes the constant part off a signal.
#pragma once

#include "dsp/lanes.h"

namespace halveron::dsp {

/// One-pole, one-zero high-pass: y[n] = c y[n-1] + (x[n] - x[n-1]), after J. O. Smith,
/// "Introduction to Digital Filters". The corner lies at about (1 - c) rate / (2 pi).
template <class Real>
struct DcBlocker {
  Real x1{0.0f};  ///< previous input
  Real y1{0.0f};  ///< previous output

  /// The next output, with the state as it was.
  Real Next(const Real& x, const Real& c) const { return c * y1 + (x - x1); }

  Real Step(const Real& x, const Real& c) {
    y1 = Next(x, c);
    x1 = x;
    return y1;
  }
};

/// The pole c of a corner at 7 Hz; `rate` in hertz.
inline double DcBlockerPole(float rate) {
  const double inverseRate = 1.0f / rate;
  return 1.0 - 44.1 * inverseRate;
}

}  // namespace halveron::dsp
