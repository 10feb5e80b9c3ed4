#include "dsp/min_blep.h"

#include <cmath>
#include <complex>

namespace halveron::dsp {

namespace {

using Complex = std::complex<double>;
using Block = std::array<Complex, kMinBlepSize>;

// Oscillators are voiced by a table built with these roundings.
constexpr double kPi = 3.1415927;
constexpr double kTwoPi = 6.2831855;
constexpr double kTransformTwoPi = 6.2831854820251465;

enum class Direction { kForward, kInverse };

/// Plain summing transform, since 385 is no power of two. Each sum is a polynomial in its twiddle
/// factor and is evaluated as one, which spares the powers. The inverse scales by 1/N.
Block Transform(const Block& in, Direction direction) {
  const double turn = kTransformTwoPi / kMinBlepSize;
  const double sign = direction == Direction::kForward ? -1.0 : 1.0;
  const double scale = direction == Direction::kForward ? 1.0 : 1.0 / kMinBlepSize;
  Block out;
  for (int k = 0; k < kMinBlepSize; ++k) {
    const double re = std::cos(k * turn);
    const double im = sign * std::sin(k * turn);
    double sumRe = 0.0;
    double sumIm = 0.0;
    for (int n = kMinBlepSize - 1; n >= 0; --n) {
      const double turned = sumRe * re - sumIm * im + in[n].real();
      sumIm = sumRe * im + sumIm * re + in[n].imag();
      sumRe = turned;
    }
    out[k] = Complex(sumRe * scale, sumIm * scale);
  }
  return out;
}

Block WindowedSinc() {
  Block out;
  for (int i = 0; i < kMinBlepSize; ++i) {
    const double position = static_cast<double>(i) / kMinBlepLength;
    const double x = position * kMinBlepZeroCrossings - kMinBlepZeroCrossings / 2.0;
    const double sinc = x == 0.0 ? 1.0 : std::sin(kPi * x) / (kPi * x);
    const double w = kTwoPi * position;
    out[i] = sinc * (0.42 - 0.5 * std::cos(w) + 0.08 * std::cos(2.0 * w));
  }
  return out;
}

/// The response with the same magnitude spectrum and the least delay: the cepstrum's negative
/// times are folded onto its positive ones (Oppenheim and Schafer, "Discrete-Time Signal
/// Processing").
Block MinimumPhase(const Block& response) {
  Block spectrum = Transform(response, Direction::kForward);
  for (Complex& bin : spectrum) bin = std::log(std::abs(bin));
  Block cepstrum = Transform(spectrum, Direction::kInverse);
  for (int i = 0; i < kMinBlepSize; ++i) {
    const double fold = i == 0 ? 1.0 : (i < kMinBlepSize / 2 ? 2.0 : 0.0);
    cepstrum[i] = fold * cepstrum[i].real();
  }
  spectrum = Transform(cepstrum, Direction::kForward);
  for (Complex& bin : spectrum) bin = std::exp(bin);
  return Transform(spectrum, Direction::kInverse);
}

std::array<float, kMinBlepSize> BuildMinBlepTable() {
  const Block impulse = MinimumPhase(WindowedSinc());
  std::array<float, kMinBlepSize> table;
  float sum = 0.0f;
  for (int i = 0; i < kMinBlepSize; ++i) {
    sum += static_cast<float>(impulse[i].real());
    table[i] = sum;
  }
  const double scale = 1.0 / sum;
  for (float& entry : table) entry = static_cast<float>(entry * scale);
  return table;
}

}  // namespace

const std::array<float, kMinBlepSize>& GetMinBlepTable() {
  static const std::array<float, kMinBlepSize> table = BuildMinBlepTable();
  return table;
}

const MinBlepRows& GetMinBlepRows() {
  static const MinBlepRows rows = [] {
    const std::array<float, kMinBlepSize>& table = GetMinBlepTable();
    MinBlepRows built;
    for (std::size_t row = 0; row < built.size(); ++row) {
      for (std::size_t i = 0; i < built[row].size(); ++i) {
        const std::size_t point = row + i * kMinBlepDensity;
        built[row][i] = point < table.size() ? table[point] : 1.0f;
      }
    }
    return built;
  }();
  return rows;
}

}  // namespace halveron::dsp
