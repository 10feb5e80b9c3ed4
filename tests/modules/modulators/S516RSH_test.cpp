// S516: even values, joining lines, clocking and presets.
#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>
#include <limits>
#include <vector>

#include "modules/modulators/S516RSHKernel.h"
#include "tests/modules/modulators/increment_block.h"

namespace halveron::testing {
namespace {

constexpr float kNaN = std::numeric_limits<float>::quiet_NaN();
constexpr float kInf = std::numeric_limits<float>::infinity();

TEST(S516RSHKernel, ValuesAreEvenAndTheLineJoinsThem) {
  dsp::SeedRandom(7);
  double sum = 0.0;
  double squares = 0.0;
  for (int k = 0; k < 200000; ++k) {
    const double value = S516RSHKernel<>::NextValue();
    ASSERT_LE(std::abs(value), 1.0);
    sum += value;
    squares += value * value;
  }
  // Standard errors of the mean and of the variance 1/3: 0.0013 and 0.00067.
  EXPECT_NEAR(sum / 200000, 0.0, 0.006);
  EXPECT_NEAR(squares / 200000, 1.0 / 3.0, 0.003);

  S516RSHKernel<> source;
  source.Prepare(48000.0f);
  const double rate =
      std::pow((0.01 - source.rateMin) / (source.rateMax - source.rateMin), 1.0 / 6);
  int sampled = 0;
  float before = 0.0f;
  for (int segment = 0; segment < 300; ++segment) {
    const double from = source.previousValue;
    const double to = source.nextValue;
    const double start = source.phase;
    double x = start;
    for (; x < 1.0 - 1e-9; x += 0.01) {
      const float trinary = source.trinary;
      const bool trigger = source.StepFree(rate, before);
      ASSERT_NEAR(source.smooth, from + x * (to - from), 1e-6);
      ASSERT_EQ(trigger, trinary < 0.25f && source.trinary == 1.0f);
      sampled += trigger;
    }
    ASSERT_EQ(source.previousValue, to) << "a segment takes 1 / step samples";
    const double line = source.smooth;
    EXPECT_EQ(source.trinary, line > 0.6 ? 1.0f : (line >= -0.6 ? 0.0f : -1.0f));
    before = static_cast<float>(segment);
  }
  EXPECT_GT(sampled, 20);
}

TEST(S516RSHKernel, TheFirstClockResynchronisesAndBadInputPasses) {
  S516RSHKernel<> source;
  source.Prepare(48000.0f);
  source.resync = true;
  source.phase = 0.7;
  const double next = source.nextValue;
  EXPECT_TRUE(source.StepClocked(1.0f, kNaN));
  EXPECT_EQ(source.previousValue, next) << "the first clock after the cable starts a segment";
  EXPECT_NEAR(source.phase, 0.0, 1e-9) << "and its interval is almost endless";
  for (int k = 0; k < 4; ++k) EXPECT_FALSE(source.StepClocked(0.0f, 0.5f));
  EXPECT_EQ(source.highest, 0.5f);
  EXPECT_EQ(source.lowest, 0.5f);
  EXPECT_TRUE(source.StepClocked(0.25f, -0.4f));
  EXPECT_EQ(source.clock.increment, 0.2) << "five samples between the clocks";
  EXPECT_EQ(source.previousValue, next) << "only the first clock resynchronises";
  EXPECT_NEAR(source.phase, 0.2, 1e-8);
  for (const double rate : {double{kNaN}, double{kInf}}) source.StepFree(rate, 0.5f);
  EXPECT_TRUE(std::isfinite(source.smooth));
  EXPECT_TRUE(source.phase >= 0.0 && source.phase < 1.0);
}

TEST(S516RSH, SamplesByClockAndKeepsItInPresets) {
  TestRack rack(48000);
  Module& rsh = rack.Add("S516 R-S&H");
  std::vector<float> clock(400, 0.0f);
  std::vector<float> signal(400);
  for (std::size_t k = 0; k < clock.size(); ++k) {
    clock[k] = k % 100 == 0 ? 1.0f : 0.0f;
    signal[k] = static_cast<float>(std::sin(0.05 * k));
  }
  rack.Feed(rsh, "Clock", clock);
  rack.Feed(rsh, "Signal", signal);
  for (const char* output : {"Sampled", "Highest", "Lowest", "Smooth random"}) {
    rack.Tap(rsh, output);
  }
  rack.Run(400);
  const auto& smooth = rack.Recorded(rsh, "Smooth random");
  for (std::size_t k = 0; k < 400; ++k) {
    const auto since = signal.begin() + static_cast<long>(k / 100 * 100);
    const auto now = signal.begin() + static_cast<long>(k) + 1;
    ASSERT_EQ(rack.Recorded(rsh, "Sampled")[k], *since) << k;
    ASSERT_EQ(rack.Recorded(rsh, "Highest")[k], *std::max_element(since, now)) << k;
    ASSERT_EQ(rack.Recorded(rsh, "Lowest")[k], *std::min_element(since, now)) << k;
    // Each segment of the line is straight and takes one clock from the second clock on.
    if (k > 102 && k % 100 > 2) {
      ASSERT_NEAR(smooth[k] - smooth[k - 1], smooth[k - 1] - smooth[k - 2], 1e-6) << k;
    }
  }
  EXPECT_EQ(rack.Control(rsh, "LED 1").getValue(), signal[300]);
  EXPECT_EQ(rack.Control(rsh, "LED 2").getValue(), -signal[300]);

  const Bytes present = rack.SavedPreset(rsh);
  Module& latest = rack.Add("S516 R-S&H");
  Load(latest, present, 1002);
  EXPECT_EQ(IncrementOf(rack, latest), 0.01);
  Load(latest, WithIncrement(present, 0.5f), 1001);
  EXPECT_EQ(IncrementOf(rack, latest), 0.5);
  Module& oldest = rack.Add("S516 R-S&H");
  Load(oldest, present, 1000);
  EXPECT_EQ(IncrementOf(rack, oldest), 0.0);
  rack.Disconnect(rsh, "Clock");
  EXPECT_EQ(IncrementOf(rack, rsh), 0.0);
}

}  // namespace
}  // namespace halveron::testing
