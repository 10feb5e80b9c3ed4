#include "editor/syn_scrollbar.h"

#include <cmath>

#include "framework/shared_bitmaps.h"

namespace halveron {

namespace {

// Shares of the side strip's width.
constexpr double kEndMargin = 0.05 * 0.5;
constexpr double kBarWidth = 0.5;
constexpr double kWheelRows = 1.0 / 3;  // rows that one notch scrolls by

}  // namespace

CRect SynScrollbar::PlaceIn(const RackGeometry& geometry) {
  const CCoord strip = geometry.origin.x;
  const CRect view = geometry.ViewRect();
  const CCoord width = std::round(strip * kBarWidth);
  const CCoord left = view.right + std::round((strip - width) / 2);
  const CCoord margin = strip * kEndMargin;
  return {left, view.top + margin, left + width, geometry.GripRect().top - margin};
}

SynScrollbar::SynScrollbar(CControlListener* owner, const RackGeometry& geometry)
    : CScrollbar(PlaceIn(geometry), owner, 0, kVertical) {
  setTransparency(true);
  Follow(geometry);
}

void SynScrollbar::Follow(const RackGeometry& geometry) {
  setViewSize(PlaceIn(geometry));
  setScrollSize(geometry.RackHeight(), geometry.ViewHeight());
  setWheelStep(geometry.rowHeight * kWheelRows);
  setVisible(geometry.Scrolls());
}

}  // namespace halveron
