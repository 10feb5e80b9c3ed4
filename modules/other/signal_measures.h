// What an analyser measures of stretches of signals.
#pragma once

#include <cstddef>
#include <optional>
#include <span>
#include <string>
#include <vector>

#include "dsp/fft.h"

namespace halveron {

/// Volts of a signal of 1.
inline constexpr double kVoltsOfUnit = 10.0;

/// Where a signal crosses a level in one direction, between samples by a straight line. It has to
/// go beyond the level by `hysteresis` before it counts again, so that noise at the level does not.
class LevelCrossings {
 public:
  LevelCrossings(std::span<const float> signal, float level, bool rising, float hysteresis)
      : signal_(signal), level_(level), sign_(rising ? 1.0f : -1.0f), hysteresis_(hysteresis) {}

  /// In samples from the beginning; none after the last.
  std::optional<double> Next();

 private:
  std::span<const float> signal_;
  float level_, sign_, hysteresis_;
  std::size_t next_ = 0;
  bool armed_ = false;
};

/// The last crossing with `before` samples ahead of it and `after` behind it.
std::optional<double> FindTrigger(std::span<const float> signal, float level, bool rising,
                                  float hysteresis, double before, double after);

struct SignalLevels {
  float low = 0.0f;
  float high = 0.0f;
  double rms = 0.0;
};
/// What is no finite number is left out.
SignalLevels LevelsOf(std::span<const float> signal);

/// Hertz, from the mean distance of the crossings of the middle between the extremes; none for less
/// than two of them.
std::optional<double> CrossingFrequency(std::span<const float> signal, double rate);

/// Decibels of an amplitude, at least -160.
double DecibelsOf(double amplitude);

/// A frequency as the nearest note and the distance to it: "A4 +12 ct". Empty for what is no key.
std::string NoteText(double hertz);

/// Amplitudes by frequency of the newest part of a signal, through a window of Hann.
class SpectrumAnalysis {
 public:
  static constexpr int kSize = 16384;  ///< samples

  /// In decibels, 0 for a sine of 1. A shorter signal is taken with silence before it.
  const std::vector<float>& Analyse(std::span<const float> signal);

  static double Spacing(double rate) { return rate / kSize; }

 private:
  dsp::RealFft fft_{kSize};
  std::vector<float> decibels_;
};

struct SpectrumPeak {
  double hertz = 0.0;
  double decibels = 0.0;
};
/// The highest peak from `low` to `high` hertz of such a spectrum, between bins by the shape of the
/// window's main lobe (T. Grandke, "Interpolation algorithms for discrete Fourier transforms of
/// weighted signals", 1983).
SpectrumPeak PeakWithin(std::span<const float> decibels, double spacing, double low, double high);

}  // namespace halveron
