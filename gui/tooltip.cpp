#include "gui/tooltip.h"

#include <algorithm>
#include <utility>

#include "gui/draw_context.h"
#include "gui/theme.h"

namespace halveron {
namespace {

constexpr CCoord kMouseHeight = 20;
constexpr CCoord kGap = 6;
constexpr CCoord kInset = 7;

CRect PlaceFor(const std::string& text, const CPoint& at, const CRect& bounds, double scale) {
  const CPoint size = theme::Font(scale)->measure(text);
  const CCoord inset = theme::Scaled(kInset, scale);
  const CCoord width = size.x + 2 * inset;
  const CCoord height = size.y + inset;
  const CCoord below = at.y + kMouseHeight;
  const bool fits = below + height <= bounds.bottom;
  const CCoord left = std::max(bounds.left, std::min(at.x, bounds.right - width));
  const CCoord top = fits ? below : std::max(bounds.top, at.y - kGap - height);
  return CRect::FromSize({left, top}, width, height);
}

}  // namespace

TooltipView::TooltipView(std::string text_, const CPoint& at, const CRect& bounds, double scale_)
    : CView(PlaceFor(text_, at, bounds, scale_)), text(std::move(text_)), scale(scale_) {
  transparent = true;
}

void TooltipView::draw(CDrawContext* context) {
  setDirty(false);
  context->setFillColor(theme::kField);
  context->setFrameColor(theme::kFieldEdge);
  context->setLineWidth(1);
  context->drawRoundRect(viewSize, theme::Scaled(theme::kCornerRadius, scale),
                         kDrawFilledAndStroked);
  context->setFont(theme::Font(scale));
  context->setFontColor(theme::kText);
  context->drawString(text, viewSize);
}

}  // namespace halveron
