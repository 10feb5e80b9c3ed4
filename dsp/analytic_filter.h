// Complex filters that pass positive frequencies and suppress negative ones.
#pragma once

#include <array>

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

  /// One sample. Gain 1 for positive frequencies.
  Complex Step(const Complex& x);

 private:
  // Lanes: the first chain of the real and the imaginary part, then the second chain of both.
  static constexpr int kLanes = 4;
  using Lanes = std::array<double, kLanes>;

  int sections_ = 0;
  std::array<Lanes, kMostSections> coefficients_{};
  // What each section's input, and the last one's output, were two samples ago, by turns.
  std::array<std::array<Lanes, kMostSections + 1>, 2> history_{};
  int turn_ = 0;
  double lastRe_ = 0.0, lastIm_ = 0.0;  // of the second chain, one sample ago
};

}  // namespace halveron::dsp
