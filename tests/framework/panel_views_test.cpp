// What panels hold beside knobs and jacks: sliders, fields, menus, displays, logs, questions.
#include <gtest/gtest.h>

#include <fstream>
#include <thread>

#include "framework/control_description.h"
#include "framework/display_view.h"
#include "framework/file_request.h"
#include "framework/module_timer.h"
#include "framework/panel_menu.h"
#include "framework/text_log.h"
#include "framework/text_log_view.h"
#include "gui/file_selector_view.h"
#include "gui/menu_popup.h"
#include "gui/slider.h"
#include "gui/text_edit.h"
#include "tests/support/allocation_trap.h"
#include "tests/support/scratch_folder.h"
#include "tests/support/window_rig.h"

namespace halveron::testing {
namespace {

constexpr const char* kWaves[] = {"Sine", "Saw", "Pulse"};

/// A panel with one of everything.
class PanelModule final : public Module {
 public:
  explicit PanelModule(const HostTable& table)
      : Module(CRect(0, 0, 240, 291), nullptr, nullptr, table, 0),
        timer(*this, 100, [this] { ++ticks; }),
        request(*this) {
    slider = AddSlider("Level", 20, 60, 12, 80, kVertical, 0.25f);
    choice = AddOptionMenu("Wave", 100, 30, 80, 18, kWaves, 1);
    field = AddTextEdit("Station", 100, 60, 100, 18, "first");
    display = AddDisplay("Scope", 120, 110, 100, 40);
    log = AddTextLog(text, 120, 210, 220, 120, "monospace", 10);
    AddPatchPoint(out, "Out", 220, 30);
    InitPatchPoints(0.0f);
  }

  void ValueChanged(CControl* control) override { changed.push_back(control); }

  TextLog text{TextLog::Settings{.queueBytes = 4096, .keptBytes = 1 << 16}};
  CSlider* slider;
  COptionMenu* choice;
  CTextEdit* field;
  DisplayView* display;
  TextLogView* log;
  Output out;
  ModuleTimer timer;
  FileRequest request;
  PanelMenu menu;
  int ticks = 0;
  std::vector<CControl*> changed;
};

class PanelViews : public ::testing::Test {
 protected:
  PanelViews() : module_(new PanelModule(rig_.editor.hostTable)) {
    rig_.editor.AdoptModule(module_);
    rig_.Place(*module_, 3, 0);
  }

  /// Clicks through a menu that is up, by the titles of its entries.
  void Choose(COptionMenu* menu, std::initializer_list<const char*> titles) {
    MenuPopup* popup = menu->getPopup();
    ASSERT_NE(popup, nullptr);
    int depth = 0;
    for (const char* title : titles) {
      int index = 0;
      while (menu->getEntry(index) && std::string(menu->getEntry(index)->getTitle()) != title) {
        ++index;
      }
      ASSERT_LT(index, menu->getNbEntries()) << title;
      COptionMenu* submenu = menu->getSubMenu(index);
      rig_.Click(popup->getEntryRect(depth++, index).getCenter());
      menu = submenu;
    }
  }

