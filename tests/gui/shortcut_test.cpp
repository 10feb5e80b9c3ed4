// Shortcuts, as texts that match keys.
#include "gui/shortcut.h"

#include <gtest/gtest.h>

namespace halveron {
namespace {

CKeyEvent Letter(char32_t letter, int modifiers = 0) {
  return {letter, kKeyNone, CButtonState(modifiers)};
}

TEST(Shortcut, MatchesItsKeysAndNoOthers) {
  EXPECT_TRUE(MatchesShortcut(Letter(U'z', kControl), "Ctrl+Z"));
  EXPECT_TRUE(MatchesShortcut(Letter(U'Z', kControl | kShift), "Ctrl+Shift+Z Ctrl+Y"));
  EXPECT_TRUE(MatchesShortcut(Letter(U'y', kControl), "Ctrl+Shift+Z Ctrl+Y"));
  EXPECT_FALSE(MatchesShortcut(Letter(U'z', kControl), "Ctrl+Shift+Z Ctrl+Y"));
  EXPECT_FALSE(MatchesShortcut(Letter(U'z'), "Ctrl+Z"));
  EXPECT_FALSE(MatchesShortcut(Letter(U'z', kControl), ""));
  const CKeyEvent f1{0, kKeyF1, {}};
  EXPECT_TRUE(MatchesShortcut(f1, "F1"));
  EXPECT_FALSE(MatchesShortcut(f1, "F10"));
  EXPECT_FALSE(MatchesShortcut({0, kKeyF1, CButtonState(kShift)}, "F1"));
  EXPECT_EQ(ShownShortcut("Ctrl+Shift+Z Ctrl+Y"), "Ctrl+Shift+Z");
}

TEST(Shortcut, TakesSignsFromAnyKeyboard) {
  for (const CKeyEvent& event :
       {Letter(U'+', kControl), Letter(U'=', kControl), Letter(U'+', kControl | kShift)}) {
    EXPECT_TRUE(MatchesShortcut(event, "Ctrl++"));
  }
  EXPECT_FALSE(MatchesShortcut(Letter(U'-', kControl), "Ctrl++"));
  EXPECT_TRUE(MatchesShortcut(Letter(U'-', kControl), "Ctrl+-"));
}

}  // namespace
}  // namespace halveron
