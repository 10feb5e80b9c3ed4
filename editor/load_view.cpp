#include "editor/load_view.h"

#include <algorithm>
#include <cmath>

#include "gui/draw_context.h"
#include "gui/frame.h"
#include "gui/theme.h"

namespace halveron {

namespace {

constexpr double kReadPeriod = 0.25;  // seconds
constexpr double kFontScale = 0.8;    // against that of menus
constexpr float kHigh = 0.8f;         // from where a block is likely to come late
constexpr CColor kBack{24, 25, 28, 220};
constexpr CColor kCalm{86, 176, 104};
constexpr CColor kPressed{224, 84, 56};
constexpr CCoord kBarHeight = 4;  // of a scale of 1

int Percent(float share) { return static_cast<int>(std::lround(std::min(share, 9.99f) * 100)); }

}  // namespace

LoadView::LoadView(const CRect& size, double scale) : CView(size), scale_(scale) {
  setWantsIdle(true);
}

void LoadView::onIdle() {
  const CFrame* root = getFrame();
  if (!read || !root || root->getTime() < nextRead_) return;
  nextRead_ = root->getTime() + kReadPeriod;
  const LoadMeter::Reading now = read();
  std::string text = state ? state() : "";
  text += (text.empty() ? "" : ", ") + std::to_string(Percent(now.share)) + " %";
  if (text == text_ && Percent(now.peak) == Percent(shown_.peak) && now.late == shown_.late) return;
  shown_ = now;
  text_ = text;
  invalid();
}

void LoadView::draw(CDrawContext* context) {
  setDirty(false);
  context->setFillColor(kBack);
  context->drawRoundRect(viewSize, theme::Scaled(theme::kCornerRadius, scale_), kDrawFilled);
  CRect inner = viewSize;
  inner.inset(theme::Scaled(5, scale_), theme::Scaled(4, scale_));
  const CCoord thickness = theme::Scaled(kBarHeight, scale_);
  const CRect bar(inner.left, inner.bottom - thickness, inner.right, inner.bottom);
  context->setFont(theme::Font(scale_ * kFontScale));
  context->setFontColor(shown_.late > 0 ? theme::kAccent : theme::kText);
  const bool fits = context->getStringWidth(text_) <= inner.getWidth();
  const std::string shown = fits ? text_ : std::to_string(Percent(shown_.share)) + " %";
  context->drawString(shown, CRect(inner.left, viewSize.top, inner.right, bar.top));
  context->setFillColor(theme::kFieldEdge);
  context->fillRect(bar);
  const auto across = [&bar](float share) {
    return bar.left + bar.getWidth() * std::min(share, 1.0f);
  };
  context->setFillColor(shown_.peak < kHigh ? kCalm : kPressed);
  context->fillRect(CRect(bar.left, bar.top, across(shown_.share), bar.bottom));
  const CCoord peak = across(shown_.peak);
  context->setFillColor(theme::kText);
  context->fillRect(CRect(std::max(peak - scale_, bar.left), bar.top, peak, bar.bottom));
}

CMouseEventResult LoadView::onMouseDown(CPoint& /*where*/, const CButtonState& buttons) {
  if (!(buttons.isLeftButton() || buttons.isRightButton()) || !onPress) {
    return kMouseEventNotHandled;
  }
  onPress();
  return kMouseDownEventHandledButDontNeedMovedOrUpEvents;
}

std::string LoadView::tooltipAt(const CPoint& /*where*/) {
  return "Sound takes " + std::to_string(Percent(shown_.share)) + " % of the time, at most " +
         std::to_string(Percent(shown_.peak)) + " %; " +
         (shown_.late == 0
              ? "no block"
              : std::to_string(shown_.late) + (shown_.late == 1 ? " block" : " blocks")) +
         " came late";
}

}  // namespace halveron
