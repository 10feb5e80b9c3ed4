#include <gtest/gtest.h>

#include <string>
#include <vector>

#include "gui/draw_context.h"
#include "gui/frame.h"
#include "gui/knob.h"
#include "gui/menu_popup.h"
#include "gui/option_menu.h"
#include "gui/text_edit.h"
#include "gui/timer.h"
#include "tests/support/display/test_display.h"

namespace halveron {
namespace {

constexpr int kWidth = 300;
constexpr int kHeight = 200;

/// A coloured field that counts what reaches it.
class Field : public CView {
 public:
  Field(const CRect& size, const CColor& c) : CView(size), color(c) {}
  void draw(CDrawContext* context) override {
    setDirty(false);
    ++draws;
    context->setFillColor(color);
    context->fillRect(viewSize);
  }
  CMouseEventResult onMouseDown(CPoint& where, const CButtonState& buttons) override {
    log.push_back(buttons.isDoubleClick() ? "double" : "down");
    last = where;
    lastButtons = buttons;
    return kMouseEventHandled;
  }
  CMouseEventResult onMouseMoved(CPoint& where, const CButtonState& buttons) override {
    last = where;
    lastButtons = buttons;
    return kMouseEventHandled;
  }
  CMouseEventResult onMouseUp(CPoint& where, const CButtonState&) override {
    log.push_back("up");
    last = where;
    return kMouseEventHandled;
  }
  CMouseEventResult onMouseEntered(CPoint&, const CButtonState&) override {
    log.push_back("in");
    return kMouseEventHandled;
  }
  CMouseEventResult onMouseExited(CPoint&, const CButtonState&) override {
    log.push_back("out");
    return kMouseEventHandled;
  }
  bool onWheel(const CPoint&, float distance, const CButtonState&) override {
    wheel += distance;
    return true;
  }
  bool onDragMove(const CPoint&) override { return true; }
  bool onDrop(std::span<const std::string> paths, const CPoint& where) override {
    files.assign(paths.begin(), paths.end());
    last = where;
    return true;
  }

  CColor color;
  int draws = 0;
  std::vector<std::string> log;
  CPoint last;
  CButtonState lastButtons;
  float wheel = 0;
  std::vector<std::string> files;
};

/// A frame in a window at the screen's corner, once embedded and once free.
class WindowTest : public ::testing::TestWithParam<bool> {
 protected:
  void SetUp() override {
    HALVERON_NEEDS_DISPLAY(found);
    display = found;
    display->MoveMouse(1200, 1000);
    field = new Field(CRect(50, 50, 150, 150), {200, 30, 60});
    frame->addView(field);
    if (GetParam()) parent = display->MakeWindow(0, 0, kWidth, kHeight);
    std::string error;
    ASSERT_TRUE(frame->open(reinterpret_cast<void*>(parent), "A title", &error)) << error;
    ASSERT_TRUE(PumpUntil([this] { return field->draws > 0; }));
    // Without a window manager a free window is where it was asked to be, in the middle.
    if (!GetParam()) display->GetGeometry(Id(), &origin.first, &origin.second);
  }
  void TearDown() override {
    frame.reset();
    if (parent) display->DestroyWindow(parent);
  }

  TestDisplay::WindowId Id() const {
    return reinterpret_cast<TestDisplay::WindowId>(frame->getWindowHandle());
  }
  bool PumpUntil(const std::function<bool()>& done) {
    return TestDisplay::PumpUntil([this] { frame->idle(); }, done);
  }
  /// Lets everything that is on its way arrive.
  void Settle() {
    for (int i = 0; i < 10; ++i) {
      frame->idle();
      frame->waitForEvents(0.005);
    }
  }
  void MoveTo(int x, int y) { display->MoveMouse(origin.first + x, origin.second + y); }

