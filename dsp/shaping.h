// Small non-linear shapes that filters and amplifiers share.
#pragma once

#include <algorithm>
#include <cmath>

namespace halveron::dsp {

/// Limits x to -limit..limit. A NaN passes through.
template <class Real>
inline Real LimitSymmetric(Real x, Real limit) {
  return x > limit ? limit : (x < -limit ? -limit : x);
}

/// Limits x to 0..1; a NaN, which a MIDI cable may bring, counts as 0.
template <class Real>
inline Real LimitUnit(Real x) {
  return x > Real(0) ? (x < Real(1) ? x : Real(1)) : Real(0);
}

/// Leaves -1..1 as it is, bends what is beyond, and stays at 2 from 3 on. A NaN passes through.
inline double SoftClip(double x) {
  const double excess = std::abs(x) - 1.0;
  if (!(excess > 0.0)) return x;
  if (excess > 2.0) return std::copysign(2.0, x);
  const float half = static_cast<float>(excess * 0.5);
  return std::copysign(1.0 + excess / (half * half + 1.0f), x);
}

/// Pre-warp of a trapezoidal integrator's gain: a polynomial in place of tan, good to 1 % up to
/// about a third of the sample rate.
template <class Real>
inline Real Warp(Real g0) {
  const Real g2 = g0 * g0;
  return ((g2 * Real(0.2033) + Real(0.31755)) * g2 + Real(1)) * g0;
}

/// Rounds to the nearest integer by truncation: one is added where the remainder is above 0.5.
template <class Real>
inline int RoundHalfDown(Real x) {
  const int whole = static_cast<int>(x);
  return x - static_cast<Real>(whole) > Real(0.5) ? whole + 1 : whole;
}

}  // namespace halveron::dsp
