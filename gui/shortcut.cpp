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

/// Neither a key nor a character if the text names none.
Shortcut Parse(std::string_view keys) {
  Shortcut shortcut;
  for (const auto& [name, bit] : kModifiers) {
    if (!keys.starts_with(name)) continue;
    shortcut.modifiers |= bit;
    keys.remove_prefix(name.size());
  }
  for (const auto& [name, key] : kNamedKeys) {
    if (name == keys) shortcut.key = key;
  }
  if (shortcut.key == kKeyNone && keys.size() == 1) shortcut.character = keys.front();
  return shortcut;
}

bool Matches(const CKeyEvent& event, const Shortcut& shortcut) {
  int held = event.modifiers();
  if (shortcut.key != kKeyNone) return event.key == shortcut.key && held == shortcut.modifiers;
  if (shortcut.character == 0) return false;
  if (shortcut.IsSign()) held = (held & ~kShift) | (shortcut.modifiers & kShift);
  if (held != shortcut.modifiers) return false;
  const auto wanted = static_cast<unsigned char>(shortcut.character);
  return wanted == '+' ? IsPlus(event.character) : Folded(event.character) == Folded(wanted);
}

/// f(text of an alternative), until it is true.
template <class F>
bool AnyAlternative(std::string_view keys, F&& f) {
  while (!keys.empty()) {
    const std::string_view one = ShownShortcut(keys);
    if (f(one)) return true;
    keys.remove_prefix(std::min(one.size() + 1, keys.size()));
  }
  return false;
}

}  // namespace

bool Shortcut::IsSign() const {
  return character != 0 && !IsLetter(static_cast<unsigned char>(character));
}

bool MatchesShortcut(const CKeyEvent& event, std::string_view keys) {
  return AnyAlternative(keys, [&](std::string_view one) { return Matches(event, Parse(one)); });
}

std::vector<Shortcut> ShortcutsOf(std::string_view keys) {
  std::vector<Shortcut> shortcuts;
  AnyAlternative(keys, [&](std::string_view one) {
    const Shortcut shortcut = Parse(one);
    if (shortcut.key != kKeyNone || shortcut.character != 0) shortcuts.push_back(shortcut);
    return false;
  });
  return shortcuts;
}

std::string_view ShownShortcut(std::string_view keys) { return keys.substr(0, keys.find(' ')); }

}  // namespace halveron
