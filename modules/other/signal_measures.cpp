#include "modules/other/signal_measures.h"

#include <algorithm>
#include <array>
#include <cmath>
#include <cstdio>
#include <numbers>

#include "framework/midi_message.h"
#include "framework/signal.h"

namespace halveron {

std::optional<double> LevelCrossings::Next() {
  for (; next_ < signal_.size(); ++next_) {
    const float above = (signal_[next_] - level_) * sign_;
    if (above < -hysteresis_) armed_ = true;
    if (!armed_ || !(above >= 0.0f) || next_ == 0) continue;
    armed_ = false;
    const float before = (signal_[next_ - 1] - level_) * sign_;
    const double share = above > before ? static_cast<double>(-before / (above - before)) : 1.0;
    return static_cast<double>(next_++) - 1.0 + std::clamp(share, 0.0, 1.0);
  }
  return std::nullopt;
}

std::optional<double> FindTrigger(std::span<const float> signal, float level, bool rising,
                                  float hysteresis, double before, double after) {
  LevelCrossings crossings(signal, level, rising, hysteresis);
  std::optional<double> found;
  while (const auto crossing = crossings.Next()) {
    if (*crossing + after > static_cast<double>(signal.size()) - 1.0) break;
    if (*crossing >= before) found = crossing;
  }
  return found;
}

SignalLevels LevelsOf(std::span<const float> signal) {
  SignalLevels levels;
  std::size_t count = 0;
  double sum = 0.0;
  for (const float x : signal) {
    if (!std::isfinite(x)) continue;
    levels.low = count == 0 ? x : std::min(levels.low, x);
    levels.high = count == 0 ? x : std::max(levels.high, x);
    sum += static_cast<double>(x) * x;
    ++count;
  }
  if (count > 0) levels.rms = std::sqrt(sum / static_cast<double>(count));
  return levels;
}

std::optional<double> CrossingFrequency(std::span<const float> signal, double rate) {
  constexpr float kHysteresis = 0.1f;  // of the swing
  const SignalLevels levels = LevelsOf(signal);
  const float swing = levels.high - levels.low;
  if (!(swing > 1e-4f)) return std::nullopt;
  LevelCrossings crossings(signal, levels.low + swing * 0.5f, true, swing * kHysteresis);
  const auto first = crossings.Next();
  std::optional<double> last;
  int periods = 0;
  while (const auto next = crossings.Next()) {
    last = next;
    ++periods;
  }
  if (!first || !last || !(*last > *first)) return std::nullopt;
  return periods * rate / (*last - *first);
}

double DecibelsOf(double amplitude) {
  constexpr double kFloor = 1e-8;
  return 20.0 * std::log10(std::max(amplitude, kFloor));
}

std::string NoteText(double hertz) {
  if (!(hertz > 0.0)) return "";
  const double key = 69.0 + 12.0 * std::log2(hertz / 440.0);
  const double nearest = std::round(key);
  if (!(nearest >= 0.0 && nearest < midi::kKeys)) return "";
  std::array<char, 24> text;
  std::snprintf(text.data(), text.size(), "%s %+d ct", midi::NoteName(static_cast<int>(nearest)),
                static_cast<int>(std::lround((key - nearest) * 100.0)));
  return text.data();
}

const std::vector<float>& SpectrumAnalysis::Analyse(std::span<const float> signal) {
  const std::span<float> samples = fft_.Signal();
  const std::size_t count = std::min(signal.size(), samples.size());
  const std::size_t silent = samples.size() - count;
  std::fill(samples.begin(), samples.begin() + static_cast<std::ptrdiff_t>(silent), 0.0f);
  for (std::size_t n = 0; n < count; ++n) {
    const float x = signal[signal.size() - count + n];
    const double turn = static_cast<double>(silent + n) / kSize;
    const double window = 0.5 - 0.5 * std::cos(2.0 * std::numbers::pi * turn);
    samples[silent + n] = std::isfinite(x) ? static_cast<float>(x * window) : 0.0f;
  }
  fft_.Forward();
  decibels_.resize(fft_.Spectrum().size());
  std::transform(fft_.Spectrum().begin(), fft_.Spectrum().end(), decibels_.begin(),
                 [](const std::complex<float>& bin) {
                   // Half of the window's sum is what a bin has of an amplitude of 1.
                   return static_cast<float>(DecibelsOf(std::abs(bin) / (kSize * 0.25)));
                 });
  return decibels_;
}

SpectrumPeak PeakWithin(std::span<const float> decibels, double spacing, double low, double high) {
  if (decibels.size() < 3) return {};
  const auto bin = [&](double hertz) {
    const double most = static_cast<double>(decibels.size() - 2);
    return static_cast<std::size_t>(std::clamp(std::round(hertz / spacing), 1.0, most));
  };
  const std::size_t first = bin(low), last = std::max(bin(high), first);
  const auto begin = decibels.begin();
  const auto top = std::max_element(begin + static_cast<std::ptrdiff_t>(first),
                                    begin + static_cast<std::ptrdiff_t>(last) + 1);
  const auto k = static_cast<std::size_t>(top - begin);
  const double left = decibels[k - 1], middle = decibels[k], right = decibels[k + 1];
  if (left > middle || right > middle) return {static_cast<double>(k) * spacing, middle};
  const double ratio = std::exp2((std::max(left, right) - middle) * (std::log2(10.0) / 20.0));
  const double offset = (2.0 * ratio - 1.0) / (ratio + 1.0);
  if (!(offset > 1e-6)) return {static_cast<double>(k) * spacing, middle};
  const double lobe =
      std::sin(std::numbers::pi * offset) / (std::numbers::pi * offset) / (1.0 - offset * offset);
  const double place = static_cast<double>(k) + (right > left ? offset : -offset);
  return {place * spacing, middle - DecibelsOf(lobe)};
}

}  // namespace halveron
