#include <gtest/gtest.h>

#include "tests/support/test_rack.h"

namespace halveron::testing {
namespace {

TEST(S116VCCrossFader, FadesFromAToCAndByWayOfB) {
  TestRack rack(48000);
  Module& fader = rack.Add("S116 VC Cross Fader");
  rack.FeedConstant(fader, "In A", 1.0f);
  rack.FeedConstant(fader, "In B", 16.0f);
  rack.FeedConstant(fader, "In C", 4.0f);
  rack.FeedConstant(fader, "CV", 0.5f);
  struct Case {
    float position, amount, threeWay, twoWay;
  };
  for (const Case& c : {Case{0.0f, 0.0f, 1.0f, 1.0f}, Case{0.25f, 0.0f, 8.5f, 1.75f},
                        Case{0.5f, 0.0f, 16.0f, 2.5f}, Case{0.5f, 0.5f, 10.0f, 3.25f},
                        Case{1.0f, 0.0f, 4.0f, 4.0f}, Case{1.0f, 1.0f, 4.0f, 4.0f}}) {
    rack.SetControl(fader, "Position", c.position);
    rack.SetControl(fader, "CV amount", c.amount);
    rack.Run(4);
    EXPECT_EQ(rack.Out(fader, "Three-way"), c.threeWay) << c.position << ' ' << c.amount;
    EXPECT_EQ(rack.Out(fader, "Two-way"), c.twoWay) << c.position << ' ' << c.amount;
  }
  rack.SetControl(fader, "Position", 0.0f);
  rack.SetControl(fader, "CV amount", 1.0f);
  rack.FeedConstant(fader, "CV", -3.0f);
  rack.Run(4);
  EXPECT_EQ(rack.Out(fader, "Two-way"), 1.0f) << "the sum is limited";
}

}  // namespace
}  // namespace halveron::testing
