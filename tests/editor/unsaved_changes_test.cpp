// Nothing is lost: the mark, the question, autosaves, versions.
#include "editor/unsaved_changes.h"

#include <gtest/gtest.h>

#include <algorithm>

#include "editor/preset_versions.h"
#include "gui/menu_popup.h"
#include "platform/whole_file.h"
#include "presets/preset_format.h"
#include "presets/preset_rack.h"
#include "tests/support/user_rig.h"
#include "tests/support/window_rig.h"

namespace halveron {
namespace {

namespace fs = std::filesystem;
using testing::ReadFile;
using testing::UserRig;

std::string Screen(UserRig::Instance& one) { return one.Window().Bar().Screen().ShownText(); }

TEST(UnsavedChanges, AreMarkedUntilTheyAreSavedOrUndone) {
  const UserRig user;
  const auto one = user.Start();
  SynEditor& editor = one->Editor();
  std::vector<std::string> titles;
  editor.unsaved.onTitle = [&](const std::string& title) { titles.push_back(title); };
  one->Change();
  EXPECT_EQ(Screen(*one), "Untitled *");
  ASSERT_TRUE(editor.SavePreset(user.Preset("Bass")));
  editor.UpdatePresetDisplay(true);
  EXPECT_EQ(Screen(*one), "Bass");
  one->Pass(0.1);
  one->Change();
  EXPECT_EQ(Screen(*one), "Bass *");
  editor.history.Undo();
  one->Pass(0.1);
  EXPECT_EQ(Screen(*one), "Bass");
  EXPECT_EQ(titles, (std::vector<std::string>{"Untitled * - Halveron", "Bass - Halveron",
                                              "Bass * - Halveron", "Bass - Halveron"}));
}

TEST(UnsavedChanges, AGestureThatIsUnderWayIsEndedAndCounted) {
  testing::WindowRig rig;
  const testing::ScratchFolder scratch;
  SynEditor& editor = rig.editor;
  const std::string path = scratch.At("a.hvp");
  const auto holdsTheRack = [&] {
    const PresetReadResult read = ReadPreset(platform::ReadWholeFile(path), PresetForm::kFile);
    return read.document && read.document->modules == CapturePreset(editor).modules &&
           read.document->cables == CapturePreset(editor).cables;
  };
  Module& vco = rig.Add("S310 VCO", 0, 0);
  Module& mixer = rig.Add("S102 Unity Mixer", 30, 0);
  editor.cables.ConnectCable(&rig.Out(vco, "Saw"), &rig.In(mixer, "In 1"), 1, -1);
  editor.history.Settle();
  auto& tune = rig.rack.Control(vco, "Fine tune");

  // Each gesture is begun, the rack is saved, and what would have ended the gesture comes.
  const std::pair<std::function<void()>, std::function<void()>> gestures[] = {
      {[&] { rig.Press(rig.Middle(rig.In(mixer, "In 1"))); }, [&] { rig.Key(kKeyEscape); }},
      {[&] { editor.commands.InsertModule("S404 VCA", kBuiltInVendor); },
       [&] { rig.Key(kKeyEscape); }},
      {[&] {
         rig.Press(rig.Middle(tune));
         rig.Move(rig.Middle(tune) - CPoint(0, 20), kLButton);
       },
       [&] {
         rig.Move(rig.Middle(tune) - CPoint(0, 60), kLButton);
         rig.Release(rig.Middle(tune) - CPoint(0, 60));
       }}};
  for (const auto& [begin, end] : gestures) {
    const std::size_t steps = editor.history.Steps();
    rig.Move(CPoint(500, 500));
    begin();
    ASSERT_TRUE(editor.SavePreset(path));
    end();
    editor.history.Settle();
    EXPECT_TRUE(holdsTheRack() || editor.unsaved.Exist());
    if (editor.history.Steps() == steps) continue;
    editor.history.Undo();
    EXPECT_TRUE(holdsTheRack() || editor.unsaved.Exist());
    editor.history.Redo();
  }

  // A control that is turned while a cable hangs on the keys.
  ASSERT_TRUE(editor.SavePreset(path));
  editor.unsaved.quit = [] {};
  rig.window.Keys().Set(&vco, &rig.Out(vco, "Saw"));
  rig.Key(kKeyReturn);
  rig.window.Keys().Set(&vco, &tune);
  rig.Type("+");
  bool isThrough = false;
  editor.unsaved.AskThen([&] { isThrough = true; });
  EXPECT_FALSE(isThrough) << "asks first";
  EXPECT_TRUE(rig.window.Dialog().IsShown());
}

class Question : public ::testing::Test {
 protected:
  Question() {
    one->BecomeProgram();
    EXPECT_TRUE(editor.SavePreset(user.Preset("Other")));
    one->Change();
    EXPECT_TRUE(editor.SavePreset(user.Preset("Bass")));
    editor.UpdatePresetDisplay(true);
    saved = ReadFile(user.Preset("Bass"));
  }
  void Ask() { editor.unsaved.AskThen(editor.unsaved.quit); }

