#include "modules/filters/S224AllPassDiffusion.h"

#include <gtest/gtest.h>

#include <cmath>
#include <cstring>
#include <vector>

#include "tests/support/test_rack.h"

namespace halveron::testing {
namespace {

using Kernel = S224AllPassDiffusionKernel;

struct DiffusionRig {
  explicit DiffusionRig(int stages, Kernel::Mode mode = Kernel::Mode::kFractional,
                        float rate = 48000.0f) {
    EXPECT_TRUE(memory.Take(Kernel::kMostStages, Kernel::SizeFor(Kernel::kMostStages, rate)));
    kernel.Prepare(rate);
    kernel.Attach(memory);
    kernel.SetStages(stages);
    kernel.SetMode(mode);
  }
  std::vector<double> Impulse(int samples) {
    std::vector<double> heard;
    for (int n = 0; n < samples; ++n) {
      heard.push_back(kernel.Step(knobs, {n == 0 ? 1.0f : 0.0f, 0.0f}).out);
    }
    return heard;
  }

  dsp::DelayMemory memory;
  Kernel kernel;
  Kernel::Knobs knobs;
};

TEST(S224AllPassDiffusion, OneStageIsSchroedersAllPass) {
  DiffusionRig rig(1);
  rig.knobs = {0.6, 0.0, 0.0};  // one sample
  const double g = 1.0 - 0.36;
  const auto heard = rig.Impulse(20);
  EXPECT_NEAR(heard[0], -g, 1e-7);
  for (int n = 1; n < 20; ++n) {
    EXPECT_NEAR(heard[static_cast<std::size_t>(n)], (1.0 - g * g) * std::pow(g, n - 1), 1e-6);
  }
}

TEST(S224AllPassDiffusion, KeepsTheEnergyThroughAnyNumberOfStages) {
  for (const int stages : {1, 2, 4, 12}) {
    DiffusionRig rig(stages, Kernel::Mode::kInteger, 8000.0f);
    rig.knobs = {0.5, 0.05, 0.3};
    double energy = 0.0;
    for (const double y : rig.Impulse(80000)) energy += y * y;
    EXPECT_NEAR(energy, 1.0, 1e-3) << stages;
  }
}

TEST(S224AllPassDiffusion, SpacesItsStagesByTheSquareOfTheSpacing) {
  // Without gain the chain is a plain delay, by the sum of what its stages delay.
  constexpr double kRate = 48000.0;
  for (const auto mode :
       {Kernel::Mode::kFractional, Kernel::Mode::kInteger, Kernel::Mode::kRandomSpacing}) {
    for (const int stages : {1, 3, 12}) {
      DiffusionRig rig(stages, mode);
      rig.knobs = {1.0, 0.011, 0.11};
      const double first = (kRate * 0.1 - 1.0) * 0.011 + 1.0, step = 0.0121 * kRate * 0.04;
      std::uint32_t seed = 700215;
      double expected = 0.0, back = first;
      for (int i = 0; i < stages; ++i) {
        if (mode == Kernel::Mode::kRandomSpacing) back += step * dsp::NextRandom(seed);
        expected += mode == Kernel::Mode::kInteger ? std::ceil(back) : back;
        if (mode != Kernel::Mode::kRandomSpacing) back += step;
      }
      double y = 0.0;
      constexpr int kRamp = 8000;
      for (int n = 0; n < kRamp; ++n) y = rig.kernel.Step(rig.knobs, {static_cast<float>(n)}).out;
      EXPECT_NEAR(kRamp - 1 - y, expected, 0.02) << static_cast<int>(mode) << ' ' << stages;
    }
  }
}

TEST(S224AllPassDiffusion, SendsAndTakesBackTheLastDelay) {
  DiffusionRig rig(1);
  rig.knobs = {0.6, 0.0, 0.0};
  const double g = 1.0 - 0.36;
  rig.kernel.Step(rig.knobs, {1.0f});
  const auto [out, send] = rig.kernel.Step(rig.knobs, {0.0f, 0.0f, true, 0.25f});
  EXPECT_EQ(send, 1.0f);
  EXPECT_NEAR(out, 0.25 - g * (0.25 * g), 1e-7);
}

TEST(S224AllPassDiffusion, RandomSpacingIsChosenAfreshAndKeptByPresets) {
  TestRack rack;
  Module& first = rack.Add("S224 Allpass Diffusion Filter");
  const auto seedOf = [&](Module& module) {
    const auto preset = rack.SavedPreset(module);
    std::uint32_t seed = 0;
    std::memcpy(&seed, &preset[preset.size() - sizeof seed], sizeof seed);
    return seed;
  };
  rack.SetControl(first, "Mode", 1.0f);
  EXPECT_EQ(seedOf(first), 700215u);
  rack.SetControl(first, "Mode", 0.0f);
  rack.SetControl(first, "Mode", 1.0f);
  const std::uint32_t second = seedOf(first);
  EXPECT_NE(second, 700215u);
  rack.SetControl(first, "Stages", 0.0f);
  EXPECT_EQ(seedOf(first), second);
  rack.SetControl(first, "Stages", 1.0f);

  Module& twin = rack.Add("S224 Allpass Diffusion Filter");
  const auto preset = rack.SavedPreset(first);
  twin.LoadPreset(preset.data(), static_cast<int>(preset.size()), S224AllPassDiffusion::kVersion);
  for (Module* module : {&first, &twin}) {
    rack.Feed(*module, "Audio", {1.0f});
    rack.Tap(*module, "Out");
  }
  rack.Run(20000);
  EXPECT_EQ(rack.Recorded(first, "Out"), rack.Recorded(twin, "Out"));
}

TEST(S224AllPassDiffusion, BeginsInSilenceWithAnotherNumberOfStages) {
  TestRack rack;
  Module& diffusion = rack.Add("S224 Allpass Diffusion Filter");
  rack.Feed(diffusion, "Audio", std::vector<float>(4800, 0.5f));
  rack.Tap(diffusion, "Send");
  rack.Run(4800);
  rack.SetControl(diffusion, "Stages", 1.0f);
  rack.Run(4800);
  const auto& sent = rack.Recorded(diffusion, "Send");
  EXPECT_NE(sent[4700], 0.0f);
  for (std::size_t n = 4805; n < 9600; ++n) ASSERT_EQ(sent[n], 0.0f) << n;
}

TEST(S224AllPassDiffusion, AnotherRateForgetsTheLines) {
  // They may be gone by then, where the module has no cable.
  DiffusionRig rig(4);
  float* const cells = rig.memory.Line(0).cells;
  cells[5] = 1.0f;
  rig.kernel.Prepare(44100.0f);
  rig.kernel.SetStages(12);
  EXPECT_EQ(cells[5], 1.0f);
}

TEST(S224AllPassDiffusion, OlderPresetsClipAtFour) {
  TestRack rack;
  Module& diffusion = rack.Add("S224 Allpass Diffusion Filter");
  EXPECT_EQ(diffusion.GetClipLevel(), 2.0f);
  const auto preset = rack.SavedPreset(diffusion);
  diffusion.LoadPreset(preset.data(), static_cast<int>(preset.size()), 1001);
  EXPECT_EQ(diffusion.GetClipLevel(), 2.0f);
  diffusion.LoadPreset(preset.data(), static_cast<int>(preset.size()), 1000);
  EXPECT_EQ(diffusion.GetClipLevel(), 4.0f);
}

}  // namespace
}  // namespace halveron::testing
