#include "modules/sources/S303Noise.h"

#include <gtest/gtest.h>

#include <cmath>
#include <vector>

#include "dsp/random.h"
#include "tests/support/test_rack.h"

namespace halveron::testing {
namespace {

struct Statistics {
  double mean = 0.0, variance = 0.0, neighbours = 0.0;  ///< correlation of samples one apart
};

Statistics StatisticsOf(const std::vector<double>& y) {
  Statistics s;
  const double size = static_cast<double>(y.size());
  for (const double v : y) s.mean += v / size;
  double product = 0.0;
  for (std::size_t n = 0; n < y.size(); ++n) {
    s.variance += (y[n] - s.mean) * (y[n] - s.mean) / size;
    if (n > 0) product += (y[n] - s.mean) * (y[n - 1] - s.mean) / size;
  }
  s.neighbours = product / s.variance;
  return s;
}

TEST(S303Noise, HasConstantPowerInTheBandAtEveryRate) {
  dsp::SeedRandom(11);
  for (const float rate : {44100.0f, 88200.0f, 352800.0f}) {
    S303NoiseKernel kernel;
    kernel.Prepare(rate);
    std::vector<double> white, pink;
    for (int n = 0; n < 400000; ++n) {
      const double w = kernel.White();
      ASSERT_TRUE(w >= -1.0 && w < 1.0);
      white.push_back(w * kernel.white_gain);
      pink.push_back(kernel.Pink(w));
    }
    const Statistics w = StatisticsOf(white), p = StatisticsOf(pink);
    const double over = rate / 44100.0;
    // White: evenly spread, so that the density of its power is that at 44100 Hz.
    EXPECT_NEAR(w.mean, 0.0, 0.01 * std::sqrt(over));
    EXPECT_NEAR(w.variance / over, 1.0 / 3.0, 0.004);
    EXPECT_NEAR(w.neighbours, 0.0, 0.01);
    // Pink: a one-pole low-pass at 210 Hz of it.
    const double pole = 1.0 - 1323.0 / rate;
    EXPECT_NEAR(p.neighbours, pole, 0.003);
    EXPECT_NEAR(p.variance, 0.15 * 0.15 / over / 3.0 / (1.0 - pole * pole), 0.1 * p.variance);
  }
}

TEST(S303Noise, ColourStepsAt44100HertzFromBrightToDark) {
  dsp::SeedRandom(12);
  S303NoiseKernel kernel;
  kernel.Prepare(88200.0f);
  kernel.SetColour(0.2f);  // seldom at its limit, where it would repeat itself
  double before = 0.0;
  int changes = 0;
  for (int n = 0; n < 1000; ++n) {
    const double y = kernel.Colour(kernel.White());
    ASSERT_LE(std::abs(y), 1.0);
    if (n % 2 == 1) {
      ASSERT_EQ(y, before) << "each value stands for two samples";
    }
    changes += n % 2 == 0 && y != before;
    before = y;
  }
  EXPECT_GT(changes, 400);

  std::vector<double> neighbours;
  for (const float knob : {0.0f, 0.5f, 1.0f}) {
    S303NoiseKernel noise;
    noise.Prepare(44100.0f);
    noise.SetColour(knob);
    std::vector<double> y;
    for (int n = 0; n < 100000; ++n) y.push_back(noise.Colour(noise.White()));
    neighbours.push_back(StatisticsOf(y).neighbours);
  }
  EXPECT_LT(neighbours[0] + 0.2, neighbours[1]);
  EXPECT_LT(neighbours[1] + 0.2, neighbours[2]);

  // A rate below: every sample is new, and no debt is kept.
  kernel.Prepare(8000.0f);
  for (int n = 0; n < 1000; ++n) kernel.Colour(kernel.White());
  kernel.Prepare(176400.0f);
  changes = 0;
  for (int n = 0; n < 400; ++n) {
    const double y = kernel.Colour(kernel.White());
    changes += y != before;
    before = y;
  }
  EXPECT_NEAR(changes, 90, 11);
}

TEST(S303Noise, DiffersBetweenInstancesAndVoices) {
  dsp::SeedRandomFromClock();
  TestRack rack(48000);
  rack.editor.voices.ApplyVoiceCount(2);
  Module& a = rack.Add("S303 Noise");
  rack.editor.voices.SetModuleMono(&a, false);
  Module& b = rack.Add("S303 Noise");
  rack.Run(16);
  const float first = rack.Out(a, "White");
  EXPECT_NE(first, rack.Out(b, "White"));
  EXPECT_NE(first, rack.Out(*a.GetVoiceModule(1), "White"));
}

}  // namespace
}  // namespace halveron::testing
