#include "gui/row_list.h"

#include <algorithm>
#include <cmath>
#include <utility>

#include "gui/draw_context.h"
#include "gui/frame.h"
#include "gui/theme.h"

namespace halveron {
namespace {

constexpr CCoord kBarWidth = 12;

}  // namespace

RowList::RowList(const CRect& size, CFrame* root, double scale_, CCoord rowHeight_)
    : CViewContainer(size, root), scale(scale_), rowHeight(theme::Scaled(rowHeight_, scale_)) {
  bar = new CScrollbar(barRect(), this, 0, CScrollbar::kVertical);
  bar->setWheelStep(3 * rowHeight);
  addView(bar);
}

CRect RowList::barRect() const {
  return {getWidth() - theme::Scaled(kBarWidth, scale), 0, getWidth(), getHeight()};
}

void RowList::setViewSize(const CRect& rect, bool invalidate) {
  CViewContainer::setViewSize(rect, invalidate);
  const CCoord scroll = bar->getScrollPosition();
  bar->setViewSize(barRect(), invalidate);
  sizeBar();
  bar->scrollTo(scroll);
  showRow(selected);
}

void RowList::sizeBar() {
  bar->setScrollSize(count * rowHeight, getHeight());
  bar->setVisible(bar->canScroll());
}

void RowList::setCount(int rows, const std::string& noteIfEmpty) {
  count = rows;
  note = noteIfEmpty;
  selected = -1;
  hovered = -1;
  sizeBar();
  bar->scrollTo(0);
  invalid();
}

CRect RowList::wholeRowRect(int index) const {
  const CCoord top = index * rowHeight - std::round(bar->getScrollPosition());
  return {0, top, bar->isVisible() ? bar->getViewSize().left : getWidth(), top + rowHeight};
}

CRect RowList::getRowRect(int index) const {
  if (index < 0 || index >= count) return {};
  return wholeRowRect(index).bound({0, 0, getWidth(), getHeight()});
}

int RowList::getRowAt(const CPoint& where) const {
  const CPoint inside = where - viewSize.getTopLeft();
  if (inside.x < 0 || inside.x >= wholeRowRect(0).right || inside.y < 0 ||
      inside.y >= getHeight()) {
    return -1;
  }
  const auto index =
      static_cast<int>(std::floor((inside.y + std::round(bar->getScrollPosition())) / rowHeight));
  return index < count ? index : -1;
}

void RowList::invalidRow(int index) {
  const CRect row = getRowRect(index);
  if (!row.isEmpty()) invalidRect(row);
}

void RowList::showRow(int index) {
  if (index < 0) return;
  const CCoord top = index * rowHeight;
  const CCoord scroll = bar->getScrollPosition();
  if (top < scroll) bar->scrollTo(top);
  if (top + rowHeight > scroll + getHeight()) bar->scrollTo(top + rowHeight - getHeight());
}

void RowList::select(int index) {
  selected = index >= 0 && index < count ? index : -1;
  showRow(selected);
  if (selected >= 0 && onSelected) onSelected(selected);
  invalid();
}

void RowList::setHovered(int index) {
  if (index == hovered) return;
  hovered = index;
  if (onHovered) onHovered(index);
}

void RowList::valueChanged(CControl* /*control*/) { invalid(); }

CMouseEventResult RowList::onMouseDown(CPoint& where, const CButtonState& buttons) {
  if (CFrame* root = getFrame()) root->setFocusView(this);
  const CMouseEventResult result = CViewContainer::onMouseDown(where, buttons);
  if (result != kMouseEventNotHandled || !buttons.isLeftButton()) return result;
  const int index = getRowAt(where);
  if (index < 0 || !pressInRow(index, where.x - viewSize.left)) {
    const bool again = buttons.isDoubleClick() && index == selected;
    select(index);
    if (again && selected >= 0 && onActivated) onActivated(selected);
  }
  return kMouseDownEventHandledButDontNeedMovedOrUpEvents;
}

CMouseEventResult RowList::onMouseMoved(CPoint& where, const CButtonState& buttons) {
  setHovered(getRowAt(where));
  return CViewContainer::onMouseMoved(where, buttons);
}

CMouseEventResult RowList::onMouseExited(CPoint& where, const CButtonState& buttons) {
  setHovered(-1);
  return CViewContainer::onMouseExited(where, buttons);
}

bool RowList::onWheel(const CPoint& where, float distance, const CButtonState& buttons) {
  return bar->onWheel(where, distance, buttons);
}

bool RowList::moveByKey(CVirtualKey key) {
  const int page = std::max(1, static_cast<int>(getHeight() / rowHeight) - 1);
  const int last = count - 1;
  switch (key) {
    case kKeyUp:
      if (last >= 0) select(selected < 0 ? last : std::max(selected - 1, 0));
      return true;
    case kKeyDown:
      if (last >= 0) select(std::min(selected + 1, last));
      return true;
    case kKeyPageUp:
      if (last >= 0) select(std::max(selected - page, 0));
      return true;
    case kKeyPageDown:
      if (last >= 0) select(std::min(std::max(selected, 0) + page, last));
      return true;
    default:
      return false;
  }
}

bool RowList::onKeyDown(const CKeyEvent& event) {
  if (moveByKey(event.key)) return true;
  switch (event.key) {
    case kKeyHome:
      select(0);
      return true;
    case kKeyEnd:
      select(count - 1);
      return true;
    case kKeyReturn:
      if (selected < 0 || !onActivated) return false;
      onActivated(selected);
      return true;
    default:
      return false;
  }
}

void RowList::drawBackgroundRect(CDrawContext* context, const CRect& updateRect) {
  context->setFillColor(theme::kField);
  context->fillRect(updateRect);
  context->setFont(theme::Font(scale));
  const CRect whole(0, 0, getWidth(), getHeight());
  if (count == 0) {
    context->setFontColor(theme::kDisabledText);
    context->drawString(note, whole);
  }
  for (int i = 0; i < count; ++i) {
    const CRect row = wholeRowRect(i);
    if (!row.rectOverlap(updateRect)) continue;
    if (i == selected) {
      context->setFillColor(theme::kHighlight);
      context->fillRect(row);
    }
    context->setFontColor(i == selected ? theme::kHighlightText : theme::kText);
    drawRow(*context, i, row);
  }
  const CFrame* root = getFrame();
  context->setFrameColor(root && root->getFocusView() == this ? theme::kHighlight
                                                              : theme::kFieldEdge);
  context->setLineWidth(1);
  context->drawRect(whole, kDrawStroked);
}

}  // namespace halveron
