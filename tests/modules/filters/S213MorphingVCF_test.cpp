#include "modules/filters/S213MorphingVCF.h"

#include <gtest/gtest.h>

#include <cmath>

#include "tests/modules/filters/filter_rig.h"

namespace halveron::testing {
namespace {

using Kernel = S213MorphingVCFKernel<>;

TEST(S213MorphingVCF, BlendsChainsOfLowAndHighPasses) {
  constexpr double kCutoff = 0.4, kLevel = 0.8;
  for (const float rate : kRates) {
    const double g0 = std::pow(kCutoff, 3) * 34557.51918948769 / rate;
    const double g = g0 + 0.31755 * std::pow(g0, 3) + 0.2033 * std::pow(g0, 5);
    for (const int cells : {1, 2, 3}) {
      for (const double resonance : {0.0, 0.6}) {
        const double R = 2.0 - (1.0 - std::pow(1.0 - resonance, 2) - (cells - 1) * 0.03) * 1.99;
        for (const double ratio : {0.2, 1.0, 4.0}) {
          const Complex S(0.0, ratio), below = S * S + R * S + 1.0;
          const Complex low = std::pow(1.0 / below, cells), high = std::pow(S * S / below, cells);
          for (const double morph : {0.0, 0.3, 1.0}) {
            Kernel kernel;
            kernel.Prepare(rate);
            kernel.cells = cells;
            const Complex y = Response(std::atan(g * ratio) / kPi, [&](double x) {
              return kernel.Step(x, x, {kLevel, kCutoff, resonance, morph, 0.0});
            });
            const Complex law = ((1 - morph) * low + morph * high) * std::pow(kLevel, 3);
            EXPECT_NEAR(std::abs(y - law), 0.0, 0.002 * std::abs(law) + 1e-6)
                << rate << ' ' << cells << ' ' << resonance << ' ' << ratio << ' ' << morph;
          }
        }
      }
    }
  }
}

TEST(S213MorphingVCF, FoldsAndLimitsWithoutASeam) {
  for (const double y : {-3.25, -2.0, 0.0, 3.25}) EXPECT_EQ(Kernel::Fold(y), y);
  EXPECT_DOUBLE_EQ(Kernel::Fold(3.75), 0.5 - 0.125 + 3.25);
  EXPECT_DOUBLE_EQ(Kernel::Fold(-4.75), -(1.5 - 3.375 + 3.25));
  for (const double y : {-0.8125, -0.3, 0.8125}) EXPECT_EQ(Kernel::SoftLimit(y), y);
  double before = Kernel::SoftLimit(-6.0);
  EXPECT_EQ(before, -2.4375);
  for (double y = -6.0; y <= 6.0; y += 0.001) {
    const double limited = Kernel::SoftLimit(y);
    EXPECT_NEAR(limited, -Kernel::SoftLimit(-y), 1e-6);
    ASSERT_GE(limited, before - 1e-6);
    ASSERT_LT(limited - before, 0.0011) << "no steeper than 1, no jump at " << y;
    before = limited;
  }
  EXPECT_EQ(before, 2.4375);
}

TEST(S213MorphingVCF, DrivesAndTakesTheSecondInput) {
  TestRack rack(48000);
  Module& filter = rack.Add("S213 Morphing VCF");
  rack.SetControl(filter, "Cutoff", 0.7f);
  rack.SetControl(filter, "Resonance", 0.3f);
  rack.FeedConstant(filter, "In", 0.1f);
  rack.Run(20000);
  EXPECT_NEAR(rack.Out(filter, "Out"), 0.1f * 0.125f, 1e-5f);
  // Drive 0.5 by its voltage: a gain of 0.25 + 5, and less of it behind.
  rack.SetControl(filter, "Drive CV amount", 1.0f);
  rack.FeedConstant(filter, "Drive CV", 0.5f);
  rack.Run(20000);
  EXPECT_NEAR(rack.Out(filter, "Out"), 0.525f * 0.5f / ((1.0f - 1.0f / 64) * 3 + 1), 1e-4f);
  rack.FeedConstant(filter, "Drive CV", -5.0f);
  // All high-pass: nothing of a constant; the second input alone is heard there.
  rack.SetControl(filter, "Morph CV amount", 0.5f);
  rack.FeedConstant(filter, "Morph CV", 2.0f);
  rack.Run(20000);
  EXPECT_NEAR(rack.Out(filter, "Out"), 0.0f, 1e-5f);
  rack.SetControl(filter, "Cutoff", 0.0f);
  std::vector<float> wave(256);
  for (std::size_t n = 0; n < wave.size(); ++n) wave[n] = n % 2 == 0 ? 0.5f : -0.5f;
  rack.Feed(filter, "In 2", wave);
  rack.Tap(filter, "Out");
  rack.Run(200);
  const std::vector<float>& out = rack.Recorded(filter, "Out");
  EXPECT_NEAR(std::abs(out[100] - out[101]), 0.125f, 1e-6f);
  rack.FeedConstant(filter, "In 2", kBadWords[1]);
  rack.Run(4);
  rack.FeedConstant(filter, "In 2", 0.0f);
  rack.Run(64);
  EXPECT_TRUE(std::isfinite(rack.Out(filter, "Out")));
}

}  // namespace
}  // namespace halveron::testing
