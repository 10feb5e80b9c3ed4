#include <gtest/gtest.h>

#include "modules/midi/SD31MIDITranceGateKernel.h"
#include "tests/modules/midi/note_streams.h"
#include "tests/support/test_rack.h"

namespace halveron::testing {
namespace {

struct Gate : SD31MIDITranceGateKernel {
  /// A word in, then clocks; each with time for all words to leave.
  std::vector<Word> Play(Word word) { return Drain(Step(word, 0.0f)); }
  std::vector<Word> Clock() {
    std::vector<Word> sent = Drain(Step({}, 1.0f));
    return sent;
  }

 private:
  std::vector<Word> Drain(Word first) {
    std::vector<Word> sent;
    for (Word word = first; !word.IsNone(); word = Step({}, 0.0f)) sent.push_back(word);
    Step({}, 0.0f);
    return sent;
  }
};

using Words = std::vector<Word>;

TEST(SD31MIDITranceGateKernel, OpenStepsStartAndClosedStepsEndTheChord) {
  Gate gate;
  gate.lastStep = 3;
  gate.stepOn[1] = gate.stepOn[2] = false;
  gate.step = 3;
  EXPECT_EQ(gate.Play(On(60, 90)), Words{});
  EXPECT_EQ(gate.Play(On(64, 80, 2)), Words{});
  EXPECT_EQ(gate.Clock(), (Words{On(60, 90), On(64, 80, 2)}));
  EXPECT_EQ(gate.Clock(), (Words{On(60, 90).AsNoteOff(), On(64, 80, 2).AsNoteOff()}));
  EXPECT_EQ(gate.Clock(), Words{}) << "closed stays closed";
  EXPECT_EQ(gate.Play(On(67)), Words{}) << "silent until the next open step";
  EXPECT_EQ(gate.Play(Off(60)), Words{On(60, 90).AsNoteOff()}) << "harmless";
  EXPECT_EQ(gate.Clock(), (Words{On(67), On(64, 80, 2)}));
  EXPECT_EQ(gate.Clock(), Words{}) << "an open step after an open one";
  EXPECT_EQ(gate.Play(Off(67)), Words{On(67).AsNoteOff()});
  EXPECT_EQ(gate.Play(Off(67)), Words{}) << "unknown";
  EXPECT_EQ(gate.Play(Controller(123, 0)), (Words{Controller(123, 0), On(64, 80, 2).AsNoteOff()}));
  EXPECT_EQ(gate.Clock(), Words{});
}

TEST(SD31MIDITranceGateKernel, TheFirstNoteMayRestartThePatternAndSoundAtOnce) {
  Gate gate;
  gate.restartOnFirst = gate.playAtOnce = true;
  gate.stepOn[1] = false;
  for (int i = 0; i < 6; ++i) gate.Clock();
  EXPECT_EQ(gate.Play(On(60)), Words{On(60)});
  EXPECT_EQ(gate.Play(On(64)), Words{On(64)});
  EXPECT_EQ(gate.Clock(), Words{}) << "step 1, open already";
  EXPECT_EQ(gate.step, 0);
  EXPECT_EQ(gate.Clock().size(), 2u) << "step 2 closes";
  gate.Play(Off(60));
  gate.Play(Off(64));
  gate.stepOn[0] = false;
  EXPECT_EQ(gate.Play(On(60)), Words{});
  gate.Clock();
  EXPECT_EQ(gate.step, 0);
}

TEST(SD31MIDITranceGateKernel, NoNoteHangsAndNoneIsDoubled) {
  for (unsigned seed = 0; seed < 24; ++seed) {
    SD31MIDITranceGateKernel kernel;
    std::mt19937 random(seed);
    kernel.restartOnFirst = seed % 2 != 0;
    kernel.playAtOnce = seed / 2 % 2 != 0;
    const int period = std::array{2, 7, 100, 1000}[seed % 4];
    const int began = ExpectCleanNotes(seed, period, [&](Word word, float clock) {
      if (random() % 100 == 0) kernel.stepOn[random() % 16] = random() % 2 != 0;
      if (random() % 500 == 0) kernel.lastStep = static_cast<int>(random() % 16);
      return kernel.Step(word, clock);
    });
    EXPECT_GT(began, 50) << seed;
  }
}

TEST(SD31MIDITranceGate, PassesNotesFromItsPanel) {
  TestRack rack;
  Module& gate = rack.Add("SD31 MIDI Trance Gate");
  rack.FeedMidi(gate, "MIDI in", {{1, On(60)}});
  rack.Tap(gate, "MIDI out");
  rack.Run(32);
  EXPECT_EQ(rack.RecordedWords(gate, "MIDI out")[1], On(60)) << "a fresh one passes notes";
  for (int i = 0; i < 20; ++i) {
    rack.MoveControl(gate, "Down", 1.0f);
    rack.MoveControl(gate, "Down", 0.0f);
  }
  EXPECT_EQ(rack.Control(gate, "Steps").getValue(), 1.0f);
  rack.MoveControl(gate, "Up", 1.0f);
  EXPECT_EQ(rack.Control(gate, "Steps").getValue(), 2.0f);
  rack.MoveControl(gate, "Step 2", 0.0f);
  std::vector<float> clock;
  for (int i = 0; i < 40; ++i) clock.push_back(i % 20 < 10 ? 1.0f : 0.0f);
  rack.Feed(gate, "Clock", clock);
  rack.Run(64);
  int offs = 0;
  for (const Word word : rack.RecordedWords(gate, "MIDI out")) offs += word.IsNoteOff();
  EXPECT_EQ(offs, 1);
  EXPECT_EQ(rack.Control(gate, "Step lamp 2").getValue(), 1.0f);
}

}  // namespace
}  // namespace halveron::testing
