// Modules of libraries in a rack: they sound, save and follow the host as built-in ones do.
#include <gtest/gtest.h>

#include <bit>
#include <chrono>
#include <cmath>
#include <cstring>
#include <optional>
#include <thread>

#include "editor/external_panel.h"
#include "editor/sharp_images.h"
#include "framework/voice_group.h"
#include "presets/rack_excerpt.h"
#include "tests/external/libraries.h"
#include "tests/support/allocation_trap.h"
#include "tests/support/window_rig.h"

namespace halveron::testing {
namespace {

constexpr const char* kProbe = "Probe";

enum Count { kBlocks, kEvents, kConnected, kDisconnected, kCreated, kRemoved, kVoices, kLastNote };

/// A rack that knows the suite's library and the examples.
class ExternalRack : public TestRack {
 public:
  ExternalRack() {
    folder_.Add("in_order", Ini("Amplifier", {kProbe}));
    editor.externalModules.ScanModuleLibraries(folder_.Path());
    for (const char* name : {"examples/mixer", "examples/filter", "examples/drawn_wave"}) {
      editor.externalModules.AddLibrary(SdkLibrary(name));
    }
  }
  Module& AddProbe() { return AddExternal(*this, kProbe, kTestVendor); }
  /// One of the numbers that the probe keeps as its own data.
  int CountOf(Module& module, Count count) {
    const std::vector<std::byte> preset = SavedPreset(module);
    std::int32_t counts[8];
    std::memcpy(counts, preset.data() + preset.size() - sizeof counts, sizeof counts);
    return counts[count];
  }

