// Keys that run a command, as menus show them.
#pragma once

#include <string_view>
#include <vector>

#include "gui/view.h"

namespace halveron {

/// A key and the modifiers that are held with it.
struct Shortcut {
  CVirtualKey key = kKeyNone;  ///< kKeyNone for a letter or sign
  char character = 0;
  int modifiers = 0;  ///< of kShift, kControl and kAlt; a sign may need Shift beside them

  bool IsSign() const;
};

/// True if the event is one of the shortcuts of a text: names joined by "+", alternatives separated
/// by blanks, as in "Ctrl+Shift+Z Ctrl+Y", "F1" or "Ctrl++". The last name is a letter or sign, in
/// capitals or not, or a key: "Return", "Escape", "Delete", "Tab", "Space", "Home", "End",
/// "PageUp", "PageDown", "Insert", "Backspace", "Left", "Right", "Up", "Down", "F1" to "F12". A
/// sign that has a key of its own on some keyboards and needs Shift on others ("+") matches with
/// and without it.
bool MatchesShortcut(const CKeyEvent& event, std::string_view keys);

/// All alternatives of such a text; what is no key is left out.
std::vector<Shortcut> ShortcutsOf(std::string_view keys);

/// The first of the alternatives, for a menu.
std::string_view ShownShortcut(std::string_view keys);

}  // namespace halveron
