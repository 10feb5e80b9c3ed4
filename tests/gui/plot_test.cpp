// Curves are where their values say, and nothing leaves the area.
#include "gui/plot.h"

#include <gtest/gtest.h>

#include <cmath>
#include <limits>

namespace halveron {
namespace {

constexpr CRect kArea(10, 10, 110, 60);

bool IsLit(const COffscreenContext& picture, int x, int y) {
  return picture.getPixel(x, y).alpha > 128;
}

TEST(Plot, AxesMapTheirRangeToTheArea) {
  const plot::Range range{-1, 1};
  EXPECT_EQ(plot::YOf(kArea, range, -1), 60);
  EXPECT_EQ(plot::YOf(kArea, range, 0), 35);
  EXPECT_EQ(plot::YOf(kArea, range, 7), 10);
  EXPECT_EQ(plot::YOf(kArea, range, std::numeric_limits<float>::quiet_NaN()), 60);
  const plot::FrequencyAxis axis{100, 10000};
  EXPECT_EQ(plot::XOf(kArea, axis, 100), 10);
  EXPECT_NEAR(plot::XOf(kArea, axis, 1000), 60, 1e-9) << "half way by octaves";
  EXPECT_EQ(plot::XOf(kArea, axis, 0), 10);
  EXPECT_EQ(plot::XOf(kArea, axis, 1e9), 110);
}

TEST(Plot, ASummaryHoldsTheExtremesOfEachStretch) {
  const std::vector<float> signal{0, 3, -2, 1, 5, 5};
  const auto columns = plot::Summarise(signal, 3);
  ASSERT_EQ(columns.size(), 3u);
  EXPECT_EQ(columns[0].high, 3);
  EXPECT_EQ(columns[1].low, -2);
  EXPECT_EQ(columns[2].low, 5);
  const auto wide = plot::Summarise(signal, 12);
  EXPECT_EQ(wide[11].low, 5);
  EXPECT_EQ(wide[3].high, 3) << "each sample twice";
  EXPECT_TRUE(plot::Summarise({}, 10).empty());
}

TEST(Plot, CurvesAreDrawnAtTheirValues) {
  COffscreenContext picture(120, 70);
  plot::DrawTrace(picture, kArea, std::vector<float>{-1, 1}, {}, kWhiteCColor, 2);
  EXPECT_TRUE(IsLit(picture, 60, 35)) << "a straight line passes the middle";
  EXPECT_TRUE(IsLit(picture, 85, 22));
  EXPECT_FALSE(IsLit(picture, 85, 48));

  COffscreenContext wave(120, 70);
  const std::vector<plot::Extremes> columns{{-0.5f, 0.5f}, {0, 0}};
  plot::DrawWaveform(wave, kArea, columns, {}, kWhiteCColor);
  EXPECT_TRUE(IsLit(wave, 30, 25));
  EXPECT_TRUE(IsLit(wave, 30, 45));
  EXPECT_FALSE(IsLit(wave, 30, 15));
  EXPECT_TRUE(IsLit(wave, 80, 35)) << "silence is a line";
  EXPECT_FALSE(IsLit(wave, 80, 25));

  COffscreenContext spectrum(120, 70);
  std::vector<float> magnitudes(1001, -100.0f);  // a bin each 10 Hz
  magnitudes[100] = 0.0f;                        // 1000 Hz
  plot::DrawSpectrum(spectrum, kArea, magnitudes, 10, {100, 10000}, {-100, 0}, kWhiteCColor);
  bool peak = false;
  for (int y = 10; y < 14; ++y) peak |= spectrum.getPixel(60, y).alpha > 60;
  EXPECT_TRUE(peak);
  EXPECT_FALSE(IsLit(spectrum, 40, 30));
  EXPECT_FALSE(IsLit(spectrum, 80, 30));

  COffscreenContext grid(120, 70);
  plot::DrawGrid(grid, kArea, 4, 2, kWhiteCColor);
  EXPECT_TRUE(IsLit(grid, 35, 20));
  EXPECT_TRUE(IsLit(grid, 20, 35));
  EXPECT_FALSE(IsLit(grid, 10, 20)) << "none along the edges";
}

TEST(Plot, NothingAtAllIsDrawnOfNothing) {
  COffscreenContext picture(120, 70);
  plot::DrawTrace(picture, kArea, {}, {}, kWhiteCColor);
  plot::DrawWaveform(picture, kArea, {}, {}, kWhiteCColor);
  plot::DrawSpectrum(picture, kArea, {}, 10, {}, {}, kWhiteCColor);
  plot::DrawSpectrum(picture, kArea, std::vector<float>(3, 0.0f), 1, {}, {}, kWhiteCColor);
  for (int y = 0; y < 70; ++y) {
    for (int x = 0; x < 120; ++x) ASSERT_FALSE(IsLit(picture, x, y));
  }
}

}  // namespace
}  // namespace halveron
