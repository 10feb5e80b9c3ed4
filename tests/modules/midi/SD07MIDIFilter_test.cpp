#include <gtest/gtest.h>

#include "modules/midi/SD07MIDIFilterKernel.h"
#include "tests/modules/midi/note_streams.h"
#include "tests/support/test_rack.h"

namespace halveron::testing {
namespace {

TEST(SD07MIDIFilterKernel, EachFlagHoldsBackItsOwnClass) {
  const std::vector<std::pair<int, int>> classes = {
      {0x80, 0}, {0x9F, 0}, {0xB0, 1}, {0xE3, 2}, {0xA0, 3}, {0xD0, 4},  {0xC1, 5},
      {1, 6},    {16, 6},   {0xF0, 6}, {0xF7, 6}, {0xF9, 7}, {0xFA, 7},  {0xFC, 7},
      {0xFF, 7}, {0xF2, 8}, {0xF3, 8}, {0xF1, 9}, {0xF8, 9}, {0xF4, 10}, {0xF6, 10}};
  for (const auto& [status, flag] : classes) {
    for (int off = 0; off < SD07MIDIFilterKernel::kClasses; ++off) {
      SD07MIDIFilterKernel kernel;
      kernel.passes[static_cast<std::size_t>(off)] = false;
      EXPECT_EQ(kernel.Passes(Word::FromBytes(static_cast<unsigned>(status), 1, 1)), off != flag)
          << std::hex << status << ", flag " << off;
    }
  }
  SD07MIDIFilterKernel kernel;
  kernel.channelFilter = 3;
  EXPECT_TRUE(kernel.Passes(On(60, 1, 3)));
  EXPECT_FALSE(kernel.Passes(On(60, 1, 2)));
  EXPECT_TRUE(kernel.Passes(Word::FromBytes(0xF8, 0, 0)));
  EXPECT_TRUE(kernel.Passes(Word::FromBytes(1, 0xF0, 0xF4)));
}

TEST(SD07MIDIFilter, SplitsAStreamWithoutLoss) {
  for (const float flags : {1.0f, 0.0f}) {
    TestRack rack;
    Module& filter = rack.Add("SD07 MIDI Filter");
    if (flags == 0.0f) {
      for (const char* role :
           {"Notes", "Control changes", "Pitch bend", "Key pressure", "Channel pressure",
            "Program changes", "SysEx", "Real time", "Song position", "MIDI clock", "Others"}) {
        rack.SetControl(filter, role, 0.0f);
      }
    }
    KeyboardStream keyboard(4);
    std::vector<TimedWord> words;
    for (int i = 0; i < 3000; ++i) words.push_back({i, keyboard.Next()});
    rack.FeedMidi(filter, "MIDI in", words);
    rack.Tap(filter, "Pass");
    rack.Tap(filter, "Reject");
    rack.Run(3000);
    const auto& carries = rack.RecordedWords(filter, flags == 1.0f ? "Pass" : "Reject");
    const auto& empty = rack.RecordedWords(filter, flags == 1.0f ? "Reject" : "Pass");
    for (std::size_t i = 0; i < 2990; ++i) {
      ASSERT_EQ(carries[i], words[i].word) << i;
      ASSERT_TRUE(empty[i].IsNone()) << i;
    }
  }
}

}  // namespace
}  // namespace halveron::testing
