// Cables: how they look, when they are computed, and how the mouse makes and breaks them.
#include <gtest/gtest.h>

#include "editor/cable_painter.h"
#include "tests/support/window_rig.h"

namespace halveron {
namespace {

using testing::WindowRig;

bool IsTransparent(const COffscreenContext& picture, int x, int y) {
  return picture.getPixel(x, y).alpha == 0;
}

/// Pixels of two pictures that differ by more than rounding does.
int Differing(const COffscreenContext& a, const COffscreenContext& b) {
  int differing = 0;
  for (int y = 0; y < a.getHeight(); ++y) {
    for (int x = 0; x < a.getWidth(); ++x) {
      const CColor p = a.getPixel(x, y);
      const CColor q = b.getPixel(x, y);
      const int apart = std::max(
          {std::abs(p.red - q.red), std::abs(p.green - q.green), std::abs(p.blue - q.blue)});
      if (apart > 3) ++differing;
    }
  }
  return differing;
}

TEST(CablePainter, DrawsThreeLayersFromDarkToLight) {
  CableStyle style;
  for (const auto& [width, step] : {std::pair(3, 1), {8, 3}, {5, 2}}) {
    style.width = width;
    EXPECT_EQ(style.WidthStep(), step);
  }
  style.width = 9;
  COffscreenContext picture(200, 100);
  CablePainter(style).Draw(picture, CPoint(10, 20), CPoint(190, 20), 1);
  const auto middle = CablePainter::Middle(CPoint(10, 20), CPoint(190, 20));
  EXPECT_EQ(middle, CPoint(100, 35)) << "15 below the lower end";
  const CColor red = CableColour(1);
  EXPECT_EQ(picture.getPixel(100, 35), CColor(red.red + 90, red.green + 90, red.blue + 90));
  EXPECT_EQ(picture.getPixel(100, 31), red) << "the edge is the dark layer";

  // A light channel begins again from 0: the MIDI cable's 10 becomes 100, a green of 90 stays 180.
  COffscreenContext flat(200, 100);
  style.isFlat = true;
  CablePainter(style).Draw(flat, CPoint(10, 20), CPoint(190, 20), 2);
  EXPECT_EQ(flat.getPixel(100, 35), CColor(25 + 45, 90 + 45, 25 + 45)) << "once lighter";
  EXPECT_TRUE(IsTransparent(flat, 115, 50)) << "a flat cable throws no shadow";
}

TEST(CablePainter, BulgesWhereEndsStandAboveEachOther) {
  EXPECT_EQ(CablePainter::Middle(CPoint(50, 10), CPoint(54, 80)), CPoint(59, 95));
  EXPECT_EQ(CablePainter::Middle(CPoint(54, 10), CPoint(50, 80)), CPoint(59, 95));
  EXPECT_EQ(CablePainter::Middle(CPoint(50, 10), CPoint(55, 80)), CPoint(52.5, 95));
}

TEST(CablePainter, LiteCablesBulgeToo) {
  CableStyle style;
  style.isLite = true;
  COffscreenContext picture(120, 200);
  CablePainter(style).Draw(picture, CPoint(50, 20), CPoint(50, 120), 1);
  int rightmost = 0;
  for (int x = 0; x < 120; ++x) {
    if (!IsTransparent(picture, x, 100)) rightmost = x;
  }
  EXPECT_GT(rightmost, 55) << "7 pixels at the control points";
}

TEST(CablePainter, LeavesItsBoundsUntouched) {
  constexpr int kSide = 700;
  const std::pair<CPoint, CPoint> cables[] = {{{300, 300}, {302, 320}},
                                              {{100, 100}, {600, 100}},
                                              {{350, 50}, {352, 550}},
                                              {{500, 500}, {120, 90}}};
  for (const bool lite : {false, true}) {
    CableStyle style;
    style.isLite = lite;
    for (const auto& [from, to] : cables) {
      COffscreenContext picture(kSide, kSide);
      const CablePainter painter(style);
      painter.Draw(picture, from, to, 3);
      const CRect bounds = painter.BoundsOf(from, to);
      int outside = 0;
      for (int y = 0; y < kSide; ++y) {
        for (int x = 0; x < kSide; ++x) {
          if (!bounds.pointInside(CPoint(x, y)) && !IsTransparent(picture, x, y)) ++outside;
        }
      }
      EXPECT_EQ(outside, 0) << from.x << "," << from.y << (lite ? " lite" : "");
    }
  }
}

TEST(CablePainter, ThrowsAShadowOnlyWhereThereIsEnoughOfIt) {
  CableStyle style;
  const auto shadows = [&](int alpha) {
    style.alpha = alpha;
    COffscreenContext picture(200, 100);
    CablePainter(style).Draw(picture, CPoint(10, 20), CPoint(190, 20), 1);
    return !IsTransparent(picture, 115, 50);
  };
  EXPECT_TRUE(shadows(255));
  EXPECT_TRUE(shadows(150));
  EXPECT_FALSE(shadows(149));
}

TEST(SynRack, ComputesCablesOnlyWhileSomethingMoves) {
  WindowRig rig;
  Module& from = rig.Add("S310 VCO", 2, 0);
  Module& to = rig.Add("S102 Unity Mixer", 40, 1);
  rig.editor.cables.ConnectCable(&rig.Out(from, "Saw"), &rig.In(to, "In 1"), 1, -1);
  const SynRack& rack = rig.window.Rack();
  EXPECT_EQ(rack.RedrawFrames(), SynRack::kMovingPaints);
  for (int i = 0; i < SynRack::kMovingPaints; ++i) rig.DrawAll();
  EXPECT_EQ(rack.RedrawFrames(), 0);
  COffscreenContext moving(rig.Picture().getWidth(), rig.Picture().getHeight());
  rig.Picture().copyFrom(moving, CRect(0, 0, moving.getWidth(), moving.getHeight()));

  rig.DrawAll();
  EXPECT_EQ(rack.RedrawFrames(), -1) << "the layer stands";
  rig.DrawAll();
  EXPECT_EQ(rack.RedrawFrames(), -1);
  EXPECT_EQ(Differing(moving, rig.Picture()), 0) << "drawn by either way, the picture is the same";

  rig.Drag(rig.Free(to), rig.Free(to) + CPoint(0, 0));
  EXPECT_EQ(rack.RedrawFrames(), SynRack::kMovingPaints);
}

TEST(SynRack, CountsPaintsAndNotTheirRectangles) {
  WindowRig rig;
  rig.editor.SetRows(2);
  rig.DrawAll();
  const int before = rig.window.Rack().RedrawFrames();
  const CRect view = rig.window.Geometry().ViewRect();
  for (int i = 0; i < 5; ++i) {
    rig.frame.invalidRect(CRect::FromSize(view.getTopLeft() + CPoint(i * 50, i * 50), 10, 10));
  }
  rig.DrawDirty();
  EXPECT_EQ(rig.window.Rack().RedrawFrames(), before - 1);
}

// Whatever happens, the picture that grew step by step is the one that is drawn from nothing.
TEST(SynRack, LayersShowWhatAFreshPictureWouldShow) {
  WindowRig rig;
  rig.editor.SetRows(5);
  std::vector<Module*> modules;
  for (int i = 0; i < 6; ++i) modules.push_back(&rig.Add("S310 VCO", i * 13, i % 3));
  Module& mixer = rig.Add("S102 Unity Mixer", 79, 1);
  const auto connect = [&](std::size_t from, const char* to, int colour) {
    rig.editor.cables.ConnectCable(&rig.Out(*modules[from], "Saw"), &rig.In(mixer, to), colour, -1);
  };
  connect(0, "In 1", 1);
  connect(2, "In 2", 2);
  connect(4, "In 3", 3);
  rig.DrawAll();

  const auto expectFresh = [&](const char* what) {
    rig.frame.onIdle();
    for (int i = 0; i <= SynRack::kMovingPaints + 1; ++i) {
      rig.frame.invalidRect(CRect(0, 0, 1, 1));
      rig.window.Rack().invalidRect(rig.window.Rack().VisiblePart());
      rig.DrawDirty();
    }
    COffscreenContext grown(rig.Picture().getWidth(), rig.Picture().getHeight());
    rig.Picture().copyFrom(grown, CRect(0, 0, grown.getWidth(), grown.getHeight()));
    rig.window.Rack().ResizeLayers();
    rig.DrawAll();
    EXPECT_EQ(Differing(grown, rig.Picture()), 0) << what;
  };
  const auto step = [&](const char* what, auto&& act) {
    SCOPED_TRACE(what);
    act();
    rig.frame.onIdle();
    rig.DrawDirty();
    COffscreenContext grown(rig.Picture().getWidth(), rig.Picture().getHeight());
    rig.Picture().copyFrom(grown, CRect(0, 0, grown.getWidth(), grown.getHeight()));
    rig.DrawAll();
    EXPECT_EQ(Differing(grown, rig.Picture()), 0) << what << ": all that changed was painted";
    expectFresh(what);
  };
  step("a knob turns", [&] { rig.rack.MoveControl(*modules[0], "Fine tune", 0.9f); });
  step("scrolled", [&] { rig.frame.onWheel(rig.Cell(70, 3), -1.5f, {}); });
  step("scrolled back a little", [&] { rig.window.ScrollTo(0.1f); });
  step("a cable is added", [&] { connect(1, "In 4", 4); });
  step("a cable goes",
       [&] { rig.editor.cables.RemoveCable(rig.In(mixer, "In 2").firstCable, -1, false); });
  step("a module moves", [&] { rig.Place(*modules[4], 30, 2); });
  step("a module goes", [&] { rig.editor.RemoveModule(modules[0], true); });
}

TEST(SynRack, ARestingCableIsNotComputedWhileAnotherMoves) {
  WindowRig rig;
  Module& a = rig.Add("S310 VCO", 2, 0);
  Module& b = rig.Add("S310 VCO", 20, 1);
  Module& mixer = rig.Add("S102 Unity Mixer", 60, 0);
  rig.editor.cables.ConnectCable(&rig.Out(a, "Saw"), &rig.In(mixer, "In 1"), 1, -1);
  rig.editor.cables.ConnectCable(&rig.Out(b, "Saw"), &rig.In(mixer, "In 2"), 2, -1);
  rig.DrawAll();
  rig.Place(b, 21, 1);
  rig.DrawDirty();
  const std::size_t before = rig.window.Rack().Cables().DrawnStrands();
  for (int column = 22; column < 30; ++column) {
    rig.Place(b, column, 1);
    rig.DrawDirty();
  }
  rig.Press(rig.Middle(rig.Out(a, "Saw")));
  for (int x = 100; x < 500; x += 40) {
    rig.Move(CPoint(x, 200), kLButton);
    rig.DrawDirty();
  }
  EXPECT_EQ(rig.window.Rack().Cables().DrawnStrands(), before);
}

TEST(SynRack, AsksOnlyForWhatChanged) {
  WindowRig rig;
  Module& vco = rig.Add("S310 VCO", 2, 0);
  rig.DrawAll();
  rig.rack.MoveControl(vco, "Fine tune", 0.7f);
  rig.frame.onIdle();
  const std::vector<CRect> dirty = rig.frame.takeDirtyRegion();
  ASSERT_EQ(dirty.size(), 2u) << "the knob and its bubble";
  for (const CRect& rect : dirty) {
    EXPECT_LT(rect.getWidth(), 160);
    EXPECT_LT(rect.getHeight(), 60);
    rig.frame.drawRect(&rig.Picture(), rect);
  }
  rig.frame.onIdle();
  EXPECT_FALSE(rig.frame.hasDirtyRegion()) << "an idle rack asks for nothing";
}

TEST(CableDrag, MakesMovesAndBreaksCables) {
  WindowRig rig;
  Module& vco = rig.Add("S310 VCO", 2, 0);
  Module& mixer = rig.Add("S102 Unity Mixer", 30, 0);
  PatchPoint& saw = rig.Out(vco, "Saw");
  PatchPoint& in1 = rig.In(mixer, "In 1");
  PatchPoint& in2 = rig.In(mixer, "In 2");

  rig.Press(rig.Middle(saw));
  EXPECT_TRUE(rig.editor.cables.isDraggingCable);
  rig.Move(rig.Middle(saw) + CPoint(90, 60), kLButton);
  const CPoint end = rig.Middle(saw) + CPoint(90, 60) - rig.window.Geometry().origin;
  const CRect dragged = rig.window.Rack().GetDraggedCableRect();
  EXPECT_TRUE(dragged.pointInside(end));
  rig.Release(rig.Middle(in1));
  EXPECT_FALSE(rig.editor.cables.isDraggingCable);
  EXPECT_EQ(in1.cableCount, 1);
  EXPECT_TRUE(rig.window.Rack().GetDraggedCableRect().isEmpty());

  const int colour = rig.editor.cables.cableList.head->colour;
  rig.Drag(rig.Middle(in1), rig.Middle(in2));
  EXPECT_EQ(in1.cableCount, 0) << "pulled off its input";
  ASSERT_EQ(in2.cableCount, 1);
  EXPECT_EQ(rig.editor.cables.cableList.head->colour, colour) << "and keeps its colour";
  rig.Drag(rig.Middle(in2), rig.Free(mixer));
  EXPECT_EQ(in2.cableCount, 0) << "dropped in the air it is gone";
  rig.Drag(rig.Middle(in1), rig.Middle(in2));
  EXPECT_EQ(rig.editor.cables.visibleCableCount, 0) << "an input feeds no input";
  EXPECT_EQ(rig.CellOf(mixer), CPoint(30, 0)) << "no module has moved by all of that";
}

TEST(CableDrag, ScrollsTheRackWhileTheMouseRestsAtItsEdge) {
  WindowRig rig;
  rig.editor.SetRows(5);
  Module& vco = rig.Add("S310 VCO", 2, 0);
  const CPoint edge(300, rig.window.Geometry().ViewRect().bottom - 2);
  rig.Press(rig.Middle(rig.Out(vco, "Saw")));
  rig.Move(edge, kLButton);
  EXPECT_TRUE(rig.frame.mouseRepeat.isRunning());
  rig.frame.advanceTime(30.0);
  EXPECT_EQ(rig.window.Scrollbar().getValue(), 1.0f);
  EXPECT_FALSE(rig.frame.mouseRepeat.isRunning()) << "there is no further to go";
  rig.Release(edge);
  EXPECT_FALSE(rig.editor.cables.isDraggingCable);
}

TEST(CableDrag, EndsWhenItsModuleIsTakenAway) {
  WindowRig rig;
  Module& keys = rig.Add("SA03 MIDI/Sync From DAW", 2, 0);
  rig.Press(rig.Middle(rig.Out(keys, "MIDI")));
  rig.Move(CPoint(500, 300), kLButton);
  rig.DrawAll();
  rig.editor.RemoveAllModules();
  EXPECT_FALSE(rig.editor.cables.isDraggingCable);
  rig.DrawAll();
  rig.Release(CPoint(500, 300));
}

TEST(Tooltips, TellRoleAndCables) {
  WindowRig rig;
  Module& vco = rig.Add("S310 VCO", 2, 0);
  Module& mixer = rig.Add("S102 Unity Mixer", 30, 0);
  rig.editor.cables.ConnectCable(&rig.Out(vco, "Saw"), &rig.In(mixer, "In 1"), 1, -1);
  const auto tipOf = [&](const CView& view) {
    rig.Move(rig.Middle(view));
    rig.frame.advanceTime(1.0);
    return rig.frame.getShownTooltip();
  };
  EXPECT_EQ(tipOf(rig.Out(vco, "Saw")), "Saw (output)\nto S102 Unity Mixer: In 1");
  EXPECT_EQ(tipOf(rig.In(mixer, "In 1")), "In 1 (input)\nfrom S310 VCO: Saw");
  EXPECT_EQ(tipOf(*rig.window.Bar().addRow), "Add a row");
}

TEST(Tooltips, TheWheelTurnsKnobs) {
  WindowRig rig;
  Module& vco = rig.Add("S310 VCO", 2, 0);
  CControl& octave = rig.rack.Control(vco, "Octave");
  auto& stepped = dynamic_cast<ModuleKnob&>(octave);
  const int before = stepped.GetStepIndex();
  rig.frame.onWheel(rig.Middle(octave), 1.0f, {});
  EXPECT_EQ(stepped.GetStepIndex(), before + 1) << "one notch, one step";
  for (int i = 0; i < 20; ++i) rig.frame.onWheel(rig.Middle(octave), -1.0f, {});
  EXPECT_EQ(stepped.GetStepIndex(), 0);

  CControl& fine = rig.rack.Control(vco, "Fine tune");
  const float start = fine.getValue();
  rig.frame.onWheel(rig.Middle(fine), 1.0f, {});
  const float coarse = fine.getValue() - start;
  rig.frame.onWheel(rig.Middle(fine), 1.0f, CButtonState(kShift));
  EXPECT_NEAR(fine.getValue() - start - coarse, coarse / 10, 1e-6);
}

}  // namespace
}  // namespace halveron
