#include "modules/filters/S201VCF.h"

#include <gtest/gtest.h>

#include <cmath>
#include <limits>
#include <vector>

#include "tests/modules/filters/filter_rig.h"

namespace halveron::testing {
namespace {

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
          S201VCFKernel<> kernel;
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
  S201VCFKernel<> kernel;
  kernel.Prepare(48000.0f, false);
  double y = 0.0;
  for (int n = 0; n < 48000; ++n) y = kernel.Step(10.0, 1.0, 0.7, 0.0, 0.5);
  EXPECT_NEAR(y, 0.5, 1e-9);
  for (int n = 0; n < 1000; ++n) y = kernel.Step(-1.0, 1.0, 0.0, 0.0, 4.0);
  EXPECT_NEAR(y, 0.5, 1e-9);
  for (int n = 0; n < 48000; ++n) y = kernel.Step(0.4, 0.5, 0.7, 0.9, 4.0);
  EXPECT_NEAR(y, 0.1, 1e-9) << "input level is a square law";
}

TEST(S201VCF, RecoversFromWordsThatAreNoNumbers) {
  for (const float bad : kBadWords) {
    S201VCFKernel<> kernel;
    kernel.Prepare(48000.0f, false);
    for (int n = 0; n < 48000; ++n) {
      const float x = n < 5 ? bad : 0.0f;
      const double y = kernel.Step(x, 1.0, 0.5 + x, 0.5 + x, 4.0);
      if (n < 40000) continue;
      ASSERT_LE(std::abs(y), 1e-3) << bad;
    }
  }
}

using S201Panel = WiredFilter;

TEST_F(S201Panel, WiresReachTheKernelAndOldPresetsKeepTheFullRange) {
  Module& vcf = Patch(
      "S201 VCF",
      {"Input level", "Cutoff", "Cutoff CV amount", "Resonance CV amount", "Resonance", "Range"},
      {0.75f, 0.625f, 0.25f, 0.5f, 0.375f, 1.0f},
      {"Audio", "Cutoff CV", "Cutoff CV (attenuated)", "Resonance CV"});
  rack.Tap(vcf, "Low-pass");
  rack.Run(kFrames);
  S201VCFKernel<> kernel;
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

}  // namespace
}  // namespace halveron::testing
