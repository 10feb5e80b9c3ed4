#include <gtest/gtest.h>

#include <algorithm>
#include <random>
#include <vector>

#include "modules/midi/SD05MPCKernel.h"
#include "tests/support/midi_words.h"
#include "tests/support/test_rack.h"

namespace halveron::testing {
namespace {

struct Chainer : SD05MPCKernel {
  explicit Chainer(std::uint32_t inUse) { outputsInUse = inUse; }
  /// The outputs that a word reaches, the first being 1.
  std::vector<int> Reach(Word word) {
    std::vector<int> reached;
    const std::uint32_t bits = Step(word).outputs;
    for (int i = 0; i < 32; ++i) {
      if (bits >> i & 1u) reached.push_back(i + 1);
    }
    return reached;
  }
};

using Outputs = std::vector<int>;

TEST(SD05MPCKernel, RotatesPrefersFreeOutputsAndSteals) {
  Chainer three(0b111);
  EXPECT_EQ(Outputs{1}, three.Reach(On(60)));
  EXPECT_EQ(Outputs{2}, three.Reach(On(61)));
  EXPECT_EQ(Outputs{1}, three.Reach(Off(60)));
  EXPECT_EQ(Outputs{3}, three.Reach(On(62)));  // in turn, although 1 is free
  EXPECT_EQ(Outputs{3}, three.Reach(Off(62)));
  EXPECT_EQ(Outputs{1}, three.Reach(On(63)));
  EXPECT_EQ(Outputs{3}, three.Reach(On(64)));  // over 2, which is busy
  EXPECT_EQ(Outputs{1}, three.Reach(On(65)));  // all busy: the next in turn
  EXPECT_EQ(Outputs{1}, three.Reach(Off(63)));
  EXPECT_EQ(Outputs{2}, three.Reach(On(66)));  // 1 still holds 65
  EXPECT_EQ(Outputs{}, three.Reach(Off(60)));

  Chainer one(0b1);
  for (int key = 60; key < 120; ++key) EXPECT_EQ(Outputs{1}, one.Reach(On(key)));
  EXPECT_EQ(Outputs{}, one.Reach(Off(110)));  // the stack of 50 was full: overwritten
  EXPECT_EQ(Outputs{1}, one.Reach(Off(119)));
  EXPECT_EQ(Outputs{1}, one.Reach(Off(60)));
  EXPECT_EQ(Outputs{}, one.Reach(Off(60)));

  Chainer sixteen(SD05MPCKernel::kAllOutputs);
  for (int i = 1; i <= 16; ++i) EXPECT_EQ(Outputs{i}, sixteen.Reach(On(40 + i)));
  for (int i = 16; i >= 1; --i) EXPECT_EQ(Outputs{i}, sixteen.Reach(On(40 + i, 0)));

  Chainer gap(0b101000);
  EXPECT_EQ(Outputs{4}, gap.Reach(On(60)));
  EXPECT_EQ(Outputs{6}, gap.Reach(On(61)));
  EXPECT_EQ(Outputs{4}, gap.Reach(On(62)));
  EXPECT_EQ(Outputs{}, Chainer(0).Reach(On(60)));
}

TEST(SD05MPCKernel, OtherMessagesFollowTheNotes) {
  Chainer chainer(0b111);
  const Word bend = Word::FromBytes(0xE2, 0, 0);
  const Outputs all{1, 2, 3, 4, 5, 6, 7, 8, 9, 10, 11, 12, 13, 14, 15, 16};
  EXPECT_EQ(Outputs{}, chainer.Reach(bend));
  EXPECT_EQ(Outputs{1}, chainer.Reach(On(60, 90, 2)));
  EXPECT_EQ(Outputs{2}, chainer.Reach(On(60, 90, 5)));
  EXPECT_EQ(Outputs{3}, chainer.Reach(On(64, 90, 2)));
  EXPECT_EQ((Outputs{1, 3}), chainer.Reach(bend));
  EXPECT_EQ(Outputs{2}, chainer.Reach(Controller(1, 7, 5)));
  EXPECT_EQ((Outputs{1, 3}), chainer.Reach(Word::FromBytes(0xD2, 9, 0)));
  EXPECT_EQ(Outputs{}, chainer.Reach(Word::FromBytes(0xC0, 9, 0)));
  EXPECT_EQ(Outputs{2}, chainer.Reach(Word::FromBytes(0xA5, 60, 9)));  // key pressure, its own note
  EXPECT_EQ(Outputs{}, chainer.Reach(Word::FromBytes(0xA5, 64, 9)));
  EXPECT_EQ(Outputs{2}, chainer.Reach(Off(60, 5)));  // not the same key of the other channel
  EXPECT_EQ(Outputs{}, chainer.Reach({}));
  for (int stream : {1, 15, 16}) {
    EXPECT_EQ(Outputs{}, chainer.Reach(Word::FromBytes(stream, 0xF0, 0xF4)));
  }
  EXPECT_EQ(all, chainer.Reach(Word::FromBytes(0xF8, 0, 0)));
  EXPECT_EQ(all, chainer.Reach(Controller(123, 0, 9)));
  EXPECT_EQ(Outputs{}, chainer.Reach(bend));
  EXPECT_EQ(Outputs{}, chainer.Reach(Off(60, 2)));

  // The filter keeps notes of other channels from beginning; those that sound can end.
  chainer.Reach(On(60, 90, 2));
  chainer.channelFilter = 5;
  EXPECT_EQ(Outputs{}, chainer.Reach(On(61, 90, 2)));
  EXPECT_EQ(Outputs{1}, chainer.Reach(Off(60, 2)));
  EXPECT_EQ(Outputs{2}, chainer.Reach(On(61, 90, 5)));
}

TEST(SD05MPCKernel, ReleasesEveryNoteAfterAnyWords) {
  std::minstd_rand random(7);
  Chainer chainer(0b10110);
  for (int i = 0; i < 600000; ++i) chainer.Step(AnyWord(random, i));
  chainer.Step(Controller(123, 0));
  EXPECT_EQ(1u, chainer.Reach(On(60)).size());
}

TEST(SD05MPC, OneCableTakesAChordToEveryVoice) {
  TestRack rack;
  rack.engine.voiceCount = kMaxVoices;
  Module& sd02 = rack.Add("SD02 MIDI-CV/Sync");
  Module& chainer = rack.Add("SD05 MIDI Poly Chainer");
  // From any output on the ring leads each voice to an output of its own.
  for (const char* first : {"MIDI out 1", "MIDI out 3"}) {
    SCOPED_TRACE(first);
    rack.Connect(chainer, first, sd02, "MIDI in");
    std::vector<TimedWord> words;
    for (int v = 0; v < kMaxVoices; ++v) words.push_back({v, On(40 + v)});
    words.push_back({100, Off(45)});
    rack.FeedMidi(chainer, "MIDI in", words);
    rack.Run(64);
    std::vector<bool> sounds(kMaxVoices);
    const auto listen = [&] {
      sounds.assign(kMaxVoices, false);
      for (int v = 0; v < kMaxVoices; ++v) {
        Module& voice = *sd02.GetVoiceModule(v);
        const auto key = std::lround(rack.Out(voice, "Pitch") * 120 + 60) - 40;
        if (rack.Out(voice, "Gate") == 1.0f) sounds.at(static_cast<std::size_t>(key)) = true;
      }
      return std::count(sounds.begin(), sounds.end(), true);
    };
    EXPECT_EQ(16, listen());
    rack.Run(64);
    EXPECT_EQ(15, listen());
    EXPECT_FALSE(sounds[5]);
    rack.Disconnect(sd02, "MIDI in");
    EXPECT_EQ(0, listen());
  }
}

TEST(SD05MPC, DealsToTheOutputsThatHaveACable) {
  TestRack rack;
  Module& chainer = rack.Add("SD05 MIDI Poly Chainer");
  for (const char* output : {"MIDI out 3", "MIDI out 7"}) rack.Tap(chainer, output);
  rack.SetControl(chainer, "Channel", 2.0f / 16.0f);
  std::vector<TimedWord> words{{0, On(60)}};
  for (int i = 1; i <= 3; ++i) words.push_back({i, Word::FromBytes(0x91, 60 + i, 100)});
  words.push_back({10, Controller(123, 0)});
  rack.FeedMidi(chainer, "MIDI in", words);
  rack.Run(64);
  const auto third = rack.RecordedWords(chainer, "MIDI out 3");
  const auto seventh = rack.RecordedWords(chainer, "MIDI out 7");
  for (int i = 0; i < 62; ++i) {  // each word for one sample, on one output, all notes off on both
    const Word both = i == 10 ? Controller(123, 0) : Word{};
    EXPECT_EQ(i == 1 || i == 3 ? words[i].word : both, third[i]) << i;
    EXPECT_EQ(i == 2 ? words[i].word : both, seventh[i]) << i;
  }
  EXPECT_EQ(1.0f, rack.Control(chainer, "Activity LED 16").getValue());
  rack.Run(4800);
  EXPECT_EQ(0.0f, rack.Control(chainer, "Activity LED 16").getValue());
}

}  // namespace
}  // namespace halveron::testing
