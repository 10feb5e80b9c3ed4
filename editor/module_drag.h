// Modules that follow the mouse: dragged from their places, or new and not put down yet.
#pragma once

#include <optional>
#include <vector>

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
///
/// Several modules move as one, without changing their places beside each other, and push none
/// aside.
class ModuleDrag {
 public:
  ModuleDrag(SynRack& rack, const RackGeometry& geometry)
      : rack_(rack), geometry_(geometry), grid_(geometry) {}

  enum class Outcome {
    kPlaced,
    kReturned,  ///< to where the drag began
    kNoPlace,   ///< a new module that fits nowhere; it still follows the mouse
  };

  /// A press at `where` on the first of these modules; the others keep their places beside it.
  void Begin(const std::vector<Module*>& modules, const CPoint& where);
  /// New modules begin to follow the mouse, held by the point `where`.
  void BeginInsertion(const std::vector<Module*>& modules, const CPoint& where);
  void MoveTo(const CPoint& where, const CButtonState& buttons);
  Outcome End(const CPoint& where, const CButtonState& buttons);
  /// Puts dragged modules back. New ones are left to the caller.
  void Abort();
  /// Forgets a module that leaves the rack; the drag of others goes on.
  void Drop(const Module& module);

  /// The one that the mouse holds, or null.
  Module* DraggedModule() const { return group_.empty() ? nullptr : group_.front(); }
  const std::vector<Module*>& Group() const { return group_; }
  bool Holds(const Module& module) const;
  bool IsInserting() const { return insertingModule_; }
  /// Of the box around all of them.
  const CPoint& Size() const { return size_; }
  /// The corner that one of the modules would have if they were released now; what a save stores.
  CPoint RestingCorner(const Module& module) const;

 private:
  void Clear();
  /// What the modules cover, as it is now, or with its corner elsewhere.
  CRect Box() const;
  CRect BoxAt(const CPoint& corner) const { return CRect::FromSize(corner, size_.x, size_.y); }
  std::vector<CRect> PlacesAt(const CPoint& corner) const;
  bool IsFreeAt(const CPoint& corner, const std::vector<CRect>& others) const;
  std::vector<CRect> Others() const;
  void MoveGroup(const CPoint& corner);
  std::optional<CPoint> NearestFree(const CPoint& target, int row) const;
  bool PushAside(CRect& place);
  CPoint StartOrLastPlace() const;
  int RowUnder(const CPoint& where) const;
  GridTarget TargetOf(const CPoint& where) const;
  std::optional<CPoint> LandingOf(const GridTarget& target, const CPoint& where) const;

  SynRack& rack_;
  const RackGeometry& geometry_;
  ModuleGrid grid_;
  std::vector<Module*> group_;  // the one that the mouse holds is the first
  std::vector<CRect> parts_;    // the modules, from the corner of the box around all of them
  CPoint size_;                 // of the box; all points below are its corner
  bool insertingModule_ = false;
  CPoint grabOffset_;  // the mouse in the box at the press
  CPoint dragStart_;
  CPoint lastPlace_;  // the last place that it could have stayed in
  CCoord lastColumn_ = 0;
  bool dragOverlapping_ = false;   // hangs above another module, or between rows
  int dragDirection_ = 0;          // last horizontal step, -1 or 1
  std::optional<CPoint> landing_;  // nothing for new ones that fit nowhere
};

}  // namespace halveron
