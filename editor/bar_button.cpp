#include "editor/bar_button.h"

#include <utility>

#include "framework/panel_metrics.h"
#include "gui/draw_context.h"
#include "gui/theme.h"

namespace halveron {

namespace {

constexpr float kPaleness = 0.6f;

}  // namespace

BarButton::BarButton(const CRect& size, CBitmap* image, CBitmap* pressedImage, const char* caption)
    : CControl(size, nullptr, 0, image), pressedImage_(pressedImage), caption_(caption) {}

void BarButton::SetPressed(bool pressed) {
  setValue(pressed ? getMax() : getMin());
  invalid();
}

CMouseEventResult BarButton::onMouseDown(CPoint& /*where*/, const CButtonState& buttons) {
  if (!buttons.isLeftButton()) return kMouseEventNotHandled;
  SetPressed(true);
  const SharedPointer<BarButton> alive(this);
  if (onPress) onPress(*this);
  return kMouseEventHandled;
}

CMouseEventResult BarButton::onMouseUp(CPoint& /*where*/, const CButtonState& /*buttons*/) {
  SetPressed(false);
  return kMouseEventHandled;
}

void BarButton::drawImage(CDrawContext& context) {
  const bool pressed = oldValue == getMax();
  if (pressed && pressedImage_ && pressedImage_->load()) {
    pressedImage_->draw(context, viewSize);
  } else {
    background->draw(context, viewSize, {}, pressed ? kPaleness : 1);
  }
}

void BarButton::drawPlain(CDrawContext& context) {
  context.setFillColor(oldValue == getMax() ? theme::kButtonDown : theme::kButton);
  context.drawRoundRect(viewSize, theme::Scaled(theme::kCornerRadius, uiScale), kDrawFilled);
  context.setFont(theme::Font(uiScale));
  context.setFontColor(theme::kText);
  context.drawString(caption_, viewSize);
}

}  // namespace halveron
