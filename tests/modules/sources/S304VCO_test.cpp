#include "modules/sources/S304VCO.h"

#include <gtest/gtest.h>

#include <cmath>
#include <complex>
#include <cstring>
#include <numbers>

#include "tests/support/test_rack.h"

namespace halveron::testing {
namespace {

constexpr float kRate = 48000.0f;

struct Voice {
  S304VCOKernel<> kernel;
  double frequency = 0.5, fmAmount = 0.0, detune = 0.0;
  float pitch = 0.0f, fm = 0.0f;

  Voice() {
    kernel.Prepare(kRate);
    kernel.detune_ratio = 1.0f;
  }
  void Detune(double amount) {
    detune = amount;
    kernel.SetDetune(true, detune, pitch);
  }
  float Saw() {
    kernel.Advance(frequency, fmAmount, detune, pitch, fm);
    return kernel.Saw();
  }
  double Hertz() {
    Saw();
    return static_cast<double>(kernel.inc_1) * kRate;
  }
};

TEST(S304VCO, TunesByPitchFrequencyAndLinearFm) {
  Voice voice;
  EXPECT_NEAR(voice.Hertz(), 261.62558, 0.001);
  voice.pitch = 0.3f;
  EXPECT_NEAR(voice.Hertz(), 8 * 261.62558, 0.01);
  voice.pitch = 0.0f;
  voice.frequency = 1.0;
  EXPECT_NEAR(voice.Hertz(), 261.62558 * std::pow(3.625, 3), 0.1);
  voice.frequency = 0.0;
  EXPECT_NEAR(voice.Hertz(), 261.62558 / 512, 1e-5);
  voice.frequency = 0.5;
  voice.fmAmount = 0.5;
  voice.fm = 0.25f;
  EXPECT_NEAR(voice.Hertz(), 261.62558 + 0.25 * 7000 / 8, 0.01);
  voice.fmAmount = 1.0;
  for (const float fm : {10.0f, -10.0f, 1e38f}) {
    voice.fm = fm;
    EXPECT_EQ(voice.kernel.inc_1 <= 0.5f && std::isfinite(voice.Saw()), true) << fm;
    EXPECT_EQ(voice.Hertz(), kRate / 2);
  }
  voice.fm = 0.0f;
  voice.Detune(0.7);
  voice.Saw();
  EXPECT_NEAR(voice.kernel.inc_2 / voice.kernel.inc_1, std::exp2(0.49), 1e-6);
  EXPECT_NEAR(voice.kernel.pitchOut, 0.2 * 0.49, 1e-6);
}

TEST(S304VCO, RunsBackwardThroughZeroByItsSign) {
  Voice up, down;
  up.frequency = down.frequency = 0.0;
  up.fmAmount = down.fmAmount = 1.0;
  up.fm = 0.1f;
  // As far below zero as the other is above it.
  down.fm = static_cast<float>(-0.1 - 2 * 261.62558 / 512 / 7000);
  for (int n = 0; n < 500; ++n) {
    const float y = up.Saw();
    ASSERT_NEAR(down.Saw(), -y, 2e-3) << n;
  }
}

/// Magnitude of a partial, by a window of whole cycles' length.
double Partial(const std::vector<double>& y, double frequency) {
  std::complex<double> sum = 0.0;
  const double size = static_cast<double>(y.size());
  for (std::size_t n = 0; n < y.size(); ++n) {
    const double t = static_cast<double>(n);
    const double window = 1.0 - std::cos(2 * std::numbers::pi * t / size);
    sum += y[n] * window * std::polar(1.0, -2 * std::numbers::pi * frequency * t / kRate);
  }
  return 2.0 * std::abs(sum) / size;
}

TEST(S304VCO, IsASawtoothWithFewerAliases) {
  Voice voice;
  voice.pitch = static_cast<float>(std::log2(5000.0 / 261.62558) / 10);
  const double f = voice.Hertz();
  std::vector<double> saw, naive;
  double phase = voice.kernel.phase_1;
  for (int n = 0; n < 1 << 15; ++n) {
    saw.push_back(voice.Saw() / 2.0);
    phase += f / kRate;
    phase -= std::floor(phase);
    naive.push_back(2 * phase - 1);
  }
  EXPECT_NEAR(Partial(saw, f), 2 / std::numbers::pi, 0.1);
  // The seventh harmonic lies above half the rate and comes back below it.
  const double alias = kRate - 7 * f;
  EXPECT_LT(Partial(saw, alias), 0.2 * Partial(naive, alias));

  // Away from the corners it is the straight ramp.
  Voice slow;
  int straight = 0;
  for (int n = 0; n < 2000; ++n) {
    const float y = slow.Saw();
    const float p = slow.kernel.phase_1, inc = slow.kernel.inc_1;
    if (p < inc || p >= 1.0f - inc) continue;
    ASSERT_EQ(y, 2.0f * (p * 2.0f - 1.0f));
    ++straight;
  }
  EXPECT_GT(straight, 1900);
}

TEST(S304VCO, PulseIsTheSawLessItselfHalfACycleLater) {
  Voice voice;
  double sum = 0.0;
  int flat = 0;
  constexpr int kSamples = 48000;
  for (int n = 0; n < kSamples; ++n) {
    voice.Saw();
    const float y = voice.kernel.Pulse();
    ASSERT_LT(std::abs(y), 2.001f);
    sum += y;
    const float p = voice.kernel.phase_1;
    if (std::abs(y) > 1.999f) {
      ++flat;
      ASSERT_EQ(y > 0.0f, p >= 0.5f) << p;
    }
  }
  EXPECT_NEAR(sum / kSamples, 0.0, 0.01);
  EXPECT_GT(flat, kSamples * 97 / 100);
}

TEST(S304VCO, StandsStillAtZeroHertz) {
  Voice voice;
  voice.kernel.phase_1 = 0.5f;  // where the shifted ramp has its corner
  voice.kernel.pitch_hz = 0.0f;
  voice.kernel.pitch_cache = 0.0f;
  for (int n = 0; n < 3; ++n) {
    EXPECT_EQ(voice.Saw(), 0.0f - 1.0f);
    EXPECT_TRUE(std::isfinite(voice.kernel.Pulse()));
  }
  EXPECT_EQ(voice.kernel.phase_1, 0.5f);
}

TEST(S304VCO, KeepsPhasesAndReadsTheFormerFmLaw) {
  TestRack rack(kRate);
  Module& vco = rack.Add("S304 VCO");
  rack.SetControl(vco, "Detune", 0.8f);
  rack.SetControl(vco, "FM amount", 0.3f);
  rack.Tap(vco, "Saw");
  rack.Run(777);
  const std::vector<std::byte> saved = rack.SavedPreset(vco);
  ASSERT_EQ(saved.size(), static_cast<std::size_t>(vco.GetControlValuesSize()) + 8);
  rack.Tap(vco, "Pitch out");
  Module& twin = rack.Add("S304 VCO");
  twin.LoadPreset(saved.data(), static_cast<int>(saved.size()), 1001);
  rack.Tap(twin, "Saw");
  rack.Run(500);
  EXPECT_EQ(rack.Out(vco, "Pitch out"), 0.2f * 0.8f * 0.8f);
  EXPECT_EQ(rack.Control(twin, "FM amount").getValue(), 0.3f);
  twin.LoadPreset(saved.data(), static_cast<int>(saved.size()), 1000);
  EXPECT_NEAR(rack.Control(twin, "FM amount").getValue(), std::cbrt(0.09 * 2.5714285714285716),
              1e-6);
  const float full = 1.0f;
  std::vector<std::byte> old = saved;
  std::memcpy(old.data() + sizeof(float), &full, sizeof full);
  twin.LoadPreset(old.data(), static_cast<int>(old.size()), 1000);
  EXPECT_EQ(rack.Control(twin, "FM amount").getValue(), 1.0f);
  EXPECT_EQ(rack.SavedPreset(twin).size(), saved.size());
}

}  // namespace
}  // namespace halveron::testing
