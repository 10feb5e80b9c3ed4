// MIDI through the rack from host to host.
#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>
#include <cstring>
#include <limits>
#include <numeric>
#include <random>
#include <vector>

#include "tests/modules/daw/host_events.h"
#include "tests/support/test_rack.h"

namespace halveron::testing {
namespace {

TEST(BridgeModules, EventsGoThroughTheRackAndBack) {
  TestRack rack(10000);
  Module& from = rack.Add("SA03 MIDI/Sync From DAW");
  Module& to = rack.Add("SA06 MIDI To DAW");
  rack.SetControl(to, "SysEx limit", 1.0f);
  rack.Connect(from, "MIDI", to, "MIDI");
  // The cable takes a sample, and the first sample of a block is frame 1.
  rack.SendEvent(5, {0x90, 60, 100, 3});
  rack.SendEvent(62, {0xB0, 7, 1, 0});
  rack.RunBlock(64);
  ASSERT_EQ(rack.sentEvents.size(), 2u);
  EXPECT_EQ(rack.sentEvents[0].deltaFrames, 7);
  EXPECT_EQ(rack.sentEvents[0].bytes, (Bytes{0x90, 60, 100, 3}));
  EXPECT_EQ(rack.sentEvents[1].deltaFrames, 64);

  // Lamps are held for 0.1 s from the last word.
  const auto lamp = [&](Module& module, const char* role) {
    return rack.Control(module, role).getValue();
  };
  rack.RunBlock(998);
  EXPECT_EQ(lamp(from, "MIDI lamp"), 1.0f);
  rack.RunBlock(1);
  EXPECT_EQ(lamp(from, "MIDI lamp"), 0.0f);
  EXPECT_EQ(lamp(to, "Activity LED"), 1.0f);
  rack.RunBlock(1);
  EXPECT_EQ(lamp(to, "Activity LED"), 0.0f);

  // More than a batch holds, and dumps of all lengths, in one go.
  rack.sentEvents.clear();
  std::vector<Bytes> expected;
  for (int i = 0; i < 120; ++i) expected.push_back({0x80, static_cast<unsigned char>(i), 1, 0});
  for (int size = 2; size < 600; size += 13) expected.push_back(DumpOf(size));
  for (const Bytes& bytes : expected) rack.SendEvent(0, bytes);
  rack.RunBlock(100);
  EXPECT_EQ(rack.sentEvents.size(), 99u);
  for (int i = 0; i < 100; ++i) rack.RunBlock(64);
  ASSERT_EQ(rack.sentEvents.size(), expected.size());
  for (std::size_t i = 0; i < expected.size(); ++i) {
    ASSERT_EQ(rack.sentEvents[i].bytes, expected[i]) << i;
  }

  // What a cable left behind in mid-dump is not mixed into what the next one brings.
  rack.sentEvents.clear();
  rack.SendEvent(0, {0xF0, 1, 2});
  rack.RunBlock(64);
  rack.Disconnect(to, "MIDI");
  EXPECT_EQ(lamp(to, "Activity LED"), 0.0f);
  rack.Connect(from, "MIDI", to, "MIDI");
  for (int i = 0; i < 16; ++i) rack.SendEvent(0, {0xF0, 9, 0xF7});
  rack.RunBlock(64);
  ASSERT_EQ(rack.sentEvents.size(), 16u);
  EXPECT_EQ(rack.sentEvents.back().bytes, (Bytes{0xF0, 9, 0xF7}));
}

TEST(BridgeModules, DumpsAreTimedAndCutByTheKnob) {
  const int limits[] = {25, 50, 100, 150, 250, 500};
  for (int position = 0; position < 6; ++position) {
    TestRack rack;
    Module& from = rack.Add("SA03 MIDI/Sync From DAW");
    Module& to = rack.Add("SA06 MIDI To DAW");
    rack.Connect(from, "MIDI", to, "MIDI");
    if (position != 4) rack.SetControl(to, "SysEx limit", (position + 0.5f) / 6.0f);
    rack.SendEvent(10, DumpOf(600));
    for (int i = 0; i < 10; ++i) rack.RunBlock(64);
    ASSERT_FALSE(rack.sentEvents.empty());
    const int size = static_cast<int>(rack.sentEvents[0].bytes.size());
    EXPECT_GT(size, limits[position]);
    EXPECT_LE(size, limits[position] + 3);
    // Long ones end in a later block than they begin in, and are timed by its first sample.
    EXPECT_EQ(rack.sentEvents[0].deltaFrames, limits[position] > 150 ? 1 : 12);
  }
}

TEST(BridgeModules, OversamplingKeepsEventsOnTheirHostSample) {
  TestRack rack;
  rack.engine.oversamplingFactor = rack.engine.oversamplingSteps = 4;
  rack.engine.setSampleRate(48000);
  Module& from = rack.Add("SA03 MIDI/Sync From DAW");
  Module& to = rack.Add("SA06 MIDI To DAW");
  rack.Connect(from, "MIDI", to, "MIDI");
  for (const int frame : {0, 20, 20, 63}) rack.SendEvent(frame, {0x90, 60, 100, 0});
  rack.RunBlock(64);
  ASSERT_EQ(rack.sentEvents.size(), 4u);
  EXPECT_EQ(rack.sentEvents[0].deltaFrames, 1);
  EXPECT_EQ(rack.sentEvents[1].deltaFrames, 21);
  EXPECT_EQ(rack.sentEvents[2].deltaFrames, 21);
  EXPECT_EQ(rack.sentEvents[3].deltaFrames, 64);
}

TEST(BridgeModules, ClocksFollowKnobAndHost) {
  for (std::size_t position = 0; position < kTicksPerQuarter.size(); ++position) {
    TestRack rack;
    rack.host = {100.0, 0.0, true, true};
    Module& locked = rack.Add("SA03 MIDI/Sync From DAW");
    Module& free = rack.Add("SA04 Tempo From DAW");
    for (Module* module : {&locked, &free}) {
      if (position != 4) rack.SetControl(*module, "Resolution", 0.25f * position + 0.01f);
      rack.Tap(*module, "Clock");
    }
    rack.Run(28800 * 4 - 100);  // four quarters
    const std::size_t ticks = static_cast<std::size_t>(kTicksPerQuarter[position]) * 4;
    EXPECT_EQ(Pulses(rack.Recorded(locked, "Clock")).size(), ticks);
    EXPECT_EQ(Pulses(rack.Recorded(free, "Clock")).size(), ticks - 1);
  }

  // Levels and lamps of the transport, also over a preset and where the host falls silent.
  TestRack rack;
  Module& module = rack.Add("SA03 MIDI/Sync From DAW");
  const auto levels = [&] {
    return std::pair(rack.Out(module, "Stop"), rack.Control(module, "Stop lamp").getValue());
  };
  EXPECT_EQ(levels(), std::pair(1.0f, 1.0f));
  const auto stopped = rack.SavedPreset(module);
  rack.host.playing = true;
  rack.Run(64);
  EXPECT_EQ(levels(), std::pair(0.0f, 0.0f));
  EXPECT_EQ(rack.Control(module, "Clock lamp").getValue(), 1.0f);
  module.LoadPreset(stopped.data(), static_cast<int>(stopped.size()), 1000);
  EXPECT_EQ(levels(), std::pair(0.0f, 0.0f));
  EXPECT_EQ(rack.Control(module, "Clock lamp").getValue(), 1.0f);
  rack.host.answersTimeInfo = false;
  rack.Run(64);
  EXPECT_EQ(levels(), std::pair(0.2f, 0.5f));
}

}  // namespace
}  // namespace halveron::testing
