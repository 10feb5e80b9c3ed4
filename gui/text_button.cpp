#include "gui/text_button.h"

#include <algorithm>

#include "gui/draw_context.h"
#include "gui/frame.h"
#include "gui/theme.h"

namespace halveron {

CTextButton::CTextButton(const CRect& size, CControlListener* listener_, int tag_,
                         const char* title_)
    : CControl(size, listener_, tag_), title(title_ ? title_ : ""), font(theme::Font(1)) {}

void CTextButton::setTitle(const char* text) {
  title = text ? text : "";
  setDirty();
}

void CTextButton::setFont(CFontDesc* f) {
  font = f ? SharedPointer<CFontDesc>(f) : theme::Font(1);
  setDirty();
}

void CTextButton::setLooks(bool& flag, bool on) {
  if (flag == on) return;
  flag = on;
  invalid();
}

void CTextButton::setEnabled(bool on) { setLooks(enabled, on); }

void CTextButton::setProminent(bool on) { setLooks(prominent, on); }

void CTextButton::press() {
  if (!enabled) return;
  const SharedPointer<CTextButton> alive(this);
  const auto action = onPressed;
  beginEdit();
  setValue(vmax);
  valueChanged();
  setValue(vmin);
  endEdit();
  if (action) action();
}

CMouseEventResult CTextButton::onMouseDown(CPoint& /*where*/, const CButtonState& buttons) {
  if (!buttons.isLeftButton() || !enabled) return kMouseEventNotHandled;
  setLooks(down, true);
  return kMouseEventHandled;
}

CMouseEventResult CTextButton::onMouseMoved(CPoint& where, const CButtonState& buttons) {
  if (!buttons.isLeftButton()) return kMouseEventNotHandled;
  setLooks(down, viewSize.pointInside(where));
  return kMouseEventHandled;
}

CMouseEventResult CTextButton::onMouseUp(CPoint& where, const CButtonState& /*buttons*/) {
  if (!down) return kMouseEventHandled;
  setLooks(down, false);
  if (viewSize.pointInside(where)) press();
  return kMouseEventHandled;
}

CMouseEventResult CTextButton::onMouseEntered(CPoint& /*where*/, const CButtonState& /*buttons*/) {
  setLooks(hovered, true);
  return kMouseEventHandled;
}

CMouseEventResult CTextButton::onMouseExited(CPoint& /*where*/, const CButtonState& /*buttons*/) {
  setLooks(hovered, false);
  return kMouseEventHandled;
}

bool CTextButton::onKeyDown(const CKeyEvent& event) {
  if (event.key != kKeyReturn && event.key != kKeySpace) return false;
  press();
  return true;
}

void CTextButton::drawPlain(CDrawContext& context) {
  const bool focused = frame && frame->getFocusView() == this;
  context.setFillColor(down                   ? theme::kButtonDown
                       : hovered && enabled   ? theme::kButtonHover
                       : prominent && enabled ? theme::kHighlight
                                              : theme::kButton);
  context.setFrameColor(focused ? theme::kAccent : theme::kPanelEdge);
  context.setLineWidth(1);
  context.drawRoundRect(viewSize, std::min(theme::kCornerRadius, getHeight() * 0.25),
                        kDrawFilledAndStroked);
  context.setFont(font);
  context.setFontColor(enabled ? theme::kText : theme::kDisabledText);
  context.drawString(title, viewSize);
}

}  // namespace halveron
