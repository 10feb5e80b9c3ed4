// Menus that open from a panel, as from a button.
#pragma once

#include <functional>
#include <string>
#include <vector>

#include "gui/option_menu.h"

namespace halveron {

/// One entry of a PanelMenu. Without a title it is a separator.
struct PanelMenuEntry {
  std::string title{};
  std::function<void()> action{};
  bool checked = false;
  bool enabled = true;
  std::vector<PanelMenuEntry> submenu{};
};

/// Member of the module that opens it: a menu that is up goes with the module, and nothing is
/// called.
class PanelMenu {
 public:
  PanelMenu() = default;
  ~PanelMenu() { Close(); }
  PanelMenu(const PanelMenu&) = delete;
  PanelMenu& operator=(const PanelMenu&) = delete;

  /// Shows the entries below a view; the action of the one that is chosen runs later. False if the
  /// view stands in no frame, there are no entries, or the menu is up.
  bool Open(const CView& under, const std::vector<PanelMenuEntry>& entries);
  /// The same at a point of the view's frame.
  bool OpenAt(CFrame* frame, const CPoint& where, const std::vector<PanelMenuEntry>& entries);
  void Close();
  bool IsOpen() const { return menu_ && menu_->isPoppedUp(); }
  /// The menu of the last opening, null before the first.
  COptionMenu* Menu() const { return menu_; }

 private:
  SharedPointer<COptionMenu> Build(const std::vector<PanelMenuEntry>& entries);

  SharedPointer<COptionMenu> menu_;
  std::vector<std::function<void()>> actions_;  // by the tags of the items
};

}  // namespace halveron
