#include "editor/rack_layer.h"

#include <cmath>
#include <cstdlib>
#include <vector>

namespace halveron {

void RackLayer::Resize(int width, int height) {
  bounds_ = CRect(0, 0, width, height);
  picture_.reset();
  InvalidateAll();
}

void RackLayer::InvalidateAll() {
  outdated_.Clear();
  outdated_.Add(bounds_);
}

void RackLayer::Shift(int pixels) {
  if (pixels == 0) return;
  if (!picture_ || std::abs(pixels) >= bounds_.getHeight()) return InvalidateAll();
  picture_->shiftDown(pixels);
  for (CRect& rect : outdated_.Take()) Invalidate(rect.offset(0, pixels));
  CRect uncovered = bounds_;
  if (pixels > 0) {
    uncovered.bottom = pixels;
  } else {
    uncovered.top = uncovered.bottom + pixels;
  }
  outdated_.Add(uncovered);
}

std::vector<CRect> RackLayer::TakeOutdated() {
  if (!picture_) {
    picture_ = std::make_unique<COffscreenContext>(static_cast<int>(bounds_.getWidth()),
                                                   static_cast<int>(bounds_.getHeight()));
  }
  std::vector<CRect> rects = outdated_.Take();
  for (CRect& rect : rects) {
    rect = CRect(std::floor(rect.left), std::floor(rect.top), std::ceil(rect.right),
                 std::ceil(rect.bottom));
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
