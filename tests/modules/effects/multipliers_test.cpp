// S605 and S606: products of two signals.
#include <gtest/gtest.h>

#include "tests/support/test_rack.h"

namespace halveron::testing {
namespace {

TEST(S605RMAM, MultipliesAndLimits) {
  TestRack rack;
  Module& modulator = rack.Add("S605 RM/AM");
  rack.Feed(modulator, "X", {0.5f, -0.5f, 3.0f});
  rack.Feed(modulator, "Y", {0.5f, 2.0f, 3.0f});
  rack.Tap(modulator, "RM");
  rack.Tap(modulator, "AM");
  rack.Run(3);
  EXPECT_EQ(rack.Recorded(modulator, "RM"), (std::vector<float>{0.25f, -1.0f, 4.0f}));
  EXPECT_EQ(rack.Recorded(modulator, "AM"), (std::vector<float>{0.75f, -1.5f, 4.0f}));
  EXPECT_EQ(rack.Control(modulator, "Clip LED").getValue(), 1.0f);
}

TEST(S606VCRingMod, FadesEachFactorToOne) {
  const struct {
    float a, b, expected;
  } cases[] = {
      {0.0f, 0.0f, 0.0f}, {1.0f, 1.0f, 0.25f * -0.5f}, {1.0f, 0.0f, 0.25f}, {0.0f, 1.0f, -0.5f}};
  for (const auto& [a, b, expected] : cases) {
    TestRack rack;
    Module& modulator = rack.Add("S606 VC Ring Modulator");
    rack.SetControl(modulator, "Amount X", a);
    rack.SetControl(modulator, "Amount Y", b);
    rack.FeedConstant(modulator, "X", 0.25f);
    rack.FeedConstant(modulator, "Y", -0.5f);
    rack.Tap(modulator, "Product + X");
    rack.Run(4);
    EXPECT_FLOAT_EQ(rack.Out(modulator, "Product"), expected) << a << ' ' << b;
    EXPECT_FLOAT_EQ(rack.Out(modulator, "Product + X"), expected + 0.25f) << a << ' ' << b;
  }
}

}  // namespace
}  // namespace halveron::testing
