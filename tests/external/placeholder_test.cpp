// Missing modules: what the rack keeps of them, and that they come back whole.
#include <gtest/gtest.h>

#include <algorithm>
#include <set>

#include "editor/placeholder_module.h"
#include "presets/preset_rack.h"
#include "tests/external/libraries.h"
#include "tests/support/window_rig.h"

namespace halveron::testing {
namespace {

/// Racks that know the suite's library only as long as it is there.
class PlaceholderTest : public ::testing::Test {
 protected:
  PlaceholderTest() { folder_.Add("in_order", Ini("Amplifier", {"Probe"})); }

  /// Between two oscillators and the host's outputs, with values, data and parameters; 3 voices.
  PresetDocument SavedRack() {
    TestRack rack;
    Equip(rack);
    rack.editor.voices.ApplyVoiceCount(3);
    rack.Add("SD05 MIDI Poly Chainer");
    Module& vco = rack.Add("S310 VCO");
    Module& probe = AddExternal(rack, "Probe", kTestVendor);
    Module& mono = AddExternal(rack, "Probe", kTestVendor);
    Module& out = rack.Add("SA02 2 DAW");
    rack.editor.voices.SetModuleMono(&mono, true);
    int column = 0;
    for (Module* module : rack.editor.modules[0]) {
      CRect place = module->getViewSize();
      place.moveTo(column * panelUnitWidth, panelHeight);
      module->setViewSize(place);
      column += static_cast<int>(module->getWidth()) / panelUnitWidth;
    }
    rack.Connect(vco, "Saw", probe, "In");
    rack.Connect(probe, "Out", mono, "In");
    rack.Connect(mono, "Out", out, "Left");
    rack.SetControl(probe, "Level", 0.125f);
    rack.SetControl(mono, "Invert", 1.0f);
    rack.RunBlock(32);
    PresetDocument document = CapturePreset(rack.editor);
    document.pathPrefix = "x.hvp";
    return document;
  }
  void Equip(TestRack& rack) { rack.editor.externalModules.ScanModuleLibraries(folder_.Path()); }

