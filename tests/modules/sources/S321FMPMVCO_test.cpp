#include "modules/sources/S321FMPMVCO.h"

#include <gtest/gtest.h>

#include <cmath>
#include <complex>
#include <cstring>
#include <functional>
#include <limits>
#include <numbers>
#include <vector>

#include "tests/support/spectrum.h"
#include "tests/support/test_rack.h"

namespace halveron::testing {
namespace {

constexpr float kRate = 48000.0f;
constexpr double kMiddleC = 261.62558;

using Kernel = S321FMPMVCOKernel<>;

struct Voice {
  Kernel kernel;
  Kernel::Knobs knobs;
  Kernel::Inputs in;
  Kernel::Cables cables{true, true, true, true, true};
  Kernel::Outputs out;

  Voice() {
    kernel.Prepare(kRate);
    kernel.ForgetSteps();
  }
  /// Plays at a frequency in hertz, as near as a float of pitch comes to it.
  double Tune(double hertz) {
    in.pitch = static_cast<float>(std::log2(hertz / kMiddleC) / 10);
    return hertz;
  }
  std::vector<float> Play(int samples, float Kernel::Outputs::*wave,
                          const std::function<void(int)>& before = {}) {
    std::vector<float> y;
    for (int n = 0; n < samples; ++n) {
      if (before) before(n);
      kernel.Step(knobs, in, cables, out);
      y.push_back(out.*wave);
    }
    return y;
  }
};

/// The frequency near a guess, from how its phase moves between the halves of a recording.
double HertzNear(double guess, const std::vector<float>& y) {
  const std::size_t half = y.size() / 2;
  std::complex<double> sums[2];
  for (std::size_t n = 0; n < 2 * half; ++n) {
    const double turn = static_cast<double>(n % half) / static_cast<double>(half);
    const double window = 0.5 - 0.5 * std::cos(2 * std::numbers::pi * turn);
    sums[n / half] +=
        static_cast<double>(y[n]) * window *
        std::polar(1.0, -2 * std::numbers::pi * guess / kRate * static_cast<double>(n));
  }
  const double turns = std::arg(sums[1] / sums[0]) / (2 * std::numbers::pi);
  return guess + turns * kRate / static_cast<double>(half);
}

double CentsBetween(double a, double b) { return 1200 * std::log2(a / b); }

/// What lies between the partials up to 18 kHz, in decibels below all of that band. The recording
/// holds whole `cycles`; the band-limited step lets aliases through only near half the rate.
double AliasDecibels(const std::vector<float>& y, int cycles) {
  double partials = 0, aliases = 0;
  const std::size_t size = y.size();
  std::vector<std::complex<double>> turns;
  for (std::size_t n = 0; n < size; ++n) {
    turns.push_back(std::polar(
        1.0, -2 * std::numbers::pi * static_cast<double>(n) / static_cast<double>(size)));
  }
  for (std::size_t k = 1; k < size * 3 / 8; ++k) {
    std::complex<double> sum = 0;
    for (std::size_t n = 0; n < size; ++n) sum += static_cast<double>(y[n]) * turns[k * n % size];
    (k % static_cast<std::size_t>(cycles) == 0 ? partials : aliases) += std::norm(sum);
  }
  return 10 * std::log10(aliases / (partials + aliases));
}

constexpr int kTenth = 4800;  // samples, in which a multiple of 10 Hz has whole cycles

TEST(S321FMPMVCO, IsTunedToAThousandthOfACent) {
  TestRack rack(kRate);
  Module& vco = rack.Add("S321 FM/PM VCO");
  rack.Tap(vco, "Sine");
  const auto measure = [&](double expected) {
    rack.Run(100);
    const std::size_t start = rack.Recorded(vco, "Sine").size();
    rack.Run(48000);
    const auto& all = rack.Recorded(vco, "Sine");
    const std::vector<float> tail(all.begin() + static_cast<std::ptrdiff_t>(start), all.end());
    EXPECT_NEAR(CentsBetween(HertzNear(expected, tail), expected), 0.0, 0.001) << expected;
  };
  measure(kMiddleC);
  rack.FeedConstant(vco, "Pitch", 0.2f);
  measure(4 * kMiddleC);
  rack.SetControl(vco, "Ratio", 7.0f / 12);
  rack.SetControl(vco, "Octave", 4.0f / 12);
  measure(4 * kMiddleC * 7 / 4);
  rack.SetControl(vco, "Ratio", 0.0f);
  rack.SetControl(vco, "Fine tune", 1.0f);
  measure(4 * kMiddleC / 2 / 4 * 2);
  rack.SetControl(vco, "Fine tune", 0.6f);  // (2 x 0.1)^3 of an octave
  measure(4 * kMiddleC / 2 / 4 * std::exp2(0.008));
}

TEST(S321FMPMVCO, ExponentialFmAtFullAmountIsThePitch) {
  Voice voice, other;
  voice.knobs.exponentialFm = 1.0;
  voice.in.exponentialFm = 0.137f;
  other.in.pitch = 0.137f;
  EXPECT_EQ(voice.Play(500, &Kernel::Outputs::sine), other.Play(500, &Kernel::Outputs::sine));
  voice.knobs.exponentialFm = 0.5;  // an eighth
  voice.in.exponentialFm = 0.8f;
  other.in.pitch = 0.1f;
  voice.kernel.phase = other.kernel.phase;
  EXPECT_EQ(voice.Play(500, &Kernel::Outputs::sine), other.Play(500, &Kernel::Outputs::sine));
}

TEST(S321FMPMVCO, LinearAndPhaseModulationMakeTheSidebandsOfTheirIndex) {
  const double carrier = 8000, modulator = 170;
  for (const bool linear : {true, false}) {
    for (const double index : {0.7, 5.0}) {
      Voice voice;
      voice.Tune(carrier);
      // The deviation is index times the modulator's frequency.
      const double full = linear ? Kernel::kFullIndex * carrier / modulator : Kernel::kFullIndex;
      (linear ? voice.knobs.linearFm : voice.knobs.pm) = std::cbrt(index / full);
      const auto y = voice.Play(48000, &Kernel::Outputs::sine, [&](int n) {
        const double x = std::sin(2 * std::numbers::pi * modulator * n / kRate);
        (linear ? voice.in.linearFm : voice.in.pm) = static_cast<float>(x);
      });
      for (int k = 0; k <= 7; ++k) {
        const double expected = std::abs(std::cyl_bessel_j(k, index));
        EXPECT_NEAR(AmplitudeAt(y, 0, carrier + k * modulator, kRate), expected, 2e-3) << k;
        EXPECT_NEAR(AmplitudeAt(y, 0, carrier - k * modulator, kRate), expected, 2e-3) << k;
      }
    }
  }
}

TEST(S321FMPMVCO, DeepLinearFmRunsThroughZeroAndKeepsThePitch) {
  // Steady and below zero it plays backward at the same speed.
  Voice forth, back;
  forth.knobs.linearFm = back.knobs.linearFm = 0.5;  // index 2
  forth.in.linearFm = 0.5f;                          // 1 + 1
  back.in.linearFm = -1.5f;                          // 1 - 3
  const auto a = forth.Play(2000, &Kernel::Outputs::sine);
  const auto b = back.Play(2000, &Kernel::Outputs::sine);
  for (std::size_t n = 0; n < a.size(); ++n) ASSERT_NEAR(a[n], -b[n], 1e-6);

  Voice deep;
  deep.Tune(300);
  deep.knobs.linearFm = std::cbrt(6.0 / 16);  // index 6 by a modulator of the same frequency
  const auto y = deep.Play(48000, &Kernel::Outputs::sine, [&](int n) {
    deep.in.linearFm = static_cast<float>(std::cos(2 * std::numbers::pi * 300 * n / kRate));
  });
  EXPECT_NEAR(CentsBetween(HertzNear(900, y), 900), 0.0, 0.01);
}

TEST(S321FMPMVCO, FeedbackMakesItsPartialsAndNeitherRunsAwayNorAliases) {
  Voice low;
  low.Tune(60);
  low.knobs.feedback = 0.8;
  const auto y = low.Play(48000, &Kernel::Outputs::sine);
  const double x = 60.0 / kRate;
  const double index = 0.8 * (1 - 4 * x) / (1 + 14 * x + 200 * x * x);
  for (int n = 1; n <= 6; ++n) {
    const double expected = 2 * std::cyl_bessel_j(n, n * index) / (n * index);
    EXPECT_NEAR(AmplitudeAt(y, 0, 60.0 * n, kRate), expected, 0.01) << n;
  }

  for (const int hertz : {130, 1030, 3070, 7010, 11030}) {
    for (const float cv : {1.0f, -200.0f}) {
      Voice voice;
      voice.Tune(hertz);
      voice.knobs.feedback = 1.0;
      voice.in.feedback = cv;
      voice.Play(kTenth, &Kernel::Outputs::sine);
      const auto full = voice.Play(kTenth, &Kernel::Outputs::sine);
      EXPECT_LT(AliasDecibels(full, hertz / 10), -55) << hertz << " Hz, " << cv;
    }
  }
  // Below 0 it leans the other way: the mirrored wave.
  Voice up, down;
  up.in.feedback = 0.7f;
  down.in.feedback = -0.7f;
  down.kernel.phase = 0.5;
  const auto u = up.Play(3000, &Kernel::Outputs::sine), d = down.Play(3000, &Kernel::Outputs::sine);
  double difference = 0;
  for (std::size_t n = 0; n < u.size(); ++n)
    difference = std::max(difference, std::abs(0.0 + u[n] - d[n]));
  EXPECT_GT(difference, 0.5);
}

TEST(S321FMPMVCO, DerivedWavesHaveTheirPartialsNoMeanAndFewAliases) {
  struct Wave {
    float Kernel::Outputs::*out;
    std::function<double(int)> partial;
    double aliases;
  };
  const auto odd = [](int n, double x) { return n % 2 ? x : 0.0; };
  constexpr double kPi = std::numbers::pi;
  const Wave waves[] = {
      {&Kernel::Outputs::triangle, [&](int n) { return odd(n, 8 / (kPi * kPi * n * n)); }, -55},
      {&Kernel::Outputs::saw, [&](int n) { return 2 / (kPi * n); }, -60},
      {&Kernel::Outputs::pulse, [&](int n) { return odd(n, 4 / (kPi * n)); }, -60}};
  for (const Wave& wave : waves) {
    Voice voice;
    voice.Tune(1730);
    voice.Play(200, wave.out);
    const auto y = voice.Play(kTenth, wave.out);
    for (int n = 1; n <= 4; ++n) {
      EXPECT_NEAR(AmplitudeAt(y, 0, 1730.0 * n, kRate), wave.partial(n), 0.05 * wave.partial(1))
          << n;
    }
    double mean = 0;
    for (const float v : y) mean += static_cast<double>(v) / kTenth;
    EXPECT_NEAR(mean, 0.0, 2e-4);
    EXPECT_LT(AliasDecibels(y, 173), wave.aliases);
  }
}

TEST(S321FMPMVCO, SyncFollowsTheMasterWithoutAliases) {
  for (const auto wave : {&Kernel::Outputs::sine, &Kernel::Outputs::triangle, &Kernel::Outputs::saw,
                          &Kernel::Outputs::pulse}) {
    Voice voice;
    voice.Tune(1730 * 2.37);
    const auto master = [&](int n) {
      voice.in.sync = static_cast<float>(std::sin(2 * std::numbers::pi * 1730.0 * n / kRate + 0.1));
    };
    voice.Play(kTenth, wave, master);
    const auto y = voice.Play(kTenth, wave, master);
    EXPECT_LT(AliasDecibels(y, 173), -38);
    EXPECT_GT(AmplitudeAt(y, 0, 1730, kRate), 0.02);
  }
}

TEST(S321FMPMVCO, RecoversFromWhatIsNoNumberAndKeepsItsPhase) {
  Voice voice, twin;
  voice.knobs.linearFm = voice.knobs.exponentialFm = voice.knobs.pm = 0.3;
  twin.knobs = voice.knobs;
  for (const float bad :
       {std::numeric_limits<float>::quiet_NaN(), std::numeric_limits<float>::infinity(), 1e38f}) {
    voice.in = {bad, bad, bad, bad, bad, bad};
    voice.Play(10, &Kernel::Outputs::saw);
  }
  voice.in = {};
  voice.Play(100, &Kernel::Outputs::saw);
  twin.kernel.phase = twin.kernel.sounded = voice.kernel.phase;
  EXPECT_EQ(voice.Play(500, &Kernel::Outputs::sine), twin.Play(500, &Kernel::Outputs::sine));

  TestRack rack(kRate);
  Module& vco = rack.Add("S321 FM/PM VCO");
  rack.Tap(vco, "Sine");
  rack.Run(77);
  const std::vector<std::byte> saved = rack.SavedPreset(vco);
  const auto values = static_cast<std::size_t>(vco.GetControlValuesSize());
  ASSERT_EQ(saved.size(), values + sizeof(float));
  float phase = 0;
  std::memcpy(&phase, saved.data() + values, sizeof phase);
  EXPECT_NEAR(std::sin(2 * std::numbers::pi * phase), rack.Out(vco, "Sine"), 1e-6);
}

}  // namespace
}  // namespace halveron::testing