  WindowRig rig_;
  PanelModule* module_;
};

TEST_F(PanelViews, ControlsAreSavedAndTheRestIsNot) {
  EXPECT_EQ(module_->slider->getViewSize(), CRect(14, 20, 26, 100));
  EXPECT_EQ(DescribeControl(*module_->slider), "Level: 0.250");
  EXPECT_EQ(DescribeControl(*module_->choice), "Wave: Saw");
  EXPECT_EQ(DescribeControl(*module_->field), "Station: first");
  EXPECT_EQ(module_->GetPresetSize(), 3 * 4) << "slider, menu and jack";
  module_->slider->setValue(0.75f);
  module_->choice->setValue(2);
  std::array<float, 3> saved{};
  module_->SavePreset(saved.data(), sizeof saved);
  EXPECT_EQ(saved[0], 0.75f);
  EXPECT_EQ(saved[1], 2.0f);
  saved = {0.5f, 0.0f, 0.0f};
  module_->LoadPreset(saved.data(), sizeof saved, 1000);
  EXPECT_STREQ(module_->choice->getCurrent()->getTitle(), "Sine");
  EXPECT_EQ(module_->slider->getValue(), 0.5f);
  EXPECT_LT(module_->slider->getTag(), kParameterCount) << "a host may automate it";
}

TEST_F(PanelViews, WhatTheUserDoesReachesTheModule) {
  rig_.Press(rig_.Middle(*module_->slider) - CPoint(0, 20));
  rig_.Release(rig_.Middle(*module_->slider));
  EXPECT_GT(module_->slider->getValue(), 0.5f);
  ASSERT_FALSE(module_->changed.empty());
  EXPECT_EQ(module_->changed.back(), module_->slider);
  rig_.Click(rig_.Middle(*module_->choice));
  Choose(module_->choice, {"Pulse"});
  EXPECT_EQ(module_->choice->getValue(), 2.0f);
  EXPECT_EQ(module_->changed.back(), module_->choice);
  rig_.Click(rig_.Middle(*module_->field));
  rig_.Key(kKeyEnd);
  rig_.Type("!");
  rig_.Key(kKeyReturn);
  EXPECT_STREQ(module_->field->getText(), "first!");
  EXPECT_EQ(module_->changed.back(), module_->field);
}

TEST_F(PanelViews, ADisplayIsDrawnAgainOnlyWhenItsFeedIsNew) {
  TripleBuffer<float> feed(0.0f);
  float shown = -1.0f;
  module_->display->Show<float>(feed,
                                [&](CDrawContext& context, const CRect& area, const float& level) {
                                  shown = level;
                                  context.setFillColor(kWhiteCColor);
                                  context.fillRect(area);
                                });
  rig_.DrawAll();
  EXPECT_EQ(shown, 0.0f);
  const CPoint middle = rig_.Middle(*module_->display);
  EXPECT_EQ(rig_.Picture().getPixel(static_cast<int>(middle.x), static_cast<int>(middle.y)),
            kWhiteCColor);
  rig_.frame.idle();
  rig_.frame.takeDirtyRegion();
  rig_.frame.idle();
  EXPECT_FALSE(rig_.frame.hasDirtyRegion());
  feed.Back() = 0.5f;
  feed.Publish();
  rig_.frame.idle();
  EXPECT_TRUE(rig_.frame.hasDirtyRegion());
  rig_.DrawDirty();
  EXPECT_EQ(shown, 0.5f);
  module_->display->SetPainter(nullptr);
  module_->display->RedrawWhen(nullptr);
}

TEST_F(PanelViews, ATimerGoesWithTheWindowAndComesBackWithTheNext) {
  rig_.frame.advanceTime(1.0);
  EXPECT_EQ(module_->ticks, 0) << "not started";
  module_->timer.Start();
  rig_.frame.advanceTime(1.02);
  EXPECT_EQ(module_->ticks, 10);
  module_->timer.SetPeriod(500);
  rig_.frame.advanceTime(1.02);
  EXPECT_EQ(module_->ticks, 12);
  rig_.editor.CloseWindow();
  SynFrame& next = rig_.editor.OpenViews().Frame();
  next.useManualClock();
  next.advanceTime(1.02);
  EXPECT_EQ(module_->ticks, 14);
  module_->timer.Stop();
  next.advanceTime(1.02);
  EXPECT_EQ(module_->ticks, 14);
}

TEST(ModuleTimer, WaitsForAWindow) {
  TestRack rack;
  auto* module = new PanelModule(rack.editor.hostTable);
  rack.editor.AdoptModule(module);
  module->timer.Start();
  rack.Run(100);
  EXPECT_EQ(module->ticks, 0);
  SynFrame& frame = rack.editor.OpenViews().Frame();
  frame.useManualClock();
  frame.advanceTime(0.25);
  EXPECT_EQ(module->ticks, 2);
  rack.editor.CloseWindow();
}

TEST_F(PanelViews, AMenuOpensUnderAControlAndGoesWithTheModule) {
  int chosen = 0;
  const auto entries = [&] {
    return std::vector<PanelMenuEntry>{{.title = "One", .action = [&] { chosen = 1; }},
                                       {},
                                       {.title = "More",
                                        .submenu = {{.title = "Two", .action = [&] { chosen = 2; }},
                                                    {.title = "Off", .enabled = false}}}};
  };
  ASSERT_TRUE(module_->menu.Open(*module_->display, entries()));
  EXPECT_FALSE(module_->menu.Open(*module_->display, entries())) << "it is up";
  Choose(module_->menu.Menu(), {"More", "Two"});
  EXPECT_EQ(chosen, 2);
  ASSERT_TRUE(module_->menu.Open(*module_->display, entries()));
  Choose(module_->menu.Menu(), {"One"});
  EXPECT_EQ(chosen, 1);
  ASSERT_TRUE(module_->menu.Open(*module_->display, entries()));
  rig_.editor.RemoveModule(module_, true);
  EXPECT_EQ(rig_.frame.getModalView(), nullptr);
  EXPECT_EQ(chosen, 1);
}

TEST(FileRequest, IsAnsweredWithoutAWindowAndRemembersTheFolder) {
  TestRack rack;
  auto* module = new PanelModule(rack.editor.hostTable);
  rack.editor.AdoptModule(module);
  const FileQuestion question{.title = "Load Sample", .kinds = {}, .purpose = "samples"};
  std::string path = "untouched";
  const auto take = [&](const std::string& chosen) { path = chosen; };
  module->request.Ask(question, take);
  EXPECT_EQ(path, "untouched") << "nobody answers";
  std::string answer;
  rack.editor.files.answer = [&](const FileQuestion& asked) {
    EXPECT_EQ(asked.title, "Load Sample");
    return answer;
  };
  module->request.Ask(question, take);
  EXPECT_EQ(path, "untouched") << "nothing was chosen";
  answer = "/music/kick.wav";
  module->request.Ask(question, take);
  EXPECT_EQ(path, "/music/kick.wav");
  EXPECT_EQ(rack.editor.files.folder("samples"), "/music/");
  EXPECT_EQ(rack.editor.files.folder("songs"), "");
}

TEST_F(PanelViews, AFileIsAskedForInTheWindow) {
  const ScratchFolder folder;
  std::ofstream(folder.At("kick.wav")) << "x";
  std::ofstream(folder.At("notes.txt")) << "x";
  rig_.editor.files.remember("samples", folder.At(""));
  const FileQuestion question{
      .title = "Load", .kinds = {{"Wave", "wav", "audio/wav"}}, .purpose = "samples"};
  std::string path;
  module_->request.Ask(question, [&](const std::string& chosen) { path = chosen; });
  ASSERT_TRUE(module_->request.IsOpen());
  FileSelectorView* view = module_->request.Selector()->getView();
  ASSERT_EQ(view->getEntries().size(), 1u) << "the folder of last time, files of the kind";
  view->entryActivated(0);
  EXPECT_EQ(path, folder.At("kick.wav"));
  EXPECT_FALSE(module_->request.IsOpen());

  path.clear();
  module_->request.Ask(question, [&](const std::string& chosen) { path = chosen; });
  rig_.editor.RemoveModule(module_, true);
  EXPECT_EQ(path, "");
  EXPECT_EQ(rig_.frame.getModalView(), nullptr);
}

TEST_F(PanelViews, AButtonThatAsksForAFileIsUpAgainAndAsksWithEveryPress) {
  Module& recorder = rig_.Add("SD30 MIDI Recorder", 40, 0);
  CControl& button = rig_.rack.Control(recorder, "Import");
  for (int press = 1; press <= 3; ++press) {
    rig_.Click(rig_.Middle(button));
    ASSERT_NE(rig_.frame.getModalView(), nullptr) << "press " << press;
    EXPECT_EQ(button.getValue(), 0.0f);
    EXPECT_FALSE(button.isEditing());
    rig_.Key(kKeyEscape);
    ASSERT_EQ(rig_.frame.getModalView(), nullptr);
  }
}

std::string RowsOf(const TextLog& log) {
  std::string rows;
  for (std::size_t row = log.FirstRow(); row < log.EndRow(); ++row) rows += log.At(row).text + "|";
  return rows;
}

TEST(TextLog, TakesPiecesOfLinesAndWrapsThem) {
  TextLog log({.queueBytes = 200, .keptBytes = 1 << 16});
  log.SetWrapColumns(8);
  {
    const AllocationTrap trap;
    log.Add("one\r\ntw");
    log.Add("o\n\rthree four five\r\n");
    EXPECT_EQ(AllocationTrap::Count(), 0);
  }
  EXPECT_TRUE(log.Collect());
  EXPECT_FALSE(log.Collect());
  EXPECT_EQ(RowsOf(log), "one|two|three |four |five|");
  EXPECT_EQ(log.Text(), "one\ntwo\nthree four five\n") << "wrapped rows are one line";
  log.Add("\n\xC3\xA4\xC3\xB6\xC3\xBC\xC3\x9F\xC3\xA4\xC3\xB6\xC3\xBC\xC3\x9F\xC3\xA4\n");
  log.Collect();
  EXPECT_EQ(RowsOf(log),
            "one|two|three |four |five||\xC3\xA4\xC3\xB6\xC3\xBC\xC3\x9F\xC3\xA4\xC3\xB6"
            "\xC3\xBC\xC3\x9F|\xC3\xA4|")
      << "nine characters of two bytes each";
  EXPECT_EQ(log.Text(1, 1, 2, 2), "wo\nth");
  log.Clear();
  EXPECT_EQ(log.Text(), "");
  EXPECT_EQ(log.FirstRow(), 8u) << "rows keep their numbers";
  log.Add("head\n\r");
  log.Collect();
  log.Add("next\r\n");
  log.Collect();
  EXPECT_EQ(RowsOf(log), "head|next|");
}

TEST(TextLog, IsBoundedAndCountsWhatItDrops) {
  TextLog log({.queueBytes = 20, .keptBytes = 400});
  EXPECT_TRUE(log.Add("0123456789\n"));
  EXPECT_FALSE(log.Add("0123456789\n"));
  EXPECT_FALSE(log.Add("0123456789\n"));
  EXPECT_TRUE(log.Add("short\n"));
  EXPECT_EQ(log.DroppedCount(), 2u);
  EXPECT_TRUE(log.Collect());
  EXPECT_EQ(log.Text(), "0123456789\nshort\n(2 entries dropped)\n");
  for (int i = 0; i < 50; ++i) {
    log.Add(std::to_string(i) + "\n");
    log.Collect();
  }
  EXPECT_GT(log.FirstRow(), 40u);
  EXPECT_EQ(log.At(log.EndRow() - 1).text, "49");

  TextLog full({.queueBytes = 100,
                .keptBytes = 300,
                .whenFull = TextLog::WhenFull::kRefuseNewest,
                .fullNote = "Please purge."});
  for (int i = 0; i < 50; ++i) {
    full.Add(std::to_string(i) + "\n");
    full.Collect();
  }
  EXPECT_EQ(full.Text(), "0\n1\n2\n3\n4\nPlease purge.\n");
  full.Clear();
  full.Add("again\n");
  full.Collect();
  EXPECT_EQ(full.Text(), "again\n");
}

TEST(TextLog, AudioThreadWritesWhileAnotherReads) {
  TextLog log({.queueBytes = 256, .keptBytes = 1 << 20});
  constexpr int kEntries = 5000;
  std::thread audio([&] {
    for (int i = 0; i < kEntries; ++i) log.Add("entry\n");
  });
  for (int i = 0; i < 200; ++i) log.Collect();
  audio.join();
  log.Collect();
  const std::string text = log.Text();
  std::size_t arrived = 0;
  for (std::size_t at = text.find("entry\n"); at != std::string::npos;
       at = text.find("entry\n", at + 1)) {
    ++arrived;
  }
  EXPECT_EQ(arrived + log.DroppedCount(), static_cast<std::size_t>(kEntries));
}

TEST_F(PanelViews, ALogFollowsItsEndUnlessScrolledBack) {
  TextLogView& view = *module_->log;
  const auto add = [&](int from, int to) {
    for (int i = from; i < to; ++i) module_->text.Add("line " + std::to_string(i) + "\n");
    rig_.frame.idle();
  };
  add(0, 100);
  const std::size_t rows = view.VisibleRows();
  EXPECT_GT(rows, 5u);
  EXPECT_TRUE(view.FollowsEnd());
  EXPECT_EQ(view.TopRow(), 100 - rows);
  EXPECT_EQ(view.Scrollbar()->getValue(), 1.0f);
  const CPoint middle = rig_.Middle(view);
  rig_.frame.onWheel(middle, 1.0f, {});
  EXPECT_FALSE(view.FollowsEnd());
  const std::size_t top = view.TopRow();
  EXPECT_EQ(top, 97 - rows);
  add(100, 150);
  EXPECT_EQ(view.TopRow(), top) << "what is read stays";
  rig_.Click(middle);
  rig_.Key(kKeyEnd);
  EXPECT_TRUE(view.FollowsEnd());
  EXPECT_EQ(view.TopRow(), 150 - rows);
  rig_.Key(kKeyHome);
  EXPECT_EQ(view.TopRow(), 0u);
  rig_.Key(kKeyPageDown);
  EXPECT_EQ(view.TopRow(), rows);
  // Rows that go while somebody reads the first ones take the view along.
  rig_.Key(kKeyHome);
  add(0, 2000);
  add(0, 400);
  EXPECT_GE(view.TopRow(), module_->text.FirstRow());
  rig_.DrawAll();
  module_->text.Clear();
  rig_.frame.idle();
  EXPECT_TRUE(view.FollowsEnd());
  rig_.DrawAll();
}

TEST_F(PanelViews, ALogCanBeCopied) {
  module_->text.Add("first\nsecond\nthird\n");
  rig_.frame.idle();
  const auto copied = [&] {
    std::string text;
    rig_.frame.getClipboardText([&](const std::string& found) { text = found; });
    return text;
  };
  CPoint corner(module_->log->getViewSize().left + 3, module_->log->getViewSize().top + 3);
  corner = module_->log->localToFrame(corner);
  const CCoord letter = module_->log->getWidth() / 100;  // well below the width of one
  rig_.Press(corner + CPoint(0, 2));
  rig_.Move(corner + CPoint(0, 200), kLButton);
  rig_.Release(corner + CPoint(0, 200));
  rig_.Key(kKeyNone);
  rig_.frame.onKeyDown({'c', kKeyNone, CButtonState(kControl)});
  EXPECT_EQ(copied(), "first\nsecond\nthird\n");
  rig_.Click(corner + CPoint(letter, 2));  // selects nothing
  EXPECT_EQ(module_->log->SelectedText(), "");
  rig_.Click(corner + CPoint(30, 10), kRButton);
  Choose(module_->log->Menu().Menu(), {"Copy All"});
  EXPECT_EQ(copied(), "first\nsecond\nthird\n");
  rig_.frame.setFocusView(module_->log);
  rig_.frame.onKeyDown({'a', kKeyNone, CButtonState(kControl)});
  EXPECT_EQ(module_->log->SelectedText(), "first\nsecond\nthird\n");
}

}  // namespace
}  // namespace halveron::testing
