#include "modules/filters/S218SpectralFilterDesign.h"

#include <algorithm>
#include <bit>
#include <cmath>
#include <complex>

#include "dsp/fir_design.h"
#include "modules/filters/S218SpectralFilterLoops.h"

namespace halveron {

namespace {

constexpr double kFloorPower = 1e-30;  // of a bin, so that silence has a logarithm

int IndexOfTransform(int taps) {
  return std::bit_width(static_cast<unsigned>(taps / S218SpectralFilterDesign::kTapStep)) - 1;
}

/// A bar's gain as the amplitude of its band.
double AmplitudeOf(double gain, int mode) {
  const double square = gain * gain;
  return mode == 2 || mode == 4 ? square * 4.0 : square * square;
}

template <class Unit>
S218Loops LoopsOf() {
  using Vectors = S218SpectralFilterVectors<Unit>;
  return {&Vectors::Convolve, &Vectors::AddSines, &Vectors::AddCosines};
}

}  // namespace

S218Loops S218Loops::Of(VectorUnit unit) {
  switch (unit) {
    case VectorUnit::kSse2:
    case VectorUnit::kAvx2Four:
      return LoopsOf<dsp::Sse2>();
    case VectorUnit::kAvx2:
    case VectorUnit::kAvx512Eight:
      return LoopsOf<dsp::Avx2>();
    case VectorUnit::kAvx512:
      return LoopsOf<dsp::Avx512>();
    case VectorUnit::kNone:
      break;
  }
  return {&s218::Convolve<dsp::OneVoice>, &s218::AddBand<dsp::OneVoice, false>,
          &s218::AddBand<dsp::OneVoice, true>};
}

S218SpectralFilterDesign::S218SpectralFilterDesign(VectorUnit unit) : loops_(S218Loops::Of(unit)) {
  static_assert(kMostTaps == kTapStep << (std::tuple_size_v<decltype(transforms_)> - 1));
  int size = 2 * kTapStep;
  for (auto& transform : transforms_) {
    transform.emplace(size);
    size *= 2;
  }
  SetUp(kMostTaps, false);
}

dsp::RealFft& S218SpectralFilterDesign::Transform() {
  return *transforms_[static_cast<std::size_t>(IndexOfTransform(length_))];
}

void S218SpectralFilterDesign::SetUp(int taps, bool minPhase) {
  int length = std::clamp(taps / kTapStep * kTapStep, kTapStep, kMostTaps);
  if (minPhase) {
    const int below = kTapStep << IndexOfTransform(length);
    length = length - below < 2 * below - length ? below : 2 * below;
  }
  if (length == length_) return;
  length_ = length;
  centre_ = static_cast<int>((length - 1) * 0.5);
  for (int k = 0; k < length; ++k) {
    const double window = dsp::FirWindowValue(dsp::FirWindow::kBlackman, k, length);
    const double x = std::numbers::pi * (k - centre_);
    window_[static_cast<std::size_t>(k)] = static_cast<float>(window);
    windowOverX_[static_cast<std::size_t>(k)] =
        static_cast<float>(k == centre_ ? window : window / x);
  }
}

double S218SpectralFilterDesign::BandRatio(int mode) {
  return std::exp2(std::log2(TopOf(mode) / kLowest) / kBars);
}

/// Leads over the bars from the lowest edge up and joins what may be one band.
struct S218SpectralFilterDesign::Walk {
  S218SpectralFilterDesign& design;
  const Settings& settings;
  float* taps;
  double end;                      // of the axis
  std::optional<S218Band> open{};  // not added yet

