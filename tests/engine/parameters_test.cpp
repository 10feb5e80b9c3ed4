// Host parameters: a flat bank of slots over the rack's controls.
#include <gtest/gtest.h>

#include <cmath>
#include <thread>

#include "tests/support/test_rack.h"

namespace halveron::testing {
namespace {

TEST(Parameters, TheHostMovesAControlAndItsClones) {
  TestRack rack;
  rack.engine.voiceCount = 3;
  Module& vco = rack.Add("S310 VCO");
  const int index = rack.Control(vco, "Pulse width").getTag();
  rack.engine.setParameter(index, 0.9f);
  EXPECT_EQ(rack.engine.getParameter(index), 0.9f);
  for (int voice = 0; voice < 3; ++voice) {
    auto& knob = static_cast<ModuleKnob&>(rack.Control(*vco.GetVoiceModule(voice), "Pulse width"));
    EXPECT_EQ(knob.getValue(), 0.9f);
    EXPECT_EQ(knob.Cell().smoothed_value, 0.5);  // it glides
  }
  rack.engine.setParameter(999, 1.0f);
  EXPECT_EQ(rack.engine.getParameter(999), 0.0f);
  rack.engine.setParameter(1000, 1.0f);
  rack.engine.setParameter(-1, 1.0f);
  EXPECT_EQ(rack.engine.getParameter(1000), 0.0f);
  char name[64];
  rack.engine.getParameterName(999, name);
  EXPECT_STREQ(name, "P999");
}

/// Counts the calls of its panel logic.
class Counter final : public Module {
 public:
  explicit Counter(const HostTable& hostTable)
      : Module(CRect(0, 0, 10, 10), nullptr, nullptr, hostTable, 0) {
    AddModuleKnob(knob, "Knob", 5, 5, SharedBitmap::kSmallKnob, 0.0f);
    toggle = AddVerticalSwitch("Switch", 5, 5, SharedBitmap::kVerticalSwitch, 0.0f);
  }
  void ValueChanged(CControl*) override { ++calls; }

