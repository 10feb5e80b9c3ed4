#include "editor/module_drag.h"

#include <algorithm>
#include <cmath>
#include <utility>
#include <vector>

#include "editor/syn_rack.h"
#include "framework/module.h"
#include "framework/rack_model.h"

namespace halveron {

void ModuleDrag::Begin(const std::vector<Module*>& modules, const CPoint& where) {
  group_ = modules;
  CRect box;
  for (Module* module : group_) {
    module->place.isDragged = true;
    box.unite(module->getViewSize());
  }
  std::for_each(group_.rbegin(), group_.rend(),
                [this](Module* module) { rack_.RaiseModule(*module); });
  parts_.clear();
  for (const Module* module : group_) {
    parts_.push_back(CRect(module->getViewSize()).offset(-box.left, -box.top));
  }
  size_ = CPoint(box.getWidth(), box.getHeight());
  dragOverlapping_ = true;
  dragDirection_ = 0;
  dragStart_ = box.getTopLeft();
  lastPlace_ = dragStart_;
  grabOffset_ = where - dragStart_;
  lastColumn_ = grid_.TargetOf(dragStart_, size_).corner.x;
  landing_ = dragStart_;
}

void ModuleDrag::BeginInsertion(const std::vector<Module*>& modules, const CPoint& where) {
  Begin(modules, where);
  insertingModule_ = true;
}

void ModuleDrag::Clear() {
  for (Module* module : group_) module->place.isDragged = false;
  group_.clear();
  insertingModule_ = false;
  landing_.reset();
  rack_.ShowLanding({});
}

bool ModuleDrag::Holds(const Module& module) const {
  return std::find(group_.begin(), group_.end(), &module) != group_.end();
}

void ModuleDrag::Drop(const Module& module) {
  const auto found = std::find(group_.begin(), group_.end(), &module);
  if (found == group_.end()) return;
  if (group_.size() == 1) return Clear();
  (*found)->place.isDragged = false;
  parts_.erase(parts_.begin() + (found - group_.begin()));
  group_.erase(found);
}

void ModuleDrag::Abort() {
  if (group_.empty()) return;
  if (!insertingModule_) MoveGroup(StartOrLastPlace());
  Clear();
}

CRect ModuleDrag::Box() const {
  return BoxAt(group_.front()->getViewSize().getTopLeft() - parts_.front().getTopLeft());
}

std::vector<CRect> ModuleDrag::PlacesAt(const CPoint& corner) const {
  std::vector<CRect> places = parts_;
  for (CRect& place : places) place.offset(corner);
  return places;
}

bool ModuleDrag::IsFreeAt(const CPoint& corner, const std::vector<CRect>& others) const {
  const std::vector<CRect> places = PlacesAt(corner);
  return std::all_of(places.begin(), places.end(),
                     [&](const CRect& place) { return ModuleGrid::IsFree(place, others); });
}

std::vector<CRect> ModuleDrag::Others() const { return rack_.PlacesWithout(group_); }

void ModuleDrag::MoveGroup(const CPoint& corner) {
  for (std::size_t i = 0; i < group_.size(); ++i) {
    rack_.MoveModule(*group_[i], corner + parts_[i].getTopLeft());
  }
}

CPoint ModuleDrag::RestingCorner(const Module& module) const {
  const auto found = std::find(group_.begin(), group_.end(), &module);
  const CPoint part = parts_[static_cast<std::size_t>(found - group_.begin())].getTopLeft();
  return part + (landing_ ? *landing_ : grid_.TargetOf(dragStart_, {}).corner);
}

CPoint ModuleDrag::StartOrLastPlace() const {
  // On its way the module may have pushed another to where it came from.
  return IsFreeAt(dragStart_, Others()) ? dragStart_ : lastPlace_;
}

std::optional<CPoint> ModuleDrag::NearestFree(const CPoint& target, int row) const {
  const std::vector<CRect> others = Others();
  if (group_.size() == 1) return grid_.NearestFree(target.x, row, size_, others);
  // Rows by their distance, and in each the nearest column.
  std::optional<CPoint> best;
  CCoord bestDistance = 0.0;
  const CCoord lastLeft = geometry_.rackWidth - size_.x;
  for (int candidate = 0; candidate < geometry_.rows; ++candidate) {
    const CCoord top = static_cast<CCoord>(candidate) * geometry_.rowHeight;
    if (top + size_.y > geometry_.RackHeight() + 1.0) break;
    for (CCoord left = 0.0; left <= lastLeft; left += geometry_.columnWidth) {
      const CCoord distance =
          std::abs(candidate - row) * geometry_.rackWidth + std::abs(left - target.x);
      if (best && distance >= bestDistance) continue;
      if (!IsFreeAt(CPoint(left, top), others)) continue;
      best = CPoint(left, top);
      bestDistance = distance;
    }
  }
  return best;
}

bool ModuleDrag::PushAside(CRect& place) {
  if (group_.size() != 1) return false;
  const std::vector<CRect> before = Others();
  std::vector<CRect> after = before;
  const CRect pushed =
      CRect(place).moveTo(grid_.PushNeighbours(place, dragDirection_, after), place.top);
  if (!ModuleGrid::IsFree(pushed, after)) return false;
  rack_.MoveOthers(*group_.front(), after);
  place = pushed;
  return true;
}

int ModuleDrag::RowUnder(const CPoint& where) const {
  return std::clamp(static_cast<int>(std::floor(where.y / geometry_.rowHeight)), 0,
                    geometry_.rows - 1);
}

GridTarget ModuleDrag::TargetOf(const CPoint& where) const {
  const CPoint pulled = where - grabOffset_;
  GridTarget target = grid_.TargetOf(pulled, size_);
  if (!insertingModule_) return target;
  // A new module belongs to the row under the mouse, however high it is held.
  const int row = RowUnder(where);
  const CCoord top = static_cast<CCoord>(row) * geometry_.rowHeight;
  target.corner.y = grid_.Clamp({target.corner.x, top}, size_).y;
  target.nearest = target.corner;
  target.betweenRows =
      row < geometry_.rows - 1 && pulled.y - top > std::floor(geometry_.rowHeight / 5.0);
  return target;
}

std::optional<CPoint> ModuleDrag::LandingOf(const GridTarget& target, const CPoint& where) const {
  if (insertingModule_) return NearestFree(target.corner, RowUnder(where));
  const bool fits = target.betweenRows && IsFreeAt(target.nearest, Others());
  return fits ? target.nearest : StartOrLastPlace();
}

void ModuleDrag::MoveTo(const CPoint& where, const CButtonState& buttons) {
  if (group_.empty()) return;
  const CRect present = Box();
  const GridTarget target = TargetOf(where);
  // Counted from column to column: a module that hangs free is off the grid itself.
  if (target.corner.x != lastColumn_) dragDirection_ = target.corner.x < lastColumn_ ? -1 : 1;
  lastColumn_ = target.corner.x;

  CRect place = CRect(present).moveTo(target.corner);
  dragOverlapping_ = target.betweenRows;
  if (!dragOverlapping_) {
    const bool mayPush = buttons.isControlSet() && place.top == present.top;
    dragOverlapping_ = !(mayPush && PushAside(place)) && !IsFreeAt(place.getTopLeft(), Others());
  }
  if (!dragOverlapping_) lastPlace_ = place.getTopLeft();
  const bool staysOnGrid = !dragOverlapping_ || (buttons.isControlSet() && group_.size() == 1);
  if (!staysOnGrid) place.moveTo(grid_.Clamp(where - grabOffset_, size_));
  MoveGroup(place.getTopLeft());

  landing_ = place.getTopLeft();
  if (!staysOnGrid) landing_ = LandingOf(target, where);
  rack_.ShowLanding(landing_ ? PlacesAt(*landing_) : std::vector<CRect>());
}

ModuleDrag::Outcome ModuleDrag::End(const CPoint& where, const CButtonState& buttons) {
  if (group_.empty()) return Outcome::kReturned;
  if (!dragOverlapping_) {
    Clear();
    return Outcome::kPlaced;
  }
  const GridTarget target = TargetOf(where);
  CRect place = BoxAt(target.corner);
  if (!buttons.isControlSet() || !PushAside(place)) {
    const std::optional<CPoint> landing = LandingOf(target, where);
    if (!landing) return Outcome::kNoPlace;
    place.moveTo(*landing);
  }
  MoveGroup(place.getTopLeft());
  const bool returned = !insertingModule_ && place.getTopLeft() == dragStart_;
  Clear();
  return returned ? Outcome::kReturned : Outcome::kPlaced;
}

}  // namespace halveron
