#include <gtest/gtest.h>

#include "tests/support/test_rack.h"

namespace halveron::testing {
namespace {

TEST(S110DPan, SharesEachInputOutAndInvertsBeyondTheEnds) {
  TestRack rack(48000);
  Module& pan = rack.Add("S110 Dual VC Panner");
  rack.SetControl(pan, "Pan 1", 0.25f);
  rack.SetControl(pan, "Pan 2", 0.5f);
  rack.SetControl(pan, "Pan CV amount 1", 0.5f);
  rack.SetControl(pan, "Pan CV amount 2", 1.0f);
  rack.FeedConstant(pan, "In 1", 1.0f);
  rack.FeedConstant(pan, "In 2", 8.0f);
  rack.Run(8);
  EXPECT_EQ(rack.Out(pan, "Out A"), 0.25f + 4.0f);
  EXPECT_EQ(rack.Out(pan, "Out B"), 0.75f + 4.0f);
  EXPECT_EQ(rack.Control(pan, "LED 1A").getValue(), 0.25f);
  EXPECT_EQ(rack.Control(pan, "LED 1B").getValue(), 0.75f);
  rack.FeedConstant(pan, "Pan CV 1", 2.0f);   // 1.25
  rack.FeedConstant(pan, "Pan CV 2", -0.5f);  // 0
  rack.Run(8);
  EXPECT_EQ(rack.Out(pan, "Out A"), 1.25f);
  EXPECT_EQ(rack.Out(pan, "Out B"), 8.0f - 0.25f);
  EXPECT_EQ(rack.Control(pan, "LED 2A").getValue(), 0.0f);
  EXPECT_EQ(rack.Control(pan, "LED 2B").getValue(), 1.0f);
}

}  // namespace
}  // namespace halveron::testing
