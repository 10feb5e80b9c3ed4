#include "dsp/fir_design.h"

#include <gtest/gtest.h>

#include <cmath>
#include <vector>

namespace halveron::dsp {
namespace {

TEST(FirDesign, TapsFollowTheClosedForm) {
  constexpr int kTaps = 100;
  constexpr double kCutoff = 1.0 / 8.0;
  std::vector<float> taps(kTaps);
  DesignFirFilter(taps.data(), kTaps, FirWindow::kBlackman, static_cast<float>(kCutoff));
  for (int i = 0; i < kTaps; ++i) {
    const double d = i - (kTaps - 1) / 2.0;
    const double window = 0.42 - 0.5 * std::cos(2 * M_PI * i / (kTaps - 1)) +
                          0.08 * std::cos(4 * M_PI * i / (kTaps - 1));
    EXPECT_NEAR(taps[static_cast<std::size_t>(i)],
                std::sin(2 * M_PI * kCutoff * d) / (M_PI * d) * window, 1e-7);
    EXPECT_NEAR(taps[static_cast<std::size_t>(i)], taps[static_cast<std::size_t>(kTaps - 1 - i)],
                1e-7);
  }
  std::vector<float> odd(5);
  DesignFirFilter(odd.data(), 5, FirWindow::kHamming, 0.25f);
  EXPECT_FLOAT_EQ(odd[2], 0.5f);
  DesignFirFilter(odd.data(), 5, FirWindow::kHann, 0.25f);
  EXPECT_NEAR(odd[0], 0.0f, 1e-7);
}

}  // namespace
}  // namespace halveron::dsp
