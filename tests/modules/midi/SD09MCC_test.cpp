#include <gtest/gtest.h>

#include "modules/midi/SD09MCCKernel.h"
#include "tests/modules/midi/note_streams.h"
#include "tests/support/test_rack.h"

namespace halveron::testing {
namespace {

TEST(SD09MCC, CommandsSetSelectorsAndGoNoFurther) {
  TestRack rack;
  Module& converter = rack.Add("SD09 MIDI Channel Converter");
  rack.SetControl(converter, "Channel 3", 7.0f / 15.0f);
  rack.SetControl(converter, "Command channel", 16.0f / 16.0f);
  rack.Tap(converter, "MIDI out");
  rack.FeedMidi(converter, "MIDI in",
                {{0, On(60, 9, 2)},
                 {1, Controller(20 + 4, 16 + 11, 15)},  // channel 5 to 12
                 {2, On(61, 9, 4)},
                 {3, Controller(19, 1, 15)},  // no command
                 {4, Word::FromBytes(3, 1, 2, 3)},
                 {5, Word::FromBytes(0xE1, 1, 2, 3)}});
  rack.Run(64);
  auto sent = rack.RecordedWords(converter, "MIDI out");
  sent.resize(6);
  EXPECT_EQ((std::vector<Word>{On(60, 9, 7),
                               {},
                               On(61, 9, 11),
                               Controller(19, 1, 15),
                               Word::FromBytes(3, 1, 2, 3),
                               Word::FromBytes(0xE1, 1, 2, 3)}),
            sent);
  EXPECT_FLOAT_EQ(rack.Control(converter, "Channel 5").getValue(), 11.0f / 15.0f);
}

TEST(SD09MCCKernel, NotesEndWhereTheyBeganThoughTheMapMoves) {
  for (unsigned seed = 0; seed < 10; ++seed) {
    SD09MCCKernel kernel;
    std::mt19937 random(seed);
    for (std::uint8_t i = 0; i < 3; ++i) kernel.map[i] = static_cast<std::uint8_t>(4 * i);
    const int began = ExpectCleanNotes(seed, 100, [&](Word word, float) {
      // Three channels in, on three that differ, moved at any time.
      if (random() % 50 == 0) {
        const auto shift = static_cast<std::uint8_t>(random() % 4);
        for (std::uint8_t i = 0; i < 3; ++i)
          kernel.map[i] = static_cast<std::uint8_t>(4 * i + shift);
      }
      return kernel.Convert(word);
    });
    EXPECT_GT(began, 100);
  }
}

}  // namespace
}  // namespace halveron::testing
