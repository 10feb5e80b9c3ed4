#include <gtest/gtest.h>

#include "tests/modules/clocks/divider_rig.h"

namespace halveron::testing {
namespace {

TEST(S701ShiftResetClockDiv, ShiftsRunningDividersAndLoadsThemWithAReset) {
  TestRack rack;
  Module& divider = rack.Add("S701 Shift/Reset Clock Divider");
  rack.MoveControl(divider, "Range", 0.25f);  // periods 4, 6, 8 ...
  std::vector<float> reset(64, 0.0f);
  reset[40] = 1.0f;
  rack.Feed(divider, "Clock", Clocks(32, 2));
  rack.Feed(divider, "Reset", reset);
  rack.Tap(divider, "Out 1");
  rack.Run(14);
  rack.MoveControl(divider, "Shift 1", 0.2f);  // two clocks later
  rack.Run(50);
  // From 1: at once, then every four. Two later from the ninth clock on. After the reset at the
  // twenty-first clock, the third clock.
  EXPECT_EQ(AfterClocks(rack, divider, "Out 1", 2, 32), "11..11....11..11..11...11..11..1");
}

TEST(S701ShiftResetClockDiv, ShowsTheShiftThatFitsAndClearsAllWithTheRange) {
  TestRack rack;
  Module& divider = rack.Add("S701 Shift/Reset Clock Divider");
  rack.MoveControl(divider, "Shift 1", 1.0f);  // 11 of a period of 2
  EXPECT_NEAR(rack.Control(divider, "Shift 1").getValue(), 0.11f, 1e-6);
  rack.MoveControl(divider, "Range", 1.0f);
  EXPECT_EQ(rack.Control(divider, "Shift 1").getValue(), 0.0f);
  for (int i = 1; i <= 5; ++i) rack.MoveControl(divider, "Shift " + std::to_string(i), 0.1f);
  rack.MoveControl(divider, "Shift 6", 1.0f);
  EXPECT_EQ(rack.Control(divider, "Shift 6").getValue(), 1.0f);

  const std::vector<std::byte> saved = rack.SavedPreset(divider);
  Module& twin = rack.Add("S701 Shift/Reset Clock Divider");
  twin.LoadPreset(saved.data(), static_cast<int>(saved.size()), 1000);
  EXPECT_EQ(rack.SavedPreset(twin), saved);
}

}  // namespace
}  // namespace halveron::testing
