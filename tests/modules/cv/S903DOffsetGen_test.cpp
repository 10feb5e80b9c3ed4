// S903: offsets.
#include <gtest/gtest.h>

#include "tests/support/test_rack.h"

namespace halveron::testing {
namespace {

TEST(S903DOffsetGen, AddsMinusOneToOneToEachInput) {
  TestRack rack;
  Module& offset = rack.Add("S903 Dual Offset Generator");
  rack.FeedConstant(offset, "In 1", 0.25f);
  rack.FeedConstant(offset, "In 2", -0.5f);
  rack.Run(3);
  EXPECT_EQ(rack.Out(offset, "Out 1"), 0.25f) << "nothing at the middle";
  for (const float knob : {0.0f, 0.125f, 1.0f}) {
    rack.SetControl(offset, "Offset 1", knob);
    rack.SetControl(offset, "Offset 2", 1.0f - knob);
    rack.Run(1);
    EXPECT_EQ(rack.Out(offset, "Out 1"), 0.25f + 2 * knob - 1);
    EXPECT_EQ(rack.Out(offset, "Out 2"), -0.5f + 1 - 2 * knob);
  }
}

}  // namespace
}  // namespace halveron::testing
