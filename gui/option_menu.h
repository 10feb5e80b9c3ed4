// Menus, drawn within the window.
#pragma once

#include <functional>
#include <string>
#include <string_view>
#include <vector>

#include "gui/param_display.h"

namespace halveron {

class COptionMenu;
class MenuPopup;

/// One entry of a menu.
class CMenuItem : public CBaseObject {
 public:
  /// Bits; a title is shown as a heading, and like a separator cannot be chosen.
  enum Flags : int {
    kNoFlags = 0,
    kDisabled = 1 << 0,
    kTitle = 1 << 1,
    kChecked = 1 << 2,
    kSeparator = 1 << 3
  };

  explicit CMenuItem(const char* title, int flags = kNoFlags, int tag = -1);
  ~CMenuItem() override;

  const char* getTitle() const { return title.c_str(); }
  void setTitle(const char* text) { title = text ? text : ""; }
  bool isEnabled() const { return (flags & kDisabled) == 0; }
  void setEnabled(bool on) { setFlag(kDisabled, !on); }
  bool isChecked() const { return (flags & kChecked) != 0; }
  void setChecked(bool on) { setFlag(kChecked, on); }
  bool isTitle() const { return (flags & kTitle) != 0; }
  bool isSeparator() const { return (flags & kSeparator) != 0; }
  /// True if a user may stop at it: neither a separator, nor a title, nor disabled.
  bool isSelectable() const { return (flags & (kDisabled | kTitle | kSeparator)) == 0; }
  /// Shown at the right of the entry; the keys themselves are the frame's. Empty for none.
  const std::string& getShortcut() const { return shortcut; }
  void setShortcut(std::string_view keys) { shortcut = keys; }
  int getTag() const { return tag; }
  void setTag(int t) { tag = t; }
  /// The item keeps its own reference. Null for none.
  void setSubmenu(COptionMenu* menu);
  COptionMenu* getSubmenu() const { return submenu; }

  HALVERON_TYPE_OF(CMenuItem, CBaseObject)

 private:
  void setFlag(int bit, bool on) { flags = on ? flags | bit : flags & ~bit; }

  std::string title;
  std::string shortcut;
  int flags;
  int tag;
  SharedPointer<COptionMenu> submenu;
};

/// Bits of a menu's style, beside those of CParamDisplayStyle.
enum COptionMenuStyle : int {
  /// A choice checks its entry and unchecks the others.
  kCheckStyle = 1 << 8,
  /// Typing lists every entry with that text in its title, of the submenus too at any depth;
  /// without
  /// it typing moves to the next entry of the open menu that begins with, or else holds, the text.
  kFindInSubmenus = 1 << 9
};

/// A list of entries to choose from, numbered from 0 with separators counted, and a control whose
/// value is the number of the current one.
///
/// `popup` shows it anywhere in a frame; put into a view tree it shows its current entry's title
/// and pops up under itself when pressed. Neither call blocks: the choice comes later, from the
/// frame's events. It sets the value of the menu that holds the entry (a submenu maybe), notes the
/// result in the menu that was popped up, and calls the listener of the menu that holds the entry,
/// or if that has none, of the one popped up. While a menu is up, the mouse, the wheel and the keys
/// are the menu's: arrows move, Return and Right open or choose, Left and Escape go back, letters
/// find.
class COptionMenu : public CParamDisplay {
 public:
  /// Called when a pop-up has gone, with true if an entry was chosen; after the listener.
  using ClosedCallback = std::function<void(COptionMenu* menu, bool chosen)>;

  explicit COptionMenu(const CRect& size = {}, CControlListener* listener = nullptr, int tag = 0,
                       CBitmap* background = nullptr, int style = kNoStyle);
  ~COptionMenu() override;

  /// Takes over the caller's reference. At the end, or before the entry at `index`. Returns the
  /// item.
  virtual CMenuItem* addEntry(CMenuItem* item, int index = -1);
  virtual CMenuItem* addEntry(const char* title, int index = -1, int flags = CMenuItem::kNoFlags);
  /// The entry keeps its own reference.
  virtual CMenuItem* addEntry(COptionMenu* submenu, const char* title);
  virtual CMenuItem* addSeparator(int index = -1);
  /// Null if there is no such index.
  CMenuItem* getEntry(int index) const;
  int getNbEntries() const { return static_cast<int>(items.size()); }
  /// The number of an entry, -1 if it is not here.
  int getIndexOf(const CMenuItem* item) const;
  bool removeEntry(int index);
  virtual bool removeAllEntry();
  /// Null if the entry has none.
  COptionMenu* getSubMenu(int index) const;

  /// Makes an entry the current one; does not call the listener. False for a separator or a wrong
  /// index.
  virtual bool setCurrent(int index);
  /// Null if there is none.
  CMenuItem* getCurrent() const { return getEntry(getCurrentIndex()); }
  int getCurrentIndex() const;
  bool checkEntry(int index, bool state);
  /// Checks one entry and unchecks all others.
  bool checkEntryAlone(int index);
  bool isCheckEntry(int index) const;
  bool setEntryEnabled(int index, bool enabled);

  /// Shows the menu with its top left corner at a point of the frame, moved so that it is inside.
  /// False if it is up already, or nothing is in it.
  virtual bool popup(CFrame* frame, const CPoint& where, ClosedCallback closed = {});
  /// Takes a menu that is up down again, choosing nothing.
  void closePopup();
  bool isPoppedUp() const { return popupView != nullptr; }
  /// The view that shows the menu while it is up, else null.
  MenuPopup* getPopup() const { return popupView; }
  /// What the last pop-up of this menu brought: the entry's number, -1 if nothing was chosen.
  int getLastResult() const { return lastResult; }
  /// The menu that holds the chosen entry, null if nothing was chosen.
  COptionMenu* getLastItemMenu(int& index) const;

  CMouseEventResult onMouseDown(CPoint& where, const CButtonState& buttons) override;
  bool onKeyDown(const CKeyEvent& event) override;
  bool onWheel(const CPoint& where, float distance, const CButtonState& buttons) override;
  void leavingFrame(CFrame* root) override;

  HALVERON_TYPE_OF(COptionMenu, CParamDisplay)

 protected:
  void drawPlain(CDrawContext& context) override;

 private:
  friend class MenuPopup;
  void popupClosed(COptionMenu* holder, int index);
  void choose(int index);
  void step(int direction);

  std::vector<CMenuItem*> items;
  MenuPopup* popupView = nullptr;
  ClosedCallback onClosed;
  SharedPointer<COptionMenu> lastSubmenu;  // null for this menu itself: no reference to itself
  int lastResult = -1;
};

}  // namespace halveron
