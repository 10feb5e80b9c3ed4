#include "modules/mixers/S103MatrixMixerVCA.h"

#include <gtest/gtest.h>

#include <array>
#include <set>
#include <string>

#include "tests/support/test_rack.h"

namespace halveron::testing {
namespace {

class S103Test : public ::testing::Test {
 protected:
  static std::string Cell(const char* stem, int row, int column) {
    return std::string(stem) + ' ' + std::to_string(row) + '-' + std::to_string(column);
  }
  float Crosspoint(int row, int column) {
    return rack.Control(mixer, Cell("Crosspoint", row, column)).getValue();
  }
  void SetCrosspoint(int row, int column, float value) {
    rack.SetControl(mixer, Cell("Crosspoint", row, column), value);
  }
  void Press(const char* button) {
    rack.MoveControl(mixer, button, 1.0f);
    rack.MoveControl(mixer, button, 0.0f);
  }
  float Out(const char* output) {
    rack.Run(4);
    return rack.Out(mixer, output);
  }

  TestRack rack{48000};
  Module& mixer = rack.Add("S103 Matrix Mixer/VCA");
};

TEST_F(S103Test, SumsByCrosspointsVoltagesAndMaster) {
  rack.FeedConstant(mixer, "In 1", 1.0f);
  rack.FeedConstant(mixer, "In 3", 0.5f);
  SetCrosspoint(1, 2, 0.5f);
  SetCrosspoint(3, 2, 1.0f);
  EXPECT_EQ(Out("Out 2"), 1.0f);
  EXPECT_EQ(Out("Out 1"), 0.0f);
  rack.FeedConstant(mixer, "CV 3-2", 3.0f);
  EXPECT_EQ(Out("Out 2"), 2.0f);
  rack.FeedConstant(mixer, "CV 3-2", -3.0f);
  EXPECT_EQ(Out("Out 2"), 0.5f) << "an amplifier mutes at a negative voltage";
  rack.SetControl(mixer, "Master", 0.25f);
  EXPECT_EQ(Out("Out 2"), 0.25f);
  rack.SetControl(mixer, "Master", 1.0f);
  EXPECT_EQ(Out("Out 2"), 2.0f);

  // The change keeps what crosspoints do: 0.5 becomes 0.75, and 0 the middle.
  rack.SetControl(mixer, "Master", 0.5f);
  rack.MoveControl(mixer, "Polarity", 0.0f);
  EXPECT_EQ(Crosspoint(1, 2), 0.75f);
  EXPECT_EQ(Crosspoint(1, 1), 0.5f);
  EXPECT_EQ(Out("Out 1"), 0.0f) << "at once";
  rack.Run(48000);
  EXPECT_EQ(Out("Out 2"), 0.5f - 1.5f) << "a bipolar one turns over";
  SetCrosspoint(1, 2, 0.0f);
  EXPECT_EQ(Out("Out 2"), -1.0f - 1.5f);
  rack.MoveControl(mixer, "Polarity", 1.0f);
  EXPECT_EQ(Crosspoint(1, 2), 1.0f) << "a magnitude is left";
}

TEST_F(S103Test, LimitsAndHoldsTheLamp) {
  SetCrosspoint(4, 4, 1.0f);
  rack.SetControl(mixer, "Master", 1.0f);
  rack.FeedConstant(mixer, "In 4", 0.5f);
  rack.Run(64);
  EXPECT_EQ(rack.Control(mixer, "Clip LED").getValue(), 0.0f);
  rack.FeedConstant(mixer, "In 4", -2.0f);
  EXPECT_EQ(Out("Out 4"), -4.0f);
  EXPECT_EQ(rack.Control(mixer, "Clip LED").getValue(), 1.0f);
  rack.FeedConstant(mixer, "In 4", 0.0f);
  rack.Run(9000);
  EXPECT_EQ(rack.Control(mixer, "Clip LED").getValue(), 1.0f);
  rack.Run(700);
  EXPECT_EQ(rack.Control(mixer, "Clip LED").getValue(), 0.0f) << "0.2 s are 9600 samples";
}

TEST_F(S103Test, RotatesAndRandomises) {
  std::array<std::array<float, 5>, 5> grid{};
  for (int i = 1; i <= 4; ++i) {
    for (int o = 1; o <= 4; ++o) {
      grid[i][o] = static_cast<float>(i * 10 + o) / 64.0f;
      SetCrosspoint(i, o, grid[i][o]);
    }
  }
  Press("Rotate left");
  EXPECT_EQ(Crosspoint(2, 1), grid[2][2]);
  EXPECT_EQ(Crosspoint(2, 4), grid[2][1]);
  Press("Rotate right");
  Press("Rotate up");
  EXPECT_EQ(Crosspoint(1, 3), grid[2][3]);
  EXPECT_EQ(Crosspoint(4, 3), grid[1][3]);
  for (int turn = 0; turn < 3; ++turn) Press("Rotate up");
  for (int i = 1; i <= 4; ++i) {
    for (int o = 1; o <= 4; ++o) EXPECT_EQ(Crosspoint(i, o), grid[i][o]);
  }
  Press("Rotate down");
  EXPECT_EQ(Crosspoint(1, 3), grid[4][3]);

  Press("Randomise");
  std::set<float> values;
  for (int i = 1; i <= 4; ++i) {
    for (int o = 1; o <= 4; ++o) {
      values.insert(Crosspoint(i, o));
      EXPECT_TRUE(Crosspoint(i, o) >= 0.0f && Crosspoint(i, o) <= 1.0f);
    }
  }
  EXPECT_EQ(values.size(), 16u);
  rack.FeedConstant(mixer, "In 3", 1.0f);
  rack.Run(96000);
  EXPECT_NEAR(Out("Out 2"), Crosspoint(3, 2), 1e-6f) << "the knobs glide to their new values";
}

TEST_F(S103Test, APresetKeepsCrosspointsOfItsPolarity) {
  rack.SetControl(mixer, "Polarity", 0.0f);
  SetCrosspoint(2, 3, 0.125f);
  for (int i = 1; i <= 4; ++i) SetCrosspoint(i, 4, 0.2f * static_cast<float>(i));
  rack.MoveControl(mixer, "Rotate up", 1.0f);
  rack.MoveControl(mixer, "Rotate up", 0.0f);
  const std::vector<std::byte> saved = rack.SavedPreset(mixer);
  Module& twin = rack.Add("S103 Matrix Mixer/VCA");
  twin.LoadPreset(saved.data(), static_cast<int>(saved.size()), 1000);
  EXPECT_EQ(rack.SavedPreset(twin), saved);
  rack.FeedConstant(twin, "In 1", 1.0f);
  rack.Run(4);
  EXPECT_EQ(rack.Out(twin, "Out 3"), -0.75f);
}

}  // namespace
}  // namespace halveron::testing
