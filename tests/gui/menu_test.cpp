#include <gtest/gtest.h>

#include <string>
#include <vector>

#include "gui/frame.h"
#include "gui/menu_popup.h"
#include "gui/option_menu.h"
#include "tests/gui/input.h"

namespace halveron {
namespace {

/// A frame with a menu: "Open", "Save" (disabled), a separator, "Size" with "Small", "Medium",
/// "Large", and "About".
class MenuTest : public ::testing::Test, public CControlListener {
 protected:
  MenuTest() {
    frame.useManualClock();
    menu->addEntry("Open");
    menu->addEntry("Save", -1, CMenuItem::kDisabled);
    menu->addSeparator();
    for (const char* title : {"Small", "Medium", "Large"}) sizes->addEntry(title);
    menu->addEntry(sizes, "Size");
    menu->addEntry("About");
  }

  void valueChanged(CControl* control) override {
    auto* changed = static_cast<COptionMenu*>(control);
    const int index = static_cast<int>(changed->getValue());
    choices.push_back(changed->getEntry(index)->getTitle());
  }
  void Popup(const CPoint& where = {10, 10}) { ASSERT_TRUE(menu->popup(&frame, where)); }
  CPoint CentreOf(int depth, int index) {
    const CRect rect = menu->getPopup()->getEntryRect(depth, index);
    EXPECT_FALSE(rect.isEmpty());
    return rect.getCenter();
  }

