#include <gtest/gtest.h>

#include <algorithm>
#include <array>

#include "modules/midi/SD06MIDIMergerKernel.h"
#include "tests/modules/midi/note_streams.h"
#include "tests/support/test_rack.h"

namespace halveron::testing {
namespace {

TEST(SD06MIDIMerger, SpreadsWordsOfOneSampleInTheOrderOfInputs) {
  TestRack rack;
  Module& merger = rack.Add("SD06 MIDI Merger");
  rack.FeedMidi(merger, "MIDI in 16", {{3, On(60)}});
  rack.FeedMidi(merger, "MIDI in 2", {{3, On(61)}, {4, On(62)}});
  rack.Tap(merger, "MIDI out");
  rack.Run(64);
  const auto sent = rack.RecordedWords(merger, "MIDI out");
  EXPECT_EQ((std::vector<Word>{{}, On(61), On(60), On(62), {}}),
            std::vector<Word>(sent.begin() + 2, sent.begin() + 7));
  EXPECT_EQ(rack.Control(merger, "Sent").getValue(), 1.0f);
  EXPECT_EQ(rack.Control(merger, "Overflow").getValue(), 0.0f);
  rack.Run(4800);
  EXPECT_EQ(rack.Control(merger, "Sent").getValue(), 0.0f);
}

constexpr std::array<int, 16> kInputs{0, 1, 2, 3, 4, 5, 6, 7, 8, 9, 10, 11, 12, 13, 14, 15};

TEST(SD06MIDIMergerKernel, AFullQueueLosesWholeSamples) {
  SD06MIDIMergerKernel kernel;
  std::vector<Word> taken;
  std::array<Word, 16> words;
  int lost = 0;
  for (int sample = 0; sample < 200; ++sample) {
    for (int i = 0; i < 16; ++i) words[static_cast<std::size_t>(i)] = On(i, 1 + sample % 127);
    if (kernel.Take(words, kInputs)) {
      taken.insert(taken.end(), words.begin(), words.end());
    } else {
      ++lost;
    }
    kernel.Take({}, {});  // silence on a full queue loses nothing
  }
  EXPECT_GT(lost, 0);
  for (const Word word : taken) ASSERT_EQ(kernel.queue.Pop(), word);
  EXPECT_TRUE(kernel.queue.IsEmpty());
}

TEST(SD06MIDIMergerKernel, DumpsOfSeveralInputsStayWholeOnOneOutput) {
  // Every source numbers its dumps from 1.
  std::array<SysExCutter, 3> cutters;
  std::array<std::vector<Word>, 3> packets;
  std::vector<SysExAssembler::Dump> sent;
  for (std::uint8_t round = 0; round < 20; ++round) {
    for (std::uint8_t i = 0; i < 3; ++i) {
      SysExAssembler::Dump dump{0xF0, i, round};
      dump.resize(dump.size() + round % 5u * (i + 1u), i);
      dump.push_back(0xF7);
      cutters[i].Cut(dump, [&](Word packet) { packets[i].push_back(packet); });
      sent.push_back(dump);
    }
  }
  SD06MIDIMergerKernel kernel;
  Listener listener;
  for (std::size_t sample = 0; sample < 400; ++sample) {
    std::array<Word, 3> words;
    for (std::size_t i = 0; i < 3; ++i) {
      if (sample % 3 == 0 && sample / 3 < packets[i].size()) words[i] = packets[i][sample / 3];
    }
    ASSERT_TRUE(kernel.Take(words, kInputs));
    const Word word = kernel.queue.Pop();
    if (!word.IsNone()) listener.Hear(word);
  }
  EXPECT_EQ(listener.dumps.size(), sent.size());
  EXPECT_TRUE(
      std::is_permutation(sent.begin(), sent.end(), listener.dumps.begin(), listener.dumps.end()));
}

TEST(SD06MIDIMergerKernel, NotesOfAllInputsEndAndDumpsStayWhole) {
  // Each input on streams of its own keyboard; one listener for each, by the low bits of velocity.
  std::array<KeyboardStream, 3> keyboards{KeyboardStream(1), KeyboardStream(2), KeyboardStream(3)};
  SD06MIDIMergerKernel kernel;
  std::array<Listener, 3> listeners;
  std::vector<std::size_t> origins;
  std::size_t next = 0;
  const auto run = [&](std::array<Word, 3> words) {
    ASSERT_TRUE(kernel.Take(words, kInputs));
    for (std::size_t i = 0; i < words.size(); ++i) {
      if (!words[i].IsNone()) origins.push_back(i);
    }
    const Word word = kernel.queue.Pop();
    if (!word.IsNone()) listeners[origins[next++]].Hear(word);
  };
  for (int i = 0; i < 4000; ++i)
    run({keyboards[0].Next(), keyboards[1].Next(), keyboards[2].Next()});
  for (int i = 0; i < 4000; ++i) {
    run({keyboards[0].Release(), keyboards[1].Release(), keyboards[2].Release()});
  }
  for (std::size_t i = 0; i < 3; ++i) {
    EXPECT_EQ(listeners[i].Sounding(), 0);
    EXPECT_EQ(listeners[i].dumps, keyboards[i].dumps);
    EXPECT_GT(listeners[i].began, 100);
  }
}

}  // namespace
}  // namespace halveron::testing
