// S518: from the mouse to voltages.
#include "modules/modulators/S518MouseTheremin.h"

#include <gtest/gtest.h>

#include <cmath>

#include "framework/display_view.h"
#include "tests/support/window_rig.h"

namespace halveron::testing {
namespace {

using Position = S518MouseTheremin::Position;
constexpr const char* kTheremin = "S518 Mouse Theremin";

TEST(S518MouseTheremin, ValuesRiseTowardThePanelsCorner) {
  EXPECT_EQ(S518MouseTheremin::PositionOf({0, 0}, 0.5, true), (Position{1, 1, 1}));
  EXPECT_EQ(S518MouseTheremin::PositionOf({0.25, -0.5}, 0.5, true),
            (Position{0.75f, 0.5f, static_cast<float>(1 - std::hypot(0.25, 0.5))}));
  EXPECT_EQ(S518MouseTheremin::PositionOf({-0.75, 0.75}, 0.5, true), (Position{0.25f, 0.25f, 0}))
      << "the distance goes no lower";
  EXPECT_EQ(S518MouseTheremin::PositionOf({0.25, -0.5}, 0.5, false),
            (Position{0.25f, -0.5f, static_cast<float>(std::hypot(0.25, 0.5))}));
  EXPECT_EQ(S518MouseTheremin::PositionOf({0.25, 0}, 0.75, false), (Position{0, 0, 0}));
}

class ThereminTest : public ::testing::Test {
 protected:
  ThereminTest() : theremin_(rig_.Add(kTheremin, 10, 0)) {
    Module& sink = rig_.Add("S815 InOut Connector", 40, 0);
    rig_.rack.Connect(theremin_, "X", sink, "In 1");
  }
  float Out(const char* role) { return rig_.rack.Out(theremin_, role); }
  /// Long enough for every glide.
  void Settle() { rig_.rack.Run(48000); }
  const CView& Field() const { return *theremin_.getParentView()->getParentView(); }
  /// The corner of the panel in the frame, and from there a share of the field.
  void MoveTo(double x, double y) {
    rig_.Move(rig_.Cell(10, 0) + CPoint(x * Field().getWidth(), y * Field().getHeight()));
  }

  WindowRig rig_;
  Module& theremin_;
};

TEST_F(ThereminTest, FollowsTheMouseOverTheWholeRack) {
  Settle();
  EXPECT_EQ(Out("X"), 0.0f) << "no move yet";
  MoveTo(0.5, 0.25);
  Settle();
  EXPECT_NEAR(Out("X"), 0.5f, 1e-3);
  EXPECT_NEAR(Out("Y"), 0.75f, 1e-3);
  EXPECT_NEAR(Out("D"), 1 - std::hypot(0.5, 0.25), 1e-3);
  rig_.rack.MoveControl(theremin_, "Centre", 0.75f);
  Settle();
  EXPECT_NEAR(Out("X"), 0.75f, 1e-3) << "from where the mouse still is";
  rig_.rack.MoveControl(theremin_, "Polarity", 0.0f);
  Settle();
  EXPECT_NEAR(Out("X"), 0.25f, 1e-3);
}

TEST_F(ThereminTest, GlidesAsKnobsDo) {
  MoveTo(0, 0);
  const int constant = 48000 * 35 / 1000;
  rig_.rack.Run(constant);
  EXPECT_NEAR(Out("X"), 1 - std::exp(-1.0), 1e-3);
  EXPECT_EQ(Out("X"), Out("D"));
  Settle();
  EXPECT_EQ(Out("X"), 1.0f) << "it lands";
}

TEST_F(ThereminTest, ThePictureMovesWithTheHand) {
  DisplayView* display = nullptr;
  for (CView* view : theremin_.children()) {
    if (auto* found = dynamic_cast<DisplayView*>(view)) display = found;
  }
  ASSERT_NE(display, nullptr);
  MoveTo(0.9, 0.5);
  rig_.DrawAll();
  EXPECT_FALSE(display->isDirty());
  MoveTo(0.1, 0.1);
  EXPECT_TRUE(display->isDirty());
  rig_.DrawAll();
  EXPECT_FALSE(display->isDirty());
}

TEST(S518MouseThereminRack, WithoutAWindowHoldsItsOutputs) {
  TestRack rack;
  Module& theremin = rack.Add(kTheremin);
  EXPECT_FALSE(theremin.monoSelectable);
  CPoint point(10, 10);
  int buttons = 0;
  EXPECT_EQ(theremin.OnMouseMoved(&point, &buttons), kMouseEventNotHandled);
  rack.MoveControl(theremin, "Centre", 0.25f);
  rack.Run(1000);
  EXPECT_EQ(rack.Out(theremin, "X"), 0.0f);
}

}  // namespace
}  // namespace halveron::testing
