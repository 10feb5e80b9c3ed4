// The size of the window: zoom, rows, margins, and the pictures that go with a zoom.
#include "editor/window_zoom.h"

#include <gtest/gtest.h>

#include <chrono>
#include <cmath>
#include <thread>

#include "editor/sharp_images.h"
#include "gui/text_edit.h"
#include "tests/support/window_rig.h"

namespace halveron {
namespace {

using testing::WindowRig;

CPoint PixelsOf(const WindowRig& rig) { return rig.frame.getWindowSize(); }

TEST(WindowZoom, StepsByWheelAndKeysWithinItsBounds) {
  WindowRig rig;
  const CPoint usual = PixelsOf(rig);
  const int rows = rig.window.Geometry().viewableRows;
  EXPECT_EQ(rig.window.Zoom().Percent(), 100);
  rig.frame.onWheel(rig.Cell(1, 0), 1, CButtonState(kControl));
  EXPECT_EQ(rig.window.Zoom().Percent(), 110);
  rig.Shortcut('+');
  EXPECT_EQ(rig.window.Zoom().Percent(), 125);
  EXPECT_EQ(PixelsOf(rig), CPoint(usual.x * 1.25, usual.y * 1.25));
  EXPECT_EQ(rig.frame.getWidth(), usual.x) << "views keep their units";
  EXPECT_EQ(rig.window.Geometry().viewableRows, rows);
  EXPECT_EQ(rig.editor.WindowRect().getBottomRight(), PixelsOf(rig)) << "as hosts ask for it";
  for (int i = 0; i < 20; ++i) rig.Shortcut('+');
  EXPECT_EQ(rig.window.Zoom().Percent(), WindowZoom::kMostPercent);
  for (int i = 0; i < 20; ++i) rig.Shortcut('-');
  EXPECT_EQ(rig.window.Zoom().Percent(), WindowZoom::kLeastPercent);
  EXPECT_EQ(rig.editor.options.zoom.Get(), WindowZoom::kLeastPercent) << "kept for the next start";
  rig.Shortcut('0');
  EXPECT_EQ(rig.editor.options.zoom.Get(), 0);
}

TEST(WindowZoom, ShareOutASizeFromOutside) {
  WindowRig rig;
  const RackGeometry& geometry = rig.window.Geometry();
  const CPoint usual = PixelsOf(rig);

  // Only higher: rows, the last of them in part, and no other zoom.
  rig.editor.SetWindowSize(usual + CPoint(0, 1.5 * geometry.rowHeight));
  EXPECT_EQ(rig.window.Zoom().Percent(), 100);
  EXPECT_EQ(geometry.viewableRows, 3);
  EXPECT_NEAR(geometry.extraHeight, 0.5 * geometry.rowHeight, 1);
  EXPECT_EQ(rig.editor.rows, 4) << "no field without a row";

  // Wider: zoom, and the rows that the height has room for then.
  rig.editor.SetWindowSize(CPoint(usual.x * 2, usual.y * 2));
  EXPECT_EQ(rig.window.Zoom().Percent(), 200);
  EXPECT_EQ(geometry.viewableRows, 2);
  EXPECT_EQ(geometry.margin, 0);

  // Too wide for its height: the least rows, between margins.
  rig.editor.SetWindowSize(CPoint(usual.x * 3, usual.y));
  EXPECT_EQ(geometry.viewableRows, Options::kFewestViewableRows);
  EXPECT_NEAR(geometry.margin, usual.x, 2);
  EXPECT_NEAR(rig.frame.getWidth(), usual.x * 3, 2);
  const CPoint onButton = rig.Middle(*rig.window.Bar().mainMenu);
  rig.Click(onButton);
  EXPECT_NE(rig.window.OpenMenu(), nullptr) << "the mouse finds what moved with the margin";

  const CPoint nearest = rig.editor.NearestWindowSize(CPoint(10, 10));
  EXPECT_EQ(nearest.x, usual.x / 2);
  EXPECT_EQ(rig.editor.NearestWindowSize(CPoint(1e5, 1e4)).x, usual.x * 3);
}

TEST(WindowZoom, KeepsADragOfTheBorderWhenItEnds) {
  WindowRig rig;
  const CPoint usual = PixelsOf(rig);
  const auto pass = [&rig](double seconds) {
    rig.frame.advanceTime(seconds);
    rig.editor.Idle();
  };
  for (const double share : {1.2, 1.4, 1.5}) {
    rig.editor.SetWindowSize(CPoint(usual.x * share, usual.y * share));
    pass(0.5);
    EXPECT_EQ(rig.editor.options.zoom.Get(), 0) << "the drag goes on";
  }
  pass(0.5);
  EXPECT_EQ(rig.editor.options.zoom.Get(), 150);

  rig.Shortcut('0');
  rig.editor.SetWindowSize(PixelsOf(rig) + CPoint(0, rig.window.Geometry().rowHeight));
  pass(1);
  EXPECT_EQ(rig.editor.options.viewableRows.Get(), 3);
  EXPECT_EQ(rig.editor.options.zoom.Get(), 0) << "a height is no choice of a zoom";
}

TEST(WindowZoom, BrowsersFollowTheSizeOfTheWindow) {
  WindowRig rig;
  const CPoint usual = PixelsOf(rig);
  const auto centre = [&] { return rig.frame.getViewSize().getCenter(); };
  const auto resize = [&](CCoord height) { rig.editor.SetWindowSize(CPoint(usual.x, height)); };
  ModuleBrowser& modules = rig.window.Browser();
  rig.window.OpenModuleBrowser();
  rig.Type("vco");
  const std::string selected = modules.List().Selected()->identity.first;
  const CCoord before = modules.List().getHeight();
  for (const double share : {0.6, 2.0}) {
    resize(std::round(usual.y * share));
    const CRect place = modules.getViewSize();
    EXPECT_NEAR(place.getCenter().y, centre().y, 1);
    EXPECT_EQ(CRect(place).bound(rig.frame.getViewSize()), place);
    EXPECT_EQ(share < 1, modules.List().getHeight() < before);
    EXPECT_STREQ(modules.SearchField().getText(), "vco") << "what was typed stays";
    EXPECT_EQ(modules.List().Selected()->identity.first, selected);
    rig.DrawDirty();
  }
  rig.Shortcut('+');
  EXPECT_TRUE(rig.frame.getFocusView() == &modules.SearchField());
  modules.Close();

  resize(usual.y);
  rig.window.OpenPresetBrowser();
  PresetBrowser& presets = *rig.window.OpenPresets();
  for (const double share : {0.6, 2.0}) {
    resize(std::round(usual.y * share));
    EXPECT_EQ(presets.getViewSize(), rig.frame.getViewSize());
    const CRect rows = presets.Rows().getViewSize();
    EXPECT_EQ(CRect(rows).bound(presets.getViewSize()), rows);
  }
  EXPECT_TRUE(rig.frame.getFocusView() == &presets.Search());
  presets.Close();
}

TEST(WindowZoom, GrowingPicturesAreThoseOfAFreshDraw) {
  WindowRig rig;
  rig.editor.SetRows(6);
  Module& vco = rig.Add("S310 VCO", 2, 1);
  Module& mixer = rig.Add("S102 Unity Mixer", 20, 0);
  rig.rack.Connect(vco, "Saw", mixer, "In 1");
  rig.window.Zoom().SetPercent(125);
  const CPoint size = PixelsOf(rig);
  const auto make = [&] {
    return COffscreenContext(static_cast<int>(rig.frame.getWidth()),
                             static_cast<int>(rig.frame.getHeight()), rig.frame.getZoom());
  };
  COffscreenContext grown = make();
  rig.frame.draw(&grown);
  for (const float scroll : {0.1f, 0.37f, 0.9f, 0.2f}) {
    rig.window.ScrollTo(scroll);
    rig.frame.draw(&grown);
  }
  for (int i = 0; i <= SynRack::kMovingPaints + 1; ++i) {
    rig.frame.takeDirtyRegion();
    rig.frame.draw(&grown);
  }
  COffscreenContext fresh = make();
  rig.window.Rack().ResizeLayers();
  rig.frame.draw(&fresh);
  int differing = 0;
  for (int y = 0; y < size.y; ++y) {
    for (int x = 0; x < size.x; ++x) differing += grown.getPixel(x, y) != fresh.getPixel(x, y);
  }
  EXPECT_EQ(differing, 0);
}

TEST(SharpImages, PaintsWhatIsAskedForWithinItsBound) {
  const std::string file = "/nowhere/Skins/Classic/Medium/one.png";
  UsePictureJobs([](const std::string&, const Module*, double scale) {
    return PictureJob([scale] {
      return SharedPointer<CBitmap>::Adopt(new CBitmap(static_cast<int>(2000 * scale), 4000));
    });
  });
  testing::TestRack rack(48000);
  SharpImages images;
  const auto wait = [&] {
    for (int i = 0; i < 2000 && !images.IsIdle(); ++i) {
      images.Work(rack.editor);
      std::this_thread::sleep_for(std::chrono::milliseconds(1));
    }
    ASSERT_TRUE(images.IsIdle());
  };
  const CBitmap image(file);
  EXPECT_EQ(images.findSharp(image, 2), nullptr) << "not yet";
  wait();
  ASSERT_NE(images.findSharp(image, 2), nullptr);
  EXPECT_EQ(images.findSharp(image, 2)->getWidth(), 4000);
  EXPECT_EQ(images.findSharp(image, 1.5), images.findSharp(image, 2)) << "the best that there is";
  wait();
  EXPECT_EQ(images.findSharp(image, 1.5)->getWidth(), 3000);
  for (int i = 0; i < 8; ++i) {
    images.findSharp(image, 2.1 + 0.1 * i);
    wait();
  }
  images.Work(rack.editor);
  EXPECT_LE(images.Bytes(), SharpImages::kMostBytes);
  EXPECT_NE(images.findSharp(image, 2.8), nullptr) << "the newest stays";
  UsePictureJobs(nullptr);
}

}  // namespace
}  // namespace halveron
