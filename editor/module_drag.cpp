#include "editor/module_drag.h"

#include <utility>
#include <vector>

#include "editor/syn_rack.h"
#include "framework/module.h"
#include "framework/rack_model.h"

namespace halveron {

void ModuleDrag::Begin(Module& module, const CPoint& where) {
  rack_.RaiseModule(module);
  draggedModule_ = &module;
  module.isDragged = true;
  dragOverlapping_ = true;
  dragDirection_ = 0;
  dragStart_ = module.getViewSize().getTopLeft();
  lastPlace_ = dragStart_;
  grabOffset_ = where - dragStart_;
}

void ModuleDrag::BeginInsertion(Module& module, const CPoint& where) {
  Begin(module, where);
  insertingModule_ = true;
}

void ModuleDrag::Clear() {
  draggedModule_->isDragged = false;
  draggedModule_ = nullptr;
  insertingModule_ = false;
}

void ModuleDrag::Drop(const Module& module) {
  if (draggedModule_ == &module) Clear();
}

void ModuleDrag::Abort() {
  if (!draggedModule_) return;
  if (!insertingModule_) Return();
  Clear();
}

void ModuleDrag::Return() {
  const CRect start = CRect(draggedModule_->getViewSize()).moveTo(dragStart_);
  const bool isFree = ModuleGrid::IsFree(start, rack_.PlacesWithout(*draggedModule_));
  // On its way it may have pushed another to where it came from.
  rack_.MoveModule(*draggedModule_, isFree ? dragStart_ : lastPlace_);
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

void ModuleDrag::MoveTo(const CPoint& where, const CButtonState& buttons) {
  if (!draggedModule_) return;
  const CRect present = draggedModule_->getViewSize();
  const CPoint size(present.getWidth(), present.getHeight());
  const CPoint pulled = where - grabOffset_;
  const GridTarget target = grid_.TargetOf(pulled, size);
  if (target.corner.x != present.left) dragDirection_ = target.corner.x < present.left ? -1 : 1;

  CRect place = CRect(present).moveTo(target.corner);
  dragOverlapping_ = target.betweenRows;
  if (!dragOverlapping_) {
    const bool mayPush = buttons.isControlSet() && place.top == present.top;
    dragOverlapping_ = !(mayPush && PushAside(place)) &&
                       !ModuleGrid::IsFree(place, rack_.PlacesWithout(*draggedModule_));
  }
  if (!dragOverlapping_) lastPlace_ = place.getTopLeft();
  if (dragOverlapping_ && !buttons.isControlSet()) place.moveTo(grid_.Clamp(pulled, size));
  rack_.MoveModule(*draggedModule_, place.getTopLeft());
}

ModuleDrag::Outcome ModuleDrag::End(const CPoint& where, const CButtonState& buttons) {
  if (!draggedModule_) return Outcome::kReturned;
  const bool placed = !dragOverlapping_ || PlaceDropped(where, buttons);
  const bool refused = !placed && insertingModule_;
  Clear();
  if (placed) return Outcome::kPlaced;
  return refused ? Outcome::kRefused : Outcome::kReturned;
}

bool ModuleDrag::PlaceDropped(const CPoint& where, const CButtonState& buttons) {
  const CRect present = draggedModule_->getViewSize();
  if (buttons.isControlSet()) {
    const CPoint size(present.getWidth(), present.getHeight());
    CRect place = CRect(present).moveTo(grid_.TargetOf(where - grabOffset_, size).corner);
    if (PushAside(place)) {
      rack_.MoveModule(*draggedModule_, place.getTopLeft());
      return true;
    }
  }
  if (!insertingModule_) Return();
  return false;
}

}  // namespace halveron
