#include "editor/cable_painter.h"

#include <array>
#include <cmath>
#include <cstdint>

#include "framework/panel_metrics.h"
#include "gui/draw_context.h"

namespace halveron {

namespace {

constexpr int kShadowColour = 0;
constexpr std::uint32_t kPalette[] = {0x32000000, 0xFF7D0A0A, 0xFF195A19, 0xFF0A0A7D,
                                      0xFF505050, 0xFF995104, 0xFF592C68, 0xFF0A0A0A};
constexpr int kPaletteSize = sizeof(kPalette) / sizeof(kPalette[0]);

constexpr int kHighlightStep = 45;  // added to each channel from layer to layer
constexpr int kLayers = 3;
constexpr double kSag = 15.0;             // panel units below the lower end
constexpr int kLeastShadowedAlpha = 150;  // thinner cables throw no shadow
constexpr int kShadowAlpha = 50;
constexpr CCoord kSteepDistance = 4;  // ends this near in x make a cable bulge
constexpr CCoord kBulge = 7;          // pixels
constexpr double kBoundsSag = 1.5;    // the curve hangs lower the farther its ends are apart

bool IsSteep(const CPoint& from, const CPoint& to) {
  return std::abs(to.x - from.x) <= kSteepDistance;
}

/// Channels that leave their range begin again from 0.
CColor Highlighted(const CColor& colour, int layer) {
  const auto lift = [layer](std::uint8_t channel) {
    return (channel + layer * kHighlightStep) & 0xFF;
  };
  return {lift(colour.red), lift(colour.green), lift(colour.blue), colour.alpha};
}

/// A cardinal curve of tension 1/2 through three points.
void DrawCurve(CDrawContext& context, const CPoint& from, const CPoint& middle, const CPoint& to) {
  constexpr double kTangent = 0.5 / 3;
  const auto arm = [](const CPoint& a, const CPoint& b) {
    return CPoint((b.x - a.x) * kTangent, (b.y - a.y) * kTangent);
  };
  const CPoint through = arm(from, to);
  const std::array<CPoint, 7> points = {from,   from + arm(from, middle), middle - through,
                                        middle, middle + through,         to - arm(middle, to),
                                        to};
  context.drawBeziers(points);
}

void FillEnd(CDrawContext& context, const CPoint& at, CCoord width) {
  const CCoord radius = width / 2;
  context.drawEllipse({at.x - radius, at.y - radius, at.x + radius, at.y + radius}, kDrawFilled);
}

}  // namespace

CColor CableColour(int index) {
  const std::uint32_t argb = kPalette[index >= 0 && index < kPaletteSize ? index : 1];
  return {static_cast<int>(argb >> 16 & 0xFF), static_cast<int>(argb >> 8 & 0xFF),
          static_cast<int>(argb & 0xFF), static_cast<int>(argb >> 24)};
}

int CableStyle::WidthStep() const {
  constexpr double kStepPerPixel = kHighlightStep * 0.0095238095;
  return static_cast<int>(std::lround((width - 1) * kStepPerPixel));
}

CPoint CablePainter::Middle(const CPoint& from, const CPoint& to, double slack) {
  const CCoord bulge = IsSteep(from, to) ? kBulge : 0;
  return {(from.x + to.x) / 2 + bulge, std::trunc(std::max(from.y, to.y) + uiScale * kSag * slack)};
}

CRect CablePainter::BoundsOf(const CPoint& from, const CPoint& to) const {
  const CCoord edge = std::floor(style.width / 2.0) + 1;
  const CCoord span = std::abs(to.y - from.y);
  const CCoord bulge = IsSteep(from, to) ? kBulge : 0;
  const CCoord sag =
      (span * kBoundsSag / panelHeight + std::max(style.slack, 1.0)) * uiScale * kSag * kBoundsSag;
  const CCoord shadow = std::trunc(uiScale * kSag);
  return {std::min(from.x, to.x) - edge, std::min(from.y, to.y) - edge,
          std::max(from.x, to.x) + edge + uiScale * kSag + bulge,
          std::max(from.y, to.y) + sag + shadow + edge};
}

void CablePainter::Draw(CDrawContext& context, const CPoint& from, const CPoint& to,
                        int colour) const {
  const DrawStateScope scope(context);
  context.setDrawMode(style.isLite ? kCopyMode : kQuickAntialias);
  if (style.isLite) {
    DrawLite(context, from, to, colour);
    return;
  }
  if (!style.isFlat && style.alpha >= kLeastShadowedAlpha) DrawShadow(context, from, to);
  DrawTube(context, from, to, colour);
}

void CablePainter::DrawShadow(CDrawContext& context, const CPoint& from, const CPoint& to) const {
  const CCoord offset = std::trunc(uiScale * kSag);
  CColor colour = CableColour(kShadowColour);
  colour.alpha = static_cast<std::uint8_t>(style.alpha * kShadowAlpha / 255);
  context.setFrameColor(colour);
  context.setLineWidth(style.width);
  DrawCurve(context, from, Middle(from, to, style.slack) + CPoint(offset, offset), to);
}

void CablePainter::DrawTube(CDrawContext& context, const CPoint& from, const CPoint& to,
                            int colour) const {
  CColor base = CableColour(colour);
  base.alpha = static_cast<std::uint8_t>(style.alpha);
  const int firstLayer = style.isFlat ? 1 : 0;
  const int layers = style.isFlat ? 1 : kLayers;
  for (int pass = 0; pass < layers; ++pass) {
    const CCoord width = std::max(style.width - pass * style.WidthStep(), 1);
    context.setFillColor(Highlighted(base, firstLayer + pass));
    FillEnd(context, from, width);
    FillEnd(context, to, width);
  }
  const CPoint middle = Middle(from, to, style.slack);
  for (int pass = 0; pass < layers; ++pass) {
    context.setLineWidth(std::max(style.width - pass * style.WidthStep(), 1));
    context.setFrameColor(Highlighted(base, firstLayer + pass));
    DrawCurve(context, from, middle, to);
  }
}

void CablePainter::DrawLite(CDrawContext& context, const CPoint& from, const CPoint& to,
                            int colour) const {
  constexpr double kLiteSagPerPixel = 0.0068728523;  // 2/291, at every size of the skin
  constexpr double kLiteSag = 22.0;
  const CCoord sag =
      std::trunc((std::abs(to.y - from.y) * kLiteSagPerPixel + 1.0) * kLiteSag * style.slack);
  const CPoint control(Middle(from, to).x, std::max(from.y, to.y) + sag);
  const int firstLayer = style.isFlat ? 1 : 0;
  const int layers = style.isFlat ? 1 : kLayers;
  for (int pass = 0; pass < layers; ++pass) {
    context.setLineWidth(std::max(style.width - pass * style.WidthStep(), 1));
    context.setFrameColor(Highlighted(CableColour(colour), firstLayer + pass));
    context.drawBezier(from, control, control, to);
  }
}

}  // namespace halveron
