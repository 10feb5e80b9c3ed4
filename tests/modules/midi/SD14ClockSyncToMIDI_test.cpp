#include <gtest/gtest.h>

#include <random>
#include <vector>

#include "modules/midi/SD14ClockSyncToMIDIKernel.h"

namespace halveron {
namespace {

TEST(SD14ClockSyncToMIDI, SendsItsTicksPerClockUnderJitter) {
  for (const int ticks : {1, 3, 6, 12, 24}) {
    for (const int jitter : {0, 40}) {
      SD14ClockSyncToMIDIKernel kernel;
      kernel.ticksPerClock = ticks;
      std::mt19937 random(2);
      int sent = 0;
      constexpr int kClocks = 100;
      for (int clock = 0; clock < kClocks + 2; ++clock) {
        const int period = 2400 + static_cast<int>(random() % (2u * jitter + 1)) - jitter;
        for (int i = 0; i < period; ++i) {
          const MidiCableWord word = kernel.Step(i < 100 ? 1.0f : 0.0f, 0.0f);
          if (word.IsNone()) continue;
          EXPECT_EQ(word.Status(), 0xF8);
          if (clock >= 2) ++sent;  // the pace is known after one period
        }
      }
      // A period that is longer than the last by a tick's length gets one more.
      EXPECT_NEAR(sent, ticks * kClocks, jitter == 0 ? 0 : ticks * kClocks / 20) << ticks;
    }
  }
}

TEST(SD14ClockSyncToMIDI, RunStartsStopsAndGivesWayToTicks) {
  SD14ClockSyncToMIDIKernel kernel;
  EXPECT_EQ(kernel.Step(0, 0.25f).Status(), 0xFA);
  EXPECT_TRUE(kernel.Step(0, 1.0f).IsNone());
  EXPECT_EQ(kernel.Step(0, 0.2f).Status(), 0xFC);
  kernel.continues = true;
  EXPECT_EQ(kernel.Step(0, 1.0f).Status(), 0xFB);
  // A fall on the sample of a tick is lost.
  kernel.phase = 0.75;
  EXPECT_EQ(kernel.Step(1.0f, 0.0f).Status(), 0xF8);
  EXPECT_TRUE(kernel.Step(1.0f, 0.0f).IsNone());
  // Without its cable the clock does not go on.
  kernel.increment = 0.5;
  kernel.StopClock();
  for (int i = 0; i < 100; ++i) EXPECT_TRUE(kernel.Step(0.0f, 0.0f).IsNone());
}

}  // namespace
}  // namespace halveron
