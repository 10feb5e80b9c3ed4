// The loops over taps of the S218 Spectral Filter, over any lanes and with the same bits in each:
// everything that one lane does is done on kWide numbers side by side, however many go into a
// register.
#pragma once

#include <array>
#include <cmath>
#include <numbers>
#include <type_traits>

#include "dsp/lanes.h"
#include "modules/filters/S218SpectralFilterDesign.h"

namespace halveron::s218 {

template <class Number, class Cell>
[[gnu::always_inline]] inline Number Load(const Cell* from) {
  if constexpr (std::is_arithmetic_v<Number>) {
    return *from;
  } else {
    return Number::Load(from);
  }
}
template <class Number, class Cell>
[[gnu::always_inline]] inline void Store(const Number& from, Cell* to) {
  if constexpr (std::is_arithmetic_v<Number>) {
    *to = from;
  } else {
    from.Store(to);
  }
}

/// Tap k goes into sum k mod kSums; then each upper half of the sums is added to the lower one.
/// `length` is a multiple of kSums.
inline constexpr int kSums = 32;

template <class Lanes>
[[gnu::always_inline]] inline float Convolve(const float* taps, const float* line, int length) {
  using Float = typename Lanes::Float;
  constexpr int kPacks = kSums / Lanes::kLanes;
  std::array<Float, kPacks> sums;
  for (Float& sum : sums) sum = Float(0.0f);
  for (int k = 0; k < length; k += kSums) {
    for (int p = 0; p < kPacks; ++p) {
      const int at = k + p * Lanes::kLanes;
      sums[p] = sums[p] + Load<Float>(taps + at) * Load<Float>(line + at);
    }
  }
  alignas(64) std::array<float, kSums> cells;
  for (int p = 0; p < kPacks; ++p) Store(sums[p], cells.data() + p * Lanes::kLanes);
  for (int half = kSums / 2; half > 0; half /= 2) {
    for (int i = 0; i < half; ++i) cells[i] += cells[i + half];
  }
  return cells[0];
}

/// Sine and cosine of an angle that grows by the same step from lane to lane and from one call of
/// Advance to the next, by rotation.
inline constexpr int kWide = 16;

template <class Lanes>
class Rotation {
 public:
  using Double = typename Lanes::Double;
  static constexpr int kPacks = kWide / Lanes::kLanes;

  /// `share` of pi for each lane, 0..1, from `start` on.
  [[gnu::always_inline]] Rotation(double share, double start) {
    const double s = std::sin(std::numbers::pi * share);
    const double root = std::sqrt(1.0 - s * s);
    const double c = share > 0.5 ? -root : root;
    alignas(64) std::array<double, kWide> sines, cosines;
    sines[0] = std::sin(start);
    cosines[0] = std::cos(start);
    for (int i = 1; i < kWide; ++i) {
      sines[i] = sines[i - 1] * c + cosines[i - 1] * s;
      cosines[i] = cosines[i - 1] * c - sines[i - 1] * s;
    }
    for (int p = 0; p < kPacks; ++p) {
      sine[p] = Load<Double>(sines.data() + p * Lanes::kLanes);
      cosine[p] = Load<Double>(cosines.data() + p * Lanes::kLanes);
    }
    double wideSine = s, wideCosine = c;
    for (int width = 1; width < kWide; width *= 2) {
      const double doubled = 2.0 * wideSine * wideCosine;
      wideCosine = wideCosine * wideCosine - wideSine * wideSine;
      wideSine = doubled;
    }
    stepSine_ = Double(wideSine);
    stepCosine_ = Double(wideCosine);
  }

  [[gnu::always_inline]] void Advance() {
    for (int p = 0; p < kPacks; ++p) {
      const Double next = sine[p] * stepCosine_ + cosine[p] * stepSine_;
      cosine[p] = cosine[p] * stepCosine_ - sine[p] * stepSine_;
      sine[p] = next;
    }
  }

  std::array<Double, kPacks> sine, cosine;

 private:
  Double stepSine_, stepCosine_;
};

/// Adds a band of sines or of cosines, times its amplitude and the weights.
template <class Lanes, bool kCosines>
[[gnu::always_inline]] inline void AddBand(const S218BandTarget& target, const S218Band& band) {
  using Float = typename Lanes::Float;
  using Double = typename Lanes::Double;
  const double first = std::numbers::pi * (target.begin - target.centre);
  Rotation<Lanes> high(band.high, band.high * first + band.angle);
  Rotation<Lanes> low(band.low, band.low * first + band.angle);
  const Double amplitude(band.amplitude);
  for (int k = target.begin; k < target.end; k += kWide) {
    for (int p = 0; p < Rotation<Lanes>::kPacks; ++p) {
      const int at = k + p * Lanes::kLanes;
      const Double difference =
          kCosines ? high.cosine[p] - low.cosine[p] : high.sine[p] - low.sine[p];
      const Float part = dsp::ToFloat(amplitude * difference) * Load<Float>(target.weights + at);
      Store(Load<Float>(target.taps + at) + part, target.taps + at);
    }
    high.Advance();
    low.Advance();
  }
}

}  // namespace halveron::s218
