#include "editor/module_drag.h"

#include <algorithm>
#include <cmath>
#include <utility>
#include <vector>

#include "editor/syn_rack.h"
#include "framework/module.h"
#include "framework/rack_model.h"

namespace halveron {

namespace {

CPoint SizeOf(const Module& module) { return {module.getWidth(), module.getHeight()}; }

}  // namespace

void ModuleDrag::Begin(Module& module, const CPoint& where) {
  rack_.RaiseModule(module);
  draggedModule_ = &module;
  module.place.isDragged = true;
  dragOverlapping_ = true;
  dragDirection_ = 0;
  dragStart_ = module.getViewSize().getTopLeft();
  lastPlace_ = dragStart_;
  grabOffset_ = where - dragStart_;
  lastColumn_ = grid_.TargetOf(dragStart_, SizeOf(module)).corner.x;
  landing_ = module.getViewSize();
}

void ModuleDrag::BeginInsertion(Module& module, const CPoint& where) {
  Begin(module, where);
  insertingModule_ = true;
}

void ModuleDrag::Clear() {
  draggedModule_->place.isDragged = false;
  draggedModule_ = nullptr;
  insertingModule_ = false;
  landing_.reset();
  rack_.ShowLanding(std::nullopt);
}

void ModuleDrag::Drop(const Module& module) {
  if (draggedModule_ == &module) Clear();
}

void ModuleDrag::Abort() {
  if (!draggedModule_) return;
  if (!insertingModule_) rack_.MoveModule(*draggedModule_, StartOrLastPlace());
  Clear();
}

CPoint ModuleDrag::StartOrLastPlace() const {
  const CRect start = CRect(draggedModule_->getViewSize()).moveTo(dragStart_);
  // On its way the module may have pushed another to where it came from.
  return ModuleGrid::IsFree(start, rack_.PlacesWithout(*draggedModule_)) ? dragStart_ : lastPlace_;
}

bool ModuleDrag::PushAside(CRect& place) {
  const std::vector<CRect> before = rack_.PlacesWithout(*draggedModule_);
  std::vector<CRect> after = before;
  const CRect pushed =
      CRect(place).moveTo(grid_.PushNeighbours(place, dragDirection_, after), place.top);
  if (!ModuleGrid::IsFree(pushed, after)) return false;
  rack_.MoveOthers(*draggedModule_, after);
  place = pushed;
  return true;
}

int ModuleDrag::RowUnder(const CPoint& where) const {
  return std::clamp(static_cast<int>(std::floor(where.y / geometry_.rowHeight)), 0,
                    geometry_.rows - 1);
}

GridTarget ModuleDrag::TargetOf(const CPoint& where) const {
  const CPoint size = SizeOf(*draggedModule_);
  const CPoint pulled = where - grabOffset_;
  GridTarget target = grid_.TargetOf(pulled, size);
  if (!insertingModule_) return target;
  // A new module belongs to the row under the mouse, however high it is held.
  const int row = RowUnder(where);
  const CCoord top = static_cast<CCoord>(row) * geometry_.rowHeight;
  target.corner.y = grid_.Clamp({target.corner.x, top}, size).y;
  target.nearest = target.corner;
  target.betweenRows =
      row < geometry_.rows - 1 && pulled.y - top > std::floor(geometry_.rowHeight / 5.0);
  return target;
}

std::optional<CPoint> ModuleDrag::LandingOf(const GridTarget& target, const CPoint& where) const {
  const std::vector<CRect> others = rack_.PlacesWithout(*draggedModule_);
  if (insertingModule_) {
    return grid_.NearestFree(target.corner.x, RowUnder(where), SizeOf(*draggedModule_), others);
  }
  const CRect place = CRect(draggedModule_->getViewSize()).moveTo(target.nearest);
  const bool fits = target.betweenRows && ModuleGrid::IsFree(place, others);
  return fits ? target.nearest : StartOrLastPlace();
}

void ModuleDrag::MoveTo(const CPoint& where, const CButtonState& buttons) {
  if (!draggedModule_) return;
  const CRect present = draggedModule_->getViewSize();
  const GridTarget target = TargetOf(where);
  // Counted from column to column: a module that hangs free is off the grid itself.
  if (target.corner.x != lastColumn_) dragDirection_ = target.corner.x < lastColumn_ ? -1 : 1;
  lastColumn_ = target.corner.x;

  CRect place = CRect(present).moveTo(target.corner);
  dragOverlapping_ = target.betweenRows;
  if (!dragOverlapping_) {
    const bool mayPush = buttons.isControlSet() && place.top == present.top;
    dragOverlapping_ = !(mayPush && PushAside(place)) &&
                       !ModuleGrid::IsFree(place, rack_.PlacesWithout(*draggedModule_));
  }
  if (!dragOverlapping_) lastPlace_ = place.getTopLeft();
  const bool staysOnGrid = !dragOverlapping_ || buttons.isControlSet();
  if (!staysOnGrid) place.moveTo(grid_.Clamp(where - grabOffset_, SizeOf(*draggedModule_)));
  rack_.MoveModule(*draggedModule_, place.getTopLeft());

  std::optional<CPoint> corner = place.getTopLeft();
  if (!staysOnGrid) corner = LandingOf(target, where);
  landing_.reset();
  if (corner) landing_ = CRect(place).moveTo(*corner);
  rack_.ShowLanding(landing_);
}

ModuleDrag::Outcome ModuleDrag::End(const CPoint& where, const CButtonState& buttons) {
  if (!draggedModule_) return Outcome::kReturned;
  if (!dragOverlapping_) {
    Clear();
    return Outcome::kPlaced;
  }
  const GridTarget target = TargetOf(where);
  CRect place = CRect(draggedModule_->getViewSize()).moveTo(target.corner);
  if (!buttons.isControlSet() || !PushAside(place)) {
    const std::optional<CPoint> landing = LandingOf(target, where);
    if (!landing) return Outcome::kNoPlace;
    place.moveTo(*landing);
  }
  rack_.MoveModule(*draggedModule_, place.getTopLeft());
  const bool returned = !insertingModule_ && place.getTopLeft() == dragStart_;
  Clear();
  return returned ? Outcome::kReturned : Outcome::kPlaced;
}

}  // namespace halveron
