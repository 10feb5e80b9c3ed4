#include "editor/preset_library.h"

#include <gtest/gtest.h>

#include <cstring>
#include <filesystem>
#include <fstream>
#include <set>

#include "editor/preset_commands.h"
#include "platform/whole_file.h"
#include "presets/preset_format.h"
#include "presets/preset_rack.h"
#include "tests/support/scratch_folder.h"
#include "tests/support/window_rig.h"

namespace halveron {
namespace {

namespace fs = std::filesystem;

/// A presets folder: Bass/{Deep, round}, Bass/Old/{Relic}, Empty/, .hidden/{Secret}, Pad, zebra.
class PresetFolder : public ::testing::Test {
 protected:
  PresetFolder() {
    for (const char* file : {"zebra.hvp", "Pad.hvp", "Bass/round.hvp", "Bass/Deep.hvp",
                             "Bass/Old/Relic.hvp", ".hidden/Secret.hvp", "notes.txt"}) {
      Put(file);
    }
    fs::create_directories(folder / "Empty");
  }

  void Put(const std::string& file) const {
    fs::create_directories((folder / file).parent_path());
    std::ofstream(folder / file) << "x";
  }
  std::string PathOf(const std::string& file) const { return (folder / file).string(); }
  std::string Root() const { return folder.string() + "/"; }
  static std::vector<std::string> TitlesOf(const SynOptionMenu& menu) {
    std::vector<std::string> titles;
    for (int i = 0; i < menu.getNbEntries(); ++i) titles.emplace_back(menu.TitleAt(i));
    return titles;
  }

