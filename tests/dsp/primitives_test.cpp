#include <gtest/gtest.h>

#include <cmath>
#include <set>

#include "dsp/counters.h"
#include "dsp/edge.h"
#include "dsp/exp2_fast.h"
#include "dsp/random.h"
#include "dsp/shaping.h"

namespace halveron::dsp {
namespace {

TEST(Exp2Fast, IsWithinAFewPartsInTenMillion) {
  for (double x = -20.0; x <= 20.0; x += 0.00137) {
    const auto argument = static_cast<float>(x);
    const double exact = std::exp2(static_cast<double>(argument));
    EXPECT_NEAR(Exp2Fast(argument) / exact, 1.0, 4e-7) << x;
  }
  for (int octave = -10; octave <= 10; ++octave) {
    EXPECT_EQ(Exp2Fast(static_cast<float>(octave)), std::ldexp(1.0000001f, octave));
  }
  for (float wild : {1e30f, -1e30f, INFINITY, -INFINITY, NAN}) {
    EXPECT_TRUE(std::isfinite(Exp2Fast(wild)));
  }
}

TEST(Random, GeneratorsFollowTheirLaws) {
  sharedRandom.randomSeed = 1;
  EXPECT_EQ(NextRandom(), 16807 * 4.656612873077393e-10);
  EXPECT_EQ(sharedRandom.randomSeed, 16807u);
  sharedRandom.randomSeed = 0x7FFFFFFF;
  NextRandom();
  EXPECT_EQ(sharedRandom.randomSeed, (0x7FFFFFFFu * 16807u) & 0x7FFFFFFFu);

  // First outputs of the published reference implementation for state 42, sequence 54.
  sharedRandom.pcgState = 0;
  sharedRandom.pcgIncrement = (54u << 1) | 1;
  NextRandomPcg();
  sharedRandom.pcgState += 42;
  NextRandomPcg();
  for (std::uint32_t expected : {0xa15c02b7u, 0x7b47f409u, 0xba1d3330u, 0x83d2f293u}) {
    EXPECT_EQ(NextRandomPcg(), expected);
  }

  std::set<std::uint32_t> firsts;
  for (std::uint32_t seed = 0; seed < 50; ++seed) {
    SeedRandom(seed);
    EXPECT_NE(sharedRandom.randomSeed, 0u);
    firsts.insert(NextRandomPcg());
  }
  EXPECT_EQ(firsts.size(), 50u);
  SeedRandomFromClock();
  EXPECT_NE(sharedRandom.randomSeed, 0u);
}

TEST(Counters, EndOnceAndRestInsteadOfOverflowing) {
  PulseCounter pulse;
  EXPECT_FALSE(pulse.Tick());
  pulse.Start(3);
  EXPECT_FALSE(pulse.Tick());
  EXPECT_FALSE(pulse.Tick());
  EXPECT_TRUE(pulse.Tick());
  EXPECT_FALSE(pulse.IsRunning());
  pulse.Start(0);
  EXPECT_TRUE(pulse.Tick());
  int samples = kIdleCounter - 1;
  for (int i = 0; i < 3; ++i) CountInterval(samples);
  EXPECT_EQ(samples, kIdleCounter);
}

TEST(Shaping, SoftClipBendsBeyondOneAndStaysAtTwo) {
  for (const auto& [x, y] : {std::pair{0.75, 0.75}, std::pair{1.0, 1.0}, std::pair{2.0, 1.8},
                             std::pair{3.0, 2.0}, std::pair{1e9, 2.0}}) {
    EXPECT_EQ(SoftClip(x), y);
    EXPECT_EQ(SoftClip(-x), -y);
  }
}

TEST(Shaping, WarpFollowsTheTangentAndRoundingGoesDownAtTheHalf) {
  for (double frequency = 0.001; frequency < 0.29; frequency += 0.001) {
    EXPECT_NEAR(Warp(frequency * M_PI) / std::tan(frequency * M_PI), 1.0, 0.01) << frequency;
  }
  EXPECT_EQ(RoundHalfDown(2.5), 2);
  EXPECT_EQ(RoundHalfDown(2.51), 3);
  EXPECT_EQ(LimitSymmetric(-5.0f, 4.0f), -4.0f);
  EXPECT_EQ(LimitSymmetric(3.0f, 4.0f), 3.0f);
  EXPECT_TRUE(IsRisingEdge(0.2f, 0.25f));
  EXPECT_FALSE(IsRisingEdge(0.25f, 1.0f));
}

}  // namespace
}  // namespace halveron::dsp
