// S921: pairs of lanes, offsets, and mixes.
#include <gtest/gtest.h>

#include <string>

#include "tests/support/test_rack.h"

namespace halveron::testing {
namespace {

constexpr const char* kPolarizer = "S921 Quad Mixing Polarizer";

struct PolarizerRig {
  PolarizerRig() : polarizer(rack.Add(kPolarizer)) {
    const float levels[] = {0.75f, 0.25f, 1.0f, 0.625f};  // 0.5, -0.5, 1, 0.25
    for (int i = 0; i < 4; ++i) {
      rack.SetControl(polarizer, "Level " + std::to_string(i + 1), levels[i]);
    }
  }
  void Feed(const std::string& input, float value) {
    rack.FeedConstant(polarizer, input, value);
    rack.Run(3);
  }
  float Out(const std::string& role) { return rack.Out(polarizer, role); }

  TestRack rack;
  Module& polarizer;
};

TEST(S921QuadMixingPolarizer, LanesOfAPairAreSeparateWhileTheFirstIsCabled) {
  PolarizerRig rig;
  rig.Feed("In 1", 0.5f);
  rig.Feed("In 2", 0.5f);
  EXPECT_EQ(rig.Out("Out 1"), 0.25f);
  EXPECT_EQ(rig.Out("Sum 1"), 0.75f);
  EXPECT_EQ(rig.Out("Out 2"), -0.25f);
  EXPECT_EQ(rig.Out("Sum 2"), -0.75f);
}

TEST(S921QuadMixingPolarizer, AFreeFirstKnobIsAnOffsetOfTheSecondLane) {
  PolarizerRig rig;
  rig.rack.Run(2);
  EXPECT_EQ(rig.Out("Out 1"), 0.0f);
  EXPECT_EQ(rig.Out("Sum 1"), 0.0f);
  EXPECT_EQ(rig.Out("Out 2"), 0.5f);
  EXPECT_EQ(rig.Out("Sum 2"), 0.0f);
  rig.Feed("In 4", 2.0f);
  EXPECT_EQ(rig.Out("Out 4"), 1.5f);
  EXPECT_EQ(rig.Out("Sum 4"), 1.75f);
  rig.Feed("In 1", 0.5f);
  EXPECT_EQ(rig.Out("Out 1"), 0.25f);
  rig.rack.Disconnect(rig.polarizer, "In 1");
  EXPECT_EQ(rig.Out("Out 1"), 0.0f) << "at once";
  EXPECT_EQ(rig.Out("Sum 1"), 0.0f);
}

TEST(S921QuadMixingPolarizer, MixesWhileAMixIsHeard) {
  PolarizerRig rig;
  for (int i = 1; i <= 4; ++i) rig.Feed("In " + std::to_string(i), 1.0f);
  EXPECT_EQ(rig.Out("Mix All"), 0.0f);
  Module& sink = rig.rack.Add("S815 InOut Connector");
  rig.rack.Connect(rig.polarizer, "Mix 2", sink, "In 1");
  rig.rack.Run(2);
  EXPECT_EQ(rig.Out("Mix 1"), 0.0f);
  EXPECT_EQ(rig.Out("Mix 2"), 1.25f);
  EXPECT_EQ(rig.Out("Mix All"), 1.25f);
  EXPECT_EQ(rig.Out("Sum All"), 2.5f);
  rig.rack.Disconnect(sink, "In 1");
  EXPECT_EQ(rig.Out("Mix 2"), 0.0f);
}

}  // namespace
}  // namespace halveron::testing
