#include "editor/syn_option_menu.h"

#include <utility>

namespace halveron {

SynMenuItem& SynOptionMenu::Add(const std::string& title, std::function<void()> action) {
  auto* item = new SynMenuItem(title.c_str());
  item->action = std::move(action);
  addEntry(item);
  return *item;
}

SynMenuItem& SynOptionMenu::AddChecked(const std::string& title, bool checked,
                                       std::function<void()> action) {
  SynMenuItem& item = Add(title, std::move(action));
  item.setChecked(checked);
  return item;
}

void SynOptionMenu::AddSubmenu(const std::string& title,
                               const SharedPointer<SynOptionMenu>& submenu) {
  addEntry(submenu.get(), title.c_str());
  submenu->parentMenu = this;
  submenu->parentIndex = getNbEntries() - 1;
}

bool SynOptionMenu::PopUp(CFrame& frame, const CPoint& where, std::function<void()> closed) {
  return popup(&frame, where, [closed = std::move(closed)](COptionMenu* menu, bool chosen) {
    if (closed) closed();
    if (!chosen) return;
    int index = -1;
    COptionMenu* holder = menu->getLastItemMenu(index);
    auto* item = holder ? dynamic_cast<SynMenuItem*>(holder->getEntry(index)) : nullptr;
    if (!item || !item->action) return;
    // By a copy: the action may rebuild the menu that contains it.
    const std::function<void()> action = item->action;
    action();
  });
}

}  // namespace halveron
