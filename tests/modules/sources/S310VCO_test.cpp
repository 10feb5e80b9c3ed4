#include "modules/sources/S310VCO.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>
#include <complex>
#include <cstring>
#include <limits>
#include <numbers>
#include <utility>
#include <vector>

#include "tests/support/test_rack.h"

namespace halveron {
namespace {

using testing::TestRack;

using Wave = float S310VCOKernel<>::Outputs::*;
constexpr Wave kSaw = &S310VCOKernel<>::Outputs::saw;
constexpr Wave kTriangle = &S310VCOKernel<>::Outputs::triangle;
constexpr Wave kRound = &S310VCOKernel<>::Outputs::round;
constexpr Wave kPulse = &S310VCOKernel<>::Outputs::pulse;
constexpr double kRate = 48000.0;
constexpr double kMiddleC = 261.6255653;

/// A kernel with all outputs heard and neither PWM nor sync plugged.
struct Voice {
  S310VCOKernel<> kernel;
  S310VCOKernel<>::Knobs knobs;
  S310VCOKernel<>::Inputs in;
  S310VCOKernel<>::Cables cables{false, false, true, true, true, true};
  S310VCOKernel<>::Outputs out;

  explicit Voice(double hertz) {
    kernel.Prepare(kRate, kRate);
    in.pitch = static_cast<float>(std::log2(hertz / kMiddleC) / 10.0);
  }
  void Step() { kernel.Step(knobs, in, cables, out); }
  std::vector<float> Run(Wave wave, int samples) {
    std::vector<float> result(static_cast<std::size_t>(samples));
    for (float& value : result) {
      Step();
      value = out.*wave;
    }
    return result;
  }
};

double Mean(const std::vector<float>& y) {
  double sum = 0.0;
  for (const float value : y) sum += value;
  return sum / static_cast<double>(y.size());
}

std::pair<float, float> Range(const std::vector<float>& y) {
  const auto [low, high] = std::minmax_element(y.begin(), y.end());
  return {*low, *high};
}

/// Hertz of a wave that rises through 0 once a cycle.
double FrequencyOf(const std::vector<float>& y) {
  std::vector<double> crossings;
  for (std::size_t i = 1; i < y.size(); ++i) {
    if (y[i - 1] >= 0.0f || y[i] < 0.0f) continue;
    crossings.push_back(static_cast<double>(i) - y[i] / (y[i] - y[i - 1]));
  }
  return static_cast<double>(crossings.size() - 1) * kRate / (crossings.back() - crossings.front());
}

TEST(S310VCOKernel, FrequencyFollowsTheSumOfAllPitchSources) {
  for (const double octaves : {-3.0, -2.4, -1.0, -0.3, 0.0, 1.0, 2.0, 2.71, 4.0, 5.0, 6.0, 6.4}) {
    const double expected = kMiddleC * std::exp2(octaves);
    Voice voice(expected);
    // Pulled up by some and down by another, all cancel out: 2 - 3 + 0.5 + 0.125 * 0.5 * 8.
    voice.knobs.octave = 8.0 / 12.0;
    voice.kernel.octaveShift = -3.0f;
    voice.knobs.fineTune = 0.5;
    voice.knobs.fmAmount = 0.5;
    voice.in.fm = 0.5f;
    voice.Run(kTriangle, 48000);
    EXPECT_NEAR(FrequencyOf(voice.Run(kTriangle, 480000)) / expected, 1.0, 1e-4) << octaves;
  }
  Voice capped(60000.0);
  capped.knobs.pulseWidth = 1.0;
  capped.Step();
  EXPECT_EQ(capped.kernel.period, 2.0f);
  EXPECT_EQ(capped.kernel.pulseWidth, 0.5f);
}

/// Loudest alias up to 20 kHz, in dB relative to the fundamental.
double LoudestAlias(const std::vector<float>& y, double hertz) {
  // Blackman-Harris window: side lobes at -92 dB.
  const auto level = [&](double frequency) {
    std::complex<double> sum = 0.0;
    for (std::size_t i = 0; i < y.size(); ++i) {
      const double w = 2.0 * std::numbers::pi * static_cast<double>(i);
      const double x = w / static_cast<double>(y.size());
      const double window = 0.35875 - 0.48829 * std::cos(x) + 0.14128 * std::cos(2.0 * x) -
                            0.01168 * std::cos(3.0 * x);
      sum += y[i] * window * std::polar(1.0, -w * frequency / kRate);
    }
    return std::abs(sum);
  };
  double loudest = 0.0;
  for (int n = 2; n <= 60; ++n) {
    const double folded = std::abs(std::remainder(n * hertz, kRate));
    const bool isHarmonic = std::abs(std::remainder(folded, hertz)) < 50.0;
    if (folded <= 20000.0 && !isHarmonic) loudest = std::max(loudest, level(folded));
  }
  return 20.0 * std::log10(loudest / level(hertz));
}

TEST(S310VCOKernel, AliasesOfAHighNoteStaySixtyDecibelsDown) {
  for (const double hertz : {4987.3, 5000.0}) {
    for (const auto& [wave, width] : {std::pair{kSaw, 0.5}, {kPulse, 0.5}, {kPulse, 0.3}}) {
      Voice voice(hertz);
      voice.knobs.pulseWidth = width;
      voice.Run(wave, 4800);
      EXPECT_LT(LoudestAlias(voice.Run(wave, 16384), kRate / voice.kernel.period), -60.0);
    }
  }
}

TEST(S310VCOKernel, WidthIsThePartOfTheCycleSpentLow) {
  const auto low = [](Voice& voice) {
    voice.Run(kPulse, 4800);
    return (1.0 - Mean(voice.Run(kPulse, 48000))) / 2.0;
  };
  for (const double hertz : {100.0, 2000.0}) {
    const double edge = hertz / kRate;
    const double span = 1.0 - 2.0 * edge;
    for (const double knob : {0.0, 0.25, 1.0}) {
      Voice voice(hertz);
      voice.knobs.pulseWidth = knob;
      EXPECT_NEAR(low(voice), edge + span * knob, 1e-3) << knob;
      voice.cables.pwm = true;
      for (const float pwm : {-3.0f, -0.5f, 0.0f, 1.0f}) {
        voice.in.pwm = pwm;
        const double depth = std::clamp(pwm, -1.0f, 1.0f) * knob;
        EXPECT_NEAR(low(voice), edge + span * (0.5 + 0.5 * depth), 1e-3) << knob << ' ' << pwm;
      }
    }
  }
}

TEST(S310VCOKernel, IntegratedWavesHaveUnitAmplitudeAndNoMean) {
  for (const double width : {0.5, 0.2}) {
    Voice voice(500.0);
    voice.knobs.pulseWidth = width;
    voice.Run(kRound, 96000);
    for (const Wave wave : {kTriangle, kRound}) {
      const std::vector<float> y = voice.Run(wave, 48000);
      EXPECT_NEAR(Mean(y), 0.0, 2e-3);
      // At width w the pulse's parts integrate to 4 w (1 - w) of the height at 0.5.
      const auto [low, high] = Range(y);
      EXPECT_NEAR((high - low) / 2.0 / (4.0 * width * (1.0 - width)), 1.0, 0.1) << width;
    }
  }
}

TEST(S310VCOKernel, ShapeRaisesTheFloorOfTheRoundWaveUntilHighPitches) {
  const auto range = [](double hertz, double knob, float in) {
    Voice voice(hertz);
    voice.knobs.shape = knob;
    voice.in.shape = in;
    voice.Run(kRound, 48000);
    return Range(voice.Run(kRound, 9600));
  };
  const auto plain = range(220.0, 0.0, 0.0f);
  EXPECT_NEAR(plain.first, -1.0f, 0.1f);
  EXPECT_EQ(range(220.0, 1.0, 0.0f), (std::pair{0.0f, plain.second}));
  EXPECT_NEAR(range(220.0, 1.0, -0.5f).first, plain.first / 2.0f, 0.06f);
  EXPECT_EQ(range(220.0, 1.0, 2.0f), (std::pair{1.0f, 1.0f}));
  // The fade begins at 0.0454 of the rate, 2179 Hz, and has taken 1 off another 0.05 above.
  EXPECT_EQ(range(2100.0, 1.0, 0.0f).first, 0.0f);
  EXPECT_EQ(range(4700.0, 1.0, 0.0f), range(4700.0, 0.0, 0.0f));
}

TEST(S310VCOKernel, OctaveStepsOncePerCrossingWithinSixOctaves) {
  Voice voice(440.0);
  const auto feed = [&](float value) {
    voice.in.octaveStep = value;
    voice.Step();
    return voice.kernel.octaveShift;
  };
  const std::pair<float, float> steps[] = {{0.24f, 0.0f}, {0.25f, 1.0f}, {0.9f, 1.0f},
                                           {0.2f, 1.0f},  {0.3f, 2.0f},  {-0.25f, 1.0f},
                                           {-1.0f, 1.0f}};
  for (const auto& [in, shift] : steps) EXPECT_EQ(feed(in), shift) << in;
  for (int i = 0; i < 20; ++i) feed(i % 2 == 0 ? 0.0f : 1.0f);
  EXPECT_EQ(voice.kernel.octaveShift, 6.0f);
  for (int i = 0; i < 40; ++i) feed(i % 2 == 0 ? 0.0f : -1.0f);
  EXPECT_EQ(voice.kernel.octaveShift, -6.0f);
}

TEST(S310VCOKernel, SyncGivesTheMastersPeriod) {
  std::vector<float> master(96);
  for (std::size_t i = 0; i < 96; ++i) master[i] = std::sin(static_cast<float>(i) * 0.06544985f);
  for (const Wave wave : {kSaw, kPulse, kTriangle}) {
    Voice voice(1370.0);
    std::vector<float> y;
    for (std::size_t i = 0; i < 96 * 400; ++i) {
      voice.in.sync = master[i % 96];
      voice.Step();
      y.push_back(voice.out.*wave);
    }
    for (std::size_t i = y.size() - 960; i < y.size(); ++i) EXPECT_NEAR(y[i], y[i - 96], 1e-4f);
    // Its own period is 35 samples: the master's is not also that of a wave that stands still.
    EXPECT_GT(std::abs(y[y.size() - 1] - y[y.size() - 18]), 0.05f);
  }
}

/// Residual of a step of height 1, a time in samples after it.
float Residual(float samples) {
  const auto& table = dsp::GetMinBlepTable();
  const float at = 16.0f * samples;
  if (at >= dsp::kMinBlepLength) return 0.0f;
  const auto k = static_cast<std::size_t>(at);
  return 1.0f - std::lerp(table[k], table[k + 1], at - static_cast<float>(k));
}

/// A voice with a period of 8 samples, just before a sample that comes `sinceEdge` of a sample
/// after a sync edge; 0 for no edge.
Voice BeforeEdge(float sinceEdge) {
  Voice voice(6000.0);
  voice.Step();
  voice.kernel.SetStride(16);
  voice.kernel.period = 8.0f;
  voice.kernel.phaseInc = 0.125f;
  if (sinceEdge > 0.0f) {
    voice.in.sync = sinceEdge;
    voice.kernel.lastSyncIn = sinceEdge - 1.0f;
  }
  return voice;
}

TEST(S310VCOKernel, SyncAfterAWrapOfTheSawInsertsBothSteps) {
  Voice voice = BeforeEdge(0.5f);
  voice.kernel.sawPhase = 0.96875f;
  voice.Step();
  EXPECT_EQ(voice.kernel.sawPhase, 0.0625f);
  EXPECT_EQ(voice.kernel.sawJump, 0.0625f);
  const float naive = 2.0f * 0.0625f - 1.0f - 4.0f * 0.125f;
  EXPECT_NEAR(voice.out.saw, naive + 2.0f * Residual(0.75f) + 0.0625f * Residual(0.5f), 1e-6f);
}

TEST(S310VCOKernel, EachWayThroughASampleGivesThePulseItsSteps) {
  using Jumps = std::vector<std::pair<float, float>>;  // amplitude, phase since
  struct Case {
    const char* what;
    float sinceEdge, phase, level, oldWidth, width;
    Jumps jumps;
    float newLevel;
  };
  // A width moving from 0.45 to 0.75 meets the phase, from 0.5 to 0.625, 2/7 into the sample.
  const float met = 0.125f * 5.0f / 7.0f;
  const Jumps blip = {{2, 0.105f}, {-2, 0.105f}};
  const Jumps blipAndReset = {{2, 0.105f}, {-2, 0.105f}, {2, 0.03125f}};
  const Case cases[] = {
      {"rises", 0, 0.4375f, -1, 0.5f, 0.5f, {{-2, 0.0625f}}, 1},
      {"rises at the sample", 0, 0.375f, -1, 0.5f, 0.5f, {{-2, 0}}, 1},
      {"falls at the wrap", 0, 0.95f, 1, 0.5f, 0.5f, {{2, 0.075f}}, -1},
      {"is low at the wrap", 0, 0.95f, -1, 0.5f, 0.5f, {}, -1},
      {"overtaken", 0, 0.5f, 1, 0.45f, 0.75f, {{2, met}}, -1},
      {"met late", 0, 0.5f, 1, 0.52f, 0.52f, blip, 1},
      {"rises, reset", 0.25f, 0.4375f, -1, 0.5f, 0.5f, {{-2, 0.0625f}, {2, 0.03125f}}, -1},
      {"reset before the rise", 0.75f, 0.4375f, -1, 0.5f, 0.5f, {}, -1},
      {"reset while low", 0.5f, 0.2f, -1, 0.5f, 0.5f, {}, -1},
      {"reset while high", 0.5f, 0.7f, 1, 0.5f, 0.5f, {{2, 0.0625f}}, -1},
      {"wraps, reset", 0.25f, 0.95f, 1, 0.5f, 0.5f, {{2, 0.075f}}, -1},
      {"reset before the wrap", 0.75f, 0.95f, 1, 0.5f, 0.5f, {{2, 0.09375f}}, -1},
      {"overtaken, reset", 0.25f, 0.5f, 1, 0.45f, 0.75f, {{2, met}}, -1},
      {"reset before overtaken", 0.9375f, 0.5f, 1, 0.45f, 0.75f, {{2, 0.1171875f}}, -1},
      {"met late, reset", 0.25f, 0.5f, 1, 0.52f, 0.52f, blipAndReset, -1},
      {"met late, wraps, reset", 0.25f, 0.95f, 1, 0.97f, 0.875f, {{2, 0.075f}}, -1},
  };
  for (const Case& c : cases) {
    Voice voice = BeforeEdge(c.sinceEdge);
    voice.kernel.pulsePhase = c.phase;
    voice.kernel.pulseLevel = c.level;
    voice.kernel.pulseWidth = c.oldWidth;
    voice.knobs.pulseWidth = (c.width - 0.125) / 0.75;
    voice.Step();
    EXPECT_EQ(voice.kernel.pulseLevel, c.newLevel) << c.what;
    const float phase = c.sinceEdge > 0.0f ? c.sinceEdge / 8.0f : std::fmod(c.phase + 0.125f, 1.0f);
    EXPECT_NEAR(voice.kernel.pulsePhase, phase, 1e-6f) << c.what;
    float residual = voice.out.pulse - c.newLevel;
    for (int i = 0; i < voice.kernel.pulseBlep.Size(); ++i) {
      float expected = 0.0f;
      for (const auto& [amplitude, phaseSince] : c.jumps) {
        expected += amplitude * Residual(phaseSince * 8.0f + static_cast<float>(i));
      }
      EXPECT_NEAR(residual, expected, 2e-5f) << c.what << ", sample " << i;
      residual = voice.kernel.pulseBlep.Read();
    }
  }
}

TEST(S310VCOKernel, UnheardWavesStandStill) {
  Voice voice(700.0);
  voice.Run(kSaw, 100);
  const S310VCOKernel<> before = voice.kernel;
  const S310VCOKernel<>::Outputs heard = voice.out;
  voice.cables = {};
  voice.cables.round = true;
  voice.Run(kRound, 17);
  // The round wave needs triangle and pulse, which need no saw.
  EXPECT_EQ(voice.out.saw, heard.saw);
  EXPECT_EQ(voice.kernel.sawPhase, before.sawPhase);
  EXPECT_NE(voice.out.pulse, heard.pulse);
  EXPECT_NE(voice.out.triangle, heard.triangle);
  EXPECT_NE(voice.out.round, heard.round);
  const float pulsePhase = voice.kernel.pulsePhase;
  voice.cables = {};
  voice.Run(kPulse, 17);
  EXPECT_EQ(voice.kernel.pulsePhase, pulsePhase);
}

TEST(S310VCOKernel, RecoversFromValuesThatAreNoNumbers) {
  using Inputs = S310VCOKernel<>::Inputs;
  constexpr float kInfinity = std::numeric_limits<float>::infinity();
  for (const auto input : {&Inputs::pitch, &Inputs::fm, &Inputs::pwm, &Inputs::shape, &Inputs::sync,
                           &Inputs::octaveStep}) {
    for (const float bad : {std::nanf(""), kInfinity, -kInfinity, 3e38f, -3e38f}) {
      Voice voice(700.0);
      voice.cables.pwm = voice.cables.sync = true;
      voice.kernel.syncModulationOn = true;
      voice.knobs.fmAmount = 1.0;
      const float good = voice.in.*input;
      for (int i = 0; i < 500; ++i) {
        voice.in.*input = i % 3 == 0 ? bad : -0.1f;
        voice.Step();
      }
      voice.in.*input = good;
      voice.kernel.octaveShift = 0.0f;
      voice.Run(kRound, 48000);
      EXPECT_NEAR(FrequencyOf(voice.Run(kTriangle, 4800)), 700.0, 1.0) << bad;
      EXPECT_GT(Range(voice.Run(kSaw, 4800)).second, 0.9f) << bad;
    }
  }
}

TEST(S310VCO, PresetBringsBackThePhasesAndConvertsTheOldFmLaw) {
  TestRack rack;
  Module& source = rack.Add("S310 VCO");
  rack.Tap(source, "Saw");
  rack.Tap(source, "Pulse");
  rack.SetControl(source, "FM amount", 0.5f);
  rack.FeedConstant(source, "Pitch", 0.0123f);
  rack.Run(1000);
  std::vector<std::byte> preset = rack.SavedPreset(source);
  const std::vector<std::byte> whole = preset;
  const int size = static_cast<int>(preset.size());
  ASSERT_EQ(size, source.GetControlValuesSize() + 8);

  Module& vco = rack.Add("S310 VCO");
  EXPECT_NE(rack.SavedPreset(vco), whole);
  vco.LoadPreset(preset.data(), size, 1001);
  EXPECT_EQ(rack.SavedPreset(vco), whole);

  // What is missing, or is no phase, leaves the phase that stands.
  const float bad = std::nanf("");
  std::memcpy(preset.data() + size - 8, &bad, sizeof bad);
  vco.LoadPreset(preset.data(), size - 4, 1001);
  EXPECT_EQ(rack.SavedPreset(vco), whole);

  auto& amount = dynamic_cast<ModuleKnob&>(rack.Control(vco, "FM amount"));
  vco.LoadPreset(whole.data(), size, 1000);
  EXPECT_NEAR(amount.getValue(), std::cbrt(0.34375), 1e-6);
  EXPECT_EQ(amount.Cell().smoothed_value, amount.getValue());
  rack.SetControl(source, "FM amount", 0.95f);
  vco.LoadPreset(rack.SavedPreset(source).data(), size, 1000);
  EXPECT_EQ(amount.getValue(), 1.0f);
}

TEST(S310VCO, StepKeepsTheHostsBandwidthWhereAsked) {
  TestRack rack(48000);
  auto& vco = dynamic_cast<S310VCO&>(rack.Add("S310 VCO"));
  const auto sizeAt = [&](float rate) {
    vco.SetSampleRate(rate);
    return vco.StepRingSize();
  };
  EXPECT_EQ(vco.GetBandlimitMode(), 0);
  EXPECT_EQ(sizeAt(96000.0f), 27);
  EXPECT_TRUE(vco.SetBandlimitMode(1));
  EXPECT_EQ(vco.StepRingSize(), 51);
  EXPECT_EQ(sizeAt(48000.0f), 27);
  EXPECT_EQ(sizeAt(12e6f), 388);
  EXPECT_EQ(sizeAt(8000.0f), 7);
  vco.oversampled = false;
  EXPECT_EQ(sizeAt(96000.0f), 27);
}

TEST(S310VCO, KnobsAndCablesReachTheSound) {
  TestRack rack(48000);
  Module& vco = rack.Add("S310 VCO");
  rack.Tap(vco, "Triangle");
  rack.SetControl(vco, "Octave", 8.0f / 12.0f + 0.01f);
  rack.SetControl(vco, "Fine tune", 0.25f);
  rack.Feed(vco, "Octave step", std::vector<float>(100, 1.0f));
  rack.FeedConstant(vco, "Sync", -1.0f);
  const auto octaves = [&] {
    rack.Run(4800 + 48000);
    const std::vector<float>& y = rack.Recorded(vco, "Triangle");
    return std::log2(FrequencyOf({y.end() - 48000, y.end()}) / kMiddleC);
  };
  EXPECT_NEAR(octaves(), 3.25, 1e-4);
  rack.Disconnect(vco, "Sync");
  EXPECT_NEAR(octaves(), 3.25, 1e-4);
  rack.Disconnect(vco, "Octave step");
  EXPECT_NEAR(octaves(), 2.25, 1e-4);
  EXPECT_EQ(rack.Out(vco, "Saw"), 0.0f);

  // With the switch up, a sync input of 0.5 multiplies every wave by cos((0 + 2) * 0.5).
  rack.SetControl(vco, "Octave", 0.0f);
  rack.SetControl(vco, "Sync mode", 1.0f);
  rack.FeedConstant(vco, "Sync", 0.5f);
  rack.Tap(vco, "Pulse");
  rack.Run(1000);
  EXPECT_NEAR(std::abs(rack.Out(vco, "Pulse")), std::cos(1.0), 0.01);
}

}  // namespace
}  // namespace halveron
