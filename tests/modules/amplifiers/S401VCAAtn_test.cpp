// S401: gain in steps, and its voltage.
#include <gtest/gtest.h>

#include <cmath>
#include <vector>

#include "tests/support/test_rack.h"

namespace halveron::testing {
namespace {

TEST(S401VCAAtn, GainsInStepsOfSixDecibels) {
  TestRack rack(48000);
  Module& vca = rack.Add("S401 Multi db VCA/Attenuator");
  rack.FeedConstant(vca, "In 1", 0.5f);
  rack.FeedConstant(vca, "In 2", -2.0f);
  rack.FeedConstant(vca, "CV", 0.5f);
  rack.Run(3);
  EXPECT_EQ(rack.Out(vca, "Out 1"), 0.25f) << "unity by default";
  const float gains[] = {0.25f, 0.5f, 1.0f, 2.0f, 4.0f};
  for (int step = 0; step < 5; ++step) {
    rack.SetControl(vca, "Gain", static_cast<float>(step) / 4.0f);
    rack.Run(1);
    EXPECT_EQ(rack.Out(vca, "Out 1"), 0.25f * gains[step]);
    EXPECT_EQ(rack.Out(vca, "Out 2"), -gains[step]);
  }
  EXPECT_EQ(rack.Control(vca, "Clip LED 2").getValue(), 0.0f) << "at the limit, not above it";
  rack.FeedConstant(vca, "CV", 0.75f);
  rack.Run(3);
  EXPECT_EQ(rack.Out(vca, "Out 2"), -4.0f);
  EXPECT_EQ(rack.Control(vca, "Clip LED 2").getValue(), 1.0f);
  rack.FeedConstant(vca, "CV", -1.0f);
  rack.Run(3);
  EXPECT_EQ(rack.Out(vca, "Out 1"), 0.0f);
}

}  // namespace
}  // namespace halveron::testing
