#include <gtest/gtest.h>

#include "tests/support/midi_words.h"
#include "tests/support/test_rack.h"

namespace halveron::testing {
namespace {

struct Rig {
  void Play(std::vector<TimedWord> words) {
    rack.FeedMidi(module, "MIDI in", words);
    rack.Run(6000);
  }
  TestRack rack;
  Module& module = rack.Add("SD20 MIDI CC To CV Interface");
};

TEST(SD20MIDICCToCVInterface, LearnsTheNextControllerAndFollowsIt) {
  Rig rig;
  rig.rack.MoveControl(rig.module, "Learn 2", 1.0f);
  rig.rack.MoveControl(rig.module, "Learn 5", 1.0f);
  EXPECT_EQ(rig.rack.Control(rig.module, "Learn 2").getValue(), 0.0f) << "one waits at a time";
  rig.Play({{0, On(60)}, {1, Controller(74, 127, 9)}, {2, Controller(7, 64)}});
  EXPECT_EQ(rig.rack.Control(rig.module, "Learn 5").getValue(), 0.0f);
  EXPECT_FLOAT_EQ(rig.rack.Control(rig.module, "Controller 5").getValue(), 74.0f / 127.0f);
  EXPECT_EQ(rig.rack.Out(rig.module, "Out 5"), 1.0f);
  EXPECT_EQ(rig.rack.Out(rig.module, "Out 2"), 0.0f);
  rig.Play({{0, Controller(21, 127)}});
  EXPECT_EQ(rig.rack.Out(rig.module, "Out 2"), 1.0f) << "its first controller";
}

TEST(SD20MIDICCToCVInterface, PairsHalvesOnlyWhereAsked) {
  for (const bool pairs : {false, true}) {
    Rig rig;
    rig.rack.SetControl(rig.module, "Controller 1", 1.0f / 127.0f);
    rig.rack.SetControl(rig.module, "Controller 2", 70.0f / 127.0f);
    rig.rack.SetControl(rig.module, "14 bit", pairs ? 1.0f : 0.0f);
    rig.Play({{0, Controller(1, 100)},
              {1, Controller(33, 5)},
              {2, Controller(70, 100)},
              {3, Controller(102, 5)}});
    EXPECT_FLOAT_EQ(rig.rack.Out(rig.module, "Out 1"),
                    pairs ? (100 * 128 + 5) / 16383.0f : 100 / 127.0f);
    EXPECT_FLOAT_EQ(rig.rack.Out(rig.module, "Out 2"), 100 / 127.0f);
  }
}

TEST(SD20MIDICCToCVInterface, SmoothsWithTenMilliseconds) {
  Rig rig;
  rig.rack.Tap(rig.module, "Out 1");
  rig.Play({{0, Controller(20, 127)}});
  const auto& level = rig.rack.Recorded(rig.module, "Out 1");
  EXPECT_LT(level[0], 0.01f);
  EXPECT_NEAR(level[480], 1.0 - std::exp(-1.0), 0.01);
  EXPECT_EQ(level[5000], 1.0f);
}

}  // namespace
}  // namespace halveron::testing