  CFrame frame{CRect(0, 0, 400, 300)};
  SharedPointer<COptionMenu> menu = SharedPointer<COptionMenu>::Adopt(new COptionMenu({}, this));
  SharedPointer<COptionMenu> sizes = SharedPointer<COptionMenu>::Adopt(new COptionMenu);
  std::vector<std::string> choices;
};

TEST_F(MenuTest, TellsOfTheEntryThatIsClicked) {
  bool closed = false;
  ASSERT_TRUE(menu->popup(&frame, {10, 10}, [&](COptionMenu*, bool chosen) { closed = chosen; }));
  EXPECT_FALSE(menu->popup(&frame, {10, 10}));
  Click(frame, CentreOf(0, 4));
  EXPECT_EQ(choices, std::vector<std::string>{"About"});
  EXPECT_TRUE(closed);
  EXPECT_FALSE(menu->isPoppedUp());
  EXPECT_EQ(frame.getModalView(), nullptr);
  EXPECT_EQ(menu->getLastResult(), 4);

  // Neither a separator nor a disabled entry can be chosen.
  Popup();
  Click(frame, CentreOf(0, 1));
  Click(frame, CentreOf(0, 2));
  EXPECT_TRUE(menu->isPoppedUp());
  // The same entry may be chosen again.
  Click(frame, CentreOf(0, 4));
  EXPECT_EQ(choices.size(), 2u);
}

TEST_F(MenuTest, AClickElsewhereClosesAndReachesNothing) {
  auto* below = new COptionMenu(CRect(300, 200, 380, 220));
  below->addEntry("Another");
  frame.addView(below);
  Popup();
  Click(frame, {350, 210});
  EXPECT_FALSE(menu->isPoppedUp());
  EXPECT_FALSE(below->isPoppedUp());
  EXPECT_EQ(menu->getLastResult(), -1);
  EXPECT_TRUE(choices.empty());
  Click(frame, {350, 210});
  EXPECT_TRUE(below->isPoppedUp());
}

TEST_F(MenuTest, ThePressThatOpensMayChoose) {
  struct Opener : CView {
    Opener(COptionMenu* m) : CView(CRect(0, 0, 50, 50)), menu(m) {}
    CMouseEventResult onMouseDown(CPoint& where, const CButtonState&) override {
      menu->popup(getFrame(), where);
      return kMouseEventHandled;
    }
    COptionMenu* menu;
  };
  frame.addView(new Opener(menu));

  // A click opens the menu and leaves it open.
  Press(frame, {20, 20}, kRButton);
  Release(frame, {20, 20}, kRButton);
  ASSERT_TRUE(menu->isPoppedUp());
  menu->closePopup();

  Press(frame, {20, 20}, kRButton);
  Move(frame, CentreOf(0, 0), kRButton);
  Release(frame, CentreOf(0, 0), kRButton);
  EXPECT_EQ(choices, std::vector<std::string>{"Open"});
}

TEST_F(MenuTest, ASubmenuOpensUnderTheMouseAndSetsItsOwnValue) {
  sizes->setCurrent(0);
  Popup();
  Move(frame, CentreOf(0, 3));
  EXPECT_EQ(menu->getPopup()->getDepth(), 1);
  frame.advanceTime(0.2);
  ASSERT_EQ(menu->getPopup()->getDepth(), 2);
  // The way there may lead across other entries.
  Move(frame, CentreOf(0, 4));
  Move(frame, CentreOf(1, 2));
  frame.advanceTime(0.2);
  ASSERT_EQ(menu->getPopup()->getDepth(), 2);
  Click(frame, CentreOf(1, 2));
  EXPECT_EQ(choices, std::vector<std::string>{"Large"});
  EXPECT_EQ(sizes->getCurrentIndex(), 2);
  int index = -1;
  EXPECT_EQ(menu->getLastItemMenu(index), sizes.get());
  EXPECT_EQ(index, 2);

  // Resting on another entry closes it.
  Popup();
  Move(frame, CentreOf(0, 3));
  frame.advanceTime(0.2);
  Move(frame, CentreOf(0, 0));
  frame.advanceTime(0.2);
  EXPECT_EQ(menu->getPopup()->getDepth(), 1);
}

TEST_F(MenuTest, KeysMoveOpenGoBackAndChoose) {
  Popup();
  MenuPopup* up = menu->getPopup();
  TypeKey(frame, kKeyDown);
  EXPECT_EQ(up->getHighlightedTitle(), "Open");
  TypeKey(frame, kKeyDown);
  EXPECT_EQ(up->getHighlightedTitle(), "Size");
  TypeKey(frame, kKeyUp);
  TypeKey(frame, kKeyUp);
  EXPECT_EQ(up->getHighlightedTitle(), "About");
  TypeText(frame, "si");
  EXPECT_EQ(up->getHighlightedTitle(), "Size");
  TypeKey(frame, kKeyRight);
  EXPECT_EQ(up->getHighlightedTitle(), "Small");
  TypeKey(frame, kKeyLeft);
  EXPECT_EQ(up->getDepth(), 1);
  TypeText(frame, "si");
  TypeKey(frame, kKeyReturn);
  TypeText(frame, "la");
  EXPECT_EQ(up->getHighlightedTitle(), "Large") << "not \"sila\"";
  TypeKey(frame, kKeyReturn);
  EXPECT_EQ(choices, std::vector<std::string>{"Large"});

  Popup();
  TypeKey(frame, kKeyDown);
  TypeKey(frame, kKeyDown);
  TypeKey(frame, kKeyRight);
  TypeKey(frame, kKeyEscape);
  EXPECT_EQ(menu->getPopup()->getDepth(), 1);
  TypeKey(frame, kKeyEscape);
  EXPECT_FALSE(menu->isPoppedUp());
  EXPECT_EQ(choices.size(), 1u);
}

TEST_F(MenuTest, TypingFindsEntriesOfSubmenus) {
  menu->setStyle(kFindInSubmenus);
  sizes->addEntry("Extra Large");
  Popup();
  MenuPopup* up = menu->getPopup();
  TypeText(frame, "LAR");
  // What begins with the text comes first.
  EXPECT_EQ(up->getHighlightedTitle(), "Large");
  TypeKey(frame, kKeyDown);
  EXPECT_EQ(up->getHighlightedTitle(), "Extra Large");
  TypeText(frame, "x");
  EXPECT_EQ(up->getHighlightedTitle(), "");
  TypeKey(frame, kKeyBack);
  EXPECT_EQ(up->getFindText(), "LAR");
  TypeKey(frame, kKeyEscape);
  EXPECT_EQ(up->getFindText(), "");
  TypeText(frame, "ex la");
  TypeKey(frame, kKeyReturn);
  EXPECT_EQ(choices, std::vector<std::string>{"Extra Large"});
}

TEST_F(MenuTest, StaysInsideTheFrameAndScrollsWhatDoesNotFit) {
  Popup({390, 295});
  const CRect corner = menu->getPopup()->getPanelRect(0);
  EXPECT_LE(corner.right, 400);
  EXPECT_LE(corner.bottom, 300);
  // There is no room for the submenu on the right.
  TypeText(frame, "si");
  TypeKey(frame, kKeyRight);
  EXPECT_LT(menu->getPopup()->getPanelRect(1).left, corner.left);
  menu->closePopup();

  const auto longMenu = SharedPointer<COptionMenu>::Adopt(new COptionMenu({}, this));
  for (int i = 0; i < 100; ++i) longMenu->addEntry(("Entry " + std::to_string(i)).c_str());
  longMenu->popup(&frame, {10, 10});
  MenuPopup* up = longMenu->getPopup();
  EXPECT_EQ(up->getPanelRect(0).getHeight(), 300);
  EXPECT_TRUE(up->getEntryRect(0, 50).isEmpty());
  TypeKey(frame, kKeyEnd);
  EXPECT_FALSE(up->getEntryRect(0, 99).isEmpty());
  frame.onWheel({30, 150}, 100, {});
  EXPECT_FALSE(up->getEntryRect(0, 0).isEmpty());
  // Resting at the lower edge scrolls on.
  Move(frame, {30, 297});
  frame.advanceTime(10);
  EXPECT_FALSE(up->getEntryRect(0, 99).isEmpty());
  Click(frame, up->getEntryRect(0, 98).getCenter());
  EXPECT_EQ(choices, std::vector<std::string>{"Entry 98"});
}

TEST_F(MenuTest, EndsWithItsFrameAndMayLoseItsEntriesWhileUp) {
  bool cancelled = false;
  menu->popup(&frame, {10, 10}, [&](COptionMenu*, bool chosen) { cancelled = !chosen; });
  menu->removeAllEntry();
  Click(frame, CentreOf(0, 4));
  EXPECT_FALSE(menu->isPoppedUp());
  EXPECT_TRUE(choices.empty());

  menu->addEntry("Only");
  menu->popup(&frame, {10, 10}, [&](COptionMenu*, bool chosen) { cancelled = !chosen; });
  frame.close();
  EXPECT_TRUE(cancelled);
  EXPECT_FALSE(menu->isPoppedUp());
  {
    CFrame other(CRect(0, 0, 100, 100));
    menu->popup(&other, {10, 10});
    EXPECT_TRUE(menu->isPoppedUp());
  }
  EXPECT_FALSE(menu->isPoppedUp());
}

TEST_F(MenuTest, StandsInAViewAsAPullDown) {
  auto* box = new COptionMenu(CRect(20, 20, 220, 44), this, 0, nullptr, kCheckStyle);
  for (const char* title : {"One", "Two", "Three"}) box->addEntry(title);
  box->addSeparator(2);
  frame.addView(box);
  Click(frame, {100, 30});
  ASSERT_TRUE(box->isPoppedUp());
  EXPECT_EQ(box->getPopup()->getPanelRect(0).getTopLeft(), CPoint(20, 44));
  EXPECT_EQ(box->getPopup()->getPanelRect(0).getWidth(), 200);
  Click(frame, box->getPopup()->getEntryRect(0, 1).getCenter());
  EXPECT_TRUE(box->isCheckEntry(1));
  // The wheel steps over what cannot be chosen.
  frame.onWheel({100, 30}, -1, {});
  EXPECT_TRUE(box->isCheckEntry(3));
  EXPECT_FALSE(box->isCheckEntry(1));
  EXPECT_EQ(choices, (std::vector<std::string>{"Two", "Three"}));
}

}  // namespace
}  // namespace halveron
