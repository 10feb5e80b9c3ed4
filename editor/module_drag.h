// A module on its way with the mouse: dragged from its place, or new and not put down yet.
#pragma once

#include "editor/module_grid.h"
#include "gui/view.h"

namespace halveron {

class Module;
class SynRack;

/// Points are in the rack's coordinates. Dragging only moves views, so no lock is taken.
///
/// A module snaps to the grid near the lines of rows, and hangs free between them and above other
/// modules; let go there, it returns to where it came from. With Control held it stays on the grid,
/// pushes the others of its row aside, and takes the place that they clear.
class ModuleDrag {
 public:
  ModuleDrag(SynRack& rack, const RackGeometry& geometry) : rack_(rack), grid_(geometry) {}

  enum class Outcome {
    kPlaced,
    kReturned,  ///< to where the drag began
    kRefused,   ///< there is no place for a new module
  };

  /// A press on a module at `where`.
  void Begin(Module& module, const CPoint& where);
  /// A new module begins to hang on the mouse by the point `where` of it.
  void BeginInsertion(Module& module, const CPoint& where);
  void MoveTo(const CPoint& where, const CButtonState& buttons);
  Outcome End(const CPoint& where, const CButtonState& buttons);
  /// Puts a dragged module back. A new one is left to the caller.
  void Abort();
  /// Forgets a module that leaves the rack.
  void Drop(const Module& module);

  Module* DraggedModule() const { return draggedModule_; }
  bool IsInserting() const { return insertingModule_; }

 private:
  void Clear();
  bool PushAside(CRect& place);
  void Return();
  bool PlaceDropped(const CPoint& where, const CButtonState& buttons);

  SynRack& rack_;
  ModuleGrid grid_;
  Module* draggedModule_ = nullptr;
  bool insertingModule_ = false;
  CPoint grabOffset_;  // the mouse in the module at the press
  CPoint dragStart_;
  CPoint lastPlace_;              // where it could have stayed last
  bool dragOverlapping_ = false;  // hangs above another module, or between rows
  int dragDirection_ = 0;         // last horizontal step, -1 or 1
};

}  // namespace halveron
