#include <gtest/gtest.h>

#include <array>
#include <cmath>
#include <complex>
#include <limits>
#include <numbers>
#include <vector>

#include "modules/filters/S201VCF.h"
#include "modules/filters/S202HPLSVCF.h"
#include "modules/filters/S212VCF.h"
#include "tests/support/test_rack.h"

namespace halveron::testing {
namespace {

using Complex = std::complex<double>;

constexpr float kRates[] = {44100.0f, 96000.0f, 384000.0f};
constexpr double kPi = std::numbers::pi;

/// Response of a linear step at a frequency given as a fraction of the rate, from an impulse that
/// is small enough to stay clear of every clip.
template <class Step>
Complex Response(double frequency, Step step) {
  constexpr double kImpulse = 0x1p-10;
  const Complex turn = std::polar(1.0, -2.0 * kPi * frequency);
  Complex sum = 0.0, z = 1.0 / kImpulse;
  for (int n = 0; n < 100000; ++n) {
    sum += step(n == 0 ? kImpulse : 0.0) * z;
    z *= turn;
  }
  return sum;
}

double Decibels(Complex gain) { return 20.0 * std::log10(std::abs(gain)); }

double WarpedGain(double g0) { return g0 + 0.31755 * std::pow(g0, 3) + 0.2033 * std::pow(g0, 5); }

TEST(S201VCF, FollowsTheTwoPoleLowPassOverRatesAndRanges) {
  constexpr double kCutoff = 0.6, kHalfPower = 0.64359425;  // of two equal poles
  for (const float rate : kRates) {
    for (const bool audible : {false, true}) {
      const double low = audible ? 40.0 : 0.0;
      const double high = audible ? 15000.0 : 68579.39683153832 / kPi;
      const double g = WarpedGain(kPi * (low + (high - low) * std::pow(kCutoff, 4)) / rate);
      for (const double resonance : {0.0, 0.4, 0.8}) {
        const double k = 2.0 * (1.0 - std::pow(1.0 - 0.95 * resonance, 2));
        for (const double ratio : {0.2, kHalfPower, 1.0, 3.0}) {
          S201VCFKernel kernel;
          kernel.Prepare(rate, audible);
          const double y = Decibels(Response(std::atan(g * ratio) / kPi, [&](double x) {
            return kernel.Step(x, 1.0, kCutoff, resonance, 4.0);
          }));
          const Complex S(0.0, ratio);
          EXPECT_NEAR(y, Decibels(1.0 / (S * S + (2.0 - k) * S + 1.0)), 0.001)
              << rate << ' ' << audible << ' ' << resonance << ' ' << ratio;
          if (resonance == 0.0 && ratio == kHalfPower) {
            EXPECT_NEAR(y, -3.0103, 0.001);
          }
        }
      }
    }
  }
}

TEST(S201VCF, ClipsTheNodeAndHoldsAtZeroCutoff) {
  S201VCFKernel kernel;
  kernel.Prepare(48000.0f, false);
  double y = 0.0;
  for (int n = 0; n < 48000; ++n) y = kernel.Step(10.0, 1.0, 0.7, 0.0, 0.5);
  EXPECT_NEAR(y, 0.5, 1e-9);
  for (int n = 0; n < 1000; ++n) y = kernel.Step(-1.0, 1.0, 0.0, 0.0, 4.0);
  EXPECT_NEAR(y, 0.5, 1e-9);
  for (int n = 0; n < 48000; ++n) y = kernel.Step(0.4, 0.5, 0.7, 0.9, 4.0);
  EXPECT_NEAR(y, 0.1, 1e-9) << "input level is a square law";
}

TEST(S202HPLSVCF, FollowsTheStateVariableFilterInBothModes) {
  constexpr double kCutoff = 0.35;
  for (const float rate : kRates) {
    const double g = WarpedGain(std::pow(kCutoff, 3) * 68579.39683153832 / rate);
    for (const double resonance : {0.0, 0.5, 0.9}) {
      const double R = 2.0 - 1.99 * (1.0 - std::pow(1.0 - resonance, 2));
      for (const double ratio : {0.01, 0.1, 1.0, 5.0}) {
        const double f = std::atan(g * ratio) / kPi;
        const Complex S(0.0, ratio), below = S * S + R * S + 1.0;
        S202HPLSVCFKernel kernel;
        kernel.Prepare(rate);
        const Complex high =
            Response(f, [&](double x) { return kernel.HighPass(x, 1.0, kCutoff, resonance, 4.0); });
        EXPECT_NEAR(Decibels(high), Decibels(S * S / below), 0.001);
        for (const double shelf : {0.0, 0.3, 1.0}) {
          kernel.cell = {};
          const double A = 2.0 * shelf;
          const Complex low = Response(
              f, [&](double x) { return kernel.LowShelf(x, 1.0, kCutoff, shelf, resonance, 4.0); });
          EXPECT_NEAR(Decibels(low), Decibels((S * S + A * R * S + A * A) / below), 0.001)
              << rate << ' ' << resonance << ' ' << ratio << ' ' << shelf;
        }
      }
    }
  }
}

TEST(S202HPLSVCF, IsFlatAtHalfLevelAndLimited) {
  S202HPLSVCFKernel shelf, high;
  shelf.Prepare(48000.0f);
  high.Prepare(48000.0f);
  for (int n = 0; n < 1000; ++n) {
    const double x = std::sin(0.37 * n);
    ASSERT_EQ(shelf.LowShelf(x, 1.0, n * 0.001, 0.5, 0.9, 4.0), x);
  }
  double y = 0.0, z = 0.0;
  for (int n = 0; n < 48000; ++n) {
    y = shelf.LowShelf(0.5, 1.0, 0.5, 1.0, 0.0, 4.0);
    z = high.HighPass(0.5, 1.0, 0.5, 0.0, 4.0);
  }
  EXPECT_NEAR(y, 2.0, 1e-9) << "a level of 1 boosts DC by four";
  EXPECT_NEAR(z, 0.0, 1e-9);
  for (int n = 0; n < 48000; ++n) y = shelf.LowShelf(-3.0, 1.0, 0.5, 1.0, 0.0, 1.5);
  EXPECT_EQ(y, -1.5);
  high.cell = {};
  // The node, not the output, is limited: the first sample's band and low come from +-limit.
  const double limited = 10.0 - high.HighPass(10.0, 1.0, 0.5, 0.0, 1.5);
  high.cell = {};
  EXPECT_NEAR(limited, 1.5 - high.HighPass(1.5, 1.0, 0.5, 0.0, 4.0), 1e-12);
}

struct S212Rig {
  S212VCFKernel<> kernel;
  S212VCFKernel<>::Controls knobs{1.0, 0.5, 0.0, 0.0, 0.0, 0.0, false};

