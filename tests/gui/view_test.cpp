#include <gtest/gtest.h>

#include <string>
#include <vector>

#include "gui/control.h"
#include "gui/draw_context.h"
#include "gui/frame.h"

namespace halveron {
namespace {

/// Writes down what reaches it.
class Probe : public CView {
 public:
  Probe(const CRect& size, std::string name, std::vector<std::string>& log)
      : CView(size), name_(std::move(name)), log_(log) {}
  ~Probe() override { log_.push_back(name_ + " gone"); }

  void draw(CDrawContext* context) override {
    log_.push_back(name_ + " drawn");
    context->setFillColor(color);
    context->fillRect(spill);
    CView::draw(context);
  }
  CMouseEventResult onMouseDown(CPoint& where, const CButtonState&) override {
    log_.push_back(name_ + " down");
    lastPoint = where;
    if (removeOnPress) parentView->asContainer()->removeView(this);
    return press;
  }
  CMouseEventResult onMouseMoved(CPoint& where, const CButtonState&) override {
    log_.push_back(name_ + " moved");
    lastPoint = where;
    return kMouseEventHandled;
  }
  CMouseEventResult onMouseUp(CPoint& where, const CButtonState&) override {
    log_.push_back(name_ + " up");
    lastPoint = where;
    return kMouseEventHandled;
  }
  CMouseEventResult onMouseEntered(CPoint&, const CButtonState&) override {
    log_.push_back(name_ + " entered");
    return kMouseEventHandled;
  }
  CMouseEventResult onMouseExited(CPoint&, const CButtonState&) override {
    log_.push_back(name_ + " exited");
    return kMouseEventHandled;
  }
  bool onKeyDown(const CKeyEvent&) override {
    log_.push_back(name_ + " key");
    return true;
  }
  void takeFocus() override { log_.push_back(name_ + " focus"); }
  void looseFocus() override { log_.push_back(name_ + " blur"); }
  void onIdle() override { log_.push_back(name_ + " idle"); }

  CMouseEventResult press = kMouseEventHandled;
  bool removeOnPress = false;
  CPoint lastPoint;
  CColor color = kRedCColor;
  CRect spill{-1000, -1000, 1000, 1000};

 private:
  std::string name_;
  std::vector<std::string>& log_;
};

using Log = std::vector<std::string>;

/// A frame of 100 by 100 with a container at 10, 20 of 50 by 50, which holds `low` at 5, 5 and
/// `high` over a part of it.
class ViewTree : public ::testing::Test {
 protected:
  ViewTree() {
    box->addView(low);
    box->addView(high);
    frame.addView(box);
    frame.takeDirtyRegion();
  }
  Log Taken() { return std::exchange(log, {}); }
  CMouseEventResult Down(CPoint p, int buttons = kLButton) { return frame.onMouseDown(p, buttons); }
  CMouseEventResult Move(CPoint p, int buttons = 0) { return frame.onMouseMoved(p, buttons); }
  CMouseEventResult Up(CPoint p) { return frame.onMouseUp(p, kLButton); }

