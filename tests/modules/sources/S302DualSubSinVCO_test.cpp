#include "modules/sources/S302DualSubSinVCO.h"

#include <gtest/gtest.h>

#include <cmath>
#include <cstring>
#include <numbers>

#include "dsp/sine.h"
#include "tests/support/test_rack.h"

namespace halveron::testing {
namespace {

constexpr double kTwoPi = 2.0 * std::numbers::pi;

TEST(SineOfPhase, IsTheSine) {
  for (int i = 0; i <= 10000; ++i) {
    const double x = kTwoPi * i / 10000;
    ASSERT_NEAR(dsp::SineOfPhase(x), std::sin(x), 2e-11) << x;
  }
}

/// Whether a sequence is a sine of a frequency: it then obeys y[n+1] = 2 cos(w) y[n] - y[n-1].
void ExpectSine(const std::vector<float>& y, double hertz, double rate) {
  const double twice = 2.0 * std::cos(kTwoPi * hertz / rate);
  double worst = 0.0, peak = 0.0;
  for (std::size_t n = 2; n + 1 < y.size(); ++n) {
    worst = std::max(worst, std::abs(twice * y[n] - y[n - 1] - y[n + 1]));
    peak = std::max(peak, static_cast<double>(std::abs(y[n])));
  }
  EXPECT_LT(worst, 2e-6) << hertz;
  EXPECT_NEAR(peak, 1.0, 0.01) << hertz;
}

TEST(S302DualSubSinVCO, PlaysSinesAtRatiosOfThePitch) {
  constexpr double kMiddleC = 261.62558;
  for (const float rate : {44100.0f, 96000.0f}) {
    TestRack rack(rate);
    Module& vco = rack.Add("S302 Dual Sub/Sin VCO");
    rack.SetControl(vco, "Ratio 1", 4.0f / 12);
    rack.SetControl(vco, "Ratio 2", 8.0f / 12);
    rack.SetControl(vco, "Spread", 0.5f);
    rack.FeedConstant(vco, "Pitch", 0.1f);
    rack.Tap(vco, "Sine 1");
    rack.Tap(vco, "Sine 2");
    rack.Run(4000);
    ExpectSine(rack.Recorded(vco, "Sine 1"), 2 * kMiddleC / 4, rate);
    ExpectSine(rack.Recorded(vco, "Sine 2"), 2 * kMiddleC * 4 * 1.5, rate);
  }
}

TEST(S302DualSubSinVCO, StopsAtHalfTheRateAndTakesUpANewRatioOrCable) {
  S302DualSubSinVCOKernel<> kernel;
  kernel.Prepare(48000.0f);
  kernel.ratio1 = kernel.ratio2 = 64.0f;
  kernel.SetPitch(0.2f, true);
  EXPECT_NEAR(kernel.inc_1, std::numbers::pi, 1e-12);
  for (int n = 0; n < 100; ++n) {
    kernel.Second(1.0);
    ASSERT_TRUE(kernel.phase_2 >= 0.0 && kernel.phase_2 < kTwoPi);
  }

  TestRack rack(48000);
  Module& vco = rack.Add("S302 Dual Sub/Sin VCO");
  rack.FeedConstant(vco, "Pitch", 0.1f);
  rack.Run(64);
  rack.Tap(vco, "Sine 2");  // its increment was not kept up so far
  rack.MoveControl(vco, "Ratio 1", 7.0f / 12);
  rack.Tap(vco, "Sine 1");
  rack.Run(4000);
  ExpectSine(rack.Recorded(vco, "Sine 1"), 4 * 261.62558, 48000);
  ExpectSine(rack.Recorded(vco, "Sine 2"), 2 * 261.62558, 48000);
}

TEST(S302DualSubSinVCO, KeepsItsPhases) {
  TestRack rack(48000);
  Module& vco = rack.Add("S302 Dual Sub/Sin VCO");
  rack.Tap(vco, "Sine 1");
  rack.Tap(vco, "Sine 2");
  rack.Run(77);
  const std::vector<std::byte> saved = rack.SavedPreset(vco);
  const std::size_t values = static_cast<std::size_t>(vco.GetControlValuesSize());
  ASSERT_EQ(saved.size(), values + 2 * sizeof(float));
  float phase = 0.0f;
  std::memcpy(&phase, saved.data() + values, sizeof phase);
  EXPECT_NEAR(std::sin(phase), rack.Out(vco, "Sine 1"), 1e-6);
}

}  // namespace
}  // namespace halveron::testing
