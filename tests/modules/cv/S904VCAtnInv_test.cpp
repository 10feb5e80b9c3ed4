// S904: gain by knob and voltage, and the inverse.
#include <gtest/gtest.h>

#include "tests/support/test_rack.h"

namespace halveron::testing {
namespace {

TEST(S904VCAtnInv, ScalesByTheKnobAndWhereCabledByTheControl) {
  TestRack rack;
  Module& attenuator = rack.Add("S904 VC Attenuator/Inverter");
  rack.SetControl(attenuator, "Amount", 0.25f);
  rack.FeedConstant(attenuator, "Signal", 2.0f);
  rack.Run(3);
  EXPECT_EQ(rack.Out(attenuator, "Out"), 0.5f);
  EXPECT_EQ(rack.Out(attenuator, "-Out"), -0.5f);
  const float results[][2] = {{0.5f, 0.25f}, {2.0f, 1.0f}, {0.0f, 0.0f}, {-1.0f, 0.0f}};
  for (const auto& [control, out] : results) {
    rack.FeedConstant(attenuator, "Control", control);
    rack.Run(3);
    EXPECT_EQ(rack.Out(attenuator, "Out"), out) << control;
    EXPECT_EQ(rack.Out(attenuator, "-Out"), -out) << control;
  }
  rack.Disconnect(attenuator, "Control");
  rack.Run(2);
  EXPECT_EQ(rack.Out(attenuator, "Out"), 0.5f);
}

}  // namespace
}  // namespace halveron::testing
