#include "editor/rack_layer.h"

#include <cmath>
#include <cstdlib>
#include <vector>

namespace halveron {

void RackLayer::Resize(CCoord width, CCoord height, double pixelScale) {
  pixelScale_ = pixelScale;
  bounds_ = CRect(0, 0, width, height);
  picture_.reset();
  InvalidateAll();
}

void RackLayer::InvalidateAll() {
  outdated_.Clear();
  outdated_.Add(bounds_);
}

void RackLayer::Shift(CCoord distance) {
  constexpr double kWhole = 1e-3;  // of a pixel
  if (distance == 0) return;
  const double pixels = distance * pixelScale_;
  const bool isWhole = std::abs(pixels - std::round(pixels)) < kWhole;
  if (!picture_ || !isWhole || std::abs(distance) >= bounds_.getHeight()) return InvalidateAll();
  picture_->shiftDown(static_cast<int>(std::round(pixels)));
  for (CRect& rect : outdated_.Take()) Invalidate(rect.offset(0, distance));
  CRect uncovered = bounds_;
  if (distance > 0) {
    uncovered.bottom = distance;
  } else {
    // The picture's last row of pixels may be one that the bounds cover in part.
    uncovered.top = uncovered.bottom + distance - (pixelScale_ == 1 ? 0 : 1 / pixelScale_);
  }
  outdated_.Add(uncovered);
}

std::vector<CRect> RackLayer::TakeOutdated() {
  if (!picture_) {
    picture_ = std::make_unique<COffscreenContext>(static_cast<int>(std::ceil(bounds_.getWidth())),
                                                   static_cast<int>(std::ceil(bounds_.getHeight())),
                                                   pixelScale_);
  }
  std::vector<CRect> rects = outdated_.Take();
  for (CRect& rect : rects) {
    rect = CRect(std::floor(rect.left * pixelScale_) / pixelScale_,
                 std::floor(rect.top * pixelScale_) / pixelScale_,
                 std::ceil(rect.right * pixelScale_) / pixelScale_,
                 std::ceil(rect.bottom * pixelScale_) / pixelScale_);
  }
  return rects;
}

void RackLayer::DrawTo(CDrawContext& target, const CRect& area) {
  picture_->copyFrom(target, area, area.getTopLeft());
}

void RackLayer::ReplaceIn(CDrawContext& target, const CRect& area) {
  picture_->replaceIn(target, area, area.getTopLeft());
}

}  // namespace halveron
