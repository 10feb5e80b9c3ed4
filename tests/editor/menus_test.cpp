// The menus, by what they show and what their entries do.
#include <gtest/gtest.h>

#include <algorithm>

#include "gui/menu_popup.h"
#include "tests/support/window_rig.h"

namespace halveron {
namespace {

using testing::WindowRig;
using Titles = std::vector<std::string>;

class Menus : public ::testing::Test {
 protected:
  void OpenMain() { rig.Click(rig.Middle(*rig.window.Bar().mainMenu)); }
  void OpenModules() { rig.Click(rig.Middle(*rig.window.Bar().moduleMenu)); }
  void OpenAt(const CPoint& where) { rig.Click(where, kRButton); }
  void InMain(std::initializer_list<const char*> titles) {
    OpenMain();
    rig.Choose(titles);
  }

  WindowRig rig;
};

TEST_F(Menus, TheMainMenuHasItsEntriesInOrder) {
  OpenMain();
  const Titles expected = {"New",
                           "Open...",
                           "Save",
                           "Save As...",
                           "Save As New Version",
                           "Presets",
                           "Edit",
                           "-",
                           "Refresh Presets Library",
                           "Preset Description",
                           "Default Author",
                           "Oversampling",
                           "Oversampling Filter",
                           "Polyphony",
                           "Sound and MIDI",
                           "Skin",
                           "Window Height",
                           "Zoom",
                           "Cable Transparency",
                           "Cable Thickness",
                           "Flat Cables",
                           "CPU Lite Cables",
                           "Cables",
                           "LEDs Always ON",
                           "Sample Accurate Automation",
                           "Manual",
                           "About"};
  EXPECT_EQ(rig.MenuTitles(), expected);
  EXPECT_FALSE(rig.Entry("Sample Accurate Automation")->isEnabled()) << "not under this host";
  EXPECT_TRUE(rig.Entry("LEDs Always ON")->isChecked());
  rig.Key(kKeyEscape);

  // The standalone has the most entries, and its first window all of them in sight.
  rig.editor.unsaved.quit = [] {};
  OpenMain();
  const MenuPopup& popup = *rig.window.OpenMenu()->getPopup();
  const int count = rig.window.OpenMenu()->getNbEntries();
  EXPECT_STREQ(rig.window.OpenMenu()->getEntry(count - 1)->getTitle(), "Quit");
  for (const int index : {0, count - 1}) EXPECT_GT(popup.getEntryRect(0, index).getHeight(), 20);
  rig.Key(kKeyEscape);

  rig.editor.options.advancedOversampling.Set(false);
  OpenMain();
  EXPECT_EQ(rig.Entry("Oversampling Filter"), nullptr);
}

TEST_F(Menus, ShortcutsRunWhatTheirEntriesDo) {
  OpenMain();
  const COptionMenu& edit = *rig.Entry("Edit")->getSubmenu();
  EXPECT_STREQ(edit.getEntry(0)->getTitle(), "Undo");
  EXPECT_EQ(edit.getEntry(0)->getShortcut(), "Ctrl+Z");
  rig.Key(kKeyEscape);
  rig.editor.commands.AddRow();
  const int rows = rig.editor.rows;
  rig.Shortcut(U'z');
  EXPECT_EQ(rig.editor.rows, rows - 1);
  rig.Shortcut(U'Y');
  EXPECT_EQ(rig.editor.rows, rows);
  rig.Shortcut(U'z', kControl | kAlt);
  EXPECT_EQ(rig.editor.rows, rows) << "not with another modifier";
  rig.Key(kKeyF10);
  EXPECT_NE(rig.Entry("About"), nullptr);
  rig.Shortcut(U'z');
  EXPECT_EQ(rig.editor.rows, rows) << "the keys belong to an open menu";
}

TEST_F(Menus, TheMainMenuSetsEngineAndOptions) {
  InMain({"Oversampling", "8X"});
  EXPECT_EQ(rig.rack.engine.oversamplingFactor, 8);
  InMain({"Oversampling Filter", "FIR 200 taps"});
  EXPECT_EQ(rig.rack.engine.filterMenuIndex, 6);
  InMain({"Cable Thickness", "5"});
  EXPECT_EQ(rig.editor.options.cableThickness.Get(), 5);
  InMain({"Cable Transparency", "3"});
  EXPECT_EQ(rig.editor.options.transparency.Get(), 3);
  InMain({"Flat Cables"});
  EXPECT_TRUE(rig.editor.options.flatCables.Get());
  OpenMain();
  EXPECT_TRUE(rig.Entry("Flat Cables")->isChecked()) << "marks are those of now";
  rig.Choose({"Flat Cables"});
  EXPECT_FALSE(rig.editor.options.flatCables.Get());
  InMain({"Window Height", "4 Rows"});
  EXPECT_EQ(rig.window.Geometry().viewableRows, 4);
}

TEST_F(Menus, MoreVoicesBringAWayToReachThem) {
  InMain({"Polyphony", "4 Voices"});
  EXPECT_EQ(rig.rack.engine.voiceCount, 4);
  ASSERT_EQ(rig.editor.ModuleCount(), 1);
  Module& chainer = *rig.editor.modules[0][0];
  EXPECT_STREQ(chainer.GetName(), "SD05 MIDI Poly Chainer");
  EXPECT_TRUE(rig.window.IsInserting());
  rig.Move(rig.Cell(10, 0) + CPoint(30, 12));
  rig.Click(rig.Cell(10, 0) + CPoint(30, 12));

  OpenAt(rig.Free(chainer));
  rig.Choose({"Delete Module"});
  EXPECT_EQ(rig.editor.ModuleCount(), 0);
  EXPECT_EQ(rig.rack.engine.voiceCount, 1) << "nothing leads to them any more";
}

TEST_F(Menus, ModulesAreChosenByCategoryOrFoundByTyping) {
  OpenModules();
  const Titles titles = rig.MenuTitles();
  ASSERT_EQ(titles.size(), 16u);
  EXPECT_EQ(titles.front(), "Browse...");
  EXPECT_EQ(titles[2], "Mixer/Panner");
  EXPECT_EQ(titles.back(), "Other");
  rig.Choose({"Filter", "S212 VCF"});
  ASSERT_EQ(rig.editor.ModuleCount(), 1);
  EXPECT_STREQ(rig.editor.modules[0][0]->GetName(), "S212 VCF");
  rig.Move(rig.Cell(10, 0) + CPoint(30, 12));
  rig.Click(rig.Cell(10, 0) + CPoint(30, 12));

  OpenModules();
  rig.Type("unity");
  rig.Key(kKeyReturn);
  ASSERT_EQ(rig.editor.ModuleCount(), 2);
  EXPECT_STREQ(rig.editor.modules[0][1]->GetName(), "S102 Unity Mixer");
  EXPECT_TRUE(rig.window.IsInserting());
}

TEST_F(Menus, TheModuleMenuFollowsItsModule) {
  Module& vca = rig.Add("S404 VCA", 5, 0);
  Module& out = rig.Add("SA02 2 DAW", 30, 0);
  OpenAt(rig.Free(vca));
  EXPECT_EQ(rig.MenuTitles(), (Titles{"Delete Module", "Copy", "Paste", "-", "No Oversampling",
                                      "Bandlimit", "Always ON", "Mono", "Clip Level", "Info..."}));
  EXPECT_FALSE(rig.Entry("Paste")->isEnabled());
  EXPECT_EQ(rig.Entry("Bandlimit")->isEnabled(), vca.GetBandlimitMode() != -1);
  EXPECT_TRUE(rig.Entry("Clip Level")->getSubmenu()->isCheckEntry(6)) << "+12 at first";
  rig.Choose({"Clip Level", " 0db FS"});
  EXPECT_EQ(vca.GetClipLevel(), 1.0f);
  OpenAt(rig.Free(vca));
  rig.Choose({"Always ON"});
  EXPECT_TRUE(vca.alwaysOn);
  EXPECT_NE(vca.place.activeIndex, -1);
  OpenAt(rig.Free(vca));
  rig.Choose({"No Oversampling"});
  EXPECT_FALSE(vca.oversampled);

  OpenAt(rig.Free(out));
  EXPECT_FALSE(rig.Entry("Mono")->isEnabled()) << "a bridge stays single";
}

TEST_F(Menus, AMenuOfAModuleThatGoesAwayCloses) {
  Module& vca = rig.Add("S404 VCA", 5, 0);
  OpenAt(rig.Free(vca));
  rig.editor.RemoveAllModules();
  EXPECT_EQ(rig.window.OpenMenu(), nullptr);
}

TEST_F(Menus, CopiesAndPastesModules) {
  rig.editor.voices.ApplyVoiceCount(3);
  Module& source = rig.Add("S404 VCA", 5, 0);
  Module& target = rig.Add("S404 VCA", 20, 0);
  Module& stranger = rig.Add("S310 VCO", 40, 0);
  rig.rack.SetControl(source, "Base gain", 0.125f);
  rig.editor.SetModuleClipLevel(&source, 0.5f);
  OpenAt(rig.Free(source));
  rig.Choose({"Copy"});
  rig.editor.RemoveModule(&source, true);

  OpenAt(rig.Free(target));
  rig.Choose({"Paste"});
  EXPECT_EQ(rig.rack.Control(target, "Base gain").getValue(), 0.125f);
  EXPECT_EQ(target.GetVoiceModule(2)->GetClipLevel(), 0.5f) << "in every voice";
  const float before = rig.rack.Control(stranger, "Fine tune").getValue();
  OpenAt(rig.Free(stranger));
  rig.Choose({"Paste"});
  EXPECT_EQ(rig.rack.Control(stranger, "Fine tune").getValue(), before);

  OpenAt(rig.Cell(70, 1));
  rig.Choose({"Paste Module"});
  Module& pasted = *rig.editor.modules[0].back();
  EXPECT_STREQ(pasted.GetName(), "S404 VCA");
  EXPECT_TRUE(rig.window.IsInserting());
  EXPECT_EQ(rig.rack.Control(*pasted.GetVoiceModule(1), "Base gain").getValue(), 0.125f);
}

TEST_F(Menus, TheRackMenuChoosesTheColourOfTheNextCable) {
  Module& vco = rig.Add("S310 VCO", 2, 0);
  Module& mixer = rig.Add("S102 Unity Mixer", 30, 0);
  OpenAt(rig.Cell(70, 1));
  EXPECT_EQ(rig.MenuTitles(), (Titles{"Paste Module", "-", "Random", "Red", "Green", "Blue", "Gray",
                                      "Orange", "Purple"}));
  EXPECT_FALSE(rig.Entry("Paste Module")->isEnabled());
  EXPECT_TRUE(rig.Entry("Random")->isChecked());
  rig.Choose({"Orange"});
  rig.Drag(rig.Middle(rig.Out(vco, "Saw")), rig.Middle(rig.In(mixer, "In 1")));
  ASSERT_NE(rig.editor.cables.cableList.head, nullptr);
  EXPECT_EQ(rig.editor.cables.cableList.head->colour, 5);
}

TEST_F(Menus, KnobsAreCopiedByTheirOwnMenu) {
  rig.editor.voices.ApplyVoiceCount(2);
  Module& vco = rig.Add("S310 VCO", 2, 0);
  CControl& from = rig.rack.Control(vco, "Fine tune");
  CControl& to = rig.rack.Control(vco, "Pulse width");
  rig.rack.SetControl(vco, "Fine tune", 0.8f);
  OpenAt(rig.Middle(from));
  EXPECT_EQ(rig.MenuTitles(),
            (Titles{"Copy", "Paste", "-", "Enter Value...", "Reset", "-", "MIDI Learn",
                    "MIDI Controller...", "Remove MIDI Controller"}));
  rig.Choose({"Copy"});
  OpenAt(rig.Middle(to));
  rig.Choose({"Paste"});
  EXPECT_EQ(to.getValue(), 0.8f);
  EXPECT_EQ(to.nextVoice->getValue(), 0.8f);
}

TEST_F(Menus, DialogsAskForAuthors) {
  rig.editor.author = "Ann";
  InMain({"Preset Description"});
  DialogWindow& dialog = rig.window.Dialog();
  ASSERT_TRUE(dialog.IsShown());
  EXPECT_EQ(dialog.FieldText(0), "Ann");
  rig.Key(kKeyEnd);
  rig.Type("a");
  rig.Key(kKeyTab);
  rig.Type("Slow.");
  rig.Key(kKeyReturn);
  EXPECT_FALSE(dialog.IsShown());
  EXPECT_EQ(rig.editor.author, "Anna");
  EXPECT_EQ(rig.editor.description, "Slow.");

  InMain({"Default Author"});
  rig.Type("Bob");
  rig.Key(kKeyEscape);
  EXPECT_EQ(rig.editor.options.defaultAuthor.Get(), "")
      << "Escape takes it back, or the dialog down";
  if (dialog.IsShown()) rig.Key(kKeyEscape);
  EXPECT_FALSE(dialog.IsShown());
}

TEST_F(Menus, ADialogKeepsTheMouseFromTheRest) {
  Module& vca = rig.Add("S404 VCA", 5, 0);
  rig.editor.ShowDialog({"Title", "One line", 300});
  rig.Drag(rig.Free(vca), rig.Free(vca) + CPoint(60, 0));
  EXPECT_EQ(rig.CellOf(vca), CPoint(5, 0));
  DialogWindow& dialog = rig.window.Dialog();
  const CRect place = dialog.getViewSize();
  EXPECT_NEAR(place.getCenter().x, rig.frame.getWidth() / 2, 1);
  rig.Click(CPoint(place.getCenter().x, place.bottom - 30));
  EXPECT_FALSE(dialog.IsShown()) << "by its button";
}

TEST(Dialogs, ShowAllOfTheirText) {
  WindowRig rig;
  const std::string path = "/home/a musician/" + std::string(300, 'x') + "/My preset.hvp";
  const std::string sentence =
      "This preset needs a module that this version does not have, so the rest of the rack was "
      "loaded without it, and its cables were left out. ";
  for (const std::string& text : {sentence + sentence, "Could not be written:\n" + path}) {
    rig.editor.ShowDialog(
        {"A title that is rather long for what it has to say to the user", text, 300});
    const DialogWindow& dialog = rig.window.Dialog();
    ASSERT_TRUE(dialog.IsShown());
    EXPECT_GE(dialog.getViewSize().left, 0);
    EXPECT_LE(dialog.getViewSize().right, rig.frame.getWidth());
    CCoord bottom = 0;
    std::string shown;
    for (CView* view : dialog.children()) {
      EXPECT_GE(view->getViewSize().top, bottom) << "one below the other";
      bottom = view->getViewSize().bottom;
      const auto* label = dynamic_cast<CTextLabel*>(view);
      if (!label) continue;
      const CPoint size = label->getFont()->measure(label->getText());
      EXPECT_LE(size.x, label->getWidth()) << label->getText();
      EXPECT_LE(size.y, label->getHeight()) << label->getText();
      shown = label->getText();
    }
    EXPECT_LE(bottom, dialog.getHeight());
    EXPECT_EQ(shown.find("/My") != std::string::npos && shown.ends_with("preset.hvp"),
              text.ends_with(".hvp"))
        << "a path keeps its file name";
    rig.Key(kKeyReturn);
  }
}

TEST(Dialogs, WaitForTheWindow) {
  testing::TestRack rack;
  rack.editor.ShowDialog({"Later", "Shown after opening", 300});
  RackWindow& window = rack.editor.OpenViews();
  EXPECT_TRUE(window.Dialog().IsShown());
  EXPECT_EQ(window.Dialog().Request().title, "Later");
}

}  // namespace
}  // namespace halveron
