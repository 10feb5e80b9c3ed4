// The rack in a real window, in a host's, by a real mouse and keyboard.
#include <gtest/gtest.h>

#include <algorithm>
#include <chrono>
#include <cmath>
#include <filesystem>

#include "editor/value_bubble.h"
#include "framework/control_scale.h"
#include "media/midi_file_writer.h"
#include "modules/midi/SD30MIDIRecorder.h"
#include "tests/modules/midi/note_streams.h"
#include "tests/support/display/test_display.h"
#include "tests/support/scratch_folder.h"
#include "tests/support/window_rig.h"

namespace halveron {
namespace {

namespace fs = std::filesystem;

/// A host's window at a corner of the screen, and the plug-in's editor in it.
class WindowOnDisplay : public ::testing::Test {
 protected:
  static constexpr int kLeft = 20;
  static constexpr int kTop = 30;

  void SetUp() override {
    HALVERON_NEEDS_DISPLAY(found);
    display = found;
    fs::create_directories(folder);
    rack.editor.presetsFolder = folder.string() + "/";
    rack.editor.presets.SetFolder(folder.string() + "/");
    ERect* rect = nullptr;
    Call(effEditGetRect, &rect);
    ASSERT_NE(rect, nullptr);
    parent = display->MakeWindow(kLeft, kTop, rect->right, rect->bottom);
    Open();
  }
  void TearDown() override {
    if (!display) return;
    Call(effEditClose);
    display->DestroyWindow(parent);
  }

  std::intptr_t Call(int opcode, void* ptr = nullptr) {
    return rack.engine.dispatcher(opcode, 0, 0, ptr, 0.0f);
  }
  void Open() {
    ASSERT_EQ(Call(effEditOpen, reinterpret_cast<void*>(parent)), 1);
    Settle();
  }
  RackWindow& Window() { return *rack.editor.Window(); }
  void Settle() {
    for (int i = 0; i < 12; ++i) {
      Call(effEditIdle);
      Window().Frame().waitForEvents(0.005);
    }
  }
  bool Until(const std::function<bool()>& done) {
    return TestDisplay::PumpUntil([this] { Call(effEditIdle); }, done);
  }
  void MoveTo(const CPoint& where) {
    display->MoveMouse(kLeft + static_cast<int>(where.x), kTop + static_cast<int>(where.y));
    Settle();
  }
  void Click(const CPoint& where, int button = 1) {
    MoveTo(where);
    display->Press(button);
    Settle();
    display->Release(button);
    Settle();
  }
  void Drag(const CPoint& from, const CPoint& to) {
    MoveTo(from);
    display->Press();
    Settle();
    MoveTo(CPoint((from.x + to.x) / 2, (from.y + to.y) / 2));
    MoveTo(to);
    display->Release();
    Settle();
  }
  CPoint Middle(const CView& view) const {
    CPoint point = view.getViewSize().getCenter();
    return view.localToFrame(point);
  }
  CPoint Cell(int column, int row) {
    const RackGeometry& grid = Window().Geometry();
    return grid.origin + CPoint(column * grid.columnWidth, row * grid.rowHeight);
  }
  PatchPoint& Point(const char* module, const char* role, int type) {
    for (Module* m : rack.editor.modules[0]) {
      if (std::string(m->GetName()) == module) return rack.Point(*m, role, type);
    }
    throw std::runtime_error(std::string("no ") + module);
  }
  /// From the bar's menu, found by typing, to a place in the rack.
  void AddModule(const char* typed, int column, int row) {
    Click(Middle(*Window().Bar().moduleMenu));
    ASSERT_TRUE(Until([&] { return Window().OpenMenu() != nullptr; }));
    Settle();
    display->TypeText(typed);
    Settle();
    display->TypeKey("Return");
    ASSERT_TRUE(Until([&] { return Window().IsInserting(); }));
    Click(Cell(column, row) + CPoint(60, 12));
    EXPECT_FALSE(Window().IsInserting());
  }
  float PeakOfABlock() {
    constexpr int kFrames = 2048;
    rack.Run(kFrames);
    float peak = 0.0f;
    for (float sample : rack.output(0)) peak = std::max(peak, std::abs(sample));
    return peak;
  }

