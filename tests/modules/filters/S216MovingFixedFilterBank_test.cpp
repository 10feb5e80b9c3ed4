#include "modules/filters/S216MovingFixedFilterBank.h"

#include <gtest/gtest.h>

#include <cmath>

#include "tests/modules/filters/filter_rig.h"

namespace halveron::testing {
namespace {

using Kernel = S216MovingFixedFilterBankKernel;

struct Bank {
  Kernel kernel;
  Kernel::Inputs in{};
  Kernel::Outputs out;

  explicit Bank(float rate = 48000.0f) {
    kernel.TakeLine(rate);
    kernel.SetBands(2, 4, rate);  // 60 Hz, an octave apart
    kernel.SetOrder(0);
    in.levels.fill(0.5);
    in.mix = 1.0;
    in.clipLevel = 4.0;
  }
  void Step() { kernel.Step(in, out); }
};

TEST(S216MovingFixedFilterBank, BandsStandAnOctaveApartAndStopAt18Kilohertz) {
  constexpr float kRate = 48000.0f;
  for (const int order : {0, 3, 6}) {
    for (const int band : {2, 5, 8}) {
      Bank bank(kRate);
      bank.kernel.SetOrder(order);
      const double level = 0.7;
      bank.in.levels.fill(level);
      // The polynomial warp comes within 1 % of the tangent in this range.
      const double f0 = 60.0 * std::pow(2.0, band) / kRate;
      const double centre = std::atan(dsp::Warp(kPi * f0)) / kPi;
      const auto at = [&](double frequency) {
        bank.kernel.cells = {};
        return std::abs(Response(frequency, [&](double x) {
          // Floats go in and out: an impulse clear of their rounding.
          bank.in.audio = static_cast<float>(x * 256);
          bank.Step();
          return static_cast<double>(bank.out.bands[static_cast<std::size_t>(band)]) / 256;
        }));
      };
      const int stages = order / 2 + 1;
      const double damping = stages >= 3 ? 20 - stages * 18.0 / 7 : 40;
      const double narrow = order % 2 == 0 ? 0.2 : 0.1;
      const double R = (1 - std::pow(1 - level, 4)) * (narrow - damping) + damping;
      const double gain = bank.kernel.out_gain / std::pow(R, stages);
      EXPECT_NEAR(at(centre) / gain, 1.0, 0.01) << order << ' ' << band;
      // A band-pass of damping R, one octave off by the warped scale: S = 2j.
      const double off = std::atan(2 * std::tan(kPi * centre)) / kPi;
      const double law = std::pow(2 / std::hypot(3, 2 * R), stages) * bank.kernel.out_gain;
      EXPECT_NEAR(at(off) / law, 1.0, 0.01) << order << ' ' << band;
    }
  }
  Bank bank;
  EXPECT_EQ(bank.kernel.bands_used, 8) << "the tenth would be at 30720 Hz";
  bank.kernel.SetBands(0, 0, 48000.0f);
  EXPECT_EQ(bank.kernel.bands_used, 11);
  bank.kernel.SetBands(10, 10, 48000.0f);
  EXPECT_EQ(bank.kernel.bands_used, 3);
}

TEST(S216MovingFixedFilterBank, TheControlSignalMovesThroughTheBands) {
  Bank bank;
  const auto openings = [&](int samples) {
    std::array<int, Kernel::kBands> first;
    first.fill(-1);
    Bank still = Bank();
    still.kernel.clocked = bank.kernel.clocked;
    for (int n = 0; n < samples; ++n) {
      bank.in.control = n == 0 ? 1.0f : 0.0f;
      bank.in.audio = still.in.audio = n % 3 == 0 ? 1.0f : -0.5f;
      bank.Step();
      still.Step();
      for (std::size_t i = 0; i < 9; ++i) {
        if (first[i] < 0 && bank.out.bands[i] != still.out.bands[i]) first[i] = n;
      }
    }
    return first;
  };
  bank.in.depth = 0.5;
  bank.in.delay = std::sqrt(9.0 / (288000 / 12.0 - 1));  // steps of 10 samples
  auto first = openings(200);
  for (int i = 0; i < 9; ++i) EXPECT_EQ(first[static_cast<std::size_t>(i)], (i + 1) * 10) << i;

  Bank clocked;
  clocked.kernel.clocked = true;
  for (int n = 0; n < 500; ++n) {
    clocked.in.control = n % 240 < 120 ? 1.0f : -1.0f;
    clocked.Step();
  }
  EXPECT_EQ(clocked.kernel.step, 20) << "a cycle of 240 samples over twelve bands";
}

TEST(S216MovingFixedFilterBank, AlternatesSidesAndTakesInputsFromABandOn) {
  TestRack rack(48000);
  Module& bank = rack.Add("S216 Moving Fixed Filter Bank");
  rack.SetControl(bank, "Stereo mix", 1.0f);
  std::vector<float> noise(64);
  for (std::size_t n = 0; n < noise.size(); ++n) noise[n] = n % 5 == 0 ? 0.5f : -0.1f;
  rack.Feed(bank, "Band-5 In", noise);
  rack.Run(30);
  const auto out = [&](const char* name) { return rack.Out(bank, name); };
  EXPECT_EQ(out("Band 4"), 0.0f);
  EXPECT_NE(out("Band 5"), 0.0f);
  EXPECT_NE(out("Band 9"), 0.0f);
  EXPECT_EQ(out("Band 10"), 0.0f);
  EXPECT_NEAR(out("Out L"), out("Band 5") + out("Band 7") + out("Band 9"), 1e-7);
  EXPECT_NEAR(out("Out R"), out("Band 6") + out("Band 8"), 1e-7);
  rack.MoveControl(bank, "Band off 6", 1.0f);
  rack.SetControl(bank, "Stereo mix", 0.0f);
  rack.FeedConstant(bank, "Band-9 In", 0.0f);
  rack.Run(10);
  EXPECT_EQ(out("Band 6"), 0.0f);
  EXPECT_NEAR(out("Out L"), out("Band 5") + out("Band 7") + out("Band 8") + out("Band 9"), 1e-7);
  EXPECT_EQ(out("Out L"), out("Out R"));
  rack.SetControl(bank, "Stereo mix", 1.0f);
  rack.Run(5);
  EXPECT_NEAR(out("Out R"), out("Band 7") + out("Band 9"), 1e-7)
      << "a band that is off does not take its turn";
  EXPECT_EQ(rack.Control(bank, "Clip LED").getValue(), 0.0f);
  rack.FeedConstant(bank, "In", 100.0f);
  rack.Run(5);
  EXPECT_EQ(rack.Control(bank, "Clip LED").getValue(), 1.0f);
}

}  // namespace
}  // namespace halveron::testing
