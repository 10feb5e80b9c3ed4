#include "modules/other/SE10DualVoltMeter.h"

#include <gtest/gtest.h>

#include <cmath>
#include <limits>

#include "framework/display_view.h"
#include "tests/support/test_rack.h"

namespace halveron::testing {
namespace {

using Kernel = SE10DualVoltMeterKernel;

TEST(SE10DualVoltMeter, MeasuresTheTimeThatHasJustPassed) {
  Kernel meter;
  EXPECT_FALSE(meter.Read().isMeasured);
  meter.SetTime(1600);
  for (int n = 1; n <= 500; ++n) meter.Step(static_cast<float>(n));
  const Kernel::Reading first = meter.Read();
  EXPECT_EQ(first.value, 500.0f);
  EXPECT_EQ(first.low, 1.0f);
  EXPECT_EQ(first.high, 500.0f);
  EXPECT_DOUBLE_EQ(first.mean, 250.5);
  // A ramp: what is left of it tells how far back the reading goes.
  for (int n = 501; n <= 20000; ++n) {
    meter.Step(static_cast<float>(n));
    if (n < 2000) continue;
    const Kernel::Reading r = meter.Read();
    const float length = static_cast<float>(n) - r.low + 1;
    ASSERT_LE(length, 1600);
    ASSERT_GT(length, 1500);
    ASSERT_DOUBLE_EQ(r.mean, 0.5 * (static_cast<double>(r.low) + n));
  }
  meter.Reset();
  EXPECT_FALSE(meter.Read().isMeasured);

  meter.Step(std::numeric_limits<float>::quiet_NaN());
  for (int n = 0; n < 1000; ++n) meter.Step(0.5f);
  EXPECT_FALSE(meter.Read().isNumber);
  for (int n = 0; n < 1000; ++n) meter.Step(0.5f);
  EXPECT_TRUE(meter.Read().isNumber);
  EXPECT_DOUBLE_EQ(meter.Read().mean, 0.5);
}

TEST(SE10DualVoltMeter, SpeaksInVoltsAndInNotes) {
  using Lines = std::array<std::string, 4>;
  const Kernel::Reading reading{0.1f, -0.25f, 0.4f, 0.075, true, true};
  EXPECT_EQ(SE10DualVoltMeter::Lines(reading, false),
            (Lines{"+1.000 V", "max +4.000 V", "mean +0.750 V", "min -2.500 V"}));
  EXPECT_EQ(SE10DualVoltMeter::Lines(reading, true),
            (Lines{"C5 +0.0 ct", "max C8 +0.0 ct", "mean A4 +0.0 ct", "min F#1 +0.0 ct"}));
  const Kernel::Reading off{0.1752f, 9.0f, 1e30f, -0.5041, true, true};
  EXPECT_EQ(SE10DualVoltMeter::Lines(off, true),
            (Lines{"A5 +2.4 ct", "max ---", "mean C-1 -49.2 ct", "min ---"}));
  EXPECT_EQ(SE10DualVoltMeter::Lines(off, false)[1], "max +1e+31 V");
  EXPECT_EQ(SE10DualVoltMeter::Lines({}, false)[0], "---");
  const float nan = std::numeric_limits<float>::quiet_NaN();
  EXPECT_EQ(SE10DualVoltMeter::Lines({nan, 0, 0, 0, true, false}, false)[0], "no number");
}

TEST(SE10DualVoltMeter, ShowsNewReadingsThirtyTimesASecond) {
  TestRack rack(48000);
  Module& meter = rack.Add("SE10 Dual Volt Meter");
  DisplayView* display = nullptr;
  for (CView* view : meter.children()) {
    if (auto* found = dynamic_cast<DisplayView*>(view)) display = found;
  }
  ASSERT_NE(display, nullptr);
  rack.FeedConstant(meter, "In 2", 0.3f);
  COffscreenContext picture(200, 200);
  int shown = 0;
  for (int i = 0; i < 480; ++i) {
    rack.Run(100);
    if (!display->isDirty()) continue;
    ++shown;
    display->draw(&picture);
  }
  EXPECT_GE(shown, 28);
  EXPECT_LE(shown, 32);
}

}  // namespace
}  // namespace halveron::testing
