#include "editor/size_grip.h"

#include <cmath>

#include "gui/draw_context.h"
#include "gui/frame.h"

namespace halveron {

namespace {

constexpr CColor kLight{255, 255, 255, 110};
constexpr int kLines = 3;

}  // namespace

void SizeGrip::draw(CDrawContext* context) {
  setDirty(false);
  context->setFrameColor(kLight);
  context->setLineWidth(1);
  const CCoord step = getWidth() / (kLines + 1);
  for (int i = 1; i <= kLines; ++i) {
    context->drawLine(CPoint(viewSize.right - 1, viewSize.top + i * step),
                      CPoint(viewSize.left + i * step, viewSize.bottom - 1));
  }
}

CPoint SizeGrip::Reached() const {
  const CFrame* root = getFrame();
  const CPoint mouse = root->getCurrentMouseLocation();
  return CPoint(mouse.x * root->getZoom(), mouse.y * root->getZoom());
}

CMouseEventResult SizeGrip::onMouseDown(CPoint& /*where*/, const CButtonState& buttons) {
  if (!buttons.isLeftButton() || !getFrame()) return kMouseEventNotHandled;
  isHeld_ = true;
  rest_ = getFrame()->getWindowSize() - Reached();
  return kMouseEventHandled;
}

CMouseEventResult SizeGrip::onMouseMoved(CPoint& /*where*/, const CButtonState& buttons) {
  if (!isHeld_ || !buttons.isLeftButton()) return kMouseEventNotHandled;
  const CPoint corner = Reached() + rest_;
  if (onResize) onResize(CPoint(std::round(corner.x), std::round(corner.y)));
  return kMouseEventHandled;
}

CMouseEventResult SizeGrip::onMouseUp(CPoint& /*where*/, const CButtonState& /*buttons*/) {
  isHeld_ = false;
  return kMouseEventHandled;
}

CMouseEventResult SizeGrip::onMouseEntered(CPoint& /*where*/, const CButtonState& /*buttons*/) {
  if (getFrame()) getFrame()->setCursor(kCursorVSize);
  return kMouseEventHandled;
}

CMouseEventResult SizeGrip::onMouseExited(CPoint& /*where*/, const CButtonState& /*buttons*/) {
  if (getFrame()) getFrame()->setCursor(kCursorDefault);
  return kMouseEventHandled;
}

std::string SizeGrip::tooltipAt(const CPoint& /*where*/) {
  return "Drag to resize: width zooms, height shows rows";
}

}  // namespace halveron
