// S500: segments, restarts, gates and time voltage.
#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>
#include <limits>
#include <vector>

#include "modules/modulators/S500ADSRKernel.h"
#include "tests/support/test_rack.h"

namespace halveron::testing {
namespace {

constexpr float kNaN = std::numeric_limits<float>::quiet_NaN();
constexpr float kInf = std::numeric_limits<float>::infinity();

TEST(S500ADSRKernel, SegmentsFollowTheirClosedFormsAtAnyRate) {
  for (const float rate : {8000.0f, 48000.0f, 192000.0f}) {
    for (const bool linear : {true, false}) {
      S500ADSRKernel<> envelope;
      envelope.Prepare(rate);
      envelope.linear = linear;
      const S500ADSRKernel<>::Stages stages{0.1, 0.12, 0.4, 0.08};
      const auto time = [&](double shortest, double knob) {
        return (rate * 22.0 - rate * shortest) * std::pow(knob, 3.0) + rate * shortest;
      };
      const double A = time(0.0011337868480725624, 0.1);
      const double D = time(0.0020408163265306124, 0.12);
      const double R = time(0.0020408163265306124, 0.08);

      envelope.Step(stages, 1.0, 1.0f, 0.0f);
      EXPECT_EQ(envelope.envelope, 0.0f) << "the edge's own sample writes nothing";
      int k = 1;
      for (envelope.Step(stages, 1.0, 1.0f, 0.0f); envelope.sustainFlag == 0.0f; ++k) {
        const double x = k / A;
        const double w = 1.0 - (k - A) / D;
        const double attack = linear ? x : 1.0 - std::pow(1.0 - x, 2.0);
        const double decay = linear ? 1.0 - 0.6 * (k - A) / D : w * w * 0.6 + 0.4;
        ASSERT_NEAR(envelope.envelope, k > A ? decay : attack, 1e-6) << k;
        envelope.Step(stages, 1.0, 1.0f, 0.0f);
      }
      EXPECT_EQ(k, static_cast<int>(A + D) + 1);
      EXPECT_EQ(envelope.envelope, 0.4f);

      envelope.Step(stages, 1.0, 0.2f, 0.0f);
      EXPECT_EQ(envelope.envelope, 0.4f) << "the falling edge leaves the output";
      envelope.Step(stages, 1.0, 0.0f, 0.0f);
      for (k = 1; envelope.envelope != 0.0f; ++k) {
        const double x = k / R;
        ASSERT_NEAR(envelope.envelope, 0.4 * (1.0 - x) * (linear ? 1.0 : 1.0 - x), 1e-6) << k;
        envelope.Step(stages, 1.0, 0.0f, 0.0f);
      }
      EXPECT_EQ(k, static_cast<int>(R) + 1);
    }
  }
}

TEST(S500ADSRKernel, RestartsWithoutAStepAndRunsAtItsSpeed) {
  for (const bool linear : {true, false}) {
    S500ADSRKernel<> envelope;
    envelope.Prepare(48000.0f);
    envelope.linear = linear;
    const S500ADSRKernel<>::Stages stages{0.1, 0.1, 0.7, 0.1};
    // The steepest of all segments is that of a curved attack or decay: twice its mean slope.
    const double steepest = 2.0 / envelope.attackTime.At(0.1) + 1e-6;
    float before = 0.0f;
    const auto run = [&](int samples, float gate, float retrigger) {
      for (int k = 0; k < samples; ++k) {
        envelope.Step(stages, 1.0, gate, retrigger);
        ASSERT_LE(std::abs(envelope.envelope - before), steepest) << k;
        before = envelope.envelope;
      }
    };
    run(3000, 1.0f, 0.0f);
    EXPECT_EQ(envelope.sustainFlag, 1.0f);
    run(1, 1.0f, 0.25f);
    EXPECT_EQ(envelope.sustainFlag, 0.0f) << "a retrigger leaves the sustain";
    run(300, 1.0f, 0.25f);
    EXPECT_GT(before, 0.9f) << "and rises again";
    run(400, 0.0f, 0.0f);
    EXPECT_LT(before, 0.7f);
    EXPECT_GT(before, 0.1f);
    run(2, 1.0f, 0.0f);
    EXPECT_GT(before, 0.1f) << "a gate within the release goes on from where it stands";
    run(3000, 1.0f, 0.0f);
    EXPECT_EQ(before, 0.7f);
  }
  for (const double speed : {0.5, 1.0, 4.0}) {
    S500ADSRKernel<> envelope;
    envelope.Prepare(48000.0f);
    int k = 0;
    for (; envelope.sustainFlag == 0.0f; ++k) envelope.Step({}, speed, 1.0f, 0.0f);
    const double times = 48000.0 * (0.0011337868480725624 + 0.0020408163265306124);
    EXPECT_EQ(k, static_cast<int>(times / speed) + 2) << speed;
  }
}

TEST(S500ADSRKernel, RecoversFromWhatIsNoVoltage) {
  for (const bool linear : {true, false}) {
    S500ADSRKernel<> envelope;
    envelope.Prepare(48000.0f);
    envelope.linear = linear;
    const S500ADSRKernel<>::Stages stages{0.05, 0.05, 0.5, 0.05};
    for (const double speed : {double{kNaN}, double{kInf}, -double{kInf}, -1000.0}) {
      for (const float gate : {1.0f, kNaN, 0.0f, kInf, 1.0f, 0.0f, 1.0f}) {
        for (int k = 0; k < 50; ++k) envelope.Step(stages, speed, gate, gate);
      }
      for (int k = 0; k < 3000; ++k) {
        envelope.Step(stages, 1.0, 0.0f, 0.0f);
        ASSERT_TRUE(k == 0 || std::isfinite(envelope.envelope)) << k;
      }
      EXPECT_EQ(envelope.envelope, 0.0f);
      for (int k = 0; k < 3000; ++k) envelope.Step(stages, 1.0, 1.0f, 0.0f);
      EXPECT_EQ(envelope.envelope, 0.5f);
    }
  }
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

}  // namespace
}  // namespace halveron::testing
