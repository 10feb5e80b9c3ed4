#include "dsp/analytic_filter.h"

#include <cmath>
#include <cstddef>
#include <numbers>

namespace halveron::dsp {

namespace {

/// The coefficients of an elliptic half-band filter of order 2 * count + 1 lie on these places of
/// its theta functions.
struct HalfBand {
  double k;  // selectivity
  double q;  // nome

  explicit HalfBand(double transition) {
    const double t = std::tan((1.0 - 2.0 * transition) * std::numbers::pi / 4.0);
    k = t * t;
    const double root = std::pow(1.0 - k * k, 0.25);
    const double e = 0.5 * (1.0 - root) / (1.0 + root);
    const double e4 = e * e * e * e;
    q = e * (1.0 + e4 * (2.0 + e4 * (15.0 + 150.0 * e4)));
  }

  double Coefficient(int index, int count) const {
    const double angle = index * std::numbers::pi / (2 * count + 1);
    double numerator = 0.0, denominator = 0.5;
    double sign = 1.0;
    constexpr int kTerms = 12;
    for (int i = 0; i < kTerms; ++i, sign = -sign) {
      numerator += sign * std::pow(q, i * (i + 1)) * std::sin((2 * i + 1) * angle);
      denominator -= sign * std::pow(q, (i + 1) * (i + 1)) * std::cos(2 * (i + 1) * angle);
    }
    const double w = numerator * std::pow(q, 0.25) / denominator;
    const double ww = w * w;
    const double r = std::sqrt((1.0 - ww * k) * (1.0 - ww / k)) / (1.0 + ww);
    return (1.0 - r) / (1.0 + r);
  }
};

}  // namespace

void AnalyticFilter::Design(int sections, double transition) {
  sections_ = sections;
  const HalfBand halfBand(transition);
  const int count = 2 * sections;
  for (int i = 0; i < sections; ++i) {
    const double first = halfBand.Coefficient(2 * i + 1, count);
    const double second = halfBand.Coefficient(2 * i + 2, count);
    coefficients_[static_cast<std::size_t>(i)] = {first, first, second, second};
  }
  Clear();
}

void AnalyticFilter::Clear() {
  history_ = {};
  lastRe_ = lastIm_ = 0.0;
}

}  // namespace halveron::dsp
