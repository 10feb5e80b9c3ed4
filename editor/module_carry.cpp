#include "editor/module_carry.h"

#include <algorithm>
#include <cmath>
#include <optional>

#include "editor/module_grid.h"
#include "editor/syn_rack.h"
#include "framework/module.h"

namespace halveron {

namespace {

/// The modules as one, and the cells of the grid that their common corner may take.
class Group {
 public:
  Group(const SynRack& rack, const RackGeometry& geometry, const std::vector<Module*>& modules)
      : geometry_(geometry), others_(rack.PlacesWithout(modules)) {
    for (const Module* module : modules) box_.unite(module->getViewSize());
    for (const Module* module : modules) {
      parts_.push_back(CRect(module->getViewSize()).offset(-box_.left, -box_.top));
    }
    lastColumn_ =
        static_cast<int>(std::floor((geometry.rackWidth - box_.getWidth()) / geometry.columnWidth));
    const CCoord room = geometry.RackHeight() - box_.getHeight() + 1;
    lastRow_ = static_cast<int>(std::floor(room / geometry.rowHeight));
  }

  CPoint Corner() const { return box_.getTopLeft(); }

  std::optional<CPoint> Beside(int direction) const {
    const double exact = box_.left / geometry_.columnWidth;
    int column = static_cast<int>(direction > 0 ? std::floor(exact) : std::ceil(exact));
    for (column += direction; column >= 0 && column <= lastColumn_; column += direction) {
      const CPoint corner(static_cast<CCoord>(column) * geometry_.columnWidth, box_.top);
      if (IsFreeAt(corner)) return corner;
    }
    return std::nullopt;
  }

  std::optional<CPoint> InNextRow(int direction) const {
    int row = static_cast<int>(std::round(box_.top / geometry_.rowHeight));
    for (row += direction; row >= 0 && row <= lastRow_; row += direction) {
      if (const auto corner = NearestInRow(row)) return corner;
    }
    return std::nullopt;
  }

 private:
  bool IsFreeAt(const CPoint& corner) const {
    return std::all_of(parts_.begin(), parts_.end(), [&](const CRect& part) {
      return ModuleGrid::IsFree(CRect(part).offset(corner), others_);
    });
  }

  std::optional<CPoint> NearestInRow(int row) const {
    const int wanted = static_cast<int>(std::round(box_.left / geometry_.columnWidth));
    for (int distance = 0; distance <= std::max(wanted, lastColumn_ - wanted); ++distance) {
      for (const int column : {wanted - distance, wanted + distance}) {
        const CPoint corner(static_cast<CCoord>(column) * geometry_.columnWidth,
                            static_cast<CCoord>(row) * geometry_.rowHeight);
        if (column >= 0 && column <= lastColumn_ && IsFreeAt(corner)) return corner;
      }
    }
    return std::nullopt;
  }

  const RackGeometry& geometry_;
  std::vector<CRect> others_;
  CRect box_;
  std::vector<CRect> parts_;  // from the box's corner
  int lastColumn_ = 0;
  int lastRow_ = 0;
};

}  // namespace

bool CarryModules(SynRack& rack, const RackGeometry& geometry, const std::vector<Module*>& modules,
                  const CPoint& direction) {
  const Group group(rack, geometry, modules);
  const auto corner = direction.x != 0 ? group.Beside(direction.x > 0 ? 1 : -1)
                                       : group.InNextRow(direction.y > 0 ? 1 : -1);
  if (!corner) return false;
  const CPoint way = *corner - group.Corner();
  for (Module* module : modules) {
    rack.MoveModule(*module, module->getViewSize().getTopLeft() + way);
  }
  rack.RequestRedraw();
  return true;
}

}  // namespace halveron
