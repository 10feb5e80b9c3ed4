// Two-pole filter cells of trapezoidal integrators, after Zavalishin, "The Art of VA Filter
// Design".
//
// Gains are of the warped kind: g = Warp(pi * cutoff / rate). The caller limits the node between
// the two halves of a step, because each filter limits in its own way.
#pragma once

namespace halveron::dsp {

/// State-variable cell. With S = s / cutoff and damping R, for an unlimited node:
/// band = S / (S^2 + R S + 1), low = 1 / (S^2 + R S + 1), high = S^2 / (S^2 + R S + 1).
template <class Real>
struct StateVariableCell {
  struct Gains {
    Real g, R, d, e;
    Gains(Real gain, Real damping)
        : g(gain), R(damping), d(Real(1) / ((gain + damping) * gain + Real(1))), e(d * gain) {}
  };
  struct Bands {
    Real band, low;
    Real High(Real x, Real R) const { return x - band * R - low; }
  };

  Real s1{0};
  Real s2{0};

  /// The node that drives the cell.
  Real Node(Real x) const { return x - s2; }

  Bands Advance(Real node, const Gains& gains) {
    const Real band = s1 * gains.d + node * gains.e;
    const Real low = s1 * gains.e + node * (gains.e * gains.g) + s2;
    s1 = Real(2) * band - s1;
    s2 = Real(2) * low - s2;
    return {band, low};
  }
};

/// Two one-pole low-passes with a feedback of k (0 to below 2) around the band between them. With
/// S = s / cutoff, for an unlimited node: low = 1 / (S^2 + (2 - k) S + 1).
template <class Real>
struct TwoPoleCell {
  struct Gains {
    Real g, k, a, d;
    Gains(Real gain, Real feedback)
        : g(gain), k(feedback), a(gain + Real(1)), d(Real(1) / (a * a - feedback * gain)) {}
  };

  Real s1{0};
  Real s2{0};

  /// The feedback node for input x.
  Real Node(Real x, const Gains& gains) const {
    return gains.d * gains.k * s2 + gains.a * gains.d * gains.g * x + gains.a * gains.d * s1;
  }

  /// Low-pass output.
  Real Advance(Real node, const Gains& gains) {
    const Real low = s2 / gains.a + node * gains.g / gains.a;
    s2 = Real(2) * low - s2;
    s1 = Real(2) * (node - low * gains.k) - s1;
    return low;
  }
};

}  // namespace halveron::dsp
