#include "modules/filters/S205LPG.h"

#include <gtest/gtest.h>

#include <cmath>
#include <numbers>

#include "tests/modules/filters/filter_rig.h"

namespace halveron::testing {
namespace {

using Kernel = S205LPGKernel<>;

double WarpedGain(double cutoff, float rate) {
  const double g0 = std::pow(cutoff, 3) * 68579.39683153832 / rate;
  return g0 + 0.31755 * std::pow(g0, 3) + 0.2033 * std::pow(g0, 5);
}

/// Gain for a steady sine at a share of the rate. Its level keeps the follower at 1, where the gate
/// is linear.
double SineGain(Kernel& kernel, int mode, double cutoff, double frequency) {
  constexpr double kLevel = 0.25;
  double sine = 0.0, cosine = 0.0;
  constexpr int kSettle = 20000, kSamples = 48000;
  for (int n = 0; n < kSettle + kSamples; ++n) {
    const double w = 2 * kPi * frequency * n;
    const auto x = static_cast<float>(kLevel * std::sin(w));
    const double y = kernel.Step(mode, {x, 0.0f, cutoff}, {1.0, 0.0, 0.0});
    if (n < kSettle) continue;
    sine += y * std::sin(w);
    cosine += y * std::cos(w);
  }
  return 2.0 * std::hypot(sine, cosine) / kSamples / kLevel;
}

TEST(S205LPG, IsATwoPoleLowPassWithALevelByMode) {
  constexpr double kCutoff = 0.3, kHalfPower = 0.64359425;  // of two equal poles
  for (const float rate : {44100.0f, 96000.0f}) {
    const double g = WarpedGain(kCutoff, rate);
    for (const double ratio : {0.1, kHalfPower, 1.0, 4.0}) {
      const double law = 1.0 / (1.0 + ratio * ratio);
      const double f = std::round(std::atan(g * ratio) / kPi * 48000) / 48000;
      const double exact = std::tan(kPi * f) / g;
      for (const int mode : {Kernel::kDriven, Kernel::kFilterAndVca, Kernel::kFilter}) {
        Kernel kernel;
        kernel.Prepare(rate);
        const double level = mode == Kernel::kDriven         ? 4 * kCutoff
                             : mode == Kernel::kFilterAndVca ? 4 * kCutoff
                                                             : 2.0;
        EXPECT_NEAR(SineGain(kernel, mode, kCutoff, f) / level, 1.0 / (1.0 + exact * exact), 0.003)
            << rate << ' ' << ratio << ' ' << mode;
      }
      if (ratio == kHalfPower) {
        EXPECT_NEAR(20 * std::log10(law), -3.0103, 0.001);
      }
    }
  }
}

TEST(S205LPG, RingsOnlyWhileTheSignalLivesAndIsLimited) {
  Kernel kernel;
  kernel.Prepare(48000.0f);
  double loudest = 0.0, late = 0.0;
  for (int n = 0; n < 12000; ++n) {
    const float x = n < 100 ? (n % 2 == 0 ? 1.0f : 0.5f) : 0.0f;
    const float y = kernel.Step(Kernel::kFilter, {x, 0.0f, 0.3}, {1.0, 0.0, 1.0});
    ASSERT_TRUE(std::isfinite(y));
    if (n < 1000) loudest = std::max(loudest, std::abs(static_cast<double>(y)));
    if (n >= 8000) late = std::max(late, std::abs(static_cast<double>(y)));
  }
  EXPECT_GT(loudest, 0.3);
  EXPECT_LT(late, 1e-4) << "the follower falls by 0.999 a sample, and the resonance with it";
  EXPECT_NEAR(kernel.level, std::pow(0.999, 11900), 1e-6);

  // The node rests at 1.75, whatever drives it.
  float y = 0.0f;
  for (int n = 0; n < 48000; ++n) {
    y = kernel.Step(Kernel::kFilter, {50.0f, 0.0f, 0.5}, {1.0, 0.0, 0.0});
  }
  EXPECT_NEAR(y, 1.75f, 1e-4f);
  kernel.Step(Kernel::kFilter, {kBadWords[0], 0.0f, 0.5}, {1.0, 0.0, 0.5});
  for (int n = 0; n < 10; ++n) {
    y = kernel.Step(Kernel::kFilter, {0.1f, 0.0f, 0.5}, {1.0, 0.0, 0.5});
    EXPECT_TRUE(std::isfinite(y));
  }
}

TEST(S205LPG, StartsInTheMiddleModeAndSumsItsVoltages) {
  TestRack rack(48000);
  Module& gate = rack.Add("S205 Low Pass Gate");
  rack.FeedConstant(gate, "Audio", 0.4f);
  rack.FeedConstant(gate, "Cutoff CV", 0.1f);
  rack.FeedConstant(gate, "Cutoff CV (attenuated)", 0.4f);
  rack.SetControl(gate, "Cutoff CV amount", 0.5f);
  rack.Run(9600);
  // Level 0.5: x = 0.4 * 0.25 * 2, and the amplifier gives 2 * (0.5 + 0.1 + 0.2).
  EXPECT_NEAR(rack.Out(gate, "Out"), 0.2f * 1.6f, 1e-4f);
  rack.MoveControl(gate, "Mode", 0.0f);
  rack.Run(9600);
  EXPECT_NEAR(rack.Out(gate, "Out"), 0.1f * 0.8f * 4, 1e-4f);
  rack.MoveControl(gate, "Mode", 1.0f);
  rack.Run(9600);
  EXPECT_NEAR(rack.Out(gate, "Out"), 0.2f, 1e-4f);
}

}  // namespace
}  // namespace halveron::testing
