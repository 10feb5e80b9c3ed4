#include "modules/sources/S312PhaseLockedLoop.h"

#include <gtest/gtest.h>

#include <cmath>
#include <limits>
#include <numbers>

#include "tests/support/spectrum.h"
#include "tests/support/test_rack.h"

namespace halveron::testing {
namespace {

using Kernel = S312PhaseLockedLoopKernel;
using Comparator = Kernel::Comparator;

constexpr double kRate = 48000.0;
constexpr double kMiddleC = 261.62558;
constexpr Comparator kAll[] = {Comparator::kXor, Comparator::kEdge, Comparator::kPhaseFrequency};

struct Loop {
  Kernel kernel;
  Kernel::Knobs knobs;
  Kernel::Outputs out;
  double inputPhase = 0.0;

  explicit Loop(Comparator comparator) {
    kernel.Prepare(kRate);
    kernel.comparator = comparator;
    knobs.frequency = 9.0 / 14;
  }
  /// Follows a sine for a time; 0 Hz is silence. Answers by how many cycles the oscillator misses
  /// `ratio` times those of the input.
  double Follow(double hertz, double seconds, double ratio = 1.0) {
    double drift = 0.0;
    for (int n = 0; n < static_cast<int>(seconds * kRate); ++n) {
      const double in = hertz > 0 ? 0.3 * std::sin(2 * std::numbers::pi * inputPhase) : 0.0;
      kernel.Step(knobs, static_cast<float>(in), cv, out);
      inputPhase += hertz / kRate;
      drift += (kernel.Frequency() - ratio * hertz) / kRate;
    }
    return drift;
  }
  /// The loop's centre in octaves from middle C.
  void Centre(double octaves) { knobs.frequency = (9.0 + octaves) / 14; }

