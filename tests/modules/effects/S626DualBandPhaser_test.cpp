#include <gtest/gtest.h>

#include <cmath>
#include <complex>

#include "modules/effects/S626DualBandPhaserKernel.h"
#include "tests/support/spectrum.h"
#include "tests/support/test_rack.h"

namespace halveron::testing {
namespace {

/// Ratio of the levels behind and before a step for a sine.
template <class Step>
double LevelAt(double hertz, Step step) {
  double in = 0.0, out = 0.0;
  for (int n = 0; n < 48000; ++n) {
    const double x = std::sin(2.0 * M_PI * hertz / 48000.0 * n);
    const double y = step(x);
    if (n < 24000) continue;
    in += x * x;
    out += y * y;
  }
  return std::sqrt(out / in);
}

TEST(PhaserChain, MainStagesAreAllPassesAndThoseBeforeThemNotches) {
  PhaserChain chain;
  chain.SetStages(4);
  chain.SetSpread(0.5, 0.6 * 0.09090909090909091);
  PhaserChain single;
  single.SetStages(1);
  single.SetSpread(0.5, 0.6 * 0.09090909090909091);
  const double centre = 48000.0 / M_PI * std::atan(dsp::Warp(0.1));
  const auto before = [&](double x) { return single.RunBefore(x, 0.1); };
  EXPECT_LT(LevelAt(centre, before), 1e-3);
  EXPECT_NEAR(LevelAt(10.0, before), 1.0, 1e-3);
  EXPECT_NEAR(LevelAt(23500.0, before), 1.0, 1e-2);
  bool limited = false;
  for (const double hertz : {100.0, 1000.0, 8000.0}) {
    const double level =
        LevelAt(hertz, [&](double x) { return chain.Run(x, 0.1, 1.0, 2.0, 4.0f, limited); });
    EXPECT_NEAR(level, 1.0, 1e-3) << hertz;
  }
  EXPECT_FALSE(limited);
  for (int n = 0; n < 48000; ++n) {
    chain.Run(n % 100 == 0 ? 100.0 : 0.0, 0.1, 1.0, 1.0, 4.0f, limited);
  }
  EXPECT_TRUE(limited);
}

TEST(PhaserChain, OffsetReachesTheSpacingOnBothSides) {
  PhaserChain chain;
  chain.SetStages(3);
  chain.SetSpread(1.0, 0.05454545454545454);
  EXPECT_DOUBLE_EQ(chain.OffsetFactor(0.0), 1.0);
  EXPECT_DOUBLE_EQ(chain.OffsetFactor(1.0), chain.PlainFactor());
  EXPECT_NEAR(chain.OffsetFactor(-1.0), 1.0 / chain.PlainFactor(), 1e-12);
  EXPECT_NEAR(chain.PlainFactor(), (1.0 - 3 * 0.05454545454545454) * 4.4721359549996, 1e-9);
}

TEST(PhaserLfo, IsATriangleOfOneOverTwo) {
  PhaserLfo lfo;
  double highest = -1.0, lowest = 1.0;
  for (int n = 0; n < 2000; ++n) {
    highest = std::max(highest, lfo.Value());
    lowest = std::min(lowest, lfo.Value());
    lfo.Advance(0.001);
  }
  EXPECT_NEAR(highest, 0.5, 1e-9);
  EXPECT_NEAR(lowest, -0.5, 1e-9);
  EXPECT_NEAR(lfo.phase, 2.0, 1e-9);
}

class S626 : public ::testing::Test {
 protected:
  /// Gain of "Out 1" at a frequency, by an impulse through a phaser that stands still.
  double GainAt(double hertz) {
    std::complex<double> sum = 0.0;
    const std::vector<float>& out = rack.Recorded(phaser, "Out 1");
    for (std::size_t n = 0; n < out.size(); ++n) {
      sum += static_cast<double>(out[n]) *
             std::polar(1.0, -2.0 * M_PI * hertz / 48000.0 * static_cast<double>(n));
    }
    return std::abs(sum);
  }

  TestRack rack{48000};
  Module& phaser{rack.Add("S626 Dual Band Phaser")};
};

TEST_F(S626, CutsNotchesIntoTheSpectrum) {
  for (const char* depth : {"Depth A", "Depth B"}) rack.SetControl(phaser, depth, 0.0f);
  rack.SetControl(phaser, "Mix", 1.0f);
  std::vector<float> impulse(48000, 0.0f);
  impulse[0] = 1.0f;
  rack.Feed(phaser, "In 1", impulse);
  rack.Tap(phaser, "Out 1");
  rack.Run(48000);
  double deepest = 1e9, highest = 0.0;
  int notches = 0;
  double before = GainAt(100.0), here = GainAt(102.0);
  for (double hertz = 104.0; hertz < 20000.0; hertz *= 1.02) {
    const double next = GainAt(hertz);
    if (here < before && here < next && here < 0.25) ++notches;
    deepest = std::min(deepest, here);
    highest = std::max(highest, here);
    before = here;
    here = next;
  }
  EXPECT_GE(notches, 3);
  EXPECT_LT(deepest, 0.15);
  EXPECT_LT(highest, 3.0);
}

TEST_F(S626, MixZeroIsDryAndPresetsKeepThePhases) {
  rack.SetControl(phaser, "Mix", 0.0f);
  rack.FeedConstant(phaser, "In 1", 0.3f);
  rack.Run(1000);
  EXPECT_FLOAT_EQ(rack.Out(phaser, "Out 1"), 0.3f);
  EXPECT_FLOAT_EQ(rack.Out(phaser, "Out 2"), 0.3f);
  const std::vector<std::byte> saved = rack.SavedPreset(phaser);
  Module& twin = rack.Add("S626 Dual Band Phaser");
  twin.LoadPreset(saved.data(), static_cast<int>(saved.size()), 1000);
  EXPECT_EQ(rack.SavedPreset(twin), saved);
  // Half a turn on LFO B, and what is no phase is put right.
  rack.MoveControl(phaser, "Invert B", 1.0f);
  EXPECT_NE(rack.SavedPreset(phaser), saved);
}

}  // namespace
}  // namespace halveron::testing
