// The rack and notes by keyboard.
#include <gtest/gtest.h>

#include <algorithm>
#include <set>

#include "editor/key_focus.h"
#include "editor/note_keys.h"
#include "framework/module.h"
#include "framework/patch_point.h"
#include "gui/movie_bitmap.h"
#include "tests/support/window_rig.h"

namespace halveron {
namespace {

using testing::WindowRig;

TEST(KeyFocus, WalksModulesTurnsControlsAndPlugsCables) {
  WindowRig rig;
  Module& mixer = rig.Add("S102 Unity Mixer", 30, 0);
  Module& vco = rig.Add("S310 VCO", 2, 0);
  Module& below = rig.Add("S404 VCA", 0, 1);
  KeyFocus& keys = rig.window.Keys();
  rig.Key(kKeyTab);
  EXPECT_EQ(keys.FocusModule(), &vco) << "as they are read, not as they were made";
  rig.Key(kKeyTab);
  EXPECT_EQ(keys.FocusModule(), &mixer);
  rig.Key(kKeyTab);
  EXPECT_EQ(keys.FocusModule(), &below);
  rig.Key(kKeyTab);
  rig.Key(kKeyTab, kShift);
  EXPECT_EQ(keys.FocusModule(), &below) << "around, and back";
  rig.Key(kKeyTab);

  rig.Key(kKeyDown);
  auto* control = dynamic_cast<CControl*>(keys.Item());
  ASSERT_NE(control, nullptr);
  const float before = control->getValue();
  rig.Type("+");
  EXPECT_NE(control->getValue(), before);
  rig.Type("-");
  EXPECT_NEAR(control->getValue(), before, 1e-6);

  // From a jack to the module on the right, with the cable.
  for (int i = 0; i < 40 && !dynamic_cast<PatchPoint*>(keys.Item()); ++i) rig.Key(kKeyDown);
  auto* from = dynamic_cast<PatchPoint*>(keys.Item());
  ASSERT_NE(from, nullptr);
  rig.Key(kKeyReturn);
  ASSERT_TRUE(rig.editor.cables.isDraggingCable);
  rig.Key(kKeyEscape);
  EXPECT_FALSE(rig.editor.cables.isDraggingCable);
  for (int i = 0; i < 40 && (!dynamic_cast<PatchPoint*>(keys.Item()) ||
                             dynamic_cast<PatchPoint*>(keys.Item())->type != kOutputPoint);
       ++i) {
    rig.Key(kKeyDown);
  }
  rig.Key(kKeyReturn);
  for (int i = 0; i < 40 && keys.FocusModule() != &mixer; ++i) rig.Key(kKeyRight);
  ASSERT_EQ(keys.FocusModule(), &mixer);
  rig.Key(kKeyReturn);
  EXPECT_EQ(rig.editor.cables.visibleCableCount,
            dynamic_cast<PatchPoint*>(keys.Item())->type == kInputPoint ? 1 : 0);

  rig.Key(kKeyTab);
  rig.Key(kKeyF10, kShift);
  EXPECT_NE(rig.window.OpenMenu(), nullptr) << "of the module";
  rig.Key(kKeyEscape);
  rig.editor.commands.DeleteModule(*keys.FocusModule());
  EXPECT_EQ(keys.FocusModule(), nullptr);
}

bool IsLamp(CView* view) {
  return dynamic_cast<CMovieBitmap*>(view) && !dynamic_cast<PatchPoint*>(view);
}

TEST(KeyFocus, StopsAtNoLamp) {
  WindowRig rig;
  Module& envelope = rig.Add("S525 VC Envelope Generator/LFO", 0, 0);
  KeyFocus& keys = rig.window.Keys();
  rig.Key(kKeyTab);
  std::set<CView*> visited;
  bool hasLamp = false;
  // From every control and jack in every direction.
  for (CView* view : envelope.children()) {
    const auto* control = dynamic_cast<CControl*>(view);
    const bool isLamp = IsLamp(view);
    hasLamp = hasLamp || isLamp;
    if (!control || !*control->role || isLamp) continue;
    for (const CVirtualKey key : {kKeyUp, kKeyDown, kKeyLeft, kKeyRight}) {
      keys.Set(&envelope, view);
      rig.Key(key);
      visited.insert(keys.Item());
    }
  }
  EXPECT_TRUE(std::none_of(visited.begin(), visited.end(), IsLamp));
  EXPECT_TRUE(hasLamp);
  EXPECT_GT(visited.size(), 5u);
}

TEST(KeyFocus, EscapeTakesBackACableThatAKeyBeganWhereverTheMouseIs) {
  WindowRig rig;
  Module& vco = rig.Add("S310 VCO", 0, 0);
  Module& mixer = rig.Add("S102 Unity Mixer", 30, 0);
  PatchPoint& saw = rig.Out(vco, "Saw");
  PatchPoint& used = rig.In(mixer, "In 1");
  PatchPoint& unused = rig.In(mixer, "In 2");
  rig.editor.cables.ConnectCable(&saw, &used, 1, -1);
  const auto beginAndEnd = [&](Module& module, PatchPoint& jack) {
    rig.window.Keys().Set(&module, &jack);
    rig.Key(kKeyReturn);
    EXPECT_TRUE(rig.editor.cables.isDraggingCable);
    rig.Key(kKeyEscape);
    EXPECT_FALSE(rig.editor.cables.isDraggingCable);
    EXPECT_EQ(rig.editor.cables.visibleCableCount, 1);
    EXPECT_NE(used.source, nullptr);
    EXPECT_EQ(unused.source, nullptr);
  };
  rig.Move(rig.Middle(unused));
  beginAndEnd(vco, saw);
  beginAndEnd(mixer, used);

  // A click on a jack ends it there, any other takes it back, too.
  rig.Key(kKeyReturn);
  rig.Click(rig.Free(vco));
  EXPECT_FALSE(rig.editor.cables.isDraggingCable);
  EXPECT_NE(used.source, nullptr);
  rig.window.Keys().Set(&mixer, &used);
  rig.Key(kKeyReturn);
  rig.Click(rig.Middle(unused));
  EXPECT_EQ(used.source, nullptr);
  EXPECT_NE(unused.source, nullptr);
}

TEST(KeyFocus, ActsOnWhatHasItAndNotOnWhatLiesThere) {
  WindowRig rig;
  Module& filter = rig.Add("S201 VCF", 0, 0);
  Module& player = rig.Add("S318 Tracker Mod Player", 0, 1);
  while (rig.editor.rows < 8) rig.editor.commands.AddRow();
  rig.editor.history.Settle();
  KeyFocus& keys = rig.window.Keys();
  DialogWindow& dialog = rig.window.Dialog();

  // A slider does not jump, and F2 asks for the focus, not for what is under the mouse.
  CControl& position = rig.rack.Control(player, "Position");
  const float before = position.getValue();
  keys.Set(&player, &position);
  rig.Move(rig.Middle(rig.rack.Control(filter, "Cutoff")));
  for (const CVirtualKey key : {kKeyReturn, kKeyF2}) {
    rig.Key(key);
    EXPECT_EQ(dialog.Request().title, "Position");
    rig.Key(kKeyEscape);
    EXPECT_FALSE(dialog.IsShown());
    EXPECT_EQ(position.getValue(), before);
  }

  // The menu of a jack.
  keys.Set(&filter, &rig.In(filter, "Audio"));
  rig.Key(kKeyF10, kShift);
  EXPECT_NE(rig.Entry("Unplug"), nullptr);
  rig.Key(kKeyEscape);

  // A switch goes round.
  const CControl& range = rig.rack.Control(filter, "Range");
  keys.Set(&filter, &rig.rack.Control(filter, "Range"));
  rig.Key(kKeyReturn);
  EXPECT_EQ(range.getValue(), 1.0f);
  rig.Key(kKeyReturn);
  EXPECT_EQ(range.getValue(), 0.0f);

  // A button that was scrolled away comes back before it is pressed.
  Module& matrix = rig.Add("S103 Matrix Mixer/VCA", 40, 0);
  rig.editor.history.Settle();
  keys.Set(&matrix, &rig.rack.Control(matrix, "Randomise"));
  rig.window.ScrollTo(1.0f);
  ASSERT_FALSE(rig.window.Rack().IsInSight(matrix));
  rig.Key(kKeyReturn);
  rig.editor.history.Settle();
  EXPECT_TRUE(rig.window.Rack().IsInSight(matrix));
  EXPECT_EQ(rig.editor.history.UndoName(), "Change S103 Matrix Mixer/VCA");
}

TEST(KeyFocus, CarriesAndSelectsModules) {
  WindowRig rig;
  Module& vco = rig.Add("S310 VCO", 0, 0);
  Module& filter = rig.Add("S201 VCF", 40, 0);
  Module& below = rig.Add("S404 VCA", 0, 1);
  rig.editor.history.Settle();
  rig.window.Keys().Set(&vco, nullptr);
  rig.Key(kKeyRight, kControl);
  rig.editor.history.Settle();
  rig.Key(kKeyRight, kControl);
  rig.editor.history.Settle();
  EXPECT_EQ(rig.CellOf(vco), CPoint(2, 0));
  EXPECT_EQ(rig.editor.history.UndoName(), "Move S310 VCO");
  rig.editor.history.Undo();
  EXPECT_EQ(rig.CellOf(*rig.editor.modules[0][0]), CPoint(0, 0)) << "one gesture";
  rig.Key(kKeyLeft, kControl);
  EXPECT_EQ(rig.CellOf(vco), CPoint(0, 0)) << "the edge";
  rig.Key(kKeyDown, kControl);
  EXPECT_EQ(rig.CellOf(vco).y, 1);
  EXPECT_GT(rig.CellOf(vco).x, 0) << "beside the other";
  rig.Key(kKeyUp, kControl);
  EXPECT_EQ(rig.CellOf(vco).y, 0);

  // Over a neighbour, and as a group.
  rig.Place(vco, 0, 0);
  rig.window.Keys().Set(&filter, nullptr);
  for (int i = 0; i < 40 && rig.CellOf(filter).x > rig.CellOf(vco).x; ++i) {
    rig.Key(kKeyLeft, kControl);
  }
  EXPECT_GT(rig.CellOf(filter).x, rig.CellOf(vco).x) << "there is no room left of it";
  rig.Key(kKeySpace);
  rig.window.Keys().Set(&below, nullptr);
  rig.Key(kKeySpace);
  EXPECT_EQ(rig.window.Selection().Modules().size(), 2u);
  const CPoint apart = rig.CellOf(below) - rig.CellOf(filter);
  const CPoint start = rig.CellOf(filter);
  rig.Key(kKeyRight, kControl);
  EXPECT_EQ(rig.CellOf(filter), start + CPoint(1, 0));
  EXPECT_EQ(rig.CellOf(below) - rig.CellOf(filter), apart);
  rig.Key(kKeySpace);
  EXPECT_FALSE(rig.window.Selection().Holds(below));

  // What is inserted lands by Return, and can be carried on from there.
  rig.editor.commands.InsertModule("S310 VCO", kBuiltInVendor);
  ASSERT_TRUE(rig.window.IsInserting());
  rig.Key(kKeyReturn);
  EXPECT_FALSE(rig.window.IsInserting());
  EXPECT_EQ(rig.window.Keys().FocusModule(), rig.editor.modules[0].back());
  EXPECT_FALSE(rig.window.Browser().isVisible());
}

TEST(NoteKeys, PlaysHoldsAndEndsNotes) {
  std::vector<std::vector<int>> sent;
  NoteKeys keys([&](std::span<const std::uint8_t> message) {
    sent.emplace_back(message.begin(), message.end());
  });
  const auto take = [&] { return std::exchange(sent, {}); };
  using Messages = std::vector<std::vector<int>>;
  const auto press = [&](char32_t letter, int modifiers = 0) {
    return keys.Down({letter, kKeyNone, CButtonState(modifiers)});
  };
  const auto release = [&](char32_t letter, double now) {
    return keys.Up({letter, kKeyNone, CButtonState()}, now);
  };
  EXPECT_TRUE(press('q'));
  EXPECT_EQ(take(), (Messages{{0x90, 60, 100}})) << "the upper row begins at middle C";
  // A repeat: released and pressed at once.
  release('q', 1.0);
  press('q');
  keys.Settle(1.5);
  EXPECT_EQ(take(), Messages{});
  release('q', 2.0);
  keys.Settle(2.0);
  EXPECT_EQ(take(), Messages{});
  keys.Settle(2.0 + NoteKeys::kReleaseTime);
  EXPECT_EQ(take(), (Messages{{0x80, 60, 0}}));

  EXPECT_FALSE(press('z', kControl)) << "a shortcut's";
  EXPECT_FALSE(press('!'));
  EXPECT_FALSE(press(';', kShift)) << "of the key with the comma, which releases a comma";
  EXPECT_TRUE(keys.Down({0, kKeyPageUp, {}}));
  EXPECT_TRUE(keys.Down({0, kKeyPageDown, CButtonState(kShift)}));
  press('z');
  press('S', kShift);
  EXPECT_EQ(take(), (Messages{{0x90, 60, 84}, {0x90, 61, 127}}));
  keys.AllOff();
  EXPECT_EQ(take(), (Messages{{0x80, 60, 0}, {0x80, 61, 0}}));
}

}  // namespace
}  // namespace halveron
