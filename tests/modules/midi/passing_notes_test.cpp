#include <gtest/gtest.h>

#include <string>
#include <vector>

#include "modules/midi/SD09MCCKernel.h"
#include "tests/modules/midi/note_streams.h"
#include "tests/support/test_rack.h"

namespace halveron::testing {
namespace {

struct Passer {
  const char* name;
  const char* input;
  std::vector<const char*> outputs;
};

TEST(PassingNotes, PullingACableEndsWhatItHeldOnEveryModuleThatPassesNotes) {
  const std::vector<Passer> passers{
      {"SD05 MIDI Poly Chainer", "MIDI in", {"MIDI out 1", "MIDI out 2", "MIDI out 5"}},
      {"SD06 MIDI Merger", "MIDI in 9", {"MIDI out"}},
      {"SD07 MIDI Filter", "MIDI in", {"Pass", "Reject"}},
      {"SD09 MIDI Channel Converter", "MIDI in", {"MIDI out"}},
      {"SD30 MIDI Recorder", "MIDI in", {"MIDI out"}},
      {"SD31 MIDI Trance Gate", "MIDI in", {"MIDI out"}},
      {"SD33 MIDI Arpeggiator", "MIDI in", {"MIDI out"}},
  };
  for (const Passer& passer : passers) {
    SCOPED_TRACE(passer.name);
    TestRack rack;
    Module& module = rack.Add(passer.name);
    for (const char* output : passer.outputs) rack.Tap(module, output);
    rack.FeedMidi(module, passer.input,
                  {{0, On(60)}, {1, On(64, 9, 15)}, {2, On(127)}, {3, On(0)}, {9, Off(64, 15)}});
    rack.Run(64);
    const auto listen = [&] {
      int sounding = 0, began = 0;
      for (const char* output : passer.outputs) {
        Listener listener;
        for (const Word word : rack.RecordedWords(module, output)) listener.Hear(word);
        sounding += listener.Sounding();
        began += listener.began;
      }
      EXPECT_GT(began, 0);
      return sounding;
    };
    EXPECT_GT(listen(), 0);
    rack.Disconnect(module, passer.input);
    rack.Run(64);
    EXPECT_EQ(listen(), 0);
  }
}

TEST(PassingNotes, AMergerEndsOnlyTheNotesOfThePulledInput) {
  TestRack rack;
  Module& merger = rack.Add("SD06 MIDI Merger");
  rack.Tap(merger, "MIDI out");
  rack.FeedMidi(merger, "MIDI in 1", {{0, On(60)}, {1, On(62)}});
  rack.FeedMidi(merger, "MIDI in 2", {{4, On(70)}});
  rack.Run(64);
  rack.Disconnect(merger, "MIDI in 1");
  rack.Run(64);
  Listener listener;
  std::vector<int> ended;
  for (const Word word : rack.RecordedWords(merger, "MIDI out")) {
    listener.Hear(word);
    if (word.IsNoteOff()) ended.push_back(word.Data1());
  }
  EXPECT_EQ(ended, (std::vector<int>{60, 62}));
  EXPECT_EQ(listener.Sounding(), 1);
}

TEST(PassingNotes, AChannelConverterFollowsNotesThatBeganUnderAnotherMap) {
  SD09MCCKernel kernel;
  kernel.Convert(On(60));
  kernel.Convert(On(61));
  kernel.map[0] = 5;
  // A key that is struck twice ends where it began.
  EXPECT_EQ(kernel.Convert(On(60, 80)), On(60, 80));
  EXPECT_EQ(kernel.Convert(Off(60)), Off(60));
  EXPECT_EQ(kernel.Convert(On(60)), On(60, 100, 5));
  // All notes off silences the channel of the map and what is left of the one before.
  EXPECT_EQ(kernel.Convert(Controller(123, 0)), Controller(123, 0, 5));
  EXPECT_EQ(kernel.Convert({}), Off(61));
  EXPECT_EQ(kernel.Convert({}), Word{});
  EXPECT_EQ(kernel.Convert(On(61)), On(61, 100, 5));
}

}  // namespace
}  // namespace halveron::testing
