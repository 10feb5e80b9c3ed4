#include "dsp/min_blep.h"

#include <gtest/gtest.h>

#include <cmath>
#include <complex>
#include <limits>
#include <numbers>

namespace halveron::dsp {
namespace {

/// Gain of the step's derivative at a frequency in cycles per sample of the base rate.
double GainAt(double frequency) {
  std::complex<double> sum = 0.0;
  double previous = 0.0;
  double point = 0.0;
  for (const float value : GetMinBlepTable()) {
    const double angle = -2.0 * std::numbers::pi * frequency / kMinBlepDensity * point;
    sum += (value - previous) * std::polar(1.0, angle);
    previous = value;
    point += 1.0;
  }
  return std::abs(sum);
}

TEST(MinBlepTable, RisesToExactlyOneWithItsEnergyEarly) {
  const auto& table = GetMinBlepTable();
  EXPECT_NEAR(table.front(), 0.0f, 1e-3f);
  EXPECT_EQ(table.back(), 1.0f);

  // A symmetric step has half its energy and half its height at point 192.
  double energy = 0.0;
  double earlyEnergy = 0.0;
  for (int i = 1; i < kMinBlepSize; ++i) {
    const double rise = table[i] - table[i - 1];
    energy += rise * rise;
    if (i <= 4 * kMinBlepDensity) earlyEnergy += rise * rise;
  }
  EXPECT_GT(earlyEnergy, 0.75 * energy);
  EXPECT_GT(table[4 * kMinBlepDensity], 0.9f);
}

TEST(MinBlepTable, PassesBelowNyquistAndStopsAbove) {
  EXPECT_NEAR(GainAt(0.0), 1.0, 1e-6);
  for (double f = 0.02; f < 0.42; f += 0.02) EXPECT_NEAR(GainAt(f), 1.0, 0.1) << f;
  EXPECT_NEAR(20.0 * std::log10(GainAt(0.5)), -6.0, 0.5);
  for (double f = 0.62; f < 8.0; f += 0.013) EXPECT_LT(GainAt(f), std::pow(10.0, -40.0 / 20)) << f;
}

TEST(MinBlepRing, LeadsFromTheOldLevelToTheNewOneAtEveryStride) {
  const auto& table = GetMinBlepTable();
  MinBlepRing<> ring;
  for (const int stride : {1, 5, 8, 16, 96, kMinBlepSize}) {
    ring.SetStride(stride);
    EXPECT_EQ(ring.Size(), kMinBlepSize / stride + 3);
    // The steps begin in each slot once.
    for (int turn = 0; turn < ring.Size(); ++turn) {
      ring.Insert(0, 0.5f, 2.0f);
      ring.Insert(0, 0.5f, -0.5f);
      for (int i = 0; i < ring.Size() + 1; ++i) {
        const int k = std::min(i * stride, kMinBlepLength);
        const float value = k == kMinBlepLength ? 1.0f : (table[k] + table[k + 1]) / 2.0f;
        EXPECT_NEAR(ring.Read(), 1.5f * (1.0f - value), 1e-5f) << stride << ' ' << i;
      }
    }
  }
  ring.SetStride(0);
  EXPECT_EQ(ring.Stride(), 1);
  ring.SetStride(std::numeric_limits<int>::max());
  EXPECT_EQ(ring.Stride(), kMinBlepSize);
}

// What goes through the table at its density is worked out for several samples at once.
TEST(MinBlepRing, AddsThePointsOfTheTableToTheBitAtItsDensity) {
  const auto& table = GetMinBlepTable();
  MinBlepRing<> ring;
  for (float position = 0.0f; position < kMinBlepLength + 1; position += 0.37f) {
    ring.Insert(0, position, 1.3f);
    auto k = static_cast<std::size_t>(position);
    const float fraction = position - static_cast<float>(k);
    for (int i = 0; i < ring.Size() + 1; ++i, k += kMinBlepDensity) {
      float expected = 0.0f;
      if (k < kMinBlepLength) {
        expected = (1.0f - (table[k] + (table[k + 1] - table[k]) * fraction)) * 1.3f;
      }
      ASSERT_EQ(ring.Read(), expected) << position << ' ' << i;
    }
  }
}

TEST(MinBlepRing, TakesAnyPosition) {
  constexpr float kInfinity = std::numeric_limits<float>::infinity();
  MinBlepRing<> ring;
  for (const float position : {384.0f, 1e30f, kInfinity, std::nanf("")})
    ring.Insert(0, position, 1.0f);
  for (int i = 0; i < ring.Size(); ++i) EXPECT_EQ(ring.Read(), 0.0f);

  // A jump just ahead of the sample, by rounding, is one at the sample.
  for (const float position : {-1e-7f, -kInfinity}) {
    ring.SetStride(16);
    ring.Insert(0, position, 1.0f);
    EXPECT_EQ(ring.Read(), 1.0f - GetMinBlepTable()[0]);
  }
}

}  // namespace
}  // namespace halveron::dsp
