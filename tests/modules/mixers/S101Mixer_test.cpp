#include <gtest/gtest.h>

#include "tests/modules/mixers/settled_mixer.h"

namespace halveron::testing {
namespace {

constexpr const char* kLevels[] = {"Level 1", "Level 2", "Level 3", "Level 4"};

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
