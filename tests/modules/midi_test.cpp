#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>
#include <cstring>
#include <limits>
#include <vector>

#include "tests/support/test_rack.h"

namespace halveron::testing {
namespace {

using Word = MidiCableWord;

Word On(int key, int velocity = 100) { return Word::FromBytes(0x90, key, velocity); }
Word Off(int key) { return Word::FromBytes(0x80, key, 64); }
Word Controller(int number, int data) { return Word::FromBytes(0xB0, number, data); }

constexpr int kControlBytes = 16 * sizeof(float);  // of the SD02: 7 controls, 9 points

template <class T>
T ValueAt(const std::vector<std::byte>& data, int offset) {
  T value;
  std::memcpy(&value, data.data() + offset, sizeof(T));
  return value;
}

TEST(SD02MCVS, PlaysFromACableAndFallsSilentWithoutIt) {
  TestRack rack;
  Module& sd02 = rack.Add("SD02 MIDI-CV/Sync");
  rack.FeedMidi(sd02, "MIDI in",
                {{10, On(72)},
                 {20, On(84)},
                 {40, Word::FromBytes(0xFC, 0, 0)},
                 {50, Word::FromBytes(0xF8, 0, 0)},
                 {60, Word::FromBytes(0xE0, 127, 127)}});
  rack.SetControl(sd02, "Bend range", 1.0f);
  for (const char* output : {"Gate", "Pitch", "Stop"}) rack.Tap(sd02, output);
  rack.Run(64);
  const std::vector<float> gate = rack.Recorded(sd02, "Gate");
  for (int i = 0; i < 64; ++i) EXPECT_EQ(i < 10 || i == 20 ? 0.0f : 1.0f, gate[i]) << i;
  EXPECT_EQ(0.1f, rack.Recorded(sd02, "Pitch")[19]);
  EXPECT_EQ(0.2f, rack.Recorded(sd02, "Pitch")[20]);
  EXPECT_EQ(0.0f, rack.Recorded(sd02, "Stop")[39]);
  EXPECT_EQ(1.0f, rack.Recorded(sd02, "Stop")[40]);
  for (const char* lamp : {"Gate lamp", "Stop lamp", "Clock lamp"}) {
    EXPECT_EQ(1.0f, rack.Control(sd02, lamp).getValue()) << lamp;
  }
  rack.Run(48000);
  EXPECT_EQ(0.0f, rack.Control(sd02, "Clock lamp").getValue());
  EXPECT_NEAR(0.65f, rack.Out(sd02, "Pitch bend"), 1e-6);
  rack.Disconnect(sd02, "MIDI in");
  EXPECT_EQ(0.0f, rack.Out(sd02, "Gate"));
  EXPECT_EQ(0.0f, rack.Control(sd02, "Gate lamp").getValue());
  EXPECT_EQ(1.0f, rack.Control(sd02, "Stop lamp").getValue());
}

TEST(SD02MCVS, BindsNotesToItsVoiceWhereTheHostTracksThem) {
  static std::vector<std::pair<int, int>> bound;
  TestRack rack;
  Module& sd02 = rack.Add("SD02 MIDI-CV/Sync");
  sd02.hostTable.BindNoteSlotToVoice = [](RackModel*, int voice, int slot) {
    bound.emplace_back(voice, slot);
  };
  const auto play = [&] {
    rack.FeedMidi(sd02, "MIDI in", {{1, Word::FromBytes(0x90, 60, 1, 254)}, {2, On(60, 0)}});
    rack.Run(64);
  };
  play();
  EXPECT_TRUE(bound.empty());
  rack.engine.hostKind = HostKind::kClap;
  play();
  EXPECT_EQ((std::vector<std::pair<int, int>>{{0, 254}}), bound);
}

TEST(SD02MCVS, LoadsPresetsOfAllVersions) {
  TestRack rack;
  Module& source = rack.Add("SD02 MIDI-CV/Sync");
  rack.SetControl(source, "Glide time", 0.5f);
  rack.SetControl(source, "First-note glide", 0.0f);
  std::vector<TimedWord> options;
  for (int option : {1, 3, 4, 7, 8}) options.push_back({option, Controller(80, option)});
  options.push_back({20, Controller(81, 100)});
  options.push_back({21, Controller(7, 64)});
  options.push_back({22, Controller(1, 32)});
  rack.FeedMidi(source, "MIDI in", options);
  rack.Run(64);
  const std::vector<std::byte> saved = rack.SavedPreset(source);
  ASSERT_EQ(kControlBytes + 17u, saved.size());

  struct Case {
    int version, controls, block,
        keptFrom;  // bytes of the block from keptFrom on stay as they were
    float glide;
  };
  for (const Case& c :
       {Case{1004, kControlBytes, 17, 17, 0.5f}, Case{1003, kControlBytes, 16, 16, 0.5f},
        Case{1002, kControlBytes - 4, 13, 13, 0.5f},
        Case{1001, kControlBytes - 4, 13, 13, 0.592815551f}, Case{1004, kControlBytes, 9, 9, 0.5f},
        Case{1004, 8, 0, 0, 0.5f}}) {
    SCOPED_TRACE(::testing::Message() << c.version << ", " << c.block);
    Module& target = rack.Add("SD02 MIDI-CV/Sync");
    const std::vector<std::byte> fresh = rack.SavedPreset(target);
    std::vector<std::byte> data(saved.begin(), saved.begin() + c.controls);
    data.insert(data.end(), saved.begin() + kControlBytes, saved.begin() + kControlBytes + c.block);
    target.LoadPreset(data.data(), static_cast<int>(data.size()), c.version);
    const std::vector<std::byte> loaded = rack.SavedPreset(target);
    for (int i = 0; i < 17; ++i) {
      EXPECT_EQ((i < c.keptFrom ? saved : fresh)[kControlBytes + i], loaded[kControlBytes + i])
          << i;
    }
    EXPECT_NEAR(c.glide, ValueAt<float>(loaded, 0), 1e-6);
    EXPECT_EQ(c.version < 1002 || c.controls == 8 ? 1.0f : 0.0f, ValueAt<float>(loaded, 8));
  }

  // Levels that are no number, and a gap out of range.
  std::vector<std::byte> broken = saved;
  const float nan = std::numeric_limits<float>::quiet_NaN();
  std::memcpy(broken.data() + kControlBytes + 5, &nan, sizeof nan);
  std::memcpy(broken.data() + kControlBytes + 9, &nan, sizeof nan);
  broken[kControlBytes + 4] = std::byte{0x7F};
  source.LoadPreset(broken.data(), static_cast<int>(broken.size()), 1004);
  const std::vector<std::byte> kept = rack.SavedPreset(source);
  EXPECT_EQ(127, ValueAt<int>(kept, kControlBytes + 1));
  EXPECT_TRUE(
      std::equal(kept.begin() + kControlBytes + 5, kept.end(), saved.begin() + kControlBytes + 5));
}

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
