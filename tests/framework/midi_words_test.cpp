#include <gtest/gtest.h>

#include <random>
#include <vector>

#include "framework/midi_controller.h"
#include "framework/midi_learn.h"
#include "framework/midi_queue.h"
#include "framework/sysex.h"

namespace halveron {
namespace {

using Dump = std::vector<std::uint8_t>;

TEST(MidiMessage, TellsLengthsKindsAndKeys) {
  const std::vector<std::pair<int, int>> lengths = {{0x80, 3}, {0x9F, 3}, {0xB3, 3}, {0xC0, 2},
                                                    {0xDF, 2}, {0xE0, 3}, {0xF1, 2}, {0xF2, 3},
                                                    {0xF3, 2}, {0xF6, 1}, {0xF8, 1}, {0xFF, 1}};
  for (const auto& [status, length] : lengths) {
    EXPECT_EQ(midi::MessageLength(static_cast<unsigned>(status)), length) << status;
  }
  EXPECT_STREQ(midi::NoteName(0), "C-1");
  EXPECT_STREQ(midi::NoteName(61), "C#4");
  EXPECT_STREQ(midi::NoteName(69), "A4");
  EXPECT_STREQ(midi::NoteName(127), "G9");

  const auto on = MidiCableWord::FromBytes(0x95, 60, 100, 7);
  EXPECT_TRUE(on.IsNoteOn() && on.IsChannelMessage());
  EXPECT_EQ(on.AsNoteOff(), MidiCableWord::FromBytes(0x85, 60, 100, 7));
  EXPECT_FALSE(MidiCableWord::FromBytes(16, 1, 2, 3).IsChannelMessage());
  EXPECT_FLOAT_EQ((Controller14{127, 127}.Level()), 1.0f);
}

TEST(MidiQueue, KeepsOrderRoundItsEndAndRefusesWhenFull) {
  MidiQueue<5> queue;
  EXPECT_TRUE(queue.Pop().IsNone());
  std::uint32_t pushed = 0, popped = 0;
  for (int round = 0; round < 20; ++round) {
    while (queue.TryPush({pushed + 1})) ++pushed;
    ASSERT_EQ(pushed - popped, 5u);
    ASSERT_EQ(queue.FreeCount(), 0);
    for (int i = 0; i < 1 + round % 5; ++i) ASSERT_EQ(queue.Pop().bits, ++popped);
  }
  queue.Clear();
  EXPECT_TRUE(queue.IsEmpty());
}

TEST(SysEx, DumpsOfAllLengthsPassCutAndInterleaved) {
  std::mt19937 random(5);
  SysExCutter cutter;
  SysExAssembler assembler(1000);
  for (int round = 0; round < 40; ++round) {
    // Sixteen dumps at once, a packet of each in turn.
    std::vector<Dump> dumps(kSysExStreams);
    std::vector<std::vector<MidiCableWord>> packets(kSysExStreams);
    for (std::size_t i = 0; i < dumps.size(); ++i) {
      dumps[i] = {0xF0};
      for (auto length = random() % 20; length > 0; --length) {
        dumps[i].push_back(static_cast<std::uint8_t>(random() % 128));
      }
      dumps[i].push_back(0xF7);
      cutter.Cut(dumps[i], [&](MidiCableWord packet) { packets[i].push_back(packet); });
      ASSERT_EQ(packets[i].size(), SysExCutter::PacketCount(dumps[i]));
    }
    std::vector<Dump> whole(dumps.size());
    for (std::size_t at = 0; at < 10; ++at) {
      for (std::size_t i = 0; i < packets.size(); ++i) {
        if (at >= packets[i].size()) continue;
        ASSERT_EQ(packets[i][at].Byte(0), i + 1);
        const Dump* dump = assembler.Take(packets[i][at]);
        ASSERT_EQ(dump != nullptr, at + 1 == packets[i].size());
        if (dump) whole[i] = *dump;
      }
    }
    ASSERT_EQ(whole, dumps);
  }
}

TEST(SysEx, GivesUpWhatHasNoHeadOrNoEnd) {
  SysExAssembler assembler(10);
  const auto tail = MidiCableWord::FromBytes(3, 1, 2, 3);
  const auto end = MidiCableWord::FromBytes(3, 0xF7, 0xF4, 0xF4);
  const auto head = MidiCableWord::FromBytes(3, 0xF0, 0xF4, 0);
  EXPECT_EQ(assembler.Take(end), nullptr);
  assembler.Take(head);
  for (int i = 0; i < 4; ++i) assembler.Take(tail);
  EXPECT_EQ(assembler.Take(end), nullptr);
  assembler.Take(head);
  ASSERT_NE(assembler.Take(end), nullptr);
}

TEST(MidiLearn, TheArmedSlotTakesTheNextMessageOfItsKind) {
  const auto controller = MidiCableWord::FromBytes(0xB0, 7, 1);
  const auto note = MidiCableWord::FromBytes(0x90, 60, 1);
  MidiLearn learn;
  EXPECT_EQ(learn.TakeController(controller), MidiLearn::kNone);
  learn.Arm(3);
  EXPECT_EQ(learn.TakeController(note), MidiLearn::kNone);
  EXPECT_EQ(learn.TakeController(controller), 3);
  EXPECT_EQ(learn.TakeController(controller), MidiLearn::kNone);
  learn.Arm(1);
  learn.Disarm(2);
  EXPECT_EQ(learn.Armed(), 1);
  learn.Disarm(1);
  EXPECT_EQ(learn.TakeNote(note), MidiLearn::kNone);
}

}  // namespace
}  // namespace halveron