  void Take(double low, double high, double gain, double phase) {
    high = std::min(high, end);
    if (!(gain > 0.0) || !(high > low)) return;
    const S218Band band{low, high, AmplitudeOf(gain, settings.mode),
                        -2.0 * std::numbers::pi * phase};
    if (settings.equalLength && open && open->high == band.low &&
        open->amplitude == band.amplitude && open->angle == band.angle) {
      open->high = band.high;
      return;
    }
    Finish();
    open = band;
  }
  void Finish() {
    if (open) design.AddBand(*open, settings, taps);
    open.reset();
  }
};

int S218SpectralFilterDesign::Design(std::span<const float> gains, std::span<const float> phases,
                                     const Settings& settings, float* taps) {
  std::fill_n(taps, kMostTaps, 0.0f);
  firstTap_ = settings.equalLength ? 0 : length_;
  const double top = TopOf(settings.mode);
  const double r = BandRatio(settings.mode);
  const double q = 2.0 / (settings.rateShare * static_cast<double>(settings.sampleRate));
  // Nothing lies beyond the Nyquist frequency of the reduced rate.
  Walk walk{*this, settings, taps, std::min(top * q, 1.0)};

  const double scroll = std::clamp(settings.scroll, 0.0, kBars - 1.0);
  const auto first = static_cast<std::size_t>(scroll);
  const double u = scroll - static_cast<double>(first);
  const auto mixed = [&](std::span<const float> values) {
    const double own = values[first];
    if (first == 0) return static_cast<double>(values[0]);
    const double before = values[first - 1];
    return before + (own - before) * u;
  };
  double edge = kLowest * std::pow(r, -u) * q;
  if (edge > q) walk.Take(q, edge, mixed(gains), mixed(phases));
  for (std::size_t bar = first; bar < gains.size() && edge < walk.end; ++bar) {
    const double phase = phases[bar];
    walk.Take(edge, edge * r, gains[bar], bar == first ? phase * (1.0 - u) : phase);
    edge *= r;
  }
  walk.Finish();

  int count = length_ - firstTap_;
  if (settings.minPhase) {
    ToMinimumPhase(taps);
    return length_;
  }
  // A kernel that begins later is heard earlier.
  if (firstTap_ > 0) {
    std::copy(taps + firstTap_, taps + length_, taps);
    std::fill(taps + count, taps + length_, 0.0f);
  }
  if (!settings.keepLength) count = std::min((count + 3) / 4 * 4, length_);
  return count;
}

/// The kernels of wide bands begin later: their first tap.
int S218SpectralFilterDesign::FirstTapOf(const S218Band& band, const Settings& settings) const {
  const double top = TopOf(settings.mode);
  const double q = 2.0 / (settings.rateShare * static_cast<double>(settings.sampleRate));
  const double w = band.high - band.low;
  const double W = (top - top / BandRatio(settings.mode)) * q;
  const double K = 0.95 * centre_;
  const double amount = settings.kernelAmount;
  const double s = settings.shortHigh ? std::max(0.0, K - (W * amount * K) / w)
                                      : std::min(K, w * ((amount * 100.0 + 1.0) * K / W));
  return static_cast<int>(s);
}

void S218SpectralFilterDesign::AddBand(const S218Band& band, const Settings& settings,
                                       float* taps) {
  S218BandTarget target{taps, windowOverX_.data(), 0, length_, centre_};
  if (settings.equalLength) {
    loops_.addSines(target, band);
    taps[centre_] +=
        static_cast<float>(window_[static_cast<std::size_t>(centre_)] * band.amplitude *
                           (band.high - band.low) * std::cos(band.angle));
    return;
  }
  const int s = FirstTapOf(band, settings);
  firstTap_ = std::min(firstTap_, s);
  target.begin = s / s218::kWide * s218::kWide;
  std::fill_n(shortened_.data() + target.begin, s - target.begin, 0.0f);
  // The shorter kernel sees the whole rising half of the window.
  const double speed = static_cast<double>(centre_) / (centre_ - s);
  double d = 0.0;
  for (int k = s; k < centre_; ++k) {
    const auto at = static_cast<std::size_t>(k);
    shortened_[at] = static_cast<float>(window_[static_cast<std::size_t>(d)] /
                                        (std::numbers::pi * (k - centre_)));
    d += speed;
  }
  std::copy(windowOverX_.begin() + centre_, windowOverX_.begin() + length_,
            shortened_.begin() + centre_);
  target.weights = shortened_.data();
  loops_.addCosines(target, band);
}

/// By the real cepstrum: that of a minimum phase lies on one side.
void S218SpectralFilterDesign::ToMinimumPhase(float* taps) {
  dsp::RealFft& fft = Transform();
  const std::span<float> signal = fft.Signal();
  const std::span<std::complex<float>> spectrum = fft.Spectrum();
  const std::size_t size = signal.size();
  const auto length = static_cast<std::size_t>(length_);

  std::copy_n(taps, length, signal.begin());
  std::fill(signal.begin() + length_, signal.end(), 0.0f);
  fft.Forward();
  for (std::complex<float>& bin : spectrum) {
    const double re = bin.real(), im = bin.imag();
    bin = static_cast<float>(std::log(re * re + im * im + kFloorPower) * 0.5);
  }
  fft.Inverse();
  const float scale = 2.0f / static_cast<float>(size);
  for (std::size_t i = 0; i < size / 2; ++i) signal[i] *= scale;
  signal[0] *= 0.5f;
  std::fill(signal.begin() + static_cast<std::ptrdiff_t>(size / 2), signal.end(), 0.0f);
  fft.Forward();
  for (std::complex<float>& bin : spectrum) bin = std::exp(bin);
  fft.Inverse();
  for (std::size_t i = 0; i < length; ++i) taps[i] = signal[i] / static_cast<float>(size);
}

}  // namespace halveron
