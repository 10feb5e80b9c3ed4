#include <gtest/gtest.h>

#include <array>
#include <random>
#include <vector>

#include "modules/clocks/S713SRClockDivMultKernel.h"
#include "tests/modules/clocks/divider_rig.h"

namespace halveron::testing {
namespace {

/// Rising and falling samples of a channel over `clocks` clocks of `period` samples.
struct Pulses {
  std::vector<int> rises, falls;
};

Pulses PulsesOf(S713SRClockDivMultKernel& kernel, int channel, double swing, int clocks,
                int period) {
  Pulses pulses;
  bool wasHigh = false;
  for (int n = 0; n < clocks * period; ++n) {
    kernel.Step(n % period == 0 ? 1.0f : 0.0f, 0.0f);
    const bool high = kernel.IsHigh(channel, swing);
    if (high != wasHigh) (high ? pulses.rises : pulses.falls).push_back(n);
    wasHigh = high;
  }
  return pulses;
}

TEST(S713SRClockDivMult, MultipliesAndDividesThePaceOfTheClock) {
  constexpr int kPeriod = 1200;
  S713SRClockDivMultKernel multiplier;
  multiplier.SetRatio(0, 3, true);
  for (int n = 0; n < 2 * kPeriod; ++n) multiplier.Step(n % kPeriod == 0 ? 1.0f : 0.0f, 0.0f);
  const Pulses tripled = PulsesOf(multiplier, 0, 0.0, 2, kPeriod);
  ASSERT_GE(tripled.rises.size(), 5u);
  for (std::size_t i = 0; i + 1 < tripled.rises.size(); ++i) {
    EXPECT_NEAR(tripled.rises[i + 1] - tripled.rises[i], kPeriod / 3, 2);
  }
  for (std::size_t i = 0; i < tripled.falls.size(); ++i) {
    EXPECT_NEAR(tripled.falls[i] % (kPeriod / 3), kPeriod / 6, 3);
  }

  S713SRClockDivMultKernel divider;
  divider.SetRatio(1, 4, false);
  divider.GoToStart();
  for (int n = 0; n < 4 * kPeriod; ++n) divider.Step(n % kPeriod == 0 ? 1.0f : 0.0f, 0.0f);
  const Pulses divided = PulsesOf(divider, 1, 0.0, 12, kPeriod);
  EXPECT_EQ(divided.rises, (std::vector<int>{0, 4 * kPeriod, 8 * kPeriod}));
  for (const int fall : divided.falls) EXPECT_NEAR(fall % (4 * kPeriod), 2 * kPeriod, 2);
}

TEST(S713SRClockDivMult, SwingDelaysEverySecondPulseWithinItsCycle) {
  constexpr int kPeriod = 1000;
  for (const auto& [swing, end] : {std::pair{0.25, 0.75}, std::pair{0.6, 0.98}}) {
    S713SRClockDivMultKernel kernel;
    kernel.SetRatio(0, 1, false);
    kernel.GoToStart();
    for (int n = 0; n < 2 * kPeriod; ++n) kernel.Step(n % kPeriod == 0 ? 1.0f : 0.0f, 0.0f);
    const Pulses pulses = PulsesOf(kernel, 0, swing, 4, kPeriod);
    ASSERT_EQ(pulses.rises.size(), 4u);
    for (const int index : {1, 3}) {
      EXPECT_NEAR(pulses.rises[index] % kPeriod, swing * kPeriod, 2) << swing;
      EXPECT_NEAR(pulses.falls[index] % kPeriod, end * kPeriod, 2) << swing;
    }
    EXPECT_EQ(pulses.rises[2] % kPeriod, 0) << swing;
  }
}

TEST(S713SRClockDivMult, StaysInStepWithAClockThatJitters) {
  S713SRClockDivMultKernel kernel;
  kernel.SetRatio(0, 3, true);
  kernel.SetRatio(1, 4, false);
  std::mt19937 random(5);
  int period = 1000;
  std::array<bool, 2> wasHigh{};
  int rises = 0;
  std::vector<int> divided;  // the clocks at which it rose
  for (int clock = 0; clock < 40; ++clock) {
    const int measured = period;
    std::vector<int> tripled;  // samples since the clock
    period = 950 + static_cast<int>(random() % 101);
    for (int n = 0; n < period; ++n) {
      kernel.Step(n == 0 ? 1.0f : 0.0f, 0.0f);
      for (int channel : {0, 1}) {
        const bool high = kernel.IsHigh(channel, 0.0);
        bool& was = wasHigh[static_cast<std::size_t>(channel)];
        if (high && !was && channel == 0) tripled.push_back(n);
        if (high && !was && channel == 1) divided.push_back(clock);
        was = high;
      }
    }
    if (clock < 2) continue;  // the pace is not known yet
    // The first of three rises with the clock, or at the end of the measured period if that comes
    // before; the others by the pace of the last period.
    rises += static_cast<int>(tripled.size());
    std::erase_if(tripled, [&](int n) { return n == 0 || n >= measured - 2; });
    ASSERT_EQ(tripled.size(), 2u) << clock;
    for (int i = 0; i < 2; ++i) EXPECT_NEAR(tripled[i], (i + 1) * measured / 3, 2) << clock;
  }
  EXPECT_NEAR(rises, 38 * 3, 1);
  EXPECT_EQ(divided, (std::vector<int>{0, 4, 8, 12, 16, 20, 24, 28, 32, 36}));
}

TEST(S713SRClockDivMult, WaitsForAClockAndKeepsThePaceThroughAReset) {
  S713SRClockDivMultKernel kernel;
  kernel.SetRatio(0, 2, true);
  kernel.SetRatio(1, 2, false);
  const auto run = [&](int samples, bool clocks, float reset) {
    std::array<int, 2> high{};
    for (int n = 0; n < samples; ++n) {
      kernel.Step(clocks && n % 1000 == 0 ? 1.0f : 0.0f, n == 0 ? reset : 0.0f);
      for (int channel : {0, 1}) high[channel] += kernel.IsHigh(channel, 0.0);
    }
    return high;
  };
  EXPECT_EQ(run(500, false, 0.0f), (std::array{0, 0}));
  run(4000, true, 0.0f);
  // A reset with a clock, which does not count: all is low until the next one.
  EXPECT_EQ(run(1000, true, 1.0f), (std::array{0, 0}));
  // Then both begin, at the pace of one period.
  kernel.Step(1.0f, 0.0f);
  EXPECT_TRUE(kernel.IsHigh(0, 0.3));
  EXPECT_TRUE(kernel.IsHigh(1, 0.3));
  const auto [multiplied, divided] = run(999, false, 0.0f);
  EXPECT_NEAR(multiplied, 500, 3);
  EXPECT_NEAR(divided, 999, 3);
}

TEST(S713SRClockDivMult, RotatesItsOutputsByKnobOrVoltage) {
  TestRack rack;
  Module& clocks = rack.Add("S713 Swing/Rotate Clock Divider/Multiplier");
  const auto outputOfFirst = [&] {
    rack.Run(4);
    for (int i = 0; i < 4; ++i) {
      if (rack.Control(clocks, "Map LED 1-" + std::to_string(i + 1)).getValue() > 0.0f) return i;
    }
    return -1;
  };
  for (int i = 0; i < 4; ++i) {
    rack.SetControl(clocks, "Rotate", (static_cast<float>(i) + 0.5f) / 3.999f);
    EXPECT_EQ(outputOfFirst(), i);
  }
  rack.SetControl(clocks, "Rotate", 1.0f);
  for (const auto& [volts, output] : {std::pair{1.5f, 1}, std::pair{5.0f, 1}, std::pair{-0.5f, 3},
                                      std::pair{-5.5f, 2}, std::pair{100.0f, 3}}) {
    rack.FeedConstant(clocks, "Rotate", volts);
    EXPECT_EQ(outputOfFirst(), output) << volts;
  }
}

}  // namespace
}  // namespace halveron::testing
