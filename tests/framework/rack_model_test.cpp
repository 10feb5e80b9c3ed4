// The rack's model: modules, active lists, parameters, counting, presets.
#include "framework/rack_model.h"

#include <gtest/gtest.h>

#include <cstring>
#include <thread>

#include "tests/support/test_rack.h"

namespace halveron::testing {
namespace {

constexpr const char* kVco = "S310 VCO";
constexpr const char* kRelay = "S815 InOut Connector";

TEST(RackModel, ActiveListsHoldWhatHasCablesOrIsAlwaysOn) {
  TestRack rack;
  RackModel& editor = rack.editor;
  std::vector<Module*> relays;
  for (int i = 0; i < 5; ++i) relays.push_back(editor.AddModule(kRelay, kBuiltInVendor));
  EXPECT_TRUE(editor.activeModules[0].empty());
  for (std::size_t i = 0; i + 1 < relays.size(); ++i) {
    rack.Connect(*relays[i], "Out 1", *relays[i + 1], "In 1");
  }
  EXPECT_EQ(editor.activeModules[0].size(), 5u);
  rack.Disconnect(*relays[1], "In 1");
  EXPECT_EQ(relays[0]->place.activeIndex, -1);
  EXPECT_EQ(relays[1]->place.activeIndex >= 0, true);
  // Whatever moved into the gap knows its new place.
  for (std::size_t p = 0; p < editor.activeModules[0].size(); ++p) {
    EXPECT_EQ(editor.activeModules[0][p]->place.activeIndex, static_cast<int>(p));
  }
  EXPECT_EQ(editor.AddModule("SA03 MIDI/Sync From DAW", kBuiltInVendor)->place.activeIndex >= 0,
            true);
}

TEST(RackModel, RemovalTakesCablesVoicesAndRegistrationsAlong) {
  TestRack rack;
  rack.engine.voiceCount = 3;
  RackModel& editor = rack.editor;
  Module& midi = rack.Add("SA03 MIDI/Sync From DAW");
  Module& vco = rack.Add(kVco);
  Module& out = rack.Add("SA02 2 DAW");
  rack.Connect(midi, "Clock", vco, "Sync");
  rack.Connect(vco, "Saw", out, "Left");
  EXPECT_EQ(editor.eventModules.size(), 1u);
  ASSERT_EQ(editor.activeModules[1].size(), 1u);
  EXPECT_EQ(editor.activeModules[0].size(), 3u);
  const int tag = rack.Control(vco, "Shape").getTag();
  ASSERT_LT(tag, kParameterCount);

  editor.RemoveModule(&vco, true);
  EXPECT_EQ(editor.cables.cableList.size() + editor.cables.sumCableList.size(), 0);
  EXPECT_EQ(editor.plan.CarriedInputs(), 0u);
  EXPECT_EQ(editor.parameters.parameterControls[static_cast<std::size_t>(tag)], nullptr);
  EXPECT_EQ(editor.ModuleCount(), 2);
  EXPECT_EQ(out.place.moduleIndex, 1);  // the last module took the free index
  EXPECT_EQ(editor.activeModules[1].size(), 0u);
  editor.RemoveModule(&midi, true);
  EXPECT_TRUE(editor.eventModules.empty() && editor.blockStartModules.empty());
}

TEST(RackModel, BlocksGoOnWhileModulesAreMade) {
  TestRack rack;
  rack.engine.voiceCount = 3;
  int made = 0;
  const ModuleMaker maker = [&](std::string_view name, std::string_view vendor,
                                const HostTable& table, int voice) {
    bool isFree = false;
    std::thread([&] {
      isFree = rack.engine.processingLock.try_lock();
      if (isFree) rack.engine.processingLock.unlock();
    }).join();
    EXPECT_TRUE(isFree);
    ++made;
    return rack.editor.Maker()(name, vendor, table, voice);
  };
  RackModel model(rack.engine, maker);
  Module* vco = model.AddModule(kVco, kBuiltInVendor);
  ASSERT_EQ(made, 3);
  // What the audio thread finds by the table of parameters is whole.
  Module* first = nullptr;
  for (CControl* control : model.parameters.parameterControls) {
    if (control && !first) first = static_cast<Module*>(control->getParentView());
  }
  EXPECT_EQ(first, vco);
  {
    const PatchEdit edit(model, PatchEdit::Hold::kAtTheEnd);
    model.RemoveModule(vco, true);
    const int tag = model.parameters.GetFreeTag(model.AddModule(kRelay, kBuiltInVendor));
    EXPECT_NE(model.parameters.parameterControls[0], nullptr) << "still played";
    EXPECT_NE(tag, TAG_UNASSIGNED);
  }
  EXPECT_EQ(model.parameters.parameterControls[0], nullptr);
}

TEST(RackModel, AHeldModuleWaitsOnTheTrashList) {
  TestRack rack;
  Module* module = rack.editor.AddModule(kRelay, kBuiltInVendor);
  module->remember();
  rack.editor.RemoveModule(module, true);
  ASSERT_EQ(rack.editor.trashList.size(), 1u);
  EXPECT_EQ(module->place.moduleIndex, -1);
  EXPECT_TRUE(module->ReleaseFromTrash());
  EXPECT_TRUE(rack.editor.trashList.empty());
  EXPECT_EQ(module->getNbReference(), 1);
  module->forget();
}

TEST(RackModel, UnknownModulesLeaveTheRackAsItStands) {
  TestRack rack;
  rack.Add(kRelay);
  EXPECT_EQ(rack.editor.AddModule("S999 Nothing", kBuiltInVendor), nullptr);
  EXPECT_EQ(rack.editor.AddModule(kVco, "Somebody else"), nullptr);
  EXPECT_EQ(rack.editor.AddModule("s310 vco", kBuiltInVendor), nullptr);
  EXPECT_EQ(rack.editor.ModuleCount(), 1);
  EXPECT_TRUE(rack.editor.CreateModule(kVco, kBuiltInVendor, 0, 2, 1));
  EXPECT_EQ(rack.editor.ModuleCount(), 1);
}

TEST(RackModel, ClonesFollowThePanelAndStayOutOfTheParameterTable) {
  TestRack rack;
  rack.engine.voiceCount = 4;
  Module& vco = rack.Add(kVco);
  int voices = 0;
  for (CControl* c = &rack.Control(vco, "Pulse width"); c; c = c->nextVoice) {
    EXPECT_EQ(static_cast<Module*>(c->getParentView())->voice, voices++);
    EXPECT_EQ(c->getTag() < kParameterCount, voices == 1);
  }
  EXPECT_EQ(voices, 4);
  rack.MoveControl(vco, "Octave", 0.75f);
  for (int voice = 0; voice < 4; ++voice) {
    auto& octave = static_cast<ModuleKnob&>(rack.Control(*vco.GetVoiceModule(voice), "Octave"));
    EXPECT_EQ(octave.getValue(), 0.75f);
    EXPECT_EQ(octave.Cell().stepped_target, 9.0f / 12.0f);
  }
  EXPECT_EQ(vco.GetVoiceModule(4), nullptr);
}

TEST(RackModel, ParametersTakeTheNextFreeSlotAndWrap) {
  TestRack rack;
  RackModel& editor = rack.editor;
  Module& first = rack.Add(kVco);
  Module& second = rack.Add(kVco);
  const int gap = rack.Control(first, "Fine tune").getTag();
  const int last = editor.parameters.highestParameterIndex;
  EXPECT_EQ(gap, 0);
  editor.RemoveModule(&first, true);
  Module& third = rack.Add(kVco);
  EXPECT_EQ(rack.Control(third, "Fine tune").getTag(), last + 1);
  EXPECT_LT(rack.Control(second, "Fine tune").getTag(), last + 1);

  editor.parameters.highestParameterIndex = kParameterCount - 1;
  EXPECT_EQ(rack.Control(rack.Add(kVco), "Fine tune").getTag(), 0);

  CControl& shape = rack.Control(third, "Shape");
  const int old = shape.getTag();
  EXPECT_FALSE(editor.parameters.RegisterTag(&shape, rack.Control(third, "FM amount").getTag()));
  EXPECT_FALSE(editor.parameters.RegisterTag(&shape, kParameterCount));
  EXPECT_EQ(shape.getTag(), old);
  EXPECT_TRUE(editor.parameters.RegisterTag(&shape, 900));
  editor.parameters.ChangeTag(&shape, old, 900);
  EXPECT_EQ(editor.parameters.parameterControls[static_cast<std::size_t>(old)], nullptr);
  EXPECT_TRUE(editor.parameters.UnregisterTag(&shape));
  EXPECT_FALSE(editor.parameters.UnregisterTag(&shape));
  EXPECT_EQ(shape.getTag(), TAG_UNASSIGNED);

  editor.parameters.parameterControls.fill(&shape);
  EXPECT_EQ(editor.parameters.GetFreeTag(&third), TAG_UNASSIGNED);
  editor.parameters.parameterControls.fill(nullptr);
}

TEST(RackModel, ControlValuesRoundTripAndShortDataLeavesTheRest) {
  TestRack rack;
  Module& vco = rack.Add(kVco);
  EXPECT_EQ(vco.GetNbControls(), -1);
  const int size = vco.GetControlValuesSize();
  EXPECT_EQ(size, (6 + 10) * 4);  // six controls and ten points; screws are not counted
  EXPECT_EQ(vco.GetNbPatchPoints(), 10);
  rack.SetControl(vco, "Shape", 0.3f);
  rack.SetControl(vco, "Octave", 1.0f);
  std::vector<std::byte> saved = rack.SavedPreset(vco);

  Module& other = rack.Add(kVco);
  other.LoadPreset(saved.data(), 12, vco.GetVersion());  // three values only
  EXPECT_EQ(rack.Control(other, "Shape").getValue(), 0.0f);
  other.LoadPreset(saved.data(), static_cast<int>(saved.size()), vco.GetVersion());
  auto& shape = static_cast<ModuleKnob&>(rack.Control(other, "Shape"));
  EXPECT_EQ(shape.getValue(), 0.3f);
  EXPECT_EQ(shape.Cell().smoothed_value, 0.3f);  // a loaded patch does not glide
  EXPECT_EQ(rack.SavedPreset(other), saved);
  other.LoadPreset(saved.data(), -1, vco.GetVersion());
}

TEST(RackModel, MidiPointsTakeTheirPlugFromTheLiveCables) {
  TestRack rack;
  Module& source = rack.Add("SA03 MIDI/Sync From DAW");
  Module& voice = rack.Add("SD02 MIDI-CV/Sync");
  rack.Connect(source, "MIDI", voice, "MIDI in");
  std::vector<std::byte> plugged = rack.SavedPreset(voice);
  rack.Disconnect(voice, "MIDI in");
  voice.LoadPreset(plugged.data(), static_cast<int>(plugged.size()), voice.GetVersion());
  EXPECT_EQ(rack.Point(voice, "MIDI in", kInputPoint).getValue(), 0.0f);
}

TEST(RackModel, PatchPointsAreNumberedAcrossTheRackAndFoundAgain) {
  TestRack rack;
  Module& vco = rack.Add(kVco);
  Module& relay = rack.Add(kRelay);
  int next = 0;
  vco.NumberPatchPoints(&next);
  relay.NumberPatchPoints(&next);
  EXPECT_EQ(next, 16);
  std::vector<PatchPoint*> points(16);
  int index = 0;
  vco.CollectPatchPoints(points.data(), &index, 10);
  relay.CollectPatchPoints(points.data(), &index, 6);
  ASSERT_EQ(index, 16);
  for (int i = 0; i < 16; ++i) EXPECT_EQ(points[static_cast<std::size_t>(i)]->patchIndex, i);

  std::vector<int> tags(static_cast<std::size_t>(vco.GetPatchPointIndicesSize()) / 4);
  vco.SavePatchPointIndices(tags.data());
  EXPECT_EQ(tags[0], rack.Control(vco, "Fine tune").getTag());
  EXPECT_EQ(tags.back(), 9);
  tags[0] = 500;
  vco.LoadPatchPointIndices(tags.data(), static_cast<unsigned>(tags.size() * 4));
  EXPECT_EQ(rack.Control(vco, "Fine tune").getTag(), 500);
  EXPECT_EQ(rack.editor.parameters.parameterControls[500], &rack.Control(vco, "Fine tune"));
  EXPECT_EQ(rack.editor.parameters.parameterControls[0], nullptr);
}

TEST(RackModel, ClonesCollectTheMainInstancesPolyPoints) {
  TestRack rack;
  rack.engine.voiceCount = 2;
  Module& vco = rack.Add(kVco);
  Module* clone = vco.GetVoiceModule(1);
  auto& saw = rack.Point(*clone, "Saw", kOutputPoint);
  clone->SetPatchPointPoly(&saw, true);
  clone->SetPatchPointPoly(&saw, true);
  EXPECT_EQ(clone->GetPolyPatchPoints(), 1);
  std::vector<PatchPoint*> points(10);
  int index = 0;
  clone->CollectPatchPoints(points.data(), &index, 10);
  EXPECT_EQ(points[6], &rack.Point(vco, "Saw", kOutputPoint));
  EXPECT_EQ(points[7], &rack.Point(*clone, "Triangle", kOutputPoint));
  clone->SetPatchPointPoly(&saw, false);
  EXPECT_EQ(clone->GetPolyPatchPoints(), 0);
}

TEST(RackModel, HostTableAnswersForTheRack) {
  TestRack rack(44100, 96);
  rack.engine.voiceCount = 2;
  Module& vco = rack.Add(kVco);
  const HostTable& table = vco.hostTable;
  EXPECT_EQ(table.GetHostVersion(table.rack), kHostInterfaceVersion);
  EXPECT_EQ(table.GetBlockSize(table.rack), 96);
  EXPECT_EQ(table.GetSampleRate(table.rack), 44100.0f);
  EXPECT_EQ(table.GetVoiceModule(table.rack, &vco, 1)->voice, 1);
  EXPECT_EQ(table.GetHostKind(table.rack), 0);
  VstTimeInfo info{};
  rack.host.tempo = 97.0;
  EXPECT_TRUE(table.GetTransportInfo(table.rack, &info));
  EXPECT_EQ(info.tempo, 97.0);
  rack.host.answersTimeInfo = false;
  EXPECT_FALSE(table.GetTransportInfo(table.rack, &info));
  const std::string page = vco.GetInfoURL();
  EXPECT_TRUE(page.starts_with("file:///")) << page;
  EXPECT_TRUE(page.ends_with("/Manual/S310-VCO.html")) << page;
  EXPECT_TRUE(std::string(rack.Add("S202 HP/Low Shelf VCF").GetInfoURL())
                  .ends_with("/Manual/S202-HPLow-Shelf-VCF.html"));
}

}  // namespace
}  // namespace halveron::testing
