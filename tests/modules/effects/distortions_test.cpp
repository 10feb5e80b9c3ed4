// S607, S609, S610, S630, S631, S634: the laws of the distortions, and their loudness.
#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>

#include "modules/effects/S607AliasingWaveshaper.h"
#include "modules/effects/S609VCBitCrusherKernel.h"
#include "modules/effects/S610TripleWaveFolder.h"
#include "modules/effects/S631VCDistortion.h"
#include "modules/effects/S634QuickDistortion.h"
#include "tests/support/spectrum.h"
#include "tests/support/test_rack.h"

namespace halveron::testing {
namespace {

TEST(S607AliasingWaveshaper, JumpsOrBendsBeyondItsThresholds) {
  using Shaper = S607AliasingWaveshaper;
  for (const double y : {-2.0, -0.3, 0.0, 0.3, 2.0}) {
    EXPECT_EQ(Shaper::Jumping(y, 0.5, 1.0, 1.0), y);
    EXPECT_EQ(Shaper::Bending(y, 0.5, 1.0, 1.0), y);
  }
  EXPECT_EQ(Shaper::Jumping(1.0, 0.5, 0.25, -1.0), 0.25);
  EXPECT_EQ(Shaper::Jumping(-1.0, 0.5, 0.25, -1.0), 1.0);
  EXPECT_EQ(Shaper::Bending(1.0, 0.5, 0.25, -1.0), 0.625);
  EXPECT_EQ(Shaper::Bending(-1.0, 0.5, 0.25, -1.0), 0.0);

  TestRack rack;
  Module& shaper = rack.Add("S607 Aliasing Waveshaper");
  rack.SetControl(shaper, "Gain", 1.0f);
  rack.FeedConstant(shaper, "Audio", 2.0f);
  rack.Run(4);
  EXPECT_EQ(rack.Out(shaper, "Out"), 4.0f);
  EXPECT_EQ(rack.Control(shaper, "Clip LED").getValue(), 1.0f);
  rack.FeedConstant(shaper, "Audio", -0.25f);
  rack.Run(4);
  EXPECT_EQ(rack.Out(shaper, "Out"), 0.0f) << "the lower slope";
  rack.SetControl(shaper, "Slope link", 1.0f);
  rack.Run(4);
  EXPECT_NEAR(rack.Out(shaper, "Out"), -0.25f * 3.9999f, 1e-6f) << "the upper slope on both sides";
}

TEST(S609VCBitCrusher, StepsFollowTheEnvelopeAndSilencePasses) {
  S609VCBitCrusherKernel kernel;
  kernel.Prepare(48000.0f);
  kernel.SetSpeed(0.5);
  EXPECT_EQ(kernel.Step(0.0f, {1.0, 0.5, false, 0.5}), 0.0);
  // A constant 1 has the envelope 2: with a depth of 0.2 the grid is 0.4.
  for (int i = 0; i < 48000; ++i) kernel.Step(1.0f, {1.0, 0.5, false, 0.2});
  EXPECT_NEAR(kernel.held, 0.8, 1e-6);

  // The lowest rate still lets every hundredth sample through.
  int changes = 0;
  double last = kernel.held;
  for (int i = 0; i < 10000; ++i) {
    const double now = kernel.Step(static_cast<float>(i), {0.0, 0.5, false, 0.0});
    changes += now != last;
    last = now;
  }
  EXPECT_NEAR(changes, 100, 1);
}

TEST(S634QuickDistortion, SquashesTowardsTheEnvelopeWhateverTheLevel) {
  EXPECT_DOUBLE_EQ(S634QuickDistortion::Squash(0.5), 1.0 - std::pow(0.5, 12));
  EXPECT_DOUBLE_EQ(S634QuickDistortion::Squash(-0.25), std::pow(0.75, 12) - 1.0);
  double shares[2];
  int i = 0;
  for (const double level : {0.05, 0.8}) {
    TestRack rack(48000);
    Module& distortion = rack.Add("S634 Quick Distortion");
    rack.SetControl(distortion, "Mix", 1.0f);
    rack.Feed(distortion, "In", Sine(24000, 500.0, 48000.0, level));
    rack.Tap(distortion, "Out");
    rack.Run(24000);
    shares[i++] = AmplitudeAt(rack.Recorded(distortion, "Out"), 12000, 1500.0, 48000.0) / level;
  }
  EXPECT_GT(shares[0], 0.1);
  EXPECT_NEAR(shares[0] / shares[1], 1.0, 0.02);
}

TEST(S610TripleWaveFolder, FoldsAtItsReferenceAndKeepsSilence) {
  using Folder = S610TripleWaveFolder;
  EXPECT_DOUBLE_EQ(Folder::Fold(0.7), 0.7);
  EXPECT_DOUBLE_EQ(Folder::Fold(1.25), 0.75);
  EXPECT_DOUBLE_EQ(Folder::Fold(-3.0), 1.0);
  for (const double level : {-2.0, -1.0, 0.0}) {
    EXPECT_NEAR(Folder::Stage(0.8, level, 0.0, 1.0), 0.8, 1e-12) << level;
  }
  for (const double shift : {-1.7, 0.4, 2.0}) {
    EXPECT_EQ(Folder::Stage(0.0, 1.3, shift, 0.5), 0.0);
  }
  EXPECT_NEAR(Folder::Stage(0.5, 2.0, 0.0, 1.0), 0.0, 1e-12);  // at twice the first fold
}

TEST(S631VCDistortion, ShapesTheExcessWithoutACorner) {
  for (const double s : {-1.0, -0.4, 0.0, 0.6, 1.0}) {
    EXPECT_EQ(S631VCDistortion::Shape(0.0, s), 0.0);
    EXPECT_NEAR(S631VCDistortion::Shape(1e-6, s) / 1e-6, 1.0, 1e-4) << s;
  }
  EXPECT_DOUBLE_EQ(S631VCDistortion::Shape(1.0, -1.0), 0.5);
  EXPECT_NEAR(S631VCDistortion::Shape(1.0, 1.0), 0.0, 1e-12);
}

/// Level of a module's output for a sine, in decibels, over the positions of its amount.
void ExpectEvenLoudness(const char* name, const char* amount, const char* in, const char* out,
                        double most) {
  double lowest = 1e9, highest = -1e9;
  for (const float position : {0.0f, 0.25f, 0.5f, 0.75f, 1.0f}) {
    TestRack rack(48000);
    Module& module = rack.Add(name);
    rack.SetControl(module, amount, position);
    rack.Feed(module, in, Sine(24000, 300.0, 48000.0, 0.7));
    rack.Tap(module, out);
    rack.Run(24000);
    const double level = 20.0 * std::log10(Rms(rack.Recorded(module, out), 12000));
    lowest = std::min(lowest, level);
    highest = std::max(highest, level);
  }
  EXPECT_LT(highest - lowest, most) << name;
}

TEST(Distortions, KeepTheirLoudnessOverTheAmount) {
  ExpectEvenLoudness("S631 VC Distortion", "Shape", "In 1", "Out 1", 6.0);
  ExpectEvenLoudness("S610 Aliasing Triple Wave Folder", "Fold level 1", "In", "Out", 6.0);
  ExpectEvenLoudness("S630 DX Distortion", "Edge", "In L", "Out L", 6.0);
}

/// Largest step between two samples.
double LargestStep(const std::vector<float>& samples, std::size_t from, std::size_t to) {
  double most = 0.0;
  for (std::size_t i = from + 1; i < to; ++i) {
    most = std::max(most, std::abs(double{samples[i]} - double{samples[i - 1]}));
  }
  return most;
}

TEST(Distortions, KnobsDoNotClick) {
  const struct {
    const char *module, *in, *out, *knob;
  } cases[] = {{"S630 DX Distortion", "In L", "Out L", "Gain"},
               {"S630 DX Distortion", "In L", "Out L", "Edge"},
               {"S630 DX Distortion", "In L", "Out L", "Post EQ centre"},
               {"S631 VC Distortion", "In 1", "Out 1", "Shape"},
               {"S631 VC Distortion", "In 1", "Out 1", "Speed"},
               {"S610 Aliasing Triple Wave Folder", "In", "Out", "Speed"},
               {"S634 Quick Distortion", "In", "Out", "Mix"}};
  for (const auto& [name, in, out, knob] : cases) {
    TestRack rack(48000);
    Module& module = rack.Add(name);
    rack.SetControl(module, knob, 0.0f);
    rack.Feed(module, in, Sine(48000, 100.0, 48000.0, 0.5));
    rack.Tap(module, out);
    rack.Run(16040);
    rack.MoveControl(module, knob, 1.0f);
    rack.Run(31960);
    const std::vector<float>& heard = rack.Recorded(module, out);
    const double steady =
        std::max(LargestStep(heard, 12000, 16000), LargestStep(heard, 40000, 47900));
    EXPECT_LT(LargestStep(heard, 16000, 40000), 1.5 * steady) << name << ' ' << knob;
  }
}

TEST(S630DXDistortion, IsThirtyTwoSamplesLateAndCarriesTheLeftOnBothSides) {
  TestRack rack(48000);
  Module& distortion = rack.Add("S630 DX Distortion");
  std::vector<float> impulse(200, 0.0f);
  impulse[0] = 0.5f;
  rack.Feed(distortion, "In L", impulse);
  for (const char* out : {"Out L", "Out R"}) rack.Tap(distortion, out);
  rack.Run(200);
  const std::vector<float>& left = rack.Recorded(distortion, "Out L");
  for (int i = 0; i < 32; ++i) EXPECT_EQ(left[static_cast<std::size_t>(i)], 0.0f) << i;
  EXPECT_NE(left[32], 0.0f);
  EXPECT_EQ(rack.Recorded(distortion, "Out R"), left);
}

}  // namespace
}  // namespace halveron::testing
