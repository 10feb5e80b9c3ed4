// Where modules may stand in the rack: the grid of columns and rows, and who makes room for whom.
#pragma once

#include <span>

#include "editor/rack_geometry.h"

namespace halveron {

/// Where a module goes that hangs on the mouse.
struct GridTarget {
  CPoint corner;  ///< on the grid, and inside the rack
  /// The module hangs between two rows: too low for the one that it came from above, not low
  /// enough for the next.
  bool betweenRows = false;
};

/// Laws of placing, over plain rectangles in the rack's coordinates. No list of slots exists: a
/// spot is free if no module stands on it. Modules that stand a pixel off the grid, as those of a
/// rack that was saved at another size may, are not in each other's way.
class ModuleGrid {
 public:
  explicit ModuleGrid(const RackGeometry& rackGeometry) : geometry(rackGeometry) {}

  /// The target of a module whose top left corner is pulled to `pulled`.
  GridTarget TargetOf(const CPoint& pulled, const CPoint& size) const;
  /// Keeps a module inside the rack.
  CPoint Clamp(const CPoint& corner, const CPoint& size) const;

  static bool IsFree(const CRect& place, std::span<const CRect> others);

  /// Makes room for a module at `place` by shifting the others of its row: those that stand there
  /// in the `direction` of the move (negative left, else right), and those that these meet, in
  /// turn. Nobody leaves the rack: where a chain ends at its edge, the moving module stops short.
  /// Returns the left edge that it may take, on the grid. `others` holds all other modules.
  CCoord PushNeighbours(const CRect& place, int direction, std::span<CRect> others) const;

 private:
  const RackGeometry& geometry;
};

}  // namespace halveron