  const testing::ScratchFolder scratch;
  const fs::path folder = scratch.At("Presets");
};

TEST_F(PresetFolder, IsAMenuInSortedOrder) {
  PresetLibrary library(Root());
  SynOptionMenu& menu = library.PresetMenu();
  EXPECT_EQ(TitlesOf(menu), (std::vector<std::string>{"Bass", "Empty", "Pad", "zebra"}));
  ASSERT_NE(menu.SubmenuAt(0), nullptr);
  EXPECT_EQ(TitlesOf(*menu.SubmenuAt(0)), (std::vector<std::string>{"Old", "Deep", "round"}));
  EXPECT_EQ(library.BuildPresetPath(*menu.SubmenuAt(0), 2), PathOf("Bass/round.hvp"));
  EXPECT_EQ(PresetLibrary("/nowhere/at/all/").PresetMenu().getNbEntries(), 0);
}

TEST_F(PresetFolder, SortsNumbersByValueAndTakesAnyCaseOfTheExtension) {
  for (const char* file : {"Lead 10.HVP", "Lead 2.hvp", "Lead 1.Hvp", "lead 3.hvp", "x.hvpx"}) {
    Put(file);
  }
  PresetLibrary library(Root());
  EXPECT_EQ(TitlesOf(library.PresetMenu()),
            (std::vector<std::string>{"Bass", "Empty", "Lead 1", "Lead 2", "lead 3", "Lead 10",
                                      "Pad", "zebra"}));
  ASSERT_TRUE(library.SelectPreset(PathOf("lead 3.hvp"), false));
  ASSERT_TRUE(library.Step(1));
  EXPECT_EQ(library.CurrentPath(), PathOf("Lead 10.HVP")) << "the file as it is called";
  EXPECT_TRUE(library.SelectPreset(PathOf("Lead 10.HVP"), false));
}

TEST_F(PresetFolder, StepsThroughAllFoldersAndStopsAtTheEnds) {
  PresetLibrary library(Root());
  std::vector<std::string> walked;
  while (library.Step(1)) walked.push_back(library.CurrentTitle());
  EXPECT_EQ(walked, (std::vector<std::string>{"Relic", "Deep", "round", "Pad", "zebra"}));
  EXPECT_EQ(library.CurrentTitle(), "zebra") << "there is no way round";
  walked.clear();
  while (library.Step(-1)) walked.push_back(library.CurrentTitle());
  EXPECT_EQ(walked, (std::vector<std::string>{"Pad", "round", "Deep", "Relic"}));

  const SynOptionMenu& menu = library.PresetMenu();
  EXPECT_TRUE(menu.isCheckEntry(0)) << "the whole path is marked";
  EXPECT_TRUE(menu.SubmenuAt(0)->isCheckEntry(0));
  EXPECT_FALSE(menu.isCheckEntry(2));
}

TEST_F(PresetFolder, StepsOnFromTheLastPlaceWhenNothingIsSelected) {
  PresetLibrary library(Root());
  ASSERT_TRUE(library.SelectPreset(PathOf("Bass/Deep.hvp"), false));
  library.ClearSelection();
  EXPECT_FALSE(library.HasSelection());
  EXPECT_FALSE(library.PresetMenu().isCheckEntry(0));
  EXPECT_TRUE(library.Step(1));
  EXPECT_EQ(library.CurrentTitle(), "round");
}

TEST_F(PresetFolder, FindsAndAddsWhatWasSaved) {
  PresetLibrary library(Root());
  EXPECT_TRUE(library.SelectPreset(PathOf("Bass/Deep.hvp"), false));
  EXPECT_EQ(library.CurrentPath(), PathOf("Bass/Deep.hvp"));
  EXPECT_FALSE(library.SelectPreset("/elsewhere/Deep.hvp", true)) << "it has no place in the menu";
  EXPECT_FALSE(library.SelectPreset(PathOf("Lead/New.v2.hvp"), false));
  EXPECT_EQ(library.CurrentTitle(), "Deep") << "what was selected stays so";
  EXPECT_TRUE(library.SelectPreset(PathOf("Lead/New.v2.hvp"), true));
  EXPECT_EQ(library.CurrentTitle(), "New.v2");
  EXPECT_EQ(library.CurrentPath(), PathOf("Lead/New.v2.hvp"));

  // In its place at once, with marks and choices that go on with their presets.
  SynOptionMenu& menu = library.PresetMenu();
  EXPECT_EQ(TitlesOf(menu), (std::vector<std::string>{"Bass", "Empty", "Lead", "Pad", "zebra"}));
  EXPECT_TRUE(library.SelectPreset(PathOf("Pad.hvp"), false));
  EXPECT_TRUE(library.SelectPreset(PathOf("Guitars/Nylon.hvp"), true));
  EXPECT_TRUE(library.SelectPreset(PathOf("Pad 2.hvp"), true));
  EXPECT_EQ(TitlesOf(menu), (std::vector<std::string>{"Bass", "Empty", "Guitars", "Lead", "Pad",
                                                      "Pad 2", "zebra"}));
  for (int i = 0; i < menu.getNbEntries(); ++i) EXPECT_EQ(menu.isCheckEntry(i), i == 5) << i;
  EXPECT_EQ(library.BuildPresetPath(*menu.SubmenuAt(3), 0), PathOf("Lead/New.v2.hvp"));
  static_cast<SynMenuItem*>(menu.getEntry(6))->action();
  EXPECT_EQ(library.CurrentPath(), PathOf("zebra.hvp"));

  Put("Lead/New.v2.hvp");
  Put("Another.hvp");
  library.Refresh();
  EXPECT_FALSE(library.HasSelection());
  EXPECT_EQ(TitlesOf(library.PresetMenu()),
            (std::vector<std::string>{"Bass", "Empty", "Lead", "Another", "Pad", "zebra"}));
  EXPECT_TRUE(library.Step(1));
  EXPECT_EQ(library.CurrentTitle(), "Relic") << "from the first on";
}

TEST(PresetNames, AreCutAtTheFirstDotButForVersions) {
  EXPECT_EQ(PresetTitle("/a/b.c/Bass.hvp"), "Bass");
  EXPECT_EQ(PresetTitle("Bass.new.hvp"), "Bass");
  EXPECT_EQ(PresetTitle("Bass.v3.hvp"), "Bass.v3");
  EXPECT_EQ(PresetTitle("Bass.V12.old.hvp"), "Bass.V12");
  EXPECT_EQ(PresetTitle(""), "");
}

TEST(PresetNames, CountVersionsUp) {
  std::set<std::string> files;
  const auto next = [&](const std::string& path) {
    return NextVersionPath(path, [&](const std::string& p) { return files.count(p) > 0; })
        .value_or("none");
  };
  EXPECT_EQ(next("/p/a.hvp"), "/p/a.v2.hvp");
  EXPECT_EQ(next("/p/a.v9.hvp"), "/p/a.v10.hvp");
  EXPECT_EQ(next("/p.q/a.V9.hvp"), "/p.q/a.V10.hvp");
  EXPECT_EQ(next("/p/a.v1000.hvp"), "/p/a.v2.hvp");
  EXPECT_EQ(next("/p/a.v-7.hvp"), "/p/a.v2.hvp");
  EXPECT_EQ(next("/p/a.new.hvp"), "/p/a.v2.hvp");
  EXPECT_EQ(next("/p/a"), "/p/a.v2.hvp");
  files = {"/p/a.v2.hvp", "/p/a.v3.hvp"};
  EXPECT_EQ(next("/p/a.hvp"), "/p/a.v4.hvp");
  for (int i = 2; i <= 1000; ++i) files.insert("/p/a.v" + std::to_string(i) + ".hvp");
  EXPECT_EQ(next("/p/a.hvp"), "none");
}

TEST_F(PresetFolder, PlaysWhatTheScreenShows) {
  testing::WindowRig rig;
  SynEditor& editor = rig.editor;
  editor.presetsFolder = Root();
  editor.presets.SetFolder(Root());
  PresetScreen& screen = rig.window.Bar().Screen();

  rig.Add("S310 VCO", 3, 1);
  editor.author = "Ann Author";
  ASSERT_TRUE(editor.SavePreset(PathOf("Pad.hvp")));
  editor.RemoveAllModules();
  editor.author = "B";
  ASSERT_TRUE(editor.SavePreset(PathOf("Bass/Deep.hvp")));
  editor.UpdatePresetDisplay(true);
  EXPECT_EQ(screen.ShownText(), "Deep");
  rig.frame.advanceTime(6.0);
  EXPECT_EQ(screen.ShownText(), "Deep") << "an author of one letter is not shown";

  rig.Click(rig.Middle(screen));
  rig.Choose({"Pad"});
  EXPECT_EQ(editor.ModuleCount(), 1);
  EXPECT_EQ(editor.presetPath, PathOf("Pad.hvp"));
  EXPECT_EQ(screen.ShownText(), "Pad");
  rig.frame.advanceTime(5.2);
  EXPECT_EQ(screen.ShownText(), "Ann Author");
  rig.frame.advanceTime(5.0);
  EXPECT_EQ(screen.ShownText(), "Pad");

  rig.Click(rig.Middle(*rig.window.Bar().presetNext));
  EXPECT_EQ(screen.ShownText(), "zebra") << "what was chosen, though it is no preset";
  EXPECT_TRUE(rig.window.Dialog().IsShown());
  EXPECT_EQ(editor.ModuleCount(), 1) << "and the rack stays";
  rig.Key(kKeyReturn);

  // The host's state names the preset that it was made from.
  ASSERT_TRUE(editor.LoadPreset(PathOf("Bass/Deep.hvp")));
  const auto chunk = editor.SaveChunk();
  const std::vector<std::byte> kept(chunk.begin(), chunk.end());
  editor.presets.ClearSelection();
  ASSERT_TRUE(editor.LoadChunk(kept));
  EXPECT_EQ(screen.ShownText(), "Deep");
  EXPECT_TRUE(editor.presets.PresetMenu().isCheckEntry(0));
}

TEST_F(PresetFolder, SavesOverNothingThatTheRackDoesNotHold) {
  testing::WindowRig rig;
  SynEditor& editor = rig.editor;
  editor.presetsFolder = Root();
  editor.presets.SetFolder(Root());
  rig.Add("S310 VCO", 3, 1);
  ASSERT_TRUE(editor.SavePreset(PathOf("Pad.hvp")));
  const PresetDocument good = CapturePreset(editor);
  PresetDocument unknown = good;
  unknown.modules[0].name = "S000 Nothing";
  std::vector<std::byte> later = WritePreset(good, PresetForm::kFile);
  const std::int32_t version = kPresetVersion + 1;
  std::memcpy(later.data(), &version, sizeof version);
  platform::WriteWholeFile(PathOf("Bass/Deep.hvp"), WritePreset(unknown, PresetForm::kFile));
  platform::WriteWholeFile(PathOf("Bass/round.hvp"), later);

  const auto asksForAName = [&](auto&& save) {
    if (rig.window.Dialog().IsShown()) rig.Key(kKeyReturn);
    const CView* before = rig.frame.getModalView();
    save();
    const bool asks = rig.frame.getModalView() != before;
    if (asks) rig.Key(kKeyEscape);
    return asks;
  };
  PresetCommands& commands = editor.presetCommands;
  for (const char* name : {"Bass/Deep.hvp", "Bass/round.hvp", "Pad.v2.hvp", "zebra.hvp"}) {
    SCOPED_TRACE(name);
    ASSERT_TRUE(editor.LoadPreset(PathOf("Pad.hvp")));
    const auto file =
        fs::exists(PathOf(name)) ? platform::ReadWholeFile(PathOf(name)) : std::vector<std::byte>();
    EXPECT_FALSE(commands.Load(PathOf(name)));
    EXPECT_EQ(editor.presetPath, "");
    EXPECT_TRUE(rig.window.Dialog().IsShown());
    EXPECT_TRUE(asksForAName([&] { commands.Save(); }));
    EXPECT_TRUE(asksForAName([&] { commands.SaveAsNewVersion(); }));
    if (!file.empty()) {
      EXPECT_EQ(platform::ReadWholeFile(PathOf(name)), file);
    }
    EXPECT_FALSE(fs::exists(PathOf(".v2.hvp")));
  }
  // By the buttons of the bar, too, and after a host's state.
  ASSERT_TRUE(editor.presets.SelectPreset(PathOf("Bass/Deep.hvp"), false));
  commands.LoadSelected();
  EXPECT_EQ(rig.window.Bar().Screen().ShownText(), "Deep");
  EXPECT_TRUE(asksForAName([&] { commands.Save(); }));
  ASSERT_TRUE(editor.LoadPreset(PathOf("Pad.hvp")));
  const auto chunk = editor.SaveChunk();
  const std::vector<std::byte> kept(chunk.begin(), chunk.end());
  ASSERT_TRUE(editor.LoadChunk(kept));
  EXPECT_FALSE(editor.SavePreset("/no/such/folder/x.hvp"));
  EXPECT_FALSE(editor.LoadPreset("/no/such/file.hvp"));
  EXPECT_TRUE(editor.presetFromChunk) << "only success ends what the host's state began";
  EXPECT_TRUE(asksForAName([&] { commands.SaveAsNewVersion(); }));
  EXPECT_EQ(CapturePreset(editor), good);
}

TEST_F(PresetFolder, PlaysAPresetThatIsDroppedOnTheWindow) {
  testing::WindowRig rig;
  rig.Add("S310 VCO", 3, 1);
  ASSERT_TRUE(rig.editor.SavePreset(PathOf("Pad.hvp")));
  rig.editor.RemoveAllModules();
  const std::vector<std::string> files = {PathOf("notes.txt"), PathOf("Pad.hvp")};
  EXPECT_TRUE(rig.frame.onDrop(files, CPoint(500, 300)));
  EXPECT_EQ(rig.editor.ModuleCount(), 1);
  EXPECT_EQ(rig.window.Bar().Screen().ShownText(), "Pad");
  const std::vector<std::string> others = {PathOf("notes.txt")};
  EXPECT_FALSE(rig.frame.onDrop(others, CPoint(500, 300)));
  EXPECT_NE(rig.frame.getModalView(), nullptr) << "says what can be dropped";
}

TEST_F(PresetFolder, SavesNewVersionsBesideTheOld) {
  testing::WindowRig rig;
  rig.editor.presetsFolder = Root();
  rig.editor.presets.SetFolder(Root());
  ASSERT_TRUE(rig.editor.SavePreset(PathOf("Pad.hvp")));
  rig.editor.presetCommands.SaveAsNewVersion();
  EXPECT_TRUE(fs::exists(PathOf("Pad.v2.hvp")));
  EXPECT_EQ(rig.editor.presetPath, PathOf("Pad.v2.hvp"));
  EXPECT_EQ(rig.window.Bar().Screen().ShownText(), "Pad.v2");
}

}  // namespace
}  // namespace halveron
