// Rows, scrolling, and modules under the mouse.
#include <gtest/gtest.h>

#include <cmath>

#include "presets/preset_rack.h"
#include "tests/support/window_rig.h"

namespace halveron {
namespace {

using testing::WindowRig;

constexpr const char* kMixer = "S102 Unity Mixer";  // 4 columns wide
constexpr int kMixerColumns = 4;

TEST(RackWindow, DragsAModuleAcrossRowsAndColumns) {
  WindowRig rig;
  Module& module = rig.Add(kMixer, 10, 0);
  const CPoint grab = rig.Free(module);
  rig.Drag(grab, grab + CPoint(37, 0));
  EXPECT_EQ(rig.CellOf(module), CPoint(13, 0)) << "down to a whole column";
  rig.Drag(rig.Free(module), rig.Free(module) + CPoint(0, 250));
  EXPECT_EQ(rig.CellOf(module), CPoint(13, 1)) << "past four fifths of the row";
  EXPECT_FALSE(module.place.isDragged);

  rig.Drag(rig.Free(module), rig.Free(module) - CPoint(0, 150));
  EXPECT_EQ(rig.CellOf(module), CPoint(13, 0)) << "between rows, it goes to the nearer one";
  rig.Drag(rig.Free(module), rig.Free(module) + CPoint(0, 150));
  EXPECT_EQ(rig.CellOf(module), CPoint(13, 1));
  rig.Drag(rig.Free(module), CPoint(-500, -500));
  EXPECT_EQ(rig.CellOf(module), CPoint(0, 0)) << "the rack's corner holds it";
}

TEST(RackWindow, ReturnsAModuleThatIsDroppedOnAnother) {
  WindowRig rig;
  Module& module = rig.Add(kMixer, 0, 0);
  Module& other = rig.Add(kMixer, 10, 0);
  const CPoint grab = rig.Free(module);
  rig.Press(grab);
  rig.Move(grab + CPoint(9 * 12 + 5, 3), kLButton);
  EXPECT_EQ(module.getViewSize().getTopLeft(), CPoint(9 * 12 + 5, 3)) << "it hangs off the grid";
  EXPECT_EQ(rig.window.Rack().children().back(), &module) << "above all others";
  rig.Release(grab + CPoint(9 * 12 + 5, 3));
  EXPECT_EQ(rig.CellOf(module), CPoint(0, 0));
  EXPECT_EQ(rig.CellOf(other), CPoint(10, 0));

  rig.Drag(rig.Free(module), rig.Free(module) + CPoint(6 * 12, 0));
  EXPECT_EQ(rig.CellOf(module), CPoint(6, 0)) << "side by side is room enough";
}

TEST(RackWindow, PushesNeighboursWithControlHeld) {
  WindowRig rig;
  Module& module = rig.Add(kMixer, 0, 0);
  Module& near = rig.Add(kMixer, 6, 0);
  Module& far = rig.Add(kMixer, 10, 0);
  rig.Drag(rig.Free(module), rig.Free(module) + CPoint(5 * 12, 0), kControl);
  EXPECT_EQ(rig.CellOf(module), CPoint(5, 0));
  EXPECT_EQ(rig.CellOf(near), CPoint(5 + kMixerColumns, 0));
  EXPECT_EQ(rig.CellOf(far), CPoint(5 + 2 * kMixerColumns, 0));

  Module& below = rig.Add(kMixer, 9, 1);
  rig.Drag(rig.Free(below), rig.Free(below) - CPoint(0, 291), kControl);
  EXPECT_EQ(rig.CellOf(below), CPoint(9, 0)) << "dropped from another row, it makes room";
  EXPECT_EQ(rig.CellOf(near), CPoint(13, 0));
  EXPECT_EQ(rig.CellOf(far), CPoint(17, 0));
}

TEST(RackWindow, ANewModuleHangsOnTheMouseUntilItIsPutDown) {
  WindowRig rig;
  rig.Move(rig.Cell(20, 1));
  rig.editor.commands.InsertModule("S310 VCO", kBuiltInVendor);
  Module& module = *rig.editor.modules[0].back();
  EXPECT_TRUE(rig.window.IsInserting());
  EXPECT_GT(module.getViewSize().top, 0) << "at once where the mouse is";
  rig.Release(rig.Cell(20, 1));
  EXPECT_TRUE(rig.window.IsInserting()) << "the release that chose it puts nothing down";
  rig.Move(rig.Cell(30, 1) + CPoint(5, 12));
  rig.Click(rig.Cell(30, 1) + CPoint(5, 12));
  EXPECT_FALSE(rig.window.IsInserting());
  EXPECT_EQ(module.getViewSize().top, rig.window.Geometry().rowHeight);
  EXPECT_EQ(rig.editor.ModuleCount(), 1);

  // Above another module it lands beside it, or with Control makes itself room.
  const CPoint onIt = rig.Free(module);
  rig.Move(onIt);
  rig.editor.commands.InsertModule(kMixer, kBuiltInVendor);
  const CRect outline = rig.window.Rack().Landing().value_or(CRect());
  rig.Click(onIt);
  ASSERT_EQ(rig.editor.ModuleCount(), 2);
  Module& beside = *rig.editor.modules[0].back();
  EXPECT_EQ(beside.getViewSize(), outline) << "the outline showed the place";
  EXPECT_TRUE(beside.getViewSize().right == module.getViewSize().left ||
              beside.getViewSize().left == module.getViewSize().right);
  rig.editor.commands.InsertModule(kMixer, kBuiltInVendor);
  rig.Click(onIt, kLButton | kControl);
  ASSERT_EQ(rig.editor.ModuleCount(), 3);
  EXPECT_TRUE(
      rig.editor.modules[0].back()->getViewSize().pointInside(onIt - rig.window.Geometry().origin));

  rig.editor.commands.InsertModule(kMixer, kBuiltInVendor);
  rig.Key(kKeyEscape);
  EXPECT_EQ(rig.editor.ModuleCount(), 3);
  rig.editor.commands.InsertModule(kMixer, kBuiltInVendor);
  rig.Click(onIt, kRButton);
  EXPECT_EQ(rig.editor.ModuleCount(), 3);
  EXPECT_FALSE(rig.window.IsInserting());
  EXPECT_EQ(rig.window.OpenMenu(), nullptr) << "the click that discards opens no menu";
  EXPECT_FALSE(rig.window.Rack().Landing().has_value());
}

TEST(RackWindow, ANewModuleLandsWhereverItIsLetGo) {
  WindowRig rig;
  const int rowHeight = rig.window.Geometry().rowHeight;
  const CCoord height = rig.window.Geometry().ViewHeight();
  for (CCoord y = 1; y < height; y += height / 21) {
    const CPoint where = rig.Cell(20, 0) + CPoint(0, y);
    rig.Move(where);
    rig.editor.commands.InsertModule("S310 VCO", kBuiltInVendor);
    rig.Click(where);
    ASSERT_EQ(rig.editor.ModuleCount(), 1) << "at height " << y;
    const CPoint cell = rig.CellOf(*rig.editor.modules[0][0]);
    EXPECT_EQ(cell.y, std::floor(y / rowHeight)) << "at height " << y;
    EXPECT_EQ(cell.x, std::floor(cell.x));
    rig.editor.RemoveAllModules();
  }

  // Full rows are left out; where all are full, there is one more.
  for (int i = 0; i < 500 && rig.editor.rows == 3; ++i) {
    rig.editor.commands.InsertModule("S310 VCO", kBuiltInVendor);
    rig.Click(rig.Cell(20, 0) + CPoint(0, 100));
  }
  ASSERT_EQ(rig.editor.rows, 4);
  const std::vector<Module*>& modules = rig.editor.modules[0];
  EXPECT_EQ(rig.CellOf(*modules.back()).y, 3);
  EXPECT_TRUE(rig.window.Rack().VisiblePart().rectOverlap(modules.back()->getViewSize()))
      << "the user sees where it went";
  for (std::size_t a = 0; a < modules.size(); ++a) {
    for (std::size_t b = a + 1; b < modules.size(); ++b) {
      EXPECT_FALSE(modules[a]->getViewSize().rectOverlap(modules[b]->getViewSize()));
    }
  }
}

TEST(RackWindow, EscapeTakesDragsBack) {
  WindowRig rig;
  Module& vco = rig.Add("S310 VCO", 3, 0);
  Module& mixer = rig.Add(kMixer, 30, 0);
  const CPoint grab = rig.Free(vco);
  rig.Press(grab);
  rig.Move(grab + CPoint(90, 30), kLButton);
  rig.Key(kKeyEscape);
  EXPECT_EQ(rig.CellOf(vco), CPoint(3, 0));
  rig.Move(grab + CPoint(120, 30), kLButton);
  rig.Release(grab + CPoint(120, 30));
  EXPECT_EQ(rig.CellOf(vco), CPoint(3, 0)) << "the rest of the gesture moves nothing";

  PatchPoint& in = rig.In(mixer, "In 1");
  rig.Press(rig.Middle(rig.Out(vco, "Saw")));
  rig.Move(rig.Middle(in), kLButton);
  rig.Key(kKeyEscape);
  EXPECT_FALSE(rig.editor.cables.isDraggingCable);
  rig.Release(rig.Middle(in));
  EXPECT_EQ(in.cableCount, 0);

  rig.editor.cables.ConnectCable(&rig.Out(vco, "Saw"), &in, 2, -1);
  rig.Press(rig.Middle(in));
  rig.Move(rig.Free(mixer), kLButton);
  EXPECT_EQ(in.cableCount, 0);
  rig.Key(kKeyEscape);
  EXPECT_EQ(in.cableCount, 1) << "a cable goes back to where it was pulled off";
  rig.Release(rig.Free(mixer));
  EXPECT_EQ(in.cableCount, 1);
  EXPECT_EQ(rig.frame.getFocusView(), nullptr) << "the keyboard is the host's again";
}

TEST(RackWindow, PushesInTheDirectionOfTheMouse) {
  WindowRig rig;
  Module& module = rig.Add(kMixer, 0, 0);
  Module& other = rig.Add(kMixer, 10, 0);
  const CPoint grab = rig.Free(module);
  // Hangs free above the other one, comes from the left, and pushes only then.
  rig.Press(grab);
  for (int x = 0; x <= 9 * 12 + 5; x += 6) rig.Move(grab + CPoint(x, 0), kLButton);
  rig.Release(grab + CPoint(9 * 12 + 5, 0), kLButton | kControl);
  EXPECT_EQ(rig.CellOf(module), CPoint(9, 0));
  EXPECT_EQ(rig.CellOf(other), CPoint(13, 0)) << "to the right, as the mouse went";
}

TEST(RackWindow, AStateSavedDuringADragHoldsPlacesOnTheGrid) {
  WindowRig rig;
  Module& standing = rig.Add(kMixer, 10, 0);
  const auto savedPlace = [&](std::size_t index) {
    const PresetModule module = CapturePreset(rig.editor).modules[index];
    return CPoint(module.x / 12.0, module.y / 291.0);
  };
  rig.Press(rig.Free(standing));
  rig.Move(rig.Free(standing) + CPoint(77, 130), kLButton);
  EXPECT_NE(rig.CellOf(standing), CPoint(10, 0)) << "it hangs between the rows";
  EXPECT_EQ(savedPlace(0), CPoint(16, 0)) << "where it would land";
  rig.Release(rig.Cell(10, 0));
  rig.Place(standing, 10, 0);

  rig.Move(rig.Free(standing));
  rig.editor.commands.InsertModule("S310 VCO", kBuiltInVendor);
  rig.Move(rig.Free(standing) + CPoint(5, 3));
  const CPoint place = savedPlace(1);
  EXPECT_EQ(place, CPoint(std::round(place.x), 0));
  const double mixerColumns = standing.getWidth() / panelUnitWidth;
  const double vcoColumns = rig.editor.modules[0][1]->getWidth() / panelUnitWidth;
  EXPECT_TRUE(place.x + vcoColumns <= 10 || place.x >= 10 + mixerColumns) << place.x;
}

TEST(RackWindow, ClosesInTheMiddleOfAnything) {
  WindowRig rig;
  Module& module = rig.Add("S310 VCO", 3, 0);
  rig.Press(rig.Free(module));
  rig.Move(rig.Free(module) + CPoint(300, 80), kLButton);
  rig.editor.CloseWindow();
  EXPECT_FALSE(module.place.isDragged);
  EXPECT_EQ(module.getViewSize().left, 36) << "a drag that was not ended did not happen";
  EXPECT_EQ(module.getParentView(), nullptr);

  RackWindow& window = rig.editor.OpenViews();
  EXPECT_EQ(module.getParentView(), &window.Rack());
  window.Frame().useManualClock();
  rig.editor.commands.InsertModule(kMixer, kBuiltInVendor);
  rig.editor.CloseWindow();
  ASSERT_EQ(rig.editor.ModuleCount(), 2) << "a new module is put down";
  const CRect place = rig.editor.modules[0].back()->getViewSize();
  EXPECT_FALSE(place.rectOverlap(module.getViewSize()));
  EXPECT_EQ(place.top, std::floor(place.top / 291) * 291);
}

TEST(RackWindow, AddsAndRemovesRows) {
  WindowRig rig;
  const RackGeometry& geometry = rig.window.Geometry();
  rig.Click(rig.Middle(*rig.window.Bar().addRow));
  EXPECT_EQ(rig.editor.rows, 4);
  EXPECT_EQ(rig.window.Rack().getHeight(), 4 * geometry.rowHeight);

  Module& inLast = rig.Add("S310 VCO", 5, 3);
  rig.Add(kMixer, 40, 3);
  Module& above = rig.Add(kMixer, 5, 2);
  rig.editor.cables.ConnectCable(&rig.Out(inLast, "Saw"), &rig.In(above, "In 1"), 1, -1);
  rig.Click(rig.Middle(*rig.window.Bar().removeRow));
  EXPECT_EQ(rig.editor.rows, 3);
  EXPECT_EQ(rig.editor.ModuleCount(), 1);
  EXPECT_EQ(rig.editor.modules[0][0], &above);
  EXPECT_EQ(rig.editor.cables.visibleCableCount, 0);
  for (int i = 0; i < 5; ++i) rig.Click(rig.Middle(*rig.window.Bar().removeRow));
  EXPECT_EQ(rig.editor.rows, 1) << "the last one stays";
}

TEST(RackWindow, AddsRowsFromTheTopOfARackThatFits) {
  WindowRig rig;
  rig.window.ScrollTo(1.0f);
  rig.Click(rig.Middle(*rig.window.Bar().removeRow));
  EXPECT_EQ(rig.window.Rack().getViewSize().top, 0);
  rig.Click(rig.Middle(*rig.window.Bar().addRow));
  EXPECT_EQ(rig.window.Rack().getViewSize().top, 0);
}

TEST(RackWindow, FillsTheWindowWithRowsWithoutAnEdit) {
  WindowRig rig;
  rig.editor.SetRows(2);
  const std::span<const std::byte> saved = rig.editor.SaveChunk();
  const std::vector<std::byte> chunk(saved.begin(), saved.end());
  rig.editor.commands.ChangeViewableRows(4);
  ASSERT_TRUE(rig.editor.LoadChunk(chunk));
  EXPECT_EQ(rig.editor.rows, 4) << "no field without a row";
  EXPECT_EQ(rig.window.Rack().getHeight(), rig.window.Geometry().ViewHeight());
}

TEST(RackWindow, AWheelThatScrollsTurnsNoKnobOnItsWay) {
  WindowRig rig;
  rig.editor.SetRows(8);
  Module& vco = rig.Add("S310 VCO", 2, 2);
  CControl& knob = rig.rack.Control(vco, "Fine tune");
  const float before = knob.getValue();
  rig.window.ScrollTo(0.0f);
  const CPoint knobAtTop = rig.Middle(knob);
  const CPoint mouse(knobAtTop.x, rig.Cell(0, 1).y + 20);
  for (int i = 0; i < 12; ++i) {
    rig.frame.onWheel(mouse, -0.5f, {});
    rig.frame.advanceTime(0.1);
  }
  EXPECT_LT(rig.Middle(knob).y, mouse.y) << "the knob went by below the mouse";
  EXPECT_EQ(knob.getValue(), before);
  rig.window.ScrollTo(0.25f);
  rig.frame.advanceTime(1.0);
  rig.frame.onWheel(rig.Middle(knob), 1.0f, {});
  EXPECT_NE(knob.getValue(), before) << "a gesture of its own turns it";
}

TEST(RackWindow, ScrollsByWheelBarAndEdge) {
  WindowRig rig;
  rig.editor.SetRows(6);
  const RackGeometry& geometry = rig.window.Geometry();
  const auto top = [&] { return rig.window.Rack().getViewSize().top; };
  const CPoint middle = geometry.ViewRect().getCenter();
  rig.frame.onWheel(middle, -3.0f, {});
  EXPECT_NEAR(top(), -geometry.rowHeight, 2) << "three notches are a row";
  rig.window.ScrollTo(1.0f);
  EXPECT_EQ(top(), -4 * geometry.rowHeight);
  rig.editor.SetRows(3);
  EXPECT_EQ(top(), -geometry.rowHeight) << "the value stays, the way is shorter";

  const CRect view = geometry.ViewRect();
  EXPECT_TRUE(rig.window.ScrollAtEdge(view.top + 20, 30, 0.3));
  EXPECT_EQ(top(), -geometry.rowHeight + 3) << "10 pixels in the margin at 0.3";
  EXPECT_FALSE(rig.window.ScrollAtEdge(view.getCenter().y, 30, 0.3));
  EXPECT_TRUE(rig.window.ScrollAtEdge(view.bottom + 500, 30, 0.3));
  EXPECT_FALSE(rig.window.ScrollAtEdge(view.bottom + 500, 30, 0.3)) << "it can go no further";

  // A window opens where it was scrolled to.
  rig.window.ScrollTo(0.5f);
  const CCoord before = top();
  rig.editor.CloseWindow();
  EXPECT_EQ(rig.editor.OpenViews().Rack().getViewSize().top, before);
}

/// Notes where the mouse is.
class MouseModule final : public Module {
 public:
  explicit MouseModule(const HostTable& table)
      : Module(CRect(0, 0, 48, 291), nullptr, nullptr, table, 0) {
    RegisterForMouseMoved();
  }
  int OnMouseMoved(CPoint* where, int*) override {
    last = *where;
    return kMouseEventNotHandled;
  }
  CPoint last;
};

TEST(RackWindow, TellsModulesOfTheMouseWhereverItIs) {
  WindowRig rig;
  rig.editor.SetRows(6);
  auto* module = new MouseModule(rig.editor.hostTable);
  rig.editor.AdoptModule(module);
  rig.Move(CPoint(700, 400));
  EXPECT_EQ(module->last, CPoint(700, 400)) << "in the window's coordinates";
  rig.frame.onWheel(CPoint(300, 200), -1.0f, {});
  EXPECT_EQ(module->last, CPoint(300, 200)) << "also when the rack moves under it";
  rig.editor.RemoveAllModules();
  rig.Move(CPoint(10, 10));
}

TEST(RackWindow, ADragAtTheEdgeGoesOnScrollingWhileTheMouseRests) {
  WindowRig rig;
  rig.editor.SetRows(6);
  Module& module = rig.Add(kMixer, 5, 1);
  const CCoord bottom = rig.window.Geometry().ViewRect().bottom;
  const CPoint grab = rig.Free(module);
  rig.Press(grab);
  rig.Move(CPoint(grab.x, bottom - 2), kLButton);
  const CCoord atFirst = rig.window.Rack().getViewSize().top;
  rig.frame.advanceTime(10.0);
  EXPECT_LT(rig.window.Rack().getViewSize().top, atFirst);
  EXPECT_EQ(rig.window.Scrollbar().getValue(), 1.0f) << "as far as it goes";
  rig.Release(CPoint(grab.x, bottom - 2));
  EXPECT_FALSE(rig.frame.dragRepeat.isRunning());
}

TEST(RackWindow, ResizesForMoreRows) {
  WindowRig rig;
  rig.editor.commands.ChangeViewableRows(5);
  const RackGeometry& geometry = rig.window.Geometry();
  EXPECT_EQ(rig.frame.getHeight(), geometry.origin.y + 5 * geometry.rowHeight);
  EXPECT_EQ(rig.editor.rows, 5) << "as many as are to be seen";
  EXPECT_EQ(rig.editor.WindowRect(), geometry.WindowRect());
  EXPECT_FALSE(rig.window.Dialog().IsShown()) << "nobody had to be asked";

  // One host says that it resized and does not.
  rig.rack.host.product = "Steady CuBase 12";
  rig.editor.commands.ChangeViewableRows(2);
  ASSERT_TRUE(rig.window.Dialog().IsShown());
  EXPECT_EQ(rig.window.Dialog().Request().title, "Window Height");
}

}  // namespace
}  // namespace halveron
