#include "modules/filters/S223DualTapCombFilter.h"

#include <gtest/gtest.h>

#include <cmath>

#include "tests/support/test_rack.h"

namespace halveron::testing {
namespace {

struct CombRig {
  explicit CombRig(float rate = 48000.0f) : size(S223DualTapCombFilterKernel::SizeAt(rate)) {
    EXPECT_TRUE(memory.Take(1, size));
    kernel.Prepare(rate);
    kernel.Attach(memory.Line(0));
  }
  double Step(float audio) {
    S223DualTapCombFilterKernel::Inputs in = inputs;
    in.audio = audio;
    return kernel.Step(knobs, in);
  }

  int size;
  dsp::DelayMemory memory;
  S223DualTapCombFilterKernel kernel;
  S223DualTapCombFilterKernel::Knobs knobs;
  S223DualTapCombFilterKernel::Inputs inputs;
};

TEST(S223DualTapCombFilter, ReadsBothTapsWhereTheirLawsPutThem) {
  for (const double time : {0.0, 0.5, 1.0}) {
    for (const double second : {0.0, 0.4, 1.0}) {
      CombRig rig;
      rig.kernel.isFeedForward = true;
      rig.knobs = {time, 0.5, second - 0.1, 1.0};
      rig.inputs.timeCv = 0.01f;
      rig.inputs.secondTapCv = 0.1f;
      double y = 0.0;
      for (int n = 0; n < 3 * rig.size; ++n) y = rig.Step(static_cast<float>(n));
      const double now = 3 * rig.size - 1;
      const double t = std::min(0.125 * 0.01 + time * time * time, 1.0);
      const int longest = static_cast<int>((rig.size - 1) * 0.8);
      EXPECT_EQ(rig.kernel.tap_max, longest);
      const double d1 = (longest - 1) * t + 1.0;
      const double d2 = (rig.size - 1 - d1) * second + d1;
      // Full feedback: both taps at half, so that the ramp stands back by their mean.
      EXPECT_NEAR(y, 2.0 * now - (d1 + d2) / 2.0, 0.01) << time << ' ' << second;
    }
  }
}

TEST(S223DualTapCombFilter, RingsByTheGainOrNotAtAll) {
  for (const bool feedForward : {false, true}) {
    CombRig rig;
    rig.kernel.isFeedForward = feedForward;
    rig.knobs = {0.0, 0.0, 0.0, 0.5};  // both taps at one sample, gain 0.75
    EXPECT_EQ(rig.Step(1.0f), 1.0);
    EXPECT_DOUBLE_EQ(rig.Step(0.0f), 0.75);
    EXPECT_DOUBLE_EQ(rig.Step(0.0f), feedForward ? 0.0 : 0.75 * 0.75);
  }
  CombRig inverted;
  inverted.knobs = {0.0, 0.0, 0.0, 1.0};
  inverted.inputs.feedbackCv = -3.0f;  // limited to -1
  EXPECT_EQ(inverted.Step(1.0f), 1.0);
  EXPECT_EQ(inverted.Step(0.0f), -1.0);
  EXPECT_EQ(inverted.Step(0.0f), 1.0);
}

TEST(S223DualTapCombFilter, FollowsTheCableOnItsFeedback) {
  TestRack rack;
  Module& comb = rack.Add("S223 Dual Tap Comb Filter");
  rack.SetControl(comb, "Time", 0.0f);
  rack.SetControl(comb, "Feedback", 1.0f);
  rack.Tap(comb, "Out");
  rack.FeedConstant(comb, "Feedback CV", -0.5f);
  rack.Feed(comb, "Audio", {0.0f, 0.0f, 0.0f, 0.0f, 1.0f});
  rack.Run(64);
  const auto heard = rack.Recorded(comb, "Out");
  EXPECT_NEAR(heard[4], 1.0f, 1e-6f);
  EXPECT_NEAR(heard[5] - heard[4], -1.5f, 0.01f);
  rack.Disconnect(comb, "Feedback CV");
  rack.Feed(comb, "Audio", {2.0f});
  rack.Run(64);
  const auto& rings = rack.Recorded(comb, "Out");
  for (std::size_t n = 80; n < 128; ++n) {
    EXPECT_NEAR(rings[n], rings[80], 0.15f) << "full gain without the cable: no decay";
  }
  EXPECT_GT(rings[80], 1.5f);
}

}  // namespace
}  // namespace halveron::testing
