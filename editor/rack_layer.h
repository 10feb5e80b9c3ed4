// A picture of one layer of the rack, redrawn only where it has changed.
#pragma once

#include <memory>

#include "gui/dirty_region.h"
#include "gui/draw_context.h"

namespace halveron {

/// As large as the view through which the rack shows, in that view's coordinates.
class RackLayer {
 public:
  /// Takes a size, and its pixels per unit; everything is outdated then.
  void Resize(CCoord width, CCoord height, double pixelScale);
  void Invalidate(const CRect& rect) { outdated_.Add(CRect(rect).bound(bounds_)); }
  void InvalidateAll();
  /// Moves the picture down, or up if negative. Where that is by whole pixels, only what comes into
  /// view is outdated by it.
  void Shift(CCoord distance);

  /// Redraws what is outdated: `draw(context, rect)` is called for each outdated rectangle, which
  /// is transparent and the context's clip then.
  template <class F>
  void Refresh(F&& draw) {
    for (const CRect& rect : TakeOutdated()) {
      const DrawStateScope scope(*picture_);
      picture_->setClipRect(rect);
      picture_->clearRect(rect);
      draw(*picture_, rect);
    }
  }
  /// Draws on top of what is there.
  template <class F>
  void Append(F&& draw) {
    const DrawStateScope scope(*picture_);
    picture_->setClipRect(bounds_);
    draw(*picture_);
  }

  /// Copies a part to the same place of a target, over what is there or in its place.
  void DrawTo(CDrawContext& target, const CRect& area);
  void ReplaceIn(CDrawContext& target, const CRect& area);

  const CRect& Bounds() const { return bounds_; }

 private:
  /// Rectangles of whole pixels; the picture exists afterwards.
  std::vector<CRect> TakeOutdated();

  std::unique_ptr<COffscreenContext> picture_;
  DirtyRegion outdated_;
  CRect bounds_;
  double pixelScale_ = 1;
};

}  // namespace halveron
