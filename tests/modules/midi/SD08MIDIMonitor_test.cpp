#include "modules/midi/SD08MIDIMonitor.h"

#include <gtest/gtest.h>

#include <sstream>

#include "tests/support/midi_words.h"
#include "tests/support/test_rack.h"

namespace halveron::testing {
namespace {

std::string Decoded(SD08MIDIMonitorDecoder& decoder, std::initializer_list<Word> words) {
  std::string text;
  for (const Word word : words) text += decoder.Decode(word);
  return text;
}
std::string Decoded(std::initializer_list<Word> words) {
  SD08MIDIMonitorDecoder decoder;
  return Decoded(decoder, words);
}

TEST(SD08MIDIMonitorDecoder, TellsEachMessage) {
  const std::vector<std::pair<Word, const char*>> lines = {
      {On(60, 9), "Note On,  Chan: 1, Key: 60 (C4), Velocity: 9\r\n"},
      {On(61, 0, 15), "Note Off, Chan: 16, Key: 61 (C#4), Velocity: 0\r\n"},
      {Off(0), "Note Off, Chan: 1, Key: 0 (C-1), Velocity: 64\r\n"},
      {Word::FromBytes(0xA1, 69, 3), "Poly AT, Chan: 2, Key: 69 (A4), Value: 3\r\n"},
      {Controller(3, 5), "CC3, Undefined (MSB), Chan: 1, Value: 5\r\n"},
      {Controller(64, 127), "CC64, Damper Pedal on/off (Sustain), Chan: 1, Value: 127\r\n"},
      {Controller(121, 0), "CC121, Reset All Controllers, Chan: 1, Value: 0\r\n"},
      {Word::FromBytes(0xB0, 200, 1), "CC200 Negative!, Chan: 1, Value: 1\r\n"},
      {Word::FromBytes(0xC3, 5, 0), "Program Change, Chan: 4, Program: 5\r\n"},
      {Word::FromBytes(0xD0, 6, 0), "Chan AT, Chan: 1, Value: 6\r\n"},
      {Word::FromBytes(0xE0, 0, 64), "Pitch Bend, Chan: 1, Value: 0\r\n"},
      {Word::FromBytes(0xE0, 127, 127), "Pitch Bend, Chan: 1, Value: 8191\r\n"},
      {Word::FromBytes(0xF2, 1, 2), "Song Position: 257 beats\r\n"},
      {Word::FromBytes(0xF3, 7, 0), "Song Select: 7\r\n"},
      {Word::FromBytes(0xF5, 0, 0), "Undefined!!\r\n"},
      {Word::FromBytes(0xF7, 0, 0), "SysEx End!! (F7)\r\n"},
      {Word::FromBytes(0xF8, 0, 0), "Sync Clock\r\n"},
      {Word::FromBytes(0xFD, 0, 0), "Undefined\r\n"},
      {Word::FromBytes(0xFE, 0, 0), "Active Sensing (Connection Alive)\r\n"},
      {Word::FromBytes(0x40, 1, 1), ""}};
  for (const auto& [word, line] : lines) EXPECT_EQ(Decoded({word}), line);
}

TEST(SD08MIDIMonitorDecoder, JoinsWhatBelongsTogether) {
  EXPECT_EQ(Decoded({Controller(33, 2), Controller(1, 1, 1), Controller(1, 1)}),
            "CC33, Modulation Wheel (LSB), Chan: 1, Value: 2\r\n"
            "CC1, Modulation Wheel (MSB), Chan: 2, Value: 1\r\n"
            "CC1, Modulation Wheel (MSB), Chan: 1, Value: 1\r\n"
            "  > 14bit value: 130\r\n");

  SD08MIDIMonitorDecoder decoder;
  const auto entry = [&](int coarseController, int coarse, int fine) {
    Decoded(decoder,
            {Controller(coarseController, coarse), Controller(coarseController - 1, fine)});
    const std::string text = Decoded(decoder, {Controller(38, 5)});
    return text.substr(text.find('\n') + 1);
  };
  EXPECT_EQ(entry(101, 0, 1), "  > RPN Paramter: 00 01 Hex - (Channel Fine Tuning)\r\n");
  EXPECT_EQ(entry(101, 0x3D, 8), "  > RPN Paramter: 3D 08 Hex - (ROLL ANGLE)\r\n");
  EXPECT_EQ(entry(101, 9, 9), "  > RPN Paramter: 09 09 Hex - (Undefined)\r\n");
  EXPECT_EQ(entry(99, 1, 0x7F), "  > NRPN Paramter: 01 7F Hex\r\n");
  EXPECT_EQ(entry(101, 0x7F, 0x7F),
            "  > RPN Paramter: 7F 7F Hex - (Null Function Number for RPN/NRPN)\r\n");
  EXPECT_EQ(Decoded({Controller(101, 0), Controller(6, 5)}),
            "CC101, Registered Parameter Number (RPN) - MSB, Chan: 1, Value: 0\r\n"
            "CC6, Data Entry (MSB), Chan: 1, Value: 5\r\n")
      << "half a number is none";

  // 23:59:58:24 at 25 frames a second.
  SD08MIDIMonitorDecoder timeCode;
  std::string text;
  const int pieces[] = {24 & 15, 24 >> 4, 58 & 15, 58 >> 4, 59 & 15, 59 >> 4, 23 & 15, 1 << 1 | 1};
  for (int i = 0; i < 8; ++i) {
    text = timeCode.Decode(Word::FromBytes(0xF1, static_cast<unsigned>(i << 4 | pieces[i]), 0));
  }
  EXPECT_EQ(text,
            "MIDI Time Code Quarter Frame, Message Type: 7 (Rate and hour msbit), Value: 3\r\n"
            "  > Current Time: 23:59:58:24 - 25 Frames/Second\r\n");
}

TEST(SD08MIDIMonitorDecoder, ShowsDumpsOfSeveralStreams) {
  const auto cut = [](std::vector<std::uint8_t> dump) {
    SysExCutter cutter;
    std::string text;
    SD08MIDIMonitorDecoder decoder;
    cutter.Cut(dump, [&](Word packet) { text += decoder.Decode(packet); });
    return text;
  };
  EXPECT_EQ(cut({0xF0, 0x7E, 1, 2, 3, 0xF7}),
            "SysEx#1 Start (F0)\r\nUniversal SysEx#1 Non-Real time message (7E)\r\n"
            "SysEx#1 Data: 01 02 03\r\nSysEx#1 End (F7)\r\n");
  EXPECT_EQ(cut({0xF0, 0x41, 0xF7}),
            "SysEx#1 Start (F0)\r\nSysEx#1 Manufacturer ID: 41 (Roland Corporation)\r\n"
            "SysEx#1 Data:\r\nSysEx#1 End (F7)\r\n");
  EXPECT_EQ(cut({0xF0, 0, 0x20, 0x29, 9, 0xF7}),
            "SysEx#1 Start (F0)\r\nSysEx#1 Manufacturer ID: 00 20 29 (" +
                std::string("Extended ID, see the MIDI Association's list") +
                ")\r\nSysEx#1 Data: 09\r\nSysEx#1 End (F7)\r\n");
  EXPECT_EQ(
      cut({0xF0, 0x60, 5, 0xF7}),
      "SysEx#1 Start (F0)\r\nSysEx#1 Undefined ID 60\r\nSysEx#1 Data: 05\r\nSysEx#1 End (F7)\r\n");
  EXPECT_EQ(cut({0xF0, 0xF7}), "SysEx#1 Start (F0)\r\nSysEx#1 End (F7)\r\n");

  const auto packet = [](int stream, int a, int b, int c) {
    return Word::FromBytes(static_cast<unsigned>(stream), static_cast<unsigned>(a),
                           static_cast<unsigned>(b), static_cast<unsigned>(c));
  };
  EXPECT_EQ(Decoded({packet(1, 0xF0, 0xF4, 0), packet(2, 0xF0, 0xF4, 0), packet(1, 0x7F, 1, 2),
                     packet(2, 0x7F, 3, 4), packet(1, 5, 6, 7), Word::FromBytes(0xF8, 0, 0),
                     packet(2, 0xF7, 0xF4, 0xF4)}),
            "SysEx#1 Start (F0)\r\nSysEx#2 Start (F0)\r\n"
            "Universal SysEx#1 Real time message (7F)\r\nSysEx#1 Data: 01 02\r\n"
            "Universal SysEx#2 Real time message (7F)\r\nSysEx#2 Data: 03 04\r\n"
            "SysEx#1 Data: 05 06 07\r\nSync Clock\r\nSysEx#2 Data:\r\nSysEx#2 End (F7)\r\n");
}

struct Rig {
  std::string Text() {
    monitor.Update();
    monitor.Log().Collect();
    return monitor.Log().Text();
  }
  TestRack rack;
  SD08MIDIMonitor& monitor = static_cast<SD08MIDIMonitor&>(rack.Add("SD08 MIDI Monitor"));
};

TEST(SD08MIDIMonitor, ShowsWhatItsSwitchesSelectUntilItIsPurged) {
  Rig rig;
  const std::vector<TimedWord> words = {
      {0, On(60)}, {1, Word::FromBytes(0xF8, 0, 0)}, {2, Word::FromBytes(0xFA, 0, 0)}};
  const auto play = [&] {
    rig.rack.FeedMidi(rig.monitor, "MIDI in", words);
    rig.rack.Run(16);
    return rig.Text();
  };
  const std::string first = play();
  EXPECT_EQ(first.find("Note: All SysEx IDs and data are in hexadecimal"), 0u);
  EXPECT_NE(first.find("Note On"), std::string::npos);
  rig.rack.MoveControl(rig.monitor, "Purge", 1.0f);
  rig.rack.MoveControl(rig.monitor, "Purge", 0.0f);
  EXPECT_EQ(rig.Text(), "");
  rig.rack.SetControl(rig.monitor, "Channel messages", 0.0f);
  rig.rack.SetControl(rig.monitor, "Clock", 0.0f);
  EXPECT_EQ(play(), "Start (Transport)\n");
}

TEST(SD08MIDIMonitor, KeepsUpAndSaysWhatItDropped) {
  Rig rig;
  // A second with 3000 messages, looked at 25 times.
  std::vector<TimedWord> words;
  for (int i = 0; i < 3000; ++i) words.push_back({i * 16, Controller(1, i % 128)});
  rig.rack.FeedMidi(rig.monitor, "MIDI in", words);
  for (int i = 0; i < 25; ++i) {
    rig.rack.Run(1920);
    rig.Text();
  }
  rig.rack.Run(64);
  std::string text = rig.Text();
  std::istringstream lines(text);
  std::string line;
  std::getline(lines, line);
  for (int i = 0; i < 3000; ++i) {
    std::getline(lines, line);
    ASSERT_EQ(line, "CC1, Modulation Wheel (MSB), Chan: 1, Value: " + std::to_string(i % 128)) << i;
  }
  EXPECT_EQ(text.find("dropped"), std::string::npos);

  // Nobody looks for 20000 messages.
  words.clear();
  for (int i = 0; i < 20000; ++i) words.push_back({i, Controller(1, 0)});
  rig.rack.FeedMidi(rig.monitor, "MIDI in", words);
  rig.rack.Run(20100);
  text = rig.Text();
  EXPECT_NE(text.find("Error: 3616 messages were dropped"), std::string::npos);
}

TEST(SD08MIDIMonitor, RefusesMoreWhenItsMemoryIsFull) {
  Rig rig;
  std::vector<TimedWord> words;
  for (int i = 0; i < 16000; ++i) words.push_back({i, Controller(71, i % 128)});
  std::string text;
  for (int i = 0; i < 10; ++i) {
    rig.rack.FeedMidi(rig.monitor, "MIDI in", words);
    rig.rack.Run(16000);
    text = rig.Text();
  }
  EXPECT_LT(text.size(), 5u << 20);
  EXPECT_NE(text.find("Error: Buffer Memory Full!! Please purge."), std::string::npos);
}

}  // namespace
}  // namespace halveron::testing
