// Rows, scrolling, and modules under the mouse.
#include <gtest/gtest.h>

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
  EXPECT_FALSE(module.isDragged);

  rig.Drag(rig.Free(module), rig.Free(module) - CPoint(0, 150));
  EXPECT_EQ(rig.CellOf(module), CPoint(13, 1)) << "let go between rows, it returns";
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

  // Above another module it goes away again, or with Control makes itself room.
  const CPoint onIt = rig.Free(module);
  rig.Move(onIt);
  rig.editor.commands.InsertModule(kMixer, kBuiltInVendor);
  rig.Click(onIt);
  EXPECT_EQ(rig.editor.ModuleCount(), 1);
  rig.editor.commands.InsertModule(kMixer, kBuiltInVendor);
  rig.Click(onIt, kLButton | kControl);
  EXPECT_EQ(rig.editor.ModuleCount(), 2);

  rig.editor.commands.InsertModule(kMixer, kBuiltInVendor);
  rig.Key(kKeyEscape);
  EXPECT_FALSE(rig.window.IsInserting());
  EXPECT_EQ(rig.editor.ModuleCount(), 2);
}

TEST(RackWindow, ClosesInTheMiddleOfAnything) {
  WindowRig rig;
  Module& module = rig.Add("S310 VCO", 3, 0);
  rig.Press(rig.Free(module));
  rig.Move(rig.Free(module) + CPoint(300, 80), kLButton);
  rig.editor.CloseWindow();
  EXPECT_FALSE(module.isDragged);
  EXPECT_EQ(module.getViewSize().left, 36) << "a drag that was not ended did not happen";
  EXPECT_EQ(module.getParentView(), nullptr);

  RackWindow& window = rig.editor.OpenViews();
  EXPECT_EQ(module.getParentView(), &window.Rack());
  window.Frame().useManualClock();
  rig.editor.commands.InsertModule(kMixer, kBuiltInVendor);
  rig.editor.CloseWindow();
  EXPECT_EQ(rig.editor.ModuleCount(), 1) << "nor did a module that hung on the mouse";
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
  rig.editor.ConnectCable(&rig.Out(inLast, "Saw"), &rig.In(above, "In 1"), 1, -1);
  rig.Click(rig.Middle(*rig.window.Bar().removeRow));
  EXPECT_EQ(rig.editor.rows, 3);
  EXPECT_EQ(rig.editor.ModuleCount(), 1);
  EXPECT_EQ(rig.editor.modules[0][0], &above);
  EXPECT_EQ(rig.editor.visibleCableCount, 0);
  for (int i = 0; i < 5; ++i) rig.Click(rig.Middle(*rig.window.Bar().removeRow));
  EXPECT_EQ(rig.editor.rows, 1) << "the last one stays";
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