  const LibraryFolder folder_;
};

/// All that concerns the missing modules; others save lamps, which change as they run.
void ExpectSame(const PresetDocument& a, const PresetDocument& b) {
  ASSERT_EQ(a.modules.size(), b.modules.size());
  for (std::size_t i = 0; i < a.modules.size(); ++i) {
    if (a.modules[i].vendor == kBuiltInVendor && a.modules[i].name[1] != '9') continue;
    EXPECT_TRUE(a.modules[i] == b.modules[i]) << a.modules[i].name;
  }
  EXPECT_TRUE(a.cables == b.cables);
  EXPECT_EQ(a.voices, b.voices);
  EXPECT_EQ(a.highestParameterIndex, b.highestParameterIndex);
}

TEST_F(PlaceholderTest, KeepEverythingInAHostsStateUnderEitherInterface) {
  const PresetDocument document = SavedRack();
  const std::vector<std::byte> chunk = WritePreset(document, PresetForm::kChunk);
  for (const HostKind kind : {HostKind::kVst2, HostKind::kClap}) {
    TestRack rack;
    rack.engine.hostKind = kind;
    std::vector<DialogText> dialogs;
    rack.editor.dialogs = [&](const DialogText& dialog) { dialogs.push_back(dialog); };
    EXPECT_FALSE(rack.editor.LoadChunk(chunk));
    ASSERT_EQ(dialogs.size(), 1u);
    EXPECT_EQ(dialogs[0].title, "Module failed");
    EXPECT_NE(dialogs[0].text.find("Probe Test Vendor failed to load properly or was not found!\n"),
              std::string::npos);
    ExpectSame(CapturePreset(rack.editor), document);
    const auto* probe = dynamic_cast<PlaceholderModule*>(rack.editor.modules[0][2]);
    ASSERT_NE(probe, nullptr);
    EXPECT_STREQ(probe->GetName(), "Probe");
    EXPECT_EQ(probe->getWidth(), 4 * panelUnitWidth) << "the room up to its neighbour";
    EXPECT_EQ(probe->Points().size(), 2u);
    EXPECT_NE(rack.editor.modules[2][2], nullptr) << "with all its voices";
    EXPECT_EQ(rack.editor.modules[1][3], nullptr) << "which the mono one has not";
    rack.RunBlock(64);
    // Its parameters stay taken, and its data stay whatever hosts do.
    const int parameter = document.modules[2].indices[1];
    ASSERT_LT(parameter, kParameterCount);
    EXPECT_NE(rack.editor.parameters.parameterControls[static_cast<std::size_t>(parameter)],
              nullptr);
    rack.engine.setParameter(parameter, 1.0f);
    rack.RunBlock(64);
    ExpectSame(CapturePreset(rack.editor), document);
    // Voices come and go.
    rack.editor.voices.ApplyVoiceCount(5);
    rack.editor.voices.ApplyVoiceCount(3);
    ExpectSame(CapturePreset(rack.editor), document);
  }
}

TEST_F(PlaceholderTest, ComeBackAsModulesWhenTheLibraryIsThere) {
  const PresetDocument document = SavedRack();
  TestRack without;
  without.editor.LoadChunk(WritePreset(document, PresetForm::kChunk));
  const auto saved = without.editor.SaveChunk();
  TestRack with;
  Equip(with);
  EXPECT_TRUE(with.editor.LoadChunk(saved));
  EXPECT_FALSE(with.editor.HasPlaceholders());
  const PresetDocument back = CapturePreset(with.editor);
  EXPECT_TRUE(back.cables == document.cables);
  for (const std::size_t i : {2, 3}) {
    // The values and the blocks that were counted; cables have been counted again.
    constexpr std::size_t kKept = 5 * sizeof(float) + sizeof(std::int32_t);
    EXPECT_TRUE(std::equal(back.modules[i].data.begin(), back.modules[i].data.begin() + kKept,
                           document.modules[i].data.begin()));
    EXPECT_EQ(back.modules[i].indices, document.modules[i].indices);
  }
  // The next preset of a rack with placeholders is free of them.
  PresetDocument empty;
  empty.highestParameterIndex = -1;
  empty.pathPrefix = "";
  EXPECT_TRUE(without.editor.LoadChunk(WritePreset(empty, PresetForm::kChunk)));
  EXPECT_FALSE(without.editor.HasPlaceholders());
  EXPECT_EQ(without.editor.AddModule("Probe", kTestVendor), nullptr);
}

TEST_F(PlaceholderTest, AreOfferedForAFile) {
  const PresetDocument document = SavedRack();
  const ScratchFolder files;
  const std::vector<std::byte> bytes = WritePreset(document, PresetForm::kFile);
  const std::string path =
      files.Write("a.hvp", std::string(reinterpret_cast<const char*>(bytes.data()), bytes.size()));
  WindowRig rig;
  for (const bool accepts : {false, true}) {
    EXPECT_FALSE(rig.editor.presetCommands.Load(path));
    EXPECT_EQ(rig.editor.ModuleCount(), 2) << "those before the missing one";
    EXPECT_EQ(rig.editor.presetPath, "");
    const DialogRequest& request = rig.window.Dialog().Request();
    EXPECT_EQ(request.title, "Module failed");
    EXPECT_EQ(request.text, "Probe Test Vendor failed to load properly or was not found!");
    EXPECT_EQ(request.width, 600);
    EXPECT_EQ(request.buttons, (std::vector<std::string>{"OK", "Load with placeholders"}));
    if (!accepts) {
      rig.Key(kKeyEscape);
      EXPECT_FALSE(rig.window.Dialog().IsShown());
      EXPECT_EQ(rig.editor.ModuleCount(), 2);
      continue;
    }
    rig.window.Dialog().Press(1);
    EXPECT_FALSE(rig.window.Dialog().IsShown());
    ExpectSame(CapturePreset(rig.editor), document);
    EXPECT_EQ(rig.editor.presetPath, path) << "it may be saved again";
    ASSERT_TRUE(rig.editor.SavePreset(files.At("b.hvp")));
    EXPECT_EQ(ReadFile(files.At("b.hvp")).size(), bytes.size());
  }
  rig.DrawAll();
  TestRack other;
  other.Add("S310 VCO");
  ASSERT_TRUE(other.editor.SavePreset(files.At("c.hvp")));
  ASSERT_TRUE(rig.editor.presetCommands.Load(files.At("c.hvp")));
  EXPECT_EQ(rig.editor.ModuleCount(), 1);
  rig.editor.history.Undo();
  ExpectSame(CapturePreset(rig.editor), document);
  // From the menu no further placeholder is made.
  rig.editor.commands.InsertModule("Probe", kTestVendor);
  EXPECT_TRUE(rig.window.Dialog().IsShown());
}

TEST_F(PlaceholderTest, StandForModulesThatRefuseAFurtherVoice) {
  folder_.Add("in_order", Ini("Amplifier", {"Quartet"}));
  std::vector<std::byte> chunk;
  PresetDocument document;
  {
    TestRack rack;
    Equip(rack);
    rack.editor.voices.ApplyVoiceCount(16);
    Module& first = AddExternal(rack, "Quartet", kTestVendor);
    Module& second = AddExternal(rack, "Quartet", kTestVendor);
    Module& out = rack.Add("SA02 2 DAW");
    rack.Connect(first, "Out", second, "In");
    rack.Connect(second, "Out", out, "Left");
    rack.SetControl(second, "Level", 0.125f);
    document = CapturePreset(rack.editor);
    document.pathPrefix = "x.hvp";
    chunk = WritePreset(document, PresetForm::kChunk);
  }
  std::filesystem::remove(folder_.Path() + "in_order.ini");
  folder_.Add("unruly", Ini("Amplifier", {"Quartet"}));
  TestRack rack;
  Equip(rack);
  std::string text;
  rack.editor.dialogs = [&](const DialogText& dialog) { text = dialog.text; };
  EXPECT_FALSE(rack.editor.LoadChunk(chunk));
  EXPECT_TRUE(rack.editor.IsMissing("Quartet", kTestVendor));
  EXPECT_EQ(text.find("Quartet Test Vendor"), 0u) << text;
  ExpectSame(CapturePreset(rack.editor), document);
}

TEST_F(PlaceholderTest, GiveWayWhenTheirModuleIsInsertedAndItsLibraryIsBack) {
  const PresetDocument document = SavedRack();
  const ScratchFolder files;
  const std::vector<std::byte> bytes = WritePreset(document, PresetForm::kFile);
  const std::string path =
      files.Write("a.hvp", std::string(reinterpret_cast<const char*>(bytes.data()), bytes.size()));
  folder_.AddText("in_order.so", "no library");
  WindowRig rig;
  rig.editor.externalModules.ScanModuleLibraries(folder_.Path());
  ASSERT_TRUE(rig.editor.LoadPresetWithPlaceholders(path));
  rig.editor.commands.InsertModule("Probe", kTestVendor);
  EXPECT_TRUE(rig.window.Dialog().IsShown());
  rig.Key(kKeyEscape);
  ExpectSame(CapturePreset(rig.editor), document);
  folder_.Add("in_order", Ini("Amplifier", {"Probe"}));
  rig.editor.commands.InsertModule("Probe", kTestVendor);
  EXPECT_FALSE(rig.window.Dialog().IsShown());
  EXPECT_FALSE(rig.editor.HasPlaceholders());
  const PresetDocument now = CapturePreset(rig.editor);
  ASSERT_EQ(now.modules.size(), document.modules.size() + 1);
  EXPECT_TRUE(now.cables == document.cables);
  for (const std::size_t i : {2, 3}) {
    EXPECT_EQ(dynamic_cast<PlaceholderModule*>(rig.editor.modules[0][i]), nullptr);
    EXPECT_TRUE(std::equal(now.modules[i].data.begin(), now.modules[i].data.begin() + 12,
                           document.modules[i].data.begin()))
        << "the values of controls and lamp";
    EXPECT_EQ(now.modules[i].indices, document.modules[i].indices);
  }
  EXPECT_NE(rig.editor.modules[2][2], nullptr) << "with all its voices";
}

TEST_F(PlaceholderTest, GiveWayToALaterVersionWithParametersOfItsOwn) {
  const PresetDocument document = SavedRack();
  std::filesystem::remove(folder_.Path() + "in_order.ini");
  WindowRig rig;
  ASSERT_FALSE(rig.editor.LoadChunk(WritePreset(document, PresetForm::kChunk)));
  folder_.Add("grown", Ini("Amplifier", {"Probe"}));
  Equip(rig.rack);
  rig.editor.commands.InsertModule("Probe", kTestVendor);
  ASSERT_FALSE(rig.editor.HasPlaceholders());
  const PresetDocument now = CapturePreset(rig.editor);
  for (const std::size_t i : {2, 3}) {
    EXPECT_GT(now.modules[i].indices[2], *document.highestParameterIndex);
    EXPECT_GE(now.highestParameterIndex.value_or(-1), now.modules[i].indices[2]);
  }
}

TEST_F(PlaceholderTest, AreNotNeededForAModuleThatHasLessThanItHad) {
  const auto install = [&](const std::string& library) {
    folder_.Add(library, Ini("Amplifier", {"Probe"}));
    std::filesystem::rename(folder_.Path() + library + ".so", folder_.Path() + "probe.so");
    std::filesystem::rename(folder_.Path() + library + ".ini", folder_.Path() + "probe.ini");
  };
  std::filesystem::remove(folder_.Path() + "in_order.ini");
  install("grown");
  const PresetDocument document = SavedRack();
  install("in_order");
  TestRack rack;
  Equip(rack);
  ASSERT_TRUE(rack.editor.LoadChunk(WritePreset(document, PresetForm::kChunk)));
  const PresetDocument now = CapturePreset(rack.editor);
  EXPECT_EQ(now.cables.size(), document.cables.size());
  for (const std::size_t i : {2, 3}) {
    const PresetModule& was = document.modules[i];
    const PresetModule& is = now.modules[i];
    EXPECT_TRUE(std::equal(is.indices.begin(), is.indices.begin() + 2, was.indices.begin()));
    EXPECT_TRUE(std::equal(is.data.begin(), is.data.begin() + 8, was.data.begin()));
    EXPECT_TRUE(
        std::equal(is.data.begin() + 5 * 4, is.data.begin() + 6 * 4, was.data.begin() + 8 * 4))
        << "its own data";
  }
  Module& mono = *rack.editor.modules[0][3];
  EXPECT_TRUE(rack.Point(mono, "In", kInputPoint).IsCabled());
  EXPECT_TRUE(rack.Point(mono, "Out", kOutputPoint).IsCabled());
}

TEST_F(PlaceholderTest, StandForUnknownBuiltInNamesAndForAnyFormOfData) {
  PresetDocument document;
  document.highestParameterIndex = 700;
  document.pathPrefix = "";
  PresetModule odd;
  odd.name = "S999 Never Was";
  odd.vendor = kBuiltInVendor;
  odd.version = 1234;
  odd.x = 36;
  odd.bandlimitMode = 1;
  odd.clipLevel = 0.5f;
  odd.mono = true;
  odd.alwaysOn = true;
  odd.oversampled = false;
  odd.data.assign(11, std::byte{0xFF});  // no list of values
  odd.indices = {700, 0x7FFFFFF8, 0, 1};
  odd.controlCount = 4;
  odd.patchPointCount = 2;
  document.modules = {odd};
  TestRack rack;
  EXPECT_FALSE(rack.editor.LoadChunk(WritePreset(document, PresetForm::kChunk)));
  ExpectSame(CapturePreset(rack.editor), document);
  // Twice, with other numbers for its points, and no points at all.
  document.modules.push_back(odd);
  document.modules[1].indices = {701, 0x7FFFFFF8, 2, 3};
  document.modules.push_back(odd);
  document.modules[2].name = "S998";
  document.modules[2].indices = {};
  document.modules[2].controlCount = document.modules[2].patchPointCount = 0;
  document.modules[2].data.clear();
  document.cables = {{0, 3, 2}, {2, 1, 7}};
  EXPECT_FALSE(rack.editor.LoadChunk(WritePreset(document, PresetForm::kChunk)));
  const PresetDocument kept = CapturePreset(rack.editor);
  EXPECT_TRUE(kept.modules == document.modules);
  // A record of a version that had less, between two others.
  document.modules[0].data.assign(16, std::byte{0});
  document.modules[1].data.assign(12, std::byte{0});
  document.modules[1].indices = {702, 2, 3};
  document.modules[1].controlCount = 3;
  document.modules.push_back(document.modules[0]);
  document.modules[3].indices = {703, 0x7FFFFFF8, 4, 5};
  document.cables = {{0, 3, 2}, {2, 5, 7}};
  EXPECT_FALSE(rack.editor.LoadChunk(WritePreset(document, PresetForm::kChunk)));
  EXPECT_TRUE(CapturePreset(rack.editor).modules == document.modules);
  EXPECT_TRUE(CapturePreset(rack.editor).cables == document.cables);
}

TEST_F(PlaceholderTest, AreNotNeededForAModuleThatHasMoreThanItHad) {
  const PresetDocument document = SavedRack();
  folder_.Add("grown", Ini("Amplifier", {"Probe"}));
  std::filesystem::rename(folder_.Path() + "grown.so", folder_.Path() + "in_order.so");
  std::filesystem::remove(folder_.Path() + "grown.ini");
  TestRack rack;
  Equip(rack);
  ASSERT_TRUE(rack.editor.LoadChunk(WritePreset(document, PresetForm::kChunk)));
  const PresetDocument now = CapturePreset(rack.editor);
  std::set<int> parameters;
  for (const std::size_t i : {2, 3}) {
    Module& probe = *rack.editor.modules[0][i];
    EXPECT_EQ(rack.Control(probe, "Level").getValue(), i == 2 ? 0.125f : 0.5f);
    EXPECT_EQ(rack.Control(probe, "Invert").getValue(), i == 3 ? 1.0f : 0.0f);
    EXPECT_EQ(rack.Control(probe, "Tone").getValue(), 0.75f);
    EXPECT_EQ(rack.Control(probe, "Fixed").getValue(), 1.0f);
    EXPECT_EQ(rack.Point(probe, "Side", kInputPoint).cableCount, 0);
    // Old parameters stay, new ones stand behind all others.
    EXPECT_TRUE(std::equal(now.modules[i].indices.begin(), now.modules[i].indices.begin() + 2,
                           document.modules[i].indices.begin()));
    EXPECT_GT(now.modules[i].indices[2], *document.highestParameterIndex);
    EXPECT_TRUE(parameters.insert(now.modules[i].indices[2]).second);
    EXPECT_EQ(now.modules[i].indices[3], TAG_UNASSIGNED);
    // Behind the values: the blocks that were counted.
    EXPECT_TRUE(std::equal(now.modules[i].data.begin() + 8 * 4, now.modules[i].data.begin() + 9 * 4,
                           document.modules[i].data.begin() + 5 * 4));
  }
  EXPECT_EQ(now.cables.size(), document.cables.size());
  Module& mono = *rack.editor.modules[0][3];
  EXPECT_TRUE(rack.Point(mono, "In", kInputPoint).IsCabled());
  EXPECT_TRUE(rack.Point(mono, "Out", kOutputPoint).IsCabled());
}

}  // namespace
}  // namespace halveron::testing