  const UserRig user;
  const std::unique_ptr<UserRig::Instance> one = user.Start();
  SynEditor& editor = one->Editor();
  std::string saved;
};

TEST_F(Question, ComesOnlyWhereSomethingWouldBeLost) {
  Ask();
  EXPECT_EQ(one->quits, 1);
  one->Change();
  Ask();
  EXPECT_EQ(one->quits, 1);
  ASSERT_TRUE(one->Dialog().IsShown());
  Ask();
  EXPECT_TRUE(one->Dialog().IsShown()) << "asked twice, answered once";
  one->Dialog().Press(2);
  EXPECT_EQ(one->quits, 1);
  EXPECT_EQ(one->Frame().getModalView(), nullptr);
  Ask();
  one->Dialog().Press(0);
  EXPECT_EQ(one->quits, 2);
  EXPECT_NE(ReadFile(user.Preset("Bass")), saved);
  one->Change();
  Ask();
  one->Dialog().Press(1);
  EXPECT_EQ(one->quits, 3);
  // A host asks by itself.
  editor.unsaved.quit = nullptr;
  int calls = 0;
  editor.unsaved.AskThen([&] { ++calls; });
  EXPECT_EQ(calls, 1);
}

TEST_F(Question, ComesBeforeEveryWayToAnotherRack) {
  one->Change();
  const int rows = editor.rows;
  const std::vector<std::string> files = {user.Preset("Other")};
  const std::function<void()> ways[] = {
      [&] { editor.presetCommands.New(); }, [&] { editor.presetCommands.Open(); },
      [&] { editor.presetCommands.Step(1); },
      [&] {
        ASSERT_TRUE(editor.presets.SelectPreset(user.Preset("Other"), false));
        editor.presetCommands.LoadSelected();
      },
      [&] { EXPECT_TRUE(one->Frame().onDrop(files, CPoint(500, 300))); }};
  for (const auto& way : ways) {
    way();
    ASSERT_TRUE(one->Dialog().IsShown());
    one->Dialog().onKeyDown({0, kKeyEscape, {}});
    EXPECT_EQ(one->Frame().getModalView(), nullptr);
    EXPECT_EQ(editor.rows, rows);
    EXPECT_EQ(editor.presets.CurrentTitle(), std::string("Bass"));
  }
  editor.presetCommands.New();
  one->Dialog().Press(0);
  EXPECT_LT(editor.rows, rows);
  EXPECT_EQ(editor.presetPath, "");
  EXPECT_FALSE(editor.unsaved.Exist());
  editor.history.Undo();
  EXPECT_EQ(editor.presetPath, user.Preset("Bass"));
  EXPECT_FALSE(editor.unsaved.Exist()) << "it was saved";
}

TEST_F(Question, IsAnsweredWhenAnotherOneComes) {
  one->Change();
  ASSERT_TRUE(editor.presets.SelectPreset(user.Preset("Other"), false));
  editor.presetCommands.LoadSelected();
  ASSERT_TRUE(one->Dialog().IsShown());
  Ask();
  ASSERT_TRUE(one->Dialog().IsShown());
  EXPECT_EQ(editor.presets.CurrentTitle(), std::string("Bass")) << "the first counts as cancelled";
  one->Dialog().Press(2);
  EXPECT_EQ(one->Frame().getModalView(), nullptr);
}

TEST_F(Question, ComesBeforeAFactoryPresetIsReplaced) {
  fs::copy_file(user.Preset("Bass"), user.folders.FactoryPresets() + "Bass.hvp");
  one->Change();
  bool isSaved = true;
  editor.presetCommands.Save([&](bool done) { isSaved = done; });
  ASSERT_TRUE(one->Dialog().IsShown());
  one->Dialog().Press(2);
  EXPECT_FALSE(isSaved);
  EXPECT_EQ(ReadFile(user.Preset("Bass")), saved);
  editor.presetCommands.Save();
  one->Dialog().Press(1);
  EXPECT_NE(ReadFile(user.Preset("Bass")), saved);
  one->Change();
  editor.presetCommands.Save();
  EXPECT_FALSE(one->Dialog().IsShown()) << "it is the user's own now";
}

TEST_F(Question, VersionsOfAPresetComeBackAsChanges) {
  const PresetDocument before = CapturePreset(editor);
  one->Change();
  ASSERT_TRUE(editor.SavePreset(user.Preset("Bass")));
  const std::vector<PresetVersion> versions = ListVersions(user.Preset("Bass"));
  ASSERT_EQ(versions.size(), 1u);
  EXPECT_EQ(ReadFile(versions[0].path), saved);
  const SharedPointer<SynOptionMenu> menu = MakeVersionsMenu(editor);
  ASSERT_EQ(menu->getNbEntries(), 1);
  static_cast<SynMenuItem*>(menu->getEntry(0))->action();
  EXPECT_EQ(CapturePreset(editor), before);
  EXPECT_EQ(editor.presetPath, user.Preset("Bass"));
  EXPECT_TRUE(editor.unsaved.Exist());
  EXPECT_NE(ReadFile(user.Preset("Bass")), saved) << "until it is saved";
  editor.presets.Refresh();
  EXPECT_EQ(editor.presets.PresetMenu().getNbEntries(), 2) << "versions are no presets";
}

TEST(PresetVersions, AreTheLastTen) {
  const testing::ScratchFolder scratch;
  const std::string path = scratch.At("a.hvp");
  const auto start = fs::file_time_type::clock::now();
  EXPECT_TRUE(KeepVersion(path)) << "nothing to keep";
  for (int i = 0; i < 14; ++i) {
    scratch.Write("a.hvp", std::to_string(i));
    // Several within one second, and the last one restored from two years ago.
    fs::last_write_time(
        path, i == 13 ? start - 2 * kOldestVersion : start + std::chrono::milliseconds(300 * i));
    EXPECT_TRUE(KeepVersion(path));
    EXPECT_TRUE(KeepVersion(path));
  }
  const std::vector<PresetVersion> versions = ListVersions(path);
  ASSERT_EQ(versions.size(), kMostVersions);
  for (std::size_t i = 0; i < versions.size(); ++i) {
    EXPECT_EQ(ReadFile(versions[i].path), std::to_string(i < 9 ? 12 - i : 13));
  }
}

TEST(PresetVersions, AgeFromWhenTheyWereReplaced) {
  const testing::ScratchFolder scratch;
  const std::string path = scratch.Write("a.hvp", "original");
  const auto now = fs::file_time_type::clock::now();
  const auto contents = [&] {
    std::vector<std::string> texts;
    for (const PresetVersion& version : ListVersions(path)) texts.push_back(ReadFile(version.path));
    return texts;
  };
  fs::last_write_time(path, now - kOldestVersion - std::chrono::hours(24 * 30));
  EXPECT_TRUE(KeepVersion(path));
  scratch.Write("a.hvp", "second");
  EXPECT_TRUE(KeepVersion(path));
  EXPECT_EQ(contents(), (std::vector<std::string>{"second", "original"}));
  scratch.Write("a.hvp", "third");
  EXPECT_TRUE(KeepVersion(path, now + kOldestVersion + std::chrono::hours(24)));
  EXPECT_EQ(contents(), (std::vector<std::string>{"third"}));
}

TEST(Autosave, OffersWhatACrashLeft) {
  const UserRig user;
  const std::string folder = user.folders.Autosaves();
  const auto running = user.Start();
  running->Change();
  running->Pass(Autosave::kPeriod + 1);
  running->Editor().autosave.WriteNow();
  EXPECT_TRUE(FindLeftovers(folder).empty()) << "it runs";

  PresetDocument lost;
  std::vector<std::unique_ptr<UserRig::Instance>> ended;
  for (const char* name : {"Bass", ""}) {
    const auto& crashed = ended.emplace_back(user.Start());
    SynEditor& editor = crashed->Editor();
    if (*name) {
      ASSERT_TRUE(editor.SavePreset(user.Preset(name)));
      editor.UpdatePresetDisplay(true);
    }
    crashed->Change();
    crashed->Change();
    if (*name) lost = CapturePreset(editor);
    crashed->Pass(Autosave::kPeriod / 2);
    editor.autosave.LeaveForNextStart();
  }
  ended.clear();
  std::vector<Leftover> leftovers = FindLeftovers(folder);
  ASSERT_EQ(leftovers.size(), 2u);
  EXPECT_GE(leftovers[0].time, leftovers[1].time);

  const auto next = user.Start();
  SynEditor& editor = next->Editor();
  next->Pass(0.1);
  ASSERT_TRUE(next->Dialog().IsShown());
  next->Dialog().Press(0);
  SynOptionMenu* menu = next->Window().OpenMenu();
  ASSERT_NE(menu, nullptr);
  const int entry = std::string(menu->TitleAt(0)).starts_with("Bass") ? 0 : 1;
  const auto recover = static_cast<SynMenuItem*>(menu->getEntry(entry))->action;
  recover();
  EXPECT_EQ(CapturePreset(editor), lost);
  EXPECT_EQ(editor.presetPath, user.Preset("Bass"));
  EXPECT_EQ(Screen(*next), "Bass *");
  EXPECT_EQ(FindLeftovers(folder).size(), 1u);
  recover();
  EXPECT_EQ(CapturePreset(editor), lost) << "once";
  editor.history.Undo();
  EXPECT_EQ(editor.presetPath, "");

  const auto another = user.Start();
  another->Pass(0.1);
  EXPECT_FALSE(another->Dialog().IsShown()) << "asked once, the menu has it from then on";
}

TEST(Autosave, KeepsALeftoverAndTriesAgainWhenItCannotWrite) {
  const UserRig user;
  const std::string folder = user.folders.Autosaves();
  {
    const auto crashed = user.Start();
    crashed->Change();
    crashed->Change();
    crashed->Editor().autosave.LeaveForNextStart();
  }
  const std::vector<Leftover> leftovers = FindLeftovers(folder);
  ASSERT_EQ(leftovers.size(), 1u);
  const auto next = user.Start();
  SynEditor& editor = next->Editor();
  next->Change();
  ASSERT_TRUE(editor.autosave.WriteNow());
  std::string own;
  for (const auto& file : fs::directory_iterator(folder)) {
    const std::string path = file.path().string();
    if (file.path().extension() == ".hvp" && path != leftovers[0].File()) own = path;
  }
  ASSERT_NE(own, "");
  // A folder of that name cannot be replaced by a file.
  fs::remove(own);
  fs::create_directory(own);
  next->Pass(0.1);
  next->Dialog().Press(0);
  EXPECT_EQ(editor.history.UndoName().substr(0, 7), "Recover");
  EXPECT_EQ(FindLeftovers(folder).size(), 1u) << "nothing else has it";
  fs::remove(own);
  next->Pass(Autosave::kPeriod + 1);
  EXPECT_TRUE(editor.autosave.WriteNow());
  EXPECT_TRUE(fs::is_regular_file(own));
}

TEST(Autosave, IsThereOnlyWhileThereAreChanges) {
  const UserRig user;
  const auto racks = [&] {
    int count = 0;
    std::error_code error;
    for (fs::directory_iterator at(user.folders.Autosaves(), error), end; !error && at != end;
         at.increment(error)) {
      count += at->path().extension() == ".hvp" ? 1 : 0;
    }
    return count;
  };
  auto one = user.Start();
  one->Pass(100);
  EXPECT_EQ(racks(), 0);
  one->Change();
  one->Pass(Autosave::kPeriod - 1);
  one->Editor().autosave.Update();
  EXPECT_EQ(racks(), 0) << "too early";
  one->Pass(2);
  EXPECT_TRUE([&] {
    for (int i = 0; i < 1000 && racks() == 0; ++i) {
      std::this_thread::sleep_for(std::chrono::milliseconds(5));
    }
    return racks() == 1;
  }());
  one->Editor().history.Undo();
  for (int i = 0; i < 1000 && racks() == 1; ++i) {
    one->Pass(0.1);
    std::this_thread::sleep_for(std::chrono::milliseconds(5));
  }
  EXPECT_EQ(racks(), 0);
  one->Change();
  one->Editor().CloseWindow();
  EXPECT_EQ(racks(), 1) << "a closed window may stay closed for hours";
  one.reset();
  EXPECT_TRUE(fs::is_empty(user.folders.Autosaves())) << "a clean end leaves nothing";
}

}  // namespace
}  // namespace halveron
