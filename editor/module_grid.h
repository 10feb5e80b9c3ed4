// Where modules may be in the rack: the grid of columns and rows, and the pushing of neighbours.
#pragma once

#include <optional>
#include <span>

#include "editor/rack_geometry.h"

namespace halveron {

/// Where a module goes that hangs on the mouse.
struct GridTarget {
  CPoint corner;  ///< on the grid, and inside the rack
  /// The module hangs between two rows: too low for the upper one, not low enough for the lower.
  bool betweenRows = false;
  CPoint nearest;  ///< the same as `corner`, but in the nearer one of these rows
};

/// Rules of placing, over plain rectangles in the rack's coordinates. There is no list of slots: a
/// place is free if no module is on it. Modules that are a pixel off the grid, as those of a rack
/// that was saved at another size may be, are not in each other's way.
class ModuleGrid {
 public:
  explicit ModuleGrid(const RackGeometry& rackGeometry) : geometry(rackGeometry) {}

  /// The target of a module whose top left corner is pulled to `pulled`.
  GridTarget TargetOf(const CPoint& pulled, const CPoint& size) const;
  /// Keeps a module inside the rack.
  CPoint Clamp(const CPoint& corner, const CPoint& size) const;

  static bool IsFree(const CRect& place, std::span<const CRect> others);

  /// The free place on the grid for a module of a size that is nearest to `left` in a row; if that
  /// row is full, in the rows beside it, the lower one first. Nothing if the rack is full.
  std::optional<CPoint> NearestFree(CCoord left, int row, const CPoint& size,
                                    std::span<const CRect> others) const;

  /// Makes room for a module at `place` by shifting the others of its row: those that are there
  /// in the `direction` of the move (negative left, else right), and those that these meet, in
  /// turn. No module leaves the rack: where a chain ends at its edge, the moving module stops
  /// short. Returns the left edge that it may take, on the grid. `others` holds all other modules.
  CCoord PushNeighbours(const CRect& place, int direction, std::span<CRect> others) const;

 private:
  std::optional<CPoint> NearestFreeInRow(CCoord left, int row, const CPoint& size,
                                         std::span<const CRect> others) const;

  const RackGeometry& geometry;
};

}  // namespace halveron
