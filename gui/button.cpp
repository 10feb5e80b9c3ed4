#include "gui/button.h"

#include <algorithm>

#include "gui/draw_context.h"

namespace halveron {
namespace {

void DrawPlainButton(CDrawContext& context, const CRect& rect, bool on) {
  context.setFillColor(on ? CColor(230, 120, 40) : CColor(60, 62, 66));
  context.setFrameColor({150, 152, 158});
  context.setLineWidth(1);
  context.drawRoundRect(rect, std::min(rect.getWidth(), rect.getHeight()) * 0.25,
                        kDrawFilledAndStroked);
}

}  // namespace

COnOffButton::COnOffButton(const CRect& size, CControlListener* listener_, int tag_,
                           CBitmap* bitmap, int style_)
    : CControl(size, listener_, tag_, bitmap), FilmStrip(2, size.getHeight()), style(style_) {}

CMouseEventResult COnOffButton::onMouseDown(CPoint& /*where*/, const CButtonState& buttons) {
  if (!buttons.isLeftButton()) return kMouseEventNotHandled;
  beginEdit();
  setValue(frameOf(getValueNormalized()) == 1 ? vmin : vmax);
  if (style == kPostListenerUpdate) {
    invalid();
    valueChanged();
  } else {
    valueChanged();
    invalid();
  }
  endEdit();
  return kMouseDownEventHandledButDontNeedMovedOrUpEvents;
}

void COnOffButton::drawImage(CDrawContext& context) {
  drawFrame(context, background, viewSize, frameOf(shownShare()));
}

void COnOffButton::drawPlain(CDrawContext& context) {
  DrawPlainButton(context, viewSize, frameOf(shownShare()) > 0);
}

CKickButton::CKickButton(const CRect& size, CControlListener* listener_, int tag_, CBitmap* bitmap,
                         int frames)
    : CControl(size, listener_, tag_, bitmap), FilmStrip(frames, size.getHeight()) {}

CMouseEventResult CKickButton::onMouseDown(CPoint& where, const CButtonState& buttons) {
  if (!buttons.isLeftButton()) return kMouseEventNotHandled;
  beginEdit();
  onMouseMoved(where, buttons);
  return kMouseEventHandled;
}

CMouseEventResult CKickButton::onMouseMoved(CPoint& where, const CButtonState& buttons) {
  if (!isEditing() || !buttons.isLeftButton()) return kMouseEventNotHandled;
  changeValue(viewSize.pointInside(where) ? vmax : vmin);
  return kMouseEventHandled;
}

CMouseEventResult CKickButton::onMouseUp(CPoint& /*where*/, const CButtonState& /*buttons*/) {
  if (!isEditing()) return kMouseEventNotHandled;
  changeValue(vmin);
  endEdit();
  return kMouseEventHandled;
}

void CKickButton::drawImage(CDrawContext& context) {
  drawFrame(context, background, viewSize, frameOf(shownShare()));
}

void CKickButton::drawPlain(CDrawContext& context) {
  DrawPlainButton(context, viewSize, shownShare() > 0);
}

}  // namespace halveron
