// S913: octaves and semitones.
#include <gtest/gtest.h>

#include <string>

#include "tests/support/test_rack.h"

namespace halveron::testing {
namespace {

TEST(S913PitchTranspose, ShiftsByWholeOctavesAndSemitones) {
  TestRack rack;
  Module& transpose = rack.Add("S913 Pitch Transpose");
  for (int lane = 1; lane <= 5; ++lane) {
    const std::string number = std::to_string(lane);
    rack.FeedConstant(transpose, "In " + number, 0.2f);
    rack.Run(3);
    EXPECT_EQ(rack.Out(transpose, "Out " + number), 0.2f) << "nothing at the middle";
    for (int step = 0; step <= 12; ++step) {
      rack.SetControl(transpose, "Transpose " + number, static_cast<float>(step) / 12.0f);
      rack.Run(1);
      const double unit = lane <= 2 ? 0.1 : 0.1 / 12;
      EXPECT_NEAR(rack.Out(transpose, "Out " + number), 0.2 + (step - 6) * unit, 1e-6)
          << number << ", step " << step;
    }
  }
}

}  // namespace
}  // namespace halveron::testing
