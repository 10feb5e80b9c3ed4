// Delay lines, DC blocker, finishing stage, followers, slews, clock dividers and edges.
#include <gtest/gtest.h>

#include <cmath>
#include <limits>
#include <numbers>
#include <vector>

#include "dsp/clock_divider.h"
#include "dsp/dc_blocker.h"
#include "dsp/delay_line.h"
#include "dsp/edge.h"
#include "dsp/effect_finish.h"
#include "dsp/follower.h"
#include "dsp/pack.h"
#include "dsp/slew.h"

namespace halveron::dsp {
namespace {

constexpr double kNoNumber = std::numeric_limits<double>::quiet_NaN();
constexpr double kInfinite = std::numeric_limits<double>::infinity();

TEST(DelayLine, ReadsARampBackByAnyFractionOfASample) {
  constexpr int kSize = 10;
  DelayMemory memory;
  ASSERT_TRUE(memory.Take(2, kSize));
  const DelayLine line = memory.Line(0), other = memory.Line(1);
  int index = 0;
  for (int n = 0; n < 95; ++n) {
    index = NextIndex(index, kSize);
    line.Write(index, static_cast<float>(n));
    if (n < kSize) continue;
    for (double delay = 0.0; delay <= kSize - 1; delay += 0.25) {
      const float position = WrappedPosition(index, delay, kSize);
      ASSERT_GE(position, 0.0f);
      ASSERT_LT(position, kSize);
      // Between the newest and the oldest sample lies no ramp.
      ASSERT_FLOAT_EQ(line.Read(position), static_cast<float>(n - delay)) << n << ' ' << delay;
    }
    for (int delay = 0; delay < kSize; ++delay) {
      ASSERT_EQ(line.ReadWhole(index, delay), static_cast<float>(n - delay));
    }
    ASSERT_EQ(line.ReadWhole(index, kSize), static_cast<float>(n));
  }
  for (int k = 0; k <= kSize; ++k) EXPECT_EQ(other.cells[k], 0.0f) << "lines do not overlap";
}

TEST(DelayLine, PositionStaysInTheLineWhereFloatsRound) {
  EXPECT_EQ(WrappedPosition(0, 1e-9, 1000), 0.0f) << "-1e-9 + 1000 rounds to 1000";
  EXPECT_EQ(WrappedPosition(5, 1000.0, 1000), 5.0f);
  for (const double wild : {kNoNumber, kInfinite, -kInfinite, 1e30}) {
    EXPECT_EQ(WrappedPosition(7, wild, 1000), 0.0f);
  }
  constexpr int kLong = 24'576'001;  // two seconds at 12.288 MHz
  for (int index : {0, 1, kLong - 1}) {
    for (double delay : {0.0, 0.3, 1e7 + 0.3, kLong - 1.0}) {
      const float position = WrappedPosition(index, delay, kLong);
      EXPECT_GE(position, 0.0f);
      EXPECT_LT(position, static_cast<float>(kLong));
    }
  }
}

TEST(DelayLine, LanesReadWhereOneVoiceReads) {
  using Float4 = Pack<float, Sse2>;
  using Double4 = Pack<double, Sse2>;
  for (int index = 0; index < 100; ++index) {
    Double4 delays;
    for (int i = 0; i < 4; ++i) Lane(delays, i) = index * 0.7131 * (i + 1) / 3.0;
    Lane(delays, 3) = index == 50 ? kNoNumber : 99.999999;
    const Float4 positions = WrappedPosition(index, delays, 100);
    for (int i = 0; i < 4; ++i) {
      EXPECT_EQ(Lane(positions, i), WrappedPosition(index, Lane(delays, i), 100));
    }
  }
}

TEST(DelayMemory, GivesSilenceAndSaysWhenThereIsNone) {
  DelayMemory memory;
  ASSERT_TRUE(memory.Take(3, 100));
  memory.Line(2).Write(0, 1.0f);
  ASSERT_TRUE(memory.Take(3, 100));
  EXPECT_EQ(memory.Line(2).Read(0.0f), 0.0f);
  EXPECT_FALSE(memory.Take(std::numeric_limits<int>::max(), std::numeric_limits<int>::max()));
  EXPECT_FALSE(memory.IsTaken());
  ASSERT_TRUE(memory.Take(1, 1));
  memory.Release();
  EXPECT_FALSE(memory.IsTaken());
}

TEST(DcBlocker, HasItsCornerAtSevenHertzAtEveryRate) {
  for (const float rate : {44100.0f, 96000.0f, 768000.0f}) {
    DcBlocker<double> blocker;
    const double pole = DcBlockerPole(rate);
    const double w = 2.0 * std::numbers::pi * 44.1 / (2.0 * std::numbers::pi) / rate;
    double peak = 0.0;
    const int settling = static_cast<int>(rate), period = static_cast<int>(2 * M_PI / w) + 1;
    for (int n = 0; n < settling + period; ++n) {
      const double y = blocker.Step(std::sin(w * n) + 3.0, pole);
      if (n >= settling) peak = std::max(peak, std::abs(y));
    }
    EXPECT_NEAR(peak, std::sqrt(0.5), 0.001) << rate << ": half the power, and none of the 3.0";
  }
}

TEST(EffectFinish, MixesFromDryToWet) {
  EXPECT_EQ(CompensatedMix(0.7, 9.0, 0.0), 0.7);
  EXPECT_EQ(CompensatedMix(9.0, 0.7, 1.0), 0.7);
  EXPECT_EQ(CompensatedMix(1.0, 1.0, 0.5), 2.0);
  EXPECT_NEAR(CompensatedMix(1.0, 0.0, 0.25), 0.75 * 1.5, 1e-15);
  EXPECT_NEAR(CompensatedMix(0.0, 1.0, 0.75), 0.75 * 1.5, 1e-15);
  EXPECT_EQ(LinearMix(0.7, 9.0, 0.0), 0.7);
  EXPECT_EQ(LinearMix(1.0, 3.0, 0.5), 2.0);
}

TEST(EffectFinish, LimitsAndGoesOnFromTheUnlimitedValue) {
  EffectFinish finish;
  finish.Prepare(44100.0f);
  bool limited = false;
  EXPECT_EQ(finish.Step(1.5, 2.0f, limited), 1.5f);
  EXPECT_FALSE(limited);
  EXPECT_EQ(finish.Step(6.0, 2.0f, limited), 2.0f);
  EXPECT_TRUE(limited);
  limited = false;
  const double pole = 1.0 - 44.1 * (1.0f / 44100.0f);
  const double unlimited = pole * (pole * 1.5 + 4.5) + (1.0 - 6.0);
  EXPECT_EQ(finish.Step(1.0, 2.0f, limited), static_cast<float>(unlimited));
  EXPECT_FALSE(limited);
  finish.Step(-9.0, 2.0f, limited);
  EXPECT_TRUE(limited);
  for (const double wild : {kNoNumber, kInfinite}) {
    EXPECT_TRUE(std::isfinite(finish.Step(wild, 2.0f, limited)));
    EXPECT_TRUE(std::isfinite(finish.Step(0.0, 2.0f, limited)));
  }
}

TEST(EnvelopeFollower, SettlesAtTwiceTheMagnitudeWithTwoEqualPoles) {
  for (const double corner : {5.0, 70.0}) {
    constexpr double kRate = 48000.0;
    EnvelopeFollower<> follower;
    follower.SetGain(corner * std::numbers::pi / kRate);
    // Unit step into two poles at w: 1 - (1 + w t) e^(-w t).
    const double w = 2.0 * std::numbers::pi * corner;
    for (int n = 0; n < 48000; ++n) {
      const double t = (n + 0.5) / kRate;  // trapezoidal integrators see the step half way
      const double y = follower.Step(n % 2 == 0 ? 0.5f : -0.5f);
      ASSERT_NEAR(y, 1.0 - (1.0 + w * t) * std::exp(-w * t), 0.001) << corner << ' ' << n;
    }
  }
}

TEST(ControlSmoother, StartsWhereItSettledAndArrivesWithoutOvershoot) {
  ControlSmoother smoother;
  smoother.SetGain(62.8318530717958 / 48000.0);
  smoother.Settle(0.25);
  for (int n = 0; n < 100; ++n) ASSERT_NEAR(smoother.Step(0.25), 0.25, 1e-12);
  double y = 0.25;
  for (int n = 0; n < 48000; ++n) {
    const double next = smoother.Step(1.0);
    ASSERT_GE(next, y - 1e-12);
    ASSERT_LE(next, 1.0 + 1e-12);
    y = next;
  }
  EXPECT_NEAR(y, 1.0, 1e-9);
}

TEST(Slew, CoversAUnitStepInItsTimeAndNeverPasses) {
  double y = 0.0;
  int steps = 0;
  for (; y != 1.0; ++steps) y = SlewLinear(y, 1.0, 1.0 / 64.0);
  EXPECT_EQ(steps, 64);
  for (; y != -0.5; ++steps) y = SlewLinear(y, -0.5, 1.0 / 64.0);
  EXPECT_EQ(steps, 64 + 96);
  EXPECT_EQ(SlewLinear(0.0, 0.01, 0.5), 0.01);
  for (int n = 0; n < 100; ++n) y = SlewExponential(y, 1.0, 100.0);
  EXPECT_NEAR(y, 1.0 - 1.5 * std::pow(0.99, 100), 1e-12);
  EXPECT_EQ(SlewExponential(0.0, 1.0, 0.5), 1.0);
  EXPECT_EQ(SlewExponential(0.0, 1.0, 0.0), 1.0);
}

/// Levels of a divider over `clocks` clocks, one digit each.
std::string Levels(ClockDivider& divider, int clocks) {
  std::string levels;
  for (int i = 0; i < clocks; ++i) {
    divider.Clock();
    levels += divider.isHigh ? '1' : '0';
  }
  return levels;
}

TEST(ClockDivider, IsHighForTheFirstPartOfEachPeriod) {
  ClockDivider divider;
  EXPECT_EQ(Levels(divider, 6), "010101") << "half speed, high for one clock";
  divider.SetPeriod(4);
  EXPECT_EQ(Levels(divider, 12), "000110011001");
  divider.SetPeriod(5);
  EXPECT_EQ(Levels(divider, 15), "000011100111001");
  divider.Reset(2);
  EXPECT_EQ(Levels(divider, 7), "0111001");
}

TEST(ClockDivider, ShiftsWithinItsPeriod) {
  ClockDivider divider;
  divider.SetPeriod(5);
  divider.Shift(-2);
  EXPECT_EQ(divider.counter, 3);
  divider.Shift(4);
  EXPECT_EQ(divider.counter, 2);
  divider.Shift(-7);
  EXPECT_EQ(divider.counter, 5);
}

TEST(EdgeDetector, FindsEachRiseOnce) {
  EdgeDetector<> edges;
  std::string found;
  for (const float x : {0.0f, 0.24f, 0.25f, 1.0f, 0.2f, 0.26f, -1.0f, 5.0f}) {
    found += edges.Step(x) ? '1' : '0';
  }
  EXPECT_EQ(found, "00100101");
}

}  // namespace
}  // namespace halveron::dsp
