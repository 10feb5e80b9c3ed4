// S515: waves, frequencies, clocking, steps and presets of all versions.
#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>
#include <limits>
#include <vector>

#include "modules/modulators/S515VCLFOKernel.h"
#include "tests/modules/modulators/increment_block.h"

namespace halveron::testing {
namespace {

constexpr float kNaN = std::numeric_limits<float>::quiet_NaN();
constexpr float kInf = std::numeric_limits<float>::infinity();

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

}  // namespace
}  // namespace halveron::testing
