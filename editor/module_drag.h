// A module that follows the mouse: dragged from its place, or new and not put down yet.
#pragma once

#include <optional>

#include "editor/module_grid.h"
#include "gui/view.h"

namespace halveron {

class Module;
class SynRack;

/// Points are in the rack's coordinates. Dragging only moves views, so no lock is taken.
///
/// A module snaps to the grid near the lines of rows, and hangs free between them and above other
/// modules; the rack outlines the place where it will land. Between two rows that is the nearer
/// one. Above another module, a dragged one returns to where it came from, and a new one lands in
/// the nearest free place: in the row under the mouse if there is one, else in the rows beside it.
/// With Control held the module stays on the grid, pushes the others of its row aside, and takes
/// the place that they clear.
class ModuleDrag {
 public:
  ModuleDrag(SynRack& rack, const RackGeometry& geometry)
      : rack_(rack), geometry_(geometry), grid_(geometry) {}

  enum class Outcome {
    kPlaced,
    kReturned,  ///< to where the drag began
    kNoPlace,   ///< a new module that fits nowhere; it still follows the mouse
  };

  /// A press on a module at `where`.
  void Begin(Module& module, const CPoint& where);
  /// A new module begins to follow the mouse, held by the point `where` of it.
  void BeginInsertion(Module& module, const CPoint& where);
  void MoveTo(const CPoint& where, const CButtonState& buttons);
  Outcome End(const CPoint& where, const CButtonState& buttons);
  /// Puts a dragged module back. A new one is left to the caller.
  void Abort();
  /// Forgets a module that leaves the rack.
  void Drop(const Module& module);

  Module* DraggedModule() const { return draggedModule_; }
  bool IsInserting() const { return insertingModule_; }
  /// The corner that the module would have if it were released now; what a save stores.
  CPoint RestingCorner() const {
    return landing_ ? landing_->getTopLeft() : grid_.TargetOf(dragStart_, {}).corner;
  }

 private:
  void Clear();
  bool PushAside(CRect& place);
  CPoint StartOrLastPlace() const;
  int RowUnder(const CPoint& where) const;
  GridTarget TargetOf(const CPoint& where) const;
  std::optional<CPoint> LandingOf(const GridTarget& target, const CPoint& where) const;

  SynRack& rack_;
  const RackGeometry& geometry_;
  ModuleGrid grid_;
  Module* draggedModule_ = nullptr;
  bool insertingModule_ = false;
  CPoint grabOffset_;  // the mouse in the module at the press
  CPoint dragStart_;
  CPoint lastPlace_;  // the last place that it could have stayed in
  CCoord lastColumn_ = 0;
  bool dragOverlapping_ = false;  // hangs above another module, or between rows
  int dragDirection_ = 0;         // last horizontal step, -1 or 1
  std::optional<CRect> landing_;  // nothing for a new one that fits nowhere
};

}  // namespace halveron
