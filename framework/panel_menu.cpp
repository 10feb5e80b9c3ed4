#include "framework/panel_menu.h"

#include "gui/frame.h"

namespace halveron {

SharedPointer<COptionMenu> PanelMenu::Build(const std::vector<PanelMenuEntry>& entries) {
  auto menu = SharedPointer<COptionMenu>::Adopt(new COptionMenu);
  for (const PanelMenuEntry& entry : entries) {
    if (entry.title.empty()) {
      menu->addSeparator();
      continue;
    }
    const int flags =
        (entry.checked ? CMenuItem::kChecked : 0) | (entry.enabled ? 0 : CMenuItem::kDisabled);
    auto* item = menu->addEntry(
        new CMenuItem(entry.title.c_str(), flags, static_cast<int>(actions_.size())));
    actions_.push_back(entry.action);
    if (!entry.submenu.empty()) item->setSubmenu(Build(entry.submenu));
  }
  return menu;
}

bool PanelMenu::Open(const CView& under, const std::vector<PanelMenuEntry>& entries) {
  const CRect& size = under.getViewSize();
  CPoint below(size.left, size.bottom);
  return OpenAt(under.getFrame(), under.localToFrame(below), entries);
}

bool PanelMenu::OpenAt(CFrame* frame, const CPoint& where,
                       const std::vector<PanelMenuEntry>& entries) {
  if (!frame || IsOpen()) return false;
  actions_.clear();
  menu_ = Build(entries);
  return menu_->popup(frame, where, [this](COptionMenu* menu, bool chosen) {
    int index = -1;
    COptionMenu* holder = chosen ? menu->getLastItemMenu(index) : nullptr;
    const CMenuItem* item = holder ? holder->getEntry(index) : nullptr;
    if (!item) return;
    // A copy: the action may open the menu again, or remove the module with this object.
    const auto action = actions_[static_cast<std::size_t>(item->getTag())];
    if (action) action();
  });
}

void PanelMenu::Close() {
  if (!menu_) return;
  actions_.clear();
  menu_->closePopup();
}

}  // namespace halveron
