#include "gui/frame.h"

#include <gtest/gtest.h>

#include <string>
#include <vector>

#include "gui/idle_thread.h"
#include "gui/scrollbar.h"
#include "gui/text_edit.h"
#include "gui/timer.h"
#include "platform/file_drop_target.h"
#include "tests/gui/input.h"

namespace halveron {
namespace {

/// Counts what reaches it.
class Counter : public CView {
 public:
  using CView::CView;
  CMouseEventResult onMouseDown(CPoint&, const CButtonState&) override {
    ++downs;
    return kMouseEventHandled;
  }
  CMouseEventResult onMouseMoved(CPoint& where, const CButtonState&) override {
    ++moves;
    last = where;
    return kMouseEventHandled;
  }
  CMouseEventResult onMouseUp(CPoint&, const CButtonState&) override {
    ++ups;
    return kMouseEventHandled;
  }
  bool onWheel(const CPoint&, float, const CButtonState&) override { return ++wheels > 0; }
  bool onKeyDown(const CKeyEvent&) override { return ++keys > 0; }
  bool onDragMove(const CPoint&) override { return true; }
  bool onDrop(std::span<const std::string> paths, const CPoint& where) override {
    files.assign(paths.begin(), paths.end());
    last = where;
    return true;
  }
  std::string tooltipAt(const CPoint& where) override {
    return where.x < viewSize.getCenter().x ? "left" : "";
  }

  int downs = 0, moves = 0, ups = 0, wheels = 0, keys = 0;
  CPoint last;
  std::vector<std::string> files;
};

class FrameTest : public ::testing::Test {
 protected:
  FrameTest() {
    frame.useManualClock();
    auto* box = new CViewContainer(CRect(100, 100, 200, 200), nullptr);
    box->setTooltipText("box");
    frame.addView(box);
    inner = new Counter(CRect(10, 10, 50, 50));
    box->addView(inner);
    dialog = new Counter(CRect(300, 100, 400, 200));
    frame.addView(dialog);
  }

