#include <gtest/gtest.h>

#include "tests/support/test_rack.h"

namespace halveron::testing {
namespace {

constexpr const char* kInputs[] = {"In 1", "In 2", "In 3", "In 4"};
constexpr const char* kLevels[] = {"Level 1", "Level 2", "Level 3", "Level 4"};

/// The output that rests after constant inputs.
float Settled(TestRack& rack, Module& mixer, const float (&inputs)[4]) {
  for (int i = 0; i < 4; ++i) rack.FeedConstant(mixer, kInputs[i], inputs[i]);
  rack.Run(4);
  return rack.Out(mixer, "Out");
}

TEST(S102UnityMixer, SumsFromTheFourthInputDown) {
  // In float, 2^24 swallows a 1 that comes after it, but not a 2.
  TestRack rack(48000);
  Module& mixer = rack.Add("S102 Unity Mixer");
  EXPECT_EQ(Settled(rack, mixer, {0.0f, 0x1p24f, 1.0f, 1.0f}), 0x1p24f + 2.0f);
  EXPECT_EQ(Settled(rack, mixer, {1.0f, 1.0f, 1.0f, 0x1p24f}), 0x1p24f);
  EXPECT_EQ(Settled(rack, mixer, {-0x1p24f, 1.0f, 1.0f, 0x1p24f}), 0.0f);
}

TEST(S101Mixer, SumsEachLawInItsOrder) {
  TestRack rack(48000);
  Module& mixer = rack.Add("S101 Mixer");
  for (const char* level : kLevels) rack.SetControl(mixer, level, 1.0f);
  rack.SetControl(mixer, "Master", 1.0f);
  // In double, 2^53 swallows a 1. Square law: 2, 3, 4, 1. Linear: 4, 2, 3, 1.
  rack.SetControl(mixer, "Law", 1.0f);
  EXPECT_EQ(Settled(rack, mixer, {-0x1p53f, 1.0f, 1.0f, 0x1p53f}), 2.0f);
  EXPECT_EQ(Settled(rack, mixer, {-0x1p53f, 0x1p53f, 1.0f, 1.0f}), 0.0f);
  EXPECT_EQ(Settled(rack, mixer, {-0x1p53f, 1.0f, 0x1p53f, 1.0f}), 0.0f);
  rack.SetControl(mixer, "Law", 0.0f);
  EXPECT_EQ(Settled(rack, mixer, {-0x1p53f, 1.0f, 1.0f, 0x1p53f}), 0.0f);
  EXPECT_EQ(Settled(rack, mixer, {-0x1p53f, 1.0f, 0x1p53f, 1.0f}), 2.0f);
  EXPECT_EQ(Settled(rack, mixer, {-0x1p53f, 0x1p53f, 1.0f, 1.0f}), 0.0f);
}

TEST(S101Mixer, SquaresLevelsAtFullLawOnlyAndNeverTheMaster) {
  TestRack rack(48000);
  Module& mixer = rack.Add("S101 Mixer");
  const float levels[] = {0.5f, 0.25f, 0.75f, 0.125f}, inputs[] = {1.0f, -2.0f, 4.0f, 8.0f};
  rack.SetControl(mixer, "Master", 0.75f);
  float linear = 0.0f, square = 0.0f;
  for (int i = 0; i < 4; ++i) {
    rack.SetControl(mixer, kLevels[i], levels[i]);
    linear += levels[i] * inputs[i];
    square += levels[i] * levels[i] * inputs[i];
  }
  for (const float law : {0.0f, 0.5f, 0.999f, 1.0f}) {
    rack.SetControl(mixer, "Law", law);
    EXPECT_EQ(Settled(rack, mixer, {1.0f, -2.0f, 4.0f, 8.0f}),
              0.75f * (law == 1.0f ? square : linear));
  }
}

}  // namespace
}  // namespace halveron::testing
