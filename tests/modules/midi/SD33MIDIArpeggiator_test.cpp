#include <gtest/gtest.h>

#include <algorithm>
#include <array>
#include <set>

#include "modules/midi/SD33MIDIArpeggiatorKernel.h"
#include "tests/modules/midi/note_streams.h"
#include "tests/support/test_rack.h"

namespace halveron::testing {
namespace {

using Kernel = SD33MIDIArpeggiatorKernel;
using Keys = std::vector<int>;

struct Arpeggio : Kernel {
  explicit Arpeggio(int mode, int range = 0, int step = 12) {
    SetMode(mode);
    SetOctaves(range, step);
  }
  void Press(const Keys& keys) {
    for (const int key : keys) Take(Step(On(key), 0.0f));
  }
  void Release(int key) { Take(Step(Off(key), 0.0f)); }
  /// The keys that the next clocks play.
  Keys Clock(int clocks) {
    begun.clear();
    for (int i = 0; i < clocks * 20; ++i) Take(Step({}, i % 20 < 10 ? 1.0f : 0.0f));
    return begun;
  }
  void Take(Word word) {
    listener.Hear(word);
    if (word.IsNoteOn()) begun.push_back(word.Data1());
  }

  Keys begun;
  Listener listener;
};

TEST(SD33MIDIArpeggiatorKernel, WalksInEachOrder) {
  const Keys chord = {64, 60, 67};
  struct Case {
    int mode, range, step;
    Keys played;
  };
  const std::vector<Case> cases = {
      {Kernel::kUp, 0, 12, {60, 64, 67, 60, 64, 67}},
      {Kernel::kUp, 12, 12, {60, 64, 67, 72, 76, 79, 60, 64}},
      {Kernel::kUp, 12, 5, {60, 64, 67, 65, 69, 72, 70, 74, 77, 60}},
      {Kernel::kDown, 0, 12, {67, 64, 60, 67}},
      {Kernel::kDown, 12, 12, {79, 76, 72, 67, 64, 60, 79}},
      {Kernel::kUpAndDown, 0, 12, {60, 64, 67, 64, 60, 64}},
      {Kernel::kUpAndDown, 12, 12, {60, 64, 67, 72, 76, 79, 76, 72, 67, 64, 60, 64}},
      {Kernel::kAsPlayed, 12, 12, {64, 60, 67, 76, 72, 79, 64}},
      {Kernel::kInsideOut, 0, 12, {64, 67, 60, 64, 67, 60}},
      {Kernel::kInsideOut, 12, 12, {64, 67, 60, 76, 79, 72, 64}}};
  for (const Case& c : cases) {
    Arpeggio arpeggio(c.mode, c.range, c.step);
    arpeggio.Press(chord);
    EXPECT_EQ(arpeggio.Clock(static_cast<int>(c.played.size())), c.played)
        << "mode " << c.mode << ", range " << c.range;
  }
  Arpeggio five(Kernel::kInsideOut);
  five.Press({60, 61, 62, 63, 64});
  EXPECT_EQ(five.Clock(6), (Keys{62, 63, 61, 64, 60, 62}));
  Arpeggio one(Kernel::kUpAndDown, 24);
  one.Press({60});
  EXPECT_EQ(one.Clock(5), (Keys{60, 72, 84, 72, 60}));
}

TEST(SD33MIDIArpeggiatorKernel, RandomAndShuffledReachEveryNote) {
  Arpeggio random(Kernel::kRandom, 24);
  random.Press({60, 64});
  const Keys walked = random.Clock(200);
  EXPECT_EQ((std::set<int>{60, 64, 72, 76, 84, 88}), std::set<int>(walked.begin(), walked.end()));
  std::set<Keys> orders;
  for (int i = 0; i < 60; ++i) {
    Arpeggio shuffled(Kernel::kShuffled);
    shuffled.Press({60, 64, 67});
    const Keys round = shuffled.Clock(6);
    EXPECT_TRUE(std::equal(round.begin(), round.begin() + 3, round.begin() + 3));
    orders.insert(Keys(round.begin(), round.begin() + 3));
  }
  EXPECT_EQ(orders.size(), 6u);
}

TEST(SD33MIDIArpeggiatorKernel, KeysThatComeAndGoKeepTheWalk) {
  Arpeggio up(Kernel::kUp);
  up.Press({60, 64, 67});
  EXPECT_EQ(up.Clock(2), (Keys{60, 64}));
  up.Press({62});
  EXPECT_EQ(up.Clock(1), Keys{67});
  up.Release(67);
  EXPECT_FALSE(up.IsSounding());
  EXPECT_EQ(up.Clock(2), (Keys{60, 62}));
  up.Release(62);
  EXPECT_EQ(up.Clock(2), (Keys{64, 60}));
  Arpeggio down(Kernel::kDown);
  down.Press({60, 64, 67});
  EXPECT_EQ(down.Clock(2), (Keys{67, 64}));
  down.Release(64);
  EXPECT_EQ(down.Clock(2), (Keys{60, 67}));
}

TEST(SD33MIDIArpeggiatorKernel, NotesEndByGateTimeOrWithTheClock) {
  // The first note that has a known period: 20 samples, 10 of them high.
  for (const bool follow : {false, true}) {
    Arpeggio arpeggio(Kernel::kUp);
    arpeggio.followClock = follow;
    arpeggio.gate = 0.25f;
    arpeggio.Press({60});
    arpeggio.Clock(2);
    int length = 0;
    for (int i = 0; i < 20; ++i) {
      arpeggio.Step({}, i < 10 ? 1.0f : 0.0f);
      length += arpeggio.IsSounding();
    }
    EXPECT_EQ(length, follow ? 10 : 6);
  }
}

TEST(SD33MIDIArpeggiatorKernel, LimitsKeysAndTheirNumber) {
  Arpeggio high(Kernel::kUp, 12);
  high.Press({120});
  EXPECT_EQ(high.Clock(2), (Keys{120, 127}));

  Arpeggio many(Kernel::kAsPlayed);
  for (int i = 0; i < 131; ++i) many.Step(On(i % 100, 100, i / 100), 0.0f);
  many.Clock(130);
  EXPECT_EQ(many.Clock(1), Keys{0}) << "130 notes, then the first";
}

TEST(SD33MIDIArpeggiatorKernel, HoldKeepsNotesUntilItGoes) {
  Arpeggio arpeggio(Kernel::kUp);
  arpeggio.SetHold(true);
  arpeggio.Press({60, 64});
  arpeggio.Release(60);
  arpeggio.Release(64);
  EXPECT_EQ(arpeggio.Clock(3), (Keys{60, 64, 60}));
  arpeggio.Press({64});
  EXPECT_EQ(arpeggio.Clock(2), (Keys{64, 60})) << "once, though it was played twice";
  arpeggio.Take(arpeggio.Step(Controller(123, 0), 0.0f));
  EXPECT_FALSE(arpeggio.IsSounding());
  EXPECT_EQ(arpeggio.Clock(1), Keys{64});
  arpeggio.SetHold(false);
  EXPECT_EQ(arpeggio.Clock(2), Keys{});
  EXPECT_EQ(arpeggio.listener.Sounding(), 0);
}

TEST(SD33MIDIArpeggiatorKernel, NoNoteHangsAndNoneIsDoubled) {
  for (unsigned seed = 0; seed < 42; ++seed) {
    Kernel kernel;
    std::mt19937 random(seed);
    kernel.SetMode(static_cast<int>(seed % 7));
    kernel.SetOctaves(12 * static_cast<int>(seed % 4), 7);
    kernel.startAtOnce = seed % 2 != 0;
    kernel.followClock = seed % 3 == 0;
    const int period = std::array{2, 7, 100, 1000}[seed % 4];
    int samples = 0;
    const int began = ExpectCleanNotes(seed, period, [&](Word word, float clock) {
      if (random() % 300 == 0) kernel.SetMode(static_cast<int>(random() % 7));
      if (random() % 300 == 0) kernel.SetOctaves(static_cast<int>(random() % 40), 5);
      if (random() % 300 == 0) kernel.gate = static_cast<float>(random() % 100) / 100.0f;
      ++samples;
      if (random() % 300 == 0) kernel.SetHold(samples < 6000 && random() % 2 != 0);
      if (samples == 6000) kernel.SetHold(false);
      return kernel.Step(word, clock);
    });
    EXPECT_GT(began, 3) << seed;
  }
}

TEST(SD33MIDIArpeggiator, PlaysByItsPanel) {
  TestRack rack;
  Module& module = rack.Add("SD33 MIDI Arpeggiator");
  rack.FeedMidi(module, "MIDI in", {{1, On(60)}, {2, On(64)}});
  rack.Tap(module, "MIDI out");
  rack.SetControl(module, "Octave range", 0.25f);
  rack.SetControl(module, "Follow clock", 1.0f);
  std::vector<float> clock;
  for (int i = 0; i < 120; ++i) clock.push_back(i >= 20 && i % 20 < 10 ? 1.0f : 0.0f);
  rack.Feed(module, "Clock", clock);
  rack.Run(120);
  Keys keys;
  for (const Word word : rack.RecordedWords(module, "MIDI out")) {
    if (word.IsNoteOn()) keys.push_back(word.Data1());
  }
  EXPECT_EQ(keys, (Keys{60, 64, 72, 76, 60, 64}));
  rack.Disconnect(module, "MIDI in");
  rack.Run(30);
  EXPECT_TRUE(rack.RecordedWords(module, "MIDI out").back().IsNone());
}

}  // namespace
}  // namespace halveron::testing
