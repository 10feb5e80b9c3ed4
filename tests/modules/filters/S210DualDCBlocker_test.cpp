#include <gtest/gtest.h>

#include <cmath>

#include "tests/modules/filters/filter_rig.h"

namespace halveron::testing {
namespace {

TEST(S210DualDCBlocker, TakesConstantsOffAtTheRateOfItsKnob) {
  TestRack rack(48000);
  Module& blocker = rack.Add("S210 Dual DC Blocker");
  rack.SetControl(blocker, "Frequency", 0.5f);
  rack.Tap(blocker, "Out 1");
  rack.Tap(blocker, "Out 2");
  rack.Feed(blocker, "In 1", std::vector<float>(2000, 1.0f));
  rack.Run(1000);
  // A step decays by c = 1 - 0.25 * 440 / rate a sample.
  const double c = static_cast<float>(1.0 - 110.0 / 48000);
  for (const std::size_t n : {0u, 1u, 500u, 900u}) {
    EXPECT_NEAR(rack.Recorded(blocker, "Out 1")[n], std::pow(c, n), 1e-4) << n;
  }
  EXPECT_EQ(rack.Out(blocker, "Out 2"), 0.0f);
  rack.FeedConstant(blocker, "In 2", -1.0f);
  rack.Run(64);
  EXPECT_LT(rack.Out(blocker, "Out 2"), -0.8f);

  // At 0 nothing is blocked, and no offset is left of what was.
  rack.MoveControl(blocker, "Frequency", 0.0f);
  rack.Run(64);
  EXPECT_EQ(rack.Out(blocker, "Out 1"), 1.0f);
  EXPECT_EQ(rack.Out(blocker, "Out 2"), -1.0f);
  rack.FeedConstant(blocker, "In 1", kBadWords[0]);
  rack.Run(4);
  EXPECT_TRUE(std::isfinite(rack.Out(blocker, "Out 1")));
}

}  // namespace
}  // namespace halveron::testing
