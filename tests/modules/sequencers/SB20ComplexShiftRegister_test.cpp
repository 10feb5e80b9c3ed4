#include <gtest/gtest.h>

#include <string>
#include <vector>

#include "tests/modules/clocks/divider_rig.h"

namespace halveron::testing {
namespace {

TEST(SB20ComplexShiftRegister, TurnsItsPointsByTheNextTapWithEachClock) {
  TestRack rack;
  Module& shifter = rack.Add("SB20 Complex Shift Register");
  rack.SetControl(shifter, "Source", 1.0f);
  rack.SetControl(shifter, "Rate", 1.0f);  // every clock
  // All taps start at point 12 (stage 12): each value moves up by one point.
  for (int i = 1; i <= 4; ++i) rack.SetControl(shifter, "Tap " + std::to_string(i), 0.6f);
  Module& source = rack.Add("S102 Unity Mixer");
  rack.FeedConstant(source, "In 1", 0.5f);
  rack.Connect(source, "Out", shifter, "Point 1");
  rack.Run(8);
  rack.Feed(shifter, "Clock", Clocks(5, 10));
  for (int clock = 1; clock <= 5; ++clock) {
    rack.Run(10);
    for (int point = 2; point <= 12; ++point) {
      // Point 1 is an input, so that its value enters with every clock.
      EXPECT_EQ(rack.Point(shifter, "Point " + std::to_string(point), kEitherPoint).out,
                point <= clock + 1 ? 0.5f : 0.0f)
          << clock << ' ' << point;
    }
  }
}

TEST(SB20ComplexShiftRegister, ClocksItselfOrDividesAClock) {
  TestRack rack(1000);
  Module& shifter = rack.Add("SB20 Complex Shift Register");
  rack.Tap(shifter, "Clock");
  rack.SetControl(shifter, "Rate", 0.5f);
  const auto count = [&](const std::vector<float>& recorded, std::size_t from) {
    int rises = 0;
    for (std::size_t i = from + 1; i < recorded.size(); ++i) {
      rises += recorded[i] > 0.5f && recorded[i - 1] < 0.5f;
    }
    return rises;
  };
  rack.Run(10000);
  EXPECT_NEAR(count(rack.Recorded(shifter, "Clock"), 0), 10 * (0.125 * 49.9 + 0.1), 1.5);
  rack.MoveControl(shifter, "Source", 1.0f);
  rack.SetControl(shifter, "Rate", 0.8f);  // by round(16 - 12) = 4
  rack.Feed(shifter, "Clock", Clocks(100, 20));
  rack.Run(2000);
  EXPECT_NEAR(count(rack.Recorded(shifter, "Clock"), 10000), 25, 1);
}

}  // namespace
}  // namespace halveron::testing
