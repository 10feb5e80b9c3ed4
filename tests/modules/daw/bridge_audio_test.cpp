// Audio from and to the host: channels, gains, clipping, traits of the family.
#include <gtest/gtest.h>

#include <string>
#include <vector>

#include "tests/support/noise.h"
#include "tests/support/test_rack.h"

namespace halveron::testing {
namespace {

TEST(BridgeAudio, ChannelsCrossTheRackBitForBit) {
  constexpr int kSamples = 200;
  TestRack rack;
  for (int c = 0; c < kDawInputs; ++c) rack.input(c) = Noise(kSamples, static_cast<unsigned>(c));
  Module& from = rack.Add("SA11 Audio/CV From DAW");
  Module& to = rack.Add("SA12 Audio/CV To DAW");
  Module& pair = rack.Add("SA01 2 From DAW");
  rack.Tap(pair, "Left");
  rack.Tap(pair, "Right");
  // Jack 1 into jack 1, the others turned round, so that no channel keeps its neighbours.
  const auto target = [](int c) { return c == 0 ? 0 : 10 - c; };
  for (int c = 0; c < 10; ++c) {
    rack.Connect(from, std::to_string(c + 1), to, std::to_string(target(c) + 1));
  }
  rack.Run(kSamples - 2);
  for (int c = 0; c < 10; ++c) {
    const std::vector<float>& out = rack.output(target(c) + 2);
    for (int i = 1; i < kSamples; ++i) ASSERT_EQ(out[i], rack.input(c)[i - 1]) << c << ", " << i;
  }
  // The recorder is one cable behind, of the two that it takes off.
  for (int i = 0; i + 2 < kSamples; ++i) {
    ASSERT_EQ(rack.Recorded(pair, "Left")[i], rack.input(0)[i + 1]);
    ASSERT_EQ(rack.Recorded(pair, "Right")[i], rack.input(1)[i + 1]);
  }
  for (const float sample : rack.output(0)) ASSERT_EQ(sample, 0.0f);
}

TEST(BridgeAudio, GainsAreSquaresInDouble) {
  constexpr int kSamples = 300;
  const std::vector<float> left = Noise(kSamples, 21), right = Noise(kSamples, 22);
  const struct {
    const char* name;
    float leftKnob, rightKnob;
    double factor;
  } cases[] = {{"SA02 2 DAW", 0.5f, 0.5f, 1.0},
               {"SA02 2 DAW", 0.73f, 0.31f, 1.0},
               {"SA05 2 DAW 12db Amplifier", 0.5f, 0.5f, 4.0},
               {"SA05 2 DAW 12db Amplifier", 1.0f, 0.61f, 4.0}};
  for (const auto& c : cases) {
    TestRack rack;
    Module& module = rack.Add(c.name);
    EXPECT_EQ(rack.Control(module, "Left gain").getValue(), 0.5f);
    rack.SetControl(module, "Left gain", c.leftKnob);
    rack.SetControl(module, "Right gain", c.rightKnob);
    rack.Feed(module, "Left", left);
    rack.Feed(module, "Right", right);
    rack.Run(kSamples);
    const auto expected = [&](float x, double knob) {
      return static_cast<float>(x * knob * knob * c.factor);
    };
    for (int i = 0; i + 1 < kSamples; ++i) {
      ASSERT_EQ(rack.output(0)[i + 1], expected(left[i], c.leftKnob)) << c.name;
      ASSERT_EQ(rack.output(1)[i + 1], expected(right[i], c.rightKnob)) << c.name;
    }
  }
}

TEST(BridgeAudio, ClippedOutputHoldsFullScaleAndTellsFor200Milliseconds) {
  TestRack rack(10000);
  Module& module = rack.Add("SA13 Clipped 2 DAW");
  rack.SetControl(module, "Gain", 1.0f);
  rack.Feed(module, "Left", {0.5f, 1.0f, -1.0f});
  rack.Feed(module, "Right", {1.0f, 0.25f, 0.0f, 0.0f, -1.5f});
  const auto lamp = [&] { return rack.Control(module, "Clip LED").getValue(); };
  rack.RunBlock(5);
  EXPECT_EQ(lamp(), 0.0f);
  rack.RunBlock(1);
  EXPECT_EQ(lamp(), 1.0f);
  const std::vector<float> right(rack.output(1).begin(), rack.output(1).end());
  EXPECT_EQ(right, (std::vector<float>{0, 1, 0.25f, 0, 0, -1}));
  EXPECT_EQ(rack.output(0)[2], 1.0f);
  EXPECT_EQ(rack.output(0)[3], -1.0f);
  // 2000 samples, the clipped one the first.
  rack.RunBlock(1998);
  EXPECT_EQ(lamp(), 1.0f);
  rack.RunBlock(1);
  EXPECT_EQ(lamp(), 0.0f);

  // A lamp that was saved while lit does not stay on for good.
  rack.Feed(module, "Left", {2.0f});
  rack.RunBlock(4);
  ASSERT_EQ(lamp(), 1.0f);
  const auto preset = rack.SavedPreset(module);
  module.LoadPreset(preset.data(), static_cast<int>(preset.size()), 1000);
  EXPECT_EQ(lamp(), 0.0f);
}

TEST(BridgeAudio, TraitsOfTheFamily) {
  const struct {
    const char* name;
    bool toDaw, alwaysOn;
  } traits[] = {{"SA01 2 From DAW", false, false},          {"SA02 2 DAW", true, false},
                {"SA03 MIDI/Sync From DAW", false, true},   {"SA04 Tempo From DAW", false, true},
                {"SA05 2 DAW 12db Amplifier", true, false}, {"SA06 MIDI To DAW", false, false},
                {"SA11 Audio/CV From DAW", false, false},   {"SA12 Audio/CV To DAW", true, false},
                {"SA13 Clipped 2 DAW", true, false},        {"S815 InOut Connector", false, false}};
  TestRack rack;
  for (const auto& trait : traits) {
    const Module& module = rack.Add(trait.name);
    EXPECT_EQ(module.IsAudioToDAW(), trait.toDaw) << trait.name;
    EXPECT_EQ(module.monoSelectable, !trait.toDaw) << trait.name;
    EXPECT_EQ(module.GetAlwaysOnDefault(), trait.alwaysOn) << trait.name;
    EXPECT_TRUE(module.GetMonoDefault()) << trait.name;
    EXPECT_EQ(module.GetVersion(), 1000) << trait.name;
    EXPECT_EQ(module.clipLevel, -1.0f) << trait.name;
  }
}

}  // namespace
}  // namespace halveron::testing