  explicit S212Rig(float rate = 48000.0f) { kernel.Prepare(rate); }
  /// High-pass, band-pass, low-pass, notch.
  std::array<double, 4> Step(const S212VCFKernel<>::Inputs& in) {
    kernel.Begin(in, knobs);
    const std::array<double, 4> y{kernel.HighPass(), kernel.BandPass(), kernel.LowPass(),
                                  kernel.Notch()};
    kernel.End();
    return y;
  }
};

/// What the four outputs of S212 are at small signals without instability.
std::array<Complex, 4> S212Response(float rate, double cutoff, double resonance, bool fourPoles,
                                    double f) {
  const double freq = (0.04 + (37485.0 - 0.04) * std::pow(cutoff, 4)) / rate;
  const double cosine = freq > 0.5 ? 4.0 * std::pow(freq - 1.0, 2) - 1.0 : 1.0 - 4.0 * freq * freq;
  const double bend = 1.0 - std::pow(1.0 - resonance, 2);
  const double alpha = freq * (3.0 - bend * (1764.0 / rate + 3.0));
  const Complex z1 = std::polar(1.0, -2.0 * kPi * f);
  const Complex below = 1.0 + alpha - 2.0 * cosine * z1 + (1.0 - alpha) * z1 * z1;
  std::array<Complex, 4> h{
      (1.0 + cosine) / 2.0 * (1.0 - z1) * (1.0 - z1), freq * 1.4 * (1.0 - z1 * z1),
      (1.0 - cosine) / 2.0 * (1.0 + z1) * (1.0 + z1), 1.0 - 2.0 * cosine * z1 + z1 * z1};
  for (Complex& output : h) output = fourPoles ? std::pow(output / below, 2) : output / below;
  const double fade = std::min(1.0, freq * rate / 250.0);
  for (const int dryBelow : {0, 3}) h[dryBelow] = (h[dryBelow] - 1.0) * fade + 1.0;
  for (Complex& output : h) output *= fourPoles ? 0.7 : 1.0;
  return h;
}

TEST(S212VCF, FollowsItsBiquadsInBothSlopes) {
  for (const float rate : kRates) {
    for (const bool fourPoles : {false, true}) {
      for (const double cutoff : {0.2, 0.6, 0.95}) {  // at the lowest, two outputs fade to dry
        for (const double f : {0.001, 0.02, 0.3}) {
          const auto expected = S212Response(rate, cutoff, 0.3, fourPoles, f);
          for (int i = 0; i < 4; ++i) {
            S212Rig rig(rate);
            rig.knobs.cutoff = cutoff;
            rig.knobs.resonance = 0.3;
            rig.knobs.fourPoles = fourPoles;
            const Complex h = Response(f, [&](double x) {
              return rig.Step({static_cast<float>(x), 0, 0, 0, 0})[i];
            });
            EXPECT_NEAR(std::abs(h - expected[i]), 0.0, 1e-4 * std::abs(expected[i]) + 1e-7)
                << rate << ' ' << fourPoles << ' ' << cutoff << ' ' << f << ' ' << i;
          }
        }
      }
    }
  }
}

TEST(SoftClip, BendsBeyondOneAndStaysAtTwo) {
  for (const auto& [x, y] : {std::pair{0.75, 0.75}, std::pair{1.0, 1.0}, std::pair{2.0, 1.8},
                             std::pair{3.0, 2.0}, std::pair{1e9, 2.0}}) {
    EXPECT_EQ(dsp::SoftClip(x), y);
    EXPECT_EQ(dsp::SoftClip(-x), -y);
  }
}

TEST(S212VCF, OscillatesByItselfWithinTheSoftClip) {
  S212Rig alone, driven;
  alone.knobs.resonance = driven.knobs.resonance = 1.0;
  driven.knobs.instability = 1.0;
  std::array<double, 4> peaks{};
  for (int n = 0; n < 96000; ++n) {
    const auto y = alone.Step({n == 0 ? 0.1f : 0.0f, 0, 0, 0, 0});
    const auto z = driven.Step({4.0f * std::sin(0.01f * n), 0, 0, 0, 0});
    for (int i = 0; i < 4; ++i) {
      ASSERT_LE(std::max(std::abs(y[i]), std::abs(z[i])), 2.0);
      if (n > 90000) peaks[i] = std::max(peaks[i], std::abs(y[i]));
    }
  }
  for (const double peak : peaks) EXPECT_GT(peak, 1.0);
}

TEST(S212VCF, DrivesByUnclampedInstabilityAndTurnsItsTriangle) {
  // At DC the low-pass has a gain of 1, so what comes out is the drive.
  for (const bool fourPoles : {false, true}) {
    for (const auto& [cv, drive] : {std::pair{0.0f, 0.0}, std::pair{-1.0f, -1.25}}) {
      S212Rig rig;
      rig.knobs.fourPoles = fourPoles;
      double y = 0.0;
      for (int n = 0; n < 48000; ++n) y = rig.Step({0.1f, 0, 0, 0, cv})[2];
      EXPECT_NEAR(y, 0.1 * (drive + (fourPoles ? 0.7 : 1.0)), 1e-7);
      EXPECT_EQ(rig.kernel.t3, 0.0);
    }
  }
  // The phase, whose period is 2, advances by 85.766 a second at rest and by 201.526 at full.
  for (const auto& [instability, speed] :
       {std::pair{0.0, 85.76611218}, std::pair{1.0, 201.52639836}}) {
    S212Rig rig(96000.0f);
    rig.knobs.instability = instability;
    for (int n = 0; n < 96000; ++n) rig.Step({0, 0, 0, 0, 0});
    EXPECT_NEAR(rig.kernel.tri_phase, std::fmod(speed, 2.0), 1e-4);
    const double tri = 1.0 - 2.0 * std::abs(rig.kernel.tri_phase - 1.0);
    rig.Step({0, 0, 0, 0, 0});
    const double lp = (1.0 - rig.kernel.cos_w) * 0.5;
    EXPECT_NEAR(rig.kernel.t3, tri * (3.0 + 30.0 * rig.kernel.freq) * lp * instability, 1e-12);
  }
}

TEST(S212VCF, ModulatesItsCutoffAndRecomputesOnlyWhatMoved) {
  // A resting FM input is plain FM by the square of its amount once the blocker has settled; the
  // blocked part of a step is ring-modulated.
  S212Rig fm, still;
  fm.knobs.fmAmount = 0.5;
  for (int n = 0; n < 1000; ++n) fm.Step({0, 0.1f, 0.2f, 0, 0});
  still.Step({0, 0.15f, 0, 0, 0});
  EXPECT_NEAR(fm.kernel.freq, still.kernel.freq, 1e-7);
  const double tri = 1.0 - 2.0 * std::abs(fm.kernel.tri_phase - 1.0);
  fm.Step({0, 0.1f, 0.6f, 0, 0});
  still.Step({0, static_cast<float>(0.1 + (0.6 + 0.4 * tri) * 0.15), 0, 0, 0});
  EXPECT_NEAR(fm.kernel.freq, still.kernel.freq, 1e-7);

  S212VCFKernel<>& kernel = still.kernel;
  still.Step({0, 0, 0, 0, 0});
  const double freq = kernel.freq, damp = kernel.damp;
  kernel.freq = kernel.damp = 0.125;
  still.Step({0, 0, 0, 0, 0});
  EXPECT_EQ(kernel.freq, 0.125);
  EXPECT_EQ(kernel.damp, 0.125);
  kernel.Prepare(48000.0f);
  still.Step({0, 0, 0, 0, 0});
  EXPECT_EQ(kernel.freq, freq);
  EXPECT_EQ(kernel.damp, damp);
}

TEST(Filters, RecoverFromWordsThatAreNoNumbers) {
  for (const float bad :
       {std::numeric_limits<float>::quiet_NaN(), std::numeric_limits<float>::infinity(), 3e38f}) {
    S201VCFKernel s201;
    S202HPLSVCFKernel high, shelf;
    S212Rig s212;
    s201.Prepare(48000.0f, false);
    high.Prepare(48000.0f);
    shelf.Prepare(48000.0f);
    s212.knobs = {1.0, 0.5, 1.0, 1.0, 0.5, 0.0, true};
    for (int n = 0; n < 48000; ++n) {
      const float x = n < 5 ? bad : 0.0f;
      std::vector<double> outputs{s201.Step(x, 1.0, 0.5 + x, 0.5 + x, 4.0),
                                  high.HighPass(x, 1.0, 0.5 + x, 0.5, 4.0),
                                  shelf.LowShelf(x, 1.0, 0.5 + x, 0.7 + x, 0.5, 4.0)};
      for (const double y : s212.Step({x, x, x, x, x})) outputs.push_back(y);
      if (n < 40000) continue;
      for (const double y : outputs) ASSERT_LE(std::abs(y), 1e-3) << bad;
    }
  }
}

/// The patch points of a filter play noise while its controls rest, each at a value of its own:
/// every wire has to reach its place in the kernel for the bits to agree.
class FilterPanels : public ::testing::Test {
 protected:
  static constexpr int kFrames = 400;

