#include "framework/load_meter.h"

#include <gtest/gtest.h>

namespace halveron {
namespace {

TEST(LoadMeter, AveragesHoldsPeaksAndCountsLateBlocks) {
  constexpr double kBlock = 0.01;
  LoadMeter meter;
  for (int i = 0; i < 1000; ++i) meter.Add(0.25 * kBlock, kBlock);
  EXPECT_NEAR(meter.Read().share, 0.25, 0.01);
  EXPECT_NEAR(meter.Read().peak, 0.25, 0.01);
  meter.Add(1.5 * kBlock, kBlock);
  EXPECT_FLOAT_EQ(meter.Read().peak, 1.5f);
  EXPECT_LT(meter.Read().share, 0.3f);
  EXPECT_EQ(meter.Read().late, 1u);
  for (int i = 0; i < 100; ++i) meter.Add(0.25 * kBlock, kBlock);
  EXPECT_LT(meter.Read().peak, 1.5f) << "it falls";
  EXPECT_GT(meter.Read().peak, 0.5f) << "but slowly";
  // A block that the host cut into single samples, one of which took long.
  for (int i = 0; i < 1000; ++i) meter.Add(i == 3 ? 2e-5 : 1e-6, 2e-5);
  EXPECT_EQ(meter.Read().late, 1u);
  meter.ForgetLate();
  EXPECT_EQ(meter.Read().late, 0u);
}

}  // namespace
}  // namespace halveron
