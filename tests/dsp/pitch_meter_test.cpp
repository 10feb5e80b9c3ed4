#include "dsp/pitch_meter.h"

#include <gtest/gtest.h>

#include <cmath>
#include <functional>
#include <limits>
#include <numbers>
#include <random>

namespace halveron::dsp {
namespace {

using Tone = PitchMeter::Tone;
using Wave = std::function<double(double)>;

const Wave kSine = [](double p) { return std::sin(2 * std::numbers::pi * p); };
const Wave kSaw = [](double p) { return 2 * (p - std::floor(p)) - 1; };
const Wave kPulse = [](double p) { return p - std::floor(p) < 0.3 ? 1.0 : -1.0; };
const Wave kTriangle = [](double p) { return 4 * std::abs(p - std::floor(p + 0.5)) - 1; };
/// A second partial that is stronger than the first.
const Wave kHollow = [](double p) { return 0.3 * kSine(p) + kSine(2 * p); };

/// Each sample is the wave's mean over it, as a converter with a filter before it gives.
double MeanOver(const Wave& wave, double phase, double inc) {
  double sum = 0.0;
  constexpr int kParts = 8;
  for (int i = 0; i < kParts; ++i) sum += wave(phase + inc * i / kParts);
  return sum / kParts;
}

double CentsOff(double measured, double hertz) { return 1200 * std::log2(measured / hertz); }

TEST(PitchMeter, MeasuresEveryWaveWithinACentInHalfASecond) {
  struct Case {
    Wave wave;
    double lowest, highest;
  };
  const Case cases[] = {{kSine, 20, 5000},
                        {kSaw, 20, 5000},
                        {kPulse, 20, 5000},
                        {kTriangle, 20, 5000},
                        {kHollow, 20, 2500}};
  for (const float rate : {44100.0f, 96000.0f}) {
    for (const Case& c : cases) {
      for (double hertz = c.lowest; hertz <= c.highest * 1.0001; hertz *= std::pow(250, 1 / 6.0)) {
        PitchMeter meter;
        meter.Prepare(rate);
        std::minstd_rand random(1);
        const auto noise = [&] {
          return (static_cast<double>(random()) / 2147483647.0 - 0.5) * 0.02;
        };
        for (int n = 0; n < 0.31 * rate; ++n) meter.Step(static_cast<float>(0.01 * noise()));
        EXPECT_EQ(meter.Last().tone, Tone::kSilent);
        int steady = 0;
        for (int n = 0; n < 0.5 * rate; ++n) {
          const double y = MeanOver(c.wave, hertz / rate * n + 0.3, hertz / rate);
          const bool isNew = meter.Step(static_cast<float>(0.2 * y + 0.1 + 0.1 * noise()));
          if (!isNew || meter.Last().tone != Tone::kSteady) continue;
          ++steady;
          EXPECT_NEAR(CentsOff(meter.Last().hertz, hertz), 0.0, 1.0) << hertz << " at " << rate;
        }
        EXPECT_GE(steady, 2) << hertz << " Hz at " << rate << ", wave " << &c - cases;
        EXPECT_EQ(meter.Last().tone, Tone::kSteady);
      }
    }
  }
}

TEST(PitchMeter, ReportsWhatIsNoSteadyTone) {
  constexpr double kRate = 48000;
  std::minstd_rand random(1);
  const std::function<double(int)> signals[] = {
      [&](int) { return static_cast<double>(random()) / 2147483647.0 - 0.5; },
      [](int n) {
        return 0.5 * std::sin(300.0 * std::exp2(n / kRate * 2));
      },                                                      // two octaves a second
      [](int n) { return 0.5 * kSine(7000.0 * n / kRate); },  // too high
      [](int n) { return 0.5 * kSine(11.0 * n / kRate); },    // too low
      [](int n) {
        return 0.5 * kSine(440.0 * n / kRate + 0.8 * kSine(9.0 * n / kRate));
      },  // shaken
  };
  for (const auto& signal : signals) {
    PitchMeter meter;
    meter.Prepare(kRate);
    for (int n = 0; n < 48000; ++n) {
      if (meter.Step(static_cast<float>(signal(n))) && n > 12000) {
        EXPECT_NE(meter.Last().tone, Tone::kSteady)
            << &signal - signals << ": " << meter.Last().hertz;
      }
    }
  }
  PitchMeter meter;
  meter.Prepare(8000);
  for (int n = 0; n < 8000; ++n)
    meter.Step(n % 2 ? std::numeric_limits<float>::quiet_NaN() : 1e30f);
  for (int n = 0; n < 8000; ++n) meter.Step(static_cast<float>(kSine(440.0 * n / 8000)));
  EXPECT_NEAR(CentsOff(meter.Last().hertz, 440), 0.0, 1.0);
}

}  // namespace
}  // namespace halveron::dsp
