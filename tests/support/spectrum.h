// Levels of single frequencies in a recording.
#pragma once

#include <cmath>
#include <complex>
#include <numbers>
#include <vector>

namespace halveron::testing {

/// Amplitude of a frequency (hertz) in the samples from `from` on, through a Hann window.
inline double AmplitudeAt(const std::vector<float>& samples, std::size_t from, double hertz,
                          double rate) {
  const std::size_t count = samples.size() - from;
  std::complex<double> sum = 0.0;
  double weight = 0.0;
  for (std::size_t i = 0; i < count; ++i) {
    const double turn = static_cast<double>(i) / static_cast<double>(count);
    const double window = 0.5 - 0.5 * std::cos(2.0 * std::numbers::pi * turn);
    sum += static_cast<double>(samples[from + i]) * window *
           std::polar(1.0, -2.0 * std::numbers::pi * hertz / rate * static_cast<double>(i));
    weight += window;
  }
  return 2.0 * std::abs(sum) / weight;
}

inline std::vector<float> Sine(int count, double hertz, double rate, double amplitude = 1.0) {
  std::vector<float> samples;
  for (int i = 0; i < count; ++i) {
    samples.push_back(
        static_cast<float>(amplitude * std::sin(2.0 * std::numbers::pi * hertz / rate * i)));
  }
  return samples;
}

inline double Rms(const std::vector<float>& samples, std::size_t from) {
  double sum = 0.0;
  for (std::size_t i = from; i < samples.size(); ++i) sum += samples[i] * samples[i];
  return std::sqrt(sum / static_cast<double>(samples.size() - from));
}

}  // namespace halveron::testing
