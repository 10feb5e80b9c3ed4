#include <gtest/gtest.h>

#include "tests/modules/clocks/divider_rig.h"

namespace halveron::testing {
namespace {

TEST(S702ResetClockDiv, DividesByTwoToSevenAndAResetWinsOverItsClock) {
  constexpr const char* kLevels[] = {".1.1.1.1.1.1.1", "..11.11.11.11.", "...11..11..11.",
                                     "....111..111..", ".....111...111", "......1111...1"};
  TestRack rack;
  Module& divider = rack.Add("S702 Reset Clock Divider");
  std::vector<float> clocks = Clocks(28, 4), reset(28 * 4, 0.0f);
  // With the fifteenth clock, and at a level that is neither high nor low for one more.
  for (int i = 14 * 4; i < 14 * 4 + 3; ++i) reset[static_cast<std::size_t>(i)] = 1.0f;
  for (int i = 14 * 4 + 3; i < 15 * 4 + 2; ++i) reset[static_cast<std::size_t>(i)] = 0.2f;
  clocks.insert(clocks.end(), {1.0f, 0.0f, 0.0f, 0.0f, 1.0f, 0.0f, 0.0f, 0.0f});
  rack.Feed(divider, "Clock", clocks);
  rack.Feed(divider, "Reset", reset);
  for (int i = 1; i <= 6; ++i) rack.Tap(divider, "Out " + std::to_string(i));
  rack.Run(30 * 4);
  for (int i = 1; i <= 6; ++i) {
    const std::string levels = AfterClocks(rack, divider, "Out " + std::to_string(i), 4, 30);
    EXPECT_EQ(levels.substr(0, 14), kLevels[i - 1]) << i;
    EXPECT_EQ(levels.substr(14, 2), "..") << i;  // clocks under the reset do not count
    EXPECT_EQ(levels.substr(16, 14), kLevels[i - 1]) << i;
  }
}

}  // namespace
}  // namespace halveron::testing
