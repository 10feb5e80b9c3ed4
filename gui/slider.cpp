#include "gui/slider.h"

#include <algorithm>
#include <cmath>

#include "gui/draw_context.h"

namespace halveron {

CSlider::CSlider(const CRect& size, CControlListener* listener_, int tag_, CSliderStyle style_,
                 CBitmap* handle_, CBitmap* bitmap)
    : CControl(size, listener_, tag_, bitmap), style(style_), handle(handle_) {}

CCoord CSlider::travel() const {
  return std::max((style == kVertical ? getHeight() : getWidth()) - handleLength, 1.0);
}

CCoord CSlider::along(const CPoint& where) const {
  return style == kVertical ? viewSize.bottom - where.y : where.x - viewSize.left;
}

CRect CSlider::handleRect(float share) const {
  const CCoord near = std::round(static_cast<CCoord>(share) * travel());
  if (style == kVertical) {
    return {viewSize.left, viewSize.bottom - near - handleLength, viewSize.right,
            viewSize.bottom - near};
  }
  return {viewSize.left + near, viewSize.top, viewSize.left + near + handleLength, viewSize.bottom};
}

CMouseEventResult CSlider::onMouseDown(CPoint& where, const CButtonState& buttons) {
  if (!buttons.isLeftButton()) return kMouseEventNotHandled;
  if (checkDefaultValue(buttons)) return kMouseDownEventHandledButDontNeedMovedOrUpEvents;
  beginEdit();
  if (!handleRect(getValueNormalized()).pointInside(where)) {
    const CCoord share = (along(where) - handleLength * 0.5) / travel();
    changeValue(static_cast<float>(vmin + share * getRange()));
  }
  dragPlace = along(where);
  dragValue = *value;
  dragButtons = buttons;
  return kMouseEventHandled;
}

CMouseEventResult CSlider::onMouseMoved(CPoint& where, const CButtonState& buttons) {
  if (!isEditing() || !buttons.isLeftButton()) return kMouseEventNotHandled;
  if (buttons != dragButtons) {
    dragPlace = along(where);
    dragValue = *value;
    dragButtons = buttons;
  }
  const CCoord fineness = buttons.isShiftSet() ? zoomFactor : 1;
  const CCoord moved = (along(where) - dragPlace) / (travel() * fineness);
  changeValue(static_cast<float>(dragValue + moved * getRange()));
  return kMouseEventHandled;
}

CMouseEventResult CSlider::onMouseUp(CPoint& /*where*/, const CButtonState& /*buttons*/) {
  if (!isEditing()) return kMouseEventNotHandled;
  endEdit();
  return kMouseEventHandled;
}

bool CSlider::onWheel(const CPoint& /*where*/, float distance, const CButtonState& buttons) {
  const float step = buttons.isShiftSet() ? 0.001f : 0.01f;
  beginEdit();
  changeValue(*value + distance * step * getRange());
  endEdit();
  return true;
}

void CSlider::drawImage(CDrawContext& context) {
  background->draw(context, viewSize);
  const CRect rect = handleRect(shownShare());
  if (handle && handle->load()) {
    handle->draw(context, rect);
    return;
  }
  context.setFillColor({220, 222, 226});
  context.drawRoundRect(rect, 2, kDrawFilled);
}

void CSlider::drawPlain(CDrawContext& context) {
  const CPoint c = viewSize.getCenter();
  context.setFillColor({28, 29, 32});
  if (style == kVertical) {
    context.drawRoundRect({c.x - 2, viewSize.top, c.x + 2, viewSize.bottom}, 2, kDrawFilled);
  } else {
    context.drawRoundRect({viewSize.left, c.y - 2, viewSize.right, c.y + 2}, 2, kDrawFilled);
  }
  context.setFillColor({220, 222, 226});
  context.drawRoundRect(handleRect(shownShare()), 2, kDrawFilled);
}

}  // namespace halveron
