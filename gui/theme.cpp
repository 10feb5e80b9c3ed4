#include "gui/theme.h"

#include <algorithm>
#include <cmath>

#include "gui/draw_context.h"

namespace halveron::theme {

SharedPointer<CFontDesc> Font(double scale, int style) {
  constexpr double kSmallest = 10;
  return SharedPointer<CFontDesc>::Adopt(
      new CFontDesc(nullptr, std::max(kSmallest, std::round(kFontSize * scale)), style));
}

CCoord Scaled(CCoord measure, double scale) { return std::max(1.0, std::round(measure * scale)); }

void DrawPanel(CDrawContext& context, const CRect& place, double scale, const CColor& edge) {
  context.setFillColor(kPanel);
  context.setFrameColor(edge);
  context.setLineWidth(1);
  context.drawRoundRect(place, Scaled(kCornerRadius, scale), kDrawFilledAndStroked);
}

}  // namespace halveron::theme
