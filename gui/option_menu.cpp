#include "gui/option_menu.h"

#include <algorithm>
#include <utility>

#include "gui/frame.h"
#include "gui/menu_popup.h"

namespace halveron {

CMenuItem::CMenuItem(const char* title_, int flags_, int tag_)
    : title(title_ ? title_ : ""), flags(flags_), tag(tag_) {}

CMenuItem::~CMenuItem() = default;

void CMenuItem::setSubmenu(COptionMenu* menu) { submenu = menu; }

COptionMenu::COptionMenu(const CRect& size, CControlListener* listener_, int tag_, CBitmap* bitmap,
                         int style_)
    : CParamDisplay(size, bitmap, style_) {
  listener = listener_;
  tag = tag_;
  horiAlign = kLeftText;
  textInset = {6, 0};
}

COptionMenu::~COptionMenu() { COptionMenu::removeAllEntry(); }

CMenuItem* COptionMenu::addEntry(CMenuItem* item, int index) {
  if (!item) return nullptr;
  const bool within = index >= 0 && index < getNbEntries();
  items.insert(within ? items.begin() + index : items.end(), item);
  return item;
}

CMenuItem* COptionMenu::addEntry(const char* title, int index, int flags) {
  return addEntry(new CMenuItem(title, flags), index);
}

CMenuItem* COptionMenu::addEntry(COptionMenu* submenu, const char* title) {
  CMenuItem* item = addEntry(new CMenuItem(title), -1);
  item->setSubmenu(submenu);
  return item;
}

CMenuItem* COptionMenu::addSeparator(int index) {
  return addEntry(new CMenuItem("", CMenuItem::kSeparator), index);
}

CMenuItem* COptionMenu::getEntry(int index) const {
  return index >= 0 && index < getNbEntries() ? items[static_cast<std::size_t>(index)] : nullptr;
}

int COptionMenu::getIndexOf(const CMenuItem* item) const {
  const auto place = std::find(items.begin(), items.end(), item);
  return place == items.end() ? -1 : static_cast<int>(place - items.begin());
}

bool COptionMenu::removeEntry(int index) {
  CMenuItem* item = getEntry(index);
  if (!item) return false;
  items.erase(items.begin() + index);
  item->forget();
  return true;
}

bool COptionMenu::removeAllEntry() {
  for (CMenuItem* item : std::exchange(items, {})) item->forget();
  return true;
}

COptionMenu* COptionMenu::getSubMenu(int index) const {
  const CMenuItem* item = getEntry(index);
  return item ? item->getSubmenu() : nullptr;
}

bool COptionMenu::setCurrent(int index) {
  const CMenuItem* item = getEntry(index);
  if (!item || item->isSeparator()) return false;
  setValue(static_cast<float>(index));
  if (style & kCheckStyle) checkEntryAlone(index);
  return true;
}

int COptionMenu::getCurrentIndex() const {
  // What is no number, or none of the entries, is no index either.
  const float v = getValue();
  return v >= 0 && v < static_cast<float>(getNbEntries()) ? static_cast<int>(v) : -1;
}

bool COptionMenu::checkEntry(int index, bool state) {
  CMenuItem* item = getEntry(index);
  if (item) item->setChecked(state);
  return item != nullptr;
}

bool COptionMenu::checkEntryAlone(int index) {
  for (CMenuItem* item : items) item->setChecked(false);
  return checkEntry(index, true);
}

bool COptionMenu::isCheckEntry(int index) const {
  const CMenuItem* item = getEntry(index);
  return item && item->isChecked();
}

bool COptionMenu::setEntryEnabled(int index, bool enabled) {
  CMenuItem* item = getEntry(index);
  if (item) item->setEnabled(enabled);
  return item != nullptr;
}

COptionMenu* COptionMenu::getLastItemMenu(int& index) const {
  index = lastResult;
  if (lastResult < 0) return nullptr;
  return lastSubmenu ? lastSubmenu.get() : const_cast<COptionMenu*>(this);
}

bool COptionMenu::popup(CFrame* root, const CPoint& where, ClosedCallback closed) {
  if (!root || popupView || items.empty()) return false;
  onClosed = std::move(closed);
  lastSubmenu = nullptr;
  lastResult = -1;
  popupView = new MenuPopup(this, root, where, getFrame() ? getWidth() : 0);
  root->addView(popupView);
  root->pushModalView(popupView);
  return true;
}

void COptionMenu::closePopup() {
  if (popupView) popupView->dismiss();
}

void COptionMenu::choose(int index) {
  setCurrent(index);
  valueChanged();
  if (isDirty()) invalid();
}

void COptionMenu::popupClosed(COptionMenu* holder, int index) {
  popupView = nullptr;
  const ClosedCallback callback = std::exchange(onClosed, {});
  lastSubmenu = holder == this ? nullptr : holder;
  lastResult = index;
  if (holder) {
    // A submenu seldom has its own listener; that of the menu that was popped up is called then.
    CControlListener* const own = holder->getListener();
    if (!own) holder->setListener(listener);
    holder->choose(index);
    if (!own) holder->setListener(nullptr);
  }
  if (callback) callback(this, holder != nullptr);
}

CMouseEventResult COptionMenu::onMouseDown(CPoint& /*where*/, const CButtonState& buttons) {
  if (!buttons.isLeftButton() || !getFrame()) return kMouseEventNotHandled;
  CPoint below(viewSize.left, viewSize.bottom);
  popup(getFrame(), localToFrame(below));
  return kMouseDownEventHandledButDontNeedMovedOrUpEvents;
}

void COptionMenu::step(int direction) {
  int index = getCurrentIndex() + direction;
  while (getEntry(index) && (!getEntry(index)->isSelectable() || getSubMenu(index))) {
    index += direction;
  }
  if (getEntry(index)) choose(index);
}

bool COptionMenu::onKeyDown(const CKeyEvent& event) {
  if (event.key != kKeyUp && event.key != kKeyDown) return false;
  step(event.key == kKeyDown ? 1 : -1);
  return true;
}

bool COptionMenu::onWheel(const CPoint& /*where*/, float distance,
                          const CButtonState& /*buttons*/) {
  step(distance < 0 ? 1 : -1);
  return true;
}

void COptionMenu::leavingFrame(CFrame* root) {
  closePopup();
  CParamDisplay::leavingFrame(root);
}

void COptionMenu::drawPlain(CDrawContext& context) {
  drawBack(context);
  const CMenuItem* item = getCurrent();
  const CCoord arrow = getHeight();
  const DrawStateScope scope(context);
  context.setClipRect({viewSize.left, viewSize.top, viewSize.right - arrow, viewSize.bottom});
  if (item) drawText(context, item->getTitle());
  context.resetClipRect();
  const CPoint tip(viewSize.right - arrow * 0.5, viewSize.getCenter().y + arrow * 0.12);
  const CPoint points[] = {{tip.x - arrow * 0.2, tip.y - arrow * 0.22},
                           {tip.x + arrow * 0.2, tip.y - arrow * 0.22},
                           tip};
  context.setFillColor(fontColor);
  context.drawPolygon(points, kDrawFilled);
}

}  // namespace halveron
