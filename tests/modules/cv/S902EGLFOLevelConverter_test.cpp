// S902: both directions, decided by the cable.
#include <gtest/gtest.h>

#include "tests/support/test_rack.h"

namespace halveron::testing {
namespace {

constexpr const char* kConverter = "S902 EG/LFO Level Converter";

/// What a relay brings to an either-way point.
struct ConverterRig {
  ConverterRig() : converter(rack.Add(kConverter)), relay(rack.Add("S815 InOut Connector")) {}

  PatchPoint& Side(const char* role) { return rack.Point(converter, role, kEitherPoint); }
  void PlugInto(const char* side, float value) {
    rack.FeedConstant(relay, "In 1", value);
    rack.editor.cables.ConnectCable(&rack.Point(relay, "Out 1", kOutputPoint), &Side(side), 1, -1);
    rack.Run(5);
  }

  TestRack rack;
  Module& converter;
  Module& relay;
};

TEST(S902EGLFOLevelConverter, TurnsEnvelopesIntoModulation) {
  const float levels[][3] = {{0.0f, -0.5f, -1.0f}, {0.75f, 0.25f, 0.5f}, {1.0f, 0.5f, 1.0f}};
  for (const auto& [in, half, bipolar] : levels) {
    ConverterRig rig;
    rig.PlugInto("Unipolar", in);
    EXPECT_EQ(rig.rack.Out(rig.converter, "Half"), half);
    EXPECT_EQ(static_cast<float>(rig.Side("Bipolar").out), bipolar);
  }
}

TEST(S902EGLFOLevelConverter, TurnsModulationIntoEnvelopesWhileBipolarIsAnInput) {
  const float levels[][3] = {{-1.0f, -0.5f, 0.0f}, {0.5f, 0.25f, 0.75f}, {1.0f, 0.5f, 1.0f}};
  for (const auto& [in, half, unipolar] : levels) {
    ConverterRig rig;
    rig.PlugInto("Bipolar", in);
    EXPECT_EQ(rig.rack.Out(rig.converter, "Half"), half);
    EXPECT_EQ(static_cast<float>(rig.Side("Unipolar").out), unipolar);
    rig.rack.editor.cables.RemoveCable(rig.Side("Bipolar").firstCable, kAllVoices, false);
    rig.rack.Run(2);
    EXPECT_EQ(rig.rack.Out(rig.converter, "Half"), -0.5f)
        << "the unipolar side again, with nothing on it";
  }
}

TEST(S902EGLFOLevelConverter, ACableFromBipolarLeavesItAnOutput) {
  ConverterRig rig;
  rig.rack.editor.cables.ConnectCable(&rig.Side("Bipolar"),
                                      &rig.rack.Point(rig.relay, "In 2", kInputPoint), 1, -1);
  rig.PlugInto("Unipolar", 1.0f);
  EXPECT_EQ(rig.rack.In(rig.relay, "In 2"), 1.0f);
}

}  // namespace
}  // namespace halveron::testing
