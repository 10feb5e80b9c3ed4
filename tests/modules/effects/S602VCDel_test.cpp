#include "modules/effects/S602VCDel.h"

#include <gtest/gtest.h>

#include <cmath>
#include <cstring>
#include <limits>
#include <vector>

#include "tests/support/test_rack.h"

namespace halveron::testing {
namespace {

constexpr float kRate = 48000.0f;

struct DelayRig {
  explicit DelayRig(float rate = kRate) : size(S602VCDelKernel::SizeAt(rate)) {
    EXPECT_TRUE(memory.Take(1, size));
    kernel.Prepare(rate);
    kernel.Attach(memory.Line(0));
    kernel.SettleTime(knobs.time);
  }
  double Step(float audio, float clock = 0.0f) {
    S602VCDelKernel::Inputs in = inputs;
    in.audio = audio;
    in.clock = clock;
    return kernel.Step(knobs, in, cables);
  }
  /// The delay in samples, from a ramp that has run long enough to fill it.
  double MeasuredDelay() {
    kernel.tap_after_feedback = false;
    knobs.feedback = 0.0;
    double wet = 0.0;
    for (int n = 0; n < size; ++n) wet = Step(static_cast<float>(n));
    return size - 1 - wet;
  }

  int size;
  dsp::DelayMemory memory;
  S602VCDelKernel kernel;
  S602VCDelKernel::Knobs knobs;
  S602VCDelKernel::Inputs inputs;
  S602VCDelKernel::Cables cables;
};

TEST(S602VCDel, EchoesByThePowersOfTheFeedback) {
  for (const bool afterFeedback : {true, false}) {
    DelayRig rig;
    rig.kernel.tap_after_feedback = afterFeedback;
    rig.cables.clock = true;
    rig.knobs.feedback = 0.5;
    rig.kernel.clock_delay = 100;
    for (int n = 0; n <= 1000; ++n) {
      const int echo = n / 100;
      const double expected =
          n % 100 != 0 || n == 0 ? 0.0 : std::pow(0.5, afterFeedback ? echo : echo - 1);
      ASSERT_EQ(rig.Step(n == 0 ? 1.0f : 0.0f), expected) << n;
    }
  }
  DelayRig endless;
  endless.cables = {true, true};
  endless.kernel.clock_delay = 10;
  endless.knobs.feedback = 1.0;
  endless.inputs.feedbackCv = -5.0f;  // limited to just below 1
  double wet = endless.Step(1.0f);
  for (int n = 0; n < 1000; ++n) wet = endless.Step(0.0f);
  EXPECT_NEAR(wet, 1.0, 1e-4) << "an even number of turned signs";
}

TEST(S602VCDel, TimeFollowsTheLawOfTheMode) {
  for (const float time : {0.0f, 0.3f, 0.9f}) {
    for (const float cv : {0.0f, 0.05f, -0.1f}) {
      for (const bool cubic : {true, false}) {
        DelayRig rig;
        rig.kernel.cubic_cv = cubic;
        rig.knobs.time = time;
        rig.kernel.SettleTime(time);
        rig.knobs.timeCvAmount = 0.8;
        rig.inputs.timeCv = cv;
        const double t = time, c = cv * 0.8 + t;
        const double v = cubic ? std::abs(0.8 * 0.8 * 0.8 * cv + t * t) : c * c;
        EXPECT_NEAR(rig.MeasuredDelay(), (rig.size - 2) * v + 1.0, 0.02)
            << time << ' ' << cv << ' ' << cubic;
      }
    }
  }
}

TEST(S602VCDel, DelayBeyondTheLineComesRoundAgain) {
  DelayRig rig;
  rig.knobs.time = 1.0f;
  rig.kernel.SettleTime(1.0f);
  rig.knobs.timeCvAmount = 1.0;
  rig.inputs.timeCv = 0.25f;
  const double d = (rig.size - 2) * 1.25 + 1.0;
  EXPECT_NEAR(rig.MeasuredDelay(), d - rig.size, 0.02);
  for (const float wild : {1e30f, -1e30f, INFINITY, NAN}) {
    rig.inputs.timeCv = wild;
    EXPECT_TRUE(std::isfinite(rig.Step(0.5f))) << wild;
  }
}

/// Samples between pulses of a clock, one after another.
void RunClock(DelayRig& rig, const std::vector<int>& periods) {
  for (const int period : periods) {
    for (int n = 0; n < period; ++n) rig.Step(0.0f, n < period / 2 ? 0.0f : 1.0f);
  }
}

TEST(S602VCDel, ClockSetsTheDelayAndMayWander) {
  DelayRig rig;
  rig.cables.clock = true;
  const int kept = rig.kernel.clock_delay;
  EXPECT_EQ(kept, kRate / 2) << "half a second until a clock has said otherwise";
  RunClock(rig, {1000});
  EXPECT_EQ(rig.kernel.clock_delay, kept) << "one pulse makes no interval";
  RunClock(rig, {1000});
  EXPECT_EQ(rig.kernel.clock_delay, 1000);
  RunClock(rig, {1002, 998, 1001, 1003, 998});
  EXPECT_EQ(rig.kernel.clock_delay, 1000);
  RunClock(rig, {1010, 1010});
  EXPECT_NEAR(rig.kernel.clock_delay, 1010, 5);
  const int size = rig.size;
  RunClock(rig, {3 * size, 3 * size});
  EXPECT_EQ(rig.kernel.clock_delay, 3 * size);
  rig.inputs = {};
  EXPECT_NEAR(rig.MeasuredDelay(), size - 1, 0.02) << "limited to what the line holds";
}

TEST(S602VCDel, ClockedTimeIsKeptInSecondsOverRatesAndPresets) {
  TestRack rack(kRate);
  Module& delay = rack.Add("S602 VC Delay");
  std::vector<float> clock(3000, 0.0f);
  for (std::size_t i = 100; i < clock.size(); i += 700) clock[i] = 1.0f;
  rack.Feed(delay, "Clock", clock);
  rack.Run(3000);
  const auto saved = rack.SavedPreset(delay);
  float seconds = 0.0f;
  std::memcpy(&seconds, &saved[saved.size() - sizeof seconds], sizeof seconds);
  EXPECT_FLOAT_EQ(seconds, 700.0f / kRate);

  rack.engine.setSampleRate(96000.0f);
  EXPECT_EQ(rack.SavedPreset(delay), saved);

  // What the line cannot hold becomes a quarter of it.
  for (const float wrong : {NAN, INFINITY, -1.0f, 0.0f, 2.5f}) {
    auto broken = saved;
    std::memcpy(&broken[broken.size() - sizeof wrong], &wrong, sizeof wrong);
    delay.LoadPreset(broken.data(), static_cast<int>(broken.size()), S602VCDel::kVersion);
    const auto again = rack.SavedPreset(delay);
    std::memcpy(&seconds, &again[again.size() - sizeof seconds], sizeof seconds);
    EXPECT_NEAR(seconds, 0.5f, 1e-4f) << wrong;
  }
}

TEST(S602VCDel, EarlierVersionsGetTheModeThatTheyHad) {
  TestRack rack;
  Module& delay = rack.Add("S602 VC Delay");
  const auto modeAfter = [&](float saved, int version) {
    rack.SetControl(delay, "Mode", saved);
    const auto preset = rack.SavedPreset(delay);
    delay.LoadPreset(preset.data(), static_cast<int>(preset.size()), version);
    return rack.Control(delay, "Mode").getValue();
  };
  EXPECT_EQ(modeAfter(0.0f, 1001), 1.0f);
  EXPECT_EQ(modeAfter(0.0f, 1002), 0.0f);
  EXPECT_EQ(modeAfter(0.5f, 1002), 1.0f);
  EXPECT_EQ(modeAfter(0.5f, S602VCDel::kVersion), 0.5f);
}

TEST(S602VCDel, MixesAndLimitsAndLights) {
  TestRack rack(kRate);
  Module& delay = rack.Add("S602 VC Delay");
  rack.SetControl(delay, "Mix", 0.0f);
  std::vector<float> sine;
  for (int n = 0; n < 4800; ++n) {
    sine.push_back(static_cast<float>(0.5 * std::sin(n * 0.1)));
  }
  rack.Feed(delay, "Audio", sine);
  rack.Tap(delay, "Out");
  rack.Run(4800);
  for (std::size_t n = 0; n < 1000; ++n) {
    ASSERT_NEAR(rack.Recorded(delay, "Out")[n], sine[n], 0.01f) << "dry, but for the DC blocker";
  }
  EXPECT_EQ(rack.Control(delay, "Clip LED").getValue(), 0.0f);
  delay.SetClipLevel(0.25f);
  rack.Feed(delay, "Audio", sine);
  rack.Run(4900);
  EXPECT_EQ(rack.Control(delay, "Clip LED").getValue(), 1.0f);
  rack.Run(static_cast<int>(kRate * 0.2f));
  EXPECT_EQ(rack.Control(delay, "Clip LED").getValue(), 0.0f);
}

TEST(S602VCDel, LoadedTimeDoesNotGlide) {
  TestRack rack(kRate);
  Module& first = rack.Add("S602 VC Delay");
  rack.SetControl(first, "Time", 0.05f);
  rack.SetControl(first, "Mix", 1.0f);
  rack.SetControl(first, "Mode", 0.5f);
  const auto preset = rack.SavedPreset(first);
  Module& second = rack.Add("S602 VC Delay");
  second.LoadPreset(preset.data(), static_cast<int>(preset.size()), S602VCDel::kVersion);
  rack.Feed(second, "Audio", {1.0f});
  rack.Tap(second, "Out");
  rack.Run(1000);
  // (96001 - 2) * 0.05^2 + 1 = 240.9975
  EXPECT_NEAR(rack.Recorded(second, "Out")[241], 1.0f, 0.01f);
}

}  // namespace
}  // namespace halveron::testing
