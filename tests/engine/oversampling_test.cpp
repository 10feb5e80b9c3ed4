// The oversampling stage: taps, filters, both sums, and the rack's rates.
#include "engine/oversampling.h"

#include <gtest/gtest.h>

#include <cmath>
#include <complex>
#include <tuple>

#include "framework/oversampling_filters.h"
#include "framework/voice_group.h"
#include "tests/support/test_rack.h"

namespace halveron::testing {
namespace {

constexpr float kRate = 48000.0f;

/// Gain in dB of the current FIR at a frequency given as a fraction of the high rate.
double GainAt(const OversamplingFilter& filter, double share) {
  std::complex<double> sum = 0.0;
  for (int i = 0; i < filter.FirTaps(); ++i) {
    sum +=
        static_cast<double>(filter.FirCoefficients()[i]) * std::polar(1.0, -2.0 * M_PI * share * i);
  }
  return 20.0 * std::log10(std::abs(sum) + 1e-12);
}

TEST(Oversampling, TapsByRowAndFactor) {
  EXPECT_EQ(OversamplingFilterTaps(0, 8), 0);
  EXPECT_EQ(OversamplingFilterTaps(1, 1), 0);
  EXPECT_EQ(OversamplingFilterTaps(1, 2), 50);
  EXPECT_EQ(OversamplingFilterTaps(1, 8), 200);
  EXPECT_EQ(OversamplingFilterTaps(2, 256), kMaxFirTaps);
  EXPECT_EQ(OversamplingFilterTaps(19, 2), kMaxFirTaps);
  EXPECT_STREQ(kOversamplingFilterNames[0], "IIR Chamberlin (>2X)");
  EXPECT_STREQ(kOversamplingFilterNames[19], "FIR 12800 taps");
  OversamplingFilter filter;
  filter.AllowVectors(VectorUnit::kSse2);
  filter.Configure(1, 2);
  EXPECT_FALSE(filter.UsesVectorFir());
  filter.Configure(1, 4);
  EXPECT_TRUE(filter.UsesVectorFir());
  filter.Configure(0, 4);
  EXPECT_EQ(filter.FirTaps(), 0);
}

TEST(Oversampling, PassAndStopBands) {
  struct Case {
    int row, factor;
    double passUpTo;  // fraction of the host's Nyquist within 0.1 dB
    double stopFrom;  // from here on attenuated by 70 dB
  };
  // A Blackman main lobe is 5.5 / taps wide to each side of the cutoff.
  for (const Case& c : {Case{1, 8, 0.55, 1.50}, Case{2, 8, 0.75, 1.25}, Case{5, 4, 0.80, 1.20},
                        Case{19, 2, 0.99, 1.01}}) {
    OversamplingFilter filter;
    filter.Configure(c.row, c.factor);
    const double nyquist = 0.5 / c.factor;
    EXPECT_NEAR(GainAt(filter, nyquist), -6.0, 0.2) << c.row;
    for (double share = 0.0; share <= c.passUpTo; share += 0.05) {
      EXPECT_NEAR(GainAt(filter, share * nyquist), 0.0, 0.1) << c.row << " at " << share;
    }
    for (double share = c.stopFrom; share < c.factor; share += 0.0371) {
      EXPECT_LT(GainAt(filter, share * nyquist), -70.0) << c.row << " at " << share;
    }
  }
}

TEST(Oversampling, BothSumsAgreeWithTheConvolution) {
  for (int row : {1, 2, 6, 9}) {
    constexpr int kFactor = 4;
    OversamplingFilter scalar, vector;
    vector.AllowVectors(VectorUnit::kSse2);
    scalar.Configure(row, kFactor);
    vector.Configure(row, kFactor);
    ASSERT_NE(scalar.UsesVectorFir(), vector.UsesVectorFir());
    std::vector<double> history;
    for (int sample = 0; sample < 700; ++sample) {
      for (int step = 0; step < kFactor; ++step) {
        const float x = std::sin(0.37f * static_cast<float>(history.size()));
        history.push_back(x);
        scalar.Push(x, -x);
        vector.Push(x, -x);
      }
      double expected = 0.0;
      for (std::size_t i = 0; i < std::min<std::size_t>(scalar.FirTaps(), history.size()); ++i) {
        expected += scalar.FirCoefficients()[i] * history[history.size() - 1 - i];
      }
      float left = 0, right = 0, vectorLeft = 0, vectorRight = 0;
      scalar.Decimate(&left, &right);
      vector.Decimate(&vectorLeft, &vectorRight);
      ASSERT_NEAR(left, expected, 2e-6) << row << " sample " << sample;
      ASSERT_NEAR(vectorLeft, expected, 2e-6) << row << " sample " << sample;
      EXPECT_EQ(right, -left);
      EXPECT_EQ(vectorRight, -vectorLeft);
    }
  }
}

TEST(Oversampling, WiderVectorsGiveTheSameBits) {
  constexpr int kFactor = 4;
  for (int unit = static_cast<int>(VectorUnit::kAvx2); unit <= static_cast<int>(WidestVectorUnit());
       ++unit) {
    OversamplingFilter narrow, wide;
    narrow.AllowVectors(VectorUnit::kSse2);
    wide.AllowVectors(static_cast<VectorUnit>(unit));
    for (int row : {1, 4, 6, 12, 2}) {  // what is left over of 16 taps at both ends of the ring
      narrow.Configure(row, kFactor);
      wide.Configure(row, kFactor);
      for (int step = 0; step < 1500; ++step) {
        const float x = std::sin(0.37f * static_cast<float>(step));
        narrow.Push(x, 1.0f - x);
        wide.Push(x, 1.0f - x);
        if ((step + 1) % kFactor != 0) continue;
        float left = 0, right = 0, wideLeft = 0, wideRight = 0;
        narrow.Decimate(&left, &right);
        wide.Decimate(&wideLeft, &wideRight);
        ASSERT_EQ(wideLeft, left) << "row " << row << ", unit " << unit << ", step " << step;
        ASSERT_EQ(wideRight, right) << "row " << row << ", unit " << unit << ", step " << step;
      }
    }
  }
}

TEST(Oversampling, TheIirFilterIsStableAtTwoTimes) {
  OversamplingFilter filter;
  filter.SetIirRate(44100.0f, 2);
  filter.Configure(kIirFilterRow, 2);
  EXPECT_NEAR(filter.IirCoefficient(), 0.680, 0.001);
  float left = 0, right = 0;
  for (int i = 0; i < 100000; ++i) filter.Push(i % 7 < 3 ? 1.0f : -1.0f, 1.0f);
  filter.Decimate(&left, &right);
  EXPECT_LT(std::abs(left), 4.0f);
  EXPECT_NEAR(right, 1.0f, 1e-4);  // unity at DC
}

TEST(Oversampling, TheIirFilterForgetsWhatIsNotFinite) {
  for (const float bad : {NAN, INFINITY}) {
    OversamplingFilter filter;
    filter.SetIirRate(48000.0f, 4);
    filter.Configure(kIirFilterRow, 4);
    filter.Push(bad, 1.0f);
    float left = 0, right = 0;
    for (int i = 0; i < 2000; ++i) {
      filter.Decimate(&left, &right);
      filter.Push(1.0f, 1.0f);
    }
    EXPECT_NEAR(left, 1.0f, 1e-4);
    EXPECT_NEAR(right, 1.0f, 1e-4);
  }
}

TEST(Oversampling, WhereTheIirFilterIsUnstableTheDefaultRowRuns) {
  for (const auto& [rate, factor, isStable] : {std::tuple{44100.0f, 2, true},
                                               {25000.0f, 2, true},
                                               {22050.0f, 2, false},
                                               {8000.0f, 2, false},
                                               {22050.0f, 4, true},
                                               {8000.0f, 4, false}}) {
    OversamplingFilter filter;
    filter.SetIirRate(rate, factor);
    filter.Configure(kIirFilterRow, factor);
    EXPECT_EQ(filter.FirTaps(), isStable ? 0 : OversamplingFilterTaps(kDefaultFilterRow, factor))
        << rate << " x " << factor;
    float left = 0, right = 0;
    for (int i = 0; i < 20000; ++i) filter.Push(i % 2 == 0 ? 1.0f : -1.0f, 1.0f);
    filter.Decimate(&left, &right);
    // Close to the limit the resonance at half the rate is high, but bounded.
    EXPECT_LT(std::abs(left), isStable ? 200.0f : 2.0f) << rate << " x " << factor;
  }
}

TEST(Oversampling, TheRackFollowsFactorFilterAndRate) {
  TestRack rack(kRate);
  rack.engine.voiceCount = 2;
  Module& vco = rack.Add("S310 VCO");
  Module& slow = rack.Add("S404 VCA");
  rack.editor.SetModuleOversampled(&slow, false);
  rack.engine.ApplyOversamplingFactor(3);
  EXPECT_EQ(rack.engine.oversamplingSteps, 8);
  EXPECT_EQ(rack.engine.Filter().FirTaps(), 200);
  for (int voice = 0; voice < 2; ++voice) {
    EXPECT_EQ(vco.GetVoiceModule(voice)->GetSampleRate(), 8 * kRate);
    EXPECT_EQ(slow.GetVoiceModule(voice)->GetSampleRate(), kRate);
  }
  rack.editor.SetModuleOversampled(&slow, true);
  EXPECT_EQ(slow.GetVoiceModule(1)->GetSampleRate(), 8 * kRate);
  const float before = rack.engine.Filter().IirCoefficient();
  rack.engine.setSampleRate(96000);
  EXPECT_EQ(vco.GetSampleRate(), 8 * 96000.0f);
  EXPECT_EQ(rack.engine.Filter().IirCoefficient(), before);  // until the factor changes
  rack.engine.ApplyOversamplingFilter(5);
  EXPECT_EQ(rack.engine.Filter().FirTaps(), 150);
  rack.engine.ApplyOversamplingFactor(0);
  rack.engine.ApplyOversamplingFilter(6);
  rack.engine.ApplyOversamplingFactor(1);
  EXPECT_EQ(rack.engine.Filter().FirTaps(), 200);
}

TEST(Oversampling, TheMainPairIsFilteredAndTheOthersKeepTheLastStep) {
  TestRack rack(kRate);
  Module& from = rack.Add("SA11 Audio/CV From DAW");
  Module& main = rack.Add("SA05 2 DAW 12db Amplifier");  // unity by default
  Module& others = rack.Add("SA12 Audio/CV To DAW");
  rack.Connect(from, "1", main, "Left");
  rack.Connect(from, "1", others, "1");
  rack.input(0).assign(4000, 0.0f);
  for (std::size_t i = 0; i < rack.input(0).size(); ++i) {
    rack.input(0)[i] = static_cast<float>(0.5 * std::sin(2 * M_PI * 1000.0 * i / kRate));
  }
  rack.engine.ApplyOversamplingFactor(2);
  rack.Run(3998);
  double peak = 0.0;
  for (std::size_t i = 2000; i < 4000; ++i) {
    peak = std::max(peak, std::abs(static_cast<double>(rack.output(0)[i])));
    EXPECT_EQ(rack.output(2)[i], rack.input(0)[i]);  // the cable's delay is one step
  }
  EXPECT_NEAR(peak, 0.5, 0.01);
}

}  // namespace
}  // namespace halveron::testing
