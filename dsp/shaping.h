// Small non-linear shapes that filters and amplifiers share.
#pragma once

#include <type_traits>

#include "dsp/lanes.h"

namespace halveron::dsp {

/// Limits x to -limit..limit. A NaN passes through.
template <class Real>
inline Real LimitSymmetric(Real x, std::type_identity_t<Real> limit) {
  return Select(x > limit, limit, Select(x < -limit, -limit, x));
}

/// Limits x to 0..1; a NaN, which a MIDI cable may bring, counts as 0.
template <class Real>
inline Real LimitUnit(Real x) {
  return Select(x > Real(0.0f), Select(x < Real(1.0f), x, Real(1.0f)), Real(0.0f));
}

/// Replaces an infinity and a NaN by 0, so that it does not stay in a filter or a line.
template <class Real>
inline Real FiniteOrZero(const Real& x) {
  return Select(IsFinite(x), x, Real(0.0f));
}

/// Leaves -1..1 as it is, bends what is beyond, and stays at 2 from 3 on. A NaN passes through.
template <class Double>
inline Double SoftClip(Double x) {
  const Double excess = Abs(x) - 1.0;
  const auto bends = excess > 0.0;
  if (!Any(bends)) return x;
  const auto half = ToFloat(excess * 0.5);
  const Double bent = 1.0 + excess / ToDouble(half * half + 1.0f);
  return Select(bends, CopySign(Select(excess > 2.0, 2.0, bent), x), x);
}

/// Pre-warp of a trapezoidal integrator's gain: a polynomial in place of tan, good to 1 % up to
/// about a third of the sample rate.
template <class Real>
inline Real Warp(Real g0) {
  const Real g2 = g0 * g0;
  return ((g2 * Constant<Real>(0.2033) + Constant<Real>(0.31755)) * g2 + Real(1.0f)) * g0;
}

/// Argument of Warp times the rate at the top of most filters' range: pi times 21829.5 Hz, which is
/// 0.495 of 44.1 kHz. Filters are voiced by this rounding.
inline constexpr double kTopWarpArgument = 68579.39683153832;

/// Truncates x into least..most, whatever it is; a NaN counts as `least`.
inline int TruncateWithin(double x, int least, int most) {
  if (!(x > least)) return least;
  return x < most ? static_cast<int>(x) : most;
}

/// Rounds to the nearest integer by truncation: one is added where the remainder is above 0.5.
inline int RoundHalfDown(double x) {
  const int whole = static_cast<int>(x);
  return x - whole > 0.5 ? whole + 1 : whole;
}
template <class Float>
inline auto RoundHalfDown(Float x) {
  const auto whole = Truncate(x);
  return Select(x - ToFloat(whole) > 0.5f, whole + 1, whole);
}

}  // namespace halveron::dsp
