#include <gtest/gtest.h>

#include <array>
#include <cmath>
#include <complex>
#include <cstring>
#include <random>
#include <utility>
#include <vector>

#include "modules/effects/S626DualBandPhaserKernel.h"
#include "platform/cpu_features.h"
#include "tests/support/spectrum.h"
#include "tests/support/test_rack.h"

namespace halveron::testing {
namespace {

/// Ratio of the levels behind and before a step for a sine.
template <class Step>
double LevelAt(double hertz, Step step) {
  double in = 0.0, out = 0.0;
  for (int n = 0; n < 48000; ++n) {
    const double x = std::sin(2.0 * M_PI * hertz / 48000.0 * n);
    const double y = step(x);
    if (n < 24000) continue;
    in += x * x;
    out += y * y;
  }
  return std::sqrt(out / in);
}

PhaserBank::Signals StepPlain(PhaserBank& bank, double a, double b,
                              const PhaserBank::Controls& controls) {
  return PhaserStepOf(VectorUnit::kNone)(bank, {a, b}, controls);
}

PhaserBank BankOf(int stagesA, int stagesB, double spread = 0.5) {
  PhaserBank bank;
  bank.spacingA.SetStages(stagesA);
  bank.spacingB.SetStages(stagesB);
  bank.spacingA.Set(spread, stagesA * 0.6 * 0.09090909090909091);
  bank.spacingB.Set(spread, stagesB * 0.05454545454545454);
  return bank;
}

TEST(PhaserBank, MainStagesAreAllPassesAndThoseBeforeThemNotches) {
  PhaserBank::Controls controls;
  controls.gainA = controls.gainB = 0.1;
  PhaserBank single = BankOf(1, 0);
  const double centre = 48000.0 / M_PI * std::atan(dsp::Warp(0.1));
  const auto notch = [&](double x) { return StepPlain(single, x, 0.0, controls).a; };
  EXPECT_LT(LevelAt(centre, notch), 1e-3);
  EXPECT_NEAR(LevelAt(10.0, notch), 1.0, 1e-3);
  EXPECT_NEAR(LevelAt(23500.0, notch), 1.0, 1e-2);

  PhaserBank four = BankOf(4, 4);
  controls.hasBefore = false;
  const double scale = 1.0 - 1.455 / four.spacingA.step;
  for (const double hertz : {100.0, 1000.0, 8000.0}) {
    const auto allPass = [&](double x) { return StepPlain(four, x, 0.0, controls).a; };
    EXPECT_NEAR(LevelAt(hertz, allPass), scale, 1e-3) << hertz;
  }
  EXPECT_FALSE(four.limited);
  controls.R = 1.0;
  for (int n = 0; n < 48000; ++n) StepPlain(four, n % 100 == 0 ? 100.0 : 0.0, 0.0, controls);
  EXPECT_TRUE(four.limited);

  PhaserBank none = BankOf(0, 0);
  EXPECT_EQ(StepPlain(none, 0.5, 0.0, controls).a, 0.5 * none.spacingA.plainGain);
  controls.hasBefore = true;
  EXPECT_EQ(StepPlain(none, 0.5, 0.0, controls).a, 0.5);
}

/// A stage of each kind as it stands on paper, without the doubled gains of the bank.
struct PaperStage {
  double q1 = 0.0, q2 = 0.0, s1 = 0.0, s2 = 0.0;

