#include <gtest/gtest.h>

#include <bit>

#include "modules/midi/SD23MIDINoteToTriggerKernel.h"
#include "tests/modules/midi/note_streams.h"
#include "tests/support/test_rack.h"

namespace halveron::testing {
namespace {

TEST(SD23MIDINoteToTriggerKernel, CountsKeysOrWhiteKeysFromTheBase) {
  struct Case {
    bool white;
    int base, key, output;  // output -1: none
  };
  for (const Case& c : {Case{false, 60, 60, 0}, Case{false, 60, 71, 11}, Case{false, 60, 72, -1},
                        Case{false, 60, 59, -1}, Case{true, 60, 62, 1}, Case{true, 60, 72, 7},
                        Case{true, 60, 79, 11}, Case{true, 60, 81, -1}, Case{true, 64, 65, 1},
                        Case{true, 61, 62, 1}, Case{true, 59, 60, 1}}) {
    SD23MIDINoteToTriggerKernel kernel;
    kernel.whiteKeys = c.white;
    kernel.SetBase(c.base);
    kernel.Take(On(c.key));
    EXPECT_EQ(kernel.high, c.output < 0 ? 0u : 1u << c.output) << c.base << " to " << c.key;
    kernel.Take(On(c.key, 0));
    EXPECT_EQ(kernel.high, 0u);
  }
}

TEST(SD23MIDINoteToTrigger, LearnsItsBase) {
  TestRack rack;
  Module& module = rack.Add("SD23 MIDI Note To Trigger");
  rack.SetControl(module, "White keys", 1.0f);
  rack.FeedMidi(module, "MIDI in", {{0, On(64)}});
  rack.Run(16);
  EXPECT_EQ(rack.Out(module, "Out 3"), 1.0f);
  EXPECT_EQ(rack.Control(module, "Lamp 3").getValue(), 1.0f);
  rack.MoveControl(module, "Learn", 1.0f);
  rack.FeedMidi(module, "MIDI in", {{0, On(49)}, {1, On(50)}});
  rack.Run(16);
  EXPECT_EQ(rack.Control(module, "Learn").getValue(), 0.0f);
  EXPECT_FLOAT_EQ(rack.Control(module, "Base note").getValue(), 48.0f / 127.0f) << "49 is black";
  EXPECT_EQ(rack.Out(module, "Out 1"), 1.0f);
  EXPECT_EQ(rack.Out(module, "Out 2"), 1.0f);
  EXPECT_EQ(rack.Out(module, "Out 3"), 0.0f);
  rack.SetControl(module, "Channel", 2.0f / 16.0f);
  EXPECT_EQ(rack.Out(module, "Out 1"), 0.0f) << "nobody would end it";
  rack.FeedMidi(module, "MIDI in", {{0, On(48)}, {1, On(50, 1, 1)}});
  rack.Run(16);
  EXPECT_EQ(rack.Out(module, "Out 1"), 0.0f);
  EXPECT_EQ(rack.Out(module, "Out 2"), 1.0f);
  rack.Disconnect(module, "MIDI in");
  EXPECT_EQ(rack.Out(module, "Out 2"), 0.0f);
}

}  // namespace
}  // namespace halveron::testing