  Module& Patch(const char* name, const std::vector<const char*>& controls,
                const std::vector<float>& values, const std::vector<const char*>& inputs) {
    Module& module = rack.Add(name);
    for (std::size_t i = 0; i < controls.size(); ++i) {
      rack.SetControl(module, controls[i], values[i]);
    }
    std::uint32_t seed = 1;
    for (const char* input : inputs) {
      in.emplace_back(kFrames);
      for (float& x : in.back()) {
        seed = seed * 1664525u + 1013904223u;
        x = static_cast<float>(static_cast<std::int32_t>(seed)) * 0x1p-32f;
      }
      rack.Feed(module, input, in.back());
    }
    return module;
  }

  TestRack rack{48000};
  std::vector<std::vector<float>> in;
};

TEST_F(FilterPanels, S201WiresReachTheKernelAndOldPresetsKeepTheFullRange) {
  Module& vcf = Patch(
      "S201 VCF",
      {"Input level", "Cutoff", "Cutoff CV amount", "Resonance CV amount", "Resonance", "Range"},
      {0.75f, 0.625f, 0.25f, 0.5f, 0.375f, 1.0f},
      {"Audio", "Cutoff CV", "Cutoff CV (attenuated)", "Resonance CV"});
  rack.Tap(vcf, "Low-pass");
  rack.Run(kFrames);
  S201VCFKernel kernel;
  kernel.Prepare(48000.0f, true);
  for (int n = 0; n < kFrames; ++n) {
    const double y = kernel.Step(in[0][n], 0.75, in[2][n] * 0.25 + in[1][n] + 0.625,
                                 in[3][n] * 0.5 + 0.375, 4.0);
    ASSERT_EQ(rack.Recorded(vcf, "Low-pass")[n], static_cast<float>(y)) << n;
  }
  const std::vector<std::byte> preset = rack.SavedPreset(vcf);
  for (const auto& [version, range] : {std::pair{1001, 1.0f}, std::pair{1000, 0.0f}}) {
    vcf.LoadPreset(preset.data(), static_cast<int>(preset.size()), version);
    EXPECT_EQ(rack.Control(vcf, "Range").getValue(), range);
  }
}

TEST_F(FilterPanels, S202WiresReachTheKernelInBothModes) {
  Module& vcf = Patch("S202 HP/Low Shelf VCF",
                      {"Input level", "Cutoff", "Cutoff CV amount", "Shelf level", "Resonance"},
                      {0.75f, 0.5f, 0.25f, 0.375f, 0.625f},
                      {"Audio", "Cutoff CV", "Cutoff CV (attenuated)", "Shelf level"});
  rack.Tap(vcf, "Out");
  rack.Run(kFrames / 2);  // reaches one sample beyond, to answer the last of them
  rack.SetControl(vcf, "Mode", 1.0f);
  rack.Run(kFrames / 2);
  S202HPLSVCFKernel kernel;
  kernel.Prepare(48000.0f);
  for (int n = 0; n < kFrames; ++n) {
    const double cutoff = in[2][n] * 0.25 + in[1][n] + 0.5;
    const double y = n <= kFrames / 2
                         ? kernel.HighPass(in[0][n], 0.75, cutoff, 0.625, 4.0)
                         : kernel.LowShelf(in[0][n], 0.75, cutoff, in[3][n] + 0.375, 0.625, 4.0);
    ASSERT_EQ(rack.Recorded(vcf, "Out")[n], static_cast<float>(y)) << n;
  }
}

TEST_F(FilterPanels, S212WiresReachTheKernelAndOnlyCabledOutputsRun) {
  Module& vcf = Patch("S212 VCF",
                      {"Input level", "Cutoff", "FM amount", "Resonance CV amount", "Resonance",
                       "Instability", "Slope"},
                      {0.75f, 0.5f, 0.25f, 0.875f, 0.375f, 0.625f, 1.0f},
                      {"Audio", "Cutoff CV", "FM", "Resonance CV", "Instability CV"});
  Module& idle = rack.Add("S212 VCF");
  rack.FeedConstant(idle, "Audio", 1.0f);
  constexpr const char* kOutputs[] = {"High-pass", "Band-pass", "Low-pass", "Notch"};
  for (const char* output : kOutputs) rack.Tap(vcf, output);
  rack.Run(kFrames);
  S212Rig rig;
  rig.knobs = {0.75, 0.5, 0.25, 0.875, 0.375, 0.625, true};
  rig.Step({0, 0, 0, 0, 0});  // before the cables bring the first sample
  for (int n = 0; n < kFrames; ++n) {
    const auto y = rig.Step({in[0][n], in[1][n], in[2][n], in[3][n], in[4][n]});
    for (int i = 0; i < 4; ++i) {
      ASSERT_EQ(rack.Recorded(vcf, kOutputs[i])[n], static_cast<float>(y[i])) << n << ' ' << i;
    }
  }
  for (const char* output : kOutputs) EXPECT_EQ(rack.Out(idle, output), 0.0f) << output;
  rack.Tap(idle, "Notch");
  rack.Run(kFrames);
  EXPECT_NE(rack.Out(idle, "Notch"), 0.0f);
  EXPECT_EQ(rack.Out(idle, "Low-pass"), 0.0f);
}

}  // namespace
}  // namespace halveron::testing