 private:
  LibraryFolder folder_;
};

TEST(ExternalModules, ReadKnobsAndCablesAndLightLamps) {
  ExternalRack rack;
  Module& probe = rack.AddProbe();
  EXPECT_EQ(probe.getWidth(), 4 * panelUnitWidth);
  EXPECT_FALSE(probe.GetMonoDefault());
  EXPECT_EQ(probe.GetClipLevel(), -1.0f);
  rack.Feed(probe, "In", {1.0f, 0.5f, -1.0f});
  rack.Tap(probe, "Out");
  rack.SetControl(probe, "Level", 0.25f);
  rack.MoveControl(probe, "Invert", 1.0f);
  rack.Run(3);
  EXPECT_EQ(rack.Recorded(probe, "Out"), (std::vector<float>{-0.25f, -0.125f, 0.25f}));
  EXPECT_EQ(rack.Control(probe, "On").getValue(), 0.0f);
  rack.Feed(probe, "In", {1.0f});
  rack.RunBlock(2);
  EXPECT_EQ(rack.Control(probe, "On").getValue(), 1.0f);
}

TEST(ExternalModules, GetBlocksEventsCablesAndVoices) {
  ExternalRack rack;
  Module& probe = rack.AddProbe();
  Module& other = rack.AddProbe();
  EXPECT_EQ(rack.CountOf(probe, kCreated), 1);
  rack.Connect(other, "Out", probe, "In");
  rack.SendEvent(3, {0x90, 61, 100});
  rack.RunBlock(48);
  rack.RunBlock(16);
  EXPECT_EQ(rack.CountOf(probe, kBlocks), 64);
  EXPECT_EQ(rack.CountOf(probe, kEvents), 1);
  EXPECT_EQ(rack.CountOf(probe, kLastNote), 3061);
  ASSERT_EQ(rack.sentEvents.size(), 2u) << "both send back what they get";
  EXPECT_EQ(rack.sentEvents[0].bytes, (std::vector<unsigned char>{0x90, 61, 100, 0}));
  EXPECT_EQ(rack.sentEvents[0].deltaFrames, 3);
  rack.Disconnect(probe, "In");
  EXPECT_EQ(rack.CountOf(probe, kConnected), 1) << "point 0, counted from 1";
  EXPECT_EQ(rack.CountOf(other, kConnected), 2);
  EXPECT_EQ(rack.CountOf(probe, kDisconnected), 1);
  rack.editor.voices.ApplyVoiceCount(16);
  EXPECT_EQ(rack.CountOf(probe, kVoices), 16);
  EXPECT_NE(probe.GetVoiceModule(15), nullptr);
  rack.RunBlock(16);
  rack.editor.voices.ApplyVoiceCount(1);
  EXPECT_EQ(rack.CountOf(probe, kVoices), 1);
}

TEST(ExternalModules, KeepTheirDataInPresetsAndOnTheClipboard) {
  ExternalRack rack;
  Module& probe = rack.AddProbe();
  rack.SetControl(probe, "Level", 0.75f);
  rack.RunBlock(40);
  rack.editor.moduleClipboard.Copy(rack.editor, probe);
  const std::vector<std::byte> saved = rack.SavedPreset(probe);
  const auto chunk = rack.editor.SaveChunk();
  const std::vector<std::byte> state(chunk.begin(), chunk.end());
  rack.editor.RemoveAllModules();
  ASSERT_TRUE(rack.editor.LoadChunk(state));
  Module& loaded = *rack.editor.modules[0].front();
  EXPECT_EQ(rack.CountOf(loaded, kBlocks), 40);
  EXPECT_EQ(rack.Control(loaded, "Level").getValue(), 0.75f);
  EXPECT_EQ(rack.SavedPreset(loaded), saved);
  const auto again = rack.editor.SaveChunk();
  EXPECT_EQ(std::vector<std::byte>(again.begin(), again.end()), state);
  const std::vector<Module*> added = AddExcerpt(rack.editor.moduleClipboard.Excerpt(), rack.editor);
  ASSERT_EQ(added.size(), 1u);
  Module* pasted = added.front();
  ASSERT_NE(pasted, nullptr);
  EXPECT_EQ(rack.CountOf(*pasted, kBlocks), 40);
  // Data of another length than the module's are its own affair; nothing else is lost.
  loaded.LoadPreset(saved.data(), static_cast<int>(saved.size()) - 3, 1000);
  EXPECT_EQ(rack.Control(loaded, "Level").getValue(), 0.75f);
}

TEST(ExternalModules, AreAutomatedByTheHost) {
  ExternalRack rack;
  Module& probe = rack.AddProbe();
  const int parameter = rack.Control(probe, "Invert").getTag();
  ASSERT_GE(parameter, 0);
  ASSERT_LT(parameter, kParameterCount);
  rack.engine.setParameter(parameter, 1.0f);
  rack.Feed(probe, "In", {1.0f});
  rack.Tap(probe, "Out");
  rack.Run(1);
  EXPECT_EQ(rack.Recorded(probe, "Out").front(), -0.5f);
}

TEST(ExternalModules, AddUpToWhatABuiltInModuleDoes) {
  ExternalRack rack;
  Module& external = AddExternal(rack, "Example Mixer", kExamplesVendor);
  Module& builtIn = rack.Add("S102 Unity Mixer");
  for (Module* mixer : {&external, &builtIn}) {
    rack.Feed(*mixer, "In 1", {1e8f, 0.1f, 1.0f});
    rack.Feed(*mixer, "In 2", {1.0f, 0.2f, 2.0f});
    rack.Feed(*mixer, "In 3", {-1e8f, 0.3f, 3.0f});
    rack.Feed(*mixer, "In 4", {3.0f, 0.4f, 4.0f});
    rack.Tap(*mixer, "Out");
  }
  rack.Run(3);
  EXPECT_EQ(rack.Recorded(external, "Out"), rack.Recorded(builtIn, "Out"));
}

/// The filter's output after a noise, in all voices, as bits.
std::vector<std::uint32_t> FilterRun(int voices, VectorUnit unit, std::size_t& vectorRows) {
  ExternalRack rack;
  rack.editor.plan.AllowVectors(unit);
  rack.editor.voices.ApplyVoiceCount(voices);
  Module& filter = AddExternal(rack, "Example Filter", kExamplesVendor);
  Module& source = rack.Add("S310 VCO");
  rack.Connect(source, "Saw", filter, "In");
  for (int voice = 0; voice < voices; ++voice) {
    PatchPoint& pitch = rack.Point(*source.GetVoiceModule(voice), "Pitch", kInputPoint);
    pitch.in = static_cast<float>(voice) * 0.01f;
  }
  rack.SetControl(filter, "Resonance", 0.8f);
  std::vector<std::uint32_t> bits;
  for (int block = 0; block < 20; ++block) {
    if (block == 7) rack.MoveControl(filter, "Cutoff", 0.9f);
    rack.RunBlock(block % 2 == 0 ? 64 : 23);
    vectorRows = rack.editor.plan.VectorRows();
    for (int voice = 0; voice < voices; ++voice) {
      const PatchPoint& out = rack.Point(*filter.GetVoiceModule(voice), "Out", kOutputPoint);
      bits.push_back(std::bit_cast<std::uint32_t>(static_cast<float>(out.out)));
      EXPECT_TRUE(std::isfinite(static_cast<float>(out.out)));
    }
  }
  return bits;
}

TEST(ExternalModules, RunTheirVoicesInVectorsWithTheSameBits) {
  for (const int voices : {3, 8, 16}) {
    std::size_t without = 0, with = 0;
    const auto single = FilterRun(voices, VectorUnit::kNone, without);
    EXPECT_EQ(FilterRun(voices, WidestVectorUnit(), with), single) << voices << " voices";
    EXPECT_EQ(without, 0u);
    EXPECT_GE(with, 2u) << "the oscillator's row and the filter's";
    EXPECT_NE(single.front(), single.back());
  }
}

TEST(ExternalModules, PlayWithoutAllocation) {
  ExternalRack rack;
  rack.editor.voices.ApplyVoiceCount(16);
  rack.host.keepsSentEvents = false;
  rack.AddProbe();
  AddExternal(rack, "Example Filter", kExamplesVendor);
  AddExternal(rack, "Example Drawn Wave", kExamplesVendor);
  rack.SendEvent(0, {0x90, 61, 100});
  rack.RunBlock(64);
  float left[64], right[64];
  float* outputs[kDawOutputs] = {left, right};
  VstMidiEvent note{kVstMidiType, sizeof note, 5, 0, 0, 0, {'\x90', 60, 100, 0}, 0, 0, 0, 0};
  VstEventBlock<2> events;
  events.numEvents = 1;
  events.events[0] = reinterpret_cast<VstEvent*>(&note);
  const AllocationTrap trap;
  rack.engine.processEvents(events.Header());
  rack.engine.processReplacing(nullptr, outputs, 64);
  EXPECT_EQ(trap.Count(), 0);
}

TEST(ExternalModules, ShowAPictureOfTheirOwnScaledToThePanel) {
  const LibraryFolder folder;
  folder.Add("in_order", Ini("Amplifier", {kProbe}));
  COffscreenContext own(10, 20);
  own.setFillColor(CColor{200, 10, 20});
  own.fillRect(CRect(0, 0, 10, 20));
  ASSERT_TRUE(own.writePng(folder.Path() + "probe.png"));
  ExternalRack rack;
  ExternalModules modules;
  modules.ScanModuleLibraries(folder.Path());
  ModuleFailure failure = ModuleFailure::kNone;
  Module* probe = modules.LoadExternalModule(*modules.Find(kProbe, kTestVendor), nullptr,
                                             rack.editor.hostTable, 0, failure);
  ASSERT_NE(probe, nullptr);
  rack.editor.AdoptModule(probe);
  COffscreenContext picture(static_cast<int>(probe->getWidth()),
                            static_cast<int>(probe->getHeight()));
  probe->drawRect(&picture, probe->getViewSize());
  for (const int y : {20, static_cast<int>(probe->getHeight()) - 20}) {
    EXPECT_EQ(picture.getPixel(4, y), (CColor{200, 10, 20}));
  }
  rack.editor.RemoveAllModules();
}

/// Draws a module of a library in a window at 200 %, once its panel is there in that resolution.
struct ZoomedPanel {
  explicit ZoomedPanel(const LibraryFolder& folder) {
    rig.editor.externalModules.ScanModuleLibraries(folder.Path());
    module = &AddExternal(rig.rack, kProbe, kTestVendor);
    rig.Place(*module, 0, 0);
    rig.window.Zoom().SetPercent(200);
    Draw();
    const auto images = SharpImages::Existing();
    for (int i = 0; i < 5000 && !images->IsIdle(); ++i) {
      rig.editor.Idle();
      std::this_thread::sleep_for(std::chrono::milliseconds(2));
    }
    Draw();
  }
  void Draw() {
    picture.emplace(static_cast<int>(module->getWidth()) * 2,
                    static_cast<int>(module->getHeight()) * 2, 2.0);
    picture->pushOffset(CPoint() - module->getViewSize().getTopLeft());
    module->drawRect(&*picture, module->getViewSize());
    picture->popOffset();
  }

