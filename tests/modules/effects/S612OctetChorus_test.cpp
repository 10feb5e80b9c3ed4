#include "modules/effects/S612OctetChorus.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>
#include <vector>

#include "tests/support/test_rack.h"

namespace halveron::testing {
namespace {

constexpr float kRate = 48000.0f;

struct ChorusRig {
  explicit ChorusRig(int voices) {
    EXPECT_TRUE(
        memory.Take(S612OctetChorusKernel::kMostVoices, S612OctetChorusKernel::SizeAt(kRate)));
    kernel.Prepare(kRate);
    kernel.Attach(memory);
    kernel.SetVoices(voices);
    kernel.SettleRate(knobs.rate);
  }
  auto Step(float left, float right) {
    S612OctetChorusKernel::Inputs in = inputs;
    in.left = left;
    in.right = right;
    return kernel.Step(knobs, in);
  }

  dsp::DelayMemory memory;
  S612OctetChorusKernel kernel;
  S612OctetChorusKernel::Knobs knobs;
  S612OctetChorusKernel::Inputs inputs;
};

TEST(S612OctetChorus, DelaysByAMillisecondWithoutDepth) {
  for (const int voices : {2, 5, 8}) {
    ChorusRig rig(voices);
    rig.knobs.spread = 0.0;
    rig.knobs.feedback = 0.5;
    for (int n = 0; n < 200; ++n) {
      const auto [left, right] = rig.Step(n == 0 ? 1.0f : 0.0f, n == 0 ? 1.0f : 0.0f);
      const double echo = n % 48 == 0 && n > 0 ? std::pow(0.5 * 0.95, n / 48 - 1) : 0.0;
      ASSERT_NEAR(left, voices * echo, 1e-5) << voices << ' ' << n;
      ASSERT_EQ(left, right) << "no spread";
    }
  }
}

TEST(S612OctetChorus, SpreadPansVoicesHard) {
  ChorusRig rig(4);
  double left = 0.0, right = 0.0;
  for (int n = 0; n < 100; ++n) {
    const auto wet = rig.Step(n == 0 ? 1.0f : 0.0f, 0.0f);
    left += wet.left;
    right += wet.right;
  }
  EXPECT_NEAR(left, 2.0, 1e-6) << "two even voices delay the left side";
  EXPECT_EQ(right, 0.0);
  rig.inputs.spreadCv = 0.25f;  // a share of 0.75 goes across
  left = right = 0.0;
  for (int n = 0; n < 100; ++n) {
    const auto wet = rig.Step(0.0f, n == 0 ? 1.0f : 0.0f);
    left += wet.left;
    right += wet.right;
  }
  EXPECT_NEAR(right, 2.0, 1e-6);
  EXPECT_NEAR(left, 1.5, 1e-6);
}

/// One parabola up and one down.
double Wave(double p) {
  p -= std::floor(p);
  return p > 0.5 ? std::pow(4 * p - 3, 2) * 0.5 : 1.0 - std::pow(4 * p - 1, 2) * 0.5;
}

TEST(S612OctetChorus, SweepsEachVoiceByItsOwnPhase) {
  for (const int voices : {2, 3, 8}) {
    for (const float rate : {0.0f, 0.5f, 1.0f}) {
      ChorusRig rig(voices);
      rig.knobs.depth = 0.5;
      rig.knobs.rate = rate;
      rig.kernel.SettleRate(rate);
      rig.knobs.spread = 0.0;
      const double slowest = 0.2 / (voices * kRate), fastest = 40.0 / (voices * kRate);
      const double inc = (fastest - slowest) * rate * rate + slowest;
      const double scale = slowest / inc * 0.5 * 0.125 * voices;
      const double longest = S612OctetChorusKernel::SizeAt(kRate) - 1, shortest = 48.0;
      for (int n = 0; n < 60000; ++n) {
        const double sum = rig.Step(static_cast<float>(n), static_cast<float>(n)).left;
        if (n % 997 != 0 || n < 50000) continue;  // the lines must be full of ramp
        double delays = 0.0;
        for (int i = 0; i < voices; ++i) {
          const double w = Wave(static_cast<double>(i) / voices + n * inc);
          delays += (longest - shortest) * scale * w + shortest;
        }
        ASSERT_NEAR(voices * static_cast<double>(n) - sum, delays, 0.05 * voices)
            << voices << ' ' << rate << ' ' << n;
      }
    }
  }
}

TEST(S612OctetChorus, VoltagesOfAnySizeKeepItSound) {
  ChorusRig rig(8);
  rig.knobs = {1.0, 1.0, 1.0, 1.0f, 1.0, 1.0};
  for (const float wild : {-1e30f, 1e30f, INFINITY, -INFINITY, NAN}) {
    rig.inputs.depthCv = rig.inputs.rateCv = rig.inputs.spreadCv = wild;
    for (int n = 0; n < 100; ++n) rig.Step(wild, wild);
  }
  rig.inputs = {};
  for (int n = 0; n < 100; ++n) {
    EXPECT_TRUE(std::isfinite(rig.Step(0.1f, 0.1f).left));
  }
}

TEST(S612OctetChorus, CountsItsVoicesAndFeedsBothSidesFromOne) {
  TestRack rack(kRate);
  Module& chorus = rack.Add("S612 Octet Chorus");
  rack.SetControl(chorus, "Mix", 1.0f);
  rack.SetControl(chorus, "Depth", 0.0f);
  rack.SetControl(chorus, "Spread", 0.0f);
  rack.Tap(chorus, "Out L");
  rack.Tap(chorus, "Out R");
  for (int step = 0; step <= 6; ++step) {
    rack.SetControl(chorus, "Voices", (static_cast<float>(step) + 0.001f) / 6.0f);
    rack.Feed(chorus, "In L", {0.25f});
    rack.Run(100);
    const auto from = static_cast<std::ptrdiff_t>(100 * step);
    const auto& left = rack.Recorded(chorus, "Out L");
    const std::vector<float> window(left.begin() + from, left.begin() + from + 90);
    EXPECT_NEAR(*std::max_element(window.begin(), window.end()), 0.25 * (step + 2), 0.02) << step;
    EXPECT_EQ(left, rack.Recorded(chorus, "Out R"));
  }
}

}  // namespace
}  // namespace halveron::testing
