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
                               const SharedPointer<SynOptionMenu>& submenu, int place) {
  auto* item = new CMenuItem(title.c_str());
  item->setSubmenu(submenu.get());
  submenu->parentMenu = this;
  Insert(item, place < 0 ? getNbEntries() : place);
}

void SynOptionMenu::Insert(CMenuItem* item, int place) {
  addEntry(item, place);
  for (int i = place; i < getNbEntries(); ++i) {
    if (SynOptionMenu* submenu = SubmenuAt(i)) submenu->parentIndex = i;
  }
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