  Log log;
  CFrame frame{CRect(0, 0, 100, 100)};
  CViewContainer* box = new CViewContainer(CRect(10, 20, 60, 70), nullptr);
  Probe* low = new Probe(CRect(5, 5, 25, 25), "low", log);
  Probe* high = new Probe(CRect(15, 15, 35, 35), "high", log);
};

TEST_F(ViewTree, ChildrenKeepTheirOrderAndOneParent) {
  auto* middle = new Probe(CRect(0, 0, 5, 5), "middle", log);
  EXPECT_FALSE(box->addView(nullptr));
  EXPECT_TRUE(box->addView(middle, high));
  EXPECT_FALSE(frame.addView(middle));
  ASSERT_EQ(box->getNbViews(), 3);
  EXPECT_EQ(box->getView(0), low);
  EXPECT_EQ(box->getView(1), middle);
  EXPECT_EQ(box->getView(2), high);
  EXPECT_EQ(box->getView(3), nullptr);
  EXPECT_EQ(box->getView(-1), nullptr);
  EXPECT_EQ(middle->getParentView(), box);
  EXPECT_EQ(middle->getFrame(), &frame);
  EXPECT_EQ(middle->getNbReference(), 1);

  middle->remember();
  EXPECT_TRUE(box->removeView(middle));
  EXPECT_FALSE(box->removeView(middle));
  EXPECT_EQ(middle->getParentView(), nullptr);
  EXPECT_EQ(middle->getFrame(), nullptr);
  EXPECT_TRUE(log.empty());
  middle->forget();
  EXPECT_EQ(Taken(), Log{"middle gone"});

  EXPECT_TRUE(frame.removeView(box, false));
  EXPECT_EQ(low->getFrame(), nullptr);
  EXPECT_EQ(low->getParentView(), box);
  EXPECT_EQ(box->getNbReference(), 1);
  box->forget();
  EXPECT_EQ(Taken(), (Log{"low gone", "high gone"}));
}

TEST_F(ViewTree, HitsTheUppermostVisibleEnabledView) {
  const CPoint both(30, 40);  // 20, 20 in the box
  EXPECT_EQ(frame.getViewAt(both), box);
  EXPECT_EQ(frame.getViewAt(both, true), high);
  EXPECT_EQ(frame.getViewAt({59, 69}, true), box);
  EXPECT_EQ(frame.getViewAt({5, 5}, true), nullptr);
  high->setVisible(false);
  EXPECT_EQ(frame.getViewAt(both, true), low);
  high->setVisible(true);
  high->setMouseEnabled(false);
  EXPECT_EQ(frame.getViewAt(both, true), low);
  high->setMouseEnabled(true);
  high->setMouseableArea({30, 30, 35, 35});
  EXPECT_EQ(frame.getViewAt(both, true), low);
  // Its own mouse area stays where it is, that of a view without one follows.
  high->setViewSize({0, 0, 5, 5});
  low->setViewSize({40, 40, 50, 50});
  EXPECT_EQ(high->getMouseableArea(), CRect(30, 30, 35, 35));
  EXPECT_EQ(frame.getViewAt({51, 61}, true), low);

  CPoint p(1, 2);
  EXPECT_EQ(low->localToFrame(p), CPoint(11, 22));
  EXPECT_EQ(low->frameToLocal(p), CPoint(1, 2));
}

TEST_F(ViewTree, ThePressedViewHoldsTheMouseUntilTheRelease) {
  high->press = kMouseEventNotHandled;
  EXPECT_EQ(Down({30, 40}), kMouseEventHandled);
  EXPECT_EQ(low->lastPoint, CPoint(20, 20));
  Move({90, 90}, kLButton);
  EXPECT_EQ(low->lastPoint, CPoint(80, 70));
  Up({0, 0});
  EXPECT_EQ(low->lastPoint, CPoint(-10, -20));
  EXPECT_EQ(Taken(), (Log{"high entered", "high down", "low down", "low moved", "low up"}));
  EXPECT_EQ(Up({30, 40}), kMouseEventNotHandled);

  high->press = kMouseDownEventHandledButDontNeedMovedOrUpEvents;
  EXPECT_EQ(Down({30, 40}), kMouseDownEventHandledButDontNeedMovedOrUpEvents);
  EXPECT_EQ(Up({30, 40}), kMouseEventNotHandled);
  EXPECT_EQ(Taken(), Log{"high down"});

  // A second press without a release between ends the first.
  high->press = kMouseEventHandled;
  Down({16, 26});
  Down({40, 50}, kRButton);
  Up({40, 50});
  EXPECT_EQ(Taken(),
            (Log{"high exited", "low entered", "low down", "low up", "high down", "high up"}));
}

TEST_F(ViewTree, CaptureOverridesAndEndsWithTheRelease) {
  Down({16, 26});
  frame.setCapture(high);
  Taken();
  Move({16, 26}, kLButton);
  Up({16, 26});
  EXPECT_EQ(high->lastPoint, CPoint(6, 6));
  EXPECT_EQ(frame.getCapture(), nullptr);
  EXPECT_EQ(Up({16, 26}), kMouseEventNotHandled);
  EXPECT_EQ(Taken(), (Log{"high moved", "high up"}));

  frame.setCapture(high);
  box->removeView(high);
  EXPECT_EQ(frame.getCapture(), nullptr);
  Taken();
  Probe stranger(CRect(0, 0, 1, 1), "stranger", log);
  frame.setCapture(&stranger);
  EXPECT_EQ(frame.getCapture(), nullptr);
}

TEST_F(ViewTree, ViewsMayLeaveWhileTheyHandleAPress) {
  high->removeOnPress = true;
  Move({40, 50});
  EXPECT_EQ(frame.getMouseOverView(), high);
  frame.setFocusView(high);
  Taken();
  EXPECT_EQ(Down({40, 50}), kMouseEventHandled);
  EXPECT_EQ(Taken(), (Log{"high down", "high blur", "high gone"}));
  EXPECT_EQ(frame.getMouseOverView(), nullptr);
  EXPECT_EQ(frame.getFocusView(), nullptr);
  EXPECT_EQ(Up({40, 50}), kMouseEventNotHandled);
}

TEST_F(ViewTree, KeysGoToTheFocusAndIdleCallsToThoseThatWantThem) {
  EXPECT_FALSE(frame.onKeyDown({U'a', kKeyNone, {}}));
  frame.setFocusView(low);
  EXPECT_TRUE(frame.onKeyDown({U'a', kKeyNone, {}}));
  frame.setFocusView(high);
  EXPECT_EQ(Taken(), (Log{"low focus", "low key", "low blur", "high focus"}));

  low->setWantsIdle(true);
  frame.onIdle();
  EXPECT_EQ(Taken(), Log{"low idle"});
  frame.removeView(box, false);
  frame.onIdle();
  frame.addView(box);
  Taken();
  frame.onIdle();
  EXPECT_EQ(Taken(), Log{"low idle"});
  low->setWantsIdle(false);
  frame.onIdle();
  EXPECT_TRUE(log.empty());
}

TEST_F(ViewTree, DirtyViewsReachTheDirtyRegionOnce) {
  EXPECT_FALSE(frame.isDirty());
  low->setDirty();
  EXPECT_TRUE(box->isDirty());
  EXPECT_TRUE(frame.isDirty());
  frame.onIdle();
  EXPECT_EQ(frame.takeDirtyRegion(), std::vector<CRect>{CRect(15, 25, 35, 45)});
  EXPECT_FALSE(frame.isDirty());
  frame.onIdle();
  EXPECT_FALSE(frame.hasDirtyRegion());

  low->setDirty();
  low->setVisible(false);
  EXPECT_EQ(frame.takeDirtyRegion(), std::vector<CRect>{CRect(15, 25, 35, 45)});
  low->setDirty();
  frame.onIdle();
  EXPECT_FALSE(frame.hasDirtyRegion());
  low->setVisible(true);
  frame.takeDirtyRegion();

  // Only what shows of a view is asked for.
  low->invalidRect({-30, -30, 10, 10});
  EXPECT_EQ(frame.takeDirtyRegion(), std::vector<CRect>{CRect(10, 20, 20, 30)});
  // A control is dirty by its value alone.
  auto* lamp = new CControl(CRect(0, 0, 10, 10));
  box->addView(lamp);
  frame.takeDirtyRegion();
  lamp->StoreValue(0.5f);
  EXPECT_TRUE(frame.isDirty());
  COffscreenContext image(100, 100);
  frame.draw(&image);
  EXPECT_FALSE(frame.isDirty());
  // A part drawn leaves it dirty.
  lamp->StoreValue(0.75f);
  frame.drawRect(&image, {10, 20, 15, 25});
  EXPECT_TRUE(lamp->isDirty());
}

TEST_F(ViewTree, TheDirtyRegionStaysSmallAndCoversAll) {
  std::vector<CRect> asked;
  for (int y = 0; y < 20; ++y) {
    for (int x = (y % 2) * 3; x < 96; x += 7) asked.emplace_back(x, y * 5, x + 2, y * 5 + 2);
  }
  for (const CRect& rect : asked) frame.invalidRect(rect);
  frame.invalidRect({-50, 0, -1, 10});
  const std::vector<CRect> region = frame.takeDirtyRegion();
  EXPECT_LE(region.size(), DirtyRegion::kMaxRects);
  for (const CRect& rect : asked) {
    bool covered = false;
    for (const CRect& r : region) covered |= CRect(rect).bound(r) == rect;
    EXPECT_TRUE(covered) << rect.left << " " << rect.top;
  }
}

TEST_F(ViewTree, DrawsInOrderInsideTheContainerAndTheView) {
  high->color = kBlueCColor;
  COffscreenContext image(100, 100);
  frame.draw(&image);
  EXPECT_EQ(Taken(), (Log{"low drawn", "high drawn"}));
  EXPECT_EQ(image.getPixel(15, 25), kRedCColor);
  EXPECT_EQ(image.getPixel(30, 40), kBlueCColor);
  EXPECT_EQ(image.getPixel(14, 25).alpha, 0);
  EXPECT_EQ(image.getPixel(45, 55).alpha, 0);

  high->setViewSize({40, 40, 80, 80});
  frame.draw(&image);
  EXPECT_EQ(image.getPixel(59, 69), kBlueCColor);
  EXPECT_EQ(image.getPixel(60, 69).alpha, 0);

  Taken();
  frame.drawRect(&image, {0, 0, 20, 100});
  EXPECT_EQ(Taken(), Log{"low drawn"});
}

}  // namespace
}  // namespace halveron
