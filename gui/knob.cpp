#include "gui/knob.h"

#include <algorithm>
#include <cmath>
#include <numbers>

#include "gui/draw_context.h"
#include "gui/frame.h"

namespace halveron {
namespace {

constexpr double kTurn = 2 * std::numbers::pi;

}  // namespace

CKnob::CKnob(const CRect& size, CControlListener* listener_, int tag_, CBitmap* bitmap,
             CBitmap* handle_)
    : CControl(size, listener_, tag_, bitmap),
      handle(handle_),
      startAngle(static_cast<float>(kTurn * 3 / 8)),
      rangeAngle(static_cast<float>(kTurn * 3 / 4)) {}

float CKnob::valueFromPoint(const CPoint& point) const {
  const CPoint arm = point - viewSize.getCenter();
  const double direction = rangeAngle < 0 ? -1 : 1;
  const double range = std::min(std::abs(static_cast<double>(rangeAngle)), kTurn);
  double turned = std::fmod((std::atan2(arm.y, arm.x) - startAngle) * direction, kTurn);
  if (turned < 0) turned += kTurn;
  double share = 0;
  if (turned <= range) {
    share = range > 0 ? turned / range : 0;
  } else {
    share = turned - range < (kTurn - range) * 0.5 ? 1 : 0;
  }
  return static_cast<float>(vmin + share * (static_cast<double>(vmax) - vmin));
}

CPoint CKnob::pointFromShare(float share, CCoord distance) const {
  const double angle = startAngle + static_cast<double>(share) * rangeAngle;
  return viewSize.getCenter() + CPoint(std::cos(angle) * distance, std::sin(angle) * distance);
}

float CKnob::dragPixels(const CButtonState& buttons) const {
  return buttons.isShiftSet() ? zoomFactor * kDragPixels : kDragPixels;
}

float CKnob::linearValue(const CPoint& where, const CButtonState& buttons) {
  const CCoord delta = (firstPoint.y - firstPoint.x) - where.y + where.x;
  if (buttons != dragButtons) {
    // The anchor takes up what the new step would otherwise make the value jump by.
    const float newStep = getRange() / dragPixels(buttons);
    anchorValue = static_cast<float>(anchorValue + delta * (stepPerPixel - newStep));
    stepPerPixel = newStep;
    dragButtons = buttons;
  }
  return static_cast<float>(anchorValue + delta * stepPerPixel);
}

float CKnob::radialValue(const CPoint& where) {
  const float half = getRange() * 0.5f;
  const float turned = valueFromPoint(where);
  // A turn through the gap stays at the end that it came from.
  if (radialStart - turned > half) return vmax;
  if (turned - radialStart > half) return vmin;
  radialStart = turned;
  return turned;
}

CMouseEventResult CKnob::onMouseDown(CPoint& where, const CButtonState& buttons) {
  if (!buttons.isLeftButton()) return kMouseEventNotHandled;
  beginEdit();
  if (checkDefaultValue(buttons)) {
    endEdit();
    return kMouseDownEventHandledButDontNeedMovedOrUpEvents;
  }
  firstPoint = where;
  lastPoint = {-1, -1};
  dragButtons = buttons;
  anchorValue = *value;
  radialMode = buttons.isAltSet();
  if (radialMode) {
    radialStart = valueFromPoint(where);
  } else {
    stepPerPixel = getRange() / dragPixels(buttons);
    if (frame) frame->setDragUnbounded();
  }
  onMouseMoved(where, buttons);
  return kMouseEventHandled;
}

CMouseEventResult CKnob::onMouseMoved(CPoint& where, const CButtonState& buttons) {
  if (!isEditing() || !buttons.isLeftButton()) return kMouseEventNotHandled;
  if (where == lastPoint) return kMouseEventHandled;
  lastPoint = where;
  changeValue(radialMode ? radialValue(where) : linearValue(where, buttons));
  return kMouseEventHandled;
}

CMouseEventResult CKnob::onMouseUp(CPoint& /*where*/, const CButtonState& /*buttons*/) {
  if (!isEditing()) return kMouseEventNotHandled;
  endEdit();
  return kMouseEventHandled;
}

bool CKnob::onWheel(const CPoint& /*where*/, float distance, const CButtonState& buttons) {
  const float step = buttons.isShiftSet() ? kWheelStep * 0.1f : kWheelStep;
  beginEdit();
  changeValue(*value + distance * step * getRange());
  endEdit();
  return true;
}

void CKnob::drawImage(CDrawContext& context) {
  background->draw(context, viewSize);
  const CCoord radius = std::min(getWidth(), getHeight()) * 0.5;
  if (handle && handle->load()) {
    const CCoord width = handle->getWidth();
    const CCoord height = handle->getHeight();
    const CPoint centre =
        pointFromShare(pointerShare(), radius - std::max(width, height) * 0.5 - 2);
    const CPoint corner(std::round(centre.x - width * 0.5), std::round(centre.y - height * 0.5));
    handle->draw(context, CRect::FromSize(corner, width, height));
    return;
  }
  context.setFrameColor(kWhiteCColor);
  context.setLineWidth(2);
  context.drawLine(pointFromShare(pointerShare(), radius * 0.3),
                   pointFromShare(pointerShare(), radius - 2));
}

void CKnob::drawPlain(CDrawContext& context) {
  const CCoord radius = std::min(getWidth(), getHeight()) * 0.5 - 1;
  if (radius <= 0) return;
  const CPoint centre = viewSize.getCenter();
  context.setFillColor({52, 54, 58});
  context.setFrameColor({150, 152, 158});
  context.setLineWidth(1);
  context.drawEllipse({centre.x - radius, centre.y - radius, centre.x + radius, centre.y + radius},
                      kDrawFilledAndStroked);
  context.setFrameColor(kWhiteCColor);
  context.setLineWidth(std::max(1.0, radius * 0.12));
  context.drawLine(pointFromShare(pointerShare(), radius * 0.25),
                   pointFromShare(pointerShare(), radius - 1));
}

CAnimKnob::CAnimKnob(const CRect& size, CControlListener* listener_, int tag_, int frames,
                     CBitmap* bitmap)
    : CKnob(size, listener_, tag_, bitmap), FilmStrip(frames, size.getHeight()) {}

void CAnimKnob::drawImage(CDrawContext& context) {
  const int frameIndex = frameOf(pointerShare());
  drawFrame(context, background, viewSize,
            inverseBitmap ? subPixmaps - 1 - frameIndex : frameIndex);
}

}  // namespace halveron
