#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>
#include <utility>
#include <vector>

#include "framework/signal.h"
#include "tests/modules/clocks/divider_rig.h"

namespace halveron::testing {
namespace {

class SB11 : public ::testing::Test {
 protected:
  SB11() {
    for (int i = 0; i < 16; ++i) {
      rack.SetControl(sequencer, "Step " + std::to_string(i + 1), static_cast<float>(i) / 16.0f);
    }
  }
  /// The number of the step whose voltage an output holds, unquantised over an octave.
  int StepOn(const char* row) {
    return static_cast<int>(std::lround(rack.Out(sequencer, row) / 0.1f * 16.0f));
  }

  TestRack rack{48000};
  Module& sequencer{rack.Add("SB11 CV Sequencer")};
};

TEST_F(SB11, PlaysSixteenStepsByTheClockAndResetsToBeforeTheFirst) {
  rack.SetControl(sequencer, "Quantise", 1.0f);
  rack.Feed(sequencer, "Clock", Clocks(40, 50, 10));
  std::vector<float> reset(40 * 50, 0.0f);
  for (int i = 20 * 50; i < 22 * 50 + 10; ++i) reset[static_cast<std::size_t>(i)] = 1.0f;
  rack.Feed(sequencer, "Reset", reset);
  std::vector<int> steps;
  for (int clock = 0; clock < 40; ++clock) {
    rack.Run(50);
    steps.push_back(StepOn("Row 4"));
  }
  for (int clock = 0; clock < 18; ++clock) EXPECT_EQ(steps[clock], (clock + 1) % 16) << clock;
  EXPECT_EQ(steps[20], 15);  // the step touched last, while the reset is held
  for (int clock = 22; clock < 38; ++clock) EXPECT_EQ(steps[clock], (clock - 22) % 16) << clock;
}

TEST_F(SB11, ShowsTheStepTouchedLastWithoutAClock) {
  rack.Tap(sequencer, "Gate");
  rack.MoveControl(sequencer, "Step 6", 1.0f);
  rack.Run(10);
  for (const char* row : {"Row 1", "Row 2", "Row 3", "Row 4"}) {
    EXPECT_EQ(rack.Out(sequencer, row), static_cast<float>(12 * kPitchPerSemitone)) << row;
  }
  EXPECT_EQ(rack.Control(sequencer, "LED 6").getValue(), 1.0f);
  // 0.99 of 12 semitones is 11, offset by the knob's end of 6.
  rack.MoveControl(sequencer, "Step 6", 0.99f);
  rack.SetControl(sequencer, "Offset", 1.0f);
  rack.MoveControl(sequencer, "Offset", 1.0f);
  rack.Run(10);
  EXPECT_NEAR(rack.Out(sequencer, "Row 1"), 17 * kPitchPerSemitone, 1e-6);
  rack.MoveControl(sequencer, "Range", 1.0f);
  rack.Run(10);
  EXPECT_NEAR(rack.Out(sequencer, "Row 1"), (59 + 6) * kPitchPerSemitone, 1e-6);
}

TEST_F(SB11, GatesLastTheirShareOfTheClockAndDropForASampleWhenStillHigh) {
  rack.SetControl(sequencer, "Gate length", 1.0f);
  std::vector<float> clocks = Clocks(5, 1000);
  clocks[4000 + 500] = 1.0f;  // while the gate is still high
  rack.Feed(sequencer, "Clock", clocks);
  rack.Tap(sequencer, "Gate");
  rack.Run(5000);
  const std::vector<float>& gate = rack.Recorded(sequencer, "Gate");
  EXPECT_EQ(gate[3000], 1.0f);
  EXPECT_EQ(gate[3000 + 949], 1.0f);
  EXPECT_EQ(gate[3000 + 953], 0.0f);
  EXPECT_EQ(gate[4499], 1.0f);
  EXPECT_EQ(gate[4500], 0.0f);
  EXPECT_EQ(gate[4501], 1.0f);

  // A loaded preset knows the period from the first step on.
  const std::vector<std::byte> saved = rack.SavedPreset(sequencer);
  Module& twin = rack.Add("SB11 CV Sequencer");
  twin.LoadPreset(saved.data(), static_cast<int>(saved.size()), 1001);
  EXPECT_EQ(rack.SavedPreset(twin), saved);
  rack.Feed(twin, "Clock", Clocks(1, 1000, 2));
  rack.Tap(twin, "Gate");
  rack.Run(1000);
  const std::vector<float>& first = rack.Recorded(twin, "Gate");
  EXPECT_NEAR(std::count(first.begin(), first.end(), 1.0f), 0.95 * 500, 5);
}

TEST_F(SB11, QuantisesEveryPositionToItsOwnSemitone) {
  for (const auto& [range, semitones] : {std::pair{0.0f, 12}, {0.5f, 36}, {1.0f, 60}}) {
    rack.MoveControl(sequencer, "Range", range);
    for (int n = 0; n <= semitones; ++n) {
      rack.MoveControl(sequencer, "Step 1", static_cast<float>(n) / static_cast<float>(semitones));
      EXPECT_NEAR(rack.Out(sequencer, "Row 1"), n * kPitchPerSemitone, 1e-6) << n;
    }
  }
}

TEST_F(SB11, LengthSwitchPlaysRowsTogetherAndPresetsKeepTheirPlace) {
  rack.SetControl(sequencer, "Quantise", 1.0f);
  rack.MoveControl(sequencer, "Length", 1.0f);
  rack.Feed(sequencer, "Clock", Clocks(3, 20, 5));
  rack.Run(60);
  EXPECT_EQ(StepOn("Row 2"), 6);
  EXPECT_EQ(StepOn("Row 4"), 14);
  const std::vector<std::byte> saved = rack.SavedPreset(sequencer);
  Module& twin = rack.Add("SB11 CV Sequencer");
  twin.LoadPreset(saved.data(), static_cast<int>(saved.size()), 1001);
  EXPECT_EQ(rack.Control(twin, "LED 7").getValue(), 1.0f);
  EXPECT_EQ(rack.Control(twin, "LED 15").getValue(), 1.0f);
  EXPECT_EQ(rack.Control(twin, "LED 1").getValue(), 0.0f);
}

}  // namespace
}  // namespace halveron::testing
