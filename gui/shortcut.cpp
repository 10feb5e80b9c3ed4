#include "gui/shortcut.h"

#include <algorithm>
#include <array>
#include <utility>

namespace halveron {

namespace {

using NamedKey = std::pair<std::string_view, CVirtualKey>;

constexpr std::array kModifiers = {std::pair<std::string_view, int>{"Ctrl+", kControl},
                                   std::pair<std::string_view, int>{"Shift+", kShift},
                                   std::pair<std::string_view, int>{"Alt+", kAlt}};

constexpr std::array kNamedKeys = {NamedKey{"Return", kKeyReturn},
                                   NamedKey{"Escape", kKeyEscape},
                                   NamedKey{"Delete", kKeyDelete},
                                   NamedKey{"Tab", kKeyTab},
                                   NamedKey{"Space", kKeySpace},
                                   NamedKey{"Home", kKeyHome},
                                   NamedKey{"End", kKeyEnd},
                                   NamedKey{"PageUp", kKeyPageUp},
                                   NamedKey{"PageDown", kKeyPageDown},
                                   NamedKey{"Insert", kKeyInsert},
                                   NamedKey{"Backspace", kKeyBack},
                                   NamedKey{"Left", kKeyLeft},
                                   NamedKey{"Right", kKeyRight},
                                   NamedKey{"Up", kKeyUp},
                                   NamedKey{"Down", kKeyDown},
                                   NamedKey{"F1", kKeyF1},
                                   NamedKey{"F2", kKeyF2},
                                   NamedKey{"F3", kKeyF3},
                                   NamedKey{"F4", kKeyF4},
                                   NamedKey{"F5", kKeyF5},
                                   NamedKey{"F6", kKeyF6},
                                   NamedKey{"F7", kKeyF7},
                                   NamedKey{"F8", kKeyF8},
                                   NamedKey{"F9", kKeyF9},
                                   NamedKey{"F10", kKeyF10},
                                   NamedKey{"F11", kKeyF11},
                                   NamedKey{"F12", kKeyF12}};

/// On keyboards where "+" is the shifted "=", an event carries the key without Shift.
bool IsPlus(char32_t character) { return character == U'+' || character == U'='; }

bool IsLetter(char32_t character) {
  return (character >= U'a' && character <= U'z') || (character >= U'A' && character <= U'Z');
}

char32_t Folded(char32_t character) {
  return character >= U'A' && character <= U'Z' ? character + (U'a' - U'A') : character;
}

bool MatchesOne(const CKeyEvent& event, std::string_view keys) {
  int modifiers = 0;
  for (const auto& [name, bit] : kModifiers) {
    if (!keys.starts_with(name)) continue;
    modifiers |= bit;
    keys.remove_prefix(name.size());
  }
  int held = event.modifiers();
  for (const auto& [name, key] : kNamedKeys) {
    if (name == keys) return event.key == key && held == modifiers;
  }
  if (keys.size() != 1) return false;
  const auto wanted = static_cast<unsigned char>(keys.front());
  if (!IsLetter(wanted)) held = (held & ~kShift) | (modifiers & kShift);
  if (held != modifiers) return false;
  return wanted == '+' ? IsPlus(event.character) : Folded(event.character) == Folded(wanted);
}

}  // namespace

bool MatchesShortcut(const CKeyEvent& event, std::string_view keys) {
  while (!keys.empty()) {
    const std::string_view one = ShownShortcut(keys);
    if (MatchesOne(event, one)) return true;
    keys.remove_prefix(std::min(one.size() + 1, keys.size()));
  }
  return false;
}

std::string_view ShownShortcut(std::string_view keys) { return keys.substr(0, keys.find(' ')); }

}  // namespace halveron
