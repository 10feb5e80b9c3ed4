// S404: gain laws, crossfade, limit and lamp.
#include <gtest/gtest.h>

#include <cmath>
#include <vector>

#include "modules/amplifiers/S404VCAKernel.h"
#include "tests/support/test_rack.h"

namespace halveron::testing {
namespace {

TEST(S404VCA, GainLawsCrossfadeAndMute) {
  const auto gain = [](int law, double base, double amount, double cv) {
    return S404VCAKernel<>::Gain(law, base, amount, cv);
  };
  for (int law = 0; law < 3; ++law) {
    EXPECT_FLOAT_EQ(gain(law, std::sqrt(0.05), 0.7, 0.0), 1.0f) << "unity at rest";
    EXPECT_FLOAT_EQ(gain(law, 0.5, 0.5, 1.0), 15.0f) << "the laws meet at full voltage";
    EXPECT_FLOAT_EQ(gain(law, 0.5, 0.5, -1.0), -5.0f);
  }
  for (const double cv : {0.1, 0.25, 0.5, 0.75}) {
    EXPECT_NEAR(gain(0, 0.0, 1.0, cv), 20.0 * cv, 1e-5);
    EXPECT_NEAR(gain(1, 0.0, 1.0, cv), 20.0 * cv * cv, 1e-5);
    EXPECT_NEAR(gain(2, 0.0, 1.0, cv), 20.0 * (2.0 * cv - cv * cv), 1e-5);
    for (int law = 0; law < 3; ++law) {
      EXPECT_NEAR(gain(law, 0.6, 0.4, -cv), 14.4 - gain(law, 0.6, 0.4, cv), 1e-5) << "odd in cv";
    }
  }

  TestRack rack(48000);
  Module& vca = rack.Add("S404 VCA");
  rack.SetControl(vca, "Base gain", static_cast<float>(std::sqrt(0.05)));
  rack.SetControl(vca, "Level 1", 1.0f);
  rack.SetControl(vca, "CV amount", 1.0f);
  rack.FeedConstant(vca, "In 1", 0.25f);
  rack.FeedConstant(vca, "In 2", 1.0f);
  std::vector<float> crossfade{0.0f, 1.0f, -1.0f, 0.5f};
  rack.Feed(vca, "Crossfade", crossfade);
  rack.Tap(vca, "Mix");
  rack.Run(4);
  const std::vector<float> mixes{0.375f, 0.5f, 0.25f, 0.4375f};
  for (std::size_t k = 0; k < 4; ++k) EXPECT_NEAR(rack.Recorded(vca, "Mix")[k], mixes[k], 1e-6);
  EXPECT_NEAR(rack.Out(vca, "Out 1"), 0.25, 1e-6);
  EXPECT_NEAR(rack.Out(vca, "Out 2"), 0.5, 1e-6);
  // The middle of the switch is the square law: 20 * (0.05 + 0.01).
  rack.SetControl(vca, "Law", 0.5f);
  rack.FeedConstant(vca, "CV", 0.1f);
  rack.Run(3);
  EXPECT_NEAR(rack.Out(vca, "Out 1"), 0.3, 1e-6);
  rack.FeedConstant(vca, "CV", -0.3f);
  rack.Run(3);
  for (const char* output : {"Mix", "Out 1", "Out 2"}) EXPECT_EQ(rack.Out(vca, output), 0.0f);
}

TEST(S404VCA, LimitsAndHoldsItsLampForAFifthOfASecond) {
  TestRack rack(1000);
  Module& vca = rack.Add("S404 VCA");
  rack.SetControl(vca, "Base gain", 1.0f);
  rack.SetControl(vca, "Level 1", 1.0f);
  std::vector<float> in(60, 0.1f);
  in[10] = 1.0f;
  in[50] = -1.0f;
  rack.Feed(vca, "In 1", in);
  rack.Tap(vca, "Out 1");
  const CControl& lamp = rack.Control(vca, "Clip LED");
  rack.Run(40);
  EXPECT_EQ(lamp.getValue(), 1.0f);
  rack.Run(40);
  const auto& out = rack.Recorded(vca, "Out 1");
  EXPECT_EQ(out[9], 2.0f);
  EXPECT_EQ(out[10], 4.0f);
  EXPECT_EQ(out[50], -4.0f);
  // The second limit restarted the hold; it falls also while the amplifier mutes.
  rack.SetControl(vca, "Base gain", 0.0f);
  int lit = 0;
  for (; lamp.getValue() == 1.0f && lit < 1000; ++lit) rack.Run(1);
  EXPECT_NEAR(80 + lit, 50 + 200, 3);

  // A preset that was saved meanwhile has it lit, and it goes dark in time.
  rack.SetControl(vca, "Clip LED", 1.0f);
  const std::vector<std::byte> saved = rack.SavedPreset(vca);
  rack.SetControl(vca, "Clip LED", 0.0f);
  vca.LoadPreset(saved.data(), static_cast<int>(saved.size()), vca.GetVersion());
  EXPECT_EQ(rack.SavedPreset(vca), saved);
  rack.Run(190);
  EXPECT_EQ(lamp.getValue(), 1.0f);
  rack.Run(20);
  EXPECT_EQ(lamp.getValue(), 0.0f);
}

}  // namespace
}  // namespace halveron::testing
