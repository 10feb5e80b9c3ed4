// The layout of the window: the rack and what surrounds it.
#pragma once

#include "gui/geometry.h"

namespace halveron {

/// Sizes in pixels of the present skin. The rack shows through a view that is `viewableRows` rows
/// high and is at `origin` in the window; what is above that is the bar, what is left and right
/// of it are the side strips, which are equally wide.
struct RackGeometry {
  int rowHeight = 0;
  int columnWidth = 0;
  int rackWidth = 0;
  CPoint origin;  ///< width of a side strip, height of the bar
  int rows = 1;
  int viewableRows = 2;

  CCoord RackHeight() const { return static_cast<CCoord>(rows) * rowHeight; }
  CCoord ViewHeight() const { return static_cast<CCoord>(viewableRows) * rowHeight; }
  CRect WindowRect() const { return {0, 0, rackWidth + 2 * origin.x, origin.y + ViewHeight()}; }
  /// The view through which the rack shows, in the window.
  CRect ViewRect() const { return CRect::FromSize(origin, rackWidth, ViewHeight()); }
  bool Scrolls() const { return rows > viewableRows; }

  /// The rack's top in its view for a scroll value from 0, its first row, to 1, its last: 0 or
  /// less, in whole pixels.
  CCoord RackTop(float scroll) const;
  /// The scroll value that puts the rack's top there.
  float ScrollOf(CCoord rackTop) const;
};

}  // namespace halveron
