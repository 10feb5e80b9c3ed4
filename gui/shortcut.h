// Keys that run a command, as menus show them.
#pragma once

#include <string_view>

#include "gui/view.h"

namespace halveron {

/// True if the event is one of the shortcuts of a text: names joined by "+", alternatives separated
/// by blanks, as in "Ctrl+Shift+Z Ctrl+Y", "F1" or "Ctrl++". The last name is a letter or sign, in
/// capitals or not, or a key: "Return", "Escape", "Delete", "Tab", "Space", "Home", "End",
/// "PageUp", "PageDown", "Insert", "Backspace", "Left", "Right", "Up", "Down", "F1" to "F12". A
/// sign that has a key of its own on some keyboards and needs Shift on others ("+") matches with
/// and without it.
bool MatchesShortcut(const CKeyEvent& event, std::string_view keys);

/// The first of the alternatives, for a menu.
std::string_view ShownShortcut(std::string_view keys);

}  // namespace halveron
