#include "modules/effects/S616StereoReverb.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>
#include <complex>
#include <numbers>
#include <random>
#include <vector>

#include "dsp/fft.h"
#include "platform/cpu_features.h"
#include "tests/support/test_rack.h"

namespace halveron::testing {
namespace {

constexpr float kRate = 48000.0f;
using Kernel = S616StereoReverbKernel;

struct ReverbRig {
  explicit ReverbRig(float rate = kRate, VectorUnit unit = VectorUnit::kNone) : kernel(unit) {
    EXPECT_TRUE(memory.Take(Kernel::kLines, Kernel::SizeAt(rate)));
    kernel.Prepare(rate);
    kernel.Attach(memory);
    kernel.SetLines(12);
  }
  S616Stereo Step(float left, float right) {
    Kernel::Inputs in = inputs;
    in.left = left;
    in.right = right;
    return kernel.Step(knobs, in);
  }
  /// The left side's answer to an impulse on both sides.
  std::vector<float> Impulse(int samples) {
    std::vector<float> heard;
    for (int n = 0; n < samples; ++n) {
      const float x = n == 0 ? 1.0f : 0.0f;
      heard.push_back(Step(x, x).left);
    }
    return heard;
  }

  dsp::DelayMemory memory;
  Kernel kernel;
  // As the panel begins.
  Kernel::Knobs knobs{0.5, 0.105, 0.855f, 0.0675, 0.0, 0.7};
  Kernel::Inputs inputs;
};

TEST(S616StereoReverb, IsTheSameRoomAtEveryRateAndOnEveryLoad) {
  // The generator by its definition, in numbers that hold every product.
  std::uint64_t x = 700215;
  for (int line = 0; line < S616CombBank::kMost; ++line) {
    x = x * 16807 % (1ull << 31);
    const double milliseconds = static_cast<double>(x) * 4.656612873077393e-10 * 37.0 + 13.0;
    EXPECT_GE(milliseconds, 13.0);
    EXPECT_LE(milliseconds, 50.0);
    for (const float rate : {8000.0f, 44100.0f, 192000.0f}) {
      ReverbRig rig(rate);
      rig.kernel.Prepare(48000.0f);
      rig.kernel.Prepare(rate);
      EXPECT_NEAR(rig.kernel.CombDelay(line), milliseconds * 0.001 * static_cast<double>(rate),
                  1e-6);
    }
  }
  ReverbRig rig;
  EXPECT_EQ(rig.kernel.AllPassDelay(0), 23 * 48);
  EXPECT_EQ(rig.kernel.AllPassDelay(7), 53 * 48);
  rig.kernel.SetDiffusion(Kernel::Diffusion::kShort);
  EXPECT_EQ(rig.kernel.AllPassDelay(0), 3 * 48);
  EXPECT_EQ(rig.kernel.AllPassDelay(7), 23 * 48);
}

TEST(S616StereoReverb, VectorsOfAnyWidthGiveTheBitsOfOneCombAtATime) {
  std::vector<VectorUnit> units{VectorUnit::kSse2};
  if (platform::HasAvx2()) units.push_back(VectorUnit::kAvx2);
  if (platform::HasAvx512()) units.push_back(VectorUnit::kAvx512);
  for (const VectorUnit unit : units) {
    for (const float rate : {8000.0f, 48000.0f}) {
      ReverbRig plain(rate), vectors(rate, unit);
      std::minstd_rand random(1);
      const auto draw = [&] { return static_cast<float>(random()) * 0x1p-30f - 1.0f; };
      for (int lines : {4, 20, 6, 12, 8, 16, 10}) {
        const auto diffusion = static_cast<Kernel::Diffusion>(lines % 3);
        for (ReverbRig* rig : {&plain, &vectors}) {
          rig->kernel.SetLines(lines);
          rig->kernel.SetDiffusion(diffusion);
          rig->knobs = {0.9, 0.9, 0.6f, 1.0, 0.5, 0.3};
        }
        for (int n = 0; n < 3000; ++n) {
          const float left = n == 1500 ? NAN : draw(), right = draw();
          plain.inputs.sizeCv = vectors.inputs.sizeCv = draw() * 0.1f;
          const S616Stereo a = plain.Step(left, right), b = vectors.Step(left, right);
          const bool same = (a.left == b.left || (std::isnan(a.left) && std::isnan(b.left))) &&
                            (a.right == b.right || (std::isnan(a.right) && std::isnan(b.right)));
          ASSERT_TRUE(same) << static_cast<int>(unit) << ' ' << lines << ' ' << n;
        }
      }
    }
  }
}

TEST(S616StereoReverb, CombsRingByDecayAndDampingAlone) {
  for (const int lines : {4, 12, 20}) {
    ReverbRig rig;
    rig.kernel.SetLines(lines);
    rig.kernel.SetDiffusion(Kernel::Diffusion::kNone);
    rig.knobs = {0.0, 0.0, 1.0f, 0.0, 0.0, 1.0};
    const auto heard = rig.Impulse(9600);
    double sum = 0.0;
    for (const float y : heard) sum += static_cast<double>(y);
    EXPECT_NEAR(heard[0], 1.0, 1e-6) << "half of the lines, at 2 / lines";
    EXPECT_NEAR(sum, 1.0, 1e-6) << "a single pass at no decay";

    rig.knobs.decay = 0.3;
    const double loop = 1.0 - std::pow(0.7, 6);
    const auto rings = rig.Impulse(480000);
    sum = 0.0;
    for (const float y : rings) sum += static_cast<double>(y);
    EXPECT_NEAR(sum, 1.0 / (1.0 - loop), 0.001) << "a geometric series in each comb";
  }
}

/// Seconds in which the energy that is still to come falls by 60 dB, from -5 to -35 dB.
double ReverberationTime(const std::vector<float>& heard) {
  std::vector<double> rest(heard.size() + 1, 0.0);
  for (std::size_t n = heard.size(); n-- > 0;) {
    rest[n] = rest[n + 1] + static_cast<double>(heard[n]) * static_cast<double>(heard[n]);
  }
  const auto fallsBelow = [&](double decibels) {
    const double level = rest[0] * std::pow(10.0, decibels / 10.0);
    return std::find_if(rest.begin(), rest.end(), [&](double e) { return e < level; }) -
           rest.begin();
  };
  return static_cast<double>(fallsBelow(-35.0) - fallsBelow(-5.0)) * 2.0 /
         static_cast<double>(kRate);
}

TEST(S616StereoReverb, RingsLongerWithMoreDecay) {
  double last = 0.0;
  for (const double decay : {0.2, 0.35, 0.5, 0.65}) {
    ReverbRig rig;
    rig.knobs.decay = decay;
    const double seconds = ReverberationTime(rig.Impulse(960000));
    // Between what the shortest and the longest comb would take without damping; the all-passes
    // add their own.
    const double perLoop = -20.0 * std::log10(1.0 - std::pow(1.0 - decay, 6));
    EXPECT_GT(seconds, 60.0 / perLoop * 0.013 * 0.5) << decay;
    EXPECT_LT(seconds, 60.0 / perLoop * 0.050 + 1.0) << decay;
    EXPECT_GT(seconds, last * 1.2) << decay;
    last = seconds;
  }
}

/// Samples beyond their own root mean square, over 100 ms, as a share of those that noise has.
double EchoDensity(const std::vector<float>& heard, std::size_t from) {
  constexpr std::size_t kWindow = 4800;
  double energy = 0.0;
  for (std::size_t n = from; n < from + kWindow; ++n) energy += std::pow(double{heard[n]}, 2);
  const double rms = std::sqrt(energy / kWindow);
  int beyond = 0;
  for (std::size_t n = from; n < from + kWindow; ++n) beyond += std::abs(heard[n]) > rms ? 1 : 0;
  return beyond / (0.3173 * kWindow);
}

/// Decibels by which the loudest of 12 Hz stands out from what lies within 100 Hz of it, from
/// 50 Hz to 12 kHz after 200 ms.
double LoudestMode(const std::vector<float>& heard) {
  constexpr std::size_t kFrom = 9600, kLength = 65536, kBins = 16, kAround = 8;
  dsp::RealFft fft(kLength);
  for (std::size_t n = 0; n < kLength; ++n) {
    const double turn = 2.0 * std::numbers::pi * static_cast<double>(n) / kLength;
    const double hann = 0.5 - 0.5 * std::cos(turn);
    fft.Signal()[n] = static_cast<float>(hann * double{heard[kFrom + n]});
  }
  fft.Forward();
  std::vector<double> bands;
  for (std::size_t bin = 4 * kBins; bin < 1024 * kBins; bin += kBins) {
    double power = 0.0;
    for (std::size_t i = 0; i < kBins; ++i) {
      power += static_cast<double>(std::norm(fft.Spectrum()[bin + i]));
    }
    bands.push_back(power);
  }
  double worst = 0.0;
  for (std::size_t band = kAround; band + kAround < bands.size(); ++band) {
    double around = -bands[band];
    for (std::size_t i = band - kAround; i <= band + kAround; ++i) around += bands[i];
    worst = std::max(worst, 10.0 * std::log10(bands[band] * 2 * kAround / around));
  }
  return worst;
}

TEST(S616StereoReverb, TailGrowsDenseAndItsCombsHaveNoStandingModes) {
  for (const auto diffusion :
       {Kernel::Diffusion::kLong, Kernel::Diffusion::kShort, Kernel::Diffusion::kNone}) {
    ReverbRig rig;
    rig.kernel.SetDiffusion(diffusion);
    const auto heard = rig.Impulse(80000);
    if (diffusion == Kernel::Diffusion::kLong) {
      EXPECT_GT(EchoDensity(heard, 24000), 0.8);
      // All its times are whole milliseconds, so that it has a mode at each multiple of 1 kHz. Such
      // a mode raises what falls by a nepers a second by (exp(aT) - g) / (1 - g exp(aT)) in each
      // all-pass: by 3 dB in all where the combs fall by 4 dB a second, by 20 dB where the damping
      // takes 35 dB a second off them.
      ReverbRig undamped;
      undamped.knobs.damping = 1.0f;
      EXPECT_LT(LoudestMode(undamped.Impulse(80000)), 12.0);
    } else {
      EXPECT_LT(LoudestMode(heard), 12.0);
    }
    if (diffusion == Kernel::Diffusion::kShort) {
      EXPECT_GT(EchoDensity(heard, 9600), 0.8);
    }
  }
}

TEST(S616StereoReverb, WidthSpreadsTheTailAndMonoKeepsIt) {
  for (const double width : {0.0, 0.7, 1.0}) {
    ReverbRig rig;
    rig.knobs.width = width;
    double left = 0.0, right = 0.0, both = 0.0, mono = 0.0;
    for (int n = 0; n < 48000; ++n) {
      const auto y = rig.Step(n == 0 ? 1.0f : 0.0f, n == 0 ? 1.0f : 0.0f);
      if (n < 4800) continue;
      left += double{y.left} * double{y.left};
      right += double{y.right} * double{y.right};
      both += double{y.left} * double{y.right};
      mono += std::pow((double{y.left} + double{y.right}) * 0.5, 2);
    }
    const double correlation = both / std::sqrt(left * right);
    EXPECT_GE(correlation, width == 0.0 ? 0.99 : -0.3);
    EXPECT_LE(correlation, width == 0.0 ? 1.01 : width == 1.0 ? 0.3 : 0.7);
    EXPECT_GT(mono, 0.3 * (left + right) * 0.5) << "no side cancels the other";
  }
}

TEST(S616StereoReverb, LinesThatComeBackHoldTheirTail) {
  TestRack rack(kRate);
  Module& reverb = rack.Add("S616 Stereo Reverb");
  rack.SetControl(reverb, "Diffusion", 1.0f);
  rack.SetControl(reverb, "Mix", 1.0f);
  rack.SetControl(reverb, "Decay", 0.9f);
  rack.SetControl(reverb, "Lines", 1.0f);
  std::vector<float> noise;
  std::minstd_rand random(1);
  for (int n = 0; n < 4800; ++n) noise.push_back(static_cast<float>(random()) * 0x1p-31f - 0.5f);
  rack.Feed(reverb, "In L", noise);
  rack.Tap(reverb, "Out L");
  rack.Tap(reverb, "Out R");
  rack.Run(9600);
  rack.SetControl(reverb, "Lines", 0.0f);
  rack.SetControl(reverb, "Decay", 0.0f);  // ends the four that run
  rack.Run(9600);
  const auto loudness = [&](std::size_t from) {
    double sum = 0.0;
    for (std::size_t n = from; n < from + 1000; ++n) {
      sum += std::pow(double{rack.Recorded(reverb, "Out R")[n]}, 2);
    }
    return sum;
  };
  const double quiet = loudness(18000);
  rack.SetControl(reverb, "Decay", 0.9f);
  rack.SetControl(reverb, "Lines", 1.0f);
  rack.Run(4800);
  EXPECT_GT(loudness(20000), 1000.0 * quiet + 1e-3);
  EXPECT_EQ(rack.Control(reverb, "Clip LED").getValue(), 0.0f);
}

TEST(S616StereoReverb, SilenceStaysSilenceAndNoNumberPasses) {
  ReverbRig quiet;
  for (int n = 0; n < 10000; ++n) ASSERT_EQ(quiet.Step(0.0f, 0.0f).left, 0.0f);
  for (const float wild : {NAN, INFINITY, -INFINITY, 1e38f}) {
    ReverbRig rattled;
    rattled.inputs.sizeCv = wild;
    for (int n = 0; n < 2000; ++n) rattled.Step(wild, wild);
    rattled.inputs = {};
    rattled.knobs.decay = 0.2;
    S616Stereo y;
    for (int n = 0; n < 48000; ++n) y = rattled.Step(0.0f, 0.0f);
    EXPECT_TRUE(std::isfinite(y.left) && std::isfinite(y.right)) << wild;
  }
}

}  // namespace
}  // namespace halveron::testing
