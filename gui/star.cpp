#include "gui/star.h"

#include <array>
#include <cmath>
#include <numbers>

#include "gui/draw_context.h"
#include "gui/theme.h"

namespace halveron {

void DrawStar(CDrawContext& context, const CPoint& centre, CCoord radius, bool isSet,
              const CColor& edge) {
  constexpr double kInnerShare = 0.45;
  constexpr int kTips = 5;
  std::array<CPoint, 2 * kTips> corners;
  for (std::size_t i = 0; i < corners.size(); ++i) {
    const double angle = std::numbers::pi * (static_cast<double>(i) / kTips - 0.5);
    const CCoord reach = i % 2 == 0 ? radius : radius * kInnerShare;
    corners[i] = centre + CPoint(std::cos(angle) * reach, std::sin(angle) * reach);
  }
  context.setFrameColor(isSet ? theme::kAccent : edge);
  context.setFillColor(theme::kAccent);
  context.setLineWidth(1);
  context.drawPolygon(corners, isSet ? kDrawFilledAndStroked : kDrawStroked);
}

}  // namespace halveron