  double Step(double u, double before, double after, double R) {
    double G = dsp::Warp(before), d = 1.0 / ((G + 2.0) * G + 1.0), e = d * G;
    const double v = u - q2, band = (q1 * d + v * e) * 2.0;
    u -= band;
    const double old = q1;
    q1 = band - q1;
    q2 = (e * G * v + old * e + q2) * 2.0 - q2;
    G = dsp::Warp(after), d = 1.0 / ((G + R) * G + 1.0), e = d * G;
    const double h = dsp::LimitSymmetric(u - s2, 4.0), b = s1 * d + h * e;
    const double low = (s1 * e + h * (e * G) + s2) * 2.0;
    s1 = 2.0 * b - s1;
    s2 = low - s2;
    return u + (-(b * R) - low);
  }
};

TEST(PhaserBank, EveryWayOfRunningItGivesTheBitsOfItsStages) {
  std::vector<VectorUnit> units{VectorUnit::kSse2};
  if (platform::HasAvx2()) units.push_back(VectorUnit::kAvx2);
  if (platform::HasAvx512()) units.push_back(VectorUnit::kAvx512);
  std::minstd_rand random(1);
  const auto draw = [&] { return static_cast<double>(random()) * 0x1p-30 - 1.0; };
  for (const VectorUnit unit : units) {
    for (const auto& [stagesA, stagesB] : {std::pair{3, 3}, {0, 4}, {10, 7}, {1, 10}}) {
      PhaserBank plain = BankOf(stagesA, stagesB), vectors = plain;
      for (int n = 0; n < 4000; ++n) {
        PhaserBank::Controls controls{0.3 + 0.2 * draw(), 0.5 + 0.4 * draw(), draw()};
        controls.R = 1.0 + 0.99 * draw();
        controls.routing = n % 3 == 0 ? draw() : 1.0;
        controls.hasBefore = n / 1000 % 2 == 0;
        const PhaserBank::Signals in{4.0 * draw(), draw()};
        const auto expected = StepPlain(plain, in.a, in.b, controls);
        const auto heard = PhaserStepOf(unit)(vectors, in, controls);
        ASSERT_EQ(heard.a, expected.a) << stagesA << ' ' << n;
        ASSERT_EQ(heard.b, expected.b) << stagesB << ' ' << n;
        ASSERT_EQ(vectors.limited, plain.limited) << n;
      }
    }
  }
  PhaserBank bank = BankOf(1, 1);
  PaperStage paper;
  for (int n = 0; n < 4000; ++n) {
    PhaserBank::Controls controls{0.3 + 0.2 * draw(), 0.1, draw(), true, 1.0 + 0.9 * draw()};
    const double x = 4.0 * draw();
    const double factor = bank.spacingA.OffsetFactor(controls.offset);
    const double expected = paper.Step(x, controls.gainA, controls.gainA * factor, controls.R);
    ASSERT_EQ(StepPlain(bank, x, 0.0, controls).a, expected) << n;
  }
}

TEST(PhaserSpacing, OffsetReachesTheSpacingOnBothSides) {
  const PhaserSpacing spacing = BankOf(0, 3, 1.0).spacingB;
  EXPECT_DOUBLE_EQ(spacing.OffsetFactor(0.0), 1.0);
  EXPECT_DOUBLE_EQ(spacing.OffsetFactor(1.0), spacing.ratio);
  EXPECT_NEAR(spacing.OffsetFactor(-1.0), 1.0 / spacing.ratio, 1e-12);
  EXPECT_NEAR(spacing.ratio, (1.0 - 3 * 0.05454545454545454) * 4.4721359549996, 1e-9);
  EXPECT_EQ(spacing.span, spacing.step) << "half of three stages";
}

TEST(PhaserLfo, IsATriangleOfOneOverTwo) {
  PhaserLfo lfo;
  double highest = -1.0, lowest = 1.0;
  for (int n = 0; n < 2000; ++n) {
    highest = std::max(highest, lfo.Value());
    lowest = std::min(lowest, lfo.Value());
    lfo.Advance(0.001);
  }
  EXPECT_NEAR(highest, 0.5, 1e-9);
  EXPECT_NEAR(lowest, -0.5, 1e-9);
  EXPECT_NEAR(lfo.phase, 2.0, 1e-9);
}

class S626 : public ::testing::Test {
 protected:
  /// Gain of "Out 1" at a frequency, by an impulse through a phaser that stands still.
  double GainAt(double hertz) {
    std::complex<double> sum = 0.0;
    const std::vector<float>& out = rack.Recorded(phaser, "Out 1");
    for (std::size_t n = 0; n < out.size(); ++n) {
      sum += static_cast<double>(out[n]) *
             std::polar(1.0, -2.0 * M_PI * hertz / 48000.0 * static_cast<double>(n));
    }
    return std::abs(sum);
  }