  WindowRig rig;
  Module* module;
  std::optional<COffscreenContext> picture;
};

TEST(ExternalModules, ShowPanelsInTheResolutionOfTheZoom) {
  const LibraryFolder folder;
  folder.Add("in_order", Ini("Amplifier", {kProbe}));
  const CColor thin{10, 200, 30}, wide{60, 70, 90};
  static std::vector<double> scales;
  scales.clear();
  UsePanelPlanner([](const Module& module, Category, const std::string&) -> PicturePainter {
    return [width = module.getWidth(), height = module.getHeight()](double pixelScale) {
      scales.push_back(pixelScale);
      return SharedPointer<CBitmap>::Adopt(
          new CBitmap(static_cast<int>(width * pixelScale), static_cast<int>(height * pixelScale)));
    };
  });
  { const ZoomedPanel painted(folder); }
  UsePanelPlanner(nullptr);
  EXPECT_EQ(scales, (std::vector<double>{1, 2}));

  // Of a file every pixel is there that the zoom has room for.
  const int width = 4 * panelUnitWidth * 2;
  COffscreenContext own(width, panelHeight * 2);
  for (int x = 0; x < width; ++x) {
    own.setFillColor(x % 2 == 0 ? thin : wide);
    own.fillRect(CRect(x, 0, x + 1, panelHeight * 2));
  }
  ASSERT_TRUE(own.writePng(folder.Path() + "probe.png"));
  const ZoomedPanel zoomed(folder);
  for (const int x : {4, 5, 6, 7, width - 2, width - 1}) {
    EXPECT_EQ(zoomed.picture->getPixel(x, panelHeight), x % 2 == 0 ? thin : wide) << x;
  }
}

TEST(ExternalModules, DrawOnTheirDisplaysAndTakeTheMouse) {
  WindowRig rig;
  rig.editor.externalModules.AddLibrary(SdkLibrary("examples/drawn_wave"));
  Module* wave = rig.editor.AddModule("Example Drawn Wave", kExamplesVendor);
  ASSERT_NE(wave, nullptr);
  rig.Place(*wave, 0, 0);
  const CView* display = nullptr;
  for (const CView* view : wave->children()) {
    const auto* control = dynamic_cast<const CControl*>(view);
    if (control && std::string(control->role) == "Wave") display = view;
  }
  ASSERT_NE(display, nullptr);
  rig.DrawAll();
  const std::vector<std::byte> before = rig.rack.SavedPreset(*wave);
  const CPoint middle = rig.Middle(*display);
  const CPoint low(middle.x + 20, middle.y + 30);
  const CColor dark = rig.Picture().getPixel(static_cast<int>(low.x), static_cast<int>(low.y));
  rig.editor.history.Clear();
  rig.editor.commands.AddRow();
  rig.editor.history.Settle();
  rig.Drag(low, CPoint(low.x + 10, low.y));
  rig.editor.Idle();
  rig.DrawDirty();
  EXPECT_NE(rig.rack.SavedPreset(*wave), before) << "the wave has changed";
  const CPoint drawn(low.x + 5, low.y);
  bool isLit = false;
  for (int dy = -2; dy <= 2; ++dy) {
    const CColor pixel =
        rig.Picture().getPixel(static_cast<int>(drawn.x), static_cast<int>(drawn.y) + dy);
    isLit |= pixel.red > dark.red + 60;
  }
  EXPECT_TRUE(isLit) << "the line is drawn where the mouse went";
  // One step of the history, apart from the one before.
  const std::vector<std::byte> after = rig.rack.SavedPreset(*wave);
  rig.editor.history.Undo();
  EXPECT_EQ(rig.rack.SavedPreset(*wave), before);
  EXPECT_TRUE(rig.editor.history.CanUndo()) << "the new row is a step of its own";
  rig.editor.history.Redo();
  EXPECT_EQ(rig.rack.SavedPreset(*wave), after);
  EXPECT_FALSE(rig.editor.history.CanRedo());
}

}  // namespace
}  // namespace halveron::testing
