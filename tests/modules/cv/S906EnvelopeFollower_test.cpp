// S906: the level of a signal, its speed, its gates.
#include <gtest/gtest.h>

#include <cmath>
#include <numbers>
#include <string>
#include <utility>
#include <vector>

#include "tests/support/test_rack.h"

namespace halveron::testing {
namespace {

constexpr float kRate = 48000.0f;

TEST(S906EnvelopeFollower, SettlesAtTwiceTheMeanMagnitude) {
  TestRack rack(kRate);
  Module& follower = rack.Add("S906 Envelope Follower");
  rack.FeedConstant(follower, "In", -1.0f);
  rack.Run(static_cast<int>(kRate));
  EXPECT_NEAR(rack.Out(follower, "Envelope"), 2.0f, 1e-4);
  std::vector<float> sine(static_cast<std::size_t>(kRate));
  for (std::size_t i = 0; i < sine.size(); ++i) {
    sine[i] = static_cast<float>(
        std::sin(2 * std::numbers::pi * 2000.0 / 48000.0 * static_cast<double>(i)));
  }
  rack.Feed(follower, "In", sine);
  rack.Run(static_cast<int>(kRate) - 100);
  EXPECT_NEAR(rack.Out(follower, "Envelope"), 4 / std::numbers::pi, 0.01);
}

TEST(S906EnvelopeFollower, SpeedGoesFromFiveToSeventyHertz) {
  // Two one-pole low-passes with corner w: a step reaches 1 - (1 + wt) e^(-wt); at wt = 1 that is
  // 0.264.
  for (const auto& [knob, corner] : {std::pair(0.0f, 5.0), std::pair(1.0f, 70.0)}) {
    TestRack rack(kRate);
    Module& follower = rack.Add("S906 Envelope Follower");
    rack.SetControl(follower, "Speed", knob);
    rack.Feed(follower, "In", std::vector<float>(20000, 1.0f));
    rack.Tap(follower, "Envelope");
    const double constant = 48000.0 / (2 * std::numbers::pi * corner);
    rack.Run(static_cast<int>(4 * constant));
    const auto& envelope = rack.Recorded(follower, "Envelope");
    for (const int n : {1, 2, 3}) {
      const double expected = 2 * (1 - (1 + n) * std::exp(-n));
      EXPECT_NEAR(envelope[static_cast<std::size_t>(n * constant)], expected, 0.01) << corner;
    }
  }
}

TEST(S906EnvelopeFollower, GatesAreHighAboveTheirThresholds) {
  TestRack rack(kRate);
  Module& follower = rack.Add("S906 Envelope Follower");
  const float thresholds[] = {0.1f, 0.45f, 0.55f, 1.0f};
  for (int i = 0; i < 4; ++i) {
    rack.SetControl(follower, "Threshold " + std::to_string(i + 1), thresholds[i]);
  }
  rack.FeedConstant(follower, "In", 0.25f);
  rack.Run(static_cast<int>(kRate));
  for (int i = 0; i < 4; ++i) {
    const std::string number = std::to_string(i + 1);
    const float gate = thresholds[i] < 0.5f ? 1.0f : 0.0f;
    EXPECT_EQ(rack.Out(follower, "Gate " + number), gate) << number;
    EXPECT_EQ(rack.Control(follower, "Gate LED " + number).getValue(), gate) << number;
  }
}

}  // namespace
}  // namespace halveron::testing
