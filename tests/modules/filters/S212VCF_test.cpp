#include "modules/filters/S212VCF.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <array>
#include <cmath>
#include <limits>
#include <vector>

#include "tests/modules/filters/filter_rig.h"

namespace halveron::testing {
namespace {

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

TEST(S212VCF, RecoversFromWordsThatAreNoNumbers) {
  for (const float bad : kBadWords) {
    S212Rig rig;
    rig.knobs = {1.0, 0.5, 1.0, 1.0, 0.5, 0.0, true};
    for (int n = 0; n < 48000; ++n) {
      const float x = n < 5 ? bad : 0.0f;
      for (const double y : rig.Step({x, x, x, x, x})) {
        if (n < 40000) continue;
        ASSERT_LE(std::abs(y), 1e-3) << bad;
      }
    }
  }
}

using S212Panel = WiredFilter;

TEST_F(S212Panel, WiresReachTheKernelAndOnlyCabledOutputsRun) {
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
