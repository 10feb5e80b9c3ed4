#include "modules/filters/S206PoleSeparationLPVCF.h"

#include <gtest/gtest.h>

#include <cmath>

#include "tests/modules/filters/filter_rig.h"

namespace halveron::testing {
namespace {

double WarpedGain(double cutoff, float rate) {
  const double g0 = std::pow(cutoff, 4) * 34714.59882216718 / rate;
  return g0 + 0.31755 * std::pow(g0, 3) + 0.2033 * std::pow(g0, 5);
}

/// One half at a frequency, given its gain and its feedback.
Complex Half(double f, double g, double k) {
  const Complex S(0.0, std::tan(kPi * f) / g);
  return 1.0 / (S * S + (2.0 - k) * S + 1.0);
}

TEST(S206PoleSeparationLPVCF, IsTwoLowPassesOnEitherSideOfTheCentre) {
  constexpr double kCentre = 0.6;
  for (const float rate : kRates) {
    for (const double separation : {0.0, 0.355, 1.0}) {
      const double h = separation / 4;
      for (const double resonance : {0.0, 0.8}) {
        const double v = 1.0 - (0.85 - (1.0 - h * h) * 0.4) * resonance;
        const double k = (1.0 - std::pow(v, 6)) * 2.0;
        const double g1 = WarpedGain(kCentre - h, rate), g2 = WarpedGain(kCentre + h, rate);
        for (const double f : {0.001, 0.01, 0.05}) {
          const Complex low = Half(f, g1, k), high = Half(f, g2, k);
          for (const bool series : {false, true}) {
            S206PoleSeparationLPVCFKernel<> kernel;
            kernel.Prepare(rate);
            const Complex y = Response(f, [&](double x) {
              return kernel.Step(x, kCentre, separation, resonance, series, 4.0);
            });
            EXPECT_NEAR(Decibels(y), Decibels(series ? low * high : (low + high) * 0.5), 0.01)
                << rate << ' ' << separation << ' ' << resonance << ' ' << f << ' ' << series;
          }
        }
      }
    }
  }
}

TEST(S206PoleSeparationLPVCF, ClipsItsNodesAndHasALinearLevel) {
  S206PoleSeparationLPVCFKernel<> kernel;
  kernel.Prepare(48000.0f);
  double y = 0.0;
  for (int n = 0; n < 48000; ++n) y = kernel.Step(9.0, 0.7, 0.0, 0.0, true, 0.5);
  EXPECT_NEAR(y, 0.5, 1e-9);

  TestRack rack(48000);
  Module& filter = rack.Add("S206 Pole Separation LP VCF");
  rack.SetControl(filter, "Level", 0.25f);
  rack.SetControl(filter, "Cutoff CV amount", 1.0f);
  rack.SetControl(filter, "Separation CV amount", 1.0f);
  rack.FeedConstant(filter, "Audio", 1.0f);
  for (const float routing : {0.0f, 1.0f}) {
    rack.MoveControl(filter, "Routing", routing);
    rack.Run(20000);
    EXPECT_NEAR(rack.Out(filter, "Out"), 0.25f, 1e-4f);
  }
  // Both cutoffs at 0: the output holds.
  rack.FeedConstant(filter, "Cutoff CV", -4.0f);
  rack.Run(64);
  rack.FeedConstant(filter, "Audio", -1.0f);
  rack.Run(2000);
  EXPECT_NEAR(rack.Out(filter, "Out"), 0.25f, 1e-3f);
  rack.FeedConstant(filter, "Separation CV", kBadWords[0]);
  rack.Run(64);
  rack.FeedConstant(filter, "Separation CV", 0.0f);
  rack.FeedConstant(filter, "Cutoff CV", 0.0f);
  rack.Run(20000);
  EXPECT_NEAR(rack.Out(filter, "Out"), -0.25f, 1e-4f);
}

}  // namespace
}  // namespace halveron::testing
