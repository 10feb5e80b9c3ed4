// S704, S705, S709: triggers, gate lengths and gates by hand.
#include <gtest/gtest.h>

#include <algorithm>
#include <numeric>

#include "tests/modules/clocks/divider_rig.h"

namespace halveron::testing {
namespace {

TEST(S704DualGatetoTrigger, GivesOneSampleForEachEdge) {
  TestRack rack;
  Module& converter = rack.Add("S704 Dual Gate to Trigger Converter");
  rack.Feed(converter, "In 1", {0.0f, 1.0f, 1.0f, 0.24f, 0.25f, 0.0f});
  rack.Feed(converter, "In 2", {1.0f, 1.0f, 1.0f, 1.0f, 1.0f, 1.0f});
  for (const char* out : {"Out 1", "Out 2"}) rack.Tap(converter, out);
  rack.Run(6);
  EXPECT_EQ(rack.Recorded(converter, "Out 1"), (std::vector<float>{0, 1, 0, 0, 1, 0}));
  EXPECT_EQ(rack.Recorded(converter, "Out 2"), (std::vector<float>{1, 0, 0, 0, 0, 0}));
}

/// Samples for which an output is high from a sample on.
int HighFrom(const std::vector<float>& recorded, std::size_t start) {
  const auto begin = recorded.begin() + static_cast<std::ptrdiff_t>(start);
  return static_cast<int>(std::find(begin, recorded.end(), 0.0f) - begin);
}

TEST(S705GateLengthProcessor, LengthsFollowTheClockOrTheSquareOfSeconds) {
  TestRack rack(1000);
  Module& gates = rack.Add("S705 Gate Length Processor");
  rack.SetControl(gates, "Length", 0.5f);
  rack.Feed(gates, "Gate", Clocks(4, 200));
  rack.Tap(gates, "Gate");
  rack.Run(800);
  const std::vector<float>& relative = rack.Recorded(gates, "Gate");
  // From the second clock on the period is known: 0.5 * 0.999 of 200 samples.
  EXPECT_NEAR(HighFrom(relative, 400), 101, 1);
  EXPECT_NEAR(HighFrom(relative, 600), 101, 1);

  Module& timed = rack.Add("S705 Gate Length Processor");
  rack.SetControl(timed, "Mode", 0.0f);
  rack.SetControl(timed, "Length", 0.5f);
  rack.Feed(timed, "Gate", {1.0f});
  rack.Tap(timed, "Gate");
  rack.Run(2000);
  EXPECT_NEAR(HighFrom(rack.Recorded(timed, "Gate"), 0), 1000, 2);  // 0.5^2 of 4 s
}

TEST(S705GateLengthProcessor, AnEdgeWithinAGateMakesAGapOfOneSample) {
  TestRack rack(1000);
  Module& gates = rack.Add("S705 Gate Length Processor");
  rack.SetControl(gates, "Mode", 0.0f);
  rack.SetControl(gates, "Length", 1.0f);
  rack.Feed(gates, "Gate", Clocks(2, 10));
  rack.Tap(gates, "Gate");
  rack.Run(40);
  std::vector<float> expected(40, 1.0f);
  expected[10] = 0.0f;
  EXPECT_EQ(rack.Recorded(gates, "Gate"), expected);
}

TEST(S709ManualTriggerGate, ATriggerLastsOneSampleAndAGateAsLongAsItsButton) {
  TestRack rack(1000);
  Module& manual = rack.Add("S709 Manual Trigger/Gate");
  EXPECT_TRUE(manual.GetAlwaysOnDefault());
  for (const char* out : {"Trigger", "Gate"}) rack.Tap(manual, out);
  rack.Run(20);
  rack.MoveControl(manual, "Trigger", 1.0f);
  rack.MoveControl(manual, "Trigger", 0.0f);
  rack.MoveControl(manual, "Gate", 1.0f);
  rack.Run(20);
  const std::vector<float>& triggers = rack.Recorded(manual, "Trigger");
  EXPECT_EQ(std::accumulate(triggers.begin(), triggers.end(), 0.0f), 1.0f);
  EXPECT_EQ(rack.Out(manual, "Gate"), 1.0f);
  EXPECT_EQ(rack.Control(manual, "Trigger LED").getValue(), 1.0f);
  rack.Run(100);
  EXPECT_EQ(rack.Control(manual, "Trigger LED").getValue(), 0.0f);
  rack.MoveControl(manual, "Gate", 0.0f);
  rack.Run(2);
  EXPECT_EQ(rack.Out(manual, "Gate"), 0.0f);
  EXPECT_EQ(rack.Control(manual, "Gate LED").getValue(), 0.0f);
}

}  // namespace
}  // namespace halveron::testing