  TestRack rack{48000};
  Module& phaser{rack.Add("S626 Dual Band Phaser")};
};

TEST_F(S626, CutsNotchesIntoTheSpectrum) {
  for (const char* depth : {"Depth A", "Depth B"}) rack.SetControl(phaser, depth, 0.0f);
  rack.SetControl(phaser, "Mix", 1.0f);
  std::vector<float> impulse(48000, 0.0f);
  impulse[0] = 1.0f;
  rack.Feed(phaser, "In 1", impulse);
  rack.Tap(phaser, "Out 1");
  rack.Run(48000);
  double deepest = 1e9, highest = 0.0;
  int notches = 0;
  double before = GainAt(100.0), here = GainAt(102.0);
  for (double hertz = 104.0; hertz < 20000.0; hertz *= 1.02) {
    const double next = GainAt(hertz);
    if (here < before && here < next && here < 0.25) ++notches;
    deepest = std::min(deepest, here);
    highest = std::max(highest, here);
    before = here;
    here = next;
  }
  EXPECT_GE(notches, 3);
  EXPECT_LT(deepest, 0.15);
  EXPECT_LT(highest, 3.0);
}

TEST_F(S626, LinkedRatesStandInWholeRatios) {
  const struct {
    float position;
    double ratio;
  } cases[] = {{0.0f, 1.0 / 8}, {0.25f, 1.0 / 4}, {0.5f, 1.0}, {0.75f, 4.0}, {1.0f, 8.0}};
  for (const auto& [position, ratio] : cases) {
    rack.SetControl(phaser, "Rate B", position);
    const auto phases = [&] {
      const std::vector<std::byte> preset = rack.SavedPreset(phaser);
      std::array<double, 2> both{};
      std::memcpy(both.data(), &preset[preset.size() - sizeof both], sizeof both);
      return both;
    };
    const auto from = phases();
    rack.Run(640);
    const auto to = phases();
    const double a = to[0] - from[0];
    EXPECT_NEAR(a, 640 * 0.4 * 0.4 * 0.4 * 8.0 / 48000.0, 5e-5);
    EXPECT_NEAR((to[1] - from[1]) / a, ratio, 1e-6) << position;
  }
}

TEST_F(S626, MixZeroIsDryAndPresetsKeepThePhases) {
  rack.SetControl(phaser, "Mix", 0.0f);
  rack.FeedConstant(phaser, "In 1", 0.3f);
  rack.Run(1000);
  EXPECT_FLOAT_EQ(rack.Out(phaser, "Out 1"), 0.3f);
  EXPECT_FLOAT_EQ(rack.Out(phaser, "Out 2"), 0.3f);
  const std::vector<std::byte> saved = rack.SavedPreset(phaser);
  Module& twin = rack.Add("S626 Dual Band Phaser");
  twin.LoadPreset(saved.data(), static_cast<int>(saved.size()), 1000);
  EXPECT_EQ(rack.SavedPreset(twin), saved);
  const auto phaseB = [&] {
    const std::vector<std::byte> preset = rack.SavedPreset(phaser);
    double phase = 0.0;
    std::memcpy(&phase, &preset[preset.size() - sizeof phase], sizeof phase);
    return phase;
  };
  const double before = phaseB();
  rack.MoveControl(phaser, "Invert B", 1.0f);
  EXPECT_NEAR(std::abs(phaseB() - before), 1.0, 1e-12) << "half a cycle";
  rack.MoveControl(phaser, "LFO link", 0.0f);
  rack.MoveControl(phaser, "Rate B", 0.0f);
  EXPECT_EQ(phaseB(), 0.0);
}

}  // namespace
}  // namespace halveron::testing
