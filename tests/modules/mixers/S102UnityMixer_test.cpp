#include <gtest/gtest.h>

#include "tests/modules/mixers/settled_mixer.h"

namespace halveron::testing {
namespace {

TEST(S102UnityMixer, SumsFromTheFourthInputDown) {
  // In float, 2^24 swallows a 1 that comes after it, but not a 2.
  TestRack rack(48000);
  Module& mixer = rack.Add("S102 Unity Mixer");
  EXPECT_EQ(Settled(rack, mixer, {0.0f, 0x1p24f, 1.0f, 1.0f}), 0x1p24f + 2.0f);
  EXPECT_EQ(Settled(rack, mixer, {1.0f, 1.0f, 1.0f, 0x1p24f}), 0x1p24f);
  EXPECT_EQ(Settled(rack, mixer, {-0x1p24f, 1.0f, 1.0f, 0x1p24f}), 0.0f);
}

}  // namespace
}  // namespace halveron::testing
