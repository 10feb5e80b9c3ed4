#include <gtest/gtest.h>

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
