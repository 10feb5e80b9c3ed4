#include "modules/sources/S315MiniSamplerKernel.h"

#include <algorithm>
#include <complex>
#include <numeric>

#include "dsp/fft.h"
#include "modules/sources/sample_edit.h"
#include "modules/sources/sample_recorder.h"
#include "tests/modules/sources/sampler_bench.h"

namespace halveron::testing {
namespace {

using State = S315MiniSamplerKernel::PlayState;

/// Frequency in cycles per sample of a tone near `guess`, from its phase in two windows.
double FrequencyNear(const std::vector<float>& y, double guess) {
  const std::size_t half = y.size() / 2;
  const auto phase = [&](std::size_t from) {
    std::complex<double> sum = 0.0;
    for (std::size_t i = 0; i < half; ++i) {
      const double t = static_cast<double>(i + from);
      const double window = std::pow(
          std::sin(std::numbers::pi * static_cast<double>(i) / static_cast<double>(half)), 4.0);
      sum += window * static_cast<double>(y[i + from]) *
             std::polar(1.0, -2.0 * std::numbers::pi * guess * t);
    }
    return std::arg(sum);
  };
  const double turn = std::remainder(phase(half) - phase(0), 2.0 * std::numbers::pi);
  return guess + turn / (2.0 * std::numbers::pi * static_cast<double>(half));
}

/// Power outside of the harmonics of a tone against all of it, in decibels.
double StrayDecibels(const std::vector<float>& y, double cyclesPerSample) {
  const auto size = y.size();
  dsp::RealFft fft(static_cast<int>(size));
  constexpr double kBeta = 20.0;  // of a Kaiser window: below -140 dB, 7 bins on each side
  for (std::size_t i = 0; i < size; ++i) {
    const double x = 2.0 * static_cast<double>(i) / static_cast<double>(size - 1) - 1.0;
    const double window =
        std::cyl_bessel_i(0.0, kBeta * std::sqrt(1.0 - x * x)) / std::cyl_bessel_i(0.0, kBeta);
    fft.Signal()[i] = static_cast<float>(window) * y[i];
  }
  fft.Forward();
  double all = 0.0, stray = 0.0;
  for (std::size_t k = 8; k < size / 2; ++k) {
    const double power = std::norm(fft.Spectrum()[k]);
    const double harmonic = static_cast<double>(k) / static_cast<double>(size) / cyclesPerSample;
    const double bins =
        std::abs(harmonic - std::round(harmonic)) * cyclesPerSample * static_cast<double>(size);
    all += power;
    if (bins > 8.0 || harmonic < 0.5) stray += power;
  }
  return 10.0 * std::log10(stray / all + 1e-30);
}

float LargestStep(const std::vector<float>& y) {
  float largest = 0.0f;
  for (std::size_t i = 1; i < y.size(); ++i) largest = std::max(largest, std::abs(y[i] - y[i - 1]));
  return largest;
}

TEST(S315MiniSamplerKernel, PlaysInTuneToATenthOfACentInEachQuality) {
  constexpr double kFrequency = 441.0 / 44100.0;  // of the file, in cycles per sample
  const std::vector<float> sine = Tone(44100, kFrequency, 1);
  const std::vector<float> cycle = Tone(100, kFrequency, 1);
  for (int quality = 0; quality < kSampleQualities; ++quality) {
    for (const bool isCycle : {false, true}) {
      SamplerVoice voice(isCycle ? cycle : sine, 44100.0, isCycle, quality);
      voice.kernel.looping = isCycle;
      voice.kernel.rootPitch = 0.0215;
      for (const float pitch : {0.0215f - 0.1f, 0.0215f, 0.087f}) {
        voice.pitch = pitch;
        voice.Run(200, 1.0f);
        const double ratio = std::exp2((pitch - 0.0215) * 10.0) * 44100.0 / 48000.0;
        const double expected = kFrequency * ratio;
        const double measured = FrequencyNear(voice.Run(quality > 7 ? 4000 : 8000, 1.0f), expected);
        EXPECT_LT(std::abs(1200.0 * std::log2(measured / expected)), 0.1)
            << "quality " << quality << ", pitch " << pitch << (isCycle ? ", cycle" : "");
        voice.Run(200);
      }
    }
  }
}

TEST(S315MiniSamplerKernel, AliasingAnOctaveUpFallsWithTheQuality) {
  constexpr int kSize = 8192;
  constexpr double kFile = 523.4 / 44100.0;
  const std::vector<float> saw = Tone(40000, kFile, 42);  // up to 22 kHz
  const std::vector<float> cycle = Tone(169, 1.0 / 169.0, 84);
  for (const bool isCycle : {false, true}) {
    double before = 0.0;
    for (int quality = 0; quality < kSampleQualities; ++quality) {
      SamplerVoice voice(isCycle ? cycle : saw, 44100.0, isCycle, quality);
      voice.kernel.looping = isCycle;
      voice.pitch = 0.1f;
      voice.Run(400, 1.0f);
      const double played = (isCycle ? 1.0 / 169.0 : kFile) * 2.0 * 44100.0 / 48000.0;
      const double stray = StrayDecibels(voice.Run(kSize, 1.0f), played);
      RecordProperty((isCycle ? "cycle_" : "passage_") + std::to_string(quality),
                     std::to_string(stray));
      // What is left of the best is the rounding of floats.
      if (quality > 0) {
        EXPECT_LT(stray, std::max(before + 0.5, -100.0)) << quality;
      }
      before = stray;
    }
    EXPECT_LT(before, -100.0);
  }
}

TEST(S315MiniSamplerKernel, LoopSeamsMakeNoStepAboveTheSignalsOwn) {
  const std::vector<float> sine = Tone(20000, 0.00731, 3);
  const float own = LargestStep(sine);
  for (const double loop : {0.0, 0.3, 0.9}) {
    for (const double fade : {0.05, 0.5}) {
      SamplerVoice voice(sine, 48000.0);
      voice.kernel.looping = true;
      voice.kernel.fadeShare = fade;
      voice.knobs.loop = loop;
      voice.knobs.start = 0.113;
      voice.knobs.length = 0.9;
      voice.Run(100);
      EXPECT_LT(LargestStep(voice.Run(60000)), own * 1.05f) << loop << ", " << fade;
    }
  }
  // A cycle closes on itself without a fade, and a snapped loop on a whole number of steps.
  SamplerVoice cycle(Tone(337, 1.0 / 337.0, 5), 48000.0, true);
  cycle.kernel.looping = cycle.kernel.snapLoop = true;
  cycle.pitch = 0.0173f;
  cycle.Run(100);
  const std::vector<float> y = cycle.Run(4000);
  EXPECT_LT(LargestStep(y), LargestStep(Tone(3370, 1.0 / 337.0, 5)) * 1.2f);
  const double steps = std::floor(337.0 / std::exp2(0.173));
  for (std::size_t i = 0; i < 1000; ++i) {
    ASSERT_NEAR(y[i], y[i + static_cast<std::size_t>(steps)], 1e-5) << "a whole number of steps";
  }
}

TEST(S315MiniSamplerKernel, TheWindowFollowsTheKnobs) {
  std::vector<float> ramp(1000);
  std::iota(ramp.begin(), ramp.end(), 0.0f);
  SamplerVoice voice(ramp, 48000.0);
  voice.kernel.fadeStep = 1.0;
  voice.knobs.start = 0.2;
  voice.knobs.fineStart = 0.5;
  voice.knobs.length = std::cbrt(0.3);
  const std::vector<float> y = voice.Run(400, 1.0f);
  EXPECT_NEAR(y[0], 206.0f, 1e-3) << "one step past the start of 205";
  EXPECT_NEAR(y[100], 306.0f, 1e-3);
  const auto end = std::find(y.begin(), y.end(), 0.0f);
  EXPECT_NEAR(static_cast<double>(end - y.begin()), 300, 2);
  EXPECT_EQ(voice.kernel.playState, State::kStopped);

  voice.knobs.length = 1.0;
  voice.Run(2, 0.0f);
  voice.Run(1, 1.0f);
  EXPECT_DOUBLE_EQ(voice.kernel.windowEnd, 1000.0) << "the window ends with the sample";
  voice.kernel.startCable = true;
  voice.knobs.fineStart = 0.5;
  voice.kernel.Step(voice.knobs, {1.0f, 0.0f, 0.0f, -0.8f});
  EXPECT_NEAR(voice.kernel.windowStart, 100.0, 1e-4) << "-0.8 times the cube of the knob";

  // No window at all: the sample at the start, as long as the ramps let it sound.
  voice.kernel.startCable = false;
  voice.knobs.length = voice.knobs.fineStart = 0.0;
  voice.kernel.fadeStep = 0.01;
  voice.Run(5, 0.0f);
  for (const float value : voice.Run(300, 1.0f)) {
    EXPECT_NEAR(value, 200.0 * voice.kernel.fadeGain, 201.0);
    EXPECT_LE(std::abs(value), 200.0f);
  }
  // A loop that is shorter than a step stays on the window's end.
  voice.kernel.looping = true;
  voice.knobs.length = 0.1;
  voice.knobs.loop = 0.9;
  voice.kernel.gateCable = false;
  voice.Run(300, 0.0f);
  EXPECT_EQ(voice.kernel.position, voice.kernel.windowEnd);
}

TEST(S315MiniSamplerKernel, TheGateStartsAndInGateModeEnds) {
  SamplerVoice voice(std::vector<float>(20000, 1.0f), 48000.0);
  voice.kernel.gateCable = true;
  voice.kernel.fadeStep = 0.01;
  EXPECT_EQ(voice.Run(50)[49], 0.0f) << "silent before the first gate";
  const std::vector<float> rise = voice.Run(100, 1.0f);
  EXPECT_NEAR(rise[0], 0.01f, 1e-6);
  EXPECT_NEAR(rise[49], 0.5f, 1e-6);
  EXPECT_NEAR(rise[99], 1.0f, 1e-6);
  voice.Run(1000, 0.0f);
  EXPECT_EQ(voice.kernel.playState, State::kRunning) << "without gate mode it plays on";
  // A new gate ramps down, begins again and ramps up.
  const std::vector<float> again = voice.Run(250, 1.0f);
  EXPECT_LT(LargestStep(again), 0.011f);
  EXPECT_NEAR(*std::min_element(again.begin(), again.end()), 0.0f, 0.011f);
  EXPECT_NEAR(again[249], 1.0f, 1e-6);
  EXPECT_NEAR(voice.kernel.position, 149.0, 2.0);
  EXPECT_NEAR(voice.kernel.previousPosition, 1100.0, 2.0);
  // The end of the window fades to nothing, however long the ramp.
  const std::vector<float> tail = voice.Run(20000, 0.0f);
  EXPECT_LT(LargestStep(tail), 0.011f);
  EXPECT_EQ(tail.back(), 0.0f);

  voice.kernel.gateHeldMode = true;
  voice.Run(300, 1.0f);
  const std::vector<float> fall = voice.Run(200, 0.0f);
  EXPECT_NEAR(fall[49], 0.5f, 1e-6);
  EXPECT_EQ(fall[150], 0.0f);
  EXPECT_EQ(voice.kernel.playState, State::kStopped);

  voice.kernel.looping = true;
  EXPECT_EQ(voice.Run(100)[99], 0.0f) << "a held loop needs a gate";
  voice.kernel.gateHeldMode = voice.kernel.gateCable = false;
  EXPECT_NEAR(voice.Run(200)[199], 1.0f, 1e-6) << "an oscillator does not";
}

TEST(S315MiniSamplerKernel, SpeedFollowsKnobAndCable) {
  SamplerVoice voice(Tone(48000, 0.01, 1), 48000.0);
  const auto speedAt = [&](double k, float mod) {
    voice.knobs.speed = k;
    voice.kernel.Step(voice.knobs, {0.0f, 0.0f, mod, 0.0f});
    return voice.kernel.speed;
  };
  EXPECT_DOUBLE_EQ(speedAt(0.5, 7.0f), 1.0);
  EXPECT_DOUBLE_EQ(speedAt(1.0, 0.0f), 2.0);
  voice.kernel.speedCable = true;
  EXPECT_DOUBLE_EQ(speedAt(0.5, 0.0f), 1.0);
  EXPECT_DOUBLE_EQ(speedAt(0.5, 1.0f), 1.25);
  EXPECT_DOUBLE_EQ(speedAt(1.0, -3.0f), 0.0);
}

TEST(S315MiniSamplerKernel, WhatIsTooHighIsSilent) {
  SamplerVoice voice(Tone(48000, 0.01, 1), 44100.0, false, 1);
  voice.kernel.looping = true;
  voice.pitch = 0.75f;  // 7.5 octaves up: there are 7 levels
  voice.Run(200);
  for (const float value : voice.Run(200)) EXPECT_EQ(value, 0.0f);
  voice.pitch = -0.75f;
  voice.Run(200);
  EXPECT_GT(LargestStep(voice.Run(20000)), 0.0f);
}

TEST(S315MiniSamplerKernel, TakesAnyInput) {
  const float kWild[] = {NAN, INFINITY, -INFINITY, 1e30f, -1e30f, 0.0f};
  for (const int quality : {0, 2}) {
    SamplerVoice voice(Tone(500, 0.01, 1), 44100.0, false, quality);
    voice.kernel.looping = voice.kernel.startCable = voice.kernel.speedCable = true;
    voice.kernel.snapLoop = quality > 0;
    voice.knobs.fineStart = 1.0;
    for (const float pitch : kWild) {
      for (const float mod : kWild) {
        for (int i = 0; i < 8; ++i) {
          const float y = voice.kernel.Step(voice.knobs, {mod, pitch, mod, mod});
          EXPECT_LE(std::abs(y), 1.0f) << pitch << ", " << mod;
        }
      }
    }
  }
}

TEST(SampleRecorder, RecordsOverdubsAndStopsAtTheEnd) {
  const auto buffer = SampleBuffer::Make(5);
  SampleRecorder recorder;
  for (const float in : {1.0f, 2.0f, 3.0f}) EXPECT_EQ(recorder.Step(*buffer, in, true, 5), in);
  EXPECT_EQ(buffer->Length(), 3) << "overdub on an empty sample is recording";
  recorder = {};
  EXPECT_EQ(recorder.Step(*buffer, 10.0f, true, 5), 11.0f);
  EXPECT_EQ(buffer->Length(), 3);
  EXPECT_EQ(recorder.Step(*buffer, NAN, false, 5), 0.0f);
  EXPECT_EQ(buffer->Length(), 2) << "recording ends the sample where it stands";
  for (const float in : {4.0f, 5.0f, 6.0f, 7.0f, 8.0f}) {
    EXPECT_EQ(recorder.Step(*buffer, in, false, 5), in);
  }
  EXPECT_EQ(buffer->Length(), 5);
  EXPECT_EQ(buffer->Samples()[4], 8.0f) << "the last sample of the largest is written over";

  const auto scarce = SampleBuffer::Make(2);
  recorder = {};
  EXPECT_EQ(recorder.Step(*scarce, 1.0f, false), 1.0f);
  for (int i = 0; i < 3; ++i) EXPECT_EQ(recorder.Step(*scarce, 2.0f, false), 0.0f);
  EXPECT_EQ(scarce->Samples()[1], 0.0f);
}

TEST(SampleEdit, FindsThePitchOfATone) {
  for (const double frequency : {41.2, 110.0, 440.0, 1234.5}) {
    const auto found = FrequencyOf(Tone(20000, frequency / 44100.0, 6), 44100.0);
    ASSERT_TRUE(found) << frequency;
    EXPECT_LT(std::abs(1200.0 * std::log2(*found / frequency)), 1.0) << frequency;
  }
  std::vector<float> noise(20000);
  unsigned seed = 1;
  for (float& value : noise) {
    seed = seed * 1664525u + 1013904223u;
    value = static_cast<float>(seed) / 2147483648.0f - 1.0f;
  }
  EXPECT_FALSE(FrequencyOf(noise, 44100.0));
  EXPECT_FALSE(FrequencyOf({}, 44100.0));
  std::vector<float> quiet{0.0f, -0.25f, 0.125f};
  Normalise(quiet);
  EXPECT_EQ(quiet, (std::vector<float>{0.0f, -1.0f, 0.5f}));
}

}  // namespace
}  // namespace halveron::testing
