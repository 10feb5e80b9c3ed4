#include "modules/effects/S626DualBandPhaserKernel.h"

#include <cstddef>

namespace halveron {

void PhaserChain::SetSpread(double spread, double perStage) {
  constexpr double kWidest = 4.4721359549996, kNarrowest = 1.2247448713916;
  ratio_ = ((1.0 - stages_ * perStage) * kWidest - kNarrowest) * (spread * spread) + kNarrowest;
  step_ = ratio_ * ratio_;
  span_ = 1.0;
  for (int i = 0; i < half_; ++i) span_ *= step_;
}

double PhaserChain::OffsetFactor(double offset) const {
  if (offset >= 0.0) return (ratio_ - 1.0) * offset + 1.0;
  return (1.0 - 1.0 / ratio_) * (offset + 1.0) + 1.0 / ratio_;
}

// Apart from the recursion, so that the divisions of several stages run side by side.
PhaserChain::Coefficients PhaserChain::CoefficientsFrom(double w, double R) const {
  Coefficients c;
  const auto count = static_cast<std::size_t>(stages_);
  for (std::size_t i = 0; i < count; ++i) {
    c.G[i] = w;
    w *= step_;
  }
  for (std::size_t i = 0; i < count; ++i) {
    const double G = dsp::Warp(c.G[i]);
    c.G[i] = G;
    c.d[i] = 1.0 / ((G + R) * G + 1.0);
    c.e[i] = c.d[i] * G;
  }
  return c;
}

double PhaserChain::RunBefore(double u, double g) {
  const Coefficients c = CoefficientsFrom(g / span_, 2.0);
  for (std::size_t i = 0; i < static_cast<std::size_t>(stages_); ++i) {
    Stage& q = before_[i];
    const double v = u - q.s2;
    const double band = (q.s1 * c.d[i] + v * c.e[i]) * 2.0;
    u -= band;
    q.s2 = (c.e[i] * c.G[i] * v + q.s1 * c.e[i] + q.s2) * 2.0 - q.s2;
    q.s1 = band - q.s1;
  }
  return u;
}

double PhaserChain::Run(double u, double g, double factor, double R, float limit, bool& limited) {
  const Coefficients c = CoefficientsFrom(g / span_ * factor, R);
  const double level = limit;
  for (std::size_t i = 0; i < static_cast<std::size_t>(stages_); ++i) {
    Stage& s = main_[i];
    const double node = u - s.s2;
    const double h = dsp::LimitSymmetric(node, level);
    limited |= h != node;
    const double b = s.s1 * c.d[i] + h * c.e[i];
    const double low = (s.s1 * c.e[i] + h * (c.e[i] * c.G[i]) + s.s2) * 2.0;
    s.s1 = 2.0 * b - s.s1;
    s.s2 = low - s.s2;
    u += -(b * R) - low;
  }
  return u;
}

}  // namespace halveron
