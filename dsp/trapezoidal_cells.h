// Two-pole filter cells of trapezoidal integrators, after Zavalishin, "The Art of VA Filter
// Design".
//
// Gains are of the warped kind: g = Warp(pi * cutoff / rate). The caller limits the node between
// the two halves of a step, because each filter limits in its own way.
#pragma once

#include <tuple>

#include "dsp/lanes.h"

namespace halveron::dsp {

/// State-variable cell. With S = s / cutoff and damping R, for an unlimited node:
/// band = S / (S^2 + R S + 1), low = 1 / (S^2 + R S + 1), high = S^2 / (S^2 + R S + 1).
template <class Real>
struct StateVariableCell {
  template <class Self>
  static auto State(Self& self) {
    return std::tie(self.s1, self.s2);
  }

  struct Gains {
    Real g, R, d, e;
    Gains(Real gain, Real damping)
        : g(gain),
          R(damping),
          d(Real(1.0f) / ((gain + damping) * gain + Real(1.0f))),
          e(d * gain) {}
  };
  struct Bands {
    Real band, low;
    Real High(Real x, Real R) const { return x - band * R - low; }
  };

  Real s1 = Real(0.0f);
  Real s2 = Real(0.0f);

  /// The node that drives the cell.
  Real Node(Real x) const { return x - s2; }

  Bands Advance(Real node, const Gains& gains) {
    const Real band = s1 * gains.d + node * gains.e;
    const Real low = s1 * gains.e + node * (gains.e * gains.g) + s2;
    s1 = Real(2.0f) * band - s1;
    s2 = Real(2.0f) * low - s2;
    return {band, low};
  }

  /// As TwoPoleCell's.
  void DropUnlessFinite(Real sound) {
    const auto isFinite = IsFinite(sound);
    if (All(isFinite)) return;
    s1 = Select(isFinite, s1, Real(0.0f));
    s2 = Select(isFinite, s2, Real(0.0f));
  }
};

/// Two one-pole low-passes with a feedback of k (0 to below 2) around the band between them. With
/// S = s / cutoff, for an unlimited node: low = 1 / (S^2 + (2 - k) S + 1).
template <class Real>
struct TwoPoleCell {
  template <class Self>
  static auto State(Self& self) {
    return std::tie(self.s1, self.s2);
  }

  struct Gains {
    Real g, k, a, d;
    Gains(Real gain, Real feedback)
        : g(gain), k(feedback), a(gain + Real(1.0f)), d(Real(1.0f) / (a * a - feedback * gain)) {}
  };

  Real s1 = Real(0.0f);
  Real s2 = Real(0.0f);

  /// The feedback node for input x.
  Real Node(Real x, const Gains& gains) const {
    return gains.d * gains.k * s2 + gains.a * gains.d * gains.g * x + gains.a * gains.d * s1;
  }

  /// Low-pass output.
  Real Advance(Real node, const Gains& gains) {
    const Real low = s2 / gains.a + node * gains.g / gains.a;
    s2 = Real(2.0f) * low - s2;
    s1 = Real(2.0f) * (node - low * gains.k) - s1;
    return low;
  }

  /// Starts again from rest where `sound` is not finite, as a MIDI word on a cable may make it:
  /// that must not stay in the state for good.
  void DropUnlessFinite(Real sound) {
    const auto isFinite = IsFinite(sound);
    if (All(isFinite)) return;
    s1 = Select(isFinite, s1, Real(0.0f));
    s2 = Select(isFinite, s2, Real(0.0f));
  }
};

}  // namespace halveron::dsp