  testing::TestRack rack;
  TestDisplay* display = nullptr;
  TestDisplay::WindowId parent = 0;
  const testing::ScratchFolder scratch;
  const fs::path folder = scratch.At("Presets");
};

TEST_F(WindowOnDisplay, APatchIsMadeHeardSavedAndLoadedByHand) {
  AddModule("s310", 10, 0);
  AddModule("sa02", 40, 1);
  ASSERT_EQ(rack.editor.ModuleCount(), 2);
  EXPECT_EQ(PeakOfABlock(), 0.0f);
  Drag(Middle(Point("S310 VCO", "Saw", kOutputPoint)),
       Middle(Point("SA02 2 DAW", "Left", kInputPoint)));
  ASSERT_EQ(rack.editor.cables.visibleCableCount, 1);
  EXPECT_GT(PeakOfABlock(), 0.01f) << "it sounds";

  Click(Middle(*Window().Bar().mainMenu));
  display->TypeText("save as");
  Settle();
  display->TypeKey("Return");
  Settle();
  display->TypeText("by hand");
  Settle();
  display->TypeKey("Return");
  const fs::path file = folder / "by hand.hvp";
  ASSERT_TRUE(Until([&] { return fs::exists(file); }));
  EXPECT_EQ(Window().Bar().Screen().ShownText(), "by hand");

  rack.editor.RemoveAllModules();
  rack.editor.presets.Refresh();
  Click(Middle(*Window().Bar().presetNext));
  EXPECT_EQ(rack.editor.ModuleCount(), 2);
  EXPECT_EQ(rack.editor.cables.visibleCableCount, 1);
  EXPECT_GT(PeakOfABlock(), 0.01f);
}

TEST_F(WindowOnDisplay, ShowsWhatTheRackDoesWhileItIsOpen) {
  const auto id = reinterpret_cast<TestDisplay::WindowId>(Window().Frame().getWindowHandle());
  const CPoint spot = Cell(30, 0) + CPoint(40, 60);
  const auto colour = [&] {
    return display->PixelAt(id, static_cast<int>(spot.x), static_cast<int>(spot.y));
  };
  const std::uint32_t before = colour();
  Module* module = rack.editor.AddModule("S310 VCO", kBuiltInVendor);
  const RackGeometry& grid = Window().Geometry();
  Window().Rack().MoveModule(*module, CPoint(30 * grid.columnWidth, 0));
  EXPECT_TRUE(Until([&] { return colour() != before; }));
  rack.editor.RemoveAllModules();
  EXPECT_TRUE(Until([&] { return colour() == before; }));
}

TEST_F(WindowOnDisplay, ARecorderTakesAndGivesMidiFilesByHand) {
  media::MidiFile song;
  song.tempos.push_back({0.0, 0.0, 120.0, 4, 4});
  song.events = {{0.0, 0.0, {0x90, 60, 100}},
                 {0.01, 0.02, {0x90, 72, 100}},
                 {0.2, 0.4, {0x80, 60, 64}},
                 {8.0, 16.0, {0x80, 72, 64}}};
  song.seconds = 8.0;
  song.quarters = 16.0;
  media::WriteMidiFile(scratch.At("song.mid"), song);
  AddModule("sd30", 10, 0);
  Module& recorder = *rack.editor.modules[0][0];
  const auto click = [&](const char* role) { Click(Middle(rack.Control(recorder, role))); };
  const auto message = [&] {
    return std::string(static_cast<SD30MIDIRecorder&>(recorder).Message());
  };
  const auto id = reinterpret_cast<TestDisplay::WindowId>(Window().Frame().getWindowHandle());
  const CPoint panel = Cell(10, 0) + CPoint(60, 12);
  const auto drop = [&](const std::string& name) {
    return display->DropFiles(id, static_cast<int>(panel.x), static_cast<int>(panel.y),
                              "file://" + scratch.At(name) + "\r\n", [this] { Call(effEditIdle); });
  };
  scratch.Write("notes.txt", "no song");
  EXPECT_FALSE(drop("notes.txt"));
  EXPECT_EQ(message(), "0 events");
  ASSERT_TRUE(Window().Dialog().IsShown()) << "says what can be dropped";
  display->TypeKey("Escape");
  ASSERT_TRUE(Until([&] { return !Window().Dialog().IsShown(); }));
  EXPECT_TRUE(drop("song.mid"));
  EXPECT_TRUE(Until([&] { return message() == "4 events"; }));

  // A stop within a note ends it.
  rack.Tap(recorder, "MIDI out");
  rack.Run(64);
  click("Play");
  rack.Run(24000);
  click("Stop");
  rack.Run(256);
  testing::Listener listener;
  for (const MidiCableWord word : rack.RecordedWords(recorder, "MIDI out")) listener.Hear(word);
  EXPECT_EQ(listener.began, 2);
  EXPECT_EQ(listener.Sounding(), 0);

  rack.editor.files.remember("MIDI", scratch.At(""));
  click("Export");
  display->TypeText("mine");
  Settle();
  display->TypeKey("Return");
  ASSERT_TRUE(Until([&] { return fs::exists(scratch.At("mine.mid")); }));
  EXPECT_EQ(rack.Control(recorder, "Export").getValue(), 0.0f) << "the dialog got the release";
  EXPECT_EQ(media::ReadMidiFile(scratch.At("mine.mid")).events.size(), 4u);
  click("Clear");
  ASSERT_TRUE(Until([&] { return message() == "0 events"; }));
  click("Import");
  display->TypeText("mine");
  Settle();
  display->TypeKey("Return");
  EXPECT_TRUE(Until([&] { return message() == "4 events"; }));
}

TEST_F(WindowOnDisplay, GrowsWithMoreRows) {
  const auto id = reinterpret_cast<TestDisplay::WindowId>(Window().Frame().getWindowHandle());
  rack.editor.commands.ChangeViewableRows(3);
  Settle();
  int height = 0;
  ASSERT_TRUE(display->GetGeometry(id, nullptr, nullptr, nullptr, &height));
  EXPECT_EQ(height, static_cast<int>(Window().Geometry().WindowRect().bottom));
  EXPECT_TRUE(Window().Dialog().IsShown()) << "this host resizes nothing, which the dialog reports";
  EXPECT_EQ(Window().Dialog().Request().title, "Window Height");
}

TEST_F(WindowOnDisplay, OffersHeightsThatTheScreenHasRoomFor) {
  Click(Middle(*Window().Bar().mainMenu));
  ASSERT_TRUE(Until([&] { return Window().OpenMenu() != nullptr; }));
  SynOptionMenu* heights = nullptr;
  for (int i = 0; i < Window().OpenMenu()->getNbEntries(); ++i) {
    if (Window().OpenMenu()->TitleAt(i) == std::string("Window Height")) {
      heights = Window().OpenMenu()->SubmenuAt(i);
    }
  }
  ASSERT_NE(heights, nullptr);
  const RackGeometry& grid = Window().Geometry();
  constexpr int kScreenHeight = 1024;
  for (int rows = 2; rows <= 10; ++rows) {
    EXPECT_EQ(heights->getEntry(rows - 2)->isEnabled(),
              grid.origin.y + rows * grid.rowHeight <= kScreenHeight)
        << rows;
  }
}

TEST_F(WindowOnDisplay, OpensAndClosesAHundredTimes) {
  rack.editor.AddModule("S310 VCO", kBuiltInVendor);
  for (int i = 0; i < 100; ++i) {
    Call(effEditClose);
    EXPECT_TRUE(display->ChildrenOf(parent).empty());
    ASSERT_EQ(Call(effEditOpen, reinterpret_cast<void*>(parent)), 1) << "time " << i;
    Call(effEditIdle);
  }
  EXPECT_EQ(display->ChildrenOf(parent).size(), 1u);
  EXPECT_EQ(rack.editor.ModuleCount(), 1);
}

TEST_F(WindowOnDisplay, KnobsTakeTypedValuesAndControllers) {
  Module& filter = rack.Add("S201 VCF");
  auto& cutoff = dynamic_cast<ModuleKnob&>(rack.Control(filter, "Cutoff"));
  MoveTo(Middle(cutoff));
  EXPECT_TRUE(Until([&] { return Window().Bubble().Shown() == &cutoff; }));
  for (int i = 0; i < 2; ++i) {
    display->Press();
    display->Release();
  }
  ASSERT_TRUE(Until([&] { return Window().Dialog().IsShown(); }));
  Settle();
  display->TypeText("440");
  display->TypeKey("Return");
  EXPECT_TRUE(Until([&] { return !Window().Dialog().IsShown(); }));
  EXPECT_EQ(ValueText(cutoff), "440 Hz");

  Window().BeginLearning(cutoff);
  rack.SendEvent(0, {0xB0, 74, 1});
  rack.RunBlock(64);
  EXPECT_TRUE(Until([&] { return rack.editor.midi.Find(cutoff) != nullptr; }));
  rack.SendEvent(0, {0xB0, 74, 127});
  rack.RunBlock(64);
  EXPECT_EQ(cutoff.getValue(), 1.0f);
}

TEST_F(WindowOnDisplay, ModulesGoThroughTheClipboardOfTheSystem) {
  AddModule("s310", 2, 0);
  const auto pump = [this] { Call(effEditIdle); };
  const Module& vco = *rack.editor.modules[0][0];
  CPoint panel = vco.getViewSize().getTopLeft() + CPoint(8, 20);
  Click(vco.localToFrame(panel), 3);
  ASSERT_TRUE(Until([&] { return Window().OpenMenu() != nullptr; }));
  Settle();
  display->TypeText("copy");
  Settle();
  display->TypeKey("Return");
  ASSERT_TRUE(Until([&] { return rack.editor.moduleClipboard.HasData(); }));
  const std::string patch = display->ReadClipboard(pump);
  EXPECT_NE(patch.find("\"name\": \"S310 VCO\""), std::string::npos) << patch;

  // Another program's letter is newer.
  bool hasAsked = false;
  const auto begun = std::chrono::steady_clock::now();
  const auto askOnce = [&] {
    Call(effEditIdle);
    if (hasAsked || std::chrono::steady_clock::now() - begun < std::chrono::milliseconds(300))
      return;
    hasAsked = true;
    rack.editor.commands.PasteModule();
  };
  EXPECT_TRUE(display->OfferClipboard(
      R"(Try {"halveron": 1, "modules": [{"id": "a", "name": "S404 VCA"}]})", askOnce,
      [&] { return rack.editor.modules[0].size() == 2; }));
  ASSERT_EQ(rack.editor.modules[0].size(), 2u);
  EXPECT_STREQ(rack.editor.modules[0][1]->GetName(), "S404 VCA");
  Window().LandInsertion();

  rack.editor.commands.CopyModule(*rack.editor.modules[0][0]);
  Call(effEditClose);
  EXPECT_NE(display->ReadClipboard([] {}).find("\"name\": \"S310 VCO\""), std::string::npos)
      << "it outlives the window";
  Open();
}

}  // namespace
}  // namespace halveron
