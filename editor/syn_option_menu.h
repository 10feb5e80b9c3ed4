// Menus of the rack's window: entries that know what they do.
#pragma once

#include <functional>
#include <string>

#include "gui/option_menu.h"

namespace halveron {

class SynOptionMenu;

class SynMenuItem : public CMenuItem {
 public:
  using CMenuItem::CMenuItem;
  HALVERON_TYPE_OF(SynMenuItem, CMenuItem)

  /// What choosing the entry does; empty for entries without an action.
  std::function<void()> action;
};

/// A menu that runs the action of the entry that was chosen, in itself or in a submenu.
class SynOptionMenu final : public COptionMenu {
 public:
  SynOptionMenu() = default;
  static SharedPointer<SynOptionMenu> Make() {
    return SharedPointer<SynOptionMenu>::Adopt(new SynOptionMenu);
  }

  HALVERON_TYPE_OF(SynOptionMenu, COptionMenu)

  SynMenuItem& Add(const std::string& title, std::function<void()> action = {});
  SynMenuItem& AddChecked(const std::string& title, bool checked, std::function<void()> action);
  /// At the end, or before the entry at `place`.
  void AddSubmenu(const std::string& title, const SharedPointer<SynOptionMenu>& submenu,
                  int place = -1);
  /// Takes an entry over and puts it before that at `place`, or at the end.
  void Insert(CMenuItem* item, int place);
  SynOptionMenu* SubmenuAt(int index) const {
    return static_cast<SynOptionMenu*>(getSubMenu(index));
  }
  const char* TitleAt(int index) const { return getEntry(index)->getTitle(); }

  /// Shows the menu, which its caller keeps alive until it is closed. Then `closed` is called, and
  /// after it the action of what was chosen. False if the menu cannot be shown.
  bool PopUp(CFrame& frame, const CPoint& where, std::function<void()> closed = {});

  int parentIndex = -1;                 ///< the entry of this submenu in its parent
  SynOptionMenu* parentMenu = nullptr;  ///< null for a menu at the top
};

}  // namespace halveron
