#include <gtest/gtest.h>

#include "modules/midi/SD12CVToMIDIConverterKernel.h"
#include "modules/midi/channel_stepper.h"
#include "tests/modules/midi/note_streams.h"
#include "tests/support/test_rack.h"

namespace halveron::testing {
namespace {

TEST(SD12CVToMIDIConverter, PlaysTheNearestKeyAndEndsTheOneThatSounds) {
  TestRack rack;
  Module& converter = rack.Add("SD12 CV To MIDI Converter");
  std::vector<float> gate(64, 0.0f), pitch(64, 4.4f / 120), velocity(64, 0.5f);
  for (std::size_t i = 10; i < 20; ++i) gate[i] = 1.0f;
  for (std::size_t i = 15; i < 64; ++i) pitch[i] = -1.0f;  // far below key 0
  for (std::size_t i = 30; i < 40; ++i) gate[i] = 0.25f;
  for (std::size_t i = 30; i < 64; ++i) velocity[i] = -2.0f;
  rack.Feed(converter, "Gate", gate);
  rack.Feed(converter, "Pitch", pitch);
  rack.Feed(converter, "Velocity", velocity);
  rack.Tap(converter, "MIDI out");
  rack.Run(64);
  std::vector<std::pair<int, Word>> sent;
  const auto words = rack.RecordedWords(converter, "MIDI out");
  for (int i = 0; i < 60; ++i) {
    if (!words[static_cast<std::size_t>(i)].IsNone())
      sent.emplace_back(i, words[static_cast<std::size_t>(i)]);
  }
  EXPECT_EQ((std::vector<std::pair<int, Word>>{
                {10, On(64, 64)}, {20, Off(64)}, {30, On(0, 1)}, {40, Off(0)}}),
            sent);
}

TEST(SD12CVToMIDIConverter, TheChannelStepsBySignalAndButtons) {
  TestRack rack;
  Module& converter = rack.Add("SD12 CV To MIDI Converter");
  // Up; bouncing within the hold-off; down twice, which goes round the end.
  std::vector<float> steps(4000, 0.0f);
  steps[5] = steps[7] = steps[9] = 1.0f;
  for (std::size_t i = 1000; i < 1500; ++i) steps[i] = -1.0f;
  for (std::size_t i = 2000; i < 2500; ++i) steps[i] = -0.25f;
  rack.Feed(converter, "Channel", steps);
  const auto shown = [&] { return rack.Control(converter, "Channel").getValue(); };
  rack.Run(100);
  EXPECT_EQ(shown(), 2.0f);
  rack.Run(1500);
  EXPECT_EQ(shown(), 1.0f);
  rack.Run(1000);
  EXPECT_EQ(shown(), 16.0f);
  rack.FeedConstant(converter, "Gate", 1.0f);
  rack.Tap(converter, "MIDI out");
  rack.Run(10);
  rack.MoveControl(converter, "Up", 1.0f);
  rack.MoveControl(converter, "Up", 0.0f);
  EXPECT_EQ(shown(), 1.0f);
  rack.FeedConstant(converter, "Gate", 0.0f);
  rack.Run(10);
  std::vector<Word> sent;
  for (const Word word : rack.RecordedWords(converter, "MIDI out")) {
    if (!word.IsNone()) sent.push_back(word);
  }
  EXPECT_EQ((std::vector<Word>{On(60, 100, 15), Off(60, 15)}), sent);
}

TEST(SD12CVToMIDIConverterKernel, BearsAnySignal) {
  SD12CVToMIDIConverterKernel kernel;
  Listener listener;
  std::mt19937 random(1);
  const float levels[] = {0.0f, 1.0f, -1.0f, 1e30f, -1e30f, std::nanf(""), 0.3f};
  const auto any = [&] { return levels[random() % 7]; };
  for (int i = 0; i < 5000; ++i) {
    const int velocity = SD12CVToMIDIConverterKernel::VelocityOf(any());
    ASSERT_TRUE(velocity >= 1 && velocity <= 127);
    listener.Hear(kernel.Step(any(), any(), velocity, static_cast<int>(random() % 16)));
  }
  listener.Hear(kernel.Step(0.0f, 0.0f, 1, 0));
  EXPECT_EQ(listener.Sounding(), 0);
  EXPECT_GT(listener.began, 100);
}

}  // namespace
}  // namespace halveron::testing