  CFrame frame{CRect(0, 0, 500, 300)};
  Counter* inner;
  Counter* dialog;
};

TEST_F(FrameTest, AModalViewTakesEverythingAndGivesTheFocusBack) {
  frame.setFocusView(inner);
  Press(frame, {120, 120});
  frame.pushModalView(dialog);
  // What was held is over.
  EXPECT_EQ(inner->ups, 1);
  Release(frame, {120, 120});
  EXPECT_EQ(inner->ups, 1);

  Click(frame, {120, 120});
  frame.onWheel({120, 120}, 1, {});
  TypeKey(frame, kKeyDown);
  EXPECT_FALSE(frame.onDragMove({120, 120}));
  EXPECT_EQ(inner->downs, 1);
  EXPECT_EQ(inner->wheels + inner->keys, 0);
  EXPECT_EQ(dialog->downs, 1);
  EXPECT_EQ(dialog->wheels, 1);
  EXPECT_EQ(dialog->keys, 1);

  // A second one above it, taken away with its view.
  auto* upper = new Counter(CRect(0, 0, 10, 10));
  frame.addView(upper);
  frame.pushModalView(upper);
  Click(frame, {350, 150});
  EXPECT_EQ(upper->downs, 1);
  frame.removeView(upper);
  EXPECT_EQ(frame.getModalView(), dialog);

  frame.popModalView(dialog);
  EXPECT_EQ(frame.getFocusView(), inner);
  Click(frame, {120, 120});
  EXPECT_EQ(inner->downs, 2);
}

TEST_F(FrameTest, TellsWhereTheMouseIs) {
  Press(frame, {120, 130}, kLButton | kShift);
  EXPECT_EQ(frame.getCurrentMouseLocation(), CPoint(120, 130));
  EXPECT_TRUE(frame.getCurrentMouseButtons().isLeftButton());
  Release(frame, {121, 131});
  EXPECT_EQ(frame.getCurrentMouseLocation(), CPoint(121, 131));
  EXPECT_EQ(frame.getCurrentMouseButtons().getButtonState(), 0);
}

TEST_F(FrameTest, ATooltipShowsWhileTheMouseRests) {
  Move(frame, {115, 120});
  frame.advanceTime(0.5);
  EXPECT_EQ(frame.getShownTooltip(), "");
  frame.advanceTime(0.3);
  EXPECT_EQ(frame.getShownTooltip(), "left");
  // The innermost view has nothing to say here, so its parent is asked.
  Move(frame, {145, 120});
  EXPECT_EQ(frame.getShownTooltip(), "");
  frame.advanceTime(1);
  EXPECT_EQ(frame.getShownTooltip(), "box");
  Press(frame, {145, 120});
  frame.advanceTime(1);
  EXPECT_EQ(frame.getShownTooltip(), "");
  Release(frame, {145, 120});
  frame.advanceTime(1);
  EXPECT_EQ(frame.getShownTooltip(), "");
  // Views below a modal view show no tooltip.
  Move(frame, {115, 120});
  frame.pushModalView(dialog);
  frame.advanceTime(1);
  EXPECT_EQ(frame.getShownTooltip(), "");
  frame.popModalView(dialog);
  frame.setTooltipsEnabled(false);
  Move(frame, {115, 120});
  frame.advanceTime(1);
  EXPECT_EQ(frame.getShownTooltip(), "");
}

TEST_F(FrameTest, FilesGoToTheViewUnderThem) {
  const std::vector<std::string> files = {"/tmp/a.wav", "/tmp/b.wav"};
  EXPECT_TRUE(frame.onDragMove({115, 120}));
  EXPECT_TRUE(frame.onDrop(files, {115, 120}));
  EXPECT_EQ(inner->files, files);
  EXPECT_EQ(inner->last, CPoint(15, 20));
  EXPECT_FALSE(frame.onDrop(files, {190, 190}));
  EXPECT_EQ(platform::PathsInUriList("# comment\r\nfile:///tmp/a%20b%C3%A9.wav\r\n"
                                     "http://x/y\r\nfile://host/c\nfile:///bad%00\n"),
            (std::vector<std::string>{"/tmp/a b\xC3\xA9.wav", "/c"}));
}

TEST_F(FrameTest, TimersFireInTheirPeriodAndStopWhenTold) {
  int fired = 0;
  const auto timer = SharedPointer<CVSTGUITimer>::Adopt(new CVSTGUITimer(
      &frame, [&fired](CVSTGUITimer*) { ++fired; }, 50));
  frame.advanceTime(1);
  EXPECT_EQ(fired, 0);
  EXPECT_TRUE(timer->start());
  frame.advanceTime(1);
  EXPECT_NEAR(fired, 20, 1);
  // Idle calls that come late bring one call each, not all that were missed.
  fired = 0;
  timer->setFireTime(1);
  frame.advanceTime(1);
  EXPECT_EQ(fired, 30);
  EXPECT_TRUE(timer->stop());
  EXPECT_FALSE(timer->stop());
  frame.advanceTime(1);
  EXPECT_EQ(fired, 30);

  struct Listener : CBaseObject {
    int notify(CBaseObject* sender, const char* message) override {
      notified = std::string(message) == CVSTGUITimer::kMsgTimer;
      static_cast<CVSTGUITimer*>(sender)->stop();
      return kMessageNotified;
    }
    bool notified = false;
  } listener;
  CVSTGUITimer once(&frame, &listener, 30);
  once.start();
  frame.advanceTime(0.2);
  EXPECT_TRUE(listener.notified);
  EXPECT_FALSE(once.isRunning());
}

TEST(IdleThread, TicksUntilItEnds) {
  std::atomic<int> ticks = 0;
  {
    const IdleThread thread([&ticks] { ++ticks; }, 0.001);
    while (ticks < 3) std::this_thread::yield();
  }
  const int atEnd = ticks;
  std::this_thread::sleep_for(std::chrono::milliseconds(5));
  EXPECT_EQ(ticks, atEnd);
}

class TextEditTest : public ::testing::Test, public CControlListener {
 protected:
  TextEditTest() {
    frame.addView(edit);
    frame.addView(new Counter(CRect(0, 100, 50, 150)));
  }
  void valueChanged(CControl*) override { committed.emplace_back(edit->getText()); }

