// Laws of the envelope, the LFO and the random source, without a rack.
#include <gtest/gtest.h>

#include <cmath>
#include <limits>
#include <vector>

#include "modules/envelopes/S500ADSRKernel.h"
#include "modules/envelopes/S515VCLFOKernel.h"
#include "modules/envelopes/S516RSHKernel.h"

namespace halveron {
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

TEST(S515VCLFOKernel, WavesHaveTheirShapesAndRetraces) {
  struct Point {
    int waveform;
    double p;
    double value;
  };
  constexpr double i = 0.01;
  // Corners, middles of slopes, and half of each retrace.
  const std::vector<Point> points{{0, 0.01, -0.98},
                                  {0, 0.5, 0.0},
                                  {0, 0.99, 0.98},
                                  {0, 0.005, 0.0},
                                  {0, 0.0, 1.0},
                                  {1, 0.5, 0.0},
                                  {1, 0.75, -0.5},
                                  {1, 0.0, -1.0},
                                  {1, 0.0075, 0.5},
                                  {2, 0.0, 0.0},
                                  {2, 0.25, 1.0},
                                  {2, 0.5, 0.0},
                                  {2, 0.75, -1.0},
                                  {2, 0.125, 0.75},
                                  {3, 0.25, 1.0},
                                  {3, 0.75, -1.0},
                                  {3, 0.5, 1.0},
                                  {3, 0.505, 0.0},
                                  {3, 0.005, 0.0},
                                  {3, 0.0, -1.0},
                                  {4, 0.0, -1.0},
                                  {4, 0.25, 0.0},
                                  {4, 0.5, 1.0},
                                  {4, 0.75, 0.0},
                                  {5, 0.25, 0.0},
                                  {5, 0.5, 1.0},
                                  {5, 2.0 / 3, -1.0},
                                  {5, 0.75, 0.0},
                                  {5, 5.0 / 6, 1.0},
                                  {5, 11.0 / 12, 0.0},
                                  {6, 1.0 / 6, 0.0},
                                  {6, 0.005, 0.0},
                                  {6, 0.0, 1.0},
                                  {6, 0.5, -1.0},
                                  {6, 1.0 / 3 + 0.005, 0.0},
                                  {6, 0.8, 1.0},
                                  {6, 2.0 / 3 + 0.0075, 0.5}};
  for (const Point& point : points) {
    EXPECT_NEAR(S515VCLFOKernel<>::Wave(point.waveform, point.p, i), point.value, 1e-12)
        << point.waveform << " at " << point.p;
  }
  // Whatever the increment, a wave stays in its range.
  for (int waveform = 0; waveform < 7; ++waveform) {
    for (const double increment : {0.0, 1e-9, 0.013, 0.5}) {
      for (double p = 0.0; p <= 1.0; p += 1.0 / 512) {
        EXPECT_LE(std::abs(S515VCLFOKernel<>::Wave(waveform, p, increment)), 1.0 + 1e-9);
      }
    }
  }
}

TEST(S515VCLFOKernel, RunsAtTheFrequencyOfItsKnobsOrAMultipleOfTheClock) {
  S515VCLFOKernel<> lfo;
  lfo.Prepare(48000.0f, true);
  EXPECT_NEAR(lfo.FreeIncrement(0.5, 0.0f, 0.0) * 48000.0, 25.0 * 0.125, 1e-9);
  EXPECT_NEAR(lfo.FreeIncrement(0.5, 0.25f, 0.5) * 48000.0, 25.0 * 0.25, 1e-9);
  EXPECT_EQ(lfo.FreeIncrement(0.5, -1.0f, 1.0), 0.0) << "never backward";
  EXPECT_EQ(lfo.FreeIncrement(0.5, kNaN, 1.0), 0.0);
  EXPECT_EQ(lfo.FreeIncrement(0.5, kInf, 1.0), 0.5);
  EXPECT_EQ(lfo.ClockedIncrement(0.5f, 0.0f, 0.0f), 0.0) << "no clock yet";
  for (int k = 0; k < 48000; ++k) lfo.Advance(lfo.FreeIncrement(0.5, 0.0f, 0.0));
  EXPECT_NEAR(lfo.phase, 0.125, 1e-6) << "3.125 turns in a second";

  for (int k = 0; k <= 3000; ++k) lfo.clock.Step(k % 1000 == 0 ? 1.0f : 0.0f);
  EXPECT_EQ(lfo.clock.increment, 0.001);
  EXPECT_NEAR(lfo.ClockedIncrement(0.0f, 0.0f, 0.0f), 0.001, 1e-15);
  EXPECT_NEAR(lfo.ClockedIncrement(1.0f, 0.0f, 0.0f), 0.016, 1e-15);
  EXPECT_NEAR(lfo.ClockedIncrement(0.5f, 0.0f, 0.0f), 0.008, 1e-15) << "8.5 goes down";
  EXPECT_NEAR(lfo.ClockedIncrement(0.0f, 0.5f, 0.41f), 0.004, 1e-15) << "4.075 to the nearest";
  lfo.Prepare(48000.0f, false);
  EXPECT_NEAR(lfo.FreeIncrement(0.0, 0.0f, 0.0) * 48000.0, 14.0, 1e-9);
  EXPECT_NEAR(lfo.FreeIncrement(1.0, 0.0f, 0.0) * 48000.0, 1700.0, 1e-9);
  EXPECT_NEAR(lfo.ClockedIncrement(0.0f, 0.0f, 0.0f), 0.002, 1e-15);
  EXPECT_NEAR(lfo.ClockedIncrement(0.5f, 0.0f, 0.0f), 0.065, 1e-15) << "65.5 goes down";
  EXPECT_NEAR(lfo.ClockedIncrement(1.0f, 0.0f, 0.0f), 0.256, 1e-15);
  for (const float cv : {1e30f, kInf}) EXPECT_EQ(lfo.ClockedIncrement(0.0f, cv, 1.0f), 0.5);
  for (const float cv : {-1e30f, -kInf, kNaN}) EXPECT_EQ(lfo.ClockedIncrement(0.0f, cv, 1.0f), 0.0);
}

TEST(S515VCLFOKernel, ResetsToItsPhaseAndQuantisesTowardZero) {
  S515VCLFOKernel<> lfo;
  lfo.phase = 0.9;
  lfo.FollowReset(0.24f, 0.5f, 0.01);
  EXPECT_EQ(lfo.phase, 0.9);
  lfo.FollowReset(0.25f, 0.5f, 0.01);
  EXPECT_DOUBLE_EQ(lfo.phase, 0.5 * 0.99 + 0.01);
  lfo.FollowReset(1.0f, 0.0f, 0.01);
  EXPECT_DOUBLE_EQ(lfo.phase, 0.505) << "a held reset acts once";
  lfo.FollowReset(0.0f, 0.0f, 0.01);
  lfo.FollowReset(1.0f, kNaN, 0.01);
  EXPECT_DOUBLE_EQ(lfo.phase, 0.505);

  EXPECT_EQ(S515VCLFOKernel<>::Quantise(0.123, 0.0), 0.123);
  EXPECT_DOUBLE_EQ(S515VCLFOKernel<>::Quantise(0.74, 0.25), 0.5);
  EXPECT_DOUBLE_EQ(S515VCLFOKernel<>::Quantise(-0.74, 0.25), -0.5);
  EXPECT_DOUBLE_EQ(S515VCLFOKernel<>::Quantise(0.74, -0.25), 0.5);
  EXPECT_DOUBLE_EQ(S515VCLFOKernel<>::Quantise(1.0, 7.0), 0.999) << "the step is limited";
  EXPECT_EQ(S515VCLFOKernel<>::Quantise(0.9, 0.999), 0.0);
}

TEST(S516RSHKernel, ValuesAreEvenAndTheLineJoinsThem) {
  dsp::SeedRandom(7);
  double sum = 0.0;
  double squares = 0.0;
  for (int k = 0; k < 200000; ++k) {
    const double value = S516RSHKernel::NextValue();
    ASSERT_LE(std::abs(value), 1.0);
    sum += value;
    squares += value * value;
  }
  // Standard errors of the mean and of the variance 1/3: 0.0013 and 0.00067.
  EXPECT_NEAR(sum / 200000, 0.0, 0.006);
  EXPECT_NEAR(squares / 200000, 1.0 / 3.0, 0.003);

  S516RSHKernel source;
  source.Prepare(48000.0f);
  const double rate =
      std::pow((0.01 - source.rateMin) / (source.rateMax - source.rateMin), 1.0 / 6);
  int sampled = 0;
  float before = 0.0f;
  for (int segment = 0; segment < 300; ++segment) {
    const double from = source.previousValue;
    const double to = source.nextValue;
    const double start = source.phase;
    double x = start;
    for (; x < 1.0 - 1e-9; x += 0.01) {
      const float trinary = source.trinary;
      const bool trigger = source.StepFree(rate, before);
      ASSERT_NEAR(source.smooth, from + x * (to - from), 1e-6);
      ASSERT_EQ(trigger, trinary < 0.25f && source.trinary == 1.0f);
      sampled += trigger;
    }
    ASSERT_EQ(source.previousValue, to) << "a segment takes 1 / step samples";
    const double line = source.smooth;
    EXPECT_EQ(source.trinary, line > 0.6 ? 1.0f : (line >= -0.6 ? 0.0f : -1.0f));
    before = static_cast<float>(segment);
  }
  EXPECT_GT(sampled, 20);
}

TEST(S516RSHKernel, TheFirstClockResynchronisesAndBadInputPasses) {
  S516RSHKernel source;
  source.Prepare(48000.0f);
  source.resync = true;
  source.phase = 0.7;
  const double next = source.nextValue;
  EXPECT_TRUE(source.StepClocked(1.0f, kNaN));
  EXPECT_EQ(source.previousValue, next) << "the first clock after the cable starts a segment";
  EXPECT_NEAR(source.phase, 0.0, 1e-9) << "and its interval is almost endless";
  for (int k = 0; k < 4; ++k) EXPECT_FALSE(source.StepClocked(0.0f, 0.5f));
  EXPECT_EQ(source.highest, 0.5f);
  EXPECT_EQ(source.lowest, 0.5f);
  EXPECT_TRUE(source.StepClocked(0.25f, -0.4f));
  EXPECT_EQ(source.clock.increment, 0.2) << "five samples between the clocks";
  EXPECT_EQ(source.previousValue, next) << "only the first clock resynchronises";
  EXPECT_NEAR(source.phase, 0.2, 1e-8);
  for (const double rate : {double{kNaN}, double{kInf}}) source.StepFree(rate, 0.5f);
  EXPECT_TRUE(std::isfinite(source.smooth));
  EXPECT_TRUE(source.phase >= 0.0 && source.phase < 1.0);
}

}  // namespace
}  // namespace halveron
