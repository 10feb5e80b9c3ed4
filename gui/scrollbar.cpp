#include "gui/scrollbar.h"

#include <algorithm>
#include <cmath>

#include "gui/draw_context.h"
#include "gui/theme.h"

namespace halveron {
namespace {

constexpr CCoord kLeastHandle = 20;

}  // namespace

CScrollbar::CScrollbar(const CRect& size, CControlListener* listener_, int tag_,
                       Direction direction_, CBitmap* bitmap, CBitmap* handle_)
    : CControl(size, listener_, tag_, bitmap), handle(handle_), direction(direction_) {}

void CScrollbar::setScrollSize(CCoord whole, CCoord seen) {
  if (whole == scrollSize && seen == seenSize) return;
  scrollSize = whole;
  seenSize = seen;
  invalid();
}

CCoord CScrollbar::getScrollPosition() const {
  return getValueNormalized() * std::max(0.0, scrollSize - seenSize);
}

void CScrollbar::scrollTo(CCoord position) {
  const CCoord way = scrollSize - seenSize;
  changeValue(way > 0 ? vmin + static_cast<float>(position / way) * getRange() : vmin);
}

CCoord CScrollbar::leastHandle() const {
  if (!handle || !handle->load()) return std::min(kLeastHandle, barLength());
  return direction == kVertical ? handle->getHeight() : handle->getWidth();
}

CCoord CScrollbar::handleLength() const {
  if (handle && handle->load()) return leastHandle();
  const CCoord share = canScroll() ? seenSize / scrollSize : 1;
  return std::clamp(std::round(share * barLength()), leastHandle(), std::max(barLength(), 1.0));
}

CRect CScrollbar::getHandleRect() const {
  const CCoord length = handleLength();
  const CCoord start = std::round(getValueNormalized() * std::max(0.0, barLength() - length));
  return direction == kVertical
             ? CRect::FromSize({viewSize.left, viewSize.top + start}, getWidth(), length)
             : CRect::FromSize({viewSize.left + start, viewSize.top}, length, getHeight());
}

CMouseEventResult CScrollbar::onMouseDown(CPoint& where, const CButtonState& buttons) {
  if (!buttons.isLeftButton() || !canScroll()) return kMouseEventNotHandled;
  const CRect rect = getHandleRect();
  if (!rect.pointInside(where)) {
    // A page towards the press.
    const bool back = along(where) < along(rect.getTopLeft());
    scrollTo(getScrollPosition() + (back ? -seenSize : seenSize));
    return kMouseDownEventHandledButDontNeedMovedOrUpEvents;
  }
  grab = along(where) - along(rect.getTopLeft());
  beginEdit();
  return kMouseEventHandled;
}

CMouseEventResult CScrollbar::onMouseMoved(CPoint& where, const CButtonState& buttons) {
  if (!isEditing() || !buttons.isLeftButton()) return kMouseEventNotHandled;
  const CCoord way = barLength() - handleLength();
  const CCoord start = along(where) - grab - along(viewSize.getTopLeft());
  if (way > 0) changeValue(vmin + static_cast<float>(start / way) * getRange());
  return kMouseEventHandled;
}

CMouseEventResult CScrollbar::onMouseUp(CPoint& /*where*/, const CButtonState& /*buttons*/) {
  if (!isEditing()) return kMouseEventNotHandled;
  endEdit();
  return kMouseEventHandled;
}

bool CScrollbar::onWheel(const CPoint& /*where*/, float distance, const CButtonState& /*buttons*/) {
  if (!canScroll()) return false;
  scrollTo(getScrollPosition() - static_cast<CCoord>(distance) * wheelStep);
  return true;
}

void CScrollbar::drawHandle(CDrawContext& context) {
  const CRect rect = getHandleRect();
  if (handle && handle->load()) return handle->draw(context, rect);
  if (!canScroll()) return;
  context.setFillColor(isEditing() ? theme::kButtonHover : theme::kFieldEdge);
  context.drawRoundRect(CRect(rect).inset(1, 1), std::min(getWidth(), getHeight()) * 0.4,
                        kDrawFilled);
}

void CScrollbar::drawImage(CDrawContext& context) {
  background->draw(context, viewSize);
  drawHandle(context);
}

void CScrollbar::drawPlain(CDrawContext& context) {
  context.setFillColor(theme::kField);
  context.drawRoundRect(viewSize, std::min(getWidth(), getHeight()) * 0.4, kDrawFilled);
  drawHandle(context);
}

}  // namespace halveron
