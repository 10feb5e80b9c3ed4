#include "gui/row_list.h"

#include <algorithm>
#include <cmath>
#include <cstdlib>
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
  const CCoord width = theme::Scaled(kBarWidth, scale);
  bar = new CScrollbar(CRect(getWidth() - width, 0, getWidth(), getHeight()), this, 0,
                       CScrollbar::kVertical);
  bar->setWheelStep(3 * rowHeight);
  addView(bar);
}

void RowList::setCount(int rows, const std::string& noteIfEmpty, bool keepScroll) {
  const CCoord scroll = keepScroll ? bar->getScrollPosition() : 0;
  count = rows;
  note = noteIfEmpty;
  selected = -1;
  hovered = -1;
  bar->setScrollSize(count * rowHeight, getHeight());
  bar->scrollTo(scroll);
  bar->setVisible(bar->canScroll());
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

void RowList::scrollToShow(int index) {
  const CCoord top = (index > 0 && isHeading(index - 1) ? index - 1 : index) * rowHeight;
  const CCoord bottom = (index + 1) * rowHeight;
  const CCoord scroll = bar->getScrollPosition();
  if (top < scroll) bar->scrollTo(top);
  if (bottom > scroll + getHeight()) bar->scrollTo(bottom - getHeight());
}

void RowList::select(int index) {
  if (index >= 0 && index < count) scrollToShow(index);
  selectInPlace(index);
}

void RowList::selectInPlace(int index) {
  selected = index >= 0 && index < count ? index : -1;
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
  CFrame* root = takesFocus ? getFrame() : nullptr;
  if (root) root->setFocusView(this);
  const CMouseEventResult result = CViewContainer::onMouseDown(where, buttons);
  if (result != kMouseEventNotHandled || !buttons.isLeftButton()) return result;
  const int index = getRowAt(where);
  const bool isTaken =
      index >= 0 && (isHeading(index) || pressInRow(index, where.x - viewSize.left));
  if (!isTaken) {
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

int RowList::rowAfter(int index, int steps) const {
  const int direction = steps < 0 ? -1 : 1;
  int row = index;
  int left = std::abs(steps);
  for (int next = index + direction; left > 0 && next >= 0 && next < count; next += direction) {
    if (isHeading(next)) continue;
    row = next;
    --left;
  }
  return row;
}

bool RowList::moveByKey(CVirtualKey key) {
  const int page = std::max(1, static_cast<int>(getHeight() / rowHeight) - 1);
  const bool hasNone = selected < 0;
  switch (key) {
    case kKeyUp:
      select(rowAfter(hasNone ? count : selected, -1));
      return true;
    case kKeyDown:
      select(rowAfter(selected, 1));
      return true;
    case kKeyPageUp:
      select(rowAfter(hasNone ? count : selected, -page));
      return true;
    case kKeyPageDown:
      select(rowAfter(selected, page));
      return true;
    default:
      return false;
  }
}

bool RowList::onKeyDown(const CKeyEvent& event) {
  if (moveByKey(event.key)) return true;
  switch (event.key) {
    case kKeyHome:
      select(rowAfter(-1, 1));
      return true;
    case kKeyEnd:
      select(rowAfter(count, -1));
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
