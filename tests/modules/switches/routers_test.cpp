// S806 and S810: what joins which points, and when it moves on.
#include <gtest/gtest.h>

#include "modules/switches/route_patterns.h"
#include "tests/modules/clocks/divider_rig.h"

namespace halveron::testing {
namespace {

/// A mixer whose output rests at a value, for points that go either way.
Module& Source(TestRack& rack, float value) {
  Module& mixer = rack.Add("S102 Unity Mixer");
  rack.FeedConstant(mixer, "In 1", value);
  return mixer;
}

TEST(S806VCSeqSw, StepsByClocksAndShiftsByVoltageBothWays) {
  TestRack rack;
  Module& scanner = rack.Add("S806 VC Sequential Switch");
  Module& sum = rack.Add("S102 Unity Mixer");
  for (int i = 0; i < 4; ++i) {
    rack.Connect(Source(rack, 0.1f * static_cast<float>(i + 1)), "Out", scanner,
                 "Port " + std::to_string(i + 1));
  }
  rack.Connect(scanner, "Common", sum, "In 1");
  const auto port = [&] {
    rack.Run(6);
    return static_cast<int>(rack.Out(sum, "Out") * 10.0f + 0.5f);
  };
  const auto pulse = [&](const char* input) {
    rack.FeedConstant(scanner, input, 1.0f);
    rack.Run(3);
    rack.FeedConstant(scanner, input, 0.0f);
    rack.Run(3);
  };
  EXPECT_EQ(port(), 1);
  pulse("Down");
  EXPECT_EQ(port(), 4);
  pulse("Up");
  pulse("Up");
  EXPECT_EQ(port(), 2);
  rack.FeedConstant(scanner, "Position CV", 0.5f);
  EXPECT_EQ(port(), 4);
  rack.FeedConstant(scanner, "Position CV", -0.5f);
  EXPECT_EQ(port(), 4);
  rack.FeedConstant(scanner, "Position CV", 0.0f);
  rack.FeedConstant(scanner, "Reset", 1.0f);
  pulse("Up");
  EXPECT_EQ(port(), 1);
}

TEST(S8104x4SequenceRouter, CrosspointsJoinRowsAndColumnsBothWaysAndSum) {
  TestRack rack;
  Module& router = rack.Add("S810 4x4 Sequence Router");
  Module& sum = rack.Add("S102 Unity Mixer");
  rack.Connect(Source(rack, 0.25f), "Out", router, "Row 1");
  rack.Connect(Source(rack, 0.5f), "Out", router, "Row 2");
  rack.Connect(router, "Column 3", sum, "In 1");
  const auto column = [&] {
    rack.Run(6);
    return rack.Out(sum, "Out");
  };
  EXPECT_EQ(column(), 0.0f);
  rack.MoveControl(router, "Crosspoint 1-3", 1.0f);
  EXPECT_EQ(column(), 0.25f);
  rack.MoveControl(router, "Crosspoint 2-3", 1.0f);
  EXPECT_EQ(column(), 0.75f);
}

TEST(S8104x4SequenceRouter, WalksItsPatternsAndKeepsThemInPresets) {
  TestRack rack;
  Module& router = rack.Add("S810 4x4 Sequence Router");
  const auto press = [&](const char* button) {
    rack.MoveControl(router, button, 1.0f);
    rack.MoveControl(router, button, 0.0f);
  };
  const auto shown = [&](Module& module) {
    return static_cast<int>(rack.Control(module, "Step").getValue());
  };
  // Three patterns, distinguished by a crosspoint on the diagonal.
  for (int i = 1; i <= 3; ++i) {
    if (i > 1) {
      press("Insert");
      rack.MoveControl(router, "Crosspoint " + std::to_string(i - 1) + "-" + std::to_string(i - 1),
                       0.0f);
    }
    rack.MoveControl(router, "Crosspoint " + std::to_string(i) + "-" + std::to_string(i), 1.0f);
  }
  EXPECT_EQ(shown(router), 2);
  rack.Feed(router, "Clock", Clocks(4, 6, 1));
  std::vector<int> walked;
  for (int i = 0; i < 4; ++i) {
    rack.Run(6);
    walked.push_back(shown(router));
  }
  EXPECT_EQ(walked, (std::vector<int>{0, 1, 2, 0}));
  EXPECT_EQ(rack.Control(router, "Crosspoint 1-1").getValue(), 1.0f);
  EXPECT_EQ(rack.Control(router, "Crosspoint 2-2").getValue(), 0.0f);
  rack.FeedConstant(router, "Step CV", 0.5f);  // of two steps
  rack.Run(4);
  EXPECT_EQ(shown(router), 1);

  const std::vector<std::byte> saved = rack.SavedPreset(router);
  Module& twin = rack.Add("S810 4x4 Sequence Router");
  twin.LoadPreset(saved.data(), static_cast<int>(saved.size()), 1000);
  EXPECT_EQ(shown(twin), 0);
  rack.MoveControl(twin, "Up", 1.0f);
  EXPECT_EQ(rack.Control(twin, "Crosspoint 2-2").getValue(), 1.0f);
  rack.MoveControl(twin, "Delete", 1.0f);
  EXPECT_EQ(rack.Control(twin, "Crosspoint 3-3").getValue(), 1.0f);
}

TEST(RoutePatterns, InsertUpToAHundredAndDeleteDownToOne) {
  RoutePatterns list;
  list.Set(0, 5, true);
  int inserted = 0;
  while (list.Insert(0)) ++inserted;
  EXPECT_EQ(inserted, 99);
  EXPECT_TRUE(list.Has(99, 1, 1));
  for (int i = 0; i < 120; ++i) list.Delete(0);
  EXPECT_EQ(list.lastStep, 0);
  EXPECT_FALSE(list.Has(0, 1, 1));
}

}  // namespace
}  // namespace halveron::testing
