#include <gtest/gtest.h>

#include <bit>
#include <cmath>
#include <random>
#include <utility>
#include <vector>

#include "dsp/analytic_filter.h"
#include "modules/effects/S620FrequencyShifterKernel.h"
#include "platform/cpu_features.h"
#include "tests/support/spectrum.h"
#include "tests/support/test_rack.h"

namespace halveron::testing {
namespace {

constexpr double kRate = 48000.0;

double Decibels(double amplitude) { return 20.0 * std::log10(amplitude + 1e-12); }

TEST(AnalyticFilter, PassesPositiveAndSuppressesNegativeFrequencies) {
  for (const int sections : {6, 7}) {
    dsp::AnalyticFilter filter;
    filter.Design(sections, 40.0 / kRate);
    for (const double hertz : {50.0, 440.0, 5000.0, 20000.0, 23900.0}) {
      for (const double sign : {1.0, -1.0}) {
        filter.Clear();
        double energy = 0.0;
        for (int n = 0; n < 48000; ++n) {
          const double w = sign * 2.0 * M_PI * hertz / kRate * n;
          const auto y = filter.Step({std::cos(w), std::sin(w)});
          if (n >= 24000) energy += y.re * y.re + y.im * y.im;
        }
        const double level = 10.0 * std::log10(energy / 24000.0 + 1e-30);
        if (sign > 0.0) {
          EXPECT_NEAR(level, 0.0, 0.01) << hertz;
        } else {
          EXPECT_LT(level, -60.0) << hertz;
        }
      }
    }
  }
}

TEST(S620FrequencyShifter, VectorsGiveTheBitsOfPlainNumbers) {
  using Kernel = S620FrequencyShifterKernel;
  std::vector<VectorUnit> units{VectorUnit::kSse2};
  if (platform::HasAvx2()) units.push_back(VectorUnit::kAvx2);
  if (platform::HasAvx512()) units.push_back(VectorUnit::kAvx512);
  for (const VectorUnit unit : units) {
    for (const float rate : {48000.0f, 768000.0f}) {
      Kernel plain, vectors;
      for (Kernel* kernel : {&plain, &vectors}) {
        kernel->Prepare(rate);
        kernel->SetShift(321.0);
      }
      std::minstd_rand random(1);
      for (int n = 0; n < 3000; ++n) {
        const double x = static_cast<double>(random()) * 0x1p-30 - 1.0;
        const auto expected = Kernel::StepOf(VectorUnit::kNone)(plain, {x, 0.0});
        const auto heard = Kernel::StepOf(unit)(vectors, {x, 0.0});
        ASSERT_EQ(heard.re, expected.re) << n;
        ASSERT_EQ(heard.im, expected.im) << n;
      }
    }
  }
}

TEST(S620FrequencyShifter, ModesLeaveOutAFilter) {
  // 500 Hz, moved by 1500 Hz up or down.
  const auto levels = [](float mode, float frequency) {
    TestRack rack(48000);
    Module& shifter = rack.Add("S620 Frequency Shifter");
    rack.SetControl(shifter, "Law", 1.0f);
    rack.SetControl(shifter, "Mode", mode);
    rack.SetControl(shifter, "Frequency", frequency);
    rack.Feed(shifter, "Audio", Sine(48000, 500.0, kRate, 0.5));
    rack.Tap(shifter, "Up");
    rack.Run(48000);
    const std::vector<float>& up = rack.Recorded(shifter, "Up");
    return std::pair(Decibels(AmplitudeAt(up, 24000, 1000.0, kRate) / 0.5),
                     Decibels(AmplitudeAt(up, 24000, 2000.0, kRate) / 0.5));
  };
  for (const float mode : {0.0f, 1.0f}) {
    const auto [low, high] = levels(mode, 1.0f);
    EXPECT_LT(low, -60.0) << mode;
    EXPECT_NEAR(high, 0.0, 0.05) << mode;
  }
  const auto [low, high] = levels(0.5f, 1.0f);
  EXPECT_NEAR(low, -6.02, 0.1) << "a real signal has both sidebands";
  EXPECT_NEAR(high, -6.02, 0.1);
  EXPECT_LT(levels(0.0f, 0.0f).first, -60.0) << "gone with what lies below zero";
  EXPECT_NEAR(levels(1.0f, 0.0f).first, 0.0, 0.05) << "reflected at zero";
}

TEST(S620FrequencyShifter, FeedbackComesFromSendOrItsReturnAndCountsTwiceWithAudioQ) {
  TestRack rack(48000);
  Module& shifter = rack.Add("S620 Frequency Shifter");
  rack.SetControl(shifter, "Mode", 1.0f);
  rack.SetControl(shifter, "Feedback", 0.5f);
  rack.FeedConstant(shifter, "Audio", 0.1f);
  rack.FeedConstant(shifter, "Audio Q", 0.0f);
  rack.FeedConstant(shifter, "Feedback return", 0.25f);
  rack.Tap(shifter, "Send");
  rack.Run(8);
  // Not shifted, and with no filter: 0.1 + 2 * 0.25 * 0.5.
  EXPECT_FLOAT_EQ(rack.Out(shifter, "Send"), 0.35f);
  rack.FeedConstant(shifter, "Feedback CV", -1.0f);
  rack.Run(8);
  EXPECT_FLOAT_EQ(rack.Out(shifter, "Send"), -0.15f);
  rack.Disconnect(shifter, "Feedback return");
  rack.Disconnect(shifter, "Feedback CV");
  rack.SetControl(shifter, "Feedback", 0.25f);
  rack.Run(200);
  EXPECT_NEAR(rack.Out(shifter, "Send"), 0.2f, 1e-6f) << "0.1 / (1 - 2 * 0.25)";
}

TEST(S620FrequencyShifter, LawsMeetAtNoShift) {
  using Kernel = S620FrequencyShifterKernel;
  EXPECT_EQ(Kernel::ShiftOf(0.5, true), 0.0);
  EXPECT_EQ(Kernel::ShiftOf(0.5, false), 0.0);
  EXPECT_EQ(Kernel::ShiftOf(1.0, true), 16000.0);
  EXPECT_EQ(Kernel::ShiftOf(0.0, true), -16000.0);
  EXPECT_EQ(Kernel::ShiftOf(0.75, true), 4000.0);
  EXPECT_EQ(Kernel::ShiftOf(1.0, false), 1500.0);
  EXPECT_EQ(Kernel::ShiftOf(0.25, false), -187.5);
}

TEST(S620FrequencyShifter, MovesATransposedSidebandAndRejectsImageAndCarrier) {
  for (const float rate : {48000.0f, 192000.0f}) {
    for (const float knob : {0.75f, 0.25f}) {  // +-187.5 Hz
      TestRack rack(rate);
      Module& shifter = rack.Add("S620 Frequency Shifter");
      rack.MoveControl(shifter, "Law", 1.0f);
      rack.SetControl(shifter, "Frequency", knob);
      const int count = static_cast<int>(rate);
      rack.Feed(shifter, "Audio", Sine(count, 1000.0, rate, 0.5));
      rack.Tap(shifter, "Up");
      rack.Run(count);
      const std::vector<float>& up = rack.Recorded(shifter, "Up");
      const std::size_t from = up.size() / 2;
      const double shift = knob > 0.5f ? 187.5 : -187.5;
      EXPECT_NEAR(Decibels(AmplitudeAt(up, from, 1000.0 + shift, rate) / 0.5), 0.0, 0.05);
      EXPECT_LT(Decibels(AmplitudeAt(up, from, 1000.0 - shift, rate) / 0.5), -60.0) << rate;
      EXPECT_LT(Decibels(AmplitudeAt(up, from, 1000.0, rate) / 0.5), -60.0) << rate;
    }
  }
}

TEST(S620FrequencyShifter, DownIsAQuarterOfATurnLateAndMixZeroIsDry) {
  TestRack rack(48000);
  Module& shifter = rack.Add("S620 Frequency Shifter");
  rack.Feed(shifter, "Audio", Sine(48000, 1000.0, kRate, 0.5));
  rack.Tap(shifter, "Up");
  rack.Tap(shifter, "Down");
  rack.Run(48000);
  const std::vector<float>& up = rack.Recorded(shifter, "Up");
  const std::vector<float>& down = rack.Recorded(shifter, "Down");
  double product = 0.0;
  for (std::size_t i = 24000; i < 48000; ++i) product += up[i] * down[i];
  EXPECT_NEAR(product / 24000.0, 0.0, 1e-4);
  EXPECT_NEAR(Rms(up, 24000), Rms(down, 24000), 1e-3);

  rack.SetControl(shifter, "Mix", 0.0f);
  rack.FeedConstant(shifter, "Audio", 0.5f);
  rack.Run(100);
  EXPECT_EQ(rack.Out(shifter, "Up"), 0.5f);
  EXPECT_EQ(std::bit_cast<std::uint32_t>(shifter.GetClipLevel()), 0x3FB4CE08u) << "3 dB";
  const std::vector<std::byte> preset = rack.SavedPreset(shifter);
  shifter.LoadPreset(preset.data(), static_cast<int>(preset.size()), 1000);
  EXPECT_EQ(shifter.GetClipLevel(), 4.0f);
}

}  // namespace
}  // namespace halveron::testing
