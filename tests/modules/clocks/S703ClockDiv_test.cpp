#include <gtest/gtest.h>

#include "tests/modules/clocks/divider_rig.h"

namespace halveron::testing {
namespace {

TEST(S703ClockDiv, LaddersOfPowersOfTwoAreHighForTheirFirstHalf) {
  for (int base = 1; base <= 5; ++base) {
    TestRack rack;
    Module& divider = rack.Add("S703 Clock Divider");
    rack.SetControl(divider, "Base", static_cast<float>(base - 1) / 4.0f);
    const int count = base * 64 * 2;
    rack.Feed(divider, "Clock", Clocks(count, 3));
    for (int i = 1; i <= 6; ++i) rack.Tap(divider, "Out " + std::to_string(i));
    rack.Run(count * 3);
    for (int i = 1; i <= 6; ++i) {
      const int period = base << i;
      std::string expected;
      for (int clock = 1; clock <= count; ++clock) {
        // Low until the first period has ended, then high for the first half of each.
        expected += clock >= period && clock % period < period / 2 ? '1' : '.';
      }
      EXPECT_EQ(AfterClocks(rack, divider, "Out " + std::to_string(i), 3, count), expected)
          << base << ' ' << i;
    }
  }
}

TEST(S703ClockDiv, KeepsItsCountersInPresetsAndRebuildsThemForOldOnes) {
  TestRack rack;
  Module& divider = rack.Add("S703 Clock Divider");
  rack.SetControl(divider, "Base", 0.5f);
  rack.Feed(divider, "Clock", Clocks(5, 2));
  rack.Run(10);
  const std::vector<std::byte> saved = rack.SavedPreset(divider);
  const auto clocksToRise = [&](int version) {
    Module& twin = rack.Add("S703 Clock Divider");
    twin.LoadPreset(saved.data(), static_cast<int>(saved.size()), version);
    rack.Feed(twin, "Clock", Clocks(8, 2));
    rack.Tap(twin, "Out 1");
    rack.Run(20);
    return AfterClocks(rack, twin, "Out 1", 2, 8).find('1');
  };
  EXPECT_EQ(clocksToRise(1001), 0u);  // five of six clocks were counted before
  EXPECT_EQ(clocksToRise(1000), 5u);
}

}  // namespace
}  // namespace halveron::testing
