// The envelope, the LFO and the random source in a rack: controls, cables and presets.
#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>
#include <cstring>
#include <limits>
#include <vector>

#include "tests/support/test_rack.h"

namespace halveron::testing {
namespace {

using Bytes = std::vector<std::byte>;

/// The block of a present preset up to its last 8 bytes, then a clock increment.
template <class Stored>
Bytes WithIncrement(Bytes block, Stored increment) {
  block.resize(block.size() - sizeof(double));
  const auto* raw = reinterpret_cast<const std::byte*>(&increment);
  block.insert(block.end(), raw, raw + sizeof(increment));
  return block;
}

void Load(Module& module, const Bytes& block, int version) {
  module.LoadPreset(block.data(), static_cast<int>(block.size()), version);
}

double IncrementOf(TestRack& rack, Module& module) {
  const Bytes block = rack.SavedPreset(module);
  double increment = 0.0;
  std::memcpy(&increment, block.data() + block.size() - sizeof(double), sizeof(double));
  return increment;
}

TEST(S500ADSR, FollowsGateButtonAndTimeVoltage) {
  TestRack rack(48000);
  Module& adsr = rack.Add("S500 ADSR");
  const double A = 48000 * 0.0011337868480725624;
  const double D = 48000 * 0.0020408163265306124;
  rack.SetControl(adsr, "Sustain", 0.5f);
  rack.Tap(adsr, "Envelope");
  rack.Tap(adsr, "Sustain flag");
  std::vector<float> gate(300, 1.0f);
  gate[200] = 0.0f;
  rack.Feed(adsr, "Gate", gate);
  rack.Run(400);
  const auto& linear = rack.Recorded(adsr, "Envelope");
  EXPECT_NEAR(linear[20], 20 / A, 1e-6);
  EXPECT_NEAR(linear[100], 1.0 - 0.5 * (100 - A) / D, 1e-6);
  EXPECT_EQ(linear[201], 0.5f) << "neither edge writes";
  EXPECT_NEAR(linear[202], 0.5 + 1 / A, 1e-6);
  EXPECT_EQ(rack.Recorded(adsr, "Sustain flag")[199], 1.0f);
  EXPECT_EQ(linear[399], 0.0f);

  // The button outweighs the gate, and time runs at 1 + voltage * amount.
  rack.SetControl(adsr, "Curve", 1.0f);
  rack.SetControl(adsr, "Time CV amount", 0.5f);
  rack.FeedConstant(adsr, "Time CV", 2.0f);
  rack.Run(2);
  rack.SetControl(adsr, "Manual gate", 1.0f);
  rack.Run(11);
  EXPECT_NEAR(rack.Out(adsr, "Envelope"), 1.0 - std::pow(1.0 - 20 / A, 2.0), 1e-6);
  rack.SetControl(adsr, "Manual gate", 0.0f);
  rack.Run(100);
  EXPECT_EQ(rack.Out(adsr, "Envelope"), 0.0f);
}

TEST(S515VCLFO, RunsFreeAndClockedWithStepsAndLamp) {
  TestRack rack(48000);
  Module& lfo = rack.Add("S515 VCLFO");
  EXPECT_TRUE(lfo.GetAlwaysOnDefault());
  rack.SetControl(lfo, "Rate", 1.0f);
  rack.Tap(lfo, "Bipolar");
  rack.Run(48000);
  const auto& saw = rack.Recorded(lfo, "Bipolar");
  int turns = 0;
  for (std::size_t k = 1; k < saw.size(); ++k) turns += saw[k] >= 0.0f && saw[k - 1] < 0.0f;
  EXPECT_NEAR(turns, 25, 1);
  EXPECT_NEAR(rack.Out(lfo, "Unipolar"), (rack.Out(lfo, "Bipolar") + 1.0f) * 0.5f, 1e-7);
  EXPECT_EQ(rack.Control(lfo, "Activity LED").getValue(), rack.Out(lfo, "Unipolar"));

  rack.SetControl(lfo, "Waveform", 4.0f / 6.0f);
  rack.SetControl(lfo, "Steps", 1.0f);
  rack.FeedConstant(lfo, "Steps CV", 0.25f);
  for (int k = 0; k < 100; ++k) {
    rack.Run(37);
    const float quarters = rack.Out(lfo, "Bipolar") * 4.0f;
    EXPECT_EQ(quarters, std::trunc(quarters));
  }
  rack.Disconnect(lfo, "Steps CV");
  rack.Run(100);
  const float whole = std::abs(rack.Out(lfo, "Bipolar"));
  EXPECT_TRUE(whole == 0.0f || whole == 0.999f) << "without a cable the knob alone is the step";

  // A clock of 480 samples; a rate of 3/15 makes four turns of each.
  rack.SetControl(lfo, "Rate", 0.2f);
  std::vector<float> clock(4800, 0.0f);
  for (std::size_t k = 0; k < clock.size(); k += 480) clock[k] = 1.0f;
  rack.Feed(lfo, "Clock", clock);
  rack.Run(4800);
  EXPECT_EQ(IncrementOf(rack, lfo), 1.0 / 480);
  rack.SetControl(lfo, "Steps", 0.0f);
  rack.SetControl(lfo, "Waveform", 0.0f);
  rack.Run(2);
  const float before = rack.Out(lfo, "Bipolar");
  rack.Run(30);
  const float after = rack.Out(lfo, "Bipolar");
  EXPECT_NEAR(std::remainder(after - before - 30 * 2 * 4.0 / 480, 2.0), 0.0, 1e-5);
  rack.Disconnect(lfo, "Clock");
  EXPECT_EQ(IncrementOf(rack, lfo), 0.0) << "the pace goes with the cable";
}

TEST(S515VCLFO, LoadsPresetsOfAllVersions) {
  TestRack rack(48000);
  Module& source = rack.Add("S515 VCLFO");
  rack.SetControl(source, "Steps", 0.3f);
  rack.SetControl(source, "Waveform", 0.5f);
  rack.SetControl(source, "Phase", 0.7f);
  rack.SetControl(source, "Range", 0.0f);
  const Bytes present = WithIncrement(rack.SavedPreset(source), 0.125);
  ASSERT_EQ(present.size(), rack.SavedPreset(source).size());

  const auto expect = [&](Module& lfo, float phase, double increment) {
    EXPECT_EQ(rack.Control(lfo, "Steps").getValue(), 0.3f);
    EXPECT_EQ(rack.Control(lfo, "Waveform").getValue(), 0.5f);
    EXPECT_EQ(rack.Control(lfo, "Phase").getValue(), phase);
    EXPECT_EQ(rack.Control(lfo, "Range").getValue(), 0.0f);
    EXPECT_EQ(IncrementOf(rack, lfo), increment);
  };
  Module& latest = rack.Add("S515 VCLFO");
  Load(latest, present, 1003);
  expect(latest, 0.7f, 0.125);
  Module& older = rack.Add("S515 VCLFO");
  Load(older, WithIncrement(present, 0.25f), 1002);
  expect(older, 0.7f, 0.25);

  Bytes oldest = WithIncrement(present, 0.5f);
  oldest.erase(oldest.begin() + 16, oldest.begin() + 20);
  oldest.resize(oldest.size() + 4);
  Module& first = rack.Add("S515 VCLFO");
  rack.SetControl(first, "Phase", 0.9f);
  Load(first, oldest, 1001);
  expect(first, 0.0f, 0.5);

  for (const double wrong : {-0.1, std::numeric_limits<double>::infinity(), std::nan("")}) {
    Module& refused = rack.Add("S515 VCLFO");
    Load(refused, WithIncrement(present, wrong), 1003);
    expect(refused, 0.7f, 0.0);
  }
  for (const int version : {1001, 1002, 1003}) {
    for (std::size_t size = 0; size < present.size(); ++size) {
      Load(latest, Bytes(present.begin(), present.begin() + static_cast<long>(size)), version);
    }
  }
  rack.Run(10);
  EXPECT_TRUE(std::isfinite(rack.Out(latest, "Bipolar")));
}

TEST(S516RSH, SamplesByClockAndKeepsItInPresets) {
  TestRack rack(48000);
  Module& rsh = rack.Add("S516 R-S&H");
  std::vector<float> clock(400, 0.0f);
  std::vector<float> signal(400);
  for (std::size_t k = 0; k < clock.size(); ++k) {
    clock[k] = k % 100 == 0 ? 1.0f : 0.0f;
    signal[k] = static_cast<float>(std::sin(0.05 * k));
  }
  rack.Feed(rsh, "Clock", clock);
  rack.Feed(rsh, "Signal", signal);
  for (const char* output : {"Sampled", "Highest", "Lowest", "Smooth random"}) {
    rack.Tap(rsh, output);
  }
  rack.Run(400);
  const auto& smooth = rack.Recorded(rsh, "Smooth random");
  for (std::size_t k = 0; k < 400; ++k) {
    const auto since = signal.begin() + static_cast<long>(k / 100 * 100);
    const auto now = signal.begin() + static_cast<long>(k) + 1;
    ASSERT_EQ(rack.Recorded(rsh, "Sampled")[k], *since) << k;
    ASSERT_EQ(rack.Recorded(rsh, "Highest")[k], *std::max_element(since, now)) << k;
    ASSERT_EQ(rack.Recorded(rsh, "Lowest")[k], *std::min_element(since, now)) << k;
    // Each segment of the line is straight and takes one clock from the second clock on.
    if (k > 102 && k % 100 > 2) {
      ASSERT_NEAR(smooth[k] - smooth[k - 1], smooth[k - 1] - smooth[k - 2], 1e-6) << k;
    }
  }
  EXPECT_EQ(rack.Control(rsh, "LED 1").getValue(), signal[300]);
  EXPECT_EQ(rack.Control(rsh, "LED 2").getValue(), -signal[300]);

  const Bytes present = rack.SavedPreset(rsh);
  Module& latest = rack.Add("S516 R-S&H");
  Load(latest, present, 1002);
  EXPECT_EQ(IncrementOf(rack, latest), 0.01);
  Load(latest, WithIncrement(present, 0.5f), 1001);
  EXPECT_EQ(IncrementOf(rack, latest), 0.5);
  Module& oldest = rack.Add("S516 R-S&H");
  Load(oldest, present, 1000);
  EXPECT_EQ(IncrementOf(rack, oldest), 0.0);
  rack.Disconnect(rsh, "Clock");
  EXPECT_EQ(IncrementOf(rack, rsh), 0.0);
}

}  // namespace
}  // namespace halveron::testing
