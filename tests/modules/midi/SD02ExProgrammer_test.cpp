#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>
#include <vector>

#include "tests/modules/midi/sd02_block.h"
#include "tests/support/midi_words.h"
#include "tests/support/test_rack.h"

namespace halveron::testing {
namespace {

TEST(SD02ExProgrammer, SetsTheOptionsOfAnSD02) {
  TestRack rack;
  Module& programmer = rack.Add("SD02Ex MCVS Programmer");
  Module& sd02 = rack.Add("SD02 MIDI-CV/Sync");
  rack.MoveControl(programmer, "Glide law", 1.0f);  // without a cable nothing is queued
  rack.Tap(programmer, "MIDI out");
  rack.Run(64);
  rack.Connect(programmer, "MIDI out", sd02, "MIDI in");  // a further cable: all once more
  rack.Run(64);
  std::vector<Word> sent = rack.RecordedWords(programmer, "MIDI out");
  sent.erase(sent.begin(), sent.begin() + 65);
  sent.resize(7);
  EXPECT_EQ((std::vector<Word>{Controller(80, 6),
                               Controller(80, 9),
                               Controller(80, 4),
                               Controller(80, 1),
                               Controller(81, 0),
                               Controller(80, 2),
                               {}}),
            sent);
  EXPECT_EQ(1.0f, rack.Control(programmer, "Send lamp").getValue());
  rack.Run(4800);
  EXPECT_EQ(0.0f, rack.Control(programmer, "Send lamp").getValue());

  const auto options = [&] {  // law, gap, mod, direction, bend, fine values
    rack.Run(64);
    const auto data = rack.SavedPreset(sd02);
    std::vector<int> bytes{ValueAt<unsigned char>(data, kControlBytes),
                           ValueAt<int>(data, kControlBytes + 1)};
    for (int i = 13; i < 17; ++i) bytes.push_back(ValueAt<unsigned char>(data, kControlBytes + i));
    return bytes;
  };
  EXPECT_EQ((std::vector<int>{1, 0, 1, 1, 1, 1}), options());
  for (const char* role : {"Mod smoothing", "Bend smoothing"})
    rack.MoveControl(programmer, role, 1);
  rack.MoveControl(programmer, "Glide law", 0.0f);
  rack.MoveControl(programmer, "Resolution", 0.0f);
  rack.MoveControl(programmer, "Retrigger gap", 0.5f);
  EXPECT_EQ((std::vector<int>{0, 63, 0, 1, 0, 0}), options());
  rack.MoveControl(programmer, "Resolution", 1.0f);
  EXPECT_EQ((std::vector<int>{0, 63, 0, 0, 0, 1}), options());
}

TEST(SD02ExProgrammer, SendsTheLastOfManyMovesOfAnOption) {
  TestRack rack;
  Module& programmer = rack.Add("SD02Ex MCVS Programmer");
  rack.Tap(programmer, "MIDI out");
  rack.Run(64);
  for (int move = 0; move < 1000; ++move) {
    rack.MoveControl(programmer, "Retrigger gap", static_cast<float>(move) / 1000.0f);
    rack.MoveControl(programmer, "Glide law", static_cast<float>(move % 2));
  }
  rack.Run(64);
  std::vector<Word> sent = rack.RecordedWords(programmer, "MIDI out");
  sent.erase(sent.begin(), sent.begin() + 64);
  std::erase(sent, Word{});
  EXPECT_EQ((std::vector<Word>{Controller(81, 126), Controller(80, 1)}), sent);
}

}  // namespace
}  // namespace halveron::testing
