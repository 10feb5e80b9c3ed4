// The layout of the window: the rack and what surrounds it.
#pragma once

#include "gui/geometry.h"

namespace halveron {

/// Sizes in pixels of the present skin, which are the units of the window's views under any zoom.
/// The rack shows through a view that is `viewableRows` rows and `extraHeight` high; what is above
/// that is the bar, what is left and right of it are the side strips, which are equally wide. A
/// window that is wider than all of this has a margin at either side.
struct RackGeometry {
  int rowHeight = 0;
  int columnWidth = 0;
  int rackWidth = 0;
  CPoint origin;  ///< width of a side strip, height of the bar
  int rows = 1;
  int viewableRows = 2;
  CCoord extraHeight = 0;  ///< part of one more row that shows
  CCoord margin = 0;
  double pixelScale = 1;  ///< pixels of the window per unit; the rack is scrolled by whole ones

  CCoord RackHeight() const { return static_cast<CCoord>(rows) * rowHeight; }
  CCoord ViewHeight() const { return static_cast<CCoord>(viewableRows) * rowHeight + extraHeight; }
  /// Rows that are needed to fill the view.
  int RowsInView() const { return viewableRows + (extraHeight > 0 ? 1 : 0); }
  /// Width without the margins.
  CCoord BodyWidth() const { return rackWidth + 2 * origin.x; }
  CRect WindowRect() const { return {0, 0, BodyWidth() + 2 * margin, origin.y + ViewHeight()}; }
  CRect BarRect() const { return CRect::FromSize(CPoint(margin, 0), BodyWidth(), origin.y); }
  /// The view through which the rack shows, in the window.
  CRect ViewRect() const {
    return CRect::FromSize(origin + CPoint(margin, 0), rackWidth, ViewHeight());
  }
  CRect LeftStripRect() const {
    return CRect::FromSize(CPoint(margin, origin.y), origin.x, ViewHeight());
  }
  /// In the lower right corner.
  CRect GripRect() const {
    const CRect strip = RightStripRect();
    const CCoord side = origin.x * 0.6;
    return {strip.right - side, strip.bottom - side, strip.right, strip.bottom};
  }
  CRect RightStripRect() const {
    return CRect::FromSize(ViewRect().getTopLeft() + CPoint(rackWidth, 0), origin.x, ViewHeight());
  }
  bool Scrolls() const { return RackHeight() > ViewHeight(); }

  /// The rack's top in its view for a scroll value from 0, its first row, to 1, its last: 0 or
  /// less, in whole pixels of the window.
  CCoord RackTop(float scroll) const;
  /// The edge of a whole pixel of the window that is next to a height in the view.
  CCoord ToPixel(CCoord y) const;
  /// The scroll value that puts the rack's top there.
  float ScrollOf(CCoord rackTop) const;
};

}  // namespace halveron
