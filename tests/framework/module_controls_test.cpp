// Knobs, buttons, lamps, digits and texts of panels; the process-wide tables.
#include "framework/module_controls.h"

#include <gtest/gtest.h>

#include <cmath>

#include "framework/byte_io.h"
#include "framework/knob_store.h"
#include "framework/text_label.h"
#include "gui/draw_context.h"
#include "tests/support/test_rack.h"

namespace halveron::testing {
namespace {

struct Listener : CControlListener {
  void valueChanged(CControl* control) override { values.push_back(control->getValue()); }
  std::vector<float> values;
};

constexpr float kRate = 1000.0f;

template <class KnobClass = ModuleKnob>
SharedPointer<KnobClass> MakeKnob(int frames, CControlListener* listener = nullptr) {
  auto* knob = new KnobClass(CRect(0, 0, 20, 20), listener, TAG_UNASSIGNED, frames, nullptr,
                             SharedPointer<KnobStore>::Adopt(new KnobStore));
  knob->SetSmoothing(kDefaultSmoothDelay, kRate);
  return SharedPointer<KnobClass>::Adopt(knob);
}

TEST(ModuleKnob, SmoothingIsAOnePoleEndedByASnap) {
  auto knob = MakeKnob(61);
  KnobCell& cell = knob->Cell();
  knob->SetAtOnce(0.0f);
  knob->setValue(1.0f);
  // After n steps the distance is (1 - 1/35)^n; 35 samples are one time constant at 1 kHz.
  for (int n = 1; n <= 35; ++n) cell.SmoothValue();
  EXPECT_NEAR(cell.smoothed_value, 1.0 - std::pow(1.0 - 1.0 / 35.0, 35), 1e-5);
  int steps = 35;
  while (!cell.SmoothValueSettled()) ++steps;
  EXPECT_EQ(cell.smoothed_value, 1.0);
  EXPECT_NEAR(steps, std::log(0.001) / std::log(1.0 - 1.0 / 35.0), 2.0);

  knob->setValue(0.5f);
  cell.SmoothValue();
  const double present = cell.smoothed_value;
  knob->SetSmoothing(-1.0f, kRate * 4);
  EXPECT_EQ(cell.smoothed_value, present);
  EXPECT_FLOAT_EQ(cell.smooth_step, 1.0f / 140.0f);
  knob->SetSmoothing(10.0f, kRate);
  EXPECT_FLOAT_EQ(cell.smooth_step, 0.1f);
}

TEST(ModuleKnob, SteppedKnobsTruncateAndMirror) {
  auto knob = MakeKnob(13);
  knob->stepped = true;
  knob->setValue(0.5f);
  EXPECT_EQ(knob->GetStepIndex(), 6);
  EXPECT_EQ(knob->Cell().stepped_target, 0.5f);
  knob->setValue(0.54f);
  EXPECT_EQ(knob->GetStepIndex(), 6);
  EXPECT_EQ(knob->Cell().stepped_target, 0.5f);
  knob->setInverseBitmap(true);
  knob->setValue(1.0f);
  EXPECT_EQ(knob->SnapToStep(), 0);
  knob->setValue(NAN);
  EXPECT_EQ(knob->GetStepIndex(), 12);
  EXPECT_TRUE(std::isfinite(knob->Cell().stepped_target));
}

TEST(ModuleKnob, ASteppedKnobShowsTheStepThatSounds) {
  // A strip whose frames have the number of the frame as their red.
  constexpr int kFrames = 13;
  constexpr int kSize = 8;
  auto strip = SharedPointer<CBitmap>::Adopt(new CBitmap(kSize, kSize * kFrames));
  CDrawContext painter(strip->getSurface());
  for (int frame = 0; frame < kFrames; ++frame) {
    painter.setFillColor(CColor(frame, 0, 0));
    painter.fillRect(CRect(0, frame * kSize, kSize, (frame + 1) * kSize));
  }
  auto knob = SharedPointer<ModuleKnob>::Adopt(
      new ModuleKnob(CRect(0, 0, kSize, kSize), nullptr, TAG_UNASSIGNED, kFrames, strip,
                     SharedPointer<KnobStore>::Adopt(new KnobStore)));
  knob->stepped = true;
  COffscreenContext picture(kSize, kSize);
  for (const bool inverse : {false, true}) {
    knob->setInverseBitmap(inverse);
    for (int i = 0; i <= 200; ++i) {
      knob->setValue(static_cast<float>(i) / 200.0f);
      knob->draw(&picture);
      EXPECT_EQ(picture.getPixel(4, 4).red, knob->GetStepIndex())
          << i << (inverse ? " inverse" : "");
    }
  }
}

TEST(ModuleKnobEx, DragLawInPixelsWithShiftChangedUnderWay) {
  Listener listener;
  auto knob = MakeKnob<ModuleKnobEx>(61, &listener);
  knob->SetAtOnce(0.5f);
  const auto drag = [&](CPoint where, int buttons) {
    knob->onMouseMoved(where, CButtonState(buttons));
    return knob->getValue();
  };
  CPoint press(10, 10);
  knob->onMouseDown(press, kLButton);
  EXPECT_NEAR(drag({10, -30}, kLButton), 0.5 + 40 / 400.0, 1e-6);  // up
  EXPECT_NEAR(drag({30, -30}, kLButton), 0.5 + 60 / 400.0, 1e-6);  // and right
  const float before = knob->getValue();
  EXPECT_NEAR(drag({30.001, -30}, kLButton | kShift), before, 1e-4);  // no jump
  EXPECT_NEAR(drag({30, -70}, kLButton | kShift), before + 40 / 2000.0, 1e-4);
  const float fine = knob->getValue();
  EXPECT_NEAR(drag({30.001, -70}, kLButton), fine, 1e-4);
  EXPECT_EQ(drag({30, -5000}, kLButton), 1.0f);
  CPoint end(30, -5000);
  knob->onMouseUp(end, kLButton);
  EXPECT_FALSE(listener.values.empty());

  knob->fineByDefault = true;
  knob->SetAtOnce(0.0f);
  knob->onMouseDown(press, kLButton);
  EXPECT_NEAR(drag({10, -90}, kLButton), 100 / 2000.0, 1e-6);
  knob->onMouseUp(end, kLButton);
}

TEST(ModuleKnobEx, RadialDragsAreHeldAtTheEnds) {
  auto knob = MakeKnob<ModuleKnobEx>(61);
  knob->SetAtOnce(0.5f);
  CPoint press(10, 2);  // straight up: the middle of the range
  knob->onMouseDown(press, CButtonState(kLButton | kAlt));
  CPoint right(19, 10);
  knob->onMouseMoved(right, CButtonState(kLButton | kAlt));
  EXPECT_GT(knob->getValue(), 0.7f);
  CPoint lowRight(14, 18);
  knob->onMouseMoved(lowRight, CButtonState(kLButton | kAlt));
  CPoint lowLeft(3, 15);  // past the gap at the bottom: a jump down
  knob->onMouseMoved(lowLeft, CButtonState(kLButton | kAlt));
  EXPECT_EQ(knob->getValue(), 0.0f);
  CPoint back(14, 18);  // the comparison value is still that before the jump
  knob->onMouseMoved(back, CButtonState(kLButton | kAlt));
  EXPECT_GT(knob->getValue(), 0.9f);
}

TEST(KickButton, IsOneFromPressToRelease) {
  Listener listener;
  auto button = SharedPointer<CKickButtonEx>::Adopt(
      new CKickButtonEx(CRect(0, 0, 10, 10), &listener, TAG_UNASSIGNED, nullptr));
  CPoint inside(5, 5), outside(50, 50);
  button->onMouseDown(inside, kLButton);
  EXPECT_EQ(button->getValue(), 1.0f);
  button->onMouseMoved(outside, kLButton);
  EXPECT_EQ(button->getValue(), 0.0f);
  button->onMouseMoved(inside, kLButton);
  button->onMouseUp(inside, kLButton);
  EXPECT_EQ(listener.values, (std::vector<float>{1.0f, 0.0f}));
  EXPECT_EQ(button->onMouseDown(inside, kRButton), kMouseEventNotHandled);
}

TEST(Lamp, RedrawsOnlyOnAVisibleChange) {
  TestRack rack;
  Module& lfo = rack.Add("S515 VCLFO");
  auto& lamp = static_cast<CMovieBitmapEx&>(rack.Control(lfo, "Activity LED"));
  lamp.StoreValue(0.5f);
  lamp.setOldValue(0.5f);
  lamp.setDirty(false);
  lamp.StoreValue(0.54f);
  EXPECT_FALSE(lamp.isDirty());
  lamp.StoreValue(0.56f);
  EXPECT_TRUE(lamp.isDirty());
  lamp.StoreValue(0.44f);
  EXPECT_TRUE(lamp.isDirty());
}

TEST(HeldLamp, GoesDarkWhenTheHoldIsOver) {
  TestRack rack(10000);
  Module& vca = rack.Add("S404 VCA");
  HeldLamp lamp;
  lamp.Bind(static_cast<CMovieBitmap*>(&rack.Control(vca, "Clip LED")));
  lamp.SetHold(10000.0f, 0.002);
  lamp.Light();
  for (int i = 0; i < 10; ++i) lamp.Tick();
  lamp.Light();
  for (int i = 0; i < 19; ++i) lamp.Tick();
  EXPECT_EQ(lamp.Level(), 1.0f);
  lamp.Tick();
  EXPECT_EQ(lamp.Level(), 0.0f);
}

TEST(SpecialDigit, BlanksLeadingZeros) {
  auto digit = SharedPointer<CSpecialDigitEx>::Adopt(
      new CSpecialDigitEx(CRect(0, 0, 30, 10), nullptr, TAG_UNASSIGNED, 3, 10, nullptr));
  digit->setMin(0);
  digit->setMax(999);
  const auto places = [&](float value) {
    digit->setValue(value);
    const auto all = digit->Places();
    return std::array<int, 3>{all[0], all[1], all[2]};
  };
  constexpr int kBlank = CSpecialDigitEx::kBlank;
  EXPECT_EQ(places(0), (std::array<int, 3>{kBlank, kBlank, 0}));
  EXPECT_EQ(places(42), (std::array<int, 3>{kBlank, 4, 2}));
  EXPECT_EQ(places(507), (std::array<int, 3>{5, 0, 7}));
  EXPECT_EQ(places(5000), (std::array<int, 3>{9, 9, 9}));
  digit->setMax(16);  // a range that ends below the last number that fits
  EXPECT_EQ(places(7), (std::array<int, 3>{kBlank, kBlank, 7}));
  EXPECT_EQ(places(16), (std::array<int, 3>{kBlank, 1, 6}));
  EXPECT_EQ(places(99), (std::array<int, 3>{kBlank, 1, 6}));
}

TEST(SpecialDigit, AnImageTakesTheFontColour) {
  auto strip = SharedPointer<CBitmap>::Adopt(new CBitmap(10, 100));
  CDrawContext painter(strip->getSurface());
  painter.setFillColor(CColor(9, 9, 9));
  painter.fillRect(CRect(0, 0, 10, 100));
  auto digit = SharedPointer<CSpecialDigitEx>::Adopt(
      new CSpecialDigitEx(CRect(0, 0, 10, 10), nullptr, TAG_UNASSIGNED, 1, 10, strip));
  digit->setFontColor(CColor(20, 200, 90));
  COffscreenContext picture(10, 10);
  digit->draw(&picture);
  EXPECT_EQ(picture.getPixel(5, 5), CColor(20, 200, 90));
}

TEST(TextLabel, GrowsWrapsAndScrolls) {
  auto label = SharedPointer<CTextLabelEx>::Adopt(new CTextLabelEx(CRect(0, 0, 100, 50)));
  label->threadSafe = true;
  label->wrapColumns = 10;
  label->SetOwnedText("one two three four\n\rfive", 0);
  label->StartLines();
  EXPECT_EQ(label->Text(), "one two\nthree four\n\rfive");
  EXPECT_EQ(label->GetLineCount(), 3);
  EXPECT_TRUE(label->AppendText(" six seven", false));
  EXPECT_EQ(label->Text(), "one two\nthree four\n\rfive six\nseven");
  label->SetVisibleLines(2);
  label->ScrollToLine(1);
  EXPECT_EQ(label->VisibleText(), "three four\n\rfive six\n");
  label->ScrollToLine(99);
  EXPECT_EQ(label->GetTopLine(), 3);

  label->maxChars = 40;
  EXPECT_FALSE(label->AppendText(std::string(30, 'x'), false));
  EXPECT_TRUE(label->AppendText(std::string(30, 'x'), true));
  label->FreeText();
  EXPECT_EQ(label->Text(), "");
}

TEST(ByteIo, ReadsAndWritesWithinBoundsOnly) {
  std::array<std::byte, 6> block{};
  ByteWriter writer(block.data(), block.size());
  EXPECT_TRUE(writer.Write(1.5f));
  EXPECT_FALSE(writer.Write(7));
  EXPECT_FALSE(writer.Write('x'));  // once failed, nothing more is taken
  ByteReader reader(block.data(), block.size());
  float value = 0;
  int number = 9;
  EXPECT_TRUE(reader.Read(value));
  EXPECT_EQ(value, 1.5f);
  EXPECT_FALSE(reader.Read(number));
  EXPECT_EQ(number, 9);
  EXPECT_TRUE(reader.Failed());
}

TEST(Signal, NoteTablePitchAndMetrics) {
  RebuildNoteTable();
  EXPECT_NEAR(NoteFrequency[69], 440.0f, 440.0 * 1e-6);
  EXPECT_FLOAT_EQ(NoteFrequency[60], 261.62558f);
  EXPECT_NEAR(NoteFrequency[127] / NoteFrequency[115], 2.0, 1e-5);
  SetPanelMetrics(436);
  EXPECT_EQ(panelHeightThird, 145);
  EXPECT_EQ(panelHeightFifth, 87);
  EXPECT_EQ(panelUnitWidth, 17);
  CRect rect(10, 10, 20, 30);  // centre 15, 20 lands on 22.47, 29.97; the size stays
  ScaleRect(rect);
  EXPECT_EQ(rect, CRect(17, 20, 27, 40));
  ResetPanelMetrics();
  EXPECT_EQ(uiScale, 1.0f);
  EXPECT_EQ(panelUnitWidth, 12);
}

TEST(KnobStore, CellsAreZeroedAndUsedAgain) {
  KnobStore store;
  KnobCell* first = store.Take();
  EXPECT_EQ(store.Take(), first + 1);
  first->value = 3.0f;
  store.GiveBack(first);
  EXPECT_EQ(store.Take(), first);
  EXPECT_EQ(first->value, 0.0f);
}

}  // namespace
}  // namespace halveron::testing
