// Sound of the S626: chains of state-variable stages, spaced in ratios, swept by triangles.
#pragma once

#include <algorithm>
#include <array>
#include <cstddef>
#include <cstring>
#include <type_traits>

#include "dsp/four_doubles.h"
#include "dsp/shaping.h"
#include "framework/voice_group.h"

namespace halveron {

/// A triangle of -0.5 to 0.5 over a phase of 0 to 2.
struct PhaserLfo {
  double phase = 0.0;

  double Value() const { return phase > 1.0 ? 1.5 - phase : phase - 0.5; }
  void Advance(double increment) {
    phase += increment;
    if (phase > 2.0) phase -= 2.0;
  }
};

/// How the stages of a band lie around its centre.
struct PhaserSpacing {
  int stages = 0;
  int half = 0;            ///< of the stages, rounded down
  double ratio = 1.0;      ///< from a stage's middle to its neighbour's edge
  double step = 1.0;       ///< from stage to stage
  double span = 1.0;       ///< from the first stage to the middle
  double plainGain = 1.0;  ///< of a signal that meets no stages before the main ones

  void SetStages(int count) {
    stages = count;
    half = count / 2;
  }
  /// `spread` of 0..1; `narrowing`, below 1, is what the stages take off the widest ratio.
  void Set(double spread, double narrowing);
  /// The factor by which a band offset of -1..1 moves the main stages.
  double OffsetFactor(double offset) const {
    if (offset >= 0.0) return (ratio - 1.0) * offset + 1.0;
    return (1.0 - 1.0 / ratio) * (offset + 1.0) + 1.0 / ratio;
  }
};

/// Two bands of up to ten stages each, trapezoidal state-variable filters after Zavalishin, "The
/// Art of VA Filter Design". The main stages give high - low, which for a damping R of 2 is an
/// all-pass and below it resonates; the stages before them are notches.
///
/// The gains of four chains are worked out side by side, apart from the recursion, and bands that
/// run beside each other share registers. Every way gives the same bits.
struct PhaserBank {
  static constexpr int kMostStages = 10;
  static constexpr int kBands = 2;
  static constexpr int kChains = 4;  ///< before the main stages of A and B, main ones of A and B

  struct Controls {
    double gainA = 0.0, gainB = 0.0;  ///< at the centres
    double offset = 0.0;              ///< -1..1, of the main stages to those before them
    bool hasBefore = true;            ///< whether there are stages before the main ones
    double R = 2.0;                   ///< damping of the main stages
    double routing = 1.0;             ///< 0: B after A; 1: B beside A
    double limit = 4.0;               ///< of the main stages
  };
  struct Signals {
    double a = 0.0, b = 0.0;
  };

  PhaserSpacing spacingA, spacingB;
  bool limited = false;  ///< set where a stage had to be limited

  /// One sample. `Four` is dsp::FourDoubles or dsp::FourLanes.
  template <class Four>
  [[gnu::always_inline]] Signals Step(const Signals& in, const Controls& controls);

 private:
  typedef double Pair __attribute__((vector_size(16)));

  /// A lane for each chain.
  using Row = std::array<double, kChains>;
  /// d, e and e * G, twice each: doubling is exact, and the recursion needs nothing else.
  struct Gains {
    alignas(32) std::array<Row, kMostStages> d, e, eG;
  };
  /// A lane for each band.
  struct alignas(16) State {
    std::array<double, kBands> s1{}, s2{};
  };

  template <class Four>
  [[gnu::always_inline]] void FindGains(const Controls& controls, Gains& gains) const;
  /// Stages `from` to below `to`: of one band, or of both from band 0 on.
  template <class Number>
  [[gnu::always_inline]] void RunBefore(const Gains& gains, std::size_t band, int from, int to,
                                        Number& u);
  template <class Number>
  [[gnu::always_inline]] void RunMain(const Gains& gains, const Controls& controls,
                                      std::size_t band, int from, int to, Number& u);
  [[gnu::always_inline]] double RunBand(const Gains& gains, const Controls& controls,
                                        std::size_t band, double u);
  [[gnu::always_inline]] Signals RunBeside(const Gains& gains, const Controls& controls,
                                           const Signals& in);

  template <class Number>
  [[gnu::always_inline]] static Number Load(const double* from) {
    Number number;
    std::memcpy(&number, from, sizeof number);
    return number;
  }
  template <class Number>
  [[gnu::always_inline]] static void Store(const Number& number, double* to) {
    std::memcpy(to, &number, sizeof number);
  }
  [[gnu::always_inline]] static bool IsBeyond(double x, double limit) {
    return x > limit || x < -limit;
  }
  [[gnu::always_inline]] static bool IsBeyond(const Pair& x, double limit) {
    const auto beyond = (x > limit) | (x < -limit);
    return (beyond[0] | beyond[1]) != 0;
  }
  static double Limit(double x, double limit) { return dsp::LimitSymmetric(x, limit); }
  static Pair Limit(const Pair& x, double limit) {
    return Pair{dsp::LimitSymmetric(x[0], limit), dsp::LimitSymmetric(x[1], limit)};
  }

