#include "gui/control.h"

#include <gtest/gtest.h>

#include <cmath>
#include <limits>
#include <numbers>
#include <vector>

#include "gui/button.h"
#include "gui/frame.h"
#include "gui/knob.h"
#include "gui/movie_bitmap.h"
#include "gui/slider.h"
#include "gui/switch.h"

namespace halveron {
namespace {

struct Ear : CControlListener {
  void valueChanged(CControl* control) override { heard.push_back(control->getValue()); }
  void controlBeginEdit(CControl*) override { ++begun; }
  void controlEndEdit(CControl*) override { ++ended; }
  std::vector<float> heard;
  int begun = 0;
  int ended = 0;
};

CMouseEventResult Down(CView& view, CPoint p, int buttons = kLButton) {
  return view.onMouseDown(p, buttons);
}
CMouseEventResult Move(CView& view, CPoint p, int buttons = kLButton) {
  return view.onMouseMoved(p, buttons);
}
CMouseEventResult Up(CView& view, CPoint p, int buttons = kLButton) {
  return view.onMouseUp(p, buttons);
}

const CRect kSquare(100, 100, 140, 140);
const CPoint kMiddle(120, 120);

TEST(Control, ValueMovesIntoABoundCellAndBack) {
  CControl control(kSquare);
  control.setValue(0.25f);
  float cell = 9;
  control.BindValue(&cell);
  EXPECT_EQ(cell, 0.25f);
  control.StoreValue(0.5f);
  EXPECT_EQ(cell, 0.5f);
  cell = 0.75f;
  EXPECT_EQ(control.getValue(), 0.75f);
  EXPECT_TRUE(control.isDirty());
  control.BindValue(nullptr);
  cell = 0;
  EXPECT_EQ(control.getValue(), 0.75f);
}

TEST(Control, BoundsNormalisesAndBracketsEdits) {
  Ear ear;
  CControl control(kSquare, &ear, 7);
  EXPECT_EQ(control.getDefaultValue(), 0.5f);
  control.setMin(-2);
  control.setMax(6);
  control.setValue(100);
  EXPECT_EQ(control.getValue(), 100);
  control.bounceValue();
  EXPECT_EQ(control.getValue(), 6);
  control.setValue(std::numeric_limits<float>::quiet_NaN());
  control.bounceValue();
  EXPECT_EQ(control.getValue(), -2);
  control.setValueNormalized(0.25f);
  EXPECT_EQ(control.getValue(), 0);
  EXPECT_EQ(control.getValueNormalized(), 0.25f);
  EXPECT_TRUE(ear.heard.empty());

  control.beginEdit();
  control.beginEdit();
  control.endEdit();
  EXPECT_EQ(ear.ended, 0);
  control.endEdit();
  control.endEdit();
  EXPECT_EQ(ear.begun, 1);
  EXPECT_EQ(ear.ended, 1);

  EXPECT_FALSE(control.checkDefaultValue(kLButton));
  EXPECT_FALSE(control.checkDefaultValue(kRButton | kControl));
  EXPECT_TRUE(control.checkDefaultValue(kLButton | kControl));
  EXPECT_EQ(ear.heard, std::vector<float>{0.5f});
}

TEST(Knob, LinearDragCoversTheRangeIn200PixelsUpOrRight) {
  Ear ear;
  CKnob knob(kSquare, &ear, 0, nullptr);
  knob.setValue(0.25f);
  EXPECT_EQ(Down(knob, kMiddle, kRButton), kMouseEventNotHandled);
  EXPECT_EQ(Move(knob, {0, 0}, kLButton), kMouseEventNotHandled);
  EXPECT_EQ(Down(knob, kMiddle), kMouseEventHandled);
  EXPECT_TRUE(ear.heard.empty());
  Move(knob, {120, 70});
  EXPECT_FLOAT_EQ(knob.getValue(), 0.5f);
  Move(knob, {170, 70});
  EXPECT_FLOAT_EQ(knob.getValue(), 0.75f);
  Move(knob, {170, 70});
  EXPECT_EQ(ear.heard.size(), 2u);
  Move(knob, {170, -900});
  EXPECT_EQ(knob.getValue(), 1);
  // Beyond the end the hand's way counts, too: back at 50 right and 50 up it is where it was.
  Move(knob, {170, 70});
  EXPECT_FLOAT_EQ(knob.getValue(), 0.75f);
  Up(knob, {170, 70});
  EXPECT_EQ(ear.begun, 1);
  EXPECT_EQ(ear.ended, 1);
  EXPECT_EQ(Move(knob, {0, 0}), kMouseEventNotHandled);
}

TEST(Knob, ShiftIsFinerAndNeverMakesTheValueJump) {
  CKnob knob(kSquare, nullptr, 0, nullptr);
  knob.setZoomFactor(5);
  knob.setMax(10);
  knob.setValue(2);
  Down(knob, kMiddle, kLButton | kShift);
  Move(knob, {120, 20}, kLButton | kShift);
  EXPECT_FLOAT_EQ(knob.getValue(), 3);
  Move(knob, {121, 20}, kLButton);
  const float atChange = knob.getValue();
  EXPECT_NEAR(atChange, 3, 0.011);
  Move(knob, {141, 20}, kLButton);
  EXPECT_NEAR(knob.getValue(), atChange + 1, 1e-5);
  Move(knob, {141, 19}, kLButton | kShift);
  EXPECT_NEAR(knob.getValue(), atChange + 1.05, 1e-5);
  Up(knob, {141, 19});
}

TEST(Knob, AltFollowsTheAngleAndStaysAtTheEnds) {
  CKnob knob(kSquare, nullptr, 0, nullptr);
  // The pointer's way is 270 degrees from lower left over the top to lower right.
  for (const float share : {0.0f, 0.125f, 0.5f, 0.75f, 1.0f}) {
    EXPECT_NEAR(knob.valueFromPoint(knob.pointFromShare(share, 15)), share, 1e-5) << share;
  }
  EXPECT_NEAR(knob.valueFromPoint({120, 100}), 0.5, 1e-6);
  EXPECT_NEAR(knob.valueFromPoint({100, 120}), 1.0 / 6, 1e-6);
  EXPECT_EQ(knob.valueFromPoint({119, 140}), 0);
  EXPECT_EQ(knob.valueFromPoint({121, 140}), 1);

  Down(knob, knob.pointFromShare(0.9f, 15), kLButton | kAlt);
  EXPECT_NEAR(knob.getValue(), 0.9, 1e-5);
  Move(knob, {119, 140}, kLButton | kAlt);
  EXPECT_EQ(knob.getValue(), 1);
  Move(knob, knob.pointFromShare(0.2f, 15), kLButton | kAlt);
  EXPECT_EQ(knob.getValue(), 1);
  Move(knob, knob.pointFromShare(0.6f, 15), kLButton | kAlt);
  EXPECT_NEAR(knob.getValue(), 0.6, 1e-5);
  Up(knob, kMiddle);
  Down(knob, knob.pointFromShare(0.1f, 15), kLButton | kAlt);
  Move(knob, {121, 140}, kLButton | kAlt);
  EXPECT_EQ(knob.getValue(), 0);

  knob.setStartAngle(static_cast<float>(std::numbers::pi / 4));
  knob.setRangeAngle(static_cast<float>(-std::numbers::pi * 1.5));
  EXPECT_NEAR(knob.valueFromPoint(knob.pointFromShare(0.25f, 15)), 0.25, 1e-5);
}

TEST(Knob, WheelAndControlClick) {
  Ear ear;
  CKnob knob(kSquare, &ear, 0, nullptr);
  knob.setMax(2);
  knob.setDefaultValue(1.5f);
  knob.onWheel(kMiddle, 3, {});
  EXPECT_FLOAT_EQ(knob.getValue(), 0.06f);
  knob.onWheel(kMiddle, -1, kShift);
  EXPECT_FLOAT_EQ(knob.getValue(), 0.058f);
  knob.onWheel(kMiddle, -50, {});
  EXPECT_EQ(knob.getValue(), 0);
  EXPECT_EQ(Down(knob, kMiddle, kLButton | kControl),
            kMouseDownEventHandledButDontNeedMovedOrUpEvents);
  EXPECT_EQ(knob.getValue(), 1.5f);
  EXPECT_FALSE(knob.isEditing());
  EXPECT_EQ(ear.begun, ear.ended);
  EXPECT_EQ(ear.heard.size(), 4u);
}

TEST(FilmStrip, FrameIsTheNearestAndAlwaysOneOfThem) {
  const FilmStrip strip(5, 10);
  EXPECT_EQ(strip.frameOf(0.124f), 0);
  EXPECT_EQ(strip.frameOf(0.125f), 1);
  EXPECT_EQ(strip.frameOf(0.5f), 2);
  EXPECT_EQ(strip.frameOf(1), 4);
  EXPECT_EQ(strip.frameOf(1e30f), 4);
  EXPECT_EQ(strip.frameOf(-std::numeric_limits<float>::infinity()), 0);
  EXPECT_EQ(strip.frameOf(std::numeric_limits<float>::quiet_NaN()), 0);
  EXPECT_EQ(FilmStrip(0, 10).frameOf(1), 0);
}

TEST(Switch, PressAndDragTakeThePositionUnderTheMouse) {
  Ear ear;
  CVerticalSwitch vertical(CRect(10, 10, 20, 40), &ear, 0, 3, nullptr);
  Down(vertical, {15, 25});
  EXPECT_EQ(vertical.getValue(), 0.5f);
  Move(vertical, {15, 29.9});
  EXPECT_EQ(ear.heard.size(), 1u);
  Move(vertical, {15, 30});
  EXPECT_EQ(vertical.getValue(), 1);
  Move(vertical, {15, 500});
  EXPECT_EQ(vertical.getValue(), 1);
  Move(vertical, {15, -500});
  EXPECT_EQ(vertical.getValue(), 0);
  Up(vertical, {15, -500});
  EXPECT_EQ(ear.heard, (std::vector<float>{0.5f, 1, 0}));
  EXPECT_EQ(ear.begun, ear.ended);
  vertical.onWheel({15, 15}, 4, {});
  EXPECT_EQ(vertical.getPosition(), 1);

  CHorizontalSwitch horizontal(CRect(0, 0, 40, 10), nullptr, 0, 4, nullptr);
  Down(horizontal, {25, 5});
  EXPECT_FLOAT_EQ(horizontal.getValue(), 2.0f / 3);
  EXPECT_EQ(horizontal.getPosition(), 2);
  // The default is brought to a position.
  CHorizontalSwitch two(CRect(0, 0, 40, 10), nullptr, 0, 2, nullptr);
  Down(two, {5, 5}, kLButton | kControl);
  EXPECT_EQ(two.getValue(), 1);
  CVerticalSwitch one(CRect(0, 0, 10, 10), nullptr, 0, 1, nullptr);
  Down(one, {5, 9});
  EXPECT_EQ(one.getValue(), 0);
}

TEST(Button, OnOffTogglesAndKickHolds) {
  Ear ear;
  COnOffButton toggle(kSquare, &ear, 0, nullptr);
  Down(toggle, kMiddle);
  Down(toggle, kMiddle, kRButton);
  Down(toggle, kMiddle, kLButton);
  EXPECT_EQ(ear.heard, (std::vector<float>{1, 0}));
  EXPECT_EQ(ear.begun, ear.ended);

  ear.heard.clear();
  CKickButton kick(kSquare, &ear, 0, nullptr);
  Down(kick, kMiddle);
  EXPECT_EQ(kick.getValue(), 1);
  Move(kick, {0, 0});
  EXPECT_EQ(kick.getValue(), 0);
  Move(kick, kMiddle);
  Up(kick, kMiddle);
  EXPECT_EQ(kick.getValue(), 0);
  EXPECT_EQ(ear.heard, (std::vector<float>{1, 0, 1, 0}));
  EXPECT_EQ(Move(kick, kMiddle), kMouseEventNotHandled);
}

TEST(Button, RedrawComesBeforeOrAfterTheListener) {
  struct Watch : CControlListener {
    void valueChanged(CControl* control) override { asked = control->getFrame()->hasDirtyRegion(); }
    bool asked = false;
  } watch;
  for (const int style : {kPreListenerUpdate, kPostListenerUpdate}) {
    CFrame frame(CRect(0, 0, 200, 200));
    frame.addView(new COnOffButton(kSquare, &watch, 0, nullptr, style));
    frame.takeDirtyRegion();
    CPoint p = kMiddle;
    frame.onMouseDown(p, kLButton);
    EXPECT_EQ(watch.asked, style == kPostListenerUpdate);
    EXPECT_TRUE(frame.hasDirtyRegion());
  }
}

TEST(Slider, HandleFollowsTheMouse) {
  CSlider slider(CRect(0, 0, 20, 110), nullptr, 0, CSliderStyle::kVertical);
  Down(slider, {10, 55});
  EXPECT_FLOAT_EQ(slider.getValue(), 0.5f);
  Move(slider, {10, 30});
  EXPECT_FLOAT_EQ(slider.getValue(), 0.75f);
  Up(slider, {10, 30});
  // On the handle nothing jumps; Shift is five times finer from where it is pressed.
  Down(slider, {10, 33});
  EXPECT_FLOAT_EQ(slider.getValue(), 0.75f);
  Move(slider, {10, 33}, kLButton | kShift);
  Move(slider, {10, 83}, kLButton | kShift);
  EXPECT_NEAR(slider.getValue(), 0.65, 1e-6);
  Move(slider, {10, 900}, kLButton);
  EXPECT_NEAR(slider.getValue(), 0.65, 1e-6);
  Move(slider, {10, 9000}, kLButton);
  EXPECT_EQ(slider.getValue(), 0);
  Up(slider, {0, 0});
}

TEST(MovieBitmap, LetsThePressThrough) {
  CFrame frame(CRect(0, 0, 200, 200));
  auto* below = new CKickButton(kSquare, nullptr, 0, nullptr);
  frame.addView(below);
  frame.addView(new CMovieBitmap(kSquare, nullptr, 0, 10, nullptr));
  CPoint p = kMiddle;
  EXPECT_EQ(frame.onMouseDown(p, kLButton), kMouseEventHandled);
  EXPECT_EQ(below->getValue(), 1);
}

}  // namespace
}  // namespace halveron
