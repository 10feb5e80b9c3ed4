#include <gtest/gtest.h>

#include <map>

#include "modules/midi/SD13CVToMIDICCConverterKernel.h"
#include "tests/support/midi_words.h"
#include "tests/support/test_rack.h"

namespace halveron::testing {
namespace {

TEST(SD13CVToMIDICCConverter, SendsWhatIsCabledWhenItChanges) {
  TestRack rack;
  Module& converter = rack.Add("SD13 CV To MIDI CC Converter");
  rack.SetControl(converter, "Controller 3", 74.0f / 127.0f);
  rack.SetControl(converter, "Bipolar", 1.0f);
  rack.Tap(converter, "MIDI out");
  rack.Run(16);
  rack.FeedConstant(converter, "In 1", 0.0f);
  rack.FeedConstant(converter, "In 3", -1.0f);
  const auto received = [&] {  // the last value of each controller
    std::map<int, int> values;
    for (const Word word : rack.RecordedWords(converter, "MIDI out")) {
      if (word.IsNone()) continue;
      EXPECT_EQ(word.Status(), 0xB0);
      values[word.Data1()] = word.Data2();
    }
    return values;
  };
  rack.Run(2000);
  EXPECT_EQ((std::map<int, int>{{20, 64}, {74, 0}}), received());
  rack.FeedConstant(converter, "In 3", 3.0f);
  rack.Run(2000);
  EXPECT_EQ((std::map<int, int>{{20, 64}, {74, 127}}), received());
}

TEST(SD13CVToMIDICCConverterKernel, KeepsItsRateAndSendsTheLastValue) {
  SD13CVToMIDICCConverterKernel kernel;
  kernel.Prepare(48000.0f);
  for (int i = 0; i < 8; ++i) kernel.lanes[static_cast<std::size_t>(i)].controller = i;
  std::map<int, int> last, sentAt;
  int sent = 0;
  int sample = 0;
  const auto run = [&](int samples, auto valueOf) {
    for (int end = sample + samples; sample < end; ++sample) {
      const Word word = kernel.Step(5, valueOf);
      if (word.IsNone()) continue;
      EXPECT_EQ(word.Status(), 0xB5);
      if (sentAt.count(word.Data1())) {
        EXPECT_GE(sample - sentAt[word.Data1()], 480);
      }
      sentAt[word.Data1()] = sample;
      last[word.Data1()] = word.Data2();
      ++sent;
    }
  };
  run(48000, [&](int lane) { return (sample + lane) % 128; });  // all change with every sample
  EXPECT_NEAR(sent, 800, 10);
  run(1000, [](int lane) { return lane == 3 ? -1 : 40 + lane; });
  for (int lane = 0; lane < 8; ++lane) {
    if (lane != 3) {
      EXPECT_EQ(last[lane], 40 + lane);
    }
  }
}

}  // namespace
}  // namespace halveron::testing