  std::array<State, kMostStages> before_{}, main_{};
};

/// A sample of the bank in the registers of a unit; defined where that unit's code is compiled.
template <class Unit>
class S626DualBandPhaserVectors {
 public:
  static PhaserBank::Signals Step(PhaserBank& bank, const PhaserBank::Signals& in,
                                  const PhaserBank::Controls& controls);
};

using PhaserStep = PhaserBank::Signals (*)(PhaserBank&, const PhaserBank::Signals&,
                                           const PhaserBank::Controls&);
/// In vectors of `unit`, or one stage after another for kNone.
PhaserStep PhaserStepOf(VectorUnit unit);
/// The fastest unit of this machine. Registers of sixteen lanes would stay half empty.
inline VectorUnit BestPhaserUnit() { return std::min(WidestVectorUnit(), VectorUnit::kAvx2); }

template <class Four>
inline void PhaserBank::FindGains(const Controls& controls, Gains& gains) const {
  const double offset = controls.offset;
  const double factorA = controls.hasBefore ? spacingA.OffsetFactor(offset) : spacingA.ratio;
  const double factorB = controls.hasBefore ? spacingB.OffsetFactor(offset) : spacingB.ratio;
  const double a = controls.gainA / spacingA.span, b = controls.gainB / spacingB.span;
  Four w{a, b, a * factorA, b * factorB};
  const Four step{spacingA.step, spacingB.step, spacingA.step, spacingB.step};
  const Four R{2.0, 2.0, controls.R, controls.R};
  const Four one(1.0);
  const auto stages = static_cast<std::size_t>(std::max(spacingA.stages, spacingB.stages));
  for (std::size_t i = 0; i < stages; ++i) {
    const Four G = dsp::Warp(w);
    w = w * step;
    const Four d = one / ((G + R) * G + one);
    const Four e = d * G;
    const Four eG = e * G;
    dsp::StoreFour(d + d, gains.d[i].data());
    dsp::StoreFour(e + e, gains.e[i].data());
    dsp::StoreFour(eG + eG, gains.eG[i].data());
  }
}

template <class Number>
inline void PhaserBank::RunBefore(const Gains& gains, std::size_t band, int from, int to,
                                  Number& u) {
  for (auto i = static_cast<std::size_t>(from); i < static_cast<std::size_t>(to); ++i) {
    const auto d = Load<Number>(&gains.d[i][band]), e = Load<Number>(&gains.e[i][band]);
    const auto eG = Load<Number>(&gains.eG[i][band]);
    const auto q1 = Load<Number>(&before_[i].s1[band]), q2 = Load<Number>(&before_[i].s2[band]);
    const Number v = u - q2;
    const Number between = q1 * d + v * e;
    u -= between;
    Store(between - q1, &before_[i].s1[band]);
    Store((eG * v + q1 * e + (q2 + q2)) - q2, &before_[i].s2[band]);
  }
}

template <class Number>
inline void PhaserBank::RunMain(const Gains& gains, const Controls& controls, std::size_t band,
                                int from, int to, Number& u) {
  const std::size_t lane = kBands + band;
  const double halfR = controls.R * 0.5, limit = controls.limit;
  for (auto i = static_cast<std::size_t>(from); i < static_cast<std::size_t>(to); ++i) {
    const auto d = Load<Number>(&gains.d[i][lane]), e = Load<Number>(&gains.e[i][lane]);
    const auto eG = Load<Number>(&gains.eG[i][lane]);
    const auto s1 = Load<Number>(&main_[i].s1[band]), s2 = Load<Number>(&main_[i].s2[band]);
    Number h = u - s2;
    if (IsBeyond(h, limit)) [[unlikely]] {
      h = Limit(h, limit);
      limited = true;
    }
    const Number between = s1 * d + h * e;
    const Number low = s1 * e + h * eG + (s2 + s2);
    Store(between - s1, &main_[i].s1[band]);
    Store(low - s2, &main_[i].s2[band]);
    u -= between * halfR + low;
  }
}

inline double PhaserBank::RunBand(const Gains& gains, const Controls& controls, std::size_t band,
                                  double u) {
  const PhaserSpacing& spacing = band == 0 ? spacingA : spacingB;
  if (controls.hasBefore) {
    RunBefore(gains, band, 0, spacing.stages, u);
  } else {
    u *= spacing.plainGain;
  }
  RunMain(gains, controls, band, 0, spacing.stages, u);
  return u;
}

inline PhaserBank::Signals PhaserBank::RunBeside(const Gains& gains, const Controls& controls,
                                                 const Signals& in) {
  const int both = std::min(spacingA.stages, spacingB.stages);
  const std::size_t longer = spacingB.stages > both ? 1 : 0;
  const int most = std::max(spacingA.stages, spacingB.stages);
  const auto runRest = [&](Pair& u, auto&& run) {
    if (most == both) return;
    double rest = u[longer];
    run(rest);
    u[longer] = rest;
  };
  Pair u{in.a, in.b};
  if (controls.hasBefore) {
    RunBefore(gains, 0, 0, both, u);
    runRest(u, [&](double& rest) { RunBefore(gains, longer, both, most, rest); });
  } else {
    u *= Pair{spacingA.plainGain, spacingB.plainGain};
  }
  RunMain(gains, controls, 0, 0, both, u);
  runRest(u, [&](double& rest) { RunMain(gains, controls, longer, both, most, rest); });
  return {u[0], u[1]};
}

template <class Four>
inline PhaserBank::Signals PhaserBank::Step(const Signals& in, const Controls& controls) {
  Gains gains;
  FindGains<Four>(controls, gains);
  if constexpr (!std::is_same_v<Four, dsp::FourDoubles>) {
    if (controls.routing == 1.0) return RunBeside(gains, controls, in);
  }
  const double a = RunBand(gains, controls, 0, in.a);
  const double b =
      RunBand(gains, controls, 1, (1.0 - controls.routing) * a + controls.routing * in.b);
  return {a, b};
}

}  // namespace halveron
