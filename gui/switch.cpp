#include "gui/switch.h"

#include <algorithm>
#include <cmath>

#include "gui/draw_context.h"

namespace halveron {

CSwitchBase::CSwitchBase(const CRect& size, CControlListener* listener_, int tag_, int frames,
                         CBitmap* bitmap)
    : CControl(size, listener_, tag_, bitmap), FilmStrip(frames, size.getHeight()) {}

void CSwitchBase::selectPosition(int position) {
  const int last = subPixmaps - 1;
  const int bounded = std::clamp(position, 0, last);
  const float share = last > 0 ? static_cast<float>(bounded) / static_cast<float>(last) : 0;
  changeValue(bounded == last && last > 0 ? vmax : vmin + share * getRange());
}

bool CSwitchBase::checkDefaultValue(const CButtonState& buttons) {
  if (!buttons.isLeftButton() || !buttons.isControlSet()) return false;
  const float range = getRange();
  beginEdit();
  selectPosition(range == 0 ? 0 : frameOf((defaultValue - vmin) / range));
  endEdit();
  return true;
}

CMouseEventResult CSwitchBase::onMouseDown(CPoint& where, const CButtonState& buttons) {
  if (!buttons.isLeftButton()) return kMouseEventNotHandled;
  if (checkDefaultValue(buttons)) return kMouseDownEventHandledButDontNeedMovedOrUpEvents;
  beginEdit();
  onMouseMoved(where, buttons);
  return kMouseEventHandled;
}

CMouseEventResult CSwitchBase::onMouseMoved(CPoint& where, const CButtonState& buttons) {
  if (!isEditing() || !buttons.isLeftButton()) return kMouseEventNotHandled;
  const float share = std::clamp(shareAt(where), 0.0f, 1.0f);
  selectPosition(static_cast<int>(share * static_cast<float>(subPixmaps)));
  return kMouseEventHandled;
}

CMouseEventResult CSwitchBase::onMouseUp(CPoint& /*where*/, const CButtonState& /*buttons*/) {
  if (!isEditing()) return kMouseEventNotHandled;
  endEdit();
  return kMouseEventHandled;
}

bool CSwitchBase::onWheel(const CPoint& /*where*/, float distance,
                          const CButtonState& /*buttons*/) {
  if (distance == 0) return false;
  beginEdit();
  selectPosition(getPosition() + (distance > 0 ? 1 : -1));
  endEdit();
  return true;
}

void CSwitchBase::drawImage(CDrawContext& context) {
  drawFrame(context, background, viewSize, frameOf(shownShare()));
}

void CSwitchBase::drawPlain(CDrawContext& context) {
  const CCoord across = std::min(getWidth(), getHeight());
  const CCoord radius = across * 0.5 - 1;
  if (radius <= 0) return;
  context.setFillColor({28, 29, 32});
  context.setFrameColor({150, 152, 158});
  context.setLineWidth(1);
  context.drawRoundRect(viewSize, across * 0.3, kDrawFilledAndStroked);
  const CPoint centre = centreOf(frameOf(shownShare()));
  context.setFillColor({220, 222, 226});
  context.drawEllipse(
      {centre.x - radius + 1, centre.y - radius + 1, centre.x + radius - 1, centre.y + radius - 1},
      kDrawFilled);
}

CVerticalSwitch::CVerticalSwitch(const CRect& size, CControlListener* listener_, int tag_,
                                 int frames, CBitmap* bitmap)
    : CSwitchBase(size, listener_, tag_, frames, bitmap) {}

float CVerticalSwitch::shareAt(const CPoint& where) const {
  return static_cast<float>((where.y - viewSize.top) / std::max(getHeight(), 1.0));
}

CPoint CVerticalSwitch::centreOf(int position) const {
  return {viewSize.getCenter().x,
          viewSize.top + getHeight() * (position + 0.5) / static_cast<double>(subPixmaps)};
}

CHorizontalSwitch::CHorizontalSwitch(const CRect& size, CControlListener* listener_, int tag_,
                                     int frames, CBitmap* bitmap, CBitmap* handle_)
    : CSwitchBase(size, listener_, tag_, frames, bitmap), handle(handle_) {}

float CHorizontalSwitch::shareAt(const CPoint& where) const {
  return static_cast<float>((where.x - viewSize.left) / std::max(getWidth(), 1.0));
}

CPoint CHorizontalSwitch::centreOf(int position) const {
  return {viewSize.left + getWidth() * (position + 0.5) / static_cast<double>(subPixmaps),
          viewSize.getCenter().y};
}

void CHorizontalSwitch::drawImage(CDrawContext& context) {
  if (!handle || !handle->load()) return CSwitchBase::drawImage(context);
  background->draw(context, viewSize);
  const CCoord width = handle->getWidth();
  const CCoord height = handle->getHeight();
  const CPoint centre = centreOf(frameOf(shownShare()));
  const CPoint corner(std::round(centre.x - width * 0.5), std::round(centre.y - height * 0.5));
  handle->draw(context, CRect::FromSize(corner, width, height));
}

}  // namespace halveron
