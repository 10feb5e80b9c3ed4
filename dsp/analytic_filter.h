// Complex filters that pass positive frequencies and suppress negative ones.
#pragma once

#include <array>
#include <cstddef>

#include "dsp/four_doubles.h"

namespace halveron::dsp {

/// A half-band elliptic low-pass moved up by a quarter of the rate, as two all-pass chains whose
/// outputs are a quarter of a turn apart. Design after Valenzuela and Constantinides, "Digital
/// Signal Processing Schemes for Efficient Interpolation and Decimation", 1983.
class AnalyticFilter {
 public:
  /// All-pass sections in each of the two chains; the order is 4 * sections + 1.
  static constexpr int kMostSections = 10;

  struct Complex {
    double re = 0.0, im = 0.0;
  };

  /// `sections` of 1 to kMostSections. The response turns from stop to pass within `transition`
  /// (above 0, below 0.5, as a fraction of the rate) around 0 and around half the rate. Clears the
  /// state.
  void Design(int sections, double transition);
  void Clear();

  /// One sample. Gain 1 for positive frequencies. `Four` is FourDoubles or FourLanes, which
  /// give the same bits.
  template <class Four = FourDoubles>
  [[gnu::always_inline]] Complex Step(const Complex& x);

 private:
  // The first chain of the real and the imaginary part, then the second chain of both.
  using Lanes = std::array<double, 4>;

  int sections_ = 0;
  alignas(32) std::array<Lanes, kMostSections> coefficients_{};
  // What each section's input, and the last one's output, were two samples ago, by turns.
  alignas(32) std::array<std::array<Lanes, kMostSections + 1>, 2> history_{};
  int turn_ = 0;
  double lastRe_ = 0.0, lastIm_ = 0.0;  // of the second chain, one sample ago
};

template <class Four>
inline AnalyticFilter::Complex AnalyticFilter::Step(const Complex& x) {
  std::array<Lanes, kMostSections + 1>& history = history_[static_cast<std::size_t>(turn_)];
  turn_ ^= 1;
  Four v{x.re, x.im, x.re, x.im};
  const auto sections = static_cast<std::size_t>(sections_);
  auto before = LoadFour<Four>(history[0].data());
  for (std::size_t i = 0; i < sections; ++i) {
    const auto a = LoadFour<Four>(coefficients_[i].data());
    const auto after = LoadFour<Four>(history[i + 1].data());
    const Four next = a * v + (a * after - before);
    StoreFour(v, history[i].data());
    v = next;
    before = after;
  }
  StoreFour(v, history[sections].data());
  // The second chain lags by a sample and a quarter of a turn.
  const Complex y{0.5 * (v[0] - lastIm_), 0.5 * (v[1] + lastRe_)};
  lastRe_ = v[2];
  lastIm_ = v[3];
  return y;
}

}  // namespace halveron::dsp
