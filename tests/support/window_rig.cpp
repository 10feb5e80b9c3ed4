#include "tests/support/window_rig.h"

#include <gtest/gtest.h>

#include <cmath>

#include "gui/menu_popup.h"

namespace halveron::testing {

namespace {

PatchPoint& FindPoint(Module& module, const std::string& role, int type) {
  for (CView* view : module.children()) {
    auto* point = dynamic_cast<PatchPoint*>(view);
    if (point && point->role == role && point->type == type) return *point;
  }
  throw std::runtime_error(std::string(module.GetName()) + " has no point " + role);
}

}  // namespace

WindowHand::WindowHand(SynEditor& rack)
    : editor(rack),
      window(rack.OpenViews()),
      frame(window.Frame()),
      picture_(static_cast<int>(frame.getWidth()), static_cast<int>(frame.getHeight())) {
  frame.useManualClock();
}

Module& WindowHand::Add(const std::string& name, int column, int row) {
  Module* module = editor.AddModule(name, kBuiltInVendor);
  if (!module) throw std::runtime_error("no module of the name " + name);
  Place(*module, column, row);
  return *module;
}

void WindowHand::Place(Module& module, int column, int row) {
  const RackGeometry& grid = window.Geometry();
  window.Rack().MoveModule(module, CPoint(column * grid.columnWidth, row * grid.rowHeight));
}

CPoint WindowHand::Cell(int column, int row) const {
  const RackGeometry& grid = window.Geometry();
  return grid.origin + window.Rack().getViewSize().getTopLeft() +
         CPoint(column * grid.columnWidth, row * grid.rowHeight);
}

CPoint WindowHand::CellOf(const Module& module) const {
  const RackGeometry& grid = window.Geometry();
  const CPoint corner = module.getViewSize().getTopLeft();
  return CPoint(corner.x / grid.columnWidth, corner.y / grid.rowHeight);
}

CPoint WindowHand::Free(const Module& module) const {
  constexpr CCoord kFromTop = 20;
  const CRect& place = module.getViewSize();
  for (CCoord x = 2; x < place.getWidth(); ++x) {
    const CPoint inside(place.left + x, place.top + kFromTop);
    if (module.getViewAt(inside)) continue;
    CPoint point = inside;
    return module.localToFrame(point);
  }
  throw std::runtime_error("no free spot");
}

CPoint WindowHand::Middle(const CView& control) const {
  CPoint point = control.getViewSize().getCenter();
  return control.localToFrame(point);
}

PatchPoint& WindowHand::In(Module& module, const std::string& role) {
  return FindPoint(module, role, kInputPoint);
}

PatchPoint& WindowHand::Out(Module& module, const std::string& role) {
  return FindPoint(module, role, kOutputPoint);
}

void WindowHand::Press(const CPoint& where, int buttons) {
  CPoint point = where;
  frame.onMouseDown(point, CButtonState(buttons));
}

void WindowHand::Move(const CPoint& where, int buttons) {
  CPoint point = where;
  frame.onMouseMoved(point, CButtonState(buttons));
}

void WindowHand::Release(const CPoint& where, int buttons) {
  CPoint point = where;
  frame.onMouseUp(point, CButtonState(buttons));
}

void WindowHand::Click(const CPoint& where, int buttons) {
  Move(where);
  Press(where, buttons);
  Release(where, buttons);
}

void WindowHand::Drag(const CPoint& from, const CPoint& to, int modifiers) {
  constexpr int kSteps = 8;
  Move(from, modifiers);
  Press(from, kLButton | modifiers);
  for (int step = 1; step <= kSteps; ++step) {
    const double share = static_cast<double>(step) / kSteps;
    Move(CPoint(std::round(from.x + (to.x - from.x) * share),
                std::round(from.y + (to.y - from.y) * share)),
         kLButton | modifiers);
  }
  Release(to, kLButton | modifiers);
}

void WindowHand::Key(CVirtualKey key, int modifiers) {
  frame.onKeyDown({0, key, CButtonState(modifiers)});
}

void WindowHand::Shortcut(char32_t letter, int modifiers) {
  frame.onKeyDown({letter, kKeyNone, CButtonState(modifiers)});
}

void WindowHand::Type(const std::string& text) {
  for (const char letter : text) frame.onKeyDown({static_cast<char32_t>(letter), kKeyNone, {}});
}

void WindowHand::Choose(std::initializer_list<const char*> titles) {
  SynOptionMenu* menu = window.OpenMenu();
  ASSERT_NE(menu, nullptr) << "no menu is up";
  MenuPopup* popup = menu->getPopup();
  int depth = 0;
  for (const char* title : titles) {
    ASSERT_NE(menu, nullptr) << "no submenu that could hold " << title;
    int index = 0;
    while (index < menu->getNbEntries() && std::string(menu->TitleAt(index)) != title) ++index;
    ASSERT_LT(index, menu->getNbEntries()) << title << " is not there";
    SynOptionMenu* submenu = menu->SubmenuAt(index);
    const CRect rect = popup->getEntryRect(depth++, index);
    ASSERT_FALSE(rect.isEmpty()) << title << " is not in sight";
    Click(rect.getCenter());
    menu = submenu;
  }
}

std::vector<std::string> WindowHand::MenuTitles() const {
  std::vector<std::string> titles;
  const SynOptionMenu* menu = window.OpenMenu();
  for (int i = 0; menu && i < menu->getNbEntries(); ++i) {
    titles.emplace_back(menu->getEntry(i)->isSeparator() ? "-" : menu->TitleAt(i));
  }
  return titles;
}

CMenuItem* WindowHand::Entry(const char* title) const {
  const SynOptionMenu* menu = window.OpenMenu();
  for (int i = 0; menu && i < menu->getNbEntries(); ++i) {
    if (std::string(menu->TitleAt(i)) == title) return menu->getEntry(i);
  }
  return nullptr;
}

void WindowHand::DrawAll() {
  frame.invalid();
  DrawDirty();
}

void WindowHand::DrawDirty() {
  for (const CRect& dirty : frame.takeDirtyRegion()) {
    // Whole pixels, as a window draws them.
    const CRect rect(std::floor(dirty.left), std::floor(dirty.top), std::ceil(dirty.right),
                     std::ceil(dirty.bottom));
    const DrawStateScope scope(picture_);
    picture_.setClipRect(rect);
    frame.drawRect(&picture_, rect);
  }
}

}  // namespace halveron::testing