  CFrame frame{CRect(0, 0, 300, 200)};
  CTextEdit* edit = new CTextEdit(CRect(10, 10, 110, 34), this, 0, "one two");
  std::vector<std::string> committed;
};

TEST_F(TextEditTest, EditsByKeys) {
  Click(frame, {105, 20});
  ASSERT_EQ(frame.getFocusView(), edit);
  EXPECT_EQ(edit->getCaret(), 7u);
  TypeText(frame, "!");
  TypeKey(frame, kKeyHome);
  TypeKey(frame, kKeyDelete);
  TypeKey(frame, kKeyRight, kControl);
  TypeKey(frame, kKeyBack);
  EXPECT_STREQ(edit->getText(), "netwo!");
  TypeKey(frame, kKeyEnd, kShift);
  TypeText(frame, "x");
  EXPECT_STREQ(edit->getText(), "nex");
  frame.onKeyDown({U'\u00E9', kKeyNone, {}});
  frame.onKeyDown({U'\U0001F3B5', kKeyNone, {}});
  EXPECT_STREQ(edit->getText(), "nex\xC3\xA9\xF0\x9F\x8E\xB5");
  TypeKey(frame, kKeyBack);
  TypeKey(frame, kKeyLeft);
  EXPECT_EQ(edit->getCaret(), 3u);
  EXPECT_TRUE(committed.empty());
  TypeKey(frame, kKeyReturn);
  EXPECT_EQ(committed, std::vector<std::string>{"nex\xC3\xA9"});
}

TEST_F(TextEditTest, CopiesAndPastes) {
  frame.setFocusView(edit);
  TypeText(frame, "a", kControl);
  TypeText(frame, "x", kControl);
  EXPECT_STREQ(edit->getText(), "");
  TypeText(frame, "v", kControl);
  TypeText(frame, "v", kControl);
  EXPECT_STREQ(edit->getText(), "one twoone two");
  frame.setClipboardText("line\nfeed\x01");
  TypeText(frame, "a", kControl);
  TypeText(frame, "v", kControl);
  EXPECT_STREQ(edit->getText(), "line feed");
}

TEST_F(TextEditTest, KeepsItsLimitsAndGivesUpOnEscape) {
  edit->setMaxLength(9);
  frame.setFocusView(edit);
  edit->insertText("\xC3\xA9\xC3\xA9");
  // A character is kept whole or not at all.
  EXPECT_STREQ(edit->getText(), "one two\xC3\xA9");
  edit->setText("12345678\xC3\xA9");
  EXPECT_STREQ(edit->getText(), "12345678");
  frame.setFocusView(nullptr);
  EXPECT_EQ(committed, std::vector<std::string>{"12345678"});
  frame.setFocusView(edit);
  TypeText(frame, "9");
  TypeKey(frame, kKeyEscape);
  frame.setFocusView(nullptr);
  EXPECT_EQ(committed.size(), 1u);
  EXPECT_STREQ(edit->getText(), "12345678");
}

TEST_F(TextEditTest, ShowsWhatTheMouseWouldDo) {
  Move(frame, {50, 20});
  EXPECT_EQ(frame.getCursor(), kCursorText);
  Move(frame, {50, 80});
  EXPECT_EQ(frame.getCursor(), kCursorDefault);
  Move(frame, {50, 20});
  frame.removeView(edit);
  EXPECT_EQ(frame.getCursor(), kCursorDefault);
}

TEST_F(TextEditTest, SelectsWithTheMouse) {
  const CCoord middle = edit->getViewSize().getCenter().y;
  Press(frame, {100, middle});
  Move(frame, {5, middle}, kLButton);
  Release(frame, {5, middle});
  EXPECT_EQ(edit->getAnchor(), 7u);
  EXPECT_EQ(edit->getCaret(), 0u);
  Press(frame, {20, middle}, kLButton | kDoubleClick);
  EXPECT_EQ(edit->getAnchor(), 0u);
  EXPECT_EQ(edit->getCaret(), 4u);
}

TEST(Scrollbar, DragsPagesAndFollowsTheWheel) {
  CFrame frame(CRect(0, 0, 100, 200));
  auto* bar = new CScrollbar(CRect(0, 0, 10, 200), nullptr, 0, CScrollbar::kVertical);
  frame.addView(bar);
  bar->setScrollSize(1000, 200);
  EXPECT_EQ(bar->getHandleRect(), CRect(0, 0, 10, 40));
  Press(frame, {5, 10});
  Move(frame, {5, 90}, kLButton);
  Release(frame, {5, 90});
  EXPECT_FLOAT_EQ(bar->getValue(), 0.5f);
  EXPECT_NEAR(bar->getScrollPosition(), 400, 0.01);
  Click(frame, {5, 199});
  EXPECT_NEAR(bar->getScrollPosition(), 600, 0.01);
  frame.onWheel({5, 5}, 1, {});
  EXPECT_NEAR(bar->getScrollPosition(), 560, 0.01);
  bar->scrollTo(5000);
  EXPECT_EQ(bar->getValue(), 1);
  // Nothing to scroll: the wheel is not used.
  bar->setScrollSize(100, 200);
  EXPECT_FALSE(frame.onWheel({5, 5}, 1, {}));
}

}  // namespace
}  // namespace halveron