  TestDisplay* display = nullptr;
  TestDisplay::WindowId parent = 0;
  std::pair<int, int> origin;
  std::unique_ptr<CFrame> frame = std::make_unique<CFrame>(CRect(0, 0, kWidth, kHeight));
  Field* field = nullptr;
};

INSTANTIATE_TEST_SUITE_P(, WindowTest, ::testing::Values(true, false),
                         [](const auto& info) { return info.param ? "Embedded" : "Free"; });

TEST_P(WindowTest, ShowsTheViewsAndRedrawsOnlyWhatChanged) {
  EXPECT_EQ(display->PixelAt(Id(), 100, 100), 0xC81E3Cu);
  EXPECT_EQ(display->PixelAt(Id(), 20, 20), 0u);
  auto* other = new Field(CRect(200, 50, 250, 150), {0, 0, 255});
  frame->addView(other);
  ASSERT_TRUE(PumpUntil([&] { return display->PixelAt(Id(), 210, 60) == 0xFFu; }));
  Settle();
  const int before = field->draws;
  other->color = {0, 255, 0};
  other->invalid();
  ASSERT_TRUE(PumpUntil([&] { return display->PixelAt(Id(), 210, 60) == 0xFF00u; }));
  EXPECT_EQ(field->draws, before);
  // An idle window draws nothing, and what was covered comes back without drawing.
  const int drawn = other->draws;
  Settle();
  const auto cover = display->MakeWindow(origin.first, origin.second, 180, 180);
  Settle();
  display->DestroyWindow(cover);
  ASSERT_TRUE(PumpUntil([&] { return display->PixelAt(Id(), 100, 100) == 0xC81E3Cu; }));
  EXPECT_EQ(other->draws + field->draws, drawn + before);
}

TEST_P(WindowTest, FollowsTheMouse) {
  MoveTo(100, 100);
  ASSERT_TRUE(PumpUntil([&] { return !field->log.empty(); }));
  EXPECT_EQ(field->log.back(), "in");
  display->PressKey("Shift_L");
  display->Press(1);
  ASSERT_TRUE(PumpUntil([&] { return field->log.back() == "down"; }));
  EXPECT_TRUE(field->lastButtons.isLeftButton());
  EXPECT_TRUE(field->lastButtons.isShiftSet());
  display->ReleaseKey("Shift_L");
  // A held button keeps the mouse, also outside the window.
  display->MoveMouse(origin.first + kWidth + 60, origin.second + 100);
  ASSERT_TRUE(PumpUntil([&] { return field->last.x == kWidth + 60; }));
  display->Release(1);
  ASSERT_TRUE(PumpUntil([&] { return field->log.back() == "out"; }));
  EXPECT_EQ(field->log, (std::vector<std::string>{"in", "down", "up", "out"}));

  field->log.clear();
  MoveTo(100, 100);
  for (int i = 0; i < 4; ++i) {
    display->Press(3);
    display->Release(3);
  }
  ASSERT_TRUE(PumpUntil([&] { return field->log.size() >= 9; }));
  EXPECT_EQ(field->log, (std::vector<std::string>{"in", "down", "up", "double", "up", "down", "up",
                                                  "double", "up"}));
  display->Press(4), display->Release(4);
  display->Press(5), display->Release(5);
  display->Press(5), display->Release(5);
  EXPECT_TRUE(PumpUntil([&] { return field->wheel == -1; }));
}

TEST_P(WindowTest, AKnobTurnsOnBeyondTheEdgeOfTheScreen) {
  auto* knob = new CKnob(CRect(200, 20, 240, 60), nullptr, 0, nullptr);
  frame->addView(knob);
  knob->setValue(0);
  MoveTo(220, 40);
  Settle();
  display->Press();
  Settle();
  // More of the way up than the screen has, with Shift in steps that each end at the edge.
  int pushes = 0;
  for (; pushes < 40 && knob->getValue() < 1.0f; ++pushes) {
    const float before = knob->getValue();
    display->PressKey("Shift_L");
    display->MoveMouse(origin.first + 220, 0);
    Settle();
    EXPECT_GE(knob->getValue(), before) << "the pointer jumps, the value does not";
  }
  EXPECT_EQ(knob->getValue(), 1.0f);
  display->ReleaseKey("Shift_L");
  display->Release();
  Settle();
  EXPECT_EQ(frame->getCurrentMouseLocation(), CPoint(220, 40)) << "back on the knob at the end";
}

TEST_P(WindowTest, TakesTheKeysOnlyWhileAViewWantsThem) {
  auto* edit = new CTextEdit(CRect(10, 10, 200, 40));
  frame->addView(edit);
  if (parent) display->SetFocus(parent);
  MoveTo(20, 170);
  Settle();
  if (parent) {
    display->TypeText("lost");
    Settle();
    EXPECT_EQ(display->FocusedWindow(), parent);
  }
  display->Click(origin.first + 100, origin.second + 25);
  ASSERT_TRUE(PumpUntil([&] { return frame->getFocusView() == edit; }));
  Settle();
  if (parent) {
    EXPECT_EQ(display->FocusedWindow(), Id());
  }
  display->TypeText("abc 12");
  display->TypeKey("BackSpace");
  display->PressKey("Shift_L");
  display->TypeText("x");
  display->ReleaseKey("Shift_L");
  EXPECT_TRUE(PumpUntil([&] { return std::string(edit->getText()) == "abc 1X"; }))
      << edit->getText();
  display->PressKey("Control_L");
  display->TypeText("ax");
  display->ReleaseKey("Control_L");
  ASSERT_TRUE(PumpUntil([&] { return std::string(edit->getText()).empty(); }));
  EXPECT_EQ(display->ReadClipboard([this] { frame->idle(); }), "abc 1X");
  display->PressKey("Control_L");
  display->TypeText("v");
  display->ReleaseKey("Control_L");
  const auto has = [&](const char* text) {
    return [edit, text] { return std::string(edit->getText()) == text; };
  };
  EXPECT_TRUE(PumpUntil(has("abc 1X")));
  display->PressKey("Control_L");
  display->TypeText("av");
  display->ReleaseKey("Control_L");
  EXPECT_TRUE(display->OfferClipboard(
      "from elsewhere", [this] { frame->idle(); }, has("from elsewhere")));

  frame->setFocusView(nullptr);
  Settle();
  if (parent) {
    EXPECT_EQ(display->FocusedWindow(), parent);
  }
}

TEST_P(WindowTest, AMenuIsDrawnAndDrivenWithinTheWindow) {
  const auto menu = SharedPointer<COptionMenu>::Adopt(new COptionMenu);
  for (const char* title : {"First", "Second", "Third"}) menu->addEntry(title);
  if (parent) display->SetFocus(parent);
  MoveTo(290, 190);
  ASSERT_TRUE(menu->popup(frame.get(), {20, 20}));
  Settle();
  EXPECT_NE(display->PixelAt(Id(), 60, 24), 0u);
  display->TypeKey("Down");
  display->TypeText("th");
  display->TypeKey("Return");
  ASSERT_TRUE(PumpUntil([&] { return !menu->isPoppedUp(); }));
  EXPECT_EQ(menu->getLastResult(), 2);
  menu->popup(frame.get(), {20, 20});
  Settle();
  const CPoint second = menu->getPopup()->getEntryRect(0, 1).getCenter();
  display->Click(origin.first + static_cast<int>(second.x),
                 origin.second + static_cast<int>(second.y));
  ASSERT_TRUE(PumpUntil([&] { return !menu->isPoppedUp(); }));
  EXPECT_EQ(menu->getLastResult(), 1);
  Settle();
  EXPECT_EQ(display->PixelAt(Id(), 24, 30), 0u);
  if (parent) {
    EXPECT_EQ(display->FocusedWindow(), parent);
  }
}

TEST_P(WindowTest, TakesDroppedFiles) {
  const auto pump = [this] { frame->idle(); };
  EXPECT_TRUE(display->DropFiles(Id(), 100, 120, "file:///tmp/one%20two.wav\r\n", pump));
  EXPECT_EQ(field->files, std::vector<std::string>{"/tmp/one two.wav"});
  EXPECT_EQ(field->last, CPoint(100, 120));
  EXPECT_FALSE(display->DropFiles(Id(), 10, 10, "file:///tmp/x.wav\r\n", pump));
  EXPECT_FALSE(display->DropFiles(Id(), 100, 120, "http://x/y\r\n", pump));
}

TEST_P(WindowTest, ResizesAndClosesWhenAsked) {
  ASSERT_TRUE(frame->setSize(400, 250));
  int width = 0, height = 0;
  ASSERT_TRUE(PumpUntil([&] {
    display->GetGeometry(Id(), nullptr, nullptr, &width, &height);
    return width == 400 && height == 250;
  }));
  EXPECT_EQ(frame->getWindowSize(), CPoint(400, 250));
  Settle();
  EXPECT_EQ(display->PixelAt(Id(), 100, 100), 0xC81E3Cu);
  if (parent) return;
  EXPECT_FALSE(frame->isCloseRequested());
  EXPECT_EQ(display->FindByTitle("A title"), Id());
  display->AskToClose(Id());
  EXPECT_TRUE(PumpUntil([&] { return frame->isCloseRequested(); }));
}

TEST_P(WindowTest, WakesItsDescriptorForTimers) {
  ASSERT_GE(frame->getEventDescriptor(), 0);
  int fired = 0;
  const auto timer = SharedPointer<CVSTGUITimer>::Adopt(new CVSTGUITimer(
      frame.get(), [&](CVSTGUITimer*) { ++fired; }, 40));
  timer->start();
  // Nothing but the descriptor's events wakes this loop.
  for (int i = 0; i < 30 && fired < 3; ++i) {
    frame->waitForEvents(1);
    frame->idle();
  }
  EXPECT_EQ(fired, 3);
}

TEST(WindowLife, OpensAndClosesAHundredTimesAndSurvivesItsParent) {
  HALVERON_NEEDS_DISPLAY(display);
  const auto parent = display->MakeWindow(0, 0, kWidth, kHeight);
  CFrame frame(CRect(0, 0, kWidth, kHeight));
  frame.addView(new Field(CRect(0, 0, kWidth, kHeight), {9, 9, 9}));
  for (int i = 0; i < 100; ++i) {
    ASSERT_TRUE(frame.open(reinterpret_cast<void*>(parent)));
    frame.idle();
    frame.close();
    ASSERT_TRUE(display->ChildrenOf(parent).empty());
  }
  std::string error;
  EXPECT_FALSE(frame.open(reinterpret_cast<void*>(parent + 77), nullptr, &error));
  EXPECT_NE(error.find("does not exist"), std::string::npos);

  ASSERT_TRUE(frame.open(reinterpret_cast<void*>(parent)));
  EXPECT_FALSE(frame.open(nullptr, nullptr, &error));
  EXPECT_NE(error.find("open already"), std::string::npos);
  frame.idle();
  display->DestroyWindow(parent);
  for (int i = 0; i < 5; ++i) frame.idle();
  frame.invalid();
  frame.idle();
  frame.close();
}

TEST(WindowLife, StandsInWindowsOfAnotherKindThanTheScreens) {
  HALVERON_NEEDS_DISPLAY(display);
  const auto parent = display->MakeWindow(0, 0, 2 * kWidth, kHeight, true);
  if (parent == 0) GTEST_SKIP() << "no windows with alpha";
  CFrame frame(CRect(0, 0, kWidth, kHeight));
  auto* field = new Field(CRect(0, 0, 2 * kWidth, kHeight), {10, 200, 30});
  frame.addView(field);
  std::string error;
  ASSERT_TRUE(frame.open(reinterpret_cast<void*>(parent), nullptr, &error)) << error;
  const auto id = reinterpret_cast<TestDisplay::WindowId>(frame.getWindowHandle());
  const auto shows = [&](int x) {
    return TestDisplay::PumpUntil([&] { frame.idle(); },
                                  [&] { return display->PixelAt(id, x, 20) == 0x0AC81Eu; });
  };
  EXPECT_TRUE(shows(20));
  frame.setSize(2 * kWidth, kHeight);
  EXPECT_TRUE(shows(2 * kWidth - 20));
  display->Click(2 * kWidth - 20, 20);
  EXPECT_TRUE(
      TestDisplay::PumpUntil([&] { frame.idle(); }, [&] { return field->log.size() >= 2; }));
  frame.close();
  EXPECT_TRUE(display->ChildrenOf(parent).empty());
  display->DestroyWindow(parent);
}

TEST(WindowLife, NamesADisplayThatDoesNotAnswer) {
  const char* const before = std::getenv("DISPLAY");
  const std::string name = before ? before : "";
  CFrame frame(CRect(0, 0, kWidth, kHeight));
  for (const std::string wrong : {":7777", ""}) {
    setenv("DISPLAY", wrong.c_str(), 1);
    std::string error;
    EXPECT_FALSE(frame.open(nullptr, "Title", &error));
    const std::string expected = wrong.empty() ? "no X display" : "\":7777\" does not answer";
    EXPECT_NE(error.find(expected), std::string::npos) << error;
  }
  setenv("DISPLAY", name.c_str(), 1);
}

TEST(WindowLife, MayCloseAndGoWithinItsOwnEvents) {
  HALVERON_NEEDS_DISPLAY(display);
  const auto parent = display->MakeWindow(0, 0, kWidth, kHeight);
  struct Closer : CView {
    using CView::CView;
    CMouseEventResult onMouseDown(CPoint&, const CButtonState&) override {
      CFrame* root = getFrame();
      root->idle();  // as a host may from within a call that the press leads to
      root->close();
      root->forget();
      return kMouseDownEventHandledButDontNeedMovedOrUpEvents;
    }
  };
  auto* frame = new CFrame(CRect(0, 0, kWidth, kHeight));
  frame->addView(new Closer(CRect(0, 0, 100, 100)));
  ASSERT_TRUE(frame->open(reinterpret_cast<void*>(parent)));
  frame->remember();
  frame->idle();
  display->Click(50, 50);
  EXPECT_TRUE(TestDisplay::PumpUntil([&] { frame->idle(); }, [&] { return !frame->isOpen(); }));
  EXPECT_EQ(frame->getNbReference(), 1);
  EXPECT_TRUE(display->ChildrenOf(parent).empty());
  frame->forget();
  display->DestroyWindow(parent);
}

}  // namespace
}  // namespace halveron
