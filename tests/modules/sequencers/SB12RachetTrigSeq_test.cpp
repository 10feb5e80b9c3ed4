#include <gtest/gtest.h>

#include <vector>

#include "tests/modules/clocks/divider_rig.h"

namespace halveron::testing {
namespace {

/// Samples at which an output rises.
std::vector<int> Rises(const std::vector<float>& recorded) {
  std::vector<int> rises;
  for (std::size_t i = 0; i < recorded.size(); ++i) {
    if (recorded[i] > 0.5f && (i == 0 || recorded[i - 1] <= 0.5f)) {
      rises.push_back(static_cast<int>(i));
    }
  }
  return rises;
}

class SB12 : public ::testing::Test {
 protected:
  SB12() {
    for (int i = 0; i < 16; ++i) {
      rack.SetControl(sequencer, "Step " + std::to_string(i + 1), 0.0f);
    }
    for (const char* out : {"Row 1", "Row 2", "Row 3", "Row 4", "All"}) rack.Tap(sequencer, out);
  }

  TestRack rack{48000};
  Module& sequencer{rack.Add("SB12 Ratcheting Trigger Sequencer")};
};

TEST_F(SB12, DividesEachClockIntoTheCountOfItsStep) {
  rack.MoveControl(sequencer, "Length", 1.0f);
  rack.SetControl(sequencer, "Step 1", 0.4f);  // row 1
  rack.SetControl(sequencer, "Step 6", 0.3f);  // row 2
  rack.SetControl(sequencer, "Pulse width", 0.25f);
  rack.Feed(sequencer, "Clock", Clocks(13, 1200));
  rack.Run(13 * 1200);
  // The second walk: by then the clock's pace is known.
  const auto risesFrom = [&](const char* row, int start) {
    std::vector<int> rises = Rises(rack.Recorded(sequencer, row));
    std::erase_if(rises, [start](int sample) { return sample < start; });
    rises.resize(4);
    return rises;
  };
  const std::vector<int> four = risesFrom("Row 1", 4 * 1200);
  const std::vector<int> three = risesFrom("Row 2", 5 * 1200);
  for (int i = 0; i < 4; ++i) EXPECT_NEAR(four[i], 4 * 1200 + i * 300, 2);
  for (int i = 0; i < 3; ++i) EXPECT_NEAR(three[i], 5 * 1200 + i * 400, 2);
  EXPECT_TRUE(Rises(rack.Recorded(sequencer, "Row 3")).empty());
}

TEST_F(SB12, ALoadedPresetRatchetsRightlyFromTheFirstClockOn) {
  rack.SetControl(sequencer, "Step 2", 0.4f);
  rack.Feed(sequencer, "Clock", Clocks(16, 1200));
  rack.Run(16 * 1200);
  const std::vector<std::byte> saved = rack.SavedPreset(sequencer);
  Module& twin = rack.Add("SB12 Ratcheting Trigger Sequencer");
  twin.LoadPreset(saved.data(), static_cast<int>(saved.size()), 1001);
  rack.Feed(twin, "Clock", Clocks(1, 1200, 3));
  rack.Tap(twin, "Row 1");
  rack.Run(1200);
  const std::vector<int> rises = Rises(rack.Recorded(twin, "Row 1"));
  ASSERT_EQ(rises.size(), 4u);
  for (int i = 0; i < 4; ++i) EXPECT_NEAR(rises[i], 3 + i * 300, 8);
}

TEST_F(SB12, ShortensTheLastPulseOfAGroupAndRunsByItsOwnRate) {
  rack.MoveControl(sequencer, "Length", 1.0f);
  for (int i = 0; i < 4; ++i) {
    rack.SetControl(sequencer, "Step " + std::to_string(i + 1), 0.4f);
  }
  rack.SetControl(sequencer, "Rate", 0.5f);     // 5 steps a second: 9600 samples each
  rack.SetControl(sequencer, "Group", 0.5f);    // groups of four
  rack.SetControl(sequencer, "Shorten", 0.5f);  // the last pulse begins half a pulse late
  rack.Run(2 * 9600 + 100);
  const std::vector<int> rises = Rises(rack.Recorded(sequencer, "Row 1"));
  ASSERT_GE(rises.size(), 4u);
  EXPECT_NEAR(rises[1] - rises[0], 2400, 3);
  EXPECT_NEAR(rises[2] - rises[0], 4800, 3);
  EXPECT_NEAR(rises[3] - rises[0], 7200 + 1200, 3);
}

TEST_F(SB12, OnlyTheRowOfTheHeadSoundsAndAResetGoesToTheStart) {
  for (int i = 0; i < 16; ++i) {
    rack.SetControl(sequencer, "Step " + std::to_string(i + 1), 0.1f);
  }
  std::vector<float> reset(20 * 100, 0.0f);
  reset[550] = 1.0f;
  rack.Feed(sequencer, "Clock", Clocks(20, 100));
  rack.Feed(sequencer, "Reset", reset);
  rack.Run(2000);
  // The walk began on step 1, so that row 2 is reached with the fourth clock; after the reset, with
  // the fifth clock from there.
  const std::vector<int> rises = Rises(rack.Recorded(sequencer, "Row 2"));
  ASSERT_GE(rises.size(), 3u);
  EXPECT_EQ(rises[0], 300);
  EXPECT_EQ(rises[3], 1000);
}

}  // namespace
}  // namespace halveron::testing
