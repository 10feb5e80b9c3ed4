#include <gtest/gtest.h>

#include "tests/support/test_rack.h"

namespace halveron::testing {
namespace {

TEST(SE01SampleDelay, DelaysByOneLessThanItShows) {
  for (const int shown : {1, 2, 50, 99}) {
    TestRack rack;
    Module& delay = rack.Add("SE01 Sample Delay");
    rack.SetControl(delay, "Display", static_cast<float>(shown));
    rack.Feed(delay, "In", {0.5f, -1.0f});
    rack.Tap(delay, "Out");
    rack.Run(120);
    for (int n = 0; n < 120; ++n) {
      const int fed = n - (shown - 1);
      const float expected = fed == 0 ? 0.5f : fed == 1 ? -1.0f : 0.0f;
      ASSERT_EQ(rack.Recorded(delay, "Out")[static_cast<std::size_t>(n)], expected) << shown;
    }
  }
}

TEST(SE01SampleDelay, ButtonsStepAndWrap) {
  TestRack rack;
  Module& delay = rack.Add("SE01 Sample Delay");
  const auto press = [&](const char* button) {
    rack.MoveControl(delay, button, 1.0f);
    rack.MoveControl(delay, button, 0.0f);
    return rack.Control(delay, "Display").getValue();
  };
  EXPECT_EQ(press("Down"), 99.0f);
  EXPECT_EQ(press("Down"), 98.0f);
  EXPECT_EQ(press("Up"), 99.0f);
  EXPECT_EQ(press("Up"), 1.0f);
  EXPECT_EQ(press("Up"), 2.0f);
  // A host may save while a button is down.
  rack.MoveControl(delay, "Up", 1.0f);
  const auto saved = rack.SavedPreset(delay);
  delay.LoadPreset(saved.data(), static_cast<int>(saved.size()), 1000);
  EXPECT_EQ(press("Down"), 2.0f);
  rack.Feed(delay, "In", {1.0f});
  rack.Tap(delay, "Out");
  rack.Run(3);
  EXPECT_EQ(rack.Recorded(delay, "Out"), (std::vector<float>{0.0f, 1.0f, 0.0f}));
}

}  // namespace
}  // namespace halveron::testing
