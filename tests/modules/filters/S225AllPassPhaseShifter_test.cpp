#include "modules/filters/S225AllPassPhaseShifter.h"

#include <gtest/gtest.h>

#include <cmath>
#include <complex>
#include <numbers>

#include "tests/support/test_rack.h"

namespace halveron::testing {
namespace {

using Complex = std::complex<double>;
using Kernel = S225AllPassPhaseShifterKernel<>;
constexpr double kPi = std::numbers::pi;

/// Response at a frequency given as a fraction of the rate.
Complex Response(Kernel kernel, const Kernel::Knobs& knobs, double frequency) {
  const Complex turn = std::polar(1.0, -2.0 * kPi * frequency);
  Complex sum = 0.0, z = 1.0;
  for (int n = 0; n < 60000; ++n) {
    const float y = kernel.Step(knobs, {n == 0 ? 1.0f : 0.0f, 0, 0, 0}, 100.0f, [](bool) {});
    sum += static_cast<double>(y) * z;
    z *= turn;
  }
  return sum;
}

double WarpedGain(double g0) { return g0 + 0.31755 * std::pow(g0, 3) + 0.2033 * std::pow(g0, 5); }

TEST(S225AllPassPhaseShifter, StateVariableFormTurnsThePhaseAndKeepsTheLevel) {
  for (const float rate : {44100.0f, 192000.0f}) {
    for (const double resonance : {0.0, 0.8, 0.95}) {
      Kernel kernel;
      kernel.Prepare(rate);
      const Kernel::Knobs knobs{0.4, 0.0, 0.0, resonance};
      const double g = WarpedGain(std::pow(0.4, 3) * 68579.39683153832 / rate);
      const double R = 2.0 - 1.99 * resonance;
      for (const double ratio : {0.1, 0.9, 1.0, 4.0}) {
        const Complex S(0.0, ratio);
        const Complex expected = (S * S - R * S + 1.0) / (S * S + R * S + 1.0);
        const Complex found = Response(kernel, knobs, std::atan(g * ratio) / kPi);
        EXPECT_LT(std::abs(found - expected), 2e-4) << rate << ' ' << resonance << ' ' << ratio;
      }
    }
  }
}

TEST(S225AllPassPhaseShifter, DirectFormHasItsPolesAndZerosWhereTheyBelong) {
  for (const float rate : {48000.0f, 192000.0f}) {
    Kernel kernel;
    kernel.Prepare(rate);
    kernel.isDirect = true;
    const double q = 0.5, f = 0.7;
    const double c = (std::cos(137158.79366307665 / rate) - 1.0) * std::pow(f, 4) + 1.0;
    const double r = (1.0 - std::pow(1.0 - q, 4)) * 0.9975, zero = 2.0 - r;
    const double gain = rate < 96100.0f ? 1.0 / ((1.0 - r) * std::pow(f, 4) * 3.0 + 1.0) : 1.0;
    for (const double frequency : {0.01, 0.1, 0.4}) {
      const Complex z = std::polar(1.0, -2.0 * kPi * frequency);
      const Complex expected = gain * (1.0 - 2.0 * zero * c * z + zero * zero * z * z) /
                               (1.0 - 2.0 * r * c * z + r * r * z * z);
      const Complex found = Response(kernel, {f, 0.0, 0.0, q}, frequency);
      EXPECT_LT(std::abs(found - expected), 2e-4 * std::abs(expected)) << rate << ' ' << frequency;
    }
  }
}

TEST(S225AllPassPhaseShifter, AddsItsVoltagesWithinTheRange) {
  Kernel low, summed;
  low.Prepare(48000.0f);
  summed.Prepare(48000.0f);
  for (int n = 0; n < 100; ++n) {
    const auto x = static_cast<float>(std::sin(n * 0.3));
    const float plain = low.Step({0.75, 0.0, 0.0, 0.5}, {x, 0, 0, 0}, 4.0f, [](bool) {});
    const float voltage =
        summed.Step({0.25, 0.5, 0.5, 0.75}, {x, 0.25f, 0.5f, -0.5f}, 4.0f, [](bool) {});
    ASSERT_EQ(plain, voltage);
    ASSERT_EQ(low.Step({1.0, 0.0, 0.0, 0.0}, {x, 0, 0, 0}, 4.0f, [](bool) {}),
              summed.Step({1.0, 1.0, 1.0, 0.0}, {x, 3.0f, 3.0f, -2.0f}, 4.0f, [](bool) {}));
  }
}

TEST(S225AllPassPhaseShifter, LimitsItsNodeAndLights) {
  for (const float form : {0.0f, 1.0f}) {
    TestRack rack;
    Module& shifter = rack.Add("S225 Allpass Phase Shifter");
    rack.SetControl(shifter, "Form", form);
    rack.Feed(shifter, "Audio", std::vector<float>(100, 0.5f));
    rack.Run(200);
    EXPECT_EQ(rack.Control(shifter, "Clip LED").getValue(), 0.0f) << form;
    shifter.SetClipLevel(0.25f);
    rack.Feed(shifter, "Audio", std::vector<float>(300, 0.5f));
    rack.Run(200);
    EXPECT_EQ(rack.Control(shifter, "Clip LED").getValue(), 1.0f) << form;
  }
}

}  // namespace
}  // namespace halveron::testing