  Knob knob;
  CVerticalSwitch* toggle;
  int calls = 0;
};

TEST(Parameters, APanelMoveNotifiesTheHostOnceAndIgnoresItsEcho) {
  TestRack rack;
  auto& counter = static_cast<Counter&>(rack.Adopt(new Counter(rack.editor.hostTable)));
  rack.host.echoesAutomation = true;
  rack.MoveControl(counter, "Knob", 0.25f);
  EXPECT_EQ(rack.automated, (std::vector<std::pair<int, float>>{{0, 0.25f}}));
  EXPECT_EQ(counter.calls, 1);
  rack.editor.parameters.UnregisterTag(&rack.Control(counter, "Knob"));
  rack.MoveControl(counter, "Knob", 0.5f);
  EXPECT_EQ(rack.automated.size(), 1u);
  EXPECT_EQ(counter.calls, 2);
}

TEST(Parameters, ModulationLiesOnTopOfTheValueAndIsNotSaved) {
  TestRack rack;
  rack.engine.hostKind = HostKind::kClap;
  rack.engine.voiceCount = 3;
  Module& vco = rack.Add("S310 VCO");
  const int index = rack.Control(vco, "Shape").getTag();
  const auto shape = [&](int voice) -> ModuleKnob& {
    return static_cast<ModuleKnob&>(rack.Control(*vco.GetVoiceModule(voice), "Shape"));
  };
  RackModel& editor = rack.editor;
  editor.parameters.SetParameterValue(index, 0.5f);
  editor.parameters.SetParameterOffset(index, 1, 0.2f, false);
  EXPECT_EQ(shape(0).getValue(), 0.5f);
  EXPECT_FLOAT_EQ(shape(1).getValue(), 0.7f);
  editor.parameters.SetParameterValue(index, 0.9f);
  EXPECT_EQ(shape(2).getValue(), 0.9f);
  EXPECT_EQ(shape(1).getValue(), 1.0f);  // clamped, and the offset with it
  EXPECT_NEAR(shape(1).hostOffset, 0.1f, 1e-6);
  editor.parameters.SetParameterOffset(index, 1, -0.4f, true);
  EXPECT_FLOAT_EQ(shape(0).getValue(), 0.5f);
  EXPECT_FLOAT_EQ(shape(1).getValue(), 0.5f);
  EXPECT_EQ(shape(2).getValue(), 0.9f);

  // A panel move keeps each voice's own modulation.
  rack.MoveControl(vco, "Shape", 0.3f);
  EXPECT_FLOAT_EQ(shape(1).getValue(), 0.3f);
  EXPECT_FLOAT_EQ(shape(2).getValue(), 0.7f);

  EXPECT_NE(shape(1).Cell().smoothed_value, shape(1).getValue());
  editor.parameters.sampleAccurate = true;
  editor.parameters.SetParameterValue(index, 0.6f);
  EXPECT_EQ(shape(2).Cell().smoothed_value, shape(2).getValue());

  const std::vector<std::byte> saved = rack.SavedPreset(vco);
  float stored = 0.0f;
  std::memcpy(&stored, saved.data() + 3 * sizeof(float), sizeof stored);
  EXPECT_EQ(stored, 0.6f);
  // Neither a save nor more voices change what sounds; other threads read the base value.
  EXPECT_FLOAT_EQ(shape(0).getValue(), 0.2f);
  editor.voices.ApplyVoiceCount(4);
  EXPECT_FLOAT_EQ(shape(0).getValue(), 0.2f);
  EXPECT_EQ(shape(3).getValue(), 0.6f);
  EXPECT_EQ(rack.engine.getParameter(index), 0.6f);

  editor.parameters.SetParameterValue(1000, 0.5f);
  editor.parameters.SetParameterOffset(-1, 0, 0.5f, true);
}

TEST(Parameters, ModulationThatReturnsToZeroReachesThePanelLogic) {
  TestRack rack;
  rack.engine.hostKind = HostKind::kClap;
  auto& counter = static_cast<Counter&>(rack.Adopt(new Counter(rack.editor.hostTable)));
  for (const float offset : {0.5f, 0.5f, 0.0f, 0.0f}) {
    rack.editor.parameters.SetParameterOffset(0, 0, offset, true);
  }
  EXPECT_EQ(counter.calls, 2);
  EXPECT_EQ(counter.knob->value, 0.0f);
}

TEST(Parameters, ValuesFromTheHostAreKeptWithinTheirRange) {
  TestRack rack;
  Module& vco = rack.Add("S310 VCO");
  const int index = rack.Control(vco, "Pulse width").getTag();
  rack.engine.setParameter(index, 1e30f);
  EXPECT_EQ(rack.engine.getParameter(index), 1.0f);
  rack.engine.setParameter(index, -3.0f);
  EXPECT_EQ(rack.Control(vco, "Pulse width").getValue(), 0.0f);
  rack.engine.setParameter(index, NAN);
  EXPECT_EQ(rack.engine.getParameter(index), 0.0f);
}

TEST(Parameters, AValueThatComesDuringAnEditTakesEffectAfterIt) {
  TestRack rack;
  Module& vco = rack.Add("S310 VCO");
  CControl& width = rack.Control(vco, "Pulse width");
  const int index = width.getTag();
  const auto setFromElsewhere = [&](float value) {
    std::thread([&] { rack.engine.setParameter(index, value); }).join();
  };
  {
    const PatchEdit outer(rack.editor);
    {
      const PatchEdit inner(rack.editor);
      setFromElsewhere(0.25f);
    }
    EXPECT_EQ(width.getValue(), 0.5f);
  }
  EXPECT_EQ(width.getValue(), 0.25f);
  rack.engine.processingLock.lock();
  setFromElsewhere(0.75f);
  rack.engine.processingLock.unlock();
  EXPECT_EQ(width.getValue(), 0.25f);
  rack.RunBlock(1);
  EXPECT_EQ(width.getValue(), 0.75f);

  // The control may be gone by then.
  {
    const PatchEdit edit(rack.editor);
    setFromElsewhere(0.5f);
    rack.editor.RemoveModule(&vco, true);
  }
  EXPECT_EQ(rack.engine.getParameter(index), 0.0f);
}

TEST(Parameters, TheEndOfAModulationIsAMoveOfTheKnob) {
  // This mixer smooths only the knobs that it was notified of.
  TestRack rack;
  rack.engine.hostKind = HostKind::kClap;
  Module& mixer = rack.Add("S103 Matrix Mixer/VCA");
  const int index = rack.Control(mixer, "Crosspoint 1-1").getTag();
  rack.FeedConstant(mixer, "In 1", 1.0f);
  rack.editor.parameters.SetParameterOffset(index, 0, 0.5f, false);
  rack.Run(48000);
  EXPECT_EQ(rack.Out(mixer, "Out 1"), 0.5f);
  rack.editor.parameters.SetParameterOffset(index, 0, 0.0f, false);
  rack.Run(48000);
  EXPECT_EQ(rack.Out(mixer, "Out 1"), 0.0f);
}

TEST(Parameters, SwitchesFollowTheHostInAllVoices) {
  TestRack rack;
  rack.engine.voiceCount = 2;
  Module& vco = rack.Add("S310 VCO");
  CControl& mode = rack.Control(vco, "Sync mode");
  rack.editor.parameters.SetParameterValue(mode.getTag(), 1.0f);
  EXPECT_EQ(mode.getValue(), 1.0f);
  EXPECT_EQ(mode.nextVoice->getValue(), 1.0f);
}

}  // namespace
}  // namespace halveron::testing