  float cv = 0.0f;
};

TEST(S312PhaseLockedLoop, HoldsTheExactRatioOfMultiplierAndDivider) {
  constexpr double kInput = 420.0;
  struct Ratio {
    int multiplier, divider;
  };
  for (const Comparator comparator : kAll) {
    for (const Ratio ratio : {Ratio{1, 1}, {3, 1}, {1, 4}, {5, 3}, {16, 7}, {16, 16}}) {
      Loop loop(comparator);
      const double factor = static_cast<double>(ratio.multiplier) / ratio.divider;
      loop.kernel.SetMultiplier(ratio.multiplier);
      loop.kernel.SetDivider(ratio.divider);
      loop.Centre(std::log2(factor * 400.0 / kMiddleC));
      loop.Follow(kInput, 3.0, factor);
      EXPECT_TRUE(loop.kernel.IsLocked()) << static_cast<int>(comparator) << ": " << factor;
      // Whole cycles of what is compared, so that the ripple within one does not count.
      EXPECT_NEAR(loop.Follow(kInput, 4.0, factor), 0.0, 0.01)
          << static_cast<int>(comparator) << ": " << factor;
    }
  }
}

TEST(S312PhaseLockedLoop, LocksWithinItsRangeAndStandsAtTheEndBeyond) {
  for (const Comparator comparator : kAll) {
    Loop loop(comparator);
    loop.knobs.range = 0.25;  // an octave either way
    loop.Follow(kMiddleC, 1.0);
    EXPECT_TRUE(loop.kernel.IsLocked());
    // Slowly outward it holds almost to the ends.
    for (const double way : {0.9, -0.9}) {
      for (double share = 0.0; share <= 1.0; share += 0.01) {
        loop.Follow(kMiddleC * std::exp2(way * share), 0.1);
      }
      EXPECT_TRUE(loop.kernel.IsLocked()) << static_cast<int>(comparator) << ": " << way;
      EXPECT_NEAR(loop.out.control, way / 10, 0.02);
      loop.Follow(kMiddleC, 1.0);
    }
  }
  for (const double octaves : {1.3, -1.3}) {
    Loop loop(Comparator::kPhaseFrequency);
    loop.knobs.range = 0.25;
    loop.Follow(kMiddleC * std::exp2(octaves), 2.0);
    EXPECT_FALSE(loop.kernel.IsLocked());
    EXPECT_NEAR(std::log2(loop.kernel.Frequency() / kMiddleC), octaves > 0 ? 1 : -1, 0.02);
    // The phase-frequency comparator finds its way back from any distance.
    loop.Follow(kMiddleC * 1.7, 1.0);
    EXPECT_TRUE(loop.kernel.IsLocked());
  }
}

TEST(S312PhaseLockedLoop, RestsAtThePhaseOfItsComparator) {
  const double rest[] = {0.25, 0.5, 0.0};
  for (const Comparator comparator : kAll) {
    Loop loop(comparator);
    loop.knobs.loopFilter = 0.35;  // little ripple
    loop.Follow(kMiddleC, 4.0);
    double phase = loop.inputPhase - loop.kernel.Phase();
    phase -= std::floor(phase);
    const double expected = rest[static_cast<int>(comparator)];
    const double miss = std::abs(phase - expected);
    EXPECT_LT(std::min(miss, 1 - miss), 0.03) << static_cast<int>(comparator) << ": " << phase;
  }
}

TEST(S312PhaseLockedLoop, SaysWhenTheInputGoesAndComesBack) {
  for (const Comparator comparator : kAll) {
    Loop loop(comparator);
    loop.knobs.range = 0.25;
    loop.Follow(300.0, 1.0);
    ASSERT_TRUE(loop.kernel.IsLocked());
    loop.Follow(0.0, 5 / 300.0);
    EXPECT_FALSE(loop.kernel.IsLocked());
    loop.Follow(0.0, 3.0);
    const bool isXor = comparator == Comparator::kXor;
    EXPECT_NEAR(std::log2(loop.kernel.Frequency() / kMiddleC), isXor ? 0.0 : -1.0, 0.05);
    loop.Follow(270.0, 2.0);
    EXPECT_TRUE(loop.kernel.IsLocked());
  }
  // An octave above what it may reach: never lit.
  Loop loop(Comparator::kEdge);
  loop.knobs.range = 0.05;
  for (int i = 0; i < 100; ++i) {
    loop.Follow(2 * kMiddleC + 7, 0.05);
    ASSERT_FALSE(loop.kernel.IsLocked());
  }
}

TEST(S312PhaseLockedLoop, RunsFreeByFrequencyOffsetRangeAndCv) {
  Loop loop(Comparator::kXor);
  loop.knobs.range = 0.0;
  const auto octaves = [&] {
    loop.Follow(0.0, 0.01);
    return std::log2(loop.kernel.Frequency() / kMiddleC);
  };
  EXPECT_NEAR(octaves(), 0.0, 1e-5);
  loop.Centre(-9);
  EXPECT_NEAR(octaves(), -9.0, 1e-5);
  loop.Centre(1);
  loop.cv = 0.2f;
  EXPECT_NEAR(octaves(), 1.0, 1e-5);
  loop.knobs.cvAmount = 1.0;
  EXPECT_NEAR(octaves(), 3.0, 1e-5);
  loop.knobs.cvAmount = 0.0;
  loop.knobs.range = 0.5;
  loop.knobs.loopFilter = 0.0;
  loop.knobs.offset = 0.25;  // half way down the two octaves of range
  EXPECT_NEAR(octaves(), 0.0, 0.01);
  EXPECT_NEAR(loop.out.control, -0.1, 0.001);
  for (const float bad :
       {std::numeric_limits<float>::quiet_NaN(), std::numeric_limits<float>::infinity(), -1e38f}) {
    for (int n = 0; n < 20; ++n) loop.kernel.Step(loop.knobs, bad, bad, loop.out);
  }
  loop.Centre(0);
  loop.knobs = {loop.knobs.frequency, 0.5, 0.5, 0.5, 0.0};
  loop.Follow(300.0, 2.0);
  EXPECT_TRUE(loop.kernel.IsLocked());
}

TEST(S312PhaseLockedLoop, PanelCountsFactorsAndLightsTheLock) {
  TestRack rack(48000);
  Module& pll = rack.Add("S312 Phase Locked Loop");
  rack.MoveControl(pll, "Multiplier up", 1.0f);
  rack.MoveControl(pll, "Multiplier up", 0.0f);
  rack.MoveControl(pll, "Divider down", 1.0f);
  rack.MoveControl(pll, "Divider down", 0.0f);
  EXPECT_EQ(rack.Control(pll, "Multiplier").getValue(), 2.0f);
  EXPECT_EQ(rack.Control(pll, "Divider").getValue(), 16.0f);
  rack.MoveControl(pll, "Divider up", 1.0f);
  EXPECT_EQ(rack.Control(pll, "Divider").getValue(), 1.0f);
  // Saved with the button down, it does not step again.
  const std::vector<std::byte> saved = rack.SavedPreset(pll);
  pll.LoadPreset(saved.data(), static_cast<int>(saved.size()), pll.GetVersion());
  EXPECT_EQ(rack.Control(pll, "Divider").getValue(), 1.0f);
  rack.Feed(pll, "In", Sine(48000, 250.0, 48000, 0.1));
  rack.Tap(pll, "Square");
  rack.Tap(pll, "Lock");
  rack.Run(48000);
  EXPECT_EQ(rack.Out(pll, "Lock"), 1.0f);
  EXPECT_EQ(rack.Control(pll, "Lock lamp").getValue(), 1.0f);
  EXPECT_NEAR(AmplitudeAt(rack.Recorded(pll, "Square"), 24000, 500.0, 48000), 4 / std::numbers::pi,
              0.06);
}

}  // namespace
}  // namespace halveron::testing
