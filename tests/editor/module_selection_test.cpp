// Selecting modules, and what is done with a selection.
#include <gtest/gtest.h>

#include "editor/selection_commands.h"
#include "gui/text_edit.h"
#include "presets/preset_rack.h"
#include "tests/support/scratch_folder.h"
#include "tests/support/window_rig.h"

namespace halveron {
namespace {

using testing::WindowRig;

/// Two modules with a cable between them, which feeds a third, and one beside them.
class SelectionRig : public WindowRig {
 public:
  SelectionRig() {
    editor.cables.ConnectCable(&Out(vco, "Saw"), &In(mixer, "In 1"), 2, -1);
    editor.cables.ConnectCable(&Out(mixer, "Out"), &In(vca, "In 1"), 3, -1);
    editor.history.Follow();
  }
  ModuleSelection& Selection() { return window.Selection(); }
  void SelectPair() { Selection().Select({&vco, &mixer}); }
  std::vector<Module*> Modules() const { return editor.modules[0]; }
  int Cables() const { return editor.cables.visibleCableCount; }
  std::string Step() {
    editor.history.Settle();
    return editor.history.UndoName();
  }

  Module& vco = Add("S310 VCO", 2, 0);
  Module& mixer = Add("S102 Unity Mixer", 20, 0);
  Module& vca = Add("S404 VCA", 40, 0);
  Module& noise = Add("S303 Noise", 60, 0);
};

using Selected = std::vector<Module*>;

TEST(ModuleSelection, AFrameSelectsWhatItTouchesAndShiftAdds) {
  SelectionRig rig;
  const auto& selected = rig.Selection().Modules();
  rig.Drag(rig.Cell(1, 1) + CPoint(0, 40), rig.Cell(21, 0) + CPoint(0, 200));
  EXPECT_EQ(selected, (Selected{&rig.vco, &rig.mixer}));
  rig.DrawAll();
  rig.Click(rig.Free(rig.noise), kLButton | kShift);
  EXPECT_EQ(selected, (Selected{&rig.vco, &rig.mixer, &rig.noise}));
  rig.Click(rig.Free(rig.vco), kLButton | kShift);
  EXPECT_EQ(selected, (Selected{&rig.mixer, &rig.noise}));
  rig.Drag(rig.Cell(39, 1) + CPoint(0, 40), rig.Cell(41, 0) + CPoint(0, 200), kShift);
  EXPECT_EQ(selected, (Selected{&rig.mixer, &rig.vca, &rig.noise}));
  rig.Key(kKeyEscape);
  EXPECT_TRUE(selected.empty());
  rig.Shortcut('a');
  EXPECT_EQ(selected.size(), 4u);
  rig.Key(kKeyEscape);
  EXPECT_TRUE(selected.empty()) << "without the focus on the rack";
  rig.Shortcut('a');
  rig.Click(rig.Cell(30, 1) + CPoint(0, 40));
  EXPECT_TRUE(selected.empty()) << "a click on free rack";
  rig.SelectPair();
  rig.editor.commands.DeleteModule(rig.vco);
  EXPECT_EQ(selected, (Selected{&rig.mixer}));
}

TEST(ModuleSelection, MovesAsOneAndLandsWhereAllFit) {
  SelectionRig rig;
  rig.SelectPair();
  const CPoint from = rig.Free(rig.mixer);
  rig.Drag(from, from + CPoint(0, rig.window.Geometry().rowHeight));
  EXPECT_EQ(rig.CellOf(rig.vco), CPoint(2, 1));
  EXPECT_EQ(rig.CellOf(rig.mixer), CPoint(20, 1));
  EXPECT_EQ(rig.Step(), "Move 2 modules");
  rig.editor.history.Undo();
  EXPECT_EQ(rig.CellOf(rig.vco), CPoint(2, 0));
  EXPECT_EQ(rig.CellOf(rig.mixer), CPoint(20, 0));

  // The mixer would be free there, but the oscillator would stand on the VCA.
  const CCoord column = rig.window.Geometry().columnWidth;
  rig.Drag(rig.Free(rig.mixer), rig.Free(rig.mixer) + CPoint(38 * column, 0));
  EXPECT_EQ(rig.CellOf(rig.vco), CPoint(2, 0));
  EXPECT_EQ(rig.CellOf(rig.mixer), CPoint(20, 0));

  rig.Drag(rig.Free(rig.vca), rig.Free(rig.vca) + CPoint(column, 0));
  EXPECT_EQ(rig.CellOf(rig.vca), CPoint(41, 0)) << "others move by themselves";
  EXPECT_TRUE(rig.Selection().IsEmpty());
}

TEST(ModuleSelection, CopiesKeepInnerCablesValuesAndDistances) {
  SelectionRig rig;
  const auto firstKnob = [](const Module& module) {
    for (CView* view : module.children()) {
      if (auto* knob = dynamic_cast<ModuleKnob*>(view)) return knob;
    }
    throw std::runtime_error("no knob");
  };
  firstKnob(rig.vco)->setValue(0.875f);
  rig.editor.valueChanged(firstKnob(rig.vco));
  rig.SelectPair();
  rig.Shortcut('c');
  rig.Shortcut('v');
  ASSERT_TRUE(rig.window.IsInserting());
  ASSERT_EQ(rig.Modules().size(), 6u);
  EXPECT_EQ(rig.Selection().Modules(), (Selected{rig.Modules()[4], rig.Modules()[5]}));
  rig.Move(rig.Cell(30, 1) + CPoint(0, 40));
  rig.Click(rig.Cell(30, 1) + CPoint(0, 40));
  Module& vco = *rig.Modules()[4];
  Module& mixer = *rig.Modules()[5];
  EXPECT_EQ(rig.CellOf(mixer) - rig.CellOf(vco), CPoint(18, 0));
  EXPECT_EQ(rig.CellOf(vco).y, 1);
  EXPECT_EQ(rig.In(mixer, "In 1").source, &rig.Out(vco, "Saw"));
  EXPECT_EQ(rig.Cables(), 3) << "the cable to the VCA has only one end in the copy";
  EXPECT_EQ(firstKnob(vco)->getValue(), 0.875f);
  EXPECT_EQ(rig.Step(), "Add 2 modules");
  rig.editor.history.Undo();
  EXPECT_EQ(rig.Modules().size(), 4u);
  EXPECT_EQ(rig.Cables(), 2);

  // Escape discards all of a duplicate.
  rig.SelectPair();
  rig.Shortcut('d');
  EXPECT_EQ(rig.Modules().size(), 6u);
  rig.Key(kKeyEscape);
  EXPECT_EQ(rig.Modules().size(), 4u);
}

TEST(ModuleSelection, DeleteIsOneStep) {
  SelectionRig rig;
  const PresetDocument before = CapturePreset(rig.editor);
  rig.SelectPair();
  rig.Click(rig.Free(rig.vco), kRButton);
  rig.Choose({"Delete"});
  EXPECT_EQ(rig.Modules().size(), 2u);
  EXPECT_NE(rig.Modules()[0], &rig.vco);
  EXPECT_EQ(rig.Cables(), 0);
  EXPECT_EQ(rig.Step(), "Remove 2 modules");
  rig.editor.history.Undo();
  EXPECT_EQ(CapturePreset(rig.editor), before);
  rig.Key(kKeyDelete);
  EXPECT_EQ(rig.Modules().size(), 4u) << "nothing is selected";
}

TEST(ModuleSelection, AGroupThatFitsNowhereGetsRows) {
  SelectionRig rig;
  rig.editor.SetRows(2);
  rig.Add("S310 VCO", 2, 1);
  rig.Add("SE16 Wide Signal Analyzer", 20, 1);
  rig.Selection().Select({&rig.vco, &rig.noise});
  rig.Shortcut('d');
  rig.window.LandInsertion();
  const std::vector<Module*> modules = rig.Modules();
  for (const Module* module : modules) {
    EXPECT_TRUE(ModuleGrid::IsFree(module->getViewSize(), rig.window.Rack().PlacesWithout(*module)))
        << module->GetName();
  }
}

TEST(Snippets, AreSavedUnderANameAndInserted) {
  const testing::ScratchFolder folder;
  SelectionRig rig;
  // The rig's rack has no data folder.
  const SelectionCommands none(rig.editor, rig.window);
  rig.SelectPair();
  EXPECT_TRUE(none.Snippets().empty());
  std::vector<DialogText> dialogs;
  rig.editor.dialogs = [&](const DialogText& dialog) { dialogs.push_back(dialog); };
  EXPECT_FALSE(SelectionCommands(rig.editor, rig.window).SaveSnippetAs("Voice"));
  ASSERT_EQ(dialogs.size(), 1u);
  EXPECT_EQ(dialogs[0].title, "Snippet not saved");
  rig.window.Dialog().CloseDialog();

  const_cast<DataFolders&>(rig.editor.folders).data = folder.At("");
  SelectionCommands commands(rig.editor, rig.window);
  EXPECT_FALSE(commands.SaveSnippetAs("a/b"));
  rig.window.Dialog().CloseDialog();
  commands.SaveSnippet();
  rig.Type("Voice 10");
  rig.Key(kKeyReturn);
  ASSERT_TRUE(commands.SaveSnippetAs("voice 9"));
  commands.SaveSnippet();
  rig.Type("Voice 10");
  rig.Key(kKeyReturn);
  EXPECT_TRUE(rig.window.Dialog().IsShown()) << "asks before it replaces one";
  rig.Key(kKeyEscape);
  const std::vector<Snippet> snippets = commands.Snippets();
  ASSERT_EQ(snippets.size(), 2u);
  EXPECT_EQ(snippets[0].name, "voice 9");

  rig.window.OpenMainMenu();
  rig.Choose({"Edit", "Insert Snippet", "Voice 10"});
  EXPECT_TRUE(rig.window.IsInserting());
  EXPECT_EQ(rig.Modules().size(), 6u);
  EXPECT_EQ(rig.Cables(), 3);
  rig.Key(kKeyEscape);
  EXPECT_EQ(rig.Modules().size(), 4u);

  folder.Write("Snippets/voice 9.hvp", "damaged");
  commands.InsertSnippet(snippets[0]);
  EXPECT_EQ(dialogs.back().title, "Snippet not inserted");
  EXPECT_EQ(rig.Modules().size(), 4u);
}

}  // namespace
}  // namespace halveron
