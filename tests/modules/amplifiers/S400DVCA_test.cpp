// S400: one voltage crossfades two channels.
#include <gtest/gtest.h>

#include <cmath>
#include <vector>

#include "tests/support/test_rack.h"

namespace halveron::testing {
namespace {

TEST(S400DVCA, OneVoltageCrossfadesAndASecondFreesTheChannels) {
  TestRack rack(48000);
  Module& vca = rack.Add("S400 Dual VCA");
  rack.FeedConstant(vca, "In 1", 0.5f);
  rack.FeedConstant(vca, "In 2", 0.25f);
  const std::vector<float> cv{0.0f, 0.5f, 1.0f, -0.5f, -1.0f, 8.0f, -16.0f};
  const std::vector<float> first{0.0f, 0.5f, 1.0f, 0.0f, 0.0f, 4.0f, 0.0f};
  const std::vector<float> second{0.0f, 0.0f, 0.0f, 0.25f, 0.5f, 0.0f, 4.0f};
  rack.Feed(vca, "CV 1", cv);
  rack.Tap(vca, "Out 1");
  rack.Tap(vca, "Out 2");
  rack.Run(7);
  for (std::size_t k = 0; k < cv.size(); ++k) {
    EXPECT_EQ(rack.Recorded(vca, "Out 1")[k], first[k]) << cv[k];
    EXPECT_EQ(rack.Recorded(vca, "Out 2")[k], second[k]) << cv[k];
  }
  EXPECT_EQ(rack.Control(vca, "Clip LED 1").getValue(), 1.0f);
  EXPECT_EQ(rack.Control(vca, "Clip LED 2").getValue(), 1.0f);

  rack.FeedConstant(vca, "CV 1", -1.0f);
  rack.FeedConstant(vca, "CV 2", 1.0f);
  rack.Run(3);
  EXPECT_EQ(rack.Out(vca, "Out 1"), 0.0f);
  EXPECT_EQ(rack.Out(vca, "Out 2"), 0.5f);
  rack.FeedConstant(vca, "CV 2", -1.0f);
  rack.Run(3);
  EXPECT_EQ(rack.Out(vca, "Out 2"), 0.0f);
  rack.Disconnect(vca, "CV 2");
  rack.Run(3);
  EXPECT_EQ(rack.Out(vca, "Out 2"), 0.5f) << "back to the negative half of the first voltage";
}

}  // namespace
}  // namespace halveron::testing
