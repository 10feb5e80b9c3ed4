#include "modules/filters/S202HPLSVCF.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>
#include <limits>
#include <vector>

#include "tests/modules/filters/filter_rig.h"

namespace halveron::testing {
namespace {

double WarpedGain(double g0) { return g0 + 0.31755 * std::pow(g0, 3) + 0.2033 * std::pow(g0, 5); }

TEST(S202HPLSVCF, FollowsTheStateVariableFilterInBothModes) {
  constexpr double kCutoff = 0.35;
  for (const float rate : kRates) {
    const double g = WarpedGain(std::pow(kCutoff, 3) * 68579.39683153832 / rate);
    for (const double resonance : {0.0, 0.5, 0.9}) {
      const double R = 2.0 - 1.99 * (1.0 - std::pow(1.0 - resonance, 2));
      for (const double ratio : {0.01, 0.1, 1.0, 5.0}) {
        const double f = std::atan(g * ratio) / kPi;
        const Complex S(0.0, ratio), below = S * S + R * S + 1.0;
        S202HPLSVCFKernel<> kernel;
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
  S202HPLSVCFKernel<> shelf, high;
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

TEST(S202HPLSVCF, RecoversFromWordsThatAreNoNumbers) {
  for (const float bad : kBadWords) {
    S202HPLSVCFKernel<> high, shelf;
    high.Prepare(48000.0f);
    shelf.Prepare(48000.0f);
    for (int n = 0; n < 48000; ++n) {
      const float x = n < 5 ? bad : 0.0f;
      const double y = high.HighPass(x, 1.0, 0.5 + x, 0.5, 4.0);
      const double z = shelf.LowShelf(x, 1.0, 0.5 + x, 0.7 + x, 0.5, 4.0);
      if (n < 40000) continue;
      ASSERT_LE(std::max(std::abs(y), std::abs(z)), 1e-3) << bad;
    }
  }
}

using S202Panel = WiredFilter;

TEST_F(S202Panel, WiresReachTheKernelInBothModes) {
  Module& vcf = Patch("S202 HP/Low Shelf VCF",
                      {"Input level", "Cutoff", "Cutoff CV amount", "Shelf level", "Resonance"},
                      {0.75f, 0.5f, 0.25f, 0.375f, 0.625f},
                      {"Audio", "Cutoff CV", "Cutoff CV (attenuated)", "Shelf level"});
  rack.Tap(vcf, "Out");
  rack.Run(kFrames / 2);  // reaches one sample beyond, to answer the last of them
  rack.SetControl(vcf, "Mode", 1.0f);
  rack.Run(kFrames / 2);
  S202HPLSVCFKernel<> kernel;
  kernel.Prepare(48000.0f);
  for (int n = 0; n < kFrames; ++n) {
    const double cutoff = in[2][n] * 0.25 + in[1][n] + 0.5;
    const double y = n <= kFrames / 2
                         ? kernel.HighPass(in[0][n], 0.75, cutoff, 0.625, 4.0)
                         : kernel.LowShelf(in[0][n], 0.75, cutoff, in[3][n] + 0.375, 0.625, 4.0);
    ASSERT_EQ(rack.Recorded(vcf, "Out")[n], static_cast<float>(y)) << n;
  }
}

}  // namespace
}  // namespace halveron::testing
